#include "pixel/colour.h"
#include "pixel/RuntimeError.h"
#include "pixel/mPalette.h"

#include <gtest/gtest.h>

#include <array>

namespace velmar {
namespace {

TEST(Colour, RGBToHLSPlacesThePrimariesOnTheSixUnitScale) {
    struct Case {
        int r, g, b;
        float h, s, l;
    };
    const Case cases[] = {
        {255, 0, 0, 0.0f, 1.0f, 0.5f},
        {0, 255, 0, 2.0f, 1.0f, 0.5f},
        {0, 0, 255, 4.0f, 1.0f, 0.5f},
        {255, 0, 51, -0.2f, 1.0f, 0.5f}, // red with some blue: just below 0
        {255, 255, 0, 1.0f, 1.0f, 0.5f},
    };
    for (const Case& c : cases) {
        float h = -9, s = -9, l = -9;
        RGBToHLS(c.r, c.g, c.b, h, s, l);
        EXPECT_FLOAT_EQ(h, c.h) << c.r << "," << c.g << "," << c.b;
        EXPECT_FLOAT_EQ(s, c.s) << c.r << "," << c.g << "," << c.b;
        EXPECT_FLOAT_EQ(l, c.l) << c.r << "," << c.g << "," << c.b;
    }
    // Above half lightness the saturation uses 2 - max - min: (255, 255, 191) has max 1,
    // min 0.749, L 0.8745, S = 0.251 / 0.251 = 1 and H = (g - b) / d = 1.
    float h, s, l;
    RGBToHLS(255, 255, 191, h, s, l);
    EXPECT_FLOAT_EQ(h, 1.0f);
    EXPECT_NEAR(s, 1.0f, 1e-6);
    EXPECT_NEAR(l, (1.0f + 191.0f / 255.0f) / 2.0f, 1e-6);
    // (64, 32, 128): max blue 0.50196, min 0.12549, d 0.37647, L 0.31373 (below half),
    // S = d / (max + min) = 0.6, H = (r - g) / d + 4 = 0.33333 + 4.
    RGBToHLS(64, 32, 128, h, s, l);
    EXPECT_NEAR(h, 4.0f + 1.0f / 3.0f, 1e-5);
    EXPECT_NEAR(s, 0.6f, 1e-5);
    EXPECT_NEAR(l, 80.0f / 255.0f, 1e-6);
}

// The primaries come back through the round trip below; these are the branches worked by hand.
TEST(Colour, HLSToRGBWorkedByHand) {
    struct Case {
        float h, s, l;
        int r, g, b;
    };
    const Case cases[] = {
        // L above half: mn = .75 - .25 * .5 = .625, mx = .875, e = .25; g = mx, r = mn,
        // b = e * .5 + mn = .75: 159.375, 223.125, 191.25.
        {2.5f, 0.5f, 0.75f, 159, 223, 191},
        // L at most half: mn = (1 - .5) * .25 = .125, mx = .375, e = .25; H 1.5: g = mx,
        // b = mn, r = mn - e * (H - 2) = .25: 63.75, 95.625, 31.875.
        {1.5f, 0.5f, 0.25f, 64, 96, 32},
        // No clamp: hue 5.5 gives r = 1.5, 382.5 rounded half to even.
        {5.5f, 1.0f, 0.5f, 382, 0, 255},
        {3.0f, 0.0f, 0.5f, 128, 128, 128}, // grey: 127.5 goes to the even 128
    };
    for (const auto& c : cases) {
        std::int32_t r = -1, g = -1, b = -1;
        HLSToRGB(c.h, c.s, c.l, r, g, b);
        EXPECT_EQ(r, c.r) << c.h << "," << c.s << "," << c.l;
        EXPECT_EQ(g, c.g) << c.h << "," << c.s << "," << c.l;
        EXPECT_EQ(b, c.b) << c.h << "," << c.s << "," << c.l;
    }
}

// Every grey (hue and saturation 0) and a grid of colours come back unchanged.
TEST(Colour, GreysAndAGridOfColoursSurviveTheRoundTrip) {
    const auto check = [](int R, int G, int B) {
        float h, s, l;
        RGBToHLS(R, G, B, h, s, l);
        EXPECT_TRUE(R != G || G != B || (h == 0.0f && s == 0.0f)) << "grey " << R;
        EXPECT_TRUE(h >= -1.0f && h < 5.0f) << h;
        std::int32_t r, g, b;
        HLSToRGB(h, s, l, r, g, b);
        EXPECT_EQ((std::array{r, g, b}), (std::array{R, G, B}));
    };
    for (int v = 0; v < 256; ++v)
        check(v, v, v);
    for (int R = 0; R < 256; R += 17)
        for (int G = 0; G < 256; G += 17)
            for (int B = 0; B < 256; B += 17)
                check(R, G, B);
}

TEST(Colour, AResultBeyondALongIsTheOverflowError) {
    std::int32_t r, g, b;
    try {
        HLSToRGB(0.0f, 0.0f, 1e10f, r, g, b);
        FAIL() << "no error";
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), 6);
        EXPECT_STREQ(e.what(), "Overflow");
    }
}

TEST(Colour, HueFromSliderWrapsAbove200) {
    EXPECT_EQ(HueFromSlider(0), 0);
    EXPECT_EQ(HueFromSlider(200), 200);
    EXPECT_EQ(HueFromSlider(201), -39);
    EXPECT_EQ(HueFromSlider(240), 0);
    EXPECT_EQ(HueFromSlider(216), -24);
}

TEST(Palette, NearestColourRules) {
    mPalette pal;
    pal.Add(0, 0, 0);
    pal.Add(100, 100, 100);
    pal.Add(110, 90, 100); // as close to (105, 95, 100) as entry 1: the earlier wins
    pal.Add(200, 10, 10);
    pal.Add(200, 10, 10);
    std::int32_t r, g, b;
    pal.NearestPaletteColor(105, 95, 100, r, g, b);
    EXPECT_EQ(r, 100);
    EXPECT_EQ(g, 100);
    pal.NearestPaletteColor(110, 90, 100, r, g, b); // exact match
    EXPECT_EQ(r, 110);
    EXPECT_EQ(g, 90);
    pal.NearestPaletteColor(250, 0, 0, r, g, b);
    EXPECT_EQ(r, 200);
    EXPECT_EQ(b, 10);

    mPalette empty;
    EXPECT_THROW(empty.NearestPaletteColor(1, 2, 3, r, g, b), EmptyPaletteError);
}

} // namespace
} // namespace velmar
