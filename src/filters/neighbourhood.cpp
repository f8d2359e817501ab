// Neighbourhood filters: each output pixel is computed from the source pixels around it, read
// through the two-pixel black margin (so the picture edge reads black). All of them run in the
// standard frame on all threads; EMBOSS and ENGRAVE keep their bottom row for last because it
// copies the finished row above it.
//
// Speed: most filters here treat a row as a run of bytes. A byte loop computes every byte of the
// span, the mask bytes included, which vectorises far better than skipping every fourth byte,
// and a second short pass over the same (still cached) pixels puts back the bytes the filter
// must not change. The three filters that divide by a level-dependent divisor use an exact
// multiply-and-shift reciprocal, checked when the filter starts, and on AVX2 an explicit 16-bit
// kernel, because the vectoriser cannot form the 16-bit high multiply itself.
#include "filters/cBitFilter.h"
#include "filters/filterFrame.h"
#include "filters/filterMath.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>

#if defined(__AVX2__)
#include <immintrin.h>
#endif

namespace velmar {

using filters::clampByte;

namespace {

using std::int32_t;
using std::int64_t;
using std::uint32_t;
using std::uint8_t;

constexpr uint32_t kColourBytes = 0x00FFFFFFu;
constexpr uint32_t kBlueByte = 0x000000FFu;
// Pixels per chunk of a two-pass byte kernel: source rows and output stay in the first-level
// cache between the passes.
constexpr int kChunk = 512;

// Runs bytes(firstByte, endByte) over the span in chunks, each followed by restoring the kept bytes.
template <class Bytes>
void overBytes(const FrameRow& row, int x0, int x1, uint32_t keep, Bytes&& bytes) {
    for (int a = x0; a < x1; a += kChunk) {
        const int b = std::min(x1, a + kChunk);
        bytes(a * 4, b * 4);
        restoreBytes(row.src + a * 4, row.out + a * 4, b - a, keep);
    }
}

// ---- Byte loops. Every pointer is the source moved to one neighbour, all indexed alike. -------

void maxOf9(const uint8_t* __restrict s, std::ptrdiff_t st, uint8_t* __restrict o, int i0, int i1) {
    const uint8_t* __restrict u = s - st;
    const uint8_t* __restrict d = s + st;
    for (int i = i0; i < i1; ++i) {
        const uint8_t a = std::max({u[i - 4], u[i], u[i + 4]});
        const uint8_t b = std::max({s[i - 4], s[i], s[i + 4]});
        const uint8_t c = std::max({d[i - 4], d[i], d[i + 4]});
        o[i] = std::max({a, b, c});
    }
}

void minOf9(const uint8_t* __restrict s, std::ptrdiff_t st, uint8_t* __restrict o, int i0, int i1) {
    const uint8_t* __restrict u = s - st;
    const uint8_t* __restrict d = s + st;
    for (int i = i0; i < i1; ++i) {
        const uint8_t a = std::min({u[i - 4], u[i], u[i + 4]});
        const uint8_t b = std::min({s[i - 4], s[i], s[i + 4]});
        const uint8_t c = std::min({d[i - 4], d[i], d[i + 4]});
        o[i] = std::min({a, b, c});
    }
}

// The centre and four neighbours at byte offsets +-o1 and +-o2 (sides: 4 and stride; diagonals:
// stride - 4 and stride + 4).
template <bool kMax>
void rankOf5(const uint8_t* __restrict s, std::ptrdiff_t o1, std::ptrdiff_t o2,
             uint8_t* __restrict o, int i0, int i1) {
    const uint8_t* __restrict a = s - o1;
    const uint8_t* __restrict b = s + o1;
    const uint8_t* __restrict c = s - o2;
    const uint8_t* __restrict d = s + o2;
    for (int i = i0; i < i1; ++i) {
        if constexpr (kMax)
            o[i] = std::max({s[i], a[i], b[i], c[i], d[i]});
        else
            o[i] = std::min({s[i], a[i], b[i], c[i], d[i]});
    }
}

// Eight bytes summed in 16 bits: at most 2040, and the sum div 8 is a byte.
void blurBytes(const uint8_t* __restrict p0, const uint8_t* __restrict p1,
               const uint8_t* __restrict p2, const uint8_t* __restrict p3,
               const uint8_t* __restrict p4, const uint8_t* __restrict p5,
               const uint8_t* __restrict p6, const uint8_t* __restrict p7, uint8_t* __restrict o,
               int n) {
    for (int i = 0; i < n; ++i) {
        const auto sum = static_cast<std::uint16_t>(p0[i] + p1[i] + p2[i] + p3[i] + p4[i] + p5[i] +
                                                    p6[i] + p7[i]);
        o[i] = static_cast<uint8_t>(sum >> 3);
    }
}

// RELIEF: (2 c(-1,-1) - 2 c(1,1) - c(0,1) - c(1,0) + c(0,0) + c(0,-1) + c(-1,0)) div 2 + 50.
// The sum lies in -1020..1275, so 16 bits hold it; / is the truncating div.
void reliefBytes(const uint8_t* __restrict s, std::ptrdiff_t st, uint8_t* __restrict o, int i0,
                 int i1) {
    const uint8_t* __restrict u = s - st;
    const uint8_t* __restrict d = s + st;
    for (int i = i0; i < i1; ++i) {
        const auto sum = static_cast<std::int16_t>(2 * u[i - 4] - 2 * d[i + 4] - d[i] - s[i + 4] +
                                                   s[i] + u[i] + s[i - 4]);
        o[i] = clampByte(sum / 2 + 50);
    }
}

// CONTOUR's first pass: e = 8 c(0,0) - N8 + 255 with the standard clamp, per byte.
void contourBytes(const uint8_t* __restrict s, std::ptrdiff_t st, uint8_t* __restrict o, int i0,
                  int i1) {
    const uint8_t* __restrict u = s - st;
    const uint8_t* __restrict d = s + st;
    for (int i = i0; i < i1; ++i) {
        const auto n8 = static_cast<std::int16_t>(u[i - 4] + u[i] + u[i + 4] + s[i - 4] + s[i + 4] +
                                                  d[i - 4] + d[i] + d[i + 4]);
        o[i] = clampByte(8 * s[i] - n8 + 255);
    }
}

// ---- SOFTEN, SHARPEN, EDGEENHANCE --------------------------------------------------------------
//
// All three compute per channel n = c(0,0) * a - k * N, with N the four side neighbours (SOFTEN)
// or all eight (the others), and divide by d:
//   SOFTEN       a = 101 - level (= w), k = -1, d = w + 4, N = N4, result a byte (no clamp)
//   SHARPEN      a = 124 - level,      k = 2,  d = 108 - level, N = N8, standard clamp
//   EDGEENHANCE  a = level + 9,        k = 1,  d = level + 1,   N = N8, standard clamp
//
// The fast path. A negative d is turned positive by negating a and k too (n div d = -n div -d).
// With d > 0, clamp(n div d) is 0 for n <= 0 (the truncating div of a negative n is <= 0) and
// min(255, floor(n / d)) otherwise, which is floor(n' / d) for n' = n cut to 0..256 d - 1. For
// SOFTEN with w >= 0 the numerator already lies in 0..255 d, so the same cut changes nothing
// and no quotient leaves the byte. The fast path needs every numerator in 16 bits and a
// reciprocal for d; other levels take the checked path, which follows the program's long
// arithmetic (an out-of-range intermediate is "Overflow", a zero divisor "Division by zero",
// SOFTEN's quotient outside 0..255 "Overflow"), as the formula does whenever it is evaluated.

struct LevelDivision {
    int64_t a = 0, k = 0, d = 0; // as the formula states them
    bool n8 = true;              // eight neighbours, else the four sides
    bool clamp = true;           // standard clamp, else the byte must fit
};

// floor(n / d) = (n * m) >> shift for every n in 0..nMax, with m below 2^16 so that it is a
// 16-bit high multiply followed by a shift. With m = ceil(2^shift / d) the product never falls
// below floor(n / d), and it grows with n, so it is exact iff it is exact at the largest
// numerator of each quotient: those are the only ones checked.
struct Reciprocal {
    uint32_t m = 0;
    int shift = 0;
    bool found = false;
};

Reciprocal findReciprocal(uint32_t d, uint32_t nMax) {
    for (int shift = 16; shift < 32; ++shift) {
        const uint64_t m = ((uint64_t{1} << shift) + d - 1) / d;
        if (m > 0xFFFF) break;
        bool exact = true;
        for (uint64_t q = 0; exact && q * d <= nMax; ++q) {
            const uint64_t n = std::min<uint64_t>(q * d + d - 1, nMax);
            exact = ((n * m) >> shift) == q;
        }
        if (exact) return {static_cast<uint32_t>(m), shift, true};
    }
    return {};
}

// The fast path's numbers, all fitting 16-bit lanes.
struct FastDivision {
    std::int16_t a = 0, k = 0, cap = 0;
    uint32_t m = 0;
    int shift = 0;
    bool divide = true; // d = 1 needs no division (and has no 16-bit reciprocal)
};

bool makeFastDivision(const LevelDivision& f, FastDivision& out) {
    if (f.d == 0 || !filters::fitsLong(f.a) || !filters::fitsLong(f.d)) return false;
    const int64_t sign = f.d < 0 ? -1 : 1;
    const int64_t a = f.a * sign, k = f.k * sign, d = f.d * sign;
    const int64_t nBound = f.n8 ? 8 * 255 : 4 * 255;
    const int64_t nMin = std::min<int64_t>(0, 255 * a) - std::max<int64_t>(0, k * nBound);
    const int64_t nMax = std::max<int64_t>(0, 255 * a) - std::min<int64_t>(0, k * nBound);
    // 16 bits, so also inside the long range: the program's arithmetic cannot overflow here.
    if (nMin < -32768 || nMax > 32767) return false;
    // Without the clamp every quotient must be a byte by itself.
    if (!f.clamp && (nMin < 0 || nMax >= 256 * d)) return false;
    const int64_t cap = std::min<int64_t>(256 * d - 1, nMax);
    out.a = static_cast<std::int16_t>(a);
    out.k = static_cast<std::int16_t>(k);
    out.cap = static_cast<std::int16_t>(std::max<int64_t>(cap, 0));
    out.divide = d != 1;
    if (out.divide) {
        const Reciprocal r =
            findReciprocal(static_cast<uint32_t>(d), static_cast<uint32_t>(out.cap));
        if (!r.found) return false;
        out.m = r.m;
        out.shift = r.shift;
    }
    return true;
}

// One channel of the fast path, also the tail of the AVX2 kernel: the same numbers, so the same
// result.
inline uint8_t fastChannel(int c, int n, const FastDivision& p) {
    int v = c * p.a - p.k * n;
    v = v < 0 ? 0 : (v > p.cap ? p.cap : v);
    if (p.divide) v = static_cast<int>((static_cast<uint32_t>(v) * p.m) >> p.shift);
    return static_cast<uint8_t>(v);
}

template <bool kN8> inline int neighbourSum(const uint8_t* c, std::ptrdiff_t st) {
    int n = c[-st] + c[-4] + c[4] + c[st];
    if constexpr (kN8) n += c[-st - 4] + c[-st + 4] + c[st - 4] + c[st + 4];
    return n;
}

#if defined(__AVX2__)
// The 32 bytes at p as two halves of 16-bit lanes (bytes 0-7 and 16-23, then 8-15 and 24-31);
// packing the halves back with packus restores the byte order.
struct Wide {
    __m256i lo, hi;
};
inline Wide widen(const uint8_t* p) {
    const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
    const __m256i zero = _mm256_setzero_si256();
    return {_mm256_unpacklo_epi8(v, zero), _mm256_unpackhi_epi8(v, zero)};
}
inline Wide operator+(Wide x, Wide y) {
    return {_mm256_add_epi16(x.lo, y.lo), _mm256_add_epi16(x.hi, y.hi)};
}

template <bool kN8, bool kDivide>
int fastDivisionAvx2(const FrameRow& row, int x, int x1, const FastDivision& p) {
    const __m256i a = _mm256_set1_epi16(p.a);
    const __m256i k = _mm256_set1_epi16(p.k);
    const __m256i cap = _mm256_set1_epi16(p.cap);
    const __m256i m = _mm256_set1_epi16(static_cast<short>(p.m));
    const __m128i shift = _mm_cvtsi32_si128(p.shift - 16);
    const __m256i zero = _mm256_setzero_si256();
    const __m256i keep = _mm256_set1_epi32(static_cast<int>(kMaskByte));
    const std::ptrdiff_t st = row.stride;
    auto quotient = [&](__m256i c, __m256i n) {
        __m256i v = _mm256_sub_epi16(_mm256_mullo_epi16(c, a), _mm256_mullo_epi16(n, k));
        v = _mm256_min_epi16(_mm256_max_epi16(v, zero), cap);
        if constexpr (kDivide) v = _mm256_srl_epi16(_mm256_mulhi_epu16(v, m), shift);
        return v;
    };
    for (; x + 8 <= x1; x += 8) {
        const uint8_t* c = row.src + x * 4;
        Wide n = widen(c - st) + widen(c - 4) + widen(c + 4) + widen(c + st);
        if constexpr (kN8)
            n = n + widen(c - st - 4) + widen(c - st + 4) + widen(c + st - 4) + widen(c + st + 4);
        const Wide centre = widen(c);
        const __m256i bytes =
            _mm256_packus_epi16(quotient(centre.lo, n.lo), quotient(centre.hi, n.hi));
        const __m256i src = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(c));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(row.out + x * 4),
                            _mm256_blendv_epi8(bytes, src, keep));
    }
    return x;
}
#endif

