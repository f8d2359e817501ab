// The dithers of the converter, and the mapping of a picture onto a palette or onto 5-5-5.
//
// 0 "None"           every pixel takes its nearest entry.
// 1 "Binary"         Floyd-Steinberg error diffusion (7/16 right, 3/16, 5/16, 1/16 on the next
//                    row), left to right; the rows depend on each other.
// All the others are ordered dithers: a pixel whose colour lies between its nearest entry A
// and the entry B beyond it takes B where the pattern's threshold at (x, y) is below the
// fraction of the way from A to B, else A. A colour that is exactly an entry has fraction 0
// and never moves, so flat palette colours (logos, text, backgrounds) stay clean under every
// dither. The patterns repeat every 8 pixels:
// 2 "Ordered"        Bayer's 8 x 8 dispersed matrix: 64 evenly mixed levels.
// 4 "Haftone"        a clustered-dot screen: in each 8 x 8 cell a round dot of the minority
//                    colour grows from the middle, as in printed halftones.
// 8 "Forward Diag"   a line screen of lines running up to the right ("/"), period 8 along x + y.
// 16 "Backward Diag" the same with lines running down to the right ("\"), along x - y.
// 32 "Horizontal"    a line screen of horizontal lines, period 8 rows.
// 64 "Vertical"      a line screen of vertical lines, period 8 columns.
//                    In the line screens a line widens from its middle on both sides.
// 256 "Odd"          a checkerboard: a colour at least a quarter of the way to B puts B on
//                    the pixels with x + y odd, so each palette step gains one tone, half and
//                    half, between its two plain ones.
// 512 "Even"         the same checkerboard on the pixels with x + y even.
// Since A is the nearest entry the fraction never passes one half, so the share of pixels that
// take B is the share of thresholds below the fraction: the mean colour is kept as closely as
// the pattern's levels allow.
// At 16 bits the same dithers work per channel between the two nearest 5-bit levels. At 24
// bits nothing is reduced, so there is nothing to dither.
#include "formats/converterParts.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <numeric>
#include <vector>

namespace velmar::converter {

namespace {

using Pattern = std::array<float, 64>; // threshold of (x & 7, y & 7) at [y * 8 + x], in (0, 1)

// Turns a ranking of the 64 cells (0 first to switch) into thresholds in the middle of each
// of the `levels` steps.
Pattern fromRanks(const std::array<int, 64>& rank, int levels) {
    Pattern p{};
    for (int i = 0; i < 64; ++i)
        p[static_cast<std::size_t>(i)] =
            (static_cast<float>(rank[static_cast<std::size_t>(i)]) + 0.5f) /
            static_cast<float>(levels);
    return p;
}

Pattern bayer() {
    std::array<int, 64> rank{};
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) {
            // The recursive 2 x 2 construction [0 2; 3 1]: the finest bits of x ^ y and y weigh
            // most, so each level of the matrix spreads its pixels as far apart as it can.
            int v = 0;
            for (int bit = 0; bit < 3; ++bit) {
                const int xb = (x >> bit) & 1, yb = (y >> bit) & 1;
                v = (v << 2) | ((xb ^ yb) << 1) | yb;
            }
            rank[static_cast<std::size_t>(y * 8 + x)] = v;
        }
    return fromRanks(rank, 64);
}

// The cells ranked by distance from the middle of the 8 x 8 cell (ties by angle), so the
// switched pixels form one round dot that grows outwards.
Pattern clusteredDot() {
    std::array<int, 64> order{};
    std::iota(order.begin(), order.end(), 0);
    const auto radius = [](int i) {
        const double dx = (i % 8) - 3.5, dy = (i / 8) - 3.5;
        return dx * dx + dy * dy;
    };
    const auto angle = [](int i) { return std::atan2((i / 8) - 3.5, (i % 8) - 3.5); };
    std::stable_sort(order.begin(), order.end(), [&](int a, int b) {
        return radius(a) != radius(b) ? radius(a) < radius(b) : angle(a) < angle(b);
    });
    std::array<int, 64> rank{};
    for (int r = 0; r < 64; ++r)
        rank[static_cast<std::size_t>(order[static_cast<std::size_t>(r)])] = r;
    return fromRanks(rank, 64);
}

// A line of 8 phases widening from its middle: phase 3 first, then 4, 2, 5, 1, 6, 0, 7.
constexpr std::array<int, 8> kLineRank = {6, 4, 2, 0, 1, 3, 5, 7};

template <typename Phase> Pattern lineScreen(Phase phase) {
    std::array<int, 64> rank{};
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x)
            rank[static_cast<std::size_t>(y * 8 + x)] =
                kLineRank[static_cast<std::size_t>(phase(x, y))];
    return fromRanks(rank, 8);
}

