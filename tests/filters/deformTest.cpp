// Deformations: the source positions of the mappings, worked out by hand on an 8 by 8 picture
// (W1 = H1 = 7, centre cx = cy = 3), the selection tested at the source, the clean flag, the
// identities, the destination-tested filters, and the run-time errors.
#include "filters/filterFixtures.h"
#include "pixel/RuntimeError.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <vector>

namespace velmar {
namespace {

using test::Pixel;
using test::pixelAt;

constexpr int kKept = -100;  // the pixel keeps its value
constexpr int kBlack = -200; // the pixel turns black, its mask byte kept

// Destination (x, y) takes the colour of the source (sx, sy), or kKept / kBlack in sx.
struct Moved {
    int x, y, sx, sy;
};

void expectMoved(const Bits& out, const Bits& picture, const Moved& m) {
    SCOPED_TRACE(::testing::Message() << "destination (" << m.x << ", " << m.y << ")");
    const Pixel own = pixelAt(picture, m.x, m.y);
    Pixel want = own;
    if (m.sx == kBlack) {
        want = {0, 0, 0, own[3]};
    } else if (m.sx != kKept) {
        want = pixelAt(picture, m.sx, m.sy);
        want[3] = own[3];
    }
    EXPECT_EQ(pixelAt(out, m.x, m.y), want);
}

// The source-tested family may change any pixel of the box, but nothing outside it, and never a
// mask byte.
void expectOnlyBoxChanged(const Bits& before, const Bits& after, const IntRect& box) {
    for (int y = -2; y < before.Height() + 2; ++y)
        for (int x = -2; x < before.Width() + 2; ++x)
            for (int c = 0; c < 4; ++c) {
                const bool inBox = x >= box.left && x < box.right && y >= box.top && y < box.bottom;
                if (inBox && c < 3) continue;
                ASSERT_EQ(before(c, x, y), after(c, x, y)) << c << " of " << x << ", " << y;
            }
}

const IntRect kLBox{1, 1, 7, 7};  // the box of test::lShape()
const IntRect kWhole{0, 0, 8, 8}; // no selection

struct MappingCase {
    const char* what;
    bool lShape; // the L selection, or none
    std::function<Bits(cBitFilter&)> run;
    std::vector<Moved> pixels;
};

TEST(Deform, SourcePositionsOfTheMappings) {
    const Region l = test::lShape(); // rows 1..3: x 1..6; rows 4..6: x 1..3
    const MappingCase cases[] = {
        // a = 90 * 0.0174532886... = 1.57079598: cos a = 3.5e-7, sin a = 1 - 6e-14, so
        // sx = round(-dy + 3) = 6 - y and sy = round(dx + 3) = x.
        {"ROTATE 90",
         true,
         [](cBitFilter& f) { return f.ROTATE(90, false); },
         {{1, 1, 5, 1},       // source (5, 1) is selected
          {5, 2, kKept, 0},   // source (4, 5) is not: a miss keeps the pixel
          {4, 5, 1, 4},       // outside the L but inside its box: changes
          {1, 6, kKept, 0},   // source (0, 1)
          {0, 0, kKept, 0}}}, // outside the box
        {"ROTATE 90 clean",
         true,
         [](cBitFilter& f) { return f.ROTATE(90, true); },
         {{1, 1, 5, 1}, {5, 2, kBlack, 0}, {6, 6, kBlack, 0}, {0, 0, kKept, 0}}},
        // vertical 350: the factor of x is (dy/100)*350/7 + 1 = dy/2 + 1; horizontal 0 keeps y.
        {"FOLD 0 350",
         true,
         [](cBitFilter& f) { return f.FOLD(0, 350, false); },
         {{5, 1, 3, 1},       // dy -2: factor 0, sx = cx
          {6, 2, 4, 2},       // dy -1: 0.5 * 3 + 3 = 4.5 rounds to even 4
          {2, 3, 2, 3},       // dy 0: itself
          {1, 6, kKept, 0}}}, // dy 3: 2.5 * -2 + 3 = -2
        // The horizontal factor bends y: (dx/100)*350/7 + 1 = dx/2 + 1.
        {"FOLD 350 0",
         true,
         [](cBitFilter& f) { return f.FOLD(350, 0, false); },
         {{1, 6, 1, 3},       // dx -2: factor 0, sy = cy
          {6, 5, kKept, 0}}}, // dx 3: 2.5 * 2 + 3 = 8
        // xs = round((x - 3) * 2 + 3): -3 -1 1 3 5 7 9 11; ys = round((y - 3) * 0.5 + 3):
        // 1.5 -> 2, 2, 2.5 -> 2, 3, 3.5 -> 4, 4, 4.5 -> 4, 5.
        {"STRETCH 100 -50",
         true,
         [](cBitFilter& f) { return f.STRETCH(100, -50, true); },
         {{2, 1, 1, 2},
          {3, 6, 3, 4},
          {4, 4, kBlack, 0}, // source (5, 4) is outside the L
          {6, 1, kBlack, 0}, // source (9, 2) is outside the picture
          {7, 7, kKept, 0}}},
        // k = 2. (2, 4): dy 1, dx -1: t = -atan(-1) = pi/4 -> 0.785 * 7 / 2pi = 0.875 -> 1;
        // rr = 2 * sqrt(2) = 2.83 -> sy = round(4.17) = 4. (3, 2): dy -1, dx 0: t = -(0 + pi)
        // + 2pi = pi (single precision both) -> 3.5 exactly -> 4; sy = 7 - 2 = 5.
        // (3, 5): dy 2, dx 0: t = 0 -> 0; sy = 7 - 4 = 3.
        {"BEND 0",
         false,
         [](cBitFilter& f) { return f.BEND(0, false); },
         {{2, 4, 1, 4}, {3, 2, 4, 5}, {3, 5, 0, 3}}},
        // k = 0, off = 90 degrees. (3, 5): dx 0: angle pi/2 + off ~ pi: (round(-2 + 3), 3).
        // (5, 3): angle 0 + off: (3, 2 + 3). (4, 4): r = round(1.41) = 1, angle 3pi/4:
        // (round(3 - 0.71), round(3 + 0.71)) = (2, 4). (6, 7): r = 5, cos = -0.8: sx = -1.
        {"TWIRL 0 90",
         false,
         [](cBitFilter& f) { return f.TWIRL(0, 90, false); },
         {{3, 5, 1, 3}, {5, 3, 3, 5}, {4, 4, 2, 4}, {6, 7, kKept, 0}, {3, 3, 3, 3}}},
        // k = (30/10)/3 = 1: a turn of -r. (4, 3): r 1: (round(3 + cos -1), round(3 + sin -1))
        // = (round(3.54), round(2.16)) = (4, 2). (5, 3): r 2: (round(3 - 0.83), round(3 - 1.82))
        // = (2, 1).
        {"TWIRL 30 0",
         false,
         [](cBitFilter& f) { return f.TWIRL(30, 0, false); },
         {{4, 3, 4, 2}, {5, 3, 2, 1}}},
    };
    const Bits picture = test::patterned(8, 8);
    for (const MappingCase& c : cases) {
        SCOPED_TRACE(c.what);
        cBitFilter f = test::filterOn(picture, c.lShape ? &l : nullptr);
        const Bits out = c.run(f);
        for (const Moved& m : c.pixels)
            expectMoved(out, picture, m);
        expectOnlyBoxChanged(picture, out, c.lShape ? kLBox : kWhole);
        EXPECT_TRUE(test::samePixels(c.run(f), out)); // the object's picture is untouched
        EXPECT_EQ(f.LoopX(), c.lShape ? 7 : 8);
        EXPECT_EQ(f.LoopY(), c.lShape ? 7 : 8);
    }
}

TEST(Deform, SelectionOfSeveralSpansPerRowIsTestedAtTheSource) {
    // Columns 1..2 and 5..6 of rows 1..6. ROTATE 90 takes (6 - y, x).
    const IntRect rects[] = {{1, 1, 3, 7}, {5, 1, 7, 7}};
    const Region bars = Region::FromRects(rects);
    const Bits picture = test::patterned(8, 8);
    cBitFilter f = test::filterOn(picture, &bars);
    const Bits out = f.ROTATE(90, true);
    expectMoved(out, picture, {1, 1, 5, 1});      // source (5, 1): right bar
    expectMoved(out, picture, {4, 1, 5, 4});      // gap column, source (5, 4)
    expectMoved(out, picture, {3, 3, kBlack, 0}); // source (3, 3) lies in the gap
    expectMoved(out, picture, {2, 5, 1, 2});      // source (1, 2): left bar
    expectMoved(out, picture, {2, 2, kBlack, 0}); // source (4, 2): gap
}

TEST(Deform, IdentitiesCopyThePicture) {
    const Region l = test::lShape();
    const Bits picture = test::patterned(8, 8);
    // Without the clean flag: a pixel of the L's box outside the L is its own source, which
    // misses, and stays.
    const std::function<Bits(cBitFilter&)> identities[] = {
        [](cBitFilter& f) { return f.ROTATE(0, false); },
        [](cBitFilter& f) { return f.TWIRL(0, 0, false); }, // r rounds, but the angle is exact
        [](cBitFilter& f) { return f.DIFFUSE(0, 0); },
        [](cBitFilter& f) { return f.FOLD(0, 0, false); },
        [](cBitFilter& f) { return f.STRETCH(0, 0, false); },
        [](cBitFilter& f) { return f.Flip(false, false); },
    };
    for (const Region* region : {static_cast<const Region*>(nullptr), &l})
        for (const auto& run : identities) {
            cBitFilter f = test::filterOn(picture, region);
            EXPECT_TRUE(test::samePixels(run(f), picture));
        }
}

TEST(Deform, WavesMovesRowsWithinThePicture) {
    // rows[y] = round(a/4 * sin(90y * pi/180) + y): with a = 8 the sine is 0, 1, 0, -1, ...
    // (pi single precision: 6e-7 from 0), so rows are 0 3 2 1 4 7 6 5. With a = 40 they would
    // be 0 11 2 -7 4 15 6 -3, limited to 0 7 2 0 4 7 6 0.
    const Region l = test::lShape();
    const Bits picture = test::patterned(8, 8);
    struct Case {
        int amplitude;
        int rows[8];
    };
    const Case cases[] = {{8, {0, 3, 2, 1, 4, 7, 6, 5}}, {40, {0, 7, 2, 0, 4, 7, 6, 0}}};
    for (const Case& c : cases) {
        cBitFilter f = test::filterOn(picture, &l);
        const Bits out = f.WAVES(90, c.amplitude, 0);
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 8; ++x)
                expectMoved(out, picture, {x, y, l.Contains(x, y) ? x : kKept, c.rows[y]});
        test::expectOnlySelectedChanged(picture, out, l);
    }
}

TEST(Deform, FlipIgnoresTheSelection) {
    const Region l = test::lShape();
    const Bits picture = test::patterned(8, 8);
    cBitFilter f = test::filterOn(picture, &l);
    for (const bool h : {false, true})
        for (const bool v : {false, true}) {
            const Bits out = f.Flip(h, v);
            for (int y = 0; y < 8; ++y)
                for (int x = 0; x < 8; ++x)
                    expectMoved(out, picture, {x, y, h ? 7 - x : x, v ? 7 - y : y});
            cBitFilter back = test::filterOn(out, nullptr);
            EXPECT_TRUE(test::samePixels(back.Flip(h, v), picture));
        }
    EXPECT_EQ(f.LoopX(), 8);
    EXPECT_EQ(f.LoopY(), 8);
}

TEST(Deform, TileOfTwoMakesFourHalfSizeCopies) {
    // tw = th = round(7/2) = 4 (even), f = 7/4: a cell's column l reads round(1.75 l):
    // 0, 2, 4 (3.5 to even), 5. Cells overlap by a column; the later cell wins it (l = 0).
    const int source[4] = {0, 2, 4, 5};
    const Bits picture = test::patterned(8, 8);
    cBitFilter f = test::filterOn(picture, nullptr);
    const Bits out = f.TILE(2);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x)
            expectMoved(out, picture, {x, y, source[x % 4], source[y % 4]});
    // The cells start at the box of the L: (1, 1), (5, 1), (1, 5)...
    const Region l = test::lShape();
    cBitFilter g = test::filterOn(picture, &l);
    const Bits inL = g.TILE(2);
    expectMoved(inL, picture, {1, 1, 0, 0});
    expectMoved(inL, picture, {4, 2, 5, 2});
    expectMoved(inL, picture, {5, 3, 0, 4});
    expectMoved(inL, picture, {2, 6, 2, 2});
    test::expectOnlySelectedChanged(picture, inL, l);
    EXPECT_EQ(g.LoopX(), 9); // cells at 1 and 5, then 9
    EXPECT_EQ(g.LoopY(), 9);
}

