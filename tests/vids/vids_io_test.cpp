// Reading and writing time samples: layout, round trips, growth, byte order, clipping,
// bit types, windows, refusals, failed reads and writes, and the largest frames.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
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

TEST_F(VidsTransfer, ShortDataFileFailsTheReadsThatReachItsEnd) {
    Create(r.inf, seq, 16, 8, 2);   // R = 1536: blocks of 512 bytes, U holds 32 samples
    Closevids(r.inf, 0);
    ASSERT_EQ(truncate((seq + ".pic").c_str(), 1536 + 512 + 10), 0);   // frame 1 ends in U
    ASSERT_EQ(Openvids(seq.c_str(), r.inf, "old", 7), 0);
    std::vector<uint8_t> y(128), c(32);
    std::vector<int16_t> y16(128), c16(32);
    const int use_v[3] = {0, 0, 1}, width[3] = {0, 0, 4}, height[3] = {0, 0, 1}, at[3] = {};
    CaptureStderr();
    EXPECT_EQ(Readvids(0, kAll, IMG_UBYTE, y.data(), c.data(), c.data(), r.inf, 7), 0);
    EXPECT_EQ(Readvids(1, kY, IMG_UBYTE, y.data(), nullptr, nullptr, r.inf, 7), 0);
    EXPECT_EQ(Readvids(1, kAll, IMG_UBYTE, y.data(), c.data(), c.data(), r.inf, 7), 1);
    EXPECT_EQ(Readvids(1, kAll, IMG_INT_2, y16.data(), c16.data(), c16.data(), r.inf, 7), 1);
    EXPECT_EQ(Readwinvids(1, use_v, IMG_UBYTE, y.data(), c.data(), c.data(), r.inf, width, height,
                          at, at, 7),
              1);
    const std::string incomplete = "File " + seq + " too short: field 1, component ";
    EXPECT_EQ(GetCapturedStderr(), "Readvids: " + incomplete + "1 incomplete\n" +
                                       "Readvids: " + incomplete + "1 incomplete\n" +
                                       "Readwinvids: " + incomplete + "2 incomplete\n");
}

TEST_F(VidsTransfer, AWriteThatDoesNotReachTheFileFails) {
    const int64_t R = 38912;   // 176 x 144 4:2:0: Y 25344 samples in 25600, U and V 6336 in 6656
    Create(r.inf, seq, 176, 144, 2);
    std::vector<uint8_t> y(25344, 7), c(6336, 9);
    std::vector<int16_t> y16(25344, 7), c16(6336, 9);
    // Each child may not write beyond limit: in frame 1's samples (straight or converted
    // through io_buf), in its last padding, or in the growth up to a frame 3.
    const struct {
        const char* what;
        int64_t limit;
        int t, flags;
        bool convert;
    } cases[] = {{"samples", R + 1000, 1, 7, false},
                 {"converted samples", R + 1000, 1, 7, true},
                 {"padding", 2 * R - 100, 1, 7, false},
                 {"growth", 3 * R, 3, 0x1007, false}};
    for (const auto& k : cases) {
        EXPECT_EXIT(
            {
                LimitFileSize(k.limit);
                exit(k.convert ? Writevids(k.t, kAll, IMG_INT_2, y16.data(), c16.data(),
                                           c16.data(), r.inf, k.flags)
                               : Writevids(k.t, kAll, IMG_UBYTE, y.data(), c.data(), c.data(),
                                           r.inf, k.flags));
            },
            ExitedWithCode(1), "mywrvids: File too large")
            << k.what;
    }
    // The failed growth left the description of two frames.
    EXPECT_NE(FileText(seq + ".des").find("TEMPORELLE =     2\n"), std::string::npos);

    // A description that cannot be rewritten fails the growing write and keeps the size.
    ASSERT_EQ(unlink((seq + ".des").c_str()), 0);
    ASSERT_EQ(symlink("/dev/full", (seq + ".des").c_str()), 0);
    CaptureStderr();
    EXPECT_EQ(Writevids(2, kAll, IMG_UBYTE, y.data(), c.data(), c.data(), r.inf, 0x1007), 1);
    EXPECT_EQ(GetCapturedStderr(),
              "Writevids: No space left on device\nWritevids: fatal error; put_info \n");
    EXPECT_EQ(Img_get_nb_t(r.inf, 0), 2);

    // Closing reports a data file that the system could not close.
    CaptureStderr();
    close(fileno(r.inf->stream));
    EXPECT_EQ(Closevids(r.inf, 0), 1);
    EXPECT_EQ(GetCapturedStderr(), "Closevids: Bad file descriptor\n");
    EXPECT_EQ(r.inf->stream, nullptr);

    Img_set_size(r.inf, 2, 4);   // creating four frames fails in the growth
    EXPECT_EXIT(
        {
            LimitFileSize(3 * R);
            exit(Openvids(seq.c_str(), r.inf, "new", 7));
        },
        ExitedWithCode(1), "Openvids: fatal error; can't extend file " + seq + ".pic");
}

