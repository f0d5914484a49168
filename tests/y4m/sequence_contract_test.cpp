// The luminance reader and writer that gme uses, held against vidstool: the reader
// delivers the time samples, and describes the sequence, exactly as a VidsFile opened on
// `vidstool import` of the same stream reads them; the writer writes the bytes that
// `vidstool export` writes of the same samples held as a luminance-only sequence, which
// export given no rate or field order writes at a rate derived from its record; an
// imported sequence names the rate and field order that its export writes.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "image/VidsFile.h"
#include "image/YUVImage.h"
#include "tests/y4m/StreamDir.h"
#include "tools/vidstool/Commands.h"
#include "y4m/SequenceReader.h"
#include "y4m/SequenceWriter.h"
#include "y4m/Y4mHeader.h"

namespace {

struct Input {
    const char* name;
    const char* params;   // the header after "YUV4MPEG2 "
    ormel::ChromaFormat format;
    int width, height;
    const char* rate;     // the frame rate to give export
    const char* derived;  // the header export writes of gme's output when given nothing
};

// Odd sizes, every chroma format, both field orders with an odd height (a short second
// field), rates that the description's four decimals do not keep.
const Input kInputs[] = {
    {"Progressive420OddSize", "W7 H5 F30000:1001 Ip A1:1 C420jpeg", ormel::YUV420, 7, 5, "30000:1001",
     "YUV4MPEG2 W7 H5 F30000:1001 Ip Cmono"},
    {"Progressive422", "W6 H4 F25:1 C422 XCOLORRANGE=FULL", ormel::YUV422, 6, 4, "25:1",
     "YUV4MPEG2 W6 H4 F25:1 Ip Cmono"},
    {"Mono", "W9 H6 F24000:1001 Ip Cmono", ormel::YUV400, 9, 6, "24000:1001",
     "YUV4MPEG2 W9 H6 F24000:1001 Ip Cmono"},
    {"TopFirstOddHeight", "W6 H7 F30000:1001 It C420mpeg2", ormel::YUV420, 6, 7, "30000:1001",
     "YUV4MPEG2 W6 H7 F15000:1001 It Cmono"},
    {"BottomFirstOddHeight", "W5 H5 F25:1 Ib A16:15 C422", ormel::YUV422, 5, 5, "25:1",
     "YUV4MPEG2 W5 H5 F25:2 It Cmono"},
    {"MixedReadAsProgressive", "W4 H3 F60000:1001 Im C444", ormel::YUV444, 4, 3, "60000:1001",
     "YUV4MPEG2 W4 H3 F60000:1001 Ip Cmono"},
};

struct Contract : StreamDir, testing::WithParamInterface<Input> {};

}  // namespace

