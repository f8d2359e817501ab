// The frame all filters share: the state, the box, the crop operations, progress and errors,
// and the same result on one thread and on several.
#include "filters/filterFixtures.h"
#include "pixel/RuntimeError.h"

#include <gtest/gtest.h>

#include <vector>

namespace velmar {
namespace {

using test::patterned;
using test::pixelAt;

TEST(FilterFrame, SizeBoxAndPolarAngleFollowThePicture) {
    cBitFilter f;
    f.Bits(Bits(7, 5));
    EXPECT_EQ(f.BitsWidth(), 7);
    EXPECT_EQ(f.BitsHeight(), 5);

    f.RegionBox(0);
    EXPECT_EQ(f.CurrentBox().left, 0);
    EXPECT_EQ(f.CurrentBox().right, 6);
    EXPECT_EQ(f.CurrentBox().bottom, 4);
    const Region r = Region::Rect(2, 1, 6, 4);
    f.BitsRegion(&r);
    f.RegionBox(1);
    EXPECT_EQ(f.CurrentBox().left, 3);
    EXPECT_EQ(f.CurrentBox().right, 4);
    EXPECT_EQ(f.CurrentBox().top, 2);
    EXPECT_EQ(f.CurrentBox().bottom, 2);

    EXPECT_DOUBLE_EQ(cBitFilter::PolarAngle(0, 1), 3.141592025756836 / 2);
    EXPECT_DOUBLE_EQ(cBitFilter::PolarAngle(0, 0), -3.141592025756836 / 2);
    EXPECT_DOUBLE_EQ(cBitFilter::PolarAngle(1, 1), std::atan(1.0));
    EXPECT_DOUBLE_EQ(cBitFilter::PolarAngle(-1, 1), std::atan(-1.0) + 3.141592025756836);
}

TEST(FilterFrame, LoopFieldsSurviveTheCall) {
    cBitFilter f;
    f.Bits(patterned(8, 8));
    const Region r = test::lShape(); // box 1..6 by 1..6
    f.BitsRegion(&r);
    f.Invert();
    EXPECT_EQ(f.LoopX(), 7);
    EXPECT_EQ(f.LoopY(), 7);
    f.Scanlines(10); // rows 1, 3, 5: the loop ends at 7
    EXPECT_EQ(f.LoopY(), 7);
}

TEST(FilterFrame, BitsBlackClearsAllFourBytesOfTheSelectionInPlace) {
    const Region r = test::lShape();
    const Bits before = patterned(8, 8);
    cBitFilter f = test::filterOn(before, &r);
    f.BitsBlack();
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x)
            EXPECT_EQ(pixelAt(f.BitsView(), x, y),
                      (r.Contains(x, y) ? test::Pixel{0, 0, 0, 0} : pixelAt(before, x, y)));
}

TEST(FilterFrame, BitsCropCutsToThePictureAndCarriesTheMask) {
    const Bits source = patterned(8, 6);
    cBitFilter f;
    f.Bits(source.clone());
    f.BitsCrop(source, 5, -2, 12, 3);
    ASSERT_EQ(f.BitsWidth(), 3);
    ASSERT_EQ(f.BitsHeight(), 3);
    EXPECT_EQ(pixelAt(f.BitsView(), 0, 0), pixelAt(source, 5, 0));
    EXPECT_EQ(pixelAt(f.BitsView(), 2, 2), pixelAt(source, 7, 2));
    EXPECT_EQ(f.BitsView()(0, 3, 0), 0); // the margin stays black

    f.BitsCrop(source, 20, 20, 30, 30);
    EXPECT_EQ(f.BitsWidth(), 0);
    EXPECT_EQ(f.BitsHeight(), 0);
}

TEST(FilterFrame, BitsCropMaskedKeepsTheSelectionAndMasksTheRest) {
    const Bits source = patterned(8, 8);
    const Region r = test::lShape();
    cBitFilter f;
    f.BitsRegion(&r);
    f.BitsCropMasked(source, 2, 2, 6, 6);
    ASSERT_EQ(f.BitsWidth(), 4);
    EXPECT_EQ(pixelAt(f.BitsView(), 0, 0), pixelAt(source, 2, 2));       // (2, 2) is selected
    EXPECT_EQ(pixelAt(f.BitsView(), 3, 3), (test::Pixel{0, 0, 0, 255})); // (5, 5) is not
}

TEST(FilterFrame, OneRowPictureFailsOnItsProgressDivision) {
    cBitFilter f;
    f.Bits(patterned(5, 1));
    const Bits before = f.Bits();
    // The first progress step of a fresh object always falls due: y * 100 div H1 with H1 = 0.
    try {
        (void)f.Invert();
        FAIL() << "no error";
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), 11);
        EXPECT_STREQ(e.what(), "Division by zero");
    }
    EXPECT_TRUE(test::samePixels(before, f.BitsView()));
}

TEST(FilterFrame, ProgressComesFromAbsoluteRowsAndEndsAt100) {
    cBitFilter f;
    f.Bits(patterned(4, 11));
    const Region r = Region::Rect(0, 5, 4, 11);
    f.BitsRegion(&r);
    std::vector<int> seen;
    f.SetProgress([&](int p) { seen.push_back(p); });
    (void)f.Invert();
    ASSERT_GE(seen.size(), 2u);
    EXPECT_EQ(seen.front(), 50); // row 5 of H1 = 10: a lower selection starts high
    EXPECT_EQ(seen.back(), 100);
}

TEST(FilterFrame, ThreadsGiveTheSameResultAsOneThread) {
    const Bits picture = patterned(300, 257);
    const Region r = Region::Ellipse(10, 3, 290, 250);
    cBitFilter one = test::filterOn(picture, &r);
    one.SetThreads(1);
    cBitFilter many = test::filterOn(picture, &r);
    many.SetThreads(4);
    EXPECT_TRUE(test::samePixels(one.GreyScale(), many.GreyScale()));
    EXPECT_TRUE(test::samePixels(one.BRIGHTNESS(40), many.BRIGHTNESS(40)));
}

} // namespace
} // namespace velmar
