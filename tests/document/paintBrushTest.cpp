// The brush family of fImage, worked out by hand on small pictures. White goes on black unless a
// case says otherwise, so a painted channel shows 255 * a rounded half to even.
#include "document/fImage.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <tuple>
#include <utility>
#include <vector>

namespace velmar {
namespace {

constexpr COLORREF kWhite = 0xFFFFFF;
using Row = std::vector<int>;

class PaintBrush : public ::testing::Test {
  protected:
    // A black w by h picture, all of it selected, and a new stroke.
    void blank(int w, int h) {
        doc.CreateBlank(w, h);
        doc.SelectWholePicture();
        doc.CreateDoneBitsTable();
    }
    void select(int left, int top, int right, int bottom, bool crop = true) {
        doc.BitsRegion().Init(0, 0, doc.PictureWidth(), doc.PictureHeight());
        doc.BitsRegion().CreateRect(left, top, right, bottom, 5, crop);
    }
    // A one-row picture whose blue channel holds the values.
    void blueRow(const Row& values) {
        blank(static_cast<int>(values.size()), 1);
        for (std::size_t x = 0; x < values.size(); ++x)
            doc.Bits()(0, static_cast<int>(x), 0) = static_cast<std::uint8_t>(values[x]);
    }
    Row blueRowNow() const {
        Row out;
        for (int x = 0; x < doc.PictureWidth(); ++x)
            out.push_back(doc.Bits()(0, x, 0));
        return out;
    }
    int red(int x, int y) const { return doc.Bits()(2, x, y); }
    int countRed(int value) const {
        int n = 0;
        for (int y = 0; y < doc.PictureHeight(); ++y)
            for (int x = 0; x < doc.PictureWidth(); ++x)
                n += red(x, y) == value;
        return n;
    }
    // 3 by 3, blue: centre 100, neighbours left 10, right 20, up 30, down 41 (sum 101).
    void crossPicture() {
        blank(3, 3);
        for (const auto& [x, y, v] :
             {std::tuple{0, 1, 10}, {2, 1, 20}, {1, 0, 30}, {1, 2, 41}, {1, 1, 100}})
            doc.Bits()(0, x, y) = static_cast<std::uint8_t>(v);
    }

