// Tone filters driven by a whole-picture statistic, the gamma curve and the two dithers:
// pixels worked out by hand on small pictures, the selection, errors and progress.
#include "filters/filterFixtures.h"
#include "pixel/RuntimeError.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <vector>

namespace velmar {
namespace {

using test::Pixel;
using test::pixelAt;
using test::setPixel;

Pixel grey(int v, int mask = 9) {
    return {v, v, v, mask};
}

// An 8 by 8 picture (the size of test::lShape) whose pixel at raster index i = y * 8 + x is
// pixel(i).
Bits byIndex(const std::function<Pixel(int)>& pixel) {
    Bits b(8, 8);
    for (int i = 0; i < 64; ++i)
        setPixel(b, i % 8, i / 8, pixel(i));
    return b;
}

struct Expected {
    int x, y;
    Pixel p;
};

void expectPixels(const Bits& out, std::initializer_list<Expected> expected) {
    for (const Expected& e : expected)
        EXPECT_EQ(pixelAt(out, e.x, e.y), e.p) << "pixel (" << e.x << ", " << e.y << ")";
}

TEST(ToneStatistics, ContrastHandsTheOverflowOnInItsOrder) {
    // Levels (B+G+R) div 3: 58 pixels of 100, (7, 7) = 70 and the five below, 133 + 150 + 50 +
    // 30 + 226; sum 6459, mean 6459 div 64 = 100. CONTRAST(100): f = 2, L[i] = 2i - 100.
    Bits picture = byIndex([](int) { return grey(100); });
    setPixel(picture, 7, 7, grey(70));
    setPixel(picture, 1, 1, {250, 100, 50, 1});
    setPixel(picture, 2, 1, {10, 200, 240, 2});
    setPixel(picture, 3, 1, {50, 40, 60, 3});
    setPixel(picture, 4, 1, {20, 30, 40, 4});
    setPixel(picture, 5, 1, {200, 230, 250, 5});
    const Region r = test::lShape();
    cBitFilter f = test::filterOn(picture, &r);
    const Bits out = f.CONTRAST(100);
    test::expectOnlySelectedChanged(picture, out, r);
    expectPixels(
        out,
        {
            // (400, 100, 0): d = 145 div 2 = 72 to g and r, b = 255. A clamp would give
            // (255,100,0).
            {1, 1, {255, 172, 72, 1}},
            // (-80, 300, 380). Round 1: b: d = -40 -> (0, 260, 340); g: d = 2 -> b 2, r 342, g 255;
            // r: d = 43 -> (45, 298, 255). Round 2: g: d = 21 -> b 66, r 276, g 255; r: d = 10 ->
            // (76, 265, 255). Round 3: g: d = 5; r: d = 2 -> (83, 257, 255). Round 4: g: d = 1 ->
            // b 84, r 256, g 255; r: d = 0 -> (84, 255, 255).
            {2, 1, {84, 255, 255, 2}},
            // (0, -20, 20): g: d = -10 -> (-10, 0, 10); b: d = -5 -> (0, -5, 5), g: d = -5 div 2 =
            // -2 (toward zero) -> (-2, 0, 3); b: d = -1 -> (0, -1, 2), g: d = 0 -> (0, 0, 2).
            {3, 1, {0, 0, 2, 3}},
            {4, 1, {0, 0, 0, 4}},       // (-60, -40, -20): all at most 0 -> black at once
            {5, 1, {255, 255, 255, 5}}, // (300, 360, 400): all at least 255 -> white at once
            {1, 2, grey(100)},          // L[100] = 100
        });

    const Bits patterned = test::patterned(8, 8);
    cBitFilter g = test::filterOn(patterned, &r);
    EXPECT_TRUE(test::samePixels(g.CONTRAST(0), patterned)); // f = 1: L[i] = i

    // CONTRAST(10000), f = 101. Levels: 61 of 100, then 100, 99, 99: mean 6398 div 64 = 99, and
    // L[i] = 101 (i - 99) + 99 reaches 15855 (L[255]).
    Bits steep = byIndex([](int) { return grey(100); });
    setPixel(steep, 1, 1, {102, 100, 100, 1});
    setPixel(steep, 2, 1, {97, 100, 100, 2});
    setPixel(steep, 3, 1, {100, 100, 97, 3});
    cBitFilter h = test::filterOn(steep, &r);
    expectPixels(h.CONTRAST(10000),
                 {
                     // (402, 200, 200): b: d = 73 -> (255, 273, 273); g: d = 9 -> b 264, r 282, g
                     // 255; r: d = 13 -> (277, 268, 255). Round 2: all at least 255.
                     {1, 1, {255, 255, 255, 1}},
                     {2, 1, {0, 149, 149, 2}}, // (-103, 200, 200): b: d = -103 div 2 = -51
                     {3, 1, {149, 149, 0, 3}}, // (200, 200, -103): r: d = -51 to g and b
                     {3, 3, grey(200)},        // L[100] = 200
                 });
}

TEST(ToneStatistics, WideAndNarrowSpansAgree) {
    // Long spans take the vector paths, one-pixel spans the pixel-by-pixel ones; the statistics
    // cover the whole picture either way. Every byte value occurs (x * 37 runs through them all).
    const Bits picture = test::patterned(300, 4);
    std::vector<IntRect> comb;
    for (int x = 0; x < 300; x += 2)
        comb.push_back({x, 0, x + 1, 4});
    const Region narrow = Region::FromRects(comb);
    const std::function<Bits(cBitFilter&)> filters[] = {
        [](cBitFilter& f) { return f.CONTRAST(60); },
        [](cBitFilter& f) { return f.CONTRAST(-250); }, // f = -1.5: both ends overflow
        [](cBitFilter& f) { return f.GammaCorrection(35); },
        [](cBitFilter& f) { return f.Equalize(); },
    };
    for (const auto& filter : filters) {
        cBitFilter whole = test::filterOn(picture, nullptr);
        cBitFilter combed = test::filterOn(picture, &narrow);
        const Bits a = filter(whole);
        const Bits b = filter(combed);
        for (int y = 0; y < 4; ++y)
            for (int x = 0; x < 300; x += 2)
                ASSERT_EQ(pixelAt(a, x, y), pixelAt(b, x, y)) << "pixel (" << x << ", " << y << ")";
    }
}

TEST(ToneStatistics, GammaCorrectionFollowsItsCurve) {
    Bits picture = test::patterned(8, 8);
    setPixel(picture, 1, 1, {0, 64, 255, 7});
    setPixel(picture, 2, 1, {1, 128, 100, 8});
    const Region r = test::lShape();
    struct Case {
        int level;
        Pixel p11, p21;
    };
    const Case cases[] = {
        // g = 2: round(sqrt(c / 255) * 255) = round(sqrt(255 c)): sqrt(16320) = 127.75,
        // sqrt(255) = 15.97, sqrt(32640) = 180.67, sqrt(25500) = 159.69.
        {100, {0, 128, 255, 7}, {16, 181, 160, 8}},
        // g = 0.5: round(c^2 / 255): 4096 / 255 = 16.06, 1 / 255, 16384 / 255 = 64.25,
        // 10000 / 255 = 39.2.
        {-50, {0, 16, 255, 7}, {0, 64, 39, 8}},
        {0, {0, 64, 255, 7}, {1, 128, 100, 8}}, // g = 1
        {-100, {0, 0, 0, 7}, {0, 0, 0, 8}},     // g = 0: black
        {-150, {0, 0, 0, 7}, {0, 0, 0, 8}},     // g < 0: black
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.level);
        cBitFilter f = test::filterOn(picture, &r);
        const Bits out = f.GammaCorrection(c.level);
        test::expectOnlySelectedChanged(picture, out, r);
        expectPixels(out, {{1, 1, c.p11}, {2, 1, c.p21}});
        if (c.level == 0) {
            EXPECT_TRUE(test::samePixels(out, picture));
        }
        if (c.level == -100) {
            EXPECT_EQ(pixelAt(out, 3, 5), (Pixel{0, 0, 0, pixelAt(picture, 3, 5)[3]}));
        }
    }
}

TEST(ToneStatistics, EqualizeStretchesBothHalvesAroundTheMedian) {
    struct Case {
        const char* name;
        Bits picture;
        std::vector<Expected> expected;
    };
    // 11 pixels of level 20, 40 of level 100 ((2, 2) among them: 113*40 + 586*99 + 301*124 =
    // 99858, level 100), 13 of 220. half = 32; the sum passes it at m = 100 (11 + 40 = 51), and
    // 40 div 2 = 20 > 51 - 32: mid = 100 (with (2, 2) in bin 99 it would be 99). hi = 127/155,
    // lo = 127/99.
    Bits medianLow = byIndex([](int i) { return grey(i < 11 ? 20 : i < 51 ? 100 : 220, i); });
    setPixel(medianLow, 2, 2, {40, 99, 124, 18});
    // 32 pixels of 40 and 32 of 200: m = 200 (sum 64), 32 div 2 = 16 is not above 64 - 32:
    // mid = 199. hi = 127/56, lo = 127/198.
    Bits medianHigh = byIndex([](int i) { return grey(i < 32 ? 40 : 200, i); });
    Case cases[] = {
        {"mid = m",
         std::move(medianLow),
         {{1, 1, grey(26, 9)},        // 20 * 127/99 = 25.66
          {2, 2, {51, 127, 148, 18}}, // 40*127/99 = 51.31; 99*127/99; 24*127/155 + 128 = 147.66
          {2, 6, grey(128, 50)},      // 0 * hi + 128
          {3, 6, grey(226, 51)}}},    // 120 * 127/155 + 128 = 226.32
        {"mid = m - 1",
         std::move(medianHigh),
         {{1, 1, grey(26, 9)},     // 40 * 127/198 = 25.66
          {1, 5, grey(130, 41)}}}, // 1 * 127/56 + 128 = 130.27
    };
    const Region r = test::lShape();
    for (Case& c : cases) {
        SCOPED_TRACE(c.name);
        cBitFilter f = test::filterOn(c.picture, &r);
        const Bits out = f.Equalize();
        test::expectOnlySelectedChanged(c.picture, out, r);
        for (const Expected& e : c.expected)
            EXPECT_EQ(pixelAt(out, e.x, e.y), e.p) << "pixel (" << e.x << ", " << e.y << ")";
    }
}

TEST(ToneStatistics, LevelReadingsCoverTheWholePicture) {
    // Levels (B+G+R) div 3: 0, 254, 20, 100, 2, 60; sum 436, mean 436 div 6 = 72.
    Bits picture(3, 2);
    const Pixel pixels[] = {{0, 0, 1, 0},       {255, 255, 254, 0}, {10, 20, 31, 0},
                            {100, 100, 100, 0}, {3, 3, 2, 0},       {50, 60, 70, 0}};
    for (int i = 0; i < 6; ++i)
        setPixel(picture, i % 3, i / 3, pixels[i]);
    const Region one = Region::Rect(2, 1, 3, 2); // ignored
    cBitFilter f = test::filterOn(picture, &one);
    EXPECT_EQ(f.GetLMax(), 254);
    EXPECT_EQ(f.GetLMin(), 0);
    EXPECT_EQ(f.GetLMed(), 72);

    cBitFilter white = test::filterOn(test::flat(2, 2, grey(255)), nullptr);
    EXPECT_EQ(white.GetLMin(), 255);
    EXPECT_EQ(white.GetLMed(), 255);
    cBitFilter none;
    EXPECT_EQ(none.GetLMax(), 0); // the starting values of the searches
    EXPECT_EQ(none.GetLMin(), 255);
}

TEST(ToneStatistics, StuckiBWSpreadsItsErrorInFortySecondths) {
    // Levels 90 120 60 200 / 100 110 130 100 / 70 80 70 50: sum 1180, mean 1180 div 12 = 98.
    // W1 = 3, H1 = 2: only row 0 spreads to the row below, never two rows down.
    const int levels[12] = {90, 120, 60, 200, 100, 110, 130, 100, 70, 80, 70, 50};
    Bits picture(4, 3);
    for (int i = 0; i < 12; ++i)
        setPixel(picture, i % 4, i / 4, grey(levels[i], i));
    cBitFilter f = test::filterOn(picture, nullptr);
    const Bits out = f.StuckiBW(20); // v = level + (E1 * 10) div 20
    const int white[12] = {
        // Row 0. x0: v 90 -> 0, e 90: E1[1] 17, E1[2] 8, E2[0..2] 17, 8, 4.
        // x1: v 120 + 170 div 20 = 128 -> 255, e -127 (parts -24, -12, -6): E1[2] -16,
        //     E2[0..2] 5, -16, -8.  x2: v 60 + (-8) = 52 -> 0, e 52 (9, 4, 2): E2[0..2] 7, -12, 1.
        // x3: 200 -> 255, e -55 (-10, -5, -2): E2[1..3] -14, -4, -10.
        0, 1, 0, 1,
        // Row 1, E1 = 7, -14, -4, -10. x0: 100 + 3 -> 255, e -152: E1[1] -42, E1[2] -18.
        // x1: 110 + (-21) = 89 -> 0 (a plain threshold gives white), e 89: E1[2] -2.
        // x2: 130 + (-1) -> 255. x3: 100 + (-5) -> 0 (E1[3] takes nothing from x1 in this row).
        1, 0, 1, 0,
        // Row 2 starts clean. x0: 70 -> 0, e 70: E1[1] 13, E1[2] 6. x1: 80 + 6 -> 0, e 86:
        // E1[2] 22. x2: 70 + 11 -> 0. x3: 50 -> 0.
        0, 0, 0, 0};
    for (int i = 0; i < 12; ++i)
        EXPECT_EQ(pixelAt(out, i % 4, i / 4), grey(white[i] ? 255 : 0, i)) << "pixel " << i;

    // Column 1 unselected: the error crosses the gap. Levels 200 0 101 0 / 102 0 200 200 /
    // 200 0 200 0, mean 1203 div 12 = 100.
    const int gapLevels[12] = {200, 0, 101, 0, 102, 0, 200, 200, 200, 0, 200, 0};
    Bits gapPicture(4, 3);
    for (int i = 0; i < 12; ++i)
        setPixel(gapPicture, i % 4, i / 4, grey(gapLevels[i], i));
    const IntRect columns[] = {{0, 0, 1, 3}, {2, 0, 4, 3}};
    const Region gap = Region::FromRects(columns);
    cBitFilter h = test::filterOn(gapPicture, &gap);
    const Bits gapOut = h.StuckiBW(20);
    const int gapWhite[12] = {
        // (0,0) 200 -> 255, e -55 (parts -10, -5, -2): E1[2] -5, E2[0..2] -10, -5, -2.
        // (2,0): 101 + (-50 div 20) = 99 -> 0 (white without the -5), e 99 (18, 9, 4):
        // E2[0..2] -6, 4, 16. (3,0) 0 -> 0.
        1, -1, 0, 0,
        // (0,1): 102 + (-60 div 20) = 99 -> 0 (white without the -10), e 99: E1[2] 16 + 9.
        // (2,1): 200 + 250 div 20 -> 255. (3,1) -> 255.
        0, -1, 1, 1,
        // (0,2) 200 -> 255: E1[2] -5. (2,2) 198 -> 255. (3,2) 0 -> 0.
        1, -1, 1, 0};
    for (int i = 0; i < 12; ++i) {
        const int expected = gapWhite[i] < 0 ? gapLevels[i] : gapWhite[i] * 255;
        EXPECT_EQ(pixelAt(gapOut, i % 4, i / 4), grey(expected, i)) << "pixel " << i;
    }

    const Bits patterned = test::patterned(8, 8);
    const Region r = test::lShape();
    cBitFilter g = test::filterOn(patterned, &r);
    const Bits dithered = g.StuckiBW(10);
    test::expectOnlySelectedChanged(patterned, dithered, r);
    for (int y = 1; y < 7; ++y)
        for (int x = 1; x < 7; ++x)
            if (r.Contains(x, y)) {
                const int v = dithered(0, x, y);
                EXPECT_TRUE((v == 0 || v == 255) && dithered(1, x, y) == v &&
                            dithered(2, x, y) == v);
            }
}

mPalette blackWhite() {
    mPalette p;
    p.Add(0, 0, 0);
    p.Add(255, 255, 255);
    return p;
}

TEST(ToneStatistics, PaletteApplyDiffusesIntoItsOwnPicture) {
    // 3 by 2 of grey 100, W1 = 2, H1 = 1. Right: e * 7 div 16; below (only x = 1): e * 4 div 16.
    cBitFilter f = test::filterOn(test::flat(3, 2, grey(100)), nullptr);
    const mPalette palette = blackWhite();
    const int first[6] = {
        // (0,0) 100 -> black, e 100: (1,0) 143. (1,0) -> white, e -112: (2,0) 100 - 49 = 51,
        // (1,1) 100 - 28 = 72. (2,0) 51 -> black.
        0, 255, 0,
        // (0,1) -> black: (1,1) 72 + 43 = 115 -> black (345 against 420), e 115: (2,1) 150.
        // (2,1) 150 -> white.
        0, 0, 255};
    // The second call starts from 100 143 51 / 100 115 150: (1,0) 186 -> white, e -69: (2,0) 21,
    // (1,1) 115 - 17 = 98, then + 43 = 141 -> white, e -114: (2,1) 150 - 49 = 101 -> black.
    const int second[6] = {0, 255, 0, 0, 255, 0};
    const int afterSecond[6] = {100, 186, 21, 100, 141, 101};
    for (const int* expected : {first, second}) {
        const Bits out = f.PaletteApply(palette);
        for (int i = 0; i < 6; ++i)
            EXPECT_EQ(pixelAt(out, i % 3, i / 3), grey(expected[i])) << "pixel " << i;
    }
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(pixelAt(f.BitsView(), i % 3, i / 3), grey(afterSecond[i])) << "pixel " << i;

    // An error of at most 3 in all is not passed on; 4 is. Entries are red, green, blue.
    struct Case {
        Pixel first;
        int blueOfNext;
    };
    for (const Case& c : {Case{{3, 0, 0, 0}, 0}, Case{{4, 0, 0, 0}, 1}}) {
        Bits picture(3, 2);
        setPixel(picture, 0, 0, c.first);
        cBitFilter g = test::filterOn(picture, nullptr);
        (void)g.PaletteApply(palette);
        EXPECT_EQ(g.BitsView()(0, 1, 0), c.blueOfNext); // 4 * 7 div 16 = 1
    }
    mPalette redBlue;
    redBlue.Add(255, 0, 0);
    redBlue.Add(0, 0, 255);
    cBitFilter h = test::filterOn(test::flat(3, 2, {200, 0, 10, 6}), nullptr); // blue is nearer
    EXPECT_EQ(pixelAt(h.PaletteApply(redBlue), 0, 0), (Pixel{255, 0, 0, 6}));
}

TEST(ToneStatistics, PaletteApplyKeepsUnselectedPixelsOfItsResult) {
    const Bits before = test::patterned(8, 8);
    const Region r = test::lShape();
    cBitFilter f = test::filterOn(before, &r);
    const Bits out = f.PaletteApply(blackWhite());
    test::expectOnlySelectedChanged(before, out, r);
    // The error did run into unselected pixels of the picture itself (right of and below the
    // selection), which the result does not show.
    bool outsideChanged = false;
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x)
            outsideChanged |=
                !r.Contains(x, y) && pixelAt(f.BitsView(), x, y) != pixelAt(before, x, y);
    EXPECT_TRUE(outsideChanged);
}

