// The gme command as a user runs it: output frames, standard output, the MAE log, the
// output description, backups and the accuracy on a sequence of known motion.
#include <regex>

#include "tests/driver/SequenceFixture.h"
#include "tools/demo/Report.h"

namespace {

// Every count of lines starting with prefix.
int Lines(const std::string& text, const std::string& prefix) {
    int n = 0;
    std::istringstream in(text);
    std::string line;
    while (std::getline(in, line))
        n += line.compare(0, prefix.size(), prefix) == 0;
    return n;
}

std::string MaskTimes(const std::string& text) {
    return std::regex_replace(text, std::regex("(Compensator|Estimator) time [^\n]*"), "$1 time T");
}

}  // namespace

TEST_F(GmeRun, TwoFramesGiveTwoEqualOutputFramesAndOneMae) {
    WriteScene("in", 176, 144, 2, false, 25);
    ASSERT_EQ(Gme("in out"), 0);
    const auto frames = Frames("out");
    ASSERT_EQ(frames.size(), 2u);
    EXPECT_EQ(frames[0], frames[1]);
    const std::string out = Read("stdout.txt");
    EXPECT_EQ(Lines(out, "MAE: "), 1);
    EXPECT_EQ(Lines(out, "Compensator time "), 0);
    EXPECT_EQ(Lines(out, "Estimator time "), 0);
    const std::string log = Read("mae_Bin.txt");
    EXPECT_TRUE(std::regex_match(log, std::regex("[0-9]+\\.[0-9]{6} "))) << log;
}

TEST_F(GmeRun, StandardOutputOfAShortRun) {
    WriteScene("in", 176, 144, 7, false, 25);
    ASSERT_EQ(Gme("in out"), 0);
    EXPECT_EQ(Read("stderr.txt"), "");
    EXPECT_EQ(MaskTimes(Read("stdout.txt")),
              "processing frame: 1......\n"
              "| Final parameter (a[0] a[1] a[2] a[3] a[4] a[5] ): 4.997899 0.974865 0.007477 1.945965 -0.005740 0.999767 \n"
              "MAE: 8.25705\n"
              "processing frame: 2......\n"
              "| Final parameter (a[0] a[1] a[2] a[3] a[4] a[5] ): 4.420342 0.972607 0.014970 1.855488 -0.007083 1.000429 \n"
              "Compensator time T\nEstimator time T\n"
              "MAE: 9.55129\n"
              "processing frame: 3......\n"
              "| Final parameter (a[0] a[1] a[2] a[3] a[4] a[5] ): 4.256309 0.975032 0.013641 1.577028 -0.004534 1.002041 \n"
              "Compensator time T\nEstimator time T\n"
              "MAE: 9.833\n"
              "processing frame: 4......\n"
              "| Final parameter (a[0] a[1] a[2] a[3] a[4] a[5] ): 2.899364 0.990314 0.005247 1.188472 -0.000052 0.997795 \n"
              "Compensator time T\nEstimator time T\n"
              "MAE: 9.77755\n"
              "processing frame: 5......\n"
              "| Final parameter (a[0] a[1] a[2] a[3] a[4] a[5] ): 2.371314 0.995868 -0.002057 1.025200 0.001712 0.996129 \n"
              "Compensator time T\nEstimator time T\n"
              "MAE: 9.73189\n"
              "processing frame: 6......\n"
              "Initial Conditions: a[0] = 0.000000, a[3] = 0.000000 \n"
              "| Final parameter (a[0] a[1] a[2] a[3] a[4] a[5] ): 2.307002 0.996121 -0.001919 1.033855 0.001767 0.995999 \n"
              "Compensator time T\nEstimator time T\n"
              "MAE: 9.67724\n"
              "done\n");
    const std::string log = Read("mae_Bin.txt");
    EXPECT_EQ(log.find('\n'), std::string::npos);
    EXPECT_TRUE(std::regex_match(log, std::regex("([0-9]+\\.[0-9]{6} ){6}"))) << log;
    EXPECT_EQ(Frames("out").size(), 7u);
}

