// Y4mReader: YUV4MPEG2 stream header and frames.
#include "y4m/Y4mReader.h"

namespace y4m {

namespace {

// Longest header or FRAME line accepted: far beyond any real one, small enough that a
// binary file without line feeds is refused quickly.
constexpr size_t kMaxLine = 65536;

enum class Line { kOk, kEmpty, kUnterminated, kTooLong };

// Reads up to the next line feed (dropped). kEmpty: the input had ended already.
Line ReadLine(std::istream& in, std::string* line) {
    line->clear();
    std::istream::int_type ch;
    while ((ch = in.get()) != std::char_traits<char>::eof()) {
        if (ch == '\n')
            return Line::kOk;
        if (line->size() == kMaxLine)
            return Line::kTooLong;
        line->push_back(static_cast<char>(ch));
    }
    return line->empty() ? Line::kEmpty : Line::kUnterminated;
}

}  // namespace

Y4mReader::Y4mReader(std::istream& in, const Y4mHeader& h)
    : FrameSource(in, h.format, h.width, h.height), header(h) {}

std::unique_ptr<Y4mReader> Y4mReader::Open(std::istream& in, std::string* error, bool* foreign) {
    if (foreign != nullptr)
        *foreign = false;
    std::string line;
    const Line got = ReadLine(in, &line);
    if (got == Line::kEmpty) {
        *error = "the input is empty";
        return nullptr;
    }
    if (line.compare(0, 9, "YUV4MPEG2") != 0) {
        *error = "not a YUV4MPEG2 stream";
        if (foreign != nullptr)
            *foreign = true;
        return nullptr;
    }
    if (got != Line::kOk) {
        *error = got == Line::kTooLong ? "the YUV4MPEG2 header line is too long"
                                       : "the YUV4MPEG2 header is truncated";
        return nullptr;
    }
    Y4mHeader h;
    if (!ParseY4mHeader(line, &h, error))
        return nullptr;
    return std::unique_ptr<Y4mReader>(new Y4mReader(in, h));
}

ReadResult Y4mReader::Next(Frame& f, std::string* error) {
    std::string line;
    const Line got = ReadLine(in, &line);
    if (got == Line::kEmpty)
        return ReadResult::kEnd;
    const std::string where = "frame " + std::to_string(frames);
    const bool frameLine =
        line.compare(0, 5, "FRAME") == 0 && (line.size() == 5 || line[5] == ' ');
    if (got != Line::kOk || !frameLine) {
        // A stream cut inside the FRAME line is truncated, not malformed.
        const bool cut = got == Line::kUnterminated &&
                         (frameLine || std::string("FRAME").compare(0, line.size(), line) == 0);
        *error = cut ? where + " is truncated (its FRAME line is incomplete)"
                     : where + ": a FRAME line was expected";
        return ReadResult::kError;
    }
    size_t bytes = 0;
    if (!ReadPlanes(f, &bytes)) {
        *error = Truncated(bytes);
        return ReadResult::kError;
    }
    ++frames;
    return ReadResult::kFrame;
}

}  // namespace y4m