TEST(VidsLayout, BlocksHoldTheirSamplesAndKeepEverySoundFormerSize) {
    Record r;
    Img_set_comp_names(r.inf, IMG_FMT_MONO);
    Img_set_smpl_matrices(r.inf, IMG_FMT_MONO, 0);
    for (int fdtype = 0; fdtype <= 5; ++fdtype)
        for (int w : {1, 4095, 4096, 4097, 4104, 7680, 8192})
            for (int h : {1, 3, 4097, 4320, 8191}) {
                Img_set_sizes(r.inf, w, h, 1);
                Img_set_fdtype(r.inf, fdtype);
                int64_t blk[3], smpl[3];
                int item, bits;
                cal_physize(r.inf, blk, smpl, &item, &bits);
                const int64_t needed = (static_cast<int64_t>(w) * h * bits + 7) / 8;
                const float units = static_cast<float>(smpl[0]) * bits / 8.0f / 512.0f;
                const int64_t former = static_cast<int64_t>(std::ceil(units)) * 512;
                SCOPED_TRACE(std::to_string(w) + "x" + std::to_string(h) + " type " +
                             std::to_string(fdtype));
                EXPECT_EQ(blk[0] % 512, 0);
                EXPECT_GE(blk[0], needed);
                EXPECT_LT(blk[0] - needed, 512);
                if (former >= needed) {
                    EXPECT_EQ(blk[0], former);   // files keep their layout
                }
            }
}

TEST_F(VidsTransfer, FramesOfAUnitAndOneSampleKeepTheirLastSample) {
    Create(r.inf, seq, 4097, 4097, 2, IMG_FDT_OCTET);   // 16785409 samples, 32785 units
    std::vector<uint8_t> frame(4097 * 4097, 1), back(frame.size());
    ASSERT_EQ(Writevids(0, kY, IMG_UBYTE, frame.data(), nullptr, nullptr, r.inf, 7), 0);
    std::fill(frame.begin(), frame.end(), 2);
    ASSERT_EQ(Writevids(1, kY, IMG_UBYTE, frame.data(), nullptr, nullptr, r.inf, 7), 0);
    EXPECT_EQ(FileSize(seq + ".pic"), 2 * 32785 * 512);
    ASSERT_EQ(Readvids(0, kY, IMG_UBYTE, back.data(), nullptr, nullptr, r.inf, 7), 0);
    EXPECT_EQ(back.back(), 1);
    EXPECT_EQ(std::count(back.begin(), back.end(), 1), static_cast<long>(back.size()));
}

namespace {
// By file type, the item that holds a plane's last sample after the window below wrote
// 115 there (or 1 into every sample of its byte), least significant byte first.
const std::string kLastItem[6] = {"\x73", std::string("\x73\x00", 2),
                                  std::string("\x00\x00\xe6\x42", 4), "\xff", "\x55", "\x11"};
}  // namespace

// Every file type and chroma layout at 7680 x 4320, the last time sample beyond 4 GiB of
// a sparse data file: a window at the far corner of each plane lands where the layout
// puts it and reads back.
TEST_F(VidsTransfer, UltraHdWindowsBeyondFourGiB) {
    for (int fdtype = 0; fdtype <= 5; ++fdtype)
        for (int fmt : {IMG_FMT_MONO, IMG_FMT_YC_420, IMG_FMT_YC_422, IMG_FMT_YC_444}) {
            SCOPED_TRACE("type " + std::to_string(fdtype) + " format " + std::to_string(fmt));
            Record w;
            Img_set_sizes(w.inf, 7680, 4320, 1);
            Img_set_comp_names(w.inf, fmt);
            Img_set_smpl_matrices(w.inf, fmt, 0);
            Img_set_fdtype(w.inf, fdtype);
            Img_set_dsigns(w.inf, 0, 0, 0);
            int64_t blk[3], smpl[3];
            int item, bits;
            cal_physize(w.inf, blk, smpl, &item, &bits);
            const int64_t R = blk[0] + blk[1] + blk[2];
            const int last = static_cast<int>((int64_t{1} << 32) / R) + 1;
            Img_set_size(w.inf, 2, last + 1);
            WriteDescription(w.inf, seq + ".des");
            std::ofstream(seq + ".pic").close();
            ASSERT_EQ(truncate((seq + ".pic").c_str(), (last + 1) * R), 0);
            ASSERT_EQ(Openvids(seq.c_str(), r.inf, "old", 7), 0);
            int64_t block = last * R;
            for (int c = 0; c < 3; block += blk[c], ++c) {
                if (!Img_check_comp_exists(r.inf, c)) continue;
                const int nb_h = Img_get_nb_h(r.inf, c), nb_v = Img_get_nb_v(r.inf, c);
                int use[3] = {}, width[3] = {}, height[3] = {}, hs[3] = {}, vs[3] = {};
                use[c] = 1, width[c] = 8, height[c] = 2, hs[c] = nb_h - 8, vs[c] = nb_v - 2;
                int16_t in[16], out[16];
                for (int k = 0; k < 16; ++k) in[k] = static_cast<int16_t>(bits < 8 ? 1 : 100 + k);
                ASSERT_EQ(Writewinvids(last, use, IMG_INT_2, in, in, in, r.inf, width, height, hs,
                                       vs, 7),
                          0);
                ASSERT_EQ(Readwinvids(last, use, IMG_INT_2, out, out, out, r.inf, width, height,
                                      hs, vs, 7),
                          0);
                EXPECT_EQ(0, memcmp(in, out, sizeof in)) << "component " << c;
                // The file item holding the plane's last sample, read straight from the file.
                const int64_t bit = (static_cast<int64_t>(nb_h) * nb_v - 1) * bits;
                std::string raw(item, '\0');
                const int fd = open((seq + ".pic").c_str(), O_RDONLY);
                ASSERT_EQ(pread(fd, &raw[0], item, block + bit / 8), item);
                ::close(fd);
                EXPECT_EQ(raw, kLastItem[fdtype]) << "component " << c;
            }
            Closevids(r.inf, 0);
        }
}
