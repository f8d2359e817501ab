#pragma once
// Small pictures for the converter tests, and the colours a quantized result shows.
#include "formats/PictureConverter.h"
#include "pixel/Bits.h"

#include <cstdint>
#include <vector>

namespace velmar::test {

struct Rgb {
    int red, green, blue;
    friend bool operator==(const Rgb&, const Rgb&) = default;
};

inline void setPixel(Bits& b, int x, int y, Rgb c) {
    b(Bits::Red, x, y) = static_cast<std::uint8_t>(c.red);
    b(Bits::Green, x, y) = static_cast<std::uint8_t>(c.green);
    b(Bits::Blue, x, y) = static_cast<std::uint8_t>(c.blue);
}

inline Bits flatPicture(int w, int h, Rgb c) {
    Bits b(w, h);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            setPixel(b, x, y, c);
    return b;
}

// Red rises along x, green along y, blue falls along the diagonal: every pixel differs from
// its neighbours by a little, as in a photograph's sky.
inline Bits gradientPicture(int w, int h) {
    Bits b(w, h);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            setPixel(b, x, y,
                     {x * 255 / (w - 1), y * 255 / (h - 1), 255 - (x + y) * 255 / (w + h - 2)});
    return b;
}

// The colour of pixel (x, y) of a result, as a reader of the written file would show it.
inline Rgb resultColour(const QuantizedPicture& q, int x, int y) {
    const std::size_t i = static_cast<std::size_t>(y) * static_cast<std::size_t>(q.width) +
                          static_cast<std::size_t>(x);
    if (q.bits <= 8) {
        const PaletteColour& c = q.palette[q.samples[i]];
        return {c.red, c.green, c.blue};
    }
    const std::uint8_t* s = &q.samples[i * 3];
    if (q.bits == 16) {
        const auto expand = [](int level) { return (level << 3) | (level >> 2); };
        return {expand(s[2]), expand(s[1]), expand(s[0])};
    }
    return {s[2], s[1], s[0]};
}

} // namespace velmar::test
