// BinImage: construction, buffer ownership, and the checked pixel, level and raw-data
// operations.
#include "segmentation/BinImage.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <new>

#include "numeric/Fatal.h"

namespace {

const char kBadReadPosition[] =
    "\nInvalid image co-ordinates!!\nDefault value of NULL is returned!!\n";
const char kBadWritePosition[] = "\nInvalid image co-ordinates!!\nNothing is changed!!\n";

const char kInitFailure[] =
    "\nError BinImage Initialization, failed to allocate memory for comyY array data!\n";
const char kAssignFailure[] =
    "\nError BinImage operator=, failed to allocate memory for comyY array data!\n";

void Report(const char* message) { std::cout << message << std::endl; }

// A buffer of n bytes, zero-filled unless the caller overwrites it all, or the end of the
// process with `failure`.
unsigned char* NewBuffer(long long n, const char* failure, bool zeroed = true) {
    unsigned char* p = nullptr;
    if (n >= 0 && n <= INT_MAX)
        p = zeroed ? new (std::nothrow) unsigned char[static_cast<size_t>(n)]()
                   : new (std::nothrow) unsigned char[static_cast<size_t>(n)];
    if (!p) {
        numeric::ThrowIfAsked("BinImage: out of memory for the image samples");
        Report(failure);
        std::exit(1);
    }
    return p;
}

}  // namespace

BinImage::BinImage(ormel::BaseVFile& file, int frame, unsigned int black, unsigned int white,
                   ormel::Verbose verbose)
    : ormel::BaseImage(file), blackLevel(black), whiteLevel(white), verbosity(verbose), cols(0),
      rows(0), size(0), isDifferenced(false), isBinarized(false) {
    Initialize();
    file.Read(*this, frame);
}

BinImage::BinImage(unsigned int width, unsigned int height, unsigned int black,
                   unsigned int white, ormel::Verbose verbose)
    : ormel::BaseImage(), blackLevel(black), whiteLevel(white), verbosity(verbose),
      cols(static_cast<int>(width)), rows(static_cast<int>(height)), size(0),
      isDifferenced(false), isBinarized(false) {
    this->width[0] = static_cast<int>(width);
    this->height[0] = static_cast<int>(height);
    cformat = ormel::YUV400;
    Initialize();
}

BinImage::BinImage(const BinImage& src)
    : ormel::BaseImage(src), blackLevel(src.blackLevel), whiteLevel(src.whiteLevel),
      verbosity(src.verbosity), cols(0), rows(0), size(0), isDifferenced(src.isDifferenced),
      isBinarized(src.isBinarized) {
    Allocate(false);
    const int n = size < src.size ? size : src.size;
    if (n > 0)
        std::memcpy(y_data, src.y_data, static_cast<size_t>(n));
    if (size > n)   // samples src does not have are zero
        std::memset(y_data + n, 0, static_cast<size_t>(size - n));
}

BinImage::~BinImage() { ReleaseBuffers(); }

void BinImage::ReleaseBuffers() {
    delete[] y_data;
    delete[] u_data;
    delete[] v_data;
    y_data = u_data = v_data = nullptr;
}

BinImage& BinImage::operator=(const BinImage& src) {
    if (&src == this)
        return *this;
    if (y_data && size == src.size && width[0] == src.width[0] && height[0] == src.height[0] &&
        width[1] == src.width[1] && height[1] == src.height[1] && width[2] == src.width[2] &&
        height[2] == src.height[2] && cformat == src.cformat) {
        // The same geometry: the samples go into the buffer there is, and the image ends as
        // the general way below leaves it (no chroma buffers).
        delete[] u_data;
        delete[] v_data;
        u_data = v_data = nullptr;
        blackLevel = src.blackLevel;
        whiteLevel = src.whiteLevel;
        verbosity = src.verbosity;
        isDifferenced = src.isDifferenced;
        isBinarized = src.isBinarized;
        if (size > 0)
            std::memcpy(y_data, src.y_data, static_cast<size_t>(size));
        return *this;
    }
    // Without buffers the base assignment takes src's geometry, which keeps the base
    // sizes (used by the inherited plane operations) in step with the new buffer.
    ReleaseBuffers();
    ormel::BaseImage::operator=(src);
    blackLevel = src.blackLevel;
    whiteLevel = src.whiteLevel;
    verbosity = src.verbosity;
    isDifferenced = src.isDifferenced;
    isBinarized = src.isBinarized;
    cols = src.cols;
    rows = src.rows;
    size = src.size;
    y_data = NewBuffer(size, kAssignFailure, false);   // every sample is copied
    if (size > 0)
        std::memcpy(y_data, src.y_data, static_cast<size_t>(size));
    return *this;
}

