// Window, block and cell filters: PAINTING, Dissolve, NOISE, PIXELIZE, Halftone, MaskFilter.
// Expected pixels are worked out by hand from the formulas; the arithmetic stands beside them.
#include "filters/filterFixtures.h"
#include "pixel/RuntimeError.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

namespace velmar {
namespace {

using test::Pixel;
using test::pixelAt;

// Blue v(x, y), green v + 1, red v + 2, and a mask byte of its own. Adding a constant to every
// value of a window moves its mean by that constant and leaves its deviation alone, so the
// green and red results of a window filter are the blue one plus 1 and 2.
Bits shifted(int w, int h, const std::function<int(int, int)>& v) {
    Bits b(w, h);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const int b0 = v(x, y);
            test::setPixel(b, x, y, {b0, b0 + 1, b0 + 2, (x * 5 + y) & 255});
        }
    return b;
}

// The channels of a shifted() pixel whose blue is `blue`.
Pixel shiftedRgb(int blue) {
    return {blue, blue + 1, blue + 2};
}
Pixel rgbOf(const Bits& b, int x, int y) {
    const Pixel p = pixelAt(b, x, y);
    return {p[0], p[1], p[2], 0};
}

MaskArray maskOf(int size, std::vector<int> cells) {
    MaskArray m;
    m.m = size - 1;
    for (const int c : cells)
        m.cells.push_back(static_cast<std::uint8_t>(c));
    return m;
}

MaskArray identityMask(int size) {
    std::vector<int> cells(static_cast<std::size_t>(size * size), 0);
    const int half = (size - 1) / 2;
    cells[static_cast<std::size_t>(half * size + half)] = 1;
    return maskOf(size, cells);
}

// Rows 1..5 of the picture around pixel (3, 3), columns 1..5 (the rest is 0). Window 0 (x 1..3,
// y 1..3) and window 1 (x 3..5, y 1..3) are built to have the same deviation:
//   window 0: 30 x6, 45 x3: sum 315, mean 35, dev 6*5 + 3*10 = 60
//   window 1: 45 x3, 60 x6: sum 495, mean 55, dev 3*10 + 6*5 = 60
int windowPicture(int x, int y, const int (&rows45)[2][5]) {
    if (x < 1 || x > 5 || y < 1 || y > 5) return 0;
    if (y >= 4) return rows45[y - 4][x - 1];
    return x <= 2 ? 30 : (x == 3 ? 45 : 60);
}

TEST(NeighbourhoodWindows, PaintingAndDissolvePickTheQuietestWindow) {
    struct Case {
        const char* what;
        int rows45[2][5]; // rows 4 and 5, x 1..5
        int corner;       // value of (1, 1)
        int painting, dissolve;
    };
    const Case cases[] = {
        // Window 2 (x 1..3, y 3..5): 30 30 45 / 0 190 0 / 200 0 0: sum 495, mean 55, dev 560.
        // Window 3 (x 3..5, y 3..5): 45 60 60 / 0 200 0 / 0 0 200: sum 565, mean 62, dev 545.
        // PAINTING's window 1 takes (4, 2) = 60 against mean 55 of window 2 instead of its own
        // 55: still 60. Both filters tie windows 0 and 1 and keep window 0: 35.
        {"tie", {{0, 190, 0, 200, 0}, {200, 0, 0, 0, 200}}, 30, 35, 35},
        // (1, 1) = 21: window 0 is 21, 30 x5, 45 x3: sum 306, mean 34, dev 13 + 20 + 33 = 66.
        // Window 2: 30 30 45 / 0 200 0 / 200 0 200: sum 705, mean 78, dev 729; window 3
        // (45 60 60 / 0 200 0 / 200 0 200): mean 85, dev 690. Dissolve takes window 1 (60 < 66):
        // 55. PAINTING's window 1 becomes 60 - |60 - 55| + |60 - 78| = 73, so window 0: 34.
        {"quirk", {{0, 200, 0, 200, 0}, {200, 0, 200, 0, 200}}, 21, 34, 55},
    };
    // The L, and the pixel alone (a span too short for whole vectors).
    for (const Region& region : {test::lShape(), Region::Rect(3, 3, 4, 4)}) {
        for (const Case& c : cases) {
            SCOPED_TRACE(c.what);
            const Bits picture = shifted(8, 8, [&](int x, int y) {
                return x == 1 && y == 1 ? c.corner : windowPicture(x, y, c.rows45);
            });
            cBitFilter f = test::filterOn(picture, &region);
            const Bits painted = f.PAINTING();
            const Bits dissolved = f.Dissolve();
            EXPECT_EQ(rgbOf(painted, 3, 3), shiftedRgb(c.painting));
            EXPECT_EQ(rgbOf(dissolved, 3, 3), shiftedRgb(c.dissolve));
            test::expectOnlySelectedChanged(picture, painted, region);
            test::expectOnlySelectedChanged(picture, dissolved, region);
        }
    }
}

TEST(NeighbourhoodWindows, WindowsAtTheEdgeReadTheBlackMargin) {
    // A flat 90 picture. At (1, 1): window 0 (x, y -1..1) holds 4 pixels and 5 zeros: mean
    // 360 div 9 = 40, dev 4*50 + 5*40 = 400. Windows 1 and 2 hold 6 pixels: mean 60, dev
    // 6*30 + 3*60 = 360 (PAINTING's term of (2, 0) = 90 against window 2's mean 60 is the same
    // 30). Window 3 lies inside: dev 0. PAINTING takes window 1, whose tie with window 2 keeps it.
    const Region region = test::lShape();
    const Bits picture = test::flat(8, 8, {90, 90, 90, 7});
    cBitFilter f = test::filterOn(picture, &region);
    const Bits painted = f.PAINTING();
    const Bits dissolved = f.Dissolve();
    EXPECT_EQ(rgbOf(painted, 1, 1), (Pixel{60, 60, 60, 0}));
    EXPECT_EQ(rgbOf(dissolved, 1, 1), (Pixel{90, 90, 90, 0}));
    EXPECT_EQ(rgbOf(painted, 3, 2), (Pixel{90, 90, 90, 0})); // every window inside: flat stays
}

TEST(NeighbourhoodWindows, NoiseRepeatsWithItsSeedAndStaysInItsSpan) {
    const Region region = Region::Ellipse(3, 2, 60, 75);
    const Bits picture = test::patterned(64, 80);
    cBitFilter one = test::filterOn(picture, &region);
    one.SetThreads(1);
    cBitFilter two = test::filterOn(picture, &region);
    two.SetThreads(2);
    one.SeedRandom(99);
    two.SeedRandom(99);
    const Bits a = one.NOISE(20, false);
    EXPECT_TRUE(test::samePixels(a, two.NOISE(20, false)));
    EXPECT_FALSE(test::samePixels(a, one.NOISE(20, false))); // the sequence goes on
    // c + r * 41 - 20 with r in [0, 1) rounds to c - 20 .. c + 21, then the clamp.
    for (int y = 0; y < 80; ++y)
        for (int x = 0; x < 64; ++x)
            for (int c = 0; c < 3; ++c) {
                const int v = picture(c, x, y);
                EXPECT_GE(a(c, x, y), std::max(v - 20, 0));
                EXPECT_LE(a(c, x, y), std::min(v + 21, 255));
            }
    test::expectOnlySelectedChanged(picture, a, region);
}

TEST(NeighbourhoodWindows, PixelizeCarriesTheLastAveragesAcrossRowsAndRegionEdges) {
    // v = 10x + 3y; averages truncate. Rows of the L: 1..3 over x 1..6, 4..6 over x 1..3.
    struct Case {
        int size, x, y, blue;
        bool fresh; // the zeros carried before any block: all channels 0
    };
    const Case cases[] = {
        {2, 1, 1, 0, true},   // first pixel, x = 1 is inside block 0..1: nothing computed yet
        {2, 2, 1, 26, false}, // block x 2..3, y 0..1: 20 + 30 + 23 + 33 = 106, div 4
        {2, 3, 1, 26, false},
        {2, 1, 2, 66, false}, // carried from (6, 1): 60 + 70 + 63 + 73 = 266, div 4
        {2, 2, 2, 32, false}, // 26 + 36 + 29 + 39 = 130, div 4
        {2, 1, 4, 72, false}, // carried from (6, 3): block y 2..3: 66 + 76 + 69 + 79 = 290, div 4
        {2, 3, 4, 38, false}, // 32 + 42 + 35 + 45 = 154, div 4
        {3, 2, 1, 0, true},
        {3, 3, 1, 43, false}, // x 3..5, y 0..2: 99 + 129 + 159 = 387, div 9
        {3, 6, 1, 68, false}, // x 6..7 (8 is past W1), y 0..2: 189 + 219 = 408, div 6
        {3, 2, 6, 52, false}, // carried from (3, 5): x 3..5, y 3..5: 126 + 156 + 186 = 468, div 9
        {3, 3, 6, 59, false}, // x 3..5, y 6..7 (8 is past H1), unselected (4, 6) too: 357 div 6
    };
    const Region region = test::lShape();
    const Bits picture = shifted(8, 8, [](int x, int y) { return 10 * x + 3 * y; });
    for (const int size : {2, 3}) {
        cBitFilter f = test::filterOn(picture, &region);
        const Bits out = f.PIXELIZE(size);
        test::expectOnlySelectedChanged(picture, out, region);
        for (const Case& c : cases) {
            if (c.size != size) continue;
            EXPECT_EQ(rgbOf(out, c.x, c.y), c.fresh ? Pixel{} : shiftedRgb(c.blue))
                << "size " << size << " at " << c.x << "," << c.y;
        }
    }
    cBitFilter one = test::filterOn(picture, nullptr);
    EXPECT_TRUE(test::samePixels(picture, one.PIXELIZE(1)));
}

TEST(NeighbourhoodWindows, HalftoneDrawsFadingDiscsPerCell) {
    // r = 1, definition 1: q = 2, limit 2; cells at x, y = 1, 3, 5 over x..x+2, y..y+2, the
    // later cell winning the shared row and column. At (dx, dy) from the cell's middle,
    // f = 1 - d2/2: 1 in the middle, 0.5 beside it, 0 on the corners. v = 10x + 20y.
    struct Case {
        int intensity, x, y;
        Pixel expected;
    };
    const Case cases[] = {
        // Cell (1, 1), all 9 selected: 3*(10+20+30) + 3*(20+40+60) = 540, mean 60, f = 1.
        {0, 2, 2, shiftedRgb(60)},
        // Cell (3, 1): 3*(30+40+50) + 3*(20+40+60) = 720, mean 80.
        {0, 4, 2, shiftedRgb(80)},
        // Last written by cell (3, 3) at a corner: black.
        {0, 3, 3, {0, 0, 0}},
        // Cell (5, 3) selects only (5, 3) = 110 and (6, 3) = 120: mean 115 (116, 117); f = 0.5:
        // 57.5, 58, 58.5 round half to even.
        {0, 6, 3, {58, 58, 58}},
        // Cell (1, 5) selects rows 5, 6 of x 1..3: 2*60 + 3*(100+120) = 780, mean 130, f = 0.5.
        {0, 2, 5, {65, 66, 66}},
        // Gain 2: n = round(4.5) = 4; 540/4 = 135, 549/4 = 137.25, 558/4 = 139.5 rounds to 140.
        {100, 2, 2, {135, 137, 140}},
        // Gain 2: cell (5, 3) has n = 1, mean 230 (232, 234); f = 0.5.
        {100, 6, 3, {115, 116, 117}},
        // Gain 4: cell (1, 5) has n = round(1.5) = 2, mean 390 capped to 255; 127.5 rounds to 128.
        {300, 2, 5, {128, 128, 128}},
        // Gain -1: every n is negative, the means never leave their first value 0.
        {-200, 2, 2, {0, 0, 0}},
    };
    const Region region = test::lShape();
    const Bits picture = shifted(8, 8, [](int x, int y) { return 10 * x + 20 * y; });
    for (const Case& c : cases) {
        cBitFilter f = test::filterOn(picture, &region);
        const Bits out = f.Halftone(1, 1, c.intensity);
        EXPECT_EQ(rgbOf(out, c.x, c.y), c.expected)
            << "intensity " << c.intensity << " at " << c.x << "," << c.y;
        test::expectOnlySelectedChanged(picture, out, region);
        EXPECT_EQ(f.LoopX(), 7); // cell corners 1, 3, 5 in both directions
        EXPECT_EQ(f.LoopY(), 7);
    }
}

TEST(NeighbourhoodWindows, HalftoneWithARadiusBeyondThePicture) {
    // r = 200, definition 200: q = 2, limit 80000. One cell at (1, 1) holds the whole L:
    // rows 1..3: 10*21*3 + 20*(1+2+3)*6 = 1350; rows 4..6: 10*6*3 + 20*(4+5+6)*3 = 1080;
    // 2430 / 27 = 90 (91, 92). Its middle is (201, 201).
    const Region region = test::lShape();
    const Bits picture = shifted(8, 8, [](int x, int y) { return 10 * x + 20 * y; });
    cBitFilter f = test::filterOn(picture, &region);
    const Bits out = f.Halftone(200, 200, 0);
    // (6, 3): d2 = 195^2 + 198^2 = 77229, f = 2771 / 80000 = 0.0346; 3.12, 3.15, 3.19.
    EXPECT_EQ(rgbOf(out, 6, 3), (Pixel{3, 3, 3, 0}));
    // (1, 1): d2 = 80000, f = 0.
    EXPECT_EQ(rgbOf(out, 1, 1), (Pixel{0, 0, 0, 0}));
    test::expectOnlySelectedChanged(picture, out, region);
}

TEST(NeighbourhoodWindows, HalftoneOnAFlatPictureRepeatsItsDisc) {
    // 101, 103, 105 halved: 50.5, 51.5, 52.5 round half to even to 50, 52, 52.
    const Bits picture = test::flat(7, 7, {101, 103, 105, 9});
    cBitFilter f = test::filterOn(picture, nullptr);
    const Bits out = f.Halftone(1, 1, 0);
    for (int y = 0; y < 7; ++y)
        for (int x = 0; x < 7; ++x) {
            const int odd = (x % 2) + (y % 2); // cell middles lie on odd x and y
            const Pixel expected = odd == 2   ? Pixel{101, 103, 105, 9}
                                   : odd == 1 ? Pixel{50, 52, 52, 9}
                                              : Pixel{0, 0, 0, 9};
            EXPECT_EQ(pixelAt(out, x, y), expected) << x << "," << y;
        }
}

TEST(NeighbourhoodWindows, MaskFilterIdentityKernelsLeaveThePictureAlone) {
    // Sizes 3 and 5 have their own kernels; 4 and 7 (whose reads pass the margin) the general one.
    const Region region = test::lShape();
    const Bits picture = test::patterned(8, 8);
    for (const int size : {3, 4, 5, 7}) {
        cBitFilter f = test::filterOn(picture, &region);
        EXPECT_TRUE(test::samePixels(picture, f.MaskFilter(identityMask(size), 1, 0, 0, 0, false)))
            << size;
    }
}

TEST(NeighbourhoodWindows, MaskFilterSumsDividesOffsetsAndClamps) {
    // v = 10x + 20y (green +1, red +2).
    const MaskArray smooth = maskOf(3, {1, 2, 1, 2, 4, 2, 1, 2, 1});
    struct Case {
        const char* what;
        MaskArray mask;
        int divisor, red, green, blue, x, y;
        Pixel expected;
    };
    const Case cases[] = {
        // Around (1, 1): 0 + 2*10 + 20 + 2*20 + 4*30 + 2*40 + 40 + 2*50 + 60 = 480, div 10.
        // Green and red add 16 and 32 to the sum: 496, 512.
        {"smooth", smooth, 10, 0, 0, 0, 1, 1, {48, 49, 51}},
        // Offsets: blue 48 + 5, green 49 - 300 clamps to 0, red 51 + 250 clamps to 255.
        {"offsets", smooth, 10, 250, -300, 5, 1, 1, {53, 0, 255}},
        // At (0, 0) the margin reads zero: 10 + 20 + 30 = 60 (green 64, red 68), div 1.
        {"corner", maskOf(3, {1, 1, 1, 1, 1, 1, 1, 1, 1}), 1, 0, 0, 0, 0, 0, {60, 64, 68}},
        // 7 x 7 ones at (0, 0) read x and y -3..3: only x, y 0..3 lie in the picture:
        // 4*(0+10+20+30) + 4*(0+20+40+60) = 720 (green 736, red 752), div 10.
        {"beyond the margin", maskOf(7, std::vector<int>(49, 1)), 10, 0, 0, 0, 0, 0, {72, 73, 75}},
        // A negative divisor truncates toward zero: v(3, 1) = 50; 50 div -2 = -25,
        // 51 div -2 = -25, 52 div -2 = -26; plus 100.
        {"negative divisor", identityMask(3), -2, 100, 100, 100, 3, 1, {75, 75, 74}},
        // A divisor of 2^24 is past single precision: the sums go through integers. 50 div 2^24
        // is 0, so only the offsets are left.
        {"exact path", identityMask(3), 1 << 24, 7, 8, 9, 3, 1, {9, 8, 7}},
    };
    const Bits picture = shifted(8, 8, [](int x, int y) { return 10 * x + 20 * y; });
    const Region corner = Region::Rect(0, 0, 4, 4);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        cBitFilter f = test::filterOn(picture, &corner);
        const Bits out = f.MaskFilter(c.mask, c.divisor, c.red, c.green, c.blue, false);
        EXPECT_EQ(rgbOf(out, c.x, c.y), c.expected);
        test::expectOnlySelectedChanged(picture, out, corner);
    }
}

