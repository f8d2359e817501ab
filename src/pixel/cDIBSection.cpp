#include "pixel/cDIBSection.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <new>
#include <random>

namespace velmar {

bool cDIBSection::Create(int width, int height) {
    ClearUp();
    if (width <= 0 || height <= 0) return false;
    const std::int64_t line = (static_cast<std::int64_t>(width) * 3 + 3) & ~std::int64_t{3};
    if (line > std::numeric_limits<std::int32_t>::max()) return false;
    const std::int64_t bytes = line * height;
    try {
        bits_.assign(static_cast<std::size_t>(bytes), 0);
    } catch (const std::bad_alloc&) {
        bits_.clear();
        return false;
    } catch (const std::length_error&) {
        bits_.clear();
        return false;
    }
    width_ = width;
    height_ = height;
    return true;
}

void cDIBSection::ClearUp() noexcept {
    std::vector<std::uint8_t>().swap(bits_);
    width_ = 0;
    height_ = 0;
}

namespace {

// Result of a ternary raster operation on one byte, with the pattern all ones (the white brush
// of a fresh surface): the code's upper nibble maps (source, destination) bit pairs to output.
inline std::uint8_t applyRop(std::uint8_t s, std::uint8_t d, std::uint32_t rop) {
    const unsigned table = (rop >> 16) & 0xFF;
    unsigned out = 0;
    if (table & 0x10) out |= ~s & ~d;
    if (table & 0x20) out |= ~s & d;
    if (table & 0x40) out |= s & ~d;
    if (table & 0x80) out |= s & d;
    return static_cast<std::uint8_t>(out);
}

} // namespace

void cDIBSection::transfer(const cDIBSection& src, int srcX, int srcY, cDIBSection& dst, int dstX,
                           int dstY, int width, int height, std::uint32_t rop) {
    if (src.IsEmpty() || dst.IsEmpty() || width <= 0 || height <= 0) return;
    // Clip the rectangle against both surfaces; positions outside either are left alone.
    std::int64_t x0 = 0, y0 = 0, x1 = width, y1 = height;
    x0 = std::max<std::int64_t>({x0, -std::int64_t{srcX}, -std::int64_t{dstX}});
    y0 = std::max<std::int64_t>({y0, -std::int64_t{srcY}, -std::int64_t{dstY}});
    x1 = std::min<std::int64_t>(
        {x1, std::int64_t{src.width_} - srcX, std::int64_t{dst.width_} - dstX});
    y1 = std::min<std::int64_t>(
        {y1, std::int64_t{src.height_} - srcY, std::int64_t{dst.height_} - dstY});
    if (x0 >= x1 || y0 >= y1) return;

    // A transfer within one section reads from a snapshot, so overlapping areas copy cleanly.
    std::vector<std::uint8_t> snapshot;
    const std::vector<std::uint8_t>* from = &src.bits_;
    if (&src == &dst) {
        snapshot = src.bits_;
        from = &snapshot;
    }
    const auto bytes = static_cast<std::size_t>(x1 - x0) * 3;
    for (std::int64_t y = y0; y < y1; ++y) {
        const std::uint8_t* s = from->data() + src.rowOffset(static_cast<int>(srcY + y)) +
                                static_cast<std::size_t>(srcX + x0) * 3;
        std::uint8_t* d = dst.bits_.data() + dst.rowOffset(static_cast<int>(dstY + y)) +
                          static_cast<std::size_t>(dstX + x0) * 3;
        if (rop == SRCCOPY) {
            std::copy_n(s, bytes, d);
        } else {
            for (std::size_t i = 0; i < bytes; ++i)
                d[i] = applyRop(s[i], d[i], rop);
        }
    }
}

void cDIBSection::LoadPictureBlt(const cDIBSection& source, int srcX, int srcY, int width,
                                 int height, std::uint32_t rop) {
    if (width < 0) width = width_;
    if (height < 0) height = height_;
    transfer(source, srcX, srcY, *this, 0, 0, width, height, rop);
}

void cDIBSection::PaintPicture(cDIBSection& destination, int x, int y, int width, int height,
                               int srcX, int srcY, std::uint32_t rop) const {
    if (width < 0) width = width_;
    if (height < 0) height = height_;
    transfer(*this, srcX, srcY, destination, x, y, width, height, rop);
}

bool cDIBSection::CopyToClipboard(UserPort& port, bool asDIB) const {
    if (asDIB) {
        port.MsgBox("I don't know how to put a DIB on the clipboard! Copy as bitmap instead!!!");
        return false;
    }
    if (IsEmpty()) return false;
    ClipboardPicture picture;
    picture.width = width_;
    picture.height = height_;
    picture.bgrx.resize(static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_) * 4);
    std::uint8_t* out = picture.bgrx.data();
    for (int y = 0; y < height_; ++y) {
        const std::uint8_t* row = bits_.data() + rowOffset(y);
        for (int x = 0; x < width_; ++x, out += 4, row += 3) {
            out[0] = row[0];
            out[1] = row[1];
            out[2] = row[2];
            out[3] = 255;
        }
    }
    return port.SetClipboardPicture(picture);
}

