// Nearest palette entry by cells: a colour's answer can only be an entry whose closest point of
// the colour's cell is no farther than the best farthest point of any entry. Those few entries
// are kept per cell, so a 256-colour search costs a handful of distances instead of 256.
#include "formats/converterParts.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

namespace velmar::converter {

namespace {

constexpr int kCellWidth = 4;

int square(int v) {
    return v * v;
}

// Distance from v to the nearest and to the farthest value of [low, low + width - 1].
int nearAxis(int v, int low) {
    const int high = low + kCellWidth - 1;
    return v < low ? low - v : (v > high ? v - high : 0);
}
int farAxis(int v, int low) {
    return std::max(std::abs(v - low), std::abs(v - low - kCellWidth + 1));
}

} // namespace

PaletteSearch::PaletteSearch(std::span<const PaletteColour> palette)
    : palette_(palette.begin(), palette.end()), cells_(std::size_t{1} << (3 * kCellBits)) {
    static_assert(kCellWidth == 1 << kCellShift);
    if (palette_.empty()) throw ConverterFailure("The palette holds no colour.");
    if (palette_.size() > 256) throw ConverterFailure("A palette holds at most 256 colours.");
    if (palette_.size() > 1) {
        double sum = 0;
        for (std::size_t i = 0; i < palette_.size(); ++i) {
            int best = std::numeric_limits<int>::max();
            for (std::size_t j = 0; j < palette_.size(); ++j) {
                if (i == j) continue;
                const int d = std::max({std::abs(palette_[i].red - palette_[j].red),
                                        std::abs(palette_[i].green - palette_[j].green),
                                        std::abs(palette_[i].blue - palette_[j].blue)});
                // A repeated colour is no step at all; it says nothing about the spacing.
                if (d > 0) best = std::min(best, d);
            }
            sum += best == std::numeric_limits<int>::max() ? 255 : best;
        }
        step_ = sum / static_cast<double>(palette_.size());
    }
}

void PaletteSearch::buildCell(std::size_t cell) {
    constexpr std::size_t mask = (1u << kCellBits) - 1;
    const int r0 = static_cast<int>(cell >> (2 * kCellBits)) << kCellShift;
    const int g0 = static_cast<int>((cell >> kCellBits) & mask) << kCellShift;
    const int b0 = static_cast<int>(cell & mask) << kCellShift;
    int bound = std::numeric_limits<int>::max();
    for (const auto& e : palette_)
        bound = std::min(bound, square(farAxis(e.red, r0)) + square(farAxis(e.green, g0)) +
                                    square(farAxis(e.blue, b0)));
    Cell& c = cells_[cell];
    c.start = static_cast<std::int32_t>(candidates_.size());
    for (std::size_t i = 0; i < palette_.size(); ++i) {
        const auto& e = palette_[i];
        const int near = square(nearAxis(e.red, r0)) + square(nearAxis(e.green, g0)) +
                         square(nearAxis(e.blue, b0));
        // "<=" keeps entries that can tie, so the lower index still wins a tie.
        if (near <= bound) {
            candidates_.push_back({e.red, e.green, e.blue, static_cast<std::uint8_t>(i)});
            ++c.count;
        }
    }
}

} // namespace velmar::converter
