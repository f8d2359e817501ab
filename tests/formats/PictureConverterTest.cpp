// The converter's palettes, dithers, greyscale, transformations and refusals, checked on the
// quantized result in memory. The files it writes are checked in PictureConverterFilesTest.
#include "formats/PictureConverter.h"
#include "formats/converterParts.h"
#include "formats/converterPictures.h"
#include "formats/platformPalettes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <tuple>

namespace velmar {
namespace {

using test::flatPicture;
using test::gradientPicture;
using test::resultColour;
using test::Rgb;

QuantizedPicture quantized(const Bits& picture, int colorMode, int bits, int paletteMode,
                           int dither, std::uint32_t transform = 0) {
    PictureConverter c;
    EXPECT_TRUE(c.SetOptions(kFileBmp, colorMode, bits, paletteMode, dither)) << c.LastError();
    EXPECT_TRUE(c.SetPicture(picture)) << c.LastError();
    if (transform != 0) {
        EXPECT_TRUE(c.TransformImage(transform)) << c.LastError();
    }
    EXPECT_TRUE(c.Quantize()) << c.LastError();
    return c.Result() ? *c.Result() : QuantizedPicture{};
}

std::vector<PaletteColour> paletteOf(int mode, int bits) {
    return quantized(gradientPicture(16, 16), kColorModeColors, bits, mode, kDitherNone).palette;
}

std::set<int> channelValues(const std::vector<PaletteColour>& p, std::uint8_t PaletteColour::*c) {
    std::set<int> values;
    for (const auto& e : p)
        values.insert(e.*c);
    return values;
}

TEST(PictureConverterPalettes, SizesAndKnownEntriesOfEachMode) {
    struct Case {
        int mode, bits;
        std::size_t size;
        std::size_t index; // an entry worked out by hand
        PaletteColour entry;
    };
    const Case cases[] = {
        {kPalettePlatform, 1, 2, 1, {255, 255, 255}},
        {kPalettePlatform, 2, 2, 0, {0, 0, 0}},        // no 2-bit map: black and white
        {kPalettePlatform, 4, 16, 7, {192, 192, 192}}, // VGA light grey
        {kPalettePlatform, 6, 16, 9, {255, 0, 0}},     // no 6-bit map: VGA
        {kPalettePlatform, 8, 256, 10, {0, 0, 0}},     // halftone: cube starts after 10 statics
        {kPaletteVga, 4, 16, 7, {192, 192, 192}},
        {kPaletteVga, 8, 16, 15, {255, 255, 255}},
        {kPaletteWebSafe, 8, 216, 215, {255, 255, 255}},
        {kPaletteWebSafe, 8, 216, 1, {0, 0, 51}},
        {kPaletteHalftone, 8, 256, 9, {166, 202, 240}},
        // Cube 3-3-2: red and green in sevenths of 255, blue in thirds.
        {kPaletteFixedCube, 8, 256, 1, {0, 0, 85}},
        {kPaletteFixedCube, 8, 256, 4, {0, 36, 0}},
        {kPaletteFixedCube, 8, 256, 32, {36, 0, 0}},
        {kPaletteFixedCube, 4, 16, 1, {0, 0, 255}}, // 1-2-1
        {kPaletteFixedCube, 4, 16, 2, {0, 85, 0}},
        {kPaletteFixedCube, 2, 4, 1, {85, 85, 85}}, // too few bits for a cube: greys
        // n fixed colours: 8 corners, then greys between black and white.
        {kPaletteFixedCount + 16, 4, 16, 8, {28, 28, 28}},
        {kPaletteFixedCount + 16, 4, 16, 15, {227, 227, 227}},
        {kPaletteFixedCount, 3, 8, 7, {255, 255, 255}}, // bare 0x8000: 2^bits colours
        {kPaletteFixedCount + 2, 1, 2, 1, {255, 255, 255}},
        {kPaletteFixedCount + 256, 8, 256, 216, {6, 6, 6}}, // 6^3 cube, 8 greys in each gap
        {kPaletteGreyRamp, 3, 8, 1, {36, 36, 36}},
    };
    for (const Case& c : cases) {
        const auto p = paletteOf(c.mode, c.bits);
        ASSERT_EQ(p.size(), c.size) << std::hex << c.mode << " at " << std::dec << c.bits;
        EXPECT_EQ(p[c.index], c.entry)
            << std::hex << c.mode << " at " << std::dec << c.bits << " entry " << c.index;
        for (const auto& e : p) // web-safe, with no repeats: every multiple of 51
            if (c.mode == kPaletteWebSafe) {
                EXPECT_EQ(e.red % 51 + e.green % 51 + e.blue % 51, 0);
            }
        // The halftone table is the desktop's and repeats black and white; ours do not.
        if (p.size() == 256 && p[9] == PaletteColour{166, 202, 240}) continue;
        // No colour twice: a repeated entry wastes a slot of the table.
        std::set<std::tuple<int, int, int>> seen;
        for (const auto& e : p)
            EXPECT_TRUE(seen.insert({e.red, e.green, e.blue}).second)
                << std::hex << c.mode << " at " << std::dec << c.bits << " repeats " << int{e.red}
                << "," << int{e.green} << "," << int{e.blue};
    }
}

TEST(PictureConverterPalettes, PlatformPalettesAreTheDesktopsOwnTables) {
    EXPECT_TRUE(std::ranges::equal(paletteOf(kPaletteVga, 4), VgaPalette()));
    EXPECT_TRUE(std::ranges::equal(paletteOf(kPalettePlatform, 8), HalftonePalette()));
    EXPECT_TRUE(std::ranges::equal(paletteOf(kPaletteHalftone, 8), HalftonePalette()));
}

TEST(PictureConverterPalettes, CubeSplitsBitsGreenFirstBlueLast) {
    struct Case {
        int bits;
        std::size_t reds, greens, blues;
    };
    const Case cases[] = {{8, 8, 8, 4}, {7, 4, 8, 4}, {6, 4, 4, 4},
                          {5, 4, 4, 2}, {4, 2, 4, 2}, {3, 2, 2, 2}};
    for (const Case& c : cases) {
        const auto p = paletteOf(kPaletteFixedCube, c.bits);
        EXPECT_EQ(p.size(), std::size_t{1} << c.bits);
        EXPECT_EQ(channelValues(p, &PaletteColour::red).size(), c.reds) << c.bits;
        EXPECT_EQ(channelValues(p, &PaletteColour::green).size(), c.greens) << c.bits;
        EXPECT_EQ(channelValues(p, &PaletteColour::blue).size(), c.blues) << c.bits;
        EXPECT_EQ(*channelValues(p, &PaletteColour::blue).rbegin(), 255);
    }
}

TEST(PictureConverterPalettes, GreyRampRunsFromBlackToWhiteInEvenSteps) {
    for (int bits = 1; bits <= 8; ++bits) {
        const auto p = paletteOf(kPaletteGreyRamp, bits);
        ASSERT_EQ(p.size(), std::size_t{1} << bits);
        EXPECT_EQ(p.front(), (PaletteColour{0, 0, 0}));
        EXPECT_EQ(p.back(), (PaletteColour{255, 255, 255}));
        const double step = 255.0 / static_cast<double>(p.size() - 1);
        for (std::size_t i = 0; i < p.size(); ++i) {
            EXPECT_TRUE(p[i].red == p[i].green && p[i].green == p[i].blue);
            EXPECT_NEAR(p[i].red, step * static_cast<double>(i), 0.5) << bits << " " << i;
        }
    }
}

TEST(PictureConverterPalettes, OptimalPaletteFindsTheFewColoursOfAPicture) {
    const Rgb colours[] = {{200, 30, 40}, {20, 180, 60}, {250, 250, 10}, {10, 20, 160}};
    Bits b(16, 16);
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x)
            test::setPixel(b, x, y, colours[(x / 8) + 2 * (y / 8)]);
    for (const int bits : {2, 8}) {
        const auto q = quantized(b, kColorModeColors, bits, kPaletteOptimal, kDitherNone);
        EXPECT_LE(q.palette.size(), std::size_t{1} << bits);
        for (int y = 0; y < 16; ++y)
            for (int x = 0; x < 16; ++x) {
                const Rgb want = colours[(x / 8) + 2 * (y / 8)];
                const Rgb got = resultColour(q, x, y);
                EXPECT_NEAR(got.red, want.red, 1) << bits;
                EXPECT_NEAR(got.green, want.green, 1) << bits;
                EXPECT_NEAR(got.blue, want.blue, 1) << bits;
            }
    }
    // Two colours for a gradient: the two ends, not two greys of the middle.
    const auto q =
        quantized(gradientPicture(64, 64), kColorModeColors, 1, kPaletteOptimal, kDitherNone);
    EXPECT_EQ(q.palette.size(), 2u);
}

TEST(PictureConverterSearch, CellSearchGivesTheSameEntryAsTheFullScan) {
    std::mt19937 random(7);
    std::uniform_int_distribution<int> byte(0, 255);
    std::vector<PaletteColour> randomPalette;
    for (int i = 0; i < 256; ++i)
        randomPalette.push_back({static_cast<std::uint8_t>(byte(random) & 0xF0),
                                 static_cast<std::uint8_t>(byte(random) & 0xF0),
                                 static_cast<std::uint8_t>(byte(random) & 0xF0)}); // ties
    const auto vga = VgaPalette();
    const auto halftone = HalftonePalette();
    const std::vector<std::vector<PaletteColour>> palettes = {
        {vga.begin(), vga.end()}, {halftone.begin(), halftone.end()}, randomPalette, {{9, 9, 9}}};
    for (const auto& palette : palettes) {
        converter::PaletteSearch search(palette);
        for (int i = 0; i < 20000; ++i) {
            const int r = byte(random), g = byte(random), b = byte(random);
            ASSERT_EQ(search.Nearest(r, g, b),
                      NearestEntry(palette, static_cast<std::uint8_t>(r),
                                   static_cast<std::uint8_t>(g), static_cast<std::uint8_t>(b)))
                << r << "," << g << "," << b << " in a palette of " << palette.size();
        }
    }
}

constexpr int kAllDithers[] = {
    kDitherNone,         kDitherBinary,     kDitherOrdered,  kDitherHaftone, kDitherForwardDiag,
    kDitherBackwardDiag, kDitherHorizontal, kDitherVertical, kDitherOdd,     kDitherEven};

TEST(PictureConverterDithers, EveryDitherGivesItsOwnPictureOfAGradient) {
    struct Case {
        int bits, mode;
    };
    const Case cases[] = {{1, kPalettePlatform}, {2, kPaletteGreyRamp}, {4, kPaletteVga},
                          {4, kPaletteOptimal},  {8, kPaletteHalftone}, {16, kPalettePlatform}};
    const Bits picture = gradientPicture(96, 64);
    for (const Case& c : cases) {
        std::vector<std::vector<std::uint8_t>> outputs;
        for (const int d : kAllDithers)
            outputs.push_back(quantized(picture, kColorModeColors, c.bits, c.mode, d).samples);
        for (std::size_t i = 0; i < outputs.size(); ++i)
            for (std::size_t j = i + 1; j < outputs.size(); ++j)
                EXPECT_NE(outputs[i], outputs[j])
                    << "dithers " << kAllDithers[i] << " and " << kAllDithers[j] << " at " << c.bits
                    << " bits, palette " << std::hex << c.mode;
    }
}

// A flat grey of 64 lies 64/255 = 0.251 of the way to white. Worked by hand per 8 x 8 tile:
// Bayer switches ranks below 15.56 (16 pixels), the clustered dot the same 16 nearest the middle,
// a line screen 2 of its 8 phases, a checkerboard its first parity (0.25 < 0.251); error
// diffusion about a quarter. Grey 60 lies 0.235 of the way: Bayer and the dot switch ranks below
// 14.56 (15 of 64), a line screen still 2 of 8 phases, and the checkerboards nothing.
TEST(PictureConverterDithers, AFlatGreyTakesTheWhiteShareEachPatternPromises) {
    struct Case {
        int dither;
        double share64, share60;
        bool (*expected)(int x, int y); // which pixels of grey 64 are white; null: any
    };
    const Case cases[] = {
        {kDitherNone, 0.0, 0.0, [](int, int) { return false; }},
        {kDitherBinary, 0.25, 60 / 255.0, nullptr},
        {kDitherOrdered, 0.25, 15 / 64.0, [](int x, int y) { return x % 2 == 0 && y % 2 == 0; }},
        {kDitherHaftone, 0.25, 15 / 64.0,
         [](int x, int y) {
             const double dx = x % 8 - 3.5, dy = y % 8 - 3.5;
             return dx * dx + dy * dy <= 4.5;
         }},
        {kDitherForwardDiag, 0.25, 0.25,
         [](int x, int y) { return (x + y) % 8 == 3 || (x + y) % 8 == 4; }},
        {kDitherBackwardDiag, 0.25, 0.25,
         [](int x, int y) { return (x - y + 64) % 8 == 3 || (x - y + 64) % 8 == 4; }},
        {kDitherHorizontal, 0.25, 0.25, [](int, int y) { return y % 8 == 3 || y % 8 == 4; }},
        {kDitherVertical, 0.25, 0.25, [](int x, int) { return x % 8 == 3 || x % 8 == 4; }},
        {kDitherOdd, 0.5, 0.0, [](int x, int y) { return (x + y) % 2 == 1; }},
        {kDitherEven, 0.5, 0.0, [](int x, int y) { return (x + y) % 2 == 0; }},
    };
    for (const Case& c : cases)
        for (const int grey : {64, 60}) {
            const auto q = quantized(flatPicture(64, 64, {grey, grey, grey}), kColorModeColors, 1,
                                     kPalettePlatform, c.dither);
            int whites = 0;
            for (int y = 0; y < 64; ++y)
                for (int x = 0; x < 64; ++x) {
                    const bool white = resultColour(q, x, y) == Rgb{255, 255, 255};
                    whites += white;
                    if (grey == 64 && c.expected) {
                        ASSERT_EQ(white, c.expected(x, y)) << c.dither << " at " << x << "," << y;
                    }
                }
            EXPECT_NEAR(whites / 4096.0, grey == 64 ? c.share64 : c.share60,
                        grey == 64 ? 0.01 : 0.005)
                << "dither " << c.dither << ", grey " << grey;
        }
}

TEST(PictureConverterDithers, AFlatPaletteColourStaysExactUnderEveryDither) {
    struct Case {
        int bits, mode;
        Rgb colour;
    };
    const Case cases[] = {
        {1, kPalettePlatform, {255, 255, 255}},
        {4, kPaletteVga, {128, 0, 128}},
        {4, kPaletteVga, {192, 192, 192}},
        {8, kPaletteHalftone, {166, 202, 240}},
        {8, kPaletteHalftone, {10, 10, 10}}, // the greys between the cube's lie 10 apart
        {8, kPaletteWebSafe, {51, 102, 153}},
        {8, kPaletteFixedCube, {36, 73, 85}},
        {4, kPaletteFixedCount + 16, {28, 28, 28}},
        {3, kPaletteGreyRamp, {109, 109, 109}},
        {8, kPaletteOptimal, {90, 140, 200}},
        {16, kPalettePlatform, {(3 << 3) | 0, (17 << 3) | 4, (30 << 3) | 7}}, // levels 3, 17, 30
        {24, kPalettePlatform, {1, 2, 3}},
    };
    for (const Case& c : cases)
        for (const int d : kAllDithers) {
            const auto q =
                quantized(flatPicture(19, 13, c.colour), kColorModeColors, c.bits, c.mode, d);
            for (int y = 0; y < 13; ++y)
                for (int x = 0; x < 19; ++x)
                    ASSERT_EQ(resultColour(q, x, y), c.colour)
                        << "dither " << d << ", palette " << std::hex << c.mode << std::dec
                        << " at " << c.bits << " bits, pixel " << x << "," << y;
        }
}

// At 16 bits each channel dithers between its two nearest 5-bit levels: 10 lies between
// levels 1 (8) and 2 (16), a quarter of the way, so Bayer raises exactly the 16 even-even
// pixels of each 8 x 8 tile and error diffusion keeps the mean at 10.
TEST(PictureConverterDithers, DirectColourDithersBetweenNeighbouring555Levels) {
    const Bits picture = flatPicture(32, 32, {10, 10, 10});
    const auto ordered = quantized(picture, kColorModeColors, 16, kPalettePlatform, kDitherOrdered);
    const auto diffused = quantized(picture, kColorModeColors, 16, kPalettePlatform, kDitherBinary);
    const auto plain = quantized(picture, kColorModeColors, 16, kPalettePlatform, kDitherNone);
    double sum = 0;
    for (int y = 0; y < 32; ++y)
        for (int x = 0; x < 32; ++x) {
            const int up = x % 2 == 0 && y % 2 == 0 ? 16 : 8;
            EXPECT_EQ(resultColour(ordered, x, y), (Rgb{up, up, up})) << x << "," << y;
            EXPECT_EQ(resultColour(plain, x, y), (Rgb{8, 8, 8}));
            const Rgb d = resultColour(diffused, x, y);
            EXPECT_TRUE(d == (Rgb{8, 8, 8}) || d == (Rgb{16, 16, 16}));
            sum += d.red;
        }
    EXPECT_NEAR(sum / 1024.0, 10.0, 0.1);
}

TEST(PictureConverterGreyscale, GreyscaleGivesOnlyGreysWithEveryPaletteAndDepth) {
    struct Case {
        int bits, mode;
    };
    const Case cases[] = {
        {1, kPalettePlatform},  {4, kPalettePlatform},  {8, kPalettePlatform},
        {4, kPaletteOptimal},   {8, kPaletteOptimal},   {3, kPaletteFixedCube},
        {8, kPaletteFixedCube}, {4, kPaletteVga},       {8, kPaletteWebSafe},
        {8, kPaletteHalftone},  {5, kPaletteGreyRamp},  {4, kPaletteFixedCount + 16},
        {16, kPalettePlatform}, {24, kPalettePlatform},
    };
    const Bits picture = gradientPicture(48, 40);
    for (const Case& c : cases)
        for (const int d : {kDitherNone, kDitherBinary, kDitherOrdered}) {
            const auto q = quantized(picture, kColorModeGreyscale, c.bits, c.mode, d);
            std::set<int> tones;
            for (int y = 0; y < 40; ++y)
                for (int x = 0; x < 48; ++x) {
                    const Rgb got = resultColour(q, x, y);
                    ASSERT_TRUE(got.red == got.green && got.green == got.blue)
                        << "palette " << std::hex << c.mode << std::dec << " at " << c.bits
                        << " bits, dither " << d << ": " << got.red << "," << got.green << ","
                        << got.blue;
                    tones.insert(got.red);
                }
            EXPECT_GE(tones.size(), 2u) << std::hex << c.mode; // not one flat grey
        }
    // At 24 bits the grey is the picture's luma: (200, 100, 50) gives 0.299 * 200 + 0.587 *
    // 100 + 0.114 * 50 = 124.2.
    const auto q = quantized(flatPicture(2, 2, {200, 100, 50}), kColorModeGreyscale, 24,
                             kPalettePlatform, kDitherNone);
    EXPECT_EQ(resultColour(q, 1, 1), (Rgb{124, 124, 124}));
}

TEST(PictureConverterTransform, FlipsAndInvertOnAnAsymmetricPicture) {
    // a b c
    // d e f
    const Rgb a{10, 0, 0}, b{20, 0, 0}, c{30, 0, 0}, d{40, 0, 0}, e{50, 0, 0}, f{60, 0, 0};
    Bits picture(3, 2);
    const Rgb layout[2][3] = {{a, b, c}, {d, e, f}};
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 3; ++x)
            test::setPixel(picture, x, y, layout[y][x]);
    const auto inv = [](Rgb p) { return Rgb{255 - p.red, 255 - p.green, 255 - p.blue}; };
    struct Case {
        std::uint32_t flags;
        Rgb want[2][3];
    };
    const Case cases[] = {
        {0, {{a, b, c}, {d, e, f}}},
        {kTransformFlipVertical, {{d, e, f}, {a, b, c}}},
        {kTransformFlipHorizontal, {{c, b, a}, {f, e, d}}},
        {kTransformFlipVertical | kTransformFlipHorizontal, {{f, e, d}, {c, b, a}}},
        {kTransformInvert, {{inv(a), inv(b), inv(c)}, {inv(d), inv(e), inv(f)}}},
        {kTransformInvert | kTransformFlipHorizontal,
         {{inv(c), inv(b), inv(a)}, {inv(f), inv(e), inv(d)}}},
        {0x10000, {{d, e, f}, {a, b, c}}}, // the tested bit alone
    };
    for (const Case& k : cases) {
        PictureConverter conv;
        ASSERT_TRUE(conv.SetOptions(kFileBmp, kColorModeColors, 24, kPalettePlatform, 0));
        ASSERT_TRUE(conv.SetPicture(picture));
        ASSERT_TRUE(conv.TransformImage(k.flags)) << conv.LastError();
        ASSERT_TRUE(conv.Quantize());
        for (int y = 0; y < 2; ++y)
            for (int x = 0; x < 3; ++x)
                EXPECT_EQ(resultColour(*conv.Result(), x, y), k.want[y][x])
                    << std::hex << k.flags << std::dec << " at " << x << "," << y;
    }
    // Transformations add up on the kept copy: flipping twice gives the picture back.
    PictureConverter conv;
    ASSERT_TRUE(conv.SetOptions(kFileBmp, kColorModeColors, 24, kPalettePlatform, 0));
    ASSERT_TRUE(conv.SetPicture(picture));
    ASSERT_TRUE(conv.TransformImage(kTransformFlipHorizontal));
    ASSERT_TRUE(conv.TransformImage(kTransformFlipHorizontal | kTransformInvert));
    ASSERT_TRUE(conv.TransformImage(kTransformInvert));
    ASSERT_TRUE(conv.Quantize());
    EXPECT_EQ(resultColour(*conv.Result(), 0, 1), d);
}

