// Shared by the vidstool tests: a fresh temporary directory per test, generated
// YUV4MPEG2 and raw files with known samples, and runs of the built vidstool command.
#ifndef TESTS_TOOLS_VIDSTOOLFIXTURE_H
#define TESTS_TOOLS_VIDSTOOLFIXTURE_H

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "tools/vidstool/Frame.h"

struct VidstoolDir : testing::Test {
    VidstoolDir() {
        char tmpl[] = "/tmp/vidstool_test_XXXXXX";
        const char* made = mkdtemp(tmpl);
        dir = made != nullptr ? made : "";
    }
    ~VidstoolDir() override { std::system(("chmod -R u+rwx '" + dir + "' && rm -rf '" + dir + "'").c_str()); }

    std::string Path(const std::string& name) const { return dir + "/" + name; }

    // Frame n of a w x h picture: every sample a function of plane, position and n.
    static vidstool::Frame Pattern(ormel::ChromaFormat f, int w, int h, int n) {
        vidstool::Frame fr(f, w, h);
        for (int c = 0; c < 3; ++c)
            for (int y = 0; y < fr.Height(c); ++y)
                for (int x = 0; x < fr.Width(c); ++x)
                    fr.plane[c][static_cast<size_t>(fr.Width(c)) * y + x] =
                        static_cast<unsigned char>(x * 7 + y * 31 + c * 80 + n * 53);
        return fr;
    }

    static std::string Planes(const vidstool::Frame& f) {
        std::string s;
        for (int c = 0; c < 3; ++c)
            s.append(f.plane[c].begin(), f.plane[c].end());
        return s;
    }

    // A YUV4MPEG2 stream: "YUV4MPEG2 " + params, then frames of Pattern.
    static std::string Y4m(const std::string& params, ormel::ChromaFormat f, int w, int h,
                           int frames) {
        std::string s = "YUV4MPEG2 " + params + "\n";
        for (int n = 0; n < frames; ++n)
            s += "FRAME\n" + Planes(Pattern(f, w, h, n));
        return s;
    }

    void Write(const std::string& name, const std::string& bytes) const {
        std::ofstream(Path(name), std::ios::binary) << bytes;
    }

    std::string Read(const std::string& name) const {
        std::ifstream in(Path(name), std::ios::binary);
        std::ostringstream s;
        s << in.rdbuf();
        return s.str();
    }

    bool Exists(const std::string& name) const { return std::ifstream(Path(name)).good(); }

    // Runs "vidstool args" in the directory; standard output and error go to the files
    // out.txt and err.txt there. Returns the exit status.
    int Run(const std::string& args) const {
        const std::string cmd =
            "cd '" + dir + "' && " + VIDSTOOL_BINARY + " " + args + " > out.txt 2> err.txt";
        const int status = std::system(cmd.c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    std::string dir;
};

#endif
