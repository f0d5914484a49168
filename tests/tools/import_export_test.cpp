// vidstool's import and export as a library, checked against the sequence files: round
// trips of every supported YUV4MPEG2 layout, the field lattice of interlaced imports,
// raw input, and export of sequences that other tools wrote.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "image/VidsFile.h"
#include "image/YUVImage.h"
#include "tools/vidstool/Commands.h"
#include "vids/vids.h"
#include "y4m/SequenceDescription.h"
#include "VidstoolFixture.h"

using namespace vidstool;
using namespace y4m;

namespace {

struct Layout {
    const char* params;   // the header after "YUV4MPEG2 "
    ormel::ChromaFormat format;
    int width, height;
};

// Every colour space, odd sizes, both field orders, chroma heights that do not split
// evenly into fields, mixed interlacing, and headers with and without optional values.
const Layout kLayouts[] = {
    {"W8 H6 F25:1 Ip A1:1 C420jpeg", ormel::YUV420, 8, 6},
    {"W7 H5 F30000:1001 Ip A10:11 C420paldv XYSCSS=420PALDV", ormel::YUV420, 7, 5},
    {"W6 H4 F24000:1001 Ip A0:0 C420mpeg2", ormel::YUV420, 6, 4},
    {"W6 H4 F50:1 Ip C420", ormel::YUV420, 6, 4},
    {"W5 H3 F25:1 Ip A1:1 C422", ormel::YUV422, 5, 3},
    {"W5 H3 F60000:1001 Ip A1:1 C444 XCOLORRANGE=FULL", ormel::YUV444, 5, 3},
    {"W9 H7 F15:1 Ip A1:1 Cmono", ormel::YUV400, 9, 7},
    {"W8 H8 F30000:1001 It A1:1 C420jpeg", ormel::YUV420, 8, 8},
    {"W8 H6 F25:1 Ib A16:15 C420mpeg2", ormel::YUV420, 8, 6},
    {"W6 H5 F25:1 It A1:1 C422", ormel::YUV422, 6, 5},
    {"W4 H3 F25:1 Ib A1:1 C444", ormel::YUV444, 4, 3},
    {"W6 H6 F25:1 Ib A1:1 Cmono", ormel::YUV400, 6, 6},
    {"W4 H4 F25:1 Im A1:1 C444", ormel::YUV444, 4, 4},
};

struct RoundTrip : VidstoolDir, testing::WithParamInterface<Layout> {};

ImportOptions Import(const std::string& in, const std::string& out) {
    ImportOptions o;
    o.input = in;
    o.output = out;
    return o;
}

ExportOptions Export(const std::string& in, const std::string& out) {
    ExportOptions o;
    o.input = in;
    o.output = out;
    return o;
}

// Luminance row j of time sample k of sequence name, through VidsFile.
std::vector<unsigned char> SampleRow(ormel::VidsFile& f, int k, ormel::CompType c, int j) {
    ormel::YUVImage img(f);
    EXPECT_EQ(f.Read(img, k), 18);
    const unsigned char* p = img.GetArray(c) + static_cast<size_t>(img.Width(c)) * j;
    return std::vector<unsigned char>(p, p + img.Width(c));
}

std::vector<unsigned char> FrameRow(const Frame& f, int c, int y) {
    const unsigned char* p = f.plane[c].data() + static_cast<size_t>(f.Width(c)) * y;
    return std::vector<unsigned char>(p, p + f.Width(c));
}

}  // namespace

TEST_P(RoundTrip, ExportGivesBackTheImportedStream) {
    const Layout& l = GetParam();
    const std::string original = Y4m(l.params, l.format, l.width, l.height, 3);
    Write("in.y4m", original);
    ASSERT_EQ(RunImport(Import(Path("in.y4m"), Path("seq"))), 0);
    ASSERT_EQ(RunExport(Export(Path("seq"), Path("out.y4m"))), 0);
    const std::string back = Read("out.y4m");
    EXPECT_EQ(back.substr(0, back.find('\n')), original.substr(0, original.find('\n')));
    EXPECT_TRUE(back == original) << "planes differ";
}

INSTANTIATE_TEST_SUITE_P(Layouts, RoundTrip, testing::ValuesIn(kLayouts));

