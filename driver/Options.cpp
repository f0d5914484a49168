// Options: parsing and the usage and help texts of the gme command.
#include "driver/Options.h"

namespace driver {

#ifndef GME_VERSION
#define GME_VERSION "unknown"
#endif

ParseResult ParseOptions(const std::vector<std::string>& args, Options* o, std::string* error) {
    std::vector<std::string> names;
    size_t i = 0;
    for (; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (a == "--") {   // everything after is a name
            ++i;
            break;
        }
        if (a.size() < 2 || a[0] != '-')
            break;   // the first name ("-" included) ends the options
        if (a == "--help" || a == "-h") {
            o->help = true;
        } else if (a == "--version") {
            o->version = true;
        } else if (a == "--summary") {
            o->summary = true;
        } else if (a == "--quiet" || a == "-q") {
            o->quiet = true;
        } else if (a == "--progress") {
            o->progress = true;
        } else if (a == "--motion" || a.compare(0, 9, "--motion=") == 0) {
            if (a == "--motion") {
                if (i + 1 >= args.size()) {
                    *error = "--motion needs a file name";
                    return ParseResult::kBadUsage;
                }
                o->motion = args[++i];
            } else {
                o->motion = a.substr(9);
            }
            if (o->motion.empty()) {
                *error = "--motion needs a file name";
                return ParseResult::kBadUsage;
            }
        } else {
            *error = "unknown option " + a;
            return ParseResult::kBadUsage;
        }
    }
    for (; i < args.size(); ++i)
        names.push_back(args[i]);
    if (o->help)
        return ParseResult::kHelp;
    if (o->version)
        return ParseResult::kVersion;
    if (names.size() != 2) {
        error->clear();
        return ParseResult::kBadUsage;
    }
    o->input = names[0];
    o->output = names[1];
    if (o->output == "-" && o->motion == "-") {
        *error = "OUTPUT and --motion cannot both be standard output";
        return ParseResult::kBadUsage;
    }
    return ParseResult::kRun;
}

bool IsY4mName(const std::string& name) {
    const std::string ext = ".y4m";
    return name == "-" ||
           (name.size() > ext.size() && name.compare(name.size() - ext.size(), ext.size(), ext) == 0);
}

std::string UsageText() {
    return "usage: gme [OPTIONS] INPUT OUTPUT\n"
           "Try 'gme --help' for the options.\n";
}

std::string HelpText() {
    return "usage: gme [OPTIONS] INPUT OUTPUT\n"
           "\n"
           "Estimates the global (camera) motion of every pair of consecutive frames of INPUT\n"
           "as an affine model, warps the previous frame with it and writes the compensated\n"
           "frames to OUTPUT (luminance only). Progress, timings and the mean absolute error\n"
           "(MAE) of every pair go to standard output; the MAEs also go to mae_Bin.txt in the\n"
           "working directory.\n"
           "\n"
           "INPUT   a vids sequence (NAME for NAME.des and NAME.pic), or YUV4MPEG2: a file\n"
           "        ending in .y4m, or - for standard input\n"
           "OUTPUT  a vids sequence, or YUV4MPEG2 (Cmono): a file ending in .y4m, or - for\n"
           "        standard output (the per-pair lines then go to standard error)\n"
           "\n"
           "Options:\n"
           "  --motion FILE  write the motion of every pair as CSV to FILE (- for standard\n"
           "                 output): pair,a0,a1,a2,a3,a4,a5,accepted,mae,mae_zero_motion,\n"
           "                 object_blocks; pixel (x, y) of frame n is predicted from\n"
           "                 (a0 + a1 x + a2 y, a3 + a4 x + a5 y) of frame n - 1\n"
           "  --summary      after the run, one line on standard error: pairs, rejected\n"
           "                 estimates, mean MAE with and without compensation, frames/s\n"
           "  --quiet        nothing on standard output\n"
           "  --progress     a one-line progress display on standard error\n"
           "  --help         this text\n"
           "  --version      the version\n"
           "\n"
           "Exit status: 0 done, 1 failed (the reason on standard error, in a line that\n"
           "starts with \"gme: \"), 2 bad command line, 130 or 143 interrupted (SIGINT or\n"
           "SIGTERM; OUTPUT then holds the frames written so far).\n";
}

std::string VersionText() { return std::string("gme ") + GME_VERSION + "\n"; }

}  // namespace driver
