// The operations that lay something over the picture: grid lines, a light spot, the linear and
// the circular gradient (the gradient tool's paint engine), and a texture.
//
// Grid, Light and the gradients keep loops of their own (vertical grid lines start at the box's
// left, the light spot covers a circle, the gradients cover the whole picture without a box);
// they build their result in one pass over the rows, spread over the threads, with progress from
// the calling thread. Texturize runs in the standard frame.
#include "filters/cBitFilter.h"
#include "filters/doubleLanes.h"
#include "filters/filterFrame.h"
#include "filters/filterMath.h"

#include <algorithm>
#include <array>
#include <bit>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <stdexcept>
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

// Four pixels at a time: the formulas in double, lane by lane exactly as for one pixel.
using lanes::Doubles;
using lanes::Ints4;
using lanes::Longs;
using lanes::roundHalfEven;
using lanes::roundToInts;

// The values a counting loop `for v = start to end step step` takes, with a step of either sign.
// A step of 0 would count for ever.
std::vector<int32_t> loopValues(int32_t start, int32_t end, int32_t step) {
    if (step == 0) throw std::invalid_argument("a step of 0 never ends");
    std::vector<int32_t> values;
    for (int64_t v = start; step > 0 ? v <= end : v >= end; v += step)
        values.push_back(static_cast<int32_t>(v));
    return values;
}

// The value such a loop leaves in its variable.
int32_t loopEnd(int32_t start, int32_t end, int32_t step) {
    const int64_t span = int64_t{end} - start;
    if (step > 0 ? span < 0 : span > 0) return start;
    return filters::checkedLong(start + (span / step + 1) * step);
}

// Rows top..bottom and columns left..right of the picture (inclusive, already cut to it).
struct Window {
    int32_t top, bottom, left, right;
};

// One pass over the picture that builds the result: rows outside the window, and the pixels of a
// window row that are not selected, are copied from the source. The kernel gets the selected
// spans of each window row as kernel(y, src, out, x0, x1), with src and out at pixel 0 of row y,
// and writes all four bytes of pixels x0..x1-1. Rows go to the filter's threads; afterRow(y)
// runs for the window rows on the calling thread.
template <class Kernel, class AfterRow>
velmar::Bits paintRows(const cBitFilter& f, const Window& w, Kernel&& kernel, AfterRow&& afterRow) {
    const velmar::Bits& src = f.BitsView();
    velmar::Bits out = velmar::Bits::Uninitialised(src.Width(), src.Height());
    constexpr int32_t kLead = velmar::Bits::kMargin;
    const std::size_t rowBytes = static_cast<std::size_t>(src.Stride());
    const int32_t end = src.Width() + kLead;
    auto inWindow = [&](int y) { return y >= w.top && y <= w.bottom && w.left <= w.right; };
    filters::runRows(
        -kLead, src.Height() - 1 + kLead, f.Threads(),
        [&](int y) {
            const uint8_t* s = src.Row(y);
            uint8_t* o = out.Row(y);
            if (!inWindow(y)) {
                std::memcpy(o - kLead * 4, s - kLead * 4, rowBytes);
                return;
            }
            int32_t done = -kLead;
            auto copyTo = [&](int32_t x) {
                if (x > done)
                    std::memcpy(o + done * 4, s + done * 4, static_cast<std::size_t>(x - done) * 4);
            };
            auto span = [&](int32_t x0, int32_t x1) {
                copyTo(x0);
                kernel(y, reinterpret_cast<const Pixel32*>(s), reinterpret_cast<Pixel32*>(o), x0,
                       x1);
                done = x1;
            };
            FilterFrame::ForEachSelected(f, y, w.left, w.right, span);
            copyTo(end);
        },
        [&](int y) {
            if (inWindow(y)) afterRow(y);
        });
    return out;
}

Window wholePicture(const cBitFilter& f) {
    return {0, f.BitsHeight() - 1, 0, f.BitsWidth() - 1};
}

