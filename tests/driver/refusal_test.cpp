// gme refuses bad input and outputs it cannot make before it creates, renames or
// overwrites anything: one "gme: ..." line, status 1, and a previous output and
// mae_Bin.txt left exactly as they were.
#include <sys/stat.h>
#include <unistd.h>

#include <functional>

#include "tests/driver/SequenceFixture.h"

namespace {

std::string LastLine(const std::string& text) {
    const size_t end = text.size() > 0 && text.back() == '\n' ? text.size() - 1 : text.size();
    const size_t start = text.rfind('\n', end == 0 ? 0 : end - 1);
    return text.substr(start == std::string::npos ? 0 : start + 1, end - (start == std::string::npos ? 0 : start + 1));
}

}  // namespace

TEST_F(GmeRun, RefusalsLeaveEverythingAsItWas) {
    struct Case {
        const char* what;
        std::function<void(GmeRun&)> setUp;
        const char* args;
        const char* message;   // the last line on standard error
    };
    const Case cases[] = {
        {"no description", [](GmeRun&) {}, "nosuch out", "gme: nosuch.des: No such file or directory"},
        {"no sample file", [](GmeRun& t) {
             t.WriteIntegerScene("in", 64, 48, 3);
             std::remove((t.dir + "/in.pic").c_str());
         }, "in out", "gme: in.pic: No such file or directory"},
        {"a description that does not parse", [](GmeRun& t) {
             t.Write("in.des", "this is not\na description\n");
             t.Write("in.pic", std::string(4096, '\0'));
         }, "in out", "gme: in.des: not a readable vids description"},
        {"one frame", [](GmeRun& t) { t.WriteIntegerScene("in", 64, 48, 1); }, "in out",
         "gme: in: holds 1 frame; gme needs at least two"},
        {"a sample file cut short", [](GmeRun& t) {
             t.WriteIntegerScene("in", 64, 48, 12);
             ASSERT_EQ(truncate((t.dir + "/in.pic").c_str(), 5 * 5120 + 1000), 0);
         }, "in out", "gme: in.pic: holds 5 of the 12 frames in.des declares"},
        {"a negative width", [](GmeRun& t) {
             t.WriteIntegerScene("in", 64, 48, 3);
             t.Replace("in.des", "HORIZONTALE =    64", "HORIZONTALE =   -64");
         }, "in out", "gme: in.des: declares frames of -64x48"},
        {"a sampling matrix out of form", [](GmeRun& t) {
             t.WriteIntegerScene("in", 64, 48, 3);
             t.Replace("in.des", "(1,0,1,0,0,1)", "(1,5,1,0,0,1)");
         }, "in out", "gme: in.des: the sampling matrices of its components are not valid"},
        {"frames below the minimum", [](GmeRun& t) { t.WriteIntegerScene("in", 17, 9, 3); },
         "in out", "gme: in: frames of 17x9 are too small; gme needs at least 32x32"},
        {"the output is the input", [](GmeRun& t) { t.WriteIntegerScene("in", 64, 48, 3); },
         "in in.yuv", "gme: in.yuv: would replace the input (in.des); give another name"},
        {"the output is the input under another name", [](GmeRun& t) {
             t.WriteIntegerScene("in", 64, 48, 3);
             ASSERT_EQ(symlink("in.pic", (t.dir + "/other.pic").c_str()), 0);
         }, "in other", "gme: other: would replace the input (in.pic); give another name"},
        {"no output directory", [](GmeRun& t) { t.WriteIntegerScene("in", 64, 48, 3); },
         "in nodir/out", "gme: nodir/out.des: cannot create: directory nodir: No such file or directory"},
        {"mae_Bin.txt cannot be created", [](GmeRun& t) {
             t.WriteIntegerScene("in", 64, 48, 3);
             ASSERT_EQ(mkdir((t.dir + "/mae_Bin.txt").c_str(), 0755), 0);
         }, "in out", "gme: mae_Bin.txt: is a directory"},
        {"the motion file cannot be created", [](GmeRun& t) { t.WriteIntegerScene("in", 64, 48, 3); },
         "--motion nodir/m.csv in out",
         "gme: nodir/m.csv: cannot create: directory nodir: No such file or directory"},
        {"the output's backup cannot be made", [](GmeRun& t) {
             t.WriteIntegerScene("in", 64, 48, 3);
             ASSERT_EQ(mkdir((t.dir + "/out.des~").c_str(), 0755), 0);
         }, "in out", "gme: out.des~: is a directory"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        std::system(("rm -rf '" + dir + "'/* ").c_str());
        Write("out.des", "previous description");
        Write("out.pic", "previous samples");
        c.setUp(*this);
        struct stat st;
        if (stat((dir + "/mae_Bin.txt").c_str(), &st) != 0)
            Write("mae_Bin.txt", "previous log");
        EXPECT_EQ(Gme(c.args), 1);
        EXPECT_EQ(LastLine(Read("stderr.txt")), c.message);
        EXPECT_EQ(Read("stdout.txt"), "");
        EXPECT_EQ(Read("out.des"), "previous description");
        EXPECT_EQ(Read("out.pic"), "previous samples");
        if (stat((dir + "/mae_Bin.txt").c_str(), &st) == 0 && !S_ISDIR(st.st_mode)) {
            EXPECT_EQ(Read("mae_Bin.txt"), "previous log");
        }
        EXPECT_NE(stat((dir + "/out.pic~").c_str(), &st), 0) << "a backup was made";
    }
}

TEST_F(GmeRun, UnreadableInputAndUnwritableOutputAreRefused) {
    if (geteuid() == 0)
        GTEST_SKIP() << "permissions do not bind root";
    WriteIntegerScene("in", 64, 48, 3);
    ASSERT_EQ(chmod((dir + "/in.pic").c_str(), 0), 0);
    EXPECT_EQ(Gme("in out"), 1);
    EXPECT_EQ(Read("stderr.txt"), "gme: in.pic: Permission denied\n");
    ASSERT_EQ(chmod((dir + "/in.pic").c_str(), 0644), 0);
    ASSERT_EQ(mkdir((dir + "/locked").c_str(), 0555), 0);
    EXPECT_EQ(Gme("in locked/out"), 1);
    EXPECT_EQ(Read("stderr.txt"), "gme: locked/out.des: cannot create in locked: Permission denied\n");
}

// A write that fails half way (here the file-size limit: each luminance frame of the
// output is 160x128 bytes, the limit 100 blocks of 512) ends the run without "done"; the
// backups of the previous output stay as they were and the output declares exactly the
// frames it holds.
TEST_F(GmeRun, AFailedWriteEndsTheRunAndKeepsTheBackups) {
    WriteIntegerScene("in", 160, 128, 12);
    Write("out.des", "previous description");
    Write("out.pic", "previous samples");
    EXPECT_EQ(Gme("in out", "ulimit -f 100 && "), 1);
    EXPECT_EQ(LastLine(Read("stderr.txt")), "gme: out.pic: frame 2 could not be written");
    EXPECT_EQ(Read("stdout.txt").find("done"), std::string::npos);
    EXPECT_EQ(Read("out.des~"), "previous description");
    EXPECT_EQ(Read("out.pic~"), "previous samples");
    EXPECT_EQ(Read("out.pic").size(), 2u * 160 * 128);
    EXPECT_EQ(Frames("out").size(), 2u);
}
