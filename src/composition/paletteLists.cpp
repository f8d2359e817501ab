#include "composition/paletteLists.h"

#include "formats/platformPalettes.h"
#include "pixel/colour.h"

#include <array>
#include <charconv>

namespace velmar {

namespace {

// The spelling of the list names is the one users have always seen in the combo.
constexpr std::array<std::string_view, 7> kListNames = {
    "16 Colors",    "48 Colors",    "Red Pallete",    "Green Pallete",
    "Blue Pallete", "Grey Pallete", "System Pallete",
};

COLORREF fromPalette(const PaletteColour& c) {
    return MakeColourRef(c.red, c.green, c.blue);
}

// "16 Colors": the sixteen VGA colours in the order of a 4-bit bitmap's colour table, the
// same table depth reduction maps onto, so a picture reduced to 16 colours uses exactly these.
std::vector<COLORREF> vgaColours() {
    std::vector<COLORREF> colours;
    for (const PaletteColour& c : VgaPalette())
        colours.push_back(fromPalette(c));
    return colours;
}

// "48 Colors": eight hues (red, orange, yellow, green, cyan, blue, violet, magenta) in five
// lightnesses from pale to deep, one row per lightness, and a last row of eight greys from
// black to white. Hue and lightness are what painters pick by, so the grid is laid out by them.
std::vector<COLORREF> fortyEightColours() {
    constexpr std::array<float, 8> hues = {0.0f, 0.5f, 1.0f, 2.0f, 3.0f, 4.0f, 4.5f, -1.0f};
    constexpr std::array<float, 5> lightnesses = {0.85f, 0.7f, 0.5f, 0.35f, 0.2f};
    std::vector<COLORREF> colours;
    for (const float l : lightnesses)
        for (const float h : hues) {
            std::int32_t r = 0, g = 0, b = 0;
            HLSToRGB(h, 1.0f, l, r, g, b);
            colours.push_back(MakeColourRef(r, g, b));
        }
    for (int i = 0; i < 8; ++i) {
        const int v = (i * 255 + 3) / 7;
        colours.push_back(MakeColourRef(v, v, v));
    }
    return colours;
}

// The Red, Green and Blue lists: 32 steps from black up to the pure colour (index 15) and on
// to white, so both shades and tints of the colour are one click away.
std::vector<COLORREF> channelRamp(int channel) {
    std::vector<COLORREF> colours;
    for (int i = 0; i < 16; ++i) {
        std::array<int, 3> rgb{0, 0, 0};
        rgb[static_cast<std::size_t>(channel)] = i * 17;
        colours.push_back(MakeColourRef(rgb[0], rgb[1], rgb[2]));
    }
    for (int i = 1; i <= 16; ++i) {
        const int tint = (i * 255 + 8) / 16;
        std::array<int, 3> rgb{tint, tint, tint};
        rgb[static_cast<std::size_t>(channel)] = 255;
        colours.push_back(MakeColourRef(rgb[0], rgb[1], rgb[2]));
    }
    return colours;
}

// "Grey Pallete": 32 even steps from black to white.
std::vector<COLORREF> greyRamp() {
    std::vector<COLORREF> colours;
    for (int i = 0; i < 32; ++i) {
        const int v = (i * 255 + 15) / 31;
        colours.push_back(MakeColourRef(v, v, v));
    }
    return colours;
}

// "System Pallete": the twenty colours a palette-based display reserves, the first ten and
// the last ten entries of the halftone palette, which are exactly those.
std::vector<COLORREF> systemColours() {
    const auto halftone = HalftonePalette();
    std::vector<COLORREF> colours;
    for (std::size_t i = 0; i < 10; ++i)
        colours.push_back(fromPalette(halftone[i]));
    for (std::size_t i = halftone.size() - 10; i < halftone.size(); ++i)
        colours.push_back(fromPalette(halftone[i]));
    return colours;
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t'))
        text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t'))
        text.remove_suffix(1);
    return text;
}

// A whole field of digits in the base, nothing else; nothing for an empty or partly read field.
std::optional<int> wholeNumber(std::string_view field, int base) {
    if (field.empty() || field.front() == '-' || field.front() == '+') return std::nullopt;
    int value = 0;
    const auto [end, error] =
        std::from_chars(field.data(), field.data() + field.size(), value, base);
    if (error != std::errc{} || end != field.data() + field.size()) return std::nullopt;
    return value;
}

std::optional<COLORREF> parseHex(std::string_view text) {
    if (!text.empty() && text.front() == '#') text.remove_prefix(1);
    if (text.size() != 6) return std::nullopt;
    const std::optional<int> value = wholeNumber(text, 16);
    if (!value) return std::nullopt;
    return MakeColourRef(*value >> 16, *value >> 8, *value);
}

std::optional<COLORREF> parseDecimals(std::string_view text) {
    std::array<int, 3> rgb{};
    for (std::size_t i = 0; i < 3; ++i) {
        const std::size_t comma = text.find(',');
        if ((comma == std::string_view::npos) != (i == 2)) return std::nullopt;
        const std::string_view field = trimmed(text.substr(0, comma));
        if (field.size() > 3) return std::nullopt;
        const std::optional<int> value = wholeNumber(field, 10);
        if (!value || *value > 255) return std::nullopt;
        rgb[i] = *value;
        if (comma != std::string_view::npos) text.remove_prefix(comma + 1);
    }
    return MakeColourRef(rgb[0], rgb[1], rgb[2]);
}

} // namespace

std::span<const std::string_view> PaletteListNames() {
    return kListNames;
}

std::vector<COLORREF> PaletteColours(int listIndex) {
    switch (listIndex) {
    case 0:
        return vgaColours();
    case 1:
        return fortyEightColours();
    case 2:
    case 3:
    case 4:
        return channelRamp(listIndex - 2);
    case 5:
        return greyRamp();
    case 6:
        return systemColours();
    default:
        return {};
    }
}

std::optional<COLORREF> ParseColourText(std::string_view text) {
    text = trimmed(text);
    if (text.find(',') != std::string_view::npos) return parseDecimals(text);
    return parseHex(text);
}

} // namespace velmar
