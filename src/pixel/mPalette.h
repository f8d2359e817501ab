#pragma once
// mPalette: the palette the palette filters map colours onto, and the nearest-colour lookup.
//
// Entries hold three bytes in the order the caller passes them to NearestPaletteColor. The
// owner (the application object) keeps one instance; filters read it.
#include <array>
#include <cstdint>
#include <stdexcept>
#include <vector>

namespace velmar {

class EmptyPaletteError : public std::logic_error {
  public:
    EmptyPaletteError()
        : std::logic_error("The palette holds no colour: load a palette before applying it.") {}
};

class mPalette {
  public:
    using Entry = std::array<std::uint8_t, 3>;

    void Clear() { entries_.clear(); }
    void Add(std::uint8_t c0, std::uint8_t c1, std::uint8_t c2) {
        entries_.push_back({c0, c1, c2});
    }
    void Set(std::vector<Entry> entries) { entries_ = std::move(entries); }
    std::size_t Count() const noexcept { return entries_.size(); }
    const std::vector<Entry>& Entries() const noexcept { return entries_; }

    // The entry nearest to (R, G, B) by the sum of absolute differences. An exact match ends the
    // search; otherwise only a strictly smaller score than the best so far (starting at 765)
    // wins, so ties go to the earlier entry and with nothing better the answer is entry 0.
    // An empty palette has no answer: EmptyPaletteError.
    void NearestPaletteColor(std::int32_t R, std::int32_t G, std::int32_t B, std::int32_t& OutR,
                             std::int32_t& OutG, std::int32_t& OutB) const;

  private:
    std::vector<Entry> entries_;
};

} // namespace velmar
