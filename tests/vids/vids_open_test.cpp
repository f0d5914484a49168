// Opening and closing sequences, names and their expansion, backups.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

#include "tests/vids/vids_test_support.h"

namespace {

// Creates a 16 x 8 4:2:0 sequence of n frames (R = 1536) and closes it.
void MakeSequence(const std::string& name, int n) {
    Record w;
    Create(w.inf, name, 16, 8, n);
}

using VidsOpen = SequenceTest;

}  // namespace

TEST_F(VidsOpen, NewSequenceIsExtendedOverBackupsThenReopened) {
    MakeSequence(seq, 1);
    const std::string old_des = FileText(seq + ".des");
    CaptureStderr();
    MakeSequence(seq, 3);
    EXPECT_EQ(GetCapturedStderr(), "Backup: Rename " + seq + ".des -> .des~\n" +
                                       "Backup: Rename " + seq + ".pic -> .pic~\n");
    EXPECT_EQ(FileText(seq + ".des~"), old_des);
    EXPECT_EQ(FileSize(seq + ".pic~"), 1536);
    EXPECT_EQ(FileSize(seq + ".pic"), 3 * 1536);

    Img_set_sizes(r.inf, 720, 576, 1);   // the file's description wins over these
    ASSERT_EQ(Openvids(seq.c_str(), r.inf, "old", 7), 0);
    EXPECT_EQ(Img_get_size(r.inf, 0), 16);
    EXPECT_EQ(Img_get_nb_t(r.inf, 0), 3);
    EXPECT_EQ(r.inf->access_flags, 12);
    EXPECT_STREQ(r.inf->des_path, (seq + ".des").c_str());
    EXPECT_EQ(Closevids(r.inf, 0), 0);
    EXPECT_EQ(Closevids(r.inf, 0), 0);   // harmless on a closed record
    EXPECT_EQ(r.inf->io_buf, nullptr);
}

TEST_F(VidsOpen, NamesLoseTheirExtensionAndAreExpanded) {
    for (auto [in, out] : {std::pair<const char*, const char*>{"seq.yuv", "seq"},
                           {"a.b/seq", "a.b/seq"}, {".hidden", ".hidden"}, {"d/x.y.z", "d/x.y"}}) {
        char buf[32];
        strcpy(buf, in);
        EXPECT_STREQ(strpext(buf), out) << in;
    }
    const char* home = getenv("HOME");
    const std::string saved = home != nullptr ? home : "";
    setenv("HOME", "/home/tester", 1);
    setenv("VIDS_A", "/data", 1);
    setenv("VIDS_NEST", "$VIDS_A/in", 1);
    setenv("VIDS_SELF", "$VIDS_SELF", 1);
    setenv("VIDS_HUGE", std::string(5000, 'h').c_str(), 1);
    unsetenv("VIDS_UNSET");
    EXPECT_STREQ(expenv("~/seq"), "/home/tester/seq");
    EXPECT_STREQ(expenv("$VIDS_NEST/x%VIDS_A"), "/data/in/x/data");   // values searched again
    EXPECT_STREQ(expenv("$VIDS_UNSET/a/$VIDS_A"), "$VIDS_UNSET/a//data");
    EXPECT_STREQ(expenv("~no_such_user_here/x~"), "~no_such_user_here/x/home/tester");
    EXPECT_STREQ(expenv("$VIDS_SELF"), "$VIDS_SELF");               // terminates
    EXPECT_STREQ(expenv("a/$VIDS_HUGE/b"), "a/$VIDS_HUGE/b");       // no room: left as written

    setenv("VIDS_TEST_DIR", dir.path.c_str(), 1);   // seq.yuv stands for seq.des and seq.pic
    MakeSequence("$VIDS_TEST_DIR/seq.yuv", 1);
    EXPECT_EQ(FileText(seq + ".des").rfind("01 NOM DU FICHIER = $VIDS_TEST_DIR/seq\n", 0), 0u);
    EXPECT_EQ(FileSize(seq + ".pic"), 1536);
    setenv("HOME", dir.path.c_str(), 1);
    EXPECT_EQ(Openvids("~/seq", r.inf, "old", 7), 0);
    EXPECT_STREQ(r.inf->fname, "~/seq");   // the record keeps the name unexpanded
    setenv("HOME", saved.c_str(), 1);
    EXPECT_EQ(Openvids("%VIDS_TEST_DIR/seq.des", r.inf, "old/new", 7), 0);
}

