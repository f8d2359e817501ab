// Neighbourhood filters. Most cases work on a flat picture F = (100, 50, 200, mask 7) with one
// pixel P = (220, 151, 0, mask 9): each expected pixel is worked out by hand from the formula,
// relative to P. Every case runs twice: on an 8x8 picture in the L-shaped selection (P at 2, 2;
// short spans) and on a wide picture with no selection (P at 21, 3; long spans, the vector
// kernels).
#include "filters/filterFixtures.h"
#include "pixel/RuntimeError.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <functional>
#include <vector>

namespace velmar {
namespace {

using test::Pixel;
using test::pixelAt;
using test::setPixel;

constexpr Pixel kF{100, 50, 200, 7};
constexpr Pixel kP{220, 151, 0, 9};

Bits spikePicture(int w, int h, int px, int py) {
    Bits b = test::flat(w, h, kF);
    setPixel(b, px, py, kP);
    return b;
}

struct At {
    int dx, dy; // from P
    Pixel p;
};
struct Case {
    const char* name;
    std::function<Bits(cBitFilter&)> run;
    std::vector<At> expect;
    bool maskWritten = false;
};

const Pixel kGrey128{128, 128, 128, 7};
const Pixel kColour{0x11, 0x22, 0x33, 7}; // COLORREF 0x00112233: red 0x33, green 0x22, blue 0x11
constexpr COLORREF kColourRef = 0x00112233;

TEST(Neighbourhood, HandWorkedPixelsAroundOneBrightPixel) {
    const std::vector<Case> cases = {
        // SOFTEN level 100: w = 1, the plain average of five. (220 + 4*100)/5 = 124,
        // (151 + 200)/5 = 70, (0 + 800)/5 = 160; the right neighbour has the same five values.
        {"SOFTEN 100",
         [](cBitFilter& f) { return f.SOFTEN(100); },
         {{0, 0, {124, 70, 160, 9}}, {1, 0, {124, 70, 160, 7}}, {1, 1, kF}}},
        // level 0: w = 101, div 105. P: (22220 + 400)/105 = 215, (15251 + 200)/105 = 147,
        // 800/105 = 7. Right: (10100 + 300 + 220)/105 = 101, (5050 + 150 + 151)/105 = 50,
        // (20200 + 600)/105 = 198.
        {"SOFTEN 0",
         [](cBitFilter& f) { return f.SOFTEN(0); },
         {{0, 0, {215, 147, 7, 9}}, {1, 0, {101, 50, 198, 7}}}},
        // level -100: w = 201, div 205 (numerators beyond 16 bits). P: (44220 + 400)/205 = 217,
        // (30351 + 200)/205 = 149, 800/205 = 3. Right: (20100 + 520)/205 = 100,
        // (10050 + 301)/205 = 50, (40200 + 600)/205 = 199.
        {"SOFTEN -100",
         [](cBitFilter& f) { return f.SOFTEN(-100); },
         {{0, 0, {217, 149, 3, 9}}, {1, 0, {100, 50, 199, 7}}}},
        // SHARPEN 0: (124 c - 2 N8) div 108. P: (27280 - 1600)/108 = 237,
        // (18724 - 800)/108 = 165, -3200/108 -> 0. Side and diagonal neighbours alike:
        // (12400 - 2*920)/108 = 97, (6200 - 2*501)/108 = 48, (24800 - 2*1400)/108 = 203.
        // Flat: (124 c - 16 c) / 108 = c.
        {"SHARPEN 0",
         [](cBitFilter& f) { return f.SHARPEN(0); },
         {{0, 0, {237, 165, 0, 9}},
          {1, 0, {97, 48, 203, 7}},
          {1, 1, {97, 48, 203, 7}},
          {2, 0, kF}}},
        // SHARPEN 40: (84 c - 2 N8) div 68. P: (18480 - 1600)/68 = 248, (12684 - 800)/68 = 174,
        // R 0. Diagonal: (8400 - 1840)/68 = 96, (4200 - 1002)/68 = 47, (16800 - 2800)/68 = 205.
        {"SHARPEN 40",
         [](cBitFilter& f) { return f.SHARPEN(40); },
         {{0, 0, {248, 174, 0, 9}}, {1, 1, {96, 47, 205, 7}}}},
        // SHARPEN -200: (324 c - 2 N8) div 308. P: (71280 - 1600)/308 = 226,
        // (48924 - 800)/308 = 156. Right: (32400 - 1840)/308 = 99, (16200 - 1002)/308 = 49,
        // (64800 - 2800)/308 = 201.
        {"SHARPEN -200",
         [](cBitFilter& f) { return f.SHARPEN(-200); },
         {{0, 0, {226, 156, 0, 9}}, {1, 0, {99, 49, 201, 7}}}},
        // EDGEENHANCE 10: (19 c - N8) div 11. P: (4180 - 800)/11 = 307 -> 255,
        // (2869 - 400)/11 = 224, -1600/11 -> 0. Right: (1900 - 920)/11 = 89,
        // (950 - 501)/11 = 40, (3800 - 1400)/11 = 218.
        {"EDGEENHANCE 10",
         [](cBitFilter& f) { return f.EDGEENHANCE(10); },
         {{0, 0, {255, 224, 0, 9}}, {1, 0, {89, 40, 218, 7}}, {-1, -1, {89, 40, 218, 7}}}},
        // level 0 divides by 1: right 900 - 920 -> 0, 450 - 501 -> 0, 1800 - 1400 -> 255.
        {"EDGEENHANCE 0",
         [](cBitFilter& f) { return f.EDGEENHANCE(0); },
         {{0, 0, {255, 255, 0, 9}}, {1, 0, {0, 0, 255, 7}}}},
        // level -5 divides by -4: right (400 - 920)/-4 = 130, (200 - 501)/-4 = 75 (truncated),
        // (800 - 1400)/-4 = 150. P: blue 880 - 800 and green 604 - 400 are positive, so
        // their quotients are negative -> 0; red -1600/-4 = 400 -> 255.
        {"EDGEENHANCE -5",
         [](cBitFilter& f) { return f.EDGEENHANCE(-5); },
         {{0, 0, {0, 0, 255, 9}}, {1, 0, {130, 75, 150, 7}}}},
        {"DILATE",
         [](cBitFilter& f) { return f.DILATE(); },
         {{0, 0, {220, 151, 200, 9}}, {1, 1, {220, 151, 200, 7}}, {2, 0, kF}}},
        {"ERODE",
         [](cBitFilter& f) { return f.ERODE(); },
         {{0, 0, {100, 50, 0, 9}}, {-1, -1, {100, 50, 0, 7}}, {2, 0, kF}}},
        // RELIEF on green, red, mask; blue stays. Flat: (2c - 2c - c - c + 3c) div 2 + 50:
        // 75, 150, 7 div 2 + 50 = 53. Above P (P is its c(0,1)): green
        // (100 - 100 - 151 - 50 + 150) = -51, div 2 = -25 (truncated), + 50 = 25; red
        // 400 - 400 - 0 - 200 + 600 = 400 -> 250; mask 14 - 14 - 9 - 7 + 21 = 5 -> 52.
        // Below right (P is its c(-1,-1)): green 302 - 100 - 100 + 150 = 252 -> 176; red
        // 0 - 400 - 400 + 600 = -200 -> -50 -> 0; mask 18 - 14 - 14 + 21 = 11 -> 55.
        {"RELIEF",
         [](cBitFilter& f) { return f.RELIEF(); },
         {{0, -1, {100, 25, 250, 52}}, {1, 1, {100, 176, 0, 55}}, {2, 0, {100, 75, 150, 53}}},
         true},
        // EMBOSS 10, k = 1: above left d = F - P = -120, -101, 200: v = 8, 27, 328,
        // 363 div 3 = 121. At P: d = 120, 101, -200: 248, 229, |-72| = 72, 549 div 3 = 183.
        {"EMBOSS 10",
         [](cBitFilter& f) { return f.EMBOSS(10); },
         {{-1, -1, {121, 121, 121, 7}}, {0, 0, {183, 183, 183, 9}}, {1, 1, kGrey128}}},
        // k = 0.5: -60 + 128 = 68, -50.5 + 128 = 77.5 -> 78 (even), 100 + 128 = 228: 124.
        {"EMBOSS 5", [](cBitFilter& f) { return f.EMBOSS(5); }, {{-1, -1, {124, 124, 124, 7}}}},
        {"EMBOSS 0",
         [](cBitFilter& f) { return f.EMBOSS(0); },
         {{-1, -1, kGrey128}, {0, 0, {128, 128, 128, 9}}}},
        // ENGRAVE 5: d = P - F: 188, 50.5 + 128 = 178.5 -> 178 (even), 28: 394 div 3 = 131.
        {"ENGRAVE 5", [](cBitFilter& f) { return f.ENGRAVE(5); }, {{-1, -1, {131, 131, 131, 7}}}},
        // CONTOUR: e = 8c - N8 + 255. P: 1215 -> 255, 1063 -> 255, -1345 -> 0; mean 170 < 200
        // keeps e. Right: 135, 154, 455 -> 255; mean 544 div 3 = 181 keeps e. Flat: 255 each,
        // not below 200: the colour.
        {"CONTOUR 200",
         [](cBitFilter& f) { return f.CONTOUR(200, kColourRef); },
         {{0, 0, {255, 255, 0, 9}}, {1, 0, {135, 154, 255, 7}}, {2, 0, kColour}}},
        {"CONTOUR 256",
         [](cBitFilter& f) { return f.CONTOUR(256, kColourRef); },
         {{2, 0, {255, 255, 255, 7}}}},
        // SKETCH: s = sum of (8c - N8) + 765. P: 960 + 808 - 1600 + 765 = 933, a = 311.
        // Right: -120 - 101 + 200 + 765 = 744, a = 248. Flat: 765, a = 255.
        {"SKETCH 250 b/w",
         [](cBitFilter& f) { return f.SKETCH(250, true, kColourRef); },
         {{0, 0, {255, 255, 255, 9}}, {1, 0, {0, 0, 0, 7}}, {2, 0, {255, 255, 255, 7}}}},
        {"SKETCH 250 colour",
         [](cBitFilter& f) { return f.SKETCH(250, false, kColourRef); },
         {{0, 0, {0x11, 0x22, 0x33, 9}}, {1, 0, kF}, {2, 0, kColour}}},
        {"RankFilterN4 max",
         [](cBitFilter& f) { return f.RankFilterN4(1); },
         {{0, -1, {220, 151, 200, 7}}, {1, 1, kF}, {0, 0, {220, 151, 200, 9}}}},
        {"RankFilterN4 min",
         [](cBitFilter& f) { return f.RankFilterN4(0); },
         {{1, 0, {100, 50, 0, 7}}, {1, 1, kF}}},
        {"RankFilterND max",
         [](cBitFilter& f) { return f.RankFilterND(1); },
         {{1, 1, {220, 151, 200, 7}}, {1, 0, kF}}},
        {"RankFilterND min",
         [](cBitFilter& f) { return f.RankFilterND(0); },
         {{1, 1, {100, 50, 0, 7}}, {1, 0, kF}}},
        {"RankFilterN4 mode 2",
         [](cBitFilter& f) { return f.RankFilterN4(2); },
         {{0, 0, {0, 0, 0, 9}}, {1, 0, {0, 0, 0, 7}}}},
        // Blurs: eight reads at the distance, centre left out. (7F + P) div 8 = 115, 62, 175.
        {"Blurs 1",
         [](cBitFilter& f) { return f.Blurs(1); },
         {{1, 1, {115, 62, 175, 7}}, {0, 0, {100, 50, 200, 9}}, {2, 0, kF}}},
        {"Blurs 2",
         [](cBitFilter& f) { return f.Blurs(2); },
         {{2, 0, {115, 62, 175, 7}}, {1, 1, kF}}},
        {"Blurs 0", [](cBitFilter& f) { return f.Blurs(0); }, {{0, 0, kP}, {1, 0, kF}}},
    };
    const Region shape = test::lShape();
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        struct Layout {
            int w, h, px, py;
            const Region* region;
        };
        for (const Layout& l : {Layout{8, 8, 2, 2, &shape}, Layout{40, 7, 21, 3, nullptr}}) {
            const Bits before = spikePicture(l.w, l.h, l.px, l.py);
            cBitFilter f = test::filterOn(before, l.region);
            const Bits out = c.run(f);
            for (const At& e : c.expect)
                EXPECT_EQ(pixelAt(out, l.px + e.dx, l.py + e.dy), e.p)
                    << "at " << e.dx << ", " << e.dy << " from P, width " << l.w;
            if (l.region != nullptr)
                test::expectOnlySelectedChanged(before, out, *l.region, c.maskWritten);
            EXPECT_TRUE(test::samePixels(f.BitsView(), before));
            EXPECT_TRUE(test::samePixels(c.run(f), out));
        }
    }
}

TEST(Neighbourhood, MarginOneKeepsTheOuterRingOfTheBox) {
    const Region shape = test::lShape(); // box 1..6: the ring includes (1, 2) and (2, 1)
    const Bits before = spikePicture(8, 8, 2, 2);
    const std::function<Bits(cBitFilter&)> marginOne[] = {
        [](cBitFilter& f) { return f.SOFTEN(100); }, [](cBitFilter& f) { return f.SHARPEN(0); },
        [](cBitFilter& f) { return f.RankFilterN4(0); },
        [](cBitFilter& f) { return f.RankFilterND(0); }};
    for (const auto& run : marginOne) {
        cBitFilter f = test::filterOn(before, &shape);
        const Bits out = run(f);
        EXPECT_EQ(pixelAt(out, 1, 2), kF);
        EXPECT_EQ(pixelAt(out, 2, 1), kF);
        EXPECT_NE(pixelAt(out, 2, 2), kP);
    }
    // Margin 0 reaches the ring: (1, 2) has P at its right.
    cBitFilter f = test::filterOn(before, &shape);
    EXPECT_EQ(pixelAt(f.RankFilterN4(1), 1, 2), (Pixel{220, 151, 200, 7}));
    // Mode -1 has margin 2: only (3, 3), (4, 3) and (3, 4) of the selection turn black.
    const Bits out = f.RankFilterN4(-1);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) {
            const bool black = (x == 3 && y == 3) || (x == 4 && y == 3) || (x == 3 && y == 4);
            const Pixel mask{0, 0, 0, pixelAt(before, x, y)[3]};
            EXPECT_EQ(pixelAt(out, x, y), black ? mask : pixelAt(before, x, y)) << x << ", " << y;
        }
}

