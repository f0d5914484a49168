// RawReader: whole frames of raw planar video.
#include "y4m/RawReader.h"

#include <cstring>

namespace y4m {

bool HasY4mSignature(const unsigned char* data, size_t n) {
    static const char kSignature[] = "YUV4MPEG2 ";
    const size_t len = sizeof kSignature - 1;
    return n >= len && std::memcmp(data, kSignature, len) == 0;
}

RawReader::RawReader(std::istream& in, ormel::ChromaFormat f, int width, int height)
    : FrameSource(in, f, width, height), buffer(FrameBytes(f, width, height)) {}

ReadResult RawReader::Next(Frame& f, std::string* error) {
    if (in.peek() == std::char_traits<char>::eof())
        return ReadResult::kEnd;
    in.read(reinterpret_cast<char*>(buffer.data()), static_cast<std::streamsize>(buffer.size()));
    const size_t got = static_cast<size_t>(in.gcount());
    if (frames == 0 && HasY4mSignature(buffer.data(), got)) {
        *error = "this is a YUV4MPEG2 stream, not raw video; leave out --size and --format";
        return ReadResult::kError;
    }
    if (got != buffer.size()) {
        *error = Truncated(got) + ": the input is not a whole number of " +
                 std::to_string(width) + "x" + std::to_string(height) + " " +
                 FormatName(format) + " frames";
        return ReadResult::kError;
    }
    if (f.format != format || f.width != width || f.height != height)
        f = Frame(format, width, height);
    const unsigned char* p = buffer.data();
    for (int c = 0; c < 3; ++c) {
        if (f.plane[c].empty())
            continue;
        std::memcpy(f.plane[c].data(), p, f.plane[c].size());
        p += f.plane[c].size();
    }
    ++frames;
    return ReadResult::kFrame;
}

}  // namespace y4m
