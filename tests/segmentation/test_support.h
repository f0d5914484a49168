// Helpers shared by the segmentation tests: a luminance plane as a vector, seeded random
// luminance, and what a call prints on standard output.
#ifndef TESTS_SEGMENTATION_TEST_SUPPORT_H
#define TESTS_SEGMENTATION_TEST_SUPPORT_H

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "image/BaseImage.h"

using Plane = std::vector<unsigned char>;

// The luminance samples of img, row after row.
inline Plane Luma(ormel::BaseImage& img) {
    const unsigned char* p = img.GetArray(ormel::Y_COMP);
    return Plane(p, p + img.Width(ormel::Y_COMP) * img.Height(ormel::Y_COMP));
}

inline void Randomize(ormel::BaseImage& img, unsigned seed) {
    std::mt19937 rng(seed);
    unsigned char* p = img.GetArray(ormel::Y_COMP);
    for (int i = 0; i < img.Width(ormel::Y_COMP) * img.Height(ormel::Y_COMP); ++i)
        p[i] = static_cast<unsigned char>(rng() & 255);
}

template <class F>
std::string Printed(F call) {
    testing::internal::CaptureStdout();
    call();
    return testing::internal::GetCapturedStdout();
}

#endif
