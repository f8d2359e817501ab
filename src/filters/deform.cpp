// Deformations: the operations that move pixels.
//
// Most of them map each destination pixel of the selection's box to a source position and copy
// the colour found there, and they test the selection at the SOURCE: a destination inside the
// box but outside the selection can change, and a destination whose source lies outside the
// selection misses (it stays, or turns black with the clean flag). That frame is written once
// here (mapSources) and each filter only supplies a row mapping, which fills the source
// positions of a whole row at a time so that the arithmetic vectorises. GLASS (glass.cpp) runs
// in the same frame.
//
// WAVES, TILE, TileMask and LENS test the destination instead; Flip ignores the selection.
//
// The mappings are computed exactly as the formulas read. Where a formula is evaluated another
// way for speed (BEND's arctangent, TWIRL's rotation), the fast value comes with a bound on its
// error, and any pixel whose value lies so close to a rounding tie that the bound could change
// the rounded result is computed again by the formula itself: the results are the formula's.
#include "filters/cBitFilter.h"
#include "filters/filterFrame.h"
#include "filters/filterMath.h"
#include "filters/sourceMapped.h"
#include "filters/pixelWord.h"
#include "filters/rowRunner.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <span>
#include <type_traits>
#include <vector>

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace velmar {


namespace {

using filters::kPi;
using filters::kTwoPi;

constexpr double kLongMin = -2147483648.0;
constexpr double kLongMax = 2147483647.0;
constexpr std::ptrdiff_t kLead = velmar::Bits::kMargin * velmar::Bits::kChannels;

// round() of one lane of a loop the compiler vectorises: the rounded value, with `bad` raised
// when it does not fit a long; the caller turns that into "Overflow" after the loop.
inline std::int32_t roundLane(double v, std::uint32_t& bad) {
    const double r = std::nearbyint(v);
    const bool fits = r >= kLongMin && r <= kLongMax;
    bad |= fits ? 0u : 1u;
    return static_cast<std::int32_t>(fits ? r : 0.0);
}

inline void throwIfBad(std::uint32_t bad) {
    if (bad != 0) throw RuntimeError::Overflow();
}

// Whether a value v (rounded: r) computed with an error of at most eps may round otherwise than
// the exact one: it lies within eps of a tie, or it is so large (or not a number) that it is left
// to the formula, which also raises the overflow where there is one.
inline bool nearTie(double v, double r, double eps) {
    return (std::fabs(std::fabs(v - r) - 0.5) <= eps) | !(std::fabs(v) < 1073741824.0);
}

// c ? a : b by bits. The compiler turns a choice between computed floating values into a branch
// (it will not compute an arm that might trap when it is not needed), and a branch keeps a loop
// from vectorising; a choice of bits has no branch.
inline double pick(bool c, double a, double b) {
    const std::uint64_t m = c ? ~std::uint64_t{0} : 0;
    return std::bit_cast<double>((std::bit_cast<std::uint64_t>(a) & m) |
                                 (std::bit_cast<std::uint64_t>(b) & ~m));
}

// Square roots of a row. std::sqrt may set errno (for a negative argument), and that keeps the
// compiler from vectorising any loop that calls it; the instruction gives the same correctly
// rounded root, and the arguments here are never negative anyway.
void sqrtRow(const double* in, double* out, std::int32_t n) {
    std::int32_t i = 0;
#if defined(__AVX__)
    for (; i + 4 <= n; i += 4)
        _mm256_storeu_pd(out + i, _mm256_sqrt_pd(_mm256_loadu_pd(in + i)));
#elif defined(__SSE2__)
    for (; i + 2 <= n; i += 2)
        _mm_storeu_pd(out + i, _mm_sqrt_pd(_mm_loadu_pd(in + i)));
#endif
    for (; i < n; ++i)
        out[i] = std::sqrt(in[i]);
}

// The per-thread scratch of a row.
template <class T> T* scratch(std::vector<T>& v, std::int32_t n) {
    if (v.size() < static_cast<std::size_t>(n)) v.resize(static_cast<std::size_t>(n));
    return v.data();
}

// PtInRegion for source positions, which may lie anywhere. The selected spans of every row are
// looked up once: the extent of each row's spans sits in two arrays, so that a row of tests
// vectorises, and only rows of several spans need a search. Without a selection the whole
// picture is selected.
class SourceRegion {
  public:
    SourceRegion(const Region* region, std::int32_t w1, std::int32_t h1) : w1_(w1), h1_(h1) {
        if (region == nullptr) return;
        whole_ = false;
        const IntRect b = region->Box();
        top_ = b.top;
        const std::size_t rows = static_cast<std::size_t>(std::max(b.bottom - b.top, 0));
        // An empty row holds no x (left 1, right 0); one such row stands for an empty region.
        left_.assign(std::max<std::size_t>(rows, 1), 1);
        right_.assign(left_.size(), 0);
        several_.assign(left_.size(), 0);
        spans_.assign(left_.size(), {});
        rows_ = static_cast<std::uint32_t>(rows);
        for (std::size_t r = 0; r < rows; ++r) {
            const auto spans = region->RowSpans(b.top + static_cast<std::int32_t>(r));
            if (spans.empty()) continue;
            left_[r] = spans.front().left;
            right_[r] = spans.back().right;
            several_[r] = spans.size() > 1 ? -1 : 0;
            spans_[r] = spans;
        }
    }

    bool whole() const noexcept { return whole_; }
    std::int32_t w1() const noexcept { return w1_; }
    std::int32_t h1() const noexcept { return h1_; }
    std::int32_t top() const noexcept { return top_; }
    std::uint32_t rows() const noexcept { return rows_; }
    const std::int32_t* left() const noexcept { return left_.data(); }
    const std::int32_t* right() const noexcept { return right_.data(); }
    const std::int32_t* several() const noexcept { return several_.data(); }

    // The test of a point inside the extent of a row of several spans.
    bool inSpans(std::int32_t x, std::int32_t y) const noexcept {
        const auto spans = spans_[static_cast<std::size_t>(y - top_)];
        const RegionSpan* first = spans.data();
        const RegionSpan* s =
            std::upper_bound(first, first + spans.size(), x,
                             [](std::int32_t v, const RegionSpan& span) { return v < span.left; });
        return s != first && x < (s - 1)->right;
    }

  private:
    std::int32_t w1_, h1_;
    bool whole_ = true;
    std::int32_t top_ = 0;
    std::uint32_t rows_ = 0;
    std::vector<std::int32_t> left_, right_, several_;
    std::vector<std::span<const RegionSpan>> spans_;
};

// The copy of one row of the frame: a destination whose source is selected takes the source's
// colour and keeps its own mask byte; a miss turns black (keeping the mask byte) with the clean
// flag, and stays otherwise. The tests are masks of all ones or zeros and the index of a miss is
// 0 (the picture's first pixel, read and dropped), so that the loop vectorises with gathers;
// 32-bit indices reach any picture of fewer than 2^31 pixels with its margin, and larger ones
// take the same loop with 64-bit indices.
template <bool kWhole, bool kClean, class Index>
void copyMappedRow(const Pixel32* __restrict origin, Index stridePx, const Pixel32* __restrict own,
                   Pixel32* __restrict out, const std::int32_t* __restrict sx,
                   const std::int32_t* __restrict sy, std::int32_t n, const SourceRegion& test) {
    const std::uint32_t w1 = static_cast<std::uint32_t>(test.w1());
    const std::uint32_t h1 = static_cast<std::uint32_t>(test.h1());
    const std::uint32_t top = static_cast<std::uint32_t>(test.top());
    const std::uint32_t rows = test.rows();
    const std::int32_t* __restrict left = test.left();
    const std::int32_t* __restrict right = test.right();
    const std::int32_t* __restrict several = test.several();
    std::uint32_t anySeveral = 0;
    for (std::int32_t i = 0; i < n; ++i) {
        const std::int32_t x = sx[i], y = sy[i];
        std::uint32_t ok;
        if constexpr (kWhole) {
            ok = (static_cast<std::uint32_t>(x) <= w1 ? ~0u : 0u) &
                 (static_cast<std::uint32_t>(y) <= h1 ? ~0u : 0u);
        } else {
            const std::uint32_t r = static_cast<std::uint32_t>(y) - top;
            const std::uint32_t inRows = r < rows ? ~0u : 0u;
            const std::uint32_t at = r & inRows;
            ok = inRows & (x >= left[at] ? ~0u : 0u) & (x < right[at] ? ~0u : 0u);
            anySeveral |= ok & static_cast<std::uint32_t>(several[at]);
        }
        // Unsigned arithmetic: a missed lane may hold any position, and its index is dropped.
        using UIndex = std::make_unsigned_t<Index>;
        const UIndex raw =
            static_cast<UIndex>(static_cast<Index>(y)) * static_cast<UIndex>(stridePx) +
            static_cast<UIndex>(static_cast<Index>(x));
        const Index at = static_cast<Index>(
            raw & static_cast<UIndex>(static_cast<Index>(static_cast<std::int32_t>(ok))));
        const std::uint32_t v = origin[at];
        const std::uint32_t o = own[i];
        const std::uint32_t miss = kClean ? (o & kMaskByte) : o;
        out[i] = (((v & ~kMaskByte) | (o & kMaskByte)) & ok) | (miss & ~ok);
    }
    if constexpr (!kWhole) {
        if (anySeveral == 0) return;
        // Rows of several spans: the extent was a first test only.
        for (std::int32_t i = 0; i < n; ++i) {
            const std::int32_t x = sx[i], y = sy[i];
            const std::uint32_t r = static_cast<std::uint32_t>(y) - top;
            if (r >= rows || several[r] == 0 || x < left[r] || x >= right[r]) continue;
            if (!test.inSpans(x, y)) out[i] = kClean ? (own[i] & kMaskByte) : own[i];
        }
    }
}

// What a deformation leaves in the object besides its result: the source position of the last
// pixel of the box, and the progress step (a member, reached through the filter).
struct FrameHooks {
    std::int32_t& lastSx;
    std::int32_t& lastSy;
    const std::function<void(std::int32_t)>& progressStep;
};

// The frame of the source-tested deformations: a copy of the picture; RegionBox(0); for each row
// of the box, map(y, left, n, sx, sy) gives the source of every pixel of the row, then the copy
// above. Rows run on all threads unless the mapping depends on the order of the pixels (a random
// sequence). The loop fields are left as the row loop leaves them.
template <class Map>
velmar::Bits mapSources(cBitFilter& f, const FrameHooks& hooks, bool clean, bool sequential,
                        Map&& map) {
    f.RegionBox(0);
    const velmar::Bits& src = f.BitsView();
    if (!src.IsAllocated()) return {};
    const cBitFilter::Box box = f.CurrentBox();
    const cBitFilter::Box cut = FilterFrame::ClippedBox(f);
    const SourceRegion test(f.BitsRegion(), f.BitsWidth() - 1, f.BitsHeight() - 1);
    const std::int32_t n = cut.right - cut.left + 1;
    const bool anyRow = n > 0 && cut.top <= cut.bottom;

    velmar::Bits out = velmar::Bits::Uninitialised(src.Width(), src.Height());
    const std::ptrdiff_t stride = src.Stride();
    const std::ptrdiff_t stridePx = stride / 4;
    const Pixel32* origin = reinterpret_cast<const Pixel32*>(src.Row(0));
    const bool smallPicture = static_cast<std::int64_t>(src.SizeBytes() / 4) < INT32_MAX;
    std::int32_t lastSx = 0, lastSy = 0;

    auto inBox = [&](int y) { return anyRow && y >= cut.top && y <= cut.bottom; };
    auto rowFn = [&](int y) {
        const std::uint8_t* s = src.Row(y);
        std::uint8_t* o = out.Row(y);
        if (!inBox(y)) {
            std::memcpy(o - kLead, s - kLead, static_cast<std::size_t>(stride));
            return;
        }
        // The row outside the box is copied; the copy below writes every pixel of the box.
        const std::ptrdiff_t boxStart = std::ptrdiff_t{cut.left} * 4;
        const std::ptrdiff_t boxEnd = (std::ptrdiff_t{cut.right} + 1) * 4;
        std::memcpy(o - kLead, s - kLead, static_cast<std::size_t>(boxStart + kLead));
        std::memcpy(o + boxEnd, s + boxEnd, static_cast<std::size_t>(stride - kLead - boxEnd));
        thread_local std::vector<std::int32_t> sxBuf, syBuf;
        std::int32_t* sx = scratch(sxBuf, n);
        std::int32_t* sy = scratch(syBuf, n);
        map(y, cut.left, n, sx, sy);
        const Pixel32* own = reinterpret_cast<const Pixel32*>(s) + cut.left;
        Pixel32* dst = reinterpret_cast<Pixel32*>(o) + cut.left;
        auto copy = [&](auto index) {
            using Index = decltype(index);
            const Index st = static_cast<Index>(stridePx);
            if (test.whole())
                clean ? copyMappedRow<true, true>(origin, st, own, dst, sx, sy, n, test)
                      : copyMappedRow<true, false>(origin, st, own, dst, sx, sy, n, test);
            else
                clean ? copyMappedRow<false, true>(origin, st, own, dst, sx, sy, n, test)
                      : copyMappedRow<false, false>(origin, st, own, dst, sx, sy, n, test);
        };
        if (smallPicture)
            copy(std::int32_t{});
        else
            copy(std::int64_t{});
        if (y == cut.bottom) {
            lastSx = sx[n - 1];
            lastSy = sy[n - 1];
        }
    };
    filters::runRows(-velmar::Bits::kMargin, src.Height() - 1 + velmar::Bits::kMargin,
                     sequential ? 1 : f.Threads(), rowFn, [&](int y) {
                         if (inBox(y)) hooks.progressStep(y);
                     });
    if (anyRow) {
        hooks.lastSx = lastSx;
        hooks.lastSy = lastSy;
    }
    FilterFrame::LeaveLoopFields(f, box, 1);
    return out;
}

// atan(x) to within one unit in the last place (measured over 4e7 arguments of every magnitude
// against the C library: at most 2.3e-16), without branches, so that a row of it vectorises.
// Three ranges: |x| > tan(3pi/8) by pi/2 - atan(1/|x|), |x| > 0.66 by pi/4 + atan((|x|-1)/(|x|+1)),
// the rest directly, each by a rational function of x^2.
inline double atanFast(double x) {
    constexpr double kP0 = -8.750608600031904122785E-1, kP1 = -1.615753718733365076637E1,
                     kP2 = -7.500855792314704667340E1, kP3 = -1.228866684490136173410E2,
                     kP4 = -6.485021904942025371773E1;
    constexpr double kQ0 = 2.485846490142306297962E1, kQ1 = 1.650270098316988542046E2,
                     kQ2 = 4.328810604912902668951E2, kQ3 = 4.853903996359136964868E2,
                     kQ4 = 1.945506571482613964425E2;
    constexpr double kMoreBits = 6.123233995736765886130E-17; // pi/2 - double(pi/2)
    const double ax = std::fabs(x);
    const bool big = ax > 2.41421356237309504880;
    const bool mid = ax > 0.66;
    // -1/|x|, (|x|-1)/(|x|+1) or |x|/1 as one division for every lane.
    const double num = pick(big, -1.0, pick(mid, ax - 1.0, ax));
    const double den = pick(big, ax, pick(mid, ax + 1.0, 1.0));
    const double t = num / den;
    const double base = pick(big, 1.57079632679489661923, pick(mid, 0.78539816339744830962, 0.0));
    const double more = pick(big, kMoreBits, pick(mid, 0.5 * kMoreBits, 0.0));
    const double z = t * t;
    const double p = (((kP0 * z + kP1) * z + kP2) * z + kP3) * z + kP4;
    const double q = ((((z + kQ0) * z + kQ1) * z + kQ2) * z + kQ3) * z + kQ4;
    return std::copysign(base + ((t * (z * p / q) + t) + more), x);
}

// The value a counted loop (For v = start To last Step step) leaves in its variable after it ran
// to the end. A step of 0 never ends when it starts inside; the callers do not run such loops.
std::int64_t loopEnd(std::int64_t start, std::int64_t last, std::int64_t step) {
    if (step > 0) return start > last ? start : start + ((last - start) / step + 1) * step;
    if (step < 0) return start < last ? start : start + ((start - last) / -step + 1) * step;
    return start;
}

// The starts of a counted loop (start To last Step step) whose pieces, extent long beyond the
// start, reach into 0..last; the others cannot change a pixel. Kept in loop order.
std::vector<std::int64_t> placements(std::int64_t start, std::int64_t last, std::int64_t step,
                                     std::int64_t extent) {
    std::vector<std::int64_t> v;
    if (step > 0) {
        std::int64_t k = 0;
        if (start + extent < 0) k = (-extent - start + step - 1) / step;
        for (std::int64_t p = start + k * step; p <= last; p += step)
            v.push_back(p);
    } else if (step < 0) {
        // Downwards while at or above last: only a start exactly at last reaches the picture.
        if (start >= last && (start - last) % -step == 0) v.push_back(last);
    }
    return v;
}

// One row of Flip: the colours of `from`, reversed or not, over the mask bytes of `own`. Flip
// moves nothing but memory, and the result is not read again soon: with AVX2 the row is written
// by streaming stores, which skip reading the destination into the cache first (a third of the
// memory traffic).
void flipRow(const Pixel32* __restrict from, const Pixel32* __restrict own, Pixel32* __restrict out,
             std::int32_t w, bool reversed) {
    const Pixel32* __restrict last = from + (w - 1);
    std::int32_t x = 0;
#if defined(__AVX2__)
    // Plain stores up to the first 32-byte boundary of the output, then eight pixels at a time.
    const std::int32_t head =
        static_cast<std::int32_t>(((32 - reinterpret_cast<std::uintptr_t>(out) % 32) % 32) / 4);
    for (; x < std::min(head, w); ++x)
        out[x] = ((reversed ? last[-x] : from[x]) & ~kMaskByte) | (own[x] & kMaskByte);
    const __m256i colour = _mm256_set1_epi32(static_cast<int>(~kMaskByte));
    const __m256i maskByte = _mm256_set1_epi32(static_cast<int>(kMaskByte));
    const __m256i backwards = _mm256_setr_epi32(7, 6, 5, 4, 3, 2, 1, 0);
    for (; x + 8 <= w; x += 8) {
        __m256i v;
        if (reversed)
            v = _mm256_permutevar8x32_epi32(
                _mm256_loadu_si256(reinterpret_cast<const __m256i*>(last - x - 7)), backwards);
        else
            v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from + x));
        const __m256i o = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(own + x));
        _mm256_stream_si256(
            reinterpret_cast<__m256i*>(out + x),
            _mm256_or_si256(_mm256_and_si256(v, colour), _mm256_and_si256(o, maskByte)));
    }
    _mm_sfence(); // the streamed row is in memory before the thread reports it done
