// The y4m pieces that need no files: rates, YUV4MPEG2 headers, the frame readers
// on in-memory streams and the mapping of frames onto time samples.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <vector>

#include "image/VidsFile.h"
#include "image/YUVImage.h"
#include "y4m/FieldLayout.h"
#include "y4m/RawReader.h"
#include "y4m/Rational.h"
#include "y4m/Y4mHeader.h"
#include "y4m/Y4mReader.h"
#include "tests/y4m/StreamDir.h"

using namespace y4m;

TEST(Rate, ParsesRatiosAndDecimalsExactly) {
    const struct { const char* text; long long num, den; } good[] = {
        {"30000:1001", 30000, 1001}, {"30000/1001", 30000, 1001}, {"50:2", 50, 2},
        {"25", 25, 1},               {"29.97", 2997, 100},        {"12.5", 25, 2}};
    for (const auto& g : good) {
        Rational r;
        ASSERT_TRUE(ParseRate(g.text, &r)) << g.text;
        EXPECT_EQ(r.num, g.num) << g.text;
        EXPECT_EQ(r.den, g.den) << g.text;
    }
    for (const char* bad : {"", "0", "0:1", "1:0", "-25", "25fps", "1.", ".5", "2:3:4", "4294967296:1"}) {
        Rational r;
        EXPECT_FALSE(ParseRate(bad, &r)) << bad;
    }
}

TEST(Rate, FloatRatesComeBackAsTheirLikeliestRatio) {
    // As a description file keeps them: four decimals, or halved for interlaced files.
    const struct { double rate; const char* ratio; } cases[] = {
        {29.97, "30000:1001"}, {29.97005, "30000:1001"}, {59.9401, "60000:1001"},
        {23.976, "24000:1001"}, {14.985, "15000:1001"},  {25.0, "25:1"},
        {30.0, "30:1"},         {12.5, "25:2"},          {0.5, "1:2"}, {1.0, "1:1"}};
    for (const auto& c : cases)
        EXPECT_EQ(RationalFromRate(c.rate).ToString(), c.ratio) << c.rate;
}

TEST(Y4mHeaderText, ParsesEveryParameterAndWritesItBack) {
    const std::string line = "YUV4MPEG2 W720 H576 F25:1 Ib A59:54 C420mpeg2 XYSCSS=420MPEG2 XCOLORRANGE=LIMITED";
    Y4mHeader h;
    std::string error;
    ASSERT_TRUE(ParseY4mHeader(line, &h, &error)) << error;
    EXPECT_EQ(h.width, 720);
    EXPECT_EQ(h.height, 576);
    EXPECT_TRUE(h.hasRate);
    EXPECT_EQ(h.rate.ToString(), "25:1");
    EXPECT_EQ(h.interlace, 'b');
    EXPECT_EQ(h.aspect, "59:54");
    EXPECT_EQ(h.format, ormel::YUV420);
    ASSERT_EQ(h.extensions.size(), 2u);
    EXPECT_EQ(FormatY4mHeader(h), line + "\n");

    ASSERT_TRUE(ParseY4mHeader("YUV4MPEG2 W2 H2 F0:0", &h, &error));
    EXPECT_FALSE(h.hasRate);   // 0:0 is "unknown"
    EXPECT_EQ(h.format, ormel::YUV420);   // no C: 420jpeg
}

TEST(Y4mHeaderText, RefusesColourSpacesBeyond8BitYuv) {
    for (const char* c : {"411", "444alpha", "420p10", "422p16", "mono16", "444p12", "420JPEG"}) {
        ormel::ChromaFormat f;
        EXPECT_FALSE(ChromaFromColorspace(c, &f)) << c;
    }
}

TEST(Y4mHeaderText, RefusesMalformedHeaders) {
    const struct { const char* line; const char* error; } bad[] = {
        {"YUV4MPEG W2 H2", "not a YUV4MPEG2 stream"},
        {"YUV4MPEG2W2 H2", "not a YUV4MPEG2 stream"},
        {"YUV4MPEG2 H2 F25:1", "the YUV4MPEG2 header gives no width (W)"},
        {"YUV4MPEG2 W2 F25:1", "the YUV4MPEG2 header gives no height (H)"},
        {"YUV4MPEG2 W0 H2", "bad width 'W0' in the YUV4MPEG2 header (1 to 16384)"},
        {"YUV4MPEG2 W2 H16385", "bad height 'H16385' in the YUV4MPEG2 header (1 to 16384)"},
        {"YUV4MPEG2 W2 H2 F25", "bad frame rate 'F25' in the YUV4MPEG2 header (N:D expected)"},
        {"YUV4MPEG2 W2 H2 Ix", "bad interlacing 'Ix' in the YUV4MPEG2 header (Ip, It, Ib, Im or I?)"},
        {"YUV4MPEG2 W2 H2 A1", "bad pixel aspect 'A1' in the YUV4MPEG2 header (N:D expected)"},
        {"YUV4MPEG2 W2 H2 Q1", "unknown parameter 'Q1' in the YUV4MPEG2 header"},
    };
    for (const auto& b : bad) {
        Y4mHeader h;
        std::string error;
        EXPECT_FALSE(ParseY4mHeader(b.line, &h, &error)) << b.line;
        EXPECT_EQ(error, b.error) << b.line;
    }
}

