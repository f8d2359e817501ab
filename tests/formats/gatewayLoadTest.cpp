// Loading through the gateway: each route with files written by FreeImage and ImageMagick, the
// choice of loader by name and site, the picture loader's choices, and the size limit.
#include "formats/gateway.h"
#include "gatewayFiles.h"
#include "support/TempFolder.h"
#include "support/files.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace velmar {
namespace {

using test::TempFolder;

// Saves a picture through FreeImage at `bpp` bits (24 or 32 from Bits; alpha x * 40).
std::filesystem::path writeWithFreeImage(const TempFolder& tmp, const std::string& name,
                                         const Bits& pic, FREE_IMAGE_FORMAT fif, int bpp,
                                         int flags = 0) {
    FIBITMAP* dib = FreeImage_Allocate(pic.Width(), pic.Height(), bpp);
    for (int y = 0; y < pic.Height(); ++y)
        for (int x = 0; x < pic.Width(); ++x) {
            RGBQUAD q = {pic(Bits::Blue, x, y), pic(Bits::Green, x, y), pic(Bits::Red, x, y),
                         static_cast<BYTE>(x * 40)};
            FreeImage_SetPixelColor(dib, static_cast<unsigned>(x),
                                    static_cast<unsigned>(pic.Height() - 1 - y), &q);
        }
    const std::filesystem::path path = tmp / name;
    EXPECT_TRUE(FreeImage_Save(fif, dib, path.c_str(), flags)) << name;
    FreeImage_Unload(dib);
    return path;
}

// Runs ImageMagick's convert with the arguments; the output file is the last one.
std::filesystem::path magick(const TempFolder& tmp, const std::string& args,
                             const std::string& out) {
    const std::filesystem::path path = tmp / out;
    EXPECT_EQ(test::run("cd '" + tmp.path().string() + "' && convert " + args + " '" + out +
                        "' 2>/dev/null"),
              0)
        << args;
    return path;
}

std::filesystem::path copyAs(const TempFolder& tmp, const std::filesystem::path& from,
                             const std::string& name) {
    const std::filesystem::path to = tmp / name;
    std::filesystem::copy_file(from, to, std::filesystem::copy_options::overwrite_existing);
    return to;
}

TEST(GatewayLoad, LibraryFormatsComeBackPixelForPixel) {
    TempFolder tmp;
    const Bits pic = test::patternPicture(7, 5);
    const struct {
        const char* name;
        FREE_IMAGE_FORMAT fif;
        int bpp;
    } cases[] = {
        {"a.png", FIF_PNG, 24},   {"b.PNG", FIF_PNG, 32},     {"c.bmp", FIF_BMP, 24},
        {"d.rle", FIF_BMP, 24},   {"e.tif", FIF_TIFF, 24},    {"f.tiff", FIF_TIFF, 32},
        {"g.tga", FIF_TARGA, 24}, {"h.targa", FIF_TARGA, 32}, {"i.ppm", FIF_PPMRAW, 24},
        {"k.psd", FIF_PSD, 24},
    };
    for (const auto& c : cases) {
        const auto path = writeWithFreeImage(tmp, c.name, pic, c.fif, c.bpp);
        ModFreeImage why;
        const auto bits = LoadPictureFile(path, LoadSite::Document, &why);
        ASSERT_TRUE(bits) << c.name << ": " << why.LastError();
        EXPECT_TRUE(test::samePicture(pic, *bits)) << c.name;
    }
}

// Current programs write bitmaps with version 4 or 5 headers, which FreeImage 3.18 refuses on
// its own; they must load as the same picture with a classic header does.
TEST(GatewayLoad, BitmapsWithLongHeadersLoad) {
    if (!test::haveImageMagick()) GTEST_SKIP() << "needs ImageMagick";
    TempFolder tmp;
    const auto png = writeWithFreeImage(tmp, "p.png", test::patternPicture(9, 5), FIF_PNG, 24);
    for (const char* args : {"p.png -define bmp:format=bmp4",
                             "p.png -define bmp:format=bmp4 "
                             "-type palette",
                             "p.png", "p.png -type palette", "p.png -alpha on"}) {
        const auto bmp = magick(tmp, args, "long.bmp");
        ASSERT_GE(test::readFile(bmp)[14], 108) << args << ": not a long header";
        const auto mine = LoadPictureFile(bmp, LoadSite::Document);
        const auto theirs = test::readWithImageMagick(bmp);
        ASSERT_TRUE(mine && theirs) << args;
        EXPECT_EQ(test::largestDifference(*mine, *theirs), 0) << args;
    }
    const std::filesystem::path corpus = test::corpusFolder();
    if (corpus.empty()) return;
    for (const auto& [twin, classic] :
         {std::pair{"pal8v4", "pal8"}, std::pair{"pal8v5", "pal8"}, std::pair{"rgb24prof", "rgb24"},
          std::pair{"rgb24lprof", "rgb24"}}) {
        const auto load = [&](const char* set, const char* name) {
            return LoadPictureFile(corpus / "images/bmp" /
                                       (std::string("bmpsuite_") + set + "_" + name + ".bmp"),
                                   LoadSite::Document);
        };
        const auto b = load("g", classic);
        auto loaded = load("g", twin);
        if (!loaded) loaded = load("q", twin);
        ASSERT_TRUE(b && loaded) << twin;
        EXPECT_TRUE(test::samePicture(*b, *loaded)) << twin;
    }
}

// The name decides the loader, never the content: the same bytes load under one name and not
// under another, at one site and not at another.
TEST(GatewayLoad, TheNameAndTheSiteChooseTheLoader) {
    if (!test::haveImageMagick()) GTEST_SKIP() << "needs ImageMagick";
    TempFolder tmp;
    const Bits pic = test::patternPicture(8, 6);
    writeWithFreeImage(tmp, "source.png", pic, FIF_PNG, 24);
    writeWithFreeImage(tmp, "source.jpg", test::smoothPicture(8, 6), FIF_JPEG, 24);
    writeWithFreeImage(tmp, "source.bmp", pic, FIF_BMP, 24);
    magick(tmp, "source.png -monochrome", "source.jbig");
    test::writeFile(tmp / "source.zzz", std::vector<std::uint8_t>(64, 0x5A));
    const struct {
        const char* source;
        const char* name;
        LoadSite site;
        bool loads;
        const char* why; // LastError after a refusal, or nullptr for any
    } cases[] = {
        // JBIG names go to the JPEG decoder: a JPEG loads, a real JBIG file fails there.
        {"source.jpg", "x.jbig", LoadSite::Document, true, nullptr},
        {"source.jpg", "x.JTIF", LoadSite::Document, true, nullptr},
        {"source.jbig", "x.jbig", LoadSite::Document, false, "Not a JPEG file"},
        {"source.jbig", "x.jbg", LoadSite::Document, false, "Not a JPEG file"},
        // sgi reaches the PNG loader at the document's site only.
        {"source.png", "x.sgi", LoadSite::Document, true, nullptr},
        {"source.png", "x.sgi", LoadSite::MainFrameOpen, false, ""},
        // The content probe serves the jng row only.
        {"source.png", "x.jng", LoadSite::Document, true, nullptr},
        {"source.png", "x.jpg", LoadSite::Document, false, "Not a JPEG file"},
        {"source.png", "x.jng", LoadSite::ProjectGenerator, false, ""},
        {"source.zzz", "x.jng", LoadSite::Document, false,
         "The library does not know the file's format."},
        // A name no row serves loads nothing and says nothing.
        {"source.png", "x.xyz", LoadSite::MainFrameOpen, false, ""},
        {"source.png", "x", LoadSite::MainFrameOpen, false, ""},
        {"source.png", "x.png.bak", LoadSite::MainFrameOpen, false, ""},
        // The picture loader takes dib as a BMP; the document has no dib row.
        {"source.bmp", "x.DIB", LoadSite::MainFrameOpen, true, nullptr},
        {"source.bmp", "x.dib", LoadSite::Document, false, ""},
        {"source.bmp", "x.wmf", LoadSite::MainFrameOpen, false,
         "Metafile pictures are not drawn yet."},
        {"source.bmp", "x.emf", LoadSite::AlbumTree, false, "Metafile pictures are not drawn yet."},
        {"absent.png", "absent.png", LoadSite::Document, false, "The file cannot be read."},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.source) + " as " + c.name);
        const std::filesystem::path path = std::filesystem::exists(tmp / c.source)
                                               ? copyAs(tmp, tmp / c.source, c.name)
                                               : tmp / c.name;
        ModFreeImage why;
        why.RecordError("left over");
        const auto bits = LoadPictureFile(path, c.site, &why);
        EXPECT_EQ(bits.has_value(), c.loads) << why.LastError();
        if (bits && std::string(c.source) != "source.jpg") {
            EXPECT_TRUE(test::samePicture(pic, *bits));
        }
        if (c.why != nullptr && *c.why != '\0') {
            EXPECT_TRUE(why.LastError().starts_with(c.why)) << why.LastError();
        } else if (c.why != nullptr) {
            EXPECT_EQ(why.LastError(), "");
        }
    }
}

