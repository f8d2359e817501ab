// GLASS: the ripples of the table worked out by hand on an 8 by 8 picture, the selection tested
// at the source, and the stale source position of the styles outside the table.
#include "filters/filterFixtures.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace velmar {
namespace {

using test::Pixel;
using test::pixelAt;

constexpr int kKept = -100;

struct Moved {
    int x, y, sx, sy; // sx kKept: the pixel stays
};

// (x, y) carries the colour of (sx, sy) and its own mask byte.
Pixel from(const Bits& picture, int x, int y, int sx, int sy) {
    Pixel p = pixelAt(picture, sx, sy);
    p[3] = picture(3, x, y);
    return p;
}

TEST(Glass, RipplesOfTheTable) {
    struct Case {
        const char* style;
        int mode;
        bool lShape;
        std::vector<Moved> pixels;
    };
    // tan 1..7: 1.557 -2.185 -0.143 1.158 -3.381 -0.291 0.871; sin 1..7: 0.841 0.909 0.141
    // -0.757 -0.959 -0.279 0.657; cos 2 -0.416, cos 5 0.284.
    const Case cases[] = {
        // round(2 tan x + x): 1 -> 4.11, 2 -> -2.37, 3 -> 2.71, 4 -> 6.32, 6 -> 5.42, 7 -> 8.74.
        {"vertical",
         0,
         false,
         {{1, 2, 4, 2},
          {2, 2, kKept, 0},
          {3, 5, 3, 5},
          {4, 0, 6, 0},
          {6, 7, 5, 7},
          {7, 1, kKept, 0}}},
        // round(y - 3 sin y): 1 -> -1.52, 3 -> 2.58, 4 -> 6.27, 6 -> 6.84, 7 -> 5.03.
        {"horizontal",
         1,
         false,
         {{2, 1, kKept, 0}, {2, 3, 2, 3}, {5, 4, 5, 6}, {0, 6, 0, 7}, {7, 7, 7, 5}}},
        // round(v - 10 cos v): 1 -> -4.4, 2 -> 6.16, 5 -> 2.16 for both coordinates.
        {"squary", 2, false, {{2, 2, 6, 6}, {5, 5, 2, 2}, {2, 5, 6, 2}, {1, 2, kKept, 0}}},
        // round(tan y): row 1 from column 2, row 3 from column 0, row 2 (-2) missed.
        {"curtain", 0, false, {{0, 1, 2, 1}, {6, 1, 2, 1}, {5, 3, 0, 3}, {4, 2, kKept, 0}}},
        // round(tan x): 1 -> 2, 4 -> 1, 2 -> -2.
        {"curtain", 1, false, {{1, 6, 2, 6}, {4, 6, 1, 6}, {2, 6, kKept, 0}}},
        // round(tan x tan y): (1, 1) 2.43, (4, 1) 1.80, (3, 4) -0.17, (2, 2) 4.77.
        {"curtain", 2, false, {{1, 1, 2, 1}, {4, 1, 2, 1}, {3, 4, 0, 4}, {2, 2, 5, 2}}},
        // round(tan x + tan y): (1, 1) 3.11, (3, 3) -0.29.
        {"curtain", 3, false, {{1, 1, 1, 3}, {3, 3, 3, 0}}},
        // n = 8y + x over the whole picture: round(x - 3 sin n). n 1: -1.52; n 3: 2.58;
        // n 4: 6.27; n 9: 1 - 1.24; n 10: 2 + 1.63.
        {"slanting",
         0,
         false,
         {{1, 0, kKept, 0}, {3, 0, 3, 0}, {4, 0, 6, 0}, {1, 1, 0, 1}, {2, 1, 4, 1}}},
        // round(y - 10 sin n): n 6: 2.79; n 10: 6.44; n 1: -8.4.
        {"slanting", 1, false, {{6, 0, 6, 3}, {2, 1, 2, 6}, {1, 0, kKept, 0}}},
        // In the L's box (x 1..6, y 1..6) n = 6(y - 1) + x - 1. (1, 2): n 6, 1 + 0.84 -> 2.
        // (4, 2): n 9, 4 - 1.24 -> 3. (5, 1): n 4 -> 7.27: (7, 1) is not selected.
        // (4, 4), outside the L: n 21, 4 - 2.51 -> 1: (1, 4) is selected. (1, 4): n 18 -> 3.25.
        {"slanting",
         0,
         true,
         {{1, 2, 2, 2}, {4, 2, 3, 2}, {5, 1, kKept, 0}, {4, 4, 1, 4}, {1, 4, 3, 4}}},
    };
    const Bits picture = test::patterned(8, 8);
    const Region l = test::lShape();
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.style) + " " + std::to_string(c.mode));
        cBitFilter f = test::filterOn(picture, c.lShape ? &l : nullptr);
        const Bits out = f.GLASS(c.style, static_cast<std::int16_t>(c.mode));
        for (const Moved& m : c.pixels)
            EXPECT_EQ(pixelAt(out, m.x, m.y), m.sx == kKept ? pixelAt(picture, m.x, m.y)
                                                            : from(picture, m.x, m.y, m.sx, m.sy))
                << m.x << ", " << m.y;
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 8; ++x) {
                const bool inBox = !c.lShape || (x >= 1 && x <= 6 && y >= 1 && y <= 6);
                EXPECT_EQ(out(3, x, y), picture(3, x, y));
                if (!inBox) {
                    EXPECT_EQ(pixelAt(out, x, y), pixelAt(picture, x, y));
                }
            }
        EXPECT_TRUE(test::samePixels(f.GLASS(c.style, static_cast<std::int16_t>(c.mode)), out));
    }
}