TEST(Deform, TileMaskMixesTheMaskAndSkipsTheKey) {
    // A 2 by 2 mask over a flat (100, 50, 201) picture at 50 %: c' = round(c/2 + m/2).
    Bits mask(2, 2);
    test::setPixel(mask, 0, 0, {10, 20, 30, 0});    // the key colour 0x0A141E (0x00BBGGRR)
    test::setPixel(mask, 1, 0, {0, 60, 100, 0});    // 50, 55, 150.5 -> 150
    test::setPixel(mask, 0, 1, {255, 255, 255, 0}); // 177.5 -> 178, 152.5 -> 152, 228
    test::setPixel(mask, 1, 1, {100, 51, 201, 0});  // 100, 50.5 -> 50, 201
    const Pixel flatColour{100, 50, 201, 9};
    const Pixel m10{50, 55, 150, 9}, m01{178, 152, 228, 9}, m11{100, 50, 201, 9};
    const Bits picture = test::flat(8, 8, flatColour);
    const Region l = test::lShape();
    const COLORREF key = 0x0A141E;

    // Repeated from (1, 1): placements at 1, 3, 5, 7 each way; only the L changes.
    cBitFilter f = test::filterOn(picture, &l);
    const Bits out = f.TileMask(mask, 1, 1, true, 50, static_cast<std::int32_t>(key));
    EXPECT_EQ(pixelAt(out, 1, 1), flatColour); // the key
    EXPECT_EQ(pixelAt(out, 2, 1), m10);
    EXPECT_EQ(pixelAt(out, 5, 2), m01);
    EXPECT_EQ(pixelAt(out, 2, 6), m11);
    EXPECT_EQ(pixelAt(out, 6, 6), flatColour); // not selected
    test::expectOnlySelectedChanged(picture, out, l);

    // Once at (2, 3), without a key, and a key with a high byte, which matches nothing.
    for (const std::int32_t noKey : {-1, static_cast<std::int32_t>(key | 0x01000000)}) {
        cBitFilter g = test::filterOn(picture, nullptr);
        const Bits once = g.TileMask(mask, 2, 3, false, 50, noKey);
        EXPECT_EQ(pixelAt(once, 2, 3), (Pixel{55, 35, 116, 9})); // 55, 35, 115.5 -> 116
        EXPECT_EQ(pixelAt(once, 3, 4), m11);
        EXPECT_EQ(pixelAt(once, 4, 3), flatColour);
        EXPECT_EQ(pixelAt(once, 2, 5), flatColour);
        EXPECT_EQ(pixelAt(once, 0, 1), flatColour);
    }
}

