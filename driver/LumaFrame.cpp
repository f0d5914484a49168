// LumaFrame: the luminance plane of a time sample, sized by its file.
#include "driver/LumaFrame.h"

#include <cstddef>

namespace driver {

LumaFrame::LumaFrame(const ormel::BaseVFile& file)
    : ormel::BaseImage(file),
      luma(static_cast<size_t>(width[0] > 0 ? width[0] : 0) *
           static_cast<size_t>(height[0] > 0 ? height[0] : 0)) {
    y_data = luma.data();
}

unsigned int LumaFrame::GetPixel(ormel::CompType c, int i, int j) const {
    if (c != ormel::Y_COMP || i < 0 || j < 0 || i >= width[0] || j >= height[0])
        return 0;
    return luma[static_cast<size_t>(j) * width[0] + i];
}

unsigned char* LumaFrame::GetPixelAddr(ormel::CompType c, int i, int j) {
    if (c != ormel::Y_COMP || i < 0 || j < 0 || i >= width[0] || j >= height[0])
        return nullptr;
    return &luma[static_cast<size_t>(j) * width[0] + i];
}

int LumaFrame::Width(ormel::CompType c) const { return c >= 0 && c <= 2 ? width[c] : 0; }
int LumaFrame::Height(ormel::CompType c) const { return c >= 0 && c <= 2 ? height[c] : 0; }
ormel::ChromaFormat LumaFrame::CFormat() const { return cformat; }

unsigned char* LumaFrame::GetArray(ormel::CompType c) {
    return c == ormel::Y_COMP ? luma.data() : nullptr;
}

}  // namespace driver
