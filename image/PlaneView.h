// PlaneView: a plain view of one 8-bit plane (pointer, width, height, stride), the form
// every per-pixel loop works on. It owns nothing; rows are `stride` bytes apart and each
// holds `width` samples. A view of an image's luminance plane has stride == width, the
// image library's addressing rule.
#ifndef ORMEL_PLANEVIEW_H
#define ORMEL_PLANEVIEW_H

#include <cstddef>
#include <cstdint>

#include "image/BaseImage.h"

namespace ormel {

template <class Sample>
struct BasicPlaneView {
    Sample* data = nullptr;
    int width = 0;
    int height = 0;
    std::ptrdiff_t stride = 0;

    Sample* Row(int y) const { return data + y * stride; }
    bool Empty() const { return data == nullptr || width <= 0 || height <= 0; }
    // True when both views have the same width and height.
    template <class Other>
    bool SameSize(const BasicPlaneView<Other>& o) const {
        return width == o.width && height == o.height;
    }
};

using PlaneView = BasicPlaneView<std::uint8_t>;
using ConstPlaneView = BasicPlaneView<const std::uint8_t>;

// The luminance plane of an image (null data when it has none).
inline PlaneView LumaView(BaseImage& img) {
    PlaneView v;
    v.data = img.GetArray(Y_COMP);
    v.width = img.Width(Y_COMP);
    v.height = img.Height(Y_COMP);
    v.stride = v.width;
    return v;
}

inline ConstPlaneView ConstView(const PlaneView& v) {
    return ConstPlaneView{v.data, v.width, v.height, v.stride};
}

}  // namespace ormel

#endif