TEST_F(GmeRun, OutputIsLuminanceOnlyWithTheInputsGeometryAndRate) {
    WriteScene("in", 176, 144, 3, false, 25);
    ASSERT_EQ(Gme("in out"), 0);
    EXPECT_EQ(Read("out.des"),
              "01 NOM DU FICHIER = out\n"
              "02\n"
              "03 VERSION (format du Fichier) = 300\n"
              "04 DIMENSIONS : HORIZONTALE =   176, VERTICALE =   144, TEMPORELLE =     3\n"
              "05 COMPOSANTE_0: NOM = Y, MATRICE_ECH = (1,0,1,0,0,1), DECALAGE = (0,0,0)\n"
              "06 COMPOSANTE_1: NOM = , MATRICE_ECH = (1,0,1,0,0,1), DECALAGE = (0,0,0)\n"
              "07 COMPOSANTE_2: NOM = , MATRICE_ECH = (1,0,1,0,0,1), DECALAGE = (0,0,0)\n"
              "08 FREQUENCES ECHANT.: HORIZ =  512.0000, VERT =  256.0000, TEMP =   25.0000\n"
              "09 TYPE DE DONNEES = OCTET\n"
              "10 DONNEES_SIGNEES:  COMP_1 = N,  COMP_2 = N,  COMP_3 = N\n"
              "11 FACTEUR D'ECHELLE = 1\n"
              "12 NOMBRE DE VARIABLES USAGER =    0\n"
              "*\n" +
                  std::string(80, '*') + "\n\n");
    EXPECT_EQ(Read("out.pic").size(), 3u * 25600);   // 25,344 samples padded to 50 units of 512
}

TEST_F(GmeRun, InterlacedInputHalvesTheRateOnceMore) {
    // 50 fields a second read as 25 frames a second, which the output stores as its
    // field rate: the output then reports 12.5.
    WriteScene("in", 176, 144, 4, true, 50);
    ASSERT_EQ(Gme("in out"), 0);
    const std::string des = Read("out.des");
    EXPECT_NE(des.find("05 COMPOSANTE_0: NOM = Y, MATRICE_ECH = (1,0,2,0,1,1), DECALAGE = (0,0,0)\n"),
              std::string::npos) << des;
    EXPECT_NE(des.find("06 COMPOSANTE_1: NOM = , MATRICE_ECH = (1,0,2,0,1,1),"), std::string::npos);
    EXPECT_NE(des.find("TEMP =   25.0000\n"), std::string::npos) << des;
    ormel::VidsFile out;
    ASSERT_EQ(out.Open(dir + "/out", ormel::OPEN_OLD), 0);
    EXPECT_FLOAT_EQ(out.FrameRate(), 12.5f);
    EXPECT_TRUE(out.Interlaced());
    EXPECT_EQ(out.Height(ormel::Y_COMP), 72);   // one field
    EXPECT_EQ(Frames("out").size(), 4u);
}

TEST_F(GmeRun, RunningAgainKeepsBackupsOfTheOldOutput) {
    WriteScene("in", 176, 144, 2, false, 25);
    ASSERT_EQ(Gme("in out"), 0);
    const std::string firstPic = Read("out.pic");
    ASSERT_EQ(Gme("in out"), 0);
    EXPECT_EQ(Read("out.pic~"), firstPic);
    EXPECT_EQ(Read("out.des~"), Read("out.des"));
    EXPECT_EQ(Read("stderr.txt"),
              "Backup: Rename out.des -> .des~\nBackup: Rename out.pic -> .pic~\n");
}

TEST_F(GmeRun, MissingArgumentsPrintUsage) {
    EXPECT_EQ(Gme("only-one"), 2);
    EXPECT_EQ(Read("stderr.txt").rfind("usage: ", 0), 0u);
    EXPECT_EQ(Read("stdout.txt"), "");
}

TEST_F(GmeRun, KnownMotionIsRecoveredAndCompensated) {
    const int frames = 12, W = 352, H = 288;
    WriteScene("in", W, H, frames, false, 25);
    ASSERT_EQ(Gme("in out"), 0);
    std::istringstream out(Read("stdout.txt"));
    const std::vector<demo::PairEstimate> pairs = demo::ParseGmeOutput(out);
    ASSERT_EQ(pairs.size(), static_cast<size_t>(frames - 1));
    demo::Scene scene(W, H);
    int good = 0;
    double compensated = 0;
    for (const demo::PairEstimate& p : pairs) {
        good += demo::CornerDisplacement(p.model, scene.TrueMotion(p.frame), W, H) <= 0.25;
        compensated += p.mae;
    }
    EXPECT_GE(good, frames - 2);
    const auto input = Frames("in");
    double raw = 0;
    for (int n = 1; n < frames; ++n) {
        long sum = 0;
        for (size_t k = 0; k < input[n].size(); ++k)
            sum += std::abs(input[n][k] - input[n - 1][k]);
        raw += static_cast<double>(sum) / input[n].size();
    }
    EXPECT_LT(compensated, 0.5 * raw);
}
