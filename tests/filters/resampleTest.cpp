// The scalers, the quarter turn and the smooth rotation: pixels worked out by hand, the identities
// (and the one that does not hold).
#include "filters/filterFixtures.h"
#include "pixel/RuntimeError.h"

#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <utility>

namespace velmar {
namespace {

using test::Pixel;
using test::pixelAt;

Bits picture(int w, int h, std::initializer_list<Pixel> pixels) {
    Bits b(w, h);
    auto p = pixels.begin();
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            test::setPixel(b, x, y, *p++);
    return b;
}

Pixel colourOf(Pixel p) {
    return {p[0], p[1], p[2], 0};
}

bool marginIsZero(const Bits& b) {
    for (int y = -2; y < b.Height() + 2; ++y)
        for (int x = -2; x < b.Width() + 2; ++x)
            if ((x < 0 || y < 0 || x >= b.Width() || y >= b.Height()) &&
                pixelAt(b, x, y) != Pixel{0, 0, 0, 0})
                return false;
    return true;
}

TEST(Resample, BitsResize) {
    const Bits source = test::patterned(5, 3);
    cBitFilter f;
    // Same size: the same colours; the mask byte of the new picture is 0.
    f.BitsResize(source, 5, 3);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 5; ++x)
            EXPECT_EQ(pixelAt(f.BitsView(), x, y), colourOf(pixelAt(source, x, y)));
    // 5 x 3 to 2 x 2: xs = 2.5, ys = 1.5, so x 0, 1 read 0, 2 and y 0, 1 read 0, 1.
    f.BitsResize(source, 2, 2);
    EXPECT_EQ(f.BitsWidth(), 2);
    EXPECT_EQ(f.BitsHeight(), 2);
    EXPECT_EQ(pixelAt(f.BitsView(), 1, 0), colourOf(pixelAt(source, 2, 0)));
    EXPECT_EQ(pixelAt(f.BitsView(), 1, 1), colourOf(pixelAt(source, 2, 1)));
    // 2 x 2 to 5 x 3: xs = 0.4 gives 0, 0, 0, 1, 1; ys = 0.6666667 gives 0, 0, 1.
    const Bits small = test::patterned(2, 2);
    f.BitsResize(small, 5, 3);
    EXPECT_EQ(pixelAt(f.BitsView(), 2, 1), colourOf(pixelAt(small, 0, 0)));
    EXPECT_EQ(pixelAt(f.BitsView(), 3, 2), colourOf(pixelAt(small, 1, 1)));
    EXPECT_TRUE(marginIsZero(f.BitsView()));
}

TEST(Resample, BitsResampleByHand) {
    // 3 x 2 to the same size: xs = 2/3 as a single, 0.6666666865, ys = 0.5. Columns: x 1 reads
    // 0 and 1 with tx = 0.6666666865, x 2 reads 1 and 2 with tx = 0.3333333731. Row 1 mixes the
    // rows half and half, ties to even: green (11 + 30)/2 = 20.5 -> 20, (13 + 30)/2 = 21.5 -> 22,
    // red 255/2 = 127.5 -> 128. Then, e.g. blue (1, 1): 0.3333333 * 20 + 0.6666667 * 50
    // = 40.0000002
    // -> 40; (2, 1): 0.6666666 * 50 + 0.3333334 * 150 = 83.33 -> 83; green (2, 0): 0.6666666 * 13
    // = 8.67 -> 9. So the same size is not the identity.
    const Bits source = picture(3, 2,
                                {{10, 11, 255, 1},
                                 {40, 13, 255, 1},
                                 {100, 0, 255, 1},
                                 {30, 30, 0, 1},
                                 {60, 30, 0, 1},
                                 {200, 0, 0, 1}});
    cBitFilter f;
    f.BitsResample(source, 3, 2);
    const Pixel expected[2][3] = {{{10, 11, 255, 0}, {30, 12, 255, 0}, {60, 9, 255, 0}},
                                  {{20, 20, 128, 0}, {40, 21, 128, 0}, {83, 15, 128, 0}}};
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 3; ++x)
            EXPECT_EQ(pixelAt(f.BitsView(), x, y), expected[y][x]) << x << ", " << y;

    // 2 x 1 to 5 x 1: xs = 0.2 as a single (fractions finer than 2^-24); ys = 0 reads the margin
    // row below with weight 0. Red 255 * 0.2000000030 * k = 51.0000008, 102, 153, 204.
    f.BitsResample(picture(2, 1, {{0, 0, 0, 0}, {100, 5, 255, 0}}), 5, 1);
    const int blue[5] = {0, 20, 40, 60, 80};
    const int green[5] = {0, 1, 2, 3, 4};
    const int red[5] = {0, 51, 102, 153, 204};
    for (int x = 0; x < 5; ++x)
        EXPECT_EQ(pixelAt(f.BitsView(), x, 0), (Pixel{blue[x], green[x], red[x], 0}));
    EXPECT_TRUE(marginIsZero(f.BitsView()));
}