// ---- Grid -------------------------------------------------------------------------------------

// The blend of each channel value with the line colour, as pixel words at the channel's place. An
// entry whose value leaves the byte range is marked with the mask byte, which a real entry never
// has: it is an "Overflow" only if a line pixel of that value exists.
struct BlendTables {
    std::array<std::array<uint32_t, 256>, 3> t; // blue, green, red
};

BlendTables blendTables(COLORREF colour, int32_t opacity) {
    const double a = opacity / 255.0;
    const double b = 1.0 - a;
    const int32_t line[3] = {filters::blueOf(colour), filters::greenOf(colour),
                             filters::redOf(colour)};
    BlendTables tables;
    for (std::size_t c = 0; c < 3; ++c)
        for (int32_t v = 0; v < 256; ++v) {
            const double r = std::nearbyint(v * b + line[c] * a);
            tables.t[c][static_cast<std::size_t>(v)] =
                r >= 0.0 && r <= 255.0 ? static_cast<uint32_t>(r) << (8 * c) : kMaskByte;
        }
    return tables;
}

inline uint32_t blend(const BlendTables& tables, uint32_t p) {
    const uint32_t v =
        tables.t[0][p & 255u] | tables.t[1][(p >> 8) & 255u] | tables.t[2][(p >> 16) & 255u];
    if (v & kMaskByte) throw RuntimeError::Overflow();
    return (p & kMaskByte) | v;
}

// ---- Gradients ----------------------------------------------------------------------------------

// The arguments both gradients share, worked out once.
struct GradientRamp {
    int32_t x1, y1; // the start (the centre of the circular one)
    double a;       // Opacity / 100
    double n;       // (Repeats - 1) * pi, limited above by the length
    int32_t c1[3];  // the colours' blue, green, red; -1 in each place of a -1 colour
    int32_t c2[3];
    bool plain; // an opacity of 0..100, which cannot take a channel out of 0..255
};

GradientRamp gradientRamp(int32_t x1, int32_t y1, int32_t colour1, int32_t colour2, int32_t opacity,
                          int32_t repeats, int32_t length) {
    GradientRamp g{};
    g.x1 = x1;
    g.y1 = y1;
    g.a = opacity / 100.0;
    g.plain = opacity >= 0 && opacity <= 100;
    g.n = std::min((int64_t{repeats} - 1) * filters::kPi, static_cast<double>(length));
    auto split = [](int32_t colour, int32_t* c) {
        const auto cr = static_cast<COLORREF>(colour);
        c[0] = colour == -1 ? -1 : filters::blueOf(cr);
        c[1] = colour == -1 ? -1 : filters::greenOf(cr);
        c[2] = colour == -1 ? -1 : filters::redOf(cr);
    };
    split(colour1, g.c1);
    split(colour2, g.c2);
    return g;
}

// All ones in lanes 0..n-1: the lanes that hold pixels of the span.
inline Ints4 liveLanes(int n) {
    return Ints4{0, 1, 2, 3} < n;
}

