// Description file: put_info byte for byte, get_info by punctuation, round trips and
// malformed input.
#include <cstdio>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "vids/vids.h"

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

namespace {

struct Record {
    IMG_INF* inf = nullptr;
    Record() { EXPECT_EQ(Img_INF_alloc(&inf), 1); }
    ~Record() { Img_INF_free(inf); }
};

// The description put_info writes for inf.
std::string Describe(IMG_INF* inf) {
    inf->stream = tmpfile();
    EXPECT_EQ(put_info(inf, 0), 0);
    rewind(inf->stream);
    std::string text;
    int ch;
    while ((ch = fgetc(inf->stream)) != EOF) text += static_cast<char>(ch);
    fclose(inf->stream);
    inf->stream = nullptr;
    return text;
}

// get_info of text into inf.
int Parse(IMG_INF* inf, const std::string& text) {
    inf->stream = tmpfile();
    fwrite(text.data(), 1, text.size(), inf->stream);
    rewind(inf->stream);
    const int rc = get_info(inf, 0);
    fclose(inf->stream);
    inf->stream = nullptr;
    return rc;
}

const char* const kHead =
    "01 NOM DU FICHIER = seq\n"
    "02\n"
    "03 VERSION (format du Fichier) = 300\n"
    "04 DIMENSIONS : HORIZONTALE =   256, VERTICALE =   256, TEMPORELLE =     1\n"
    "05 COMPOSANTE_0: NOM = Y, MATRICE_ECH = (1,0,2,0,1,1), DECALAGE = (0,0,0)\n"
    "06 COMPOSANTE_1: NOM = C1, MATRICE_ECH = (2,0,2,0,1,1), DECALAGE = (0,0,0)\n"
    "07 COMPOSANTE_2: NOM = C2, MATRICE_ECH = (2,0,2,0,1,1), DECALAGE = (0,0,0)\n"
    "08 FREQUENCES ECHANT.: HORIZ =  512.0000, VERT =  256.0000, TEMP =   59.9400\n";
const char* const kType = "09 TYPE DE DONNEES = OCTET\n";
const char* const kSigns = "10 DONNEES_SIGNEES:  COMP_1 = N,  COMP_2 = O,  COMP_3 = O\n";
const char* const kScale = "11 FACTEUR D'ECHELLE = 1\n";
const char* const kTail =
    "*\n"
    "********************************************************************************\n"
    "\n";

std::string Description(const std::string& type = kType, const std::string& signs = kSigns,
                        const std::string& scale = kScale,
                        const std::string& vars = "12 NOMBRE DE VARIABLES USAGER =    0\n") {
    return kHead + type + signs + scale + vars + kTail;
}

// Every description field of a and b equal (comments aside).
void ExpectSameDescription(const IMG_INF* a, const IMG_INF* b) {
    EXPECT_EQ(0, memcmp(a->size, b->size, sizeof a->size));
    EXPECT_EQ(0, memcmp(a->freq, b->freq, sizeof a->freq));
    EXPECT_EQ(0, memcmp(a->comp_nam, b->comp_nam, sizeof a->comp_nam));
    EXPECT_EQ(0, memcmp(a->smpl_mtrx, b->smpl_mtrx, sizeof a->smpl_mtrx));
    EXPECT_EQ(0, memcmp(a->smpl_ofst, b->smpl_ofst, sizeof a->smpl_ofst));
    EXPECT_EQ(a->fdtype, b->fdtype);
    EXPECT_EQ(0, memcmp(a->dsign, b->dsign, sizeof a->dsign));
    EXPECT_EQ(a->file_org, b->file_org);
    EXPECT_EQ(a->scale_fctr, b->scale_fctr);
    EXPECT_EQ(a->num_var, b->num_var);
    for (int i = 0; i < a->num_var; ++i) {
        EXPECT_STREQ(a->var_names[i], b->var_names[i]);
        EXPECT_STREQ(a->variables[i], b->variables[i]);
    }
}

}  // namespace

