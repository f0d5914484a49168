// FrameSource: pictures read one after the other from an input stream, all of one
// geometry. Next fills a Frame (reshaping it when needed) and tells a picture, the clean
// end of the input, or an error (the reason in *error, a phrase to follow the input's
// name). After an error or the end nothing more is read.
#ifndef Y4M_FRAMESOURCE_H
#define Y4M_FRAMESOURCE_H

#include <fstream>
#include <istream>
#include <string>

#include "image/Types.h"
#include "y4m/Frame.h"

namespace y4m {

// The input called `name`: standard input for "-", else the file, opened into *file.
// null with *error, a phrase to follow the name, when it cannot be read.
std::istream* OpenInput(const std::string& name, std::ifstream* file, std::string* error);

enum class ReadResult { kFrame, kEnd, kError };

class FrameSource {
public:
    FrameSource(std::istream& in, ormel::ChromaFormat f, int width, int height);
    virtual ~FrameSource();

    virtual ReadResult Next(Frame& f, std::string* error) = 0;

    ormel::ChromaFormat Format() const { return format; }
    int Width() const { return width; }
    int Height() const { return height; }
    int FramesRead() const { return frames; }

protected:
    // Reads the planes of one frame into f, reshaping it to this source's frames. false
    // when the input ends first: *got holds the bytes that were there, and f's planes are
    // only as large as the data that came (memory follows the data, not the header).
    bool ReadPlanes(Frame& f, size_t* got);
    std::string Truncated(size_t got) const;   // "frame N is truncated (X of Y bytes)"

    std::istream& in;
    ormel::ChromaFormat format;
    int width;
    int height;
    int frames = 0;   // frames delivered so far
};

}  // namespace y4m

#endif
