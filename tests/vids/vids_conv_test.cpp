// Sample-type conversion table: scaling, rounding, offsets, clipping and bit packing.
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "vids/vids.h"

namespace {

struct Counts {
    double under = 0, over = 0;
};

// Routine [from][to] over all of src; both pointers must advance past what was used.
template <typename S, typename D>
std::vector<D> Convert(int from, int to, std::vector<S> src, int flags, Counts* c,
                       int scale1 = 1, int scale2 = 1, int nbits_src = 8, int nbits_dst = 8,
                       int order = 0) {
    const size_t n = nbits_src < 8 ? src.size() * 8 / nbits_src : src.size();
    const size_t out = nbits_dst < 8 ? (n * nbits_dst + 7) / 8 : n;
    std::vector<D> dst(out);
    void* d = dst.data();
    void* s = src.data();
    Img_conv_table[from][to](&d, &s, static_cast<int64_t>(n), scale1, scale2, nbits_src,
                             nbits_dst, flags, order, &c->under, &c->over);
    EXPECT_EQ(static_cast<D*>(d), dst.data() + out);
    EXPECT_EQ(static_cast<S*>(s), src.data() + src.size());
    return dst;
}

}  // namespace

TEST(VidsConversion, EveryUnsignedByteSurvivesEveryTypeWithTheOffset) {
    std::vector<uint8_t> all(256);
    for (int i = 0; i < 256; ++i) all[i] = static_cast<uint8_t>(i);
    for (int scale : {1, 4, 256}) {
        Counts c;
        auto b = Convert<uint8_t, int8_t>(IMG_UBYTE, IMG_BYTE, all, 32, &c);
        auto i2 = Convert<int8_t, int16_t>(IMG_BYTE, IMG_INT_2, b, 32, &c, scale, scale);
        auto ui2 = Convert<int16_t, uint16_t>(IMG_INT_2, IMG_UINT_2, i2, 32, &c, scale, scale);
        auto r = Convert<uint16_t, float>(IMG_UINT_2, IMG_REAL, ui2, 32, &c, scale, scale);
        EXPECT_EQ((Convert<float, uint8_t>(IMG_REAL, IMG_UBYTE, r, 32, &c)), all) << scale;
        EXPECT_EQ(c.under + c.over, 0);
        EXPECT_EQ(b[0], -128);
        EXPECT_EQ(i2[255], 127 * scale);
        EXPECT_EQ(ui2[0], 32768 - 128 * scale);
        EXPECT_EQ(r[0], -128.0f);
    }
}

TEST(VidsConversion, ScaleRoundingAndClipping) {
    Counts c;
    // 16 to 8 bits divides in integers first, so rounding cannot change it.
    for (int flags : {0, 16})
        EXPECT_EQ((Convert<int16_t, int8_t>(IMG_INT_2, IMG_BYTE, {-7, 7, 6, -600, 600}, flags, &c,
                                            4, 4)),
                  (std::vector<int8_t>{-1, 1, 1, -128, 127}));
    EXPECT_EQ(c.under, 2);
    EXPECT_EQ(c.over, 2);
    const std::vector<float> r = {2.5f, -2.5f, 2.4f, -0.4f, 126.6f, 1e9f};
    EXPECT_EQ((Convert<float, int8_t>(IMG_REAL, IMG_BYTE, r, 16, &c)),
              (std::vector<int8_t>{3, -3, 2, 0, 127, 127}));
    EXPECT_EQ((Convert<float, int8_t>(IMG_REAL, IMG_BYTE, r, 0, &c)),
              (std::vector<int8_t>{2, -2, 2, 0, 126, 127}));
    // Different factors: times first over second, in single precision.
    EXPECT_EQ((Convert<int16_t, int16_t>(IMG_INT_2, IMG_INT_2, {3, -3, 32767}, 16, &c, 2, 4)),
              (std::vector<int16_t>{2, -2, 16384}));
    EXPECT_EQ((Convert<float, int16_t>(IMG_REAL, IMG_INT_2, {1.5f}, 0, &c, 4, 4)),
              (std::vector<int16_t>{6}));
    EXPECT_EQ((Convert<uint16_t, int16_t>(IMG_UINT_2, IMG_INT_2, {0, 40000}, 0, &c)),
              (std::vector<int16_t>{0, 32767}));
    EXPECT_EQ((Convert<int16_t, int8_t>(IMG_INT_2, IMG_BYTE, {5}, 0, &c, 0, 0)),   // 0 taken as 1
              (std::vector<int8_t>{5}));
}

TEST(VidsConversion, BitPacking) {
    Counts c;
    // 2 bits a sample, the first in the low bits; 4 clips to 3.
    auto packed = Convert<int16_t, uint8_t>(IMG_INT_2, IMG_UBYTE, {0, 1, 2, 3, 4, 1, 0, 0}, 0, &c,
                                            1, 1, 8, 2);
    EXPECT_EQ(packed, (std::vector<uint8_t>{0xE4, 0x07}));
    EXPECT_EQ(c.over, 1);
    EXPECT_EQ((Convert<uint8_t, int16_t>(IMG_UBYTE, IMG_INT_2, packed, 0, &c, 1, 1, 2, 8)),
              (std::vector<int16_t>{0, 1, 2, 3, 3, 1, 0, 0}));
    // With the offset, signed bytes land on 0 .. 255 first: only the upper clip applies.
    Counts d;
    EXPECT_EQ((Convert<int8_t, uint8_t>(IMG_BYTE, IMG_UBYTE, {-128, -120, -113, 0}, 32, &d, 1, 1,
                                        8, 4)),
              (std::vector<uint8_t>{0x80, 0xFF}));
    EXPECT_EQ(d.under + d.over, 1);
}