TEST_F(VidsOpen, ModesAndRefusals) {
    CaptureStderr();
    EXPECT_EQ(Openvids(seq.c_str(), r.inf, "OLD", 7), 1);
    EXPECT_EQ(Openvids(seq.c_str(), r.inf, "old", 7), 1);
    EXPECT_EQ(GetCapturedStderr(),
              "Openvids : Bad 'type'=OLD parameter for file " + seq +
                  ". \nAccepted values : 'old', 'new', 'old/new'\n"
                  "Openvids : File " + seq + ".des or " + seq + ".pic don't exist\n");
    EXPECT_EQ(Openvids(seq.c_str(), r.inf, "new/old", 7), 2);   // created
    EXPECT_EQ(Openvids(seq.c_str(), r.inf, "old/new", 7), 0);   // and reopened

    Closevids(r.inf, 0);
    Img_set_sizes(r.inf, 100, 4, 1);   // 1_BIT rows must fill whole bytes
    Img_set_fdtype(r.inf, IMG_FDT_1_BIT);
    CaptureStderr();
    EXPECT_EQ(Openvids((dir / "bits").c_str(), r.inf, "new", 7), 1);
    EXPECT_EQ(GetCapturedStderr(),
              "Openvids: Nb pels horizontally for component 0 must be a multiple of 8\n"
              " for that BIT file data type\n");
    EXPECT_EQ(r.inf->opened, 0);
    EXPECT_EQ(r.inf->stream, nullptr);
}

TEST_F(VidsOpen, WarningsOnOldSequences) {
    MakeSequence(seq, 2);
    ASSERT_EQ(truncate((seq + ".pic").c_str(), 1000), 0);
    Img_set_sizes(r.inf, 32, 8, 2);
    Img_set_smpl_matrices(r.inf, IMG_FMT_YC_420, 0);
    Img_set_dsigns(r.inf, 0, 0, 0);
    CaptureStderr();
    CaptureStdout();
    EXPECT_EQ(Openvids(seq.c_str(), r.inf, "old/new", 4), 0);
    EXPECT_EQ(GetCapturedStdout(), "Warning! Images don't have same size in dimension 0\n");
    EXPECT_EQ(GetCapturedStderr(),
              "Openvids: Severe Warning : \n"
              "**********************************************\n"
              "*            SEVERE WARNING!!!               *\n"
              "* OLD file not compatible with IMG_INF value *\n"
              "**********************************************\n\n"
              "Warning! Information on file will be used\n"
              "Openvids : File " + seq + " too small to contain data as described in .des file\n"
              "Needed size: 3072   Actual size: 1000\n");
    EXPECT_EQ(Img_get_size(r.inf, 0), 16);
    Closevids(r.inf, 0);
    CaptureStderr();
    EXPECT_EQ(Openvids(seq.c_str(), r.inf, "old", 5), 0);
    EXPECT_EQ(GetCapturedStderr(), "");
}

TEST_F(VidsOpen, DescriptionOnlyAndRewrite) {
    MakeSequence(seq, 4);
    CaptureStderr();
    EXPECT_EQ(Openvids(seq.c_str(), r.inf, "whatever", 0x200), 0);
    EXPECT_EQ(GetCapturedStderr(), "Reading .des file  : " + seq + ".des\n\n");
    EXPECT_EQ(r.inf->opened, 0);
    EXPECT_EQ(Img_get_size(r.inf, 2), 4);

    Img_set_freq(r.inf, 2, 25.0f);   // not compared: with 0x800 the record is written back
    CaptureStderr();
    EXPECT_EQ(Openvids(seq.c_str(), r.inf, "old", 0x800 + 7), 0);
    EXPECT_EQ(GetCapturedStderr(), "Backup: Rename " + seq + ".des -> .des~\n");
    EXPECT_NE(FileText(seq + ".des").find("TEMP =   25.0000\n"), std::string::npos);
    EXPECT_NE(FileText(seq + ".des~").find("TEMP =   59.9400\n"), std::string::npos);
}

