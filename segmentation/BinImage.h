// BinImage: single-plane 8-bit image with a black and a white level, meant to hold
// two-level (binarized) frames. Only the luminance plane is real: every component
// query and every per-component access answers for it, whatever component is asked.
// Coordinates are (x, y) = (column, row); sample (x, y) lies at y * Width() + x.
// The setters keep black level <= white level <= 255; the constructors take the levels
// as given. Refusals print a fixed message on standard output and leave the image as is.
#ifndef SEGMENTATION_BINIMAGE_H
#define SEGMENTATION_BINIMAGE_H

#include "image/BaseImage.h"
#include "image/BaseVFile.h"
#include "image/Types.h"

class BinImage : public ormel::BaseImage {
public:
    // Geometry from the file; then frame `frame` is read into this image through the
    // file's virtual Read, which lands in the luminance buffer.
    BinImage(ormel::BaseVFile& file, int frame, unsigned int black, unsigned int white,
             ormel::Verbose verbose);
    // A width x height image; samples start at 0.
    BinImage(unsigned int width, unsigned int height, unsigned int black, unsigned int white,
             ormel::Verbose verbose);
    BinImage(const BinImage& src);   // geometry, levels, flags and samples
    ~BinImage() override;

    using ormel::BaseImage::operator=;
    // Geometry, levels, flags and samples of src, in fresh buffers.
    BinImage& operator=(const BinImage& src);

    // Base interface: the component argument is ignored.
    unsigned int GetPixel(ormel::CompType c, int x, int y) const override;
    unsigned char* GetPixelAddr(ormel::CompType c, int x, int y) override;
    int Width(ormel::CompType c) const override;    // the base's luminance width
    int Height(ormel::CompType c) const override;   // the base's luminance height
    ormel::ChromaFormat CFormat() const override;   // always 0
    unsigned char* GetArray(ormel::CompType c) override;

    // Takes width and height from the base's luminance size (0 when below 1) and
    // allocates fresh zero-filled buffers, releasing earlier ones. Returns 0.
    virtual int Initialize();
    // Outside the image: message, then 0 (GetPixel), null (GetPixelAddr) or false.
    virtual unsigned char GetPixel(int x, int y) const;
    // Stores value only when black level <= value <= white level.
    virtual bool SetPixel(int x, int y, unsigned char value);
    virtual unsigned char* GetPixelAddr(int x, int y);
    virtual int GetSize() const;
    virtual int Width() const;
    virtual int Height() const;
    virtual unsigned int GetBlackLevel() const;
    virtual bool SetBlackLevel(unsigned int black);   // refused above the white level
    virtual unsigned int GetWhiteLevel() const;
    virtual bool SetWhiteLevel(unsigned int white);   // refused above 255 or below black
    virtual ormel::Verbose GetVerbose() const;
    virtual bool SetVerbose(ormel::Verbose verbose);  // true
    virtual bool GetisDifferenced() const;
    virtual bool SetisDifferenced(bool differenced);  // returns the flag
    virtual bool GetisBinarized() const;
    virtual bool SetisBinarized(bool binarized);      // returns the flag
    // Fills every sample with v, or with the black level when v is outside the levels.
    virtual bool ClearRawData(unsigned int v);
    // Copy the first n samples in or out; refused for a null buffer or n outside 1..size.
    virtual bool CopyRawDataFrom(unsigned char* src, int n);
    virtual bool CopyRawDataTo(unsigned char* dst, int n);

private:
    bool Inside(int x, int y) const;
    void ReleaseBuffers();
    // Initialize's buffers; the luminance samples zero-filled or, for a caller that
    // overwrites them all, left as they come.
    void Allocate(bool zeroed);

    unsigned int blackLevel;
    unsigned int whiteLevel;
    ormel::Verbose verbosity;
    int cols;    // number of columns of the luminance buffer
    int rows;    // number of rows
    int size;    // cols * rows, bytes in the luminance buffer
    bool isDifferenced;
    bool isBinarized;
};

#endif