TEST(Neighbourhood, BlursReadsBlackOutsideThePicture) {
    cBitFilter f = test::filterOn(test::flat(4, 4, kF), nullptr);
    const Bits out = f.Blurs(1);
    EXPECT_EQ(pixelAt(out, 0, 1), (Pixel{62, 31, 125, 7})); // 5 F + 3 margin zeros: 500/8, ...
    EXPECT_EQ(pixelAt(out, 0, 0), (Pixel{37, 18, 75, 7}));  // 3 F: 300/8, 150/8, 600/8
    EXPECT_EQ(pixelAt(out, 1, 1), kF);

    // Past the margin the array is read flat, 8 pixels a row for a width of 4. From (3, 0) at
    // distance 5, (+5, 0) lands on (0, 1) of the next row; (-5, 0) and (0, +5) land in the
    // margin, (+5, +5) past the end of the array and the three reads above before its start:
    // all black. So (3, 0) is (0, 1) div 8.
    Bits b = test::flat(4, 4, kF);
    setPixel(b, 0, 1, {80, 160, 240, 1});
    cBitFilter g = test::filterOn(b, nullptr);
    EXPECT_EQ(pixelAt(g.Blurs(5), 3, 0), (Pixel{10, 20, 30, 7}));

    // Distances far past the array read black and do not fault.
    const Bits big = test::patterned(10, 10);
    for (const int d : {50, -50, INT_MAX, INT_MIN}) {
        cBitFilter h = test::filterOn(big, nullptr);
        const Bits blurred = h.Blurs(d);
        if (d == 50) {
            EXPECT_EQ(pixelAt(blurred, 5, 5), (Pixel{0, 0, 0, pixelAt(big, 5, 5)[3]}));
        }
    }
}