TEST(PictureConverterOptions, BadValuesAreRefusedWithTheirReason) {
    const std::string palettes =
        " is unknown: use 0x1000 (platform), 0x4000 (optimal), 0 (colour cube), 0x8000 plus 2 to "
        "256 (fixed colours), 0x8210 (VGA), 0x84D8 (web-safe), 0x8300 (halftone) or 0x88FF (grey "
        "ramp).";
    const std::string dithers = " is unknown: use 0, 1, 2, 4, 8, 16, 32, 64, 256 or 512.";
    struct Case {
        int kind, mode, bits, palette, dither;
        std::string message;
    };
    const Case cases[] = {
        {3, 0, 8, kPaletteOptimal, 0,
         "FileKind 3 is unknown: use 0 for BMP, 1 for GIF or 2 for interlaced GIF."},
        {1, 1, 8, kPaletteOptimal, 0,
         "ColorMode 1 is unknown: use 0 for colours or 2 for greyscale."},
        {0, 0, 0, kPaletteOptimal, 0, "ColorBits 0 is unknown: use 1 to 8, 16 or 24."},
        {0, 0, 12, kPaletteOptimal, 0, "ColorBits 12 is unknown: use 1 to 8, 16 or 24."},
        {1, 0, 24, kPalettePlatform, 0,
         "A GIF file holds at most 8 bits per pixel; ColorBits 24 can only be written as BMP."},
        {2, 0, 16, kPalettePlatform, 0,
         "A GIF file holds at most 8 bits per pixel; ColorBits 16 can only be written as BMP."},
        {1, 0, 8, 0x2000, 0, "PaletteMode 0x2000" + palettes},
        {1, 0, 8, 0x8101, 0, "PaletteMode 0x8101" + palettes},
        {1, 0, 8, 0x8001, 0,
         "A fixed palette needs at least 2 colours; PaletteMode 0x8001 asks for 1."},
        {1, 0, 4, kPaletteFixedCount + 20, 0,
         "A fixed palette of 20 colours needs 5 bits per pixel; ColorBits is 4."},
        {1, 0, 2, kPaletteVga, 0,
         "The 16-colour VGA palette needs 4 bits per pixel; ColorBits is 2."},
        {1, 0, 7, kPaletteWebSafe, 0,
         "The 216-colour web-safe palette needs 8 bits per pixel; ColorBits is 7."},
        {0, 0, 4, kPaletteHalftone, 0,
         "The 256-colour halftone palette needs 8 bits per pixel; ColorBits is 4."},
        {1, 0, 8, kPaletteOptimal, 3, "Dither 3" + dithers},
        {1, 0, 8, kPaletteOptimal, 128, "Dither 128" + dithers},
        {1, 0, 8, kPaletteOptimal, -1, "Dither -1" + dithers},
    };
    for (const Case& c : cases) {
        PictureConverter conv;
        EXPECT_FALSE(conv.SetOptions(c.kind, c.mode, c.bits, c.palette, c.dither));
        EXPECT_EQ(conv.LastError(), c.message);
        // The one-call path refuses the same way, before touching any file.
        EXPECT_FALSE(conv.ConvertPicture(flatPicture(2, 2, {1, 2, 3}), "/nonexistent/x", c.kind,
                                         c.mode, c.bits, c.palette, c.dither));
        EXPECT_EQ(conv.LastError(), c.message);
    }
    // Every fixed-size palette is fine at 16 and 24 bits, where no table is made.
    PictureConverter conv;
    EXPECT_TRUE(conv.SetOptions(kFileBmp, 0, 24, kPaletteWebSafe, kDitherOrdered));
    EXPECT_TRUE(conv.SetOptions(kFileBmp, 0, 16, kPaletteFixedCount + 256, kDitherEven));
}

