// IMG_INF record: defaults, print-out, accessor checks and messages, formats, checks.
#include <cstdlib>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "vids/vids.h"

using testing::internal::CaptureStderr;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr;
using testing::internal::GetCapturedStdout;

namespace {

struct Record {
    IMG_INF* inf = nullptr;
    Record() { EXPECT_EQ(Img_INF_alloc(&inf), 1); }
    ~Record() { Img_INF_free(inf); }
};

std::string Name(const IMG_INF* inf, int c) { return std::string(inf->comp_nam[c], 10); }

}  // namespace

TEST(ImgRecord, DefaultPrintOut) {
    Record r;
    Img_set_fname(r.inf, "seq");
    CaptureStdout();
    Img_INF_print(r.inf);
    EXPECT_EQ(GetCapturedStdout(),
              "File name     : seq\n"
              "size (h,v,t)  : 256 x 256 x 1\n"
              "component [0] : Y         \n"
              "smpl_mtrx     : (1,0,2,0,1,1)\n"
              "smpl_ofst     : (0,0,0)\n"
              "component [1] : C1        \n"
              "smpl_mtrx     : (2,0,2,0,1,1)\n"
              "smpl_ofst     : (0,0,0)\n"
              "component [2] : C2        \n"
              "smpl_mtrx     : (2,0,2,0,1,1)\n"
              "smpl_ofst     : (0,0,0)\n"
              "frequency     : horiz = 512.0000  , vert = 256.0000  , temp = 59.9400   \n"
              "data type     : OCTET\n"
              "signed        : comp 1 = N ,  comp 2 = O ,  comp 3 = O \n"
              "scale_fctr    : 1   \n"
              "\nVariables :\n"
              "\nComments  :\n\n\n");
}

TEST(ImgRecord, PrintOutTypeSuffixAndVariables) {
    Record r;
    Img_set_fdtype(r.inf, IMG_FDT_REEL);
    Img_set_file_org(r.inf, IMG_ORG_SUN);
    Img_set_num_var(r.inf, 2);
    Img_set_variables(r.inf, 1, "3.5");
    Img_set_comments(r.inf, "hello");
    CaptureStdout();
    Img_INF_print(r.inf);
    const std::string out = GetCapturedStdout();
    EXPECT_NE(out.find("data type     : REEL_SUN\n"), std::string::npos);
    EXPECT_NE(out.find("\nVariables :\nVar0 =\nVar1 =3.5\n\nComments  :\nhello\n\n"),
              std::string::npos);

    Img_set_file_org(r.inf, IMG_ORG_UNKNOWN);
    CaptureStdout();
    Img_INF_print(r.inf);
    EXPECT_NE(GetCapturedStdout().find("data type     : REEL_UNKNOWN\n"), std::string::npos);
    Img_set_fdtype(r.inf, IMG_FDT_OCTET);   // no suffix for byte types
    CaptureStdout();
    Img_INF_print(r.inf);
    EXPECT_NE(GetCapturedStdout().find("data type     : OCTET\n"), std::string::npos);
}

TEST(ImgRecord, CopyKeepsOwnCommentBufferAndIsNeverOpen) {
    Record a, b;
    const std::string long_text(200, 'x');
    Img_set_comments(a.inf, long_text.c_str());
    Img_set_variables(a.inf, 3, "v3");
    a.inf->opened = 1;   // as if attached: the copy must come out closed
    Img_INF_copy(b.inf, a.inf);
    a.inf->opened = 0;
    EXPECT_EQ(b.inf->opened, 0);
    EXPECT_EQ(b.inf->stream, nullptr);
    EXPECT_STREQ(b.inf->comments, long_text.c_str());
    EXPECT_NE(b.inf->comments, a.inf->comments);
    EXPECT_STREQ(b.inf->variables[3], "v3");
}

TEST(ImgRecord, CommentsGrowAndShrinkWithinOwnBuffer) {
    Record r;
    const std::string t79(79, 'a'), t80(80, 'b');
    Img_set_comments(r.inf, t79.c_str());
    EXPECT_STREQ(r.inf->comments, t79.c_str());
    Img_set_comments(r.inf, t80.c_str());
    EXPECT_STREQ(r.inf->comments, t80.c_str());
    Img_set_comments(r.inf, r.inf->comments + 1);   // own text, shorter
    EXPECT_EQ(std::string(r.inf->comments), t80.substr(1));
    char* copy = Img_get_comments(r.inf);
    EXPECT_STREQ(copy, r.inf->comments);
    EXPECT_NE(copy, r.inf->comments);
    free(copy);
}

