#include "shell/dataFolders.h"
#include "formats/gateway.h"
#include "shell/builtinPictures.h"
#include "support/TempFolder.h"
#include "support/cliRuns.h"
#include "support/files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

namespace velmar {
namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;
using test::readFile;
using test::TempFolder;
using test::writeFile;

std::vector<std::string> namesIn(const fs::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

struct Rgb {
    int red, green, blue;
};
void expectPixel(const Bits& b, int x, int y, Rgb want) {
    EXPECT_EQ(b(Bits::Red, x, y), want.red) << x << "," << y;
    EXPECT_EQ(b(Bits::Green, x, y), want.green) << x << "," << y;
    EXPECT_EQ(b(Bits::Blue, x, y), want.blue) << x << "," << y;
}

std::vector<fs::path> stampFiles(const fs::path& app, std::size_t count) {
    std::vector<fs::path> files;
    for (std::size_t i = 1; i <= count; ++i)
        files.push_back(app / "Stamps" / ("Velmar" + std::to_string(i) + ".bmp"));
    return files;
}

TEST(DataFolders, FreshFolderGetsAllFourWithTheirContent) {
    TempFolder app, program; // the program folder holds no player
    const std::vector<Bits> stamps = StampPictures();
    ASSERT_GE(stamps.size(), 8u);

    std::vector<fs::path> expected = stampFiles(app.path(), stamps.size());
    expected.push_back(app.path() / "Images" / "Velmar.bmp");
    EXPECT_EQ(EnsureDataFolders(app.path(), program.path()), expected);

    for (const char* folder : {"Stamps", "Templates", "Temp", "Images"})
        EXPECT_TRUE(fs::is_directory(app / folder)) << folder;
    EXPECT_TRUE(fs::is_empty(app / "Templates"));
    EXPECT_TRUE(fs::is_empty(app / "Temp"));
    EXPECT_EQ(namesIn(app / "Images"), std::vector<std::string>{"Velmar.bmp"});
    EXPECT_EQ(namesIn(app / "Stamps").size(), stamps.size()); // no stray temporary file

    for (std::size_t i = 0; i < stamps.size(); ++i) {
        const auto loaded = LoadPictureFile(expected[i], LoadSite::Document);
        ASSERT_TRUE(loaded) << expected[i];
        EXPECT_TRUE(test::sameColours(*loaded, stamps[i])) << expected[i];
        // Every shape keeps clear of the corners: white ink-free paper there.
        expectPixel(*loaded, 0, 0, {255, 255, 255});
    }
    // The third stamp is the disc: its middle pixel is fully covered, so it is the ink itself.
    expectPixel(*LoadPictureFile(expected[2], LoadSite::Document), 24, 24, {20, 30, 110});

    const auto picture = LoadPictureFile(expected.back(), LoadSite::Document);
    ASSERT_TRUE(picture);
    EXPECT_TRUE(test::sameColours(*picture, DefaultPicture()));
    // Top left is sky at 0.5/150 of the way to the horizon colour:
    // 30 + 220 * 0.00333 = 30.7 -> 31, 60 + 130 * 0.00333 = 60.4 -> 60, blue 140 all along.
    expectPixel(*picture, 0, 0, {31, 60, 140});
    // The sun's middle (228, 92) is the sun colour itself.
    expectPixel(*picture, 228, 92, {255, 240, 190});
}

TEST(DataFolders, TemplatesAreCopiedInTableOrderAndMissingPlayersSkipped) {
    TempFolder app, program;
    const Bytes watery{0x7F, 'E', 'L', 'F', 0x00, 0xFF, '\r', '\n', 0x1A};
    const Bytes saver{0x00, 0x01, 0x02, '\n', 0xFE};
    writeFile(program / "velmar-saver", saver);
    writeFile(program / "velmar-watery-exe", watery);

    std::vector<fs::path> expected = stampFiles(app.path(), StampPictures().size());
    expected.push_back(app / "Templates/Watery Effect Exe.vit");
    expected.push_back(app / "Templates/Saver.tpl");
    expected.push_back(app / "Images/Velmar.bmp");
    EXPECT_EQ(EnsureDataFolders(app.path(), program.path()), expected);

    EXPECT_EQ(namesIn(app / "Templates"),
              (std::vector<std::string>{"Saver.tpl", "Watery Effect Exe.vit"}));
    EXPECT_EQ(readFile(app / "Templates/Watery Effect Exe.vit"), watery);
    EXPECT_EQ(readFile(app / "Templates/Saver.tpl"), saver);
    EXPECT_EQ(TemplateResource("SAVER", program.path()), saver);
    EXPECT_FALSE(TemplateResource("SLIDE", program.path()));
    EXPECT_FALSE(TemplateResource("saver", program.path())); // names are exact
}

TEST(DataFolders, AFolderThatExistsIsNeverRefilled) {
    TempFolder app, program;
    for (const char* player :
         {"velmar-simple-exe", "velmar-watery-exe", "velmar-slide", "velmar-saver"})
        writeFile(program / player, Bytes{1, 2, 3});
    fs::create_directory(app / "Templates");

    const auto first = EnsureDataFolders(app.path(), program.path());
    EXPECT_TRUE(fs::is_empty(app / "Templates"));
    EXPECT_TRUE(std::none_of(first.begin(), first.end(), [](const fs::path& p) {
        return p.parent_path().filename() == "Templates";
    }));

    fs::remove(app / "Stamps/Velmar2.bmp");
    fs::remove(app / "Images/Velmar.bmp");
    EXPECT_TRUE(EnsureDataFolders(app.path(), program.path()).empty());
    EXPECT_FALSE(fs::exists(app / "Stamps/Velmar2.bmp"));
    EXPECT_TRUE(fs::exists(app / "Stamps/Velmar1.bmp"));
    EXPECT_TRUE(fs::is_empty(app / "Images"));
}

TEST(DataFolders, FailuresAreThrown) {
    TempFolder app, program;
    // A plain file where a folder must be cannot be made a folder.
    writeFile(app / "Stamps", Bytes{0});
    EXPECT_THROW(EnsureDataFolders(app.path(), program.path()), fs::filesystem_error);
    EXPECT_THROW(EnsureDataFolders(app / "missing", program.path()), fs::filesystem_error);
}

} // namespace
} // namespace velmar
