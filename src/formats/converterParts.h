#pragma once
// The pieces PictureConverter is made of: palettes, the nearest-colour search, the dithers and
// the two file writers. Internal to formats/; the class in PictureConverter.h is the interface.
//
// Failures inside are thrown as ConverterFailure with the text LastError() will show.
#include "formats/PictureConverter.h"
#include "formats/platformPalettes.h"
#include "pixel/Bits.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace velmar::converter {

class ConverterFailure : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// Luma of the picture's red, green and blue with the weights of television (0.299, 0.587,
// 0.114), rounded: the grey a viewer expects from a greyscale conversion.
inline std::uint8_t GreyOf(int red, int green, int blue) {
    return static_cast<std::uint8_t>((red * 299 + green * 587 + blue * 114 + 500) / 1000);
}

// ---- palettes (converterPalettes.cpp, adaptivePalette.cpp) ----

// Empty when PaletteMode is known and its palette fits in ColorBits, else the reason.
std::string PaletteModeProblem(int paletteMode, int colorBits);
// The palette of every mode but the adaptive one; PaletteModeProblem must be empty.
std::vector<PaletteColour> FixedPalette(int paletteMode, int colorBits);
// Up to `colours` colours chosen for the picture by libimagequant.
std::vector<PaletteColour> AdaptivePalette(const Bits& picture, bool greyscale, int colours);
// The entries with red = green = blue, in their order.
std::vector<PaletteColour> GreyEntries(std::span<const PaletteColour> palette);

// ---- nearest colour (PaletteSearch.cpp) ----

// The nearest palette entry by squared distance, ties to the lower index: the same answer as
// NearestEntry, found by searching only the entries that can win inside the 4 x 4 x 4 cell of
// the colour. A cell's short list is made the first time a colour falls in it.
class PaletteSearch {
  public:
    explicit PaletteSearch(std::span<const PaletteColour> palette);
    // red, green and blue in 0..255.
    int Nearest(int red, int green, int blue) {
        const std::size_t cell =
            static_cast<std::size_t>((((red >> kCellShift) << (2 * kCellBits)) |
                                      ((green >> kCellShift) << kCellBits) | (blue >> kCellShift)));
        if (cells_[cell].start < 0) buildCell(cell);
        const Candidate* c = candidates_.data() + cells_[cell].start;
        const int n = cells_[cell].count;
        // Distance and index in one key: the smallest key is the nearest entry with the lowest
        // index, found without a branch per candidate (photographs make those unpredictable).
        unsigned best = ~0u;
        for (int k = 0; k < n; ++k) {
            const int dr = c[k].red - red, dg = c[k].green - green, db = c[k].blue - blue;
            const auto key = (static_cast<unsigned>(dr * dr + dg * dg + db * db) << 8) | c[k].index;
            best = key < best ? key : best;
        }
        return static_cast<int>(best & 0xFF);
    }
    const PaletteColour& Entry(int index) const {
        return palette_[static_cast<std::size_t>(index)];
    }
    // Mean distance (largest channel difference) from each entry to its nearest other entry:
    // about one step of the palette. 255 for a palette of one colour.
    double Step() const noexcept { return step_; }

  private:
    static constexpr int kCellShift = 2; // cells 4 values wide: a few candidates each
    static constexpr int kCellBits = 8 - kCellShift;

    // A candidate carries its colour, so the search reads one small array per cell.
    struct Candidate {
        std::uint8_t red, green, blue, index;
    };
    struct Cell {
        std::int32_t start = -1; // into candidates_; -1 until the cell is built
        std::int32_t count = 0;
    };

    void buildCell(std::size_t cell);

    std::vector<PaletteColour> palette_;
    std::vector<Cell> cells_;
    std::vector<Candidate> candidates_;
    double step_ = 255;
};

// ---- dithers (dithers.cpp) ----

bool IsKnownDither(int dither);
// One palette index per pixel into `indices` (width * height bytes).
void MapToPalette(const Bits& picture, bool greyscale, std::span<const PaletteColour> palette,
                  int dither, std::uint8_t* indices);
// 5-bit levels per channel (blue, green, red) into `samples` (width * height * 3 bytes).
void MapTo555(const Bits& picture, bool greyscale, int dither, std::uint8_t* samples);
// The 8-bit value a reader gives a 5-bit level: the bits repeated into the low three, as
// ImageMagick, Qt and most viewers expand 5-5-5. Dithering aims at these values.
inline int Level555(int level) {
    return (level << 3) | (level >> 2);
}

// ---- files (gifWriter.cpp, bmpWriter.cpp; written by port/ReplaceFile) ----

std::vector<std::uint8_t> EncodeGif(const QuantizedPicture& picture, bool interlaced);
std::vector<std::uint8_t> EncodeBmp(const QuantizedPicture& picture);

} // namespace velmar::converter
