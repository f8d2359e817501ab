#include "formats/EuroDepth.h"
#include "formats/platformPalettes.h"

#include <gtest/gtest.h>

#include <random>

namespace velmar {
namespace {

Bits noise(int w, int h) {
    Bits b(w, h);
    std::mt19937 rng(7);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            for (int c = 0; c < 3; ++c)
                b(c, x, y) = static_cast<std::uint8_t>(rng());
    return b;
}

bool samePixels(const Bits& a, const Bits& b) {
    for (int y = 0; y < a.Height(); ++y)
        for (int x = 0; x < a.Width(); ++x)
            for (int c = 0; c < 4; ++c)
                if (a(c, x, y) != b(c, x, y)) return false;
    return true;
}

TEST(EuroDepth, ListOrderCaptionsAndRowBytes) {
    const char* captions[] = {
        "2 Colors (1 Bit)", "16 Colors (4 Bit)",      "256 Colors (8 Bit)",    "(15 Bit)",
        "(16 Bit)",         "32,000 Colors (24 Bit)", "64,000 Colors (24 Bit)"};
    const int readBack[] = {1, 4, 8, 16, 16, 24, 32};
    for (std::size_t i = 0; i < 7; ++i) {
        EXPECT_EQ(DepthChoices()[i].caption, captions[i]);
        Bits b(1, 1);
        EuroDepth depth;
        (depth.*DepthChoices()[i].method)(b, nullptr);
        EXPECT_EQ(depth.Depth(), readBack[i]) << captions[i];
    }
    EXPECT_EQ(EuroDepth::RowBytes(3, 1), 4);
    EXPECT_EQ(EuroDepth::RowBytes(33, 1), 8);
    EXPECT_EQ(EuroDepth::RowBytes(3, 4), 4);
    EXPECT_EQ(EuroDepth::RowBytes(5, 24), 16);
}

TEST(EuroDepth, PalettedDepthsMapToTheNearestEntryWithoutDither) {
    Bits src(4, 1);
    const std::uint8_t colours[4][3] = {
        {250, 240, 230}, {20, 30, 10}, {200, 10, 20}, {120, 130, 128}}; // b, g, r
    for (int x = 0; x < 4; ++x)
        for (int c = 0; c < 3; ++c)
            src(c, x, 0) = colours[x][c];
    Bits out;
    EuroDepth depth;
    depth.SetDepth_01Bit(src, &out);
    const int mono[4] = {255, 0, 0, 0}; // (r 20, g 10, b 200) is nearer black than white
    for (int x = 0; x < 4; ++x)
        for (int c = 0; c < 3; ++c)
            EXPECT_EQ(out(c, x, 0), mono[x]) << x;

    depth.SetDepth_04Bit(src, &out);
    EXPECT_EQ(out(2, 0, 0), 255); // near white
    EXPECT_EQ(out(0, 2, 0), 255); // blue 200 with little else: VGA blue (0, 0, 255)
    EXPECT_EQ(out(2, 2, 0), 0);
    EXPECT_EQ(out(1, 3, 0), 128); // mid grey: VGA dark grey (128, 128, 128)
}

TEST(EuroDepth, EveryResultColourBelongsToItsPalette) {
    const Bits src = noise(40, 30);
    struct Case {
        void (EuroDepth::*method)(Bits&, Bits*);
        std::span<const PaletteColour> palette;
    };
    const Case cases[] = {{&EuroDepth::SetDepth_01Bit, MonochromePalette()},
                          {&EuroDepth::SetDepth_04Bit, VgaPalette()},
                          {&EuroDepth::SetDepth_08Bit, HalftonePalette()}};
    for (const auto& c : cases) {
        Bits copy = src.clone(), out;
        EuroDepth depth;
        (depth.*c.method)(copy, &out);
        ASSERT_TRUE(samePixels(copy, src)) << "the source stays as it was";
        for (int y = 0; y < 30; ++y)
            for (int x = 0; x < 40; ++x) {
                const PaletteColour got{out(2, x, y), out(1, x, y), out(0, x, y)};
                const int nearest =
                    NearestEntry(c.palette, src(2, x, y), src(1, x, y), src(0, x, y));
                ASSERT_EQ(got, c.palette[static_cast<std::size_t>(nearest)]);
            }
    }
}

TEST(EuroDepth, FifteenAndSixteenAgreeAndTrueColourIsUnchanged) {
    Bits a = noise(17, 9), b = a.clone(), c = a.clone(), d = a.clone();
    const Bits original = a.clone();
    EuroDepth depth;
    depth.SetDepth_15Bit(a);
    depth.SetDepth_16Bit(b);
    EXPECT_TRUE(samePixels(a, b));
    EXPECT_EQ(a(0, 3, 4), original(0, 3, 4) & 0xF8);
    EXPECT_EQ(a(2, 16, 8), original(2, 16, 8) & 0xF8);
    depth.SetDepth_24Bit_32K(c);
    depth.SetDepth_24Bit_64k(d);
    EXPECT_TRUE(samePixels(c, original));
    EXPECT_TRUE(samePixels(d, original));
}

} // namespace
} // namespace velmar
