// BinGlobalMotionEstimator: the object mask. Binary finds the pixels that do not follow
// the global motion (noise-adaptive difference of current and the compensated previous
// frame, binarized with an adaptive threshold); MakeBlock turns them into 8 x 8 object
// blocks (255) on a background of 0 and counts the object blocks.
//
// Binary computes what a TolvarMotionDetection (window 5, clip level 42, gain 6), a fresh
// TolvarThrshold and a Binarization compute for it, on plane views held in the
// estimator's scratch instead of the objects' own buffers.
#include <algorithm>
#include <cassert>
#include <cstdint>
#include <cstring>
#include <iostream>

#include "estimation/BinGlobalMotionEstimator.h"
#include "numeric/VectorUnit.h"
#include "segmentation/BinImage.h"
#include "segmentation/PlaneKernels.h"
#include "segmentation/RegionalThreshold.h"

using ormel::ConstPlaneView;
using ormel::PlaneView;

namespace {

// Detector and thresholder settings of the mask.
const int kWindowSize = 5;
const unsigned int kClipLevel = 42;
const unsigned int kGain = 6;
const unsigned int kLowBound = 80;
const unsigned int kMiddleBound = 120;
const unsigned int kHighBound = 200;
// Rows per stripe: the difference and the maxima of a stripe are made while the rows they
// read are still in cache.
const int kStripe = 32;

const int kBlock = 8;
// The block threshold is the sum at index trunc(blocks * 0.67) of the sorted sums, with
// the factor one unit below the double nearest 0.67 (bits 0x3FE570A3D70A3D70): the index
// is truncated, so the last bit matters.
const double kBlockQuantile = 0.6699999999999999;

PlaneView BinView(BinImage& img) {
    return PlaneView{img.GetArray(ormel::Y_COMP), img.Width(), img.Height(), img.Width()};
}

// Sets the samples of the rows [rowBegin, rowEnd) that lie outside the interior
// [margin, size - margin) of both directions.
void FillBorder(PlaneView p, int margin, unsigned char value, int rowBegin, int rowEnd) {
    const int left = std::min(margin, p.width);
    const int right = std::max(p.width - margin, left);
    for (int y = rowBegin; y < rowEnd; ++y) {
        unsigned char* row = p.Row(y);
        if (y < margin || y >= p.height - margin) {
            std::memset(row, value, static_cast<size_t>(p.width));
        } else {
            std::memset(row, value, static_cast<size_t>(left));
            std::memset(row + right, value, static_cast<size_t>(p.width - right));
        }
    }
}

// The states of a block in MarkBlocks.
const unsigned char kAtOrBelow = 0;   // its sum is at or below the block threshold
const unsigned char kAbove = 1;       // above it and not marked
const unsigned char kObject = 2;      // marked: an object block

// The value at index k of v in ascending order, for values in 0 .. 65535 (a sum of 8 x 8
// bytes is at most 16320): a count of the high bytes finds the high byte of the value, a
// count of the low bytes of the values with that high byte finds the rest. Each count goes
// to four tables in turn, so that a run of equal values (empty blocks) does not wait on
// its own previous count.
int KthSmallest(const std::vector<int>& v, size_t k) {
    const size_t n = v.size();
    size_t count[4][256] = {};
    size_t b = 0;
    for (; b + 4 <= n; b += 4)
        for (int lane = 0; lane < 4; ++lane) {
            assert(v[b + lane] >= 0 && v[b + lane] < 65536);
            ++count[lane][v[b + lane] >> 8];
        }
    for (; b < n; ++b)
        ++count[0][v[b] >> 8];
    int high = 0;
    while (k >= count[0][high] + count[1][high] + count[2][high] + count[3][high]) {
        k -= count[0][high] + count[1][high] + count[2][high] + count[3][high];
        ++high;
    }
    std::fill(&count[0][0], &count[0][0] + 4 * 256, 0);
    for (b = 0; b + 4 <= n; b += 4)   // without a branch, which the sums would mispredict
        for (int lane = 0; lane < 4; ++lane)
            count[lane][v[b + lane] & 255] += (v[b + lane] >> 8) == high;
    for (; b < n; ++b)
        count[0][v[b] & 255] += (v[b] >> 8) == high;
    int low = 0;
    while (k >= count[0][low] + count[1][low] + count[2][low] + count[3][low]) {
        k -= count[0][low] + count[1][low] + count[2][low] + count[3][low];
        ++low;
    }
    return high << 8 | low;
}

// The marking of MakeBlock on the block sums (wx x wy, rows of blocks in order): marks
// gets each block's final state. Returns the number of object blocks.
int MarkBlocks(const std::vector<int>& sum, ObjectMaskScratch& scratch, int wx, int wy) {
    const size_t k = static_cast<size_t>(wy * (wx * kBlockQuantile));
    const int thresh = KthSmallest(sum, k);

    std::vector<unsigned char>& marks = scratch.blockMarks;
    marks.resize(sum.size());
    for (size_t b = 0; b < sum.size(); ++b)
        marks[b] = sum[b] > thresh ? kAbove : kAtOrBelow;
    auto row = [&](int j) { return &marks[static_cast<size_t>(j) * wx]; };

    // Interior blocks with more than four of their 3 x 3 neighbourhood above the threshold,
    // in scan order. A block marked earlier no longer counts as above the threshold for the
    // blocks after it. Most blocks are not above it and cost one test.
    for (int j = 1; j < wy - 1; ++j) {
        const unsigned char* up = row(j - 1);
        unsigned char* mid = row(j);
        const unsigned char* down = row(j + 1);
        for (int i = 1; i < wx - 1; ++i) {
            if (mid[i] != kAbove)
                continue;
            int count = 0;
            for (int di = -1; di <= 1; ++di)
                count += (up[i + di] == kAbove) + (mid[i + di] == kAbove) + (down[i + di] == kAbove);
            if (count > 4)
                mid[i] = kObject;
        }
    }
    // Interior blocks above the threshold next to a marked block; marks spread in scan
    // order, so a block marked just before counts for the blocks after it.
    for (int j = 1; j < wy - 1; ++j) {
        const unsigned char* up = row(j - 1);
        unsigned char* mid = row(j);
        const unsigned char* down = row(j + 1);
        for (int i = 1; i < wx - 1; ++i) {
            if (mid[i] != kAbove)
                continue;
            bool touches = mid[i - 1] == kObject || mid[i + 1] == kObject;
            for (int di = -1; di <= 1; ++di)
                touches = touches || up[i + di] == kObject || down[i + di] == kObject;
            if (touches)
                mid[i] = kObject;
        }
    }
    // Border blocks above the threshold, without a neighbourhood test.
    for (int j = 0; j < wy; ++j)
        for (int i = 0; i < wx; ++i)
            if ((i == 0 || j == 0 || i == wx - 1 || j == wy - 1) && row(j)[i] == kAbove)
                row(j)[i] = kObject;

    return static_cast<int>(std::count(marks.begin(), marks.end(), kObject));
}

// Paints every pixel of the wx x wy whole blocks: 255 for a marked block, 0 otherwise.
// The pixels beyond the last whole block keep their values.
void PaintBlocks(const std::vector<unsigned char>& marks, int wx, int wy, BinImage& blockImage) {
    const bool direct = blockImage.GetBlackLevel() == 0 && blockImage.GetWhiteLevel() >= 255 &&
                        blockImage.Width() >= wx * kBlock && blockImage.Height() >= wy * kBlock;
    if (!direct) {
        // SetPixel refuses what the image's levels or size do not allow, with its message
        // for every pixel.
        for (int j = 0; j < wy; ++j)
            for (int i = 0; i < wx; ++i) {
                const unsigned char value = marks[static_cast<size_t>(j) * wx + i] == kObject ? 255 : 0;
                for (int r = 0; r < kBlock; ++r)
                    for (int c = 0; c < kBlock; ++c)
                        blockImage.SetPixel(i * kBlock + c, j * kBlock + r, value);
            }
        return;
    }
    const PlaneView out = BinView(blockImage);
    for (int j = 0; j < wy; ++j) {
        const unsigned char* s = &marks[static_cast<size_t>(j) * wx];
        unsigned char* first = out.Row(j * kBlock);
        static_assert(kBlock == sizeof(std::uint64_t), "a block row is one 64-bit store");
        for (int i = 0; i < wx; ++i) {   // one 8-byte store per block, no call
            const std::uint64_t eight = s[i] == kObject ? ~std::uint64_t{0} : 0;
            std::memcpy(first + i * kBlock, &eight, kBlock);
        }
        for (int r = 1; r < kBlock; ++r)
            std::memcpy(out.Row(j * kBlock + r), first, static_cast<size_t>(wx) * kBlock);
    }
}

// The rest of MakeBlock once scratch.blockSums holds the wx x wy block sums: marks and
// paint. Returns the marked count.
int FinishBlockMask(int wx, int wy, BinImage& blockImage, ObjectMaskScratch& scratch) {
    const int marked = MarkBlocks(scratch.blockSums, scratch, wx, wy);
    PaintBlocks(scratch.blockMarks, wx, wy, blockImage);
    return marked;
}

}  // namespace

