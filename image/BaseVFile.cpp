// BaseVFile: the only-Y flag and the frame-range copy between sequence files.
#include "image/BaseVFile.h"

#include "image/YUVImage.h"

namespace ormel {

BaseVFile::BaseVFile() : only_y(false), cached_width{0, 0, 0}, cached_height{0, 0, 0} {}

BaseVFile::~BaseVFile() {}

bool BaseVFile::OnlyYComponent() const { return only_y; }

void BaseVFile::SetOnlyYComponent(bool only) { only_y = only; }

void BaseVFile::Copy(BaseVFile& src, std::string name, int first, int last) {
    SetWidth(src.Width());
    SetHeight(src.Height());
    SetFrameRate(src.FrameRate());
    SetSamplingMatrices(src.CFormat(), src.Interlaced());
    Open(name, OPEN_NEW);
    YUVImage image(src);
    const int end = src.NumberOfImages() - 1;
    if (first > end) first = end;
    if (last > end) last = end;
    for (int k = first, n = 0; k <= last; ++k, ++n) {
        src.Read(image, k);
        Write(image, n);
    }
}

}  // namespace ormel
