// The wrappers: library images of every depth to Bits and back, pixel for pixel, the drawing
// wrappers' clipping, and the exact texts left in LastError.
#include "formats/ModFreeImage.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace velmar {
namespace {

struct Colour {
    int red, green, blue;
};

// The test picture, counted from the top: every pixel differs.
Colour colourAt(int x, int y) {
    return {(40 * x + 7 * y) % 256, (90 + 30 * y) % 256, (200 - 11 * x * y + 256) % 256};
}

// A library image of the picture at `bpp` bits. Palette depths get one entry per pixel where
// they can, in a shuffled order, so a palette lookup that went wrong shows.
LibraryImage libraryPicture(int w, int h, unsigned bpp) {
    LibraryImage dib(FreeImage_Allocate(w, h, static_cast<int>(bpp)));
    RGBQUAD* palette = FreeImage_GetPalette(dib.get());
    const int entries = static_cast<int>(FreeImage_GetColorsUsed(dib.get()));
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const int line = h - 1 - y; // the library counts rows from the bottom
            const Colour c = colourAt(x, y);
            if (palette != nullptr) {
                BYTE index = static_cast<BYTE>((x + w * y) * 7 % entries);
                if (bpp == 1) {
                    index = static_cast<BYTE>((x + y) % 2);
                    palette[0] = {10, 20, 30, 0}; // blue, green, red
                    palette[1] = {200, 150, 100, 0};
                } else {
                    palette[index] = {static_cast<BYTE>(c.blue), static_cast<BYTE>(c.green),
                                      static_cast<BYTE>(c.red), 0};
                }
                FreeImage_SetPixelIndex(dib.get(), static_cast<unsigned>(x),
                                        static_cast<unsigned>(line), &index);
            } else {
                RGBQUAD q = {static_cast<BYTE>(c.blue), static_cast<BYTE>(c.green),
                             static_cast<BYTE>(c.red), static_cast<BYTE>(x * 50)};
                FreeImage_SetPixelColor(dib.get(), static_cast<unsigned>(x),
                                        static_cast<unsigned>(line), &q);
            }
        }
    return dib;
}

Colour expectedAt(unsigned bpp, int x, int y) {
    if (bpp == 1) return (x + y) % 2 == 0 ? Colour{30, 20, 10} : Colour{100, 150, 200};
    return colourAt(x, y);
}

TEST(ModFreeImage, LibraryImagesOfEveryDepthBecomeTopDownBitsWithMaskZero) {
    const int w = 5, h = 3; // 15 pixels: fits a 4-bit palette too
    for (unsigned bpp : {1u, 4u, 8u, 24u, 32u}) {
        SCOPED_TRACE(bpp);
        const LibraryImage dib = libraryPicture(w, h, bpp);
        ModFreeImage mod;
        Bits bits(1, 1);
        ASSERT_TRUE(mod.FreeImage_BMP_From_DIB(dib.get(), bits)) << mod.LastError();
        EXPECT_EQ(mod.LastError(), "");
        ASSERT_EQ(bits.Width(), w);
        ASSERT_EQ(bits.Height(), h);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const Colour c = expectedAt(bpp, x, y);
                EXPECT_EQ(bits(Bits::Red, x, y), c.red) << x << "," << y;
                EXPECT_EQ(bits(Bits::Green, x, y), c.green) << x << "," << y;
                EXPECT_EQ(bits(Bits::Blue, x, y), c.blue) << x << "," << y;
                EXPECT_EQ(bits(Bits::Mask, x, y), 0) << x << "," << y;
            }
    }
}