// c' = round(src*(1 - a) + (Colour2*t + Colour1*(1 - t))*a) for channels 0..2 of pixels x0..x1-1,
// four at a time, where tOf(x) gives the ramp position t of pixels x..x+3, already limited to
// 0..1. A -1 colour is the pixel itself. A result outside 0..255 is "Overflow": it is noted in a
// flag, so that the loop runs straight, and raised after the span, before anything leaves the
// working copy.
template <bool kPlain, class TOf>
void gradientSpan(const GradientRamp& g, const Pixel32* s, Pixel32* o, int32_t x0, int32_t x1,
                  TOf&& tOf) {
    const double a = g.a;
    const double keep = 1.0 - a;
    const Doubles zero = {};
    const Doubles top = zero + 255.0;
    // The colours in locals (the stores below could alias the ramp's fields otherwise), a -1
    // one as a mask that picks the pixel.
    Doubles from[3], to[3];
    Longs fromPixel[3], toPixel[3];
    for (int c = 0; c < 3; ++c) {
        from[c] = zero + static_cast<double>(g.c1[c]);
        to[c] = zero + static_cast<double>(g.c2[c]);
        fromPixel[c] = Longs{} - (g.c1[c] < 0 ? 1 : 0);
        toPixel[c] = Longs{} - (g.c2[c] < 0 ? 1 : 0);
    }
    Longs bad = {};
    // The ramp positions of a piece of the span first, then the colours: the long latencies of
    // roots and divisions then overlap instead of holding up each group of four.
    constexpr int32_t kPiece = 64;
    Doubles ts[kPiece / 4];
    int32_t piece = x0;
    auto four = [&](int32_t x, Ints4 p, Longs live) {
        const Doubles t = ts[(x - piece) / 4];
        const Doubles t1 = 1.0 - t;
        Ints4 result = p & static_cast<int32_t>(kMaskByte);
        for (int c = 0; c < 3; ++c) {
            const Doubles src = __builtin_convertvector((p >> (8 * c)) & 255, Doubles);
            if constexpr (kPlain) {
                // Both weights and every term lie in 0..1 and 0..255: the sum cannot leave
                // 0..255.5, so no check or clamp is needed.
                const Doubles f = fromPixel[c] ? src : from[c];
                const Doubles e = toPixel[c] ? src : to[c];
                result |= roundToInts(src * keep + (e * t + f * t1) * a) << (8 * c);
            } else {
                const Doubles f = fromPixel[c] ? src : from[c];
                const Doubles e = toPixel[c] ? src : to[c];
                const Doubles v = roundHalfEven(src * keep + (e * t + f * t1) * a);
                bad |= ((v < zero) | (v > top)) & live;
                const Doubles held = v < zero ? zero : (v > top ? top : v);
                result |= __builtin_convertvector(held, Ints4) << (8 * c);
            }
        }
        return result;
    };
    int32_t x = x0;
    for (; x < x1; piece += kPiece) {
        const int32_t end = std::min(x1, piece + kPiece);
        for (int32_t k = piece; k < end; k += 4)
            ts[(k - piece) / 4] = tOf(k);
        for (; x + 4 <= end; x += 4) {
            Ints4 p;
            std::memcpy(&p, s + x, sizeof p);
            const Ints4 r = four(x, p, ~Longs{});
            std::memcpy(o + x, &r, sizeof r);
        }
        if (x < end) break; // the last, partial group
    }
    if (x < x1) {
        const auto bytes = static_cast<std::size_t>(x1 - x) * 4;
        Ints4 p = {};
        std::memcpy(&p, s + x, bytes);
        const Ints4 r = four(x, p, __builtin_convertvector(liveLanes(x1 - x), Longs));
        std::memcpy(o + x, &r, bytes);
    }
    if (bad[0] | bad[1] | bad[2] | bad[3]) throw RuntimeError::Overflow();
}

template <class TOf>
void gradientSpan(const GradientRamp& g, const Pixel32* s, Pixel32* o, int32_t x0, int32_t x1,
                  TOf&& tOf) {
    if (g.plain)
        gradientSpan<true>(g, s, o, x0, x1, tOf);
    else
        gradientSpan<false>(g, s, o, x0, x1, tOf);
}

// The loop bounds -X1 and W1 - X1 (and the same for y) are longs: a start so far off that they
// do not fit is "Overflow", as the loop itself would be.
void checkGradientBounds(const cBitFilter& f, int32_t x1, int32_t y1) {
    filters::checkedLong(-int64_t{x1});
    filters::checkedLong(int64_t{f.BitsWidth() - 1} - x1);
    filters::checkedLong(-int64_t{y1});
    filters::checkedLong(int64_t{f.BitsHeight() - 1} - y1);
}

inline Doubles limitTo01(Doubles t) {
    const Doubles zero = {};
    const Doubles one = zero + 1.0;
    return t < zero ? zero : (t > one ? one : t);
}

