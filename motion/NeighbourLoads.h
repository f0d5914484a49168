// NeighbourLoads: the bilinear neighbours of eight sampling positions for the AVX-512
// pixel kernels, without gathers when the positions lie close together. When every
// position that takes part lies in the row of lane 0 and 0 to 14 samples to its right,
// as under a motion close to a translation, two 16-byte row loads and byte shuffles give
// the neighbours the kernels would otherwise gather (wherever a position takes part;
// other lanes hold anything). Internal to the pixel kernels; x86-64 only.
#ifndef MOTION_NEIGHBOURLOADS_H
#define MOTION_NEIGHBOURLOADS_H

#if defined(__x86_64__)

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#define GME_NEIGHBOURS_AVX512 \
    __attribute__((target("avx2,avx512f,avx512bw,avx512dq,avx512vl"), always_inline)) inline

namespace motion {

// The immediate of _mm512_reduce_pd that gives v - trunc(v): for v >= 0 the fraction
// v - floor(v), exact and +0 for whole numbers (truncation toward zero, no precision
// exception).
constexpr int kFraction = 0x0b;

// Positions, offsets and samples are 64-bit lanes: converting those to and from doubles
// takes one instruction that stays within its lane.

// The neighbours' position (floor(dx), floor(dy)) of eight positions in *ix, *iy, and the
// lanes among `candidates` whose four neighbours lie in a W x H plane (W, H >= 2), given
// as lastX = W - 2, lastY = H - 2: floor(dx) in [0, W - 2] is 0 <= dx < W - 1. A NaN, an
// infinity or a position beyond 64 bits converts to 2^63, which the unsigned comparison
// puts outside. Inside, the floor is the truncation.
GME_NEIGHBOURS_AVX512 __mmask8 InsideFloor8(__m512d dx, __m512d dy, __m512i lastX,
                                            __m512i lastY, __mmask8 candidates, __m512i* ix,
                                            __m512i* iy) {
    *ix = _mm512_cvt_roundpd_epi64(dx, _MM_FROUND_TO_NEG_INF | _MM_FROUND_NO_EXC);
    *iy = _mm512_cvt_roundpd_epi64(dy, _MM_FROUND_TO_NEG_INF | _MM_FROUND_NO_EXC);
    return candidates & _mm512_cmple_epu64_mask(*ix, lastX) & _mm512_cmple_epu64_mask(*iy, lastY);
}

// Where the lanes `in` (of positions (ix, iy)) lie from lane 0's position (*x0, *y0):
// true with their offsets in *off when lane 0 takes part and every lane that takes part
// shares its row, 0 to 14 samples to its right.
GME_NEIGHBOURS_AVX512 bool NearLaneZero(__m512i ix, __m512i iy, __mmask8 in, __m512i* off,
                                        int* x0, int* y0) {
    if (!(in & 1))
        return false;
    const __m512i ix0 = _mm512_broadcastq_epi64(_mm512_castsi512_si128(ix));
    const __m512i iy0 = _mm512_broadcastq_epi64(_mm512_castsi512_si128(iy));
    *off = _mm512_sub_epi64(ix, ix0);
    const __mmask8 near = _mm512_cmpeq_epi64_mask(iy, iy0) &
                          _mm512_cmplt_epu64_mask(*off, _mm512_set1_epi64(15));
    if (in & ~near)
        return false;
    *x0 = static_cast<int>(_mm_cvtsi128_si64(_mm512_castsi512_si128(ix)));
    *y0 = static_cast<int>(_mm_cvtsi128_si64(_mm512_castsi512_si128(iy)));
    return true;
}

// The sixteen bytes from r in every 128-bit lane; those at or past `end` (one past the
// last sample of the plane) are 0 and not read.
GME_NEIGHBOURS_AVX512 __m512i Row16(const std::uint8_t* r, const std::uint8_t* end) {
    if (end - r >= 16)
        return _mm512_broadcast_i32x4(_mm_loadu_si128(reinterpret_cast<const __m128i*>(r)));
    return _mm512_broadcast_i32x4(_mm_maskz_loadu_epi8(static_cast<__mmask16>((1u << (end - r)) - 1), r));
}

// For an 8-bit plane, rows `stride` apart, ending at `end`: the rows of Row16 from
// (x0, y0) in *b0 and from (x0, y0 + 1) in *b1.
GME_NEIGHBOURS_AVX512 void RowPair16(const std::uint8_t* data, std::ptrdiff_t stride,
                                     const std::uint8_t* end, int x0, int y0, __m512i* b0,
                                     __m512i* b1) {
    const std::uint8_t* r0 = data + y0 * stride + x0;
    *b0 = Row16(r0, end);
    *b1 = Row16(r0 + stride, end);
}

// The byte indices of the lanes' positions in a row loaded from lane 0's for their
// offsets `off` (see NearLaneZero): off, then none (0x80) for the other seven bytes.
GME_NEIGHBOURS_AVX512 __m512i SampleIndex(__m512i off) {
    return _mm512_add_epi64(off, _mm512_set1_epi64(static_cast<long long>(0x8080808080808000ull)));
}

// For lanes near lane 0's position (x0, y0) at offsets `off` (see NearLaneZero), from
// the rows of RowPair16: whether the plane is 0 at all four neighbours of each lane.
GME_NEIGHBOURS_AVX512 __mmask8 RowNeighboursZero8(__m512i b0, __m512i b1, __m512i off) {
    // Byte indices (off, off + 1, none, ...), 0x80 for none; off <= 14.
    const __m512i pair = _mm512_shuffle_epi8(
        _mm512_or_si512(b0, b1),
        _mm512_add_epi64(_mm512_or_si512(off, _mm512_slli_epi64(off, 8)),
                         _mm512_set1_epi64(static_cast<long long>(0x8080808080800100ull))));
    return _mm512_testn_epi64_mask(pair, pair);
}

// As above: the four neighbours of each lane, each zero-extended to 64 bits.
GME_NEIGHBOURS_AVX512 void RowNeighbourSamples8(__m512i b0, __m512i b1, __m512i off, __m512i* p00,
                                                __m512i* p10, __m512i* p01, __m512i* p11) {
    const __m512i at = SampleIndex(off);
    const __m512i right = _mm512_add_epi64(at, _mm512_set1_epi64(1));
    *p00 = _mm512_shuffle_epi8(b0, at);
    *p10 = _mm512_shuffle_epi8(b0, right);
    *p01 = _mm512_shuffle_epi8(b1, at);
    *p11 = _mm512_shuffle_epi8(b1, right);
}

}  // namespace motion

#endif  // __x86_64__

#endif