TEST(ModFreeImage, SixteenBitSamplesKeepTheirHighByte) {
    LibraryImage grey(FreeImage_AllocateT(FIT_UINT16, 2, 1));
    auto* g = reinterpret_cast<unsigned short*>(FreeImage_GetScanLine(grey.get(), 0));
    g[0] = 0x12FF;
    g[1] = 0xFE01;
    LibraryImage rgb(FreeImage_AllocateT(FIT_RGB16, 1, 1));
    auto* p = reinterpret_cast<FIRGB16*>(FreeImage_GetScanLine(rgb.get(), 0));
    p[0] = {0x3456, 0x7800, 0x9AFF}; // red, green, blue
    ModFreeImage mod;
    Bits bits;
    ASSERT_TRUE(mod.FreeImage_BMP_From_DIB(grey.get(), bits)) << mod.LastError();
    EXPECT_EQ(bits(Bits::Red, 0, 0), 0x12);
    EXPECT_EQ(bits(Bits::Blue, 1, 0), 0xFE);
    ASSERT_TRUE(mod.FreeImage_BMP_From_DIB(rgb.get(), bits)) << mod.LastError();
    EXPECT_EQ(bits(Bits::Red, 0, 0), 0x34);
    EXPECT_EQ(bits(Bits::Green, 0, 0), 0x78);
    EXPECT_EQ(bits(Bits::Blue, 0, 0), 0x9A);
}

TEST(ModFreeImage, BitsBecomeA32BitLibraryImageTurnedBottomUp) {
    const int w = 7, h = 4;
    Bits bits(w, h);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const Colour c = colourAt(x, y);
            bits(Bits::Red, x, y) = static_cast<std::uint8_t>(c.red);
            bits(Bits::Green, x, y) = static_cast<std::uint8_t>(c.green);
            bits(Bits::Blue, x, y) = static_cast<std::uint8_t>(c.blue);
            bits(Bits::Mask, x, y) = static_cast<std::uint8_t>(x + 1);
        }
    ModFreeImage mod;
    FIBITMAP* dib = nullptr;
    ASSERT_TRUE(mod.FreeImage_DIB_From_BMP(bits, dib));
    const LibraryImage owned(dib);
    EXPECT_EQ(FreeImage_GetBPP(dib), 32u);
    ASSERT_EQ(FreeImage_GetWidth(dib), static_cast<unsigned>(w));
    ASSERT_EQ(FreeImage_GetHeight(dib), static_cast<unsigned>(h));
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            RGBQUAD q;
            FreeImage_GetPixelColor(dib, static_cast<unsigned>(x), static_cast<unsigned>(h - 1 - y),
                                    &q);
            const Colour c = colourAt(x, y);
            EXPECT_EQ(q.rgbRed, c.red);
            EXPECT_EQ(q.rgbGreen, c.green);
            EXPECT_EQ(q.rgbBlue, c.blue);
            EXPECT_EQ(q.rgbReserved, x + 1) << "all four bytes of the pixel are taken";
        }

    // An image the in/out argument still holds is replaced, not leaked or reused.
    FIBITMAP* again = FreeImage_Allocate(1, 1, 8);
    ASSERT_TRUE(mod.FreeImage_DIB_From_BMP(bits, again));
    EXPECT_EQ(FreeImage_GetBPP(again), 32u);
    FreeImage_Unload(again);
}

Bits filled(int w, int h, std::uint8_t value) {
    Bits b(w, h);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            for (int c = 0; c < 4; ++c)
                b(c, x, y) = value;
    return b;
}

TEST(ModFreeImage, RenderDibDrawsClippedToTheSurface) {
    const LibraryImage dib = libraryPicture(3, 2, 24);
    struct Case {
        int x, y, w, h;
        int fromX, fromY, toX, toY, cols, rows; // the block that must change
    } cases[] = {
        {0, 0, 0, 0, 0, 0, 0, 0, 3, 2},   // own size at the corner
        {2, 2, -1, -1, 0, 0, 2, 2, 2, 1}, // cut by the right and bottom edges
        {-1, -1, 0, 0, 1, 1, 0, 0, 2, 1}, // cut by the left and top edges
        {0, 0, 2, 9, 0, 0, 0, 0, 2, 2},   // a width below the image's, a height above it
        {9, 9, 0, 0, 0, 0, 0, 0, 0, 0},   // wholly outside
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.x) + "," + std::to_string(c.y));
        Bits surface = filled(4, 3, 9);
        ModFreeImage mod;
        ASSERT_TRUE(mod.FreeImage_RenderDIB(dib.get(), surface, c.x, c.y, c.w, c.h));
        for (int y = 0; y < 3; ++y)
            for (int x = 0; x < 4; ++x) {
                const bool inside =
                    x >= c.toX && x < c.toX + c.cols && y >= c.toY && y < c.toY + c.rows;
                const Colour want =
                    inside ? colourAt(x - c.toX + c.fromX, y - c.toY + c.fromY) : Colour{9, 9, 9};
                EXPECT_EQ(surface(Bits::Red, x, y), want.red) << x << "," << y;
                EXPECT_EQ(surface(Bits::Blue, x, y), want.blue) << x << "," << y;
                EXPECT_EQ(surface(Bits::Mask, x, y), inside ? 0 : 9) << x << "," << y;
            }
    }
}

