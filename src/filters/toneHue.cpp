// Point filters in hue, lightness and saturation, and the colour-key filters.
//
// Two ways keep them fast while giving exactly what the formulas give:
// - a filter whose pixel depends on one number only (the sum of the channels, the grey level)
//   evaluates the formula once for each value of that number and looks the pixels up;
// - RotateH and ReplaceHS run the program's RGBToHLS and HLSToRGB on several pixels at once,
//   with the same single-precision operations in the same order, so each lane gives the bits
//   the one-pixel helpers give.
// A byte out of 0..255 is the "Overflow" error, as in the helpers: colours are never wrapped or
// clamped where the formulas have no clamp.
#include "filters/cBitFilter.h"
#include "filters/filterFrame.h"
#include "filters/filterMath.h"
#include "pixel/colour.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

namespace velmar {

using filters::blueOf;
using filters::clampByte;
using filters::greenOf;
using filters::redOf;

namespace {

// ---- One pixel word ------------------------------------------------------------------------

// Set in a table entry whose colour does not fit the bytes: the pixel that meets it is the
// "Overflow" error. It lies in the mask byte, which no entry carries otherwise.
constexpr std::uint32_t kInvalid = 0x01000000u;

// HLSToRGB as a pixel word, or kInvalid.
std::uint32_t hlsWord(float h, float s, float l) {
    std::int32_t r = 0, g = 0, b = 0;
    try {
        HLSToRGB(h, s, l, r, g, b);
    } catch (const RuntimeError&) {
        return kInvalid;
    }
    auto fits = [](std::int32_t c) { return c >= 0 && c <= 255; };
    return fits(r) && fits(g) && fits(b) ? rgbWord(r, g, b) : kInvalid;
}

// Looks every selected pixel up in a table indexed by B + G + R (766 entries).
velmar::Bits bySum(cBitFilter& f, const std::array<std::uint32_t, 766>& table) {
    return FilterFrame::Run(f, {}, [&table](const FrameRow& row, int x0, int x1) {
        const Pixel32* __restrict s = reinterpret_cast<const Pixel32*>(row.src);
        Pixel32* __restrict o = reinterpret_cast<Pixel32*>(row.out);
        const std::uint32_t* __restrict t = table.data();
        std::uint32_t seen = 0;
        for (int x = x0; x < x1; ++x) {
            const std::uint32_t p = s[x];
            const std::uint32_t e = t[(p & 255u) + ((p >> 8) & 255u) + ((p >> 16) & 255u)];
            seen |= e;
            o[x] = (p & kMaskByte) | (e & 0x00FFFFFFu);
        }
        if (seen & kInvalid) throw RuntimeError::Overflow();
    });
}

// ---- Colour keys ---------------------------------------------------------------------------

struct Key {
    std::int32_t r, g, b;
    explicit Key(COLORREF c) : r(redOf(c)), g(greenOf(c)), b(blueOf(c)) {}
    std::int32_t distance2(std::uint32_t p) const {
        const std::int32_t db = blueOfWord(p) - b, dg = greenOfWord(p) - g, dr = redOfWord(p) - r;
        return db * db + dg * dg + dr * dr;
    }
};

// c' = round((n - c) w + c) with w = 1 - d2 / tol2 for each channel, n the new colour's.
// With d2 <= tol2, w lies in 0..1 and c' between c and n.
inline std::uint32_t blend(std::uint32_t p, std::int32_t nr, std::int32_t ng, std::int32_t nb,
                           std::int32_t d2, std::int32_t tol2) {
    const double w = 1.0 - static_cast<double>(d2) / tol2;
    auto mix = [w](std::int32_t n, std::int32_t c) {
        return std::int32_t{roundToByte((n - c) * w + c)};
    };
    return (p & kMaskByte) |
           rgbWord(mix(nr, redOfWord(p)), mix(ng, greenOfWord(p)), mix(nb, blueOfWord(p)));
}

// The largest float not above t: a float x satisfies x <= t exactly when x <= floatAtMost(t).
float floatAtMost(double t) {
    float f = static_cast<float>(t);
    if (static_cast<double>(f) > t) f = std::nextafter(f, -std::numeric_limits<float>::infinity());
    return f;
}

// ---- Several pixels at a time ---------------------------------------------------------------

// As many lanes as the build's vector registers hold: eight floats with AVX, four without, where
// wider vectors would be passed between these helpers in memory.
#if defined(__AVX__)
constexpr int kVectorBytes = 32;
#else
constexpr int kVectorBytes = 16;
#endif
constexpr int kLanes = kVectorBytes / 4;
using Floats = float __attribute__((vector_size(kVectorBytes)));
using Ints = std::int32_t __attribute__((vector_size(kVectorBytes)));
using Words = std::uint32_t __attribute__((vector_size(kVectorBytes)));
using Doubles = double __attribute__((vector_size(2 * kVectorBytes)));

inline Floats channel(Words p, int shift) {
    return __builtin_convertvector((p >> shift) & 255u, Floats);
}
inline Floats maxOf(Floats a, Floats b) {
    return a > b ? a : b;
}
inline Floats minOf(Floats a, Floats b) {
    return a < b ? a : b;
}

// RGBToHLS on kLanes pixels. i / 255.0f equals the helper's single-precision i / 255.0 for every
// byte i (both are the float nearest to i / 255), and every later step is the helper's own
// float operation; the quotients of the grey case, which the helper never forms, are dropped.
inline void rgbToHls(Words p, Floats& H, Floats& S, Floats& L) {
    const Floats r = channel(p, 16) / 255.0f;
    const Floats g = channel(p, 8) / 255.0f;
    const Floats b = channel(p, 0) / 255.0f;
    const Floats mx = maxOf(maxOf(r, g), b);
    const Floats mn = minOf(minOf(r, g), b);
    const Floats zero = {};
    L = (mx + mn) / 2.0f;
    const Ints grey = mx == mn;
    const Floats d = mx - mn;
    S = grey ? zero : (L > 0.5f ? d / (2.0f - mx - mn) : d / (mx + mn));
    H = grey ? zero : (r == mx ? (g - b) / d : (g == mx ? (b - r) / d + 2.0f : (r - g) / d + 4.0f));
}

// One channel of HLSToRGB to a byte: round(v * 255), flagged in `bad` when outside 0..255.
inline Ints toByte(Floats v, Ints& bad) {
    const Floats x = v * 255.0f;
    bad |= ~((x >= -0.5f) & (x < 255.5f));       // nearbyint(x) in 0..255 exactly then
    const Floats magic = Floats{} + 12582912.0f; // see roundHalfEvenSmall
    return __builtin_convertvector((x + magic) - magic, Ints);
}

// HLSToRGB on kLanes pixels, each branch of the helper as one selection. Returns the colour
// words with the mask bytes of `p`.
inline Words hlsToRgb(Floats H, Floats S, Floats L, Words p, Ints& bad) {
    const Floats mn = L <= 0.5f ? (1.0f - S) * L : L - (1.0f - L) * S;
    const Floats mx = 2.0f * L - mn;
    const Floats e = mx - mn;
    const Ints below0 = H < 0.0f, below1 = H < 1.0f, below2 = H < 2.0f, below3 = H < 3.0f,
               below4 = H < 4.0f;
    const Floats h2 = H - 2.0f, h4 = H - 4.0f;
    Floats r = below1 ? mx : (below3 ? (below2 ? mn - e * h2 : mn) : (below4 ? mn : mn + e * h4));
    Floats g = below1 ? (below0 ? mn : e * H + mn) : (below3 ? mx : (below4 ? mn - e * h4 : mn));
    Floats b = below1 ? (below0 ? mn - e * H : mn) : (below3 ? (below2 ? mn : e * h2 + mn) : mx);
    const Ints grey = S == 0.0f;
    r = grey ? L : r;
    g = grey ? L : g;
    b = grey ? L : b;
    const Words R = __builtin_convertvector(toByte(r, bad), Words);
    const Words G = __builtin_convertvector(toByte(g, bad), Words);
    const Words B = __builtin_convertvector(toByte(b, bad), Words);
    return (p & kMaskByte) | (R << 16) | (G << 8) | B;
}

// h + dh and f * s in double precision, rounded back to single as the hue and saturation are.
inline Floats addInDouble(Floats h, double dh) {
    const Doubles sum = __builtin_convertvector(h, Doubles) + dh;
    return __builtin_convertvector(sum, Floats);
}
inline Floats mulInDouble(double f, Floats s) {
    const Doubles product = f * __builtin_convertvector(s, Doubles);
    return __builtin_convertvector(product, Floats);
}

// Runs chunk(pixels, bad) -> pixels over the span kLanes at a time. The last chunk is filled up
// with copies of the span's last pixel, so it flags no error the span does not have. Any lane
// flagged bad is the "Overflow" error.
template <class Chunk> void lanesAtATime(const FrameRow& row, int x0, int x1, Chunk chunk) {
    const Pixel32* __restrict s = reinterpret_cast<const Pixel32*>(row.src);
    Pixel32* __restrict o = reinterpret_cast<Pixel32*>(row.out);
    Ints bad = {};
    int x = x0;
    for (; x + kLanes <= x1; x += kLanes) {
        Words p;
        std::memcpy(&p, s + x, sizeof p);
        const Words q = chunk(p, bad);
        std::memcpy(o + x, &q, sizeof q);
    }
    if (x < x1) {
        const int n = x1 - x;
        Words p;
        for (int i = 0; i < kLanes; ++i)
            p[i] = s[x + (i < n ? i : n - 1)];
        const Words q = chunk(p, bad);
        std::memcpy(o + x, &q, static_cast<std::size_t>(n) * 4);
    }
    for (int i = 0; i < kLanes; ++i)
        if (bad[i] != 0) throw RuntimeError::Overflow();
}

} // namespace

// l = ((R + G + B) / 765) * Luminosity, then HLSToRGB(Hue, Saturation, l): one entry per sum.
velmar::Bits cBitFilter::COLORIZE(float hue, float saturation, float luminosity) {
    std::array<std::uint32_t, 766> table;
    for (int sum = 0; sum < 766; ++sum)
        table[static_cast<std::size_t>(sum)] =
            hlsWord(hue, saturation, static_cast<float>((sum / 765.0) * luminosity));
    return bySum(*this, table);
}

// Adds offset / 16.67 to the hue (the sum kept in single precision, as the hue is), wraps a hue
// above 5 once, and scales the saturation by saturation / 100.
velmar::Bits cBitFilter::RotateH(std::int32_t offset, std::int32_t saturation) {
    const double dh = offset / 16.67;
    const double sf = saturation / 100.0;
    return FilterFrame::Run(*this, {}, [dh, sf](const FrameRow& row, int x0, int x1) {
        lanesAtATime(row, x0, x1, [dh, sf](Words p, Ints& bad) {
            Floats h, s, l;
            rgbToHls(p, h, s, l);
            h = addInDouble(h, dh);
            h = h > 5.0f ? h - 6.0f : h;
            return hlsToRgb(h, mulInDouble(sf, s), l, p, bad);
        });
    });
}

// The hue comes from the lightness alone: h = sin(st l) 3 + offset / 16.67, wrapped once into
// -1..5, with l = (R + G + B) / 765 and the saturation saturation / 100. One entry per sum.
velmar::Bits cBitFilter::StretchH(std::int32_t offset, std::int32_t saturation,
                                  std::int32_t stretch) {
    const double sf = saturation / 100.0;
    const double st = stretch / 10.0;
    const double of = offset / 16.67;
    std::array<std::uint32_t, 766> table;
    for (int sum = 0; sum < 766; ++sum) {
        const double l = sum / 765.0;
        double h = std::sin(st * l) * 3 + of;
        if (h < -1)
            h = h + 6;
        else if (h > 5)
            h = h - 6;
        table[static_cast<std::size_t>(sum)] =
            hlsWord(static_cast<float>(h), static_cast<float>(sf), static_cast<float>(l));
    }
    return bySum(*this, table);
}

// v = sin(l st + of) 127.5 + 127.5 with l the grey level of GreyScale over 255. The weights
// 0.071, 0.707, 0.222 are taken exactly, as n / 1000 with n = 71 B + 707 G + 222 R, so the result
// depends on n alone; a large selection evaluates the formula once for each n, a small one pixel
// by pixel.
velmar::Bits cBitFilter::RotateL(std::int32_t offset, std::int32_t steps) {
    const double of = offset / 10.0;
    const double st = steps / 2.5;
    auto level = [of, st](std::int32_t n) -> std::uint32_t {
        const double l = (n / 1000.0) / 255.0;
        double v = std::sin(l * st + of) * 127.5 + 127.5;
        if (v > 255)
            v = v - 255;
        else if (v < 0)
            v = v + 255;
        return roundToByte(v);
    };
    auto weighted = [](std::uint32_t p) {
        return 71 * blueOfWord(p) + 707 * greenOfWord(p) + 222 * redOfWord(p);
    };
    constexpr std::int32_t kLevels = 255 * 1000 + 1;
    RegionBox(0);
    const std::int64_t boxArea =
        std::int64_t{box_.right - box_.left + 1} * (box_.bottom - box_.top + 1);
    if (boxArea < kLevels) {
        return FilterFrame::Run(*this, {}, [&](const FrameRow& row, int x0, int x1) {
            const Pixel32* s = reinterpret_cast<const Pixel32*>(row.src);
            Pixel32* o = reinterpret_cast<Pixel32*>(row.out);
            for (int x = x0; x < x1; ++x)
                o[x] = (s[x] & kMaskByte) | (level(weighted(s[x])) * 0x010101u);
        });
    }
    std::vector<std::uint8_t> table(kLevels);
    for (std::int32_t n = 0; n < kLevels; ++n)
        table[static_cast<std::size_t>(n)] = static_cast<std::uint8_t>(level(n));
    return FilterFrame::Run(*this, {}, [&table, weighted](const FrameRow& row, int x0, int x1) {
        const Pixel32* __restrict s = reinterpret_cast<const Pixel32*>(row.src);
        Pixel32* __restrict o = reinterpret_cast<Pixel32*>(row.out);
        const std::uint8_t* __restrict t = table.data();
        for (int x = x0; x < x1; ++x) {
            const std::uint32_t p = s[x];
            o[x] = (p & kMaskByte) | (std::uint32_t{t[weighted(p)]} * 0x010101u);
        }
    });
}

// Colours at least tol2 away from the key become the background; close ones stay.
velmar::Bits cBitFilter::ISOLATE(COLORREF key, COLORREF background, std::int32_t tolerance) {
    const std::int32_t tol2 = filters::tolerance2(tolerance);
    const Key k(key);
    const std::uint32_t bg = rgbWord(redOf(background), greenOf(background), blueOf(background));
    return FilterFrame::Run(*this, {}, [k, bg, tol2](const FrameRow& row, int x0, int x1) {
        const Pixel32* __restrict s = reinterpret_cast<const Pixel32*>(row.src);
        Pixel32* __restrict o = reinterpret_cast<Pixel32*>(row.out);
        for (int x = x0; x < x1; ++x) {
            const std::uint32_t p = s[x];
            o[x] = k.distance2(p) >= tol2 ? ((p & kMaskByte) | bg) : p;
        }
    });
}

velmar::Bits cBitFilter::REPLACE(COLORREF key, COLORREF replacement, std::int32_t tolerance) {
    const std::int32_t tol2 = filters::tolerance2(tolerance);
    const Key k(key);
    const Key n(replacement);
    return FilterFrame::Run(*this, {}, [k, n, tol2](const FrameRow& row, int x0, int x1) {
        const Pixel32* __restrict s = reinterpret_cast<const Pixel32*>(row.src);
        Pixel32* __restrict o = reinterpret_cast<Pixel32*>(row.out);
        for (int x = x0; x < x1; ++x) {
            const std::uint32_t p = s[x];
            const std::int32_t d2 = k.distance2(p);
            o[x] = d2 <= tol2 ? blend(p, n.r, n.g, n.b, d2, tol2) : p;
        }
    });
}

// Close colours move toward c + shift (standard clamp), the closer the further. The test is
// strict here: a colour exactly tol2 away stays.
velmar::Bits cBitFilter::SHIFT(COLORREF key, std::int32_t shift, std::int32_t tolerance) {
    const std::int32_t tol2 = filters::tolerance2(tolerance);
    const Key k(key);
    std::array<std::uint8_t, 256> shifted;
    for (int i = 0; i < 256; ++i)
        shifted[static_cast<std::size_t>(i)] = clampByte(filters::checkedLong(std::int64_t{i} + shift));
    return FilterFrame::Run(*this, {}, [&shifted, k, tol2](const FrameRow& row, int x0, int x1) {
        const Pixel32* __restrict s = reinterpret_cast<const Pixel32*>(row.src);
        Pixel32* __restrict o = reinterpret_cast<Pixel32*>(row.out);
        for (int x = x0; x < x1; ++x) {
            const std::uint32_t p = s[x];
            const std::int32_t d2 = k.distance2(p);
            auto t = [&](std::int32_t c) {
                return std::int32_t{shifted[static_cast<std::size_t>(c)]};
            };
            o[x] = d2 < tol2
                       ? blend(p, t(redOfWord(p)), t(greenOfWord(p)), t(blueOfWord(p)), d2, tol2)
                       : p;
        }
    });
}

// Hue and saturation of the pixel near those of the key (plain differences, no wrap of the
// hue), and the colour near the key too: replaced as by REPLACE.
velmar::Bits cBitFilter::ReplaceHS(COLORREF key, COLORREF replacement, std::int32_t hueTolerance,
                                   std::int32_t saturationTolerance, std::int32_t applyTolerance) {
    const std::int32_t tol2 = filters::tolerance2(applyTolerance);
    const Key k(key);
    const Key n(replacement);
    float hk = 0, sk = 0, lk = 0;
    RGBToHLS(k.r, k.g, k.b, hk, sk, lk);
    // The differences are floats and the tolerances doubles; compared against the largest
    // float not above each tolerance, the float test gives the same answer.
    const float hueMax = floatAtMost(hueTolerance / 100.0);
    const float satMax = floatAtMost(saturationTolerance / 100.0);
    return FilterFrame::Run(*this, {}, [=](const FrameRow& row, int x0, int x1) {
        lanesAtATime(row, x0, x1, [&](Words p, Ints&) {
            Floats h, s, l;
            rgbToHls(p, h, s, l);
            const Floats dh = h - hk, ds = s - sk;
            const Ints close =
                ((dh < 0.0f ? -dh : dh) <= hueMax) & ((ds < 0.0f ? -ds : ds) <= satMax);
            Words q = p;
            for (int i = 0; i < kLanes; ++i) {
                if (close[i] == 0) continue;
                const std::int32_t d2 = k.distance2(p[i]);
                if (d2 <= tol2) q[i] = blend(p[i], n.r, n.g, n.b, d2, tol2);
            }
            return q;
        });
    });
}

// The lightness (B + G + R) div 3 within round(luminosity tolerance * 2.55) of the key's, and
// the colour near the key: replaced as by REPLACE.
velmar::Bits cBitFilter::ReplaceL(COLORREF key, COLORREF replacement,
                                  std::int32_t luminosityTolerance, std::int32_t applyTolerance) {
    const std::int32_t tol2 = filters::tolerance2(applyTolerance);
    const std::int32_t lumMax = roundToLong(luminosityTolerance * 2.55);
    const Key k(key);
    const Key n(replacement);
    const std::int32_t lk = (k.r + k.g + k.b) / 3;
    // The lightness difference lies in 0..255: a limit held to -1..255 decides the same, and
    // keeps the sums below from overflowing (tol2 is at least 1, d2 at most 3 * 255^2).
    const std::int32_t lumLimit = lumMax < -1 ? -1 : (lumMax > 255 ? 255 : lumMax);
    return FilterFrame::Run(
        *this, {}, [k, n, lk, lumLimit, tol2](const FrameRow& row, int x0, int x1) {
            const Pixel32* __restrict s = reinterpret_cast<const Pixel32*>(row.src);
            Pixel32* __restrict o = reinterpret_cast<Pixel32*>(row.out);
            for (int x = x0; x < x1; ++x) {
                const std::uint32_t p = s[x];
                const std::int32_t d2 = k.distance2(p);
                const std::int32_t dl = (blueOfWord(p) + greenOfWord(p) + redOfWord(p)) / 3 - lk;
                // One test, not two, since the lightness alone passes often and unpredictably:
                // both differences are negative exactly when both are within their limits.
                const std::int32_t both = ((dl < 0 ? -dl : dl) - lumLimit - 1) & (d2 - tol2 - 1);
                o[x] = both < 0 ? blend(p, n.r, n.g, n.b, d2, tol2) : p;
            }
        });
}

} // namespace velmar
