// Sample-type conversion table: scaling, rounding, offsets, clipping counts, packing and
// byte order.
#include <cstdint>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "vids/vids.h"

namespace {

struct Counts {
    double under = 0, over = 0;
};

// Converts n samples with routine [from][to]; both pointers must advance by what was used.
template <typename S, typename D>
std::vector<D> Convert(int from, int to, std::vector<S> src, int flags, Counts* c,
                       int scale1 = 1, int scale2 = 1, int nbits_src = 8, int nbits_dst = 8,
                       int order = 0, size_t n = 0) {
    if (n == 0) n = src.size();
    std::vector<D> dst(n + 1);
    void* d = dst.data();
    void* s = src.data();
    Img_conv_table[from][to](&d, &s, static_cast<int64_t>(n), scale1, scale2, nbits_src,
                             nbits_dst, flags, order, &c->under, &c->over);
    const size_t used_dst = nbits_dst < 8 ? (n * nbits_dst + 7) / 8 : n;
    const size_t used_src = nbits_src < 8 ? (n * nbits_src + 7) / 8 : n;
    EXPECT_EQ(static_cast<D*>(d), dst.data() + used_dst);
    EXPECT_EQ(static_cast<S*>(s), src.data() + used_src);
    dst.resize(used_dst);
    return dst;
}

}  // namespace

TEST(VidsConversion, TableIsIndexedSourceThenTarget) {
    EXPECT_EQ(Img_conv_table[IMG_BYTE][IMG_INT_2], btoi2);
    EXPECT_EQ(Img_conv_table[IMG_INT_2][IMG_BYTE], i2tob);
    EXPECT_EQ(Img_conv_table[IMG_REAL][IMG_UBYTE], rtoub);
    EXPECT_EQ(Img_conv_table[IMG_UINT_2][IMG_UINT_2], ui2toui2);
}

TEST(VidsConversion, EveryUnsignedByteSurvivesEveryType) {
    std::vector<uint8_t> all(256);
    for (int i = 0; i < 256; ++i) all[i] = static_cast<uint8_t>(i);
    for (int scale : {1, 4, 256}) {
        Counts c;
        auto b = Convert<uint8_t, int8_t>(IMG_UBYTE, IMG_BYTE, all, 32, &c);
        auto i2 = Convert<int8_t, int16_t>(IMG_BYTE, IMG_INT_2, b, 32, &c, scale, scale);
        auto ui2 = Convert<int16_t, uint16_t>(IMG_INT_2, IMG_UINT_2, i2, 32, &c, scale, scale);
        auto r = Convert<uint16_t, float>(IMG_UINT_2, IMG_REAL, ui2, 32, &c, scale, scale);
        auto back = Convert<float, uint8_t>(IMG_REAL, IMG_UBYTE, r, 32, &c);
        EXPECT_EQ(back, all) << "scale " << scale;
        EXPECT_EQ(c.under + c.over, 0);
        EXPECT_EQ(b[0], -128);
        EXPECT_EQ(i2[255], 127 * scale);
        EXPECT_EQ(ui2[0], static_cast<uint16_t>(scale * -128 + 32768));
        EXPECT_EQ(r[0], -128.0f);
    }
}

TEST(VidsConversion, ScaleRoundingAndTruncation) {
    Counts c;
    // 16 to 8 bits divides in integers first: rounding cannot change it.
    const std::vector<int16_t> i2 = {-7, 7, 6, -300, 600};
    EXPECT_EQ((Convert<int16_t, int8_t>(IMG_INT_2, IMG_BYTE, i2, 0, &c, 4, 4)),
              (std::vector<int8_t>{-1, 1, 1, -75, 127}));
    EXPECT_EQ((Convert<int16_t, int8_t>(IMG_INT_2, IMG_BYTE, i2, 16, &c, 4, 4)),
              (std::vector<int8_t>{-1, 1, 1, -75, 127}));
    EXPECT_EQ(c.over, 2);
    // Reals round half away from zero with flag 16, else truncate.
    const std::vector<float> r = {2.5f, -2.5f, 2.4f, -0.4f, 0.0f, 126.6f};
    EXPECT_EQ((Convert<float, int8_t>(IMG_REAL, IMG_BYTE, r, 16, &c)),
              (std::vector<int8_t>{3, -3, 2, 0, 0, 127}));
    EXPECT_EQ((Convert<float, int8_t>(IMG_REAL, IMG_BYTE, r, 0, &c)),
              (std::vector<int8_t>{2, -2, 2, 0, 0, 126}));
    // 16 to 16 bits with different factors: times first over second, in single precision.
    const std::vector<int16_t> odd = {3, -3, 32767};
    EXPECT_EQ((Convert<int16_t, int16_t>(IMG_INT_2, IMG_INT_2, odd, 0, &c, 2, 4)),
              (std::vector<int16_t>{1, -1, 16383}));
    EXPECT_EQ((Convert<int16_t, int16_t>(IMG_INT_2, IMG_INT_2, odd, 16, &c, 2, 4)),
              (std::vector<int16_t>{2, -2, 16384}));
    Counts clip;
    EXPECT_EQ((Convert<int16_t, int16_t>(IMG_INT_2, IMG_INT_2, odd, 0, &clip, 4, 2)),
              (std::vector<int16_t>{6, -6, 32767}));
    EXPECT_EQ(clip.over, 1);
    // Reals against 16-bit samples carry the factor.
    EXPECT_EQ((Convert<float, int16_t>(IMG_REAL, IMG_INT_2, {1.5f}, 0, &c, 4, 4)),
              (std::vector<int16_t>{6}));
    EXPECT_EQ((Convert<int16_t, float>(IMG_INT_2, IMG_REAL, {6}, 0, &c, 4, 4)),
              (std::vector<float>{1.5f}));
    // A zero factor is taken as 1 rather than divided by.
    EXPECT_EQ((Convert<int16_t, int8_t>(IMG_INT_2, IMG_BYTE, {5}, 0, &c, 0, 0)),
              (std::vector<int8_t>{5}));
}