TEST(ModFreeImage, RenderBitmapCopiesOrInvertsTheColoursAndKeepsTheMask) {
    Bits source(2, 2);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 2; ++x) {
            source(Bits::Blue, x, y) = static_cast<std::uint8_t>(10 * x + y);
            source(Bits::Green, x, y) = 100;
            source(Bits::Red, x, y) = 255;
            source(Bits::Mask, x, y) = 7;
        }
    for (const bool invert : {false, true}) {
        Bits surface = filled(3, 3, 50);
        ModFreeImage mod;
        ASSERT_TRUE(mod.FreeImage_RenderBitmap(source, surface, 1, 1, -1, -1, invert));
        for (int y = 0; y < 2; ++y)
            for (int x = 0; x < 2; ++x) {
                const int blue = 10 * x + y;
                EXPECT_EQ(surface(Bits::Blue, x + 1, y + 1), invert ? 255 - blue : blue);
                EXPECT_EQ(surface(Bits::Green, x + 1, y + 1), invert ? 155 : 100);
                EXPECT_EQ(surface(Bits::Red, x + 1, y + 1), invert ? 0 : 255);
                EXPECT_EQ(surface(Bits::Mask, x + 1, y + 1), 7);
            }
        EXPECT_EQ(surface(Bits::Red, 0, 0), 50);
        EXPECT_EQ(surface(Bits::Red, 2, 0), 50);
    }
}

// The picture's header without its pixels, as a header-only load gives it.
LibraryImage headerOnlyImage(FIBITMAP* picture) {
    FIMEMORY* memory = FreeImage_OpenMemory();
    FreeImage_SaveToMemory(FIF_BMP, picture, memory, 0);
    FreeImage_SeekMemory(memory, 0, SEEK_SET);
    LibraryImage header(FreeImage_LoadFromMemory(FIF_BMP, memory, FIF_LOAD_NOPIXELS));
    FreeImage_CloseMemory(memory);
    return header;
}

