// TolvarThrshold: global binarization threshold from regional grey-level statistics,
// and its adaptation over time.
// TolvarThresholder splits the luminance plane into a 3 x 3 grid of regions (the region
// borders are deliberately unequal: a column at a third belongs to the middle band in
// some rows and not in others) and averages, over the nine regions, the mean and the
// modes of five grey-level bands. TolvarAdaptiveThresholder raises that threshold by the
// weighted motion and never lets the result fall below its previous value: the adaptive
// threshold only ever grows over the life of the object.
#ifndef SEGMENTATION_TOLVARTHRSHOLD_H
#define SEGMENTATION_TOLVARTHRSHOLD_H

#include "image/YUVImage.h"
#include "segmentation/BaseMethod.h"

// Weight of the motion term of the adaptive threshold: the default that each new object
// takes; an object's own weight is changed with SetMotionWeight.
extern float LW_weight;

class TolvarThrshold : public BaseMethod {
public:
    // Size from image's luminance plane.
    TolvarThrshold(ormel::YUVImage& image, ormel::Verbose verbose);
    // Buffer fresh (contents not copied); the previous adaptive threshold is copied.
    TolvarThrshold(const TolvarThrshold& src);
    TolvarThrshold& operator=(const TolvarThrshold& src);
    ~TolvarThrshold() override;

    // The threshold Ts of image, also kept for the adaptive threshold. With verbosity 1
    // prints "Ts: " and Ts as a raw byte. When image holds fewer samples than the
    // method's size, or the buffer no longer fits the image size: a message, 0, and Ts
    // unchanged.
    virtual unsigned char TolvarThresholder(ormel::YUVImage& image);
    // max(previous result, base(Ts; low, middle, high) + round(weight * motion)), 8 bits.
    // A motion whose weighted value is not a finite int: a message, the previous result.
    virtual unsigned char TolvarAdaptiveThresholder(float motion, unsigned int low,
                                                    unsigned int middle, unsigned int high);
    // Replaces the buffer by one of n bytes. True.
    virtual bool BuffAlloc(int n);
    // Releases the buffer: true; "Nothing to free!" and false when there is none.
    virtual bool BuffFree();

    // This object's weight of the motion term (LW_weight when it was made).
    float GetMotionWeight() const { return motionWeight; }
    void SetMotionWeight(float w) { motionWeight = w; }

private:
    int width;
    int height;
    int size;                          // width * height, bytes in the buffer
    unsigned char* buffer;
    unsigned char Ts;
    unsigned char previousAdaptive;
    unsigned char raisedThreshold;
    unsigned char baseThreshold;
    unsigned char adaptiveThreshold;
    float motionWeight;
};

#endif
