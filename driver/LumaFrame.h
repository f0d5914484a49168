// LumaFrame: a view of one time sample of a sequence file, luminance plane only, over a
// buffer the caller owns. It reports the file's sizes for all three components, so that
// VidsFile accepts it, but has no chroma planes: read and write it with the file's
// only-Y transfers (SetOnlyYComponent on an input, a luminance-only output), never with
// the chroma selected.
#ifndef DRIVER_LUMAFRAME_H
#define DRIVER_LUMAFRAME_H

#include "image/BaseImage.h"

namespace driver {

class LumaFrame : public ormel::BaseImage {
public:
    explicit LumaFrame(const ormel::BaseVFile& file);
    LumaFrame(const LumaFrame&) = delete;
    LumaFrame& operator=(const LumaFrame&) = delete;
    ~LumaFrame() override;

    // The luminance plane from now on: LumaWidth() x LumaHeight() bytes, rows LumaWidth()
    // apart. A file transfer only reads it when writing.
    void Attach(unsigned char* luma) { y_data = luma; }

    unsigned int GetPixel(ormel::CompType c, int i, int j) const override;
    unsigned char* GetPixelAddr(ormel::CompType c, int i, int j) override;
    int Width(ormel::CompType c) const override;
    int Height(ormel::CompType c) const override;
    ormel::ChromaFormat CFormat() const override;
    unsigned char* GetArray(ormel::CompType c) override;   // null for U and V

    int LumaWidth() const { return width[0]; }
    int LumaHeight() const { return height[0]; }
};

}  // namespace driver

#endif