void expectError(const std::function<void()>& call, int number) {
    try {
        call();
        ADD_FAILURE() << "no error";
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), number) << e.what();
    }
}

TEST(ToneStatistics, ErrorsAbortAndLeaveThePictureAlone) {
    // 32 pixels of 0 and 32 of 2: m = 2 (sum 64), 32 div 2 is not above 32, so mid = 1 and
    // lo = 127 / (1 - 1).
    const Bits midOne = byIndex([](int i) { return grey(i < 32 ? 0 : 2); });
    const Bits patterned = test::patterned(8, 8);
    Bits beyondLong = byIndex([](int) { return grey(100); });
    setPixel(beyondLong, 1, 1, {255, 255, 100, 0});
    struct Case {
        const char* name;
        const Bits& picture;
        std::function<void(cBitFilter&)> call;
        int number;
    };
    const Case cases[] = {
        {"Equalize, mid = 1", midOne, [](cBitFilter& f) { (void)f.Equalize(); }, 11},
        {"StuckiBW(0)", patterned, [](cBitFilter& f) { (void)f.StuckiBW(0); }, 11},
        // f = 20000001: L[255] is far beyond a long.
        {"CONTRAST overflow", patterned, [](cBitFilter& f) { (void)f.CONTRAST(2000000000); }, 6},
        {"CONTRAST, percent + 100", patterned, [](cBitFilter& f) { (void)f.CONTRAST(INT32_MAX); },
         6},
        // Mean 6503 div 64 = 101, f = 13000000: L[255] = 154 f + 101 is still a long, but the
        // pixel (255, 255, 100) hands (L[255] - 255) div 2 on to g = L[255], which is not.
        {"CONTRAST, a hand-on beyond a long", beyondLong,
         [](cBitFilter& f) { (void)f.CONTRAST(1299999900); }, 6},
    };
    const Region r = test::lShape();
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        cBitFilter f = test::filterOn(c.picture, &r);
        expectError([&] { c.call(f); }, c.number);
        EXPECT_TRUE(test::samePixels(f.BitsView(), c.picture));
    }

    cBitFilter empty;
    empty.Bits(Bits(0, 0));
    expectError([&] { (void)empty.GetLMed(); }, 11);    // 0 div 0 pixels
    expectError([&] { (void)empty.CONTRAST(10); }, 11); // the same mean
    expectError([&] { (void)empty.Equalize(); }, 9);    // the median walk finds no end
    cBitFilter noColour = test::filterOn(patterned, &r);
    EXPECT_THROW((void)noColour.PaletteApply(mPalette{}), EmptyPaletteError);
    EXPECT_TRUE(test::samePixels(noColour.BitsView(), patterned));
}

