// Y4mInput: a YUV4MPEG2 file, or standard input ("-"), as the command's input. Its time
// samples, and what the output copies of it, are those of the vids sequence that
// `vidstool import` makes of the same stream, so both give the same results. The
// number of samples is known only at the end of the stream.
#ifndef DRIVER_Y4MINPUT_H
#define DRIVER_Y4MINPUT_H

#include <memory>
#include <string>

#include "driver/FrameInput.h"
#include "y4m/SequenceReader.h"

namespace driver {

class Y4mInput : public FrameInput {
public:
    explicit Y4mInput(const std::string& name);

    // Reads and checks the header (its samples at least the estimator's minimum size).
    bool Open(std::string* error);

    int Width() const override { return reader->Width(); }
    int Height() const override { return reader->SampleHeight(); }
    long Count() const override { return -1; }
    std::vector<std::string> Files() const override;
    void DescribeOutput(ormel::VidsFile& out) override;
    bool DescribeStream(y4m::LumaStream* s, std::string* error) override;
    Result Next(unsigned char* luma, std::string* error) override;

private:
    std::string name;
    std::unique_ptr<y4m::SequenceReader> reader;
};

}  // namespace driver

#endif
