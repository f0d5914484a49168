// IncrementSums: the AVX2 and AVX-512 paths.
//
// Both work in two steps. First the per-pixel terms of a group of consecutive pixels of a
// row (4 or 8, one per lane) are computed side by side, each lane exactly the scalar
// operations of the plain path in their order; the group is transposed into one record
// per pixel and stored. Only the pixels that take part and lie between neighbours that
// are not all equal count: four equal neighbours give zero gradients, whose products are
// all +0 or -0, and adding those leaves every sum as it is (a sum that starts at +0 never
// becomes -0). Then the records are added one after the other in summation order: each
// record gives the products d[i] d[j] and d[i] e (d = dedp) in fixed lanes of a few
// vectors (AVX2: the record times each d[i] and e; AVX-512: see AddRecord8), added lane by
// lane into running sums. So each of the 27 sums takes its terms in pixel order, one
// rounding per addition, as the plain loop does; the other lanes carry duplicates that
// are never read.
//
// The threshold form stores the records of a row with the lanes that count and adds them
// at its end (the AVX2 path queues them). The mask form, whose order is column by column,
// works on strips of columns: it stores the records of the strip row by row with the
// lanes that count, then adds column after column.
//
// The four neighbours come from two 32-bit gathers per group: one at (x1, y1) and one at
// (x1, y1 + 1), two bytes early so that it stays inside the plane: P00, P10 are the low
// bytes of the first, P01, P11 the high bytes of the second. The mask form first gathers
// the mask at the same places and drops the pixels with an object among the four. On
// AVX-512, two row loads and byte shuffles replace the gathers when the group's positions
// share a row and span at most 15 samples (motion/NeighbourLoads.h).
#include "estimation/IncrementSumsPaths.h"

#if defined(__x86_64__)

#include <immintrin.h>

#include "motion/NeighbourLoads.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

// GCC 12 reports the intrinsics' own deliberately undefined vectors.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"

#define GME_AVX2 __attribute__((target("avx2")))
#define GME_AVX512 __attribute__((target("avx2,avx512f,avx512bw,avx512dq,avx512vl")))