TEST(ToneStatistics, SameResultTwiceAndOnAnyNumberOfThreads) {
    const Bits picture = test::patterned(300, 257);
    const Region r = Region::Ellipse(10, 3, 290, 250);
    const std::function<Bits(cBitFilter&)> filters[] = {
        [](cBitFilter& f) { return f.CONTRAST(80); },
        [](cBitFilter& f) { return f.GammaCorrection(40); },
        [](cBitFilter& f) { return f.Equalize(); },
        [](cBitFilter& f) { return f.StuckiBW(10); },
    };
    for (const auto& filter : filters) {
        cBitFilter one = test::filterOn(picture, &r);
        one.SetThreads(1);
        cBitFilter many = test::filterOn(picture, &r);
        many.SetThreads(4);
        const Bits a = filter(one);
        EXPECT_TRUE(test::samePixels(a, filter(one)));
        EXPECT_TRUE(test::samePixels(a, filter(many)));
    }
    cBitFilter one = test::filterOn(picture, nullptr);
    one.SetThreads(1);
    cBitFilter many = test::filterOn(picture, nullptr);
    many.SetThreads(4);
    EXPECT_EQ(one.GetLMed(), many.GetLMed());
    EXPECT_EQ(one.GetLMax(), many.GetLMax());
    EXPECT_EQ(one.GetLMin(), many.GetLMin());
}

