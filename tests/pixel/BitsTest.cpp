#include "pixel/Bits.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>

namespace velmar {
namespace {

TEST(Bits, MemoryIsATopDown32BitBitmapWithATwoPixelMargin) {
    Bits bits(3, 2);
    EXPECT_EQ(bits.Stride(), (3 + 4) * 4);
    EXPECT_EQ(bits.SizeBytes(), std::size_t{(3 + 4) * (2 + 4) * 4});
    EXPECT_EQ(bits.UBoundX() - 1, 3);
    EXPECT_EQ(bits.UBoundY() - 1, 2);
    // Element (c, x, y) sits at ((y + 2) * (W + 4) + (x + 2)) * 4 + c from element (0, -2, -2).
    for (int y = -2; y <= 3; ++y)
        for (int x = -2; x <= 4; ++x)
            for (int c = 0; c < 4; ++c) {
                const auto offset = ((y + 2) * 7 + (x + 2)) * 4 + c;
                EXPECT_EQ(&bits(c, x, y), bits.Data() + offset) << c << "," << x << "," << y;
            }
    EXPECT_EQ(bits.Row(1), &bits(0, 0, 1));
}

TEST(Bits, AllocationZeroesEverythingSoReadsPastTheEdgeAreBlack) {
    Bits bits(5, 4);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 5; ++x)
            for (int c = 0; c < 4; ++c)
                bits(c, x, y) = 200;
    // The two-pixel frame round the picture stays zero in every channel.
    for (int y = -2; y <= 5; ++y)
        for (int x = -2; x <= 6; ++x)
            for (int c = 0; c < 4; ++c)
                EXPECT_EQ(bits(c, x, y), x < 0 || x >= 5 || y < 0 || y >= 4 ? 0 : 200)
                    << x << "," << y;
}

TEST(Bits, CopiesAreExplicitAndMovesLeaveTheSourceEmpty) {
    Bits a(4, 3);
    a(2, 1, 1) = 77;
    Bits b = a.clone();
    b(2, 1, 1) = 5;
    EXPECT_EQ(a(2, 1, 1), 77);
    EXPECT_EQ(b.Width(), 4);
    EXPECT_EQ(b.Height(), 3);

    const std::uint8_t* memory = a.Data();
    Bits c = std::move(a);
    EXPECT_EQ(c.Data(), memory);
    EXPECT_FALSE(
        a.IsAllocated()); // NOLINT(bugprone-use-after-move): the moved-from state is the point
    EXPECT_EQ(a.Width(), 0);

    Bits never;
    EXPECT_FALSE(never.IsAllocated());
    EXPECT_FALSE(never.clone().IsAllocated());
}

TEST(Bits, ImpossibleSizesAreRefused) {
    EXPECT_THROW(Bits(-1, 5), std::length_error);
    EXPECT_THROW(Bits(5, -1), std::length_error);
    EXPECT_THROW(Bits(0x7FFFFFFF, 1), std::length_error);
    EXPECT_THROW(Bits(1 << 20, 1 << 30), std::bad_alloc);
    // A zero-sized picture still has its margin.
    const Bits empty(0, 0);
    EXPECT_TRUE(empty.IsAllocated());
    EXPECT_EQ(empty.SizeBytes(), std::size_t{4 * 4 * 4});
}

// A 3 by 2 bottom-up source, as a decoder hands out a bitmap: the view walks it with a
// negative stride from its top row.
struct BottomUpSource {
    std::uint8_t bytes[2][3 * 4];
    BottomUpSource() {
        for (int row = 0; row < 2; ++row)
            for (int i = 0; i < 12; ++i)
                bytes[row][i] = static_cast<std::uint8_t>(row * 100 + i);
    }
    PictureView view() const { return {bytes[1], -12, 3, 2}; }
};

TEST(Bits, GetBitsFromPictureGivesTheTopDownPlainArray) {
    BottomUpSource src;
    const PlainPicture plain = GetBitsFromPicture(src.view(), 3, 2);
    ASSERT_EQ(plain.width, 3);
    ASSERT_EQ(plain.height, 2);
    EXPECT_EQ(plain.at(0, 0, 0), 100); // top row is the source's last memory row
    EXPECT_EQ(plain.at(3, 2, 0), 111);
    EXPECT_EQ(plain.at(2, 1, 1), 6);

    // Asking for more than the picture has leaves the rest zero; no picture gives nothing.
    const PlainPicture larger = GetBitsFromPicture(src.view(), 4, 3);
    EXPECT_EQ(larger.at(0, 3, 0), 0);
    EXPECT_EQ(larger.at(0, 0, 2), 0);
    EXPECT_EQ(larger.at(1, 0, 1), 1);
    EXPECT_TRUE(GetBitsFromPicture(PictureView{}, 3, 2).bytes.empty());
}

TEST(Bits, TakeBitsFromPictureFillsRowsFromColumnZeroAndKeepsTheMargin) {
    BottomUpSource src;
    const Bits bits = TakeBitsFromPicture(src.view(), 3, 2);
    ASSERT_EQ(bits.Width(), 3);
    EXPECT_EQ(bits(0, 0, 0), 100);
    EXPECT_EQ(bits(3, 2, 1), 11);
    EXPECT_EQ(bits(0, -1, 0), 0);
    EXPECT_EQ(bits(0, 3, 1), 0);
    EXPECT_EQ(bits(0, 0, 2), 0);
}

TEST(Bits, FitInsideKeepsTheShapeAndRoundsHalfToEven) {
    struct Case {
        int w, h, maxW, maxH, outW, outH;
    };
    const Case cases[] = {
        {100, 50, 160, 110, 100, 50}, // fits: unchanged, never enlarged
        {160, 110, 160, 110, 160, 110},
        {320, 220, 160, 110, 160, 110}, // equal ratios: the height rule
        {400, 100, 160, 110, 160, 40},  // wide
        {100, 300, 160, 110, 37, 110},  // tall: 36.67 rounds to 37
        {5, 200, 160, 100, 2, 100},     // 2.5 goes to the even 2
        {7, 200, 160, 100, 4, 100},     // 3.5 goes to the even 4
    };
    for (const auto& c : cases) {
        int w = -1, h = -1;
        FitInside(c.w, c.h, c.maxW, c.maxH, w, h);
        EXPECT_EQ(w, c.outW) << c.w << "x" << c.h;
        EXPECT_EQ(h, c.outH) << c.w << "x" << c.h;
    }
}

} // namespace
} // namespace velmar
