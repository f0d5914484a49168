// BinGlobalMotionEstimator: the [1 2 1] low-pass filters with decimation by two.
// Integer arithmetic with a truncating division by 4 in each direction; the upper and
// left borders are replicated, an odd last row or column is dropped.
#include "estimation/BinGlobalMotionEstimator.h"
#include "estimation/Downsample.h"
#include "estimation/PlaneCheck.h"
#include "image/PlaneView.h"
#include "image/VidsFile.h"

using estimation::Covers;

int BinGlobalMotionEstimator::HorFilter(ormel::YUVImage& inputImage, ormel::YUVImage& outputImage) {
    const ormel::PlaneView in = ormel::LumaView(inputImage);
    const ormel::PlaneView out = ormel::LumaView(outputImage);
    const int W = in.width;
    const int H = in.height;
    const int ow = W / 2;
    if (!Covers(out, ow, H, "HorFilter", "outputImage"))
        return 0;
    for (int y = 0; y < H && ow > 0; ++y) {
        const unsigned char* s = in.Row(y);
        unsigned char* d = out.Row(y);
        // Column 0 takes itself as its left neighbour; x < W / 2 keeps 2x + 1 inside.
        d[0] = static_cast<unsigned char>((s[0] + 2u * s[0] + s[1]) / 4u);
        for (int x = 1; x < ow; ++x) {
            const unsigned char* c = s + 2 * x;
            d[x] = static_cast<unsigned char>((c[-1] + 2u * c[0] + c[1]) / 4u);
        }
    }
    return 0;
}

int BinGlobalMotionEstimator::VerFilter(ormel::YUVImage& inputImage, ormel::YUVImage& outputImage) {
    const ormel::PlaneView in = ormel::LumaView(inputImage);
    const ormel::PlaneView out = ormel::LumaView(outputImage);
    const int W = in.width;
    const int H = in.height;
    const int oh = H / 2;
    if (!Covers(out, W, oh, "VerFilter", "outputImage"))
        return 0;
    for (int y = 0; y < oh; ++y) {
        const int yy = 2 * y;
        const unsigned char* up = in.Row(yy >= 1 ? yy - 1 : 0);   // row 0 is its own upper neighbour
        const unsigned char* mid = in.Row(yy);
        const unsigned char* down = in.Row(yy + 1);                // y < H / 2 keeps it inside
        unsigned char* d = out.Row(y);
        for (int x = 0; x < W; ++x)
            d[x] = static_cast<unsigned char>((up[x] + 2u * mid[x] + down[x]) / 4u);
    }
    return 0;
}

int BinGlobalMotionEstimator::GaussFilter(ormel::YUVImage& inputImage, ormel::YUVImage& outputImage) {
    const ormel::PlaneView in = ormel::LumaView(inputImage);
    const ormel::PlaneView out = ormel::LumaView(outputImage);
    if (in.data && out.data && out.width >= in.width / 2 && out.height >= in.height / 2) {
        // Both steps in one pass, the same bytes.
        estimation::DownsampleHalf(ormel::ConstView(ormel::LumaView(inputImage)),
                                   ormel::LumaView(outputImage), scratch.pyramidRows);
        return 0;
    }
    ormel::YUVImage half(ScratchFormat(), inputImage.Width(ormel::Y_COMP) / 2,
                         inputImage.Height(ormel::Y_COMP));
    HorFilter(inputImage, half);
    VerFilter(half, outputImage);
    return 0;
}
