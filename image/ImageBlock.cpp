// ImageBlock: frame and window bookkeeping and the row-wise window traversals.
#include "image/ImageBlock.h"

#include <algorithm>
#include <cstring>
#include <iostream>

#include "image/BaseImage.h"

namespace ormel {

namespace {

// Samples that plane c of img really holds, for the traversal guard.
long PlaneSamples(BaseImage* img, CompType c) {
    if (c < Y_COMP || c > V_COMP)
        return 0;
    const long w = img->Width(c);
    const long h = img->Height(c);
    if (w <= 0 || h <= 0)
        return 0;
    // A luminance-only picture keeps a one-byte placeholder per chroma plane, whatever
    // chroma sizes it carries.
    if (c != Y_COMP && img->CFormat() == YUV400)
        return 1;
    return w * h;
}

}  // namespace

ImageBlock::ImageBlock(BaseImage& img, CompType c)
    : image(&img), comp(c), plane_width(0), plane_height(0), frame_imax(0), frame_imin(0),
      frame_jmax(0), frame_jmin(0), win_imax(0), win_imin(0), win_jmax(0), win_jmin(0) {
    CopyDimensions();
    SetFrame(0, plane_width - 1, 0, plane_height - 1);
}

ImageBlock::ImageBlock(const ImageBlock& other) = default;

ImageBlock& ImageBlock::operator=(const ImageBlock& other) {
    if (&other == this)
        return *this;
    // `image` stays: the block keeps viewing its own picture.
    comp = other.comp;
    plane_width = other.plane_width;
    plane_height = other.plane_height;
    frame_imax = other.frame_imax;
    frame_imin = other.frame_imin;
    frame_jmax = other.frame_jmax;
    frame_jmin = other.frame_jmin;
    win_imax = other.win_imax;
    win_imin = other.win_imin;
    win_jmax = other.win_jmax;
    win_jmin = other.win_jmin;
    return *this;
}

ImageBlock::~ImageBlock() {}

void ImageBlock::CopyDimensions() {
    // A component that names no single plane gives an empty block.
    if (comp < Y_COMP || comp > V_COMP) {
        plane_width = 0;
        plane_height = 0;
        return;
    }
    plane_width = image->Width(comp);
    plane_height = image->Height(comp);
}

CompType ImageBlock::ComponentType() const { return comp; }
int ImageBlock::Width() const { return win_imax - win_imin + 1; }
int ImageBlock::Height() const { return win_jmax - win_jmin + 1; }
int ImageBlock::get_horizontal_min_extent() const { return win_imin; }
int ImageBlock::get_vertical_min_extent() const { return win_jmin; }
int ImageBlock::hightolow_i(int i) const { return win_imin + i; }
int ImageBlock::hightolow_j(int j) const { return win_jmin + j; }

int ImageBlock::SetFrame(int i0, int i1, int j0, int j1) {
    // Each edge is stored as soon as it passes its test; a later refusal keeps it.
    const int imin = hightolow_i(i0);
    if (imin < 0)
        return 0;
    frame_imin = imin;
    const int imax = hightolow_i(i1);
    if (imax > plane_width - 1)
        return 0;
    frame_imax = imax;
    const int jmin = hightolow_j(j0);
    if (jmin < 0)
        return 0;
    frame_jmin = jmin;
    const int jmax = hightolow_j(j1);
    if (jmax > plane_height - 1)
        return 0;
    frame_jmax = jmax;
    win_imin = frame_imin;
    win_imax = frame_imax;
    win_jmin = frame_jmin;
    win_jmax = frame_jmax;
    return 1;
}

int ImageBlock::SetOrigin(int i, int j) {
    const int pi = hightolow_i(i);
    if (pi < win_imin || pi > win_imax)
        return 0;
    win_imin = pi;
    const int pj = hightolow_j(j);
    if (pj < win_jmin || pj > win_jmax)
        return 0;   // the horizontal move stays
    win_jmin = pj;
    return 1;
}

void ImageBlock::SetWindow(int w, int h) {
    win_imax = win_imin + w - 1;
    win_jmax = win_jmin + h - 1;
    win_imin = std::max(win_imin, frame_imin);
    win_imax = std::min(win_imax, frame_imax);
    win_jmin = std::max(win_jmin, frame_jmin);
    win_jmax = std::min(win_jmax, frame_jmax);
}

void ImageBlock::SetWindow(int s) { SetWindow(s, s); }

void ImageBlock::ClearWindow() {
    win_imax = frame_imax;
    win_jmax = frame_jmax;
}

void ImageBlock::ClearOrigin() {
    win_imin = frame_imin;
    win_jmin = frame_jmin;
}

void ImageBlock::ClearFrame() {
    frame_imin = win_imin = 0;
    frame_jmin = win_jmin = 0;
    frame_imax = win_imax = plane_width - 1;
    frame_jmax = win_jmax = plane_height - 1;
}

unsigned char& ImageBlock::operator()(int i, int j) {
    unsigned char* p = image->GetPixelAddr(comp, hightolow_i(i), hightolow_j(j));
    if (p)
        return *p;
    // The image refused the position and gave no address: writes land in a scratch byte.
    static unsigned char scratch;
    scratch = 0;
    return scratch;
}

unsigned int ImageBlock::operator()(int i, int j) const {
    return image->GetPixel(comp, hightolow_i(i), hightolow_j(j));
}

bool ImageBlock::WindowFits(BaseImage* img, int stride, int imin, int jmin) const {
    const int w = Width();
    const int h = Height();
    if (w <= 0 || h <= 0)
        return true;   // an empty window addresses nothing
    // Rows start at stride * (jmin + r) + imin and grow with r: checking the first and
    // the last sample covers the whole window.
    const long last = static_cast<long>(stride) * (jmin + h - 1) + imin + w - 1;
    if (stride >= 0 && imin >= 0 && jmin >= 0 && img->GetArray(comp) &&
        last < PlaneSamples(img, comp))
        return true;
    std::cout << "ImageBlock: window outside the plane" << std::endl;
    return false;
}

unsigned char* ImageBlock::WindowRow(CompType c, int r) const {
    return image->GetArray(c) + static_cast<long>(plane_width) * (win_jmin + r) + win_imin;
}

int ImageBlock::Clear() {
    if (!WindowFits())
        return 17;
    const unsigned char value = comp == Y_COMP ? 0 : 128;
    for (int r = 0; r < Height(); ++r)
        std::memset(WindowRow(comp, r), value, static_cast<size_t>(Width()));
    return 11;
}

int ImageBlock::Copy(ImageBlock& src) {
    // This block's window size, read from src's plane.
    if (!WindowFits() || !WindowFits(src.image, src.plane_width, src.win_imin, src.win_jmin))
        return 17;
    // The source plane is picked with this block's component; both windows may share it.
    for (int r = 0; r < Height(); ++r)
        std::memmove(WindowRow(comp, r), src.WindowRow(comp, r), static_cast<size_t>(Width()));
    return 12;
}

int ImageBlock::CopyTo(unsigned char* buf) {
    if (!buf)
        return 8;
    if (!WindowFits())
        return 17;
    const int w = Width();
    for (int r = 0; r < Height(); ++r)
        std::memcpy(buf + static_cast<long>(r) * w, WindowRow(comp, r), static_cast<size_t>(w));
    return 23;
}

int ImageBlock::CopyFrom(unsigned char* buf) {
    if (!buf)
        return 8;
    if (!WindowFits())
        return 17;
    const int w = Width();
    for (int r = 0; r < Height(); ++r)
        std::memcpy(WindowRow(comp, r), buf + static_cast<long>(r) * w, static_cast<size_t>(w));
    return 24;
}

}  // namespace ormel