Pattern checkerboard(int firstParity) {
    std::array<int, 64> rank{};
    for (int i = 0; i < 64; ++i)
        rank[static_cast<std::size_t>(i)] = ((i % 8 + i / 8) & 1) == firstParity ? 0 : 1;
    return fromRanks(rank, 2);
}

struct DitherEntry {
    int value;
    Pattern pattern; // unused for 0 and 1
};

const std::vector<DitherEntry>& ditherTable() {
    static const std::vector<DitherEntry> table = {
        {kDitherNone, {}},
        {kDitherBinary, {}},
        {kDitherOrdered, bayer()},
        {kDitherHaftone, clusteredDot()},
        {kDitherForwardDiag, lineScreen([](int x, int y) { return (x + y) & 7; })},
        {kDitherBackwardDiag, lineScreen([](int x, int y) { return (x - y) & 7; })},
        {kDitherHorizontal, lineScreen([](int, int y) { return y; })},
        {kDitherVertical, lineScreen([](int x, int) { return x; })},
        {kDitherOdd, checkerboard(1)},
        {kDitherEven, checkerboard(0)},
    };
    return table;
}

const Pattern& patternOf(int dither) {
    for (const auto& d : ditherTable())
        if (d.value == dither) return d.pattern;
    throw ConverterFailure("Dither " + std::to_string(dither) + " is unknown.");
}

int clampByte(int v) {
    return v < 0 ? 0 : (v > 255 ? 255 : v);
}

struct Rgb {
    int red, green, blue;
};

inline Rgb readPixel(const std::uint8_t* p, bool greyscale) {
    if (greyscale) {
        const int v = GreyOf(p[2], p[1], p[0]);
        return {v, v, v};
    }
    return {p[2], p[1], p[0]};
}

// The ordered choice between the nearest entry A and the entry B beyond the colour. B is the
// entry nearest to the colour mirrored away from A (colour + (colour - A)); when that is A again
// (the colour sits close to A) B is looked for one palette step from A in the same direction.
// The fraction is the projection of (colour - A) on (B - A).
int orderedIndex(PaletteSearch& search, const Rgb& c, float threshold) {
    const int a = search.Nearest(c.red, c.green, c.blue);
    const PaletteColour& A = search.Entry(a);
    const int dr = c.red - A.red, dg = c.green - A.green, db = c.blue - A.blue;
    if (dr == 0 && dg == 0 && db == 0) return a;
    int b = search.Nearest(clampByte(c.red + dr), clampByte(c.green + dg), clampByte(c.blue + db));
    if (b == a) {
        const double k = search.Step() / std::max({std::abs(dr), std::abs(dg), std::abs(db)});
        b = search.Nearest(clampByte(A.red + static_cast<int>(std::lround(dr * k))),
                           clampByte(A.green + static_cast<int>(std::lround(dg * k))),
                           clampByte(A.blue + static_cast<int>(std::lround(db * k))));
        if (b == a) return a;
    }
    const PaletteColour& B = search.Entry(b);
    const int er = B.red - A.red, eg = B.green - A.green, eb = B.blue - A.blue;
    const int length = er * er + eg * eg + eb * eb;
    if (length == 0) return a;
    const float fraction =
        static_cast<float>(dr * er + dg * eg + db * eb) / static_cast<float>(length);
    return threshold < fraction ? b : a;
}

// Error diffusion onto any quantizer: `quantize(channel values) -> index` and `value(index)`.
// Errors are kept in sixteenths so that the four shares add up exactly.
template <typename Quantize>
void floydSteinberg(const Bits& picture, bool greyscale, Quantize quantize) {
    const int w = picture.Width(), h = picture.Height();
    std::vector<int> current(static_cast<std::size_t>(w + 2) * 3, 0), next(current.size(), 0);
    for (int y = 0; y < h; ++y) {
        std::fill(next.begin(), next.end(), 0);
        const std::uint8_t* row = picture.Row(y);
        for (int x = 0; x < w; ++x) {
            const Rgb raw = readPixel(row + x * 4, greyscale);
            int* e = &current[static_cast<std::size_t>(x + 1) * 3];
            const Rgb c{clampByte(raw.red + ((e[0] + 8) >> 4)),
                        clampByte(raw.green + ((e[1] + 8) >> 4)),
                        clampByte(raw.blue + ((e[2] + 8) >> 4))};
            const Rgb got = quantize(x, y, c);
            const int err[3] = {c.red - got.red, c.green - got.green, c.blue - got.blue};
            int* right = &current[static_cast<std::size_t>(x + 2) * 3];
            int* below = &next[static_cast<std::size_t>(x) * 3]; // x - 1 in picture terms
            for (int k = 0; k < 3; ++k) {
                right[k] += err[k] * 7;
                below[k] += err[k] * 3;
                below[k + 3] += err[k] * 5;
                below[k + 6] += err[k];
            }
        }
        current.swap(next);
    }
}

} // namespace