TEST(Glass, OtherStylesCopyOneStalePosition) {
    const Bits picture = test::patterned(8, 8);
    auto everywhereFrom = [&](const Bits& out, int sx, int sy) {
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 8; ++x)
                ASSERT_EQ(pixelAt(out, x, y), from(picture, x, y, sx, sy)) << x << ", " << y;
    };
    struct Case {
        const char* what;
        std::function<void(cBitFilter&)> before;
        int sx, sy; // the position left in the fields; -1: outside, nothing changes
    };
    const Case cases[] = {
        {"a fresh object holds (0, 0)", [](cBitFilter&) {}, 0, 0},
        // The last pixel (7, 7): round(7 - 5 sin 7) = round(3.72) = 4 both ways.
        {"after squary 1", [](cBitFilter& f) { (void)f.GLASS("squary", 1); }, 4, 4},
        // ROTATE 0 leaves the last pixel's own position.
        {"after ROTATE 0", [](cBitFilter& f) { (void)f.ROTATE(0, false); }, 7, 7},
        // round(2 tan 7 + 7) = 9: outside the picture.
        {"after vertical 0", [](cBitFilter& f) { (void)f.GLASS("vertical", 0); }, -1, -1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        for (const auto& [style, mode] : {std::pair{"curtain", 4}, std::pair{"frosted", 0},
                                          std::pair{"slanting", 2}, std::pair{"Curtain", 0}}) {
            cBitFilter f = test::filterOn(picture, nullptr);
            c.before(f);
            const Bits out = f.GLASS(style, static_cast<std::int16_t>(mode));
            if (c.sx < 0)
                EXPECT_TRUE(test::samePixels(out, picture));
            else
                everywhereFrom(out, c.sx, c.sy);
            EXPECT_EQ(f.LoopX(), 8);
            EXPECT_EQ(f.LoopY(), 8);
        }
    }
}

// The slanting ripple takes its sine from the sine and cosine of the row's first counter value
// and falls back on the sine itself near rounding ties: against the formula on every pixel of a
// picture wide and tall enough for the vector loop and several threads, in an ellipse.
TEST(Glass, SlantingMatchesTheFormulaEverywhere) {
    const int w = 211, h = 97;
    Bits picture(w, h);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            test::setPixel(picture, x, y, {x & 255, y, 1 + (x >> 8), 0});
    const Region ellipse = Region::Ellipse(4, 2, 200, 95);
    const IntRect box = ellipse.Box();
    for (const int mode : {0, 1}) {
        cBitFilter f = test::filterOn(picture, &ellipse);
        f.SetThreads(3);
        const Bits out = f.GLASS("slanting", static_cast<std::int16_t>(mode));
        for (int y = box.top; y < box.bottom; ++y)
            for (int x = box.left; x < box.right; ++x) {
                const double n =
                    static_cast<double>(y - box.top) * (box.right - box.left) + (x - box.left);
                const int sx =
                    mode == 0 ? static_cast<int>(std::nearbyint(x - 3 * std::sin(n))) : x;
                const int sy =
                    mode == 1 ? static_cast<int>(std::nearbyint(y - 10 * std::sin(n))) : y;
                const Pixel want =
                    ellipse.Contains(sx, sy) ? from(picture, x, y, sx, sy) : pixelAt(picture, x, y);
                ASSERT_EQ(pixelAt(out, x, y), want) << mode << ": " << x << ", " << y;
            }
    }
}

} // namespace
} // namespace velmar
