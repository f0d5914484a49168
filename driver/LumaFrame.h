// LumaFrame: one time sample of a sequence file, luminance plane only. It reports the
// file's sizes for all three components, so that VidsFile accepts it, but holds no
// chroma planes: read and write it with the file's only-Y transfers (SetOnlyYComponent
// on an input, a luminance-only output), never with the chroma selected.
#ifndef DRIVER_LUMAFRAME_H
#define DRIVER_LUMAFRAME_H

#include <vector>

#include "image/BaseImage.h"

namespace driver {

class LumaFrame : public ormel::BaseImage {
public:
    explicit LumaFrame(const ormel::BaseVFile& file);
    LumaFrame(const LumaFrame&) = delete;
    LumaFrame& operator=(const LumaFrame&) = delete;

    unsigned int GetPixel(ormel::CompType c, int i, int j) const override;
    unsigned char* GetPixelAddr(ormel::CompType c, int i, int j) override;
    int Width(ormel::CompType c) const override;
    int Height(ormel::CompType c) const override;
    ormel::ChromaFormat CFormat() const override;
    unsigned char* GetArray(ormel::CompType c) override;   // null for U and V

    unsigned char* Luma() { return luma.data(); }
    int LumaWidth() const { return width[0]; }
    int LumaHeight() const { return height[0]; }

private:
    std::vector<unsigned char> luma;
};

}  // namespace driver

#endif
