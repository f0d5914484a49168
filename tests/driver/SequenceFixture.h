// Shared by the end-to-end tests: a temporary working directory, sequences written into
// it and runs of the built gme command inside it. A directory that cannot be made fails
// the test before anything runs.
#ifndef TESTS_DRIVER_SEQUENCEFIXTURE_H
#define TESTS_DRIVER_SEQUENCEFIXTURE_H

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "image/VidsFile.h"
#include "image/YUVImage.h"
#include "tests/support/IntegerScene.h"
#include "tools/demo/Scene.h"

// gme's standard output with the two processor times replaced by T.
inline std::string MaskTimes(const std::string& text) {
    return std::regex_replace(text, std::regex("(Compensator|Estimator) time [^\n]*"), "$1 time T");
}

struct GmeRun : testing::Test {
    void SetUp() override {
        char tmpl[] = "/tmp/gme_test_XXXXXX";
        const char* made = mkdtemp(tmpl);
        ASSERT_NE(made, nullptr) << "cannot make a temporary directory";
        dir = made;
    }
    void TearDown() override {
        if (!dir.empty())
            std::system(("rm -rf '" + dir + "'").c_str());
    }

    // The integer-only test scene (tests/support/IntegerScene.h) as sequence `name`.
    void WriteIntegerScene(const std::string& name, int w, int h, int frames) {
        ormel::VidsFile f;
        f.SetWidth(w);
        f.SetHeight(h);
        f.SetNumberOfImages(frames);
        f.SetFrameRate(25);
        f.SetSamplingMatrices(ormel::YUV420, false);
        ASSERT_EQ(f.Open(dir + "/" + name, ormel::OPEN_NEW) & 1, 0);
        ormel::YUVImage img(f);
        for (int n = 0; n < frames; ++n) {
            test_scene::RenderFrame(n, w, h, img.GetArray(ormel::Y_COMP));
            ASSERT_EQ(f.Write(img, n), 18);
        }
        f.Close();
    }

    // Writes `frames` time samples of the demo scene as sequence `name`.
    void WriteScene(const std::string& name, int w, int h, int frames, bool interlaced,
                    float rate) {
        ormel::VidsFile f;
        f.SetWidth(w);
        f.SetHeight(h);
        f.SetNumberOfImages(frames);
        f.SetFrameRate(rate);
        f.SetSamplingMatrices(ormel::YUV420, interlaced);
        ASSERT_EQ(f.Open(dir + "/" + name, ormel::OPEN_NEW) & 1, 0);
        ormel::YUVImage img(f);
        demo::Scene scene(img.Width(ormel::Y_COMP), img.Height(ormel::Y_COMP));
        for (int n = 0; n < frames; ++n) {
            scene.Render(n, img);
            ASSERT_EQ(f.Write(img, n), 18);
        }
        f.Close();
    }

    // Runs gme in the working directory; returns its exit status. `prefix` runs first in
    // the same shell (a ulimit, say).
    int Gme(const std::string& args, const std::string& prefix = "") {
        const std::string cmd = "cd '" + dir + "' && " + prefix + GME_BINARY + " " + args +
                                " > stdout.txt 2> stderr.txt";
        const int status = std::system(cmd.c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    void Write(const std::string& file, const std::string& bytes) const {
        std::ofstream(dir + "/" + file, std::ios::binary) << bytes;
    }

    // Replaces the first `from` in the file by `to`; the text must be there.
    void Replace(const std::string& file, const std::string& from, const std::string& to) {
        std::string text = Read(file);
        const size_t at = text.find(from);
        ASSERT_NE(at, std::string::npos) << from << " not in " << file;
        Write(file, text.replace(at, from.size(), to));
    }

    std::string Read(const std::string& file) const {
        std::ifstream in(dir + "/" + file, std::ios::binary);
        std::ostringstream s;
        s << in.rdbuf();
        return s.str();
    }

    // Luminance of every frame of sequence `name`.
    std::vector<std::vector<unsigned char>> Frames(const std::string& name) {
        ormel::VidsFile f;
        std::vector<std::vector<unsigned char>> frames;
        if (f.Open(dir + "/" + name, ormel::OPEN_OLD) & 1)
            return frames;
        ormel::YUVImage img(f);
        const long n = static_cast<long>(img.Width(ormel::Y_COMP)) * img.Height(ormel::Y_COMP);
        for (int k = 0; k < f.NumberOfImages(); ++k) {
            f.Read(img, k);
            frames.emplace_back(img.GetArray(ormel::Y_COMP), img.GetArray(ormel::Y_COMP) + n);
        }
        return frames;
    }

    std::string dir;
};

#endif
