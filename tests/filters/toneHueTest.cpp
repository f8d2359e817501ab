// Hue, lightness and colour-key filters: colours worked out by hand inside an L-shaped
// selection.
#include "filters/pixelCases.h"
#include "pixel/RuntimeError.h"
#include "pixel/colour.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <vector>

namespace velmar {
namespace {

using test::Pixel;
using test::pixelAt;

using namespace test::cases;

const Colour kRed{0, 0, 255}, kBlue{255, 0, 0}, kGrey{90, 90, 90};

TEST(ToneHue, HueAndLightness) {
    const Case cases[] = {
        // Sum 153: l = 0.2; S = 1: mn = 0, mx = 0.4, hue 0 -> red 0.4 * 255 = 102. Any colour
        // of the same sum gives the same.
        {"COLORIZE red",
         [](cBitFilter& f) { return f.COLORIZE(0.0f, 1.0f, 1.0f); },
         {{{51, 51, 51}, {0, 0, 102}}, {{100, 53, 0}, {0, 0, 102}}}},
        // Sum 459: l = 0.6 > 0.5: mn = 0.6 - 0.4 * 0.5 = 0.4, mx = 0.8; hue 2: green mx,
        // red mn, blue 0 * e + mn.
        {"COLORIZE green",
         [](cBitFilter& f) { return f.COLORIZE(2.0f, 0.5f, 1.0f); },
         {{{153, 153, 153}, {102, 204, 102}}}},
        // dh = 33 / 16.67 = 1.9796. Red: h = 1.9796, red = -e (h - 2) = 0.0204 -> 5.2. Blue:
        // 5.9796 wraps to -0.0204, blue = -e h -> 5.2. A grey keeps S = 0.
        {"RotateH 33",
         [](cBitFilter& f) { return f.RotateH(33, 100); },
         {{kRed, {0, 255, 5}}, {kBlue, {5, 0, 255}}, {kGrey, kGrey}}},
        // Red at half saturation: l = 0.5, mn = 0.25, mx = 0.75: 63.75 and 191.25.
        {"RotateH saturation 50",
         [](cBitFilter& f) { return f.RotateH(0, 50); },
         {{kRed, {64, 64, 191}}}},
        // Sum 306: l = 0.4; saturation 1: mn = 0, mx = e = 0.8. Stretch 0: h = offset / 16.67.
        {"StretchH 0",
         [](cBitFilter& f) { return f.StretchH(0, 100, 0); },
         {{{102, 102, 102}, {0, 0, 204}}}},
        // h = sin(0.4) * 3 = 1.16826: green mx, red -e (h - 2) = 0.66540 -> 169.68.
        {"StretchH stretch 10",
         [](cBitFilter& f) { return f.StretchH(0, 100, 10); },
         {{{102, 102, 102}, {0, 204, 170}}}},
        // h = 2.99940: green mx, blue e (h - 2) = 0.79952 -> 203.88.
        {"StretchH offset 50",
         [](cBitFilter& f) { return f.StretchH(50, 100, 0); },
         {{{102, 102, 102}, {204, 204, 0}}}},
        // h = -1.79964 wraps to 4.20036: blue mx, red e (h - 4) = 0.16029 -> 40.87.
        {"StretchH offset -30",
         [](cBitFilter& f) { return f.StretchH(-30, 100, 0); },
         {{{102, 102, 102}, {204, 0, 41}}}},
        // l = 86.85 / 255 = 0.340588. sin(1.362353) = 0.978355 -> 252.24; sin(4.905882)
        // = -0.981339 -> 2.38; sin(-3.046353) = -0.095096 -> 115.38. Black: sin 0 -> 127.5,
        // a tie, 128.
        {"RotateL 0 10",
         [](cBitFilter& f) { return f.RotateL(0, 10); },
         {{{100, 50, 200}, {252, 252, 252}}, {{0, 0, 0}, {128, 128, 128}}}},
        {"RotateL 15 25",
         [](cBitFilter& f) { return f.RotateL(15, 25); },
         {{{100, 50, 200}, {2, 2, 2}}}},
        {"RotateL -40 7",
         [](cBitFilter& f) { return f.RotateL(-40, 7); },
         {{{100, 50, 200}, {115, 115, 115}}}},
    };
    for (const Case& c : cases)
        check(c);
}

TEST(ToneHue, RotateHChangesAPixelOnlyByRounding) {
    const Region region = test::lShape();
    const Bits picture = test::patterned(8, 8);
    cBitFilter f = test::filterOn(picture, &region);
    const Bits out = f.RotateH(0, 100);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x)
            for (int c = 0; c < 4; ++c)
                EXPECT_LE(std::abs(out(c, x, y) - picture(c, x, y)), 1) << x << ", " << y;
}

// The grey-level table of a large selection and the pixel-by-pixel path of a small one agree.
TEST(ToneHue, RotateLTableAndDirectPathsAgree) {
    const Bits picture = test::patterned(600, 500);
    cBitFilter f;
    f.Bits(picture.clone());
    const Bits whole = f.RotateL(7, 33);
    const Region small = Region::Rect(250, 200, 350, 300);
    f.BitsRegion(&small);
    const Bits part = f.RotateL(7, 33);
    for (int y = 200; y < 300; ++y)
        for (int x = 250; x < 350; ++x)
            ASSERT_EQ(pixelAt(part, x, y), pixelAt(whole, x, y)) << x << ", " << y;
}

TEST(ToneHue, ColourKeys) {
    // Key (B, G, R) = (10, 20, 30). Tolerance 10: (12.75)^2 + 1 = 163.56 -> tol2 = 164.
    const Colour key{10, 20, 30};
    const Colour nearest{11, 29, 39}; // d2 = 1 + 81 + 81 = 163
    const Colour edge{18, 30, 30};    // d2 = 64 + 100 = 164
    const Colour half{19, 21, 30};    // d2 = 81 + 1 = 82: w = 1 - 82 / 164 = 0.5
    const Case cases[] = {
        // Tolerance 0: tol2 = 1, only the key itself stays.
        {"ISOLATE 0",
         [&](cBitFilter& f) {
             return f.ISOLATE(rgb(key), rgb({1, 2, 3}), 0);
         },
         {{key, key}, {{11, 20, 30}, {1, 2, 3}}}},
        {"ISOLATE 10",
         [&](cBitFilter& f) {
             return f.ISOLATE(rgb(key), rgb({1, 2, 3}), 10);
         },
         {{key, key}, {nearest, nearest}, {edge, {1, 2, 3}}}},
        // New (110, 0, 31) at w = 0.5: 19 + 45.5 = 64.5 -> 64, 21 - 10.5 = 10.5 -> 10,
        // 30 + 0.5 -> 30. At d2 = tol2, w = 0.
        {"REPLACE",
         [&](cBitFilter& f) {
             return f.REPLACE(rgb(key), rgb({110, 0, 31}), 10);
         },
         {{key, {110, 0, 31}},
          {half, {64, 10, 30}},
          {edge, edge},
          {{200, 200, 200}, {200, 200, 200}}}},
        // T[c] = c + 100; at w = 0.5 half of it. Shift 55: c + 27.5, ties to even.
        {"SHIFT 100",
         [&](cBitFilter& f) { return f.SHIFT(rgb(key), 100, 10); },
         {{key, {110, 120, 130}}, {half, {69, 71, 80}}, {edge, edge}}},
        {"SHIFT 55",
         [&](cBitFilter& f) { return f.SHIFT(rgb(key), 55, 10); },
         {{half, {46, 48, 58}}}},
        {"SHIFT clamps",
         [](cBitFilter& f) {
             return f.SHIFT(rgb({200, 20, 30}), 100, 10);
         },
         {{{200, 20, 30}, {255, 120, 130}}}},
        // (16, 25, 34): (B + G + R) div 3 = 25 against 20, within round(2 * 2.55) = 5; d2 = 77:
        // to black, c * 77 / 164: 7.51, 11.74, 15.96. (19, 25, 34): 26, one too far.
        {"ReplaceL",
         [&](cBitFilter& f) {
             return f.ReplaceL(rgb(key), rgb({0, 0, 0}), 2, 10);
         },
         {{{16, 25, 34}, {8, 12, 16}}, {{19, 25, 34}, {19, 25, 34}}}},
    };
    for (const Case& c : cases)
        check(c);
}

TEST(ToneHue, ReplaceHS) {
    // Key (0, 0, 200): hue 0, saturation 1. (0, 10, 200): hue 0.05, saturation 1, d2 = 100,
    // within tol2 164: to black, c * 100 / 164: 6.10, 121.95.
    const Colour key{0, 0, 200}, near{0, 10, 200};
    // (50, 50, 200): hue 0, saturation 0.588 / 0.980 = 0.6, d2 = 5000; tolerance 60:
    // tol2 = round(76.5^2 + 1) = 5853: c * 5000 / 5853: 42.71, 170.85.
    const Colour pale{50, 50, 200};
    // Magenta (200, 0, 200) has hue -1, (200, 0, 190) hue 190/200 + 4 = 4.95: near on the hue
    // circle, but the difference is taken plain. With a hue tolerance of 6: tol2 = 16257,
    // c * 100 / 16257: 1.23, 1.17.
    const Colour magenta{200, 0, 200}, violet{200, 0, 190};
    const Case cases[] = {
        {"hue within",
         [&](cBitFilter& f) { return f.ReplaceHS(rgb(key), 0, 6, 10, 10); },
         {{near, {0, 6, 122}}, {key, {0, 0, 0}}}},
        {"hue beyond",
         [&](cBitFilter& f) { return f.ReplaceHS(rgb(key), 0, 4, 10, 10); },
         {{near, near}, {key, {0, 0, 0}}}},
        {"saturation beyond",
         [&](cBitFilter& f) { return f.ReplaceHS(rgb(key), 0, 6, 30, 60); },
         {{pale, pale}}},
        {"saturation within",
         [&](cBitFilter& f) { return f.ReplaceHS(rgb(key), 0, 6, 50, 60); },
         {{pale, {43, 43, 171}}}},
        {"no hue wrap",
         [&](cBitFilter& f) { return f.ReplaceHS(rgb(magenta), 0, 10, 100, 100); },
         {{violet, violet}}},
        {"wide hue",
         [&](cBitFilter& f) { return f.ReplaceHS(rgb(magenta), 0, 600, 100, 100); },
         {{violet, {1, 0, 1}}}},
    };
    for (const Case& c : cases)
        check(c);
}

TEST(ToneHue, ErrorsLeaveThePictureAlone) {
    constexpr int kOverflow = 6;
    const struct {
        const char* name;
        Bits picture;
        Filter run;
    } cases[] = {
        // White: l = 2, mn = 2 + 1 = 3: blue 765.
        {"COLORIZE", flat({255, 255, 255}), [](cBitFilter& f) { return f.COLORIZE(0, 1, 2); }},
        // Saturation 2: mn = -0.5.
        {"RotateH saturation", flat(kRed), [](cBitFilter& f) { return f.RotateH(0, 200); }},
        // h = -5.9988 is below -1 and not wrapped: blue = -e h.
        {"RotateH hue", flat(kRed), [](cBitFilter& f) { return f.RotateH(-100, 100); }},
        // (127500)^2 is past a long.
        {"ISOLATE", flat(kRed), [](cBitFilter& f) { return f.ISOLATE(0, 0, 100000); }},
        {"SHIFT", flat(kRed),
         [](cBitFilter& f) { return f.SHIFT(0, std::numeric_limits<std::int32_t>::max(), 10); }},
        {"ReplaceL", flat(kRed), [](cBitFilter& f) { return f.ReplaceL(0, 0, 1000000000, 10); }},
    };
    const Region region = test::lShape();
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        cBitFilter f = test::filterOn(c.picture, &region);
        try {
            c.run(f);
            ADD_FAILURE() << "no error";
        } catch (const RuntimeError& e) {
            EXPECT_EQ(e.number(), kOverflow);
        }
        EXPECT_TRUE(test::samePixels(f.BitsView(), c.picture));
    }
    // The same arguments are fine where no pixel leaves the bytes: black, grey.
    cBitFilter f = test::filterOn(flat({0, 0, 0}), &region);
    EXPECT_EQ(pixelAt(f.COLORIZE(0, 1, 2), 1, 1), (Pixel{0, 0, 0, kMask}));
    f.Bits(flat(kGrey));
    EXPECT_EQ(pixelAt(f.RotateH(0, 200), 1, 1), (Pixel{90, 90, 90, kMask}));
}