#endif
    for (; x < w; ++x)
        out[x] = ((reversed ? last[-x] : from[x]) & ~kMaskByte) | (own[x] & kMaskByte);
}

// The sources of a span of LENS from the roots z^2 = R2 - dx^2 - dy^2 of its pixels (dx from
// `first`): round(m*dx) div z + cx and round(m*dy) div z + cy. The integer division is a double
// quotient cut toward zero: a non-integer quotient of longs a/z lies at least 1/z from an
// integer, farther than the rounding of a double quotient below 2^31 (at most 2^-22/z) can move
// it. False when some value leaves the range where this holds; the caller then takes the formula.
bool lensSources(const double* __restrict root, std::int32_t first, std::int32_t n, double m,
                 double dy, double cx, double cy, std::int32_t* __restrict sx,
                 std::int32_t* __restrict sy) {
    std::uint32_t bad = 0;
    for (std::int32_t i = 0; i < n; ++i) {
        const double dx = first + i;
        const double z = std::nearbyint(root[i]);
        const double mx = m * dx, my = m * dy;
        // Quotients below 2^31 in size, cut toward zero by the conversion to a long.
        const bool small =
            (std::fabs(mx) < 2147483647.0) & (std::fabs(my) < 2147483647.0) & (z >= 1.0);
        const double qx = static_cast<std::int32_t>(pick(small, std::nearbyint(mx) / z, 0.0)) + cx;
        const double qy = static_cast<std::int32_t>(pick(small, std::nearbyint(my) / z, 0.0)) + cy;
        const bool fits =
            small & (qx >= kLongMin) & (qx <= kLongMax) & (qy >= kLongMin) & (qy <= kLongMax);
        bad |= fits ? 0u : 1u;
        sx[i] = static_cast<std::int32_t>(fits ? qx : 0.0);
        sy[i] = static_cast<std::int32_t>(fits ? qy : 0.0);
    }
    return bad == 0;
}

} // namespace