TEST(PictureConverterOptions, CallsOutOfOrderAreRefusedAndRefusalsChangeNothing) {
    PictureConverter conv;
    EXPECT_FALSE(conv.Quantize());
    EXPECT_EQ(conv.LastError(), "Set the options before quantizing.");
    ASSERT_TRUE(conv.SetOptions(kFileBmp, 0, 1, kPalettePlatform, 0));
    EXPECT_FALSE(conv.Quantize());
    EXPECT_EQ(conv.LastError(), "There is no picture to quantize: set one first.");
    EXPECT_FALSE(conv.TransformImage(kTransformInvert));
    EXPECT_EQ(conv.LastError(), "There is no picture to transform: set one first.");
    EXPECT_FALSE(conv.SetPicture(Bits()));
    EXPECT_EQ(conv.LastError(), "The picture is empty.");
    EXPECT_FALSE(conv.WriteGif("/tmp/never-written.gif"));
    EXPECT_EQ(conv.LastError(), "There is nothing to write: quantize the picture first.");

    Bits picture = flatPicture(4, 4, {200, 200, 200});
    ASSERT_TRUE(conv.SetPicture(picture));
    EXPECT_TRUE(conv.LastError().empty());
    // The copy is the converter's own: changing the caller's picture afterwards changes nothing.
    test::setPixel(picture, 0, 0, {0, 0, 0});
    EXPECT_FALSE(conv.TransformImage(0x40000));
    EXPECT_EQ(conv.LastError(), "Transformation flags 0x40000 are unknown: use 0x1010000, "
                                "0x1020000, 0x3100000 or their combination.");
    // A refused SetOptions keeps the options that were set.
    EXPECT_FALSE(conv.SetOptions(kFileBmp, 0, 9, kPalettePlatform, 0));
    ASSERT_TRUE(conv.Quantize());
    EXPECT_EQ(conv.Result()->bits, 1);
    EXPECT_EQ(resultColour(*conv.Result(), 0, 0), (Rgb{255, 255, 255}));
    // Changing the options drops the old result, so a write cannot use a stale one.
    ASSERT_TRUE(conv.SetOptions(kFileBmp, 0, 24, kPalettePlatform, 0));
    EXPECT_EQ(conv.Result(), nullptr);
    ASSERT_TRUE(conv.Quantize());
    ASSERT_TRUE(conv.TransformImage(kTransformInvert));
    EXPECT_EQ(conv.Result(), nullptr);
}

} // namespace
} // namespace velmar
