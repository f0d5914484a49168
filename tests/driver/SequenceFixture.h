// Shared by the end-to-end tests: a temporary working directory, sequences written into
// it and runs of the built gme command inside it.
#ifndef TESTS_DRIVER_SEQUENCEFIXTURE_H
#define TESTS_DRIVER_SEQUENCEFIXTURE_H

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "image/VidsFile.h"
#include "image/YUVImage.h"
#include "tools/demo/Scene.h"

struct GmeRun : testing::Test {
    GmeRun() {
        char tmpl[] = "/tmp/gme_test_XXXXXX";
        dir = mkdtemp(tmpl);
    }
    ~GmeRun() override { std::system(("rm -rf '" + dir + "'").c_str()); }

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

    // Runs gme in the working directory; returns its exit status.
    int Gme(const std::string& args) {
        const std::string cmd = "cd '" + dir + "' && " + GME_BINARY + " " + args +
                                " > stdout.txt 2> stderr.txt";
        const int status = std::system(cmd.c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
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
