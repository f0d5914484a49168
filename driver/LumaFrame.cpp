// LumaFrame: the luminance plane of a time sample, sized by its file.
#include "driver/LumaFrame.h"

#include <cstddef>

namespace driver {

LumaFrame::LumaFrame(const ormel::BaseVFile& file) : ormel::BaseImage(file) {}

LumaFrame::~LumaFrame() { y_data = nullptr; }   // not ours

unsigned int LumaFrame::GetPixel(ormel::CompType c, int i, int j) const {
    if (c != ormel::Y_COMP || !y_data || i < 0 || j < 0 || i >= width[0] || j >= height[0])
        return 0;
    return y_data[static_cast<size_t>(j) * width[0] + i];
}

unsigned char* LumaFrame::GetPixelAddr(ormel::CompType c, int i, int j) {
    if (c != ormel::Y_COMP || !y_data || i < 0 || j < 0 || i >= width[0] || j >= height[0])
        return nullptr;
    return &y_data[static_cast<size_t>(j) * width[0] + i];
}

int LumaFrame::Width(ormel::CompType c) const { return c >= 0 && c <= 2 ? width[c] : 0; }
int LumaFrame::Height(ormel::CompType c) const { return c >= 0 && c <= 2 ? height[c] : 0; }
ormel::ChromaFormat LumaFrame::CFormat() const { return cformat; }

unsigned char* LumaFrame::GetArray(ormel::CompType c) {
    return c == ormel::Y_COMP ? y_data : nullptr;
}

}  // namespace driver