velmar::Bits filters::runSourceMapped(cBitFilter& f, std::int32_t& lastSx, std::int32_t& lastSy,
                                      const std::function<void(std::int32_t)>& progressStep,
                                      bool clean, const SourceRowMap& map) {
    return mapSources(f, FrameHooks{lastSx, lastSy, progressStep}, clean, false, map);
}

// ---- Rotation and the plain mappings ----------------------------------------------------------

velmar::Bits cBitFilter::ROTATE(double degrees, bool cleanBack) {
    const double a = degrees * filters::kDegree;
    const double cs = std::cos(a), sn = std::sin(a);
    const std::int32_t cx = W1_ / 2, cy = H1_ / 2;
    const std::function<void(std::int32_t)> step = [this](std::int32_t y) { ProgressStep(y); };
    const auto map = [=](std::int32_t y, std::int32_t x0, std::int32_t n,
                         std::int32_t* __restrict sx, std::int32_t* __restrict sy) {
        const double dy = y - cy;
        // dy*sin a and dy*cos a are the same products in every pixel
        // of the row.
        const double dySn = dy * sn, dyCs = dy * cs;
        const double cxd = cx, cyd = cy;
        std::uint32_t bad = 0;
        for (std::int32_t i = 0; i < n; ++i) {
            const double dx = x0 + i - cx;
            sx[i] = roundLane(dx * cs - dySn + cxd, bad);
            sy[i] = roundLane(dx * sn + dyCs + cyd, bad);
        }
        throwIfBad(bad);
    };
    velmar::Bits out = mapSources(*this, {sx_, sy_, step}, cleanBack, false, map);
    ProgressDone();
    return out;
}

