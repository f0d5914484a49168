// BaseImage: geometry copies and the whole-plane operations shared by every picture.
#include "image/BaseImage.h"

#include <cstring>

#include "image/BaseVFile.h"

namespace ormel {

BaseImage::BaseImage()
    : y_data(nullptr), u_data(nullptr), v_data(nullptr), width{0, 0, 0}, height{0, 0, 0},
      cformat(YUV400) {}

BaseImage::BaseImage(const BaseImage& src)
    : y_data(nullptr), u_data(nullptr), v_data(nullptr), cformat(src.CFormat()) {
    for (int c = 0; c < 3; ++c) {
        width[c] = src.Width(static_cast<CompType>(c));
        height[c] = src.Height(static_cast<CompType>(c));
    }
}

BaseImage::BaseImage(const BaseVFile& f)
    : y_data(nullptr), u_data(nullptr), v_data(nullptr), cformat(f.CFormat()) {
    for (int c = 0; c < 3; ++c) {
        width[c] = f.Width(static_cast<CompType>(c));
        height[c] = f.Height(static_cast<CompType>(c));
    }
}

BaseImage::~BaseImage() {}

BaseImage& BaseImage::operator=(const BaseImage& src) {
    // An image that has planes keeps its geometry for life.
    if (&src == this || y_data || u_data || v_data)
        return *this;
    for (int c = 0; c < 3; ++c) {
        width[c] = src.Width(static_cast<CompType>(c));
        height[c] = src.Height(static_cast<CompType>(c));
    }
    cformat = src.CFormat();
    return *this;
}

long BaseImage::PlaneSize(int c) const {
    if (width[c] <= 0 || height[c] <= 0)
        return 0;
    return static_cast<long>(width[c]) * height[c];
}

void BaseImage::FillPlane(int c, unsigned char value) {
    unsigned char* plane = GetArray(static_cast<CompType>(c));
    const long n = PlaneSize(c);
    if (plane && n > 0)
        std::memset(plane, value, static_cast<size_t>(n));
}

int BaseImage::FillPlanes(CompType c, unsigned char luma, unsigned char chroma) {
    if (c < Y_COMP || c > ALL_COMP)
        return 6;
    for (int k = 0; k < 3; ++k)
        if (c == ALL_COMP || c == k)
            FillPlane(k, k == Y_COMP ? luma : chroma);
    return 10;
}

int BaseImage::Clear(CompType c) { return FillPlanes(c, 0, 128); }

int BaseImage::Fill(unsigned char value, CompType c) { return FillPlanes(c, value, value); }

int BaseImage::CopyTo(unsigned char* buf, CompType c) {
    if (!buf)
        return 8;
    if (c < Y_COMP || c > V_COMP)
        return 22;
    const long n = PlaneSize(c);
    if (n > 0)
        std::memcpy(buf, GetArray(c), static_cast<size_t>(n));
    return 15;
}

int BaseImage::CopyFrom(unsigned char* buf, CompType c) {
    if (!buf)
        return 8;
    if (c < Y_COMP || c > V_COMP)
        return 22;
    const long n = PlaneSize(c);
    if (n > 0)
        std::memcpy(GetArray(c), buf, static_cast<size_t>(n));
    return 16;
}

int BaseImage::CopyTo(BaseImage& dst, CompType c) {
    if (c == ALL_COMP)
        return 25;
    if (c < Y_COMP || c > V_COMP)
        return 22;
    const long n = PlaneSize(c);
    if (n > 0 && &dst != this)
        std::memcpy(dst.GetArray(c), GetArray(c), static_cast<size_t>(n));
    return 25;
}

int BaseImage::CopyFrom(BaseImage& src, CompType c) {
    if (c < Y_COMP || c > ALL_COMP)
        return 22;
    const int first = c == ALL_COMP ? 0 : c;
    const int last = c == ALL_COMP ? 2 : c;
    for (int k = first; k <= last; ++k) {
        const long n = PlaneSize(k);
        if (n > 0 && &src != this)
            std::memcpy(GetArray(static_cast<CompType>(k)),
                        src.GetArray(static_cast<CompType>(k)), static_cast<size_t>(n));
    }
    return 26;
}

}  // namespace ormel
