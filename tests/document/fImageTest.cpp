// The document's own rules: zoom clamps, blank pictures, the bitmap header.
#include "document/fImage.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

namespace velmar {
namespace {

TEST(fImage, ZoomStaysWithinItsTable) {
    test::TempFolder folder;
    fImage doc(1, folder.path());
    doc.ZoomIn(); // no picture: nothing
    EXPECT_EQ(doc.ZoomFactor(), 1);
    doc.CreateBlank(0, 5); // below 1: nothing
    EXPECT_FALSE(doc.PictureExists());
    doc.CreateBlank(3, 2);
    ASSERT_TRUE(doc.PictureExists());
    doc.ZoomOut();
    EXPECT_EQ(doc.ZoomFactor(), 1);
    doc.ZoomFactor(40);
    EXPECT_EQ(doc.ZoomFactor(), 15);
    doc.ZoomIn();
    EXPECT_EQ(doc.ZoomFactor(), 15);
    EXPECT_FLOAT_EQ(doc.BitsRegion().ZoomFactor(), 15.0f);
    doc.ZoomFactor(-3);
    EXPECT_EQ(doc.ZoomFactor(), 1);
}

TEST(fImage, HeaderBytes) {
    // W + 4 = 7, -(H + 4) = -6, one plane, 32 bits.
    const auto bytes = BitmapHeader::ForPicture(3, 2).ToBytes();
    const std::uint8_t expected[16] = {40,   0,    0,    0,    7, 0, 0,  0,
                                       0xFA, 0xFF, 0xFF, 0xFF, 1, 0, 32, 0};
    EXPECT_TRUE(std::equal(std::begin(expected), std::end(expected), bytes.begin()));
    BitmapHeader back;
    ASSERT_TRUE(BitmapHeader::FromBytes(bytes.data(), back));
    EXPECT_EQ(back.PictureWidth(), 3);
    EXPECT_EQ(back.PictureHeight(), 2);
    auto bottomUp = BitmapHeader{7, 6}.ToBytes();
    EXPECT_FALSE(BitmapHeader::FromBytes(bottomUp.data(), back));
}

} // namespace
} // namespace velmar