// The horizontal factor bends y and the vertical factor bends x. The factor of x depends on the
// row only, that of y on the column only: both are computed once, as the same operations.
velmar::Bits cBitFilter::FOLD(std::int32_t horizontal, std::int32_t vertical, bool cleanBack) {
    const std::int32_t cx = W1_ / 2, cy = H1_ / 2;
    const std::int32_t W1 = W1_, H1 = H1_;
    RegionBox(0);
    const Box cut = FilterFrame::ClippedBox(*this);
    // ((dx/100)*horizontal/W1 + 1) per column of the box.
    std::vector<double> columnFactor;
    if (cut.left <= cut.right && cut.top <= cut.bottom)
        for (std::int32_t x = cut.left; x <= cut.right; ++x)
            columnFactor.push_back(
                filters::fdiv((static_cast<double>(x - cx) / 100.0) * horizontal, W1) + 1.0);
    const double* factor = columnFactor.data();
    const std::function<void(std::int32_t)> step = [this](std::int32_t y) { ProgressStep(y); };
    const auto map = [=](std::int32_t y, std::int32_t x0, std::int32_t n,
                         std::int32_t* __restrict sx, std::int32_t* __restrict sy) {
        const double dy = y - cy;
        const double rowFactor = filters::fdiv((dy / 100.0) * vertical, H1) + 1.0;
        const double* __restrict colFactor = factor + (x0 - cut.left);
        const double cxd = cx, cyd = cy;
        std::uint32_t bad = 0;
        for (std::int32_t i = 0; i < n; ++i) {
            const double dx = x0 + i - cx;
            sx[i] = roundLane(rowFactor * dx + cxd, bad);
            sy[i] = roundLane(colFactor[i] * dy + cyd, bad);
        }
        throwIfBad(bad);
    };
    velmar::Bits out = mapSources(*this, {sx_, sy_, step}, cleanBack, false, map);
    ProgressDone();
    return out;
}

velmar::Bits cBitFilter::STRETCH(std::int32_t horizontal, std::int32_t vertical, bool cleanBack) {
    // W1 shifted right by one after adding its sign bit: W1 div 2.
    const std::int32_t cx = W1_ / 2, cy = H1_ / 2;
    const double fx = horizontal / 100.0 + 1.0, fy = vertical / 100.0 + 1.0;
    // The tables cover the whole picture, as they always did, before any pixel is copied.
    std::vector<std::int32_t> xs(static_cast<std::size_t>(std::max(W1_ + 1, 0)));
    std::vector<std::int32_t> ys(static_cast<std::size_t>(std::max(H1_ + 1, 0)));
    std::uint32_t bad = 0;
    for (std::int32_t x = 0; x <= W1_; ++x)
        xs[static_cast<std::size_t>(x)] = roundLane((x - cx) * fx + cx, bad);
    for (std::int32_t y = 0; y <= H1_; ++y)
        ys[static_cast<std::size_t>(y)] = roundLane((y - cy) * fy + cy, bad);
    throwIfBad(bad);
    const std::int32_t* xTable = xs.data();
    const std::int32_t* yTable = ys.data();
    const std::function<void(std::int32_t)> step = [this](std::int32_t y) { ProgressStep(y); };
    const auto map = [=](std::int32_t y, std::int32_t x0, std::int32_t n,
                         std::int32_t* __restrict sx, std::int32_t* __restrict sy) {
        std::memcpy(sx, xTable + x0, static_cast<std::size_t>(n) * sizeof *sx);
        std::fill(sy, sy + n, yTable[y]);
    };
    velmar::Bits out = mapSources(*this, {sx_, sy_, step}, cleanBack, false, map);
    ProgressDone();
    return out;
}

// ---- The polar mappings -------------------------------------------------------------------------

// The picture on a disc: the angle of a pixel around the centre picks the column, its distance the
// row (from the bottom). The angle needs an arctangent per pixel, which the fast one gives to one
// unit in the last place; sx = round(angle * W1 / 2pi) is then exact unless the value lies within
// (W1 + 1) * 2^-44 of a tie (the fast arctangent moves it by at most W1 * 2^-50), and those few
// pixels are computed by the formula.
velmar::Bits cBitFilter::BEND(std::int32_t radius, bool cleanBack) {
    const float k = static_cast<float>(radius / 100.0 + 2.0);
    const double kd = k;
    const std::int32_t cx = W1_ / 2, cy = H1_ / 2;
    const std::int32_t W1 = W1_, H1 = H1_;
    const double w1d = W1, h1d = H1;
    const double eps = (w1d + 1.0) * 0x1p-44;

    auto column = [=](std::int32_t dx, std::int32_t dy) {
        double t = -PolarAngle(dy, dx);
        if (dy < 0 || dx > 0) t += kTwoPi;
        return roundToLong(t * W1 / kTwoPi);
    };
    const std::function<void(std::int32_t)> step = [this](std::int32_t y) { ProgressStep(y); };
    const auto map = [=](std::int32_t y, std::int32_t x0, std::int32_t n,
                         std::int32_t* __restrict sx, std::int32_t* __restrict sy) {
        const std::int32_t dyi = y - cy;
        const double dy = dyi;
        thread_local std::vector<double> rootBuf;
        double* __restrict root = scratch(rootBuf, n);
        for (std::int32_t i = 0; i < n; ++i) {
            const double dx = x0 + i - cx;
            root[i] = dx * dx + dy * dy;
        }
        sqrtRow(root, root, n);
        std::uint32_t bad = 0;
        for (std::int32_t i = 0; i < n; ++i)
            sy[i] = roundLane(h1d - kd * root[i], bad);
        // sx cannot overflow (its angle lies in 0..2pi); sy can.
        throwIfBad(bad);
        if (dyi == 0) {
            for (std::int32_t i = 0; i < n; ++i)
                sx[i] = column(x0 + i - cx, 0);
            return;
        }
        thread_local std::vector<std::int32_t> doubtBuf;
        std::int32_t* __restrict doubt = scratch(doubtBuf, n);
        // PolarAngle(dy, dx) is atan(dx/dy), plus pi below the
        // centre.
        const double shift = dyi > 0 ? 0.0 : kPi;
        const bool below = dyi < 0;
        const double width = w1d, tie = eps;
        const std::int32_t left = x0 - cx;
        std::uint32_t anyDoubt = 0;
        for (std::int32_t i = 0; i < n; ++i) {
            const double dx = left + i;
            const double turn = -(atanFast(dx / dy) + shift);
            const double t = pick(below | (dx > 0.0), turn + kTwoPi, turn);
            const double v = t * width / kTwoPi;
            const double r = std::nearbyint(v);
            const bool d = nearTie(v, r, tie);
            doubt[i] = d ? 1 : 0;
            anyDoubt |= d ? 1u : 0u;
            sx[i] = static_cast<std::int32_t>(d ? 0.0 : r);
        }
        if (anyDoubt != 0)
            for (std::int32_t i = 0; i < n; ++i)
                if (doubt[i] != 0) sx[i] = column(x0 + i - cx, dyi);
    };
    velmar::Bits out = mapSources(*this, {sx_, sy_, step}, cleanBack, false, map);
    ProgressDone();
    return out;
}

