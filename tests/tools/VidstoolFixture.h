// Shared by the vidstool tests: the temporary directory and generated streams of the y4m
// tests, and runs of the built vidstool command.
#ifndef TESTS_TOOLS_VIDSTOOLFIXTURE_H
#define TESTS_TOOLS_VIDSTOOLFIXTURE_H

#include <sys/wait.h>

#include <cstdlib>
#include <string>

#include "tests/y4m/StreamDir.h"

struct VidstoolDir : StreamDir {
    // Runs "vidstool args" in the directory; standard output and error go to the files
    // out.txt and err.txt there. Returns the exit status.
    int Run(const std::string& args) const {
        const std::string cmd =
            "cd '" + dir + "' && " + VIDSTOOL_BINARY + " " + args + " > out.txt 2> err.txt";
        const int status = std::system(cmd.c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
};

#endif
