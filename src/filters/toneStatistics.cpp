// Tone filters that depend on a statistic of the whole picture (CONTRAST, Equalize, StuckiBW and
// the GetL* readings), the gamma curve, and the palette reduction.
//
// The statistics always cover the whole picture, whatever the selection, so that a selection
// is changed exactly as it would be as part of the whole picture. Their sums are 64-bit: a large
// picture's sum of levels passes 32 bits (255 * 24 million pixels already does not fit a long),
// and a sum that wrapped would give a wrong mean without any error.
//
// StuckiBW and PaletteApply carry their error from pixel to pixel and row to row, so they run in
// order on the calling thread; everything else runs on all threads and gives the same result for
// any number of them (integer sums and counts do not depend on the order of addition).
#include "filters/cBitFilter.h"
#include "filters/filterFrame.h"
#include "filters/filterMath.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace velmar {

using filters::clampByte;
using filters::idiv;

namespace {

// ---- Levels -------------------------------------------------------------------------------------


// Sum of the levels of one row. Chunks of 2^16 pixels keep the vectorised 32-bit partial sums
// from wrapping (2^16 * 255 < 2^32) however wide the picture.
std::uint64_t rowLevelSum(const std::uint8_t* row, std::int32_t width) {
    const Pixel32* __restrict p = reinterpret_cast<const Pixel32*>(row);
    std::uint64_t total = 0;
    for (std::int32_t x0 = 0; x0 < width; x0 += 1 << 16) {
        const std::int32_t x1 = std::min(width, x0 + (1 << 16));
        std::uint32_t s = 0;
        for (std::int32_t x = x0; x < x1; ++x)
            s += levelOf(p[x]);
        total += s;
    }
    return total;
}

// Combines rowFn(acc, y) over all rows 0..rows-1 on `threads` threads: each block of rows has
// its own accumulator, merged in block order at the end.
template <class T, class RowFn, class Merge>
T reduceRows(std::int32_t rows, int threads, const T& zero, RowFn&& rowFn, Merge&& merge) {
    constexpr std::int32_t kBlockRows = 16;
    const std::int32_t blocks = rows <= 0 ? 0 : (rows + kBlockRows - 1) / kBlockRows;
    std::vector<T> partial(static_cast<std::size_t>(blocks), zero);
    filters::runRows(
        0, blocks - 1, threads,
        [&](int b) {
            const std::int32_t y1 = std::min(rows, (b + 1) * kBlockRows);
            for (std::int32_t y = b * kBlockRows; y < y1; ++y)
                rowFn(partial[static_cast<std::size_t>(b)], y);
        },
        [](int) {});
    T total = zero;
    for (const T& p : partial)
        merge(total, p);
    return total;
}

// The mean level of the whole picture, ignoring the selection: sum div pixel count. An empty
// picture divides by zero.
std::int32_t meanLevel(std::uint64_t sum, std::int32_t w1, std::int32_t h1) {
    const std::int64_t count = (std::int64_t{w1} + 1) * (std::int64_t{h1} + 1);
    return idiv(static_cast<std::int64_t>(sum), count);
}

// percent + 100 in the program's long arithmetic.
std::int32_t plus100(std::int32_t v) {
    const std::int64_t r = std::int64_t{v} + 100;
    if (r > INT32_MAX) throw RuntimeError::Overflow();
    return static_cast<std::int32_t>(r);
}

// ---- Byte maps ----------------------------------------------------------------------------------

// A new value for each channel byte, the same for the three colour channels. An entry may be
// marked instead: a pixel that meets one is left to the filter's own slow path.
struct ByteMap {
    std::array<std::uint8_t, 256> value{};
    std::array<std::uint8_t, 256> marked{}; // 0x80 where marked, for the byte permutes below
    // For the scalar loop: one table per channel with the entry already shifted to its byte, so
    // a pixel is three loads and two ORs; a marked entry holds kMarked.
    std::array<std::uint32_t, 256> shifted[3];