TEST(ImgAccessors, BadSizesAndFrequenciesStoreZeroWithMessages) {
    Record r;
    CaptureStderr();
    Img_set_sizes(r.inf, 0, 576, -3);
    EXPECT_EQ(GetCapturedStderr(),
              "\nBad size_hor in 'Img_set_sizes'\n\nBad size_temp in 'Img_set_sizes'\n");
    EXPECT_EQ(r.inf->size[0], 0);
    EXPECT_EQ(r.inf->size[1], 576);
    EXPECT_EQ(r.inf->size[2], 0);

    CaptureStderr();
    Img_set_size(r.inf, 2, 0);   // names the horizontal size whatever the dimension
    EXPECT_EQ(GetCapturedStderr(), "\nBad size_hor in 'Img_set_size'\n");
    r.inf->size[1] = -5;
    EXPECT_EQ(Img_get_size(r.inf, 1), 0);

    CaptureStderr();
    Img_set_freqs(r.inf, 25.0f, -1.0f, 0.0f);
    EXPECT_EQ(GetCapturedStderr(),
              "\nBad freq_v in 'Img_set_freqs'\n\nBad freq_t in 'Img_set_freqs'\n");
    EXPECT_EQ(r.inf->freq[0], 25.0f);
    EXPECT_EQ(r.inf->freq[1], 0.0f);
}

TEST(ImgAccessors, RefusedValuesKeepTheOldOne) {
    Record r;
    Img_set_scale_fctr(r.inf, 6);   // only oddness is tested
    EXPECT_EQ(Img_get_scale_fctr(r.inf), 6);
    CaptureStderr();
    Img_set_scale_fctr(r.inf, 3);
    EXPECT_EQ(GetCapturedStderr(),
              "\nScale_fctr must be 1 or a power of 2 in 'Img_set_scale_fctr'\n");
    EXPECT_EQ(Img_get_scale_fctr(r.inf), 6);

    CaptureStderr();
    Img_set_fdtype(r.inf, 6);
    Img_set_fdtype(r.inf, 9);
    EXPECT_EQ(GetCapturedStderr(),
              "\nBad dtype in 'Img_set_fdtype'. It must be a non signed type.\n"
              "Then you set the sign with 'Img_set_dsign'.\n"
              "\nBad dtype in 'Img_set_fdtype'\n");
    EXPECT_EQ(Img_get_fdtype(r.inf), IMG_FDT_OCTET);

    CaptureStderr();
    Img_set_num_var(r.inf, -1);
    Img_set_num_var(r.inf, 21);
    Img_set_comp_nam(r.inf, 3, "X");
    Img_set_smpl_mtrx(r.inf, -1, 1, 0, 1, 0, 0, 1);
    Img_set_dsign(r.inf, 5, 1);
    Img_set_variables(r.inf, 21, "x");
    EXPECT_EQ(GetCapturedStderr(),
              "\nNum_var must be greater than zero in 'Img_set_num_var'\n"
              "\nNum_var must be no larger than IMG_NB_VAR_MAX in 'Img_set_num_var'\n"
              "\nBad comp_idx in 'Img_set_comp_nam'\n"
              "\nBad comp_idx in 'Img_set_smpl_mtrx'\n"
              "\nBad comp_idx in 'Img_set_dsign'\n"
              "\nVar_idx must be no larger than IMG_NB_VAR_MAX in 'Img_set_variables'\n");
    EXPECT_EQ(Img_get_num_var(r.inf), 0);
}

TEST(ImgAccessors, NamesAreTrimmedCutAndPadded) {
    Record r;
    Img_set_comp_nam(r.inf, 1, "  C1");
    EXPECT_EQ(Name(r.inf, 1), "C1        ");
    Img_set_comp_nam(r.inf, 2, "ABCDEFGHIJKL");
    EXPECT_EQ(Name(r.inf, 2), "ABCDEFGHIJ");
    char out[11] = "##########";
    Img_get_comp_nam(r.inf, 2, out);
    EXPECT_STREQ(out, "ABCDEFGHIJ");   // ten characters copied, nothing else touched

    const std::string long_name(300, 'n');
    Img_set_fname(r.inf, long_name.c_str());
    EXPECT_EQ(strlen(r.inf->fname), 199u);
}

