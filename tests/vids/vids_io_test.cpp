// Reading and writing time samples: layout, round trips, growth, byte order, clipping,
// bit types, windows and refusals.
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "tests/vids/vids_test_support.h"

namespace {

const int kAll[3] = {1, 1, 1};
const int kY[3] = {1, 0, 0};

std::vector<uint8_t> Pattern(size_t n, uint32_t seed) {
    std::vector<uint8_t> v(n);
    for (auto& x : v) x = static_cast<uint8_t>((seed = seed * 1664525u + 1013904223u) >> 24);
    return v;
}

using VidsTransfer = SequenceTest;

}  // namespace

TEST_F(VidsTransfer, FrameRoundTripAndLayout) {
    Create(r.inf, seq, 720, 576, 2);   // blocks of 414720, 103936, 103936: R = 622592
    auto y = Pattern(720 * 576, 1), u = Pattern(360 * 288, 2), v = Pattern(360 * 288, 3);
    ASSERT_EQ(Writevids(1, kAll, IMG_UBYTE, y.data(), u.data(), v.data(), r.inf, 7), 0);
    Closevids(r.inf, 0);
    const std::string bytes = FileText(seq + ".pic");
    ASSERT_EQ(bytes.size(), 2u * 622592);
    EXPECT_EQ(0, memcmp(bytes.data() + 622592, y.data(), y.size()));
    EXPECT_EQ(0, memcmp(bytes.data() + 622592 + 414720, u.data(), u.size()));
    EXPECT_EQ(0, memcmp(bytes.data() + 622592 + 414720 + 103936, v.data(), v.size()));
    EXPECT_EQ(bytes.substr(622592 + 414720 + 103680, 256), std::string(256, '\0'));   // padding

    ASSERT_EQ(Openvids(seq.c_str(), r.inf, "old", 7), 0);
    std::vector<uint8_t> y2(y.size()), u2(u.size()), v2(v.size());
    ASSERT_EQ(Readvids(1, kAll, IMG_UBYTE, y2.data(), u2.data(), v2.data(), r.inf, 39), 0);
    EXPECT_TRUE(y2 == y && u2 == u && v2 == v);
}

TEST_F(VidsTransfer, OutOfRangeAndGrowth) {
    Create(r.inf, seq, 16, 8, 2);   // R = 1536
    std::vector<uint8_t> y(128, 7), c(32, 9);
    CaptureStderr();
    EXPECT_EQ(Readvids(2, kAll, IMG_UBYTE, y.data(), c.data(), c.data(), r.inf, 7), 1);
    EXPECT_EQ(Writevids(2, kAll, IMG_UBYTE, y.data(), c.data(), c.data(), r.inf, 7), 1);
    ASSERT_EQ(Writevids(2, kAll, IMG_UBYTE, y.data(), c.data(), c.data(), r.inf, 0x1108), 0);
    EXPECT_EQ(GetCapturedStderr(),
              "Readvids: Requested field out of range for file " + seq + "\n" +
                  "Writevids: Requested field out of range (2 > 1) for file " + seq + "\n" +
                  "Updating " + seq + ".des to new temporal size 3\n" +
                  "Expanding .pic file (old size: 3072, new size: 4608)\n");
    EXPECT_EQ(FileSize(seq + ".pic"), 3 * 1536);
    EXPECT_NE(FileText(seq + ".des").find("04 DIMENSIONS : HORIZONTALE =    16, VERTICALE ="
                                          "     8, TEMPORELLE =     3\n"),
              std::string::npos);
    std::fill(y.begin(), y.end(), 0);
    EXPECT_EQ(Readvids(2, kY, IMG_UBYTE, y.data(), nullptr, nullptr, r.inf, 7), 0);
    EXPECT_EQ(y[127], 7);

    // 0x2000 skips the check: the file grows, the temporal size does not.
    EXPECT_EQ(Writevids(4, kY, IMG_UBYTE, y.data(), nullptr, nullptr, r.inf, 0x2007), 0);
    EXPECT_EQ(FileSize(seq + ".pic"), 5 * 1536);
    EXPECT_EQ(Img_get_nb_t(r.inf, 0), 3);
}