template <bool kN8>
void fastDivisionSpan(const FrameRow& row, int x0, int x1, const FastDivision& p) {
    int x = x0;
#if defined(__AVX2__)
    x = p.divide ? fastDivisionAvx2<kN8, true>(row, x0, x1, p)
                 : fastDivisionAvx2<kN8, false>(row, x0, x1, p);
#endif
    for (; x < x1; ++x) {
        const uint8_t* c = row.src + x * 4;
        uint8_t* o = row.out + x * 4;
        for (int ch = 0; ch < 3; ++ch)
            o[ch] = fastChannel(c[ch], neighbourSum<kN8>(c + ch, row.stride), p);
        o[3] = c[3];
    }
}

void checkedDivisionSpan(const FrameRow& row, int x0, int x1, const LevelDivision& f) {
    for (int x = x0; x < x1; ++x) {
        const uint8_t* c = row.src + x * 4;
        uint8_t* o = row.out + x * 4;
        for (int ch = 0; ch < 3; ++ch) {
            const int n = f.n8 ? neighbourSum<true>(c + ch, row.stride)
                               : neighbourSum<false>(c + ch, row.stride);
            const int64_t a = filters::checkedLong(f.a);
            const int64_t num = filters::checkedLong(filters::checkedLong(c[ch] * a) - f.k * n);
            const int32_t q = filters::idiv(num, filters::checkedLong(f.d));
            if (f.clamp)
                o[ch] = clampByte(q);
            else if (q < 0 || q > 255)
                throw RuntimeError::Overflow();
            else
                o[ch] = static_cast<uint8_t>(q);
        }
        o[3] = c[3];
    }
}

