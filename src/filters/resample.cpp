// The operations that change a picture's size or turn it: the nearest-pixel and the bilinear
// scaler, the quarter turn, and the smooth rotation about the picture's centre.
//
// BitsResize, BitsResample and BitsRotate90 read a source array and leave their result in the
// object's own Bits. They build the new picture completely (rows spread over the threads, progress
// from the calling thread) before storing it, so an error leaves the object as it was.
//
// The bilinear interpolation of BitsResample and RotateSmooth is two-staged and rounds after each
// stage: a = round((1-ty)*q00 + ty*q01), b = round((1-ty)*q10 + ty*q11), v = round((1-tx)*a +
// tx*b). BitsResample computes the first stage once per source column of an output row (every
// output pixel of the row that starts at that column shares it) and the second per pixel.
#include "filters/cBitFilter.h"
#include "filters/doubleLanes.h"
#include "filters/filterFrame.h"
#include "filters/filterMath.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#if defined(__AVX__)
#include <immintrin.h>
#endif

namespace velmar {

namespace {

using std::int32_t;
using std::int64_t;
using std::uint32_t;
using std::uint8_t;

constexpr uint32_t kColourBytes = 0x00FFFFFFu;
constexpr int kLead = velmar::Bits::kMargin; // margin pixels left of x = 0

// The loop fields as `for y = 0 to rows - 1: for x = 0 to columns - 1` leaves them.
void leaveLoopFields(int32_t& x, int32_t& y, int32_t columns, int32_t rows) {
    y = rows > 0 ? rows : 0;
    if (rows > 0) x = columns > 0 ? columns : 0;
}

// The step of a scaler: numerator / size as a single-precision value, the division done in double
// first. A size of 0 divides by zero.
float scaleStep(int32_t numerator, int32_t size) {
    return static_cast<float>(filters::fdiv(numerator, size));
}

// ---- Eight pixels at a time ---------------------------------------------------------------------

constexpr int kLanes = 8;
using Words = uint32_t __attribute__((vector_size(32)));
using Ints = int32_t __attribute__((vector_size(32)));
using lanes::Doubles;
using lanes::Ints4;
using lanes::Longs;

inline Words loadWords(const uint32_t* p) {
    Words v;
    std::memcpy(&v, p, sizeof v);
    return v;
}
inline void storeWords(uint32_t* p, Words v, int n = kLanes) {
    std::memcpy(p, &v, static_cast<std::size_t>(n) * 4);
}

// The four pixels (i, j), (i+1, j), (i, j+1), (i+1, j+1) of each lane's square at origin + at:
// the horizontal pairs are read as 64-bit words, two four-lane gathers for four squares.
inline void gatherSquares(const uint32_t* origin, int32_t stride, Ints4 at, Ints4& p00, Ints4& p10,
                          Ints4& p01, Ints4& p11) {
#if defined(__AVX2__)
    const auto* top = reinterpret_cast<const long long*>(origin);
    const auto* bottom = reinterpret_cast<const long long*>(origin + stride);
    const __m128i i = std::bit_cast<__m128i>(at);
    // Scale 4: the index counts 32-bit words.
    const Ints g0 = std::bit_cast<Ints>(_mm256_i32gather_epi64(top, i, 4));
    const Ints g1 = std::bit_cast<Ints>(_mm256_i32gather_epi64(bottom, i, 4));
    p00 = __builtin_shufflevector(g0, g0, 0, 2, 4, 6);
    p10 = __builtin_shufflevector(g0, g0, 1, 3, 5, 7);
    p01 = __builtin_shufflevector(g1, g1, 0, 2, 4, 6);
    p11 = __builtin_shufflevector(g1, g1, 1, 3, 5, 7);
#else
    for (int k = 0; k < 4; ++k) {
        const uint32_t* q = origin + at[k];
        p00[k] = static_cast<int32_t>(q[0]);
        p10[k] = static_cast<int32_t>(q[1]);
        p01[k] = static_cast<int32_t>(q[stride]);
        p11[k] = static_cast<int32_t>(q[stride + 1]);
    }
#endif
}

// v held to lo..hi; not a number becomes lo.
inline Doubles clampDoubles(Doubles v, Doubles lo, Doubles hi) {
    const Doubles up = v >= lo ? v : lo;
    return up <= hi ? up : hi;
}

// Turns an 8 x 8 block of words over its diagonal: row k becomes what column k was.
inline void transpose8(Words (&r)[8]) {
    Words t[8], u[8];
    for (int i = 0; i < 8; i += 2) {
        t[i] = __builtin_shufflevector(r[i], r[i + 1], 0, 8, 1, 9, 4, 12, 5, 13);
        t[i + 1] = __builtin_shufflevector(r[i], r[i + 1], 2, 10, 3, 11, 6, 14, 7, 15);
    }
    for (int i = 0; i < 8; i += 4)
        for (int j = 0; j < 2; ++j) {
            u[i + j] = __builtin_shufflevector(t[i + j], t[i + j + 2], 0, 1, 8, 9, 4, 5, 12, 13);
            u[i + j + 2] =
                __builtin_shufflevector(t[i + j], t[i + j + 2], 2, 3, 10, 11, 6, 7, 14, 15);
        }
    // u[0..3] hold columns (0, 4), (2, 6), (1, 5), (3, 7) of rows 0..3; u[4..7] of rows 4..7.
    constexpr int kOrder[4] = {0, 2, 1, 3};
    for (int k = 0; k < 4; ++k) {
        const int c = kOrder[k];
        r[c] = __builtin_shufflevector(u[k], u[k + 4], 0, 1, 2, 3, 8, 9, 10, 11);
        r[c + 4] = __builtin_shufflevector(u[k], u[k + 4], 4, 5, 6, 7, 12, 13, 14, 15);
    }
}

inline Doubles lowDoubles(Words v) {
    return __builtin_convertvector(__builtin_shufflevector(Ints(v), Ints(v), 0, 1, 2, 3), Doubles);
}
inline Doubles highDoubles(Words v) {
    return __builtin_convertvector(__builtin_shufflevector(Ints(v), Ints(v), 4, 5, 6, 7), Doubles);
}
using lanes::roundHalfEven;
using lanes::roundToInts;

// Two halves of rounded values as one vector of eight.
inline Words roundToWords(Doubles lo, Doubles hi) {
    return Words(__builtin_shufflevector(roundToInts(lo), roundToInts(hi), 0, 1, 2, 3, 4, 5, 6, 7));
}

// Byte c of each pixel word, as a whole word: one byte shuffle instead of a shift and a mask.
template <int c> inline Words channelOf(Words p) {
#if defined(__AVX2__)
    // An index with the top bit set gives a zero byte.
    constexpr char z = -128;
    const __m256i pick =
        _mm256_setr_epi8(c, z, z, z, 4 + c, z, z, z, 8 + c, z, z, z, 12 + c, z, z, z, c, z, z, z,
                         4 + c, z, z, z, 8 + c, z, z, z, 12 + c, z, z, z);
    return std::bit_cast<Words>(_mm256_shuffle_epi8(std::bit_cast<__m256i>(p), pick));
#else
    return (p >> (8 * c)) & 255u;
#endif
}

// Runs channel(p, q) over channels 0, 1 and 2 of two vectors of pixel words; the mask byte of the
// result is 0.
template <class Channel> inline Words perChannel(Words p, Words q, Channel&& channel) {
    Words r = channel(channelOf<0>(p), channelOf<0>(q));
    r |= channel(channelOf<1>(p), channelOf<1>(q)) << 8;
    r |= channel(channelOf<2>(p), channelOf<2>(q)) << 16;
    return r;
}

// The weights of one interpolation for eight lanes: t and 1 - t in two halves, and, when every t
// is a whole multiple of 2^-24, the multiples.
struct Weights {
    Doubles t0, t1, w0, w1; // t of lanes 0..3 and 4..7, and 1 - t
    Words exact;            // t * 2^24
};

constexpr int kExactShift = 24;

// round((1-t)*p + t*q) of each channel, as written: in double, ties to even.
inline Words lerpDouble(Words p, Words q, const Weights& w) {
    return perChannel(p, q, [&](Words a, Words b) {
        return roundToWords(w.w0 * lowDoubles(a) + w.t0 * lowDoubles(b),
                            w.w1 * highDoubles(a) + w.t1 * highDoubles(b));
    });
}

// The same in 32-bit integers, for t = T / 2^24. Then every product and the sum of the double
// formula are exact (the sum is n / 2^24 with n = (2^24 - T)*a + T*b < 2^32, which needs at most
// 32 of the 53 bits), so the formula's value is exactly n / 2^24, and n is a*2^24 + T*(b - a)
// in wrapping unsigned arithmetic, since the true n lies in 0..2^32-1. With n = Q*2^24 + R,
// (n + 2^23 - 1 + (Q & 1)) >> 24 is Q below R = 2^23, Q + 1 above it, and the even one of Q and
// Q + 1 at it: round half to even. n + 2^23 stays below 2^32.
inline Words lerpExact(Words p, Words q, const Weights& w) {
    constexpr uint32_t kHalfLess1 = (1u << (kExactShift - 1)) - 1u;
    return perChannel(p, q, [&](Words a, Words b) {
        const Words n = (a << kExactShift) + w.exact * (b - a);
        return (n + kHalfLess1 + ((n >> kExactShift) & 1u)) >> kExactShift;
    });
}

template <bool kExact> inline Words lerp(Words p, Words q, const Weights& w) {
    if constexpr (kExact)
        return lerpExact(p, q, w);
    else
        return lerpDouble(p, q, w);
}

// One axis of a scaler: for each output index i, the source index floor(i * step) and the
// fraction left over, the product of a long and a single formed in double. The arrays run to a
// whole number of vectors (the extra entries read index 0 with weight 0).
struct Axis {
    std::vector<int32_t> index;
    // When every group of eight indices lies within 15 columns of the group's first (true for
    // any enlargement and for reductions to about half), each index as an offset from that
    // first: the pairs are then picked out of two vector loads instead of gathered.
    std::vector<int32_t> offset;
    bool isWindowed = true;
    std::vector<double> fraction, complement;
    std::vector<uint32_t> exact; // fraction * 2^24, when `isExact`
    bool isExact = true;