TEST_F(VidsTransfer, OtherByteOrderReadsTheSameValues) {
    const int16_t values[4] = {258, -2, -32768, 32767};
    const int other = get_memory_organization() == IMG_ORG_DEC ? IMG_ORG_SUN : IMG_ORG_DEC;
    Create(r.inf, seq, 4, 1, 1, IMG_FDT_ENTIER_2, 1, other);
    int16_t out[4] = {258, -2, -32768, 32767};
    ASSERT_EQ(Writevids(0, kY, IMG_INT_2, out, nullptr, nullptr, r.inf, 7), 0);
    EXPECT_EQ(0, memcmp(out, values, sizeof out));   // the caller's buffer is left alone
    Closevids(r.inf, 0);
    EXPECT_EQ(FileText(seq + ".pic").substr(0, 2), other == IMG_ORG_SUN ? "\x01\x02" : "\x02\x01");

    Record in;   // a fresh record: the byte order comes from the description
    ASSERT_EQ(Openvids(seq.c_str(), in.inf, "old", 7), 0);
    EXPECT_EQ(in.inf->shuffle, 1);
    int16_t back[4] = {};
    ASSERT_EQ(Readvids(0, kY, IMG_INT_2, back, nullptr, nullptr, in.inf, 7), 0);
    EXPECT_EQ(0, memcmp(back, values, sizeof back));
    float real[4];
    ASSERT_EQ(Readvids(0, kY, IMG_REAL, real, nullptr, nullptr, in.inf, 7), 0);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(real[i], values[i]);
}

TEST_F(VidsTransfer, ClipCountsCarryOverComponents) {
    Img_set_sizes(r.inf, 4, 1, 1);
    Img_set_smpl_matrices(r.inf, IMG_FMT_YC_444, 0);
    Img_set_dsigns(r.inf, 0, 1, 0);
    ASSERT_EQ(Openvids(seq.c_str(), r.inf, "new", 7), 2);
    int16_t y[4] = {-5, 300, 100, 255};   // unsigned: one under, one over
    int16_t u[4] = {-200, 0, 1, 2};       // signed: one under
    int16_t v[4] = {1, 2, 3, 4};          // clean, but the counts carry over
    CaptureStderr();
    ASSERT_EQ(Writevids(0, kAll, IMG_INT_2, y, u, v, r.inf, 0), 0);
    for (int quiet : {1, 2, 4}) ASSERT_EQ(Writevids(0, kAll, IMG_INT_2, y, u, v, r.inf, quiet), 0);
    EXPECT_EQ(GetCapturedStderr(),
              "Writevids : field 0 , component 0 : 1 conversion underflow occured.\n"
              "Writevids : field 0 , component 0 : 1 conversion overflow occured.\n"
              "Writevids : field 0 , component 1 : 2 conversion underflow occured.\n"
              "Writevids : field 0 , component 1 : 1 conversion overflow occured.\n"
              "Writevids : field 0 , component 2 : 2 conversion underflow occured.\n"
              "Writevids : field 0 , component 2 : 1 conversion overflow occured.\n");
    uint8_t y8[4];
    ASSERT_EQ(Readvids(0, kY, IMG_UBYTE, y8, nullptr, nullptr, r.inf, 7), 0);
    EXPECT_EQ(std::vector<int>(y8, y8 + 4), (std::vector<int>{0, 255, 100, 255}));
}

TEST_F(VidsTransfer, OffsetBetweenSignedAndUnsignedBytes) {
    Create(r.inf, seq, 4, 1, 1, IMG_FDT_OCTET, 1);   // signed OCTET
    uint8_t in[4] = {0, 127, 128, 255};
    ASSERT_EQ(Writevids(0, kY, IMG_UBYTE, in, nullptr, nullptr, r.inf, 4135), 0);
    EXPECT_EQ(FileText(seq + ".pic").substr(0, 4), std::string("\x80\xff\x00\x7f", 4));
    uint8_t out[4];
    ASSERT_EQ(Readvids(0, kY, IMG_UBYTE, out, nullptr, nullptr, r.inf, 39), 0);
    EXPECT_EQ(0, memcmp(out, in, 4));
    CaptureStderr();   // without the offset negatives clip to 0
    ASSERT_EQ(Readvids(0, kY, IMG_UBYTE, out, nullptr, nullptr, r.inf, 0), 0);
    EXPECT_EQ(GetCapturedStderr(),
              "Readvids : field 0 , component 0 : 2 conversion underflow occured.\n");
    EXPECT_EQ(std::vector<int>(out, out + 4), (std::vector<int>{0, 0, 0, 127}));
}

