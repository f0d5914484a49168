// Opening and closing sequences, names and their expansion, backups, block layout.
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "tests/vids/vids_test_support.h"
#include "vids/vids.h"

using testing::internal::CaptureStderr;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr;
using testing::internal::GetCapturedStdout;

namespace {

// A small 4:2:0 sequence of n frames, created with the quiet flags.
int CreateSequence(const std::string& name, int n, IMG_INF* inf) {
    Img_set_sizes(inf, 16, 8, n);
    Img_set_smpl_matrices(inf, IMG_FMT_YC_420, 0);
    return Openvids(name.c_str(), inf, "new", 7);
}

}  // namespace

TEST(Openvids, NewSequenceIsExtendedThenReopened) {
    TempDir dir;
    Record w;
    Img_set_comments(w.inf, "made by a test");
    ASSERT_EQ(CreateSequence(dir / "seq", 3, w.inf), 2);
    EXPECT_EQ(w.inf->opened, 1);
    EXPECT_EQ(w.inf->access_flags, 12);
    EXPECT_GE(w.inf->buf_size, 16);
    EXPECT_EQ(w.inf->buf_size % 8, 0);
    EXPECT_STREQ(w.inf->des_path, (dir / "seq.des").c_str());
    EXPECT_EQ(FileSize(dir / "seq.pic"), 3 * (512 + 512 + 512));   // 128 and 32 samples
    EXPECT_EQ(Closevids(w.inf, 0), 0);
    EXPECT_EQ(Closevids(w.inf, 0), 0);   // harmless on a closed record

    Record r;   // the file's description wins over the caller's settings
    Img_set_sizes(r.inf, 720, 576, 1);
    ASSERT_EQ(Openvids((dir / "seq").c_str(), r.inf, "old", 7), 0);
    EXPECT_EQ(Img_get_size(r.inf, 0), 16);
    EXPECT_EQ(Img_get_nb_t(r.inf, 0), 3);
    EXPECT_EQ(Img_get_format(r.inf), IMG_FMT_YC_420);
    EXPECT_STREQ(r.inf->comments, "made by a test\n");
    EXPECT_EQ(r.inf->pic_size, 3 * 1536);
    EXPECT_EQ(r.inf->shuffle, 0);
}

TEST(Openvids, MessagesFollowTheFlags) {
    TempDir dir;
    Record w;
    Img_set_sizes(w.inf, 16, 8, 1);
    CaptureStderr();
    CaptureStdout();
    ASSERT_EQ(Openvids((dir / "seq").c_str(), w.inf, "new", 0x108), 2);
    const std::string out = GetCapturedStdout();
    const std::string err = GetCapturedStderr();
    EXPECT_EQ(err.find("\nMemory organization : "), 0u);
    EXPECT_NE(err.find("Opening file  : " + dir / "seq" + "\n\n"), std::string::npos);
    EXPECT_EQ(out.find("Information on file :\nFile name     : " + dir / "seq" + "\n"), 0u);

    CaptureStderr();   // opening an attached record closes it first
    ASSERT_EQ(Openvids((dir / "seq").c_str(), w.inf, "old", 4), 0);
    EXPECT_EQ(GetCapturedStderr(),
              "Openvids: Severe Warning : \n"
              "**********************************************\n"
              "*** Structure info pointing to an opened   ***\n"
              "*** image.  Closing it!!!                  ***\n"
              "**********************************************\n");
}

TEST(Openvids, NewOverAnExistingSequenceBacksUpBothFiles) {
    TempDir dir;
    {
        Record a;
        ASSERT_EQ(CreateSequence(dir / "seq", 1, a.inf), 2);
    }
    const std::string old_des = FileText(dir / "seq.des");
    Record b;
    CaptureStderr();
    ASSERT_EQ(CreateSequence(dir / "seq", 2, b.inf), 2);
    EXPECT_EQ(GetCapturedStderr(), "Backup: Rename " + dir / "seq.des" + " -> .des~\n" +
                                       "Backup: Rename " + dir / "seq.pic" + " -> .pic~\n");
    EXPECT_EQ(FileText(dir / "seq.des~"), old_des);
    EXPECT_EQ(FileSize(dir / "seq.pic~"), 1536);
    EXPECT_EQ(FileSize(dir / "seq.pic"), 2 * 1536);
}