// A pixel at distance r from the centre turns by r*k and by the offset. The formula takes the
// pixel's angle with an arctangent and the cosine and sine of the turned angle; the fast path uses
// that the angle's own cosine and sine are dx/rho and dy/rho, and the turn by phi = offset - r*k
// depends on the integer r alone, so cos(angle + phi) = cos(angle)cos(phi) - sin(angle)sin(phi)
// takes four products and a table. PolarAngle adds the single-precision pi left of the centre,
// not pi: that difference is part of the table of the left half. Either way errs by a few units
// in the last place (2^-52 of the size) of the angles involved, at most 2pi + |off| + r|k|, which
// r multiplies, and of the result; eps below allows 2^6 times as much for each unit. The pixels
// within eps of a tie, and those of the centre column (whose angle is a fixed pi/2), are computed
// by the formula.
velmar::Bits cBitFilter::TWIRL(std::int32_t level, std::int32_t offset, bool cleanBack) {
    const std::int32_t cx = W1_ / 2, cy = H1_ / 2;
    const double k = filters::fdiv(level / 10.0, cx);
    const double off = offset * filters::kDegree;
    const double cxd = cx, cyd = cy;

    auto exact = [=](std::int32_t dx, std::int32_t dy, std::int32_t& sx, std::int32_t& sy) {
        const std::int32_t r =
            roundToLong(std::sqrt(static_cast<double>(dx) * dx + static_cast<double>(dy) * dy));
        if (r == 0) {
            sx = cx;
            sy = cy;
            return;
        }
        const double a = PolarAngle(dx, dy) - r * k;
        sx = roundToLong(r * std::cos(a + off) + cx);
        sy = roundToLong(r * std::sin(a + off) + cy);
    };

    RegionBox(0);
    const Box cut = FilterFrame::ClippedBox(*this);
    // Tables of cos and sin of phi(r) for r up to the farthest pixel of the box: entry 2r for the
    // right half, 2r + 1 for the left half.
    std::vector<double> cosTable, sinTable;
    if (cut.left <= cut.right && cut.top <= cut.bottom) {
        const double far = std::max(std::fabs(cut.left - cxd), std::fabs(cut.right - cxd));
        const double high = std::max(std::fabs(cut.top - cyd), std::fabs(cut.bottom - cyd));
        const std::size_t rMax =
            static_cast<std::size_t>(std::nearbyint(std::sqrt(far * far + high * high)));
        cosTable.resize(2 * rMax + 2);
        sinTable.resize(2 * rMax + 2);
        const double leftShift = kPi - 3.14159265358979323846;
        for (std::size_t r = 0; r <= rMax; ++r) {
            const double phi = off - static_cast<double>(r) * k;
            cosTable[2 * r] = std::cos(phi);
            sinTable[2 * r] = std::sin(phi);
            cosTable[2 * r + 1] = std::cos(phi + leftShift);
            sinTable[2 * r + 1] = std::sin(phi + leftShift);
        }
    }
    const double* cosT = cosTable.data();
    const double* sinT = sinTable.data();
    const double epsA = 0x1p-46 * (std::fabs(off) + 8.0 + std::fabs(cxd) + std::fabs(cyd));
    const double epsB = 0x1p-46 * (std::fabs(k) + 1.0);

    const std::function<void(std::int32_t)> step = [this](std::int32_t y) { ProgressStep(y); };
    const auto map = [=](std::int32_t y, std::int32_t x0, std::int32_t n,
                         std::int32_t* __restrict sx, std::int32_t* __restrict sy) {
        const std::int32_t dyi = y - cy;
        const double dy = dyi;
        thread_local std::vector<std::int32_t> doubtBuf;
        thread_local std::vector<double> rootBuf;
        std::int32_t* __restrict doubt = scratch(doubtBuf, n);
        double* __restrict root = scratch(rootBuf, n);
        const std::int32_t left = x0 - cx;
        for (std::int32_t i = 0; i < n; ++i) {
            const double dx = left + i;
            root[i] = dx * dx + dy * dy;
        }
        sqrtRow(root, root, n);
        // The captured values as locals: the compiler then knows the stores leave
        // them be.
        const double* __restrict cosR = cosT;
        const double* __restrict sinR = sinT;
        const double ex = cxd, ey = cyd, e1 = epsA, e2 = epsB;
        std::uint32_t anyDoubt = 0;
        for (std::int32_t i = 0; i < n; ++i) {
            const std::int32_t dxi = left + i;
            const double dx = dxi;
            // The centre (rho 0, a quotient 0/0 here) lies on the centre column,
            // which the formula computes.
            const double rho = root[i];
            const double r = std::nearbyint(rho);
            const std::int32_t at = 2 * static_cast<std::int32_t>(r) + (dxi < 0 ? 1 : 0);
            const double ct = cosR[at], st = sinR[at];
            const double c = dx / rho, s = dy / rho;
            const double vx = r * (c * ct - s * st) + ex;
            const double vy = r * (s * ct + c * st) + ey;
            const double eps = (r + 1.0) * (e1 + r * e2);
            const double rx = std::nearbyint(vx), ry = std::nearbyint(vy);
            const bool d = (dxi == 0) | nearTie(vx, rx, eps) | nearTie(vy, ry, eps);
            doubt[i] = d ? 1 : 0;
            anyDoubt |= d ? 1u : 0u;
            sx[i] = static_cast<std::int32_t>(d ? 0.0 : rx);
            sy[i] = static_cast<std::int32_t>(d ? 0.0 : ry);
        }
        if (anyDoubt != 0)
            for (std::int32_t i = 0; i < n; ++i)
                if (doubt[i] != 0) exact(x0 + i - cx, dyi, sx[i], sy[i]);
    };
    velmar::Bits out = mapSources(*this, {sx_, sy_, step}, cleanBack, false, map);
    ProgressDone();
    return out;
}

