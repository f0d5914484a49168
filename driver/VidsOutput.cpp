// VidsOutput: checks, creates, grows and, after a failure, trims the output sequence.
#include "driver/VidsOutput.h"

#include <sys/stat.h>

#include <cstdio>

#include "driver/FrameInput.h"

namespace driver {

namespace {

constexpr int kTransferred = 18;   // VidsFile::Write done

bool Exists(const std::string& path) {
    struct stat st;
    return stat(path.c_str(), &st) == 0;
}

}  // namespace

VidsOutput::VidsOutput(const std::string& n) : name(n), files(FilesOf(n)) {}

bool VidsOutput::Check(const std::vector<std::string>& inputFiles, std::string* error) {
    for (const std::string& out : {files.des, files.pic})
        for (const std::string& in : inputFiles)
            if (SameFile(out, in)) {
                *error = name + ": would replace the input (" + in + "); give another name";
                return false;
            }
    for (const std::string& path : {files.des, files.pic}) {
        if (!CheckCreatable(path, error))
            return false;
        // An existing file is first renamed to its backup, which it replaces.
        if (Exists(path) && !CheckCreatable(path + "~", error))
            return false;
    }
    return true;
}

bool VidsOutput::Create(FrameInput& input, std::string* error) {
    file.SetNumberOfImages(1);   // every write beyond the end extends the sequence
    input.DescribeOutput(file);
    if (file.Open(name, ormel::OPEN_NEW) & 1) {
        *error = name + ": the sequence could not be created";
        return false;
    }
    open = true;
    frame = std::make_unique<LumaFrame>(file);
    return true;
}

bool VidsOutput::Write(const unsigned char* luma, std::string* error) {
    frame->Attach(const_cast<unsigned char*>(luma));   // written, never changed
    if (file.Write(*frame, static_cast<int>(written)) != kTransferred) {
        *error = files.pic + ": frame " + std::to_string(written) + " could not be written";
        return false;
    }
    ++written;
    return true;
}

bool VidsOutput::Finish(std::string* error) {
    open = false;
    if (file.Close()) {
        *error = files.pic + ": could not be completed";
        return false;
    }
    return true;
}

void VidsOutput::Abandon() {
    if (!open)
        return;
    open = false;
    file.Close();
    if (written == 0) {   // nothing worth keeping; a previous sequence stays in its backup
        std::remove(files.des.c_str());
        std::remove(files.pic.c_str());
        return;
    }
    std::string ignored;
    ShortenSequence(name, written, &ignored);
}

}  // namespace driver
