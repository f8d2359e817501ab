// Neighbourhood filters that look at whole windows, blocks or cells around a pixel: the
// edge-preserving PAINTING and Dissolve, NOISE, PIXELIZE, Halftone and the general MaskFilter.
//
// PAINTING, Dissolve and MaskFilter read only the source and write only the row they are given,
// so they run on all threads. NOISE, PIXELIZE and Halftone run on the calling thread alone:
// NOISE draws one random sequence in row order, PIXELIZE carries its last block averages from
// pixel to pixel (across rows too), and Halftone's cells overlap and carry their means, so a
// later cell has to come later.
//
// Many kernels here work on "lanes": the bytes of a row taken one by one, four per pixel. Every
// channel is computed the same way and independently, so a loop over lanes treats blue, green
// and red alike (the neighbour in x is 4 lanes away) and vectorises without shuffling channels
// apart. The mask lane is computed along with them and then replaced by the source's mask byte.
#include "filters/cBitFilter.h"
#include "filters/filterFrame.h"
#include "filters/filterMath.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <span>
#include <type_traits>
#include <vector>

namespace velmar {

using filters::clampByte;

namespace {

// Pixels handled at a time by the window kernels: small enough for stack buffers in L1.
constexpr int kChunk = 256;
constexpr int kLanes = 4;

void copyPixels(const FrameRow& row, int x0, int x1) {
    if (x1 > x0)
        std::memcpy(row.out + x0 * 4, row.src + x0 * 4, static_cast<std::size_t>(x1 - x0) * 4);
}

// ---- PAINTING and Dissolve ---------------------------------------------------------------------
//
// All the window arithmetic fits 16 bits (sums up to 9 * 255 = 2295), so it runs on vectors of
// 16 lanes of 16 bits. Each step is written once for a type T that is either one lane
// (std::uint16_t) or 16 lanes (V16); the operators, including ?: on comparisons, mean the same
// for both. Vectors are passed by reference only, which keeps the code free of ABI differences
// between processors with and without 256-bit registers.

using V16 = std::uint16_t __attribute__((vector_size(32)));
using B16 = std::uint8_t __attribute__((vector_size(16)));
constexpr int kVec = 16;

inline void load(std::uint16_t& v, const std::uint8_t* p) {
    v = *p;
}
inline void load(std::uint16_t& v, const std::uint16_t* p) {
    v = *p;
}
inline void load(V16& v, const std::uint8_t* p) {
    B16 b;
    std::memcpy(&b, p, sizeof b);
    v = __builtin_convertvector(b, V16);
}
inline void load(V16& v, const std::uint16_t* p) {
    std::memcpy(&v, p, sizeof v);
}
inline void store(std::uint16_t* p, const std::uint16_t& v) {
    *p = v;
}
inline void store(std::uint16_t* p, const V16& v) {
    std::memcpy(p, &v, sizeof v);
}
inline void storeBytes(std::uint8_t* p, const std::uint16_t& v) {
    *p = static_cast<std::uint8_t>(v);
}
inline void storeBytes(std::uint8_t* p, const V16& v) {
    const B16 b = __builtin_convertvector(v, B16); // values are bytes already
    std::memcpy(p, &b, sizeof b);
}
// out = |a - b|, as max - min.
template <class T> inline void absDiff(T& out, const T& a, const T& b) {
    out = static_cast<T>((a > b ? a : b) - (a < b ? a : b));
}

// Calls block(k, type) for lanes k.. of 0..lanes-1, 16 at a time, or one at a time when there
// are fewer than 16. The last block of 16 overlaps the one before it rather than reading past
// the end; blocks compute pure functions of the source, so lanes done twice come out the same.
template <class Block> void forEachLane(int lanes, Block&& block) {
    if (lanes < kVec) {
        for (int k = 0; k < lanes; ++k)
            block(k, std::type_identity<std::uint16_t>{});
        return;
    }
    for (int k = 0;; k += kVec) {
        if (k > lanes - kVec) k = lanes - kVec;
        block(k, std::type_identity<V16>{});
        if (k == lanes - kVec) break;
    }
}

// Mean (sum div 9) and deviation (sum of |value - mean|) of the 3x3 windows around `lanes` / 4
// consecutive centres; up, mid and down point at the left neighbour of the first centre in the
// rows above, at and below the centres.
void windowStats(const std::uint8_t* up, const std::uint8_t* mid, const std::uint8_t* down,
                 int lanes, std::uint16_t* mean, std::uint16_t* dev) {
    forEachLane(
        lanes, [&](int k, auto type) __attribute__((always_inline)) {
            using T = typename decltype(type)::type;
            const std::uint8_t* rows[3] = {up + k, mid + k, down + k};
            T v[9];
            for (int j = 0; j < 3; ++j)
                for (int i = 0; i < 3; ++i)
                    load(v[j * 3 + i], rows[j] + i * kLanes);
            T s = v[0];
            for (int t = 1; t < 9; ++t)
                s = static_cast<T>(s + v[t]);
            const T m = static_cast<T>(s / 9);
            T d, e;
            absDiff(d, v[0], m);
            for (int t = 1; t < 9; ++t) {
                absDiff(e, v[t], m);
                d = static_cast<T>(d + e);
            }
            store(mean + k, m);
            store(dev + k, d);
        });
}

// The four windows of pixel (x, y) are the 3x3 windows centred on (x -/+ 1, y -/+ 1): window 0
// on (x-1, y-1), 1 on (x+1, y-1), 2 on (x-1, y+1), 3 on (x+1, y+1). Neighbouring pixels share
// them, so each row computes the windows centred on the rows above and below once per centre and
// then picks, per pixel, the one with the smallest deviation.
//
// The search starts from a best value (99999, or 999999 for Dissolve) that no deviation reaches
// (at most 2295), so window 0 always wins the first comparison: it is taken as the start. Later
// windows win only with a strictly smaller deviation.
template <bool kDissolve> void edgePreservingSpan(const FrameRow& row, int x0, int x1) {
    const std::ptrdiff_t st = row.stride;
    alignas(32) std::uint16_t meanUp[(kChunk + 2) * kLanes], devUp[(kChunk + 2) * kLanes];
    alignas(32) std::uint16_t meanDown[(kChunk + 2) * kLanes], devDown[(kChunk + 2) * kLanes];
    for (int c0 = x0; c0 < x1; c0 += kChunk) {
        const int n = std::min(kChunk, x1 - c0);
        // Centres c0-1 .. c0+n; their left neighbours start at column c0-2, inside the margin.
        const std::uint8_t* base = row.src + (c0 - 2) * kLanes;
        const int centreLanes = (n + 2) * kLanes;
        windowStats(base - 2 * st, base - st, base, centreLanes, meanUp, devUp);
        windowStats(base, base + st, base + 2 * st, centreLanes, meanDown, devDown);

        // Pixel (x+1, y-1): the centre of window 1, whose term PAINTING takes against the mean
        // of window 2.
        const std::uint8_t* corner = row.src - st + (c0 + 1) * kLanes;
        std::uint8_t* o = row.out + c0 * kLanes;
        // Pixel x of the chunk: window 0 is centre lane l, window 1 lane l + 8 (two pixels on).
        forEachLane(
            n * kLanes, [&](int l, auto type) __attribute__((always_inline)) {
                using T = typename decltype(type)::type;
                T best, v, d, m, e;
                load(best, devUp + l);
                load(v, meanUp + l);
                load(d, devUp + l + 8);
                load(m, meanUp + l + 8);
                if constexpr (!kDissolve) {
                    T c, m2;
                    load(c, corner + l);
                    load(m2, meanDown + l);
                    absDiff(e, c, m);
                    d = static_cast<T>(d - e);
                    absDiff(e, c, m2);
                    d = static_cast<T>(d + e);
                }
                auto take = [&] {
                    const auto smaller = d < best;
                    v = smaller ? m : v;
                    best = smaller ? d : best;
                };
                take();
                load(d, devDown + l);
                load(m, meanDown + l);
                take();
                if constexpr (kDissolve) {
                    load(d, devDown + l + 8);
                    load(m, meanDown + l + 8);
                    take();
                }
                storeBytes(o + l, v);
            });
        restoreBytes(row.src + c0 * kLanes, row.out + c0 * kLanes, n);
    }
}

// ---- MaskFilter --------------------------------------------------------------------------------
//
// The sums are exact in every path; the paths differ only in the width that holds them.
//  - small: 3x3 and 5x5 masks whose largest sum (255 times the sum of the weights) fits 16 bits
//    sum in 16-bit lanes, the common case and the fastest;
//  - float: any other mask whose largest sum stays below 2^24 sums in single precision, which
//    holds every integer below 2^24 exactly; all weights and bytes are non-negative, so the
//    largest sum bounds every partial sum too;
//  - exact: anything larger sums in 64-bit integers.
// The first two divide in single precision. trunc(sum / divisor) is exact there when
// maxSum + |divisor| < 2^24: with s = k * d + rest (d > 0, 0 <= rest < d) the true quotient lies
// at least 1/d below k + 1, while rounding to the nearest float moves it by at most
// (k + 1) * 2^-24, and (k + 1) * d <= s + d < 2^24 keeps that below 1/d; k itself is a float,
// so the quotient never rounds below it. A negative divisor mirrors the same.

enum class MaskPath { Small, Float, Exact };

struct MaskPlan {
    std::int32_t m = 0;
    std::int32_t half = 0;
    std::int32_t divisor = 1;
    std::int64_t offset[3] = {0, 0, 0}; // blue, green, red
    MaskPath path = MaskPath::Exact;
    std::vector<std::uint16_t> weights;   // (m + 1)^2, row by row, for the small path
    std::vector<std::int32_t> laneOffset; // the offsets, one per lane of a chunk (not exact path)
};

// Sums of a mask of fixed size M + 1 whose reads all fall inside the array (M <= 4: at most two
// pixels beyond the picture, which is the black margin); the sums fit 16 bits. rowPtrs[j]
// points at the first tap of mask row j for the first centre.
template <int M>
void maskSumsSmall(const std::uint8_t* const* rowPtrs, const std::uint16_t* weights, int lanes,
                   std::uint16_t* __restrict acc) {
    using U16 = std::uint16_t;
    const std::uint8_t* r[M + 1];
    U16 w[(M + 1) * (M + 1)];
    for (int j = 0; j <= M; ++j)
        r[j] = rowPtrs[j];
    for (int k = 0; k < (M + 1) * (M + 1); ++k)
        w[k] = weights[k];
    for (int l = 0; l < lanes; ++l) {
        U16 s = 0;
        for (int j = 0; j <= M; ++j)
            for (int i = 0; i <= M; ++i)
                s = static_cast<U16>(s +
                                     static_cast<U16>(r[j][l + kLanes * i]) * w[j * (M + 1) + i]);
        acc[l] = s;
    }
}

// Sums of any mask, tap by tap over the chunk. Reads outside the picture read zero, as the black
// margin does: a large mask reaches further than the margin, and continuing the margin's black is
// what a user expects at the border (reading on into the neighbouring row would smear the other
// side of the picture in).
template <class Acc>
void maskSumsAny(const velmar::Bits& src, const MaskArray& mask, const MaskPlan& plan,
                 std::int32_t W1, std::int32_t H1, std::int32_t yc, int c0, int n,
                 Acc* __restrict acc) {
    std::fill(acc, acc + n * kLanes, Acc{});
    for (int j = 0; j <= plan.m; ++j) {
        const std::int32_t ys = yc - plan.half + j;
        if (ys < 0 || ys > H1) continue;
        const std::uint8_t* srow = src.Row(ys);
        for (int i = 0; i <= plan.m; ++i) {
            const std::uint8_t w = mask(j, i);
            if (w == 0) continue;
            const std::int32_t dx = i - plan.half;
            const int lo = std::max(c0, -dx);
            const int hi = std::min(c0 + n, W1 + 1 - dx);
            if (lo >= hi) continue;
            const std::uint8_t* __restrict p = srow + (lo + dx) * kLanes;
            Acc* __restrict a = acc + (lo - c0) * kLanes;
            const Acc wv = static_cast<Acc>(w);
            for (int l = 0, end = (hi - lo) * kLanes; l < end; ++l)
                a[l] += static_cast<Acc>(p[l]) * wv;
        }
    }
}

// sum div divisor + offset, standard clamp, in single precision (see above for why it is exact).
// Quotients stay below 2^24 in size, and the offsets were saturated at 2^25, so nothing
// leaves 32 bits.
template <class Acc>
void maskFinishFloat(const Acc* __restrict acc, const MaskPlan& plan, int n,
                     std::uint8_t* __restrict out) {
    const float d = static_cast<float>(plan.divisor);
    const std::int32_t* __restrict off = plan.laneOffset.data();
    for (int l = 0, end = n * kLanes; l < end; ++l) {
        const auto q = static_cast<std::int32_t>(static_cast<float>(acc[l]) / d); // truncates
        out[l] = clampByte(q + off[l]);
    }
}

void maskFinishExact(const std::int64_t* acc, const MaskPlan& plan, int n, std::uint8_t* out) {
    for (int x = 0; x < n; ++x)
        for (int c = 0; c < 3; ++c) {
            const std::int64_t v = acc[x * kLanes + c] / plan.divisor + plan.offset[c];
            out[x * kLanes + c] = static_cast<std::uint8_t>(v < 0 ? 0 : (v > 255 ? 255 : v));
        }
}

// Centres c0 .. c0+n-1 of row yc: the sums, the division, the offsets and the clamp.
void maskChunk(const velmar::Bits& src, const MaskArray& mask, const MaskPlan& plan,
               std::int32_t W1, std::int32_t H1, const FrameRow& row, int c0, int n) {
    std::uint8_t* out = row.out + c0 * kLanes;
    switch (plan.path) {
    case MaskPath::Small: {
        alignas(32) std::uint16_t acc[kChunk * kLanes];
        const std::uint8_t* rows[5];
        for (int j = 0; j <= plan.m; ++j)
            rows[j] = row.src + (j - plan.half) * row.stride + (c0 - plan.half) * kLanes;
        if (plan.m == 2)
            maskSumsSmall<2>(rows, plan.weights.data(), n * kLanes, acc);
        else
            maskSumsSmall<4>(rows, plan.weights.data(), n * kLanes, acc);
        maskFinishFloat(acc, plan, n, out);
        break;
    }
    case MaskPath::Float: {
        alignas(32) float acc[kChunk * kLanes];
        maskSumsAny(src, mask, plan, W1, H1, row.y, c0, n, acc);
        maskFinishFloat(acc, plan, n, out);
        break;
    }
    case MaskPath::Exact: {
        std::int64_t acc[kChunk * kLanes];
        maskSumsAny(src, mask, plan, W1, H1, row.y, c0, n, acc);
        maskFinishExact(acc, plan, n, out);
        break;
    }
    }
    restoreBytes(row.src + c0 * kLanes, out, n);
}

} // namespace

velmar::Bits cBitFilter::PAINTING() {
    return FilterFrame::Run(*this, {}, edgePreservingSpan<false>);
}

velmar::Bits cBitFilter::Dissolve() {
    return FilterFrame::Run(*this, {}, edgePreservingSpan<true>);
}

// c' = round(c + r * span - amount), standard clamp, with span = 2 * amount + 1 a long. Once
// span fits in a long, the value lies between c - |amount| and c + |amount| + 1, so its
// rounding always fits a long too, and the clamp can work on the rounded double.
velmar::Bits cBitFilter::NOISE(std::int32_t amount, bool equalized) {
    const double span = static_cast<double>(filters::checkedLong(std::int64_t{filters::checkedLong(std::int64_t{amount} + amount)} + 1));
    const double amt = amount;
    FrameOptions options;
    options.sequential = true; // one random sequence, drawn in row order
    return FilterFrame::Run(*this, options, [&](const FrameRow& row, int x0, int x1) {
        double r[kChunk * 3];
        for (int c0 = x0; c0 < x1; c0 += kChunk) {
            const int n = std::min(kChunk, x1 - c0);
            // The draws come first, pixel by pixel and channel by channel (blue, green, red);
            // the arithmetic then runs over the whole chunk.
            if (equalized) {
                for (int i = 0; i < n; ++i)
                    r[3 * i] = r[3 * i + 1] = r[3 * i + 2] = Rnd();
            } else {
                for (int i = 0; i < 3 * n; ++i)
                    r[i] = Rnd();
            }
            const std::uint8_t* __restrict s = row.src + c0 * kLanes;
            std::uint8_t* __restrict o = row.out + c0 * kLanes;
            for (int i = 0; i < n; ++i) {
                for (int c = 0; c < 3; ++c) {
                    const double v = std::nearbyint(
                        (static_cast<double>(s[4 * i + c]) + r[3 * i + c] * span) - amt);
                    o[4 * i + c] =
                        static_cast<std::uint8_t>(v < 0.0 ? 0.0 : (v > 255.0 ? 255.0 : v));
                }
                o[4 * i + 3] = s[4 * i + 3];
            }
        }
    });
}

// Every selected pixel takes the averages computed last; they are computed anew at each selected
// pixel whose x is a multiple of the size, over the block that starts there. Block averages
// depend only on the block, so each is computed once per block row and kept until the rows move
// on to the next block row.
velmar::Bits cBitFilter::PIXELIZE(std::int32_t size) {
    const std::int32_t s = size;
    // The averages carried from pixel to pixel (blue, green, red in place; mask byte 0). Before
    // the first block they are black, as fresh variables are: a selection whose first row starts
    // inside a block gives black up to the next block.
    std::uint32_t carried = 0;
    // Block averages of the current block row; kMaskByte marks one not computed yet (averages
    // never have it).
    std::vector<std::uint32_t> blocks;
    std::int64_t blockRow = std::numeric_limits<std::int64_t>::min();
    const velmar::Bits& src = bits_;
    const std::int32_t W1 = W1_, H1 = H1_;

    auto average = [&](std::int32_t bx, std::int32_t by) {
        // Pixels past the right or bottom edge are left out; the selection plays no part.
        const std::int32_t xEnd =
            static_cast<std::int32_t>(std::min<std::int64_t>(std::int64_t{bx} + s - 1, W1));
        const std::int32_t yEnd =
            static_cast<std::int32_t>(std::min<std::int64_t>(std::int64_t{by} + s - 1, H1));
        std::int64_t sum[3] = {0, 0, 0};
        for (std::int32_t y = by; y <= yEnd; ++y) {
            const std::uint8_t* p = src.Row(y);
            for (std::int32_t x = bx; x <= xEnd; ++x)
                for (int c = 0; c < 3; ++c)
                    sum[c] += p[x * 4 + c];
        }
        const std::int64_t count = std::int64_t{xEnd - bx + 1} * (yEnd - by + 1);
        return static_cast<std::uint32_t>(sum[0] / count) |
               static_cast<std::uint32_t>(sum[1] / count) << 8 |
               static_cast<std::uint32_t>(sum[2] / count) << 16;
    };

    FrameOptions options;
    options.sequential = true; // the averages carry over from row to row
    return FilterFrame::Run(*this, options, [&](const FrameRow& row, int x0, int x1) {
        if (s == 0) throw RuntimeError::DivisionByZero(); // x div s
        const Pixel32* __restrict sp = reinterpret_cast<const Pixel32*>(row.src);
        Pixel32* __restrict op = reinterpret_cast<Pixel32*>(row.out);
        int x = x0;
        while (x < x1) {
            int next = x1;
            // A block of a negative size is empty: it counts no pixel, so nothing is computed
            // and the carried averages stay.
            if (s > 0) {
                const std::int32_t block = x / s;
                if (x % s == 0) {
                    const std::int64_t by = std::int64_t{row.y / s} * s;
                    if (by != blockRow) {
                        blockRow = by;
                        blocks.assign(static_cast<std::size_t>(W1 / s) + 1, kMaskByte);
                    }
                    std::uint32_t& cached = blocks[static_cast<std::size_t>(block)];
                    if (cached == kMaskByte) cached = average(x, static_cast<std::int32_t>(by));
                    carried = cached;
                }
                next = static_cast<int>(std::min<std::int64_t>(x1, (std::int64_t{block} + 1) * s));
            }
            for (; x < next; ++x)
                op[x] = (sp[x] & kMaskByte) | carried;
        }
    });
}

// Cells of 2r + 1 pixels every 2r pixels: each cell's mean colour (brightened by the gain) is
// drawn as a disc that fades from the middle outwards; pixels outside the disc become black.
// The sums read the source, the discs are drawn into the working copy, and a later cell draws
// over the shared row and column of an earlier one.
velmar::Bits cBitFilter::Halftone(std::int32_t radius, std::int32_t definition,
                                  std::int32_t intensity) {
    const std::int64_t r = radius;
    const double q = filters::fdiv(filters::checkedLong(std::int64_t{radius} + definition), radius);
    const double gain = filters::checkedLong(std::int64_t{intensity} + 100) / 100.0;
    const std::int32_t limit = roundToLong(q * static_cast<double>(r) * static_cast<double>(r));
    const std::int64_t step = 2 * r;
    if (step > std::numeric_limits<std::int32_t>::max() ||
        step < std::numeric_limits<std::int32_t>::min())
        throw RuntimeError::Overflow();

    RegionBox(0);
    if (!bits_.IsAllocated()) {
        ProgressDone();
        return {};
    }
    velmar::Bits out = bits_.clone();
    const velmar::Bits& src = bits_;
    // The selection lies inside its box: windows are cut to it, which keeps every read and
    // write inside the picture.
    const Box cut = FilterFrame::ClippedBox(*this);
    const Box box = box_;
    // The means carry from cell to cell: a cell whose n is not above 0 (no selected pixel, or
    // a gain of 0 or less) draws with the previous cell's means, or with black before any cell
    // had some.
    std::int32_t mean[3] = {0, 0, 0};

    // The selected spans of the rows of one cell row, each with a cursor that moves right with
    // the cells: a row's spans are looked up once per cell row rather than once per cell.
    struct RowWalk {
        std::int32_t y;
        const RegionSpan* span;
        const RegionSpan* end;
    };
    std::vector<RowWalk> walks;
    const RegionSpan whole{cut.left, cut.right + 1};
    auto startCellRow = [&](std::int64_t y) {
        walks.clear();
        const std::int64_t yLast = std::min<std::int64_t>(y + step, cut.bottom);
        for (std::int64_t yy = std::max<std::int64_t>(y, cut.top); yy <= yLast; ++yy) {
            const auto row = static_cast<std::int32_t>(yy);
            if (region_ == nullptr) {
                walks.push_back({row, &whole, &whole + 1});
            } else {
                const std::span<const RegionSpan> spans = region_->RowSpans(row);
                walks.push_back({row, spans.data(), spans.data() + spans.size()});
            }
        }
    };
    // Calls fn(yy, x0, x1) for the selected pixels of the cell window x..x+2r of the cell row.
    auto forCell = [&](std::int64_t x, auto&& fn) {
        const std::int64_t lo = std::max<std::int64_t>(x, cut.left);
        const std::int64_t hi = std::min<std::int64_t>(x + step, cut.right) + 1;
        for (RowWalk& w : walks) {
            while (w.span != w.end && w.span->right <= x)
                ++w.span; // wholly left of this cell and of every later one
            for (const RegionSpan* sp = w.span; sp != w.end && sp->left < hi; ++sp) {
                const auto x0 = static_cast<std::int32_t>(std::max<std::int64_t>(sp->left, lo));
                const auto x1 = static_cast<std::int32_t>(std::min<std::int64_t>(sp->right, hi));
                if (x0 < x1) fn(w.y, x0, x1);
            }
        }
    };

    // f = 1 - d2 / limit for d2 <= limit. A limit of 0 only lets d2 = 0 through, and 0 / 0 is
    // "Overflow" there. d2 is at most 2r^2: for radii up to 181 the values are kept in a table
    // (NaN marking the 0 / 0), larger ones divide pixel by pixel.
    auto fadeOf = [limit](std::int64_t d2) {
        return limit == 0 ? std::numeric_limits<double>::quiet_NaN()
                          : 1.0 - static_cast<double>(d2) / limit;
    };
    std::vector<double> fades;
    if (r > 0 && limit >= 0 && 2 * r * r <= (1 << 16)) {
        fades.resize(static_cast<std::size_t>(std::min<std::int64_t>(2 * r * r, limit)) + 1);
        for (std::size_t d2 = 0; d2 < fades.size(); ++d2)
            fades[d2] = fadeOf(static_cast<std::int64_t>(d2));
    }
    auto fade = [&](std::int64_t d2) {
        const double f = fades.empty() ? fadeOf(d2) : fades[static_cast<std::size_t>(d2)];
        if (std::isnan(f)) throw RuntimeError::Overflow();
        return f;
    };

    auto cell = [&](std::int64_t x, std::int64_t y) {
        std::int64_t sum[3] = {0, 0, 0};
        std::int64_t count = 0;
        forCell(x, [&](std::int32_t yy, std::int32_t x0, std::int32_t x1) {
            const std::uint8_t* p = src.Row(yy);
            for (std::int32_t xx = x0; xx < x1; ++xx)
                for (int c = 0; c < 3; ++c)
                    sum[c] += p[xx * 4 + c];
            count += x1 - x0;
        });
        const std::int32_t n = roundToLong(filters::fdiv(static_cast<double>(count), gain));
        if (n > 0)
            for (int c = 0; c < 3; ++c)
                mean[c] = std::min(roundToLong(static_cast<double>(sum[c]) / n), 255);

        const double m0 = mean[0], m1 = mean[1], m2 = mean[2];
        forCell(x, [&](std::int32_t yy, std::int32_t x0, std::int32_t x1) {
            std::uint8_t* o = out.Row(yy);
            const std::int64_t dy = yy - y - r;
            for (std::int32_t xx = x0; xx < x1; ++xx) {
                const std::int64_t dx = xx - x - r;
                const std::int64_t d2 = dx * dx + dy * dy;
                std::uint8_t* p = o + xx * 4;
                if (d2 <= limit) {
                    const double f = fade(d2);
                    p[0] = roundToByte(f * m0);
                    p[1] = roundToByte(f * m1);
                    p[2] = roundToByte(f * m2);
                } else {
                    p[0] = p[1] = p[2] = 0;
                }
            }
        });
    };

    // The cell loops run as counted loops with a step of 2r: a negative radius steps backwards,
    // and then its windows are empty.
    auto more = [step](std::int64_t v, std::int64_t end) { return step > 0 ? v <= end : v >= end; };
    std::int64_t y = box.top;
    for (; more(y, box.bottom); y += step) {
        startCellRow(y);
        std::int64_t x = box.left;
        for (; more(x, box.right); x += step)
            cell(x, y);
        x_ = static_cast<std::int32_t>(x);
        ProgressStep(static_cast<std::int32_t>(y));
    }
    y_ = static_cast<std::int32_t>(y);
    ProgressDone();
    return out;
}

// A general convolution: the mask's top-left tap sits at (x, y), its centre (x + half, y + half)
// receives the result. The loop runs over the rows of the centres, so each row writes only
// itself and the rows can go to several threads.
velmar::Bits cBitFilter::MaskFilter(const MaskArray& mask, std::int32_t divisor,
                                    std::int32_t redOffset, std::int32_t greenOffset,
                                    std::int32_t blueOffset, bool keepInside) {
    MaskPlan plan;
    plan.m = mask.m;
    plan.half = mask.m / 2;
    plan.divisor = divisor;
    plan.offset[0] = blueOffset;
    plan.offset[1] = greenOffset;
    plan.offset[2] = redOffset;

    std::int64_t weightSum = 0;
    for (int j = 0; j <= plan.m; ++j)
        for (int i = 0; i <= plan.m; ++i)
            weightSum += mask(j, i);
    const std::int64_t maxSum = 255 * weightSum;
    const bool floatExact =
        divisor != 0 && maxSum + std::abs(std::int64_t{divisor}) < (std::int64_t{1} << 24);
    if (floatExact && maxSum <= 0xFFFF && (plan.m == 2 || plan.m == 4))
        plan.path = MaskPath::Small;
    else if (floatExact)
        plan.path = MaskPath::Float;
    if (plan.path == MaskPath::Small)
        for (int j = 0; j <= plan.m; ++j)
            for (int i = 0; i <= plan.m; ++i)
                plan.weights.push_back(mask(j, i));
    if (plan.path != MaskPath::Exact) {
        // Quotients stay below 2^24 in size, so an offset beyond 2^25 clamps to the same byte
        // as any larger one: saturating it keeps the sum inside 32 bits.
        std::int32_t off[kLanes];
        for (int c = 0; c < 3; ++c)
            off[c] = static_cast<std::int32_t>(
                std::clamp<std::int64_t>(plan.offset[c], -(1 << 25), 1 << 25));
        off[3] = 0;
        plan.laneOffset.resize(kChunk * kLanes);
        for (int l = 0; l < kChunk * kLanes; ++l)
            plan.laneOffset[static_cast<std::size_t>(l)] = off[l % kLanes];
    }

    // The box of the top-left taps: the selection's box moved up and left by half; KeepInside
    // keeps the whole mask inside the picture.
    RegionBox(0);
    Box taps = box_;
    taps.left -= plan.half;
    taps.right -= plan.half;
    taps.top -= plan.half;
    taps.bottom -= plan.half;
    if (keepInside) {
        taps.left = std::max(taps.left, 0);
        taps.top = std::max(taps.top, 0);
        taps.right = std::min(taps.right, W1_ - plan.m);
        taps.bottom = std::min(taps.bottom, H1_ - plan.m);
    }
    // The same box in centre coordinates.
    const std::int32_t cLeft = taps.left + plan.half, cRight = taps.right + plan.half;
    const std::int32_t cTop = taps.top + plan.half, cBottom = taps.bottom + plan.half;

    const velmar::Bits& src = bits_;
    const std::int32_t W1 = W1_, H1 = H1_;
    FrameOptions options;
    options.progressRowOffset = -plan.half;
    velmar::Bits result = FilterFrame::Run(*this, options, [&](const FrameRow& row, int x0, int x1) {
        int a = x0, b = x0;
        if (row.y >= cTop && row.y <= cBottom) {
            a = std::max(x0, cLeft);
            b = std::min(x1, cRight + 1);
            if (a >= b) a = b = x0;
        }
        copyPixels(row, x0, a);
        copyPixels(row, b, x1);
        if (a == b) return;
        if (divisor == 0) throw RuntimeError::DivisionByZero(); // sum div Divisor
        for (int c0 = a; c0 < b; c0 += kChunk)
            maskChunk(src, mask, plan, W1, H1, row, c0, std::min(kChunk, b - c0));
    });
    box_ = taps;
    FilterFrame::LeaveLoopFields(*this, taps, 1);
    return result;
}

} // namespace velmar