TEST(Neighbourhood, EmbossCopiesTheBottomRowAndLastColumnFromTheOutput) {
    // Row 0 black, rows 1 and 2 grey 165, 24 wide. Row 0: d = 0 - 165 for each channel. 0.7 is
    // stored as 0.69999999999999996, so -165 * k is -115.49999999999999, not the tie -115.5;
    // + 128 gives 12.500000000000014, which rounds to 13 (an exact or float computation gives
    // 12): a = 39 div 3 = 13. Row 1: d = 0, 128. Column 23 copies column 22; row 2 copies row 1.
    Bits b = test::flat(24, 3, {165, 165, 165, 3});
    for (int x = 0; x < 24; ++x)
        setPixel(b, x, 0, {0, 0, 0, 5});
    cBitFilter f = test::filterOn(b, nullptr);
    const Bits out = f.EMBOSS(7);
    for (int x = 0; x < 24; ++x) {
        EXPECT_EQ(pixelAt(out, x, 0), (Pixel{13, 13, 13, 5})) << x;
        EXPECT_EQ(pixelAt(out, x, 1), (Pixel{128, 128, 128, 3})) << x;
        EXPECT_EQ(pixelAt(out, x, 2), (Pixel{128, 128, 128, 3})) << x;
    }
    // ENGRAVE 7: d = 165 - 0, 115.49999999999999 + 128 rounds to the double 243.5, a tie:
    // 244 (even).
    EXPECT_EQ(pixelAt(f.ENGRAVE(7), 5, 0), (Pixel{244, 244, 244, 5}));

    // Only the last column selected: it copies the unselected, unchanged pixel at its left.
    const Region last = Region::Rect(7, 0, 8, 8);
    const Bits picture = test::patterned(8, 8);
    cBitFilter g = test::filterOn(picture, &last);
    const Bits lastOut = g.EMBOSS(10);
    for (int y = 0; y < 8; ++y) {
        Pixel expected = pixelAt(picture, 6, y);
        expected[3] = pixelAt(picture, 7, y)[3];
        EXPECT_EQ(pixelAt(lastOut, 7, y), expected) << y;
    }
}