TEST(ImgAccessors, VariableIndexTwentyHasItsOwnRoom) {
    Record r;
    Img_set_variables(r.inf, 20, std::string(200, 'v').c_str());
    Img_set_var_names(r.inf, 20, std::string(100, 'n').c_str());
    EXPECT_EQ(strlen(r.inf->variables[20]), 119u);
    EXPECT_EQ(strlen(r.inf->var_names[20]), 59u);
    EXPECT_STREQ(r.inf->var_names[0], "Var0");
    EXPECT_STREQ(r.inf->var_names[19], "Var19");
    char value[IMG_VAR_LEN];
    Img_get_variables(r.inf, 20, value);
    EXPECT_EQ(strlen(value), 119u);
}

TEST(ImgAccessors, FileOrgTakesTheLowByte) {
    Record r;
    Img_set_file_org(r.inf, 3);
    EXPECT_EQ(Img_get_file_org(r.inf), get_memory_organization());
    Img_set_file_org(r.inf, 256 + 1);   // taken as a signed 8-bit value: 1
    EXPECT_EQ(Img_get_file_org(r.inf), IMG_ORG_SUN);
}

TEST(ImgAccessors, SampleCounts) {
    Record r;
    Img_set_sizes(r.inf, 721, 577, 5);
    Img_set_smpl_mtrx(r.inf, 1, 2, 0, 2, 0, 1, 1);
    EXPECT_EQ(Img_get_nb_h(r.inf, 0), 721);
    EXPECT_EQ(Img_get_nb_h(r.inf, 1), 361);
    EXPECT_EQ(Img_get_nb_v(r.inf, 1), 289);
    EXPECT_EQ(Img_get_nb_t(r.inf, 1), 5);

    Img_set_comp_nam(r.inf, 2, "");
    EXPECT_EQ(Img_get_nb_h(r.inf, 2), 0);   // absent

    Img_set_smpl_mtrx(r.inf, 1, 0, 0, 2, 0, 1, 1);
    CaptureStderr();
    EXPECT_EQ(Img_get_nb_h(r.inf, 1), 0);
    EXPECT_EQ(Img_get_nb_v(r.inf, 3), 0);
    EXPECT_EQ(GetCapturedStderr(),
              "\nBad diagonal elem for comp 1 in 'Img_get_nb_h'\n"
              "\nBad comp_idx in 'Img_get_nb_v'\n");
}

TEST(ImgAccessors, SizeofDataType) {
    EXPECT_EQ(Img_get_sizeof_data_type(IMG_BYTE), 1);
    EXPECT_EQ(Img_get_sizeof_data_type(IMG_INT_2), 2);
    EXPECT_EQ(Img_get_sizeof_data_type(IMG_REAL), 4);
    EXPECT_EQ(Img_get_sizeof_data_type(IMG_UBYTE), 1);
    EXPECT_EQ(Img_get_sizeof_data_type(IMG_UINT_2), 2);
    EXPECT_EQ(Img_get_sizeof_data_type(-3), 1);
}

