// SequenceFiles: the checks the command makes on files before it opens, renames or
// creates anything, and what it reads and rewrites of vids descriptions. A sequence's
// file names are those of y4m::FilesOf (extension cut off, "~" and environment
// references expanded, then ".des" and ".pic").
#ifndef DRIVER_SEQUENCEFILES_H
#define DRIVER_SEQUENCEFILES_H

#include <cstdint>
#include <string>

#include "y4m/SequenceDescription.h"

namespace driver {

using y4m::FilesOf;
using y4m::SequenceFiles;

// True when a and b are one file: the same path, or the same device and inode.
bool SameFile(const std::string& a, const std::string& b);

// A file the command creates or replaces: its directory exists and takes new files, and
// the file, when there, is no directory and can be written. false with *error.
bool CheckCreatable(const std::string& path, std::string* error);

// What a vids description declares, read without opening the data file.
struct Description {
    int width = 0;        // luminance samples of one time sample
    int height = 0;
    long samples = 0;     // time samples
    int64_t recordBytes = 0;   // bytes of one time sample in the data file
};

// Reads the description of sequence `name`; false (after the library's own message on
// standard error) with *error when it does not parse or has no luminance component.
bool ReadDescription(const std::string& name, Description* d, std::string* error);

// Makes the description of sequence `name` declare `samples` (at least 1) time samples
// and cuts its data file to that many: for an output the command stops writing early.
// false with *error.
bool ShortenSequence(const std::string& name, long samples, std::string* error);

}  // namespace driver

#endif