TEST(Resample, ScalerErrorsLeaveTheObject) {
    const Bits mine = test::patterned(4, 4);
    struct Case {
        const char* name;
        int number;
        std::function<void(cBitFilter&)> run;
    };
    const Bits narrow = test::patterned(1, 5);
    const Bits wide = test::patterned(6, 5);
    const Case cases[] = {
        {"Resize to width 0", 11, [&](cBitFilter& f) { f.BitsResize(wide, 0, 3); }},
        {"Resample to height 0", 11, [&](cBitFilter& f) { f.BitsResample(wide, 3, 0); }},
        // One pixel wide: W1 = 0 over 0 is no number at all.
        {"Resample 0 over 0", 6, [&](cBitFilter& f) { f.BitsResample(narrow, 0, 3); }},
    };
    for (const Case& c : cases) {
        cBitFilter f = test::filterOn(mine, nullptr);
        try {
            c.run(f);
            ADD_FAILURE() << c.name << ": no error";
        } catch (const RuntimeError& e) {
            EXPECT_EQ(e.number(), c.number) << c.name;
        }
        EXPECT_TRUE(test::samePixels(f.BitsView(), mine)) << c.name;
        EXPECT_EQ(f.BitsWidth(), 4) << c.name;
    }
}

TEST(Resample, BitsRotate90) {
    // Source (x, y) goes to (y, W1 - x): the top right corner comes to the top left.
    const Bits source = test::patterned(3, 2);
    cBitFilter f;
    f.BitsRotate90(source);
    EXPECT_EQ(f.BitsWidth(), 2);
    EXPECT_EQ(f.BitsHeight(), 3);
    EXPECT_EQ(pixelAt(f.BitsView(), 0, 0), colourOf(pixelAt(source, 2, 0)));
    EXPECT_EQ(pixelAt(f.BitsView(), 1, 0), colourOf(pixelAt(source, 2, 1)));
    EXPECT_EQ(pixelAt(f.BitsView(), 1, 1), colourOf(pixelAt(source, 1, 1)));
    EXPECT_EQ(pixelAt(f.BitsView(), 0, 2), colourOf(pixelAt(source, 0, 0)));

    // Four turns give the picture back (without its mask bytes), on one thread and on two; the
    // sizes are not multiples of the blocks the turn works in.
    for (const int threads : {1, 2}) {
        const Bits big = test::patterned(601, 533);
        Bits colours = big.clone();
        for (int y = 0; y < 533; ++y)
            for (int x = 0; x < 601; ++x)
                colours(3, x, y) = 0;
        cBitFilter g;
        g.SetThreads(threads);
        g.BitsRotate90(big);
        EXPECT_EQ(pixelAt(g.BitsView(), 532, 0), colourOf(pixelAt(big, 600, 532)));
        EXPECT_TRUE(marginIsZero(g.BitsView()));
        for (int turn = 1; turn < 4; ++turn) {
            const Bits step = g.Bits();
            g.BitsRotate90(step);
        }
        EXPECT_TRUE(test::samePixels(g.BitsView(), colours)) << threads << " threads";
    }
}

TEST(Resample, RotateSmooth) {
    // 0 degrees: fx = x, fy = y, weights 0, the picture itself; the L shape's box turns.
    const Region region = test::lShape();
    const Bits patterned = test::patterned(8, 8);
    cBitFilter f = test::filterOn(patterned, &region);
    EXPECT_TRUE(test::samePixels(f.RotateSmooth(0.0), patterned));

    // 30 degrees about (2, 2) of a 5 x 5 picture; a = 30 * 0.017453288659 is 1.16e-7 below
    // pi/6: cos a = 0.8660254616, sin a = 0.4999998997. Pixel (3, 2): fx = 2.8660254616,
    // fy = 2.4999998997. Left column: round(0.5000001 * 0 + 0.4999999 * 100) = 50, right:
    // round(0.5000001 * 200 + 0.4999999 * 100) = 150, then round(0.1339745 * 50 + 0.8660255 *
    // 150) = round(136.6025) = 137.
    Bits grey = test::flat(5, 5, {9, 9, 9, 33});
    test::setPixel(grey, 2, 2, {0, 0, 0, 33});
    test::setPixel(grey, 2, 3, {100, 100, 100, 33});
    test::setPixel(grey, 3, 2, {200, 200, 200, 33});
    test::setPixel(grey, 3, 3, {100, 100, 100, 33});
    cBitFilter g = test::filterOn(grey, nullptr);
    const Bits turned = g.RotateSmooth(30.0);
    EXPECT_EQ(pixelAt(turned, 3, 2), (Pixel{137, 137, 137, 33}));
    EXPECT_EQ(pixelAt(turned, 2, 2), (Pixel{0, 0, 0, 33}));
    // (0, 4): fx = -1.732 - 1 + 2 < 0, outside: black, the mask byte kept.
    EXPECT_EQ(pixelAt(turned, 0, 4), (Pixel{0, 0, 0, 33}));
    EXPECT_TRUE(test::samePixels(g.RotateSmooth(30.0), turned));
    EXPECT_TRUE(test::samePixels(g.BitsView(), grey));

    // 180 degrees: sin a = 6.3e-7, so (1, 2) lands at fx = 3 - 2e-13, fy = 1.9999994: it takes
    // (3, 2) through weights within 1e-6 of 1. (4, 4) lands at fx = -1.3e-6: black.
    const Bits five = test::patterned(5, 5);
    cBitFilter h = test::filterOn(five, nullptr);
    const Bits half = h.RotateSmooth(180.0);
    EXPECT_EQ(pixelAt(half, 1, 2),
              (Pixel{five(0, 3, 2), five(1, 3, 2), five(2, 3, 2), five(3, 1, 2)}));
    EXPECT_EQ(pixelAt(half, 4, 4), (Pixel{0, 0, 0, five(3, 4, 4)}));
}