TEST(ImgFormat, FromNamesAndMatrices) {
    Record r;
    EXPECT_EQ(Img_get_format(r.inf), IMG_FMT_YC_422);   // the default record
    Img_set_smpl_matrices(r.inf, IMG_FMT_YC_420, 1);
    EXPECT_EQ(Img_get_format(r.inf), IMG_FMT_YC_420);
    EXPECT_EQ(r.inf->smpl_mtrx[1][2], 4);
    Img_set_smpl_matrices(r.inf, IMG_FMT_YC_444, 0);
    EXPECT_EQ(Img_get_format(r.inf), IMG_FMT_YC_444);
    EXPECT_EQ(Img_check_if_interlaced(r.inf), 0);
    // Chroma halved only vertically still counts as 4:2:0.
    Img_set_smpl_mtrx(r.inf, 1, 1, 0, 2, 0, 0, 1);
    Img_set_smpl_mtrx(r.inf, 2, 1, 0, 2, 0, 0, 1);
    EXPECT_EQ(Img_get_format(r.inf), IMG_FMT_YC_420);

    Img_set_comp_names(r.inf, IMG_FMT_YIQ);
    EXPECT_EQ(Img_get_format(r.inf), IMG_FMT_YIQ_SUB);
    EXPECT_EQ(Img_get_comp(r.inf), IMG_FMT_YIQ_SUB);
    Img_set_comp_names(r.inf, IMG_FMT_MONO);
    EXPECT_EQ(Img_get_format(r.inf), IMG_FMT_MONO);
    EXPECT_EQ(Img_get_comp(r.inf), IMG_FMT_MONO);
    Img_set_comp_names(r.inf, IMG_FMT_NTSC);
    EXPECT_EQ(Img_get_format(r.inf), IMG_FMT_UNKNOWN);
    Img_set_comp_names(r.inf, IMG_FMT_RGB);
    Img_set_comp_nam(r.inf, 1, "V");
    EXPECT_EQ(Img_get_format(r.inf), IMG_FMT_RGB);
    EXPECT_EQ(Img_get_comp(r.inf), IMG_FMT_RGB);
}

TEST(ImgChecks, HermiteAndComponents) {
    const int ok[6] = {2, 1, 2, 1, 1, 1};
    const int a12_too_big[6] = {2, 2, 2, 0, 1, 1};
    const int a23_too_big[6] = {1, 0, 2, 0, 2, 1};
    const int negative[6] = {1, 0, 1, -1, 0, 1};
    const int zero_period[6] = {1, 0, 1, 0, 0, 0};
    EXPECT_EQ(Img_check_hermite(ok), 1);
    EXPECT_EQ(Img_check_hermite(a12_too_big), 0);
    EXPECT_EQ(Img_check_hermite(a23_too_big), 0);
    EXPECT_EQ(Img_check_hermite(negative), 0);
    EXPECT_EQ(Img_check_hermite(zero_period), 0);
    EXPECT_EQ(Img_check_comp("   x", 4), 1);
    EXPECT_EQ(Img_check_comp("   x", 3), 0);
    EXPECT_EQ(Img_check_comp("  \0x", 4), 0);   // stops at the NUL
}

TEST(ImgChecks, SamplingStopsAtFirstFailure) {
    Record r;
    Img_set_fname(r.inf, "s");
    EXPECT_EQ(Img_check_sampling(r.inf), 1);

    Img_set_smpl_mtrx(r.inf, 1, 2, 2, 2, 0, 1, 1);
    CaptureStderr();
    EXPECT_EQ(Img_check_sampling(r.inf), 0);
    EXPECT_EQ(GetCapturedStderr(),
              "\nSampling matrix of component C1         of file s is not in Hermite form.\n"
              "In Hermite up form, we must satisfy a_ii > 0,\n"
              " 0 <= a_ij < a_ii for all i and j>i, and a_ij=0 for all i and j<i.\n");

    Img_set_smpl_mtrx(r.inf, 1, 2, 0, 2, 0, 1, 2);
    CaptureStderr();
    EXPECT_EQ(Img_check_sampling(r.inf), 0);
    EXPECT_EQ(GetCapturedStderr(),
              "\nTime sampling period must be same for all components in file s\n");

    Img_set_smpl_mtrx(r.inf, 1, 2, 0, 2, 0, 1, 1);
    Img_set_smpl_ofst(r.inf, 2, 0, 0, 1);
    CaptureStderr();
    EXPECT_EQ(Img_check_sampling(r.inf), 0);
    EXPECT_EQ(GetCapturedStderr(), "\nTime offset must be same for all components in file s\n");

    Img_set_comp_nam(r.inf, 0, "");
    CaptureStderr();
    EXPECT_EQ(Img_check_sampling(r.inf), 0);
    EXPECT_EQ(GetCapturedStderr(), "\nFirst component doesn't exist in s, can't go further\n");
}

