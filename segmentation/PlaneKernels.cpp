// PlaneKernels: each kernel is one body written as plain loops over row pieces, inlined
// into one function per instruction-set path; the compiler vectorises each copy for its
// path. Integer arithmetic throughout, so every path gives the same bytes.
#include "segmentation/PlaneKernels.h"

#include <algorithm>
#include <cstring>
#include <vector>

#if defined(__GNUC__)
#define GME_INLINE inline __attribute__((always_inline))
#else
#define GME_INLINE inline
#endif

#if defined(__GNUC__) && defined(__x86_64__)
#define GME_X86_PATHS 1
#endif

namespace segmentation {
namespace {

using ormel::ConstPlaneView;
using ormel::PlaneView;
using std::uint16_t;
using std::uint32_t;
using std::uint8_t;

// Columns of one row piece: the pieces of one pass stay in the first-level cache.
constexpr int kSpan = 512;
// Windows up to this size sum in 16 bits: 16 * 16 * 255 < 65536.
constexpr int kShortWindow = 16;

struct Divide32 {
    uint32_t d;
    explicit Divide32(unsigned divisor) : d(divisor) {}
    GME_INLINE uint32_t operator()(uint32_t x) const { return x / d; }
};

// By value: std::max and std::min return references, which keeps some loops scalar.
GME_INLINE uint8_t Max(uint8_t p, uint8_t q) { return p > q ? p : q; }
GME_INLINE uint8_t Min(uint8_t p, uint8_t q) { return p < q ? p : q; }

// |p - q| as the larger minus the smaller: three vector operations.
GME_INLINE uint8_t AbsDiff(uint8_t p, uint8_t q) {
    return static_cast<uint8_t>(Max(p, q) - Min(p, q));
}

// The interior rows of [rowBegin, rowEnd) and the interior columns of a window.
struct Interior {
    int before, x0, x1, y0, y1;
    Interior(int window, int width, int height, int rowBegin, int rowEnd)
        : before(window / 2), x0(before), x1(width - before), y0(std::max(rowBegin, before)),
          y1(std::min(rowEnd, height - before)) {}
    bool Empty() const { return x0 >= x1 || y0 >= y1; }
};

// The window the estimator uses, for which the loops below are also compiled with the
// window fixed: one fused pass per row piece instead of one per window row and column.
constexpr int kFixedWindow = 5;

// Rows at least kWholeStep output columns wide go in pieces of exactly kWholeSpan input
// columns, a multiple of every vector width, so that every loop over a piece has a fixed
// length and no scalar remainder. The last piece moves left to end at the interior's end
// and computes some columns a second time, with the same values.
constexpr int kWholeSpan = 256;
constexpr int kWholeStep = kWholeSpan - (kFixedWindow - 1);

// The sums of |a - b| down kWindow rows from row top, in columns first .. first + count - 1,
// into col.
template <class Sum, int kWindow>
GME_INLINE void WindowColumnSums(ConstPlaneView a, ConstPlaneView b, int top, long first,
                                 int count, Sum* __restrict col) {
    const uint8_t* p[kWindow];
    const uint8_t* q[kWindow];
    for (int dy = 0; dy < kWindow; ++dy) {
        p[dy] = a.Row(top + dy) + first;
        q[dy] = b.Row(top + dy) + first;
    }
    for (int i = 0; i < count; ++i) {
        Sum c = AbsDiff(p[0][i], q[0][i]);
        for (int dy = 1; dy < kWindow; ++dy)
            c = static_cast<Sum>(c + AbsDiff(p[dy][i], q[dy][i]));
        col[i] = c;
    }
}

// The first output column of the piece after the one at cx, or -1 after the last.
GME_INLINE int NextWholePiece(int cx, int interiorEnd) {
    if (cx == interiorEnd - kWholeStep)
        return -1;
    return std::min(cx + kWholeStep, interiorEnd - kWholeStep);
}

// Rows per band of AbsDiffMeanWhole: a band's rows stay in cache while its pieces go by.
constexpr int kWholeBand = 32;

// The means of one piece's row from its column sums: five neighbours summed and divided.
// A piece with another after it writes straight into the row (its last columns are wrong
// until the next piece writes them again); the last piece goes through o.
GME_INLINE void WholeMeanRow(const uint16_t* __restrict col, bool whole, uint8_t* row,
                             uint8_t* __restrict o) {
    uint8_t* const dst = whole ? row : o;
    for (int i = 0; i < kWholeSpan; ++i) {
        uint16_t t = col[i];
        for (int dx = 1; dx < kFixedWindow; ++dx)
            t = static_cast<uint16_t>(t + col[i + dx]);
        dst[i] = static_cast<uint8_t>(t / (kFixedWindow * kFixedWindow));
    }
    if (!whole)
        std::memcpy(row, o, kWholeStep);
}

// The fixed window's mean on whole pieces, a band of rows at a time, each piece down the
// band: the column sums of the window's rows slide down a row by adding the row that
// enters and taking away the row that leaves (exact in 16 bits: each sum is below 65536).
// The sums of consecutive rows alternate between two buffers and a row's means are made
// after the next row's sums, when the stores of its sums have long completed: reading
// them back at once, shifted by one to four columns, would stall on the stores.
GME_INLINE void AbsDiffMeanWhole(ConstPlaneView a, ConstPlaneView b, PlaneView out,
                                 const Interior& in) {
    uint16_t cols[2][kWholeSpan + kFixedWindow - 1] = {};   // the tails feed dropped columns only
    uint8_t o[kWholeSpan];
    for (int band = in.y0; band < in.y1; band += kWholeBand) {
        const int bandEnd = std::min(in.y1, band + kWholeBand);
        for (int cx = in.x0; cx >= 0; cx = NextWholePiece(cx, in.x1)) {
            const long first = cx - in.before;
            const bool whole = cx + kWholeSpan <= in.x1;
            for (int y = band; y < bandEnd; ++y) {
                uint16_t* __restrict col = cols[(y - band) & 1];
                const uint16_t* __restrict above = cols[(y - band + 1) & 1];
                if (y == band) {
                    WindowColumnSums<uint16_t, kFixedWindow>(a, b, y - in.before, first,
                                                             kWholeSpan, col);
                } else {
                    const int enters = y - in.before + kFixedWindow - 1;
                    const int leaves = y - in.before - 1;
                    const uint8_t* pIn = a.Row(enters) + first;
                    const uint8_t* qIn = b.Row(enters) + first;
                    const uint8_t* pOut = a.Row(leaves) + first;
                    const uint8_t* qOut = b.Row(leaves) + first;
                    for (int i = 0; i < kWholeSpan; ++i)
                        col[i] = static_cast<uint16_t>(above[i] + AbsDiff(pIn[i], qIn[i]) -
                                                       AbsDiff(pOut[i], qOut[i]));
                    WholeMeanRow(above, whole, out.Row(y - 1) + cx, o);
                }
            }
            WholeMeanRow(cols[(bandEnd - 1 - band) & 1], whole, out.Row(bandEnd - 1) + cx, o);
        }
    }
}

// Window sums by row pieces of up to `span` input columns: the window's rows added into
// col, the window's columns of col added up and divided. The window sum of an interior
// sample is at most window^2 * 255, which Sum holds. kWindow is the window when it is
// fixed at compile time (the divisor too), 0 when only `window` knows it.
template <class Sum, int kWindow, class Divide>
GME_INLINE void AbsDiffMeanRows(ConstPlaneView a, ConstPlaneView b, int window, PlaneView out,
                                const Interior& in, Divide divide, Sum* __restrict col,
                                Sum* __restrict acc, int span) {
    if (kWindow > 0)
        window = kWindow;
    const int step = span - (window - 1);   // output columns per piece
    for (int y = in.y0; y < in.y1; ++y) {
        for (int cx = in.x0; cx < in.x1; cx += step) {
            const int n = std::min(step, in.x1 - cx);
            const int m = std::min(n + window - 1, span);   // never less: says so to the compiler
            const long first = cx - in.before;
            uint8_t* o = out.Row(y) + cx;
            if constexpr (kWindow > 0) {
                WindowColumnSums<Sum, kWindow>(a, b, y - in.before, first, m, col);
                for (int i = 0; i < n; ++i) {
                    Sum t = col[i];
                    for (int dx = 1; dx < kWindow; ++dx)
                        t = static_cast<Sum>(t + col[i + dx]);
                    o[i] = static_cast<uint8_t>(t / (kWindow * kWindow));
                }
            } else {
                for (int dy = 0; dy < window; ++dy) {
                    const uint8_t* p = a.Row(y - in.before + dy) + first;
                    const uint8_t* q = b.Row(y - in.before + dy) + first;
                    if (dy == 0) {
                        for (int i = 0; i < m; ++i)
                            col[i] = AbsDiff(p[i], q[i]);
                    } else {
                        for (int i = 0; i < m; ++i)
                            col[i] = static_cast<Sum>(col[i] + AbsDiff(p[i], q[i]));
                    }
                }
                for (int i = 0; i < n; ++i)
                    acc[i] = col[i];
                for (int dx = 1; dx < window; ++dx)
                    for (int i = 0; i < n; ++i)
                        acc[i] = static_cast<Sum>(acc[i] + col[i + dx]);
                for (int i = 0; i < n; ++i)
                    o[i] = static_cast<uint8_t>(divide(acc[i]));
            }
        }
    }
}

GME_INLINE void AbsDiffMeanBody(ConstPlaneView a, ConstPlaneView b, int window, PlaneView out,
                                int rowBegin, int rowEnd) {
    const Interior in(window, out.width, out.height, rowBegin, rowEnd);
    if (window < 1 || in.Empty())
        return;
    // The quotient of the double division by the int area, truncated, is the integer
    // quotient: a sum below 2^53 is exact and k - 1/area never rounds up to k.
    const unsigned area = static_cast<unsigned>(window) * static_cast<unsigned>(window);
    if (window <= kShortWindow) {
        uint16_t col[kSpan], acc[kSpan];
        if (window == kFixedWindow && in.x1 - in.x0 >= kWholeStep)
            AbsDiffMeanWhole(a, b, out, in);
        else if (window == kFixedWindow)
            AbsDiffMeanRows<uint16_t, kFixedWindow>(a, b, window, out, in, Divide16(area), col,
                                                    acc, kSpan);
        else
            AbsDiffMeanRows<uint16_t, 0>(a, b, window, out, in, Divide16(area), col, acc, kSpan);
    } else {   // a rare size: 32-bit sums over whole rows
        const int span = in.x1 - in.x0 + window - 1;
        std::vector<uint32_t> col(static_cast<size_t>(span)), acc(static_cast<size_t>(span));
        AbsDiffMeanRows<uint32_t, 0>(a, b, window, out, in, Divide32(area), col.data(),
                                     acc.data(), span);
    }
}

// The clipped maxima of one piece's row from its column maxima, written as WholeMeanRow
// writes its means.
GME_INLINE void WholeMaxRow(const uint8_t* __restrict vm, uint8_t clip, uint8_t gain, bool whole,
                            uint8_t* row, uint8_t* __restrict o) {
    uint8_t* const dst = whole ? row : o;
    for (int i = 0; i < kWholeSpan; ++i) {
        uint8_t v = vm[i];
        for (int dx = 1; dx < kFixedWindow; ++dx)
            v = Max(v, vm[i + dx]);
        dst[i] = static_cast<uint8_t>(gain * Min(v, clip));
    }
    if (!whole)
        std::memcpy(row, o, kWholeStep);
}

// The fixed window's clipped maxima on whole pieces, each piece down a band of rows, the
// column maxima of consecutive rows in two buffers as in AbsDiffMeanWhole.
GME_INLINE void ClippedMaxWhole(ConstPlaneView src, uint8_t clip, uint8_t gain, PlaneView out,
                                const Interior& in) {
    uint8_t vms[2][kWholeSpan + kFixedWindow - 1] = {};   // the tails feed dropped columns only
    uint8_t o[kWholeSpan];
    for (int band = in.y0; band < in.y1; band += kWholeBand) {
        const int bandEnd = std::min(in.y1, band + kWholeBand);
        for (int cx = in.x0; cx >= 0; cx = NextWholePiece(cx, in.x1)) {
            const bool whole = cx + kWholeSpan <= in.x1;
            for (int y = band; y < bandEnd; ++y) {
                uint8_t* __restrict vm = vms[(y - band) & 1];
                const uint8_t* p[kFixedWindow];
                for (int dy = 0; dy < kFixedWindow; ++dy)
                    p[dy] = src.Row(y - in.before + dy) + (cx - in.before);
                for (int i = 0; i < kWholeSpan; ++i) {
                    uint8_t v = p[0][i];
                    for (int dy = 1; dy < kFixedWindow; ++dy)
                        v = Max(v, p[dy][i]);
                    vm[i] = v;
                }
                if (y > band)
                    WholeMaxRow(vms[(y - band + 1) & 1], clip, gain, whole, out.Row(y - 1) + cx, o);
            }
            WholeMaxRow(vms[(bandEnd - 1 - band) & 1], clip, gain, whole, out.Row(bandEnd - 1) + cx,
                        o);
        }
    }
}

// Window maxima by row pieces: the window's rows into vm, the window's columns of vm,
// then clipped and scaled. kWindow as for the sums.
template <int kWindow>
GME_INLINE void ClippedMaxRows(ConstPlaneView src, int window, uint8_t clip, uint8_t gain,
                               PlaneView out, const Interior& in, uint8_t* __restrict vm,
                               uint8_t* __restrict acc, int span) {
    if (kWindow > 0)
        window = kWindow;
    const int step = span - (window - 1);
    for (int y = in.y0; y < in.y1; ++y) {
        for (int cx = in.x0; cx < in.x1; cx += step) {
            const int n = std::min(step, in.x1 - cx);
            const int m = std::min(n + window - 1, span);   // never less: says so to the compiler
            const long first = cx - in.before;
            uint8_t* o = out.Row(y) + cx;
            if constexpr (kWindow > 0) {
                const uint8_t* p[kWindow];
                for (int dy = 0; dy < kWindow; ++dy)
                    p[dy] = src.Row(y - in.before + dy) + first;
                for (int i = 0; i < m; ++i) {
                    uint8_t v = p[0][i];
                    for (int dy = 1; dy < kWindow; ++dy)
                        v = Max(v, p[dy][i]);
                    vm[i] = v;
                }
                for (int i = 0; i < n; ++i) {
                    uint8_t v = vm[i];
                    for (int dx = 1; dx < kWindow; ++dx)
                        v = Max(v, vm[i + dx]);
                    o[i] = static_cast<uint8_t>(gain * Min(v, clip));
                }
            } else {
                const uint8_t* p = src.Row(y - in.before) + first;
                for (int i = 0; i < m; ++i)
                    vm[i] = p[i];
                for (int dy = 1; dy < window; ++dy) {
                    p = src.Row(y - in.before + dy) + first;
                    for (int i = 0; i < m; ++i)
                        vm[i] = Max(vm[i], p[i]);
                }
                for (int i = 0; i < n; ++i)
                    acc[i] = vm[i];
                for (int dx = 1; dx < window; ++dx)
                    for (int i = 0; i < n; ++i)
                        acc[i] = Max(acc[i], vm[i + dx]);
                for (int i = 0; i < n; ++i)
                    o[i] = static_cast<uint8_t>(gain * Min(acc[i], clip));
            }
        }
    }
}

GME_INLINE void ClippedMaxBody(ConstPlaneView src, int window, unsigned int clip,
                               unsigned int gain, PlaneView out, int rowBegin, int rowEnd) {
    const Interior in(window, out.width, out.height, rowBegin, rowEnd);
    if (window < 1 || in.Empty())
        return;
    // A maximum is at most 255, so a clip level above it never acts; the product's low 8
    // bits depend only on the low 8 bits of the gain.
    const uint8_t clip8 = static_cast<uint8_t>(std::min(clip, 255u));
    const uint8_t gain8 = static_cast<uint8_t>(gain);
    if (window - 1 < kSpan / 2) {
        uint8_t vm[kSpan], acc[kSpan];
        if (window == kFixedWindow && in.x1 - in.x0 >= kWholeStep)
            ClippedMaxWhole(src, clip8, gain8, out, in);
        else if (window == kFixedWindow)
            ClippedMaxRows<kFixedWindow>(src, window, clip8, gain8, out, in, vm, acc, kSpan);
        else
            ClippedMaxRows<0>(src, window, clip8, gain8, out, in, vm, acc, kSpan);
    } else {
        const int span = in.x1 - in.x0 + window - 1;
        std::vector<uint8_t> vm(static_cast<size_t>(span)), acc(static_cast<size_t>(span));
        ClippedMaxRows<0>(src, window, clip8, gain8, out, in, vm.data(), acc.data(), span);
    }
}

GME_INLINE void BinarizeBody(ConstPlaneView in, uint8_t threshold, uint8_t black, uint8_t white,
                             PlaneView out) {
    for (int y = 0; y < in.height; ++y) {
        const uint8_t* p = in.Row(y);
        uint8_t* o = out.Row(y);
        for (int x = 0; x < in.width; ++x)
            o[x] = p[x] <= threshold ? black : white;
    }
}

// The eight rows of a block row added column by column (at most 8 * 255 each), then each
// block's eight columns.
GME_INLINE void BlockSumsBody(ConstPlaneView in, int* sums) {
    const int wx = in.width / 8;
    const int wy = in.height / 8;
    uint16_t acc[kSpan];   // kSpan is a multiple of 8
    for (int j = 0; j < wy; ++j) {
        for (int cx = 0; cx < 8 * wx; cx += kSpan) {
            const int n = std::min(kSpan, 8 * wx - cx);
            const uint8_t* p = in.Row(8 * j) + cx;
            for (int i = 0; i < n; ++i)
                acc[i] = p[i];
            for (int r = 1; r < 8; ++r) {
                p = in.Row(8 * j + r) + cx;
                for (int i = 0; i < n; ++i)
                    acc[i] = static_cast<uint16_t>(acc[i] + p[i]);
            }
            int* s = sums + static_cast<long>(j) * wx + cx / 8;
            for (int k = 0; k < n / 8; ++k) {
                const uint16_t* q = acc + 8 * k;
                s[k] = q[0] + q[1] + q[2] + q[3] + q[4] + q[5] + q[6] + q[7];
            }
        }
    }
}

// The same with each sample first binarized: the eight rows count the samples above the
// threshold, and a block with n of them sums n * white + (64 - n) * black.
GME_INLINE void BinaryBlockSumsBody(ConstPlaneView in, uint8_t threshold, uint8_t black,
                                    uint8_t white, int* sums) {
    const int wx = in.width / 8;
    const int wy = in.height / 8;
    uint8_t above[kSpan];
    for (int j = 0; j < wy; ++j) {
        for (int cx = 0; cx < 8 * wx; cx += kSpan) {
            const int n = std::min(kSpan, 8 * wx - cx);
            const uint8_t* p = in.Row(8 * j) + cx;
            for (int i = 0; i < n; ++i)
                above[i] = p[i] > threshold;
            for (int r = 1; r < 8; ++r) {
                p = in.Row(8 * j + r) + cx;
                for (int i = 0; i < n; ++i)
                    above[i] = static_cast<uint8_t>(above[i] + (p[i] > threshold));
            }
            int* s = sums + static_cast<long>(j) * wx + cx / 8;
            for (int k = 0; k < n / 8; ++k) {
                const uint8_t* q = above + 8 * k;
                const int count = q[0] + q[1] + q[2] + q[3] + q[4] + q[5] + q[6] + q[7];
                s[k] = count * white + (64 - count) * black;
            }
        }
    }
}

// One function per kernel and path, each with the body inlined.
#define GME_DEFINE_PATH(path, attributes)                                                     \
    namespace path {                                                                          \
    attributes void AbsDiffMean(ConstPlaneView a, ConstPlaneView b, int window, PlaneView out, \
                                int rowBegin, int rowEnd) {                                   \
        AbsDiffMeanBody(a, b, window, out, rowBegin, rowEnd);                                 \
    }                                                                                         \
    attributes void ClippedMax(ConstPlaneView in, int window, unsigned int clip,              \
                               unsigned int gain, PlaneView out, int rowBegin, int rowEnd) {  \
        ClippedMaxBody(in, window, clip, gain, out, rowBegin, rowEnd);                        \
    }                                                                                         \
    attributes void Binarize(ConstPlaneView in, uint8_t threshold, uint8_t black,             \
                             uint8_t white, PlaneView out) {                                  \
        BinarizeBody(in, threshold, black, white, out);                                       \
    }                                                                                         \
    attributes void BlockSums(ConstPlaneView in, int* sums) { BlockSumsBody(in, sums); }      \
    attributes void BinaryBlockSums(ConstPlaneView in, uint8_t threshold, uint8_t black,      \
                                    uint8_t white, int* sums) {                               \
        BinaryBlockSumsBody(in, threshold, black, white, sums);                               \
    }                                                                                         \
    const PlaneKernels kKernels{AbsDiffMean, ClippedMax, Binarize, BlockSums, BinaryBlockSums};  \
    }

GME_DEFINE_PATH(plain, )
#ifdef GME_X86_PATHS
GME_DEFINE_PATH(avx2, __attribute__((target("avx2"))))
GME_DEFINE_PATH(avx512, __attribute__((target("avx512f,avx512bw,avx512dq,avx512vl"))))
#endif

#undef GME_DEFINE_PATH

}  // namespace

const PlaneKernels& Kernels(numeric::VectorUnit unit) {
#ifdef GME_X86_PATHS
    switch (unit) {
    case numeric::VectorUnit::kPlain:
        break;
    case numeric::VectorUnit::kAvx2:
        return avx2::kKernels;
    case numeric::VectorUnit::kAvx512:
        return avx512::kKernels;
    }
#endif
    (void)unit;
    return plain::kKernels;
}

}  // namespace segmentation
