// Shared by the y4m and vidstool tests: a fresh temporary directory per test, and
// generated YUV4MPEG2 streams and frames whose every sample is known.
#ifndef TESTS_Y4M_STREAMDIR_H
#define TESTS_Y4M_STREAMDIR_H

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "y4m/Frame.h"

struct StreamDir : testing::Test {
    // A test whose directory cannot be made fails; it never falls back to a shared one.
    void SetUp() override {
        char tmpl[] = "/tmp/y4m_test_XXXXXX";
        const char* made = mkdtemp(tmpl);
        ASSERT_NE(made, nullptr) << "no temporary directory";
        dir = made;
    }
    ~StreamDir() override {
        if (!dir.empty())
            std::system(("chmod -R u+rwx '" + dir + "' && rm -rf '" + dir + "'").c_str());
    }

    std::string Path(const std::string& name) const { return dir + "/" + name; }

    // Frame n of a w x h picture: every sample a function of plane, position and n.
    static y4m::Frame Pattern(ormel::ChromaFormat f, int w, int h, int n) {
        y4m::Frame fr(f, w, h);
        for (int c = 0; c < 3; ++c)
            for (int y = 0; y < fr.Height(c); ++y)
                for (int x = 0; x < fr.Width(c); ++x)
                    fr.plane[c][static_cast<size_t>(fr.Width(c)) * y + x] =
                        static_cast<unsigned char>(x * 7 + y * 31 + c * 80 + n * 53);
        return fr;
    }

    static std::string Planes(const y4m::Frame& f) {
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

    std::string dir;
};

#endif
