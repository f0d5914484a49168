// FrameSource: the plane reading shared by the raw and YUV4MPEG2 readers.
#include "y4m/FrameSource.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <iostream>

namespace y4m {

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
    if (f.format != format || f.width != width || f.height != height)
        f = Frame(format, width, height);
    *got = 0;
    for (int c = 0; c < 3; ++c) {
        std::vector<unsigned char>& p = f.plane[c];
        if (p.empty())
            continue;
        in.read(reinterpret_cast<char*>(p.data()), static_cast<std::streamsize>(p.size()));
        *got += static_cast<size_t>(in.gcount());
        if (static_cast<size_t>(in.gcount()) != p.size())
            return false;
    }
    return true;
}

std::string FrameSource::Truncated(size_t got) const {
    return "frame " + std::to_string(frames) + " is truncated (" + std::to_string(got) +
           " of " + std::to_string(FrameBytes(format, width, height)) + " bytes)";
}

}  // namespace y4m
