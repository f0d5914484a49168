// PredictionError: the translation stage sixteen bytes at a time (SSE2). The linear-term
// stage: the plain path and, on AVX-512, eight pixels at a time. The vector path rounds as CoRound does (half away from zero, then truncation; a position too large
// for an int is outside either way) and reads the mask and the samples of a group from
// one row load each when the group's positions share a row and span at most 15 samples,
// as under a motion close to a translation; other groups go pixel by pixel.
#include "estimation/PredictionError.h"

#include <cstdlib>

#include "numeric/numeric.h"

#if defined(__x86_64__)
#include <immintrin.h>

#include "motion/NeighbourLoads.h"
// GCC 12 reports the intrinsics' own deliberately undefined vectors.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

namespace estimation {

namespace {

// Pixels [x0, x1) of row y, one at a time.
long long PixelsError(ormel::ConstPlaneView cur, ormel::ConstPlaneView prev,
                      ormel::ConstPlaneView mask, int y, int x0, int x1, const double* colX,
                      const double* colY, double rowX, double rowY) {
    const int W = cur.width;
    const int H = cur.height;
    const unsigned char* c = cur.Row(y);
    long long sum = 0;
    for (int x = x0; x < x1; ++x) {
        const int xp = CoRound(colX[x] + rowX);
        const int yp = CoRound(colY[x] + rowY);
        if (xp < 0 || xp >= W || yp < 0 || yp >= H || mask.Row(yp)[xp] != 0)
            continue;
        sum += std::abs(prev.Row(yp)[xp] - c[x]);
    }
    return sum;
}

#if defined(__x86_64__)

#define GME_AVX512 __attribute__((target("avx2,avx512f,avx512bw,avx512dq,avx512vl")))

// CoRound of eight positions in 64-bit lanes.
GME_AVX512 inline __m512i Round8(__m512d v) {
    const __mmask8 negative = _mm512_cmp_pd_mask(v, _mm512_setzero_pd(), _CMP_LT_OQ);
    const __m512d half = _mm512_mask_blend_pd(negative, _mm512_set1_pd(0.5), _mm512_set1_pd(-0.5));
    return _mm512_cvttpd_epi64(_mm512_add_pd(v, half));
}

GME_AVX512 long long RowErrorAvx512(ormel::ConstPlaneView cur, ormel::ConstPlaneView prev,
                                    ormel::ConstPlaneView mask, int y, const double* colX,
                                    const double* colY, double rowX, double rowY) {
    const int W = cur.width;
    const int H = cur.height;
    const unsigned char* prevEnd = prev.Row(H - 1) + W;
    const unsigned char* maskEnd = mask.Row(H - 1) + W;
    const unsigned char* c = cur.Row(y);
    const __m512i width = _mm512_set1_epi64(W);
    const __m512i height = _mm512_set1_epi64(H);
    __m512i sums = _mm512_setzero_si512();
    long long rest = 0;
    int x = 0;
    for (; x + 8 <= W; x += 8) {
        const __m512i xp = Round8(_mm512_add_pd(_mm512_loadu_pd(colX + x), _mm512_set1_pd(rowX)));
        const __m512i yp = Round8(_mm512_add_pd(_mm512_loadu_pd(colY + x), _mm512_set1_pd(rowY)));
        // Signed: CoRound's values below 0 and the conversion's out-of-range value are
        // negative.
        const __mmask8 in = _mm512_cmpge_epi64_mask(xp, _mm512_setzero_si512()) &
                            _mm512_cmplt_epi64_mask(xp, width) &
                            _mm512_cmpge_epi64_mask(yp, _mm512_setzero_si512()) &
                            _mm512_cmplt_epi64_mask(yp, height);
        if (!in)
            continue;
        __m512i off;
        int x0, y0;
        if (!motion::NearLaneZero(xp, yp, in, &off, &x0, &y0)) {
            rest += PixelsError(cur, prev, mask, y, x, x + 8, colX, colY, rowX, rowY);
            continue;
        }
        const __m512i at = motion::SampleIndex(off);
        const __m512i m = _mm512_shuffle_epi8(motion::Row16(mask.Row(y0) + x0, maskEnd), at);
        const __mmask8 use = in & _mm512_testn_epi64_mask(m, m);
        const __m512i p = _mm512_shuffle_epi8(motion::Row16(prev.Row(y0) + x0, prevEnd), at);
        const __m512i cv = _mm512_cvtepu8_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(c + x)));
        sums = _mm512_mask_add_epi64(sums, use, sums, _mm512_abs_epi64(_mm512_sub_epi64(p, cv)));
    }
    alignas(64) long long lanes[8];
    _mm512_store_si512(lanes, sums);
    for (long long v : lanes)
        rest += v;
    return rest + PixelsError(cur, prev, mask, y, x, W, colX, colY, rowX, rowY);
}

#endif  // __x86_64__

}  // namespace

long long MaskedRowError(const std::uint8_t* current, const std::uint8_t* previous,
                         const std::uint8_t* mask, int n) {
    long long sum = 0;
    int x = 0;
#if defined(__SSE2__) && defined(__x86_64__)
    // |p - c| of sixteen bytes, 0 where the mask is set, summed into two 64-bit lanes.
    __m128i lanes = _mm_setzero_si128();
    for (; x + 16 <= n; x += 16) {
        const __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i*>(current + x));
        const __m128i p = _mm_loadu_si128(reinterpret_cast<const __m128i*>(previous + x));
        const __m128i m = _mm_loadu_si128(reinterpret_cast<const __m128i*>(mask + x));
        const __m128i d = _mm_or_si128(_mm_subs_epu8(p, c), _mm_subs_epu8(c, p));
        lanes = _mm_add_epi64(lanes, _mm_sad_epu8(_mm_and_si128(d, _mm_cmpeq_epi8(m, _mm_setzero_si128())),
                                                  _mm_setzero_si128()));
    }
    sum = _mm_cvtsi128_si64(lanes) + _mm_cvtsi128_si64(_mm_unpackhi_epi64(lanes, lanes));
#endif
    for (; x < n; ++x)
        sum += mask[x] == 0 ? std::abs(previous[x] - current[x]) : 0;
    return sum;
}

long long PredictionRowError(ormel::ConstPlaneView current, ormel::ConstPlaneView previous,
                             ormel::ConstPlaneView mask, int y, const double* colX,
                             const double* colY, double rowX, double rowY,
                             numeric::VectorUnit unit) {
#if defined(__x86_64__)
    if (unit == numeric::VectorUnit::kAvx512)
        return RowErrorAvx512(current, previous, mask, y, colX, colY, rowX, rowY);
#endif
    (void)unit;
    return PixelsError(current, previous, mask, y, 0, current.width, colX, colY, rowX, rowY);
}

}  // namespace estimation
