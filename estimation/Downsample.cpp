// Downsample: the one-pass pyramid step. Sixteen outputs at a time in 16-bit lanes where
// SSE2 exists (every x86-64 has it; the sums stay below 1024), one at a time elsewhere
// and at the ends of a row; the lanes compute exactly the plain sums and shifts.
#include "estimation/Downsample.h"

#include <cstddef>
#include <utility>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace estimation {

namespace {

// d[x] = h(x) of row s (W samples) for x < W / 2.
void FilterRow(const std::uint8_t* s, int W, std::uint8_t* d) {
    const int ow = W / 2;
    if (ow < 1)
        return;
    d[0] = static_cast<std::uint8_t>((s[0] + 2u * s[0] + s[1]) / 4u);
    int x = 1;
#if defined(__SSE2__)
    // Outputs x .. x + 15 read s[2x - 1] .. s[2x + 31]; x + 16 <= W / 2 keeps that inside.
    const __m128i low = _mm_set1_epi16(0x00ff);
    for (; x + 16 <= ow; x += 16) {
        const std::uint8_t* c = s + 2 * static_cast<std::ptrdiff_t>(x);
        __m128i h[2];
        for (int half = 0; half < 2; ++half) {
            const __m128i at = _mm_loadu_si128(reinterpret_cast<const __m128i*>(c + 16 * half));
            const __m128i left =
                _mm_loadu_si128(reinterpret_cast<const __m128i*>(c + 16 * half - 1));
            const __m128i centre = _mm_and_si128(at, low);    // s[2x]
            const __m128i right = _mm_srli_epi16(at, 8);      // s[2x + 1]
            const __m128i before = _mm_and_si128(left, low);  // s[2x - 1]
            const __m128i sum =
                _mm_add_epi16(_mm_add_epi16(before, _mm_slli_epi16(centre, 1)), right);
            h[half] = _mm_srli_epi16(sum, 2);
        }
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d + x), _mm_packus_epi16(h[0], h[1]));
    }
#endif
    for (; x < ow; ++x) {
        const std::uint8_t* c = s + 2 * static_cast<std::ptrdiff_t>(x);
        d[x] = static_cast<std::uint8_t>((c[-1] + 2u * c[0] + c[1]) / 4u);
    }
}

// d[x] = (up[x] + 2 mid[x] + down[x]) / 4 for x < n.
void FilterColumn(const std::uint8_t* up, const std::uint8_t* mid, const std::uint8_t* down,
                  int n, std::uint8_t* d) {
    int x = 0;
#if defined(__SSE2__)
    const __m128i zero = _mm_setzero_si128();
    for (; x + 16 <= n; x += 16) {
        const __m128i u = _mm_loadu_si128(reinterpret_cast<const __m128i*>(up + x));
        const __m128i m = _mm_loadu_si128(reinterpret_cast<const __m128i*>(mid + x));
        const __m128i w = _mm_loadu_si128(reinterpret_cast<const __m128i*>(down + x));
        const __m128i lo = _mm_add_epi16(
            _mm_add_epi16(_mm_unpacklo_epi8(u, zero), _mm_slli_epi16(_mm_unpacklo_epi8(m, zero), 1)),
            _mm_unpacklo_epi8(w, zero));
        const __m128i hi = _mm_add_epi16(
            _mm_add_epi16(_mm_unpackhi_epi8(u, zero), _mm_slli_epi16(_mm_unpackhi_epi8(m, zero), 1)),
            _mm_unpackhi_epi8(w, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d + x),
                         _mm_packus_epi16(_mm_srli_epi16(lo, 2), _mm_srli_epi16(hi, 2)));
    }
#endif
    for (; x < n; ++x)
        d[x] = static_cast<std::uint8_t>((up[x] + 2u * mid[x] + down[x]) / 4u);
}

}  // namespace

void DownsampleHalf(ormel::ConstPlaneView in, ormel::PlaneView out,
                    std::vector<std::uint8_t>& rows) {
    const int ow = in.width / 2;
    const int oh = in.height / 2;
    if (ow < 1 || oh < 1)
        return;
    const std::size_t n = static_cast<std::size_t>(ow);
    if (rows.size() < 3 * n)
        rows.resize(3 * n);
    std::uint8_t* up = rows.data();
    std::uint8_t* mid = up + n;
    std::uint8_t* down = mid + n;
    FilterRow(in.Row(0), in.width, mid);   // h(0) is also the upper neighbour of row 0
    FilterRow(in.Row(1), in.width, down);
    FilterColumn(mid, mid, down, ow, out.Row(0));
    for (int y = 1; y < oh; ++y) {
        std::swap(up, down);   // h(2y - 1) was the lower neighbour of the row before
        FilterRow(in.Row(2 * y), in.width, mid);
        FilterRow(in.Row(2 * y + 1), in.width, down);
        FilterColumn(up, mid, down, ow, out.Row(y));
    }
}

}  // namespace estimation