inline Doubles limitTo1(Doubles t) {
    const Doubles one = Doubles{} + 1.0;
    return t > one ? one : t;
}

// sin(x)^2 of each lane, four at a time. The sine is the classic one: x is reduced by the
// nearest multiple k of pi/2 in two pieces (k times the first 33 bits of pi/2 is exact below
// 2^20 quarter turns, and the rest's error, some 2^-66, is far below an ulp of the square), and
// the minimax polynomial of sin on
// [-pi/4, pi/4] finishes it, 1 - sin^2 giving the odd quadrants (the square drops the sign). It
// agrees with the C library to within an ulp or so, which moves a rounded channel only at an exact
// half; the library's scalar sine cost most of the repeated gradients' time. Beyond |x| of 2^19
// quarter turns the reduction would lose bits, and those lanes take the library's sine.
[[gnu::always_inline]] inline Doubles sinSquaredOf(Doubles x) {
    constexpr double kTwoOverPi = 6.36619772367581382433e-01;
    constexpr double kPio2Hi = 1.57079632673412561417e+00;   // first 33 bits of pi/2
    constexpr double kPio2Rest = 6.07710050650619224932e-11; // pi/2 - kPio2Hi
    constexpr double kMagic = 6755399441055744.0;
    constexpr double kLargest = 524288.0 * 1.5707963267948966;
    // After the magic addition the lowest mantissa bit is k's parity.
    const Doubles shifted = x * kTwoOverPi + kMagic;
    const Doubles k = shifted - kMagic;
    const Doubles y = (x - k * kPio2Hi) - k * kPio2Rest;
    const Doubles z = y * y;
    const Doubles sinY =
        y +
        (z * y) *
            (-1.66666666666666324348e-01 +
             z * (8.33333333332248946124e-03 +
                  z * (-1.98412698298579493134e-04 +
                       z * (2.75573137070700676789e-06 +
                            z * (-2.50507602534068634195e-08 + z * 1.58969099521155010221e-10)))));
    // cos(y)^2 = 1 - sin(y)^2: one polynomial serves both kinds of quadrant, and the square's
    // absolute error stays within an ulp of 1.
    const Longs odd = (std::bit_cast<Longs>(shifted) & 1) != 0;
    const Doubles sin2 = sinY * sinY;
    Doubles r = odd ? 1.0 - sin2 : sin2;
    const Longs large = !((x <= kLargest) & (x >= -kLargest));
    if (large[0] | large[1] | large[2] | large[3])
        for (int i = 0; i < 4; ++i)
            if (large[i]) {
                const double exact = std::sin(x[i]);
                r[i] = exact * exact;
            }
    return r;
}

// sin(n * t)^2 of each lane.
[[gnu::always_inline]] inline Doubles sinSquared(double n, Doubles t) {
    return sinSquaredOf(n * t);
}

// The square root of each lane, correctly rounded as std::sqrt is.
inline Doubles sqrtOf(Doubles v) {
#if defined(__AVX__)
    return std::bit_cast<Doubles>(_mm256_sqrt_pd(std::bit_cast<__m256d>(v)));
#else
    Doubles r;
    for (int i = 0; i < 4; ++i)
        r[i] = std::sqrt(v[i]);
    return r;
#endif
}

// The offsets of the four lanes.
constexpr Doubles kLane = {0.0, 1.0, 2.0, 3.0};

} // namespace

