#include "pixel/cDIBSection.h"

#include "support/RecordingPort.h"

#include <gtest/gtest.h>

namespace velmar {
namespace {

// Writes a picture given as top-down rows of single values into all three channels.
void fill(cDIBSection& s, const std::vector<std::vector<int>>& rowsTopDown) {
    for (std::size_t y = 0; y < rowsTopDown.size(); ++y)
        for (std::size_t x = 0; x < rowsTopDown[y].size(); ++x)
            for (int c = 0; c < 3; ++c)
                s.Pixel(static_cast<int>(x), static_cast<int>(y), c) =
                    static_cast<std::uint8_t>(rowsTopDown[y][x]);
}

TEST(cDIBSection, ScanLinesArePaddedToFourBytes) {
    const int expected[][2] = {{1, 4}, {2, 8}, {3, 12}, {4, 12}, {5, 16}, {640, 1920}, {641, 1924}};
    for (const auto& e : expected)
        EXPECT_EQ(cDIBSection::BytesPerScanLineFor(e[0]), e[1]) << e[0];
}

TEST(cDIBSection, CreateAndClearUpFollowTheLifeCycleOverBottomUpMemory) {
    cDIBSection s;
    s.ClearUp(); // harmless on an empty object
    EXPECT_TRUE(s.IsEmpty());
    EXPECT_FALSE(s.Create(0, 5));
    EXPECT_FALSE(s.Create(5, -1));
    EXPECT_TRUE(s.IsEmpty());

    ASSERT_TRUE(s.Create(5, 3));
    EXPECT_EQ(s.Width(), 5);
    EXPECT_EQ(s.Height(), 3);
    EXPECT_EQ(s.BytesPerScanLine(), 16);
    ASSERT_NE(s.DIBSectionBitsPtr(), nullptr);
    EXPECT_EQ(s.DIBSectionBitsPtr()[0], 0);
    s.Pixel(1, 0, 2) = 9; // red of the second pixel of the top row, which is the last in memory
    EXPECT_EQ(s.DIBSectionBitsPtr()[2 * 16 + 3 + 2], 9);

    ASSERT_TRUE(s.Create(2, 2)); // a live section is released first
    EXPECT_EQ(s.Width(), 2);
    s.ClearUp();
    s.ClearUp(); // twice is harmless
    EXPECT_TRUE(s.IsEmpty());
    EXPECT_EQ(s.DIBSectionBitsPtr(), nullptr);
    EXPECT_EQ(s.Width(), 0);
}

TEST(cDIBSection, BlockTransfersClipAndApplyTheRasterOperation) {
    cDIBSection src, dst;
    ASSERT_TRUE(src.Create(3, 2));
    ASSERT_TRUE(dst.Create(2, 2));
    fill(src, {{1, 2, 3}, {4, 5, 6}});

    dst.LoadPictureBlt(src, 1, 0); // extent -1,-1: the destination's own 2x2
    EXPECT_EQ(dst.Pixel(0, 0, 0), 2);
    EXPECT_EQ(dst.Pixel(1, 0, 1), 3);
    EXPECT_EQ(dst.Pixel(0, 1, 2), 5);
    EXPECT_EQ(dst.Pixel(1, 1, 0), 6);

    // Source area partly outside: only the overlap is copied.
    fill(dst, {{0, 0}, {0, 0}});
    dst.LoadPictureBlt(src, 2, 1, 2, 2);
    EXPECT_EQ(dst.Pixel(0, 0, 0), 6);
    EXPECT_EQ(dst.Pixel(1, 0, 0), 0);
    EXPECT_EQ(dst.Pixel(0, 1, 0), 0);

    // PaintPicture places this section's pixels at the destination position.
    fill(dst, {{0, 0}, {0, 0}});
    src.PaintPicture(dst, 1, 1, -1, -1);
    EXPECT_EQ(dst.Pixel(1, 1, 0), 1);
    EXPECT_EQ(dst.Pixel(0, 0, 0), 0);

    struct RopCase {
        std::uint32_t rop;
        int expected;
    };
    const RopCase rops[] = {
        {SRCCOPY, 0xCA},          {SRCPAINT, 0xCA | 0x3C}, {SRCAND, 0xCA & 0x3C},
        {SRCINVERT, 0xCA ^ 0x3C}, {NOTSRCCOPY, 0x35},      {DSTINVERT, 0xC3},
        {BLACKNESS, 0},           {WHITENESS, 255},
    };
    cDIBSection one;
    ASSERT_TRUE(one.Create(1, 1));
    fill(one, {{0xCA}});
    for (const auto& r : rops) {
        fill(dst, {{0x3C, 0x3C}, {0x3C, 0x3C}});
        dst.LoadPictureBlt(one, 0, 0, 1, 1, r.rop);
        EXPECT_EQ(dst.Pixel(0, 0, 1), r.expected) << std::hex << r.rop;
        EXPECT_EQ(dst.Pixel(1, 0, 1), 0x3C) << "outside the extent";
    }
}

TEST(cDIBSection, CopyToClipboardHandsOverATopDownBitmapAndDeclinesADib) {
    test::RecordingPort port;
    cDIBSection s;
    ASSERT_TRUE(s.Create(2, 2));
    fill(s, {{10, 20}, {30, 40}});
    s.Pixel(1, 0, 0) = 21; // blue of the top right pixel
    ASSERT_TRUE(s.CopyToClipboard(port));
    ASSERT_TRUE(port.clipboard.has_value());
    EXPECT_EQ(port.clipboard->width, 2);
    const std::vector<std::uint8_t> expected = {10, 10, 10, 255, 21, 20, 20, 255,
                                                30, 30, 30, 255, 40, 40, 40, 255};
    EXPECT_EQ(port.clipboard->bgrx, expected);
    EXPECT_TRUE(port.messages.empty());

    port.clipboardAccepts = false;
    EXPECT_FALSE(s.CopyToClipboard(port));
    EXPECT_FALSE(cDIBSection().CopyToClipboard(port));

    port.clipboard.reset();
    port.clipboardAccepts = true;
    EXPECT_FALSE(s.CopyToClipboard(port, true));
    ASSERT_EQ(port.messages.size(), 1u);
    EXPECT_EQ(port.messages[0].text,
              "I don't know how to put a DIB on the clipboard! Copy as bitmap instead!!!");
    EXPECT_FALSE(port.clipboard.has_value());
}

TEST(cDIBSection, RandomiseBitsKeepsBlueZeroInColourAndEqualBytesInGrey) {
    cDIBSection s;
    ASSERT_TRUE(s.Create(13, 11)); // 39 bytes a row: one padding byte per row
    for (const bool grey : {false, true}) {
        s.RandomiseBits(grey);
        int variedGreen = 0, variedRed = 0;
        for (int y = 0; y < 11; ++y) {
            for (int x = 0; x < 13; ++x) {
                const int b = s.Pixel(x, y, 0), g = s.Pixel(x, y, 1), r = s.Pixel(x, y, 2);
                EXPECT_TRUE(grey ? b == g && g == r : b == 0) << grey << " " << x << "," << y;
                variedGreen += g != s.Pixel(0, 0, 1);
                variedRed += r != s.Pixel(0, 0, 2);
            }
            EXPECT_EQ(s.DIBSectionBitsPtr()[y * 40 + 39], 0) << "padding";
        }
        EXPECT_GT(variedGreen, 100) << grey;
        EXPECT_GT(variedRed, 100) << grey;
    }
}

TEST(cDIBSection, ResampleToTheSameSizeIsAnExactCopy) {
    cDIBSection s;
    ASSERT_TRUE(s.Create(7, 5));
    s.RandomiseBits(false);
    const auto copy = s.Resample(5, 7);
    ASSERT_TRUE(copy.has_value());
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 7; ++x)
            for (int c = 0; c < 3; ++c)
                ASSERT_EQ(copy->Pixel(x, y, c), s.Pixel(x, y, c));
}

TEST(cDIBSection, ResampleRoundsAfterEachBilinearStage) {
    // 3x3 to 4x4: both steps are 2/4 = 0.5. Values are laid out by memory (bottom-up) rows,
    // which is how the resample walks them. Worked by hand; (1,1) is 3 only when each stage
    // rounds: a = round(1.5) = 2, b = round(3.5) = 4, round(3) = 3; one stage would give 2.
    const int src[3][3] = {{1, 3, 20}, {2, 4, 121}, {200, 211, 255}};
    const int expected[4][4] = {{1, 2, 3, 12}, {2, 3, 4, 37}, {2, 3, 4, 62}, {101, 104, 108, 148}};
    cDIBSection s;
    ASSERT_TRUE(s.Create(3, 3));
    for (int m = 0; m < 3; ++m)
        for (int x = 0; x < 3; ++x)
            for (int c = 0; c < 3; ++c)
                s.DIBSectionBitsPtr()[m * s.BytesPerScanLine() + x * 3 + c] =
                    static_cast<std::uint8_t>(src[m][x]);
    const auto out = s.Resample(4, 4);
    ASSERT_TRUE(out.has_value());
    for (int m = 0; m < 4; ++m)
        for (int x = 0; x < 4; ++x)
            for (int c = 0; c < 3; ++c)
                EXPECT_EQ(out->DIBSectionBitsPtr()[m * out->BytesPerScanLine() + x * 3 + c],
                          expected[m][x])
                    << "row " << m << " column " << x;
}

TEST(cDIBSection, ResampleOfAOnePixelSourceStaysInside) {
    cDIBSection s;
    ASSERT_TRUE(s.Create(1, 1));
    fill(s, {{77}});
    const auto out = s.Resample(2, 3);
    ASSERT_TRUE(out.has_value());
    EXPECT_EQ(out->Width(), 3);
    EXPECT_EQ(out->Height(), 2);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 3; ++x)
            EXPECT_EQ(out->Pixel(x, y, 1), 77);
    EXPECT_FALSE(s.Resample(0, 3).has_value());
}

} // namespace
} // namespace velmar
