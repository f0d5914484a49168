// YUVImage: plane allocation, chroma geometry and the bounds-checked pixel accessors.
#include "image/YUVImage.h"

#include <iostream>
#include <new>

#include "image/BaseVFile.h"

namespace ormel {

namespace {

// Chroma plane size of a w x h picture in format f (integer division).
void ChromaSize(ChromaFormat f, int w, int h, int* cw, int* ch) {
    switch (f) {
    case YUV400: *cw = 0; *ch = 0; break;
    case YUV422: *cw = w / 2; *ch = h; break;
    case YUV420: *cw = w / 2; *ch = h / 2; break;
    case YUV411: *cw = w / 4; *ch = h; break;
    default: *cw = w; *ch = h; break;   // 4:4:4 and every unknown format
    }
}

unsigned char* NewPlane(long n) {
    return new (std::nothrow) unsigned char[static_cast<size_t>(n)]();
}

}  // namespace

YUVImage::YUVImage() : BaseImage(), capacity{0, 0, 0} {
    InitGeometry(YUV420, 352, 288);
}

YUVImage::YUVImage(ChromaFormat f, int w, int h) : BaseImage(), capacity{0, 0, 0} {
    InitGeometry(f, w, h);
}

YUVImage::YUVImage(const BaseVFile& f) : BaseImage(f), capacity{0, 0, 0} {
    ChromaFactor();
    AllocateMemory();
}

YUVImage::YUVImage(const YUVImage& src) : BaseImage(src), capacity{0, 0, 0} {
    ChromaFactor();
    AllocateMemory();
}

YUVImage::~YUVImage() {
    FreeMemory();
}

void YUVImage::InitGeometry(ChromaFormat f, int w, int h) {
    cformat = f;
    width[0] = w;
    height[0] = h;
    ChromaSize(f, w, h, &width[1], &height[1]);
    width[2] = width[1];
    height[2] = height[1];
    ChromaFactor();
    AllocateMemory();
}

YUVImage& YUVImage::operator=(const YUVImage& src) {
    if (&src == this)
        return *this;
    BaseImage::operator=(src);   // geometry changes only while there are no planes
    ChromaFactor();
    AllocateMemory();
    return *this;
}

void YUVImage::ChromaFactor() {
    switch (cformat) {
    case YUV400: hfactor = 0; vfactor = 0; break;
    case YUV422: hfactor = 2; vfactor = 1; break;
    case YUV420: hfactor = 2; vfactor = 2; break;
    case YUV411: hfactor = 4; vfactor = 1; break;
    default: hfactor = 1; vfactor = 1; break;
    }
}

int YUVImage::AllocateMemory() {
    FreeMemory();   // planes are replaced, never leaked
    // A luminance-only picture needs a luminance plane.
    if (cformat == YUV400 && (width[0] < 1 || height[0] < 1))
        return 7;
    // Every plane gets its stated size, at least one byte. A luminance-only picture made
    // from a file carries the file's chroma sizes: its chroma planes are then real too,
    // so that the whole-plane operations never run past them.
    unsigned char** planes[3] = {&y_data, &u_data, &v_data};
    for (int c = 0; c < 3; ++c) {
        const long n = PlaneSize(c) > 0 ? PlaneSize(c) : 1;
        *planes[c] = NewPlane(n);
        if (!*planes[c])
            return 7;
        capacity[c] = n;
    }
    return 0;
}

int YUVImage::FreeMemory() {
    unsigned char** planes[3] = {&y_data, &u_data, &v_data};
    for (int c = 0; c < 3; ++c) {
        delete[] *planes[c];
        *planes[c] = nullptr;
        capacity[c] = 0;
    }
    return 0;
}

// Components other than U and V answer for the luminance plane, as GetArray does.
int YUVImage::Width(CompType c) const { return width[c == U_COMP || c == V_COMP ? c : 0]; }
int YUVImage::Height(CompType c) const { return height[c == U_COMP || c == V_COMP ? c : 0]; }
ChromaFormat YUVImage::CFormat() const { return cformat; }

unsigned char* YUVImage::GetArray(CompType c) {
    if (c == U_COMP) return u_data;
    if (c == V_COMP) return v_data;
    return y_data;
}

const unsigned char* YUVImage::Plane(int c) const {
    if (c == U_COMP) return u_data;
    if (c == V_COMP) return v_data;
    return y_data;
}

void YUVImage::CheckBounds(int c, int& i, int& j, bool withAddress) const {
    if (i >= 0 && i < width[c] && j >= 0 && j < height[c])
        return;
    std::cout << "YUVImage: boundary overflow or underflow" << std::endl;
    std::cout << "i = " << i << " j = " << j << std::endl;
    if (withAddress)
        std::cout << static_cast<const void*>(this) << std::endl;
    // The clamp uses the luminance size for every plane.
    if (i < 0) i = 0;
    else if (i >= width[0]) i = width[0] - 1;
    if (j < 0) j = 0;
    else if (j >= height[0]) j = height[0] - 1;
}

long YUVImage::Guard(int c, long index) const {
    // Never address outside the allocation (a clamped chroma position, or the one-byte
    // chroma planes of a luminance-only picture).
    if (index >= capacity[c]) index = capacity[c] - 1;
    return index < 0 ? 0 : index;
}

long YUVImage::Index(int c, int i, int j, bool withAddress) const {
    c = (c == U_COMP || c == V_COMP) ? c : 0;
    CheckBounds(c, i, j, withAddress);
    return Guard(c, static_cast<long>(width[c]) * j + i);
}

unsigned int YUVImage::GetPixel(CompType c, int i, int j) const {
    return Plane(c)[Index(c, i, j, false)];
}

unsigned char* YUVImage::GetPixelAddr(CompType c, int i, int j) {
    return GetArray(c) + Index(c, i, j, true);
}

unsigned char YUVImage::Y(int i, int j) const { return y_data[Index(0, i, j, true)]; }
unsigned char& YUVImage::Y(int i, int j) { return y_data[Index(0, i, j, true)]; }
unsigned char YUVImage::U(int i, int j) const { return u_data[Index(1, i, j, true)]; }
unsigned char& YUVImage::U(int i, int j) { return u_data[Index(1, i, j, true)]; }
unsigned char YUVImage::V(int i, int j) const { return v_data[Index(2, i, j, true)]; }
unsigned char& YUVImage::V(int i, int j) { return v_data[Index(2, i, j, true)]; }

unsigned char& YUVImage::operator()(int i, int j, YUVColor color) {
    CheckBounds(0, i, j, true);
    if (vfactor != 0) {
        // One index for both chroma planes, taken with the U width.
        const long ci = static_cast<long>(i / hfactor) + static_cast<long>(width[1]) * (j / vfactor);
        u_data[Guard(1, ci)] = color.u_value;
        v_data[Guard(2, ci)] = color.v_value;
    }
    return y_data[Guard(0, static_cast<long>(width[0]) * j + i)];
}

}  // namespace ormel