velmar::Bits cBitFilter::Grid(std::int32_t horizontalStep, std::int32_t verticalStep,
                              bool forceMargins, COLORREF colour, std::int32_t opacity) {
    const BlendTables tables = blendTables(colour, opacity);
    RegionBox(0);
    const Box box = box_;
    const std::vector<int32_t> lineRows = loopValues(box.top, box.bottom, verticalStep);
    const std::vector<int32_t> lineColumns = loopValues(box.left, box.right, horizontalStep);
    if (!bits_.IsAllocated()) {
        ProgressDone();
        return {};
    }
    // The horizontal lines (with the bottom row when margins are forced) cover whole rows of the
    // box; the vertical lines run from y = box left, not box top, to the box bottom, and the
    // forced right margin from the box top. Every line pixel is blended from the source, so the
    // pixel where two lines cross is blended once, and the lines can be drawn row by row.
    // 1: a line of the loop, 2: only the forced bottom margin.
    std::vector<uint8_t> fullRow(static_cast<std::size_t>(H1_ + 1), 0);
    for (int32_t y : lineRows)
        if (y >= 0 && y <= H1_) fullRow[static_cast<std::size_t>(y)] = 1;
    if (forceMargins && H1_ >= 0) fullRow[static_cast<std::size_t>(H1_)] |= 2;
    std::vector<int32_t> columns;
    for (int32_t x : lineColumns)
        if (x >= 0 && x <= W1_) columns.push_back(x);
    std::sort(columns.begin(), columns.end());

    const Box cut = FilterFrame::ClippedBox(*this);
    const Window window{0, H1_, cut.left, cut.right};
    const int32_t w1 = W1_;
    velmar::Bits out = paintRows(
        *this, window,
        [&](int y, const Pixel32* __restrict s, Pixel32* __restrict o, int32_t x0, int32_t x1) {
            if (fullRow[static_cast<std::size_t>(y)]) {
                for (int32_t x = x0; x < x1; ++x)
                    o[x] = blend(tables, s[x]);
                return;
            }
            std::memcpy(o + x0, s + x0, static_cast<std::size_t>(x1 - x0) * 4);
            if (y >= box.left && y <= box.bottom)
                for (auto c = std::lower_bound(columns.begin(), columns.end(), x0);
                     c != columns.end() && *c < x1; ++c)
                    o[*c] = blend(tables, s[*c]);
            if (forceMargins && w1 >= x0 && w1 < x1 && y >= box.top && y <= box.bottom)
                o[w1] = blend(tables, s[w1]);
        },
        [&](int y) {
            if (fullRow[static_cast<std::size_t>(y)] & 1) ProgressStep(y);
        });
    for (int32_t x : lineColumns)
        ProgressStep(x, W1_);

    // The loop fields as the four loops leave them.
    if (!lineRows.empty()) x_ = loopEnd(box.left, box.right, 1);
    y_ = loopEnd(box.top, box.bottom, verticalStep);
    if (forceMargins) {
        x_ = loopEnd(box.left, box.right, 1);
        y_ = H1_;
    }
    if (!lineColumns.empty()) y_ = loopEnd(box.left, box.bottom, 1);
    x_ = loopEnd(box.left, box.right, horizontalStep);
    if (forceMargins) {
        x_ = W1_;
        y_ = loopEnd(box.top, box.bottom, 1);
    }
    ProgressDone();
    return out;
}