TEST(Y4mStream, ReportsWhereAStreamBreaks) {
    const std::string good = StreamDir::Y4m("W4 H2 F25:1 Cmono", ormel::YUV400, 4, 2, 2);
    const size_t header = good.find('\n') + 1;
    const struct { std::string bytes; const char* error; } bad[] = {
        {good.substr(0, good.size() - 3), "frame 1 is truncated (5 of 8 bytes)"},
        {good.substr(0, header + 3), "frame 0 is truncated (its FRAME line is incomplete)"},
        {good.substr(0, header + 14) + "FRAMEX\n", "frame 1: a FRAME line was expected"},
        {good.substr(0, header) + "frame\n", "frame 0: a FRAME line was expected"},
    };
    for (const auto& b : bad) {
        std::istringstream in(b.bytes);
        std::string error;
        std::unique_ptr<Y4mReader> r = Y4mReader::Open(in, &error);
        ASSERT_TRUE(r) << error;
        Frame f;
        ReadResult res;
        while ((res = r->Next(f, &error)) == ReadResult::kFrame) {
        }
        EXPECT_EQ(res, ReadResult::kError) << b.error;
        EXPECT_EQ(error, b.error);
    }
    // Found by fuzzing: a header announcing the largest picture made the reader take
    // 805 MB before the first byte of the frame; memory now follows the data.
    std::istringstream huge("YUV4MPEG2 W16384 H16384 F1:1 C444\nFRAME\nxx");
    std::string error;
    std::unique_ptr<Y4mReader> r = Y4mReader::Open(huge, &error);
    ASSERT_TRUE(r) << error;
    Frame f;
    EXPECT_EQ(r->Next(f, &error), ReadResult::kError);
    EXPECT_EQ(error, "frame 0 is truncated (2 of 805306368 bytes)");
    EXPECT_LE(f.plane[0].capacity() + f.plane[1].capacity() + f.plane[2].capacity(), size_t{1} << 20);

    const struct { std::string head; const char* error; } heads[] = {
        {"", "the input is empty"},
        {"YUV4MPEG2 W4 H2", "the YUV4MPEG2 header is truncated"},
        {std::string("\x00\x01rawdata", 9), "not a YUV4MPEG2 stream"}};
    for (const auto& h : heads) {
        std::istringstream in(h.head);
        EXPECT_FALSE(Y4mReader::Open(in, &error)) << h.error;
        EXPECT_EQ(error, h.error);
    }
}

TEST(RawStream, NeedsWholeFramesAndNoSignature) {
    const y4m::Frame a = StreamDir::Pattern(ormel::YUV422, 3, 2, 0);
    std::istringstream in(StreamDir::Planes(a) + "xy");
    RawReader r(in, ormel::YUV422, 3, 2);
    Frame f;
    std::string error;
    ASSERT_EQ(r.Next(f, &error), ReadResult::kFrame);
    EXPECT_EQ(StreamDir::Planes(f), StreamDir::Planes(a));
    EXPECT_EQ(r.Next(f, &error), ReadResult::kError);
    EXPECT_EQ(error, "frame 1 is truncated (2 of 14 bytes): the input is not a whole number of 3x2 4:2:2 frames");

    std::istringstream y4m("YUV4MPEG2 W3 H2 F25:1 C422\nFRAME\n" + StreamDir::Planes(a));
    RawReader wrong(y4m, ormel::YUV422, 3, 2);
    EXPECT_EQ(wrong.Next(f, &error), ReadResult::kError);
    EXPECT_EQ(error, "this is a YUV4MPEG2 stream, not raw video; leave out --size and --format");
}

// Time sample k of a top-field-first sequence holds the lines of parity k % 2, of a
// bottom-field-first one parity (k + 1) % 2, chroma by chroma row; a field of an odd
// number of rows ends with a copy of the frame's last row. Weaving gives the frame back.
TEST(Fields, SplitByParityAndWeaveBack) {
    for (int h : {8, 6, 5, 2, 1}) {
        ormel::VidsFile fields;
        fields.SetWidth(6);
        fields.SetHeight(h);
        fields.SetSamplingMatrices(ormel::YUV420, true);
        for (FieldOrder o : {FieldOrder::kTopFirst, FieldOrder::kBottomFirst}) {
            const Frame frame = StreamDir::Pattern(ormel::YUV420, 6, h, 3);
            Frame woven(ormel::YUV420, 6, h);
            for (int field = 0; field < 2; ++field) {
                ormel::YUVImage sample(fields);   // planes of a time sample, as import makes them
                ASSERT_EQ(sample.Height(ormel::Y_COMP), (h + 1) / 2);
                ASSERT_EQ(sample.Height(ormel::V_COMP), ((h + 1) / 2 + 1) / 2);
                ASSERT_TRUE(FrameToSample(frame, o, field, sample));
                const int parity = (field + (o == FieldOrder::kBottomFirst ? 1 : 0)) % 2;
                for (int c = 0; c < 3; ++c) {
                    const ormel::CompType comp = static_cast<ormel::CompType>(c);
                    for (int j = 0; j < sample.Height(comp); ++j) {
                        const int y = std::min(2 * j + parity, frame.Height(c) - 1);
                        for (int x = 0; x < frame.Width(c); ++x)
                            ASSERT_EQ(sample.GetPixel(comp, x, j),
                                      frame.plane[c][static_cast<size_t>(frame.Width(c)) * y + x])
                                << "h " << h << " field " << field << " plane " << c << " x " << x
                                << " y " << j;
                    }
                }
                ASSERT_TRUE(SampleToFrame(sample, o, field, woven));
            }
            EXPECT_EQ(StreamDir::Planes(woven), StreamDir::Planes(frame)) << "h " << h;
        }
    }
    ormel::YUVImage wrong(ormel::YUV444, 6, 3);
    EXPECT_FALSE(FrameToSample(StreamDir::Pattern(ormel::YUV420, 6, 6, 0), FieldOrder::kTopFirst, 0, wrong));
}
