/* Sample-type conversion: one generic routine over the source and target types, and
 * the 5 x 5 table of its instantiations.
 *
 * Values keep their nominal 8-bit scale: a 16-bit sample is an 8-bit one times the
 * scale factor, a real is not scaled. With flag 32 signed and unsigned samples differ
 * by half the unsigned range (128 or 32768), counted in the unsigned side's units.
 * With flag 16 values are rounded to nearest (0.5 added to a positive, subtracted from
 * a non-positive value), otherwise truncated toward zero; then clipped to the target. */
#include <cmath>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "vids/vids.h"

namespace {

enum Width { k8Bit, k16Bit, kReal };

template <typename T> struct Traits;
template <> struct Traits<int8_t> {
    static constexpr Width kWidth = k8Bit;
    static constexpr bool kSigned = true;
    static constexpr double kLo = -128, kHi = 127, kHalf = 0;
};
template <> struct Traits<uint8_t> {
    static constexpr Width kWidth = k8Bit;
    static constexpr bool kSigned = false;
    static constexpr double kLo = 0, kHi = 255, kHalf = 128;
};
template <> struct Traits<int16_t> {
    static constexpr Width kWidth = k16Bit;
    static constexpr bool kSigned = true;
    static constexpr double kLo = -32768, kHi = 32767, kHalf = 0;
};
template <> struct Traits<uint16_t> {
    static constexpr Width kWidth = k16Bit;
    static constexpr bool kSigned = false;
    static constexpr double kLo = 0, kHi = 65535, kHalf = 32768;
};
template <> struct Traits<float> {
    static constexpr Width kWidth = kReal;
    static constexpr bool kSigned = true;
    static constexpr double kHalf = 0;   /* never clipped: no range */
};

struct Params {
    int scale1, scale2;
    float quotient;   /* scale1 / scale2 in single precision, for 16 -> 16 */
    bool round, offset;
};

template <typename T> void Swap(T* p, int64_t n) {
    if constexpr (sizeof(T) == 2) Shuffle_int2(p, n);
    if constexpr (sizeof(T) == 4) Shuffle_real(p, n);
}

/* Value of a source sample in target units, before rounding and clipping. Integer
 * steps stay exact; steps through a real are done in single precision. */
template <typename S, typename D> double Intermediate(long long x, float f, const Params& q) {
    using TS = Traits<S>;
    using TD = Traits<D>;
    double v;
    if constexpr (TS::kWidth != kReal) {
        if (q.offset && !TS::kSigned && TD::kSigned) x -= static_cast<long long>(TS::kHalf);
        if constexpr (TS::kWidth == k8Bit && TD::kWidth == k16Bit) {
            v = static_cast<double>(x * q.scale1);
        } else if constexpr (TS::kWidth == k16Bit && TD::kWidth == k8Bit) {
            v = static_cast<double>(x / q.scale1);   /* integer division: rounding can't help */
        } else if constexpr (TS::kWidth == k16Bit && TD::kWidth == k16Bit) {
            v = q.scale1 == q.scale2 ? static_cast<double>(x)
                                     : static_cast<double>(static_cast<float>(x) * q.quotient);
        } else if constexpr (TS::kWidth == k16Bit && TD::kWidth == kReal) {
            v = static_cast<double>(static_cast<float>(x) / static_cast<float>(q.scale1));
        } else {
            v = static_cast<double>(x);
        }
    } else {
        if constexpr (TD::kWidth == k16Bit) f = f * static_cast<float>(q.scale1);
        v = static_cast<double>(f);
    }
    if (q.offset && TS::kSigned && !TD::kSigned) v += TD::kHalf;
    return v;
}

/* Rounds or truncates v and clips it to lo..hi, counting the clips. */
long long Clip(double v, double lo, double hi, const Params& q, double* under, double* over) {
    if (q.round) v = v > 0 ? v + 0.5 : v - 0.5;
    double t = std::trunc(v);
    if (t != t) t = 0;   /* NaN */
    if (t < lo) {
        *under += 1;
        t = lo;
    } else if (t > hi) {
        *over += 1;
        t = hi;
    }
    return static_cast<long long>(t);
}

/* Sample i of the source: packed sources hold per_byte samples a byte, first in the
 * least significant bits. */
template <typename S> S Fetch(const S* s, int64_t i, int per_byte, int nbits) {
    if constexpr (std::is_same_v<S, uint8_t>) {
        if (per_byte > 1) {
            const int shift = nbits * static_cast<int>(i % per_byte);
            return static_cast<S>((s[i / per_byte] >> shift) & ((1 << nbits) - 1));
        }
    }
    return s[i];
}

/* The integer value of a sample; reals go through the float argument instead. */
template <typename S> long long AsInteger(S x) {
    if constexpr (std::is_same_v<S, float>)
        return 0;
    else
        return static_cast<long long>(x);
}

template <typename T> int PerByte(int nbits) {
    return std::is_same_v<T, uint8_t> && nbits > 0 && nbits < 8 ? 8 / nbits : 1;
}

template <typename S, typename D>
void ConvertSamples(void** dst, void** src, int64_t n, int scale1, int scale2, int nbits_src,
                    int nbits_dst, int flags, int order, double* under, double* over) {
    S* s = static_cast<S*>(*src);
    D* d = static_cast<D*>(*dst);
    const int src_per = PerByte<S>(nbits_src);
    const int dst_per = PerByte<D>(nbits_dst);
    const int64_t src_items = (n + src_per - 1) / src_per;
    const int64_t dst_items = (n + dst_per - 1) / dst_per;
    Params q;
    q.scale1 = scale1 < 1 ? 1 : scale1;   /* a zero or negative factor would divide by 0 */
    q.scale2 = scale2 < 1 ? 1 : scale2;
    q.quotient = static_cast<float>(q.scale1) / static_cast<float>(q.scale2);
    q.round = (flags & 16) != 0;
    q.offset = (flags & 32) != 0;

    if (order & 1) Swap(s, src_items);
    if (std::is_same_v<S, D> && src_per == 1 && dst_per == 1 &&
        (Traits<S>::kWidth != k16Bit || q.scale1 == q.scale2)) {
        memmove(d, s, static_cast<size_t>(n) * sizeof(S));
    } else if (dst_per > 1) {
        /* Packed target: 0 .. 2^bits - 1, dst_per samples a byte, first in the low bits. */
        const double hi = (1 << nbits_dst) - 1;
        for (int64_t i = 0; i < n; ++i) {
            const S x = Fetch(s, i, src_per, nbits_src);
            const int k = static_cast<int>(i % dst_per);
            const long long v = Clip(Intermediate<S, D>(AsInteger(x), static_cast<float>(x), q), 0,
                                     hi, q, under, over);
            uint8_t* byte = reinterpret_cast<uint8_t*>(d) + i / dst_per;
            if (k == 0) *byte = 0;
            *byte = static_cast<uint8_t>(*byte | (v << (nbits_dst * k)));
        }
    } else {
        for (int64_t i = 0; i < n; ++i) {
            const S x = Fetch(s, i, src_per, nbits_src);
            const double v = Intermediate<S, D>(AsInteger(x), static_cast<float>(x), q);
            if constexpr (std::is_same_v<D, float>) {
                d[i] = static_cast<float>(v);
            } else {
                d[i] = static_cast<D>(Clip(v, Traits<D>::kLo, Traits<D>::kHi, q, under, over));
                /* Signed to unsigned bytes without offset: the clipped 0 goes back too. */
                if constexpr (std::is_same_v<S, int8_t> && std::is_same_v<D, uint8_t>)
                    if (!q.offset && x < 0) s[i] = 0;
            }
        }
    }
    if (order & 2) Swap(d, dst_items);
    *src = reinterpret_cast<unsigned char*>(s) + src_items * static_cast<int64_t>(sizeof(S));
    *dst = reinterpret_cast<unsigned char*>(d) + dst_items * static_cast<int64_t>(sizeof(D));
}

}  // namespace

