// The built vidstool command end to end: help, pipes, the info report, every refusal
// with its message and exit status, and interchange with ffmpeg when it is installed.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include <string>

#include "image/VidsFile.h"
#include "vids/vids.h"
#include "tests/y4m/StreamDir.h"

namespace {

struct Cli : StreamDir {
    // Runs "vidstool args" in the directory, standard error to err.txt there and standard
    // output to out (out.txt there by default). Returns the exit status.
    int Run(const std::string& args, const std::string& out = "out.txt") const {
        const std::string cmd =
            "cd '" + dir + "' && " + VIDSTOOL_BINARY + " " + args + " > " + out + " 2> err.txt";
        const int status = std::system(cmd.c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
};

const char kInfo[] =
    "File name     : seq\n"
    "size (h,v,t)  : 8 x 4 x 4\n"
    "component [0] : Y         \n"
    "smpl_mtrx     : (1,0,2,0,1,1)\n"
    "smpl_ofst     : (0,1,0)\n"
    "component [1] : C1        \n"
    "smpl_mtrx     : (2,0,2,0,1,1)\n"
    "smpl_ofst     : (0,1,0)\n"
    "component [2] : C2        \n"
    "smpl_mtrx     : (2,0,2,0,1,1)\n"
    "smpl_ofst     : (0,1,0)\n"
    "frequency     : horiz = 512.0000  , vert = 256.0000  , temp = 59.9401   \n"
    "data type     : OCTET\n"
    "signed        : comp 1 = N ,  comp 2 = N ,  comp 3 = N \n"
    "scale_fctr    : 1   \n"
    "\n"
    "Variables :\n"
    "frame_rate =30000:1001\n"
    "y4m_interlace =b\n"
    "pixel_aspect =1:1\n"
    "y4m_colorspace =422\n"
    "\n"
    "Comments  :\n"
    "imported by vidstool from in.y4m\n"
    "\n"
    "\n"
    "Images        : 4 fields (2 frames)\n"
    "Size          : 8 x 4\n"
    "Chroma format : 4:2:2\n"
    "Interlaced    : yes, bottom field first\n"
    "Frame rate    : 29.9701 (exactly 30000:1001)\n";

}  // namespace

TEST_F(Cli, InfoPrintsTheRecordThenWhatTheSequenceFileReports) {
    Write("in.y4m", Y4m("W8 H4 F30000:1001 Ib A1:1 C422", ormel::YUV422, 8, 4, 2));
    ASSERT_EQ(Run("import in.y4m seq"), 0) << Read("err.txt");
    ASSERT_EQ(Run("info seq"), 0) << Read("err.txt");
    EXPECT_EQ(Read("out.txt"), kInfo);
    EXPECT_EQ(Read("err.txt"), "");
}

TEST_F(Cli, HelpForTheToolAndEachCommand) {
    const struct { const char* args; const char* first; } cases[] = {
        {"--help", "Usage: vidstool COMMAND"},
        {"help", "Usage: vidstool COMMAND"},
        {"import --help", "Usage: vidstool import [OPTIONS] IN OUT\n"},
        {"help export", "Usage: vidstool export [OPTIONS] IN OUT.y4m\n"},
        {"info -h", "Usage: vidstool info NAME\n"}};
    for (const auto& c : cases) {
        EXPECT_EQ(Run(c.args), 0) << c.args;
        EXPECT_EQ(Read("out.txt").rfind(c.first, 0), 0u) << c.args << "\n" << Read("out.txt");
    }
}

TEST_F(Cli, StreamsThroughStandardInputAndOutput) {
    const std::string original = Y4m("W6 H4 F24000:1001 Ip A1:1 C420jpeg", ormel::YUV420, 6, 4, 3);
    Write("in.y4m", original);
    ASSERT_EQ(Run("import - seq < in.y4m"), 0) << Read("err.txt");
    ASSERT_EQ(Run("export seq -"), 0) << Read("err.txt");
    EXPECT_TRUE(Read("out.txt") == original);
}

TEST_F(Cli, BadInputGetsOneMessageAndAFailureStatus) {
    const std::string good = Y4m("W4 H2 F25:1 C420jpeg", ormel::YUV420, 4, 2, 2);
    Write("good.y4m", good);
    Write("cut.y4m", good.substr(0, good.size() - 5));
    Write("deep.y4m", Y4m("W4 H2 F25:1 C420p10", ormel::YUV420, 4, 2, 1));
    Write("norate.y4m", Y4m("W4 H2 C420jpeg", ormel::YUV420, 4, 2, 1));
    Write("clip.mp4", std::string("\0\0\0\x20" "ftypisom", 12));
    Write("odd.yuv", std::string(13, 'x'));
    const struct { const char* args; int status; const char* message; } cases[] = {
        {"import deep.y4m seq", 1,
         "deep.y4m: unsupported colour space 'C420p10' (8-bit 420jpeg, 420paldv, 420mpeg2, 420, 422, "
         "444 and mono are supported)"},
        {"import clip.mp4 seq", 1, "clip.mp4: not a YUV4MPEG2 stream (for raw planar video give --size WxH)"},
        {"import cut.y4m seq", 1,
         "cut.y4m: frame 1 is truncated (7 of 12 bytes); removed the incomplete seq.des and seq.pic"},
        {"import missing.y4m seq", 1, "missing.y4m: No such file or directory"},
        {"import norate.y4m seq", 1, "norate.y4m: the YUV4MPEG2 header gives no frame rate; give --rate"},
        {"import --size 4x2 odd.yuv seq", 1,
         "odd.yuv: 13 bytes are not a whole number of 4x2 4:2:0 frames (12 bytes each)"},
        {"import --size 4x2 good.y4m seq", 1,
         "good.y4m: this is a YUV4MPEG2 stream, not raw video; leave out --size and --format"},
        {"import good.y4m nodir/seq", 1, "nodir/seq.des: cannot create: No such file or directory"},
        {"export missing out.y4m", 1,
         "missing: no such vids sequence (neither missing.des nor missing.pic exists)"},
        {"info missing", 1, "missing: no such vids sequence (neither missing.des nor missing.pic exists)"},
        {"import --size 4x good.yuv seq", 2, "import: bad --size '4x' (WxH, each 1 to 16384)"},
        {"import --format 411 --size 4x2 good.yuv seq", 2, "import: bad --format '411' (420, 422, 444 or 400)"},
        {"import --format 420 good.y4m seq", 2, "import: --format describes raw input and needs --size"},
        {"import --rate 0 good.y4m seq", 2, "import: bad --rate '0' (N:D, N/D or a positive number)"},
        {"import --interlace x good.y4m seq", 2, "import: bad --interlace 'x' (p, t or b)"},
        {"export --field-order p seq out.y4m", 2, "export: bad --field-order 'p' (t or b)"},
        {"import good.y4m", 2, "import: missing operand (usage: vidstool import [OPTIONS] IN OUT)"},
        {"info a b", 2, "info: too many operands (usage: vidstool info NAME)"},
        {"export --loud seq out.y4m", 2, "export: unknown option --loud (see vidstool export --help)"},
        {"convert a b", 2, "unknown command 'convert' (see vidstool --help)"},
        {"", 2, "no command given (see vidstool --help)"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Run(c.args), c.status) << c.args;
        EXPECT_EQ(Read("err.txt"), std::string("vidstool: ") + c.message + "\n") << c.args;
        EXPECT_EQ(Read("out.txt"), "") << c.args;
        EXPECT_FALSE(Exists("seq.des") || Exists("seq.pic")) << c.args;
    }
}

TEST_F(Cli, UnreadableInputIsRefused) {
    if (geteuid() == 0)
        GTEST_SKIP() << "permissions do not bind root";
    Write("locked.y4m", Y4m("W4 H2 F25:1", ormel::YUV420, 4, 2, 1));
    chmod(Path("locked.y4m").c_str(), 0);
    EXPECT_EQ(Run("import locked.y4m seq"), 1);
    EXPECT_EQ(Read("err.txt"), "vidstool: locked.y4m: Permission denied\n");
}

TEST_F(Cli, ExportRefusesWhatItCannotWriteAndLeavesNothing) {
    // Sixteen-bit samples.
    IMG_INF* inf = nullptr;
    ASSERT_EQ(Img_INF_alloc(&inf), 1);
    Img_set_sizes(inf, 4, 2, 1);
    Img_set_smpl_matrices(inf, IMG_FMT_MONO, 0);
    Img_set_comp_names(inf, IMG_FMT_MONO);
    Img_set_fdtype(inf, IMG_FDT_ENTIER_2);
    ASSERT_EQ(Openvids(Path("wide").c_str(), inf, "new", 7), 2);
    Closevids(inf, 0);
    Img_INF_free(inf);
    EXPECT_EQ(Run("export wide out.y4m"), 1);
    EXPECT_EQ(Read("err.txt"), "vidstool: wide holds ENTIER_2 samples; only 8-bit (OCTET) sequences can be exported\n");

    // A data file shorter than its description.
    Write("in.y4m", Y4m("W4 H2 F25:1 Cmono", ormel::YUV400, 4, 2, 3));
    ASSERT_EQ(Run("import in.y4m seq"), 0);
    ASSERT_EQ(truncate(Path("seq.pic").c_str(), 1000), 0);
    EXPECT_EQ(Run("export seq out.y4m"), 1);
    EXPECT_EQ(Read("err.txt"), "vidstool: seq.pic is truncated: it holds 1000 bytes, the description needs 1536\n");
    EXPECT_FALSE(Exists("out.y4m"));

    // Outputs that cannot or must not be written.
    ASSERT_EQ(truncate(Path("seq.pic").c_str(), 1536), 0);
    EXPECT_EQ(Run("export seq seq.pic"), 1);
    EXPECT_EQ(Read("err.txt"), "vidstool: seq.pic is a file of the sequence seq itself\n");
    EXPECT_EQ(Read("seq.pic").size(), 1536u);
    EXPECT_EQ(Run("export seq nodir/out.y4m"), 1);
    EXPECT_EQ(Read("err.txt"), "vidstool: nodir/out.y4m: No such file or directory\n");
    if (access("/dev/full", W_OK) == 0) {
        EXPECT_EQ(Run("export seq -", "/dev/full"), 1);
        EXPECT_EQ(Read("err.txt"), "vidstool: standard output: write failed; the stream on standard output is incomplete\n");
    }
}

// ffmpeg is the usual other end of a YUV4MPEG2 pipe; it is not needed to build or test.
TEST_F(Cli, FfmpegReadsTheExportAndItsOutputImports) {
    if (std::system("command -v ffmpeg > /dev/null 2>&1") != 0)
        GTEST_SKIP() << "ffmpeg is not installed";
    const std::string ff = "ffmpeg -nostdin -loglevel error -y ";
    Write("in.y4m", Y4m("W16 H8 F30000:1001 It A1:1 C420jpeg", ormel::YUV420, 16, 8, 4));
    ASSERT_EQ(Run("import in.y4m seq"), 0) << Read("err.txt");
    ASSERT_EQ(Run("export seq out.y4m"), 0) << Read("err.txt");
    ASSERT_EQ(std::system(("cd '" + dir + "' && " + ff + "-i out.y4m -f rawvideo -pix_fmt yuv420p ff.yuv").c_str()), 0);
    EXPECT_EQ(Read("ff.yuv").size(), 4u * (16 * 8 + 2 * 8 * 4));

    ASSERT_EQ(std::system(("cd '" + dir + "' && " + ff +
                           "-f lavfi -i testsrc=size=32x16:rate=25 -frames:v 3 -pix_fmt yuv422p ff.y4m").c_str()),
              0);
    ASSERT_EQ(Run("import ff.y4m ffseq"), 0) << Read("err.txt");
    ormel::VidsFile f;
    ASSERT_EQ(f.Open(Path("ffseq"), ormel::OPEN_OLD), 0);
    EXPECT_EQ(f.CFormat(), ormel::YUV422);
    EXPECT_EQ(f.NumberOfImages(), 3);
    EXPECT_FLOAT_EQ(f.FrameRate(), 25.0f);
}