TEST(Openvids, ExtensionIsDroppedAndNamesExpanded) {
    TempDir dir;
    setenv("VIDS_TEST_DIR", dir.path.c_str(), 1);
    Record w;
    ASSERT_EQ(CreateSequence("$VIDS_TEST_DIR/seq.yuv", 1, w.inf), 2);
    EXPECT_STREQ(w.inf->fname, "$VIDS_TEST_DIR/seq");   // kept unexpanded
    EXPECT_EQ(FileText(dir / "seq.des").rfind("01 NOM DU FICHIER = $VIDS_TEST_DIR/seq\n", 0), 0u);
    EXPECT_GT(FileSize(dir / "seq.pic"), 0);

    const char* home = getenv("HOME");
    const std::string saved = home != nullptr ? home : "";
    setenv("HOME", dir.path.c_str(), 1);
    Record r;
    EXPECT_EQ(Openvids("~/seq", r.inf, "old", 7), 0);
    EXPECT_EQ(Openvids("%VIDS_TEST_DIR/seq.des", r.inf, "old", 7), 0);
    setenv("HOME", saved.c_str(), 1);

    Record d;   // 0x400: the data file is .dspl
    ASSERT_EQ(Openvids((dir / "alt").c_str(), d.inf, "new", 0x400 + 7), 2);
    EXPECT_GT(FileSize(dir / "alt.dspl"), 0);
    EXPECT_EQ(FileSize(dir / "alt.pic"), -1);
}

TEST(Openvids, ModesAndRefusals) {
    TempDir dir;
    Record r;
    CaptureStderr();
    EXPECT_EQ(Openvids((dir / "seq").c_str(), r.inf, "OLD", 7), 1);
    EXPECT_EQ(Openvids((dir / "seq").c_str(), r.inf, "old", 7), 1);
    EXPECT_EQ(GetCapturedStderr(),
              "Openvids : Bad 'type'=OLD parameter for file " + dir / "seq" +
                  ". \nAccepted values : 'old', 'new', 'old/new'\n"
                  "Openvids : File " + dir / "seq.des" + " or " + dir / "seq.pic" +
                  " don't exist\n");
    EXPECT_EQ(r.inf->opened, 0);

    // "old/new" creates what is missing and opens what exists.
    EXPECT_EQ(Openvids((dir / "seq").c_str(), r.inf, "old/new", 7), 2);
    Closevids(r.inf, 0);
    EXPECT_EQ(Openvids((dir / "seq").c_str(), r.inf, "new/old", 7), 0);
}

TEST(Openvids, BitTypeWidthMustFillWholeBytes) {
    TempDir dir;
    Record r;
    Img_set_sizes(r.inf, 100, 4, 1);
    Img_set_fdtype(r.inf, IMG_FDT_1_BIT);
    CaptureStderr();
    EXPECT_EQ(Openvids((dir / "seq").c_str(), r.inf, "new", 7), 1);
    EXPECT_EQ(GetCapturedStderr(),
              "Openvids: Nb pels horizontally for component 0 must be a multiple of 8\n"
              " for that BIT file data type\n");
    EXPECT_EQ(r.inf->opened, 0);
    EXPECT_EQ(r.inf->stream, nullptr);
    EXPECT_EQ(r.inf->io_buf, nullptr);
}

TEST(Openvids, TooSmallDataFileIsOnlyAWarning) {
    TempDir dir;
    {
        Record w;
        ASSERT_EQ(CreateSequence(dir / "seq", 2, w.inf), 2);
    }
    ASSERT_EQ(truncate((dir / "seq.pic").c_str(), 1000), 0);
    Record r;
    CaptureStderr();
    EXPECT_EQ(Openvids((dir / "seq").c_str(), r.inf, "old", 4), 0);
    EXPECT_EQ(GetCapturedStderr(),
              "Openvids : File " + dir / "seq" +
                  " too small to contain data as described in .des file\n"
                  "Needed size: 3072   Actual size: 1000\n");
    Closevids(r.inf, 0);
    CaptureStderr();
    EXPECT_EQ(Openvids((dir / "seq").c_str(), r.inf, "old", 5), 0);
    EXPECT_EQ(GetCapturedStderr(), "");
}

TEST(Openvids, IncompatibleOldDescriptionWins) {
    TempDir dir;
    {
        Record w;
        ASSERT_EQ(CreateSequence(dir / "seq", 2, w.inf), 2);
    }
    Record r;
    Img_set_sizes(r.inf, 32, 8, 2);
    CaptureStderr();
    CaptureStdout();
    EXPECT_EQ(Openvids((dir / "seq").c_str(), r.inf, "old/new", 4), 0);
    const std::string out = GetCapturedStdout();
    EXPECT_EQ(GetCapturedStderr(),
              "Openvids: Severe Warning : \n"
              "**********************************************\n"
              "*            SEVERE WARNING!!!               *\n"
              "* OLD file not compatible with IMG_INF value *\n"
              "**********************************************\n\n"
              "Warning! Information on file will be used\n");
    EXPECT_NE(out.find("Warning! Images don't have same size in dimension 0\n"),
              std::string::npos);
    EXPECT_EQ(Img_get_size(r.inf, 0), 16);
}