    void Mark(std::size_t i) { marked[i] = 0x80; }
    void Finish() {
        for (std::size_t i = 0; i < 256; ++i)
            for (unsigned c = 0; c < 3; ++c)
                shifted[c][i] = marked[i] != 0 ? kMarked : std::uint32_t{value[i]} << (8 * c);
    }
    static constexpr std::uint32_t kMarked = 1u << 24;
};

#if defined(__x86_64__)
#define VELMAR_BYTE_PERMUTES 1
// Processors with AVX-512 VBMI look a byte up in a 64-byte table held in two registers with one
// instruction, 32 bytes at a time: a 256-entry map is four such lookups chosen by the top two
// bits of the index. That is three to four times faster than the scalar loop, which is kept for
// other processors and for the last pixels of a span.
bool hasBytePermutes() {
    static const bool yes = __builtin_cpu_supports("avx512vbmi") &&
                            __builtin_cpu_supports("avx512vl") &&
                            __builtin_cpu_supports("avx512bw");
    return yes;
}

#define VELMAR_VBMI __attribute__((target("avx2,avx512f,avx512bw,avx512vl,avx512vbmi")))

struct PermuteTable {
    __m256i part[8];
};

VELMAR_VBMI inline PermuteTable loadPermuteTable(const std::array<std::uint8_t, 256>& t) {
    PermuteTable p;
    for (std::size_t i = 0; i < 8; ++i)
        p.part[i] = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(t.data() + 32 * i));
    return p;
}

VELMAR_VBMI inline __m256i lookUp(const PermuteTable& t, __m256i index) {
    const __m256i a = _mm256_permutex2var_epi8(t.part[0], index, t.part[1]); // 0..63
    const __m256i b = _mm256_permutex2var_epi8(t.part[2], index, t.part[3]); // 64..127
    const __m256i c = _mm256_permutex2var_epi8(t.part[4], index, t.part[5]); // 128..191
    const __m256i d = _mm256_permutex2var_epi8(t.part[6], index, t.part[7]); // 192..255
    const __mmask32 bit6 = _mm256_test_epi8_mask(index, _mm256_set1_epi8(0x40));
    const __mmask32 bit7 = _mm256_movepi8_mask(index);
    return _mm256_mask_blend_epi8(bit7, _mm256_mask_blend_epi8(bit6, a, b),
                                  _mm256_mask_blend_epi8(bit6, c, d));
}

// Maps pixels x0.. of a span eight at a time and returns where it stopped. With kMarks, the
// pixels that met a marked entry are listed in `marked` from `count` on; the list needs room for
// x1 - x0 + 8 entries.
template <bool kMarks>
VELMAR_VBMI int mapSpanPermutes(const std::uint8_t* __restrict src, std::uint8_t* __restrict out,
                                int x0, int x1, const ByteMap& map, int* __restrict marked,
                                int& count) {
    const PermuteTable values = loadPermuteTable(map.value);
    PermuteTable marks{};
    if constexpr (kMarks) marks = loadPermuteTable(map.marked);
    constexpr __mmask32 kFourthBytes = 0x88888888u;
    const __m256i colourBits = _mm256_set1_epi32(0x00808080);
    __m256i xs = _mm256_add_epi32(_mm256_set1_epi32(x0), _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7));
    int n = count;
    int x = x0;
    for (; x + 8 <= x1; x += 8) {
        const __m256i p = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + x * 4));
        const __m256i v = _mm256_mask_blend_epi8(kFourthBytes, lookUp(values, p), p);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + x * 4), v);
        if constexpr (kMarks) {
            const __mmask8 hit = _mm256_test_epi32_mask(lookUp(marks, p), colourBits);
            // Compressed in a register and stored whole (8 slots; the list has room for them):
            // a compressing store straight to memory is microcoded and far slower on some cores.
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(marked + n),
                                _mm256_maskz_compress_epi32(hit, xs));
            n += __builtin_popcount(hit);
            xs = _mm256_add_epi32(xs, _mm256_set1_epi32(8));
        }
    }
    count = n;
    return x;
}
#endif

// Maps channels 0..2 of the pixels x0..x1-1 of a row and carries the fourth byte over. With
// kMarks, the pixels that met a marked entry are listed in `marked` and their count returned.
template <bool kMarks>
int mapSpan(const std::uint8_t* src, std::uint8_t* out, int x0, int x1, const ByteMap& map,
            int* marked) {
    int count = 0;
    int x = x0;
#ifdef VELMAR_BYTE_PERMUTES
    if (hasBytePermutes()) x = mapSpanPermutes<kMarks>(src, out, x0, x1, map, marked, count);
#endif
    const Pixel32* __restrict s = reinterpret_cast<const Pixel32*>(src);
    Pixel32* __restrict o = reinterpret_cast<Pixel32*>(out);
    const std::uint32_t* __restrict t0 = map.shifted[0].data();
    const std::uint32_t* __restrict t1 = map.shifted[1].data();
    const std::uint32_t* __restrict t2 = map.shifted[2].data();
    for (; x < x1; ++x) {
        const std::uint32_t p = s[x];
        const std::uint32_t v = t0[p & 255u] | t1[(p >> 8) & 255u] | t2[(p >> 16) & 255u];
        o[x] = (p & kMaskByte) | (v & 0x00FFFFFFu);
        if constexpr (kMarks) {
            if ((v & ByteMap::kMarked) != 0) marked[count++] = x;
        }
    }
    return count;
}