// Every colour there is, once: blue, green, red from the position.
Bits allColours() {
    Bits b(4096, 4096);
    for (int y = 0; y < 4096; ++y)
        for (int x = 0; x < 4096; ++x)
            test::setPixel(b, x, y, {x & 255, y & 255, (x >> 8) | ((y >> 8) << 4), 0});
    return b;
}

// The eight-pixel kernels give what the one-pixel helpers give, bit for bit, for every colour.
TEST(ToneHue, HueKernelsMatchTheColourHelpersForEveryColour) {
    cBitFilter f;
    f.Bits(allColours());
    const Bits rotated = f.RotateH(37, 80);
    const double dh = 37 / 16.67;
    float hk = 0, sk = 0, lk = 0;
    RGBToHLS(30, 160, 90, hk, sk, lk);
    const Bits replaced = f.ReplaceHS(rgb({90, 160, 30}), rgb({0, 0, 0}), 30, 20, 100);
    const std::int32_t tol2 = 16257; // round(127.5^2 + 1)
    for (int y = 0; y < 4096; ++y)
        for (int x = 0; x < 4096; ++x) {
            const Pixel p = pixelAt(f.BitsView(), x, y);
            float h = 0, s = 0, l = 0;
            RGBToHLS(p[2], p[1], p[0], h, s, l);
            float h2 = static_cast<float>(h + dh);
            if (h2 > 5) h2 = h2 - 6;
            std::int32_t r = 0, g = 0, b = 0;
            HLSToRGB(h2, static_cast<float>(0.8 * s), l, r, g, b);
            ASSERT_EQ(pixelAt(rotated, x, y), (Pixel{b, g, r, 0})) << x << ", " << y;

            Pixel expected = p;
            const int d2 =
                (p[0] - 90) * (p[0] - 90) + (p[1] - 160) * (p[1] - 160) + (p[2] - 30) * (p[2] - 30);
            if (std::fabs(h - hk) <= 0.3 && std::fabs(s - sk) <= 0.2 && d2 <= tol2)
                for (int c = 0; c < 3; ++c)
                    expected[static_cast<std::size_t>(c)] = static_cast<int>(std::nearbyint(
                        -p[static_cast<std::size_t>(c)] * (1.0 - static_cast<double>(d2) / tol2) +
                        p[static_cast<std::size_t>(c)]));
            ASSERT_EQ(pixelAt(replaced, x, y), expected) << x << ", " << y;
        }
}

} // namespace
} // namespace velmar