    Weights at(std::size_t i) const {
        Weights w;
        std::memcpy(&w.t0, &fraction[i], sizeof(Doubles));
        std::memcpy(&w.t1, &fraction[i + 4], sizeof(Doubles));
        std::memcpy(&w.w0, &complement[i], sizeof(Doubles));
        std::memcpy(&w.w1, &complement[i + 4], sizeof(Doubles));
        w.exact = isExact ? loadWords(&exact[i]) : Words{};
        return w;
    }
};

// The fraction of index i is (i * step) mod 1. A single step has 24 significant bits, so the
// product is exact in double (below 2^29 * 2^24) and its fraction a multiple of the step's last
// bit: of 2^-24 or coarser for every step of at least 1/2, that is for any reduction and for
// enlargements up to twice the size. `limit` is the largest index the array can be read at; the
// products stay below it for any picture this program can hold, and the cap only keeps a freak
// step from reading outside.
Axis axisOf(int32_t size, float step, int32_t limit) {
    Axis a;
    const auto n = static_cast<std::size_t>(std::max(size, 0));
    const std::size_t padded = (n + kLanes - 1) / kLanes * kLanes;
    a.index.assign(padded, 0);
    a.fraction.assign(padded, 0.0);
    a.complement.assign(padded, 1.0);
    a.exact.assign(padded, 0);
    for (std::size_t i = 0; i < n; ++i) {
        const double f = static_cast<double>(i) * static_cast<double>(step);
        const double fl = std::floor(f);
        a.index[i] = static_cast<int32_t>(std::min(fl, static_cast<double>(limit)));
        a.fraction[i] = f - fl;
        a.complement[i] = 1.0 - a.fraction[i];
        const double scaled = std::ldexp(a.fraction[i], kExactShift);
        a.isExact = a.isExact && scaled == std::floor(scaled);
        a.exact[i] = a.isExact ? static_cast<uint32_t>(scaled) : 0;
    }
    a.offset.assign(padded, 0);
    for (std::size_t g = 0; g < n; g += kLanes)
        for (std::size_t i = g; i < std::min(n, g + kLanes); ++i) {
            a.offset[i] = a.index[i] - a.index[g];
            a.isWindowed = a.isWindowed && a.offset[i] >= 0 && a.offset[i] < 15;
        }
    return a;
}

// A row's weight spread over all lanes.
Weights rowWeights(const Axis& a, std::size_t i) {
    Weights w;
    w.t0 = w.t1 = Doubles{} + a.fraction[i];
    w.w0 = w.w1 = Doubles{} + a.complement[i];
    w.exact = Words{} + a.exact[i];
    return w;
}

// First stage of BitsResample: out[c] = the rows s0 and s1 interpolated at column c, for c in
// 0..n-1 (the last may be the margin column after the row).
template <bool kExact>
void interpolateRows(const uint32_t* s0, const uint32_t* s1, uint32_t* __restrict out, int n,
                     const Weights& w) {
    int c = 0;
    for (; c + kLanes <= n; c += kLanes) {
        __builtin_prefetch(s0 + c + 128);
        __builtin_prefetch(s1 + c + 128);
        storeWords(out + c, lerp<kExact>(loadWords(s0 + c), loadWords(s1 + c), w));
    }
    if (c < n) {
        uint32_t a[kLanes] = {}, b[kLanes] = {};
        std::memcpy(a, s0 + c, static_cast<std::size_t>(n - c) * 4);
        std::memcpy(b, s1 + c, static_cast<std::size_t>(n - c) * 4);
        storeWords(out + c, lerp<kExact>(loadWords(a), loadWords(b), w), n - c);
    }
}

// v[index[i]] and v[index[i] + 1] for each lane: the pairs are read as 64-bit words (two
// four-lane gathers cost about half as much as two eight-lane ones) and then sorted apart.
inline void gatherPairs(const uint32_t* v, const int32_t* index, Words& first, Words& second) {
#if defined(__AVX2__)
    const auto* base = reinterpret_cast<const long long*>(v);
    __m128i i0, i1;
    std::memcpy(&i0, index, sizeof i0);
    std::memcpy(&i1, index + 4, sizeof i1);
    // Scale 4: the index counts 32-bit words.
    const Words g0 = std::bit_cast<Words>(_mm256_i32gather_epi64(base, i0, 4));
    const Words g1 = std::bit_cast<Words>(_mm256_i32gather_epi64(base, i1, 4));
    first = __builtin_shufflevector(g0, g1, 0, 2, 4, 6, 8, 10, 12, 14);
    second = __builtin_shufflevector(g0, g1, 1, 3, 5, 7, 9, 11, 13, 15);
#else
    for (int i = 0; i < kLanes; ++i) {
        first[i] = v[index[i]];
        second[i] = v[index[i] + 1];
    }
#endif
}

// The same from the sixteen words at v + index[0], for offsets of at most 14.
inline void pickPairs(const uint32_t* v, const int32_t* index, const int32_t* offset, Words& first,
                      Words& second) {
    const uint32_t* w = v + index[0];
    const Words lo = loadWords(w);
    const Words hi = loadWords(w + kLanes);
    Ints at;
    std::memcpy(&at, offset, sizeof at);
#if defined(__clang__)
    // clang has no shuffle with indices known only at run time (the fuzz builds use it).
    for (int i = 0; i < kLanes; ++i) {
        first[i] = at[i] < kLanes ? lo[at[i]] : hi[at[i] - kLanes];
        second[i] = at[i] + 1 < kLanes ? lo[at[i] + 1] : hi[at[i] + 1 - kLanes];
    }
#else
    first = __builtin_shuffle(lo, hi, Words(at));
    second = __builtin_shuffle(lo, hi, Words(at + 1));
#endif
}

// Second stage: o[x] = the first-stage row v interpolated between index(x) and index(x) + 1.
// v has room for sixteen words from any index.
template <bool kExact, bool kWindowed>
void interpolateColumns(const uint32_t* v, const Axis& ax, uint32_t* __restrict o, int width) {
    Words first, second;
    for (int x = 0; x < width; x += kLanes) {
        const auto i = static_cast<std::size_t>(x);
        if constexpr (kWindowed)
            pickPairs(v, &ax.index[i], &ax.offset[i], first, second);
        else
            gatherPairs(v, &ax.index[i], first, second);
        storeWords(o + x, lerp<kExact>(first, second, ax.at(i)), std::min(kLanes, width - x));
    }
}

// Builds a width by height picture row by row on `threads`: row(y, out) writes pixels 0..width-1
// of each row; the margin is zeroed here. afterRow(y) runs on the calling thread.
template <class Row, class AfterRow>
velmar::Bits buildPicture(int32_t width, int32_t height, int threads, Row&& row,
                          AfterRow&& afterRow) {
    velmar::Bits out = velmar::Bits::Uninitialised(width, height);
    out.ZeroMarginRows();
    filters::runRows(
        0, height - 1, threads,
        [&](int y) {
            uint8_t* o = out.Row(y);
            out.ZeroRowMargins(y);
            row(y, reinterpret_cast<Pixel32*>(o));
        },
        afterRow);
    return out;
}

} // namespace

void cBitFilter::BitsResize(const velmar::Bits& source, std::int32_t width, std::int32_t height) {
    const float xs = scaleStep(source.Width(), width);
    const float ys = scaleStep(source.Height(), height);
    // An array never dimensioned reads as a picture of no pixels: only its black margin.
    const velmar::Bits none = source.IsAllocated() ? velmar::Bits() : velmar::Bits(0, 0);
    const velmar::Bits& src = source.IsAllocated() ? source : none;
    const Axis ax = axisOf(width, xs, src.Width());
    const Axis ay = axisOf(height, ys, src.Height());
    const int32_t* __restrict ix = ax.index.data();
    const int32_t last = height - 1;

    velmar::Bits out = buildPicture(
        width, height, threads_,
        [&](int y, Pixel32* __restrict o) {
            const Pixel32* __restrict s =
                reinterpret_cast<const Pixel32*>(src.Row(ay.index[static_cast<std::size_t>(y)]));
            // Channels 0..2 only: the mask byte of the new picture is 0.
            for (int32_t x = 0; x < width; ++x)
                o[x] = s[ix[x]] & kColourBytes;
        },
        [&](int y) { ProgressStep(y, last); });
    Bits(std::move(out));
    leaveLoopFields(x_, y_, width, height);
    ProgressDone();
}

void cBitFilter::BitsResample(const velmar::Bits& source, std::int32_t width, std::int32_t height) {
    // One less than the size on top: the last source column and row are reached only as the
    // partners of an interpolation.
    const float xs = scaleStep(source.Width() - 1, width);
    const float ys = scaleStep(source.Height() - 1, height);
    const velmar::Bits none = source.IsAllocated() ? velmar::Bits() : velmar::Bits(0, 0);
    const velmar::Bits& src = source.IsAllocated() ? source : none;
    const Axis ax = axisOf(width, xs, src.Width() - 1);
    const Axis ay = axisOf(height, ys, src.Height() - 1);
    // The source columns a row reads: 0 to one past the last index. The first stage of a row is
    // done once for each of them, and the second reads it for every output pixel.
    const int32_t columns = width > 0 ? ax.index[static_cast<std::size_t>(width - 1)] + 2 : 0;
    const int32_t last = height - 1;

    auto row = [&]<bool kExactX, bool kExactY>(int y, Pixel32* __restrict o) {
        const auto yi = static_cast<std::size_t>(y);
        const int32_t iy = ay.index[yi];
        thread_local std::vector<uint32_t> stage;
        stage.resize(static_cast<std::size_t>(columns + 2 * kLanes));
        interpolateRows<kExactY>(reinterpret_cast<const uint32_t*>(src.Row(iy)),
                                 reinterpret_cast<const uint32_t*>(src.Row(iy + 1)), stage.data(),
                                 columns, rowWeights(ay, yi));
        auto* out = reinterpret_cast<uint32_t*>(o);
        if (ax.isWindowed)
            interpolateColumns<kExactX, true>(stage.data(), ax, out, width);
        else
            interpolateColumns<kExactX, false>(stage.data(), ax, out, width);
    };
    auto run = [&]<bool kExactX, bool kExactY>() {
        return buildPicture(
            width, height, threads_,
            [&](int y, Pixel32* o) { row.template operator()<kExactX, kExactY>(y, o); },
            [&](int y) { ProgressStep(y, last); });
    };
    velmar::Bits out = ax.isExact ? (ay.isExact ? run.template operator()<true, true>()
                                                : run.template operator()<true, false>())
                                  : (ay.isExact ? run.template operator()<false, true>()
                                                : run.template operator()<false, false>());
    Bits(std::move(out));
    leaveLoopFields(x_, y_, width, height);
    ProgressDone();
}

void cBitFilter::BitsRotate90(const velmar::Bits& source) {
    const int32_t w = source.Width();
    const int32_t h = source.Height();
    // The new picture is h wide and w high: source (x, y) goes to (y, W1 - x), so each new row
    // is a source column read downwards.
    velmar::Bits out = velmar::Bits::Uninitialised(h, w);
    out.ZeroMarginRows();

    // Strips of kStrip source columns (new rows), each written from left to right as the strip
    // goes down the source, eight rows at a time: an 8 x 8 block turned in registers.
    constexpr int32_t kStrip = 16;
    const int strips = (w + kStrip - 1) / kStrip;
    const int32_t h8 = h / 8 * 8;
    filters::runRows(
        0, strips - 1, threads_,
        [&](int strip) {
            const int32_t x0 = strip * kStrip;
            const int32_t x1 = std::min(w, x0 + kStrip);
            uint32_t* rows[kStrip];
            for (int32_t x = x0; x < x1; ++x) {
                uint8_t* row = out.Row(w - 1 - x);
                out.ZeroRowMargins(w - 1 - x);
                rows[x - x0] = reinterpret_cast<uint32_t*>(row);
            }
            const int32_t whole = x0 + (x1 - x0) / 8 * 8; // columns in full blocks
            for (int32_t y = 0; y < h8; y += 8) {
                for (int32_t bx = x0; bx < whole; bx += 8) {
                    Words r[8];
                    for (int i = 0; i < 8; ++i)
                        r[i] = loadWords(reinterpret_cast<const uint32_t*>(source.Row(y + i)) + bx);
                    transpose8(r);
                    for (int k = 0; k < 8; ++k)
                        storeWords(rows[bx - x0 + k] + y, r[k] & kColourBytes);
                }
                for (int32_t x = whole; x < x1; ++x)
                    for (int32_t i = 0; i < 8; ++i)
                        rows[x - x0][y + i] =
                            reinterpret_cast<const uint32_t*>(source.Row(y + i))[x] & kColourBytes;
            }
            for (int32_t y = h8; y < h; ++y) {
                const auto* s = reinterpret_cast<const uint32_t*>(source.Row(y));
                for (int32_t x = x0; x < x1; ++x)
                    rows[x - x0][y] = s[x] & kColourBytes;
            }
        },
        // The strips cross every source row; progress counts them as the share of rows done.
        [&](int strip) { ProgressStep(int64_t{h - 1} * (strip + 1) / strips, h - 1); });
    Bits(std::move(out));
    leaveLoopFields(x_, y_, w, h);
    ProgressDone();
}

velmar::Bits cBitFilter::RotateSmooth(double degrees) {
    const double a = degrees * filters::kDegree;
    const double ca = std::cos(a);
    const double sa = std::sin(a);
    const int32_t cx = W1_ / 2;
    const int32_t cy = H1_ / 2;
    RegionBox(0);
    if (!bits_.IsAllocated()) {
        ProgressDone();
        return {};
    }
    const Box box = box_;
    const Box cut = FilterFrame::ClippedBox(*this);
    const velmar::Bits& src = bits_;
    const Doubles width = Doubles{} + static_cast<double>(W1_ + 1);
    const Doubles height = Doubles{} + static_cast<double>(H1_ + 1);
    const auto stride = static_cast<int32_t>(src.Stride() / 4);
    const uint32_t* const origin = reinterpret_cast<const uint32_t*>(src.Row(0));
    constexpr Doubles kLane = {0.0, 1.0, 2.0, 3.0};
    const Doubles zero = {};

    constexpr double kAhead = 48.0;
    const double aheadX = kAhead * ca;
    const double aheadY = kAhead * sa;
    const Doubles lastX = Doubles{} + static_cast<double>(W1_);
    const Doubles lastY = Doubles{} + static_cast<double>(H1_);
    // Pixels x..x+3 of row y of the box, each lane computing the formula exactly as a single
    // pixel would; n of them are stored.
    auto turn4 = [&](int32_t y, int32_t x, const uint32_t* __restrict sp, uint32_t* __restrict op,
                     int n) {
        const double dy = y - cy;
        const Doubles dx = static_cast<double>(x - cx) + kLane;
        const Doubles fx = dx * ca - dy * sa + static_cast<double>(cx);
        const Doubles fy = dx * sa + dy * ca + static_cast<double>(cy);
        // floor(f) lies in 0..size-1 exactly when f does in [0, size); the others become black,
        // and read (0, 0) meanwhile.
        const Longs inside = (fx >= 0.0) & (fx < width) & (fy >= 0.0) & (fy < height);
        const Doubles gx = inside ? fx : zero;
        const Doubles gy = inside ? fy : zero;
        const Ints4 ix = __builtin_convertvector(gx, Ints4); // floor: both are at least 0
        const Ints4 iy = __builtin_convertvector(gy, Ints4);
        const Doubles tx = gx - __builtin_convertvector(ix, Doubles);
        const Doubles ty = gy - __builtin_convertvector(iy, Doubles);
        const Doubles wx = 1.0 - tx;
        const Doubles wy = 1.0 - ty;
        // A turned row crosses source rows at every step or two, which defeats the memory's own
        // read-ahead: ask for the pixels kAhead steps further on (of lanes 0 and 2; 1 and 3
        // are within a pixel of them).
        {
            const Doubles ax = clampDoubles(fx + aheadX, zero, lastX);
            const Doubles ay = clampDoubles(fy + aheadY, zero, lastY);
            const Ints4 ahead =
                __builtin_convertvector(ay, Ints4) * stride + __builtin_convertvector(ax, Ints4);
            __builtin_prefetch(origin + ahead[0]);
            __builtin_prefetch(origin + ahead[0] + stride);
            __builtin_prefetch(origin + ahead[2]);
            __builtin_prefetch(origin + ahead[2] + stride);
        }
        Ints4 p00, p10, p01, p11;
        gatherSquares(origin, stride, iy * stride + ix, p00, p10, p01, p11);
        Ints4 colour = {};
        for (int shift = 0; shift < 24; shift += 8) {
            auto channel = [shift](Ints4 p) {
                return __builtin_convertvector((p >> shift) & 255, Doubles);
            };
            const Doubles left = roundHalfEven(wy * channel(p00) + ty * channel(p01));
            const Doubles right = roundHalfEven(wy * channel(p10) + ty * channel(p11));
            // The values are convex mixtures of bytes: the standard clamp never acts.
            colour |= roundToInts(wx * left + tx * right) << shift;
        }
        Ints4 carried = {};
        std::memcpy(&carried, sp + x, static_cast<std::size_t>(n) * 4);
        const Ints4 result = (carried & static_cast<int32_t>(kMaskByte)) |
                             (colour & __builtin_convertvector(inside, Ints4));
        std::memcpy(op + x, &result, static_cast<std::size_t>(n) * 4);
    };

    // Bands of rows, each turned in blocks of columns: the source pixels a block reads (a small
    // turned rectangle) stay in the first-level cache.
    constexpr int kBand = 8;
    constexpr int32_t kBlock = 64;
    velmar::Bits out = velmar::Bits::Uninitialised(src.Width(), src.Height());
    const std::size_t rowBytes = static_cast<std::size_t>(src.Stride());
    for (int y : {-2, -1, H1_ + 1, H1_ + 2})
        std::memcpy(out.Row(y) - kLead * 4, src.Row(y) - kLead * 4, rowBytes);
    const int bands = (H1_ + kBand) / kBand;
    auto band = [&](int b) {
        const int y0 = b * kBand;
        const int y1 = std::min(H1_, y0 + kBand - 1);
        for (int y = y0; y <= y1; ++y)
            std::memcpy(out.Row(y) - kLead * 4, src.Row(y) - kLead * 4, rowBytes);
        // The box is turned whole, selected or not: no point test here.
        const int t0 = std::max(y0, cut.top);
        const int t1 = std::min(y1, cut.bottom);
        for (int32_t x0 = cut.left; x0 <= cut.right; x0 += kBlock) {
            const int32_t x1 = std::min(cut.right + 1, x0 + kBlock);
            for (int y = t0; y <= t1; ++y) {
                const auto* sp = reinterpret_cast<const uint32_t*>(src.Row(y));
                auto* op = reinterpret_cast<uint32_t*>(out.Row(y));
                int32_t x = x0;
                for (; x + 4 <= x1; x += 4)
                    turn4(y, x, sp, op, 4);
                if (x < x1) turn4(y, x, sp, op, x1 - x);
            }
        }
    };
    filters::runRows(0, bands - 1, threads_, band, [&](int b) {
        const int y1 = std::min(H1_, b * kBand + kBand - 1);
        for (int y = std::max(b * kBand, cut.top); y <= std::min(y1, cut.bottom); ++y)
            ProgressStep(y);
    });
    FilterFrame::LeaveLoopFields(*this, box, 1);
    ProgressDone();
    return out;
}

} // namespace velmar
