// FrameSource: the plane reading shared by the raw and YUV4MPEG2 readers.
#include "y4m/FrameSource.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iostream>

namespace y4m {

namespace {

constexpr size_t kGrowth = size_t{1} << 20;   // bytes a plane grows by while it is read

}  // namespace

std::istream* OpenInput(const std::string& name, std::ifstream* file, std::string* error) {
    if (name == "-")
        return &std::cin;
    struct stat st;
    if (stat(name.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) {
        *error = "is a directory";
        return nullptr;
    }
    file->open(name, std::ios::binary);
    if (!file->is_open()) {
        *error = std::strerror(errno);
        return nullptr;
    }
    return file;
}

FrameSource::FrameSource(std::istream& in, ormel::ChromaFormat f, int width, int height)
    : in(in), format(f), width(width), height(height) {}

FrameSource::~FrameSource() = default;

bool FrameSource::ReadPlanes(Frame& f, size_t* got) {
    if (f.format != format || f.width != width || f.height != height) {
        f.format = format;
        f.width = width;
        f.height = height;
        for (std::vector<unsigned char>& p : f.plane)
            p.clear();
    }
    *got = 0;
    for (int c = 0; c < 3; ++c) {
        std::vector<unsigned char>& p = f.plane[c];
        const size_t size = static_cast<size_t>(f.Width(c)) * static_cast<size_t>(f.Height(c));
        // A new plane grows with the bytes that arrive: a header may announce a picture
        // of 800 MB that the stream never delivers.
        for (size_t have = 0; have < size;) {
            const size_t want = std::min(size - have, kGrowth);
            if (p.size() < have + want)
                p.resize(have + want);
            in.read(reinterpret_cast<char*>(p.data() + have), static_cast<std::streamsize>(want));
            const size_t n = static_cast<size_t>(in.gcount());
            have += n;
            *got += n;
            if (n != want)
                return false;
        }
    }
    return true;
}

std::string FrameSource::Truncated(size_t got) const {
    return "frame " + std::to_string(frames) + " is truncated (" + std::to_string(got) +
           " of " + std::to_string(FrameBytes(format, width, height)) + " bytes)";
}

}  // namespace y4m