    test::TempFolder folder;
    fImage doc{1, folder.path()};
};

TEST_F(PaintBrush, RadiusIsHalfTheSizeRoundedHalfToEven) {
    // Pixels with dx^2 + dy^2 <= r^2: r 0 -> 1, 1 -> 5, 2 -> 13, 3 -> 7 + 2 * (5 + 5 + 1) = 29,
    // 4 -> 9 + 2 * (7 + 7 + 5 + 1) = 49.
    const std::pair<int, int> cases[] = {{1, 1},  {2, 5},  {3, 13}, {4, 13},
                                         {5, 13}, {6, 29}, {7, 49}}; // sizes 1, 3, 5, 7 halve to .5
    for (const auto& [size, pixels] : cases) {
        blank(11, 11);
        doc.BitsBrush(5, 5, size, 100, kWhite);
        EXPECT_EQ(countRed(255), pixels) << size;
    }
}

TEST_F(PaintBrush, BrushBlendsOncePerStrokeInBitsChannelOrder) {
    doc.CreateBlank(3, 3); // no stroke table made: the stroke still paints
    doc.SelectWholePicture();
    doc.Bits()(3, 1, 1) = 77;
    doc.BitsBrush(1, 1, 1, 50, kWhite); // 127.5 -> 128
    doc.BitsBrush(1, 1, 1, 50, kWhite); // same stroke: not again
    EXPECT_EQ(red(1, 1), 128);
    doc.CreateDoneBitsTable();
    doc.BitsBrush(1, 1, 1, 50, kWhite); // 64 + 127.5 = 191.5 -> 192
    EXPECT_EQ(red(1, 1), 192);
    doc.CreateDoneBitsTable();
    doc.BitsBrush(1, 1, 1, 100, 0x302010); // red in the low byte goes to channel 2
    EXPECT_EQ(doc.Bits()(0, 1, 1), 0x30);
    EXPECT_EQ(doc.Bits()(2, 1, 1), 0x10);
    EXPECT_EQ(doc.Bits()(3, 1, 1), 77); // the mask byte is left alone
}

TEST_F(PaintBrush, SelectionAndPictureEdgeBoundTheBrush) {
    blank(5, 5);
    select(2, 0, 5, 5);
    doc.BitsBrush(2, 2, 5, 100, kWhite); // r = 2; the disk's columns dx 0, 1, 2: 5 + 3 + 1
    EXPECT_EQ(countRed(255), 9);
    EXPECT_EQ(red(1, 2), 0);
    // A selection larger than the picture still never reaches the margin.
    select(-5, -5, 20, 20, false);
    doc.BitsBrush(0, 0, 9, 100, kWhite);
    EXPECT_EQ(red(0, 0), 255);
    for (int i = -2; i < 5; ++i)
        EXPECT_EQ(red(i, -1) + red(-1, i) + red(i, -2) + red(-2, i), 0) << i;
}

TEST_F(PaintBrush, BrushLineStepsRoundHalfToEven) {
    const struct {
        int x1, y1, x2, y2;
        std::vector<std::pair<int, int>> painted;
    } cases[] = {
        {0, 0, 2, 1, {{0, 0}, {1, 0}, {2, 1}}},         // n = 2: y 0, 0.5 -> 0, 1
        {0, 0, 3, 1, {{0, 0}, {1, 0}, {2, 1}, {3, 1}}}, // n = 3: y 0, 0.33, 0.67, 1
        {1, 2, 1, 0, {{1, 2}, {1, 1}, {1, 0}}},
        {3, 1, 3, 1, {{3, 1}}},
    };
    for (const auto& c : cases) {
        blank(4, 3);
        doc.BitsBrushLine(c.x1, c.y1, c.x2, c.y2, 1, 100, kWhite);
        EXPECT_EQ(countRed(255), static_cast<int>(c.painted.size())) << c.x2;
        for (const auto& [x, y] : c.painted)
            EXPECT_EQ(red(x, y), 255) << x << ", " << y;
    }
}

TEST_F(PaintBrush, AirbrushFallsOffByDefinitionAndBuildsUp) {
    // Quantity 100: every random number in [0, 1) is below 1.
    blank(11, 11);
    doc.BitsAirbrush(5, 5, 4, 100, 100, 100, kWhite); // definition 100: a = p everywhere
    EXPECT_EQ(countRed(255), 13);
    blank(11, 11);
    doc.BitsAirbrush(5, 5, 4, 100, 100, 0, kWhite); // a = 1 - distance / 2
    EXPECT_EQ(red(5, 5), 255);
    EXPECT_EQ(red(6, 5), 128); // 127.5
    EXPECT_EQ(red(6, 6), 75);  // 1 - 1.41421 / 2 = 0.29289: 74.69
    EXPECT_EQ(red(7, 5), 0);
    blank(11, 11);
    doc.BitsAirbrush(5, 5, 4, 100, 0, 100, kWhite); // quantity 0
    EXPECT_EQ(countRed(0), 121);
    // Radius 0 sprays at full pressure, and a second call adds: 128, then 191.5 -> 192.
    blank(3, 3);
    doc.BitsAirbrush(1, 1, 1, 50, 100, 0, kWhite);
    doc.BitsAirbrush(1, 1, 1, 50, 100, 0, kWhite);
    EXPECT_EQ(red(1, 1), 192);
}

TEST_F(PaintBrush, BrightnessTablesOncePerStroke) {
    const struct {
        bool lighten;
        int in, out;
    } cases[] = {
        {true, 101, 152},  // 1.5 * 101 = 151.5 -> 152
        {true, 3, 4},      // 4.5 -> 4
        {true, 200, 255},  // 300 held
        {false, 101, 50},  // 0.5 * 101 = 50.5 -> 50
        {false, 103, 52},  // 51.5 -> 52
        {false, 255, 128}, // 127.5 -> 128
    };
    for (const auto& c : cases) {
        blueRow({c.in});
        doc.BitsBrightness(0, 0, 1, 50, c.lighten);
        doc.BitsBrightness(0, 0, 1, 50, c.lighten);
        EXPECT_EQ(blueRowNow(), Row{c.out}) << c.in;
    }
}

TEST_F(PaintBrush, StampIsTiledByItsUpperBounds) {
    // 3 by 3: the tile is 2 by 2 (blues 10, 20 / 30, 40); its last row and column (99) unused.
    PlainPicture stamp{3, 3, std::vector<std::uint8_t>(36, 99)};
    for (const auto& [x, y, v] : {std::tuple{0, 0, 10}, {1, 0, 20}, {0, 1, 30}, {1, 1, 40}})
        stamp.at(0, x, y) = static_cast<std::uint8_t>(v);
    blank(6, 6);
    doc.BitsMasked(2, 2, stamp, 4, 100); // r = 2
    const std::tuple<int, int, int> blues[] = {{2, 2, 10}, {3, 2, 20}, {2, 3, 30}, {3, 3, 40},
                                               {4, 2, 10}, {1, 2, 20}, {2, 4, 10}, {5, 5, 0}};
    for (const auto& [x, y, v] : blues)
        EXPECT_EQ(doc.Bits()(0, x, y), v) << x << ", " << y;
    blank(6, 6);
    doc.BitsMaskedLine(0, 1, 4, 1, stamp, 1, 50); // row 1: halves of 30, 40, 30, 40, 30
    for (int x = 0; x < 6; ++x)
        EXPECT_EQ(doc.Bits()(0, x, 1), x == 5 ? 0 : x % 2 == 0 ? 15 : 20) << x;
    blank(6, 6);
    doc.BitsMasked(2, 2, PlainPicture{1, 3, std::vector<std::uint8_t>(12, 99)}, 4, 100);
    EXPECT_EQ(doc.Bits()(0, 2, 2), 0); // an upper bound of 0 paints nothing
}

TEST_F(PaintBrush, BWMaskPaintsDarkPixelsScaledAndCentred) {
    // 2 by 1, dark then light. Size 4: drawn 4 by round(1 * 4 / 2) = 2 from (3 - 2, 3 - 1);
    // drawn columns 0 and 1 take mask column 0.
    const PlainPicture mask{2, 1, {0, 0, 0, 0, 255, 255, 255, 0}};
    blank(6, 6);
    doc.BitsBWMask(3, 3, mask, 4, kWhite, 100);
    EXPECT_EQ(countRed(255), 4);
    EXPECT_EQ(red(1, 2) + red(2, 2) + red(1, 3) + red(2, 3), 4 * 255);
    blank(6, 6);
    doc.BitsBWMask(3, 3, mask, 0, kWhite, 50); // its own 2 by 1 from (3 - 1, 3)
    EXPECT_EQ(red(2, 3), 128);
    EXPECT_EQ(countRed(0), 35);
    // Luminance 0.299 R + 0.587 G + 0.114 B below 128: pure red 76.2, green 218 127.97, 219
    // 128.55.
    for (const auto& [g, r, dark] : {std::tuple{218, 0, true}, {219, 0, false}, {0, 255, true}}) {
        blank(1, 1);
        const PlainPicture one{
            1, 1, {0, static_cast<std::uint8_t>(g), static_cast<std::uint8_t>(r), 0}};
        doc.BitsBWMask(0, 0, one, 0, kWhite, 100);
        EXPECT_EQ(red(0, 0), dark ? 255 : 0) << g;
    }
}

TEST_F(PaintBrush, SoftenAndSharpenWeighTheCentreByAmount) {
    const struct {
        bool sharpen;
        int amount, blue;
    } cases[] = {
        {false, 100, 25}, // w 0: 101 / 4
        {false, 0, 78},   // w 10: 1101 / 14 = 78.6
        {false, 15, 75},  // w round(8.5) = 8: 901 / 12 = 75.1
        {false, 5, 78},   // w round(9.5) = 10
        {true, 100, 174}, // w round(8.33) = 8: (800 - 101) / 4 = 174.75
        {true, 0, 127},   // w 15: (1500 - 101) / 11 = 127.2
        {true, 45, 137},  // w 12: (1200 - 101) / 8 = 137.4
    };
    for (const auto& c : cases) {
        crossPicture();
        if (c.sharpen)
            doc.BitsSharpen(1, 1, 1, c.amount);
        else
            doc.BitsSoften(1, 1, 1, c.amount, false);
        EXPECT_EQ(doc.Bits()(0, 1, 1), c.blue) << c.sharpen << " " << c.amount;
    }
    // Sharpen clamps: green 1600 / 4 = 400 -> 255, red (80 - 1000) / 4 = -230 -> 0.
    crossPicture();
    doc.Bits()(1, 1, 1) = 200;
    for (const auto& [x, y] : {std::pair{0, 1}, {2, 1}, {1, 0}, {1, 2}})
        doc.Bits()(2, x, y) = 250;
    doc.Bits()(2, 1, 1) = 10;
    doc.BitsSharpen(1, 1, 1, 100);
    EXPECT_EQ(doc.BitsGetPixel(1, 1), 0x00FF00u | 174u << 16);
}

TEST_F(PaintBrush, SoftenAndSharpenWorkInPlaceAndHonourTheStroke) {
    // r = 1 at (2, 0) on one row (black margin above and below): (1) = (0 + 80) / 4 = 20,
    // (2) = (20 + 120) / 4 = 35 reading the new 20, (3) = (35 + 160) / 4 = 48.
    blueRow({0, 40, 80, 120, 160});
    doc.BitsSoften(2, 0, 2, 100, false);
    EXPECT_EQ(blueRowNow(), (Row{0, 20, 35, 48, 160}));
    // (1) softened by an earlier dab: the row stops there. Overlay works it again instead.
    for (const bool overlay : {false, true}) {
        blueRow({0, 40, 80, 120, 160});
        doc.BitsSoften(1, 0, 1, 100, overlay);
        doc.BitsSoften(2, 0, 2, 100, overlay);
        EXPECT_EQ(blueRowNow(), overlay ? (Row{0, 20, 35, 48, 160}) : (Row{0, 20, 80, 120, 160}));
    }
    // Sharpen passes over a marked pixel and goes on: (1) = (320 - 80) / 4 = 60, then
    // (2) = (640 - 60 - 120) / 4 = 115, (3) = (960 - 115 - 160) / 4 = 171.
    blueRow({0, 40, 80, 120, 160});
    doc.BitsSharpen(1, 0, 1, 100);
    doc.BitsSharpen(2, 0, 2, 100);
    EXPECT_EQ(blueRowNow(), (Row{0, 60, 115, 171, 160}));
}

TEST_F(PaintBrush, SinglePixelsAndGetPixel) {
    blank(3, 3);
    select(1, 1, 2, 2);
    doc.BitsPaint(0, 0, kWhite, 100); // unselected
    doc.BitsPaint(1, 1, kWhite, 50);
    doc.BitsPaintPreMasked(2, 2, kWhite, 100); // the caller tested it
    doc.BitsPaintPreMasked(-1, 0, kWhite, 100);
    EXPECT_EQ(red(0, 0) + red(-1, 0), 0);
    EXPECT_EQ(red(1, 1), 128);
    EXPECT_EQ(red(2, 2), 255);
    EXPECT_EQ(doc.BitsGetPixel(3, 1), 0u);
}

TEST_F(PaintBrush, NothingHappensWithoutPictureOrSelection) {
    doc.CreateDoneBitsTable();
    doc.BitsBrush(0, 0, 5, 100, kWhite);
    EXPECT_EQ(doc.BitsGetPixel(0, 0), 0u);
    EXPECT_FALSE(doc.Bits().IsAllocated());
    doc.CreateBlank(3, 3); // no selection, then an empty one
    doc.BitsBrush(1, 1, 5, 100, kWhite);
    doc.BitsRegion().CreateRect(0, 0, 0, 0, 5, true);
    doc.BitsBrush(1, 1, 5, 100, kWhite);
    doc.BitsAirbrush(1, 1, 5, 100, 100, 100, kWhite);
    doc.BitsPaint(1, 1, kWhite, 100);
    EXPECT_EQ(countRed(0), 9);
}

} // namespace
} // namespace velmar
