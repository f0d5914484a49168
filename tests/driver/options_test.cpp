// gme's command line: statuses and texts of bad and informative uses, the motion file
// against the printed lines, and options that change nothing but what they name.
#include <cstdlib>

#include "tests/driver/SequenceFixture.h"

namespace {

const char kUsage[] = "usage: gme [OPTIONS] INPUT OUTPUT\nTry 'gme --help' for the options.\n";

std::vector<std::string> Split(const std::string& text, char sep) {
    std::vector<std::string> parts;
    std::istringstream in(text);
    std::string part;
    while (std::getline(in, part, sep))
        parts.push_back(part);
    return parts;
}

std::string Printf(const char* format, double v) {
    char buf[64];
    std::snprintf(buf, sizeof buf, format, v);
    return buf;
}

}  // namespace

TEST_F(GmeRun, CommandLineStatusesAndTexts) {
    struct Case {
        const char* args;
        int status;
        std::string err;
    };
    const Case cases[] = {
        {"only-one", 2, kUsage},
        {"a b c", 2, kUsage},
        {"a b --quiet", 2, kUsage},
        {"--bogus a b", 2, std::string("gme: unknown option --bogus\n") + kUsage},
        {"--motion", 2, std::string("gme: --motion needs a file name\n") + kUsage},
        {"--motion - in -", 2,
         std::string("gme: OUTPUT and --motion cannot both be standard output\n") + kUsage},
        {"--version", 0, ""},
        {"--help", 0, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.args);
        EXPECT_EQ(Gme(c.args), c.status);
        EXPECT_EQ(Read("stderr.txt"), c.err);
    }
    Gme("--version");
    EXPECT_EQ(Read("stdout.txt"), "gme 1.0.0\n");
    Gme("--help");
    EXPECT_EQ(Read("stdout.txt").rfind("usage: gme [OPTIONS] INPUT OUTPUT\n\n", 0), 0u);
}

TEST_F(GmeRun, MotionFileHoldsThePrintedEstimatesAsExactDoubles) {
    WriteIntegerScene("in", 160, 128, 12);
    ASSERT_EQ(Gme("--motion m.csv in out"), 0);
    const std::vector<std::string> rows = Split(Read("m.csv"), '\n');
    ASSERT_EQ(rows.size(), 12u);
    EXPECT_EQ(rows[0], "pair,a0,a1,a2,a3,a4,a5,accepted,mae,mae_zero_motion,object_blocks");
    const std::vector<std::string> out = Split(Read("stdout.txt"), '\n');
    const std::vector<std::string> log = Split(Read("mae_Bin.txt"), ' ');
    const auto input = Frames("in");
    std::vector<std::string> printed, kept;
    size_t line = 0;
    for (int n = 1; n <= 11; ++n) {
        SCOPED_TRACE(n);
        const std::vector<std::string> f = Split(rows[n], ',');
        ASSERT_EQ(f.size(), 11u);
        EXPECT_EQ(f[0], std::to_string(n));
        // The pair's printed lines: the estimate, possibly its rejection, and the MAE.
        std::string finalLine, maeLine;
        bool rejected = false;
        for (++line; line < out.size() && out[line].rfind("processing frame", 0) != 0; ++line) {
            if (out[line].rfind("| Final parameter", 0) == 0)
                finalLine = out[line];
            rejected |= out[line] == "Estimation failed for this frame!";
            if (out[line].rfind("MAE: ", 0) == 0)
                maeLine = out[line];
        }
        EXPECT_EQ(f[7], rejected ? "0" : "1");
        std::string params = "| Final parameter (a[0] a[1] a[2] a[3] a[4] a[5] ):";
        for (int i = 1; i <= 6; ++i)
            params += " " + Printf("%f", std::strtod(f[i].c_str(), nullptr));
        // A rejected estimate is printed; the row holds the model kept from before.
        if (rejected)
            EXPECT_EQ(std::vector<std::string>(f.begin() + 1, f.begin() + 7), kept);
        else
            EXPECT_EQ(params + " ", finalLine);
        kept.assign(f.begin() + 1, f.begin() + 7);
        std::ostringstream mae;
        mae << "MAE: " << std::strtod(f[8].c_str(), nullptr);
        EXPECT_EQ(mae.str(), maeLine);
        EXPECT_EQ(Printf("%f", std::strtod(f[8].c_str(), nullptr)), log[n - 1]);
        long sum = 0;
        for (size_t k = 0; k < input[n].size(); ++k)
            sum += std::abs(input[n][k] - input[n - 1][k]);
        EXPECT_EQ(std::strtod(f[9].c_str(), nullptr), static_cast<double>(sum) / input[n].size());
    }
    // After the rejection (pair 6) the mask is the previous one: the same block count.
    EXPECT_EQ(Split(rows[6], ',')[10], Split(rows[5], ',')[10]);
    EXPECT_EQ(Split(rows[6], ',')[10], "54");
}

TEST_F(GmeRun, OptionsChangeNothingButWhatTheyName) {
    WriteIntegerScene("in", 160, 128, 12);
    ASSERT_EQ(Gme("in plain"), 0);
    const std::string plainOut = MaskTimes(Read("stdout.txt")), plainMae = Read("mae_Bin.txt");
    const std::string plainPic = Read("plain.pic");

    ASSERT_EQ(Gme("--motion m.csv --summary --progress in out"), 0);
    EXPECT_EQ(MaskTimes(Read("stdout.txt")), plainOut);
    EXPECT_EQ(Read("mae_Bin.txt"), plainMae);
    EXPECT_EQ(Read("out.pic"), plainPic);
    const std::string err = Read("stderr.txt");
    EXPECT_NE(err.find("pair 11 of 11, "), std::string::npos) << err;
    EXPECT_TRUE(std::regex_search(
        err, std::regex("\nsummary: 11 pairs, 1 rejected \\(9\\.1 %\\), mean MAE 5\\.242 compensated, "
                        "7\\.282 uncompensated, [0-9]+\\.[0-9] frames/s\n$")))
        << err;

    ASSERT_EQ(Gme("--quiet in out"), 0);
    EXPECT_EQ(Read("stdout.txt"), "");
    EXPECT_EQ(Read("stderr.txt"), "Backup: Rename out.des -> .des~\nBackup: Rename out.pic -> .pic~\n");
    EXPECT_EQ(Read("mae_Bin.txt"), plainMae);
    EXPECT_EQ(Read("out.pic"), plainPic);
}