// Our own PCX files are read back in PCXTest; these come from another writer.
TEST(GatewayLoad, PcxOfOtherProgramsLoads) {
    if (!test::haveImageMagick()) GTEST_SKIP() << "needs ImageMagick";
    TempFolder tmp;
    const auto png = writeWithFreeImage(tmp, "p.png", test::patternPicture(11, 6), FIF_PNG, 24);
    for (const char* args : {"p.png -type truecolor", "p.png -type palette"}) {
        const auto pcx = magick(tmp, args, "theirs.pcx");
        const auto theirs = LoadPictureFile(pcx, LoadSite::Document);
        const auto reference = test::readWithImageMagick(pcx);
        ASSERT_TRUE(theirs && reference) << args;
        EXPECT_EQ(test::largestDifference(*theirs, *reference), 0) << args;
    }
}

TEST(GatewayLoad, ThePictureLoaderTakesGifsFirstFrameOverWhite) {
    if (!test::haveImageMagick()) GTEST_SKIP() << "needs ImageMagick";
    TempFolder tmp;
    magick(tmp, "-size 6x4 xc:red -size 6x4 xc:blue -loop 0", "two.gif");
    const auto first = LoadPictureFile(tmp / "two.gif", LoadSite::MainFrameOpen);
    ASSERT_TRUE(first);
    EXPECT_EQ(first->Width(), 6);
    EXPECT_EQ((*first)(Bits::Red, 3, 2), 255);
    EXPECT_EQ((*first)(Bits::Blue, 3, 2), 0);

    magick(tmp, "-size 3x2 xc:none -fill '#008000' -draw 'point 1,0'", "clear.gif");
    const auto clear = LoadPictureFile(tmp / "clear.gif", LoadSite::AlbumFolder);
    ASSERT_TRUE(clear);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 3; ++x) {
            const bool dot = x == 1 && y == 0;
            EXPECT_EQ((*clear)(Bits::Red, x, y), dot ? 0 : 255) << x << "," << y;
            EXPECT_EQ((*clear)(Bits::Green, x, y), dot ? 128 : 255) << x << "," << y;
            EXPECT_EQ((*clear)(Bits::Mask, x, y), 0);
        }
    // A first frame placed past its logical screen grows the picture to hold it.
    magick(tmp, "-size 4x2 xc:red -repage 4x2+6+1", "off.gif");
    const auto off = LoadPictureFile(tmp / "off.gif", LoadSite::MainFrameOpen);
    ASSERT_TRUE(off);
    EXPECT_EQ(off->Width(), 10);
    EXPECT_EQ(off->Height(), 3);
    EXPECT_EQ((*off)(Bits::Red, 9, 2), 255);
    EXPECT_EQ((*off)(Bits::Green, 9, 2), 0);

    // The document's own loader has no gif row, and the generators have no picture loader.
    EXPECT_FALSE(LoadPictureFile(tmp / "two.gif", LoadSite::Document));
    EXPECT_FALSE(LoadPictureFile(tmp / "two.gif", LoadSite::ProjectGenerator));
}