#define IMG_CONV_DEF(name, S, D)                                                          \
    void name(void** dst, void** src, int64_t n, int scale1, int scale2, int nbits_src,   \
              int nbits_dst, int flags, int order, double* under, double* over) {         \
        ConvertSamples<S, D>(dst, src, n, scale1, scale2, nbits_src, nbits_dst, flags,    \
                             order, under, over);                                         \
    }

IMG_CONV_DEF(btob, int8_t, int8_t)
IMG_CONV_DEF(btoi2, int8_t, int16_t)
IMG_CONV_DEF(btor, int8_t, float)
IMG_CONV_DEF(btoub, int8_t, uint8_t)
IMG_CONV_DEF(btoui2, int8_t, uint16_t)
IMG_CONV_DEF(i2tob, int16_t, int8_t)
IMG_CONV_DEF(i2toi2, int16_t, int16_t)
IMG_CONV_DEF(i2tor, int16_t, float)
IMG_CONV_DEF(i2toub, int16_t, uint8_t)
IMG_CONV_DEF(i2toui2, int16_t, uint16_t)
IMG_CONV_DEF(rtob, float, int8_t)
IMG_CONV_DEF(rtoi2, float, int16_t)
IMG_CONV_DEF(rtor, float, float)
IMG_CONV_DEF(rtoub, float, uint8_t)
IMG_CONV_DEF(rtoui2, float, uint16_t)
IMG_CONV_DEF(ubtob, uint8_t, int8_t)
IMG_CONV_DEF(ubtoi2, uint8_t, int16_t)
IMG_CONV_DEF(ubtor, uint8_t, float)
IMG_CONV_DEF(ubtoub, uint8_t, uint8_t)
IMG_CONV_DEF(ubtoui2, uint8_t, uint16_t)
IMG_CONV_DEF(ui2tob, uint16_t, int8_t)
IMG_CONV_DEF(ui2toi2, uint16_t, int16_t)
IMG_CONV_DEF(ui2tor, uint16_t, float)
IMG_CONV_DEF(ui2toub, uint16_t, uint8_t)
IMG_CONV_DEF(ui2toui2, uint16_t, uint16_t)

#undef IMG_CONV_DEF

const IMG_CONV Img_conv_table[5][5] = {
    {btob, btoi2, btor, btoub, btoui2},
    {i2tob, i2toi2, i2tor, i2toub, i2toui2},
    {rtob, rtoi2, rtor, rtoub, rtoui2},
    {ubtob, ubtoi2, ubtor, ubtoub, ubtoui2},
    {ui2tob, ui2toi2, ui2tor, ui2toub, ui2toui2},
};
