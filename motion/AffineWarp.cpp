// AffineWarp: the plain, AVX2 and AVX-512 paths of the bilinear affine warp. The vector
// paths evaluate, lane by lane, exactly the operations of the plain one in its order:
// the positions from the same per-column and per-row terms, the weights, the products
// and sums of the chosen order, the truncation and the clamp. They fetch the four
// neighbours with two 32-bit gathers per group of pixels: one at (x1, y1), whose low two
// bytes are P00 and P10, and one two bytes before (x1, y1 + 1), whose high two bytes are
// P01 and P11; both stay inside the plane whenever the position is inside. On AVX-512 two
// row loads replace the gathers when the group's positions share a row and span at most
// 15 samples (motion/NeighbourLoads.h).
#include "motion/AffineWarp.h"

#include <cstdint>
#include <cstdlib>

#if defined(__x86_64__)
#include <immintrin.h>

#include "motion/NeighbourLoads.h"
// GCC 12 reports the intrinsics' own deliberately undefined vectors.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

namespace motion {

namespace {

using ormel::ConstPlaneView;
using ormel::PlaneView;

// One warp: the planes, the position terms and what to count.
struct Job {
    ConstPlaneView prev;
    PlaneView out;
    const double* colX;   // a[0] + x a[1]
    const double* colY;   // a[3] + x a[4]
    double a2;
    double a5;
    const ErrorBand* band;   // null: no error
    const std::uint8_t* countedLanes;   // per group of eight columns: CountedLanes(band, 8 g)
    // When not empty, also the compensator's order into `second` (out then takes the
    // estimator's), and the error is that of `second`.
    PlaneView second;
};

// Whether row y and column x lie in the band.
inline bool RowCounted(const ErrorBand& b, int y) { return y < b.rowLow || y > b.rowHigh; }
inline bool ColumnCounted(const ErrorBand& b, int x) { return x < b.colLow || x > b.colHigh; }

// Bit l set where column x + l counts, l = 0 .. 7.
inline unsigned CountedLanes(const ErrorBand& b, int x) {
    auto first = [](long long n) { return n <= 0 ? 0u : n >= 8 ? 0xffu : (1u << n) - 1; };
    return first(static_cast<long long>(b.colLow) - x) |
           (0xffu & ~first(static_cast<long long>(b.colHigh) + 1 - x));
}

// The two orders give the same double: they form the same four products, and each of
// their three sums adds the same two terms, only the other way round, which leaves an
// IEEE sum unchanged. Both are written out as stated; a warp that needs both computes one.
template <BilinearOrder kOrder>
inline double Bilinear(int p00, int p10, int p01, int p11, double fx, double gx, double fy,
                       double gy) {
    if (kOrder == BilinearOrder::kEstimator)
        return fy * (p11 * fx + p01 * gx) + gy * (p10 * fx + p00 * gx);
    const double s1 = p00 * gx + p10 * fx;
    const double s2 = p01 * gx + p11 * fx;
    return gy * s1 + fy * s2;
}

// Pixels [x0, x1) of row y, one at a time; the plain path and the vector paths' tails.
template <BilinearOrder kOrder>
void WarpPixels(const Job& j, int y, int x0, int x1, bool counted, WarpError* err) {
    const int W = j.prev.width;
    const double xLimit = W - 1;
    const double yLimit = j.prev.height - 1;
    const double rowX = y * j.a2;
    const double rowY = y * j.a5;
    std::uint8_t* d = j.out.Row(y);
    const std::uint8_t* c = counted ? j.band->current.Row(y) : nullptr;
    for (int x = x0; x < x1; ++x) {
        const double dispX = j.colX[x] + rowX;
        const double dispY = j.colY[x] + rowY;
        // floor(dispX) in [0, W - 2] is 0 <= dispX < W - 1, and NaN fails it; inside,
        // truncation is the floor.
        if (!(dispX >= 0 && dispX < xLimit && dispY >= 0 && dispY < yLimit)) {
            d[x] = 0;
            if (j.second.data)
                j.second.Row(y)[x] = 0;
            continue;
        }
        const int ix = static_cast<int>(dispX);
        const int iy = static_cast<int>(dispY);
        const double fx = dispX - ix;
        const double gx = (ix + 1) - dispX;
        const double fy = dispY - iy;
        const double gy = (iy + 1) - dispY;
        const std::uint8_t* p0 = j.prev.Row(iy) + ix;
        const std::uint8_t* p1 = p0 + j.prev.stride;
        int v = static_cast<int>(Bilinear<kOrder>(p0[0], p0[1], p1[0], p1[1], fx, gx, fy, gy));
        if (v > 255)
            v = 255;
        d[x] = static_cast<std::uint8_t>(v);
        if (j.second.data)   // the other order's value is the same double (see Bilinear)
            j.second.Row(y)[x] = static_cast<std::uint8_t>(v);
        if (c && ColumnCounted(*j.band, x)) {
            err->sum += std::abs(v - c[x]);
            ++err->count;
        }
    }
}

template <BilinearOrder kOrder>
WarpError WarpPlain(const Job& j) {
    WarpError err;
    for (int y = 0; y < j.prev.height; ++y)
        WarpPixels<kOrder>(j, y, 0, j.prev.width, j.band && RowCounted(*j.band, y), &err);
    return err;
}

#if defined(__x86_64__)

#define GME_AVX2 __attribute__((target("avx2")))
#define GME_AVX512 __attribute__((target("avx2,avx512f,avx512bw,avx512dq,avx512vl")))

template <BilinearOrder kOrder>
GME_AVX2 inline __m256d Bilinear4(__m256d p00, __m256d p10, __m256d p01, __m256d p11,
                                  __m256d fx, __m256d gx, __m256d fy, __m256d gy) {
    if (kOrder == BilinearOrder::kEstimator)
        return _mm256_add_pd(
            _mm256_mul_pd(fy, _mm256_add_pd(_mm256_mul_pd(p11, fx), _mm256_mul_pd(p01, gx))),
            _mm256_mul_pd(gy, _mm256_add_pd(_mm256_mul_pd(p10, fx), _mm256_mul_pd(p00, gx))));
    const __m256d s1 = _mm256_add_pd(_mm256_mul_pd(p00, gx), _mm256_mul_pd(p10, fx));
    const __m256d s2 = _mm256_add_pd(_mm256_mul_pd(p01, gx), _mm256_mul_pd(p11, fx));
    return _mm256_add_pd(_mm256_mul_pd(gy, s1), _mm256_mul_pd(fy, s2));
}

template <BilinearOrder kOrder>
GME_AVX2 WarpError WarpAvx2(const Job& j) {
    const int W = j.prev.width;
    const int H = j.prev.height;
    const __m256d zero = _mm256_setzero_pd();
    const __m256d one = _mm256_set1_pd(1.0);
    const __m256d xLimit = _mm256_set1_pd(W - 1);
    const __m256d yLimit = _mm256_set1_pd(H - 1);
    const __m128i stride = _mm_set1_epi32(static_cast<int>(j.prev.stride));
    const __m128i strideBefore = _mm_set1_epi32(static_cast<int>(j.prev.stride) - 2);
    const __m128i bytes = _mm_set1_epi32(0xff);
    const __m128i maxValue = _mm_set1_epi32(255);
    const __m128i lanes = _mm_setr_epi32(0, 1, 2, 3);
    const __m256i low32 = _mm256_setr_epi32(0, 2, 4, 6, 0, 2, 4, 6);
    const int* base = reinterpret_cast<const int*>(j.prev.data);
    const int vectorEnd = W & ~3;
    WarpError err;
    for (int y = 0; y < H; ++y) {
        const __m256d rowX = _mm256_set1_pd(y * j.a2);
        const __m256d rowY = _mm256_set1_pd(y * j.a5);
        std::uint8_t* d = j.out.Row(y);
        std::uint8_t* d2 = j.second.data ? j.second.Row(y) : nullptr;
        const bool counted = j.band && RowCounted(*j.band, y);
        const std::uint8_t* c = counted ? j.band->current.Row(y) : nullptr;
        __m128i sum = _mm_setzero_si128();
        long long count = 0;
        for (int x = 0; x < vectorEnd; x += 4) {
            const __m256d dx = _mm256_add_pd(_mm256_loadu_pd(j.colX + x), rowX);
            const __m256d dy = _mm256_add_pd(_mm256_loadu_pd(j.colY + x), rowY);
            const __m256d in64 = _mm256_and_pd(
                _mm256_and_pd(_mm256_cmp_pd(dx, zero, _CMP_GE_OQ), _mm256_cmp_pd(dx, xLimit, _CMP_LT_OQ)),
                _mm256_and_pd(_mm256_cmp_pd(dy, zero, _CMP_GE_OQ), _mm256_cmp_pd(dy, yLimit, _CMP_LT_OQ)));
            const __m128i in = _mm256_castsi256_si128(
                _mm256_permutevar8x32_epi32(_mm256_castpd_si256(in64), low32));
            const __m128i ix = _mm256_cvttpd_epi32(dx);
            const __m128i iy = _mm256_cvttpd_epi32(dy);
            const __m128i at = _mm_add_epi32(_mm_mullo_epi32(iy, stride), ix);
            const __m128i g0 = _mm_mask_i32gather_epi32(_mm_setzero_si128(), base, at, in, 1);
            const __m128i g1 = _mm_mask_i32gather_epi32(
                _mm_setzero_si128(), base, _mm_add_epi32(at, strideBefore), in, 1);
            const __m256d p00 = _mm256_cvtepi32_pd(_mm_and_si128(g0, bytes));
            const __m256d p10 = _mm256_cvtepi32_pd(_mm_and_si128(_mm_srli_epi32(g0, 8), bytes));
            const __m256d p01 = _mm256_cvtepi32_pd(_mm_and_si128(_mm_srli_epi32(g1, 16), bytes));
            const __m256d p11 = _mm256_cvtepi32_pd(_mm_srli_epi32(g1, 24));
            const __m256d x1 = _mm256_cvtepi32_pd(ix);
            const __m256d y1 = _mm256_cvtepi32_pd(iy);
            const __m256d fx = _mm256_sub_pd(dx, x1);
            const __m256d gx = _mm256_sub_pd(_mm256_add_pd(x1, one), dx);
            const __m256d fy = _mm256_sub_pd(dy, y1);
            const __m256d gy = _mm256_sub_pd(_mm256_add_pd(y1, one), dy);
            const __m256d s = Bilinear4<kOrder>(p00, p10, p01, p11, fx, gx, fy, gy);
            __m128i v = _mm_and_si128(_mm_min_epi32(_mm256_cvttpd_epi32(s), maxValue), in);
            const __m128i packed = _mm_packus_epi16(_mm_packus_epi32(v, v), v);
            const int four = _mm_cvtsi128_si32(packed);
            __builtin_memcpy(d + x, &four, 4);
            if (d2)   // the other order's value is the same double (see Bilinear)
                __builtin_memcpy(d2 + x, &four, 4);
            if (c) {
                int cur4;
                __builtin_memcpy(&cur4, c + x, 4);
                const __m128i cv = _mm_cvtepu8_epi32(_mm_cvtsi32_si128(cur4));
                const __m128i xs = _mm_add_epi32(_mm_set1_epi32(x), lanes);
                const __m128i band = _mm_or_si128(
                    _mm_cmpgt_epi32(_mm_set1_epi32(j.band->colLow), xs),
                    _mm_cmpgt_epi32(xs, _mm_set1_epi32(j.band->colHigh)));
                const __m128i use = _mm_and_si128(band, in);
                sum = _mm_add_epi32(sum, _mm_and_si128(_mm_abs_epi32(_mm_sub_epi32(v, cv)), use));
                count += __builtin_popcount(_mm_movemask_ps(_mm_castsi128_ps(use)));
            }
        }
        // A row's sum is at most 255 * W / 4 per lane: it fits.
        alignas(16) int lanesum[4];
        _mm_store_si128(reinterpret_cast<__m128i*>(lanesum), sum);
        err.sum += static_cast<long long>(lanesum[0]) + lanesum[1] + lanesum[2] + lanesum[3];
        err.count += count;
        WarpPixels<kOrder>(j, y, vectorEnd, W, counted, &err);
    }
    return err;
}

template <BilinearOrder kOrder>
GME_AVX512 inline __m512d Bilinear8(__m512d p00, __m512d p10, __m512d p01, __m512d p11,
                                    __m512d fx, __m512d gx, __m512d fy, __m512d gy) {
    if (kOrder == BilinearOrder::kEstimator)
        return _mm512_add_pd(
            _mm512_mul_pd(fy, _mm512_add_pd(_mm512_mul_pd(p11, fx), _mm512_mul_pd(p01, gx))),
            _mm512_mul_pd(gy, _mm512_add_pd(_mm512_mul_pd(p10, fx), _mm512_mul_pd(p00, gx))));
    const __m512d s1 = _mm512_add_pd(_mm512_mul_pd(p00, gx), _mm512_mul_pd(p10, fx));
    const __m512d s2 = _mm512_add_pd(_mm512_mul_pd(p01, gx), _mm512_mul_pd(p11, fx));
    return _mm512_add_pd(_mm512_mul_pd(gy, s1), _mm512_mul_pd(fy, s2));
}

// What WarpGroup8 needs: the call's constants in locals (the job's fields could be
// aliased by the byte stores) and the row's.
struct Row8 {
    __m512i lastX, lastY;   // W - 2, H - 2 (the plane is at least 2 x 2)
    __m256i stride, strideBefore;
    const std::uint8_t* prev;
    std::ptrdiff_t prevStride;
    const std::uint8_t* end;   // one past prev's last sample
    const double* colX;
    const double* colY;
    const std::uint8_t* countedLanes;
    __m512d rowX, rowY;
    std::uint8_t* d;
    std::uint8_t* d2;
    const std::uint8_t* c;   // current's row where the row counts, else null
};

// Pixels x .. x + 7 of the row, of which `live` lie in it.
template <BilinearOrder kOrder>
GME_AVX512 __attribute__((always_inline)) inline void WarpGroup8(const Row8& r, int x,
                                                                 __mmask8 live, __m128i& sum,
                                                                 long long& count) {
    const __m512d dx = _mm512_add_pd(_mm512_maskz_loadu_pd(live, r.colX + x), r.rowX);
    const __m512d dy = _mm512_add_pd(_mm512_maskz_loadu_pd(live, r.colY + x), r.rowY);
    // Positions and samples in 64-bit lanes (see NeighbourLoads.h).
    __m512i ix, iy;
    const __mmask8 in = InsideFloor8(dx, dy, r.lastX, r.lastY, live, &ix, &iy);
    __m512i n00, n10, n01, n11;
    __m512i off;
    int x0, y0;
    if (NearLaneZero(ix, iy, in, &off, &x0, &y0)) {
        __m512i b0, b1;
        RowPair16(r.prev, r.prevStride, r.end, x0, y0, &b0, &b1);
        RowNeighbourSamples8(b0, b1, off, &n00, &n10, &n01, &n11);
    } else {
        const __m256i at = _mm256_add_epi32(
            _mm256_mullo_epi32(_mm512_cvtepi64_epi32(iy), r.stride), _mm512_cvtepi64_epi32(ix));
        const __m256i g0 = _mm256_mmask_i32gather_epi32(_mm256_setzero_si256(), in, at, r.prev, 1);
        const __m256i g1 = _mm256_mmask_i32gather_epi32(
            _mm256_setzero_si256(), in, _mm256_add_epi32(at, r.strideBefore), r.prev, 1);
        const __m256i bytes = _mm256_set1_epi32(0xff);
        n00 = _mm512_cvtepu32_epi64(_mm256_and_si256(g0, bytes));
        n10 = _mm512_cvtepu32_epi64(_mm256_and_si256(_mm256_srli_epi32(g0, 8), bytes));
        n01 = _mm512_cvtepu32_epi64(_mm256_and_si256(_mm256_srli_epi32(g1, 16), bytes));
        n11 = _mm512_cvtepu32_epi64(_mm256_srli_epi32(g1, 24));
    }
    const __m512d p00 = _mm512_cvtepi64_pd(n00);
    const __m512d p10 = _mm512_cvtepi64_pd(n10);
    const __m512d p01 = _mm512_cvtepi64_pd(n01);
    const __m512d p11 = _mm512_cvtepi64_pd(n11);
    // Inside, fx = dx - x1 is the fraction of dx (exact, as the reduction's), and
    // gx = (x1 + 1) - dx is the same double as 1 - fx: both subtractions are exact
    // (fx is a multiple of dx's last place, at least 2^-52 once dx >= 1).
    const __m512d one = _mm512_set1_pd(1.0);
    const __m512d fx = _mm512_reduce_pd(dx, motion::kFraction);
    const __m512d gx = _mm512_sub_pd(one, fx);
    const __m512d fy = _mm512_reduce_pd(dy, motion::kFraction);
    const __m512d gy = _mm512_sub_pd(one, fy);
    const __m512d s = Bilinear8<kOrder>(p00, p10, p01, p11, fx, gx, fy, gy);
    // Inside, s >= 0: truncated, saturated at 255 and packed in one step; 0 outside.
    const __m128i v = _mm512_maskz_cvtusepi64_epi8(in, _mm512_cvttpd_epi64(s));
    _mm_mask_storeu_epi8(r.d + x, live, v);
    if (r.d2)   // the other order's value is the same double (see Bilinear)
        _mm_mask_storeu_epi8(r.d2 + x, live, v);
    if (r.c) {
        const __mmask8 use = in & r.countedLanes[x / 8];
        sum = _mm_add_epi64(sum, _mm_sad_epu8(_mm_maskz_mov_epi8(use, v),
                                              _mm_maskz_loadu_epi8(use, r.c + x)));
        count += __builtin_popcount(use);
    }
}

template <BilinearOrder kOrder>
GME_AVX512 WarpError WarpAvx512(const Job& j) {
    const int W = j.prev.width;
    const int H = j.prev.height;
    Row8 r;
    r.lastX = _mm512_set1_epi64(W - 2);
    r.lastY = _mm512_set1_epi64(H - 2);
    r.stride = _mm256_set1_epi32(static_cast<int>(j.prev.stride));
    r.strideBefore = _mm256_set1_epi32(static_cast<int>(j.prev.stride) - 2);
    r.prev = j.prev.data;
    r.prevStride = j.prev.stride;
    r.end = j.prev.Row(H - 1) + W;
    r.colX = j.colX;
    r.colY = j.colY;
    r.countedLanes = j.countedLanes;
    WarpError err;
    for (int y = 0; y < H; ++y) {
        r.rowX = _mm512_set1_pd(y * j.a2);
        r.rowY = _mm512_set1_pd(y * j.a5);
        r.d = j.out.Row(y);
        r.d2 = j.second.data ? j.second.Row(y) : nullptr;
        r.c = j.band && RowCounted(*j.band, y) ? j.band->current.Row(y) : nullptr;
        __m128i sum = _mm_setzero_si128();   // the low lane: eight bytes at a time
        long long count = 0;
        int x = 0;
        for (; x + 8 <= W; x += 8)
            WarpGroup8<kOrder>(r, x, 0xff, sum, count);
        if (x < W)
            WarpGroup8<kOrder>(r, x, static_cast<__mmask8>((1u << (W - x)) - 1), sum, count);
        err.sum += _mm_cvtsi128_si64(sum);
        err.count += count;
    }
    return err;
}

#endif  // __x86_64__

template <BilinearOrder kOrder>
WarpError Dispatch(const Job& j, numeric::VectorUnit unit) {
#if defined(__x86_64__)
    if (unit == numeric::VectorUnit::kAvx512 && j.prev.width >= 2 && j.prev.height >= 2)
        return WarpAvx512<kOrder>(j);   // (smaller planes have no position inside)
    if (unit == numeric::VectorUnit::kAvx2)
        return WarpAvx2<kOrder>(j);
#endif
    (void)unit;
    return WarpPlain<kOrder>(j);
}

WarpError Run(ConstPlaneView prev, const double* a, PlaneView out, BilinearOrder order,
              const ErrorBand* band, PlaneView second, WarpScratch& scratch,
              numeric::VectorUnit unit) {
    if (prev.width <= 0 || prev.height <= 0)
        return WarpError();
    const int W = prev.width;
    // The column terms, then the counted lanes of each group of eight columns as bytes.
    const size_t groups = (static_cast<size_t>(W) + 7) / 8;
    scratch.resize(2 * static_cast<size_t>(W) + (groups + sizeof(double) - 1) / sizeof(double));
    // a[0] + x a[1] per column; adding y a[2] afterwards keeps the order of
    // a[0] + a[1] x + a[2] y, so every position has the bits of the plain formula.
    double* colX = scratch.data();
    double* colY = colX + W;
    for (int x = 0; x < W; ++x) {
        colX[x] = a[0] + x * a[1];
        colY[x] = a[3] + x * a[4];
    }
    std::uint8_t* counted = reinterpret_cast<std::uint8_t*>(colY + W);
    for (size_t g = 0; band && g < groups; ++g)
        counted[g] = static_cast<std::uint8_t>(CountedLanes(*band, static_cast<int>(8 * g)));
    const Job j{prev, out, colX, colY, a[2], a[5], band, counted, second};
    return order == BilinearOrder::kEstimator ? Dispatch<BilinearOrder::kEstimator>(j, unit)
                                              : Dispatch<BilinearOrder::kCompensator>(j, unit);
}

}  // namespace

void WarpAffine(ConstPlaneView prev, const double* a, PlaneView out, BilinearOrder order,
                WarpScratch& scratch, numeric::VectorUnit unit) {
    Run(prev, a, out, order, nullptr, PlaneView(), scratch, unit);
}

WarpError WarpAffine(ConstPlaneView prev, const double* a, PlaneView out, BilinearOrder order,
                     const ErrorBand& band, WarpScratch& scratch, numeric::VectorUnit unit) {
    return Run(prev, a, out, order, &band, PlaneView(), scratch, unit);
}

WarpError WarpAffineBoth(ConstPlaneView prev, const double* a, PlaneView out, PlaneView second,
                         const ErrorBand& band, WarpScratch& scratch, numeric::VectorUnit unit) {
    return Run(prev, a, out, BilinearOrder::kEstimator, &band, second, scratch, unit);
}

}  // namespace motion