TEST_F(VidstoolDir, InterlacedFramesBecomeFieldsInTheOrderShown) {
    for (const char order : {'t', 'b'}) {
        const std::string params = std::string("W8 H8 F25:1 I") + order + " C420jpeg";
        Write("in.y4m", Y4m(params, ormel::YUV420, 8, 8, 2));
        ASSERT_EQ(RunImport(Import(Path("in.y4m"), Path("seq"))), 0);
        ormel::VidsFile f;
        ASSERT_EQ(f.Open(Path("seq"), ormel::OPEN_OLD), 0);
        EXPECT_TRUE(f.Interlaced());
        EXPECT_EQ(f.NumberOfImages(), 4);   // two fields a frame
        EXPECT_EQ(f.Height(ormel::Y_COMP), 4);
        EXPECT_EQ(f.Height(ormel::U_COMP), 2);
        EXPECT_FLOAT_EQ(f.FrameRate(), 25.0f);   // the record holds the field rate, 50
        // Time sample 2n + i is field i of frame n: the top field first for 't', the
        // bottom one (odd lines, odd chroma rows) first for 'b'.
        for (int k = 0; k < 4; ++k) {
            const Frame frame = Pattern(ormel::YUV420, 8, 8, k / 2);
            const int parity = (k + (order == 'b' ? 1 : 0)) % 2;
            for (int j = 0; j < 4; ++j)
                EXPECT_EQ(SampleRow(f, k, ormel::Y_COMP, j), FrameRow(frame, 0, 2 * j + parity))
                    << order << " sample " << k << " row " << j;
            for (int j = 0; j < 2; ++j)
                EXPECT_EQ(SampleRow(f, k, ormel::V_COMP, j), FrameRow(frame, 2, 2 * j + parity))
                    << order << " sample " << k << " chroma row " << j;
        }
    }
}

TEST_F(VidstoolDir, RawImportTakesItsGeometryFromTheOptions) {
    std::string raw;
    for (int n = 0; n < 3; ++n)
        raw += Planes(Pattern(ormel::YUV422, 6, 4, n));
    Write("in.yuv", raw);
    ImportOptions o = Import(Path("in.yuv"), Path("seq"));
    o.raw = true;
    o.width = 6;
    o.height = 4;
    o.format = ormel::YUV422;
    o.rateGiven = true;
    o.rate = Rational{30000, 1001};
    ASSERT_EQ(RunImport(o), 0);
    {
        ormel::VidsFile f;
        ASSERT_EQ(f.Open(Path("seq"), ormel::OPEN_OLD), 0);
        EXPECT_EQ(f.CFormat(), ormel::YUV422);
        EXPECT_FALSE(f.Interlaced());
        EXPECT_EQ(f.NumberOfImages(), 3);
        EXPECT_NEAR(f.FrameRate(), 29.97, 1e-3);
        // Planes in file order Y, U, V: the third plane of a raw frame is V.
        const Frame last = Pattern(ormel::YUV422, 6, 4, 2);
        EXPECT_EQ(SampleRow(f, 2, ormel::V_COMP, 3), FrameRow(last, 2, 3));
        EXPECT_EQ(SampleRow(f, 2, ormel::U_COMP, 1), FrameRow(last, 1, 1));
    }
    ASSERT_EQ(RunExport(Export(Path("seq"), Path("out.y4m"))), 0);
    EXPECT_EQ(Read("out.y4m"), Y4m("W6 H4 F30000:1001 Ip C422", ormel::YUV422, 6, 4, 3));

    // Luminance only, bottom field first, default rate.
    Write("mono.yuv", Planes(Pattern(ormel::YUV400, 5, 4, 0)) + Planes(Pattern(ormel::YUV400, 5, 4, 1)));
    ImportOptions m = Import(Path("mono.yuv"), Path("mono"));
    m.raw = true;
    m.width = 5;
    m.height = 4;
    m.format = ormel::YUV400;
    m.interlace = 'b';
    ASSERT_EQ(RunImport(m), 0);
    ASSERT_EQ(RunExport(Export(Path("mono"), Path("mono.y4m"))), 0);
    EXPECT_EQ(Read("mono.y4m"), Y4m("W5 H4 F25:1 Ib Cmono", ormel::YUV400, 5, 4, 2));
}

