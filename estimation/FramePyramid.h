// FramePyramid: the estimator's low-pass pyramid of one frame (or of the object mask),
// kept from pair to pair so that its levels are allocated once per frame size.
// Level 0 is the frame itself, not a copy: it must stay unchanged while the pyramid is
// used. BuildCopy instead copies level 0 into an image of the pyramid's own. Level l + 1
// is level l low-passed and halved (DownsampleHalf), levels 1 and on are luminance-only
// images of the pyramid's own. Internal to the estimation library.
#ifndef ESTIMATION_FRAMEPYRAMID_H
#define ESTIMATION_FRAMEPYRAMID_H

#include <cstdint>
#include <memory>
#include <vector>

#include "image/YUVImage.h"

class BinImage;

namespace estimation {

class FramePyramid {
public:
    FramePyramid() = default;
    // A copy starts empty: it is scratch.
    FramePyramid(const FramePyramid&) {}
    FramePyramid& operator=(const FramePyramid&) { return *this; }
    FramePyramid(FramePyramid&&) = default;
    FramePyramid& operator=(FramePyramid&&) = default;

    // `levels` levels over `base` (W x H its luminance size), levels >= 1.
    void Build(ormel::YUVImage& base, int levels);
    // The same with level 0 a W x H copy of `mask`; a mask of another size is read
    // sample by sample with its own out-of-bounds messages.
    void BuildCopy(BinImage& mask, int W, int H, int levels);
    // Whether the pyramid was built with `levels` levels over a W x H level 0.
    bool Holds(int W, int H, int levels) const;
    // Takes `base` as level 0, which must hold the samples level 0 had when the pyramid
    // was built: the coarser levels stay as they are.
    void Rebase(ormel::YUVImage& base) { level0 = &base; }

    ormel::YUVImage& Level(int l) { return l == 0 ? *level0 : *coarser[l]; }

private:
    void Fit(int W, int H, int levels, bool ownLevel0);
    void Fill(int levels);

    ormel::YUVImage* level0 = nullptr;
    // coarser[l] is level l for l >= 1; coarser[0] is level 0 of BuildCopy.
    std::vector<std::unique_ptr<ormel::YUVImage>> coarser;
    int width = 0;
    int height = 0;
    int built = 0;   // levels of the last build, 0 before the first
    std::vector<std::uint8_t> rows;
};

}  // namespace estimation

#endif