void cDIBSection::RandomiseBits(bool grey) {
    if (IsEmpty()) return;
    // Seeded from the clock as the old timer-seeded generator was: every fill differs.
    std::mt19937 rng(
        static_cast<std::uint32_t>(std::chrono::steady_clock::now().time_since_epoch().count()));
    std::uniform_real_distribution<float> rnd(0.0f, 1.0f);
    auto toByte = [](float r) { return static_cast<std::uint8_t>(std::nearbyint(r * 255.0f)); };
    const auto line = static_cast<std::size_t>(BytesPerScanLine());
    if (grey) {
        for (int y = 0; y < height_; ++y) {
            std::uint8_t* row = bits_.data() + static_cast<std::size_t>(y) * line;
            for (int x = 0; x < width_; ++x) {
                const std::uint8_t v = toByte(rnd(rng));
                row[x * 3] = row[x * 3 + 1] = row[x * 3 + 2] = v;
            }
        }
    } else {
        // Column by column; the blue byte stays zero on purpose.
        for (int x = 0; x < width_; ++x) {
            for (int y = 0; y < height_; ++y) {
                std::uint8_t* p = bits_.data() + static_cast<std::size_t>(y) * line +
                                  static_cast<std::size_t>(x) * 3;
                p[0] = 0;
                p[1] = toByte(rnd(rng));
                p[2] = toByte(rnd(rng));
            }
        }
    }
}

std::optional<cDIBSection> cDIBSection::Resample(int newHeight, int newWidth) const {
    cDIBSection out;
    if (!out.Create(newWidth, newHeight)) return std::nullopt;
    if (newWidth == width_ && newHeight == height_) {
        out.LoadPictureBlt(*this, 0, 0, -1, -1, SRCCOPY);
        return out;
    }
    if (IsEmpty()) return out;

    // Single-precision steps, as the resample has always used; every stage rounds half to even.
    const float xs = static_cast<float>(width_ - 1) / static_cast<float>(newWidth);
    const float ys = static_cast<float>(height_ - 1) / static_cast<float>(newHeight);
    const auto srcLine = static_cast<std::size_t>(BytesPerScanLine());
    const auto dstLine = static_cast<std::size_t>(out.BytesPerScanLine());
    const std::uint8_t* src = bits_.data();
    std::uint8_t* dst = out.bits_.data();
    auto rnd = [](float v) { return std::nearbyint(v); };

    for (int y = 0; y < newHeight; ++y) {
        const float fy = static_cast<float>(y) * ys;
        const int iy = static_cast<int>(std::floor(fy));
        const float ty = fy - static_cast<float>(iy);
        // The lower partner row is only ever weighted by ty; on the last source row ty is 0, so
        // pointing it at the same row changes nothing and keeps every read inside the picture.
        const int iy1 = iy + 1 < height_ ? iy + 1 : iy;
        const std::uint8_t* r0 = src + static_cast<std::size_t>(iy) * srcLine;
        const std::uint8_t* r1 = src + static_cast<std::size_t>(iy1) * srcLine;
        std::uint8_t* d = dst + static_cast<std::size_t>(y) * dstLine;
        for (int x = 0; x < newWidth; ++x) {
            const float fx = static_cast<float>(x) * xs;
            const int ix = static_cast<int>(std::floor(fx));
            const float tx = fx - static_cast<float>(ix);
            const int ix1 = ix + 1 < width_ ? ix + 1 : ix;
            for (int c = 0; c < 3; ++c) {
                const float a = rnd((1.0f - ty) * r0[ix * 3 + c] + ty * r1[ix * 3 + c]);
                const float b = rnd((1.0f - ty) * r0[ix1 * 3 + c] + ty * r1[ix1 * 3 + c]);
                d[x * 3 + c] = static_cast<std::uint8_t>(rnd((1.0f - tx) * a + tx * b));
            }
        }
    }
    return out;
}

} // namespace velmar
