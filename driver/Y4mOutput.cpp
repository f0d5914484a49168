// Y4mOutput: the command's YUV4MPEG2 output.
#include "driver/Y4mOutput.h"

#include "driver/FrameInput.h"
#include "y4m/LumaStream.h"

namespace driver {

Y4mOutput::Y4mOutput(const std::string& n) : name(n) {}

bool Y4mOutput::Check(const std::vector<std::string>& inputFiles, std::string* error) {
    if (name == "-")
        return true;
    for (const std::string& in : inputFiles)
        if (SameFile(name, in)) {
            *error = name + ": would replace the input (" + in + "); give another name";
            return false;
        }
    return CheckCreatable(name, error);
}

bool Y4mOutput::Create(FrameInput& input, std::string* error) {
    y4m::LumaStream stream;
    if (!input.DescribeStream(&stream, error))
        return false;
    std::string why;
    writer = y4m::SequenceWriter::Open(name, stream, &why);
    if (!writer) {
        *error = name + ": " + why;
        return false;
    }
    return true;
}

bool Y4mOutput::Write(const unsigned char* luma, std::string* error) {
    std::string why;
    if (!writer->WriteLuma(luma, &why)) {
        *error = name + ": " + why;
        return false;
    }
    ++written;
    return true;
}

bool Y4mOutput::Finish(std::string* error) {
    std::string why;
    if (!writer->Close(&why)) {
        *error = name + ": " + why;
        return false;
    }
    return true;
}

void Y4mOutput::Abandon() {
    if (!writer)
        return;
    std::string ignored;
    writer->Close(&ignored);   // whole frames stay; a frame cut short by the failure ends it
}

}  // namespace driver
