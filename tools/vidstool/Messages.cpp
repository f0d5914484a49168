// Messages: the tool's one-line reports on standard error.
#include <iostream>

#include "tools/vidstool/Commands.h"

namespace vidstool {

int Fail(const std::string& message) {
    std::cerr << "vidstool: " << message << std::endl;
    return 1;
}

void Warn(const std::string& message) { std::cerr << "vidstool: warning: " << message << std::endl; }

}  // namespace vidstool
