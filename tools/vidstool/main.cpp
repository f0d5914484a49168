// vidstool: YUV4MPEG2 and raw planar video in and out of vids sequences.
//   vidstool import [--size WxH] [--format F] [--rate R] [--interlace I] IN OUT
//   vidstool export [--rate R] [--field-order O] IN OUT.y4m
//   vidstool info NAME
#include <iostream>
#include <new>
#include <string>
#include <vector>

#include "tools/vidstool/CommandLine.h"
#include "tools/vidstool/Commands.h"

int main(int argc, char** argv) {
    using namespace vidstool;
    const std::vector<std::string> args(argv + (argc > 0 ? 1 : 0), argv + argc);
    Invocation inv;
    std::string error;
    if (!ParseCommandLine(args, &inv, &error)) {
        std::cerr << "vidstool: " << error << std::endl;
        return 2;
    }
    if (inv.command == Command::kHelp || inv.help) {
        std::cout << CommandHelp(inv.command);
        return 0;
    }
    try {
        switch (inv.command) {
        case Command::kImport: return RunImport(inv.import);
        case Command::kExport: return RunExport(inv.exportTo);
        default: return RunInfo(inv.infoName);
        }
    } catch (const std::bad_alloc&) {
        // A header may announce pictures larger than this machine can hold.
        return Fail("out of memory");
    }
}
