// Point filters driven by a table or by a few integer operations per pixel: each output pixel
// depends on the pixel itself and the arguments only. Every one runs in the standard frame, on
// all threads.
#include "filters/cBitFilter.h"
#include "filters/filterFrame.h"
#include "filters/filterMath.h"

#include <array>
#include <cstdint>

namespace velmar {

using filters::clampByte;

namespace {

using Table = std::array<std::uint8_t, 256>;

// Runs every channel 0..2 of the selected pixels through one table.
velmar::Bits applyTable(cBitFilter& f, const Table& table, FrameSpec spec = {}) {
    return FilterFrame::Run(f, spec, [&table](const FrameRow& row, int x0, int x1) {
        const std::uint8_t* __restrict s = row.src;
        std::uint8_t* __restrict o = row.out;
        const std::uint8_t* __restrict t = table.data();
        for (int i = x0 * 4, end = x1 * 4; i < end; i += 4) {
            o[i] = t[s[i]];
            o[i + 1] = t[s[i + 1]];
            o[i + 2] = t[s[i + 2]];
            o[i + 3] = s[i + 3];
        }
    });
}

} // namespace

velmar::Bits cBitFilter::BRIGHTNESS(std::int32_t amount) {
    Table t;
    for (int i = 0; i < 256; ++i)
        t[static_cast<std::size_t>(i)] = clampByte(i + amount);
    return applyTable(*this, t);
}

velmar::Bits cBitFilter::Scanlines(std::int32_t opacity) {
    Table t;
    for (int i = 0; i < 256; ++i)
        t[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(i - opacity < 0 ? 0 : i - opacity);
    FrameSpec spec;
    spec.rowStep = 2;
    return applyTable(*this, t, spec);
}

velmar::Bits cBitFilter::Invert() {
    return FilterFrame::Run(*this, {}, [](const FrameRow& row, int x0, int x1) {
        const Pixel32* __restrict s = reinterpret_cast<const Pixel32*>(row.src);
        Pixel32* __restrict o = reinterpret_cast<Pixel32*>(row.out);
        for (int x = x0; x < x1; ++x)
            o[x] = s[x] ^ 0x00FFFFFFu;
    });
}

// v = round(0.071 B + 0.707 G + 0.222 R), the program's own weights, taken exactly as n / 1000
// with n = 71 B + 707 G + 222 R. In single precision n / 1000 is exact at the ties and at least
// 1/1000 from them elsewhere, far beyond its error, so the rounding is exact too.
velmar::Bits cBitFilter::GreyScale() {
    return FilterFrame::Run(*this, {}, [](const FrameRow& row, int x0, int x1) {
        const Pixel32* __restrict s = reinterpret_cast<const Pixel32*>(row.src);
        Pixel32* __restrict o = reinterpret_cast<Pixel32*>(row.out);
        for (int x = x0; x < x1; ++x) {
            const std::uint32_t p = s[x];
            // Whole numbers below 2^24: the float sum is exact.
            const float n = 71.0f * static_cast<float>(static_cast<std::int32_t>(p & 255u)) +
                            707.0f * static_cast<float>(static_cast<std::int32_t>((p >> 8) & 255u)) +
                            222.0f * static_cast<float>(static_cast<std::int32_t>((p >> 16) & 255u));
            const auto v = static_cast<std::uint32_t>(
                static_cast<std::int32_t>(roundHalfEvenSmall(n / 1000.0f)));
            o[x] = (p & kMaskByte) | v | (v << 8) | (v << 16);
        }
    });
}

} // namespace velmar
