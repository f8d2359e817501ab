// cFileIcon: .ico files in and out, the directory arithmetic of AddImage and RemoveImage, and the
// exact errors of loading and saving.
#include "extract/cFileIcon.h"
#include "extract/ExtractError.h"
#include "extract/peBuilder.h"
#include "pixel/RuntimeError.h"
#include "support/TempFolder.h"
#include "support/files.h"

#include <gtest/gtest.h>

#include <functional>

namespace velmar {
namespace {

using test::Bytes;

ExtractError raised(const std::function<void()>& action) {
    try {
        action();
    } catch (const ExtractError& e) {
        return e;
    }
    ADD_FAILURE() << "no error raised";
    return ExtractError(0, "", "none");
}

// Three images: 16x16 4-bit, 32x32 8-bit, 48x48 32-bit.
Bytes threeImageIco() {
    return test::icoFile(
        {test::entryFor(16, 16, 4), test::entryFor(32, 32, 8), test::entryFor(48, 48, 32)},
        {test::iconImage(16, 16, 4), test::iconImage(32, 32, 8), test::iconImage(48, 48, 32)});
}

TEST(cFileIconLoad, RefusesBrokenFilesWithTheTextOfTheFirstFault) {
    const Bytes good = threeImageIco();
    auto patched = [&](std::size_t at, std::uint8_t value) {
        Bytes b = good;
        b[at] = value;
        return b;
    };
    Bytes cutInDirectory(good.begin(), good.begin() + 6 + 16 * 2 + 15);
    Bytes cutInLastImage(good.begin(), good.end() - 1);
    // Two entries naming the whole file each: more image bytes than the file holds.
    Bytes sharing = test::icoFile({test::entryFor(16, 16, 4), test::entryFor(32, 32, 4)},
                                  {Bytes(100, 7), Bytes(100, 8)});
    test::put32(sharing, 6 + 8, static_cast<std::uint32_t>(sharing.size()));
    test::put32(sharing, 6 + 12, 0);
    test::put32(sharing, 6 + 16 + 8, static_cast<std::uint32_t>(sharing.size()));
    test::put32(sharing, 6 + 16 + 12, 0);
    const struct {
        const char* what;
        Bytes file;
        const char* reason;
    } cases[] = {
        {"reserved 1, type 2",
         [&] {
             Bytes b = patched(0, 1);
             b[2] = 2;
             return b;
         }(),
         "File is not icon type (reserved member is 0)"},
        {"type 2 (a cursor)", patched(2, 2), "File is not icon type (idType <> IMAGE_ICON)"},
        {"empty file", {}, "File is not icon type (idType <> IMAGE_ICON)"},
        {"count 0",
         [&] {
             Bytes b = patched(4, 0);
             return b;
         }(),
         "Icon contains no images."},
        {"directory cut short", cutInDirectory, "Icon Directory Array is Corrupt."},
        {"last image cut short", cutInLastImage, "Icon Images Array is Corrupt."},
        {"offset past the end",
         [&] {
             Bytes b = good;
             test::put32(b, 6 + 12, 0xFFFFFFF0u);
             return b;
         }(),
         "Icon Images Array is Corrupt."},
        {"images sharing bytes", sharing, "Icon Images Array is Corrupt."},
    };
    test::TempFolder folder;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const auto path = folder / "broken.ico";
        test::writeFile(path, c.file);
        cFileIcon icon;
        icon.LoadIconBytes(good);
        const ExtractError e = raised([&] { icon.LoadIcon(path); });
        EXPECT_EQ(e.number(), 2147746842u);
        EXPECT_EQ(std::string(e.what()), std::string("Failed to load icon: ") + c.reason);
        EXPECT_EQ(e.source(), "Velmar32.cFileIcon");
        EXPECT_EQ(icon.ImageCount(), 0);
        EXPECT_TRUE(icon.FileName().empty());
        // Bytes in memory take the same checks.
        EXPECT_EQ(std::string(raised([&] { icon.LoadIconBytes(c.file); }).what()),
                  std::string("Failed to load icon: ") + c.reason);
    }
}

TEST(cFileIconLoad, ReadsTheDirectoryAndSavesTheSameBytes) {
    test::TempFolder folder;
    const Bytes file = threeImageIco();
    test::writeFile(folder / "in.ico", file);
    cFileIcon icon;
    ASSERT_TRUE(icon.LoadIcon(folder / "in.ico"));
    EXPECT_EQ(icon.FileName(), folder / "in.ico");
    ASSERT_EQ(icon.ImageCount(), 3);
    const struct {
        int width, height;
        double colours;
        std::size_t size;
    } expected[] = {{16, 16, 16, test::iconImage(16, 16, 4).size()},
                    {32, 32, 256, test::iconImage(32, 32, 8).size()},
                    {48, 48, 4294967296.0, test::iconImage(48, 48, 32).size()}};
    for (int i = 1; i <= 3; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(icon.ImageWidth(i), expected[i - 1].width);
        EXPECT_EQ(icon.ImageHeight(i), expected[i - 1].height);
        EXPECT_EQ(icon.ImageColourCount(i), expected[i - 1].colours);
        EXPECT_EQ(icon.ImageSize(i), expected[i - 1].size);
    }
    EXPECT_THROW(icon.ImageWidth(4), RuntimeError);
    EXPECT_THROW(icon.ImageWidth(0), RuntimeError);

    icon.SaveIcon(folder / "out.ico");
    EXPECT_EQ(test::readFile(folder / "out.ico"), file);
    if (test::haveProgram("icotool")) {
        EXPECT_EQ(test::run("icotool -l '" + (folder / "out.ico").string() + "' > '" +
                            (folder / "list.txt").string() + "'"),
                  0);
        const Bytes list = test::readFile(folder / "list.txt");
        EXPECT_EQ(std::string(list.begin(), list.end()),
                  "--icon --index=1 --width=16 --height=16 --bit-depth=4 --palette-size=16\n"
                  "--icon --index=2 --width=32 --height=32 --bit-depth=8 --palette-size=256\n"
                  "--icon --index=3 --width=48 --height=48 --bit-depth=32 --palette-size=0\n");
    }
}

TEST(cFileIconLoad, LaysImagesOutBehindTheDirectoryAndKeepsAZeroWidth) {
    // Images stored in reverse order with a 3-byte gap; the first entry is a 256x256 PNG.
    const Bytes png = {0x89, 'P', 'N', 'G', 13, 10, 26, 10, 1, 2};
    const Bytes bmp = test::iconImage(16, 16, 1);
    Bytes file = test::icoFile({{0, 0, 0, 1, 32}, test::entryFor(16, 16, 1)}, {png, bmp});
    file.resize(38);
    file.insert(file.end(), bmp.begin(), bmp.end());
    file.insert(file.end(), {0, 0, 0});
    file.insert(file.end(), png.begin(), png.end());
    test::put32(file, 6 + 12, static_cast<std::uint32_t>(38 + bmp.size() + 3));
    test::put32(file, 6 + 16 + 12, 38);
    cFileIcon icon;
    icon.LoadIconBytes(file);
    EXPECT_EQ(icon.ImageWidth(1), 0);
    EXPECT_EQ(icon.ImageColourCount(1), 4294967296.0);
    EXPECT_EQ(icon.Entry(1).ImageOffset, 38u);
    EXPECT_EQ(icon.Entry(2).ImageOffset, 38u + png.size());
    EXPECT_EQ(icon.IconFileBytes(),
              test::icoFile({{0, 0, 0, 1, 32}, test::entryFor(16, 16, 1)}, {png, bmp}));
}

TEST(cFileIconEdit, AddRemoveAndCloneKeepTheOffsetsRight) {
    cFileIcon icon;
    icon.LoadIconBytes(test::icoFile({test::entryFor(16, 16, 4)}, {test::iconImage(16, 16, 4)}));
    const std::uint32_t first = test::iconImage(16, 16, 4).size();
    EXPECT_EQ(icon.Entry(1).ImageOffset, 22u);

    const Bytes image = test::iconImage(32, 32, 4);
    icon.AddImage(32, 32, 16, image);
    ASSERT_EQ(icon.ImageCount(), 2);
    EXPECT_EQ(icon.Header().Count, 2);
    EXPECT_EQ(icon.Entry(1).ImageOffset, 38u); // every held offset moves by one entry
    EXPECT_EQ(icon.Entry(2).ImageOffset, 38u + first);
    EXPECT_EQ(icon.Entry(2).Planes, 1);
    EXPECT_EQ(icon.Entry(2).BitCount, 4);
    EXPECT_EQ(icon.IconFileBytes(),
              test::icoFile({test::entryFor(16, 16, 4), test::entryFor(32, 32, 4)},
                            {test::iconImage(16, 16, 4), image}));

    const ExtractError e = raised([&] { icon.AddImage(32, 32, 16); });
    EXPECT_EQ(std::string(e.what()), "Icon already exists.");
    EXPECT_EQ(e.source(), "Velmar32.cFileIcon");
    icon.AddImage(32, 32, 2, test::iconImage(32, 32, 1)); // another colour count is another image

    cFileIcon copy;
    icon.CloneTo(copy);
    copy.RemoveImage(1);
    ASSERT_EQ(copy.ImageCount(), 2);
    EXPECT_EQ(icon.ImageCount(), 3);
    EXPECT_EQ(copy.Entry(1).ImageOffset, 38u);
    EXPECT_EQ(copy.IconFileBytes(),
              test::icoFile({test::entryFor(32, 32, 4), test::entryFor(32, 32, 1)},
                            {image, test::iconImage(32, 32, 1)}));
    EXPECT_THROW(copy.RemoveImage(3), RuntimeError);
}

TEST(cFileIconSave, RaisesTheSaveErrorsInOrder) {
    test::TempFolder folder;
    cFileIcon empty, icon;
    icon.LoadIconBytes(threeImageIco());
    const struct {
        const cFileIcon* icon;
        std::filesystem::path path;
        std::uint32_t number;
        const char* text;
    } cases[] = {
        {&empty, "", 2147746843u, "No filename specified."},
        {&icon, "", 2147746843u, "No filename specified."},
        {&empty, folder / "x.ico", 2147746844u, "Icon contains no images."},
        {&icon, folder / "missing" / "x.ico", 2147746845u, "Couldn't open file for writing."},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        const ExtractError e = raised([&] { c.icon->SaveIcon(c.path); });
        EXPECT_EQ(e.number(), c.number);
        EXPECT_EQ(std::string(e.what()), c.text);
        EXPECT_EQ(e.source(), "Velmar32.cFileIcon");
    }
    // An existing file is replaced whole.
    test::writeFile(folder / "x.ico", Bytes(100000, 1));
    icon.SaveIcon(folder / "x.ico");
    EXPECT_EQ(test::readFile(folder / "x.ico"), threeImageIco());
}

TEST(cFileIconPicture, DecodesOneImageAtItsSize) {
    cFileIcon icon;
    icon.LoadIconBytes(threeImageIco());
    for (int i = 1; i <= 3; ++i) {
        const std::optional<Bits> picture = icon.IconPicture(i);
        ASSERT_TRUE(picture.has_value());
        EXPECT_EQ(picture->Width(), 16 * i);
        EXPECT_EQ(picture->Height(), 16 * i);
    }
    icon.AddImage(8, 8, 0, Bytes(30, 0xAB));
    EXPECT_FALSE(icon.IconPicture(4).has_value());
}

} // namespace
} // namespace velmar
