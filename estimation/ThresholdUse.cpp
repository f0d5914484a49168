// ThresholdUse: row by row, the per-pixel test of row y + 1 into a ring of three rows
// before row y is written, so that the plane can be overwritten in place. On x86-64 any
// vector unit runs both steps sixteen pixels at a time (SSE2 is always there): the test
// as a saturated difference, the count as sums of the three rows' column sums.
#include "estimation/ThresholdUse.h"

#include <cstdlib>
#include <cstring>

#if defined(__SSE2__) && defined(__x86_64__)
#include <emmintrin.h>
#endif

namespace estimation {

namespace {

// o[x] = |c[x] - k[x]| <= threshErr for x in [x0, W).
void TestPixels(const std::uint8_t* c, const std::uint8_t* k, std::uint8_t* o, int threshErr,
                int x0, int W) {
    for (int x = x0; x < W; ++x)
        o[x] = std::abs(c[x] - k[x]) <= threshErr;
}

// u[x] = mid[x] && the nine of the 3 x 3 neighbourhood sum to more than 6, x in [x0, x1).
void CountPixels(const std::uint8_t* up, const std::uint8_t* mid, const std::uint8_t* down,
                 std::uint8_t* u, int x0, int x1) {
    for (int x = x0; x < x1; ++x) {
        const int sum = up[x - 1] + mid[x - 1] + down[x - 1] + up[x] + mid[x] + down[x] +
                        up[x + 1] + mid[x + 1] + down[x + 1];
        u[x] = mid[x] && sum > 6;
    }
}

#if defined(__SSE2__) && defined(__x86_64__)

void TestRow(const std::uint8_t* c, const std::uint8_t* k, std::uint8_t* o, int threshErr, int W) {
    int x = 0;
    if (threshErr >= 0) {
        // |c - k| <= t is (|c - k| - t, saturated at 0) == 0; t above 255 holds for all.
        const __m128i t = _mm_set1_epi8(static_cast<char>(threshErr > 255 ? 255 : threshErr));
        const __m128i one = _mm_set1_epi8(1);
        for (; x + 16 <= W; x += 16) {
            const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(c + x));
            const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(k + x));
            const __m128i d = _mm_or_si128(_mm_subs_epu8(a, b), _mm_subs_epu8(b, a));
            const __m128i within = _mm_cmpeq_epi8(_mm_subs_epu8(d, t), _mm_setzero_si128());
            _mm_storeu_si128(reinterpret_cast<__m128i*>(o + x), _mm_and_si128(within, one));
        }
    }
    TestPixels(c, k, o, threshErr, x, W);
}

void CountRow(const std::uint8_t* up, const std::uint8_t* mid, const std::uint8_t* down,
              std::uint8_t* u, int W) {
    int x = 1;
    const __m128i six = _mm_set1_epi8(6);
    const __m128i one = _mm_set1_epi8(1);
    for (; x + 17 <= W; x += 16) {
        // Column sums at x - 1, x and x + 1 (each at most 3), then their sum (at most 9).
        __m128i s = _mm_setzero_si128();
        for (int dx = -1; dx <= 1; ++dx)
            s = _mm_add_epi8(
                s, _mm_add_epi8(_mm_add_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(up + x + dx)),
                                             _mm_loadu_si128(reinterpret_cast<const __m128i*>(mid + x + dx))),
                                _mm_loadu_si128(reinterpret_cast<const __m128i*>(down + x + dx))));
        const __m128i m = _mm_loadu_si128(reinterpret_cast<const __m128i*>(mid + x));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(u + x),
                         _mm_and_si128(_mm_and_si128(_mm_cmpgt_epi8(s, six), m), one));
    }
    CountPixels(up, mid, down, u, x, W - 1);
}

#endif

}  // namespace

void MarkThresholdUse(ormel::ConstPlaneView cur, std::uint8_t* plane, int threshErr,
                      std::vector<std::uint8_t>& ok, numeric::VectorUnit unit) {
    const int W = cur.width;
    const int H = cur.height;
    const std::size_t w = static_cast<std::size_t>(W);
    if (W < 3 || H < 3) {
        std::memset(plane, 0, w * H);
        return;
    }
    ok.resize(3 * w);
#if defined(__SSE2__) && defined(__x86_64__)
    const bool vector = unit != numeric::VectorUnit::kPlain;
#else
    (void)unit;
    const bool vector = false;
#endif
    auto test = [&](int y) {   // row y of the test into ring slot y % 3
        const std::uint8_t* c = cur.Row(y);
        const std::uint8_t* k = plane + static_cast<std::size_t>(y) * w;
        std::uint8_t* o = &ok[static_cast<std::size_t>(y % 3) * w];
#if defined(__SSE2__) && defined(__x86_64__)
        if (vector)
            return TestRow(c, k, o, threshErr, W);
#endif
        TestPixels(c, k, o, threshErr, 0, W);
    };
    test(0);
    test(1);
    std::memset(plane, 0, w);
    for (int y = 1; y < H - 1; ++y) {
        test(y + 1);
        const std::uint8_t* up = &ok[static_cast<std::size_t>((y - 1) % 3) * w];
        const std::uint8_t* mid = &ok[static_cast<std::size_t>(y % 3) * w];
        const std::uint8_t* down = &ok[static_cast<std::size_t>((y + 1) % 3) * w];
        std::uint8_t* u = plane + static_cast<std::size_t>(y) * w;
        u[0] = 0;
#if defined(__SSE2__) && defined(__x86_64__)
        if (vector)
            CountRow(up, mid, down, u, W);
        else
#endif
            CountPixels(up, mid, down, u, 1, W - 1);
        u[W - 1] = 0;
    }
    std::memset(plane + static_cast<std::size_t>(H - 1) * w, 0, w);
}

}  // namespace estimation
