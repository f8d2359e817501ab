#pragma once
// EuroDepth: colour depth reduction as a display's bitmap read-back does it.
//
// Reading a true-colour picture back at 1, 4 or 8 bits maps every pixel to the nearest entry of
// the display's default black-and-white, 16-colour or 256-colour palette, with no dither; at 16
// bits each channel keeps its top five bits; at 24 and 32 bits nothing changes. The seven
// methods are the whole vocabulary of the depth window, in its list order. Both 15 and 16 bits
// read back at 16 (five bits a channel), so they give the same picture; the two 24-bit entries
// are labels only. These are the program's own choices.
#include "pixel/Bits.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace velmar {

class EuroDepth {
  public:
    // Each method reduces `source` and puts the result in `destination`, or back into the source
    // when no destination is given. The destination takes the source's size.
    void SetDepth_01Bit(Bits& source, Bits* destination = nullptr);
    void SetDepth_04Bit(Bits& source, Bits* destination = nullptr);
    void SetDepth_08Bit(Bits& source, Bits* destination = nullptr);
    void SetDepth_15Bit(Bits& source, Bits* destination = nullptr);
    void SetDepth_16Bit(Bits& source, Bits* destination = nullptr);
    void SetDepth_24Bit_32K(Bits& source, Bits* destination = nullptr);
    void SetDepth_24Bit_64k(Bits& source, Bits* destination = nullptr);

    // Bytes per row of a read-back at `depth` bits: rows are kept 4-byte aligned.
    static std::int32_t RowBytes(std::int32_t pixelWidth, std::int32_t depth) {
        return (pixelWidth * depth + 31) / 32 * 4;
    }

    // The depth the last call read back at (1, 4, 8, 16, 24 or 32); 0 before any call.
    std::int32_t Depth() const noexcept { return depth_; }

  private:
    void reduce(std::int32_t depth, Bits& source, Bits* destination);
    std::int32_t depth_ = 0;
};

// The depth window's list: caption, and the method that the entry at the same index runs.
struct DepthChoice {
    std::string_view caption;
    void (EuroDepth::*method)(Bits&, Bits*);
    int bits; // the number velmar-cli accepts for it
};
const std::array<DepthChoice, 7>& DepthChoices();

} // namespace velmar
