// MethodBuffers: checked luminance transfers and buffer allocation for the methods.
#include "segmentation/MethodBuffers.h"

#include <cstdlib>
#include <cstring>
#include <iostream>

#include "numeric/Fatal.h"

namespace segmentation {

long LumaSamples(ormel::BaseImage& img) {
    const int w = img.Width(ormel::Y_COMP);
    const int h = img.Height(ormel::Y_COMP);
    if (w < 1 || h < 1 || !img.GetArray(ormel::Y_COMP))
        return 0;
    return static_cast<long>(w) * h;
}

bool LoadLuma(ormel::BaseImage& img, unsigned char* dst, int n) {
    if (n <= 0)
        return true;
    if (LumaSamples(img) < n)
        return false;
    std::memcpy(dst, img.GetArray(ormel::Y_COMP), static_cast<size_t>(n));
    return true;
}

bool StoreLuma(const unsigned char* src, int n, ormel::BaseImage& img) {
    if (n <= 0)
        return true;
    if (LumaSamples(img) < n)
        return false;
    std::memcpy(img.GetArray(ormel::Y_COMP), src, static_cast<size_t>(n));
    return true;
}

void ReportSmallImage() {
    std::cout << "\nImage smaller than the method's buffers!\nNothing is done!\n" << std::endl;
}

void AllocationFailure() {
    numeric::ThrowIfAsked("out of memory for the method buffers");
    std::cout << "\nFailed to allocate memory for one or more buffers!\n" << std::endl;
    std::exit(1);
}

}  // namespace segmentation