// Every pixel of the box draws two numbers of the object's random sequence, u then v, so the
// rows run in order on one thread.
velmar::Bits cBitFilter::DIFFUSE(std::int32_t horizontal, std::int32_t vertical) {
    const double h = horizontal, v = vertical;
    const double hHalf = horizontal / 2.0, vHalf = vertical / 2.0;
    const std::function<void(std::int32_t)> step = [this](std::int32_t y) { ProgressStep(y); };
    const auto map = [&](std::int32_t y, std::int32_t x0, std::int32_t n,
                         std::int32_t* __restrict sx, std::int32_t* __restrict sy) {
        thread_local std::vector<double> drawBuf;
        double* __restrict draws = scratch(drawBuf, 2 * n);
        for (std::int32_t i = 0; i < 2 * n; ++i)
            draws[i] = Rnd();
        const double yd = y;
        std::uint32_t bad = 0;
        for (std::int32_t i = 0; i < n; ++i) {
            const double x = x0 + i;
            sx[i] = roundLane(draws[2 * i] * h + x - hHalf, bad);
            sy[i] = roundLane(draws[2 * i + 1] * v + yd - vHalf, bad);
        }
        throwIfBad(bad);
    };
    velmar::Bits out = mapSources(*this, {sx_, sy_, step}, false, true, map);
    ProgressDone();
    return out;
}

// ---- Destination-tested deformations
// --------------------------------------------------------------

// Rows move vertically by a sine of the row; the table of source rows covers the picture and is
// kept within it.
velmar::Bits cBitFilter::WAVES(std::int32_t frequency, std::int32_t amplitude, std::int32_t start) {
    std::vector<std::int32_t> rows(static_cast<std::size_t>(std::max(H1_ + 1, 0)));
    const double swing = amplitude * 0.25;
    for (std::int32_t y = 0; y <= H1_; ++y) {
        const std::int32_t phase = filters::checkedLong(
            std::int64_t{filters::checkedLong(std::int64_t{y} * frequency)} + start);
        const std::int32_t r = roundToLong(swing * std::sin(phase * kPi / 180.0) + y);
        rows[static_cast<std::size_t>(y)] = std::clamp(r, 0, H1_);
    }
    const std::int32_t* rowOf = rows.data();
    return FilterFrame::Run(*this, FrameOptions{}, [=](const FrameRow& row, int x0, int x1) {
        const Pixel32* __restrict from =
            reinterpret_cast<const Pixel32*>(row.src + (rowOf[row.y] - row.y) * row.stride);
        const Pixel32* __restrict own = reinterpret_cast<const Pixel32*>(row.src);
        Pixel32* __restrict op = reinterpret_cast<Pixel32*>(row.out);
        for (int x = x0; x < x1; ++x)
            op[x] = (from[x] & ~kMaskByte) | (own[x] & kMaskByte);
    });
}

// The whole picture, whatever the selection; like the other deformations it moves the colour
// and leaves each pixel's mask byte in place.
velmar::Bits cBitFilter::Flip(bool horizontal, bool vertical) {
    const velmar::Bits& src = bits_;
    if (!src.IsAllocated()) {
        ProgressDone();
        return {};
    }
    velmar::Bits out = velmar::Bits::Uninitialised(src.Width(), src.Height());
    const std::int32_t W1 = W1_, H1 = H1_;
    const std::ptrdiff_t stride = src.Stride();
    auto rowFn = [&](int y) {
        const std::uint8_t* s = src.Row(y);
        std::uint8_t* o = out.Row(y);
        if (y < 0 || y > H1) {
            std::memcpy(o - kLead, s - kLead, static_cast<std::size_t>(stride));
            return;
        }
        // The margins of the row, then its pixels.
        std::memcpy(o - kLead, s - kLead, static_cast<std::size_t>(kLead));
        std::memcpy(o + (W1 + 1) * 4, s + (W1 + 1) * 4, static_cast<std::size_t>(kLead));
        flipRow(reinterpret_cast<const Pixel32*>(vertical ? src.Row(H1 - y) : s),
                reinterpret_cast<const Pixel32*>(s), reinterpret_cast<Pixel32*>(o), W1 + 1,
                horizontal);
    };
    filters::runRows(-velmar::Bits::kMargin, src.Height() - 1 + velmar::Bits::kMargin, threads_,
                     rowFn, [&](int y) {
                         if (y >= 0 && y <= H1) ProgressStep(y);
                     });
    // The loop ran over every pixel.
    FilterFrame::LeaveLoopFields(*this, Box{0, W1, 0, H1}, 1);
    ProgressDone();
    return out;
}

// Cells of tw by th pixels from the box's corner, each a small copy of the whole picture; a cell
// covers one more row and column than its step, so each cell's last row and column are drawn
// again by the next cell, from the source's first row or column. The pixel a cell leaves is the
// one of the last cell covering it: for the column (px - left) mod tw of the cell that starts at
// or before px, and the same for rows. So every selected pixel is written once, from tables of
// the source column and row, and the rows run on all threads.
velmar::Bits cBitFilter::TILE(std::int32_t factor) {
    const std::int32_t tw = std::max(roundToLong(filters::fdiv(W1_, factor)), 1);
    const std::int32_t th = std::max(roundToLong(filters::fdiv(H1_, factor)), 1);
    const double fx = static_cast<double>(W1_) / tw, fy = static_cast<double>(H1_) / th;
    RegionBox(0);
    const velmar::Bits& src = bits_;
    if (!src.IsAllocated()) {
        ProgressDone();
        return {};
    }
    const Box box = box_;
    const Box cut = FilterFrame::ClippedBox(*this);
    std::vector<std::int32_t> columns, rows;
    for (std::int32_t x = cut.left; x <= cut.right; ++x)
        columns.push_back(roundToLong(((x - box.left) % tw) * fx));
    for (std::int32_t y = cut.top; y <= cut.bottom; ++y)
        rows.push_back(roundToLong(((y - box.top) % th) * fy));

    velmar::Bits out = velmar::Bits::Uninitialised(src.Width(), src.Height());
    const std::ptrdiff_t stride = src.Stride();
    auto rowFn = [&](int y) {
        const std::uint8_t* s = src.Row(y);
        std::uint8_t* o = out.Row(y);
        std::memcpy(o - kLead, s - kLead, static_cast<std::size_t>(stride));
        if (y < cut.top || y > cut.bottom) return;
        const Pixel32* __restrict from =
            reinterpret_cast<const Pixel32*>(src.Row(rows[static_cast<std::size_t>(y - cut.top)]));
        const Pixel32* __restrict own = reinterpret_cast<const Pixel32*>(s);
        Pixel32* __restrict op = reinterpret_cast<Pixel32*>(o);
        const std::int32_t* __restrict col = columns.data() - cut.left;
        FilterFrame::ForEachSelected(*this, y, cut.left, cut.right, [&](int x0, int x1) {
            for (int x = x0; x < x1; ++x)
                op[x] = (from[col[x]] & ~kMaskByte) | (own[x] & kMaskByte);
        });
    };
    // Progress once per row of cells, named by the cell row's top, when its last row is done.
    filters::runRows(-velmar::Bits::kMargin, src.Height() - 1 + velmar::Bits::kMargin, threads_,
                     rowFn, [&](int y) {
                         if (y < cut.top || y > cut.bottom) return;
                         const std::int32_t inCell = (y - box.top) % th;
                         if (inCell == th - 1 || y == cut.bottom) ProgressStep(y - inCell);
                     });
    // The cell loops' variables: the first cell start past the box.
    if (box.top <= box.bottom) {
        y_ = static_cast<std::int32_t>(loopEnd(box.top, box.bottom, th));
        x_ = static_cast<std::int32_t>(loopEnd(box.left, box.right, tw));
    } else {
        y_ = box.top;
    }
    ProgressDone();
    return out;
}

