// Binarization: the global-threshold binarizer and its two work buffers.
#include "segmentation/Binarization.h"

#include <iostream>

#include "numeric/VectorUnit.h"
#include "segmentation/MethodBuffers.h"
#include "segmentation/PlaneKernels.h"

using namespace segmentation;

Binarization::Binarization(BinImage& image, ormel::Verbose verbose)
    : BaseMethod(2, "Binarization", verbose), width(image.Width()), height(image.Height()),
      size(image.GetSize()), blackLevel(static_cast<unsigned char>(image.GetBlackLevel())),
      whiteLevel(static_cast<unsigned char>(image.GetWhiteLevel())), inBuffer(nullptr),
      outBuffer(nullptr) {
    BuffAlloc(size);
}

Binarization::Binarization(const Binarization& src)
    : BaseMethod(src), width(src.width), height(src.height), size(0),
      blackLevel(src.blackLevel), whiteLevel(src.whiteLevel), inBuffer(nullptr),
      outBuffer(nullptr) {
    BuffAlloc(src.size);
}

Binarization& Binarization::operator=(const Binarization& src) {
    if (&src == this)
        return *this;
    BaseMethod::operator=(src);
    width = src.width;
    height = src.height;
    blackLevel = src.blackLevel;
    whiteLevel = src.whiteLevel;
    BuffAlloc(src.size);
    return *this;
}

Binarization::~Binarization() {
    delete[] inBuffer;
    delete[] outBuffer;
}

int Binarization::Binarizer(ormel::YUVImage& source, BinImage& target,
                            unsigned char threshold) {
    if (!LoadLuma(source, inBuffer, size)) {
        ReportSmallImage();
        return 1;
    }
    // Each output sample depends on its own input only, so the column-by-column scan
    // comes down to one pass over the plane (no padding: index = width * y + x), here as
    // a single row. Equality goes to black. A buffer made smaller by BuffAlloc bounds the
    // pass.
    const long pixels = static_cast<long>(width) * height;
    const int n = static_cast<int>(pixels < size ? pixels : size);
    if (n > 0)
        Kernels(numeric::BestVectorUnit())
            .Binarize(ConstMethodPlane(inBuffer, n, 1), threshold, blackLevel, whiteLevel,
                      MethodPlane(outBuffer, n, 1));
    target.CopyRawDataFrom(outBuffer, size);
    target.SetisBinarized(true);
    return 0;
}

bool Binarization::BuffAlloc(int n) {
    if (inBuffer && outBuffer) {
        BuffFree();
    } else {   // never half allocated in practice; release quietly if it were
        delete[] inBuffer;
        delete[] outBuffer;
        inBuffer = outBuffer = nullptr;
    }
    size = n;
    inBuffer = NewMethodBuffer(n);
    outBuffer = NewMethodBuffer(n);
    return true;
}

bool Binarization::BuffFree() {
    if (inBuffer && outBuffer) {
        delete[] inBuffer;
        delete[] outBuffer;
        inBuffer = outBuffer = nullptr;
        return true;
    }
    std::cout << "\nNothing to free!\n" << std::endl;
    return false;
}
