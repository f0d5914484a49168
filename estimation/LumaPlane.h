// LumaPlane: a raw view of an image's luminance plane for the estimator's per-pixel loops,
// which check sizes once here and then walk rows by pointer. Row y starts at y * width.
// Internal to the estimation library.
#ifndef ESTIMATION_LUMAPLANE_H
#define ESTIMATION_LUMAPLANE_H

#include <cstddef>

#include "image/YUVImage.h"

namespace estimation {

struct LumaPlane {
    unsigned char* data;   // null for an image without a luminance plane
    int width;
    int height;

    explicit LumaPlane(ormel::YUVImage& img)
        : data(img.GetArray(ormel::Y_COMP)), width(img.Width(ormel::Y_COMP)),
          height(img.Height(ormel::Y_COMP)) {}

    unsigned char* Row(int y) const { return data + static_cast<ptrdiff_t>(y) * width; }

    // True when a w x h region at the origin lies inside the plane (always for an empty
    // region); otherwise reports "<op>: <what> is smaller than <w> x <h>" and returns false.
    bool Covers(int w, int h, const char* op, const char* what) const;
};

}  // namespace estimation

#endif