velmar::Bits runLevelDivision(cBitFilter& f, int32_t margin, const LevelDivision& div) {
    FrameOptions options;
    options.margin = margin;
    FastDivision fast;
    if (makeFastDivision(div, fast)) {
        if (div.n8)
            return FilterFrame::Run(f, options, [&fast](const FrameRow& row, int x0, int x1) {
                fastDivisionSpan<true>(row, x0, x1, fast);
            });
        return FilterFrame::Run(f, options, [&fast](const FrameRow& row, int x0, int x1) {
            fastDivisionSpan<false>(row, x0, x1, fast);
        });
    }
    return FilterFrame::Run(f, options, [&div](const FrameRow& row, int x0, int x1) {
        checkedDivisionSpan(row, x0, x1, div);
    });
}

// ---- Blurs -------------------------------------------------------------------------------------
//
// A distance above 2 reads past the margin. The picture is then read as the one flat array it
// is: the read at (x + dx, y + dy) is the pixel dx + dy * (W + 4) places further on, which may lie
// in another row; a read that would fall outside the array altogether reads black, so that the
// result depends on the picture alone. Reads are tested against the array as a range of columns
// per row: the columns whose eight reads all lie inside take the plain loop, the few others read
// pixel by pixel. Coordinates are 64-bit, so no distance overflows.