TEST(Openvids, CompatibleDescriptionRewrittenWith0x800) {
    TempDir dir;
    {
        Record w;
        ASSERT_EQ(CreateSequence(dir / "seq", 2, w.inf), 2);
    }
    Record r;
    Img_set_sizes(r.inf, 16, 8, 2);
    Img_set_smpl_matrices(r.inf, IMG_FMT_YC_420, 0);
    Img_set_freq(r.inf, 2, 25.0f);   // not compared, so the record replaces the file's
    CaptureStderr();
    EXPECT_EQ(Openvids((dir / "seq").c_str(), r.inf, "old", 0x800 + 7), 0);
    EXPECT_EQ(GetCapturedStderr(),
              "Backup: Rename " + dir / "seq.des" + " -> .des~\n");
    EXPECT_NE(FileText(dir / "seq.des").find("TEMP =   25.0000\n"), std::string::npos);
    EXPECT_NE(FileText(dir / "seq.des~").find("TEMP =   59.9400\n"), std::string::npos);
}

TEST(Openvids, DescriptionOnly) {
    TempDir dir;
    {
        Record w;
        ASSERT_EQ(CreateSequence(dir / "seq", 4, w.inf), 2);
    }
    Record r;
    CaptureStderr();
    EXPECT_EQ(Openvids((dir / "seq").c_str(), r.inf, "whatever", 0x200), 0);
    EXPECT_EQ(GetCapturedStderr(), "Reading .des file  : " + dir / "seq" + ".des\n\n");
    EXPECT_EQ(r.inf->opened, 0);
    EXPECT_EQ(r.inf->stream, nullptr);
    EXPECT_EQ(Img_get_size(r.inf, 2), 4);
    CaptureStderr();
    EXPECT_EQ(Openvids((dir / "none").c_str(), r.inf, "old", 0x204), 1);
    EXPECT_EQ(GetCapturedStderr(), "Openvids : File " + dir / "none.des" + " doesn't exist\n");
}

TEST(Openvids, BrokenDescriptionFailsAndClosesIt) {
    TempDir dir;
    {
        Record w;
        ASSERT_EQ(CreateSequence(dir / "seq", 1, w.inf), 2);
    }
    std::string text = FileText(dir / "seq.des");
    text.replace(text.find("OCTET"), 5, "PIXELS");
    FILE* f = fopen((dir / "seq.des").c_str(), "w");
    fputs(text.c_str(), f);
    fclose(f);
    Record r;
    CaptureStderr();
    EXPECT_EQ(Openvids((dir / "seq").c_str(), r.inf, "old", 7), 1);
    EXPECT_EQ(GetCapturedStderr(),
              "get_info: Unrecognized file data type PIXELS\n\n"
              "Openvids: fatal error; get_info \n");
    EXPECT_EQ(r.inf->stream, nullptr);
}

TEST(Openvids, PermissionDenied) {
    if (geteuid() == 0) GTEST_SKIP() << "root reads and writes everything";
    TempDir dir;
    {
        Record w;
        ASSERT_EQ(CreateSequence(dir / "seq", 1, w.inf), 2);
    }
    chmod((dir / "seq.des").c_str(), 0);
    chmod((dir / "seq.pic").c_str(), 0);
    Record r;
    CaptureStderr();
    EXPECT_EQ(Openvids((dir / "seq").c_str(), r.inf, "old", 7), 1);
    EXPECT_EQ(Openvids((dir / "seq").c_str(), r.inf, "new", 7), 1);
    EXPECT_EQ(GetCapturedStderr(),
              "Openvids : Permission to read and write " + dir / "seq.des" + " or " +
                  dir / "seq.pic" + " denied\n"
                  "Openvids : Permission to write for backup " + dir / "seq.des" + " or " +
                  dir / "seq.pic" + " denied\n");
    chmod((dir / "seq.des").c_str(), 0400);
    chmod((dir / "seq.pic").c_str(), 0400);
    EXPECT_EQ(Openvids((dir / "seq").c_str(), r.inf, "old", 7), 0);
    EXPECT_EQ(r.inf->access_flags, 8);   // read only
}

TEST(VidsNames, StripExtension) {
    struct Case {
        const char *in, *out;
    } cases[] = {{"seq.yuv", "seq"},     {"a.b/seq", "a.b/seq"}, {".hidden", ".hidden"},
                 {"dir/x.y.z", "dir/x.y"}, {"dir/.x", "dir/"},   {"plain", "plain"}};
    for (const Case& c : cases) {
        char buf[64];
        strcpy(buf, c.in);
        EXPECT_STREQ(strpext(buf), c.out) << c.in;
    }
}