TEST(GatewayLoad, IconsAndCursorsGiveTheirLargestImage) {
    if (!test::haveImageMagick()) GTEST_SKIP() << "needs ImageMagick";
    TempFolder tmp;
    magick(tmp, "-size 64x64 gradient:yellow-navy -define icon:auto-resize=16,48,32", "three.ico");
    for (const auto site : {LoadSite::MainFrameOpen, LoadSite::AlbumTree}) {
        const auto largest = LoadPictureFile(tmp / "three.ico", site);
        ASSERT_TRUE(largest);
        EXPECT_EQ(largest->Width(), 48);
        EXPECT_EQ(largest->Height(), 48);
    }
    // The library's own icon loader, where the document has it, takes the first image.
    const auto first = LoadPictureFile(tmp / "three.ico", LoadSite::Document);
    ASSERT_TRUE(first);
    EXPECT_EQ(first->Width(), 16);

    magick(tmp, "-size 20x20 xc:orange -resize 32x32!", "arrow.cur");
    const auto cursor = LoadPictureFile(tmp / "arrow.cur", LoadSite::MainFrameOpen);
    ASSERT_TRUE(cursor);
    EXPECT_EQ(cursor->Width(), 32);
    EXPECT_EQ((*cursor)(Bits::Red, 5, 5), 255);
    EXPECT_EQ((*cursor)(Bits::Green, 5, 5), 165);
    EXPECT_TRUE(LoadPictureFile(tmp / "arrow.cur", LoadSite::AlbumPreview));
    EXPECT_FALSE(LoadPictureFile(tmp / "arrow.cur", LoadSite::AlbumFolder));
    EXPECT_FALSE(LoadPictureFile(tmp / "arrow.cur", LoadSite::Document));

    // An icon whose alpha is 0 everywhere has no transparency to lay over white.
    FIBITMAP* plain = FreeImage_Allocate(16, 16, 32);
    for (unsigned y = 0; y < 16; ++y)
        for (unsigned x = 0; x < 16; ++x) {
            RGBQUAD q = {30, 20, 10, 0};
            FreeImage_SetPixelColor(plain, x, y, &q);
        }
    ASSERT_TRUE(FreeImage_Save(FIF_ICO, plain, (tmp / "plain.ico").c_str(), 0));
    FreeImage_Unload(plain);
    const auto opaque = LoadPictureFile(tmp / "plain.ico", LoadSite::MainFrameOpen);
    ASSERT_TRUE(opaque);
    EXPECT_EQ((*opaque)(Bits::Red, 3, 3), 10);
    EXPECT_EQ((*opaque)(Bits::Blue, 3, 3), 30);
}

