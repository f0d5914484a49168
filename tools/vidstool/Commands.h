// Commands: the three things vidstool does, callable from tests as well as from main.
// Each returns the exit status: 0 done, 1 failed after one message on standard error.
// A failed import or export never leaves its output behind unannounced: it is removed
// (and a sequence it was about to replace restored from its backup), or, on standard
// output, declared incomplete.
#ifndef VIDSTOOL_COMMANDS_H
#define VIDSTOOL_COMMANDS_H

#include <string>

#include "image/Types.h"
#include "y4m/Rational.h"

namespace vidstool {

struct ImportOptions {
    std::string input;                          // "-": standard input
    std::string output;                         // vids sequence name
    bool raw = false;                           // raw planar input (--size given)
    int width = 0;
    int height = 0;
    ormel::ChromaFormat format = ormel::YUV420;
    bool rateGiven = false;
    y4m::Rational rate;                         // frames per second
    char interlace = 0;                         // 'p', 't', 'b', or 0: as the input says
};

struct ExportOptions {
    std::string input;                          // vids sequence name
    std::string output;                         // "-": standard output
    bool rateGiven = false;
    y4m::Rational rate;
    char fieldOrder = 0;                        // 't', 'b', or 0: as the description says
};

int RunImport(const ImportOptions& o);
int RunExport(const ExportOptions& o);
int RunInfo(const std::string& name);

// "vidstool: message" on standard error; returns 1.
int Fail(const std::string& message);
// "vidstool: warning: message" on standard error.
void Warn(const std::string& message);

}  // namespace vidstool

#endif
