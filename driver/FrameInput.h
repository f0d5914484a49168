// FrameInput: the time samples of the command's input, luminance only, in order: the
// frames of a progressive sequence, the fields of an interlaced one. Each sample is
// read once.
#ifndef DRIVER_FRAMEINPUT_H
#define DRIVER_FRAMEINPUT_H

#include <string>
#include <vector>

namespace ormel {
class VidsFile;
}
namespace y4m {
struct LumaStream;
}

namespace driver {

class FrameInput {
public:
    enum class Result { kSample, kEnd, kError };

    virtual ~FrameInput() = default;

    virtual int Width() const = 0;      // luminance samples of one time sample
    virtual int Height() const = 0;
    virtual long Count() const = 0;     // time samples; -1 while unknown (a stream)
    // The files read, so that no output replaces them.
    virtual std::vector<std::string> Files() const = 0;

    // Sets on an unopened output sequence what the command copies from its input:
    // width, height, frame rate and interlacing, as a vids input reports them, and
    // luminance-only sampling. The frame count is left to the writer.
    virtual void DescribeOutput(ormel::VidsFile& out) = 0;
    // The geometry, exact frame rate and field order of a YUV4MPEG2 output of these
    // samples. false with *error.
    virtual bool DescribeStream(y4m::LumaStream* s, std::string* error) = 0;

    // The next sample into luma (Width() x Height(), rows Width() apart). kError puts
    // a message in *error ("NAME: ...").
    virtual Result Next(unsigned char* luma, std::string* error) = 0;
};

}  // namespace driver

#endif