// Files on which FreeImage 3.18 itself crashes, hangs or reads what is not there: each is
// refused before the library sees it.
TEST(GatewayLoad, FilesTheLibraryWouldMisreadAreRefusedBeforeItSeesThem) {
    using B = std::vector<std::uint8_t>;
    const auto psdHeader = [](const B& body) {
        B psd = {'8', 'B', 'P', 'S', 0, 1, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 1, 0,
                 0,   0,   4,   0,   8, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
        for (const std::uint8_t b : body)
            psd.push_back(b);
        return psd;
    };
    // A Targa file ending in a footer whose extension offset is `offset`.
    const auto withTgaFooter = [](B tga, char offset) {
        const char footer[] = "?\0\0\0\0\0\0\0TRUEVISION-XFILE.";
        tga.insert(tga.end(), footer, footer + 26);
        tga[tga.size() - 26] = static_cast<std::uint8_t>(offset);
        return tga;
    };
    const struct {
        const char* what;
        const char* extension;
        B file;
    } cases[] = {
        {"an empty WBMP (the loader loops for ever)", "wbmp", {}},
        {"a WBMP with bytes left over", "wbmp", {0, 0, 8, 1, 0xFF, 0xFF}},
        {"a Dr. Halo file with more line ends than lines (writes before its picture)",
         "cut",
         {2, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x82, 7}},
        {"a Dr. Halo run longer than its line", "cut", {2, 0, 1, 0, 0, 0, 0, 0, 0x83, 7, 0}},
        {"a PSD whose packed row unpacks past its line (writes past its buffer)", "psd",
         psdHeader({0, 1, 0, 2, 0xFC, 9})},
        {"a PSD cut inside its rows", "psd", psdHeader({0, 0, 1, 2, 3})},
        {"a PNM naming 32 x 3 million pixels it does not have (seconds of work)", "ppm",
         B{'P', '6', ' ', '3', '2', ' ', '3',  '5', '8', '8', '7',
           '7', '7', ' ', '2', '5', '5', '\n', 0,   0,   0}},
        {"an icon image too small for its header (the loader sizes buffers from garbage)", "ico",
         B{0, 0, 1, 0,  1, 0, 1, 1,  0, 0, 1, 0, 1, 0, 8,
           0, 0, 0, 22, 0, 0, 0, 40, 0, 0, 0, 1, 0, 0, 0}},
        {"a Targa whose footer points past the file", "tga",
         withTgaFooter({0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 1, 0, 24, 0, 1, 2, 3}, 0x51)},
        {"a Targa packet running past the last pixel (the decoder overruns its buffer)", "tga",
         [] {
             B tga = {0, 0, 11, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 0, 2, 0, 8, 0, 0x1E};
             tga.resize(tga.size() + 31, 0x80);
             return tga;
         }()},
        {"a Targa postage stamp larger than the file (the loader reads past its buffer)", "tga",
         [&] {
             B tga = {0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 1, 0, 24, 0, 1, 2, 3, 255, 255};
             tga.resize(tga.size() + 495, 0);
             tga[23] = 239; // the extension's size, 495
             tga[24] = 1;
             tga[23 + 486] = 21; // the stamp's offset
             return withTgaFooter(tga, 0x17);
         }()},
        {"a one-bit TIFF with its planes apart (the library stops the program on an assertion)",
         "tif",
         [] {
             B tif = {'I', 'I', 42, 0, 8, 0, 0, 0, 10, 0};
             const std::uint16_t tags[][2] = {{256, 8},   {257, 1}, {258, 1}, {259, 1}, {262, 1},
                                              {273, 134}, {277, 1}, {278, 1}, {279, 1}, {284, 2}};
             for (const auto& [tag, value] : tags)
                 for (const std::uint8_t c : B{std::uint8_t(tag), std::uint8_t(tag >> 8), 3, 0, 1,
                                               0, 0, 0, std::uint8_t(value), 0, 0, 0})
                     tif.push_back(c);
             tif.insert(tif.end(), {0, 0, 0, 0, 0xAA});
             return tif;
         }()},
        {"a Sun raster naming a 4 GB colour map (the loader reads it a byte at a time)", "ras",
         B{0x59, 0xA6, 0x6A, 0x95, 0, 0, 0, 5, 0, 0, 0, 3, 0,    0, 0, 8,
           0,    0,    0,    0,    0, 0, 0, 1, 0, 0, 0, 1, 0xFF, 0, 0, 0xFF}},
        {"a JNG signature followed by no chunks (the chunk reader walks for ever)", "jng",
         [] {
             B jng = {0x8B, 'J', 'N', 'G', 13, 10, 26, 10};
             jng.resize(28, 0);
             return jng;
         }()},
        {"an icon bitmap of 9 bits a pixel (the loader reads past its buffers)", "ico",
         [] {
             B ico = {0, 0, 1, 0,  1, 0, 16, 16, 0, 0, 1, 0,  1, 0, 176, 0, 0, 0, 22,
                      0, 0, 0, 40, 0, 0, 0,  16, 0, 0, 0, 32, 0, 0, 0,   1, 0, 9, 0};
             ico.resize(22 + 176, 0);
             return ico;
         }()},
        {"a Koala file shorter than a Koala picture", "koa", B(2000, 0x60)},
        {"a Photo CD file without its name", "pcd", B(0x40000, 0)},
    };
    for (const auto& c : cases) {
        ModFreeImage why;
        EXPECT_FALSE(LoadPictureBytes(c.file, c.extension, LoadSite::Document, &why)) << c.what;
        EXPECT_TRUE(why.LastError().starts_with("The file is not a whole"))
            << c.what << ": " << why.LastError();
    }
}

TEST(GatewayLoad, APictureLargerThanCanBeHeldIsRefusedBeforeTheLibraryAllocatesIt) {
    // A 58-byte BMP and a 20-byte GIF that ask for 20000 x 20000 and 65535 x 65535 pixels.
    std::vector<std::uint8_t> bmp(58, 0);
    const auto put32 = [&](std::size_t at, std::uint32_t v) {
        for (int i = 0; i < 4; ++i)
            bmp[at + i] = static_cast<std::uint8_t>(v >> (8 * i));
    };
    bmp[0] = 'B';
    bmp[1] = 'M';
    put32(2, 58);
    put32(10, 54);
    put32(14, 40);
    put32(18, 20000);
    put32(22, 20000);
    bmp[26] = 1;
    bmp[28] = 24;
    ModFreeImage why;
    EXPECT_FALSE(LoadPictureBytes(bmp, "bmp", LoadSite::Document, &why));
    EXPECT_EQ(why.LastError(), "The picture is 20000 x 20000 pixels, more than can be held.");

    const std::vector<std::uint8_t> gif = {'G', 'I', 'F', '8',  '9', 'a',  0xFF, 0xFF, 0xFF, 0xFF,
                                           0,   0,   0,   0x2C, 0,   0,    0,    0,    1,    0,
                                           1,   0,   0,   2,    2,   0x4C, 1,    0,    0x3B};
    EXPECT_FALSE(LoadPictureBytes(gif, "gif", LoadSite::MainFrameOpen, &why));
    EXPECT_EQ(why.LastError(), "The picture is larger than can be held.");
}

} // namespace
} // namespace velmar