bool IsKnownDither(int dither) {
    for (const auto& d : ditherTable())
        if (d.value == dither) return true;
    return false;
}

void MapToPalette(const Bits& picture, bool greyscale, std::span<const PaletteColour> palette,
                  int dither, std::uint8_t* indices) {
    PaletteSearch search(palette);
    const int w = picture.Width(), h = picture.Height();
    if (dither == kDitherNone) {
        for (int y = 0; y < h; ++y) {
            const std::uint8_t* __restrict row = picture.Row(y);
            std::uint8_t* __restrict out =
                indices + static_cast<std::size_t>(y) * static_cast<std::size_t>(w);
            // Runs of one colour (flat areas, drawings) reuse the last answer.
            Rgb last{-1, -1, -1};
            std::uint8_t lastIndex = 0;
            for (int x = 0; x < w; ++x) {
                const Rgb c = readPixel(row + x * 4, greyscale);
                if (c.red != last.red || c.green != last.green || c.blue != last.blue) {
                    last = c;
                    lastIndex = static_cast<std::uint8_t>(search.Nearest(c.red, c.green, c.blue));
                }
                out[x] = lastIndex;
            }
        }
    } else if (dither == kDitherBinary) {
        floydSteinberg(picture, greyscale, [&](int x, int y, const Rgb& c) {
            const int i = search.Nearest(c.red, c.green, c.blue);
            indices[static_cast<std::size_t>(y) * static_cast<std::size_t>(w) +
                    static_cast<std::size_t>(x)] = static_cast<std::uint8_t>(i);
            const PaletteColour& e = search.Entry(i);
            return Rgb{e.red, e.green, e.blue};
        });
    } else {
        const Pattern& pattern = patternOf(dither);
        for (int y = 0; y < h; ++y) {
            const std::uint8_t* row = picture.Row(y);
            std::uint8_t* out = indices + static_cast<std::size_t>(y) * static_cast<std::size_t>(w);
            const float* thresholds = &pattern[static_cast<std::size_t>((y & 7) * 8)];
            for (int x = 0; x < w; ++x)
                out[x] = static_cast<std::uint8_t>(
                    orderedIndex(search, readPixel(row + x * 4, greyscale), thresholds[x & 7]));
        }
    }
}

void MapTo555(const Bits& picture, bool greyscale, int dither, std::uint8_t* samples) {
    // Per value: the nearest level, the level on the value's other side and the fraction of
    // the way to it. 5-5-5 is a cube of 32 levels a channel, so the channels dither apart.
    struct Choice {
        std::uint8_t nearest, other;
        float fraction;
    };
    std::array<Choice, 256> choice{};
    for (int v = 0; v < 256; ++v) {
        int k = 0;
        for (int j = 1; j < 32; ++j)
            if (std::abs(Level555(j) - v) < std::abs(Level555(k) - v)) k = j;
        const int d = v - Level555(k);
        const int o = d > 0 ? std::min(k + 1, 31) : (d < 0 ? std::max(k - 1, 0) : k);
        const int span = std::abs(Level555(o) - Level555(k));
        choice[static_cast<std::size_t>(v)] = {
            static_cast<std::uint8_t>(k), static_cast<std::uint8_t>(o),
            span == 0 ? 0.0f : static_cast<float>(std::abs(d)) / static_cast<float>(span)};
    }
    const int w = picture.Width(), h = picture.Height();
    const auto at = [&](int x, int y) {
        return samples + (static_cast<std::size_t>(y) * static_cast<std::size_t>(w) +
                          static_cast<std::size_t>(x)) *
                             3;
    };
    if (dither == kDitherBinary) {
        floydSteinberg(picture, greyscale, [&](int x, int y, const Rgb& c) {
            std::uint8_t* out = at(x, y);
            out[0] = choice[static_cast<std::size_t>(c.blue)].nearest;
            out[1] = choice[static_cast<std::size_t>(c.green)].nearest;
            out[2] = choice[static_cast<std::size_t>(c.red)].nearest;
            return Rgb{Level555(out[2]), Level555(out[1]), Level555(out[0])};
        });
        return;
    }
    const Pattern* pattern = dither == kDitherNone ? nullptr : &patternOf(dither);
    for (int y = 0; y < h; ++y) {
        const std::uint8_t* row = picture.Row(y);
        for (int x = 0; x < w; ++x) {
            const Rgb c = readPixel(row + x * 4, greyscale);
            std::uint8_t* out = at(x, y);
            const int values[3] = {c.blue, c.green, c.red};
            const float t =
                pattern ? (*pattern)[static_cast<std::size_t>((y & 7) * 8 + (x & 7))] : 1.0f;
            for (int k = 0; k < 3; ++k) {
                const Choice& ch = choice[static_cast<std::size_t>(values[k])];
                out[k] = t < ch.fraction ? ch.other : ch.nearest;
            }
        }
    }
}

} // namespace velmar::converter