TEST_F(VidsOpen, PermissionDenied) {
    if (geteuid() == 0) GTEST_SKIP() << "root reads and writes everything";
    MakeSequence(seq, 1);
    chmod((seq + ".des").c_str(), 0);
    chmod((seq + ".pic").c_str(), 0);
    CaptureStderr();
    EXPECT_EQ(Openvids(seq.c_str(), r.inf, "old", 7), 1);
    EXPECT_EQ(Openvids(seq.c_str(), r.inf, "new", 7), 1);
    const std::string both = seq + ".des or " + seq + ".pic";
    EXPECT_EQ(GetCapturedStderr(),
              "Openvids : Permission to read and write " + both + " denied\n"
              "Openvids : Permission to write for backup " + both + " denied\n");
    chmod((seq + ".des").c_str(), 0400);
    chmod((seq + ".pic").c_str(), 0400);
    EXPECT_EQ(Openvids(seq.c_str(), r.inf, "old", 7), 0);
    EXPECT_EQ(r.inf->access_flags, 8);   // read only
}

TEST_F(VidsOpen, NewFailsRatherThanOverwriteWhatItCannotBackUp) {
    MakeSequence(seq, 1);
    const std::string des = FileText(seq + ".des"), pic = FileText(seq + ".pic");
    // A directory in the way of the backup: first of the description, then of the data
    // file, after the description was already renamed (it is put back).
    for (const char* ext : {".des", ".pic"}) {
        const std::string blocker = seq + ext + "~";
        ASSERT_TRUE(std::filesystem::create_directory(blocker));
        CaptureStderr();
        EXPECT_EQ(Openvids(seq.c_str(), r.inf, "new", 7), 1);
        const std::string backup = ext == std::string(".pic") ? "Backup: Rename " + seq +
                                                                    ".des -> .des~\n"
                                                              : "";
        EXPECT_EQ(GetCapturedStderr(), backup + "fbakup: Is a directory\nOpenvids : Backup of " +
                                           seq + ext + " failed\n");
        EXPECT_EQ(FileText(seq + ".des"), des);
        EXPECT_EQ(FileText(seq + ".pic"), pic);
        std::filesystem::remove(blocker);
    }
    EXPECT_FALSE(std::filesystem::exists(seq + ".des~"));
}

TEST_F(VidsOpen, NewRefusesFramesNoMachineCanHold) {
    MakeSequence(seq, 1);
    const std::string des = FileText(seq + ".des");
    Img_set_sizes(r.inf, 100000, 100000, 2);   // refused before any backup
    CaptureStderr();
    EXPECT_EQ(Openvids(seq.c_str(), r.inf, "new", 7), 1);
    EXPECT_EQ(GetCapturedStderr(), "Openvids : Frame size 100000 x 100000 of " + seq +
                                       " exceeds the limit of 67108864 samples\n");
    EXPECT_EQ(FileText(seq + ".des"), des);
    EXPECT_FALSE(std::filesystem::exists(seq + ".des~"));
}

TEST(VidsNames, TwoThreadsExpandAtOnce) {
    setenv("VIDS_THREAD_0", "/first/dir", 1);
    setenv("VIDS_THREAD_1", "/second/other/dir", 1);
    int wrong[2] = {0, 0};
    auto expand = [&wrong](int k) {
        const std::string name = "$VIDS_THREAD_" + std::to_string(k) + "/seq";
        const std::string want = k ? "/second/other/dir/seq" : "/first/dir/seq";
        for (int n = 0; n < 100000; ++n) wrong[k] += expenv(name.c_str()) != want;
    };
    std::thread a(expand, 0), b(expand, 1);
    a.join();
    b.join();
    EXPECT_EQ(wrong[0] + wrong[1], 0);
}
