// VidsFile: settings through the vids record, opening, and frame, block and sequence
// transfers checked against files on disk.
#include "image/VidsFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "image/ImageBlock.h"
#include "image/ImageSequence.h"
#include "image/YUVImage.h"
#include "vids/vids.h"

using namespace ormel;

namespace {

// Each sample's value follows from its position, plane and a seed.
void Texture(BaseImage& img, int seed) {
    for (int c = 0; c < (img.CFormat() == YUV400 ? 1 : 3); ++c) {
        const CompType comp = static_cast<CompType>(c);
        for (int j = 0; j < img.Height(comp); ++j)
            for (int i = 0; i < img.Width(comp); ++i)
                img.GetArray(comp)[img.Width(comp) * j + i] =
                    static_cast<unsigned char>(i * 3 + j * 17 + c * 60 + seed * 29);
    }
}

// First differing sample of planes first..last, or an empty string.
std::string Mismatch(BaseImage& a, BaseImage& b, int first = 0, int last = 2) {
    for (int c = first; c <= last; ++c) {
        const CompType comp = static_cast<CompType>(c);
        const int w = a.Width(comp);
        for (int n = 0; n < w * a.Height(comp); ++n)
            if (a.GetArray(comp)[n] != b.GetArray(comp)[n])
                return "plane " + std::to_string(c) + " x " + std::to_string(n % w) + " y " +
                       std::to_string(n / w);
    }
    return "";
}

// Plane c of time sample t, read straight through the library in file order.
std::vector<unsigned char> RawPlane(const std::string& name, int t, int c) {
    IMG_INF* inf = nullptr;
    EXPECT_EQ(Img_INF_alloc(&inf), 1);
    EXPECT_EQ(Openvids(name.c_str(), inf, "old", 7), 0);
    std::vector<unsigned char> plane(static_cast<size_t>(Img_get_nb_h(inf, c) * Img_get_nb_v(inf, c)));
    int use[3] = {0, 0, 0};
    use[c] = 1;
    EXPECT_EQ(Readvids(t, use, IMG_UBYTE, plane.data(), plane.data(), plane.data(), inf, 39), 0);
    Closevids(inf, 0);
    Img_INF_free(inf);
    return plane;
}

class VidsFileOnDisk : public testing::Test {
protected:
    void SetUp() override {
        char tmpl[] = "/tmp/vids_file_test.XXXXXX";
        ASSERT_NE(mkdtemp(tmpl), nullptr);
        dir = tmpl;
    }
    void TearDown() override { std::filesystem::remove_all(dir); }
    std::string Path(const std::string& base) const { return dir + "/" + base; }

    // A new progressive sequence of n frames, w x h in format fmt, 25 Hz.
    void Create(VidsFile& f, const std::string& base, ChromaFormat fmt, int w, int h, int n = 1) {
        f.SetWidth(w);
        f.SetHeight(h);
        f.SetNumberOfImages(n);
        f.SetFrameRate(25.0f);
        f.SetSamplingMatrices(fmt, false);
        ASSERT_EQ(f.Open(Path(base), OPEN_NEW), 2);
    }

    std::string dir;
};

}  // namespace

TEST(VidsFileSettings, DefaultsAndFieldRate) {
    VidsFile f;
    EXPECT_EQ(f.Width(), 352);
    EXPECT_EQ(f.Height(), 288);
    EXPECT_EQ(f.NumberOfImages(), 1);
    EXPECT_EQ(f.CFormat(), YUV420);
    EXPECT_EQ(f.Height(V_COMP), 144);
    EXPECT_FLOAT_EQ(f.FrameRate(), 30.0f);
    f.SetSamplingMatrices(YUV420, true);
    f.SetFrameRate(25.0f);
    EXPECT_TRUE(f.Interlaced());
    EXPECT_FLOAT_EQ(f.FrameRate(), 12.5f);   // stored as a field rate
    EXPECT_EQ(f.Height(U_COMP), 72);          // sizes are per field
}

