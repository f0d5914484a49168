// Y4mReader: frames of a YUV4MPEG2 stream. Open reads and checks the stream header;
// each frame is a "FRAME" line (its parameters are read and ignored) followed by the
// planes Y, U, V. The stream may end only between frames.
#ifndef VIDSTOOL_Y4MREADER_H
#define VIDSTOOL_Y4MREADER_H

#include <memory>

#include "tools/vidstool/FrameSource.h"
#include "tools/vidstool/Y4mHeader.h"

namespace vidstool {

class Y4mReader : public FrameSource {
public:
    // A reader positioned after the header, or null with *error set.
    static std::unique_ptr<Y4mReader> Open(std::istream& in, std::string* error);

    const Y4mHeader& Header() const { return header; }
    ReadResult Next(Frame& f, std::string* error) override;

private:
    Y4mReader(std::istream& in, const Y4mHeader& h);

    Y4mHeader header;
};

}  // namespace vidstool

#endif
