#pragma once
// The fixed palettes a desktop's bitmap read-back maps onto: black and white, the 16-colour VGA
// palette and the 256-colour halftone palette. Depth reduction and the picture converter both
// map pictures onto these, so they live here once, as data.
#include <array>
#include <cstdint>
#include <span>

namespace velmar {

struct PaletteColour {
    std::uint8_t red, green, blue;
    friend constexpr bool operator==(const PaletteColour&, const PaletteColour&) = default;
};

// Black, white.
std::span<const PaletteColour, 2> MonochromePalette();
// Black, the eight dark colours and the light grey, then dark grey and the seven bright colours,
// in the order of a 4-bit bitmap's default colour table.
std::span<const PaletteColour, 16> VgaPalette();
// Ten static colours, the 6 x 6 x 6 colour cube, twenty greys between the cube's greys, and the
// ten other static colours.
std::span<const PaletteColour, 256> HalftonePalette();

// The entry nearest to (red, green, blue) by squared distance; ties go to the lower index.
// This is the mapping a read-back at 1, 4 or 8 bits performs: no dither, pixel by pixel.
int NearestEntry(std::span<const PaletteColour> palette, std::uint8_t red, std::uint8_t green,
                 std::uint8_t blue);

} // namespace velmar