velmar::Bits applyByteTable(cBitFilter& f, const std::array<std::uint8_t, 256>& table) {
    ByteMap map;
    map.value = table;
    map.Finish();
    return FilterFrame::Run(f, {}, [&map](const FrameRow& row, int x0, int x1) {
        mapSpan<false>(row.src, row.out, x0, x1, map, nullptr);
    });
}

// ---- CONTRAST's overflow hand-on ----------------------------------------------------------------

// One round of the hand-on that brings b, g, r into 0..255: the overflow of each channel goes
// half to each of the other two, so that the hue survives better than with a plain clamp. The
// eight steps and their order decide the result; d is a truncating div by 2, written as a shift
// (v div 2 is (v + 1) >> 1 for v <= 0, and v >> 1 for v >= 0). No step branches: a value inside its
// bounds passes min and max unchanged and a d of 0 changes nothing, so the same text runs on one
// pixel (T = long, with the sums checked) or on sixteen side by side (T = Lanes), and a pixel
// already inside 0..255 passes a round unchanged.
template <class T, class Add> void handOnRound(T& b, T& g, T& r, Add add) {
    const T zero{};
    const T one = zero + 1;
    const T top = zero + 255;
    auto lower = [](T a, T c) { return a < c ? a : c; };
    auto upper = [](T a, T c) { return a > c ? a : c; };
    const auto allLow = upper(b, upper(g, r)) <= 0; // 1: b < 1, g <= 0, r <= 0
    b = allLow ? zero : b;
    g = allLow ? zero : g;
    r = allLow ? zero : r;
    const auto allHigh = lower(b, lower(g, r)) >= 255; // 2
    b = allHigh ? top : b;
    g = allHigh ? top : g;
    r = allHigh ? top : r;
    T d = (lower(b, zero) + one) >> 1; // 3: b < 0
    g = add(g, d);
    r = add(r, d);
    b = upper(b, zero);
    d = (upper(b, top) - top) >> 1; // 4: b > 255
    g = add(g, d);
    r = add(r, d);
    d = (lower(g, zero) + one) >> 1; // 5: g < 0; either way b is cut to 255
    b = lower(b, top) + d;
    r = add(r, d);
    g = upper(g, zero);
    d = (upper(g, top) - top) >> 1; // 6: g > 255
    b = add(b, d);
    r = add(r, d);
    d = (lower(r, zero) + one) >> 1; // 7: r < 0; either way g is cut to 255
    g = lower(g, top) + d;
    b = add(b, d);
    r = upper(r, zero);
    d = (upper(r, top) - top) >> 1; // 8: r > 255
    g = add(g, d);
    b = add(b, d);
    r = lower(r, top);
}

// Rounds are repeated until all three values lie in 0..255.
//
// Why that ends: let P be the total distance of the three values from 0..255. Each hand-on takes
// E from one channel, which ends on its bound, and adds E div 2 to each of the two others, whose
// distance grows by at most that much; so P never grows, and it only stays put when E is even
// and both others already sit on or beyond the same bound. The first hand-on of a round cannot
// be such a one: it would need all three values <= 0 (b < 0, g < 0 or r < 0 first) or all >= 255
// (b, g or r > 255 first), and it acts on the values the round began with, which steps 1 and 2
// have already settled. So every round that does not finish lowers P by at least 1. In practice
// each hand-on halves the excess, and a pixel needs a handful of rounds.
void handOn(std::int32_t& b, std::int32_t& g, std::int32_t& r) {
    while (((b | g | r) & ~255) != 0)
        handOnRound(b, g, r, [](std::int32_t x, std::int32_t y) {
            return filters::checkedLong(std::int64_t{x} + y);
        });
}

