// The fixed palettes of the converter, and the check that a palette mode fits the depth.
#include "formats/converterParts.h"

#include <array>
#include <cmath>
#include <cstdio>

namespace velmar::converter {

namespace {

// Value i of `count` evenly spaced levels from 0 to 255, rounded.
std::uint8_t evenLevel(int i, int count) {
    return static_cast<std::uint8_t>((i * 255 + (count - 1) / 2) / (count - 1));
}

std::vector<PaletteColour> greyRamp(int count) {
    std::vector<PaletteColour> p;
    for (int i = 0; i < count; ++i) {
        const std::uint8_t v = evenLevel(i, count);
        p.push_back({v, v, v});
    }
    return p;
}

std::vector<PaletteColour> cube(int reds, int greens, int blues) {
    std::vector<PaletteColour> p;
    for (int r = 0; r < reds; ++r)
        for (int g = 0; g < greens; ++g)
            for (int b = 0; b < blues; ++b)
                p.push_back({evenLevel(r, reds), evenLevel(g, greens), evenLevel(b, blues)});
    return p;
}

// The colour cube of 2^bits colours. Blue gets the fewest bits and green the most, as the eye
// is least sensitive to blue: 8 bits split 3-3-2 (red-green-blue), 7 as 2-3-2, 6 as 2-2-2, 5 as
// 2-2-1, 4 as 1-2-1, 3 as 1-1-1. Below 3 bits a channel would get no bit at all, which turns
// white into a colour; there the cube keeps its grey diagonal instead (black and white, or
// four greys).
std::vector<PaletteColour> colourCube(int bits) {
    if (bits < 3) return greyRamp(1 << bits);
    const int blueBits = bits / 3, redBits = (bits + 1) / 3, greenBits = bits - blueBits - redBits;
    return cube(1 << redBits, 1 << greenBits, 1 << blueBits);
}

// A fixed palette of n colours: the largest cube with the same number of levels on every
// channel that fits (8 corners from n = 8, 27 from 27, 64, 125, 216), and the entries left over
// as greys spread evenly between the cube's grey levels, where photographs need tones most.
// Fewer than 8 colours cannot hold a cube of two levels, so they are n greys from black to white.
// 256 colours give the web-safe cube plus 40 greys.
std::vector<PaletteColour> fixedColours(int n) {
    if (n < 8) return greyRamp(n);
    int levels = 2;
    while ((levels + 1) * (levels + 1) * (levels + 1) <= n)
        ++levels;
    std::vector<PaletteColour> p = cube(levels, levels, levels);
    const int extra = n - levels * levels * levels;
    const int gaps = levels - 1;
    const double gapWidth = 255.0 / gaps;
    for (int gap = 0; gap < gaps; ++gap) {
        const int inGap = extra / gaps + (gap < extra % gaps ? 1 : 0);
        for (int i = 1; i <= inGap; ++i) {
            const auto v =
                static_cast<std::uint8_t>(std::lround(gap * gapWidth + gapWidth * i / (inGap + 1)));
            p.push_back({v, v, v});
        }
    }
    return p;
}

// The platform's map for a depth: black and white at 1 bit, VGA at 4, halftone at 8. The
// platform has no map for 2, 3, 5, 6 or 7 bits; there the largest of its maps that fits is
// used (black and white below 4 bits, VGA below 8), so the picture looks as the desktop would
// show it at the nearest depth it knows.
std::vector<PaletteColour> platformMap(int bits) {
    if (bits >= 8) {
        const auto p = HalftonePalette();
        return {p.begin(), p.end()};
    }
    if (bits >= 4) {
        const auto p = VgaPalette();
        return {p.begin(), p.end()};
    }
    const auto p = MonochromePalette();
    return {p.begin(), p.end()};
}

std::vector<PaletteColour> webSafe() {
    return cube(6, 6, 6);
}

bool isFixedCount(int mode) {
    return mode > kPaletteFixedCount && mode <= kPaletteFixedCount + 256;
}

// A bare 0x8000 means "as many fixed colours as the depth holds", which is what the optimizer
// means by it before it adds the count itself.
int fixedCount(int mode, int bits) {
    return mode == kPaletteFixedCount ? (1 << bits) : mode - kPaletteFixedCount;
}

struct NamedPalette {
    int mode;
    int colours;
    const char* name;
};
constexpr std::array<NamedPalette, 3> kNamedPalettes = {{
    {kPaletteVga, 16, "16-colour VGA palette"},
    {kPaletteWebSafe, 216, "216-colour web-safe palette"},
    {kPaletteHalftone, 256, "256-colour halftone palette"},
}};

int bitsFor(int colours) {
    int bits = 1;
    while ((1 << bits) < colours)
        ++bits;
    return bits;
}

std::string hex(int v) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%X", static_cast<unsigned>(v));
    return text;
}

} // namespace

std::string PaletteModeProblem(int mode, int bits) {
    const bool direct = bits > 8; // no colour table: any known mode will do
    for (const auto& named : kNamedPalettes)
        if (mode == named.mode) {
            if (direct || (1 << bits) >= named.colours) return {};
            return "The " + std::string(named.name) + " needs " +
                   std::to_string(bitsFor(named.colours)) + " bits per pixel; ColorBits is " +
                   std::to_string(bits) + ".";
        }
    if (mode == kPalettePlatform || mode == kPaletteOptimal || mode == kPaletteFixedCube ||
        mode == kPaletteGreyRamp || mode == kPaletteFixedCount)
        return {};
    if (mode == kPaletteFixedCount + 1)
        return "A fixed palette needs at least 2 colours; PaletteMode 0x8001 asks for 1.";
    if (isFixedCount(mode)) {
        const int n = mode - kPaletteFixedCount;
        if (direct || (1 << bits) >= n) return {};
        return "A fixed palette of " + std::to_string(n) + " colours needs " +
               std::to_string(bitsFor(n)) + " bits per pixel; ColorBits is " +
               std::to_string(bits) + ".";
    }
    return "PaletteMode " + hex(mode) +
           " is unknown: use 0x1000 (platform), 0x4000 (optimal), 0 (colour cube), 0x8000 plus "
           "2 to 256 (fixed colours), 0x8210 (VGA), 0x84D8 (web-safe), 0x8300 (halftone) or "
           "0x88FF (grey ramp).";
}

std::vector<PaletteColour> FixedPalette(int mode, int bits) {
    switch (mode) {
    case kPalettePlatform:
        return platformMap(bits);
    case kPaletteFixedCube:
        return colourCube(bits);
    case kPaletteVga:
        return platformMap(4);
    case kPaletteWebSafe:
        return webSafe();
    case kPaletteHalftone:
        return platformMap(8);
    case kPaletteGreyRamp:
        return greyRamp(1 << bits);
    default:
        if (mode == kPaletteFixedCount || isFixedCount(mode))
            return fixedColours(fixedCount(mode, bits));
        throw ConverterFailure("PaletteMode " + hex(mode) + " has no fixed palette.");
    }
}

std::vector<PaletteColour> GreyEntries(std::span<const PaletteColour> palette) {
    std::vector<PaletteColour> greys;
    for (const auto& c : palette)
        if (c.red == c.green && c.green == c.blue) greys.push_back(c);
    return greys;
}

} // namespace velmar::converter
