// BaseImage: abstract picture of up to three 8-bit planes (Y, U, V) and a chroma format.
// Addressing rule of the whole system: sample (i, j) of component c, i the column and j
// the row, lies at index width[c] * j + i of a contiguous plane without padding.
// BaseImage never allocates or frees planes; its derived classes own them.
// Copying or assigning a BaseImage copies geometry only, never pixels.
#ifndef ORMEL_BASEIMAGE_H
#define ORMEL_BASEIMAGE_H

#include "image/Types.h"

namespace ormel {

class BaseVFile;

class BaseImage {
public:
    BaseImage();                            // null planes, zero sizes
    BaseImage(const BaseImage& src);        // src's six sizes and format, null planes
    explicit BaseImage(const BaseVFile& f); // the file's six sizes and format, null planes
    virtual ~BaseImage();

    // Takes src's geometry only when this image has no plane yet; never copies pixels.
    virtual BaseImage& operator=(const BaseImage& src);

    virtual unsigned int GetPixel(CompType c, int i, int j) const = 0;
    virtual unsigned char* GetPixelAddr(CompType c, int i, int j) = 0;
    virtual int Width(CompType c) const = 0;
    virtual int Height(CompType c) const = 0;
    virtual ChromaFormat CFormat() const = 0;
    virtual unsigned char* GetArray(CompType c) = 0;

    // Whole-plane operations. Status: 10 done, 6 bad component (Clear, Fill);
    // 15/16 done, 8 null buffer, 22 bad component (buffer copies);
    // 25/26 done, 22 bad component (image copies). Sizes are this image's.
    virtual int Clear(CompType c);                     // Y to 0, U and V to 128
    virtual int Fill(unsigned char value, CompType c);
    virtual int CopyTo(unsigned char* buf, CompType c);
    virtual int CopyFrom(unsigned char* buf, CompType c);
    virtual int CopyTo(BaseImage& dst, CompType c);    // ALL_COMP copies nothing, returns 25
    virtual int CopyFrom(BaseImage& src, CompType c);  // ALL_COMP copies Y, U, then V

protected:
    // Samples in plane c, as width[c] * height[c] (0 for an empty plane).
    long PlaneSize(int c) const;
    void FillPlane(int c, unsigned char value);
    // Y of the selected plane(s) to luma, U and V to chroma: 10, or 6 for a bad component.
    int FillPlanes(CompType c, unsigned char luma, unsigned char chroma);

    unsigned char* y_data;
    unsigned char* u_data;
    unsigned char* v_data;
    int width[3];
    int height[3];
    ChromaFormat cformat;
};

}  // namespace ormel

#endif