struct BlurReads {
    std::array<int64_t, 8> offset{}; // in pixels
    int64_t rowPixels = 0;           // W + 4
    int64_t arrayPixels = 0;         // (W + 4) * (H + 4)
    const uint8_t* array = nullptr;  // element (0, -2, -2)
};

BlurReads blurReads(const velmar::Bits& bits, int64_t d) {
    BlurReads r;
    r.rowPixels = bits.Stride() / 4;
    r.arrayPixels = static_cast<int64_t>(bits.SizeBytes() / 4);
    r.array = bits.Data();
    const int64_t dx[8] = {-d, 0, d, -d, d, -d, 0, d};
    const int64_t dy[8] = {-d, -d, -d, 0, 0, d, d, d};
    for (int i = 0; i < 8; ++i)
        r.offset[static_cast<std::size_t>(i)] = dx[i] + dy[i] * r.rowPixels;
    return r;
}

void blurPlain(const FrameRow& row, int x0, int x1, const std::array<int64_t, 8>& offset) {
    const auto from = [&](int i, int x) {
        return row.src + (x + offset[static_cast<std::size_t>(i)]) * 4;
    };
    overBytes(row, x0, x1, kMaskByte, [&](int b0, int b1) {
        const int x = b0 / 4;
        blurBytes(from(0, x), from(1, x), from(2, x), from(3, x), from(4, x), from(5, x),
                  from(6, x), from(7, x), row.out + b0, b1 - b0);
    });
}