TEST(Neighbourhood, SketchDividesTruncating) {
    // Black picture; at (1, 1) the neighbours (1, 0) white and (2, 1) with blue 1:
    // s = 0 - 765 - 1 + 765 = -1, a = -1 div 3 = 0 (not -1), and 0 > -1.
    Bits b = test::flat(3, 3, {0, 0, 0, 0});
    setPixel(b, 1, 0, {255, 255, 255, 0});
    setPixel(b, 2, 1, {1, 0, 0, 0});
    const Region centre = Region::Rect(1, 1, 2, 2);
    cBitFilter f = test::filterOn(b, &centre);
    EXPECT_EQ(pixelAt(f.SKETCH(-1, true, 0), 1, 1), (Pixel{255, 255, 255, 0}));
    EXPECT_EQ(pixelAt(f.SKETCH(0, true, 0), 1, 1), (Pixel{0, 0, 0, 0}));
}

TEST(Neighbourhood, RunTimeErrorsLeaveThePictureAlone) {
    struct ErrorCase {
        const char* name;
        Bits picture;
        std::function<Bits(cBitFilter&)> run;
        int number;   // 0: no error
        int blue = 0; // then the blue of (3, 3)
    };
    Bits diagonal = test::flat(3, 3, {0, 0, 0, 0});
    setPixel(diagonal, 0, 0, {255, 255, 255, 0}); // d = 255 in all three channels at (0, 0)
    ErrorCase cases[] = {
        {"SOFTEN 105: w + 4 = 0", spikePicture(8, 8, 2, 2),
         [](cBitFilter& f) { return f.SOFTEN(105); }, 11},
        {"SHARPEN 108", spikePicture(8, 8, 2, 2), [](cBitFilter& f) { return f.SHARPEN(108); }, 11},
        {"EDGEENHANCE -1", spikePicture(8, 8, 2, 2),
         [](cBitFilter& f) { return f.EDGEENHANCE(-1); }, 11},
        // SOFTEN 102: w = -1, div 3. At P red (0 - 0 + 800) / 3 = 266 is no byte.
        {"SOFTEN 102", spikePicture(8, 8, 2, 2), [](cBitFilter& f) { return f.SOFTEN(102); }, 6},
        // ... while a flat picture gives (-c + 4c) / 3 = c.
        {"SOFTEN 102 flat", test::flat(8, 8, kF), [](cBitFilter& f) { return f.SOFTEN(102); }, 0,
         100},
        // SOFTEN 106: w = -5, div -1: P blue (-1100 + 400) / -1 = 700.
        {"SOFTEN 106", spikePicture(8, 8, 2, 2), [](cBitFilter& f) { return f.SOFTEN(106); }, 6},
        // k = 214748364.7: d = -120 gives v far past a long.
        {"EMBOSS max", spikePicture(8, 8, 2, 2), [](cBitFilter& f) { return f.EMBOSS(INT_MAX); },
         6},
        {"EMBOSS max flat", test::flat(8, 8, kF), [](cBitFilter& f) { return f.EMBOSS(INT_MAX); },
         0, 128},
        // k = 4000000: each v = 1020000128 fits, their sum does not.
        {"EMBOSS sum", diagonal.clone(), [](cBitFilter& f) { return f.EMBOSS(40000000); }, 6},
        // SOFTEN -10^9: 255 * w leaves a long.
        {"SOFTEN huge", spikePicture(8, 8, 2, 2),
         [](cBitFilter& f) { return f.SOFTEN(-1000000000); }, 6},
        {"RankFilterN4 margin", spikePicture(8, 8, 2, 2),
         [](cBitFilter& f) { return f.RankFilterN4(INT_MIN); }, 6},
    };
    for (ErrorCase& c : cases) {
        SCOPED_TRACE(c.name);
        cBitFilter f = test::filterOn(c.picture, nullptr);
        if (c.number == 0) {
            EXPECT_EQ(c.run(f)(0, 3, 3), c.blue);
            continue;
        }
        try {
            (void)c.run(f);
            ADD_FAILURE() << "no error";
        } catch (const RuntimeError& e) {
            EXPECT_EQ(e.number(), c.number);
        }
        EXPECT_TRUE(test::samePixels(f.BitsView(), c.picture));
    }
}

