// MethodBuffers: what the segmentation methods share about their byte buffers: guarded
// transfers between a buffer and an image's luminance plane, the plane view a method's
// loops work on, and allocation. The methods address an image as a plane of their own
// width, so the only check is that the plane holds at least the bytes used.
#ifndef SEGMENTATION_METHODBUFFERS_H
#define SEGMENTATION_METHODBUFFERS_H

#include <cstddef>
#include <new>

#include "image/BaseImage.h"
#include "image/PlaneView.h"

namespace segmentation {

// Samples in the luminance plane of img: width * height, 0 when either is below 1 or
// the plane is missing.
long LumaSamples(ormel::BaseImage& img);

// Copy n bytes from the luminance plane into dst (LoadLuma) or from src into it
// (StoreLuma). False, with nothing moved, when the plane holds fewer than n samples.
bool LoadLuma(ormel::BaseImage& img, unsigned char* dst, int n);
bool StoreLuma(const unsigned char* src, int n, ormel::BaseImage& img);

// data as a width x height plane with rows width apart. The caller has checked that data
// holds width * height bytes (LumaSamples, or the method's own size).
inline ormel::PlaneView MethodPlane(unsigned char* data, int width, int height) {
    return ormel::PlaneView{data, width, height, width};
}
inline ormel::ConstPlaneView ConstMethodPlane(const unsigned char* data, int width, int height) {
    return ormel::ConstPlaneView{data, width, height, width};
}

// Prints the refusal shared by the methods when an image is smaller than their buffers.
void ReportSmallImage();

// Prints the methods' allocation message and ends the process with status 1 (or throws
// numeric::FatalError where the thread asked for it).
[[noreturn]] void AllocationFailure();

// A zero-filled array of n elements, or AllocationFailure() (also for a negative n).
template <class T>
T* NewZeroed(long n) {
    T* p = n >= 0 ? new (std::nothrow) T[static_cast<size_t>(n)]() : nullptr;
    if (!p)
        AllocationFailure();
    return p;
}

inline unsigned char* NewMethodBuffer(int n) { return NewZeroed<unsigned char>(n); }

}  // namespace segmentation

#endif
