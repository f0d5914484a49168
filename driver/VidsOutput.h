// VidsOutput: a vids sequence as the command's output, luminance only, with the
// geometry, frame rate and interlacing of the input. It is created with one time sample
// and grows with every sample written, so that its description always declares what it
// holds. Creating it renames an existing sequence of that name with a trailing "~".
#ifndef DRIVER_VIDSOUTPUT_H
#define DRIVER_VIDSOUTPUT_H

#include <memory>
#include <string>

#include "driver/FrameOutput.h"
#include "driver/LumaFrame.h"
#include "driver/SequenceFiles.h"
#include "image/VidsFile.h"

namespace driver {

class VidsOutput : public FrameOutput {
public:
    explicit VidsOutput(const std::string& name);

    // The sequence's files and their backups can be made and replace no input file.
    bool Check(const std::vector<std::string>& inputFiles, std::string* error) override;

    bool Create(FrameInput& input, std::string* error) override;
    bool Write(const unsigned char* luma, std::string* error) override;
    bool Finish(std::string* error) override;
    void Abandon() override;
    long Written() const override { return written; }

private:
    std::string name;
    SequenceFiles files;
    ormel::VidsFile file;
    std::unique_ptr<LumaFrame> frame;
    long written = 0;
    bool open = false;
};

}  // namespace driver

#endif