TEST(VidsConversion, ClippingCountsEachEnd) {
    Counts c;
    const std::vector<uint16_t> big = {0, 40000, 65535, 100};
    EXPECT_EQ((Convert<uint16_t, int16_t>(IMG_UINT_2, IMG_INT_2, big, 0, &c)),
              (std::vector<int16_t>{0, 32767, 32767, 100}));
    EXPECT_EQ(c.over, 2);
    EXPECT_EQ((Convert<uint16_t, int16_t>(IMG_UINT_2, IMG_INT_2, big, 32, &c)),
              (std::vector<int16_t>{-32768, 7232, 32767, -32668}));
    const std::vector<float> r = {-1e9f, 1e9f, 70000.0f};
    Counts d;
    EXPECT_EQ((Convert<float, uint16_t>(IMG_REAL, IMG_UINT_2, r, 0, &d)),
              (std::vector<uint16_t>{0, 65535, 65535}));
    EXPECT_EQ(d.under, 1);
    EXPECT_EQ(d.over, 2);
}

TEST(VidsConversion, SignedToUnsignedBytesWritesTheClipBack) {
    Counts c;
    std::vector<int8_t> src = {-3, 4, -128, 127};
    std::vector<uint8_t> dst(4);
    void* d = dst.data();
    void* s = src.data();
    btoub(&d, &s, 4, 1, 1, 8, 8, 0, 0, &c.under, &c.over);
    EXPECT_EQ(dst, (std::vector<uint8_t>{0, 4, 0, 127}));
    EXPECT_EQ(src, (std::vector<int8_t>{0, 4, 0, 127}));
    EXPECT_EQ(c.under, 2);
    src = {-3, 4, -128, 127};
    d = dst.data();
    s = src.data();
    btoub(&d, &s, 4, 1, 1, 8, 8, 32, 0, &c.under, &c.over);   // offset: nothing clipped
    EXPECT_EQ(dst, (std::vector<uint8_t>{125, 132, 0, 255}));
    EXPECT_EQ(src[0], -3);
}

TEST(VidsConversion, BitPacking) {
    Counts c;
    // 2 bits a sample, first sample in the low bits; 4 clips to 3.
    auto packed = Convert<int16_t, uint8_t>(IMG_INT_2, IMG_UBYTE, {0, 1, 2, 3, 4, 1}, 0, &c, 1,
                                            1, 8, 2);
    EXPECT_EQ(packed, (std::vector<uint8_t>{0xE4, 0x07}));
    EXPECT_EQ(c.over, 1);
    auto unpacked = Convert<uint8_t, int16_t>(IMG_UBYTE, IMG_INT_2, {0xE4, 0x07}, 0, &c, 1, 1,
                                              2, 8, 0, 6);
    EXPECT_EQ(unpacked, (std::vector<int16_t>{0, 1, 2, 3, 3, 1}));
    // 4 bits, with the offset from signed bytes: -128 .. 127 becomes 0 .. 255, then 0 .. 15.
    Counts d;
    auto nibbles = Convert<int8_t, uint8_t>(IMG_BYTE, IMG_UBYTE, {-128, -120, -113, 0}, 32, &d,
                                            1, 1, 8, 4);
    EXPECT_EQ(nibbles, (std::vector<uint8_t>{0x80, 0xFF}));
    EXPECT_EQ(d.under, 0);
    EXPECT_EQ(d.over, 1);
}

TEST(VidsConversion, ByteOrderWords) {
    Counts c;
    const std::vector<int16_t> v = {0x0102, -2};
    std::vector<int16_t> swapped = v;
    Shuffle_int2(swapped.data(), 2);
    EXPECT_EQ(swapped[0], 0x0201);
    // 1 swaps the source before converting (in place), 2 the target after.
    std::vector<int16_t> src = swapped;
    EXPECT_EQ((Convert<int16_t, int16_t>(IMG_INT_2, IMG_INT_2, src, 0, &c, 1, 1, 16, 16, 1)), v);
    EXPECT_EQ((Convert<int16_t, int16_t>(IMG_INT_2, IMG_INT_2, v, 0, &c, 1, 1, 16, 16, 2)),
              swapped);
    EXPECT_EQ((Convert<int16_t, float>(IMG_INT_2, IMG_REAL, swapped, 0, &c, 1, 1, 16, 32, 1)),
              (std::vector<float>{258.0f, -2.0f}));

    float f = 1.0f;
    uint32_t bits;
    Shuffle_real(&f, 1);
    memcpy(&bits, &f, 4);
    EXPECT_EQ(bits, 0x0000803Fu);
    auto back = Convert<float, float>(IMG_REAL, IMG_REAL, {f}, 0, &c, 1, 1, 32, 32, 1);
    EXPECT_EQ(back[0], 1.0f);
}