TEST_P(Contract, ReaderAndWriterMatchImportAndExport) {
    const Input& in = GetParam();
    Write("in.y4m", Y4m(in.params, in.format, in.width, in.height, 3));
    vidstool::ImportOptions imp;
    imp.input = Path("in.y4m");
    imp.output = Path("seq");
    ASSERT_EQ(vidstool::RunImport(imp), 0);
    ormel::VidsFile imported;
    ASSERT_EQ(imported.Open(Path("seq"), ormel::OPEN_OLD), 0);

    std::string error;
    std::unique_ptr<y4m::SequenceReader> reader = y4m::SequenceReader::Open(Path("in.y4m"), &error);
    ASSERT_TRUE(reader) << error;
    ASSERT_EQ(reader->Width(), imported.Width(ormel::Y_COMP));
    ASSERT_EQ(reader->SampleHeight(), imported.Height(ormel::Y_COMP));

    // Every time sample, bit for bit, and a clean end after the last.
    const size_t bytes = static_cast<size_t>(reader->Width()) * reader->SampleHeight();
    ormel::YUVImage sample(imported);
    std::vector<std::vector<std::uint8_t>> samples;
    std::vector<std::uint8_t> luma(bytes);
    y4m::LumaResult r;
    while ((r = reader->NextLuma(luma.data(), &error)) == y4m::LumaResult::kSample) {
        ASSERT_EQ(imported.Read(sample, static_cast<int>(samples.size())), 18) << "beyond the end";
        EXPECT_EQ(std::memcmp(luma.data(), sample.GetArray(ormel::Y_COMP), bytes), 0)
            << "time sample " << samples.size();
        samples.push_back(luma);
    }
    ASSERT_EQ(r, y4m::LumaResult::kEnd) << error;
    EXPECT_EQ(static_cast<int>(samples.size()), imported.NumberOfImages());

    // What gme copies from its input: the same values, the frame rate to the bit.
    ormel::VidsFile described;
    reader->Describe(described);
    EXPECT_EQ(described.NumberOfImages(), imported.NumberOfImages());
    EXPECT_EQ(described.Width(), imported.Width());
    EXPECT_EQ(described.Height(), imported.Height());
    const float a = described.FrameRate(), b = imported.FrameRate();
    EXPECT_EQ(std::memcmp(&a, &b, sizeof a), 0) << a << " against " << b;
    EXPECT_EQ(described.Interlaced(), imported.Interlaced());
    EXPECT_EQ(described.CFormat(), imported.CFormat());

    // The stream that the imported sequence exports as: size, rate and field order.
    vidstool::ExportOptions exp;
    exp.input = Path("seq");
    exp.output = Path("plain.y4m");
    ASSERT_EQ(vidstool::RunExport(exp), 0);
    y4m::Y4mHeader h;
    ASSERT_TRUE(y4m::ParseY4mHeader(Read("plain.y4m").substr(0, Read("plain.y4m").find('\n')), &h, &error));
    y4m::LumaStream s;
    ASSERT_TRUE(y4m::LumaStreamOfSequence(Path("seq"), imported, &s, &error)) << error;
    EXPECT_EQ(std::to_string(s.width) + "x" + std::to_string(s.height) + " " + s.rate.ToString() + " " +
                  y4m::InterlaceLetter(s.order),
              std::to_string(h.width) + "x" + std::to_string(h.height) + " " + h.rate.ToString() + " " +
                  (h.interlace == 'm' ? 'p' : h.interlace));

    // gme's output of those samples as a vids sequence, exported with the input's rate
    // and field order, against the writer's stream.
    {
        ormel::VidsFile out;
        out.SetNumberOfImages(imported.NumberOfImages());
        out.SetWidth(imported.Width());
        out.SetHeight(imported.Height());
        out.SetFrameRate(imported.FrameRate());
        out.SetSamplingMatrices(ormel::YUV400, imported.Interlaced());
        ASSERT_EQ(out.Open(Path("gme"), ormel::OPEN_NEW) & 1, 0);
        ormel::YUVImage img(out);
        for (size_t k = 0; k < samples.size(); ++k) {
            std::memcpy(img.GetArray(ormel::Y_COMP), samples[k].data(), bytes);
            ASSERT_EQ(out.Write(img, static_cast<int>(k)), 18);
        }
    }
    // Given nothing, export derives the rate from the record's float (halved again for
    // fields) and writes the top field first.
    exp.input = Path("gme");
    exp.output = Path("derived.y4m");
    ASSERT_EQ(vidstool::RunExport(exp), 0);
    const std::string derived = Read("derived.y4m");
    EXPECT_EQ(derived.substr(0, derived.find('\n')), in.derived);
    exp.output = Path("export.y4m");
    ASSERT_TRUE(y4m::ParseRate(in.rate, &exp.rate));
    exp.rateGiven = true;
    if (reader->Order() != y4m::FieldOrder::kProgressive)
        exp.fieldOrder = y4m::InterlaceLetter(reader->Order());
    ASSERT_EQ(vidstool::RunExport(exp), 0);

    std::unique_ptr<y4m::SequenceWriter> writer =
        y4m::SequenceWriter::Open(Path("written.y4m"), reader->Stream(), &error);
    ASSERT_TRUE(writer) << error;
    for (const std::vector<std::uint8_t>& s : samples)
        ASSERT_TRUE(writer->WriteLuma(s.data(), &error)) << error;
    ASSERT_TRUE(writer->Close(&error)) << error;
    EXPECT_FALSE(writer->LeftOutField());
    const std::string written = Read("written.y4m"), exported = Read("export.y4m");
    EXPECT_EQ(written.substr(0, written.find('\n')), exported.substr(0, exported.find('\n')));
    EXPECT_TRUE(written == exported) << "frames differ";
    EXPECT_EQ(derived.size() - derived.find('\n'), exported.size() - exported.find('\n'));
}

INSTANTIATE_TEST_SUITE_P(Inputs, Contract, testing::ValuesIn(kInputs),
                         [](const testing::TestParamInfo<Input>& i) { return std::string(i.param.name); });