TEST(NeighbourhoodWindows, MaskFilterKeepInsideKeepsTheMaskInThePicture) {
    // No selection: the whole 8 x 8 picture. With KeepInside, a 3 x 3 mask (m 2, half 1) has its
    // centres on 1..6, a 4 x 4 one (m 3, half 1) on 1..5. Identity plus 1 on every channel.
    const Bits picture = test::patterned(8, 8);
    struct Case {
        int size, last;
    };
    for (const Case c : {Case{3, 6}, Case{4, 5}}) {
        cBitFilter f = test::filterOn(picture, nullptr);
        const Bits out = f.MaskFilter(identityMask(c.size), 1, 1, 1, 1, true);
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 8; ++x) {
                const bool inside = x >= 1 && x <= c.last && y >= 1 && y <= c.last;
                for (int ch = 0; ch < 4; ++ch) {
                    const int v = picture(ch, x, y);
                    EXPECT_EQ(out(ch, x, y), inside && ch < 3 ? std::min(v + 1, 255) : v)
                        << c.size << ": " << x << "," << y;
                }
            }
        // The box of the top-left taps: 0..7 moved by -1 and cut to 0..(7 - m): loops end past it.
        EXPECT_EQ(f.LoopX(), c.last);
        EXPECT_EQ(f.LoopY(), c.last);
    }
}