// A second picture laid over this one from (startX, startY), repeated or once, and mixed in by
// percent; mask pixels of the key colour leave the picture alone. The placements of the mask are
// those of the program's loops, which never overlap: a repeat steps by the mask's size, and
// otherwise at most one placement reaches the picture. So each pixel takes at most one mask
// pixel, each row finds its own, and the rows run on all threads.
velmar::Bits cBitFilter::TileMask(const velmar::Bits& mask, std::int32_t startX,
                                  std::int32_t startY, bool repeat, std::int32_t percent,
                                  std::int32_t keyColour) {
    const velmar::Bits& src = bits_;
    if (!src.IsAllocated()) {
        ProgressDone();
        return {};
    }
    const std::int32_t mw = mask.UBoundX() - 2, mh = mask.UBoundY() - 2;
    // The key's green is its value shifted right by 8 without masking: the key's own green when
    // its high byte is 0, and a value no byte equals otherwise (-1, no key, among them).
    const bool keyed = keyColour != -1;
    const std::int32_t keyRed = keyColour & 0xFF;
    const std::int32_t keyGreen = (keyColour >> 8) & ~0xFF00;
    const std::int32_t keyBlue = (keyColour >> 16) & 0xFF;

    const std::int64_t stepX = repeat ? std::int64_t{mw} + 1 : std::int64_t{W1_} - startX + 1;
    const std::int64_t stepY = repeat ? std::int64_t{mh} + 1 : std::int64_t{H1_} - startY + 1;
    // A repeat of an empty mask steps by 0: the program's loop would never end; it changes
    // nothing, so nothing is done.
    const bool endless = (stepX == 0 && startX <= W1_) || (stepY == 0 && startY <= H1_);
    std::vector<std::int64_t> xs, ys;
    if (!endless && mw >= 0 && mh >= 0) {
        xs = placements(startX, W1_, stepX, mw);
        ys = placements(startY, H1_, stepY, mh);
    }

    // c' = round(c*a + m*b) for every pair of bytes; a sum outside a byte is "Overflow", raised
    // when a pixel needs it.
    const double a = percent / 100.0, b = 1.0 - a;
    constexpr std::uint16_t kOverflow = 0x100;
    std::vector<std::uint16_t> mix(65536);
    for (std::int32_t c = 0; c < 256; ++c)
        for (std::int32_t m = 0; m < 256; ++m) {
            const double r = std::nearbyint(c * a + m * b);
            mix[static_cast<std::size_t>(c * 256 + m)] =
                r >= 0.0 && r <= 255.0 ? static_cast<std::uint16_t>(r) : kOverflow;
        }

    velmar::Bits out = velmar::Bits::Uninitialised(src.Width(), src.Height());
    const std::ptrdiff_t stride = src.Stride();
    const std::int32_t W1 = W1_, H1 = H1_;
    auto rowFn = [&](int y) {
        const std::uint8_t* s = src.Row(y);
        std::uint8_t* o = out.Row(y);
        std::memcpy(o - kLead, s - kLead, static_cast<std::size_t>(stride));
        if (y < 0 || y > H1 || xs.empty()) return;
        // The placement covering row y, if any.
        const auto py = std::lower_bound(ys.begin(), ys.end(), std::int64_t{y} - mh);
        if (py == ys.end() || *py > y) return;
        const std::uint8_t* m = mask.Row(static_cast<int>(y - *py));
        FilterFrame::ForEachSelected(*this, y, 0, W1, [&](int x0, int x1) {
            // The placements meeting the span x0..x1-1.
            for (auto px = std::lower_bound(xs.begin(), xs.end(), std::int64_t{x0} - mw);
                 px != xs.end() && *px < x1; ++px) {
                const int from = static_cast<int>(std::max<std::int64_t>(*px, x0));
                const int to = static_cast<int>(std::min<std::int64_t>(*px + mw + 1, x1));
                const std::uint8_t* mRow = m + (std::int64_t{from} - *px) * 4;
                for (int x = from; x < to; ++x, mRow += 4) {
                    if (keyed && mRow[0] == keyBlue && mRow[1] == keyGreen && mRow[2] == keyRed)
                        continue;
                    std::uint8_t* op = o + x * 4;
                    const std::uint8_t* sp = s + x * 4;
                    for (int c = 0; c < 3; ++c) {
                        const std::uint16_t v =
                            mix[static_cast<std::size_t>(sp[c] * 256 + mRow[c])];
                        if (v == kOverflow) throw RuntimeError::Overflow();
                        op[c] = static_cast<std::uint8_t>(v);
                    }
                }
            }
        });
    };
    filters::runRows(-velmar::Bits::kMargin, src.Height() - 1 + velmar::Bits::kMargin, threads_,
                     rowFn, [&](int y) {
                         if (y >= 0 && y <= H1) ProgressStep(y);
                     });
    // The loop fields as the placement loops leave them.
    if (!endless) {
        y_ = static_cast<std::int32_t>(loopEnd(startY, H1, stepY));
        const bool ranOnce = stepY > 0 ? startY <= H1 : startY >= H1;
        if (ranOnce) x_ = static_cast<std::int32_t>(loopEnd(startX, W1, stepX));
    }
    ProgressDone();
    return out;
}

