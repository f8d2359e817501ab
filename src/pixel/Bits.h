#pragma once
// Bits: the one pixel array every editing operation works on.
//
// A W by H picture is held as a top-down 32-bit array of (W + 4) by (H + 4) pixels: two pixels
// of margin on every side, channels blue, green, red, mask in that order. Element (c, x, y) has
// x in -2..W+1 and y in -2..H+1; the picture proper is x 0..W-1, y 0..H-1. The margin is zero
// when allocated and no operation may write it, so neighbourhood code reads black one or two
// pixels past an edge without a bounds test.
//
// The memory is exactly a top-down 32-bit device-independent bitmap of (W + 4) by (H + 4):
// row stride (W + 4) * 4 bytes, no padding. The editor draws it in place (QImage Format_RGB32
// shares the byte order) by taking the source rectangle at (2, 2).
//
// W and H are recovered from the bounds as a receiver of the old array did: W = UBoundX() - 1,
// H = UBoundY() - 1.
//
// Ownership: a Bits owns its memory. It moves; a whole-picture copy is always explicit
// (clone()), so that no hot path copies 96 MB by accident.
#include "pixel/PixelMemory.h"

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace velmar {

class Bits {
  public:
    static constexpr int kMargin = 2;
    static constexpr int kChannels = 4;
    enum Channel : int { Blue = 0, Green = 1, Red = 2, Mask = 3 };

    // An array that was never dimensioned: no storage, IsAllocated() false.
    Bits() = default;
    // A zero-filled W by H picture with its margin. Throws std::length_error for a negative or
    // unrepresentable size and std::bad_alloc when the memory cannot be had.
    Bits(int width, int height);
    // The same array without the zero fill, margin included: every byte must be written before
    // any is read. The filter frame builds its working copy in one pass with it.
    static Bits Uninitialised(int width, int height);
    // For an array made Uninitialised and filled row by row: the two margin rows above and the
    // two below the picture become zero, and the two margin pixels on each side of row y.
    void ZeroMarginRows() noexcept;
    void ZeroRowMargins(int y) noexcept {
        std::uint8_t* row = Row(y);
        for (int i = 0; i < kMargin * kChannels; ++i) {
            row[i - kMargin * kChannels] = 0;
            row[static_cast<std::ptrdiff_t>(width_) * kChannels + i] = 0;
        }
    }

    Bits(Bits&& other) noexcept;
    Bits& operator=(Bits&& other) noexcept;
    Bits(const Bits&) = delete;
    Bits& operator=(const Bits&) = delete;
    ~Bits() = default;

    // The explicit whole-picture copy.
    Bits clone() const;

    bool IsAllocated() const noexcept { return data_ != nullptr; }
    int Width() const noexcept { return width_; }
    int Height() const noexcept { return height_; }
    // Upper bounds of the x and y dimensions: W + 1 and H + 1.
    int UBoundX() const noexcept { return width_ + 1; }
    int UBoundY() const noexcept { return height_ + 1; }

    // Bytes from one row to the next: (W + 4) * 4.
    std::ptrdiff_t Stride() const noexcept { return stride_; }
    std::size_t SizeBytes() const noexcept {
        return static_cast<std::size_t>(stride_) * static_cast<std::size_t>(height_ + 2 * kMargin);
    }

    // Address of element (0, -2, -2): the first byte of the whole bitmap.
    std::uint8_t* Data() noexcept { return data_.get(); }
    const std::uint8_t* Data() const noexcept { return data_.get(); }

    // Address of channel 0 of pixel (0, y), y in -2..H+1. Margin pixels sit at negative
    // offsets and past W * 4. Hot loops take this once per row.
    std::uint8_t* Row(int y) noexcept {
        assert(y >= -kMargin && y <= height_ + 1);
        return data_.get() + static_cast<std::ptrdiff_t>(y + kMargin) * stride_ +
               kMargin * kChannels;
    }
    const std::uint8_t* Row(int y) const noexcept {
        assert(y >= -kMargin && y <= height_ + 1);
        return data_.get() + static_cast<std::ptrdiff_t>(y + kMargin) * stride_ +
               kMargin * kChannels;
    }

    // Element (c, x, y). Convenient for tests and single pixels; loops use Row().
    std::uint8_t& operator()(int c, int x, int y) noexcept {
        assert(c >= 0 && c < kChannels && x >= -kMargin && x <= width_ + 1);
        return Row(y)[x * kChannels + c];
    }
    std::uint8_t operator()(int c, int x, int y) const noexcept {
        assert(c >= 0 && c < kChannels && x >= -kMargin && x <= width_ + 1);
        return Row(y)[x * kChannels + c];
    }

  private:
    struct NoFill {};
    Bits(int width, int height, NoFill);

    int width_ = 0;
    int height_ = 0;
    std::ptrdiff_t stride_ = 0;
    PixelMemory data_;
};

// The plain picture array: channel 0..3, x 0..W-1, y 0..H-1, top-down, same channel order,
// no margin. Only a transfer form between a decoded picture and Bits.
struct PlainPicture {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> bytes; // width * height * 4

    std::uint8_t& at(int c, int x, int y) {
        return bytes[(static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                      static_cast<std::size_t>(x)) *
                         4 +
                     static_cast<std::size_t>(c)];
    }
    std::uint8_t at(int c, int x, int y) const {
        return bytes[(static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                      static_cast<std::size_t>(x)) *
                         4 +
                     static_cast<std::size_t>(c)];
    }
};

// A decoded 32-bit picture somebody else owns (a library image, a QImage, a DIB): rows of
// blue, green, red, fourth byte. A negative stride walks a bottom-up picture.
struct PictureView {
    const std::uint8_t* firstRow = nullptr; // address of the top row's first byte
    std::ptrdiff_t stride = 0;
    int width = 0;
    int height = 0;
};

// Reads Width by Height pixels of a picture into the plain array, as a 32-bit top-down read of
// the picture does: all four bytes of each pixel are taken. A picture smaller than the asked
// size gives the part it has; the rest stays zero. No picture gives an empty array.
PlainPicture GetBitsFromPicture(const PictureView& picture, int width, int height);

// The margin-padded form of the same read: each row's Width * 4 bytes go to row y from x 0.
Bits TakeBitsFromPicture(const PictureView& picture, int width, int height);

// The largest size of the same shape inside MaxWidth by MaxHeight; a size that already fits is
// returned as it is (pictures are never enlarged). Used by previews and thumbnails.
void FitInside(int width, int height, int maxWidth, int maxHeight, int& outWidth, int& outHeight);

} // namespace velmar