TEST(VidsFileSettings, ChromaFormatsAndComponentSizes) {
    VidsFile f;
    f.SetWidth(360);
    for (ChromaFormat fmt : {YUV400, YUV422, YUV444, YUV420})
        for (bool il : {false, true}) {
            f.SetSamplingMatrices(fmt, il);
            EXPECT_EQ(f.CFormat(), fmt) << fmt << " interlaced " << il;
        }
    f.SetSamplingMatrices(UNKNOWN_FORMAT, false);
    EXPECT_EQ(f.CFormat(), YUV444);
    EXPECT_EQ(f.Width(ALL_COMP), 22);
    // 4:1:1 is set by explicit lattices; what comes back is what the library derives
    // from them and the names: chroma every fourth pixel reads as 4:2:2.
    f.SetSamplingMatrices(YUV411, true);
    IMG_INF* inf = nullptr;
    ASSERT_EQ(Img_INF_alloc(&inf), 1);
    Img_set_smpl_mtrx(inf, 0, 1, 0, 2, 0, 1, 1);
    Img_set_smpl_mtrx(inf, 1, 4, 0, 2, 0, 1, 1);
    Img_set_smpl_mtrx(inf, 2, 4, 0, 2, 0, 1, 1);
    EXPECT_EQ(Img_get_format(inf), IMG_FMT_YC_422);
    Img_INF_free(inf);
    EXPECT_EQ(f.CFormat(), YUV422);
    EXPECT_TRUE(f.Interlaced());
    EXPECT_EQ(f.Width(U_COMP), 90);
    // A luminance-only file answers the luminance size for every component.
    f.SetSamplingMatrices(YUV400, false);
    for (int c = 0; c < 4; ++c)
        EXPECT_EQ(f.Width(static_cast<CompType>(c)), 360) << c;
}

TEST(VidsFileSettings, ChromaSignsReadFileComponentOne) {
    VidsFile f;
    f.SetSign(U_COMP, true);   // file component 2
    EXPECT_FALSE(f.Sign(U_COMP));
    f.SetSign(V_COMP, true);   // file component 1
    EXPECT_TRUE(f.Sign(U_COMP));
    EXPECT_FALSE(f.Sign(Y_COMP));
}

TEST(VidsFileSettings, ConstructorsTakeTheirSourcesSettings) {
    YUVImage img(YUV422, 64, 32);
    VidsFile from_image(img);
    EXPECT_EQ(from_image.CFormat(), YUV422);
    EXPECT_EQ(from_image.Width(U_COMP), 32);
    ImageBlock b(img, Y_COMP);
    b.SetWindow(20, 10);
    VidsFile from_block(b, YUV420, true);
    EXPECT_TRUE(from_block.OnlyYComponent());
    EXPECT_EQ(from_block.Width(), 20);
    EXPECT_FALSE(from_block.Sign(V_COMP));   // the record's signed chroma is cleared

    VidsFile src;
    src.SetWidth(100);
    src.SetNumberOfImages(7);
    src.SetSamplingMatrices(YUV422, true);
    src.SetFrameRate(50.0f);
    src.SetOnlyYComponent(true);
    src.SetSign(V_COMP, true);
    VidsFile copy(src), assigned;
    assigned = src;
    for (VidsFile* f : {&copy, &assigned}) {
        EXPECT_EQ(f->Width(), 100);
        EXPECT_EQ(f->NumberOfImages(), 1);
        EXPECT_EQ(f->CFormat(), YUV422);
        EXPECT_TRUE(f->OnlyYComponent());
        EXPECT_TRUE(f->Sign(U_COMP));
        EXPECT_FLOAT_EQ(f->FrameRate(), 12.5f);   // src's halved rate, stored and halved again
    }
}

TEST_F(VidsFileOnDisk, OpenStatusCodes) {
    VidsFile f;
    EXPECT_EQ(f.Open(Path("s"), static_cast<OpenType>(3)), 3);
    EXPECT_FALSE(std::filesystem::exists(Path("s.des")));
    EXPECT_EQ(f.Open(Path("s"), OPEN_OLD), 1);
    {
        VidsFile created;
        created.SetSamplingMatrices(YUV420, true);
        created.SetFrameRate(25.0f);
        EXPECT_EQ(created.Open(Path("s"), OPEN_OLD_NEW), 2);
        EXPECT_FALSE(created.Close());
    }   // the destructor closes the closed record again
    VidsFile existing;
    EXPECT_EQ(existing.Open(Path("s"), OPEN_OLD_NEW), 0);
    EXPECT_EQ(existing.Width(U_COMP), 176);
    EXPECT_FLOAT_EQ(existing.FrameRate(), 12.5f);
}

