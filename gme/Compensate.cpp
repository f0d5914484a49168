// gme::Compensate over the global motion compensator.
#include "gme/Compensate.h"

#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "image/YUVImage.h"
#include "motion/GlobalMotionCompensator.h"
#include "motion/MotionModel.h"

namespace gme {

namespace {

void CheckPlane(const std::uint8_t* p, int width, std::ptrdiff_t stride, const char* what) {
    if (!p)
        throw std::invalid_argument(std::string("gme::Compensate: null ") + what);
    if (stride < width)
        throw std::invalid_argument(std::string("gme::Compensate: the stride of ") + what +
                                    " is below the width");
}

void Load(const std::uint8_t* src, std::ptrdiff_t stride, ormel::YUVImage& img) {
    const int w = img.Width(ormel::Y_COMP), h = img.Height(ormel::Y_COMP);
    unsigned char* dst = img.GetArray(ormel::Y_COMP);
    for (int y = 0; y < h; ++y)
        std::memcpy(dst + static_cast<std::ptrdiff_t>(y) * w, src + y * stride,
                    static_cast<size_t>(w));
}

}  // namespace

double Compensate(const std::uint8_t* previous, int width, int height, std::ptrdiff_t stride,
                  const std::array<double, 6>& params, std::uint8_t* out,
                  std::ptrdiff_t outStride, const std::uint8_t* current,
                  std::ptrdiff_t currentStride) {
    if (width < 1 || height < 1)
        throw std::invalid_argument("gme::Compensate: a " + std::to_string(width) + "x" +
                                    std::to_string(height) + " frame has no pixels");
    CheckPlane(previous, width, stride, "previous frame");
    CheckPlane(out, width, outStride, "output frame");
    if (current)
        CheckPlane(current, width, currentStride, "current frame");

    ormel::YUVImage prev(ormel::YUV400, width, height), comp(ormel::YUV400, width, height),
        cur(ormel::YUV400, width, height);
    Load(previous, stride, prev);
    if (current)
        Load(current, currentStride, cur);
    std::vector<double> a(params.begin(), params.end());
    MotionModel model;
    model.setParameterVector(a);
    GlobalMotionCompensator compensator(model);
    const double mae = compensator.CompensateWithMAE(prev, cur, comp, 100);
    const unsigned char* c = comp.GetArray(ormel::Y_COMP);
    for (int y = 0; y < height; ++y)
        std::memcpy(out + y * outStride, c + static_cast<std::ptrdiff_t>(y) * width,
                    static_cast<size_t>(width));
    return current ? mae : std::numeric_limits<double>::quiet_NaN();
}

}  // namespace gme
