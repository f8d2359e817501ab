#include "pixel/ui/BitsImage.h"

#include <gtest/gtest.h>

namespace velmar {
namespace {

TEST(BitsImage, TheImageSharesTheArrayAndSkipsTheMargin) {
    Bits bits(3, 2);
    bits(2, 0, 0) = 255; // red
    bits(1, 2, 1) = 128; // green
    QImage image = bitsAsImage(bits);
    ASSERT_EQ(image.width(), 3);
    ASSERT_EQ(image.height(), 2);
    EXPECT_EQ(image.constBits(), bits.Row(0));
    EXPECT_EQ(image.pixel(0, 0) & 0xFFFFFF, 0xFF0000u);
    EXPECT_EQ(image.pixel(2, 1) & 0xFFFFFF, 0x008000u);

    bits(0, 1, 1) = 9; // a later change shows without a copy
    EXPECT_EQ(image.pixel(1, 1) & 0xFF, 9u);

    EXPECT_TRUE(bitsAsImage(Bits()).isNull());
}

TEST(BitsImage, AnyImageBecomesBitsWithAClearMask) {
    QImage rgb(2, 2, QImage::Format_ARGB32);
    rgb.fill(qRgba(10, 20, 30, 200));
    rgb.setPixel(1, 0, qRgba(40, 50, 60, 255));
    const Bits bits = bitsFromImage(rgb.convertToFormat(QImage::Format_RGB888));
    ASSERT_EQ(bits.Width(), 2);
    EXPECT_EQ(bits(2, 0, 0), 10);
    EXPECT_EQ(bits(1, 0, 0), 20);
    EXPECT_EQ(bits(0, 0, 0), 30);
    EXPECT_EQ(bits(2, 1, 0), 40);
    EXPECT_EQ(bits(3, 1, 1), 0);
    EXPECT_EQ(bits(0, 2, 0), 0);
}

} // namespace
} // namespace velmar
