// Binarization: two-level image from the luminance of a frame by one global threshold.
// A sample at or below the threshold becomes the black level, any other the white level
// (levels taken from the BinImage given at construction, cut to 8 bits).
// The method's size is fixed at construction; images must hold at least that many samples.
#ifndef SEGMENTATION_BINARIZATION_H
#define SEGMENTATION_BINARIZATION_H

#include "image/YUVImage.h"
#include "segmentation/BaseMethod.h"
#include "segmentation/BinImage.h"

class Binarization : public BaseMethod {
public:
    Binarization(BinImage& image, ormel::Verbose verbose);
    Binarization(const Binarization& src);              // buffers fresh, contents not copied
    Binarization& operator=(const Binarization& src);   // likewise
    ~Binarization() override;

    // Binarizes source's luminance into target and marks target binarized. Returns 0;
    // 1, with a message and nothing changed, when source holds fewer samples than size.
    virtual int Binarizer(ormel::YUVImage& source, BinImage& target, unsigned char threshold);
    // Replaces both buffers by zero-filled ones of n bytes and sets size to n. True.
    virtual bool BuffAlloc(int n);
    // Releases both buffers: true; "Nothing to free!" and false when there are none.
    virtual bool BuffFree();

private:
    int width;
    int height;
    int size;    // width * height, bytes per buffer
    unsigned char blackLevel;
    unsigned char whiteLevel;
    unsigned char* inBuffer;
    unsigned char* outBuffer;
};

#endif