TEST(NeighbourhoodWindows, ErrorsLeaveThePictureUntouched) {
    struct Case {
        const char* what;
        std::function<Bits(cBitFilter&)> run;
        int number;
    };
    const Case cases[] = {
        {"PIXELIZE 0", [](cBitFilter& f) { return f.PIXELIZE(0); }, 11},
        {"MaskFilter divisor 0",
         [](cBitFilter& f) { return f.MaskFilter(identityMask(3), 0, 0, 0, 0, false); }, 11},
        {"Halftone radius 0", [](cBitFilter& f) { return f.Halftone(0, 1, 0); }, 11},  // 1 / 0
        {"Halftone 0 / 0", [](cBitFilter& f) { return f.Halftone(0, 0, 0); }, 6},      // 0 / 0
        {"Halftone gain 0", [](cBitFilter& f) { return f.Halftone(1, 1, -100); }, 11}, // 9 / 0
        {"Halftone limit 0", [](cBitFilter& f) { return f.Halftone(1, -1, 0); }, 6},   // 0 / 0
        {"NOISE span", [](cBitFilter& f) { return f.NOISE(1 << 30, false); }, 6},      // 2^31 + 1
    };
    const Region region = test::lShape();
    const Bits picture = test::patterned(8, 8);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        cBitFilter f = test::filterOn(picture, &region);
        try {
            (void)c.run(f);
            ADD_FAILURE() << "no error";
        } catch (const RuntimeError& e) {
            EXPECT_EQ(e.number(), c.number);
        }
        EXPECT_TRUE(test::samePixels(picture, f.BitsView()));
    }
}

