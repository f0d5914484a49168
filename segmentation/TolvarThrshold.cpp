// TolvarThrshold: regional statistics threshold and the ratcheting adaptive threshold.
#include "segmentation/TolvarThrshold.h"

#include <climits>
#include <cmath>
#include <iostream>

#include "segmentation/LumaPlane.h"

using namespace segmentation;

float LW_weight = 3.4f;

namespace {

const int kRegions = 9;

// Adds the samples p[from .. to-1] of one row to region r.
void Accumulate(const unsigned char* p, long from, long to, long hist[256], long long* sum,
                long* count) {
    for (long x = from; x < to; ++x) {
        ++hist[p[x]];
        *sum += p[x];
    }
    if (to > from)
        *count += to - from;
}

}  // namespace

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
    Ts = 0;
    const long H3 = height / 3;
    const long H6 = 2 * (height / 3);
    const long W3 = width / 3;
    const long W6 = 2 * (width / 3);

    long hist[kRegions][256] = {};
    long long sum[kRegions] = {};
    long count[kRegions] = {};
    // Every sample goes to the first region whose test holds:
    //   rows y < H3:         x < W3 -> 0,  W3 <= x <= W6 -> 3,  x > W6 -> 6
    //   rows H3 <= y < H6:   x <= W3 -> 1, W3 < x <= W6 -> 4,   x > W6 -> 7
    //   rows y >= H6:        x < W3 -> 2,  W3 <= x <= W6 -> 5,  x > W6 -> 8
    // (x >= W6 of regions 6 and 8 leaves x == W6 to 3 and 5, listed first.)
    // Histograms and sums do not depend on the visiting order, so rows go in order.
    const long w = width;
    const long leftEnd = W3 < w ? W3 : w;                    // x < W3
    const long middleLeftEnd = W3 + 1 < w ? W3 + 1 : w;      // x <= W3
    const long middleEnd = W6 + 1 < w ? W6 + 1 : w;          // x <= W6
    for (long y = 0; y < height; ++y) {
        const unsigned char* p = buffer + y * w;
        const int band = y < H3 ? 0 : (y < H6 ? 1 : 2);
        const long split = band == 1 ? middleLeftEnd : leftEnd;
        const int left = band;
        const int middle = band + 3;
        const int right = band + 6;
        Accumulate(p, 0, split, hist[left], &sum[left], &count[left]);
        Accumulate(p, split, middleEnd, hist[middle], &sum[middle], &count[middle]);
        Accumulate(p, middleEnd, w, hist[right], &sum[right], &count[right]);
    }

    long long total = 0;
    for (int r = 0; r < kRegions; ++r) {
        const long long mean = count[r] != 0 ? sum[r] / count[r] : 0;
        // Mode of each band 0-51, 52-102, 103-153, 154-204, 205-255: ties keep the
        // lower bin, an empty band contributes 0.
        long long modeSum = 0;
        int peakBin = 0;
        long peakCount = 0;
        for (int b = 0; b < 256; ++b) {
            if (hist[r][b] > peakCount) {
                peakCount = hist[r][b];
                peakBin = b;
            }
            if (b == 51 || b == 102 || b == 153 || b == 204 || b == 255) {
                modeSum += peakBin;
                peakBin = 0;
                peakCount = 0;
            }
        }
        total += mean + modeSum;
    }
    Ts = static_cast<unsigned char>(total / 54);   // 9 regions x 6 values

    if (verbosity == 1)
        std::cout << "Ts: " << Ts << std::endl;   // the byte itself, not its digits
    return Ts;
}

unsigned char TolvarThrshold::TolvarAdaptiveThresholder(float motion, unsigned int low,
                                                        unsigned int middle,
                                                        unsigned int high) {
    // Product in single precision; the rounding term is added in double.
    const float weighted = motionWeight * motion;
    const double lifted = 0.5 + weighted;
    if (!(lifted > static_cast<double>(INT_MIN) - 1.0 &&
          lifted < static_cast<double>(INT_MAX) + 1.0)) {
        std::cout << "\nInvalid motion value!\nNothing is changed!\n" << std::endl;
        return previousAdaptive;
    }
    const int lift = static_cast<int>(lifted);   // truncated toward zero

    if (Ts < low)
        baseThreshold = static_cast<unsigned char>(low + 20);
    else if (Ts < middle)
        baseThreshold = static_cast<unsigned char>(middle + 10);
    else
        baseThreshold = static_cast<unsigned char>(high);
    raisedThreshold = static_cast<unsigned char>(static_cast<long long>(baseThreshold) + lift);

    // Ratchet: the threshold never falls during the life of the object.
    adaptiveThreshold = raisedThreshold > previousAdaptive ? raisedThreshold : previousAdaptive;
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
