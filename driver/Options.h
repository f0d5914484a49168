// Options: the gme command line. Options come before the two names:
//   gme [--motion FILE] [--summary] [--quiet] [--progress] INPUT OUTPUT
//   gme --help | --version
// INPUT is a vids sequence, or YUV4MPEG2 when it ends in ".y4m" or is "-" (standard
// input); OUTPUT likewise ("-" is standard output). Parsing never touches a file.
#ifndef DRIVER_OPTIONS_H
#define DRIVER_OPTIONS_H

#include <string>
#include <vector>

namespace driver {

struct Options {
    std::string input;
    std::string output;
    std::string motion;        // --motion FILE ("-": standard output); empty: none
    bool summary = false;      // one line on standard error after the run
    bool quiet = false;        // nothing on standard output
    bool progress = false;     // a one-line progress display on standard error
    bool help = false;
    bool version = false;
};

enum class ParseResult { kRun, kHelp, kVersion, kBadUsage };

// Fills *o from argv[1..]. kBadUsage puts the reason in *error ("" when the usage alone
// says it: too few or too many names).
ParseResult ParseOptions(const std::vector<std::string>& args, Options* o, std::string* error);

// True for the names that mean YUV4MPEG2: "-" and names ending in ".y4m".
bool IsY4mName(const std::string& name);

// "usage: gme [OPTIONS] INPUT OUTPUT" and the hint, for standard error.
std::string UsageText();
// The whole --help text.
std::string HelpText();
std::string VersionText();

}  // namespace driver

#endif
