// Description file: put_info byte for byte, get_info by punctuation, round trips and
// malformed input.
#include <cstdio>
#include <string>

#include "tests/vids/vids_test_support.h"

namespace {

// The description put_info writes for inf.
std::string Describe(IMG_INF* inf) {
    char* buf = nullptr;
    size_t size = 0;
    inf->stream = open_memstream(&buf, &size);
    EXPECT_EQ(put_info(inf, 0), 0);
    fclose(inf->stream);
    inf->stream = nullptr;
    const std::string text(buf, size);
    free(buf);
    return text;
}

// get_info of text into inf; stderr is returned in *err.
int Parse(IMG_INF* inf, std::string text, std::string* err = nullptr) {
    inf->stream = fmemopen(&text[0], text.size(), "r");
    CaptureStderr();
    const int rc = get_info(inf, 0);
    const std::string msg = GetCapturedStderr();
    if (err != nullptr) *err = msg;
    fclose(inf->stream);
    inf->stream = nullptr;
    return rc;
}

const std::string kDefault =
    "01 NOM DU FICHIER = seq\n"
    "02\n"
    "03 VERSION (format du Fichier) = 300\n"
    "04 DIMENSIONS : HORIZONTALE =   256, VERTICALE =   256, TEMPORELLE =     1\n"
    "05 COMPOSANTE_0: NOM = Y, MATRICE_ECH = (1,0,2,0,1,1), DECALAGE = (0,0,0)\n"
    "06 COMPOSANTE_1: NOM = C1, MATRICE_ECH = (2,0,2,0,1,1), DECALAGE = (0,0,0)\n"
    "07 COMPOSANTE_2: NOM = C2, MATRICE_ECH = (2,0,2,0,1,1), DECALAGE = (0,0,0)\n"
    "08 FREQUENCES ECHANT.: HORIZ =  512.0000, VERT =  256.0000, TEMP =   59.9400\n"
    "09 TYPE DE DONNEES = OCTET\n"
    "10 DONNEES_SIGNEES:  COMP_1 = N,  COMP_2 = O,  COMP_3 = O\n"
    "11 FACTEUR D'ECHELLE = 1\n"
    "12 NOMBRE DE VARIABLES USAGER =    0\n"
    "*\n"
    "********************************************************************************\n"
    "\n";

// text with the first occurrence of from replaced by to.
std::string Edited(const std::string& from, const std::string& to, std::string text = kDefault) {
    const size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

// The message of get_info refusing text, read into a fresh record.
std::string Refusal(const std::string& text) {
    Record r;
    std::string err;
    EXPECT_EQ(Parse(r.inf, text, &err), 1) << text;
    return err;
}

}  // namespace

TEST(DescriptionFile, DefaultRecordWrittenByteForByteAndReadBack) {
    Record a, b;
    Img_set_fname(a.inf, "seq");
    EXPECT_EQ(Describe(a.inf), kDefault);
    Img_set_sizes(b.inf, 1, 1, 1);
    Img_set_comp_names(b.inf, IMG_FMT_RGB);
    ASSERT_EQ(Parse(b.inf, kDefault), 0);
    Img_set_fname(b.inf, "seq");
    EXPECT_EQ(Describe(b.inf), kDefault + "\n");   // the comment gained a line feed
}

TEST(DescriptionFile, FullRecordRoundTrip) {
    Record a, b;
    Img_set_sizes(a.inf, 720, 576, 12);
    Img_set_freqs(a.inf, 13.5f, 0.0001f, 25.0f);
    Img_set_comp_names(a.inf, IMG_FMT_MONO);   // blank names: nothing before the comma
    Img_set_smpl_ofst(a.inf, 0, 3, -2, 0);
    Img_set_fdtype(a.inf, IMG_FDT_ENTIER_2);
    Img_set_file_org(a.inf, IMG_ORG_SUN);
    Img_set_dsigns(a.inf, 1, 0, 1);
    Img_set_scale_fctr(a.inf, 16384);
    Img_set_num_var(a.inf, 20);
    Img_set_variables(a.inf, 7, " 5 x");
    Img_set_comments(a.inf, (std::string(170, 'c') + "\nend").c_str());
    const std::string text = Describe(a.inf);
    EXPECT_NE(text.find("06 COMPOSANTE_1: NOM = , MATRICE_ECH"), std::string::npos);
    EXPECT_NE(text.find("09 TYPE DE DONNEES = ENTIER_2_SUN\n"), std::string::npos);
    ASSERT_EQ(Parse(b.inf, text), 0);
    EXPECT_EQ(std::string(b.inf->comments), std::string(a.inf->comments) + "\n");
    Img_set_comments(b.inf, a.inf->comments);
    EXPECT_EQ(Describe(b.inf), text);
}

TEST(DescriptionFile, TypeWordsSuffixesAndSigns) {
    const struct {
        const char* word;
        int fdtype, file_org;
    } cases[] = {{"int_2_sun", 1, 1}, {"Real", 2, 0}, {"BYTE", 0, 0}, {"REEL_UNKNOWN", 2, 2}};
    for (const auto& c : cases) {
        Record r;
        ASSERT_EQ(Parse(r.inf, Edited("= OCTET", std::string("=  ") + c.word)), 0) << c.word;
        EXPECT_EQ(r.inf->fdtype, c.fdtype) << c.word;
        EXPECT_EQ(r.inf->file_org, c.file_org) << c.word;
    }
    EXPECT_EQ(Refusal(Edited("= OCTET", "=  OCTET_SUN x")),
              "get_info: Unrecognized file data type OCTET_SUN x\n\n");
    Record r;
    Img_set_file_org(r.inf, IMG_ORG_SUN);   // no suffix for bytes: reads back as 0
    ASSERT_EQ(Parse(r.inf, Describe(r.inf)), 0);
    EXPECT_EQ(r.inf->file_org, IMG_ORG_DEC);
    ASSERT_EQ(Parse(r.inf, Edited("COMP_2 = O", "COMP_2 =n")), 0);
    EXPECT_EQ(r.inf->dsign[0], 0);   // only an upper-case N is unsigned
    EXPECT_EQ(r.inf->dsign[1], 1);
}

TEST(DescriptionFile, ScaleFactorCheckedOnlyForEntier2) {
    Record r;
    const std::string three = Edited("ECHELLE = 1", "ECHELLE = 3");
    EXPECT_EQ(Parse(r.inf, Edited("OCTET", "REEL", three)), 0);
    EXPECT_EQ(r.inf->scale_fctr, 3);
    EXPECT_EQ(Refusal(Edited("OCTET", "ENTIER_2", three)), "get_info: Bad scaling factor : 3\n");
}

TEST(DescriptionFile, VariableLines) {
    Record r;
    const std::string value(150, 'v');
    const std::string vars = "USAGER = 3\ngain=3\nwidth = 5 \xff tail\nx =" + value + "\n";
    ASSERT_EQ(Parse(r.inf, Edited("USAGER =    0\n", vars)), 0);
    EXPECT_STREQ(r.inf->var_names[0], "gai");   // the character before '=' is dropped
    EXPECT_STREQ(r.inf->variables[1], " 5 ");    // as it stands, up to a byte 255
    EXPECT_EQ(std::string(r.inf->variables[2]), value.substr(0, 119));

    EXPECT_EQ(Refusal(Edited("USAGER =    0\n", "USAGER = 1\nno sign\n")),
              "get_info: Bad variable field, no '=' sign found\n");
    EXPECT_EQ(Refusal(Edited("USAGER =    0\n", "USAGER = 1\na=1\n")),
              "get_info: Bad variable name before '=' sign\n");

    Record w;   // 21 variables: 20 lines and the count 21 written, refused on reading
    w.inf->num_var = 21;
    const std::string text = Describe(w.inf);
    EXPECT_NE(text.find("USAGER =   21\n"), std::string::npos);
    EXPECT_NE(text.find("Var19 =\n*\n"), std::string::npos);
    EXPECT_EQ(Refusal(text), "get_info: Can't read variable 20 IMG_NB_VAR_MAX too low\n");
}

TEST(DescriptionFile, MalformedDescriptionsFailCleanly) {
    const struct {
        std::string from, to;
        int line;
    } cases[] = {
        {"TEMPORELLE =", "TEMPORELLE", 4},
        {"HORIZONTALE =   256", "HORIZONTALE = x", 4},
        {"(1,0,2", "1,0,2", 5},
        {"(2,0,2,0,1,1), DECALAGE", "(2,0,2,0,1,1) DECALAGE", 6},
        {"NOM = C2, MATRICE_ECH = (2,0,2,0,1,1), DECALAGE = (0,0,0)", "NOM = C2", 7},
        {"TEMP =", "TEMP", 8},
        {"DONNEES =", "DONNEES", 9},
        {"COMP_3 = O", "COMP_3 =", 10},
        {"ECHELLE =", "ECHELLE", 11},
        {"USAGER =", "USAGER", 12},
        {"NOM = Y,", "NOM = " + std::string(600, 'Y') + ",", 5},   // split line, no '('
    };
    for (const auto& c : cases)
        EXPECT_EQ(Refusal(Edited(c.from, c.to)),
                  "get_info: Bad field on line " + std::to_string(c.line) + "\n") << c.to;
    EXPECT_EQ(Refusal(kDefault.substr(0, kDefault.find("09 TYPE"))),
              "get_info: Unexpected end of file on line 9\n");
}

TEST(DescriptionFile, FramesBeyondTheLimitAreRefusedUnstored) {
    const std::string sizes = "HORIZONTALE =   256, VERTICALE =   256";
    for (const char* ok : {"8192, = 8192", "67108864, = 1", "-5, = 2147483647"}) {
        Record r;
        EXPECT_EQ(Parse(r.inf, Edited(sizes, std::string("= ") + ok)), 0) << ok;
    }
    for (const char* big : {"8192, = 8193", "2147483647, = 2147483647", "100000, = 100000"}) {
        Record r;
        std::string err;
        EXPECT_EQ(Parse(r.inf, Edited(sizes, std::string("= ") + big), &err), 1) << big;
        std::string shown = big;
        shown.replace(shown.find(", = "), 4, " x ");
        EXPECT_EQ(err, "get_info: Frame size " + shown + " exceeds the limit of 67108864 samples\n");
        EXPECT_EQ(Img_get_size(r.inf, 0), 256);   // the defaults stay
    }
}