TEST(ToneStatistics, WholePicturePassesReportTheirOwnProgress) {
    // Rows 5..10 of 11 selected: the frame's first report is 50, a whole-picture pass starts at 0
    // and ends with its own 100.
    struct Case {
        const char* name;
        std::function<Bits(cBitFilter&)> call;
        int first, hundreds;
    };
    const Case cases[] = {
        {"CONTRAST", [](cBitFilter& f) { return f.CONTRAST(30); }, 0, 2},
        {"StuckiBW", [](cBitFilter& f) { return f.StuckiBW(10); }, 0, 2},
        {"Equalize", [](cBitFilter& f) { return f.Equalize(); }, 50, 1},
        {"GammaCorrection", [](cBitFilter& f) { return f.GammaCorrection(30); }, 50, 1},
    };
    const Region r = Region::Rect(0, 5, 4, 11);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        cBitFilter f = test::filterOn(test::patterned(4, 11), &r);
        std::vector<int> seen;
        f.SetProgress([&](int p) { seen.push_back(p); });
        (void)c.call(f);
        ASSERT_FALSE(seen.empty());
        EXPECT_EQ(seen.front(), c.first);
        EXPECT_EQ(std::count(seen.begin(), seen.end(), 100), c.hundreds);
    }
}

} // namespace
} // namespace velmar