// Sixteen pixels side by side in 16-bit lanes (eight without AVX2), two such groups at a time:
// the steps of a round wait on each other, and a second, independent group fills those gaps.
//
// Why 16 bits suffice: a positive excess is handed on in steps 4 and 6 before its channel is cut
// back in steps 5 and 7, so within a round P reaches at most twice its value at the start of the
// round, and no value ever lies further than 2 P0 outside 0..255. With every table value within
// +-kLaneLimit, P0 <= 3 * kLaneLimit, and no value or intermediate passes 255 + 6 * 5000 < 2^15.
// Without AVX the lanes are half as wide, since a 32-byte vector would change how it is passed.
#ifdef __AVX2__
using Lanes = std::int16_t __attribute__((vector_size(32)));
#else
using Lanes = std::int16_t __attribute__((vector_size(16)));
#endif
constexpr int kLanes = static_cast<int>(sizeof(Lanes) / sizeof(std::int16_t));
constexpr int kGroups = 2;
constexpr std::int32_t kLaneLimit = 5000;

inline bool anyOutside(Lanes b, Lanes g, Lanes r) {
    const Lanes o = (b | g | r) & ~255;
#ifdef __AVX2__
    return !_mm256_testz_si256(reinterpret_cast<__m256i>(o), reinterpret_cast<__m256i>(o));
#else
    std::int16_t any = 0;
    for (int k = 0; k < kLanes; ++k)
        any |= o[k];
    return any != 0;
#endif
}

// Runs the hand-on on kGroups * kLanes pixels held channel by channel in b, g, r.
void handOnLanes(std::int16_t* b, std::int16_t* g, std::int16_t* r) {
    Lanes vb[kGroups], vg[kGroups], vr[kGroups];
    std::memcpy(vb, b, sizeof vb);
    std::memcpy(vg, g, sizeof vg);
    std::memcpy(vr, r, sizeof vr);
    for (;;) {
        bool any = false;
        for (int k = 0; k < kGroups; ++k)
            any |= anyOutside(vb[k], vg[k], vr[k]);
        if (!any) break;
        for (int k = 0; k < kGroups; ++k)
            handOnRound(vb[k], vg[k], vr[k], [](Lanes v, Lanes d) { return v + d; });
    }
    std::memcpy(b, vb, sizeof vb);
    std::memcpy(g, vg, sizeof vg);
    std::memcpy(r, vr, sizeof vr);
}

inline std::uint32_t packPixel(std::uint32_t source, std::int32_t b, std::int32_t g,
                               std::int32_t r) {
    return (source & kMaskByte) | static_cast<std::uint32_t>(b) |
           (static_cast<std::uint32_t>(g) << 8) | (static_cast<std::uint32_t>(r) << 16);
}

// ---- Equalize -----------------------------------------------------------------------------------

using Histogram = std::array<std::uint64_t, 256>;

// Adds row y's levels round(0.113 B + 0.586 G + 0.301 R) to the histogram. The level is taken
// exactly as n / 1000 with n = 113 B + 586 G + 301 R (the weights add up to 1, so it is a byte):
// n is a whole number below 2^24, so n / 1000 in single precision is exact at the ties and
// elsewhere at least 1/1000 from a tie, far beyond its error, and the rounding is exact.
void addRowToHistogram(Histogram& hist, const std::uint8_t* row, std::int32_t width) {
    constexpr int kChunk = 512;
    std::uint8_t levels[kChunk];
    // Four interleaved counters per bin, so runs of one level do not wait on each other.
    std::uint32_t counts[4][256] = {};
    const Pixel32* __restrict p = reinterpret_cast<const Pixel32*>(row);
    for (std::int32_t x0 = 0; x0 < width; x0 += kChunk) {
        const int n = static_cast<int>(std::min<std::int32_t>(kChunk, width - x0));
        for (int i = 0; i < n; ++i) {
            const std::uint32_t q = p[x0 + i];
            const float w =
                113.0f * static_cast<float>(static_cast<std::int32_t>(q & 255u)) +
                586.0f * static_cast<float>(static_cast<std::int32_t>((q >> 8) & 255u)) +
                301.0f * static_cast<float>(static_cast<std::int32_t>((q >> 16) & 255u));
            levels[i] = static_cast<std::uint8_t>(
                static_cast<std::int32_t>(roundHalfEvenSmall(w / 1000.0f)));
        }
        int i = 0;
        for (; i + 4 <= n; i += 4) {
            ++counts[0][levels[i]];
            ++counts[1][levels[i + 1]];
            ++counts[2][levels[i + 2]];
            ++counts[3][levels[i + 3]];
        }
        for (; i < n; ++i)
            ++counts[0][levels[i]];
    }
    // A row holds fewer than 2^31 pixels, so a 32-bit counter cannot wrap before this.
    for (std::size_t v = 0; v < 256; ++v)
        hist[v] += std::uint64_t{counts[0][v]} + counts[1][v] + counts[2][v] + counts[3][v];
}