TEST(NeighbourhoodWindows, SameResultTwiceAndOnAnyNumberOfThreads) {
    const MaskArray gauss5 =
        maskOf(5, {1, 1, 2, 1, 1, 1, 2, 4, 2, 1, 2, 4, 8, 4, 2, 1, 2, 4, 2, 1, 1, 1, 2, 1, 1});
    const std::function<Bits(cBitFilter&)> filters[] = {
        [](cBitFilter& f) { return f.PAINTING(); },
        [](cBitFilter& f) { return f.Dissolve(); },
        [](cBitFilter& f) { return f.PIXELIZE(5); },
        [](cBitFilter& f) { return f.Halftone(3, 2, 10); },
        [&](cBitFilter& f) { return f.MaskFilter(gauss5, 52, 3, 0, -3, true); },
    };
    const Bits picture = test::patterned(300, 130);
    const Region region = Region::Ellipse(5, 3, 290, 128);
    for (const auto& run : filters) {
        cBitFilter one = test::filterOn(picture, &region);
        one.SetThreads(1);
        cBitFilter two = test::filterOn(picture, &region);
        two.SetThreads(2);
        const Bits first = one.Bits();
        const Bits a = run(one);
        EXPECT_TRUE(test::samePixels(a, run(one)));
        EXPECT_TRUE(test::samePixels(a, run(two)));
        EXPECT_FALSE(test::samePixels(a, first));
    }
}

} // namespace
} // namespace velmar
