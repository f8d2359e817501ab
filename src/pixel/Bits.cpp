#include "pixel/Bits.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace velmar {

namespace {

// (W + 4) * 4 and (W + 4) * (H + 4) * 4 must fit; anything larger is not a picture this
// program can hold.
std::ptrdiff_t checkedStride(int width) {
    if (width < 0) throw std::length_error("Bits: negative width");
    const auto stride = (static_cast<std::int64_t>(width) + 2 * Bits::kMargin) * Bits::kChannels;
    if (stride > std::numeric_limits<std::int32_t>::max())
        throw std::length_error("Bits: picture too wide");
    return static_cast<std::ptrdiff_t>(stride);
}

} // namespace

Bits::Bits(int width, int height, NoFill)
    : width_(width), height_(height), stride_(checkedStride(width)) {
    if (height < 0) throw std::length_error("Bits: negative height");
    const auto rows = static_cast<std::uint64_t>(height) + 2 * kMargin;
    if (rows > std::numeric_limits<std::uint64_t>::max() / static_cast<std::uint64_t>(stride_))
        throw std::length_error("Bits: picture too large");
    data_ = allocatePixelsUninitialised(SizeBytes());
}

Bits::Bits(int width, int height) : Bits(width, height, NoFill{}) {
    if (data_) std::memset(data_.get(), 0, SizeBytes());
}

Bits Bits::Uninitialised(int width, int height) {
    return Bits(width, height, NoFill{});
}

void Bits::ZeroMarginRows() noexcept {
    if (!IsAllocated()) return;
    for (int y : {-2, -1, height_, height_ + 1})
        std::memset(Row(y) - kMargin * kChannels, 0, static_cast<std::size_t>(stride_));
}

Bits::Bits(Bits&& other) noexcept
    : width_(other.width_), height_(other.height_), stride_(other.stride_),
      data_(std::move(other.data_)) {
    other.width_ = other.height_ = 0;
    other.stride_ = 0;
}

Bits& Bits::operator=(Bits&& other) noexcept {
    if (this != &other) {
        width_ = other.width_;
        height_ = other.height_;
        stride_ = other.stride_;
        data_ = std::move(other.data_);
        other.width_ = other.height_ = 0;
        other.stride_ = 0;
    }
    return *this;
}

Bits Bits::clone() const {
    if (!IsAllocated()) return {};
    Bits copy = Uninitialised(width_, height_);
    std::memcpy(copy.Data(), Data(), SizeBytes());
    return copy;
}

namespace {

template <class RowSink>
void readRows(const PictureView& picture, int width, int height, RowSink&& sink) {
    if (picture.firstRow == nullptr) return;
    const int rows = std::min(height, picture.height);
    const auto bytes = static_cast<std::size_t>(std::max(0, std::min(width, picture.width))) * 4;
    for (int y = 0; y < rows; ++y)
        sink(y, picture.firstRow + static_cast<std::ptrdiff_t>(y) * picture.stride, bytes);
}

} // namespace

PlainPicture GetBitsFromPicture(const PictureView& picture, int width, int height) {
    PlainPicture out;
    if (picture.firstRow == nullptr || width <= 0 || height <= 0) return out;
    out.width = width;
    out.height = height;
    out.bytes.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4, 0);
    readRows(picture, width, height, [&](int y, const std::uint8_t* src, std::size_t n) {
        std::memcpy(&out.at(0, 0, y), src, n);
    });
    return out;
}

Bits TakeBitsFromPicture(const PictureView& picture, int width, int height) {
    if (picture.firstRow == nullptr || width < 0 || height < 0) return {};
    Bits bits(width, height);
    readRows(picture, width, height, [&](int y, const std::uint8_t* src, std::size_t n) {
        std::memcpy(bits.Row(y), src, n);
    });
    return bits;
}

void FitInside(int width, int height, int maxWidth, int maxHeight, int& outWidth, int& outHeight) {
    if (width <= maxWidth && height <= maxHeight) {
        outWidth = width;
        outHeight = height;
        return;
    }
    // The ratios are double-precision divisions and the products round half to even.
    const double rx = static_cast<double>(maxWidth) / width;
    const double ry = static_cast<double>(maxHeight) / height;
    if (rx >= ry) {
        outHeight = maxHeight;
        outWidth = static_cast<int>(std::nearbyint(ry * width));
    } else {
        outWidth = maxWidth;
        outHeight = static_cast<int>(std::nearbyint(rx * height));
    }
}

} // namespace velmar
