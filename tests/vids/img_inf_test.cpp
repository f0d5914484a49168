// IMG_INF record: defaults, print-out, accessor checks and messages, formats, checks.
#include <cstring>
#include <string>

#include "tests/vids/vids_test_support.h"

// The whole print-out is held byte for byte by vidstool's info test (tests/tools); what
// that record cannot show is checked here: signed components, no variables, no comments.
TEST(ImgRecord, PrintOutOfSignsAndEmptyLists) {
    Record r;
    CaptureStdout();
    Img_INF_print(r.inf);
    const std::string out = GetCapturedStdout();
    EXPECT_EQ(out.substr(out.find("\nsigned")),
              "\nsigned        : comp 1 = N ,  comp 2 = O ,  comp 3 = O \n"
              "scale_fctr    : 1   \n"
              "\nVariables :\n"
              "\nComments  :\n\n\n");
}

TEST(ImgRecord, CopyKeepsItsOwnCommentBufferAndIsNeverOpen) {
    Record a, b;
    const std::string long_text(200, 'x');
    Img_set_comments(a.inf, long_text.c_str());
    a.inf->opened = 1;
    Img_INF_copy(b.inf, a.inf);
    a.inf->opened = 0;
    EXPECT_EQ(b.inf->opened, 0);
    EXPECT_STREQ(b.inf->comments, long_text.c_str());
    EXPECT_NE(b.inf->comments, a.inf->comments);
    Img_set_comments(b.inf, b.inf->comments + 150);   // its own text, now short
    EXPECT_EQ(std::string(b.inf->comments), long_text.substr(150));
}

TEST(ImgAccessors, BadValuesAreZeroedRefusedOrCut) {
    Record r;
    Img_set_scale_fctr(r.inf, 6);   // only oddness is tested
    CaptureStderr();
    Img_set_sizes(r.inf, 0, 576, -3);
    Img_set_size(r.inf, 2, 0);
    Img_set_scale_fctr(r.inf, 3);
    Img_set_fdtype(r.inf, 7);
    Img_set_num_var(r.inf, 21);
    Img_set_variables(r.inf, -1, "x");
    EXPECT_EQ(GetCapturedStderr(),
              "\nBad size_hor in 'Img_set_sizes'\n\nBad size_temp in 'Img_set_sizes'\n"
              "\nBad size_hor in 'Img_set_size'\n"
              "\nScale_fctr must be 1 or a power of 2 in 'Img_set_scale_fctr'\n"
              "\nBad dtype in 'Img_set_fdtype'. It must be a non signed type.\n"
              "Then you set the sign with 'Img_set_dsign'.\n"
              "\nNum_var must be no larger than IMG_NB_VAR_MAX in 'Img_set_num_var'\n"
              "\nVar_idx must be greater than zero in 'Img_set_variables'\n");
    EXPECT_EQ(Img_get_size(r.inf, 0), 0);
    EXPECT_EQ(Img_get_size(r.inf, 1), 576);
    EXPECT_EQ(Img_get_scale_fctr(r.inf), 6);
    EXPECT_EQ(Img_get_fdtype(r.inf), IMG_FDT_OCTET);
    EXPECT_EQ(Img_get_num_var(r.inf), 0);

    Img_set_comp_nam(r.inf, 1, "  C1");
    Img_set_comp_nam(r.inf, 2, "ABCDEFGHIJKL");
    EXPECT_EQ(std::string(r.inf->comp_nam[1], 20), "C1        ABCDEFGHIJ");
    Img_set_variables(r.inf, 20, std::string(200, 'v').c_str());   // index 20 has its own room
    Img_set_var_names(r.inf, 20, std::string(100, 'n').c_str());
    EXPECT_EQ(strlen(r.inf->variables[20]), 119u);
    EXPECT_EQ(strlen(r.inf->var_names[20]), 59u);
    Img_set_fname(r.inf, std::string(300, 'f').c_str());
    EXPECT_EQ(strlen(r.inf->fname), 199u);
}