void blurChecked(const FrameRow& row, int64_t rowIndex, int x0, int x1, const BlurReads& r) {
    for (int x = x0; x < x1; ++x) {
        uint32_t b = 0, g = 0, red = 0;
        for (const int64_t off : r.offset) {
            const int64_t at = rowIndex + x + off;
            if (at < 0 || at >= r.arrayPixels) continue; // outside the array: black
            const uint32_t p = *reinterpret_cast<const Pixel32*>(r.array + at * 4);
            b += p & 255;
            g += (p >> 8) & 255;
            red += (p >> 16) & 255;
        }
        const uint32_t mask = *reinterpret_cast<const Pixel32*>(row.src + x * 4) & kMaskByte;
        *reinterpret_cast<Pixel32*>(row.out + x * 4) =
            mask | (b >> 3) | ((g >> 3) << 8) | ((red >> 3) << 16);
    }
}

void blurFar(const FrameRow& row, int x0, int x1, const BlurReads& r) {
    const int64_t rowIndex = (int64_t{row.y} + velmar::Bits::kMargin) * r.rowPixels +
                             velmar::Bits::kMargin; // pixel (0, y) in the array
    int64_t lo = x0, hi = x1;                       // columns whose reads all lie inside
    for (const int64_t off : r.offset) {
        lo = std::max(lo, -rowIndex - off);
        hi = std::min(hi, r.arrayPixels - rowIndex - off);
    }
    if (lo >= hi) {
        blurChecked(row, rowIndex, x0, x1, r);
        return;
    }
    const int a = static_cast<int>(lo), b = static_cast<int>(hi);
    blurChecked(row, rowIndex, x0, a, r);
    // Pointers for the inside columns only: each read there lies in the array.
    const int64_t* off = r.offset.data();
    const uint8_t* at[8];
    for (int i = 0; i < 8; ++i)
        at[i] = r.array + (rowIndex + a + off[i]) * 4;
    for (int c = a; c < b; c += kChunk) {
        const int e = std::min(b, c + kChunk);
        const int skip = (c - a) * 4;
        blurBytes(at[0] + skip, at[1] + skip, at[2] + skip, at[3] + skip, at[4] + skip,
                  at[5] + skip, at[6] + skip, at[7] + skip, row.out + c * 4, (e - c) * 4);
        restoreBytes(row.src + c * 4, row.out + c * 4, e - c);
    }
    blurChecked(row, rowIndex, b, x1, r);
}

// ---- EMBOSS and ENGRAVE ------------------------------------------------------------------------
//
// k = weight / 10 is a double, as the division of two longs gives. Per channel
// v = round(abs(d * k + 128)) depends on d = c(0,0) - c(1,1) alone (ENGRAVE's d is its negative:
// (-d) * k and d * (-k) are the same double, so ENGRAVE is the same kernel with k negated). The
// 511 values are computed up front from the formula itself and are the reference for every path:
//  - a float kernel, taken when it reproduces all 511 values (every weight that is a multiple of
//    5, and most others); the values are then exact, and so is everything after them;
//  - on AVX2 otherwise, the formula itself in double lanes;
//  - the table, for the tails and when v or the sum of three can leave a long, in which case
//    each pixel checks, as the program's long arithmetic would fail only on such a pixel.

constexpr int kEmbossValues = 511;

struct EmbossValues {
    std::array<int64_t, kEmbossValues> v{}; // d = -255..255 at d + 255; -1: leaves a long
    double k = 0;                           // negated for ENGRAVE
    float kf = 0;
    bool safe = true;       // no value and no sum of three leaves a long
    bool floatExact = true; // the float kernel gives every value
};

inline float embossFloat(float d, float k) {
    return std::nearbyint(std::fabs(d * k + 128.0f));
}


EmbossValues embossValues(int32_t weight, bool engrave) {
    EmbossValues e;
    const double k = weight / 10.0;
    e.k = engrave ? -k : k;
    e.kf = static_cast<float>(e.k);
    int64_t largest = 0;
    for (int d = -255; d <= 255; ++d) {
        const double x = (engrave ? static_cast<double>(-d) : static_cast<double>(d)) * k + 128.0;
        const double v = std::nearbyint(std::fabs(x));
        int64_t& slot = e.v[static_cast<std::size_t>(d + 255)];
        slot = v <= 2147483647.0 ? static_cast<int64_t>(v) : -1;
        if (slot < 0) e.safe = false;
        largest = std::max(largest, slot);
        if (slot < 0 || static_cast<double>(embossFloat(static_cast<float>(d), e.kf)) != v)
            e.floatExact = false;
    }
    if (3 * largest > std::numeric_limits<int32_t>::max()) e.safe = false;
    // The float sum of three values is exact below 2^24.
    if (!e.safe || largest >= (int64_t{1} << 22)) e.floatExact = false;
    return e;
}

inline uint32_t embossTable(uint32_t p, uint32_t q, const EmbossValues& e) {
    const auto v = [&](int shift) {
        const int d = static_cast<int>((p >> shift) & 255) - static_cast<int>((q >> shift) & 255);
        return e.v[static_cast<std::size_t>(d + 255)];
    };
    const int64_t sum = v(0) + v(8) + v(16);
    const auto a = static_cast<uint32_t>(clampByte(static_cast<int32_t>(sum / 3)));
    return (p & kMaskByte) | (a * 0x010101u);
}

