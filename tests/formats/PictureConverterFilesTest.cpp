// The converter's files, read back by readers we did not write: FreeImage for BMP, giflib's
// decoder for GIF, and ImageMagick for both.
#include "formats/PictureConverter.h"
#include "formats/converterPictures.h"
#include "support/TempFolder.h"
#include "support/files.h"

#include <FreeImage.h>
#include <gif_lib.h>
#include <gtest/gtest.h>

#include <memory>

namespace velmar {
namespace {

using test::gradientPicture;
using test::resultColour;
using test::Rgb;

struct GifClose {
    void operator()(GifFileType* g) const {
        int error = 0;
        DGifCloseFile(g, &error);
    }
};
using GifPtr = std::unique_ptr<GifFileType, GifClose>;

GifPtr slurp(const std::filesystem::path& path) {
    int error = 0;
    GifPtr gif(DGifOpenFileName(path.c_str(), &error));
    if (!gif || DGifSlurp(gif.get()) != GIF_OK || gif->ImageCount != 1) return nullptr;
    return gif;
}

// The rows of the first image in the order the file stores them, not de-interlaced.
std::vector<std::vector<GifPixelType>> rowsAsStored(const std::filesystem::path& path) {
    int error = 0;
    GifPtr gif(DGifOpenFileName(path.c_str(), &error));
    std::vector<std::vector<GifPixelType>> rows;
    GifRecordType type;
    while (gif && DGifGetRecordType(gif.get(), &type) == GIF_OK && type != TERMINATE_RECORD_TYPE) {
        if (type != IMAGE_DESC_RECORD_TYPE || DGifGetImageDesc(gif.get()) != GIF_OK) break;
        const int w = gif->Image.Width;
        for (int y = 0; y < gif->Image.Height; ++y) {
            std::vector<GifPixelType> row(static_cast<std::size_t>(w));
            if (DGifGetLine(gif.get(), row.data(), w) != GIF_OK) return {};
            rows.push_back(row);
        }
        break;
    }
    return rows;
}

struct BitmapFree {
    void operator()(FIBITMAP* b) const { FreeImage_Unload(b); }
};

// A picture's pixels as ImageMagick decodes them, row after row of red, green, blue.
std::vector<std::uint8_t> decodedByImageMagick(const test::TempFolder& folder,
                                               const std::filesystem::path& file) {
    const auto raw = folder / "decoded.rgb";
    if (test::run("convert '" + file.string() + "' -depth 8 'rgb:" + raw.string() + "'") != 0)
        return {};
    return test::readFile(raw);
}

std::vector<std::uint8_t> expectedRgb(const QuantizedPicture& q) {
    std::vector<std::uint8_t> out;
    for (int y = 0; y < q.height; ++y)
        for (int x = 0; x < q.width; ++x) {
            const Rgb c = resultColour(q, x, y);
            out.insert(out.end(),
                       {static_cast<std::uint8_t>(c.red), static_cast<std::uint8_t>(c.green),
                        static_cast<std::uint8_t>(c.blue)});
        }
    return out;
}

TEST(PictureConverterFiles, BmpOfEveryDepthReadsBackWithFreeImage) {
    struct Case {
        int bits, mode;
        unsigned bpp;
    };
    const Case cases[] = {
        {1, kPalettePlatform, 1},   {2, kPaletteGreyRamp, 4},   {3, kPaletteFixedCube, 4},
        {4, kPaletteVga, 4},        {5, kPaletteOptimal, 8},    {8, kPaletteHalftone, 8},
        {16, kPalettePlatform, 16}, {24, kPalettePlatform, 24},
    };
    test::TempFolder folder;
    // An odd width makes every depth pad its rows.
    const Bits picture = gradientPicture(37, 23);
    for (const Case& c : cases) {
        const auto path = folder / ("out" + std::to_string(c.bits) + ".bmp");
        PictureConverter conv;
        ASSERT_TRUE(conv.ConvertPicture(picture, path, kFileBmp, kColorModeColors, c.bits, c.mode,
                                        kDitherOrdered))
            << conv.LastError();
        const QuantizedPicture& q = *conv.Result();
        std::unique_ptr<FIBITMAP, BitmapFree> dib(FreeImage_Load(FIF_BMP, path.c_str(), 0));
        ASSERT_TRUE(dib) << c.bits;
        EXPECT_EQ(FreeImage_GetBPP(dib.get()), c.bpp) << c.bits;
        ASSERT_EQ(FreeImage_GetWidth(dib.get()), 37u);
        ASSERT_EQ(FreeImage_GetHeight(dib.get()), 23u);
        for (int y = 0; y < 23; ++y) {
            const BYTE* line = FreeImage_GetScanLine(dib.get(), 22 - y);
            for (int x = 0; x < 37; ++x) {
                const Rgb want = resultColour(q, x, y);
                Rgb got{};
                if (c.bpp <= 8) {
                    BYTE index = 0;
                    ASSERT_TRUE(FreeImage_GetPixelIndex(dib.get(), static_cast<unsigned>(x),
                                                        static_cast<unsigned>(22 - y), &index));
                    const RGBQUAD& e = FreeImage_GetPalette(dib.get())[index];
                    got = {e.rgbRed, e.rgbGreen, e.rgbBlue};
                } else if (c.bpp == 16) {
                    // 5-5-5, red highest: compare the stored levels themselves.
                    const unsigned word = line[x * 2] | (line[x * 2 + 1] << 8);
                    const std::size_t i =
                        (static_cast<std::size_t>(y) * 37 + static_cast<std::size_t>(x)) * 3;
                    EXPECT_EQ(word,
                              (q.samples[i + 2] << 10u) | (q.samples[i + 1] << 5u) | q.samples[i])
                        << x << "," << y;
                    got = want;
                } else {
                    got = {line[x * 3 + FI_RGBA_RED], line[x * 3 + FI_RGBA_GREEN],
                           line[x * 3 + FI_RGBA_BLUE]};
                }
                ASSERT_EQ(got, want) << c.bits << " bits at " << x << "," << y;
            }
        }
        if (c.bits == 24) { // the plain copy: the picture's own colours
            EXPECT_EQ(resultColour(q, 36, 0), (Rgb{255, 0, 255 - 36 * 255 / 58}));
        }
        if (test::haveProgram("convert")) {
            EXPECT_EQ(decodedByImageMagick(folder, path), expectedRgb(q)) << c.bits;
        }
    }
}

TEST(PictureConverterFiles, GifReadsBackWithGiflibWithATableOfAPowerOfTwo) {
    struct Case {
        int bits, mode, dither;
        int tableSize; // 0: any power of two that holds the palette
    };
    const Case cases[] = {
        {1, kPalettePlatform, kDitherBinary, 2},
        {3, kPaletteFixedCube, kDitherOrdered, 8},
        {8, kPaletteVga, kDitherNone, 16},
        {8, kPaletteWebSafe, kDitherHaftone, 256},
        {5, kPaletteGreyRamp, kDitherVertical, 32},
        {8, kPaletteOptimal, kDitherNone, 0},
        {6, kPaletteFixedCount + 40, kDitherOdd, 64},
    };
    test::TempFolder folder;
    const Bits picture = gradientPicture(41, 29);
    for (const Case& c : cases) {
        const auto path = folder / "out.gif";
        PictureConverter conv;
        ASSERT_TRUE(conv.ConvertPicture(picture, path, kFileGif, kColorModeColors, c.bits, c.mode,
                                        c.dither))
            << conv.LastError();
        const QuantizedPicture& q = *conv.Result();
        const GifPtr gif = slurp(path);
        ASSERT_TRUE(gif) << std::hex << c.mode;
        EXPECT_EQ(gif->SWidth, 41);
        EXPECT_EQ(gif->SHeight, 29);
        const ColorMapObject* map = gif->SColorMap;
        ASSERT_NE(map, nullptr);
        const int size = map->ColorCount;
        EXPECT_EQ(size & (size - 1), 0) << size;
        EXPECT_GE(size, static_cast<int>(q.palette.size()));
        EXPECT_LT(size / 2, std::max<int>(2, static_cast<int>(q.palette.size())));
        if (c.tableSize) {
            EXPECT_EQ(size, c.tableSize) << std::hex << c.mode;
        }
        for (std::size_t i = 0; i < q.palette.size(); ++i) {
            const GifColorType& e = map->Colors[i];
            EXPECT_EQ((Rgb{e.Red, e.Green, e.Blue}),
                      (Rgb{q.palette[i].red, q.palette[i].green, q.palette[i].blue}));
        }
        EXPECT_TRUE(std::equal(q.samples.begin(), q.samples.end(), gif->SavedImages[0].RasterBits))
            << std::hex << c.mode;
    }
}

TEST(PictureConverterFiles, InterlacedGifStoresRowsInTheFourPasses) {
    // Eleven rows, each a different grey, so every row is told apart by its index.
    Bits picture(5, 11);
    for (int y = 0; y < 11; ++y)
        for (int x = 0; x < 5; ++x)
            test::setPixel(picture, x, y, {y * 25, y * 25, y * 25});
    test::TempFolder folder;
    const auto plain = folder / "plain.gif", interlaced = folder / "interlaced.gif";
    PictureConverter conv;
    ASSERT_TRUE(conv.SetOptions(kFileGifInterlaced, kColorModeColors, 8, kPaletteGreyRamp, 0));
    ASSERT_TRUE(conv.SetPicture(picture));
    ASSERT_TRUE(conv.Quantize());
    ASSERT_TRUE(conv.WriteGif(plain)) << conv.LastError();
    ASSERT_TRUE(conv.WriteGifInterlaced(interlaced)) << conv.LastError();
    const QuantizedPicture& q = *conv.Result();

    // Stored order: rows 0 and 8 (every 8th), 4, then 2 and 6 (every 4th from 2), then the odd.
    const int order[] = {0, 8, 4, 2, 6, 10, 1, 3, 5, 7, 9};
    const auto stored = rowsAsStored(interlaced);
    ASSERT_EQ(stored.size(), 11u);
    for (int i = 0; i < 11; ++i)
        EXPECT_EQ(stored[static_cast<std::size_t>(i)][0],
                  q.samples[static_cast<std::size_t>(order[i]) * 5])
            << "stored row " << i;

    // Decoders that honour the flag give back the same picture as the plain file.
    const GifPtr a = slurp(plain), b = slurp(interlaced);
    ASSERT_TRUE(a && b);
    EXPECT_FALSE(a->SavedImages[0].ImageDesc.Interlace);
    EXPECT_TRUE(b->SavedImages[0].ImageDesc.Interlace);
    EXPECT_TRUE(std::equal(a->SavedImages[0].RasterBits, a->SavedImages[0].RasterBits + 55,
                           b->SavedImages[0].RasterBits));
    if (test::haveProgram("convert")) {
        const auto fromPlain = decodedByImageMagick(folder, plain);
        EXPECT_EQ(fromPlain, expectedRgb(q));
        EXPECT_EQ(decodedByImageMagick(folder, interlaced), fromPlain);
    }
}

TEST(PictureConverterFiles, OneCallAndStepwiseWriteTheSameBytes) {
    struct Case {
        int kind, mode, bits, palette, dither;
    };
    const Case cases[] = {
        {kFileGif, kColorModeColors, 8, kPaletteOptimal, kDitherNone},
        {kFileGif, kColorModeColors, 4, kPaletteOptimal, kDitherBinary},
        {kFileGifInterlaced, kColorModeGreyscale, 6, kPaletteOptimal, kDitherHaftone},
        {kFileGifInterlaced, kColorModeColors, 1, kPaletteFixedCount + 2, kDitherOdd},
        {kFileBmp, kColorModeColors, 8, kPaletteWebSafe, kDitherForwardDiag},
        {kFileBmp, kColorModeGreyscale, 4, kPalettePlatform, kDitherBackwardDiag},
        {kFileBmp, kColorModeColors, 16, kPalettePlatform, kDitherOrdered},
        {kFileBmp, kColorModeColors, 24, kPalettePlatform, kDitherNone},
    };
    test::TempFolder folder;
    const Bits picture = gradientPicture(120, 90);
    for (const Case& c : cases) {
        const auto once = folder / "once", stepwise = folder / "stepwise";
        PictureConverter a;
        ASSERT_TRUE(a.ConvertPicture(picture, once, c.kind, c.mode, c.bits, c.palette, c.dither))
            << a.LastError();
        PictureConverter b;
        ASSERT_TRUE(b.SetOptions(c.kind, c.mode, c.bits, c.palette, c.dither));
        ASSERT_TRUE(b.SetPicture(picture));
        ASSERT_TRUE(b.Quantize());
        ASSERT_TRUE(c.kind == kFileBmp   ? b.WriteBmp(stepwise)
                    : c.kind == kFileGif ? b.WriteGif(stepwise)
                                         : b.WriteGifInterlaced(stepwise));
        const auto bytes = test::readFile(once);
        EXPECT_GT(bytes.size(), 100u);
        EXPECT_EQ(bytes, test::readFile(stepwise))
            << "kind " << c.kind << ", " << c.bits << " bits, palette " << std::hex << c.palette;
        EXPECT_EQ(bytes[0], c.kind == kFileBmp ? 'B' : 'G');
    }
}

TEST(PictureConverterFiles, AFailedWriteLeavesNoPartAndKeepsTheOldFile) {
    test::TempFolder folder;
    PictureConverter conv;
    ASSERT_TRUE(conv.SetOptions(kFileGif, 0, 2, kPaletteGreyRamp, 0));
    ASSERT_TRUE(conv.SetPicture(gradientPicture(30, 20)));
    ASSERT_TRUE(conv.Quantize());

    const auto missing = folder / "no such folder" / "x.gif";
    EXPECT_FALSE(conv.WriteGif(missing));
    EXPECT_EQ(conv.LastError(),
              "Cannot write \"" + missing.string() + "\": No such file or directory.");

    // A folder in the way: the rename fails after the bytes were written beside it.
    std::filesystem::create_directory(folder / "taken.gif");
    EXPECT_FALSE(conv.WriteGif(folder / "taken.gif"));
    EXPECT_EQ(conv.LastError(),
              "Cannot write \"" + (folder / "taken.gif").string() + "\": Is a directory.");
    EXPECT_TRUE(std::filesystem::is_directory(folder / "taken.gif"));
    int entries = 0;
    for ([[maybe_unused]] const auto& e : std::filesystem::directory_iterator(folder.path()))
        ++entries;
    EXPECT_EQ(entries, 1); // no temporary file was left

    // A longer old file is replaced whole, not overwritten at its start.
    const auto target = folder / "old.gif";
    test::writeFile(target, std::vector<std::uint8_t>(100000, 0xAB));
    ASSERT_TRUE(conv.WriteGif(target));
    const auto bytes = test::readFile(target);
    EXPECT_LT(bytes.size(), 1000u);
    EXPECT_EQ(bytes.back(), 0x3B); // the GIF trailer ends the file
    EXPECT_TRUE(slurp(target));
}

TEST(PictureConverterFiles, GifRefusesWhatItCannotHold) {
    test::TempFolder folder;
    PictureConverter conv;
    ASSERT_TRUE(conv.SetOptions(kFileBmp, 0, 24, kPalettePlatform, 0));
    ASSERT_TRUE(conv.SetPicture(gradientPicture(4, 4)));
    ASSERT_TRUE(conv.Quantize());
    EXPECT_FALSE(conv.WriteGif(folder / "x.gif"));
    EXPECT_EQ(
        conv.LastError(),
        "A GIF file holds at most 8 bits per pixel: set ColorBits to 1..8 before quantizing.");
    EXPECT_TRUE(conv.WriteBmp(folder / "x.bmp")) << conv.LastError();

    ASSERT_TRUE(conv.SetOptions(kFileGif, 0, 1, kPalettePlatform, 0));
    ASSERT_TRUE(conv.SetPicture(Bits(70000, 1)));
    ASSERT_TRUE(conv.Quantize());
    EXPECT_FALSE(conv.WriteGifInterlaced(folder / "wide.gif"));
    EXPECT_EQ(conv.LastError(),
              "A GIF picture is at most 65535 pixels wide and high; this one is 70000 by 1.");
    EXPECT_FALSE(std::filesystem::exists(folder / "x.gif"));
    EXPECT_FALSE(std::filesystem::exists(folder / "wide.gif"));
}

} // namespace
} // namespace velmar
