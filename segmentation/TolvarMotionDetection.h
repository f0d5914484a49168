// TolvarMotionDetection: windowed absolute-difference average and clipped windowed
// maximum of luminance planes, for noise-adaptive motion detection.
// The window of (x, y) spans offsets -before .. after - 1 in each direction, with
// before = windowSize / 2 and after = windowSize - before: centred for odd sizes.
// Only the interior (x in [before, width - before), y likewise) is computed; the border
// of the result keeps what it held, which starts as the object's black level and is never
// written.
// The two-image averager compares against a stored reference frame: the image given at
// construction, or the last second image of the three-image form.
#ifndef SEGMENTATION_TOLVARMOTIONDETECTION_H
#define SEGMENTATION_TOLVARMOTIONDETECTION_H

#include "image/YUVImage.h"
#include "segmentation/BaseMethod.h"

// Initial value of every sample of the result buffer: the default black level that each
// new object takes; an object's own is changed with SetBlackLevel.
extern int black_level;

class TolvarMotionDetection : public BaseMethod {
public:
    // Size from image's luminance plane, which also becomes the reference frame.
    TolvarMotionDetection(ormel::YUVImage& image, long windowSize, unsigned int clipLevel,
                          unsigned int gain, ormel::Verbose verbose);
    TolvarMotionDetection(const TolvarMotionDetection& src);   // reference copied too
    TolvarMotionDetection& operator=(const TolvarMotionDetection& src);
    ~TolvarMotionDetection() override;

    // Each returns true; false, with a message and nothing changed, when an image holds
    // fewer samples than the method's size, the buffers no longer fit the image size,
    // or the window is empty.
    // out = windowed mean of |current - reference|; the reference stays.
    virtual bool AbsoluteDifferenceAverager(ormel::YUVImage& current, ormel::YUVImage& out);
    // b becomes the reference; out = windowed mean of |a - b|.
    virtual bool AbsoluteDifferenceAverager(ormel::YUVImage& a, ormel::YUVImage& b,
                                            ormel::YUVImage& out);
    // out = gain * min(windowed max of in, clipLevel), kept to 8 bits (wraps, no saturation).
    virtual bool MaxFilter(ormel::YUVImage& in, ormel::YUVImage& out);
    // Replaces the three buffers by ones of n bytes, the result filled with the black level.
    virtual bool BuffAlloc(int n);
    // Releases the buffers: true; "Nothing to free!" and false when there are none.
    virtual bool BuffFree();

    // This object's black level (black_level when it was made); a change shows in the
    // result buffer from the next BuffAlloc.
    int GetBlackLevel() const { return blackLevel; }
    void SetBlackLevel(int level) { blackLevel = level; }

private:
    bool CanRun() const;     // reports and refuses an empty window or outgrown buffers
    void Average();          // mean |work - reference|, into the result's interior
    void WindowMax();        // clipped, scaled maximum of work, into the interior

    int width;
    int height;
    int size;                // width * height, bytes per buffer
    long halfBefore;
    long halfAfter;
    long windowSize;
    unsigned int clipLevel;
    unsigned int gain;
    unsigned char* work;
    unsigned char* reference;
    unsigned char* result;
    int blackLevel;
};

#endif