int BinImage::Initialize() {
    Allocate(true);
    return 0;
}

void BinImage::Allocate(bool zeroed) {
    ReleaseBuffers();
    cols = width[0] >= 1 ? width[0] : 0;
    rows = height[0] >= 1 ? height[0] : 0;
    const long long n = static_cast<long long>(cols) * rows;
    y_data = NewBuffer(n, kInitFailure, zeroed);   // refuses a size beyond 32 bits, too
    size = static_cast<int>(n);
    u_data = NewBuffer(1, kInitFailure);
    v_data = NewBuffer(1, kInitFailure);
}

bool BinImage::Inside(int x, int y) const {
    return x >= 0 && x <= cols - 1 && y >= 0 && y <= rows - 1;
}

unsigned int BinImage::GetPixel(ormel::CompType, int x, int y) const { return GetPixel(x, y); }

unsigned char* BinImage::GetPixelAddr(ormel::CompType, int x, int y) {
    return GetPixelAddr(x, y);
}

int BinImage::Width(ormel::CompType) const { return width[0]; }

int BinImage::Height(ormel::CompType) const { return height[0]; }

ormel::ChromaFormat BinImage::CFormat() const { return ormel::YUV400; }

unsigned char* BinImage::GetArray(ormel::CompType) { return y_data; }

unsigned char BinImage::GetPixel(int x, int y) const {
    if (!Inside(x, y)) {
        Report(kBadReadPosition);
        return 0;
    }
    return y_data[static_cast<long>(y) * cols + x];
}

bool BinImage::SetPixel(int x, int y, unsigned char value) {
    if (!Inside(x, y)) {
        Report(kBadWritePosition);
        return false;
    }
    if (value < blackLevel || value > whiteLevel) {
        Report("\nInvalid pixel value!!\nNothing is changed!!\n");
        return false;
    }
    y_data[static_cast<long>(y) * cols + x] = value;
    return true;
}

unsigned char* BinImage::GetPixelAddr(int x, int y) {
    if (!Inside(x, y)) {
        Report(kBadReadPosition);
        return nullptr;
    }
    return y_data + static_cast<long>(y) * cols + x;
}

int BinImage::GetSize() const { return size; }

int BinImage::Width() const { return cols; }

int BinImage::Height() const { return rows; }

unsigned int BinImage::GetBlackLevel() const { return blackLevel; }

bool BinImage::SetBlackLevel(unsigned int black) {
    // No upper bound of its own: the white level is already below 256.
    if (black > whiteLevel) {
        Report("\nInvalid new black level!\nNothing To do!\n");
        return false;
    }
    blackLevel = black;
    return true;
}

unsigned int BinImage::GetWhiteLevel() const { return whiteLevel; }

bool BinImage::SetWhiteLevel(unsigned int white) {
    if (white >= 256 || white < blackLevel) {
        Report("\nInvalid new white level!\nNothing To do!\n");
        return false;
    }
    whiteLevel = white;
    return true;
}

ormel::Verbose BinImage::GetVerbose() const { return verbosity; }

bool BinImage::SetVerbose(ormel::Verbose verbose) {
    verbosity = verbose;
    return true;
}

bool BinImage::GetisDifferenced() const { return isDifferenced; }

bool BinImage::SetisDifferenced(bool differenced) { return isDifferenced = differenced; }

bool BinImage::GetisBinarized() const { return isBinarized; }

bool BinImage::SetisBinarized(bool binarized) { return isBinarized = binarized; }

bool BinImage::ClearRawData(unsigned int v) {
    const unsigned int fill = (v >= blackLevel && v <= whiteLevel) ? v : blackLevel;
    if (size > 0)
        std::memset(y_data, static_cast<unsigned char>(fill), static_cast<size_t>(size));
    return true;
}

bool BinImage::CopyRawDataFrom(unsigned char* src, int n) {
    if (!src) {
        Report("\nInvalid pointer!\nNothing Copied in!\n");
        return false;
    }
    if (n <= 0 || n > size) {
        Report("\nInvalid size!\nNothing Copied in!\n");
        return false;
    }
    std::memcpy(y_data, src, static_cast<size_t>(n));
    return true;
}

bool BinImage::CopyRawDataTo(unsigned char* dst, int n) {
    if (!dst) {
        Report("\nInvalid pointer!\nNothing Copied To!\n");
        return false;
    }
    if (n <= 0 || n > size) {
        Report("\nInvalid size!\nNothing Copied To!\n");
        return false;
    }
    std::memcpy(dst, y_data, static_cast<size_t>(n));
    return true;
}