inline uint32_t embossChecked(uint32_t p, uint32_t q, const EmbossValues& e) {
    int64_t sum = 0;
    for (const int shift : {0, 8, 16}) {
        const int d = static_cast<int>((p >> shift) & 255) - static_cast<int>((q >> shift) & 255);
        const int64_t v = e.v[static_cast<std::size_t>(d + 255)];
        if (v < 0) throw RuntimeError::Overflow();
        sum = filters::checkedLong(sum + v);
    }
    const auto a = static_cast<uint32_t>(clampByte(static_cast<int32_t>(sum / 3)));
    return (p & kMaskByte) | (a * 0x010101u);
}

void embossFloatSpan(const Pixel32* __restrict s, const Pixel32* __restrict below,
                     Pixel32* __restrict o, int x0, int x1, float k) {
    for (int x = x0; x < x1; ++x) {
        const uint32_t p = s[x], q = below[x + 1];
        const auto d = [&](int shift) {
            return static_cast<float>(static_cast<int>((p >> shift) & 255) -
                                      static_cast<int>((q >> shift) & 255));
        };
        const float sum = embossFloat(d(0), k) + embossFloat(d(8), k) + embossFloat(d(16), k);
        const uint32_t a = thirdOf(std::min(static_cast<uint32_t>(static_cast<int>(sum)), 767u));
        o[x] = (p & kMaskByte) | (a * 0x010101u);
    }
}

#if defined(__AVX2__)
// The formula in double lanes, four at a time: d * k + 128, abs, round half to even.
inline __m256d embossDouble(__m128i d, __m256d k) {
    const __m256d t = _mm256_add_pd(_mm256_mul_pd(_mm256_cvtepi32_pd(d), k), _mm256_set1_pd(128.0));
    const __m256d abs = _mm256_andnot_pd(_mm256_set1_pd(-0.0), t);
    return _mm256_round_pd(abs, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC);
}

int embossDoubleAvx2(const Pixel32* s, const Pixel32* below, Pixel32* o, int x, int x1, double k) {
    const __m256d kv = _mm256_set1_pd(k);
    const __m256i byte = _mm256_set1_epi32(255);
    for (; x + 8 <= x1; x += 8) {
        const __m256i p = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + x));
        const __m256i q = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(below + x + 1));
        __m256d sumLo = _mm256_setzero_pd(), sumHi = _mm256_setzero_pd();
        for (const int shift : {0, 8, 16}) {
            const __m128i n = _mm_cvtsi32_si128(shift);
            const __m256i d = _mm256_sub_epi32(_mm256_and_si256(_mm256_srl_epi32(p, n), byte),
                                               _mm256_and_si256(_mm256_srl_epi32(q, n), byte));
            sumLo = _mm256_add_pd(sumLo, embossDouble(_mm256_castsi256_si128(d), kv));
            sumHi = _mm256_add_pd(sumHi, embossDouble(_mm256_extracti128_si256(d, 1), kv));
        }
        // Exact whole numbers below 2^31 (the values are safe).
        __m256i sum = _mm256_set_m128i(_mm256_cvttpd_epi32(sumHi), _mm256_cvttpd_epi32(sumLo));
        sum = _mm256_min_epi32(sum, _mm256_set1_epi32(767));
        const __m256i a = _mm256_srli_epi32(_mm256_mullo_epi32(sum, _mm256_set1_epi32(683)), 11);
        const __m256i grey = _mm256_mullo_epi32(a, _mm256_set1_epi32(0x010101));
        const __m256i mask = _mm256_and_si256(p, _mm256_set1_epi32(static_cast<int>(kMaskByte)));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(o + x), _mm256_or_si256(grey, mask));
    }
    return x;
}
#endif

void embossGeneral(const Pixel32* s, const Pixel32* below, Pixel32* o, int x0, int x1,
                   const EmbossValues& e) {
    int x = x0;
    if (e.floatExact) {
        embossFloatSpan(s, below, o, x0, x1, e.kf);
        return;
    }
    if (!e.safe) {
        for (; x < x1; ++x)
            o[x] = embossChecked(s[x], below[x + 1], e);
        return;
    }
#if defined(__AVX2__)
    x = embossDoubleAvx2(s, below, o, x0, x1, e.k);
#endif
    for (; x < x1; ++x)
        o[x] = embossTable(s[x], below[x + 1], e);
}

