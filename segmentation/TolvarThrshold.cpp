// TolvarThrshold: regional statistics threshold and the ratcheting adaptive threshold.
#include "segmentation/TolvarThrshold.h"

#include <iostream>

#include "segmentation/MethodBuffers.h"
#include "segmentation/RegionalThreshold.h"

using namespace segmentation;

float LW_weight = 3.4f;

TolvarThrshold::TolvarThrshold(ormel::YUVImage& image, ormel::Verbose verbose)
    : BaseMethod(8, "TolvarThrshold", verbose), width(image.Width(ormel::Y_COMP)),
      height(image.Height(ormel::Y_COMP)),
      size(static_cast<int>(static_cast<long long>(width) * height)), buffer(nullptr), Ts(0),
      previousAdaptive(0), raisedThreshold(0), baseThreshold(0), adaptiveThreshold(0),
      motionWeight(LW_weight) {
    BuffAlloc(size);
}

TolvarThrshold::TolvarThrshold(const TolvarThrshold& src)
    : BaseMethod(src), width(src.width), height(src.height), size(0), buffer(nullptr), Ts(0),
      previousAdaptive(src.previousAdaptive), raisedThreshold(0), baseThreshold(0),
      adaptiveThreshold(0), motionWeight(src.motionWeight) {
    BuffAlloc(src.size);
}

TolvarThrshold& TolvarThrshold::operator=(const TolvarThrshold& src) {
    if (&src == this)
        return *this;
    BaseMethod::operator=(src);
    width = src.width;
    height = src.height;
    BuffAlloc(src.size);
    previousAdaptive = src.previousAdaptive;
    motionWeight = src.motionWeight;
    return *this;
}

TolvarThrshold::~TolvarThrshold() { delete[] buffer; }

unsigned char TolvarThrshold::TolvarThresholder(ormel::YUVImage& image) {
    if (width > 0 && height > 0 && static_cast<long>(width) * height > size) {
        std::cout << "\nBuffers smaller than the image!\nNothing is done!\n" << std::endl;
        return 0;
    }
    if (!LoadLuma(image, buffer, size)) {
        ReportSmallImage();
        return 0;
    }
    RegionalThreshold regions(width, height);
    regions.AddRows(ConstMethodPlane(buffer, width, height), 0, height);
    Ts = regions.Ts();

    if (verbosity == 1)
        std::cout << "Ts: " << Ts << std::endl;   // the byte itself, not its digits
    return Ts;
}

unsigned char TolvarThrshold::TolvarAdaptiveThresholder(float motion, unsigned int low,
                                                        unsigned int middle,
                                                        unsigned int high) {
    // After every call the adaptive threshold and the previous one agree, a refused call
    // included.
    adaptiveThreshold = AdaptiveThreshold(Ts, motion, motionWeight, low, middle, high,
                                          previousAdaptive, &baseThreshold, &raisedThreshold);
    previousAdaptive = adaptiveThreshold;
    return adaptiveThreshold;
}

bool TolvarThrshold::BuffAlloc(int n) {
    if (buffer)
        BuffFree();
    size = n;
    buffer = NewMethodBuffer(n);
    return true;
}

bool TolvarThrshold::BuffFree() {
    if (buffer) {
        delete[] buffer;
        buffer = nullptr;
        return true;
    }
    std::cout << "\nNothing to free!\n" << std::endl;
    return false;
}
