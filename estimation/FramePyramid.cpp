// FramePyramid: allocation once per size, then one DownsampleHalf per level.
#include "estimation/FramePyramid.h"

#include <cstring>

#include "estimation/Downsample.h"
#include "image/PlaneView.h"
#include "segmentation/BinImage.h"

namespace estimation {

namespace {

bool Fits(const std::unique_ptr<ormel::YUVImage>& img, int W, int H) {
    return img && img->Width(ormel::Y_COMP) == W && img->Height(ormel::Y_COMP) == H;
}

}  // namespace

void FramePyramid::Fit(int W, int H, int levels, bool ownLevel0) {
    if (static_cast<int>(coarser.size()) < levels)
        coarser.resize(static_cast<std::size_t>(levels));
    if (ownLevel0 && !Fits(coarser[0], W, H))
        coarser[0] = std::make_unique<ormel::YUVImage>(ormel::YUV400, W, H);
    int w = W, h = H;
    for (int l = 1; l < levels; ++l) {
        w /= 2;
        h /= 2;
        if (!Fits(coarser[l], w, h))
            coarser[l] = std::make_unique<ormel::YUVImage>(ormel::YUV400, w, h);
    }
    width = W;
    height = H;
    built = levels;
}

void FramePyramid::Fill(int levels) {
    for (int l = 1; l < levels; ++l)
        DownsampleHalf(ormel::ConstView(ormel::LumaView(Level(l - 1))),
                       ormel::LumaView(*coarser[l]), rows);
}

void FramePyramid::Build(ormel::YUVImage& base, int levels) {
    Fit(base.Width(ormel::Y_COMP), base.Height(ormel::Y_COMP), levels, false);
    level0 = &base;
    Fill(levels);
}

void FramePyramid::BuildCopy(BinImage& mask, int W, int H, int levels) {
    Fit(W, H, levels, true);
    level0 = coarser[0].get();
    unsigned char* dst = level0->GetArray(ormel::Y_COMP);
    if (mask.Width() == W && mask.Height() == H) {
        std::memcpy(dst, mask.GetArray(ormel::Y_COMP),
                    static_cast<std::size_t>(W) * static_cast<std::size_t>(H));
    } else {
        for (int y = 0; y < H; ++y)
            for (int x = 0; x < W; ++x)
                dst[static_cast<std::ptrdiff_t>(y) * W + x] = mask.GetPixel(x, y);
    }
    Fill(levels);
}

bool FramePyramid::Holds(int W, int H, int levels) const {
    return level0 && built == levels && width == W && height == H;
}

}  // namespace estimation
