// Y4mOutput: a YUV4MPEG2 file, or standard output ("-"), as the command's output:
// luminance only (Cmono), the input's frame size, exact frame rate and field order; the
// fields of interlaced input are woven back into frames. Its frames are those that
// `vidstool export` writes of the vids output of the same run.
#ifndef DRIVER_Y4MOUTPUT_H
#define DRIVER_Y4MOUTPUT_H

#include <memory>
#include <string>

#include "driver/FrameOutput.h"
#include "driver/SequenceFiles.h"
#include "y4m/SequenceWriter.h"

namespace driver {

class Y4mOutput : public FrameOutput {
public:
    explicit Y4mOutput(const std::string& name);

    // The file can be made and is no input file (standard output always can).
    bool Check(const std::vector<std::string>& inputFiles, std::string* error) override;

    bool Create(FrameInput& input, std::string* error) override;
    bool Write(const unsigned char* luma, std::string* error) override;
    bool Finish(std::string* error) override;
    void Abandon() override;
    long Written() const override { return written; }

private:
    std::string name;
    std::unique_ptr<y4m::SequenceWriter> writer;
    long written = 0;
};

}  // namespace driver

#endif
