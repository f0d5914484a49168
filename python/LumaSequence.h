// LumaSequence: 8-bit luminance in and out of vids sequences through the vids library,
// read as the gme command reads its input and written as it writes its output. The
// library ends the process on some faults and overwrites files on some refusals; every
// condition that would lead there is checked first and reported as an exception:
// FileError for missing, unreadable or unwritable files and failed transfers,
// std::invalid_argument for a sequence or size that cannot be handled, std::bad_alloc.
// The library keeps names in a buffer shared by all calls: one thread at a time.
#ifndef PYTHON_LUMASEQUENCE_H
#define PYTHON_LUMASEQUENCE_H

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

struct IMG_INF;

namespace gme_python {

// A file that cannot be used: errno (0 when the reason is not the system's) and the path.
class FileError : public std::runtime_error {
public:
    FileError(int error, const std::string& message, const std::string& path)
        : std::runtime_error(message), error(error), path(path) {}
    int error;
    std::string path;
};

// Reads the luminance of every time sample of an existing sequence (any chroma format;
// samples of 8 bits or more, converted as the command converts them).
class LumaReader {
public:
    explicit LumaReader(const std::string& name);
    ~LumaReader();
    LumaReader(const LumaReader&) = delete;
    LumaReader& operator=(const LumaReader&) = delete;

    int Width() const { return width; }
    int Height() const { return height; }
    long Frames() const { return frames; }
    // Frame k, 0 <= k < Frames(), into Width() x Height() bytes at plane.
    void Read(long k, std::uint8_t* plane);

private:
    std::string pic;
    IMG_INF* inf = nullptr;
    int width = 0;
    int height = 0;
    long frames = 0;
};

// Creates a luminance-only sequence of `frames` frames (an existing one is first renamed
// with a trailing "~", as the command does with its output) and writes them.
class LumaWriter {
public:
    LumaWriter(const std::string& name, int width, int height, long frames, double rate);
    ~LumaWriter();
    LumaWriter(const LumaWriter&) = delete;
    LumaWriter& operator=(const LumaWriter&) = delete;

    // Frame k, rows `stride` bytes apart.
    void Write(long k, const std::uint8_t* plane, std::ptrdiff_t stride);
    // Flushes and closes; FileError when anything written did not reach the file.
    void Close();

private:
    std::string pic;
    IMG_INF* inf = nullptr;
    int width;
    int height;
    long frames;
    std::vector<std::uint8_t> packed;   // a frame with rows width apart, when needed
};

}  // namespace gme_python

#endif
