// Y4mReader: frames of a YUV4MPEG2 stream. Open reads and checks the stream header;
// each frame is a "FRAME" line (its parameters are read and ignored) followed by the
// planes Y, U, V. The stream may end only between frames.
#ifndef Y4M_Y4MREADER_H
#define Y4M_Y4MREADER_H

#include <memory>

#include "y4m/FrameSource.h"
#include "y4m/Y4mHeader.h"

namespace y4m {

class Y4mReader : public FrameSource {
public:
    // A reader positioned after the header, or null with *error set. *foreign, when
    // asked for, tells an input that is not YUV4MPEG2 at all from a bad header.
    static std::unique_ptr<Y4mReader> Open(std::istream& in, std::string* error,
                                           bool* foreign = nullptr);

    const Y4mHeader& Header() const { return header; }
    ReadResult Next(Frame& f, std::string* error) override;

private:
    Y4mReader(std::istream& in, const Y4mHeader& h);

    Y4mHeader header;
};

}  // namespace y4m

#endif
