// RawReader: headerless planar frames, Y then U then V, 8 bits, one after the other.
// The file says nothing about itself: its geometry comes from the caller. A stream that
// ends inside a frame is an error; a stream that turns out to be YUV4MPEG2 is refused.
#ifndef Y4M_RAWREADER_H
#define Y4M_RAWREADER_H

#include <vector>

#include "y4m/FrameSource.h"

namespace y4m {

// True when data (n bytes) begins with the YUV4MPEG2 signature.
bool HasY4mSignature(const unsigned char* data, size_t n);

class RawReader : public FrameSource {
public:
    RawReader(std::istream& in, ormel::ChromaFormat f, int width, int height);
    ReadResult Next(Frame& f, std::string* error) override;

private:
    std::vector<unsigned char> buffer;   // one whole frame as it lies in the file
};

}  // namespace y4m

#endif