void BinGlobalMotionEstimator::Binary(ormel::YUVImage& current, ormel::YUVImage& previous,
                                      double* a, BinImage& binImage, int* err) {
    const PlaneView cur = ormel::LumaView(current);
    const int W = cur.width;
    const int H = cur.height;
    const char* misfit = !cur.SameSize(ormel::LumaView(previous)) ? "previous"
                         : !cur.SameSize(BinView(binImage))       ? "binImage"
                                                                  : nullptr;
    if (misfit) {
        std::cout << "BinGlobalMotionEstimator::Binary: " << misfit << " is not " << W << " x "
                  << H << std::endl;
        return;
    }
    if (W < kBlock || H < kBlock) {
        *err = 0;   // no whole block: nothing is marked and the mask is not written
        return;
    }
    const segmentation::PlaneKernels& kernels = segmentation::Kernels(numeric::BestVectorUnit());

    maskScratch.Fit(W, H);
    ormel::YUVImage& compImage = maskScratch.Compensated();
    Compensate(previous, a, compImage);
    const PlaneView comp = ormel::LumaView(compImage);
    const PlaneView diff = maskScratch.Difference();

    // Windowed mean |current - compensated| into diff, then the clipped window maxima of
    // diff into comp, in stripes, and the region histograms of the maxima. The maxima of
    // a row read diff two rows further down, and the difference of a row reads comp two
    // rows down and up: the maxima stay two rows behind, so they only overwrite rows of
    // comp that no difference reads any more. Outside the interior, both planes take the
    // detector's black level.
    const unsigned char black = static_cast<unsigned char>(blackLevel);
    const int margin = kWindowSize / 2;
    const int below = kWindowSize - margin - 1;
    FillBorder(diff, margin, black, 0, H);
    // The maxima take at most kClipLevel + 2 values (gain times a level up to the clip
    // level, kept to 8 bits, and black): few enough to count two samples at a time.
    static_assert(kClipLevel + 2 <= segmentation::PairHistogram::kMaxValues, "too many maxima");
    bool isValue[256] = {};
    for (unsigned int level = 0; level <= kClipLevel; ++level)
        isValue[(kGain * level) & 255] = true;
    isValue[black] = true;
    // In increasing order: 0, the maxima of still background, comes first.
    unsigned char values[segmentation::PairHistogram::kMaxValues];
    int valueCount = 0;
    for (int v = 0; v < 256; ++v)
        if (isValue[v])
            values[valueCount++] = static_cast<unsigned char>(v);
    maskScratch.regionPairs.Start(values, valueCount, segmentation::RegionalThreshold::kRegions);
    segmentation::RegionalThreshold regions(W, H);
    int maxRows = 0;
    for (int y = 0; y < H; y += kStripe) {
        const int end = std::min(H, y + kStripe);
        kernels.AbsDiffMean(ormel::ConstView(cur), ormel::ConstView(comp), kWindowSize, diff, y,
                            end);
        const int maxEnd = end == H ? H : end - below;
        kernels.ClippedMax(ormel::ConstView(diff), kWindowSize, kClipLevel, kGain, comp, maxRows,
                           maxEnd);
        FillBorder(comp, margin, black, maxRows, maxEnd);
        regions.AddRows(ormel::ConstView(comp), maxRows, maxEnd, maskScratch.regionPairs);
        maxRows = maxEnd;
    }

    regions.TakePairs(maskScratch.regionPairs);

    // The adaptive threshold of a fresh thresholder replaces the regional one.
    const float TolvarStandardDeviation = 1.0f;
    const unsigned char thresh =
        segmentation::AdaptiveThreshold(regions.Ts(), TolvarStandardDeviation, motionWeight,
                                        kLowBound, kMiddleBound, kHighBound, 0);

    // The block sums of the binary picture, with the mask's levels, straight from the
    // maxima; then MakeBlock's marks.
    const int wx = W / kBlock;
    const int wy = H / kBlock;
    maskScratch.blockSums.resize(static_cast<size_t>(wx) * wy);
    kernels.BinaryBlockSums(ormel::ConstView(comp), thresh,
                            static_cast<unsigned char>(binImage.GetBlackLevel()),
                            static_cast<unsigned char>(binImage.GetWhiteLevel()),
                            maskScratch.blockSums.data());
    *err = FinishBlockMask(wx, wy, binImage, maskScratch);
}

void BinGlobalMotionEstimator::MakeBlock(BinImage& binImage, BinImage& blockImage, int* err) {
    const int wx = binImage.Width() / kBlock;
    const int wy = binImage.Height() / kBlock;
    if (wx <= 0 || wy <= 0) {
        *err = 0;
        return;
    }
    maskScratch.blockSums.resize(static_cast<size_t>(wx) * wy);
    segmentation::Kernels(numeric::BestVectorUnit())
        .BlockSums(ormel::ConstView(BinView(binImage)), maskScratch.blockSums.data());
    *err = FinishBlockMask(wx, wy, blockImage, maskScratch);
}
