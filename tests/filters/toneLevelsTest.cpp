// Level, channel and mix filters: colours worked out by hand inside an L-shaped selection, the
// rest of the picture untouched, errors that leave the object's picture as it was.
#include "filters/pixelCases.h"
#include "pixel/RuntimeError.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace velmar {
namespace {

using test::Pixel;
using test::pixelAt;

using namespace test::cases;

TEST(ToneLevels, LevelTables) {
    const Case cases[] = {
        {"BRIGHTNESS 30",
         [](cBitFilter& f) { return f.BRIGHTNESS(30); },
         {{{10, 240, 100}, {40, 255, 130}}, {{0, 225, 226}, {30, 255, 255}}}}, // 270 -> 255
        {"BRIGHTNESS -50",
         [](cBitFilter& f) { return f.BRIGHTNESS(-50); },
         {{{10, 240, 100}, {0, 190, 50}}}},
        {"BRIGHTNESS far beyond a byte",
         [](cBitFilter& f) { return f.BRIGHTNESS(-100000); },
         {{{10, 240, 255}, {0, 0, 0}}}},
        // Only rows 1, 3, 5 (from the box top 1) change: the second place is on row 2.
        {"Scanlines 40",
         [](cBitFilter& f) { return f.Scanlines(40); },
         {{{10, 240, 100}, {0, 200, 60}},
          {{10, 240, 100}, {10, 240, 100}},
          {{50, 41, 40}, {10, 1, 0}},
          {{39, 45, 255}, {0, 5, 215}}}},
        // n = 16: 10/16 = 0.625 -> 16, 240/16 = 15 -> 240, 100/16 = 6.25 -> 96; ties to even:
        // 8/16 = 0.5 -> 0, 24/16 = 1.5 -> 32; 250/16 = 15.625 -> 16 * 16 = 256 -> 255.
        {"Reduction 15",
         [](cBitFilter& f) { return f.Reduction(15); },
         {{{10, 240, 100}, {16, 240, 96}}, {{8, 24, 250}, {0, 32, 255}}}},
        // n = -2: 5/-2 = -2.5 -> -2 -> 4, 7/-2 = -3.5 -> -4 -> 8, 255/-2 -> -128 -> 256 -> 255.
        {"Reduction -3",
         [](cBitFilter& f) { return f.Reduction(-3); },
         {{{5, 7, 255}, {4, 8, 255}}}},
        {"Reduction 0", [](cBitFilter& f) { return f.Reduction(0); }, {{{5, 7, 255}, {5, 7, 255}}}},
        // Blue + 300, green - 30, red + 20, each clamped.
        {"ShiftRGB",
         [](cBitFilter& f) { return f.ShiftRGB(20, -30, 300); },
         {{{10, 20, 250}, {255, 0, 255}}, {{0, 100, 100}, {255, 70, 120}}}},
    };
    for (const Case& c : cases)
        check(c);
}

TEST(ToneLevels, ScanlinesLeavesEverySecondRowAlone) {
    const Region region = test::lShape();
    const Bits picture = test::patterned(8, 8);
    cBitFilter f = test::filterOn(picture, &region);
    const Bits out = f.Scanlines(255); // every changed pixel turns black
    for (int y = 1; y <= 6; ++y)
        for (int x = 1; x <= 3; ++x)
            EXPECT_EQ(pixelAt(out, x, y), (y % 2 == 1 ? Pixel{0, 0, 0, pixelAt(picture, x, y)[3]}
                                                      : pixelAt(picture, x, y)))
                << x << ", " << y;
}

TEST(ToneLevels, ChannelOperations) {
    const Case cases[] = {
        {"Invert",
         [](cBitFilter& f) { return f.Invert(); },
         {{{10, 240, 100}, {245, 15, 155}}, {{0, 255, 128}, {255, 0, 127}}}},
        {"KillChannel red and blue",
         [](cBitFilter& f) { return f.KillChannel(true, false, true); },
         {{{10, 240, 100}, {0, 240, 0}}}},
        // Only -1 counts as true: the 1 of green does not keep it.
        {"SpecialColors",
         [](cBitFilter& f) { return f.SpecialColors(-1, 1, 0); },
         {{{10, 240, 100}, {0, 0, 100}}}},
        // Red from blue, inverted: 255 - 10; green from red, killed; blue from green.
        {"SwapRGB",
         [](cBitFilter& f) { return f.SwapRGB(0, 2, 1, -1, 0, 0, 0, 255, 0); },
         {{{10, 20, 30}, {20, 0, 245}}}},
        {"SwapRGB identity",
         [](cBitFilter& f) { return f.SwapRGB(2, 1, 0, 0, 0, 0, 0, 0, 0); },
         {{{10, 20, 30}, {10, 20, 30}}}},
        // Channel 3 is the mask byte; blue inverted by a flag of 1, green killed by a mask 0x0F.
        {"SwapRGB mask byte",
         [](cBitFilter& f) { return f.SwapRGB(3, 1, 0, 0, 0, 1, 0, 0x0F, 0); },
         {{{10, 0xF3, 30}, {245, 0xF0, kMask}}}},
    };
    for (const Case& c : cases)
        check(c);
    // Pixel (B, G, R) = (10, 20, 30); each mode names the sources of R', G', B'.
    const Colour banks[] = {{20, 30, 10}, {30, 10, 20}, {20, 10, 30},
                            {30, 20, 10}, {10, 30, 20}, {10, 20, 30}};
    for (int m = 1; m <= 6; ++m)
        check({"SwapBanks",
               [m](cBitFilter& f) { return f.SwapBanks(m); },
               {{{10, 20, 30}, banks[m - 1]}}});
}

TEST(ToneLevels, GreyAndCuts) {
    const Case cases[] = {
        // n = 71 B + 707 G + 222 R: 7100 + 35350 + 44400 = 86850 -> 86.85 -> 87. Ties:
        // 12726 + 3774 = 16500 -> 16.5 -> 16; 71 + 13433 + 3996 = 17500 -> 17.5 -> 18.
        {"GreyScale",
         [](cBitFilter& f) { return f.GreyScale(); },
         {{{100, 50, 200}, {87, 87, 87}},
          {{0, 18, 17}, {16, 16, 16}},
          {{1, 19, 18}, {18, 18, 18}},
          {{255, 255, 255}, {255, 255, 255}}}},
        {"OLDPHOTO",
         [](cBitFilter& f) { return f.OLDPHOTO(); },
         {{{100, 50, 200}, {100, 87, 87}}, {{1, 19, 18}, {1, 18, 18}}}},
        // Sums 350, 300, 302, 303: thirds 116, 100, 100, 101 against 100.
        {"Threshold 100",
         [](cBitFilter& f) { return f.Threshold(100); },
         {{{100, 50, 200}, {255, 255, 255}},
          {{10, 240, 50}, {0, 0, 0}},
          {{11, 240, 51}, {0, 0, 0}},
          {{12, 240, 51}, {255, 255, 255}}}},
        {"Threshold -1",
         [](cBitFilter& f) { return f.Threshold(-1); },
         {{{0, 0, 0}, {255, 255, 255}}}},
        {"Threshold 255",
         [](cBitFilter& f) { return f.Threshold(255); },
         {{{255, 255, 255}, {0, 0, 0}}}},
        {"THERMIQUE",
         [](cBitFilter& f) { return f.THERMIQUE(); },
         {{{10, 240, 100}, {0, 240, 0}},
          {{30, 20, 40}, {0, 0, 40}},
          {{90, 20, 40}, {90, 0, 0}},
          {{200, 100, 200}, {200, 100, 200}}}}, // a tie for the largest stays
        {"THERMIQUE ties",
         [](cBitFilter& f) { return f.THERMIQUE(); },
         {{{50, 50, 50}, {50, 50, 50}},
          {{100, 100, 50}, {100, 100, 50}},
          {{40, 90, 90}, {40, 90, 90}}}},
        {"XBLACK",
         [](cBitFilter& f) { return f.XBLACK(); },
         {{{128, 200, 255}, {0, 0, 0}},
          {{127, 0, 50}, {255, 255, 255}},
          {{127, 128, 0}, {127, 128, 0}}}},
        {"PHOTOCOP",
         [](cBitFilter& f) { return f.PHOTOCOP(); },
         {{{128, 200, 255}, {255, 255, 255}},
          {{127, 0, 50}, {0, 0, 0}},
          {{127, 128, 0}, {127, 128, 0}}}},
    };
    for (const Case& c : cases)
        check(c);
}

TEST(ToneLevels, Saturation) {
    const Case cases[] = {
        // (10, 20, 60): a = 30. f = 0.5: -10 + 10, -5 + 20, 15 + 60. (11, 20, 62): a = 31,
        // -10 + 11 = 1, -5.5 + 20 = 14.5 -> 14, 15.5 + 62 = 77.5 -> 78.
        {"SATURATION 50",
         [](cBitFilter& f) { return f.SATURATION(50); },
         {{{10, 20, 60}, {0, 15, 75}}, {{11, 20, 62}, {1, 14, 78}}}},
        // f = 0.3: -6 + 10, -3 + 20, 9 + 60.
        {"SATURATION 30",
         [](cBitFilter& f) { return f.SATURATION(30); },
         {{{10, 20, 60}, {4, 17, 69}}}},
        // (35, 30, 25): a = 30, f = 0.1: 35.5 -> 36, 30, 24.5 -> 24.
        {"SATURATION 10",
         [](cBitFilter& f) { return f.SATURATION(10); },
         {{{35, 30, 25}, {36, 30, 24}}}},
        {"SATURATION -100",
         [](cBitFilter& f) { return f.SATURATION(-100); },
         {{{10, 20, 60}, {30, 30, 30}}}},
        // (0, 128, 255): a = 127, f = 2: -254 -> 0, 130, 511 -> 255.
        {"SATURATION 200",
         [](cBitFilter& f) { return f.SATURATION(200); },
         {{{0, 128, 255}, {0, 130, 255}}}},
    };
    for (const Case& c : cases)
        check(c);
}

TEST(ToneLevels, ClassyColors) {
    // Most cases take (B, G, R) = (200, 50, 150): 150 * 0.99 = 148.5, 50 * 0.99 = 49.5,
    // 200 * 0.99 = 198.
    const Colour p{200, 50, 150};
    const Case cases[] = {
        // G' = (148.5 + 49.5) / 2 = 99, R' = G, B' = 200 atan(50) / 1.9 = 163.24.
        // (100, 1, 3): G' = (2.97 + 0.99) / 2 = 1.98 -> 2, B' = 100 atan(1) / 1.9 = 41.34.
        {"SOFTBLUE",
         [](cBitFilter& f) { return f.ClassyColors(0); },
         {{p, {163, 99, 50}}, {{100, 1, 3}, {41, 2, 1}}}},
        {"SOFTGREEN", [](cBitFilter& f) { return f.ClassyColors(1); }, {{p, {200, 99, 50}}}},
        // R' = (148.5 + 198) / 2 = 173.25, B' = R.
        {"PURPLE", [](cBitFilter& f) { return f.ClassyColors(2); }, {{p, {150, 50, 173}}}},
        // G' = (49.5 + 198) / 2 = 123.75, B' = G.
        {"SOFTRED", [](cBitFilter& f) { return f.ClassyColors(3); }, {{p, {50, 124, 150}}}},
        {"index 4", [](cBitFilter& f) { return f.ClassyColors(4); }, {{p, p}}},
        // B' = 75 + 50, G' = 37.5 + 25 = 62.5 -> 62, R' = 12.5 + 100 = 112.5 -> 112.
        {"SPOTTED", [](cBitFilter& f) { return f.ClassyColors(6); }, {{p, {125, 62, 112}}}},
        // t = (396 + 148.5) / 12 = 45.375 -> 45; |45 - 51|, |45 - 151|, |45 - 201|.
        {"RETRO", [](cBitFilter& f) { return f.ClassyColors(7); }, {{p, {6, 106, 156}}}},
        {"SOFTYELLOW", [](cBitFilter& f) { return f.ClassyColors(8); }, {{p, {50, 150, 150}}}},
        // B' = G / 2, G' = R / 2: 2.5 -> 2, 3.5 -> 4.
        {"ORANGE",
         [](cBitFilter& f) { return f.ClassyColors(10); },
         {{p, {25, 75, 150}}, {{0, 5, 7}, {2, 4, 7}}}},
        {"WETPAPER", [](cBitFilter& f) { return f.ClassyColors(11); }, {{p, {50, 200, 170}}}},
    };
    for (const Case& c : cases)
        check(c);
}

TEST(ToneLevels, ClassyColorsIdentities) {
    const Region region = test::lShape();
    const Bits picture = test::patterned(8, 8);
    cBitFilter f = test::filterOn(picture, &region);
    for (const std::int16_t index : {4, 5, 9, -1, 12})
        EXPECT_TRUE(test::samePixels(f.ClassyColors(index), picture)) << index;
    const Bits wet = f.ClassyColors(11);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x)
            if (region.Contains(x, y)) {
                EXPECT_EQ(wet(2, x, y), 170) << x << ", " << y;
            }
}