TEST(VidsNames, ExpandReferences) {
    setenv("VIDS_A", "/data", 1);
    setenv("VIDS_NEST", "$VIDS_A/in", 1);
    setenv("VIDS_SELF", "$VIDS_SELF", 1);
    unsetenv("VIDS_UNSET");
    const char* home = getenv("HOME");
    const std::string saved = home != nullptr ? home : "";
    setenv("HOME", "/home/tester", 1);
    EXPECT_STREQ(expenv("~/seq"), "/home/tester/seq");
    EXPECT_STREQ(expenv("$VIDS_A/x%VIDS_A"), "/data/x/data");
    EXPECT_STREQ(expenv("$VIDS_NEST/f"), "/data/in/f");   // values are searched again
    EXPECT_STREQ(expenv("$VIDS_UNSET/a/$VIDS_A"), "$VIDS_UNSET/a//data");
    EXPECT_STREQ(expenv("~no_such_user_here/x~"), "~no_such_user_here/x/home/tester");
    EXPECT_STREQ(expenv("$/%"), "$/%");
    EXPECT_STREQ(expenv("$VIDS_SELF"), "$VIDS_SELF");   // terminates
    const std::string huge(5000, 'h');
    setenv("VIDS_HUGE", huge.c_str(), 1);
    EXPECT_STREQ(expenv("a/$VIDS_HUGE/b"), "a/$VIDS_HUGE/b");   // no room: left as written
    EXPECT_EQ(strlen(expenv(huge.c_str())), 1023u);
    setenv("HOME", saved.c_str(), 1);
    const struct passwd* root = getpwnam("root");
    if (root != nullptr) {
        EXPECT_EQ(std::string(expenv("~root/x")), std::string(root->pw_dir) + "/x");
    }
}

TEST(VidsLayout, BlockSizes) {
    Record r;
    Img_set_sizes(r.inf, 720, 576, 1);
    Img_set_smpl_matrices(r.inf, IMG_FMT_YC_420, 0);
    int64_t blk[3], smpl[3];
    int item, bits;
    cal_physize(r.inf, blk, smpl, &item, &bits);
    EXPECT_EQ(blk[0], 414720);
    EXPECT_EQ(blk[1], 103936);
    EXPECT_EQ(blk[2], 103936);
    EXPECT_EQ(smpl[1], 103680);
    EXPECT_EQ(blk[0] + blk[1] + blk[2], 622592);
    EXPECT_EQ(item, 1);
    EXPECT_EQ(bits, 8);

    Img_set_sizes(r.inf, 104, 3, 1);
    Img_set_comp_names(r.inf, IMG_FMT_MONO);
    Img_set_fdtype(r.inf, IMG_FDT_1_BIT);
    cal_physize(r.inf, blk, smpl, &item, &bits);
    EXPECT_EQ(blk[0], 512);
    EXPECT_EQ(blk[1], 0);
    EXPECT_EQ(bits, 1);

    Img_set_fdtype(r.inf, IMG_FDT_REEL);
    cal_physize(r.inf, blk, smpl, &item, &bits);
    EXPECT_EQ(blk[0], 1536);   // 1248 bytes
    EXPECT_EQ(item, 4);
}

TEST(VidsLayout, MachineAndTypes) {
    EXPECT_EQ(Valid_machine(), 1);
    const uint16_t probe = 1;
    unsigned char first;
    memcpy(&first, &probe, 1);
    EXPECT_EQ(get_memory_organization(), first == 1 ? IMG_ORG_DEC : IMG_ORG_SUN);
    int bits;
    EXPECT_EQ(mydtype(IMG_FDT_OCTET, 1, &bits), IMG_BYTE);
    EXPECT_EQ(mydtype(IMG_FDT_ENTIER_2, 0, &bits), IMG_UINT_2);
    EXPECT_EQ(bits, 16);
    EXPECT_EQ(mydtype(IMG_FDT_2_BITS, 1, &bits), IMG_UBYTE);
    EXPECT_EQ(bits, 2);
    EXPECT_EQ(sizeofdat_f(7), 2);
    EXPECT_EXIT(mydtype(6, 0, &bits), testing::ExitedWithCode(1),
                "Internal error!! Couldn't find type in 'mydtype'");
    EXPECT_EXIT(sizeofdat(5), testing::ExitedWithCode(1), "sizeofdat: Requested d_type invalid");
    EXPECT_EXIT(sizeofdat_f(8), testing::ExitedWithCode(1),
                "sizeofdat_f: Requested d_type invalid");
}