TEST_F(VidsFileOnDisk, FramesRoundTripInFileOrderYVU) {
    std::vector<YUVImage> frames(3, YUVImage(YUV420, 24, 10));
    {
        VidsFile out;
        Create(out, "s", YUV420, 24, 10);
        for (int k = 0; k < 3; ++k) {
            Texture(frames[k], k);
            EXPECT_EQ(out.Write(frames[k], k), 18) << k;   // grows the file
        }
        YUVImage wider(YUV420, 26, 10), other(YUV422, 24, 10);
        EXPECT_EQ(out.Write(wider, 0), 17);
        EXPECT_EQ(out.Read(other, 0), 17);
    }
    VidsFile in;
    ASSERT_EQ(in.Open(Path("s"), OPEN_OLD), 0);
    EXPECT_EQ(in.NumberOfImages(), 3);
    YUVImage got(in);
    for (int k = 0; k < 3; ++k) {
        ASSERT_EQ(in.Read(got, k), 18);
        EXPECT_EQ(Mismatch(got, frames[k]), "") << "frame " << k;
    }
    EXPECT_EQ(in.Read(got, 3), 1);
    in.Close();
    EXPECT_EQ(RawPlane(Path("s"), 1, 1), std::vector<unsigned char>(frames[1].GetArray(V_COMP),
                                                                    frames[1].GetArray(V_COMP) + 60));
    EXPECT_EQ(RawPlane(Path("s"), 1, 2), std::vector<unsigned char>(frames[1].GetArray(U_COMP),
                                                                    frames[1].GetArray(U_COMP) + 60));
}

TEST_F(VidsFileOnDisk, ChromaPlanesFollowTheirOwnFileLattices) {
    // File component 1 (V) every second pixel, 2 (U) every fourth, written directly.
    IMG_INF* inf = nullptr;
    ASSERT_EQ(Img_INF_alloc(&inf), 1);
    Img_set_sizes(inf, 16, 4, 1);
    Img_set_smpl_mtrx(inf, 0, 1, 0, 1, 0, 0, 1);
    Img_set_smpl_mtrx(inf, 1, 2, 0, 1, 0, 0, 1);
    Img_set_smpl_mtrx(inf, 2, 4, 0, 1, 0, 0, 1);
    Img_set_dsigns(inf, 0, 0, 0);
    ASSERT_EQ(Openvids(Path("odd").c_str(), inf, "new", 7), 2);
    std::vector<unsigned char> y(64, 1), v(32), u(16);
    for (size_t n = 0; n < v.size(); ++n) v[n] = static_cast<unsigned char>(100 + n);
    for (size_t n = 0; n < u.size(); ++n) u[n] = static_cast<unsigned char>(200 + n);
    const int all[3] = {1, 1, 1};
    ASSERT_EQ(Writevids(0, all, IMG_UBYTE, y.data(), v.data(), u.data(), inf, 4135), 0);
    Closevids(inf, 0);
    Img_INF_free(inf);

    VidsFile f;
    ASSERT_EQ(f.Open(Path("odd"), OPEN_OLD), 0);
    EXPECT_EQ(f.Width(U_COMP), 4);
    EXPECT_EQ(f.Width(V_COMP), 8);
    YUVImage img(f);
    ASSERT_EQ(f.Read(img, 0), 18);
    EXPECT_TRUE(std::equal(u.begin(), u.end(), img.GetArray(U_COMP)));
    EXPECT_TRUE(std::equal(v.begin(), v.end(), img.GetArray(V_COMP)));
    // A U block reads file component 1, larger than its plane, without overflowing.
    ImageBlock ub(img, U_COMP);
    EXPECT_EQ(f.Read(ub, 0), 18);
    EXPECT_TRUE(std::equal(v.begin(), v.begin() + 16, img.GetArray(U_COMP)));
}

