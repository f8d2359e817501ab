// The flood fills of fImage on small pictures, worked out by hand.
#include "document/fImage.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <utility>
#include <vector>

namespace velmar {
namespace {

using Bgr = std::array<int, 3>; // blue, green, red as Bits holds them

// COLORREF of a colour: red in the low byte.
constexpr COLORREF rgb(int r, int g, int b) {
    return static_cast<COLORREF>(r | g << 8 | b << 16);
}

class PaintFill : public ::testing::Test {
  protected:
    // A w by h picture of one colour, all of it selected, with a fresh stroke table.
    void flat(int w, int h, Bgr colour) {
        doc.CreateBlank(w, h);
        doc.SelectWholePicture();
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                set(x, y, colour);
        doc.CreateDoneBitsTable();
    }
    void set(int x, int y, Bgr colour) {
        for (int c = 0; c < 3; ++c)
            doc.Bits()(c, x, y) = static_cast<std::uint8_t>(colour[static_cast<std::size_t>(c)]);
    }
    // Only this rectangle selected.
    void select(int left, int top, int right, int bottom) {
        doc.BitsRegion().Init(0, 0, doc.PictureWidth(), doc.PictureHeight());
        doc.BitsRegion().CreateRect(left, top, right, bottom, 5, true);
    }
    int count(Bgr colour) const {
        int n = 0;
        for (int y = 0; y < doc.PictureHeight(); ++y)
            for (int x = 0; x < doc.PictureWidth(); ++x)
                n += Bgr{doc.Bits()(0, x, y), doc.Bits()(1, x, y), doc.Bits()(2, x, y)} == colour;
        return n;
    }

    test::TempFolder folder;
    fImage doc{1, folder.path()};
};

TEST_F(PaintFill, FlatPictureIsFilledWholeAndMarginStays) {
    flat(5, 4, {10, 20, 30});
    doc.BitsFill(2, 1, rgb(200, 100, 50), 0, 100);
    EXPECT_EQ(count({50, 100, 200}), 20);
    for (int x = -2; x < 7; ++x)
        EXPECT_EQ(doc.Bits()(0, x, -1), 0);
}

TEST_F(PaintFill, ToleranceIsASumOverChannels) {
    // Seed (100, 100, 100); pixel 1 differs by 5 in each channel, 15 in all; pixel 2 is only
    // reached through pixel 1.
    const std::pair<int, bool> cases[] = {{5, false}, {14, false}, {15, true}, {765, true}};
    for (const auto& [tolerance, filled] : cases) {
        flat(3, 1, {100, 100, 100});
        set(1, 0, {105, 95, 105});
        doc.BitsFill(0, 0, rgb(0, 0, 0), tolerance, 100);
        EXPECT_EQ(count({0, 0, 0}), filled ? 3 : 1) << tolerance;
    }
}

TEST_F(PaintFill, PressureBlendsThroughTheTablesOncePerPixel) {
    // a = 0.5: blue round(11 * 0.5 + 200 * 0.5) = round(105.5) = 106, green round(106.5) = 106,
    // red 30 * 0.5 + 50 * 0.5 = 40. The seed is within any tolerance of itself afterwards, yet
    // it is blended once like the rest.
    flat(3, 2, {11, 13, 30});
    doc.BitsFill(1, 1, rgb(50, 200, 200), 765, 50);
    EXPECT_EQ(count({106, 106, 40}), 6);
}

TEST_F(PaintFill, NearlyEqualColourChangesOnlyTheSeed) {
    const std::pair<COLORREF, int> cases[] = {
        {rgb(109, 91, 100), 1}, // within 9 in each channel
        {rgb(100, 100, 109), 1},
        {rgb(110, 100, 100), 6}, // 10 in red: the walk runs
        {rgb(100, 90, 100), 6},
    };
    for (const auto& [colour, changed] : cases) {
        flat(3, 2, {100, 100, 100});
        doc.BitsFill(0, 0, colour, 765, 100);
        EXPECT_EQ(6 - count({100, 100, 100}), changed) << colour;
        EXPECT_EQ(doc.BitsGetPixel(0, 0), colour);
    }
}

TEST_F(PaintFill, SelectionAndNeighbourhoodBoundTheFill) {
    // Selection columns 0 and 1 of 4.
    flat(4, 3, {0, 0, 0});
    select(0, 0, 2, 3);
    doc.BitsFill(0, 0, rgb(255, 255, 255), 0, 100);
    EXPECT_EQ(count({255, 255, 255}), 6);

    // Four neighbours only: (1, 1) touches the seed's area at a corner and stays.
    flat(3, 3, {0, 0, 0});
    set(1, 0, {9, 9, 9});
    set(0, 1, {9, 9, 9});
    doc.BitsFill(0, 0, rgb(255, 255, 255), 0, 100);
    EXPECT_EQ(count({255, 255, 255}), 1);

    // A seed outside the selection, and an empty selection: nothing at all.
    flat(4, 3, {0, 0, 0});
    select(2, 0, 4, 3);
    doc.BitsFill(0, 0, rgb(255, 255, 255), 765, 100);
    EXPECT_EQ(count({0, 0, 0}), 12);
    select(0, 0, 0, 0);
    doc.BitsFill(3, 1, rgb(255, 255, 255), 765, 100);
    EXPECT_EQ(count({0, 0, 0}), 12);
}

TEST_F(PaintFill, NothingWithoutPicture) {
    doc.BitsFill(0, 0, rgb(255, 0, 0), 765, 100);
    doc.BitsFillTexture(0, 0, PlainPicture{3, 3, std::vector<std::uint8_t>(36, 1)}, 765, 100);
    EXPECT_FALSE(doc.Bits().IsAllocated());
}

TEST_F(PaintFill, TextureTilesTheStampByItsUpperBounds) {
    // A 3 by 3 stamp: tile 2 by 2 of blues 10, 20 / 30, 40; the last row and column (99) unused.
    PlainPicture stamp{3, 3, std::vector<std::uint8_t>(36, 99)};
    const int blues[2][2] = {{10, 20}, {30, 40}};
    for (int i = 0; i < 4; ++i)
        stamp.at(0, i % 2, i / 2) = static_cast<std::uint8_t>(blues[i / 2][i % 2]);
    flat(5, 3, {0, 0, 0});
    doc.BitsFillTexture(2, 1, stamp, 0, 100);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 5; ++x)
            EXPECT_EQ(doc.Bits()(0, x, y), blues[y % 2][x % 2]) << x << ", " << y;

    // Pressure 50 over 100: 40 * 0.5 + 100 * 0.5 = 70, 30 -> 65.
    flat(5, 3, {100, 100, 100});
    doc.BitsFillTexture(0, 0, stamp, 0, 50);
    EXPECT_EQ(doc.Bits()(0, 1, 1), 70);
    EXPECT_EQ(doc.Bits()(0, 0, 1), 65);

    // An upper bound of 0 paints nothing.
    flat(5, 3, {0, 0, 0});
    doc.BitsFillTexture(0, 0, PlainPicture{3, 1, std::vector<std::uint8_t>(12, 99)}, 0, 100);
    EXPECT_EQ(count({0, 0, 0}), 15);
}

} // namespace
} // namespace velmar
