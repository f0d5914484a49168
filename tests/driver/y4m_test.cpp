// gme on YUV4MPEG2: a stream gives what the vids sequence vidstool imports from it gives,
// a YUV4MPEG2 output is what vidstool exports of the vids output, standard input and
// output work, and a stream cut short or interrupted ends the run with a sound output.
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <thread>

#include "tests/driver/SequenceFixture.h"

namespace {

constexpr int kW = 160, kH = 128;

// A 4:2:0 stream of the integer scene: progressive frames, or for 'b' and 't' frames
// woven of two scene frames (the first in time on the field shown first).
std::string Stream(int frames, char interlace) {
    const bool fields = interlace != 'p';
    const int h = fields ? 2 * kH : kH;
    std::string s = "YUV4MPEG2 W" + std::to_string(kW) + " H" + std::to_string(h) + " F25:1 I" +
                    interlace + " C420jpeg\n";
    std::vector<unsigned char> a(kW * kH), b(kW * kH);
    for (int f = 0; f < frames; ++f) {
        s += "FRAME\n";
        if (!fields) {
            test_scene::RenderFrame(f, kW, kH, a.data());
            s.append(a.begin(), a.end());
        } else {
            test_scene::RenderFrame(2 * f, kW, kH, a.data());
            test_scene::RenderFrame(2 * f + 1, kW, kH, b.data());
            const int firstParity = interlace == 't' ? 0 : 1;
            for (int y = 0; y < h; ++y) {
                const std::vector<unsigned char>& src = (y % 2 == firstParity) ? a : b;
                s.append(src.begin() + (y / 2) * kW, src.begin() + (y / 2 + 1) * kW);
            }
        }
        s.append(static_cast<size_t>(kW / 2) * (h / 2) * 2, '\x80');
    }
    return s;
}

}  // namespace

TEST_F(GmeRun, StreamsGiveWhatTheirImportedSequencesGive) {
    for (const char interlace : {'p', 't', 'b'}) {
        SCOPED_TRACE(interlace);
        Write("in.y4m", Stream(6, interlace));
        const std::string order = interlace == 'b' ? " --field-order b" : "";
        ASSERT_EQ(std::system(("cd '" + dir + "' && " + VIDSTOOL_BINARY + " import in.y4m in").c_str()), 0);
        ASSERT_EQ(Gme("in ref"), 0);
        const std::string out = MaskTimes(Read("stdout.txt")), mae = Read("mae_Bin.txt");
        ASSERT_EQ(std::system(("cd '" + dir + "' && " + VIDSTOOL_BINARY + " export --rate 25" + order +
                               " ref ref.y4m 2> /dev/null").c_str()), 0);

        ASSERT_EQ(Gme("in.y4m out"), 0);   // a file, into a vids sequence
        EXPECT_EQ(MaskTimes(Read("stdout.txt")), out);
        EXPECT_EQ(Read("mae_Bin.txt"), mae);
        EXPECT_TRUE(Read("out.pic") == Read("ref.pic"));
        EXPECT_EQ(Read("out.des").substr(Read("out.des").find('\n')),
                  Read("ref.des").substr(Read("ref.des").find('\n')));   // all but the name

        ASSERT_EQ(Gme("- out.y4m < in.y4m"), 0);   // standard input, into a stream
        EXPECT_EQ(MaskTimes(Read("stdout.txt")), out);
        EXPECT_TRUE(Read("out.y4m") == Read("ref.y4m"));

        ASSERT_EQ(Gme("--motion m.csv in.y4m -"), 0);   // the lines go to stderr
        EXPECT_TRUE(Read("stdout.txt") == Read("ref.y4m"));
        EXPECT_EQ(MaskTimes(Read("stderr.txt")), out);
    }
}

TEST_F(GmeRun, AStreamCutShortEndsTheRunWithTheFramesBefore) {
    const std::string whole = Stream(6, 'p');
    const size_t frame = 6 + kW * kH * 3 / 2;
    Write("in.y4m", whole.substr(0, whole.size() - frame - 100));   // frame 4 lacks 100 bytes
    EXPECT_EQ(Gme("in.y4m out"), 1);
    EXPECT_EQ(Read("stderr.txt"), "gme: in.y4m: frame 4 is truncated (30620 of 30720 bytes)\n");
    EXPECT_EQ(Read("stdout.txt").find("done"), std::string::npos);
    EXPECT_EQ(Frames("out").size(), 4u);
    EXPECT_EQ(Read("out.pic").size(), 4u * kW * kH);

    Write("in.y4m", whole.substr(0, 300));   // less than one frame: nothing is created
    EXPECT_EQ(Gme("- out2 < in.y4m"), 1);
    EXPECT_EQ(Read("stderr.txt"), "gme: -: frame 0 is truncated (256 of 30720 bytes)\n");
    struct stat st;
    EXPECT_NE(stat((dir + "/out2.des").c_str(), &st), 0);
}

TEST_F(GmeRun, AnInterruptedRunLeavesTheFramesWritten) {
    const std::string fifo = dir + "/in.fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {   // gme, reading the stream from the pipe
        if (chdir(dir.c_str()) != 0)
            _exit(127);
        const int in = open(fifo.c_str(), O_RDONLY);
        const int out = open("stdout.txt", O_WRONLY | O_CREAT | O_TRUNC, 0644);
        const int err = open("stderr.txt", O_WRONLY | O_CREAT | O_TRUNC, 0644);
        dup2(in, 0);
        dup2(out, 1);
        dup2(err, 2);
        execl(GME_BINARY, "gme", "-", "out", static_cast<char*>(nullptr));
        _exit(127);
    }
    const int writer = open(fifo.c_str(), O_WRONLY);
    ASSERT_GE(writer, 0);
    const std::string five = Stream(5, 'p');
    ASSERT_EQ(write(writer, five.data(), five.size()), static_cast<ssize_t>(five.size()));
    // gme has handled the five frames when it has printed four MAEs; it then waits for
    // the sixth.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    auto maes = [this] {
        const std::string out = Read("stdout.txt");
        int n = 0;
        for (size_t at = out.find("MAE: "); at != std::string::npos; at = out.find("MAE: ", at + 1))
            ++n;
        return n;
    };
    while (maes() < 4 && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    kill(pid, SIGINT);
    int status = 0;
    waitpid(pid, &status, 0);
    close(writer);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 130);
    EXPECT_EQ(Read("stderr.txt"),
              "gme: interrupted by SIGINT after frame 4; out holds the 5 frames written\n");
    EXPECT_EQ(Read("stdout.txt").find("done"), std::string::npos);
    EXPECT_NE(Read("out.des").find("TEMPORELLE =     5\n"), std::string::npos) << Read("out.des");
    EXPECT_EQ(Frames("out").size(), 5u);
    EXPECT_EQ(Read("out.pic").size(), 5u * kW * kH);
    const std::string log = Read("mae_Bin.txt");
    EXPECT_EQ(std::count(log.begin(), log.end(), ' '), 4);
}
