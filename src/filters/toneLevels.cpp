// Point filters driven by a table or by a few integer operations per pixel: each output pixel
// depends on the pixel itself and the arguments only. Every one runs in the standard frame, on
// all threads.
//
// The kernels treat a pixel as one 32-bit word (blue in the low byte, the mask byte on top), so
// that the compiler can work on eight pixels at a time.
#include "filters/cBitFilter.h"
#include "filters/filterFrame.h"
#include "filters/filterMath.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <vector>

namespace velmar {

using filters::clampByte;

namespace {

using Table = std::array<std::uint8_t, 256>;

// T[i] = i + amount with the standard clamp, for i in 0..255, checked as the table is built in
// longs: an amount that overflows i + amount is the "Overflow" error, whatever the picture
// holds. Returns the amount held to -256..256, which gives the same table.
std::int32_t clampedShiftAmount(std::int32_t amount) {
    filters::checkedLong(std::int64_t{255} + amount);
    return amount < -256 ? -256 : (amount > 256 ? 256 : amount);
}

// c' = c + amount with the standard clamp, one amount per channel (each within -256..256): the
// level tables of BRIGHTNESS, ShiftRGB and Scanlines, computed instead of looked up, which
// vectorises and is three times as fast.
velmar::Bits addClamped(cBitFilter& f, std::int32_t red, std::int32_t green, std::int32_t blue,
                        const FrameOptions& options = {}) {
    return FilterFrame::Run(f, options, [red, green, blue](const FrameRow& row, int x0, int x1) {
        const Pixel32* __restrict s = reinterpret_cast<const Pixel32*>(row.src);
        Pixel32* __restrict o = reinterpret_cast<Pixel32*>(row.out);
        for (int x = x0; x < x1; ++x) {
            const std::uint32_t p = s[x];
            auto add = [](std::uint32_t c, std::int32_t amount) {
                return std::uint32_t{clampByte(static_cast<std::int32_t>(c) + amount)};
            };
            o[x] = (p & kMaskByte) | (add((p >> 16) & 255u, red) << 16) |
                   (add((p >> 8) & 255u, green) << 8) | add(p & 255u, blue);
        }
    });
}

// Runs channels 0, 1, 2 of the selected pixels through the table. The entries are kept shifted
// to each channel's place in the pixel word, so a pixel is three loads, three ORs and one store
// instead of four byte stores, which were the bottleneck.
velmar::Bits applyTable(cBitFilter& f, const Table& table) {
    struct Shifted {
        std::array<std::uint32_t, 256> b, g, r;
    } tables;
    for (std::size_t i = 0; i < 256; ++i) {
        tables.b[i] = table[i];
        tables.g[i] = std::uint32_t{table[i]} << 8;
        tables.r[i] = std::uint32_t{table[i]} << 16;
    }
    return FilterFrame::Run(f, {}, [&tables](const FrameRow& row, int x0, int x1) {
        const Pixel32* __restrict s = reinterpret_cast<const Pixel32*>(row.src);
        Pixel32* __restrict o = reinterpret_cast<Pixel32*>(row.out);
        const std::uint32_t* __restrict tb = tables.b.data();
        const std::uint32_t* __restrict tg = tables.g.data();
        const std::uint32_t* __restrict tr = tables.r.data();
        for (int x = x0; x < x1; ++x) {
            const std::uint32_t p = s[x];
            o[x] = (p & kMaskByte) | tb[p & 255u] | tg[(p >> 8) & 255u] | tr[(p >> 16) & 255u];
        }
    });
}

// Runs fn(pixel word) -> pixel word over every selected pixel. fn returns the whole word, mask
// byte included.
template <class Fn> velmar::Bits perPixel(cBitFilter& f, Fn fn) {
    return FilterFrame::Run(f, {}, [fn](const FrameRow& row, int x0, int x1) {
        const Pixel32* __restrict s = reinterpret_cast<const Pixel32*>(row.src);
        Pixel32* __restrict o = reinterpret_cast<Pixel32*>(row.out);
        for (int x = x0; x < x1; ++x)
            o[x] = fn(s[x]);
    });
}

// round(0.071 B + 0.707 G + 0.222 R), the program's own weights, taken exactly as n / 1000
// with n = 71 B + 707 G + 222 R. In single precision n / 1000 is exact at the ties and at least
// 1/1000 from them elsewhere, far beyond its error, so the rounding is exact too.
inline std::uint32_t greyOf(std::uint32_t p) {
    // Whole numbers below 2^24: the float sum is exact.
    const float n = 71.0f * static_cast<float>(static_cast<std::int32_t>(blueOfWord(p))) +
                    707.0f * static_cast<float>(static_cast<std::int32_t>(greenOfWord(p))) +
                    222.0f * static_cast<float>(static_cast<std::int32_t>(redOfWord(p)));
    return static_cast<std::uint32_t>(static_cast<std::int32_t>(roundHalfEvenSmall(n / 1000.0f)));
}

constexpr std::uint32_t kWhite = 0x00FFFFFFu;
constexpr std::uint32_t kHighBits = 0x00808080u;

} // namespace

velmar::Bits cBitFilter::BRIGHTNESS(std::int32_t amount) {
    const std::int32_t a = clampedShiftAmount(amount);
    return addClamped(*this, a, a, a);
}

// n = level + 1, T[i] = round(i / n) * n, clamped above 255 only: below 0 it cannot go, since
// round(i / n) never has the sign of a negative n. Level -1 divides 0 by 0 first ("Overflow").
velmar::Bits cBitFilter::Reduction(std::int32_t level) {
    const std::int32_t n = filters::checkedLong(std::int64_t{level} + 1);
    Table t;
    for (int i = 0; i < 256; ++i) {
        const std::int64_t v = std::int64_t{roundToLong(filters::fdiv(i, n))} * n;
        t[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(v > 255 ? 255 : v);
    }
    return applyTable(*this, t);
}

// T[i] = i - opacity, clamped below 0 only: a negative opacity puts T[255] above 255, which
// does not fit the table's byte: the "Overflow" error. Every second row from the box top.
velmar::Bits cBitFilter::Scanlines(std::int32_t opacity) {
    if (opacity < 0) throw RuntimeError::Overflow();
    const std::int32_t a = opacity > 256 ? -256 : -opacity;
    FrameOptions options;
    options.rowStep = 2;
    return addClamped(*this, a, a, a, options);
}

velmar::Bits cBitFilter::ShiftRGB(std::int32_t red, std::int32_t green, std::int32_t blue) {
    return addClamped(*this, clampedShiftAmount(red), clampedShiftAmount(green),
                      clampedShiftAmount(blue));
}

velmar::Bits cBitFilter::Invert() {
    return perPixel(*this, [](std::uint32_t p) { return p ^ kWhite; });
}

velmar::Bits cBitFilter::KillChannel(bool red, bool green, bool blue) {
    const std::uint32_t keep =
        kMaskByte | (red ? 0u : 0xFF0000u) | (green ? 0u : 0xFF00u) | (blue ? 0u : 0xFFu);
    return perPixel(*this, [keep](std::uint32_t p) { return p & keep; });
}

velmar::Bits cBitFilter::SpecialColors(std::int16_t red, std::int16_t green, std::int16_t blue) {
    const std::uint32_t keep = kMaskByte | (red == -1 ? 0xFF0000u : 0u) |
                               (green == -1 ? 0xFF00u : 0u) | (blue == -1 ? 0xFFu : 0u);
    return perPixel(*this, [keep](std::uint32_t p) { return p & keep; });
}

velmar::Bits cBitFilter::GreyScale() {
    return perPixel(*this, [](std::uint32_t p) {
        const std::uint32_t v = greyOf(p);
        return (p & kMaskByte) | v | (v << 8) | (v << 16);
    });
}

// Green and red take the grey, blue stays: the old-photo tint comes from the blue left behind.
velmar::Bits cBitFilter::OLDPHOTO() {
    return perPixel(*this, [](std::uint32_t p) {
        const std::uint32_t v = greyOf(p);
        return (p & (kMaskByte | 0xFFu)) | (v << 8) | (v << 16);
    });
}

// (B + G + R) div 3 <= cut is the same as B + G + R <= 3 cut + 2; a cut below 0 makes every
// pixel white and one of 255 or more every pixel black, so it is held to -1..255 first.
velmar::Bits cBitFilter::Threshold(std::int32_t cut) {
    const std::int32_t c = cut < -1 ? -1 : (cut > 255 ? 255 : cut);
    const std::uint32_t limit = static_cast<std::uint32_t>(3 * c + 3); // sum < limit: black
    return perPixel(*this, [limit](std::uint32_t p) {
        const std::uint32_t sum = blueOfWord(p) + greenOfWord(p) + redOfWord(p);
        return sum < limit ? (p & kMaskByte) : (p | kWhite);
    });
}

// Only a strict maximum survives; a tie for the largest channel leaves the pixel alone.
velmar::Bits cBitFilter::THERMIQUE() {
    return perPixel(*this, [](std::uint32_t p) {
        const std::uint32_t b = blueOfWord(p), g = greenOfWord(p), r = redOfWord(p);
        const std::uint32_t m = p & kMaskByte;
        return (b < r && g < r)   ? (m | (r << 16))
               : (b < g && r < g) ? (m | (g << 8))
               : (g < b && r < b) ? (m | b)
                                  : p;
    });
}

// A channel exceeds 127.5 exactly when its top bit is set.
velmar::Bits cBitFilter::XBLACK() {
    return perPixel(*this, [](std::uint32_t p) {
        const std::uint32_t high = p & kHighBits;
        return high == kHighBits ? (p & kMaskByte) : (high == 0 ? (p | kWhite) : p);
    });
}

velmar::Bits cBitFilter::PHOTOCOP() {
    return perPixel(*this, [](std::uint32_t p) {
        const std::uint32_t high = p & kHighBits;
        return high == kHighBits ? (p | kWhite) : (high == 0 ? (p & kMaskByte) : p);
    });
}

velmar::Bits cBitFilter::SwapBanks(std::int32_t mode) {
    // Each mode names the source of R', G', B'.
    auto swap = [this](auto pick) {
        return perPixel(*this, [pick](std::uint32_t p) {
            const std::uint32_t b = blueOfWord(p), g = greenOfWord(p), r = redOfWord(p);
            const auto [r2, g2, b2] = pick(b, g, r);
            return (p & kMaskByte) | (r2 << 16) | (g2 << 8) | b2;
        });
    };
    using T = std::array<std::uint32_t, 3>;
    switch (mode) {
    case 1:
        return swap([](auto b, auto g, auto r) { return T{b, r, g}; });
    case 2:
        return swap([](auto b, auto g, auto r) { return T{g, b, r}; });
    case 3:
        return swap([](auto b, auto g, auto r) { return T{r, b, g}; });
    case 4:
        return swap([](auto b, auto g, auto r) { return T{b, g, r}; });
    case 5:
        return swap([](auto b, auto g, auto r) { return T{g, r, b}; });
    default:
        return perPixel(*this, [](std::uint32_t p) { return p; });
    }
}

// Each output channel is a source channel (0 blue, 1 green, 2 red; 3 is the pixel's mask byte),
// complemented when its flag is set (any non-zero value) and ANDed with the complement of its
// kill mask. A channel number past the pixel is the classic "Subscript out of range".
velmar::Bits cBitFilter::SwapRGB(std::uint8_t redFrom, std::uint8_t greenFrom,
                                 std::uint8_t blueFrom, std::int16_t invertRed,
                                 std::int16_t invertGreen, std::int16_t invertBlue,
                                 std::uint8_t killRed, std::uint8_t killGreen,
                                 std::uint8_t killBlue) {
    if (redFrom > 3 || greenFrom > 3 || blueFrom > 3)
        throw RuntimeError(9, "Subscript out of range");
    const std::uint32_t shR = redFrom * 8u, shG = greenFrom * 8u, shB = blueFrom * 8u;
    const std::uint32_t flip = (invertRed != 0 ? 0xFF0000u : 0u) |
                               (invertGreen != 0 ? 0xFF00u : 0u) | (invertBlue != 0 ? 0xFFu : 0u);
    const std::uint32_t keep = kMaskByte |
                               (std::uint32_t{static_cast<std::uint8_t>(~killRed)} << 16) |
                               (std::uint32_t{static_cast<std::uint8_t>(~killGreen)} << 8) |
                               std::uint32_t{static_cast<std::uint8_t>(~killBlue)};
    return perPixel(*this, [=](std::uint32_t p) {
        const std::uint32_t v =
            (((p >> shR) & 255u) << 16) | (((p >> shG) & 255u) << 8) | ((p >> shB) & 255u);
        return ((v ^ flip) | (p & kMaskByte)) & keep;
    });
}

// c' = round((c - a) f + c) with a = (B + G + R) div 3 and f = percent / 100, rounded into a
// long (out of its range is "Overflow"), then the standard clamp. The value is taken exactly:
// c + E / 100 with the whole number E = (c - a) percent.
velmar::Bits cBitFilter::SATURATION(std::int32_t percent) {
    // (b + g + r) div 3: the sum is below 766, where sum * 43691 / 2^17 exceeds sum / 3 by less
    // than 1/500 and so has the same whole part.
    auto third = [](std::uint32_t p) {
        return ((blueOfWord(p) + greenOfWord(p) + redOfWord(p)) * 43691u) >> 17;
    };
    if (percent < -50000000 || percent > 50000000) {
        // Only percentages this large can leave the long's range: pixel by pixel, in 64 bits.
        return perPixel(*this, [&](std::uint32_t p) {
            const auto a = static_cast<std::int64_t>(third(p));
            auto channel = [&](std::uint32_t c) {
                const std::int64_t e = (std::int64_t{c} - a) * percent;
                std::int64_t q = e / 100, r = e % 100;
                if (r < 0) q -= 1, r += 100; // floor
                if (r > 50 || (r == 50 && ((c + q) & 1) != 0)) ++q;
                const std::int64_t v = c + q;
                if (v < std::numeric_limits<std::int32_t>::min() ||
                    v > std::numeric_limits<std::int32_t>::max())
                    throw RuntimeError::Overflow();
                return std::uint32_t{clampByte(static_cast<std::int32_t>(v))};
            };
            return (p & kMaskByte) | (channel(redOfWord(p)) << 16) |
                   (channel(greenOfWord(p)) << 8) | channel(blueOfWord(p));
        });
    }
    // In whole numbers that vectorise. E / 100 of 256 or more (or -256 or less) clamps c'
    // whatever its rounding, so E is held to -25600..25600, and the percentage to the same
    // range, which holds the same E. Then u = E + 100 c + 25600 lies in 0..76700, and
    // c' = round(u / 100) - 256 (25600 is an even number of hundreds, so the ties still go to
    // even). u div 100 = (u div 4) div 25, and (w * 5243) >> 17 is w div 25 for every w up to
    // 19175: 5243 / 2^17 exceeds 1/25 by 3 / 3276800, which adds less than 0.018 to w / 25,
    // whose fraction is at most 24/25.
    const std::int32_t pc = percent < -25600 ? -25600 : (percent > 25600 ? 25600 : percent);
    return perPixel(*this, [pc, third](std::uint32_t p) {
        const auto a = static_cast<std::int32_t>(third(p));
        auto channel = [&](std::uint32_t cu) {
            const auto c = static_cast<std::int32_t>(cu);
            std::int32_t e = (c - a) * pc;
            e = e < -25600 ? -25600 : (e > 25600 ? 25600 : e);
            const std::int32_t u = e + 100 * c + 25600;
            const std::int32_t q = ((u >> 2) * 5243) >> 17;
            const std::int32_t r = u - 100 * q;
            // Above half up; at half up only from an odd quotient.
            const std::int32_t v = q - 256 + ((r > 50) | ((r == 50) & q));
            return std::uint32_t{clampByte(v)};
        };
        return (p & kMaskByte) | (channel(redOfWord(p)) << 16) | (channel(greenOfWord(p)) << 8) |
               channel(blueOfWord(p));
    });
}

// Each index is a fixed mix of the channels; 4, 5, 9 and any other leave the pixel alone. The
// mixes that take two channels through floating arithmetic are evaluated once for every pair of
// bytes, exactly as written, and looked up.
velmar::Bits cBitFilter::ClassyColors(std::int16_t index) {
    using Pairs = std::vector<std::uint8_t>; // [a * 256 + b]
    auto pairTable = [](auto formula) {
        Pairs t(256 * 256);
        for (int a = 0; a < 256; ++a)
            for (int b = 0; b < 256; ++b)
                t[static_cast<std::size_t>(a * 256 + b)] = roundToByte(formula(a, b));
        return t;
    };
    // round((a * 0.99 + b * 0.99) / 2): the same for (a, b) and (b, a).
    auto softMix = [&] {
        return pairTable([](int a, int b) { return (a * 0.99 + b * 0.99) / 2; });
    };
    auto mixKernel = [this](const Pairs& t, auto mix) {
        return FilterFrame::Run(*this, {}, [&t, mix](const FrameRow& row, int x0, int x1) {
            const Pixel32* __restrict s = reinterpret_cast<const Pixel32*>(row.src);
            Pixel32* __restrict o = reinterpret_cast<Pixel32*>(row.out);
            const std::uint8_t* __restrict q = t.data();
            for (int x = x0; x < x1; ++x)
                o[x] = mix(s[x], q);
        });
    };
    auto word = [](std::uint32_t p, std::uint32_t r, std::uint32_t g, std::uint32_t b) {
        return (p & kMaskByte) | (r << 16) | (g << 8) | b;
    };
    switch (index) {
    case 0: { // SOFTBLUE
        const Pairs soft = softMix();
        std::array<double, 256> atanOf;
        for (std::size_t i = 0; i < 256; ++i)
            atanOf[i] = std::atan(static_cast<double>(i));
        const Pairs blue =
            pairTable([&](int b, int g) { return b * atanOf[static_cast<std::size_t>(g)] / 1.9; });
        return FilterFrame::Run(*this, {}, [&](const FrameRow& row, int x0, int x1) {
            const Pixel32* __restrict s = reinterpret_cast<const Pixel32*>(row.src);
            Pixel32* __restrict o = reinterpret_cast<Pixel32*>(row.out);
            const std::uint8_t* __restrict qs = soft.data();
            const std::uint8_t* __restrict qb = blue.data();
            for (int x = x0; x < x1; ++x) {
                const std::uint32_t p = s[x];
                const std::uint32_t b = blueOfWord(p), g = greenOfWord(p), r = redOfWord(p);
                o[x] = word(p, g, qs[r * 256 + g], qb[b * 256 + g]);
            }
        });
    }
    case 1: // SOFTGREEN
        return mixKernel(softMix(), [word](std::uint32_t p, const std::uint8_t* q) {
            const std::uint32_t b = blueOfWord(p), g = greenOfWord(p), r = redOfWord(p);
            return word(p, g, q[r * 256 + g], b);
        });
    case 2: // PURPLE
        return mixKernel(softMix(), [word](std::uint32_t p, const std::uint8_t* q) {
            const std::uint32_t b = blueOfWord(p), g = greenOfWord(p), r = redOfWord(p);
            return word(p, q[r * 256 + b], g, r);
        });
    case 3: // SOFTRED
        return mixKernel(softMix(), [word](std::uint32_t p, const std::uint8_t* q) {
            const std::uint32_t b = blueOfWord(p), g = greenOfWord(p), r = redOfWord(p);
            return word(p, r, q[g * 256 + b], g);
        });
    case 6: // SPOTTED: quarters and halves of bytes are exact in single precision.
        return perPixel(*this, [word](std::uint32_t p) {
            const float b = static_cast<float>(static_cast<std::int32_t>(blueOfWord(p)));
            const float g = static_cast<float>(static_cast<std::int32_t>(greenOfWord(p)));
            const float r = static_cast<float>(static_cast<std::int32_t>(redOfWord(p)));
            auto byte = [](float v) {
                return static_cast<std::uint32_t>(static_cast<std::int32_t>(roundHalfEvenSmall(v)));
            };
            return word(p, byte(g / 4 + b / 2), byte(r / 4 + g / 2), byte(r / 2 + b / 4));
        });
    case 7: { // RETRO: t depends on blue and red; abs(t - c - 1) reaches 256, which overflows.
        const Pairs t = pairTable([](int b, int r) { return (2 * (b * 0.99) + r * 0.99) / 12; });
        return FilterFrame::Run(*this, {}, [&t](const FrameRow& row, int x0, int x1) {
            const Pixel32* __restrict s = reinterpret_cast<const Pixel32*>(row.src);
            Pixel32* __restrict o = reinterpret_cast<Pixel32*>(row.out);
            const std::uint8_t* __restrict q = t.data();
            std::int32_t largest = 0;
            for (int x = x0; x < x1; ++x) {
                const std::uint32_t p = s[x];
                const auto b = static_cast<std::int32_t>(blueOfWord(p));
                const auto g = static_cast<std::int32_t>(greenOfWord(p));
                const auto r = static_cast<std::int32_t>(redOfWord(p));
                const std::int32_t tv = q[b * 256 + r];
                const std::int32_t b2 = std::abs(tv - g - 1), g2 = std::abs(tv - r - 1),
                                   r2 = std::abs(tv - b - 1);
                largest = std::max({largest, b2, g2, r2});
                o[x] = (p & kMaskByte) | (static_cast<std::uint32_t>(r2) << 16) |
                       (static_cast<std::uint32_t>(g2) << 8) | static_cast<std::uint32_t>(b2);
            }
            if (largest > 255) throw RuntimeError::Overflow();
        });
    }
    case 8: // SOFTYELLOW
        return perPixel(*this, [word](std::uint32_t p) {
            return word(p, redOfWord(p), redOfWord(p), greenOfWord(p));
        });
    case 10: // ORANGE: halves of bytes are exact in single precision.
        return perPixel(*this, [word](std::uint32_t p) {
            auto half = [](std::uint32_t c) {
                return static_cast<std::uint32_t>(static_cast<std::int32_t>(
                    roundHalfEvenSmall(static_cast<float>(static_cast<std::int32_t>(c)) / 2)));
            };
            return word(p, redOfWord(p), half(redOfWord(p)), half(greenOfWord(p)));
        });
    case 11: // WETPAPER
        return perPixel(*this, [word](std::uint32_t p) {
            return word(p, 170u, blueOfWord(p), greenOfWord(p));
        });
    default:
        return perPixel(*this, [](std::uint32_t p) { return p; });
    }
}

} // namespace velmar
