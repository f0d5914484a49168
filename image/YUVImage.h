// YUVImage: planar 8-bit YUV picture owning its three planes.
// Coordinates are (i, j) = (column, row). Planes are allocated zero-filled at construction
// and never resized. Copy construction and assignment copy geometry only, never pixels:
// use CopyFrom for pixel copies.
// Out-of-range coordinates are reported on standard output and clamped against the
// luminance size, also for the chroma planes (a chroma coordinate between the chroma
// and the luminance size is therefore not pulled inside the chroma plane).
#ifndef ORMEL_YUVIMAGE_H
#define ORMEL_YUVIMAGE_H

#include "image/BaseImage.h"
#include "image/Types.h"

namespace ormel {

class YUVImage : public BaseImage {
public:
    YUVImage();                                   // 4:2:0, 352 x 288
    YUVImage(ChromaFormat f, int w, int h);
    explicit YUVImage(const BaseVFile& f);        // the file's geometry and format
    YUVImage(const YUVImage& src);                // src's geometry, fresh planes
    ~YUVImage() override;

    using BaseImage::operator=;
    // Geometry as BaseImage::operator=, then fresh zero-filled planes; no pixel copy.
    virtual YUVImage& operator=(const YUVImage& src);

    unsigned int GetPixel(CompType c, int i, int j) const override;
    unsigned char* GetPixelAddr(CompType c, int i, int j) override;
    int Width(CompType c) const override;    // luminance for components other than U, V
    int Height(CompType c) const override;
    ChromaFormat CFormat() const override;
    unsigned char* GetArray(CompType c) override;   // U for 1, V for 2, Y otherwise

    unsigned char Y(int i, int j) const;
    unsigned char& Y(int i, int j);
    unsigned char U(int i, int j) const;
    unsigned char& U(int i, int j);
    unsigned char V(int i, int j) const;
    unsigned char& V(int i, int j);

    // Luminance sample at (i, j); stores color into the chroma samples covering (i, j).
    unsigned char& operator()(int i, int j, YUVColor color);

    void ChromaFactor();      // hfactor, vfactor from the chroma format
    // Fresh zero-filled planes of the stated sizes (one byte for an empty plane): 0, or 7
    // when one cannot be had or a luminance-only picture has no luminance samples.
    int AllocateMemory();
    int FreeMemory();         // 0

protected:
    int hfactor;
    int vfactor;

private:
    void InitGeometry(ChromaFormat f, int w, int h);
    // Bounds rule: reports and clamps (i, j) against the luminance size.
    void CheckBounds(int c, int& i, int& j, bool withAddress) const;
    long Guard(int c, long index) const;   // keeps an index inside plane c's allocation
    long Index(int c, int i, int j, bool withAddress) const;
    const unsigned char* Plane(int c) const;

    long capacity[3];         // samples allocated per plane, for the index guard
};

}  // namespace ormel

#endif
