#pragma once
// The colour lists of the colour box and the parsing of its colour text. No Qt: the lists are
// data, and velmar-cli or a test can use them without a screen.
//
// Colours are COLORREF values as the setup record keeps them: red in the low byte, 0x00BBGGRR.
#include "filters/cBitFilter.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace velmar {

constexpr COLORREF MakeColourRef(int red, int green, int blue) noexcept {
    return static_cast<COLORREF>(red & 0xFF) | (static_cast<COLORREF>(green & 0xFF) << 8) |
           (static_cast<COLORREF>(blue & 0xFF) << 16);
}
constexpr int RedOf(COLORREF colour) noexcept {
    return static_cast<int>(colour & 0xFFu);
}
constexpr int GreenOf(COLORREF colour) noexcept {
    return static_cast<int>((colour >> 8) & 0xFFu);
}
constexpr int BlueOf(COLORREF colour) noexcept {
    return static_cast<int>((colour >> 16) & 0xFFu);
}

// The names of the lists, in the order of the colour box's combo.
std::span<const std::string_view> PaletteListNames();

// The colours of list listIndex (an index into PaletteListNames()); an empty list for any
// other index.
std::vector<COLORREF> PaletteColours(int listIndex);

// The colour a user typed: "#RRGGBB", "RRGGBB" (hex, any case) or "R,G,B" (decimals 0..255,
// blanks around the numbers allowed). Anything else gives nothing.
std::optional<COLORREF> ParseColourText(std::string_view text);

} // namespace velmar
