// CommandLine: vidstool's arguments: a command, its options ("--name value" or
// "--name=value") and its operands, "-" being an operand. "--" ends the options.
#ifndef VIDSTOOL_COMMANDLINE_H
#define VIDSTOOL_COMMANDLINE_H

#include <string>
#include <vector>

#include "tools/vidstool/Commands.h"

namespace vidstool {

enum class Command { kHelp, kImport, kExport, kInfo };

struct Invocation {
    Command command = Command::kHelp;
    bool help = false;          // the command's --help
    ImportOptions import;
    ExportOptions exportTo;
    std::string infoName;
};

// Parses the arguments after the program name. false with *error (one phrase) for a
// command line that cannot run.
bool ParseCommandLine(const std::vector<std::string>& args, Invocation* inv, std::string* error);

// Help texts, each ending with a line feed.
const char* ToolHelp();
const char* CommandHelp(Command c);

}  // namespace vidstool

#endif