TEST(Resample, RotateSmoothTurnsTheWholeBox) {
    // No point test: (5, 5) is in the L shape's box but not in the shape, and still turns (it
    // then reads black around (3.7, 5.7)); (7, 7) and (0, 0) lie outside the box.
    const Region region = test::lShape();
    Bits dots = test::flat(8, 8, {0, 0, 0, 0});
    for (const auto& [x, y] : std::initializer_list<std::pair<int, int>>{{5, 5}, {7, 7}, {0, 0}})
        test::setPixel(dots, x, y, {255, 255, 255, 0});
    cBitFilter f = test::filterOn(dots, &region);
    const Bits out = f.RotateSmooth(30.0);
    EXPECT_EQ(pixelAt(out, 5, 5), (Pixel{0, 0, 0, 0}));
    EXPECT_EQ(pixelAt(out, 7, 7), (Pixel{255, 255, 255, 0}));
    EXPECT_EQ(pixelAt(out, 0, 0), (Pixel{255, 255, 255, 0}));

    // The same result on any number of threads.
    const Bits big = test::patterned(97, 90);
    cBitFilter one = test::filterOn(big, nullptr);
    one.SetThreads(1);
    cBitFilter two = test::filterOn(big, nullptr);
    two.SetThreads(2);
    EXPECT_TRUE(test::samePixels(one.RotateSmooth(-23.5), two.RotateSmooth(-23.5)));
}

// The formula as written, in double with nearbyint, to hold the scaler's integer and vector
// paths against.
Bits resampleByFormula(const Bits& s, int w, int h) {
    const auto xs = static_cast<float>(static_cast<double>(s.Width() - 1) / w);
    const auto ys = static_cast<float>(static_cast<double>(s.Height() - 1) / h);
    Bits out(w, h);
    for (int y = 0; y < h; ++y) {
        const double fy = y * static_cast<double>(ys);
        const int iy = static_cast<int>(std::floor(fy));
        const double ty = fy - iy;
        for (int x = 0; x < w; ++x) {
            const double fx = x * static_cast<double>(xs);
            const int ix = static_cast<int>(std::floor(fx));
            const double tx = fx - ix;
            for (int c = 0; c < 3; ++c) {
                const double a = std::nearbyint((1 - ty) * s(c, ix, iy) + ty * s(c, ix, iy + 1));
                const double b =
                    std::nearbyint((1 - ty) * s(c, ix + 1, iy) + ty * s(c, ix + 1, iy + 1));
                out(c, x, y) = static_cast<std::uint8_t>(
                    std::clamp(std::nearbyint((1 - tx) * a + tx * b), 0.0, 255.0));
            }
        }
    }
    return out;
}

TEST(Resample, BitsResampleMatchesTheFormula) {
    // Reductions to about half and beyond (picked pairs and gathered ones), enlargements below
    // and beyond twice the size (integer and double arithmetic), on one and two threads.
    const Bits source = test::patterned(83, 61);
    struct Size {
        int w, h;
    };
    for (const Size s :
         {Size{41, 30}, Size{83, 61}, Size{13, 7}, Size{150, 100}, Size{250, 200}, Size{9, 120}})
        for (const int threads : {1, 2}) {
            cBitFilter f;
            f.SetThreads(threads);
            f.BitsResample(source, s.w, s.h);
            EXPECT_TRUE(test::samePixels(f.BitsView(), resampleByFormula(source, s.w, s.h)))
                << s.w << " x " << s.h << ", " << threads << " threads";
        }
}

} // namespace
} // namespace velmar