velmar::Bits cBitFilter::Light(float x, float y, float radius, std::int32_t intensity,
                               std::int32_t definition) {
    const int32_t cx = roundToLong(W1_ * static_cast<double>(x));
    const int32_t cy = roundToLong(H1_ * static_cast<double>(y));
    const int32_t larger = W1_ > H1_ ? W1_ : H1_;
    const int32_t r = roundToLong(larger * static_cast<double>(radius));
    const double k = 1.0 - definition / 100.0;
    const double rr = static_cast<double>(r) * r;
    if (!bits_.IsAllocated()) {
        ProgressDone();
        return {};
    }
    // The loops run dx and dy over -R..R; only the part inside the picture can be selected, and
    // with R at most 0 no point is inside the circle.
    Window window{static_cast<int32_t>(std::max<int64_t>(0, int64_t{cy} - r)),
                  static_cast<int32_t>(std::min<int64_t>(H1_, int64_t{cy} + r)),
                  static_cast<int32_t>(std::max<int64_t>(0, int64_t{cx} - r)),
                  static_cast<int32_t>(std::min<int64_t>(W1_, int64_t{cx} + r))};
    if (r <= 0) window = {0, -1, 0, -1};
    // Inside the circle v lies between Intensity and (1 - k) * Intensity; the vectorised loop
    // also works it out where it is thrown away: in the corners of the window (up to sqrt 2 * R
    // from the centre) and in the lanes after a span's end (3 pixels more, which is at most
    // 3 R), so up to (1 + 4.5 |k|) |Intensity|. Within 2^30 that fits a long, and so do the sums
    // c + v; beyond it each pixel is worked out alone, with the checks of longs.
    const double bound =
        (1.0 + 5.0 * std::fabs(k)) * std::fabs(static_cast<double>(intensity)) + 1.0;
    const bool plain = bound < 1073741824.0;
    const double rd = r;
    const double in = intensity;

    velmar::Bits out = paintRows(
        *this, window,
        [&](int py, const Pixel32* __restrict s, Pixel32* __restrict o, int32_t x0, int32_t x1) {
            const double dy = static_cast<double>(int64_t{py} - cy);
            const double dy2 = dy * dy;
            if (!plain) {
                for (int32_t px = x0; px < x1; ++px) {
                    const double dx = static_cast<double>(int64_t{px} - cx);
                    const double d2 = dx * dx + dy2;
                    o[px] = s[px];
                    if (!(d2 < rr)) continue;
                    const int32_t v = roundToLong((1.0 - k * std::sqrt(d2) / rd) * in);
                    uint32_t p = s[px] & kMaskByte;
                    for (int c = 0; c < 3; ++c) {
                        const int32_t t = filters::checkedLong(
                            int64_t{static_cast<int32_t>((s[px] >> (8 * c)) & 255u)} + v);
                        if (t < 0) throw RuntimeError::Overflow();
                        p |= static_cast<uint32_t>(std::min(t, 255)) << (8 * c);
                    }
                    o[px] = p;
                }
                return;
            }
            Ints4 bad = {};
            for (int32_t px = x0; px < x1; px += 4) {
                const int n = std::min(4, x1 - px);
                const Doubles dx = static_cast<double>(px - cx) + kLane;
                const Doubles d2 = dx * dx + dy2;
                const Ints4 inside = __builtin_convertvector(d2 < rr, Ints4) & liveLanes(n);
                const Ints4 v =
                    __builtin_convertvector(roundHalfEven((1.0 - k * sqrtOf(d2) / rd) * in), Ints4);
                Ints4 p = {};
                std::memcpy(&p, s + px, static_cast<std::size_t>(n) * 4);
                Ints4 lit = p & static_cast<int32_t>(kMaskByte);
                for (int c = 0; c < 3; ++c) {
                    const Ints4 t = ((p >> (8 * c)) & 255) + v;
                    bad |= inside & (t < 0);
                    const Ints4 held = t < 0 ? Ints4{} : (t > 255 ? Ints4{} + 255 : t);
                    lit |= held << (8 * c);
                }
                const Ints4 result = (lit & inside) | (p & ~inside);
                std::memcpy(o + px, &result, static_cast<std::size_t>(n) * 4);
            }
            // No floor: a light that takes a channel below 0 is "Overflow".
            if (bad[0] | bad[1] | bad[2] | bad[3]) throw RuntimeError::Overflow();
        },
        [&](int py) { ProgressStep(py); });
    ProgressDone();
    return out;
}