// The fast kernels (16-bit reciprocals, float emboss) against the formulas taken literally,
// over every pixel of a varied picture wide and tall enough for the vector kernels and for
// several threads.
TEST(Neighbourhood, FastKernelsMatchTheFormulasEverywhere) {
    const Bits picture = test::patterned(61, 40);
    const Region ellipse = Region::Ellipse(1, 1, 60, 39);
    auto c = [&](int ch, int x, int y) { return static_cast<std::int64_t>(picture(ch, x, y)); };
    auto nSum = [&](int ch, int x, int y, bool eight) {
        std::int64_t n = c(ch, x, y - 1) + c(ch, x - 1, y) + c(ch, x + 1, y) + c(ch, x, y + 1);
        if (eight)
            n += c(ch, x - 1, y - 1) + c(ch, x + 1, y - 1) + c(ch, x - 1, y + 1) +
                 c(ch, x + 1, y + 1);
        return n;
    };
    auto clamp = [](std::int64_t v) { return static_cast<int>(v < 0 ? 0 : v > 255 ? 255 : v); };
    struct Formula {
        const char* name;
        int margin;
        int maxLevel; // above it SOFTEN's quotients leave the byte
        std::function<Bits(cBitFilter&, int)> run;
        std::function<int(int, int, int, int)> value; // level, channel, x, y
    };
    const Formula formulas[] = {
        {"SOFTEN", 1, 101, [](cBitFilter& f, int l) { return f.SOFTEN(l); },
         [&](int l, int ch, int x, int y) {
             return static_cast<int>((c(ch, x, y) * (101 - l) + nSum(ch, x, y, false)) / (105 - l));
         }},
        {"SHARPEN", 1, 1000, [](cBitFilter& f, int l) { return f.SHARPEN(l); },
         [&](int l, int ch, int x, int y) {
             return clamp((c(ch, x, y) * (124 - l) - 2 * nSum(ch, x, y, true)) / (108 - l));
         }},
        {"EDGEENHANCE", 0, 1000, [](cBitFilter& f, int l) { return f.EDGEENHANCE(l); },
         [&](int l, int ch, int x, int y) {
             return clamp((c(ch, x, y) * (l + 9) - nSum(ch, x, y, true)) / (l + 1));
         }},
    };
    for (const Formula& fm : formulas)
        for (const int level : {0, 1, 7, 30, 55, 99, 100, 101, 150, 250, -20}) {
            if (level > fm.maxLevel) continue;
            SCOPED_TRACE(std::string(fm.name) + " " + std::to_string(level));
            cBitFilter f = test::filterOn(picture, &ellipse);
            f.SetThreads(3);
            const Bits out = fm.run(f, level);
            const int margin = fm.margin; // pixels on the ring are left alone
            const IntRect box = ellipse.Box();
            for (int y = box.top + margin; y < box.bottom - margin; ++y)
                for (int x = box.left + margin; x < box.right - margin; ++x)
                    for (int ch = 0; ch < 3 && ellipse.Contains(x, y); ++ch)
                        ASSERT_EQ(out(ch, x, y), fm.value(level, ch, x, y)) << x << ", " << y;
        }
    for (int weight = -60; weight <= 60; ++weight) {
        SCOPED_TRACE(weight);
        cBitFilter f = test::filterOn(picture, nullptr);
        const Bits out = f.EMBOSS(weight);
        for (int y = 0; y < 39; ++y)
            for (int x = 0; x < 60; ++x) {
                std::int64_t sum = 0;
                for (int ch = 0; ch < 3; ++ch)
                    sum += static_cast<std::int64_t>(std::nearbyint(std::fabs(
                        static_cast<double>(c(ch, x, y) - c(ch, x + 1, y + 1)) * (weight / 10.0) +
                        128)));
                ASSERT_EQ(out(0, x, y), clamp(sum / 3)) << x << ", " << y;
            }
    }
}

} // namespace
} // namespace velmar