TEST(Deform, LensMagnifiesInsideTheDisc) {
    // cx = cy = round(3.5) = 4, R = 4, m = 90*4/150 = 2.4 (single), limit = round(16 - 5.76)
    // = 10. (dx, dy) = (3, 0): z = round(sqrt 7) = 3, round(7.2) div 3 = 2: source (6, 4).
    // (-3, 0): -7 div 3 = -2 (toward zero): (2, 4). (0, -3): (4, 2). (2, -2): z 3,
    // round(4.8) = 5 div 3 = 1, -5 div 3 = -1: (5, 3). (3, 1): 10 is not below the limit.
    const Bits picture = test::patterned(8, 8);
    const Region l = test::lShape();
    cBitFilter f = test::filterOn(picture, &l);
    const Bits out = f.LENS(0.5f, 0.5f, 0.5f, 60);
    expectMoved(out, picture, {1, 4, 2, 4});
    expectMoved(out, picture, {4, 1, 4, 2});
    expectMoved(out, picture, {6, 2, 5, 3});
    test::expectOnlySelectedChanged(picture, out, l);
    cBitFilter g = test::filterOn(picture, nullptr);
    const Bits whole = g.LENS(0.5f, 0.5f, 0.5f, 60);
    expectMoved(whole, picture, {7, 4, 6, 4});
    expectMoved(whole, picture, {7, 5, kKept, 0});
    // A source outside the picture reads black: with cx = 0 and magnify 250, m = -8/3,
    // (dx, dy) = (2, 0): round(-5.33) div round(sqrt 12) = -5 div 3 = -1.
    expectMoved(g.LENS(0.0f, 0.5f, 0.5f, 250), picture, {2, 4, kBlack, 0});
}

