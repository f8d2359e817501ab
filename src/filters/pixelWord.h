#pragma once
// A pixel as one 32-bit word: blue in the low byte, then green, red, and the mask byte at the
// top. Kernels that read and write whole words vectorise far better than byte-by-byte loops, so
// the filters share these few helpers.
#include <cstdint>

namespace velmar {

// A pixel read or written whole: blue in the low byte, the mask byte in the high one. Kernels
// that treat a pixel as one 32-bit word vectorise far better than byte-by-byte loops.
using Pixel32 = std::uint32_t __attribute__((may_alias, aligned(4)));
inline constexpr std::uint32_t kMaskByte = 0xFF000000u;

// round() of a float kernel, vectorised: adding and taking away 1.5 * 2^23 leaves the nearest
// integer, ties to even, for any |v| below 2^22, with plain float additions.
inline float roundHalfEvenSmall(float v) noexcept {
    constexpr float kMagic = 12582912.0f;
    return (v + kMagic) - kMagic;
}

inline constexpr std::uint32_t blueOfWord(std::uint32_t p) noexcept { return p & 255u; }
inline constexpr std::uint32_t greenOfWord(std::uint32_t p) noexcept { return (p >> 8) & 255u; }
inline constexpr std::uint32_t redOfWord(std::uint32_t p) noexcept { return (p >> 16) & 255u; }

// The colour bytes as a word with a mask byte of 0.
inline constexpr std::uint32_t rgbWord(std::uint32_t r, std::uint32_t g, std::uint32_t b) noexcept {
    return (r << 16) | (g << 8) | b;
}

// sum div 3 for a sum of three bytes (0..767) by a multiply and a shift, which vectorises where a
// division does not.
inline constexpr std::uint32_t thirdOf(std::uint32_t sum) noexcept { return (sum * 683u) >> 11; }
constexpr bool thirdOfIsExact() {
    for (std::uint32_t s = 0; s < 768; ++s)
        if (thirdOf(s) != s / 3) return false;
    return true;
}
static_assert(thirdOfIsExact(), "the multiply-shift must equal div 3 for every sum of three bytes");

// (B + G + R) div 3 of a pixel.
inline constexpr std::uint32_t levelOf(std::uint32_t p) noexcept {
    return thirdOf(blueOfWord(p) + greenOfWord(p) + redOfWord(p));
}

// Puts back the bytes `keep` selects (the mask byte, as a rule) of pixels 0..n-1 from the source
// over what a byte-wise kernel computed.
inline void restoreBytes(const std::uint8_t* src, std::uint8_t* out, int n,
                         std::uint32_t keep = kMaskByte) noexcept {
    const Pixel32* __restrict s = reinterpret_cast<const Pixel32*>(src);
    Pixel32* __restrict o = reinterpret_cast<Pixel32*>(out);
    for (int x = 0; x < n; ++x)
        o[x] = (o[x] & ~keep) | (s[x] & keep);
}

} // namespace velmar