velmar::Bits runEmboss(cBitFilter& f, int32_t W1, int32_t H1, const EmbossValues& e) {
    FrameOptions options;
    options.lastRowLast = true;
    return FilterFrame::Run(f, options, [&e, W1, H1](const FrameRow& row, int x0, int x1) {
        const auto* s = reinterpret_cast<const Pixel32*>(row.src);
        auto* o = reinterpret_cast<Pixel32*>(row.out);
        const int end = std::min(x1, W1); // the last column comes after
        if (row.y == H1) {
            // The bottom row repeats the finished row above it.
            const auto* above = reinterpret_cast<const Pixel32*>(row.out - row.stride);
            for (int x = x0; x < end; ++x)
                o[x] = (above[x] & kColourBytes) | (s[x] & kMaskByte);
        } else if (x0 < end) {
            embossGeneral(s, reinterpret_cast<const Pixel32*>(row.src + row.stride), o, x0, end, e);
        }
        // The last column repeats its left neighbour in the output, written by now: by this or
        // an earlier span of the row, or copied as an unselected pixel.
        if (x1 > W1 && x0 <= W1) o[W1] = (o[W1 - 1] & kColourBytes) | (s[W1] & kMaskByte);
    });
}

// The colour value 0x00BBGGRR as the three bytes of a pixel.
uint32_t pixelOf(COLORREF colour) {
    return static_cast<uint32_t>(filters::blueOf(colour)) |
           (static_cast<uint32_t>(filters::greenOf(colour)) << 8) |
           (static_cast<uint32_t>(filters::redOf(colour)) << 16);
}

// SKETCH: s = the sum over the channels of 8 c(0,0) - N8, + 765, which is 8 times the centre's
// channel sum less its neighbours' channel sums, + 765; t = s div 3 > cut (truncating).
template <bool kBlackWhite>
void sketchSpan(const FrameRow& row, int x0, int x1, int32_t cut, uint32_t paint) {
    const Pixel32* __restrict s = reinterpret_cast<const Pixel32*>(row.src);
    const Pixel32* __restrict u = reinterpret_cast<const Pixel32*>(row.src - row.stride);
    const Pixel32* __restrict d = reinterpret_cast<const Pixel32*>(row.src + row.stride);
    Pixel32* __restrict o = reinterpret_cast<Pixel32*>(row.out);
    const auto sum3 = [](uint32_t p) {
        return static_cast<int32_t>((p & 255) + ((p >> 8) & 255) + ((p >> 16) & 255));
    };
    for (int x = x0; x < x1; ++x) {
        const int32_t n8 = sum3(u[x - 1]) + sum3(u[x]) + sum3(u[x + 1]) + sum3(s[x - 1]) +
                           sum3(s[x + 1]) + sum3(d[x - 1]) + sum3(d[x]) + sum3(d[x + 1]);
        const bool t = (8 * sum3(s[x]) - n8 + 765) / 3 > cut;
        const uint32_t p = s[x];
        if constexpr (kBlackWhite)
            o[x] = (p & kMaskByte) | (t ? kColourBytes : 0u);
        else
            o[x] = t ? (p & kMaskByte) | paint : p;
    }
}

} // namespace

// ---- The filters -----------------------------------------------------------------------------

velmar::Bits cBitFilter::Blurs(std::int32_t distance) {
    const int64_t d = distance;
    if (d >= -2 && d <= 2) {
        // Every read lies in the margin or the picture.
        std::array<int64_t, 8> offset = blurReads(bits_, d).offset;
        return FilterFrame::Run(*this, {}, [offset](const FrameRow& row, int x0, int x1) {
            blurPlain(row, x0, x1, offset);
        });
    }
    const BlurReads reads = blurReads(bits_, d);
    return FilterFrame::Run(
        *this, {}, [&reads](const FrameRow& row, int x0, int x1) { blurFar(row, x0, x1, reads); });
}

velmar::Bits cBitFilter::SOFTEN(std::int32_t level) {
    const int64_t w = 101 - int64_t{level};
    return runLevelDivision(*this, 1, {w, -1, w + 4, false, false});
}

velmar::Bits cBitFilter::SHARPEN(std::int32_t level) {
    return runLevelDivision(*this, 1, {124 - int64_t{level}, 2, 108 - int64_t{level}, true, true});
}

velmar::Bits cBitFilter::EDGEENHANCE(std::int32_t level) {
    return runLevelDivision(*this, 0, {int64_t{level} + 9, 1, int64_t{level} + 1, true, true});
}

velmar::Bits cBitFilter::DILATE() {
    return FilterFrame::Run(*this, {}, [](const FrameRow& row, int x0, int x1) {
        overBytes(row, x0, x1, kMaskByte,
                  [&](int i0, int i1) { maxOf9(row.src, row.stride, row.out, i0, i1); });
    });
}