TEST(ImgChecks, CompatibleRecords) {
    Record a, b;
    EXPECT_EQ(Img_compatible_IMG_INF(a.inf, b.inf, 0), 1);

    Img_set_comp_names(a.inf, IMG_FMT_RGB);
    Img_set_comp_names(b.inf, IMG_FMT_RGB);
    Img_set_comp_nam(b.inf, 0, "r");   // no spelling counts as equivalent
    Img_set_size(b.inf, 2, 7);
    Img_set_smpl_mtrx(b.inf, 2, 1, 0, 1, 0, 1, 1);
    Img_set_dsign(b.inf, 0, 1);
    CaptureStdout();
    EXPECT_EQ(Img_compatible_IMG_INF(a.inf, b.inf, 0), 0);
    EXPECT_EQ(GetCapturedStdout(),
              "Warning! Images don't have same size in dimension 2\n"
              "Warning! Images don't have same component name 0\n"
              "Warning! Images don't have same sampling matrix\n"
              "Warning! Images don't have same sampling matrix\n"
              "Warning! Images don't have same signed/unsigned flag for component 0\n");
    CaptureStdout();
    EXPECT_EQ(Img_compatible_IMG_INF(a.inf, b.inf, 1), 0);
    EXPECT_EQ(GetCapturedStdout(), "");

    Record c, d;   // byte order only matters for 2- and 4-byte types
    Img_set_file_org(d.inf, IMG_ORG_SUN);
    EXPECT_EQ(Img_compatible_IMG_INF(c.inf, d.inf, 1), 1);
    Img_set_fdtype(c.inf, IMG_FDT_REEL);
    Img_set_fdtype(d.inf, IMG_FDT_REEL);
    Img_set_dsign(d.inf, 0, 1);   // signs are not compared for REEL
    CaptureStdout();
    EXPECT_EQ(Img_compatible_IMG_INF(c.inf, d.inf, 0), 0);
    EXPECT_EQ(GetCapturedStdout(),
              "Warning! Images don't have same file memory organization (file_org)\n");
}

TEST(ImgFatalDeathTest, SettersRefuseAnOpenRecord) {
    Record r;
    r.inf->opened = 1;
    EXPECT_EXIT(Img_set_size(r.inf, 0, 10), testing::ExitedWithCode(1),
                "\nError in Img_set_size\nCan't set any field while the image is opened\n");
    EXPECT_EXIT(Img_set_comments(r.inf, "x"), testing::ExitedWithCode(1),
                "Error in Img_set_comments");
    EXPECT_EXIT(Img_set_default(r.inf), testing::ExitedWithCode(1), "Error in Img_set_default");
    r.inf->opened = 0;
}

TEST(ImgFatalDeathTest, BadIndicesAndCodes) {
    Record r;
    EXPECT_EXIT(Img_get_size(r.inf, 3), testing::ExitedWithCode(1),
                "Bad comp_idx in 'Img_get_size'");
    EXPECT_EXIT(Img_set_size(r.inf, -1, 3), testing::ExitedWithCode(1),
                "Bad comp_idx in 'Img_set_size'");
    EXPECT_EXIT(Img_get_dsign(r.inf, 3), testing::ExitedWithCode(1),
                "Bad comp_idx in 'Img_get_dsign'");
    EXPECT_EXIT(Img_check_comp_exists(r.inf, 3), testing::ExitedWithCode(1),
                "Bad comp_idx in 'Img_check_comp_exists'");
    char buf[IMG_VAR_LEN];
    EXPECT_EXIT(Img_get_variables(r.inf, -1, buf), testing::ExitedWithCode(1),
                "Var_idx must be greater than zero in 'Img_get_variables'");
    EXPECT_EXIT(Img_get_var_names(r.inf, 21, buf), testing::ExitedWithCode(1),
                "Var_idx must be no larger than IMG_NB_VAR_MAX in 'Img_get_var_names'");
    EXPECT_EXIT(Img_set_comp_names(r.inf, 8), testing::ExitedWithCode(1),
                "Bad img_format in 'Img_set_comp_names'");
    EXPECT_EXIT(Img_set_smpl_matrices(r.inf, IMG_FMT_NTSC, 0), testing::ExitedWithCode(1),
                "Bad img_format in 'Img_set_comp_names'");
    EXPECT_EXIT(Img_set_file_org(r.inf, 4), testing::ExitedWithCode(1),
                "Error in Img_set_file_org : Bad Memory organization flag");
    EXPECT_EXIT(Img_get_sizeof_data_type(5), testing::ExitedWithCode(1),
                "Img_get_sizeof_data_type: Requested data_type invalid");
}
