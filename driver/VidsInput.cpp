// VidsInput: checks and reads the input sequence.
#include "driver/VidsInput.h"

#include <sys/stat.h>

#include <cstring>

#include "gme/SequenceEstimator.h"
#include "y4m/SequenceDescription.h"

namespace driver {

namespace {

constexpr int kTransferred = 18;   // VidsFile::Read done

}  // namespace

VidsInput::VidsInput(const std::string& n) : name(n), files(FilesOf(n)) {}

bool VidsInput::Open(std::string* error) {
    if (!y4m::CheckFile(files.des, error) || !y4m::CheckFile(files.pic, error) ||
        !ReadDescription(name, &description, error))
        return false;
    if (description.samples < 2) {
        *error = name + ": holds " + std::to_string(description.samples) +
                 (description.samples == 1 ? " frame" : " frames") + "; gme needs at least two";
        return false;
    }
    if (description.width < gme::kMinimumWidth || description.height < gme::kMinimumHeight) {
        *error = name + ": frames of " + std::to_string(description.width) + "x" +
                 std::to_string(description.height) + " are too small; gme needs at least " +
                 std::to_string(gme::kMinimumWidth) + "x" + std::to_string(gme::kMinimumHeight);
        return false;
    }
    struct stat st;
    if (stat(files.pic.c_str(), &st) != 0) {
        *error = files.pic + ": " + std::strerror(errno);
        return false;
    }
    const long held = static_cast<long>(st.st_size / description.recordBytes);
    if (held < description.samples) {
        *error = files.pic + ": holds " + std::to_string(held) + " of the " +
                 std::to_string(description.samples) + " frames " + files.des + " declares";
        return false;
    }
    if (file.Open(name, ormel::OPEN_OLD) & 1) {
        *error = name + ": the sequence could not be opened";
        return false;
    }
    file.SetOnlyYComponent(true);   // the estimator reads luminance only
    frame = std::make_unique<LumaFrame>(file);
    return true;
}

bool VidsInput::DescribeStream(y4m::LumaStream* s, std::string* error) {
    std::string why;
    if (!y4m::LumaStreamOfSequence(name, file, s, &why)) {
        *error = name + ": " + why;
        return false;
    }
    return true;
}

void VidsInput::DescribeOutput(ormel::VidsFile& out) {
    out.SetWidth(file.Width());
    out.SetHeight(file.Height());
    out.SetFrameRate(file.FrameRate());
    out.SetSamplingMatrices(ormel::YUV400, file.Interlaced());
}

FrameInput::Result VidsInput::Next(unsigned char* luma, std::string* error) {
    if (next >= description.samples)
        return Result::kEnd;
    frame->Attach(luma);
    if (file.Read(*frame, static_cast<int>(next)) != kTransferred) {
        *error = files.pic + ": frame " + std::to_string(next) + " could not be read";
        return Result::kError;
    }
    ++next;
    return Result::kSample;
}

}  // namespace driver