namespace estimation {
namespace paths {

namespace {

// ---------------------------------------------------------------- AVX-512, 8 lanes

// What Prepare8 needs of a call besides the group: the planes' size, as the largest
// neighbour positions for the inside test (the planes are at least 2 x 2), and where the
// planes end.
struct Frame8 {
    int W, H;
    __m512i lastX, lastY;   // W - 2, H - 2
    const std::uint8_t* previousEnd;
    const std::uint8_t* selectEnd;
};

GME_AVX512 Frame8 MakeFrame8(const Planes& p) {
    const int W = p.current.width;
    const int H = p.current.height;
    return Frame8{W, H, _mm512_set1_epi64(W - 2), _mm512_set1_epi64(H - 2),
                  p.previous.Row(H - 1) + W, p.select.Row(H - 1) + W};
}

// The terms of pixels x .. x + 7 of row y into v[0..7] = dedp[0..5], e, dedp[0] (lanes =
// pixels); xs holds x .. x + 7 as doubles. Returns the lanes that take part among
// `candidates`: inside, mask-free (mask form), and not between four equal neighbours.
GME_AVX512 __attribute__((always_inline)) inline __mmask8 Prepare8(
    const Planes& p, const IncrementScratch& s, const Frame8& f, bool maskForm, int x, int y,
    __mmask8 candidates, __m512d xs, __m512d v[8]) {
    const int W = f.W;
    const __m512d dx = _mm512_add_pd(_mm512_loadu_pd(&s.colX[x]), _mm512_set1_pd(s.rowX[y]));
    const __m512d dy = _mm512_add_pd(_mm512_loadu_pd(&s.colY[x]), _mm512_set1_pd(s.rowY[y]));
    // The neighbours' position and the samples in 64-bit lanes (see NeighbourLoads.h).
    __m512i ix, iy;
    __mmask8 in = motion::InsideFloor8(dx, dy, f.lastX, f.lastY, candidates, &ix, &iy);
    if (!in)
        return 0;
    __m512i p00, p10, p01, p11;
    __m512i off;
    int x0, y0;
    if (motion::NearLaneZero(ix, iy, in, &off, &x0, &y0)) {
        __m512i b0, b1;
        if (maskForm) {
            motion::RowPair16(p.select.data, p.select.stride, f.selectEnd, x0, y0, &b0, &b1);
            in &= motion::RowNeighboursZero8(b0, b1, off);
            if (!in)
                return 0;
        }
        motion::RowPair16(p.previous.data, p.previous.stride, f.previousEnd, x0, y0, &b0, &b1);
        motion::RowNeighbourSamples8(b0, b1, off, &p00, &p10, &p01, &p11);
    } else {
        const __m256i ix32 = _mm512_cvtepi64_epi32(ix);
        const __m256i iy32 = _mm512_cvtepi64_epi32(iy);
        if (maskForm) {
            // The mask at the four neighbours, as the samples below: all four must be 0.
            const int ms = static_cast<int>(p.select.stride);
            const __m256i mat = _mm256_add_epi32(_mm256_mullo_epi32(iy32, _mm256_set1_epi32(ms)), ix32);
            const __m256i m0 = _mm256_mmask_i32gather_epi32(_mm256_setzero_si256(), in, mat, p.select.data, 1);
            in &= _mm256_testn_epi32_mask(m0, _mm256_set1_epi32(0xffff));
            if (!in)
                return 0;
            const __m256i m1 = _mm256_mmask_i32gather_epi32(
                _mm256_setzero_si256(), in, _mm256_add_epi32(mat, _mm256_set1_epi32(ms - 2)),
                p.select.data, 1);
            in &= _mm256_testn_epi32_mask(m1, _mm256_set1_epi32(static_cast<int>(0xffff0000u)));
            if (!in)
                return 0;
        }
        // P00, P10 are the low bytes of a gather at (x1, y1); P01, P11 the high bytes of
        // one two bytes early at (x1, y1 + 1), which stays inside the plane.
        const int stride = static_cast<int>(p.previous.stride);
        const __m256i at = _mm256_add_epi32(_mm256_mullo_epi32(iy32, _mm256_set1_epi32(stride)), ix32);
        const __m256i g0 = _mm256_mmask_i32gather_epi32(_mm256_setzero_si256(), in, at, p.previous.data, 1);
        const __m256i g1 = _mm256_mmask_i32gather_epi32(
            _mm256_setzero_si256(), in, _mm256_add_epi32(at, _mm256_set1_epi32(stride - 2)),
            p.previous.data, 1);
        const __m256i bytes = _mm256_set1_epi32(0xff);
        p00 = _mm512_cvtepu32_epi64(_mm256_and_si256(g0, bytes));
        p10 = _mm512_cvtepu32_epi64(_mm256_and_si256(_mm256_srli_epi32(g0, 8), bytes));
        p01 = _mm512_cvtepu32_epi64(_mm256_and_si256(_mm256_srli_epi32(g1, 16), bytes));
        p11 = _mm512_cvtepu32_epi64(_mm256_srli_epi32(g1, 24));
    }
    // Four equal neighbours give two zero gradients: such a pixel is left out.
    in &= ~(_mm512_cmpeq_epi64_mask(p00, p10) & _mm512_cmpeq_epi64_mask(p00, p01) &
            _mm512_cmpeq_epi64_mask(p00, p11));
    if (!in)
        return 0;
    const __m512d q00 = _mm512_cvtepi64_pd(p00);
    const __m512d q10 = _mm512_cvtepi64_pd(p10);
    const __m512d q01 = _mm512_cvtepi64_pd(p01);
    const __m512d q11 = _mm512_cvtepi64_pd(p11);
    const __mmask8 live = W - x >= 8 ? 0xff : static_cast<__mmask8>((1u << (W - x)) - 1);
    const __m512d cv = _mm512_cvtepi64_pd(
        _mm512_cvtepu8_epi64(_mm_maskz_loadu_epi8(live, p.current.Row(y) + x)));

    const __m512d one = _mm512_set1_pd(1.0);
    const __m512d dk = _mm512_reduce_pd(dx, motion::kFraction);   // dx - x1 inside
    const __m512d dl = _mm512_reduce_pd(dy, motion::kFraction);
    const __m512d omk = _mm512_sub_pd(one, dk);
    const __m512d oml = _mm512_sub_pd(one, dl);
    // bilin = P00 (1 - dk)(1 - dl) + P10 dk (1 - dl) + P01 (1 - dk) dl + P11 dk dl
    __m512d bilin = _mm512_mul_pd(_mm512_mul_pd(q00, omk), oml);
    bilin = _mm512_add_pd(bilin, _mm512_mul_pd(_mm512_mul_pd(q10, dk), oml));
    bilin = _mm512_add_pd(bilin, _mm512_mul_pd(_mm512_mul_pd(q01, omk), dl));
    bilin = _mm512_add_pd(bilin, _mm512_mul_pd(_mm512_mul_pd(q11, dk), dl));
    // The differences of whole samples are exact in double. Lanes that do not take part
    // become 0 (they may hold anything, not a number included).
    const __m512d dIdx = _mm512_maskz_add_pd(in, _mm512_mul_pd(_mm512_sub_pd(q10, q00), oml),
                                             _mm512_mul_pd(_mm512_sub_pd(q11, q01), dl));
    const __m512d dIdy = _mm512_maskz_add_pd(in, _mm512_mul_pd(_mm512_sub_pd(q01, q00), omk),
                                             _mm512_mul_pd(_mm512_sub_pd(q11, q10), dk));
    const __m512d ys = _mm512_set1_pd(y);
    v[0] = dIdx;
    v[1] = _mm512_mul_pd(xs, dIdx);
    v[2] = _mm512_mul_pd(ys, dIdx);
    v[3] = dIdy;
    v[4] = _mm512_mul_pd(xs, dIdy);
    v[5] = _mm512_mul_pd(ys, dIdy);
    v[6] = _mm512_maskz_sub_pd(in, bilin, cv);
    v[7] = dIdx;
    return in;
}

// x .. x + 7 as doubles.
GME_AVX512 inline __m512d Columns8(int x) {
    return _mm512_cvtepi32_pd(
        _mm256_add_epi32(_mm256_set1_epi32(x), _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7)));
}

// Stores the record of pixel l, (v[0][l], ..., v[7][l]), at to[l] (16-byte aligned). The
// pairs (v[2i][l], v[2i + 1][l]) come from one unpacking each and are stored 128 bits at
// a time, which costs no shuffle. For records read back right away (the threshold form):
// the adds' loads take them from these small stores.
GME_AVX512 __attribute__((always_inline)) inline void Transpose8(const __m512d v[8],
                                                                 double* const to[8]) {
#pragma GCC unroll 4
    for (int i = 0; i < 4; ++i) {
        const __m512d even = _mm512_unpacklo_pd(v[2 * i], v[2 * i + 1]);   // pixels 0, 2, 4, 6
        const __m512d odd = _mm512_unpackhi_pd(v[2 * i], v[2 * i + 1]);    // pixels 1, 3, 5, 7
        _mm_store_pd(to[0] + 2 * i, _mm512_castpd512_pd128(even));
        _mm_store_pd(to[1] + 2 * i, _mm512_castpd512_pd128(odd));
        _mm_store_pd(to[2] + 2 * i, _mm512_extractf64x2_pd(even, 1));
        _mm_store_pd(to[3] + 2 * i, _mm512_extractf64x2_pd(odd, 1));
        _mm_store_pd(to[4] + 2 * i, _mm512_extractf64x2_pd(even, 2));
        _mm_store_pd(to[5] + 2 * i, _mm512_extractf64x2_pd(odd, 2));
        _mm_store_pd(to[6] + 2 * i, _mm512_extractf64x2_pd(even, 3));
        _mm_store_pd(to[7] + 2 * i, _mm512_extractf64x2_pd(odd, 3));
    }
}

// The same records, each in one 64-byte store at `row` + 8 l (64-byte aligned): the
// unpacked pairs gathered by two stages of 128-bit lane shuffles, 24 shuffles instead of
// 32 and 8 stores instead of 32. For records read back later (the mask form's strips):
// 5 % faster there, 5 % slower where the adds read the records right after (their
// smaller loads wait for the wide stores).
GME_AVX512 __attribute__((always_inline)) inline void TransposeWide8(const __m512d v[8],
                                                                     double* row) {
    // a[i] holds the pairs i of pixels 0, 2, 4, 6 in its four 128-bit lanes, b[i] those
    // of pixels 1, 3, 5, 7.
    __m512d a[4], b[4];
#pragma GCC unroll 4
    for (int i = 0; i < 4; ++i) {
        a[i] = _mm512_unpacklo_pd(v[2 * i], v[2 * i + 1]);
        b[i] = _mm512_unpackhi_pd(v[2 * i], v[2 * i + 1]);
    }
    // 0x88 takes lanes 0, 2 of each source, 0xdd lanes 1, 3: first the pixels 4 apart of
    // two pairs side by side, then one pixel's four pairs.
    const __m512d a01l = _mm512_shuffle_f64x2(a[0], a[1], 0x88);
    const __m512d a23l = _mm512_shuffle_f64x2(a[2], a[3], 0x88);
    const __m512d a01h = _mm512_shuffle_f64x2(a[0], a[1], 0xdd);
    const __m512d a23h = _mm512_shuffle_f64x2(a[2], a[3], 0xdd);
    const __m512d b01l = _mm512_shuffle_f64x2(b[0], b[1], 0x88);
    const __m512d b23l = _mm512_shuffle_f64x2(b[2], b[3], 0x88);
    const __m512d b01h = _mm512_shuffle_f64x2(b[0], b[1], 0xdd);
    const __m512d b23h = _mm512_shuffle_f64x2(b[2], b[3], 0xdd);
    _mm512_store_pd(row + 0, _mm512_shuffle_f64x2(a01l, a23l, 0x88));
    _mm512_store_pd(row + 8, _mm512_shuffle_f64x2(b01l, b23l, 0x88));
    _mm512_store_pd(row + 16, _mm512_shuffle_f64x2(a01h, a23h, 0x88));
    _mm512_store_pd(row + 24, _mm512_shuffle_f64x2(b01h, b23h, 0x88));
    _mm512_store_pd(row + 32, _mm512_shuffle_f64x2(a01l, a23l, 0xdd));
    _mm512_store_pd(row + 40, _mm512_shuffle_f64x2(b01l, b23l, 0xdd));
    _mm512_store_pd(row + 48, _mm512_shuffle_f64x2(a01h, a23h, 0xdd));
    _mm512_store_pd(row + 56, _mm512_shuffle_f64x2(b01h, b23h, 0xdd));
}

// The AVX-512 record of a pixel is r = (d0, d1, d2, d3, d4, d5, e, d0), d = dedp. Five
// products of r with parts of itself repeated, (d0 d1 d2 d3 d0 d1 d2 d3), (d4 d5 d4 d5
// ...), (d1 d2 d1 d2 ...), (d3 d4 d5 e d3 d4 d5 e) and (d2 d3 d4 d5 d2 d3 d4 d5), hold
// every product of M and b in some lane (kSumLanes); the five running sums add them up
// lane by lane. Each product is the plain path's, d[i] d[j] or d[i] e, in either order.
struct Sums8 {
    __m512d s[5];
};

GME_AVX512 __attribute__((always_inline)) inline void AddRecord8(const double* r, __m512d& s0,
                                                                 __m512d& s1, __m512d& s2,
                                                                 __m512d& s3, __m512d& s4) {
    const __m512d d = _mm512_load_pd(r);
    s0 = _mm512_add_pd(s0, _mm512_mul_pd(d, _mm512_broadcast_f64x4(_mm256_loadu_pd(r))));
    s1 = _mm512_add_pd(s1, _mm512_mul_pd(d, _mm512_broadcast_f64x2(_mm_loadu_pd(r + 4))));
    s2 = _mm512_add_pd(s2, _mm512_mul_pd(d, _mm512_broadcast_f64x2(_mm_loadu_pd(r + 1))));
    s3 = _mm512_add_pd(s3, _mm512_mul_pd(d, _mm512_broadcast_f64x4(_mm256_loadu_pd(r + 3))));
    s4 = _mm512_add_pd(s4, _mm512_mul_pd(d, _mm512_broadcast_f64x4(_mm256_loadu_pd(r + 2))));
}

// Adds the records of one column of a strip in row order: the record of row y at
// column + 64 y, taking part where takes[y] has `bit` set; takes holds `rows` entries,
// a multiple of 64.
GME_AVX512 inline void AddColumn8(const double* column, const std::uint8_t* takes, int rows,
                                  std::uint8_t bit, Sums8& sums) {
    __m512d s0 = sums.s[0], s1 = sums.s[1], s2 = sums.s[2], s3 = sums.s[3], s4 = sums.s[4];
    const __m512i select = _mm512_set1_epi8(static_cast<char>(bit));
    for (int y0 = 0; y0 < rows; y0 += 64) {
        std::uint64_t rest = _mm512_test_epi8_mask(_mm512_loadu_si512(takes + y0), select);
        while (rest) {
            const int y = y0 + __builtin_ctzll(rest);
            rest &= rest - 1;
            AddRecord8(column + 64 * static_cast<std::ptrdiff_t>(y), s0, s1, s2, s3, s4);
        }
    }
    sums.s[0] = s0, sums.s[1] = s1, sums.s[2] = s2, sums.s[3] = s3, sums.s[4] = s4;
}

// Where each sum of M (lower triangle, column j <= row i) and b (j = -1) is: running
// sum, lane.
struct SumLane {
    int sum, lane, i, j;
};
constexpr SumLane kSumLanes[27] = {
    {0, 0, 0, 0}, {0, 1, 1, 1}, {0, 2, 2, 2}, {0, 3, 3, 3}, {0, 4, 4, 0}, {0, 5, 5, 1},
    {0, 6, 2, -1}, {0, 7, 3, 0},
    {1, 2, 4, 2}, {1, 3, 5, 3}, {1, 4, 4, 4}, {1, 5, 5, 5}, {1, 6, 4, -1}, {1, 7, 5, 0},
    {2, 0, 1, 0}, {2, 1, 2, 1}, {2, 3, 3, 2}, {2, 4, 4, 1}, {2, 5, 5, 2}, {2, 6, 1, -1},
    {2, 7, 2, 0},
    {3, 3, 3, -1}, {3, 4, 4, 3}, {3, 5, 5, 4}, {3, 6, 5, -1}, {3, 7, 0, -1},
    {4, 1, 3, 1}};

// The 27 sums from the lanes of the running sums (`width` lanes each) as `table` places
// them.
void FromLanes(const double* lanes, int width, const SumLane (&table)[27], NormalEquations* out) {
    for (const SumLane& l : table) {
        const double v = lanes[l.sum * width + l.lane];
        if (l.j < 0)
            out->b[l.i] = v;
        else
            out->M[l.i * 6 + l.j] = v;
    }
}

GME_AVX512 void Store8(const Sums8& sums, NormalEquations* out) {
    alignas(64) double lanes[5][8];
    for (int k = 0; k < 5; ++k)
        _mm512_store_pd(lanes[k], sums.s[k]);
    FromLanes(&lanes[0][0], 8, kSumLanes, out);
}

// ---------------------------------------------------------------- AVX2, 4 lanes

// Up to four bytes of a row from x on, zeros past its end.
inline int Bytes4(const std::uint8_t* row, int x, int W) {
    int v = 0;
    std::memcpy(&v, row + x, static_cast<std::size_t>(W - x >= 4 ? 4 : W - x));
    return v;
}

// As Prepare8 for pixels x .. x + 3, the record in the AVX2 order (see Add4); `candidates`
// holds one all-ones 32-bit lane per candidate pixel. Returns the bits of the lanes that
// take part.
GME_AVX2 __attribute__((always_inline)) inline int Prepare4(const Planes& p,
                                                            const IncrementScratch& s,
                                                            bool maskForm, int x, int y,
                                                            __m128i candidates, __m256d v[8]) {
    const int W = p.current.width;
    const int H = p.current.height;
    const __m256d zero = _mm256_setzero_pd();
    const __m256d dx = _mm256_add_pd(_mm256_loadu_pd(&s.colX[x]), _mm256_set1_pd(s.rowX[y]));
    const __m256d dy = _mm256_add_pd(_mm256_loadu_pd(&s.colY[x]), _mm256_set1_pd(s.rowY[y]));
    const __m256d in64 = _mm256_and_pd(
        _mm256_and_pd(_mm256_cmp_pd(dx, zero, _CMP_GE_OQ),
                      _mm256_cmp_pd(dx, _mm256_set1_pd(W - 1), _CMP_LT_OQ)),
        _mm256_and_pd(_mm256_cmp_pd(dy, zero, _CMP_GE_OQ),
                      _mm256_cmp_pd(dy, _mm256_set1_pd(H - 1), _CMP_LT_OQ)));
    __m128i in = _mm_and_si128(
        candidates, _mm256_castsi256_si128(_mm256_permutevar8x32_epi32(
                        _mm256_castpd_si256(in64), _mm256_setr_epi32(0, 2, 4, 6, 0, 2, 4, 6))));
    if (_mm_testz_si128(in, in))
        return 0;
    const __m128i ix = _mm256_cvttpd_epi32(dx);
    const __m128i iy = _mm256_cvttpd_epi32(dy);
    const __m128i bytes = _mm_set1_epi32(0xff);
    __m128i p00, p10, p01, p11;
    if (maskForm) {
        // The mask at the four neighbours, as the samples below: all four must be 0.
        const int* mbase = reinterpret_cast<const int*>(p.select.data);
        const int ms = static_cast<int>(p.select.stride);
        const __m128i mat = _mm_add_epi32(_mm_mullo_epi32(iy, _mm_set1_epi32(ms)), ix);
        const __m128i m0 = _mm_mask_i32gather_epi32(_mm_setzero_si128(), mbase, mat, in, 1);
        in = _mm_and_si128(in, _mm_cmpeq_epi32(_mm_and_si128(m0, _mm_set1_epi32(0xffff)),
                                               _mm_setzero_si128()));
        if (_mm_testz_si128(in, in))
            return 0;
        const __m128i m1 = _mm_mask_i32gather_epi32(
            _mm_setzero_si128(), mbase, _mm_add_epi32(mat, _mm_set1_epi32(ms - 2)), in, 1);
        in = _mm_and_si128(in, _mm_cmpeq_epi32(_mm_srli_epi32(m1, 16), _mm_setzero_si128()));
        if (_mm_testz_si128(in, in))
            return 0;
    }
    {
        const int* base = reinterpret_cast<const int*>(p.previous.data);
        const int stride = static_cast<int>(p.previous.stride);
        const __m128i at = _mm_add_epi32(_mm_mullo_epi32(iy, _mm_set1_epi32(stride)), ix);
        const __m128i g0 = _mm_mask_i32gather_epi32(_mm_setzero_si128(), base, at, in, 1);
        const __m128i g1 = _mm_mask_i32gather_epi32(
            _mm_setzero_si128(), base, _mm_add_epi32(at, _mm_set1_epi32(stride - 2)), in, 1);
        p00 = _mm_and_si128(g0, bytes);
        p10 = _mm_and_si128(_mm_srli_epi32(g0, 8), bytes);
        p01 = _mm_and_si128(_mm_srli_epi32(g1, 16), bytes);
        p11 = _mm_srli_epi32(g1, 24);
    }
    // Four equal neighbours give two zero gradients: such a pixel is not queued.
    in = _mm_andnot_si128(_mm_and_si128(_mm_and_si128(_mm_cmpeq_epi32(p00, p10), _mm_cmpeq_epi32(p00, p01)),
                                        _mm_cmpeq_epi32(p00, p11)),
                          in);
    if (_mm_testz_si128(in, in))
        return 0;
    const __m256d q00 = _mm256_cvtepi32_pd(p00);
    const __m256d q10 = _mm256_cvtepi32_pd(p10);
    const __m256d q01 = _mm256_cvtepi32_pd(p01);
    const __m256d q11 = _mm256_cvtepi32_pd(p11);
    const __m256d cv = _mm256_cvtepi32_pd(
        _mm_cvtepu8_epi32(_mm_cvtsi32_si128(Bytes4(p.current.Row(y), x, W))));

    const __m256d one = _mm256_set1_pd(1.0);
    const __m256d dk = _mm256_sub_pd(dx, _mm256_cvtepi32_pd(ix));
    const __m256d dl = _mm256_sub_pd(dy, _mm256_cvtepi32_pd(iy));
    const __m256d omk = _mm256_sub_pd(one, dk);
    const __m256d oml = _mm256_sub_pd(one, dl);
    __m256d bilin = _mm256_mul_pd(_mm256_mul_pd(q00, omk), oml);
    bilin = _mm256_add_pd(bilin, _mm256_mul_pd(_mm256_mul_pd(q10, dk), oml));
    bilin = _mm256_add_pd(bilin, _mm256_mul_pd(_mm256_mul_pd(q01, omk), dl));
    bilin = _mm256_add_pd(bilin, _mm256_mul_pd(_mm256_mul_pd(q11, dk), dl));
    // Lanes that do not take part become 0 (they may hold anything).
    const __m256d take = _mm256_castsi256_pd(_mm256_cvtepi32_epi64(in));
    const __m256d dIdx = _mm256_and_pd(take, _mm256_add_pd(_mm256_mul_pd(_mm256_sub_pd(q10, q00), oml),
                                                           _mm256_mul_pd(_mm256_sub_pd(q11, q01), dl)));
    const __m256d dIdy = _mm256_and_pd(take, _mm256_add_pd(_mm256_mul_pd(_mm256_sub_pd(q01, q00), omk),
                                                           _mm256_mul_pd(_mm256_sub_pd(q11, q10), dk)));
    const __m256d xs = _mm256_cvtepi32_pd(_mm_add_epi32(_mm_set1_epi32(x), _mm_setr_epi32(0, 1, 2, 3)));
    const __m256d ys = _mm256_set1_pd(y);
    // The record (d0, d1, d2, d3, e, d4, d5, d0): see Add4.
    v[0] = dIdx;
    v[1] = _mm256_mul_pd(xs, dIdx);
    v[2] = _mm256_mul_pd(ys, dIdx);
    v[3] = dIdy;
    v[4] = _mm256_and_pd(take, _mm256_sub_pd(bilin, cv));
    v[5] = _mm256_mul_pd(xs, dIdy);
    v[6] = _mm256_mul_pd(ys, dIdy);
    v[7] = dIdx;
    return _mm_movemask_ps(_mm_castsi128_ps(in));
}

// Stores the record of pixel l, (v[0][l], ..., v[7][l]), at to[l] (16-byte aligned), the
// pairs 128 bits at a time as Transpose8 does.
GME_AVX2 __attribute__((always_inline)) inline void Transpose4(const __m256d v[8],
                                                               double* const to[4]) {
#pragma GCC unroll 4
    for (int i = 0; i < 4; ++i) {
        const __m256d even = _mm256_unpacklo_pd(v[2 * i], v[2 * i + 1]);   // pixels 0, 2
        const __m256d odd = _mm256_unpackhi_pd(v[2 * i], v[2 * i + 1]);    // pixels 1, 3
        _mm_store_pd(to[0] + 2 * i, _mm256_castpd256_pd128(even));
        _mm_store_pd(to[1] + 2 * i, _mm256_castpd256_pd128(odd));
        _mm_store_pd(to[2] + 2 * i, _mm256_extractf128_pd(even, 1));
        _mm_store_pd(to[3] + 2 * i, _mm256_extractf128_pd(odd, 1));
    }
}

// The AVX2 record of a pixel is r = (d0, d1, d2, d3, e, d4, d5, d0), d = dedp. Seven
// products of four of its lanes with four others (kSumLanes4) hold every product of M
// and b; seven running sums add them up lane by lane, as AddRecord8 does.
struct Sums4 {
    __m256d s[7];
};

GME_AVX2 inline void Add4(const double* records, std::size_t n, Sums4& sums) {
    __m256d s0 = sums.s[0], s1 = sums.s[1], s2 = sums.s[2], s3 = sums.s[3], s4 = sums.s[4],
            s5 = sums.s[5], s6 = sums.s[6];
    for (const double* r = records; r < records + 8 * static_cast<std::ptrdiff_t>(n); r += 8) {
        const __m256d f0 = _mm256_load_pd(r);          // d0 d1 d2 d3
        const __m256d f1 = _mm256_loadu_pd(r + 1);     // d1 d2 d3 e
        const __m256d f2 = _mm256_loadu_pd(r + 2);     // d2 d3 e d4
        const __m256d f3 = _mm256_loadu_pd(r + 3);     // d3 e d4 d5
        const __m256d f4 = _mm256_load_pd(r + 4);      // e d4 d5 d0
        const __m256d p1 = _mm256_broadcast_pd(reinterpret_cast<const __m128d*>(r + 1));   // d1 d2 d1 d2
        const __m256d p5 = _mm256_broadcast_pd(reinterpret_cast<const __m128d*>(r + 5));   // d4 d5 d4 d5
        s0 = _mm256_add_pd(s0, _mm256_mul_pd(f3, p5));
        s1 = _mm256_add_pd(s1, _mm256_mul_pd(f0, f0));
        s2 = _mm256_add_pd(s2, _mm256_mul_pd(f0, p5));
        s3 = _mm256_add_pd(s3, _mm256_mul_pd(f3, f4));
        s4 = _mm256_add_pd(s4, _mm256_mul_pd(f3, p1));
        s5 = _mm256_add_pd(s5, _mm256_mul_pd(f2, p1));
        s6 = _mm256_add_pd(s6, _mm256_mul_pd(f1, _mm256_set1_pd(r[0])));
    }
    sums.s[0] = s0, sums.s[1] = s1, sums.s[2] = s2, sums.s[3] = s3, sums.s[4] = s4;
    sums.s[5] = s5, sums.s[6] = s6;
}

// Where each sum of M (lower triangle, column j <= row i) and b (j = -1) is: running
// sum, lane.
constexpr SumLane kSumLanes4[27] = {
    {0, 0, 4, 3}, {0, 1, 5, -1}, {0, 2, 4, 4}, {0, 3, 5, 5},
    {1, 0, 0, 0}, {1, 1, 1, 1}, {1, 2, 2, 2}, {1, 3, 3, 3},
    {2, 0, 4, 0}, {2, 1, 5, 1}, {2, 2, 4, 2}, {2, 3, 5, 3},
    {3, 0, 3, -1}, {3, 1, 4, -1}, {3, 2, 5, 4}, {3, 3, 5, 0},
    {4, 0, 3, 1}, {4, 1, 2, -1}, {4, 2, 4, 1}, {4, 3, 5, 2},
    {5, 0, 2, 1}, {5, 1, 3, 2}, {5, 2, 1, -1},
    {6, 0, 1, 0}, {6, 1, 2, 0}, {6, 2, 3, 0}, {6, 3, 0, -1}};

GME_AVX2 void Store4(const Sums4& sums, NormalEquations* out) {
    alignas(32) double lanes[7][4];
    for (int k = 0; k < 7; ++k)
        _mm256_store_pd(lanes[k], sums.s[k]);
    FromLanes(&lanes[0][0], 4, kSumLanes4, out);
}

// Candidate lanes x .. x + 3: those inside the row.
GME_AVX2 inline __m128i Live4(int x, int W) {
    return _mm_cmpgt_epi32(_mm_set1_epi32(W - x), _mm_setr_epi32(0, 1, 2, 3));
}

}  // namespace

// ---------------------------------------------------------------- the four paths

GME_AVX512 void MaskFormAvx512(const Planes& p, IncrementScratch& s, NormalEquations* out) {
    const Frame8 f = MakeFrame8(p);
    const int W = f.W;
    const int H = f.H;
    if (W < 2 || H < 2)
        return;   // no position has its four neighbours inside
    // Eight columns at a time, row by row: the records of row y at records + 64 y, lane l
    // at + 8 l, and the lanes that take part in takes[y]; then the columns one after the
    // other, each in row order.
    double* records = s.Records(8 * static_cast<std::size_t>(H));
    const int rows = (H + 63) / 64 * 64;
    s.takes.resize(static_cast<std::size_t>(rows));
    std::uint8_t* takes = s.takes.data();
    std::memset(takes + H, 0, static_cast<std::size_t>(rows - H));
    Sums8 sums = {};
    for (int x = 0; x < W; x += 8) {
        const __mmask8 live = W - x >= 8 ? 0xff : static_cast<__mmask8>((1u << (W - x)) - 1);
        const __m512d xs = Columns8(x);
        for (int y = 0; y < H; ++y) {
            __m512d v[8];
            const __mmask8 take = Prepare8(p, s, f, true, x, y, live, xs, v);
            takes[y] = take;
            if (!take)
                continue;
            TransposeWide8(v, records + 64 * static_cast<std::ptrdiff_t>(y));
        }
        for (int l = 0; l < 8 && l < W - x; ++l)
            AddColumn8(records + 8 * l, takes, rows, static_cast<std::uint8_t>(1u << l), sums);
    }
    Store8(sums, out);
}

GME_AVX512 void ThresholdFormAvx512(const Planes& p, IncrementScratch& s, NormalEquations* out) {
    const Frame8 f = MakeFrame8(p);
    const int W = f.W;
    const int H = f.H;
    if (W < 2 || H < 2)
        return;   // no position has its four neighbours inside
    // Row by row: the record of pixel x at records + 8 x and the lanes of group g that
    // take part in takes[g]; then the row's records in order, 64 at a time from the bits
    // of eight groups' takes.
    const int words = (W + 63) / 64;
    double* records = s.Records(64 * static_cast<std::size_t>(words));
    s.takes.assign(8 * static_cast<std::size_t>(words), 0);
    std::uint8_t* takes = s.takes.data();
    __m512d s0 = _mm512_setzero_pd(), s1 = s0, s2 = s0, s3 = s0, s4 = s0;
    for (int y = 0; y < H; ++y) {
        const std::uint8_t* use = p.select.Row(y);
        for (int x = 0; x < W; x += 8) {
            const __mmask8 live = W - x >= 8 ? 0xff : static_cast<__mmask8>((1u << (W - x)) - 1);
            const __m128i u = _mm_maskz_loadu_epi8(live, use + x);
            const __mmask8 candidates = static_cast<__mmask8>(_mm_test_epi8_mask(u, u));
            __m512d v[8];
            const __mmask8 take = candidates ? Prepare8(p, s, f, false, x, y, candidates, Columns8(x), v) : 0;
            takes[x / 8] = take;
            if (!take)
                continue;
            double* const group = records + 8 * static_cast<std::ptrdiff_t>(x);
            double* const to[8] = {group, group + 8, group + 16, group + 24, group + 32, group + 40, group + 48, group + 56};
            Transpose8(v, to);
        }
        for (int w = 0; w < words; ++w) {
            std::uint64_t rest;
            std::memcpy(&rest, takes + 8 * w, sizeof rest);
            while (rest) {
                const int i = 64 * w + __builtin_ctzll(rest);
                rest &= rest - 1;
                AddRecord8(records + 8 * static_cast<std::ptrdiff_t>(i), s0, s1, s2, s3, s4);
            }
        }
    }
    Store8(Sums8{{s0, s1, s2, s3, s4}}, out);
}

GME_AVX2 void MaskFormAvx2(const Planes& p, IncrementScratch& s, NormalEquations* out) {
    const int W = p.current.width;
    const int H = p.current.height;
    double* records = s.Records(4 * static_cast<std::size_t>(H));
    Sums4 sums = {};
    // As the AVX-512 path, four columns at a time.
    const std::size_t column = 8 * static_cast<std::size_t>(H);
    for (int x = 0; x < W; x += 4) {
        const __m128i live = Live4(x, W);
        std::size_t n[4] = {};
        for (int y = 0; y < H; ++y) {
            __m256d v[8];
            const int take = Prepare4(p, s, true, x, y, live, v);
            if (!take)
                continue;
            double* const to[4] = {records + 8 * n[0], records + column + 8 * n[1],
                                   records + 2 * column + 8 * n[2], records + 3 * column + 8 * n[3]};
            Transpose4(v, to);
            for (int l = 0; l < 4; ++l)
                n[l] += (take >> l) & 1;
        }
        for (int l = 0; l < 4 && l < W - x; ++l)
            Add4(records + l * column, n[l], sums);
    }
    Store4(sums, out);
}

GME_AVX2 void ThresholdFormAvx2(const Planes& p, IncrementScratch& s, NormalEquations* out) {
    const int W = p.current.width;
    const int H = p.current.height;
    double* records = s.Records(static_cast<std::size_t>(W) + 4);
    Sums4 sums = {};
    for (int y = 0; y < H; ++y) {
        const std::uint8_t* use = p.select.Row(y);
        std::size_t n = 0;
        for (int x = 0; x < W; x += 4) {
            const __m128i u = _mm_cvtepu8_epi32(_mm_cvtsi32_si128(Bytes4(use, x, W)));
            const __m128i candidates = _mm_andnot_si128(_mm_cmpeq_epi32(u, _mm_setzero_si128()),
                                                        Live4(x, W));
            if (_mm_testz_si128(candidates, candidates))
                continue;
            __m256d v[8];
            const int take = Prepare4(p, s, false, x, y, candidates, v);
            if (!take)
                continue;
            double* to[4];
            std::size_t next = n;
            for (int l = 0; l < 4; ++l)
                if ((take >> l) & 1)
                    to[l] = records + 8 * next++;
            for (int l = 0; l < 4; ++l)
                if (!((take >> l) & 1))
                    to[l] = records + 8 * next;
            Transpose4(v, to);
            n = next;
        }
        Add4(records, n, sums);
    }
    Store4(sums, out);
}

}  // namespace paths
}  // namespace estimation

#endif  // __x86_64__