TEST(PutInfo, DefaultRecordByteForByte) {
    Record r;
    Img_set_fname(r.inf, "seq");
    EXPECT_EQ(Describe(r.inf), Description());
}

TEST(PutInfo, SuffixOnlyForTwoAndFourByteTypes) {
    Record r;
    Img_set_file_org(r.inf, IMG_ORG_SUN);
    EXPECT_NE(Describe(r.inf).find("09 TYPE DE DONNEES = OCTET\n"), std::string::npos);
    Img_set_fdtype(r.inf, IMG_FDT_ENTIER_2);
    EXPECT_NE(Describe(r.inf).find("09 TYPE DE DONNEES = ENTIER_2_SUN\n"), std::string::npos);
    Img_set_file_org(r.inf, IMG_ORG_UNKNOWN);
    EXPECT_NE(Describe(r.inf).find("09 TYPE DE DONNEES = ENTIER_2_UNKNOWN\n"), std::string::npos);

    Record back;   // OCTET written without suffix reads back least-significant first
    Img_set_file_org(r.inf, IMG_ORG_SUN);
    Img_set_fdtype(r.inf, IMG_FDT_OCTET);
    ASSERT_EQ(Parse(back.inf, Describe(r.inf)), 0);
    EXPECT_EQ(back.inf->file_org, IMG_ORG_DEC);
}

TEST(GetInfo, DefaultRoundTripGainsOneLineFeed) {
    Record a, b;
    Img_set_fname(a.inf, "seq");
    Img_set_sizes(b.inf, 1, 1, 1);   // make sure the read really fills b
    Img_set_comp_names(b.inf, IMG_FMT_RGB);
    ASSERT_EQ(Parse(b.inf, Describe(a.inf)), 0);
    ExpectSameDescription(a.inf, b.inf);
    EXPECT_STREQ(b.inf->comments, "\n");
    ASSERT_EQ(Parse(b.inf, Describe(b.inf)), 0);
    EXPECT_STREQ(b.inf->comments, "\n\n");
}

TEST(GetInfo, RoundTripOfAFullRecord) {
    Record a, b;
    Img_set_fname(a.inf, "dir/clip");
    Img_set_sizes(a.inf, 720, 576, 12);
    Img_set_freqs(a.inf, 13.5f, 0.0001f, 25.0f);
    Img_set_comp_names(a.inf, IMG_FMT_MONO);   // blank names: nothing before the comma
    Img_set_smpl_matrices(a.inf, IMG_FMT_YC_420, 0);
    Img_set_smpl_ofst(a.inf, 0, 3, -2, 0);
    Img_set_fdtype(a.inf, IMG_FDT_ENTIER_2);
    Img_set_file_org(a.inf, IMG_ORG_SUN);
    Img_set_dsigns(a.inf, 1, 0, 1);
    Img_set_scale_fctr(a.inf, 16384);
    Img_set_num_var(a.inf, 20);
    for (int i = 0; i < 20; ++i) Img_set_variables(a.inf, i, ("value " + std::to_string(i)).c_str());
    Img_set_var_names(a.inf, 7, "gain");
    const std::string comment = std::string(170, 'c') + "\nsecond line";
    Img_set_comments(a.inf, comment.c_str());

    const std::string text = Describe(a.inf);
    EXPECT_NE(text.find("06 COMPOSANTE_1: NOM = , MATRICE_ECH"), std::string::npos);
    EXPECT_NE(text.find("\ngain =value 7\n"), std::string::npos);
    ASSERT_EQ(Parse(b.inf, text), 0);
    ExpectSameDescription(a.inf, b.inf);
    EXPECT_EQ(std::string(b.inf->comments), comment + "\n");
}

