// VidsInput: a vids sequence as the command's input. Open checks, before the command
// creates anything, that both files are there and readable, that the description parses,
// that the data file holds every time sample it declares, and that there are at least two
// samples of at least the estimator's minimum size; then it opens the sequence for
// reading its luminance only.
#ifndef DRIVER_VIDSINPUT_H
#define DRIVER_VIDSINPUT_H

#include <memory>
#include <string>

#include "driver/FrameInput.h"
#include "driver/LumaFrame.h"
#include "driver/SequenceFiles.h"
#include "image/VidsFile.h"
#include "y4m/LumaStream.h"

namespace driver {

class VidsInput : public FrameInput {
public:
    explicit VidsInput(const std::string& name);

    bool Open(std::string* error);

    int Width() const override { return description.width; }
    int Height() const override { return description.height; }
    long Count() const override { return description.samples; }
    std::vector<std::string> Files() const override { return {files.des, files.pic}; }
    void DescribeOutput(ormel::VidsFile& out) override;
    bool DescribeStream(y4m::LumaStream* s, std::string* error) override;
    Result Next(unsigned char* luma, std::string* error) override;

private:
    std::string name;
    SequenceFiles files;
    Description description;
    ormel::VidsFile file;
    std::unique_ptr<LumaFrame> frame;
    long next = 0;
};

}  // namespace driver

#endif