TEST(Deform, FisheyeLeavesThePictureAsItWas) {
    // LENS(50, 50, 60, 60): the disc of radius 0.8 R = 48 W1 around (50 W1, 50 H1) lies 49 W1
    // or more from the picture.
    for (const int w : {8, 301}) {
        const Bits picture = test::patterned(w, 200);
        const Region l = Region::Ellipse(3, 3, w - 2, 190);
        for (const Region* region : {static_cast<const Region*>(nullptr), &l}) {
            cBitFilter f = test::filterOn(picture, region);
            std::vector<int> reports;
            f.SetProgress([&](std::int32_t p) { reports.push_back(p); });
            EXPECT_TRUE(test::samePixels(f.LENS(50.0f, 50.0f, 60.0f, 60), picture));
            ASSERT_FALSE(reports.empty());
            EXPECT_EQ(reports.back(), 100);
        }
    }
}

TEST(Deform, RunTimeErrorsLeaveThePictureAlone) {
    struct ErrorCase {
        const char* what;
        int width, height;
        std::function<Bits(cBitFilter&)> run;
        int number;
    };
    const double inf = std::numeric_limits<double>::infinity();
    const ErrorCase cases[] = {
        {"ROTATE infinity: cos is no number", 8, 8,
         [=](cBitFilter& f) { return f.ROTATE(inf, false); }, 6},
        {"TWIRL on one column: 0.5 / cx 0", 1, 8,
         [](cBitFilter& f) { return f.TWIRL(5, 0, false); }, 11},
        {"TWIRL 0 on one column: 0 / 0", 1, 8, [](cBitFilter& f) { return f.TWIRL(0, 0, false); },
         6},
        {"FOLD on one row: 0 / H1 0", 8, 1, [](cBitFilter& f) { return f.FOLD(10, 10, false); }, 6},
        {"TILE 0", 8, 8, [](cBitFilter& f) { return f.TILE(0); }, 11},
        {"WAVES: 2 * 2^30 leaves a long", 8, 8,
         [](cBitFilter& f) { return f.WAVES(1 << 30, 1, 0); }, 6},
        {"LENS: R leaves a long", 8, 8, [](cBitFilter& f) { return f.LENS(0.5f, 0.5f, 1e9f, 60); },
         6},
        {"TileMask 200 %: 2 * 201 - 100", 8, 8,
         [](cBitFilter& f) {
             Bits mask(1, 1);
             test::setPixel(mask, 0, 0, {0, 0, 100, 0});
             return f.TileMask(mask, 0, 0, true, 200, -1);
         },
         6},
    };
    for (const ErrorCase& c : cases) {
        SCOPED_TRACE(c.what);
        Bits picture = test::patterned(c.width, c.height);
        for (int y = 0; y < c.height; ++y)
            for (int x = 0; x < c.width; ++x)
                picture(2, x, y) = 201;
        cBitFilter f = test::filterOn(picture, nullptr);
        try {
            (void)c.run(f);
            ADD_FAILURE() << "no error";
        } catch (const RuntimeError& e) {
            EXPECT_EQ(e.number(), c.number);
        }
        EXPECT_TRUE(test::samePixels(f.BitsView(), picture));
    }
}