TEST(GetInfo, TypeWordsAndSigns) {
    struct Case {
        const char* word;
        int fdtype, file_org;
    } cases[] = {{"int_2_sun", 1, 1}, {"Real", 2, 0},     {"BYTE", 0, 0},
                 {"4_bits", 5, 0},    {"REEL_UNKNOWN", 2, 2}, {"entier_2", 1, 0}};
    for (const Case& c : cases) {
        Record r;
        const std::string type = std::string("09 TYPE DE DONNEES =  ") + c.word + "\n";
        ASSERT_EQ(Parse(r.inf, Description(type)), 0) << c.word;
        EXPECT_EQ(r.inf->fdtype, c.fdtype) << c.word;
        EXPECT_EQ(r.inf->file_org, c.file_org) << c.word;
    }
    Record r;
    ASSERT_EQ(Parse(r.inf, Description(kType, "10 :  A = N,  B =n,  C =   X\n")), 0);
    EXPECT_EQ(r.inf->dsign[0], 0);   // only an upper-case N is unsigned
    EXPECT_EQ(r.inf->dsign[1], 1);
    EXPECT_EQ(r.inf->dsign[2], 1);
}

TEST(GetInfo, UnknownTypeWordIsRefused) {
    Record r;
    CaptureStderr();
    EXPECT_EQ(Parse(r.inf, Description("09 TYPE DE DONNEES =  OCTET_SUN  x\n")), 1);
    EXPECT_EQ(GetCapturedStderr(), "get_info: Unrecognized file data type OCTET_SUN  x\n\n");
}

TEST(GetInfo, ScaleFactorCheckedOnlyForEntier2) {
    Record r;
    EXPECT_EQ(Parse(r.inf, Description("09 = REEL\n", kSigns, "11 = 3\n")), 0);
    EXPECT_EQ(r.inf->scale_fctr, 3);
    CaptureStderr();
    EXPECT_EQ(Parse(r.inf, Description("09 = ENTIER_2\n", kSigns, "11 = 3\n")), 1);
    EXPECT_EQ(GetCapturedStderr(), "get_info: Bad scaling factor : 3\n");
    EXPECT_EQ(Parse(r.inf, Description("09 = ENTIER_2\n", kSigns, "11 = 16384\n")), 0);
    CaptureStderr();
    EXPECT_EQ(Parse(r.inf, Description("09 = ENTIER_2\n", kSigns, "11 = 32768\n")), 1);
    EXPECT_EQ(GetCapturedStderr(), "get_info: Bad scaling factor : 32768\n");
}

TEST(GetInfo, VariableLines) {
    Record r;
    const std::string long_value(150, 'v');
    const std::string vars = "12 =    3\ngain=3\nwidth = 5 \nx =" + long_value + "\n";
    ASSERT_EQ(Parse(r.inf, Description(kType, kSigns, kScale, vars)), 0);
    EXPECT_STREQ(r.inf->var_names[0], "gai");   // the character before '=' is dropped
    EXPECT_STREQ(r.inf->variables[0], "3");
    EXPECT_STREQ(r.inf->var_names[1], "width");
    EXPECT_STREQ(r.inf->variables[1], " 5 ");   // taken as it stands
    EXPECT_EQ(std::string(r.inf->variables[2]), long_value.substr(0, 119));

    ASSERT_EQ(Parse(r.inf, Description(kType, kSigns, kScale, "12 = 1\nab =x\xffy\n")), 0);
    EXPECT_STREQ(r.inf->variables[0], "x");   // a byte 255 ends the value

    CaptureStderr();
    EXPECT_EQ(Parse(r.inf, Description(kType, kSigns, kScale, "12 = 1\nno sign\n")), 1);
    EXPECT_EQ(Parse(r.inf, Description(kType, kSigns, kScale, "12 = 1\na=1\n")), 1);
    EXPECT_EQ(Parse(r.inf, Description(kType, kSigns, kScale, "12 = 1\n=1\n")), 1);
    EXPECT_EQ(GetCapturedStderr(),
              "get_info: Bad variable field, no '=' sign found\n"
              "get_info: Bad variable name before '=' sign\n"
              "get_info: Bad variable name before '=' sign\n");
}