velmar::Bits cBitFilter::ERODE() {
    return FilterFrame::Run(*this, {}, [](const FrameRow& row, int x0, int x1) {
        overBytes(row, x0, x1, kMaskByte,
                  [&](int i0, int i1) { minOf9(row.src, row.stride, row.out, i0, i1); });
    });
}

velmar::Bits cBitFilter::RELIEF() {
    // Green, red and the mask byte are written; blue is kept.
    return FilterFrame::Run(*this, {}, [](const FrameRow& row, int x0, int x1) {
        overBytes(row, x0, x1, kBlueByte,
                  [&](int i0, int i1) { reliefBytes(row.src, row.stride, row.out, i0, i1); });
    });
}

velmar::Bits cBitFilter::EMBOSS(std::int32_t weight) {
    return runEmboss(*this, W1_, H1_, embossValues(weight, false));
}

velmar::Bits cBitFilter::ENGRAVE(std::int32_t weight) {
    return runEmboss(*this, W1_, H1_, embossValues(weight, true));
}

velmar::Bits cBitFilter::CONTOUR(std::int32_t cut, COLORREF colour) {
    const uint32_t paint = pixelOf(colour);
    return FilterFrame::Run(*this, {}, [cut, paint](const FrameRow& row, int x0, int x1) {
        const auto* s = reinterpret_cast<const Pixel32*>(row.src);
        auto* o = reinterpret_cast<Pixel32*>(row.out);
        for (int a = x0; a < x1; a += kChunk) {
            const int b = std::min(x1, a + kChunk);
            contourBytes(row.src, row.stride, row.out, a * 4, b * 4);
            for (int x = a; x < b; ++x) {
                const uint32_t e = o[x];
                const auto mean =
                    static_cast<int32_t>(((e & 255) + ((e >> 8) & 255) + ((e >> 16) & 255)) / 3);
                o[x] = (mean < cut ? (e & kColourBytes) : paint) | (s[x] & kMaskByte);
            }
        }
    });
}

velmar::Bits cBitFilter::SKETCH(std::int32_t cut, bool blackWhite, COLORREF colour) {
    const uint32_t paint = pixelOf(colour);
    return FilterFrame::Run(*this, {}, [=](const FrameRow& row, int x0, int x1) {
        if (blackWhite)
            sketchSpan<true>(row, x0, x1, cut, paint);
        else
            sketchSpan<false>(row, x0, x1, cut, paint);
    });
}

namespace {

// Box margin 1 - mode, as a long: the one mode whose margin a long cannot hold, and margins that
// push the box edges out of a long, are "Overflow".
int32_t rankMargin(int32_t mode, const IntRect& r) {
    const int64_t margin = filters::checkedLong(1 - int64_t{mode});
    filters::checkedLong(r.left + margin);
    filters::checkedLong(r.top + margin);
    filters::checkedLong(r.right - margin - 1);
    filters::checkedLong(r.bottom - margin - 1);
    return static_cast<int32_t>(margin);
}

// Mode 0: minimum, mode 1: maximum, of the centre and the neighbours at +-o1 and +-o2 bytes;
// any other mode writes black.
velmar::Bits rankFilter(cBitFilter& f, int32_t mode, int32_t margin, bool diagonal) {
    FrameOptions options;
    options.margin = margin;
    return FilterFrame::Run(f, options, [mode, diagonal](const FrameRow& row, int x0, int x1) {
        const std::ptrdiff_t o1 = diagonal ? row.stride - 4 : 4;
        const std::ptrdiff_t o2 = diagonal ? row.stride + 4 : row.stride;
        if (mode != 0 && mode != 1) {
            const auto* s = reinterpret_cast<const Pixel32*>(row.src);
            auto* o = reinterpret_cast<Pixel32*>(row.out);
            for (int x = x0; x < x1; ++x)
                o[x] = s[x] & kMaskByte;
            return;
        }
        overBytes(row, x0, x1, kMaskByte, [&](int i0, int i1) {
            if (mode == 1)
                rankOf5<true>(row.src, o1, o2, row.out, i0, i1);
            else
                rankOf5<false>(row.src, o1, o2, row.out, i0, i1);
        });
    });
}

} // namespace

velmar::Bits cBitFilter::RankFilterN4(std::int32_t mode) {
    const int32_t margin = rankMargin(mode, region_ != nullptr ? region_->Box() : image_);
    return rankFilter(*this, mode, margin, false);
}

velmar::Bits cBitFilter::RankFilterND(std::int32_t mode) {
    const int32_t margin = rankMargin(mode, region_ != nullptr ? region_->Box() : image_);
    return rankFilter(*this, mode, margin, true);
}

} // namespace velmar