TEST_F(VidsFileOnDisk, LuminanceOnlyFile) {
    YUVImage frame(YUV420, 20, 12);
    Texture(frame, 5);
    {
        VidsFile out;
        Create(out, "mono", YUV400, 20, 12);
        EXPECT_EQ(out.Write(frame, 0), 18);   // only the luminance size is checked
        YUVImage narrow(YUV400, 18, 12);
        EXPECT_EQ(out.Write(narrow, 1), 17);
    }
    VidsFile in;
    ASSERT_EQ(in.Open(Path("mono"), OPEN_OLD), 0);
    EXPECT_EQ(in.Width(U_COMP), 20);
    YUVImage img(in);
    ASSERT_EQ(in.Read(img, 0), 18);
    EXPECT_EQ(Mismatch(img, frame, 0, 0), "");
    EXPECT_EQ(in.Read(frame, 0), 17);   // reading keeps the strict test
    ImageBlock u(frame, U_COMP);
    EXPECT_EQ(in.Read(u, 0), 22);
    EXPECT_EQ(in.Write(u, 0), 22);
    VidsFile only_y;
    only_y.SetOnlyYComponent(true);
    Create(only_y, "only_y", YUV420, 20, 12);
    EXPECT_EQ(only_y.Write(u, 0), 22);
}

TEST_F(VidsFileOnDisk, SequencesRoundTrip) {
    ImageSequence seq(YUV420, 16, 8, false, true, 25.0f, 0);
    for (int k = 0; k < 3; ++k) {
        YUVImage* img = new YUVImage(YUV420, 16, 8);
        Texture(*img, k + 3);
        ASSERT_EQ(seq.push_back(img), 18);
    }
    {
        VidsFile out;
        Create(out, "s", YUV420, 16, 8);
        ImageSequence empty(seq), wrong(YUV422, 16, 8, false, true, 25.0f, 1);
        EXPECT_EQ(out.Write(empty), 19);
        EXPECT_EQ(out.Write(wrong), 17);
        EXPECT_EQ(out.Write(seq), 18);
    }
    VidsFile in;
    ASSERT_EQ(in.Open(Path("s"), OPEN_OLD), 0);
    ImageSequence back(in);
    EXPECT_EQ(in.Read(back), 18);
    ASSERT_EQ(back.NumberOfImages(), 3);
    for (int k = 0; k < 3; ++k)
        EXPECT_EQ(Mismatch(*back[k], *seq[k]), "") << "frame " << k;
    ImageSequence small(YUV420, 8, 8, false, true, 25.0f, 0);
    EXPECT_EQ(in.Read(small), 17);
    EXPECT_EQ(small.NumberOfImages(), 0);
}

TEST_F(VidsFileOnDisk, FileWithoutFramesReadsAsNoImages) {
    std::ofstream(Path("none.des"))
        << "01 NOM DU FICHIER = none\n02\n03 VERSION (format du Fichier) = 300\n"
           "04 DIMENSIONS : HORIZONTALE =    16, VERTICALE =     8, TEMPORELLE =     0\n"
           "05 COMPOSANTE_0: NOM = Y, MATRICE_ECH = (1,0,1,0,0,1), DECALAGE = (0,0,0)\n"
           "06 COMPOSANTE_1: NOM = C1, MATRICE_ECH = (2,0,2,0,0,1), DECALAGE = (0,0,0)\n"
           "07 COMPOSANTE_2: NOM = C2, MATRICE_ECH = (2,0,2,0,0,1), DECALAGE = (0,0,0)\n"
           "08 FREQUENCES ECHANT.: HORIZ =  512.0000, VERT =  256.0000, TEMP =   25.0000\n"
           "09 TYPE DE DONNEES = OCTET\n"
           "10 DONNEES_SIGNEES:  COMP_1 = N,  COMP_2 = N,  COMP_3 = N\n"
           "11 FACTEUR D'ECHELLE = 1\n12 NOMBRE DE VARIABLES USAGER =    0\n*\n"
        << std::string(80, '*') << "\n\n";
    std::ofstream(Path("none.pic")).close();
    VidsFile in;
    ASSERT_EQ(in.Open(Path("none"), OPEN_OLD), 0);
    ImageSequence seq(in);
    EXPECT_EQ(in.Read(seq), 18);
    EXPECT_EQ(seq.NumberOfImages(), 0);
}