TEST_F(VidsTransfer, BitFilesPackOnWriteAndUnpackOnRead) {
    Create(r.inf, seq, 104, 3, 1, IMG_FDT_1_BIT);
    EXPECT_EQ(FileSize(seq + ".pic"), 512);   // 39 bytes of samples in one unit
    std::vector<int8_t> bits(312);
    for (size_t i = 0; i < bits.size(); ++i) bits[i] = i % 3 == 0;
    bits[5] = 3;   // clipped to 1
    CaptureStderr();
    ASSERT_EQ(Writevids(0, kY, IMG_BYTE, bits.data(), nullptr, nullptr, r.inf, 0), 0);
    EXPECT_EQ(GetCapturedStderr(),
              "Writevids : field 0 , component 0 : 1 conversion overflow occured.\n");
    const std::string bytes = FileText(seq + ".pic");
    EXPECT_EQ(static_cast<uint8_t>(bytes[0]), 0x69);   // samples 0, 3, 5, 6: low bits first
    bits[5] = 1;
    std::vector<int8_t> back(312);
    ASSERT_EQ(Readvids(0, kY, IMG_BYTE, back.data(), nullptr, nullptr, r.inf, 7), 0);
    EXPECT_EQ(back, bits);
    std::vector<uint8_t> packed(39);   // read as IMG_UBYTE: the packed bytes
    ASSERT_EQ(Readvids(0, kY, IMG_UBYTE, packed.data(), nullptr, nullptr, r.inf, 7), 0);
    EXPECT_EQ(0, memcmp(packed.data(), bytes.data(), 39));
}

TEST_F(VidsTransfer, WindowsReadAndWriteRectangles) {
    Create(r.inf, seq, 32, 16, 1);
    auto y = Pattern(32 * 16, 4), u = Pattern(16 * 8, 5), v = Pattern(16 * 8, 6);
    ASSERT_EQ(Writevids(0, kAll, IMG_UBYTE, y.data(), u.data(), v.data(), r.inf, 7), 0);
    const int width[3] = {5, 0, 3}, height[3] = {4, 0, 2}, hs[3] = {27, 0, 13},
              vs[3] = {12, 0, 6}, use[3] = {1, 0, 1};
    std::vector<uint8_t> wy(20), wv(6);
    ASSERT_EQ(Readwinvids(0, use, IMG_UBYTE, wy.data(), nullptr, wv.data(), r.inf, width, height,
                          hs, vs, 7),
              0);
    for (int k = 0; k < 20; ++k) ASSERT_EQ(wy[k], y[(12 + k / 5) * 32 + 27 + k % 5]) << k;
    for (int k = 0; k < 6; ++k) ASSERT_EQ(wv[k], v[(6 + k / 3) * 16 + 13 + k % 3]) << k;

    std::vector<int16_t> patch(20, 200);   // through a conversion; the rest stays
    ASSERT_EQ(Writewinvids(0, kY, IMG_INT_2, patch.data(), nullptr, nullptr, r.inf, width, height,
                           hs, vs, 7),
              0);
    std::vector<uint8_t> y2(y.size());
    ASSERT_EQ(Readvids(0, kY, IMG_UBYTE, y2.data(), nullptr, nullptr, r.inf, 7), 0);
    for (int k = 0; k < 32 * 16; ++k)
        ASSERT_EQ(y2[k], k % 32 >= 27 && k / 32 >= 12 ? 200 : y[k]) << k;

    const int wide[3] = {6, 0, 0};
    CaptureStderr();
    EXPECT_EQ(Readwinvids(0, kY, IMG_UBYTE, wy.data(), nullptr, nullptr, r.inf, wide, height, hs,
                          vs, 7),
              1);
    EXPECT_EQ(GetCapturedStderr(),
              "Readwinvids: Window of component 0 outside the plane of file " + seq + "\n");
}

TEST_F(VidsTransfer, Refusals) {
    std::vector<uint8_t> y(128), c(32);
    const int use_u[3] = {0, 1, 0};
    CaptureStderr();
    EXPECT_EQ(Readvids(0, kY, IMG_UBYTE, y.data(), nullptr, nullptr, r.inf, 7), 1);
    Create(r.inf, seq, 16, 8, 1, IMG_FDT_OCTET);
    EXPECT_EQ(Readvids(0, kAll, IMG_UBYTE, y.data(), nullptr, c.data(), r.inf, 7), 1);
    EXPECT_EQ(Readvids(0, kY, 5, y.data(), nullptr, nullptr, r.inf, 7), 1);
    EXPECT_EQ(Readvids(0, use_u, IMG_UBYTE, y.data(), c.data(), c.data(), r.inf, 7), 1);
    r.inf->access_flags = 8;
    EXPECT_EQ(Writevids(0, kY, IMG_UBYTE, y.data(), nullptr, nullptr, r.inf, 7), 1);
    EXPECT_EQ(GetCapturedStderr(),
              "Openvids must be called before Readvids for file : \n"
              "Readvids: Component 1 processed but NULL data1 pointer passed (file " + seq + ")\n"
              "Readvids: Requested data_type invalid\n"
              "Readvids: Demand non-existing component; exit\n"
              "Writevids: File " + seq + " is not writeable\n");
    r.inf->buf_size = 0;
    r.inf->access_flags = 12;
    EXPECT_EXIT(Writevids(0, kY, IMG_UBYTE, y.data(), nullptr, nullptr, r.inf, 7),
                ExitedWithCode(1),
                "Writevids: Internal bug file .*, bad fopsize : ask responsible");
}
