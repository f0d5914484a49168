// TolvarMotionDetection: buffers, the two averager forms and the max filter.
#include "segmentation/TolvarMotionDetection.h"

#include <cstring>
#include <iostream>
#include <memory>

#include "segmentation/LumaPlane.h"

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

// Mean of |work - reference| over the window, by running sums: column sums over the
// window's rows, slid down one row at a time, then a row sum slid across. The sums are
// integers, exactly what a double accumulation of the same terms gives; the division is
// done in double by the window area as an int, then truncated.
void TolvarMotionDetection::Average() {
    const long h = halfBefore;
    const long e = halfAfter;
    if (width - h <= h || height - h <= h)
        return;   // no interior
    const int area = static_cast<int>(windowSize * windowSize);
    const long w = width;
    std::unique_ptr<long[]> colSum(NewZeroed<long>(w));
    auto absDiff = [this, w](long row, long x) {
        const long i = row * w + x;
        const int d = static_cast<int>(work[i]) - static_cast<int>(reference[i]);
        return static_cast<long>(d < 0 ? -d : d);
    };
    for (long row = 0; row < windowSize; ++row) {   // window rows of the first interior row
        for (long x = 0; x < w; ++x)
            colSum[x] += absDiff(row, x);
    }
    for (long y = h; y < height - h; ++y) {
        if (y > h) {
            const long enter = y + e - 1;
            const long leave = y - h - 1;
            for (long x = 0; x < w; ++x)
                colSum[x] += absDiff(enter, x) - absDiff(leave, x);
        }
        unsigned char* out = result + y * w;
        long sum = 0;
        for (long x = 0; x < windowSize; ++x)
            sum += colSum[x];
        for (long x = h; x < w - h; ++x) {
            if (x > h)
                sum += colSum[x + e - 1] - colSum[x - h - 1];
            out[x] = static_cast<unsigned char>(static_cast<int>(static_cast<double>(sum) / area));
        }
    }
}

// Clipped windowed maximum, separably: the maximum across the window in each row, then
// down the window in each column. The scaling is a table over the 256 possible maxima.
void TolvarMotionDetection::WindowMax() {
    const long h = halfBefore;
    const long e = halfAfter;
    if (width - h <= h || height - h <= h)
        return;   // no interior
    unsigned char scaled[256];
    for (unsigned int m = 0; m < 256; ++m) {
        const unsigned int clipped = m <= clipLevel ? m : clipLevel;
        scaled[m] = static_cast<unsigned char>(gain * clipped);   // low 8 bits: wraps
    }
    const long w = width;
    std::unique_ptr<unsigned char[]> rowMax(NewZeroed<unsigned char>(size));
    for (long y = 0; y < height; ++y) {
        const unsigned char* in = work + y * w;
        unsigned char* rm = rowMax.get() + y * w;
        for (long x = h; x < w - h; ++x) {
            unsigned char m = 0;
            for (long dx = -h; dx < e; ++dx)
                m = in[x + dx] > m ? in[x + dx] : m;
            rm[x] = m;
        }
    }
    for (long y = h; y < height - h; ++y) {
        unsigned char* out = result + y * w;
        for (long x = h; x < w - h; ++x) {
            unsigned char m = 0;
            for (long dy = -h; dy < e; ++dy) {
                const unsigned char v = rowMax[(y + dy) * w + x];
                m = v > m ? v : m;
            }
            out[x] = scaled[m];
        }
    }
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