// What gme writes: luminance only, the rate as a float, nothing about the stream it
// came from; of an interlaced input the rate it reports is halved.
TEST_F(VidstoolDir, SequencesOfOtherToolsExportWithADerivedRate) {
    for (const bool interlaced : {false, true}) {
        ormel::VidsFile f;
        f.SetWidth(6);
        f.SetHeight(4);
        f.SetNumberOfImages(4);
        f.SetFrameRate(interlaced ? 25.0f : 29.97f);
        f.SetSamplingMatrices(ormel::YUV400, interlaced);
        ASSERT_EQ(f.Open(Path("gme"), ormel::OPEN_NEW) & 1, 0);
        ormel::YUVImage img(f);
        std::vector<Frame> frames;
        for (int k = 0; k < 4; ++k) {
            const Frame p = Pattern(ormel::YUV400, 6, img.Height(ormel::Y_COMP), k);
            std::copy(p.plane[0].begin(), p.plane[0].end(), img.GetArray(ormel::Y_COMP));
            ASSERT_EQ(f.Write(img, k), 18);
        }
        f.Close();
        ASSERT_EQ(RunExport(Export(Path("gme"), Path("out.y4m"))), 0);
        const std::string out = Read("out.y4m");
        if (!interlaced) {
            EXPECT_EQ(out.substr(0, out.find('\n')), "YUV4MPEG2 W6 H4 F30000:1001 Ip Cmono");
            EXPECT_EQ(out.size(), out.find('\n') + 1 + 4 * (6 + 24));
            continue;
        }
        EXPECT_EQ(out.substr(0, out.find('\n')), "YUV4MPEG2 W6 H4 F25:2 It Cmono");
        ExportOptions o = Export(Path("gme"), Path("fixed.y4m"));
        o.rateGiven = true;
        o.rate = Rational{25, 1};
        o.fieldOrder = 'b';
        ASSERT_EQ(RunExport(o), 0);
        const std::string fixed = Read("fixed.y4m");
        const size_t body = fixed.find('\n') + 1;
        EXPECT_EQ(fixed.substr(0, body), "YUV4MPEG2 W6 H4 F25:1 Ib Cmono\n");
        // Bottom field first: time sample 0 (pattern 0) gives the odd lines of frame 0.
        const Frame first = Pattern(ormel::YUV400, 6, 2, 0);
        EXPECT_EQ(fixed.substr(body + 6 + 6, 6), std::string(first.plane[0].begin(), first.plane[0].begin() + 6));
    }
}

TEST_F(VidstoolDir, AnOddLastFieldIsLeftOut) {
    Write("in.y4m", Y4m("W4 H4 F25:1 It C444", ormel::YUV444, 4, 4, 2));
    ASSERT_EQ(RunImport(Import(Path("in.y4m"), Path("seq"))), 0);
    {
        // Drop the last field by shortening the sequence in its description.
        SequenceDescription d;
        ASSERT_TRUE(d.Load(Path("seq")));
        Img_set_size(d.Record(), 2, 3);
        std::string error;
        ASSERT_TRUE(d.Save(Path("seq"), &error)) << error;
    }
    ASSERT_EQ(RunExport(Export(Path("seq"), Path("out.y4m"))), 0);
    EXPECT_EQ(Read("out.y4m"), Y4m("W4 H4 F25:1 It C444", ormel::YUV444, 4, 4, 1));
}

TEST_F(VidstoolDir, AFailedImportPutsBackTheSequenceItReplaced) {
    Write("good.y4m", Y4m("W4 H2 F25:1 C444", ormel::YUV444, 4, 2, 2));
    ASSERT_EQ(RunImport(Import(Path("good.y4m"), Path("seq"))), 0);
    const std::string des = Read("seq.des"), pic = Read("seq.pic");
    const std::string cut = Y4m("W4 H2 F25:1 C444", ormel::YUV444, 4, 2, 3);
    Write("cut.y4m", cut.substr(0, cut.size() - 1));
    EXPECT_EQ(RunImport(Import(Path("cut.y4m"), Path("seq"))), 1);
    EXPECT_EQ(Read("seq.des"), des);
    EXPECT_EQ(Read("seq.pic"), pic);
    EXPECT_FALSE(Exists("seq.des~"));

    // Nothing to put back: nothing is left.
    EXPECT_EQ(RunImport(Import(Path("cut.y4m"), Path("other"))), 1);
    EXPECT_FALSE(Exists("other.des"));
    EXPECT_FALSE(Exists("other.pic"));
}
