// ImageSequence: geometry, ownership of the held images and the index checks.
#include "image/ImageSequence.h"

#include <cstdlib>
#include <iostream>

#include "image/BaseImage.h"
#include "image/BaseVFile.h"

namespace ormel {

ImageSequence::ImageSequence()
    : interlaced(false), top_field_first(true), frame_rate(0.0f), cformat(UNKNOWN_FORMAT),
      width{0, 0, 0}, height{0, 0, 0} {}

ImageSequence::ImageSequence(ChromaFormat f, int w, int h, bool interlaced_,
                             bool top_field_first_, float frame_rate_, int n)
    : images(n > 0 ? n : 0, nullptr), interlaced(interlaced_),
      top_field_first(top_field_first_), frame_rate(frame_rate_), cformat(f),
      width{w, 0, 0}, height{h, 0, 0} {
    int cw, ch;   // chroma plane size, integer division as for a YUVImage
    switch (f) {
    case YUV400: cw = 0; ch = 0; break;
    case YUV422: cw = w / 2; ch = h; break;
    case YUV420: cw = w / 2; ch = h / 2; break;
    case YUV411: cw = w / 4; ch = h; break;
    default: cw = w; ch = h; break;
    }
    width[1] = width[2] = cw;
    height[1] = height[2] = ch;
}

ImageSequence::ImageSequence(const BaseImage& img, bool interlaced_, bool top_field_first_,
                             float frame_rate_, int n)
    : images(n > 0 ? n : 0, nullptr), interlaced(interlaced_),
      top_field_first(top_field_first_), frame_rate(frame_rate_), cformat(img.CFormat()) {
    for (int c = 0; c < 3; ++c) {
        width[c] = img.Width(static_cast<CompType>(c));
        height[c] = img.Height(static_cast<CompType>(c));
    }
}

ImageSequence::ImageSequence(const BaseVFile& f)
    : interlaced(f.Interlaced()), top_field_first(true), frame_rate(f.FrameRate()),
      cformat(f.CFormat()) {
    for (int c = 0; c < 3; ++c) {
        width[c] = f.Width(static_cast<CompType>(c));
        height[c] = f.Height(static_cast<CompType>(c));
    }
}

ImageSequence::ImageSequence(const ImageSequence& other)
    : interlaced(other.interlaced), top_field_first(other.top_field_first),
      frame_rate(other.frame_rate), cformat(other.cformat) {
    for (int c = 0; c < 3; ++c) {
        width[c] = other.width[c];
        height[c] = other.height[c];
    }
}

ImageSequence& ImageSequence::operator=(const ImageSequence& other) {
    if (&other == this)
        return *this;
    interlaced = other.interlaced;
    top_field_first = other.top_field_first;
    frame_rate = other.frame_rate;
    cformat = other.cformat;
    for (int c = 0; c < 3; ++c) {
        width[c] = other.width[c];
        height[c] = other.height[c];
    }
    return *this;
}

ImageSequence::~ImageSequence() { Clear(); }

int ImageSequence::NumberOfImages() const { return static_cast<int>(images.size()); }
ImageSequence::iterator ImageSequence::Iterator() { return images.begin(); }
int ImageSequence::Width() const { return width[0]; }
int ImageSequence::Height() const { return interlaced ? height[0] * 2 : height[0]; }
// Components other than U and V answer for the luminance plane.
int ImageSequence::Width(CompType c) const { return width[c == U_COMP || c == V_COMP ? c : 0]; }
int ImageSequence::Height(CompType c) const { return height[c == U_COMP || c == V_COMP ? c : 0]; }
ChromaFormat ImageSequence::CFormat() const { return cformat; }
bool ImageSequence::Interlaced() const { return interlaced; }
bool ImageSequence::TopFieldFirst() const { return top_field_first; }
float ImageSequence::FrameRate() const { return frame_rate; }
void ImageSequence::SetFrameRate(float r) { frame_rate = r; }

void ImageSequence::SetSamplingMatrices(ChromaFormat f, bool interlaced_) {
    cformat = f;
    interlaced = interlaced_;
}

bool ImageSequence::Fits(const BaseImage* img) const {
    if (!img)
        return false;
    for (int c = 0; c < 3; ++c) {
        if (img->Width(static_cast<CompType>(c)) != width[c] ||
            img->Height(static_cast<CompType>(c)) != height[c])
            return false;
    }
    return true;
}

bool ImageSequence::IndexValid(int i) const {
    if (i >= 0 && i < NumberOfImages())
        return true;
    std::cout << "ImageSequence: boundary overflow or underflow, index = " << i
              << ", should range from 0 to " << NumberOfImages() - 1 << std::endl;
    return false;
}

int ImageSequence::push_back(BaseImage* img) {
    if (!Fits(img))
        return 17;
    images.push_back(img);
    return 18;
}

int ImageSequence::push_front(BaseImage* img) {
    if (!Fits(img))
        return 17;
    images.push_front(img);
    return 18;
}

int ImageSequence::insert(int i, BaseImage* img) {
    if (!IndexValid(i))
        return 20;
    if (!Fits(img))
        return 17;
    images.insert(images.begin() + i, img);
    return 18;
}

BaseImage* ImageSequence::operator[](int i) {
    if (!IndexValid(i))
        std::exit(1);
    return images[static_cast<size_t>(i)];
}

BaseImage* ImageSequence::operator[](int i) const {
    if (!IndexValid(i))
        return nullptr;
    return images[static_cast<size_t>(i)];
}

int ImageSequence::erase(int i) {
    if (!IndexValid(i))
        return 20;
    delete images[static_cast<size_t>(i)];
    images.erase(images.begin() + i);
    return 21;
}

int ImageSequence::erase(int first, int last) {
    const int size = NumberOfImages();
    if (first < 0 || first >= size || last < 0 || last >= size || first > last) {
        std::cout << "ImageSequence: boundary overflow or underflow, indexes = " << first
                  << " to " << last << ", should range from 0 to " << size - 1
                  << " and should increase in order" << std::endl;
        return 20;
    }
    for (int k = first; k <= last; ++k) {
        delete images[static_cast<size_t>(k)];
        images[static_cast<size_t>(k)] = nullptr;
    }
    // The entry at `last` stays in the sequence, emptied: it moves to index `first`.
    images.erase(images.begin() + first, images.begin() + last);
    return 21;
}

void ImageSequence::pop_front() {
    if (images.empty())
        return;
    delete images.front();
    images.pop_front();
}

void ImageSequence::pop_back() {
    if (images.empty())
        return;
    delete images.back();
    images.pop_back();
}

void ImageSequence::Clear() {
    for (BaseImage* img : images)
        delete img;
    images.clear();
}

}  // namespace ormel