TEST(GetInfo, TwentyOneVariablesWrittenButNotReadBack) {
    Record a, b;
    a.inf->num_var = 21;   // the setter would refuse it
    const std::string text = Describe(a.inf);
    EXPECT_NE(text.find("USAGER =   21\n"), std::string::npos);
    EXPECT_NE(text.find("Var19 =\n*\n"), std::string::npos);
    EXPECT_EQ(text.find("Var20"), std::string::npos);
    CaptureStderr();
    EXPECT_EQ(Parse(b.inf, text), 1);
    EXPECT_EQ(GetCapturedStderr(), "get_info: Can't read variable 20 IMG_NB_VAR_MAX too low\n");
}

TEST(GetInfo, MalformedDescriptionsFailCleanly) {
    const std::string good = Description();
    struct Case {
        std::string from, to, message;
    } cases[] = {
        {"TEMPORELLE =     1", "TEMPORELLE      1", "get_info: Bad field on line 4\n"},
        {"HORIZONTALE =   256", "HORIZONTALE = x", "get_info: Bad field on line 4\n"},
        {"MATRICE_ECH = (1,", "MATRICE_ECH = 1,", "get_info: Bad field on line 5\n"},
        {"(2,0,2,0,1,1), DECALAGE = (0,0,0)\n07", "(2,0,2,0,1,1) DECALAGE = (0,0,0)\n07",
         "get_info: Bad field on line 6\n"},
        {"NOM = C2, MATRICE_ECH = (2,0,2,0,1,1), DECALAGE = (0,0,0)", "NOM = C2",
         "get_info: Bad field on line 7\n"},
        {"TEMP =   59.9400", "TEMP    59.9400", "get_info: Bad field on line 8\n"},
        {"DONNEES = OCTET", "DONNEES   OCTET", "get_info: Bad field on line 9\n"},
        {"COMP_3 = O\n", "COMP_3 =\n", "get_info: Bad field on line 10\n"},
        {"ECHELLE = 1", "ECHELLE 1", "get_info: Bad field on line 11\n"},
        {"USAGER =    0", "USAGER", "get_info: Bad field on line 12\n"},
    };
    for (const Case& c : cases) {
        std::string text = good;
        const size_t at = text.find(c.from);
        ASSERT_NE(at, std::string::npos) << c.from;
        text.replace(at, c.from.size(), c.to);
        Record r;
        CaptureStderr();
        EXPECT_EQ(Parse(r.inf, text), 1) << c.to;
        EXPECT_EQ(GetCapturedStderr(), c.message) << c.to;
    }
    for (size_t cut : {size_t(0), size_t(30), good.find("09 TYPE")}) {
        Record r;
        CaptureStderr();
        EXPECT_EQ(Parse(r.inf, good.substr(0, cut)), 1);
        EXPECT_NE(GetCapturedStderr().find("get_info: Unexpected end of file on line"),
                  std::string::npos);
    }
}

TEST(GetInfo, OverlongLinesAreSplitNotOverrun) {
    Record r;
    std::string text = Description();
    text.replace(text.find("NOM = Y,"), 8, "NOM = " + std::string(600, 'Y') + ",");
    CaptureStderr();
    EXPECT_EQ(Parse(r.inf, text), 1);   // the name runs past the line buffer: no '('
    EXPECT_EQ(GetCapturedStderr(), "get_info: Bad field on line 5\n");
}

TEST(GetInfo, UsedLength) {
    EXPECT_EQ(Img_get_used_length("C1        ", 10), 2);
    EXPECT_EQ(Img_get_used_length("          ", 10), 0);
    EXPECT_EQ(Img_get_used_length("A B  ", 5), 3);
    EXPECT_EQ(Img_get_used_length("ABCDEFGHIJKL", 10), 10);
}
