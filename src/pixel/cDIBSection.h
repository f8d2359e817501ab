#pragma once
// cDIBSection: a 24-bit bottom-up device-independent bitmap held in memory.
//
// Rows are bottom-up (memory row 0 is the picture's bottom row), 3 bytes a pixel in blue,
// green, red order, each row padded to a multiple of 4 bytes. It serves clipboard work, picture
// loading by block transfer, randomised test fills and a bilinear resample. Coordinates given
// to the transfer operations are top-down, as on any drawing surface; only the memory is
// bottom-up.
//
// All failures are silent, as a drawing surface's are: operations return false or do nothing.
// The one exception is CopyToClipboard with the DIB flag, which tells the user why it declines.
#include "port/UserPort.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace velmar {

// Raster operations are the classic ternary codes; the pattern is the white brush a fresh
// drawing surface holds, so every code has a defined result on source and destination.
inline constexpr std::uint32_t SRCCOPY = 13369376;    // 0x00CC0020
inline constexpr std::uint32_t SRCPAINT = 0x00EE0086; // source OR destination
inline constexpr std::uint32_t SRCAND = 0x008800C6;
inline constexpr std::uint32_t SRCINVERT = 0x00660046;
inline constexpr std::uint32_t NOTSRCCOPY = 0x00330008;
inline constexpr std::uint32_t DSTINVERT = 0x00550009;
inline constexpr std::uint32_t BLACKNESS = 0x00000042;
inline constexpr std::uint32_t WHITENESS = 0x00FF0062;

class cDIBSection {
  public:
    cDIBSection() = default;
    cDIBSection(cDIBSection&&) noexcept = default;
    cDIBSection& operator=(cDIBSection&&) noexcept = default;
    cDIBSection(const cDIBSection&) = delete;
    cDIBSection& operator=(const cDIBSection&) = delete;

    // Releases any section held, then makes a zero-filled one of width by height. False (and an
    // empty object) when the size is not positive or the memory cannot be had.
    bool Create(int width, int height);
    // Releases the section. Harmless on an empty object and when called twice.
    void ClearUp() noexcept;

    bool IsEmpty() const noexcept { return bits_.empty(); }
    // (Width * 3 + 3) with the two low bits cleared.
    int BytesPerScanLine() const noexcept { return BytesPerScanLineFor(width_); }
    static int BytesPerScanLineFor(int width) noexcept { return (width * 3 + 3) & ~3; }
    int Width() const noexcept { return width_; }
    int Height() const noexcept { return height_; }
    // The section's pixels (memory row 0 = bottom row); nullptr when empty.
    std::uint8_t* DIBSectionBitsPtr() noexcept { return bits_.empty() ? nullptr : bits_.data(); }
    const std::uint8_t* DIBSectionBitsPtr() const noexcept {
        return bits_.empty() ? nullptr : bits_.data();
    }

    // Copies width by height pixels from (srcX, srcY) of the source into this section at 0,0.
    // A negative width or height means this section's own. The transfer is clipped to both.
    void LoadPictureBlt(const cDIBSection& source, int srcX = 0, int srcY = 0, int width = -1,
                        int height = -1, std::uint32_t rop = SRCCOPY);
    // Copies out of this section into the destination at (x, y). A negative width or height
    // means this section's own.
    void PaintPicture(cDIBSection& destination, int x = 0, int y = 0, int width = -1,
                      int height = -1, int srcX = 0, int srcY = 0,
                      std::uint32_t rop = SRCCOPY) const;

    // Puts the section on the clipboard as a bitmap. With asDIB the user is told that this is not
    // offered and nothing is put. True when the clipboard took the picture.
    bool CopyToClipboard(UserPort& port, bool asDIB = false) const;

    // Fills the section with random values: with the grey flag one value per pixel in all three
    // bytes; otherwise random green and red and a blue byte of 0.
    void RandomiseBits(bool grey);

    // A new section of newWidth by newHeight (height first, as callers pass it): a copy at the
    // same size, otherwise a two-stage rounded bilinear resample. Nothing when the new section
    // cannot be made.
    std::optional<cDIBSection> Resample(int newHeight, int newWidth) const;

    // Byte of channel c (0 blue, 1 green, 2 red) of the pixel at top-down (x, y).
    std::uint8_t Pixel(int x, int y, int c) const noexcept {
        return bits_[rowOffset(y) + static_cast<std::size_t>(x) * 3 + static_cast<std::size_t>(c)];
    }
    std::uint8_t& Pixel(int x, int y, int c) noexcept {
        return bits_[rowOffset(y) + static_cast<std::size_t>(x) * 3 + static_cast<std::size_t>(c)];
    }

  private:
    std::size_t rowOffset(int topDownY) const noexcept {
        return static_cast<std::size_t>(height_ - 1 - topDownY) *
               static_cast<std::size_t>(BytesPerScanLine());
    }
    static void transfer(const cDIBSection& src, int srcX, int srcY, cDIBSection& dst, int dstX,
                         int dstY, int width, int height, std::uint32_t rop);

    int width_ = 0;
    int height_ = 0;
    std::vector<std::uint8_t> bits_;
};

} // namespace velmar
