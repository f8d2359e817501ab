#pragma once
// Small pictures, a non-rectangular selection and the checks every filter test needs: the
// pixels outside the selection are untouched, the mask byte is carried, and a second call on the
// same object gives the same picture.
#include "filters/cBitFilter.h"
#include "pixel/Bits.h"
#include "pixel/Region.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <functional>
#include <initializer_list>

namespace velmar::test {

using Pixel = std::array<int, 4>; // blue, green, red, mask

inline Pixel pixelAt(const Bits& b, int x, int y) {
    return {b(0, x, y), b(1, x, y), b(2, x, y), b(3, x, y)};
}

inline void setPixel(Bits& b, int x, int y, Pixel p) {
    for (int c = 0; c < 4; ++c)
        b(c, x, y) = static_cast<std::uint8_t>(p[static_cast<std::size_t>(c)]);
}

// A picture where every pixel differs from its neighbours: a fixed mix of x and y per channel,
// with a mask byte of its own so that carrying it is checked.
inline Bits patterned(int w, int h) {
    Bits b(w, h);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            setPixel(b, x, y,
                     {(x * 37 + y * 11 + 5) & 255, (x * 13 + y * 53 + 90) & 255,
                      (x * 71 + y * 29 + 200) & 255, (x * 7 + y * 3 + 1) & 255});
    return b;
}

// A picture of one colour.
inline Bits flat(int w, int h, Pixel p) {
    Bits b(w, h);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            setPixel(b, x, y, p);
    return b;
}

// An L-shaped selection inside an 8 by 8 picture: rows 1..3 cover columns 1..6, rows 4..6
// columns 1..3. Pixels (0, *), (*, 0), (7, *), (*, 7) and the block x 4..6, y 4..6 are outside.
inline Region lShape() {
    const IntRect rects[] = {{1, 1, 7, 4}, {1, 4, 4, 7}};
    return Region::FromRects(rects);
}

inline bool samePixels(const Bits& a, const Bits& b) {
    return a.Width() == b.Width() && a.Height() == b.Height() &&
           std::memcmp(a.Data(), b.Data(), a.SizeBytes()) == 0;
}

// Every pixel outside `region` (the margin included) is as it was, and every mask byte inside
// is too (unless `maskWritten`).
inline void expectOnlySelectedChanged(const Bits& before, const Bits& after, const Region& region,
                                      bool maskWritten = false) {
    ASSERT_EQ(before.Width(), after.Width());
    ASSERT_EQ(before.Height(), after.Height());
    for (int y = -2; y < before.Height() + 2; ++y)
        for (int x = -2; x < before.Width() + 2; ++x) {
            const bool inside = region.Contains(x, y);
            for (int c = 0; c < 4; ++c) {
                if (inside && (c < 3 || maskWritten)) continue;
                ASSERT_EQ(before(c, x, y), after(c, x, y))
                    << "channel " << c << " of (" << x << ", " << y << ") changed";
            }
        }
}

// A filter object holding `picture`, working in `region`.
inline cBitFilter filterOn(const Bits& picture, const Region* region) {
    cBitFilter f;
    f.Bits(picture.clone());
    f.BitsRegion(region);
    return f;
}

} // namespace velmar::test
