// The gme command as a user runs it: output frames, standard output, the MAE log, the
// output description, backups and the accuracy on a sequence of known motion.

#include "tests/driver/SequenceFixture.h"
#include "tools/demo/Report.h"

TEST_F(GmeRun, TwoFramesGiveTwoEqualOutputFramesAndOneMae) {
    WriteIntegerScene("in", 160, 128, 2);
    ASSERT_EQ(Gme("in out"), 0);
    const auto frames = Frames("out");
    ASSERT_EQ(frames.size(), 2u);
    EXPECT_EQ(frames[0], frames[1]);
    EXPECT_EQ(MaskTimes(Read("stdout.txt")),
              "processing frame: 1......\n"
              "| Final parameter (a[0] a[1] a[2] a[3] a[4] a[5] ): 1.291103 1.000930 0.000782 0.589751 0.000556 1.000910 \n"
              "MAE: 2.17383\n"
              "done\n");
    EXPECT_EQ(Read("mae_Bin.txt"), "2.173826 ");
}

// The integer-rendered scene: its bytes, and so this text, do not depend on libm.
TEST_F(GmeRun, StandardOutputOfARunWithARejectedEstimate) {
    WriteIntegerScene("in", 160, 128, 12);
    ASSERT_EQ(Gme("in out"), 0);
    EXPECT_EQ(Read("stderr.txt"), "");
    EXPECT_EQ(MaskTimes(Read("stdout.txt")),
              "processing frame: 1......\n"
              "| Final parameter (a[0] a[1] a[2] a[3] a[4] a[5] ): 1.291103 1.000930 0.000782 0.589751 0.000556 1.000910 \n"
              "MAE: 2.17383\n"
              "processing frame: 2......\n"
              "| Final parameter (a[0] a[1] a[2] a[3] a[4] a[5] ): 1.268286 1.001358 0.001538 0.591321 0.000919 1.000953 \n"
              "Compensator time T\n"
              "Estimator time T\n"
              "MAE: 3.27101\n"
              "processing frame: 3......\n"
              "| Final parameter (a[0] a[1] a[2] a[3] a[4] a[5] ): 1.522412 1.000039 0.000044 0.740622 0.000130 1.000216 \n"
              "Compensator time T\n"
              "Estimator time T\n"
              "MAE: 3.63336\n"
              "processing frame: 4......\n"
              "| Final parameter (a[0] a[1] a[2] a[3] a[4] a[5] ): 1.524759 0.999875 -0.000232 0.801196 -0.000119 0.999498 \n"
              "Compensator time T\n"
              "Estimator time T\n"
              "MAE: 4.78322\n"
              "processing frame: 5......\n"
              "| Final parameter (a[0] a[1] a[2] a[3] a[4] a[5] ): 1.289693 1.001466 0.000389 1.161284 -0.002622 0.999391 \n"
              "Compensator time T\n"
              "Estimator time T\n"
              "MAE: 5.44721\n"
              "processing frame: 6......\n"
              "Initial Conditions: a[0] = 0.000000, a[3] = 0.000000 \n"
              "| Final parameter (a[0] a[1] a[2] a[3] a[4] a[5] ): 3.324529 0.996721 -0.015492 -0.312321 0.001697 1.009337 \n"
              "Estimation failed for this frame!\n"
              "Compensator time T\n"
              "Estimator time T\n"
              "MAE: 6.66326\n"
              "processing frame: 7......\n"
              "Initial Conditions: a[0] = 0.000000, a[3] = 0.000000 \n"
              "| Final parameter (a[0] a[1] a[2] a[3] a[4] a[5] ): 1.643593 1.000177 -0.001844 0.097209 0.001031 1.006554 \n"
              "Compensator time T\n"
              "Estimator time T\n"
              "MAE: 5.37522\n"
              "processing frame: 8......\n"
              "Initial Conditions: a[0] = 0.000000, a[3] = 0.000000 \n"
              "| Final parameter (a[0] a[1] a[2] a[3] a[4] a[5] ): 1.379150 0.999330 0.000278 0.741873 -0.000185 0.999043 \n"
              "Compensator time T\n"
              "Estimator time T\n"
              "MAE: 5.56374\n"
              "processing frame: 9......\n"
              "Initial Conditions: a[0] = 0.000000, a[3] = 0.000000 \n"
              "| Final parameter (a[0] a[1] a[2] a[3] a[4] a[5] ): 0.537496 0.996670 0.011686 0.412400 -0.001568 1.003831 \n"
              "Compensator time T\n"
              "Estimator time T\n"
              "MAE: 5.31348\n"
              "processing frame: 10......\n"
              "Initial Conditions: a[0] = 0.000000, a[3] = 0.000000 \n"
              "| Final parameter (a[0] a[1] a[2] a[3] a[4] a[5] ): 1.390479 0.997772 0.001565 1.053545 0.005042 0.996493 \n"
              "Compensator time T\n"
              "Estimator time T\n"
              "MAE: 6.40698\n"
              "processing frame: 11......\n"
              "Initial Conditions: a[0] = 0.000000, a[3] = 0.000000 \n"
              "| Final parameter (a[0] a[1] a[2] a[3] a[4] a[5] ): 1.717732 0.990863 -0.007720 1.070139 -0.015091 0.994225 \n"
              "Compensator time T\n"
              "Estimator time T\n"
              "MAE: 9.03057\n"
              "done\n");
    EXPECT_EQ(Read("mae_Bin.txt"),
              "2.173826 3.271006 3.633360 4.783215 5.447212 6.663256 5.375219 5.563740 5.313483 "
              "6.406985 9.030573 ");
    EXPECT_EQ(Frames("out").size(), 12u);
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