TEST_F(VidsFileOnDisk, CopyStopsAtTheLastFrameOfTheSource) {
    std::vector<YUVImage> frames(3, YUVImage(YUV422, 16, 8));
    {
        VidsFile out;
        Create(out, "src", YUV422, 16, 8);
        for (int k = 0; k < 3; ++k) {
            Texture(frames[k], k + 11);
            ASSERT_EQ(out.Write(frames[k], k), 18);
        }
    }
    VidsFile src;
    ASSERT_EQ(src.Open(Path("src"), OPEN_OLD), 0);
    VidsFile().Copy(src, Path("dst"), 1, 10);
    VidsFile in;
    ASSERT_EQ(in.Open(Path("dst"), OPEN_OLD), 0);
    EXPECT_EQ(in.NumberOfImages(), 2);
    YUVImage got(in);
    for (int k = 0; k < 2; ++k) {
        ASSERT_EQ(in.Read(got, k), 18);
        EXPECT_EQ(Mismatch(got, frames[k + 1]), "") << "frame " << k;
    }
}

TEST_F(VidsFileOnDisk, BlocksByComponentWholePlaneAndWindow) {
    VidsFile f;
    Create(f, "s", YUV420, 32, 16);
    YUVImage frame(YUV420, 32, 16), got(YUV420, 32, 16);
    Texture(frame, 4);
    ASSERT_EQ(f.Write(frame, 0), 18);
    // A whole-plane U block addresses file component 1, the frame's V plane.
    ImageBlock u(got, U_COMP);
    ASSERT_EQ(f.Read(u, 0), 18);
    EXPECT_TRUE(std::equal(got.GetArray(U_COMP), got.GetArray(U_COMP) + 128, frame.GetArray(V_COMP)));
    // A window travels at its origin; the rest of the frame stays.
    ImageBlock win(got, Y_COMP);
    ASSERT_EQ(win.SetOrigin(5, 3), 1);
    win.SetWindow(7, 4);
    ASSERT_EQ(f.Read(win, 0), 18);
    for (int j = 0; j < 16; ++j)
        for (int i = 0; i < 32; ++i)
            ASSERT_EQ(got.Y(i, j), i >= 5 && i < 12 && j >= 3 && j < 7 ? frame.Y(i, j) : 0);
    YUVImage white(YUV420, 32, 16);
    white.Fill(255, ALL_COMP);
    ImageBlock edge(white, Y_COMP);
    ASSERT_EQ(edge.SetOrigin(30, 0), 1);
    ASSERT_EQ(f.Write(edge, 0), 18);
    ASSERT_EQ(f.Read(got, 0), 18);
    EXPECT_EQ(got.Y(31, 15), 255);
    EXPECT_EQ(got.Y(29, 15), frame.Y(29, 15));
    EXPECT_EQ(Mismatch(got, frame, 1, 2), "");
    YUVImage large(YUV420, 34, 16);
    ImageBlock big(large, Y_COMP);
    EXPECT_EQ(f.Read(big, 0), 17);
    EXPECT_EQ(f.Write(big, 0), 17);
}

TEST_F(VidsFileOnDisk, WindowBeyondTheEndGrowsTheFileWithABlankFrame) {
    VidsFile f;
    Create(f, "s", YUV420, 32, 16);
    YUVImage frame(YUV420, 32, 16), back(YUV420, 32, 16);
    Texture(frame, 7);
    // A U window lands in file component 1, whose blank is grey (growth alone gives 0).
    ImageBlock b(frame, U_COMP);
    ASSERT_EQ(b.SetOrigin(4, 2), 1);
    b.SetWindow(8, 4);
    ASSERT_EQ(f.Write(b, 2), 18);
    EXPECT_EQ(f.NumberOfImages(), 3);
    ASSERT_EQ(f.Read(back, 2), 18);
    for (int j = 0; j < 8; ++j)
        for (int i = 0; i < 16; ++i)
            ASSERT_EQ(back.V(i, j), i >= 4 && i < 12 && j >= 2 && j < 6 ? frame.U(i, j) : 128)
                << i << "," << j;
}