// ---- StuckiBW -----------------------------------------------------------------------------------

// What a pixel does for the sum u = level + pushed error, -255..510 (clamped to v first): its
// output, its error e and the parts of e for E1[x+1] and E1[x+2]. One load answers all of it,
// which keeps the chain from one pixel to the next short.
struct StuckiStep {
    std::int32_t right1, right2, error;
    std::uint32_t white; // 0x00FFFFFF or 0
};

// The parts e * w div 42 of an error for the next row and the one after, at x-2..x+2.
using StuckiBelow = std::array<std::array<std::int16_t, 5>, 2>;

// Adds the parts of pixels c0..c1-1 (their errors in `errors`) to the cells x-2..x+2 of the row
// `below` + 1 rows down. A cell is stored once no later pixel of the span can add to it; `open`
// holds the four cells still taking parts, c0-2..c0+1 on entry and c1-2..c1+1 on return.
void spreadBelow(std::int32_t* __restrict e, int below, const std::int16_t* errors, int c0, int c1,
                 std::int32_t w1, const StuckiBelow* partsOf, std::int32_t (&open)[4]) {
    std::int32_t a0 = open[0], a1 = open[1], a2 = open[2], a3 = open[3];
    for (int x = c0; x < c1; ++x) {
        const std::array<std::int16_t, 5>& w =
            partsOf[errors[x - c0]][static_cast<std::size_t>(below)];
        a0 += x > 1 ? w[0] : 0;
        a1 += x > 0 ? w[1] : 0;
        a2 += w[2];
        a3 += x < w1 - 1 ? w[3] : 0;
        if (x > 1) e[x - 2] += a0;
        a0 = a1;
        a1 = a2;
        a2 = a3;
        a3 = x < w1 - 2 ? w[4] : 0;
    }
    open[0] = a0;
    open[1] = a1;
    open[2] = a2;
    open[3] = a3;
}

} // namespace

// ---- Filters ------------------------------------------------------------------------------------

velmar::Bits cBitFilter::CONTRAST(std::int32_t percent) {
    // First pass over the whole picture, selection and box aside, with its own progress.
    const std::int32_t width = W1_ + 1;
    const std::uint64_t sum = FilterFrame::SumRows<std::uint64_t>(
        *this, true, [&](int y) { return rowLevelSum(bits_.Row(y), width); });
    const std::int32_t mean = meanLevel(sum, W1_, H1_);

    const double f = plus100(percent) / 100.0;
    std::array<std::int32_t, 256> levels; // unclamped: the hand-on needs the overflow
    ByteMap map;
    bool wide = false;
    for (std::size_t i = 0; i < 256; ++i) {
        const std::int32_t l = roundToLong((static_cast<double>(i) - mean) * f + mean);
        levels[i] = l;
        if (l >= 0 && l <= 255)
            map.value[i] = static_cast<std::uint8_t>(l);
        else
            map.Mark(i);
        wide |= l > kLaneLimit || l < -kLaneLimit;
    }
    map.Finish();

    std::array<std::int16_t, 256> narrow{}; // the same levels, when they fit the 16-bit lanes
    if (!wide)
        for (std::size_t i = 0; i < 256; ++i)
            narrow[i] = static_cast<std::int16_t>(levels[i]);

    return FilterFrame::Run(*this, {}, [&](const FrameRow& row, int x0, int x1) {
        const Pixel32* __restrict s = reinterpret_cast<const Pixel32*>(row.src);
        Pixel32* __restrict o = reinterpret_cast<Pixel32*>(row.out);
        constexpr int kChunk = 256;
        constexpr int kBatch = kGroups * kLanes;
        int marked[kChunk + 8];
        alignas(32) std::int16_t b[kBatch], g[kBatch], r[kBatch];
        for (int c0 = x0; c0 < x1; c0 += kChunk) {
            // The table first; then the pixels it could not answer.
            const int n =
                mapSpan<true>(row.src, row.out, c0, std::min(x1, c0 + kChunk), map, marked);
            if (wide) { // beyond 16 bits: one pixel at a time, every sum checked
                for (int i = 0; i < n; ++i) {
                    const std::uint32_t p = s[marked[i]];
                    std::int32_t vb = levels[p & 255u], vg = levels[(p >> 8) & 255u],
                                 vr = levels[(p >> 16) & 255u];
                    handOn(vb, vg, vr);
                    o[marked[i]] = packPixel(p, vb, vg, vr);
                }
                continue;
            }
            for (int i0 = 0; i0 < n; i0 += kBatch) {
                const int k = std::min(kBatch, n - i0);
                for (int i = 0; i < k; ++i) {
                    const std::uint32_t p = s[marked[i0 + i]];
                    b[i] = narrow[p & 255u];
                    g[i] = narrow[(p >> 8) & 255u];
                    r[i] = narrow[(p >> 16) & 255u];
                }
                for (int i = k; i < kBatch; ++i) // lanes not taken sit still inside 0..255
                    b[i] = g[i] = r[i] = 0;
                handOnLanes(b, g, r);
                for (int i = 0; i < k; ++i)
                    o[marked[i0 + i]] = packPixel(s[marked[i0 + i]], b[i], g[i], r[i]);
            }
        }
    });
}