TEST(ImgAccessors, SampleCountsAndFormats) {
    Record r;
    EXPECT_EQ(Img_get_format(r.inf), IMG_FMT_YC_422);   // the default record
    Img_set_sizes(r.inf, 721, 577, 5);
    EXPECT_EQ(Img_get_nb_h(r.inf, 1), 361);
    EXPECT_EQ(Img_get_nb_v(r.inf, 1), 289);
    Img_set_smpl_matrices(r.inf, IMG_FMT_YC_420, 1);
    EXPECT_EQ(Img_get_format(r.inf), IMG_FMT_YC_420);
    EXPECT_EQ(Img_get_nb_v(r.inf, 1), 145);
    Img_set_smpl_matrices(r.inf, IMG_FMT_YC_444, 0);
    EXPECT_EQ(Img_get_format(r.inf), IMG_FMT_YC_444);
    Img_set_comp_names(r.inf, IMG_FMT_MONO);
    EXPECT_EQ(Img_get_format(r.inf), IMG_FMT_MONO);
    EXPECT_EQ(Img_get_nb_h(r.inf, 2), 0);   // absent
    Img_set_comp_names(r.inf, IMG_FMT_RGB);
    Img_set_comp_nam(r.inf, 1, "V");
    EXPECT_EQ(Img_get_format(r.inf), IMG_FMT_RGB);
    Img_set_comp_names(r.inf, IMG_FMT_NTSC);
    EXPECT_EQ(Img_get_format(r.inf), IMG_FMT_UNKNOWN);
    CaptureStderr();
    EXPECT_EQ(Img_get_nb_t(r.inf, 3), 0);   // reported, not fatal
    EXPECT_EQ(GetCapturedStderr(), "\nBad comp_idx in 'Img_get_nb_t'\n");
}

TEST(ImgChecks, SamplingAndCompatibility) {
    Record a, b;
    Img_set_fname(a.inf, "s");
    EXPECT_EQ(Img_check_sampling(a.inf), 1);
    EXPECT_EQ(Img_compatible_IMG_INF(a.inf, b.inf, 0), 1);

    Img_set_smpl_mtrx(a.inf, 1, 2, 2, 2, 0, 1, 1);   // a12 not below a11
    CaptureStderr();
    EXPECT_EQ(Img_check_sampling(a.inf), 0);
    EXPECT_EQ(GetCapturedStderr(),
              "\nSampling matrix of component C1         of file s is not in Hermite form.\n"
              "In Hermite up form, we must satisfy a_ii > 0,\n"
              " 0 <= a_ij < a_ii for all i and j>i, and a_ij=0 for all i and j<i.\n");
    Img_set_smpl_mtrx(a.inf, 1, 2, 0, 2, 0, 1, 2);
    CaptureStderr();
    EXPECT_EQ(Img_check_sampling(a.inf), 0);
    EXPECT_EQ(GetCapturedStderr(),
              "\nTime sampling period must be same for all components in file s\n");

    Img_set_comp_nam(b.inf, 0, "y");   // no spelling counts as equivalent
    Img_set_size(b.inf, 2, 7);
    CaptureStdout();
    EXPECT_EQ(Img_compatible_IMG_INF(a.inf, b.inf, 0), 0);
    EXPECT_EQ(GetCapturedStdout(),
              "Warning! Images don't have same size in dimension 2\n"
              "Warning! Images don't have same component name 0\n"
              "Warning! Images don't have same sampling matrix\n");
    CaptureStdout();
    EXPECT_EQ(Img_compatible_IMG_INF(a.inf, b.inf, 1), 0);
    EXPECT_EQ(GetCapturedStdout(), "");
}

TEST(ImgFatalDeathTest, OpenRecordsAndBadCodes) {
    Record r;
    r.inf->opened = 1;
    EXPECT_EXIT(Img_set_size(r.inf, 0, 10), ExitedWithCode(1),
                "\nError in Img_set_size\nCan't set any field while the image is opened\n");
    EXPECT_EXIT(Img_set_default(r.inf), ExitedWithCode(1), "Error in Img_set_default");
    r.inf->opened = 0;
    EXPECT_EXIT(Img_get_size(r.inf, 3), ExitedWithCode(1), "Bad comp_idx in 'Img_get_size'");
    char buf[IMG_VAR_LEN];
    EXPECT_EXIT(Img_get_var_names(r.inf, 21, buf), ExitedWithCode(1),
                "Var_idx must be no larger than IMG_NB_VAR_MAX in 'Img_get_var_names'");
    EXPECT_EXIT(Img_set_smpl_matrices(r.inf, IMG_FMT_NTSC, 0), ExitedWithCode(1),
                "Bad img_format in 'Img_set_comp_names'");
    EXPECT_EXIT(Img_set_file_org(r.inf, 4), ExitedWithCode(1),
                "Error in Img_set_file_org : Bad Memory organization flag");
}
