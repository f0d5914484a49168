// Shared by the image tests: pictures whose every sample is known, plane sizes as text,
// the first differing sample and captured standard output.
#ifndef TESTS_IMAGE_IMAGE_TEST_SUPPORT_H
#define TESTS_IMAGE_IMAGE_TEST_SUPPORT_H

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "image/BaseImage.h"

using namespace ormel;

inline CompType Comp(int c) { return static_cast<CompType>(c); }

// Each sample's value follows from its plane, index and seed, so misplaced copies show.
inline void Texture(BaseImage& img, int seed = 0) {
    for (int c = 0; c < 3; ++c)
        for (int n = 0; n < img.Width(Comp(c)) * img.Height(Comp(c)); ++n)
            img.GetArray(Comp(c))[n] = static_cast<unsigned char>(n * 3 + c * 60 + seed * 29);
}

// Plane sizes "Y U V" of a picture or a file, e.g. "6x4 3x2 3x2".
template <typename Planes>
std::string Sizes(const Planes& p) {
    std::string s;
    for (int c = 0; c < 3; ++c)
        s += (c ? " " : "") + std::to_string(p.Width(Comp(c))) + "x" + std::to_string(p.Height(Comp(c)));
    return s;
}

// First differing sample of planes first..last, or an empty string.
inline std::string Mismatch(BaseImage& a, BaseImage& b, int first = 0, int last = 2) {
    for (int c = first; c <= last; ++c)
        for (int n = 0; n < a.Width(Comp(c)) * a.Height(Comp(c)); ++n)
            if (a.GetArray(Comp(c))[n] != b.GetArray(Comp(c))[n])
                return "plane " + std::to_string(c) + " sample " + std::to_string(n);
    return "";
}

inline bool Inside(int i, int j, int i0, int j0, int w, int h) {
    return i >= i0 && i < i0 + w && j >= j0 && j < j0 + h;
}

inline std::string Captured(const std::function<void()>& f) {
    testing::internal::CaptureStdout();
    f();
    return testing::internal::GetCapturedStdout();
}

#endif