velmar::Bits cBitFilter::GradientLinear(std::int32_t x1, std::int32_t y1, std::int32_t x2,
                                        std::int32_t y2, std::int32_t colour1, std::int32_t colour2,
                                        std::int32_t opacity, std::int32_t repeats) {
    const double dx = static_cast<double>(int64_t{x2} - x1);
    const double dy = static_cast<double>(int64_t{y2} - y1);
    const double length = std::sqrt(dx * dx + dy * dy);
    if (length == 0.0) return bits_.clone();
    const int32_t l = roundToLong(length);
    double th;
    if (dx == 0.0) {
        th = (dy > 0.0 ? 90.0 : -90.0) * filters::kDegree;
    } else {
        th = std::atan(dy / dx);
        if (dx < 0.0)
            th += filters::kPi;
        else if (dy < 0.0)
            th += filters::kTwoPi;
    }
    const GradientRamp g = gradientRamp(x1, y1, colour1, colour2, opacity, repeats, l);
    const double ux = std::cos(th) / l;
    const double uy = std::sin(th) / l;
    checkGradientBounds(*this, x1, y1);
    if (!bits_.IsAllocated()) {
        ProgressDone();
        return {};
    }
    velmar::Bits out = paintRows(
        *this, wholePicture(*this),
        [&](int y, const Pixel32* s, Pixel32* o, int32_t a, int32_t b) {
            // t = u*ux + v*uy; u of the lanes counts on from the first, exactly.
            const double vuy = static_cast<double>(y - g.y1) * uy;
            auto u = [&](int32_t x) { return (static_cast<double>(x - g.x1) + kLane) * ux + vuy; };
            if (g.n > 0.0)
                gradientSpan(g, s, o, a, b,
                             [&](int32_t x) { return limitTo01(sinSquared(g.n, u(x))); });
            else
                gradientSpan(g, s, o, a, b, [&](int32_t x) { return limitTo01(u(x)); });
        },
        [&](int y) { ProgressStep(y); });
    ProgressDone();
    return out;
}

velmar::Bits cBitFilter::GradientCircular(std::int32_t x1, std::int32_t y1, std::int32_t x2,
                                          std::int32_t y2, std::int32_t colour1,
                                          std::int32_t colour2, std::int32_t opacity,
                                          std::int32_t repeats) {
    if (x2 == x1 && y2 == y1) return bits_.clone();
    const double dx = static_cast<double>(int64_t{x2} - x1);
    const double dy = static_cast<double>(int64_t{y2} - y1);
    const int32_t r = roundToLong(std::sqrt(dx * dx + dy * dy));
    const double rd = r;
    const double rr = rd * rd;
    const GradientRamp g = gradientRamp(x1, y1, colour1, colour2, opacity, repeats, r);
    checkGradientBounds(*this, x1, y1);
    if (!bits_.IsAllocated()) {
        ProgressDone();
        return {};
    }
    velmar::Bits out = paintRows(
        *this, wholePicture(*this),
        [&](int y, const Pixel32* s, Pixel32* o, int32_t a, int32_t b) {
            const double v = static_cast<double>(y - g.y1);
            const double v2 = v * v;
            auto t = [&](int32_t x) {
                const Doubles u = static_cast<double>(x - g.x1) + kLane;
                return sqrtOf(u * u + v2) / rd;
            };
            // t is never below 0: only the top needs the limit. Without repeats, four pixels
            // on or outside the rim (u^2 + v^2 >= R^2, whole numbers, so the rounded root is at
            // least R and t at least 1) take t = 1 without the root and the division.
            if (g.n > 0.0) {
                // Pixels u and -u of a row share their ramp value, and the sine makes it dear:
                // it is worked out once for each distance |u| the span reaches (three more at
                // each end for the lanes past the span), and the lanes read it back.
                const int64_t first = int64_t{a} - g.x1;
                const int64_t last = int64_t{b} - 1 - g.x1;
                const int64_t nearest =
                    first <= 0 && last >= 0 ? 0 : std::min(std::llabs(first), std::llabs(last));
                const int64_t lo = std::max<int64_t>(0, nearest - 3);
                const int64_t hi = std::max(std::llabs(first), std::llabs(last)) + 3;
                std::vector<double> ramp(static_cast<std::size_t>(hi - lo + 4));
                for (int64_t u = lo; u <= hi; u += 4) {
                    const Doubles du = static_cast<double>(u) + kLane;
                    const Doubles tu = limitTo1(sinSquared(g.n, sqrtOf(du * du + v2) / rd));
                    std::memcpy(&ramp[static_cast<std::size_t>(u - lo)], &tu, sizeof tu);
                }
                gradientSpan(g, s, o, a, b, [&](int32_t x) {
                    const int64_t u = int64_t{x} - g.x1;
                    Doubles tu;
                    if (u >= 0) {
                        std::memcpy(&tu, &ramp[static_cast<std::size_t>(u - lo)], sizeof tu);
                    } else if (u + 3 < 0) {
                        std::memcpy(&tu, &ramp[static_cast<std::size_t>(-u - 3 - lo)], sizeof tu);
                        tu = __builtin_shufflevector(tu, tu, 3, 2, 1, 0);
                    } else {
                        for (int i = 0; i < 4; ++i)
                            tu[i] = ramp[static_cast<std::size_t>(std::llabs(u + i) - lo)];
                    }
                    return tu;
                });
            } else
                gradientSpan(g, s, o, a, b, [&](int32_t x) {
                    const Doubles u = static_cast<double>(x - g.x1) + kLane;
                    const Longs within = u * u + v2 < rr;
                    if (!(within[0] | within[1] | within[2] | within[3])) return Doubles{} + 1.0;
                    return limitTo1(t(x));
                });
        },
        [&](int y) { ProgressStep(y); });
    ProgressDone();
    return out;
}