// A magnifying disc around (X*W1, Y*H1). The program's loop runs over the whole square of side
// 2R + 1, but only points inside the disc and inside the selection do anything, so only rows and
// columns that can reach the picture are visited; the rows skipped still take their progress
// step, in no time, as they would have. The FISHEYE preset (fractions given as percentages)
// places the disc far outside the picture: the picture stays as it was, after a short loop.
velmar::Bits cBitFilter::LENS(float x, float y, float radius, std::int32_t magnify) {
    const std::int32_t cx = roundToLong(static_cast<double>(W1_) * x);
    const std::int32_t cy = roundToLong(static_cast<double>(H1_) * y);
    const std::int32_t side = W1_ > H1_ ? W1_ : H1_;
    const std::int32_t R = roundToLong(static_cast<double>(side) * radius);
    const float m = static_cast<float>(
        filters::checkedLong(filters::checkedLong(150 - std::int64_t{magnify}) * std::int64_t{R}) /
        150.0);
    const double md = m;
    const double R2 = static_cast<double>(R) * R;
    // The squared radius of the disc. R2 and limit are not longs: with the preset's radius they
    // exceed a long, and the loop still runs.
    const double limit = std::nearbyint(R2 - static_cast<double>(m * m));

    const velmar::Bits& src = bits_;
    auto progress = [&](std::int64_t dy) { ProgressStep(dy + R, 2 * std::int64_t{R}); };

    // Destination rows that can be selected: the selection's box within the picture.
    const IntRect sel = region_ != nullptr ? region_->Box() : image_;
    const std::int64_t top = std::max<std::int64_t>(sel.top, 0);
    const std::int64_t bottom = std::min<std::int64_t>(sel.bottom - 1, H1_);
    const std::int64_t left = std::max<std::int64_t>(sel.left, 0);
    const std::int64_t right = std::min<std::int64_t>(sel.right - 1, W1_);
    const std::int64_t dyFirst = std::max<std::int64_t>(-R, top - cy);
    const std::int64_t dyLast = std::min<std::int64_t>(R, bottom - cy);
    const bool anyRow = src.IsAllocated() && dyFirst <= dyLast && left <= right;

    std::int32_t lastSx = sx_, lastSy = sy_;
    if (!src.IsAllocated()) {
        if (-std::int64_t{R} <= R) progress(-std::int64_t{R});
        ProgressDone();
        return {};
    }
    velmar::Bits out = velmar::Bits::Uninitialised(src.Width(), src.Height());
    // The rows of the square before the first that reaches the selection take their progress
    // step at once (all of them, when none does: then the loop changes nothing).
    if ((!anyRow || dyFirst > -std::int64_t{R}) && -std::int64_t{R} <= R)
        progress(-std::int64_t{R});
    {
        const std::int32_t rowCount = anyRow ? static_cast<std::int32_t>(dyLast - dyFirst + 1) : 0;
        // The source position of the last pixel each row wrote, for the fields.
        struct Last {
            bool any = false;
            std::int32_t sx = 0, sy = 0;
        };
        std::vector<Last> lastOfRow(static_cast<std::size_t>(rowCount));
        const SourceRegion picture(nullptr, W1_, H1_);
        const Pixel32* origin = reinterpret_cast<const Pixel32*>(src.Row(0));
        const std::ptrdiff_t stridePx = src.Stride() / 4;
        const bool smallPicture = static_cast<std::int64_t>(src.SizeBytes() / 4) < INT32_MAX;
        auto rowFn = [&](int r) {
            const std::int64_t dy = dyFirst + r;
            const double dy2 = static_cast<double>(dy) * static_cast<double>(dy);
            if (!(dy2 < limit)) return;
            // The columns of the disc in this row: dx^2 + dy^2 < limit, which holds on an
            // interval -a..a; the square root gives a, adjusted to the exact test.
            auto inside = [&](std::int64_t dx) {
                return static_cast<double>(dx) * static_cast<double>(dx) + dy2 < limit;
            };
            std::int64_t a =
                std::min<std::int64_t>(static_cast<std::int64_t>(std::sqrt(limit - dy2)), R);
            while (a < R && inside(a + 1))
                ++a;
            while (a >= 0 && !inside(a))
                --a;
            if (a < 0) return;
            const std::int64_t lo = std::max<std::int64_t>(cx - a, left);
            const std::int64_t hi = std::min<std::int64_t>(cx + a, right);
            if (lo > hi) return;
            const std::int32_t py = static_cast<std::int32_t>(cy + dy);
            const Pixel32* __restrict own = reinterpret_cast<const Pixel32*>(src.Row(py));
            Pixel32* __restrict op = reinterpret_cast<Pixel32*>(out.Row(py));
            thread_local std::vector<std::int32_t> sxBuf, syBuf;
            thread_local std::vector<double> rootBuf;
            FilterFrame::ForEachSelected(
                *this, py, static_cast<std::int32_t>(lo), static_cast<std::int32_t>(hi),
                [&](int x0, int x1) {
                    const std::int32_t n = x1 - x0;
                    std::int32_t* __restrict sxs = scratch(sxBuf, n);
                    std::int32_t* __restrict sys = scratch(syBuf, n);
                    double* __restrict root = scratch(rootBuf, n);
                    // The captured values as locals: the compiler then knows the stores leave
                    // them be.
                    const double dyd = static_cast<double>(dy), r2 = R2, mm = md;
                    const double cxd = cx, cyd = cy;
                    const std::int32_t first = x0 - cx;
                    for (std::int32_t i = 0; i < n; ++i) {
                        const double dx = first + i;
                        root[i] = r2 - dx * dx - dyd * dyd;
                    }
                    sqrtRow(root, root, n);
                    const bool bad = !lensSources(root, first, n, mm, dyd, cxd, cyd, sxs, sys);
                    if (bad) {
                        // The formula step by step, for its error.
                        for (std::int32_t i = 0; i < n; ++i) {
                            const std::int64_t dx = x0 + i - cx;
                            const std::int32_t z = roundToLong(std::sqrt(
                                R2 - static_cast<double>(dx) * dx - static_cast<double>(dy) * dy));
                            sxs[i] = filters::checkedLong(
                                std::int64_t{filters::idiv(roundToLong(md * dx), z)} + cx);
                            sys[i] = filters::checkedLong(
                                std::int64_t{filters::idiv(roundToLong(md * dy), z)} + cy);
                        }
                    }
                    // The copy of the frame with the clean flag: a source outside the picture
                    // reads black, as the margin does.
                    if (smallPicture)
                        copyMappedRow<true, true>(origin, static_cast<std::int32_t>(stridePx),
                                                  own + x0, op + x0, sxs, sys, n, picture);
                    else
                        copyMappedRow<true, true>(origin, static_cast<std::int64_t>(stridePx),
                                                  own + x0, op + x0, sxs, sys, n, picture);
                    lastOfRow[static_cast<std::size_t>(r)] = {true, sxs[n - 1], sys[n - 1]};
                });
        };
        // Each row of the picture is copied, and the rows of the square drawn over it.
        const std::int64_t firstRow = cy + dyFirst;
        auto inSquare = [&](int row) { return row - firstRow >= 0 && row - firstRow < rowCount; };
        auto pictureRow = [&](int row) {
            std::memcpy(out.Row(row) - kLead, src.Row(row) - kLead,
                        static_cast<std::size_t>(src.Stride()));
            if (inSquare(row)) rowFn(static_cast<int>(row - firstRow));
        };
        filters::runRows(-velmar::Bits::kMargin, src.Height() - 1 + velmar::Bits::kMargin, threads_,
                         pictureRow, [&](int row) {
                             if (inSquare(row)) progress(row - cy);
                         });
        if (anyRow && dyLast < R) progress(dyLast + 1);
        for (std::size_t r = lastOfRow.size(); r-- > 0;)
            if (lastOfRow[r].any) {
                lastSx = lastOfRow[r].sx;
                lastSy = lastOfRow[r].sy;
                break;
            }
    }
    sx_ = lastSx;
    sy_ = lastSy;
    ProgressDone();
    return out;
}

} // namespace velmar
