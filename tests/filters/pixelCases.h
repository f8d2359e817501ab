#pragma once
// Table-driven pixel cases for the point filters: a case puts a few input colours at fixed
// selected places of a patterned picture, runs the filter in the L-shaped selection, and checks
// the expected colours there, the mask bytes, the untouched rest, the object's own picture and
// that a second call gives the same result.
#include "filters/filterFixtures.h"
#include "pixel/RuntimeError.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <functional>
#include <vector>

namespace velmar::test::cases {

using Filter = std::function<Bits(cBitFilter&)>;

// Selected places of the L shape that receive the colours of a case: rows 1, 2, 3 and 5.
constexpr std::array<std::array<int, 2>, 4> kSpots = {{{1, 1}, {6, 2}, {2, 3}, {3, 5}}};
constexpr int kMask = 77;

struct Colour {
    int b, g, r;
};
struct Pair {
    Colour in, expected;
};
struct Case {
    const char* name;
    Filter run;
    std::vector<Pair> pixels; // at kSpots in order
};

// Puts the inputs into a patterned picture, runs the filter in the L shape and checks the
// expected colours, the mask bytes, the untouched rest, the object's own picture and a second
// call.
inline void check(const Case& c) {
    SCOPED_TRACE(c.name);
    const Region region = lShape();
    Bits picture = patterned(8, 8);
    for (std::size_t i = 0; i < c.pixels.size(); ++i) {
        const Colour in = c.pixels[i].in;
        setPixel(picture, kSpots[i][0], kSpots[i][1], {in.b, in.g, in.r, kMask});
    }
    cBitFilter f = filterOn(picture, &region);
    const Bits out = c.run(f);
    for (std::size_t i = 0; i < c.pixels.size(); ++i) {
        const Colour e = c.pixels[i].expected;
        EXPECT_EQ(pixelAt(out, kSpots[i][0], kSpots[i][1]), (Pixel{e.b, e.g, e.r, kMask}))
            << "pixel " << i;
    }
    expectOnlySelectedChanged(picture, out, region);
    EXPECT_TRUE(samePixels(f.BitsView(), picture));
    EXPECT_TRUE(samePixels(c.run(f), out));
}

// The filter fails with the run-time error `number` on `picture`, and the object keeps it.
inline void expectError(int number, const Bits& picture, const Filter& run) {
    const Region region = lShape();
    cBitFilter f = filterOn(picture, &region);
    try {
        run(f);
        ADD_FAILURE() << "no error";
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), number);
    }
    EXPECT_TRUE(samePixels(f.BitsView(), picture));
}

inline Bits flat(Colour c) {
    return velmar::test::flat(8, 8, {c.b, c.g, c.r, kMask});
}

inline COLORREF rgb(Colour c) {
    return static_cast<COLORREF>(c.r) | static_cast<COLORREF>(c.g) << 8 |
           static_cast<COLORREF>(c.b) << 16;
}

} // namespace velmar::test::cases