// c' = round((c / 255)^(1 / g) * 255) depends on c and g only, so the 256 possible answers are
// worked out once: the same values as per pixel, without a pow() per channel. The power of a
// number in 0..1 stays in 0..1, so no entry can leave the byte range.
velmar::Bits cBitFilter::GammaCorrection(std::int32_t level) {
    const float g = static_cast<float>(plus100(level) / 100.0);
    std::array<std::uint8_t, 256> table{}; // g <= 0: black
    if (g > 0.0f) {
        const double e = 1.0 / static_cast<double>(g);
        for (std::size_t c = 0; c < 256; ++c)
            table[c] = roundToByte(std::pow(static_cast<double>(c) / 255.0, e) * 255.0);
    }
    return applyByteTable(*this, table);
}

velmar::Bits cBitFilter::Equalize() {
    // The histogram covers the whole picture, selection and box aside, and reports no progress.
    const std::int32_t width = W1_ + 1;
    const Histogram hist = reduceRows(
        H1_ + 1, threads_, Histogram{},
        [&](Histogram& h, std::int32_t y) { addRowToHistogram(h, bits_.Row(y), width); },
        [](Histogram& total, const Histogram& h) {
            for (std::size_t v = 0; v < 256; ++v)
                total[v] += h[v];
        });

    // The median bin m: the walk stops where the running sum first exceeds half the pixels.
    // An empty picture never gets there and walks off the end of the histogram.
    const std::uint64_t half = (std::uint64_t(W1_ + 1) * std::uint64_t(H1_ + 1)) / 2;
    std::uint64_t sum = 0;
    std::int32_t m = 0;
    for (;; ++m) {
        if (m > 255) throw RuntimeError(9, "Subscript out of range");
        sum += hist[static_cast<std::size_t>(m)];
        if (sum > half) break;
    }
    const std::int32_t mid = hist[static_cast<std::size_t>(m)] / 2 > sum - half ? m : m - 1;
    const double hi = filters::fdiv(127.0, 255 - mid);
    const double lo = filters::fdiv(127.0, mid - 1);

    // mid lies in -1..254 (m = 255 always gives 254) and is not 1 here, so every entry is a
    // byte: c >= mid maps into 128..255 and c < mid into 0..127. The conversion keeps its range
    // test all the same.
    std::array<std::uint8_t, 256> table;
    for (std::int32_t c = 0; c < 256; ++c)
        table[static_cast<std::size_t>(c)] =
            c >= mid ? roundToByte((c - mid) * hi + 128.0) : roundToByte(c * lo);
    return applyByteTable(*this, table);
}

std::int32_t cBitFilter::GetLMax() const {
    const std::int32_t width = W1_ + 1;
    return static_cast<std::int32_t>(reduceRows(
        H1_ + 1, threads_, std::uint32_t{0},
        [&](std::uint32_t& m, std::int32_t y) {
            const Pixel32* __restrict p = reinterpret_cast<const Pixel32*>(bits_.Row(y));
            std::uint32_t v = m;
            for (std::int32_t x = 0; x < width; ++x)
                v = std::max(v, levelOf(p[x]));
            m = v;
        },
        [](std::uint32_t& total, std::uint32_t v) { total = std::max(total, v); }));
}

std::int32_t cBitFilter::GetLMin() const {
    const std::int32_t width = W1_ + 1;
    return static_cast<std::int32_t>(reduceRows(
        H1_ + 1, threads_, std::uint32_t{255},
        [&](std::uint32_t& m, std::int32_t y) {
            const Pixel32* __restrict p = reinterpret_cast<const Pixel32*>(bits_.Row(y));
            std::uint32_t v = m;
            for (std::int32_t x = 0; x < width; ++x)
                v = std::min(v, levelOf(p[x]));
            m = v;
        },
        [](std::uint32_t& total, std::uint32_t v) { total = std::min(total, v); }));
}

