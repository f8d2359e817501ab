// Grid lines, the light spot, the gradients and the texture: pixels worked out by hand on small
// pictures, the identities the formulas promise, and the errors.
#include "filters/pixelCases.h"
#include "pixel/RuntimeError.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <stdexcept>

namespace velmar {
namespace {

using test::Pixel;
using test::pixelAt;
using test::cases::Colour;

constexpr COLORREF kLine = 0x00C86428; // red 40, green 100, blue 200
const auto lineColour = [](Pixel p) { return Pixel{200, 100, 40, p[3]}; };

// Every pixel of `out` is either `picture`'s or, where `line(x, y)` holds, `expected(picture's)`.
template <class Line, class Expected>
void expectLines(const Bits& picture, const Bits& out, Line&& line, Expected&& expected) {
    for (int y = 0; y < picture.Height(); ++y)
        for (int x = 0; x < picture.Width(); ++x) {
            const Pixel before = pixelAt(picture, x, y);
            EXPECT_EQ(pixelAt(out, x, y), line(x, y) ? expected(before) : before)
                << "(" << x << ", " << y << ")";
        }
}

TEST(Overlays, GridOpacityAndLines) {
    const Region region = test::lShape(); // box 1..6 both ways
    const Bits picture = test::patterned(8, 8);
    struct Case {
        int hStep, vStep, opacity;
        bool force;
    };
    // Lines: rows 1, 1 + v, ...; columns 1, 1 + h, ...; forced margins row and column 7, which
    // the L shape does not reach.
    for (const Case c : {Case{3, 2, 255, false}, Case{2, 4, 255, true}, Case{1, 1, 0, false}}) {
        cBitFilter f = test::filterOn(picture, &region);
        const Bits out = f.Grid(c.hStep, c.vStep, c.force, kLine, c.opacity);
        expectLines(
            picture, out,
            [&](int x, int y) {
                return c.opacity > 0 && region.Contains(x, y) &&
                       ((y - 1) % c.vStep == 0 || (x - 1) % c.hStep == 0);
            },
            lineColour);
        EXPECT_TRUE(test::samePixels(f.Grid(c.hStep, c.vStep, c.force, kLine, c.opacity), out));
        EXPECT_TRUE(test::samePixels(f.BitsView(), picture));
    }
}

TEST(Overlays, GridVerticalLinesStartAtBoxLeft) {
    const Bits picture = test::patterned(8, 8);
    // Box left 4, top 1: row 1 is the one horizontal line; columns 4 and 6 run from y = 4 down.
    const Region right = Region::Rect(4, 1, 8, 8);
    cBitFilter f = test::filterOn(picture, &right);
    expectLines(
        picture, f.Grid(2, 10, false, kLine, 255),
        [](int x, int y) { return x >= 4 && (y == 1 || (y >= 4 && (x == 4 || x == 6))); },
        lineColour);

    // No selection: box left 0, so the vertical lines start at y 0; the forced margins are row
    // and column 7.
    cBitFilter whole = test::filterOn(picture, nullptr);
    expectLines(
        picture, whole.Grid(3, 3, true, kLine, 255),
        [](int x, int y) { return x % 3 == 0 || y % 3 == 0 || x == 7 || y == 7; }, lineColour);
}

TEST(Overlays, GridBlendsOnceAndOverflows) {
    // a = 128/255, b = 127/255: c' = round((127 c + 128 colour) / 255). Blue: (127*100 +
    // 128*200) / 255 = 38300/255 = 150.2 -> 150; green (127*255 + 128*100)/255 = 177.2 -> 177;
    // red (127*0 + 128*40)/255 = 20.08 -> 20. Crossings are blended from the source too.
    const Region region = test::lShape();
    const Bits picture = test::flat(8, 8, {100, 255, 0, 9});
    cBitFilter f = test::filterOn(picture, &region);
    const Bits out = f.Grid(2, 2, false, kLine, 128);
    EXPECT_EQ(pixelAt(out, 1, 1), (Pixel{150, 177, 20, 9})); // a crossing
    EXPECT_EQ(pixelAt(out, 2, 1), (Pixel{150, 177, 20, 9}));
    EXPECT_EQ(pixelAt(out, 2, 2), (Pixel{100, 255, 0, 9}));
    test::expectOnlySelectedChanged(picture, out, region);

    // Opacity 300: b < 0, and 255 * b + 0 * a is negative: "Overflow", but only where a line
    // pixel has such a value; a black picture under a black line blends to 0.
    test::cases::expectError(6, test::flat(8, 8, {255, 255, 255, 0}),
                             [](cBitFilter& g) { return g.Grid(2, 2, false, 0, 300); });
    cBitFilter black = test::filterOn(test::flat(8, 8, {0, 0, 0, 0}), &region);
    EXPECT_NO_THROW(black.Grid(2, 2, false, 0, 300));
    EXPECT_THROW(black.Grid(0, 2, false, 0, 100), std::invalid_argument);
}

TEST(Overlays, Light) {
    // 8 by 8: cx = round(7 * 0.5) = 4 (half to even), cy = 4, R = round(3.5) = 4, k = 1 with
    // definition 0, so v = round((1 - d/4) * 100) inside d^2 < 16.
    const Region region = test::lShape();
    const Bits picture = test::flat(8, 8, {10, 200, 0, 5});
    cBitFilter f = test::filterOn(picture, &region);
    const Bits out = f.Light(0.5f, 0.5f, 0.5f, 100, 0);
    struct Spot {
        int x, y, v;
    };
    const Spot spots[] = {
        {3, 4, 75},             // d = 1
        {2, 4, 50},             // d = 2
        {4, 1, 25},             // d = 3
        {3, 3, 65},             // d = sqrt 2: 100 - 35.36 = 64.64
        {2, 2, 29},             // d = sqrt 8: 100 - 70.71 = 29.29
        {6, 2, 29}, {1, 6, 10}, // d = sqrt 13: 100 - 90.14
        {1, 1, 0},              // d^2 = 18: outside the circle, unchanged
    };
    for (const Spot& s : spots)
        EXPECT_EQ(pixelAt(out, s.x, s.y), (Pixel{10 + s.v, std::min(200 + s.v, 255), s.v, 5}))
            << s.x << ", " << s.y;
    test::expectOnlySelectedChanged(picture, out, region);
    EXPECT_TRUE(test::samePixels(f.Light(0.5f, 0.5f, 0.5f, 100, 0), out));

    // Definition 100: flat, every pixel inside gets the intensity.
    const Bits flatSpot = f.Light(0.5f, 0.5f, 0.5f, 30, 100);
    EXPECT_EQ(pixelAt(flatSpot, 2, 2), (Pixel{40, 230, 30, 5}));
    EXPECT_EQ(pixelAt(flatSpot, 1, 1), (Pixel{10, 200, 0, 5}));

    // A negative intensity takes a channel below 0 ("Overflow"), as there is no floor.
    test::cases::expectError(6, picture,
                             [](cBitFilter& g) { return g.Light(0.5f, 0.5f, 0.5f, -20, 100); });
    // Intensities near the top of a long: at d = 1, 0.75 * (2^31 - 1) still fits and caps every
    // channel at 255; with definition 200 (k = -1), 1.25 * (2^31 - 1) does not.
    EXPECT_EQ(pixelAt(f.Light(0.5f, 0.5f, 0.5f, INT32_MAX, 0), 3, 4), (Pixel{255, 255, 255, 5}));
    test::cases::expectError(
        6, picture, [](cBitFilter& g) { return g.Light(0.5f, 0.5f, 0.5f, INT32_MAX, 200); });
}

TEST(Overlays, LightNeverDarkens) {
    const Bits picture = test::patterned(8, 8);
    for (const int definition : {0, 30, 70, 100})
        for (const int intensity : {0, 1, 90, 500}) {
            cBitFilter f = test::filterOn(picture, nullptr);
            const Bits out = f.Light(0.3f, 0.6f, 0.7f, intensity, definition);
            for (int y = 0; y < 8; ++y)
                for (int x = 0; x < 8; ++x)
                    for (int c = 0; c < 3; ++c)
                        ASSERT_GE(out(c, x, y), picture(c, x, y)) << x << ", " << y;
        }
}

// The gradient colours: Colour1 black, Colour2 red 200, green 100, blue 43.
constexpr int kFrom = 0x000000;
constexpr int kTo = 0x2B64C8;

struct GradientSpot {
    int x, y;
    Colour expected;
};

void expectGradient(const Bits& picture, const Bits& out,
                    std::initializer_list<GradientSpot> spots) {
    for (const GradientSpot& s : spots)
        EXPECT_EQ(pixelAt(out, s.x, s.y),
                  (Pixel{s.expected.b, s.expected.g, s.expected.r, picture(3, s.x, s.y)}))
            << s.x << ", " << s.y;
}

TEST(Overlays, GradientLinear) {
    const Region region = test::lShape();
    const Bits picture = test::patterned(8, 8);
    {
        // Repeats 1 is a plain ramp: from (1, 1) to (5, 1), L = 4, th = 0, t = (x - 1)/4.
        // Blue 43 t: 10.75 -> 11, 21.5 -> 22 (tie to even), 32.25 -> 32; t is limited to 1.
        cBitFilter f = test::filterOn(picture, &region);
        const Bits out = f.GradientLinear(1, 1, 5, 1, kFrom, kTo, 100, 1);
        expectGradient(picture, out,
                       {{1, 1, {0, 0, 0}},
                        {2, 5, {11, 25, 50}},
                        {3, 2, {22, 50, 100}},
                        {4, 3, {32, 75, 150}},
                        {6, 1, {43, 100, 200}}});
        test::expectOnlySelectedChanged(picture, out, region);
        EXPECT_TRUE(test::samePixels(f.GradientLinear(1, 1, 5, 1, kFrom, kTo, 100, 1), out));
        EXPECT_TRUE(test::samePixels(f.BitsView(), picture));
    }
    {
        // Backwards, (5, 1) to (1, 1): th = atan(0) + pi, t = (5 - x)/4, limited to 0 at 6.
        cBitFilter f = test::filterOn(picture, &region);
        expectGradient(picture, f.GradientLinear(5, 1, 1, 1, kFrom, kTo, 100, 1),
                       {{6, 1, {0, 0, 0}}, {3, 2, {22, 50, 100}}, {1, 3, {43, 100, 200}}});
        // Downwards, (1, 1) to (1, 5): th = 90 degrees converted; t = (y - 1)/4 up to 1e-6.
        expectGradient(picture, f.GradientLinear(1, 1, 1, 5, kFrom, kTo, 100, 1),
                       {{1, 2, {11, 25, 50}}, {6, 3, {22, 50, 100}}, {3, 6, {43, 100, 200}}});
    }
    {
        // Repeats 2: n = 3.141592025756836 (below pi), t = sin(n (x-1)/4)^2. At x = 2 that is
        // 0.5 - 1.6e-7: blue 21.5 - 7e-6 -> 21 (with pi itself the tie would give 22). At x = 3,
        // sin(n/2)^2 = 1 - 1e-13: the far colour.
        cBitFilter f = test::filterOn(picture, &region);
        expectGradient(picture, f.GradientLinear(1, 1, 5, 1, kFrom, kTo, 100, 2),
                       {{2, 1, {21, 50, 100}}, {3, 3, {43, 100, 200}}, {1, 5, {0, 0, 0}}});
    }
    {
        // Colour1 -1 is the pixel itself, opacity 50: c' = round(0.5 src + 0.5 (C2 t + src (1-t))).
        // At t = 0.5 over (B, G, R) = (100, 50, 201): blue 50 + 0.5 * 71.5 = 85.75 -> 86, green
        // 25 + 0.5 * 75 = 62.5 -> 62, red 100.5 + 0.5 * 200.5 = 200.75 -> 201.
        Bits spot = picture.clone();
        test::setPixel(spot, 3, 2, {100, 50, 201, 7});
        cBitFilter f = test::filterOn(spot, &region);
        expectGradient(spot, f.GradientLinear(1, 1, 5, 1, -1, kTo, 50, 1), {{3, 2, {86, 62, 201}}});
    }
}

TEST(Overlays, GradientCircular) {
    // Centre (2, 2), rim (2, 5): R = 3, t = sqrt(u^2 + v^2) / 3, limited to 1.
    const Region region = test::lShape();
    const Bits picture = test::patterned(8, 8);
    cBitFilter f = test::filterOn(picture, &region);
    const Bits out = f.GradientCircular(2, 2, 2, 5, kFrom, kTo, 100, 1);
    expectGradient(picture, out,
                   {{2, 2, {0, 0, 0}},
                    {3, 2, {14, 33, 67}},     // t = 1/3: 14.33, 33.33, 66.67
                    {1, 1, {20, 47, 94}},     // t = 0.4714: 20.27, 47.14, 94.28
                    {2, 5, {43, 100, 200}},   // t = 1
                    {5, 3, {43, 100, 200}}}); // t = 1.054, limited
    test::expectOnlySelectedChanged(picture, out, region);
    EXPECT_TRUE(test::samePixels(f.GradientCircular(2, 2, 2, 5, kFrom, kTo, 100, 1), out));

    // Repeats 2 about (4, 2), rim (4, 5): n = min(pi, R = 3) = 3, so t = sin(d)^2, and the
    // pixels left of the centre mirror those on its right.
    cBitFilter g = test::filterOn(picture, &region);
    expectGradient(picture, g.GradientCircular(4, 2, 4, 5, kFrom, kTo, 100, 2),
                   {{4, 2, {0, 0, 0}},
                    {3, 2, {30, 71, 142}}, // sin(1)^2 = 0.70807
                    {5, 2, {30, 71, 142}},
                    {2, 2, {36, 83, 165}}, // sin(2)^2 = 0.82682
                    {6, 2, {36, 83, 165}},
                    {1, 2, {1, 2, 4}},    // sin(3)^2 = 0.01991
                    {2, 4, {4, 9, 19}}}); // sin(sqrt 8)^2 = 0.09491
}

TEST(Overlays, GradientIdentitiesAndErrors) {
    const Region region = test::lShape();
    const Bits picture = test::patterned(8, 8);
    cBitFilter f = test::filterOn(picture, &region);
    int reports = 0;
    f.SetProgress([&](int) { ++reports; });
    // Both ends equal: an unchanged copy, without progress.
    EXPECT_TRUE(test::samePixels(f.GradientLinear(3, 3, 3, 3, kFrom, kTo, 100, 1), picture));
    EXPECT_TRUE(test::samePixels(f.GradientCircular(3, 3, 3, 3, kFrom, kTo, 100, 1), picture));
    EXPECT_EQ(reports, 0);
    // Both colours the pixel itself: every mixture is the pixel.
    EXPECT_TRUE(test::samePixels(f.GradientLinear(0, 0, 7, 5, -1, -1, 70, 3), picture));

    // Opacity 200: a = 2, src * -1 + 2 * mix, below 0 for a white pixel and a black colour.
    const Bits white = test::flat(8, 8, {255, 255, 255, 0});
    test::cases::expectError(
        6, white, [](cBitFilter& g) { return g.GradientLinear(1, 1, 5, 1, 0, 0, 200, 1); });
    test::cases::expectError(
        6, white, [](cBitFilter& g) { return g.GradientCircular(1, 1, 5, 1, 0, 0, 200, 1); });
    // A start so far off that the loop bound -X1 does not fit a long.
    test::cases::expectError(6, picture, [](cBitFilter& g) {
        return g.GradientLinear(INT32_MIN, 0, INT32_MIN + 4, 1, 0, 0, 50, 1);
    });
}

TEST(Overlays, SameOnAnyNumberOfThreads) {
    const Region ellipse = Region::Ellipse(3, 2, 90, 81);
    const Bits picture = test::patterned(97, 90);
    const std::function<Bits(cBitFilter&)> filters[] = {
        [](cBitFilter& f) { return f.Grid(7, 5, true, kLine, 100); },
        [](cBitFilter& f) { return f.Light(0.4f, 0.5f, 0.3f, 120, 40); },
        [](cBitFilter& f) { return f.GradientLinear(10, 80, 60, 5, -1, kTo, 70, 3); },
        [](cBitFilter& f) { return f.GradientCircular(50, 40, 20, 10, kFrom, -1, 90, 1); },
        [](cBitFilter& f) { return f.GradientCircular(50, 40, 20, 10, kFrom, -1, 90, 3); },
    };
    for (const auto& run : filters) {
        cBitFilter one = test::filterOn(picture, &ellipse);
        one.SetThreads(1);
        cBitFilter two = test::filterOn(picture, &ellipse);
        two.SetThreads(2);
        const Bits out = run(one);
        EXPECT_TRUE(test::samePixels(out, run(two)));
        test::expectOnlySelectedChanged(picture, out, ellipse);
    }
}

TEST(Overlays, Texturize) {
    // A 3 by 3 texture: tiles step by tw = th = 2 from the box corner (1, 1), so the texture
    // pixel of (x, y) is ((x - 1) mod 2, (y - 1) mod 2), the seams coming from the later tile.
    // Blue bytes: (0,0) 64, (1,0) 255, (0,1) 128, (1,1) 192; the last column and row (0 here)
    // are always overwritten. c' = round(c * blue / 128), clamped.
    Bits texture(3, 3);
    texture(0, 0, 0) = 64;
    texture(0, 1, 0) = 255;
    texture(0, 0, 1) = 128;
    texture(0, 1, 1) = 192;
    texture(1, 0, 0) = 77; // only blue counts
    using test::cases::Case;
    test::cases::check(Case{"Texturize",
                            [&](cBitFilter& f) { return f.Texturize(texture); },
                            {// (1, 1): f = 0.5: 50.5 -> 50, 51.5 -> 52
                             {{101, 103, 100}, {50, 52, 50}},
                             // (6, 2): f = 1.5: 151.5 -> 152, 4.5 -> 4, 300 -> 255
                             {{101, 3, 200}, {152, 4, 255}},
                             // (2, 3): f = 255/128: 199.2 -> 199, 398.4 -> 255, 1.99 -> 2
                             {{100, 200, 1}, {199, 255, 2}},
                             // (3, 5), on both seams: f = 0.5: 0.5 -> 0, 1.5 -> 2, 127.5 -> 128
                             {{1, 3, 255}, {0, 2, 128}}}});

    // Blue 128 throughout is the identity.
    const Bits grey = test::flat(5, 4, {128, 0, 0, 0});
    const Region region = test::lShape();
    const Bits picture = test::patterned(8, 8);
    cBitFilter f = test::filterOn(picture, &region);
    EXPECT_TRUE(test::samePixels(f.Texturize(grey), picture));
    EXPECT_THROW(f.Texturize(Bits(1, 5)), std::invalid_argument);
}

} // namespace
} // namespace velmar
