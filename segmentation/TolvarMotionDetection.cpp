// TolvarMotionDetection: buffers, the two averager forms and the max filter.
#include "segmentation/TolvarMotionDetection.h"

#include <cstring>
#include <iostream>

#include "numeric/VectorUnit.h"
#include "segmentation/MethodBuffers.h"
#include "segmentation/PlaneKernels.h"

using namespace segmentation;

int black_level = 0;

TolvarMotionDetection::TolvarMotionDetection(ormel::YUVImage& image, long windowSize,
                                             unsigned int clipLevel, unsigned int gain,
                                             ormel::Verbose verbose)
    : BaseMethod(3, "TolvarMotionDetection", verbose), width(image.Width(ormel::Y_COMP)),
      height(image.Height(ormel::Y_COMP)),
      size(static_cast<int>(static_cast<long long>(width) * height)),
      halfBefore(windowSize / 2), halfAfter(windowSize - windowSize / 2),
      windowSize(windowSize), clipLevel(clipLevel), gain(gain), work(nullptr),
      reference(nullptr), result(nullptr), blackLevel(black_level) {
    BuffAlloc(size);
    if (!LoadLuma(image, reference, size))
        ReportSmallImage();
}

TolvarMotionDetection::TolvarMotionDetection(const TolvarMotionDetection& src)
    : BaseMethod(src), width(src.width), height(src.height), size(0),
      halfBefore(src.halfBefore), halfAfter(src.halfAfter), windowSize(src.windowSize),
      clipLevel(src.clipLevel), gain(src.gain), work(nullptr), reference(nullptr),
      result(nullptr), blackLevel(src.blackLevel) {
    BuffAlloc(src.size);
    if (size > 0)
        std::memcpy(reference, src.reference, static_cast<size_t>(size));
}

TolvarMotionDetection& TolvarMotionDetection::operator=(const TolvarMotionDetection& src) {
    if (&src == this)
        return *this;
    BaseMethod::operator=(src);
    width = src.width;
    height = src.height;
    halfBefore = src.halfBefore;
    halfAfter = src.halfAfter;
    windowSize = src.windowSize;
    clipLevel = src.clipLevel;
    gain = src.gain;
    blackLevel = src.blackLevel;
    BuffAlloc(src.size);
    if (size > 0)
        std::memcpy(reference, src.reference, static_cast<size_t>(size));
    return *this;
}

TolvarMotionDetection::~TolvarMotionDetection() {
    delete[] work;
    delete[] reference;
    delete[] result;
}

bool TolvarMotionDetection::CanRun() const {
    if (windowSize < 1) {
        std::cout << "\nInvalid window size!\nNothing is done!\n" << std::endl;
        return false;
    }
    if (width > 0 && height > 0 && static_cast<long>(width) * height > size) {
        std::cout << "\nBuffers smaller than the image!\nNothing is done!\n" << std::endl;
        return false;
    }
    return true;
}

bool TolvarMotionDetection::AbsoluteDifferenceAverager(ormel::YUVImage& current,
                                                       ormel::YUVImage& out) {
    if (!CanRun())
        return false;
    if (LumaSamples(current) < size || LumaSamples(out) < size) {
        ReportSmallImage();
        return false;
    }
    LoadLuma(current, work, size);
    Average();
    StoreLuma(result, size, out);
    return true;
}

bool TolvarMotionDetection::AbsoluteDifferenceAverager(ormel::YUVImage& a, ormel::YUVImage& b,
                                                       ormel::YUVImage& out) {
    if (!CanRun())
        return false;
    if (LumaSamples(a) < size || LumaSamples(b) < size || LumaSamples(out) < size) {
        ReportSmallImage();
        return false;
    }
    LoadLuma(a, work, size);
    LoadLuma(b, reference, size);
    Average();
    StoreLuma(result, size, out);
    return true;
}

bool TolvarMotionDetection::MaxFilter(ormel::YUVImage& in, ormel::YUVImage& out) {
    if (!CanRun())
        return false;
    if (LumaSamples(in) < size || LumaSamples(out) < size) {
        ReportSmallImage();
        return false;
    }
    LoadLuma(in, work, size);
    WindowMax();
    StoreLuma(result, size, out);
    return true;
}

// Both run on the interior only, which is empty when the window is wider or taller than
// the plane; a window with an interior fits an int.
void TolvarMotionDetection::Average() {
    if (width - halfBefore <= halfBefore || height - halfBefore <= halfBefore)
        return;
    Kernels(numeric::BestVectorUnit())
        .AbsDiffMean(ConstMethodPlane(work, width, height),
                     ConstMethodPlane(reference, width, height), static_cast<int>(windowSize),
                     MethodPlane(result, width, height), 0, height);
}

void TolvarMotionDetection::WindowMax() {
    if (width - halfBefore <= halfBefore || height - halfBefore <= halfBefore)
        return;
    Kernels(numeric::BestVectorUnit())
        .ClippedMax(ConstMethodPlane(work, width, height), static_cast<int>(windowSize),
                    clipLevel, gain, MethodPlane(result, width, height), 0, height);
}

bool TolvarMotionDetection::BuffAlloc(int n) {
    if (work && reference && result) {
        BuffFree();
    } else {   // never partly allocated in practice; release quietly if it were
        delete[] work;
        delete[] reference;
        delete[] result;
        work = reference = result = nullptr;
    }
    size = n;
    work = NewMethodBuffer(n);
    reference = NewMethodBuffer(n);
    result = NewMethodBuffer(n);
    if (n > 0)
        std::memset(result, static_cast<unsigned char>(blackLevel), static_cast<size_t>(n));
    return true;
}

bool TolvarMotionDetection::BuffFree() {
    if (work && reference && result) {
        delete[] work;
        delete[] reference;
        delete[] result;
        work = reference = result = nullptr;
        return true;
    }
    std::cout << "\nNothing to free!\n" << std::endl;
    return false;
}