std::int32_t cBitFilter::GetLMed() const {
    const std::int32_t width = W1_ + 1;
    const std::uint64_t sum = reduceRows(
        H1_ + 1, threads_, std::uint64_t{0},
        [&](std::uint64_t& s, std::int32_t y) { s += rowLevelSum(bits_.Row(y), width); },
        [](std::uint64_t& total, std::uint64_t s) { total += s; });
    return meanLevel(sum, W1_, H1_);
}

// Two-level Stucki dither: the error of each pixel is spread over the next two pixels of its row
// and five pixels of each of the two rows below, in 42ths, through three rolling error rows.
velmar::Bits cBitFilter::StuckiBW(std::int32_t divisor) {
    // The twelve parts of an error e in -255..255: e * w div 42 for the weights 8 and 4 (x+1,
    // x+2 of the row), 2 4 8 4 2 (x-2..x+2 of the next row) and 1 2 4 2 1 (the row after).
    auto part = [](std::int32_t e, std::int32_t w) { return e * w / 42; };
    std::vector<StuckiBelow> below(511);
    for (std::int32_t e = -255; e <= 255; ++e) {
        StuckiBelow& b = below[static_cast<std::size_t>(e + 255)];
        const std::int32_t weights[2][5] = {{2, 4, 8, 4, 2}, {1, 2, 4, 2, 1}};
        for (std::size_t r = 0; r < 2; ++r)
            for (std::size_t k = 0; k < 5; ++k)
                b[r][k] = static_cast<std::int16_t>(part(e, weights[r][k]));
    }
    const std::size_t cells = static_cast<std::size_t>(std::max(W1_ + 1, 0));
    std::vector<std::int32_t> rows[3] = {std::vector<std::int32_t>(cells),
                                         std::vector<std::int32_t>(cells),
                                         std::vector<std::int32_t>(cells)};
    std::int32_t* e1 = rows[0].data();
    std::int32_t* e2 = rows[1].data();
    std::int32_t* e3 = rows[2].data();

    const std::int32_t width = W1_ + 1;
    const std::uint64_t sum = FilterFrame::SumRows<std::uint64_t>(
        *this, true, [&](int y) { return rowLevelSum(bits_.Row(y), width); });
    const std::int32_t mean = meanLevel(sum, W1_, H1_);

    // (E1[x] * 10) div divisor as a table. E1[x] gathers at most one part of each of the twelve
    // weights (8 + 4 + 20 + 10 = 42) of errors of at most 255, so |E1[x]| <= 255 * 42 / 42.
    std::array<std::int32_t, 511> pushed{};
    if (divisor != 0)
        for (std::int32_t k = -255; k <= 255; ++k)
            pushed[static_cast<std::size_t>(k + 255)] = idiv(std::int64_t{k} * 10, divisor);

    // The pixel's step for every sum u = level + pushed error: v = u with the standard clamp,
    // output 255 when v >= mean, e = v - output.
    std::vector<StuckiStep> steps(766);
    for (std::int32_t u = -255; u <= 510; ++u) {
        const std::int32_t v = clampByte(u);
        const bool white = v >= mean;
        const std::int32_t e = v - (white ? 255 : 0);
        steps[static_cast<std::size_t>(u + 255)] = {part(e, 8), part(e, 4), e,
                                                    white ? 0x00FFFFFFu : 0u};
    }

    const std::int32_t w1 = W1_, h1 = H1_;
    std::int32_t lastY = 0; // the first row of the box, set on the first call (Run reads the box)
    bool started = false;
    FrameOptions options;
    options.sequential = true;
    return FilterFrame::Run(*this, options, [&](const FrameRow& row, int x0, int x1) {
        if (divisor == 0) throw RuntimeError::DivisionByZero();
        if (!started) {
            started = true;
            lastY = box_.top;
        }
        // The error rows move on after every row of the box, selected pixels or not.
        for (std::int32_t k = 0; k < std::min(row.y - lastY, 3); ++k) {
            std::int32_t* t = e1;
            e1 = e2;
            e2 = e3;
            e3 = t;
            std::fill_n(e3, cells, 0);
        }
        lastY = row.y;
        const Pixel32* __restrict s = reinterpret_cast<const Pixel32*>(row.src);
        Pixel32* __restrict o = reinterpret_cast<Pixel32*>(row.out);
        std::int32_t* __restrict E1 = e1;
        const StuckiStep* __restrict stepOf = steps.data() + 255;
        const StuckiBelow* belowOf = below.data() + 255;
        const std::int32_t* __restrict pushedBy = pushed.data() + 255;
        const std::int32_t lim1 = w1 - 1, lim2 = w1 - 2;

        // Each pixel waits for the error of the two on its left, so that chain is kept short:
        // the parts for E1[x+1] and E1[x+2] stay in registers until the span ends, and the parts
        // for the rows below, which no pixel of this row reads, are spread afterwards, a chunk
        // at a time.
        constexpr int kChunk = 1024;
        std::int16_t errors[kChunk];
        std::int32_t right1 = 0, right2 = 0;
        std::int32_t open[2][4] = {}; // rows below: cells x-2..x+1 still taking parts
        for (int c0 = x0; c0 < x1; c0 += kChunk) {
            const int c1 = std::min(x1, c0 + kChunk);
            for (int x = c0; x < c1; ++x) {
                const std::uint32_t p = s[x];
                const StuckiStep& step =
                    stepOf[static_cast<std::int32_t>(levelOf(p)) + pushedBy[E1[x] + right1]];
                o[x] = (p & kMaskByte) | step.white;
                errors[x - c0] = static_cast<std::int16_t>(step.error);
                right1 = right2 + (x < lim1 ? step.right1 : 0);
                right2 = x < lim2 ? step.right2 : 0;
            }
            for (int r = 0; r < 2; ++r)
                if (row.y < h1 - 1 - r)
                    spreadBelow(r == 0 ? e2 : e3, r, errors, c0, c1, w1, belowOf, open[r]);
        }
        // What is still open belongs to E1[x1+1] and to the rows below at x1-2..x1+1 (parts
        // meant for cells outside the row were never taken). E1[x1] is left out: x1 is not
        // selected, so no pixel of this row reads it, and E1 is dropped after the row.
        auto flush = [w1](std::int32_t* e, int x, std::int32_t v) {
            if (x >= 0 && x <= w1) e[x] += v;
        };
        flush(e1, x1 + 1, right2);
        for (int k = 0; k < 4; ++k) {
            flush(e2, x1 - 2 + k, open[0][k]);
            flush(e3, x1 - 2 + k, open[1][k]);
        }
    });
}

