// The document-wide turns and size steps: the menu words, the sizes, and the pixels of small
// turned pictures worked out by hand.
#include "filters/documentGeometry.h"
#include "filters/filterFixtures.h"
#include "pixel/cBitRegion.h"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>
#include <utility>

namespace velmar {
namespace {

using test::Pixel;
using test::pixelAt;
using Kind = GeometryWord::Kind;

// The turn as the document has always made it, step by step, with a real square canvas: the
// picture laid in the middle with TileMask, the square turned, the middle cut out.
Bits turnInSixSteps(const Bits& picture, double degrees, bool smooth) {
    const double c = std::fabs(std::cos(degrees * 0.0174533));
    const double s = std::fabs(std::sin(degrees * 0.0174533));
    const int w = picture.Width(), h = picture.Height();
    const int nw = static_cast<int>(std::nearbyint(h * s + c * w));
    const int nh = static_cast<int>(std::nearbyint(c * h + s * w));
    const int d = static_cast<int>(std::nearbyint(std::sqrt(double(w) * w + double(h) * h)));
    cBitRegion square;
    square.Init(0, 0, d, d);
    cBitFilter f;
    f.Bits(Bits(d, d));
    f.BitsRegion(square.RegionMain());
    f.Bits(f.TileMask(picture, (d - w) / 2, (d - h) / 2, false, 0, -1));
    const Bits turned = smooth ? f.RotateSmooth(degrees) : f.ROTATE(degrees, true);
    f.BitsCrop(turned, (d - nw) / 2, (d - nh) / 2, (d - nw) / 2 + nw, (d - nh) / 2 + nh);
    return f.Bits();
}

TEST(DocumentGeometry, TurnWithoutACanvasEqualsTheSixSteps) {
    for (const auto& [w, h] : {std::pair{5, 3}, std::pair{17, 11}, std::pair{8, 30}}) {
        const Bits picture = test::patterned(w, h);
        for (const double degrees : {-45.0, -90.0, -180.0, 90.0, 30.0, 17.5, -123.0})
            for (const bool smooth : {false, true}) {
                cBitFilter f;
                const Bits oneBlock = RotateDocument(f, picture, degrees, smooth);
                EXPECT_TRUE(test::samePixels(oneBlock, turnInSixSteps(picture, degrees, smooth)))
                    << w << "x" << h << " by " << degrees << (smooth ? " smooth" : "");
            }
    }
}

TEST(DocumentGeometry, MenuWords) {
    struct Expected {
        const char* word;
        Kind kind;
        double degrees;
        bool smooth;
        int factor;
        bool multiply;
    };
    const Expected words[] = {
        {"N45", Kind::Rotate, -45, false, 0, false},   {"N90", Kind::Rotate, -90, false, 0, false},
        {"N180", Kind::Rotate, -180, false, 0, false}, {"N270", Kind::Rotate, 90, false, 0, false},
        {"A45", Kind::Rotate, -45, true, 0, false},    {"A90", Kind::Rotate, -90, true, 0, false},
        {"A180", Kind::Rotate, -180, true, 0, false},  {"A270", Kind::Rotate, -90, true, 0, false},
        {"2x", Kind::Scale, 0, false, 2, true},        {"5x", Kind::Scale, 0, false, 5, true},
        {"x3", Kind::Scale, 0, false, 3, false},       {"x5", Kind::Scale, 0, false, 5, false},
    };
    for (const Expected& e : words) {
        const auto g = FindGeometryWord(e.word);
        ASSERT_TRUE(g.has_value()) << e.word;
        EXPECT_EQ(g->kind, e.kind) << e.word;
        if (e.kind == Kind::Rotate) {
            EXPECT_EQ(g->degrees, e.degrees) << e.word;
            EXPECT_EQ(g->smooth, e.smooth) << e.word;
        } else {
            EXPECT_EQ(g->factor, e.factor) << e.word;
            EXPECT_EQ(g->multiply, e.multiply) << e.word;
        }
    }
    EXPECT_EQ(GeometryWords().size(), 16u);
    for (const char* unknown : {"n90", "N360", "2X", "x1", "6x", ""})
        EXPECT_FALSE(FindGeometryWord(unknown).has_value()) << unknown;
}

// r(i, j) == picture(sx(i, j), sy(i, j)) for every pixel of the result, the mask byte 0.
template <class From>
void expectTurn(const Bits& picture, const Bits& r, int w, int h, From&& from) {
    ASSERT_EQ(r.Width(), w);
    ASSERT_EQ(r.Height(), h);
    for (int j = 0; j < h; ++j)
        for (int i = 0; i < w; ++i) {
            const auto [sx, sy] = from(i, j);
            const Pixel p = pixelAt(picture, sx, sy);
            EXPECT_EQ(pixelAt(r, i, j), (Pixel{p[0], p[1], p[2], 0})) << i << ", " << j;
        }
}

TEST(DocumentGeometry, QuickTurnsByHand) {
    // 5 x 3: D = round(sqrt 34) = 6, the picture laid at (0, 1), the centre (2, 2). ROTATE's
    // a = -90 * 0.017453288659 has cos 3.5e-7 and sin -1 + 6e-14, so every rounding is clean:
    // out(x, y) = canvas(y, 4 - x). The new size is 3 x 5, cut at left 1, top 0:
    // r(i, j) = out(1 + i, j) = canvas(j, 3 - i) = picture(j, 2 - i), the clockwise quarter.
    const Bits picture = test::patterned(5, 3);
    cBitFilter f;
    const Region elsewhere = Region::Rect(0, 0, 1, 1);
    f.BitsRegion(&elsewhere);
    expectTurn(picture, ApplyGeometryWord(f, picture, *FindGeometryWord("N90")), 3, 5,
               [](int i, int j) {
                   return std::pair{j, 2 - i};
               });
    EXPECT_EQ(f.BitsRegion(), &elsewhere); // the square's selection is gone again
    // N270 is +90: out(x, y) = canvas(4 - y, x), r(i, j) = picture(4 - j, i).
    expectTurn(picture, ApplyGeometryWord(f, picture, *FindGeometryWord("N270")), 3, 5,
               [](int i, int j) {
                   return std::pair{4 - j, i};
               });
    // N180: 5 x 3 cut at left 0, top 1 of out(x, y) = canvas(4 - x, 4 - y).
    expectTurn(picture, ApplyGeometryWord(f, picture, *FindGeometryWord("N180")), 5, 3,
               [](int i, int j) {
                   return std::pair{4 - i, 2 - j};
               });
    // The object's own picture may be the one turned.
    cBitFilter self = test::filterOn(picture, nullptr);
    const Bits turned = RotateDocument(self, self.BitsView(), -90.0, false);
    expectTurn(picture, turned, 3, 5, [](int i, int j) { return std::pair{j, 2 - i}; });
    // 45 degrees: c = cos 0.7853985 = 0.7071065, s = 0.7071070, both sides round(5.657) = 6.
    const Bits slanted = ApplyGeometryWord(f, picture, *FindGeometryWord("N45"));
    EXPECT_EQ(slanted.Width(), 6);
    EXPECT_EQ(slanted.Height(), 6);
}

TEST(DocumentGeometry, QualityTurns) {
    // RotateSmooth(-90) on the same square. The centre (2, 2) of the canvas reads itself: r(1, 2)
    // = picture(2, 1). Canvas (2, 1): fx = 2 + sin a = 1.00000000000006, fy = 2 - cos a =
    // 1.99999965; the weights pick canvas (1, 2) to within 4e-7: r(1, 1) = picture(1, 1). Canvas
    // (1, 0) lands at fx = -3.5e-7 + 1.2e-13, just left of the square: r(0, 0) is black.
    const Bits picture = test::patterned(5, 3);
    cBitFilter f;
    const Bits r = ApplyGeometryWord(f, picture, *FindGeometryWord("A90"));
    ASSERT_EQ(r.Width(), 3);
    ASSERT_EQ(r.Height(), 5);
    auto colour = [&](int x, int y) {
        const Pixel p = pixelAt(picture, x, y);
        return Pixel{p[0], p[1], p[2], 0};
    };
    EXPECT_EQ(pixelAt(r, 1, 2), colour(2, 1));
    EXPECT_EQ(pixelAt(r, 1, 1), colour(1, 1));
    EXPECT_EQ(pixelAt(r, 0, 0), (Pixel{0, 0, 0, 0}));
    // A270 turns the same way as A90.
    EXPECT_TRUE(test::samePixels(ApplyGeometryWord(f, picture, *FindGeometryWord("A270")), r));
}

TEST(DocumentGeometry, Sizing) {
    const Bits picture = test::patterned(5, 3);
    struct Case {
        const char* word;
        int w, h;
    };
    // Divided sides round to the nearest, ties to even, and are at least 2: 5/2 = 2.5 -> 2,
    // 3/2 = 1.5 -> 2; 7/3 = 2.33 -> 2, 3/3 = 1 -> 2; 7/2 = 3.5 -> 4.
    const Bits seven = test::patterned(7, 3);
    for (const Case c : {Case{"2x", 10, 6}, Case{"3x", 15, 9}, Case{"x2", 2, 2}}) {
        cBitFilter f;
        const Bits out = ApplyGeometryWord(f, picture, *FindGeometryWord(c.word));
        // The menu words size with quality: the bilinear scaler.
        cBitFilter direct;
        direct.BitsResample(picture, c.w, c.h);
        EXPECT_TRUE(test::samePixels(out, direct.BitsView())) << c.word;
    }
    for (const Case c : {Case{"x3", 2, 2}, Case{"x2", 4, 2}, Case{"x5", 2, 2}}) {
        cBitFilter f;
        const Bits out = ApplyGeometryWord(f, seven, *FindGeometryWord(c.word));
        EXPECT_EQ(out.Width(), c.w) << c.word;
        EXPECT_EQ(out.Height(), c.h) << c.word;
    }
    cBitFilter f;
    cBitFilter direct;
    direct.BitsResize(picture, 10, 6);
    EXPECT_TRUE(test::samePixels(ScaleDocument(f, picture, 2, true, false), direct.BitsView()));
    EXPECT_THROW(ScaleDocument(f, picture, 0, false, true), std::invalid_argument);
}

} // namespace
} // namespace velmar
