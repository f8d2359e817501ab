// The anti-aliased line and the shapes drawn with it, worked out by hand on small pictures.
// White on black: a pixel blended with coverage c at intensity i gets 255 * c * i / 255^2 more
// of the white, rounded half to even.
#include "document/fImage.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace velmar {
namespace {

constexpr COLORREF kWhite = 0xFFFFFF;

class PaintLines : public ::testing::Test {
  protected:
    static void blank(fImage& d, int w, int h) {
        d.CreateBlank(w, h);
        d.SelectWholePicture();
    }
    int red(int x, int y) const { return doc.Bits()(2, x, y); }
    static bool samePixels(const fImage& a, const fImage& b) {
        return a.Bits().SizeBytes() == b.Bits().SizeBytes() &&
               std::memcmp(a.Bits().Data(), b.Bits().Data(), a.Bits().SizeBytes()) == 0;
    }

    test::TempFolder folder;
    fImage doc{1, folder.path()};
    fImage drawn{2, folder.path()}; // the same shape drawn line by line
};

TEST_F(PaintLines, LineCoverageByHand) {
    // (0, 0) to (1, 1): n = 2, four half steps of 0.25; the positions less 0.5 are -0.25, 0,
    // 0.25 and 0.501 (1.0 nudged to 1.001). Coverage of (0, 0): 0.75^2 * 256 = 144, 256 held at
    // 255, 144, 0.499^2 * 256 = 63.7 -> 64; of (1, 0): 0.25 * 0.75 * 256 = 48, then 0.499 *
    // 0.501 * 256 -> 64; of (1, 1): 16, then 64.
    const struct {
        int x1, y1, x2, y2, pressure;
        int red[4]; // (0, 0), (1, 0), (0, 1), (1, 1)
    } cases[] = {
        // (0, 0): 144, then a = 1. (1, 0): 48, then 48 * 191 / 255 + 64 = 99.95. (1, 1): 16,
        // then 16 * 191 / 255 + 64 = 75.98.
        {0, 0, 1, 1, 100, {255, 100, 100, 76}},
        // Intensity 1. (0, 0): 255 * 144 / 65025 = 0.56 -> 1; 1 - 1/255 + 1 = 1.996 -> 2;
        // 2 * (1 - 144 / 65025) + 0.56 = 2.56 -> 3; 3 * (1 - 64 / 65025) + 0.25 = 3.25 -> 3.
        // (1, 0): 0.19, then 0.25, both 0.
        {0, 0, 1, 1, 0, {3, 0, 0, 0}},
        // One point: two half steps at (1.001, 1.001), each covering the four pixels with 64
        // (0.499^2, 0.499 * 0.501, 0.501^2 times 256): 64, then 64 * 191 / 255 + 64 = 111.9.
        {1, 1, 1, 1, 100, {112, 112, 112, 112}},
    };
    for (const auto& c : cases) {
        blank(doc, 4, 4);
        doc.BitsLine(c.x1, c.y1, c.x2, c.y2, kWhite, c.pressure);
        for (int y = 0; y < 4; ++y)
            for (int x = 0; x < 4; ++x)
                EXPECT_EQ(red(x, y), x < 2 && y < 2 ? c.red[y * 2 + x] : 0)
                    << c.pressure << ": " << x << ", " << y;
        EXPECT_EQ(doc.Bits()(0, 0, 0), c.red[0]); // all three channels
        EXPECT_EQ(doc.Bits()(3, 0, 0), 0);        // not the mask byte
    }
}

TEST_F(PaintLines, LineKeepsToSelectionAndPicture) {
    blank(doc, 4, 4);
    doc.BitsRegion().Init(0, 0, 4, 4);
    doc.BitsRegion().CreateRect(0, 0, 1, 4, 5, true); // column 0 only
    doc.BitsLine(0, 0, 1, 1, kWhite, 100);
    EXPECT_EQ(red(0, 0) + red(0, 1), 355);
    EXPECT_EQ(red(1, 0) + red(1, 1), 0);
    // A line along the top edge covers the row above, which is margin and stays black.
    blank(doc, 4, 4);
    doc.BitsLine(0, 0, 3, 0, kWhite, 100);
    for (int x = -2; x < 6; ++x)
        EXPECT_EQ(doc.Bits()(2, x, -1), 0);
}

TEST_F(PaintLines, RectangleIsFourLinesTopRightBottomLeft) {
    blank(doc, 8, 8);
    blank(drawn, 8, 8);
    doc.BitsRectangle(1, 1, 6, 4, kWhite, 60);
    drawn.BitsLine(1, 1, 6, 1, kWhite, 60);
    drawn.BitsLine(6, 1, 6, 4, kWhite, 60);
    drawn.BitsLine(6, 4, 1, 4, kWhite, 60);
    drawn.BitsLine(1, 4, 1, 1, kWhite, 60);
    EXPECT_TRUE(samePixels(doc, drawn));
}

TEST_F(PaintLines, PolygonVertices) {
    struct Corner {
        int x, y;
    };
    const struct {
        const char* what;
        int vx, vy, sides;
        std::vector<Corner> corners; // worked out from the angle constants
    } cases[] = {
        // Radius 3, start 0, step 1.570795: cos and sin of the short angles round to 0 and 1.
        {"vertex right", 8, 5, 4, {{8, 5}, {5, 8}, {2, 5}, {5, 2}, {8, 5}}},
        // dx < 0: atan(0) + 3.1416.
        {"vertex left", 2, 5, 4, {{2, 5}, {5, 2}, {8, 5}, {5, 8}, {2, 5}}},
        // dx = 0, dy < 0: -1.5708 + 6.2832 = 4.7124.
        {"vertex up", 5, 2, 4, {{5, 2}, {8, 5}, {5, 8}, {2, 5}, {5, 2}}},
        // dx = 0, dy > 0: 1.5708; step 2.094393. At 3.665193 (7pi/6 + 1.9e-6) the sine is
        // just below -0.5: 3 * (-0.866, -0.5000016) -> (-3, -2). At 5.759587 (11pi/6 + 1.4e-7)
        // it is just above: 3 * (0.866, -0.4999999) -> (3, -1).
        {"triangle", 5, 8, 3, {{5, 8}, {2, 3}, {8, 4}, {5, 8}}},
        {"no sides", 8, 5, 0, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        blank(doc, 11, 11);
        blank(drawn, 11, 11);
        doc.BitsPolygon(5, 5, c.vx, c.vy, c.sides, kWhite, 70);
        for (std::size_t i = 0; i + 1 < c.corners.size(); ++i)
            drawn.BitsLine(c.corners[i].x, c.corners[i].y, c.corners[i + 1].x, c.corners[i + 1].y,
                           kWhite, 70);
        EXPECT_TRUE(samePixels(doc, drawn));
    }
}

TEST_F(PaintLines, EllipseSteps) {
    // Radii 0: the bare step 0.53407, so 12 positions (11 steps make 5.87, below 6.283185), all
    // at (1.001, 1.001) covering the 2 by 2 block with 64 each time: 64, 112, 148, 175, 195,
    // 210, 221, 230, 236, 241, 245, 248 (each v * 191 / 255 + 64, rounded).
    blank(doc, 4, 4);
    doc.BitsEllipse(1, 1, 0, 0, kWhite, 100);
    EXPECT_EQ(red(0, 0) + red(1, 1) + red(2, 2), 2 * 248);

    // Radii 6 and 3 round (8, 8): the path passes (14, 8), (2, 8), (8, 11) and (8, 5), whose
    // squares cover (13, 8), (2, 8), (8, 10) and (8, 5); the centre and a point well inside stay
    // black. Negative radii draw the same ellipse.
    for (const int sign : {1, -1}) {
        blank(doc, 17, 17);
        doc.BitsEllipse(8, 8, 6 * sign, 3 * sign, kWhite, 100);
        EXPECT_TRUE(red(13, 8) && red(2, 8) && red(8, 10) && red(8, 5)) << sign;
        EXPECT_EQ(red(8, 8) + red(10, 8), 0) << sign;
    }
}

TEST_F(PaintLines, NothingWithoutPicture) {
    doc.BitsLine(0, 0, 5, 5, kWhite, 100);
    doc.BitsRectangle(0, 0, 5, 5, kWhite, 100);
    doc.BitsPolygon(3, 3, 5, 5, 5, kWhite, 100);
    doc.BitsEllipse(3, 3, 2, 2, kWhite, 100);
    EXPECT_FALSE(doc.Bits().IsAllocated());
}

} // namespace
} // namespace velmar