velmar::Bits cBitFilter::Texturize(const velmar::Bits& texture) {
    // The tiles are laid at steps of the texture's maximum indices; a texture one pixel wide or
    // high would step by 0 and never end.
    const int32_t tw = texture.UBoundX() - 2;
    const int32_t th = texture.UBoundY() - 2;
    if (tw < 1 || th < 1)
        throw std::invalid_argument("Texturize: the texture must be at least 2 by 2 pixels");
    RegionBox(0);
    const Box box = box_;
    // Tiles overlap by one pixel and a later tile rewrites the seam from the same source, so the
    // texture pixel of (x, y) is ((x - box left) mod tw, (y - box top) mod th): the texture's
    // last column and row are always overwritten.
    velmar::Bits out =
        FilterFrame::Run(*this, {}, [&texture, &box, tw, th](const FrameRow& row, int x0, int x1) {
            const Pixel32* __restrict s = reinterpret_cast<const Pixel32*>(row.src);
            Pixel32* __restrict o = reinterpret_cast<Pixel32*>(row.out);
            const Pixel32* t =
                reinterpret_cast<const Pixel32*>(texture.Row((row.y - box.top) % th));
            int32_t x = x0;
            while (x < x1) {
                const int32_t i = (x - box.left) % tw;
                const int32_t run = std::min(x1 - x, tw - i);
                const Pixel32* __restrict ti = t + i;
                const Pixel32* __restrict sx = s + x;
                Pixel32* __restrict ox = o + x;
                // f = blue / 128 is exact, and so is c * f: round(c * blue / 128) half to even
                // in integers. (c*blue + 63 + odd) >> 7, odd the parity of (c*blue) >> 7,
                // rounds up from a remainder of 65, and at 64 exactly when the quotient is odd.
                for (int32_t k = 0; k < run; ++k) {
                    const uint32_t p = sx[k];
                    const uint32_t f = ti[k] & 255u;
                    uint32_t r = p & kMaskByte;
                    for (int c = 0; c < 3; ++c) {
                        const uint32_t cf = ((p >> (8 * c)) & 255u) * f;
                        const uint32_t v = (cf + 63u + ((cf >> 7) & 1u)) >> 7;
                        r |= std::min(v, 255u) << (8 * c);
                    }
                    ox[k] = r;
                }
                x += run;
            }
        });
    // X and Y of the tile loops are the object's loop fields.
    y_ = loopEnd(box.top, box.bottom, th);
    if (box.top <= box.bottom) x_ = loopEnd(box.left, box.right, tw);
    return out;
}

} // namespace velmar
