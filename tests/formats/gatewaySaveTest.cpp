// The document's save: the messages with their exact texts, the 32-then-24 rule, files that are
// never left half-written, and round trips through ImageMagick as the independent reader.
#include "formats/gateway.h"
#include "gatewayFiles.h"
#include "support/RecordingPort.h"
#include "support/TempFolder.h"
#include "support/files.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace velmar {
namespace {

using test::RecordingPort;
using test::TempFolder;

std::vector<std::string> folderNames(const TempFolder& tmp) {
    std::vector<std::string> names;
    for (const auto& e : std::filesystem::directory_iterator(tmp.path()))
        names.push_back(e.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

// An extension the table does not name writes nothing and says nothing; ico says it is off.
TEST(GatewaySave, IcoAndUnknownExtensionsWriteNothing) {
    TempFolder tmp;
    RecordingPort port;
    for (const char* ext : {"xyz", "ppm", "jfif", ""})
        EXPECT_EQ(SaveDocumentPicture(test::patternPicture(2, 2), tmp / "x.out", ext, port),
                  SaveResult::NotWritten)
            << ext;
    EXPECT_TRUE(port.messages.empty());
    EXPECT_EQ(SaveDocumentPicture(Bits(), tmp / "x.png", "png", port), SaveResult::NotWritten);
    EXPECT_EQ(SaveDocumentPicture(test::patternPicture(4, 4), tmp / "x.ico", "ico", port),
              SaveResult::NotWritten);
    ASSERT_EQ(port.messages.size(), 1u);
    EXPECT_EQ(port.messages[0].text, "This facility is currently turned Off!");
    EXPECT_EQ(port.messages[0].title, "Velmar Kestrin");
    EXPECT_TRUE(folderNames(tmp).empty());
}

TEST(GatewaySave, PnmAppendsThePpmLettersToThePathAsGivenAndExplains) {
    TempFolder tmp;
    const Bits pic = test::patternPicture(5, 3);
    const struct {
        const char* given;
        const char* written;
    } cases[] = {
        {"photo.", "photo.ppm"},
        {"photo.pnm", "photo.pnmppm"}, // the extension is not replaced
        {"photo", "photoppm"},
    };
    for (const auto& c : cases) {
        RecordingPort port;
        ASSERT_EQ(SaveDocumentPicture(pic, tmp / c.given, "PNM", port), SaveResult::Written)
            << c.given;
        EXPECT_TRUE(std::filesystem::exists(tmp / c.written)) << c.written;
        EXPECT_FALSE(std::filesystem::exists(tmp / c.given)) << c.given;
        ASSERT_EQ(port.messages.size(), 1u);
        EXPECT_EQ(port.messages[0].title, "Collection of ASCII based bitmap");
        EXPECT_EQ(port.messages[0].text,
                  "PBM, PGM and PPM: If the bitmap has a bit depth of 1, the file is saved as a "
                  "PBM file. If the bitmap has a bit depth of 8, the file is saved as a PGM file. "
                  "If the bitmap has a bit depth of 24, the file is saved as a PPM file. Other "
                  "bit depths are not supported. The file you requested is saved as 24-bit True "
                  "Color (.ppm) format.");
        // A binary 24-bit pixmap of the picture.
        const auto bytes = test::readFile(tmp / c.written);
        ASSERT_GE(bytes.size(), 2u);
        EXPECT_EQ(std::string(bytes.begin(), bytes.begin() + 2), "P6");
        const auto loaded = LoadPictureBytes(bytes, "ppm", LoadSite::Document);
        ASSERT_TRUE(loaded);
        EXPECT_TRUE(test::samePicture(pic, *loaded));
    }
}

TEST(GatewaySave, AFailingWriterSaysInternalErrorAndLeavesNothingBehind) {
    TempFolder tmp;
    const Bits pic = test::patternPicture(3, 3);
    for (const char* ext : {"png", "jpg", "bmp", "tif", "tga", "pcx", "gif", "pnm"}) {
        RecordingPort port;
        EXPECT_EQ(
            SaveDocumentPicture(pic, tmp / "no such folder" / (std::string("x.") + ext), ext, port),
            SaveResult::Failed)
            << ext;
        ASSERT_EQ(port.messages.size(), 1u) << ext;
        EXPECT_EQ(port.messages[0].text,
                  "There was an error while saving! Please Restart Velmar's Kestrin");
        EXPECT_EQ(port.messages[0].title, "Internal Error");
    }
    EXPECT_TRUE(folderNames(tmp).empty());
}

TEST(GatewaySave, AFailedSaveLeavesTheExistingFileAsItWas) {
    TempFolder tmp;
    // Too wide for the writers: JPEG stops at 65500 pixels, PNG (libpng) at a million.
    const struct {
        const char* ext;
        int width;
    } cases[] = {{"jpg", 65501}, {"png", 1000001}};
    for (const auto& c : cases) {
        const std::filesystem::path target = tmp / (std::string("keep.") + c.ext);
        const std::vector<std::uint8_t> old = {'o', 'l', 'd'};
        test::writeFile(target, old);
        RecordingPort port;
        EXPECT_EQ(SaveDocumentPicture(Bits(c.width, 1), target, c.ext, port), SaveResult::Failed)
            << c.ext;
        EXPECT_EQ(port.messages.size(), 1u);
        EXPECT_EQ(test::readFile(target), old) << c.ext;
        EXPECT_EQ(folderNames(tmp), std::vector<std::string>{target.filename().string()})
            << "a part file was left behind";
        std::filesystem::remove(target);
    }
}

// The library image starts at 32 bits and is written at 24: no alpha channel, whatever the
// mask bytes hold, and a 1-bit picture comes out as 24 bits.
TEST(GatewaySave, EveryLibraryFormatIsWrittenAt24Bits) {
    TempFolder tmp;
    Bits pic = test::patternPicture(6, 4);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 6; ++x)
            pic(Bits::Mask, x, y) = static_cast<std::uint8_t>(x * 9);
    RecordingPort port;
    ASSERT_EQ(SaveDocumentPicture(pic, tmp / "x.png", "png", port), SaveResult::Written);
    ASSERT_EQ(SaveDocumentPicture(pic, tmp / "x.tga", "tga", port), SaveResult::Written);
    ASSERT_EQ(SaveDocumentPicture(pic, tmp / "x.tif", "tif", port), SaveResult::Written);
    for (const char* name : {"x.png", "x.tga", "x.tif"}) {
        FIBITMAP* dib =
            FreeImage_Load(FreeImage_GetFileType((tmp / name).c_str()), (tmp / name).c_str(), 0);
        ASSERT_NE(dib, nullptr) << name;
        EXPECT_EQ(FreeImage_GetBPP(dib), 24u) << name;
        FreeImage_Unload(dib);
    }

    // A 1-bit BMP, loaded and saved again as BMP.
    FIBITMAP* mono = FreeImage_Allocate(9, 3, 1);
    RGBQUAD* palette = FreeImage_GetPalette(mono);
    palette[0] = {0, 0, 0, 0};
    palette[1] = {255, 255, 255, 0};
    for (unsigned x = 0; x < 9; x += 2) {
        BYTE one = 1;
        FreeImage_SetPixelIndex(mono, x, 1, &one);
    }
    ASSERT_TRUE(FreeImage_Save(FIF_BMP, mono, (tmp / "mono.bmp").c_str(), 0));
    FreeImage_Unload(mono);
    ASSERT_EQ(test::readFile(tmp / "mono.bmp")[28], 1);
    const auto loaded = LoadPictureFile(tmp / "mono.bmp", LoadSite::Document);
    ASSERT_TRUE(loaded);
    ASSERT_EQ(SaveDocumentPicture(*loaded, tmp / "again.bmp", "bmp", port), SaveResult::Written);
    const auto bytes = test::readFile(tmp / "again.bmp");
    ASSERT_GT(bytes.size(), 30u);
    EXPECT_EQ(bytes[28], 24) << "bits a pixel in the BMP header";
    EXPECT_EQ(bytes[29], 0);
    EXPECT_TRUE(port.messages.empty());
}

// Each format written by the save route and read back by ImageMagick.
TEST(GatewaySave, ImageMagickReadsBackWhatWasSaved) {
    if (!test::haveImageMagick()) GTEST_SKIP() << "needs ImageMagick";
    TempFolder tmp;
    const Bits pattern = test::patternPicture(13, 7);
    const Bits smooth = test::smoothPicture(32, 24);
    const struct {
        const char* ext;
        const Bits& picture;
        int tolerance; // largest difference of a channel
    } cases[] = {
        {"png", pattern, 0},  {"bmp", pattern, 0}, {"rle", pattern, 0},  {"tif", pattern, 0},
        {"tiff", pattern, 0}, {"tga", pattern, 0}, {"vst", pattern, 0},  {"pcx", pattern, 0},
        {"gif", pattern, 0},  {"jpg", smooth, 12}, {"jpeg", smooth, 12},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.ext);
        // ImageMagick chooses the reader by the file name, so the Targa family goes as tga.
        const std::string name = std::string("out.") + c.ext;
        RecordingPort port;
        ASSERT_EQ(SaveDocumentPicture(c.picture, tmp / name, c.ext, port), SaveResult::Written);
        EXPECT_TRUE(port.messages.empty());
        const std::string readAs =
            std::string(c.ext) == "vst" ? "tga:" : (std::string(c.ext) == "rle" ? "bmp:" : "");
        const auto read = test::readWithImageMagick(readAs + (tmp / name).string());
        ASSERT_TRUE(read);
        EXPECT_LE(test::largestDifference(c.picture, *read), c.tolerance);
    }
    RecordingPort port;
    ASSERT_EQ(SaveDocumentPicture(pattern, tmp / "out.", "pnm", port), SaveResult::Written);
    const auto ppm = test::readWithImageMagick(tmp / "out.ppm");
    ASSERT_TRUE(ppm);
    EXPECT_EQ(test::largestDifference(pattern, *ppm), 0);
}

} // namespace
} // namespace velmar
