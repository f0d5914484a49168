// vidstool's import and export as a library, checked against the sequence files: round
// trips of every supported YUV4MPEG2 layout, raw input, a shortened interlaced sequence
// and a failed import that puts back what it replaced. Which lines of an interlaced frame
// each time sample holds, and the export of gme's luminance-only output, are checked in
// tests/y4m (Fields, Contract).
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "image/VidsFile.h"
#include "image/YUVImage.h"
#include "tools/vidstool/Commands.h"
#include "vids/vids.h"
#include "y4m/SequenceDescription.h"
#include "tests/y4m/StreamDir.h"

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

using ImportExport = StreamDir;
struct RoundTrip : StreamDir, testing::WithParamInterface<Layout> {};

// Options of import or export from in to out, the rest as defaults.
template <typename Options>
Options From(const std::string& in, const std::string& out) {
    Options o;
    o.input = in;
    o.output = out;
    return o;
}
const auto Import = From<ImportOptions>;
const auto Export = From<ExportOptions>;

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

TEST_F(ImportExport, RawImportTakesItsGeometryFromTheOptions) {
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
        ormel::YUVImage img(f);
        ASSERT_EQ(f.Read(img, 2), 18);
        for (ormel::CompType c : {ormel::Y_COMP, ormel::U_COMP, ormel::V_COMP})
            EXPECT_TRUE(std::equal(last.plane[c].begin(), last.plane[c].end(), img.GetArray(c))) << c;
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

TEST_F(ImportExport, AnOddLastFieldIsLeftOut) {
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

TEST_F(ImportExport, AFailedImportPutsBackTheSequenceItReplaced) {
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
