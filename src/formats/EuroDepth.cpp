#include "formats/EuroDepth.h"

#include "formats/platformPalettes.h"

#include <vector>

namespace velmar {

namespace {

// Nearest-entry mapping with a direct-mapped cache of colours already seen: photographs repeat
// colours a great deal, and a full search of 256 entries per pixel would dominate the call.
class PaletteMapper {
  public:
    explicit PaletteMapper(std::span<const PaletteColour> palette)
        : palette_(palette), cache_(kSlots, kEmpty) {}

    PaletteColour map(std::uint8_t r, std::uint8_t g, std::uint8_t b) {
        const std::uint32_t key = (std::uint32_t{r} << 16) | (std::uint32_t{g} << 8) | b;
        std::uint64_t& slot = cache_[(key * 2654435761u) >> (32 - kBits)];
        if ((slot >> 8) != key)
            slot = (std::uint64_t{key} << 8) |
                   static_cast<std::uint64_t>(NearestEntry(palette_, r, g, b));
        return palette_[slot & 0xFF];
    }

  private:
    static constexpr int kBits = 16;
    static constexpr std::size_t kSlots = std::size_t{1} << kBits;
    static constexpr std::uint64_t kEmpty = ~std::uint64_t{0};
    std::span<const PaletteColour> palette_;
    std::vector<std::uint64_t> cache_;
};

} // namespace

void EuroDepth::reduce(std::int32_t depth, Bits& source, Bits* destination) {
    depth_ = depth;
    if (!source.IsAllocated()) return;
    const int w = source.Width(), h = source.Height();
    Bits out(w, h);
    std::span<const PaletteColour> palette;
    if (depth == 1) palette = MonochromePalette();
    if (depth == 4) palette = VgaPalette();
    if (depth == 8) palette = HalftonePalette();
    PaletteMapper mapper(palette.empty() ? MonochromePalette() : palette);

    for (int y = 0; y < h; ++y) {
        const std::uint8_t* __restrict src = source.Row(y);
        std::uint8_t* __restrict dst = out.Row(y);
        for (int x = 0; x < w; ++x) {
            const std::uint8_t b = src[x * 4], g = src[x * 4 + 1], r = src[x * 4 + 2];
            if (!palette.empty()) {
                const PaletteColour c = mapper.map(r, g, b);
                dst[x * 4] = c.blue;
                dst[x * 4 + 1] = c.green;
                dst[x * 4 + 2] = c.red;
            } else if (depth == 16) {
                // Five bits a channel; drawn back, the lost bits read as zero.
                dst[x * 4] = b & 0xF8;
                dst[x * 4 + 1] = g & 0xF8;
                dst[x * 4 + 2] = r & 0xF8;
            } else {
                dst[x * 4] = b;
                dst[x * 4 + 1] = g;
                dst[x * 4 + 2] = r;
            }
        }
    }
    // The result is a fresh read of the surface, whose fourth byte is never a mask.
    *(destination != nullptr ? destination : &source) = std::move(out);
}

void EuroDepth::SetDepth_01Bit(Bits& source, Bits* destination) {
    reduce(1, source, destination);
}
void EuroDepth::SetDepth_04Bit(Bits& source, Bits* destination) {
    reduce(4, source, destination);
}
void EuroDepth::SetDepth_08Bit(Bits& source, Bits* destination) {
    reduce(8, source, destination);
}
void EuroDepth::SetDepth_15Bit(Bits& source, Bits* destination) {
    reduce(16, source, destination);
}
void EuroDepth::SetDepth_16Bit(Bits& source, Bits* destination) {
    reduce(16, source, destination);
}
void EuroDepth::SetDepth_24Bit_32K(Bits& source, Bits* destination) {
    reduce(24, source, destination);
}
void EuroDepth::SetDepth_24Bit_64k(Bits& source, Bits* destination) {
    reduce(32, source, destination);
}

const std::array<DepthChoice, 7>& DepthChoices() {
    static const std::array<DepthChoice, 7> choices = {{
        {"2 Colors (1 Bit)", &EuroDepth::SetDepth_01Bit, 1},
        {"16 Colors (4 Bit)", &EuroDepth::SetDepth_04Bit, 4},
        {"256 Colors (8 Bit)", &EuroDepth::SetDepth_08Bit, 8},
        {"(15 Bit)", &EuroDepth::SetDepth_15Bit, 15},
        {"(16 Bit)", &EuroDepth::SetDepth_16Bit, 16},
        {"32,000 Colors (24 Bit)", &EuroDepth::SetDepth_24Bit_32K, 24},
        {"64,000 Colors (24 Bit)", &EuroDepth::SetDepth_24Bit_64k, 32},
    }};
    return choices;
}

} // namespace velmar