TEST(ToneLevels, ErrorsLeaveThePictureAlone) {
    constexpr int kOverflow = 6;
    constexpr int kMax = std::numeric_limits<std::int32_t>::max();
    const Bits picture = test::patterned(8, 8);
    const struct {
        const char* name;
        int number;
        Bits picture;
        Filter run;
    } cases[] = {
        // n = 0: the table starts with 0 / 0.
        {"Reduction -1", kOverflow, picture.clone(), [](cBitFilter& f) { return f.Reduction(-1); }},
        {"Reduction, n past a long", kOverflow, picture.clone(),
         [](cBitFilter& f) { return f.Reduction(kMax); }},
        // T[255] = 256 does not fit the table's byte.
        {"Scanlines -1", kOverflow, picture.clone(), [](cBitFilter& f) { return f.Scanlines(-1); }},
        {"BRIGHTNESS, 255 + amount past a long", kOverflow, picture.clone(),
         [](cBitFilter& f) { return f.BRIGHTNESS(kMax - 100); }},
        {"ShiftRGB, green past a long", kOverflow, picture.clone(),
         [](cBitFilter& f) { return f.ShiftRGB(0, kMax, 0); }},
        {"SwapRGB channel 4", 9, picture.clone(),
         [](cBitFilter& f) { return f.SwapRGB(2, 4, 0, 0, 0, 0, 0, 0, 0); }},
        // t = 0 and G = 255: |0 - 255 - 1| = 256.
        {"RETRO", kOverflow, flat({0, 255, 0}), [](cBitFilter& f) { return f.ClassyColors(7); }},
        // a = 85: red 255 + 170 * 21474836.47 is past a long.
        {"SATURATION", kOverflow, flat({0, 0, 255}),
         [](cBitFilter& f) { return f.SATURATION(kMax); }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        expectError(c.number, c.picture, c.run);
    }
    // Near those limits, pixels that stay in range are fine: |0 - 254 - 1| = 255; a = 30 and
    // -20, -10, +30 times 21474836.47 are within a long.
    const Region region = test::lShape();
    cBitFilter f = test::filterOn(flat({0, 254, 0}), &region);
    EXPECT_EQ(pixelAt(f.ClassyColors(7), 1, 1), (Pixel{255, 1, 1, kMask}));
    f.Bits(flat({10, 20, 60}));
    EXPECT_EQ(pixelAt(f.SATURATION(kMax), 1, 1), (Pixel{0, 0, 255, kMask}));
}

} // namespace
} // namespace velmar