// Reduces the selection to the palette with a truncated error diffusion that writes its error
// into the object's own picture, ahead of the pixels still to come. The result starts as a full
// copy of the picture as it was, so pixels outside the selection keep their first values even
// where the error has run into them.
velmar::Bits cBitFilter::PaletteApply(const mPalette& palette) {
    // Without a colour there is no nearest one: refuse before any pixel is touched.
    if (palette.Count() == 0) throw EmptyPaletteError();
    const std::int32_t w1 = W1_, h1 = H1_;
    FrameOptions options;
    options.sequential = true;
    options.copyFirst = true;
    return FilterFrame::Run(*this, options, [&](const FrameRow& row, int x0, int x1) {
        std::uint8_t* here = bits_.Row(row.y); // the source itself, which takes the error
        std::uint8_t* below = row.y < h1 ? bits_.Row(row.y + 1) : nullptr;
        for (int x = x0; x < x1; ++x) {
            std::uint8_t* px = here + x * 4;
            const std::int32_t B = px[0], G = px[1], R = px[2];
            std::int32_t R2, G2, B2;
            palette.NearestPaletteColor(R, G, B, R2, G2, B2);
            std::uint8_t* o = row.out + x * 4;
            o[0] = static_cast<std::uint8_t>(B2);
            o[1] = static_cast<std::uint8_t>(G2);
            o[2] = static_cast<std::uint8_t>(R2);
            o[3] = px[3];
            const std::int32_t e[3] = {B - B2, G - G2, R - R2};
            if (std::abs(e[0]) + std::abs(e[1]) + std::abs(e[2]) <= 3) continue;
            if (x < w1)
                for (int c = 0; c < 3; ++c)
                    px[4 + c] = clampByte(px[4 + c] + e[c] * 7 / 16);
            // Of the three pixels below only the middle one has a weight (4); the weight 0 of
            // its neighbours leaves them as they are. Neither edge column passes error down.
            if (below != nullptr && x >= 1 && x < w1)
                for (int c = 0; c < 3; ++c)
                    below[x * 4 + c] = clampByte(below[x * 4 + c] + e[c] * 4 / 16);
        }
    });
}

} // namespace velmar