TEST(Deform, ResultsDoNotDependOnTheThreads) {
    const Bits picture = test::patterned(97, 131);
    const Region ellipse = Region::Ellipse(2, 3, 95, 129);
    const std::function<Bits(cBitFilter&)> runs[] = {
        [](cBitFilter& f) { return f.ROTATE(33, true); },
        [](cBitFilter& f) { return f.FOLD(40, -20, false); },
        [](cBitFilter& f) { return f.TILE(3); },
        [](cBitFilter& f) { return f.WAVES(7, 30, 5); },
        [](cBitFilter& f) { return f.LENS(0.4f, 0.6f, 0.3f, 40); },
        [](cBitFilter& f) { return f.Flip(true, true); },
        [](cBitFilter& f) { return f.TileMask(test::patterned(5, 3), -2, 1, true, 30, -1); },
    };
    for (const auto& run : runs) {
        cBitFilter one = test::filterOn(picture, &ellipse);
        one.SetThreads(1);
        cBitFilter three = test::filterOn(picture, &ellipse);
        three.SetThreads(3);
        EXPECT_TRUE(test::samePixels(run(one), run(three)));
    }
}

// BEND and TWIRL compute their angles another way than the formula and fall back on it near
// rounding ties; here the formula, taken literally, against every pixel of a picture large
// enough for the vector loops and several threads, for ordinary and for extreme arguments.
TEST(Deform, FastAnglesMatchTheFormulasEverywhere) {
    const int w = 203, h = 151;
    const int W1 = w - 1, H1 = h - 1, cx = W1 / 2, cy = H1 / 2;
    const double kTwoPi = 6.283184051513672;
    const double kDegree = 0.017453288659453392;
    // Every destination takes its own source position's colour: a picture whose colour names
    // its position tells the position back.
    Bits picture(w, h);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            test::setPixel(picture, x, y, {x & 255, y & 255, (x >> 8) | (y >> 8) << 4, 0});
    auto sourceOf = [&](const Bits& out, int x, int y) {
        return std::pair{out(0, x, y) | (out(2, x, y) & 15) << 8, out(1, x, y) | (out(2, x, y) >> 4)
                                                                                     << 8};
    };
    auto check = [&](const Bits& out, auto formula) {
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const auto [sx, sy] = formula(x - cx, y - cy);
                const bool in = sx >= 0 && sx <= W1 && sy >= 0 && sy <= H1;
                const auto want = in ? std::pair{sx, sy} : std::pair{-1, -1};
                const auto got = in ? sourceOf(out, x, y) : std::pair{-1, -1};
                ASSERT_EQ(got, want) << x << ", " << y;
                if (!in) {
                    ASSERT_EQ(pixelAt(out, x, y), (Pixel{0, 0, 0, 0}));
                }
            }
    };
    for (const int radius : {0, 50, 333, -150}) {
        SCOPED_TRACE(radius);
        cBitFilter f = test::filterOn(picture, nullptr);
        f.SetThreads(3);
        const double k = static_cast<float>(radius / 100.0 + 2.0);
        check(f.BEND(radius, true), [&](int dx, int dy) {
            double t = -cBitFilter::PolarAngle(dy, dx);
            if (dy < 0 || dx > 0) t += kTwoPi;
            return std::pair{static_cast<int>(std::nearbyint(t * W1 / kTwoPi)),
                             static_cast<int>(std::nearbyint(
                                 H1 - k * std::sqrt(static_cast<double>(dx) * dx + dy * dy)))};
        });
    }
    const int twirls[][2] = {{0, 0}, {20, 30}, {-45, 0}, {7, -270}, {1000000000, 10}, {3, 360}};
    for (const auto& t : twirls) {
        SCOPED_TRACE(::testing::Message() << t[0] << " " << t[1]);
        cBitFilter f = test::filterOn(picture, nullptr);
        f.SetThreads(3);
        const double k = (t[0] / 10.0) / cx, off = t[1] * kDegree;
        check(f.TWIRL(t[0], t[1], true), [&](int dx, int dy) {
            const double r = std::nearbyint(
                std::sqrt(static_cast<double>(dx) * dx + static_cast<double>(dy) * dy));
            if (r == 0) return std::pair{cx, cy};
            const double a = cBitFilter::PolarAngle(dx, dy) - r * k;
            return std::pair{static_cast<int>(std::nearbyint(r * std::cos(a + off) + cx)),
                             static_cast<int>(std::nearbyint(r * std::sin(a + off) + cy))};
        });
    }
}

} // namespace
} // namespace velmar
