#include "formats/platformPalettes.h"

namespace velmar {

namespace {

constexpr std::array<PaletteColour, 2> kMonochrome = {{{0, 0, 0}, {255, 255, 255}}};

constexpr std::array<PaletteColour, 16> kVga = {{
    {0, 0, 0},
    {128, 0, 0},
    {0, 128, 0},
    {128, 128, 0},
    {0, 0, 128},
    {128, 0, 128},
    {0, 128, 128},
    {192, 192, 192},
    {128, 128, 128},
    {255, 0, 0},
    {0, 255, 0},
    {255, 255, 0},
    {0, 0, 255},
    {255, 0, 255},
    {0, 255, 255},
    {255, 255, 255},
}};

// The twenty static colours of a palette-based display: ten at the start, ten at the end.
constexpr std::array<PaletteColour, 10> kStaticLow = {{
    {0, 0, 0},
    {128, 0, 0},
    {0, 128, 0},
    {128, 128, 0},
    {0, 0, 128},
    {128, 0, 128},
    {0, 128, 128},
    {192, 192, 192},
    {192, 220, 192},
    {166, 202, 240},
}};
constexpr std::array<PaletteColour, 10> kStaticHigh = {{
    {255, 251, 240},
    {160, 160, 164},
    {128, 128, 128},
    {255, 0, 0},
    {0, 255, 0},
    {255, 255, 0},
    {0, 0, 255},
    {255, 0, 255},
    {0, 255, 255},
    {255, 255, 255},
}};
// Greys that fall between the cube's six grey levels (0, 51, 102, 153, 204, 255), four in each
// of the five gaps, so that grey pictures keep some of their tones.
constexpr std::array<std::uint8_t, 20> kHalftoneGreys = {
    10, 20, 31, 41, 61, 71, 82, 92, 112, 122, 133, 143, 163, 173, 184, 194, 214, 224, 235, 245,
};

constexpr std::array<PaletteColour, 256> makeHalftone() {
    std::array<PaletteColour, 256> p{};
    std::size_t i = 0;
    for (const auto& c : kStaticLow)
        p[i++] = c;
    for (int r = 0; r < 6; ++r)
        for (int g = 0; g < 6; ++g)
            for (int b = 0; b < 6; ++b)
                p[i++] = {static_cast<std::uint8_t>(r * 51), static_cast<std::uint8_t>(g * 51),
                          static_cast<std::uint8_t>(b * 51)};
    for (const auto v : kHalftoneGreys)
        p[i++] = {v, v, v};
    for (const auto& c : kStaticHigh)
        p[i++] = c;
    return p;
}

constexpr std::array<PaletteColour, 256> kHalftone = makeHalftone();

} // namespace

std::span<const PaletteColour, 2> MonochromePalette() {
    return kMonochrome;
}
std::span<const PaletteColour, 16> VgaPalette() {
    return kVga;
}
std::span<const PaletteColour, 256> HalftonePalette() {
    return kHalftone;
}

int NearestEntry(std::span<const PaletteColour> palette, std::uint8_t red, std::uint8_t green,
                 std::uint8_t blue) {
    int best = 0;
    int bestDistance = 1 << 30;
    for (std::size_t i = 0; i < palette.size(); ++i) {
        const int dr = palette[i].red - red, dg = palette[i].green - green,
                  db = palette[i].blue - blue;
        const int d = dr * dr + dg * dg + db * db;
        if (d < bestDistance) {
            bestDistance = d;
            best = static_cast<int>(i);
            if (d == 0) break;
        }
    }
    return best;
}

} // namespace velmar