TEST(ModFreeImage, FailuresLeaveTheWrappersOwnTexts) {
    const LibraryImage picture = libraryPicture(2, 2, 24);
    const LibraryImage headerOnly = headerOnlyImage(picture.get());
    Bits surface(2, 2);
    const Bits none;
    Bits out;
    FIBITMAP* made = nullptr;
    struct Case {
        const char* text;
        std::function<bool(ModFreeImage&)> call; // false when the wrapper failed
    } cases[] = {
        {"[FreeImage_BMP_From_DIB] No DIB specified to convert",
         [&](ModFreeImage& m) { return m.FreeImage_BMP_From_DIB(nullptr, out); }},
        {"[FreeImage_BMP_From_DIB] FreeImage_GetBits failed to get the DIB's bits",
         [&](ModFreeImage& m) { return m.FreeImage_BMP_From_DIB(headerOnly.get(), out); }},
        {"[FreeImage_DIB_From_BMP] No bitmap specified to convert",
         [&](ModFreeImage& m) { return m.FreeImage_DIB_From_BMP(none, made); }},
        {"[FreeImage_RenderDIB] No DIB specified to render",
         [&](ModFreeImage& m) { return m.FreeImage_RenderDIB(nullptr, surface, 0, 0, 0, 0); }},
        {"[FreeImage_RenderDIB] DC specified was invalid",
         [&](ModFreeImage& m) { return m.FreeImage_RenderDIB(picture.get(), out, 0, 0, 0, 0); }},
        {"[FreeImage_RenderDIB] Could not get the DIB's bits",
         [&](ModFreeImage& m) {
             return m.FreeImage_RenderDIB(headerOnly.get(), surface, 0, 0, 0, 0);
         }},
        {"[FreeImage_RenderBitmap] No bitmap specified to render",
         [&](ModFreeImage& m) {
             return m.FreeImage_RenderBitmap(none, surface, 0, 0, 0, 0, false);
         }},
        {"[FreeImage_RenderBitmap] DC specified is not valid",
         [&](ModFreeImage& m) {
             return m.FreeImage_RenderBitmap(surface, out, 0, 0, 0, 0, false);
         }},
        {"[FreeImage_GetBitmapWidth] No bitmap specified to get the info for",
         [&](ModFreeImage& m) { return m.FreeImage_GetBitmapWidth(none) != 0; }},
        {"[FreeImage_GetBitmapHeight] No bitmap specified to get the info for",
         [&](ModFreeImage& m) { return m.FreeImage_GetBitmapHeight(none) != 0; }},
    };
    for (const Case& c : cases) {
        ModFreeImage mod;
        mod.RecordError("left over from before");
        EXPECT_FALSE(c.call(mod)) << c.text;
        EXPECT_EQ(mod.LastError(), c.text);
    }
    EXPECT_EQ(made, nullptr);
    EXPECT_FALSE(out.IsAllocated());

    // A picture over the size limit is one the surface cannot be made for.
    ModFreeImage small;
    small.SetMostPixels(3);
    EXPECT_FALSE(small.FreeImage_BMP_From_DIB(picture.get(), out));
    EXPECT_EQ(small.LastError(), "[FreeImage_BMP_From_DIB] CreateDIBitmap failed to create the "
                                 "BITMAP from the DIB reporting error code 12");
    small.SetMostPixels(4);
    EXPECT_TRUE(small.FreeImage_BMP_From_DIB(picture.get(), out));

    // Success clears what an earlier call left.
    ModFreeImage mod;
    mod.RecordError("left over from before");
    EXPECT_EQ(mod.FreeImage_GetBitmapWidth(surface), 2);
    EXPECT_EQ(mod.LastError(), "");
}

TEST(ModFreeImage, TheRecorderKeepsAnEarlierTextOnlyWhenAskedTo) {
    const struct {
        const char* before;
        const char* text;
        bool keep;
        const char* after;
    } cases[] = {{"", "new", false, "new"},
                 {"", "new", true, "new"},
                 {"old", "new", false, "new"},
                 {"old", "new", true, "old"}};
    for (const auto& c : cases) {
        ModFreeImage mod;
        mod.RecordError(c.before);
        mod.RecordError(c.text, c.keep);
        EXPECT_EQ(mod.LastError(), c.after);
    }
}

TEST(ModFreeImage, TheLibrarysMessagesReachTheInnermostOpenSessionOnly) {
    const BYTE notJpeg[] = {'n', 'o', 't', ' ', 'a', ' ', 'j', 'p', 'e', 'g', 0, 0, 0, 0, 0, 0};
    const auto complain = [&] {
        FIMEMORY* memory = FreeImage_OpenMemory(const_cast<BYTE*>(notJpeg), sizeof notJpeg);
        FIBITMAP* dib = FreeImage_LoadFromMemory(FIF_JPEG, memory, 0);
        FreeImage_CloseMemory(memory);
        EXPECT_EQ(dib, nullptr);
    };
    ModFreeImage outer, inner;
    {
        const FreeImageSession a = outer.FreeImage_InitErrorHandler();
        {
            const FreeImageSession b = inner.FreeImage_InitErrorHandler();
            complain();
        }
        EXPECT_TRUE(inner.LastError().starts_with("Not a JPEG file")) << inner.LastError();
        EXPECT_EQ(outer.LastError(), "");
        complain();
        EXPECT_TRUE(outer.LastError().starts_with("Not a JPEG file")) << outer.LastError();
    }
    outer.ClearError();
    inner.ClearError();
    complain(); // no session open: nobody is told
    EXPECT_EQ(outer.LastError(), "");
    EXPECT_EQ(inner.LastError(), "");
}

} // namespace
} // namespace velmar
