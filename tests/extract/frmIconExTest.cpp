// The extractor's logic on files built here: icon files and modules from peBuilder.h, form
// containers from the record forms the form designer writes. Written icons are read back by our
// reader and by icoutils; container items are compared byte for byte.
#include "extract/frmIconEx.h"

#include "formats/gateway.h"
#include "support/RecordingPort.h"
#include "support/TempFolder.h"
#include "support/files.h"

#include "extract/peBuilder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace velmar {
namespace {

using test::Bytes;
using test::TempFolder;

// A record of form 1 (length + 8, "lt", length) and of form 3 (bare length) around the data.
Bytes form1(const Bytes& data) {
    Bytes b;
    test::put32(b, 0, static_cast<std::uint32_t>(data.size() + 8));
    test::put32(b, 4, 29804);
    test::put32(b, 8, static_cast<std::uint32_t>(data.size()));
    b.insert(b.end(), data.begin(), data.end());
    return b;
}

Bytes form3(const Bytes& data) {
    Bytes b;
    test::put32(b, 0, static_cast<std::uint32_t>(data.size()));
    b.insert(b.end(), data.begin(), data.end());
    return b;
}

Bytes joined(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (const Bytes& p : parts)
        all.insert(all.end(), p.begin(), p.end());
    return all;
}

Bytes savedPicture(const Bits& picture, const std::string& extension) {
    const TempFolder folder;
    const auto path = folder / ("picture." + extension);
    test::RecordingPort port;
    EXPECT_EQ(SaveDocumentPicture(picture, path, extension, port), SaveResult::Written);
    return test::readFile(path);
}

Bits gradient(int w, int h) {
    Bits b(w, h);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            b(Bits::Red, x, y) = static_cast<std::uint8_t>(x * 20);
            b(Bits::Green, x, y) = static_cast<std::uint8_t>(y * 20);
        }
    return b;
}

// A 32-bit icon image whose top half is red and bottom half blue, all opaque.
Bytes twoToneImage(int side) {
    Bytes b(40);
    test::put32(b, 0, 40);
    test::put32(b, 4, static_cast<std::uint32_t>(side));
    test::put32(b, 8, static_cast<std::uint32_t>(2 * side));
    test::put16(b, 12, 1);
    test::put16(b, 14, 32);
    for (int row = 0; row < side; ++row) // bottom row first
        for (int x = 0; x < side; ++x) {
            const Bytes bgra = row < side / 2 ? Bytes{255, 0, 0, 255} : Bytes{0, 0, 255, 255};
            b.insert(b.end(), bgra.begin(), bgra.end());
        }
    b.insert(b.end(), static_cast<std::size_t>((side + 31) / 32 * 4 * side), 0);
    return b;
}

std::vector<std::string> statusLog;

frmIconEx extractor(test::RecordingPort& port) {
    statusLog.clear();
    return frmIconEx(port, [](std::string s) { statusLog.push_back(std::move(s)); });
}

std::string icotoolList(const std::filesystem::path& file) {
    const std::string out = file.string() + ".list";
    if (test::run("icotool -l '" + file.string() + "' > '" + out + "' 2>/dev/null") != 0)
        return "icotool failed";
    const Bytes text = test::readFile(out);
    return {text.begin(), text.end()};
}

TEST(frmIconEx, OpenTellsEachStepAndRefusesFilesWithoutGraphics) {
    const TempFolder folder;
    const auto sample = test::sampleModule(false);
    test::writeFile(folder / "shell.dll", sample.pe.bytes);
    test::writeFile(folder / "empty.frx", {});
    test::writeFile(folder / "zeros.CTX", Bytes(3, 0));
    test::writeFile(
        folder / "data.exe",
        test::buildPe(true, {{std::uint16_t{10}, std::string("DATA"), 0, {1, 2}}}).bytes);
    test::writeFile(folder / "text.dll", Bytes(300, 'x'));
    Bytes badIco = test::icoFile({test::entryFor(16, 16, 4)}, {test::iconImage(16, 16, 4)});
    badIco[0] = 1;
    test::writeFile(folder / "bad.ico", badIco);
    test::writeFile(folder / "one.ICO",
                    test::icoFile({test::entryFor(16, 16, 4), test::entryFor(32, 32, 8)},
                                  {test::iconImage(16, 16, 4), test::iconImage(32, 32, 8)}));
    // A module whose second group names an icon resource it lacks: that group is passed over.
    const Bytes image = test::iconImage(16, 16, 4);
    test::writeFile(
        folder / "half.dll",
        test::buildPe(false, {{std::uint16_t{3}, std::uint16_t{1}, 1033, image},
                              {std::uint16_t{14}, std::uint16_t{7}, 1033,
                               test::groupIcon({test::entryFor(16, 16, 4)}, {image}, {1})},
                              {std::uint16_t{14}, std::uint16_t{8}, 1033,
                               test::groupIcon({test::entryFor(16, 16, 4)}, {image}, {9})}})
            .bytes);

    const std::string p = folder.path().string() + "/";
    using Steps = std::vector<std::string>;
    using Rows = std::vector<std::pair<std::string, int>>;
    const Steps module = {"Checking for resources...", "Getting icon resources...",
                          "Loading icon resource 1 of 2...", "Loading icon resource 2 of 2..."};
    const Steps checking = {"Checking for resources..."};
    const struct {
        std::string file;
        std::string message; // empty: none, and the file gave rows
        MsgIcon icon;
        Steps status;
        Rows rows;
    } cases[] = {
        {"shell.dll", "", MsgIcon::None, module, {{"MAINICON", 1}, {"1", 2}}},
        {"one.ICO", "", MsgIcon::None, {"Loading icon " + p + "one.ICO"}, {{"one.ICO", 2}}},
        {"half.dll", "", MsgIcon::None, module, {{"7", 1}}},
        {"zeros.CTX", "", MsgIcon::None, {}, {}},
        {"empty.frx", "No graphics found in " + p + "empty.frx.", MsgIcon::Information, {}, {}},
        {"missing.dsx", "No graphics found in " + p + "missing.dsx.", MsgIcon::Information, {}, {}},
        {"data.exe", "No icon resources were found.", MsgIcon::Information, checking, {}},
        {"text.dll", "No icon resources were found.", MsgIcon::Information, checking, {}},
        {"bad.ico",
         "No icons found in file.",
         MsgIcon::Warning,
         {"Loading icon " + p + "bad.ico"},
         {}},
    };
    test::RecordingPort port;
    frmIconEx ex = extractor(port);
    ASSERT_TRUE(ex.pOpen(folder / "one.ICO")); // every open starts from empty lists
    for (const auto& c : cases) {
        port.messages.clear();
        statusLog.clear();
        EXPECT_EQ(ex.pOpen(p + c.file), c.message.empty()) << c.file;
        if (c.message.empty()) {
            EXPECT_TRUE(port.messages.empty()) << c.file;
        } else {
            ASSERT_EQ(port.messages.size(), 1u) << c.file;
            EXPECT_EQ(port.messages[0].text, c.message);
            EXPECT_EQ(port.messages[0].icon, c.icon) << c.file;
            EXPECT_EQ(port.messages[0].title, "Velmar Kestrin");
        }
        // Only the container of three zero bytes shows the binary list, with one row.
        const bool binary = c.file == "zeros.CTX";
        EXPECT_EQ(ex.ShownList(), binary ? IconExList::Binary : IconExList::Icons) << c.file;
        EXPECT_EQ(ex.BinaryRows().size(), binary ? 1u : 0u) << c.file;
        EXPECT_EQ(statusLog, c.status) << c.file;
        Rows rows;
        for (const IconExIconRow& r : ex.IconRows())
            rows.emplace_back(r.icon, r.numberOfImages);
        EXPECT_EQ(rows, c.rows) << c.file;
        EXPECT_EQ(ex.IconStatus(1),
                  rows.empty() ? "No icon resources loaded." : "Icon: " + c.rows[0].first);
    }
}

TEST(frmIconEx, ContainerItemsSaveByteForByteOneOrAll) {
    const TempFolder folder;
    const Bytes jpeg = savedPicture(gradient(5, 4), "jpg");
    const Bytes bmp = savedPicture(gradient(3, 2), "bmp");
    const Bytes junk = {9, 9, 9};
    test::writeFile(folder / "form.frx", joined({junk, form1(jpeg), form3(bmp)}));
    // A longer file at the target: the copy must not keep its tail.
    test::writeFile(folder / "copy.jpg", Bytes(jpeg.size() + 100, 7));
    test::RecordingPort port;
    frmIconEx ex = extractor(port);
    ASSERT_TRUE(ex.pOpen(folder / "form.frx"));
    ASSERT_EQ(ex.Container().Count(), 3u);

    EXPECT_TRUE(ex.saveFromFRX(2, folder / "copy.jpg"));
    EXPECT_EQ(test::readFile(folder / "copy.jpg"), jpeg);
    // Through the dialog: its filter is built from the item; a cancel writes nothing.
    port.saveAnswer = (folder / "picked.bmp").string();
    EXPECT_TRUE(ex.saveFromFRX(3));
    EXPECT_EQ(test::readFile(folder / "picked.bmp"), bmp);
    ASSERT_EQ(port.dialogs.size(), 1u);
    EXPECT_EQ(port.dialogs[0].filters,
              (std::vector<std::string>{
                  "Bitmap Image (*.bmp)|*.bmp",
                  "All Picture Files|*.bmp;*.dib;*.gif;*.jpg;*.wmf;*.emf;*.ico;*.cur",
                  "All Files (*.*)|*.*"}));
    port.saveAnswer.reset();
    EXPECT_FALSE(ex.saveFromFRX(1));

    // Save all: names follow the rows; "Save Only Images" skips the binary part; a missing
    // folder is made.
    const auto all = folder / "all", images = folder / "images";
    EXPECT_TRUE(ex.BatchFRX(all.string(), "pic", false));
    EXPECT_TRUE(ex.BatchFRX(images.string() + "/", "pic", true));
    for (const auto& [file, bytes] : {std::pair{all / "pic1.txt", junk},
                                      {all / "pic2.jpg", jpeg},
                                      {all / "pic3.bmp", bmp},
                                      {images / "pic2.jpg", jpeg},
                                      {images / "pic3.bmp", bmp}})
        EXPECT_EQ(test::readFile(file), bytes) << file;
    EXPECT_FALSE(std::filesystem::exists(images / "pic1.txt"));
    EXPECT_TRUE(port.messages.empty());

    // Refusals and a target that cannot be written: told, nothing thrown.
    EXPECT_FALSE(ex.saveFromFRX(0, folder / "x.txt"));
    EXPECT_FALSE(ex.saveFromFRX(2, folder / "no" / "such" / "dir" / "x.jpg"));
    EXPECT_FALSE(ex.BatchFRX("", "pic", false));
    EXPECT_FALSE(ex.BatchFRX(folder.path().string(), "", false));
    ASSERT_EQ(port.messages.size(), 4u);
    EXPECT_EQ(port.messages[0].text, "please Select a file to save");
    EXPECT_NE(port.messages[1].text.find("no/such/dir/x.jpg"), std::string::npos);
    EXPECT_EQ(port.messages[1].icon, MsgIcon::Warning);
    EXPECT_EQ(port.messages[2].text, "Please specify a folder to save the images!");
    EXPECT_EQ(port.messages[3].text, "Please type a name to save the images!");
}

TEST(frmIconEx, PropertiesTextForFilesAndModulesWithItsRefusals) {
    const TempFolder folder;
    const std::vector<Bytes> images = {test::iconImage(16, 16, 4), test::iconImage(32, 32, 8),
                                       test::iconImage(48, 48, 32)};
    test::writeFile(folder / "three.ico",
                    test::icoFile({test::entryFor(16, 16, 4), test::entryFor(32, 32, 8),
                                   test::entryFor(48, 48, 32)},
                                  images));
    test::writeFile(folder / "lib.dll", test::sampleModule(true).pe.bytes);
    test::RecordingPort port;
    frmIconEx ex = extractor(port);

    // Before anything is open, and with no icon chosen.
    EXPECT_FALSE(ex.pProperties(1));
    ASSERT_TRUE(ex.pOpen(folder / "three.ico"));
    EXPECT_FALSE(ex.pProperties(0));
    EXPECT_TRUE(ex.pProperties(1));
    const std::string path = (folder / "three.ico").string();
    ASSERT_EQ(port.messages.size(), 3u);
    EXPECT_EQ(port.messages[0].text, "There are no icon resources to view properties for.");
    EXPECT_EQ(port.messages[1].text, "Please select an icon to view properties for.");
    EXPECT_EQ(port.messages[2].icon, MsgIcon::Information);
    EXPECT_EQ(port.messages[2].text, "Icon File " + path +
                                         "\nIcon types within image:"
                                         "\n    16 x 16, 16 colours.  Size=" +
                                         std::to_string(images[0].size()) +
                                         " bytes."
                                         "\n    32 x 32, 256 colours.  Size=" +
                                         std::to_string(images[1].size()) +
                                         " bytes."
                                         "\n    48 x 48, millions of colours.  Size=" +
                                         std::to_string(images[2].size()) + " bytes.");

    ASSERT_TRUE(ex.pOpen(folder / "lib.dll"));
    EXPECT_EQ(ex.PropertiesText(1), "Icon MAINICON in file " + (folder / "lib.dll").string() +
                                        "\nIcon types within image:"
                                        "\n    48 x 48, millions of colours.  Size=" +
                                        std::to_string(images[2].size()) + " bytes.");
}

TEST(frmIconEx, SaveKeepsOnlyTheSelectedImages) {
    const TempFolder folder;
    const std::vector<test::IconEntry> entries = {
        test::entryFor(16, 16, 4), test::entryFor(32, 32, 8), test::entryFor(48, 48, 32)};
    const std::vector<Bytes> images = {test::iconImage(16, 16, 4, 5), test::iconImage(32, 32, 8, 6),
                                       test::iconImage(48, 48, 32, 7)};
    test::writeFile(folder / "three.ico", test::icoFile(entries, images));
    test::RecordingPort port;
    frmIconEx ex = extractor(port);

    EXPECT_FALSE(ex.pSave(1, std::vector<int>{1}, folder / "none.ico"));
    ASSERT_TRUE(ex.pOpen(folder / "three.ico"));
    EXPECT_FALSE(ex.pSave(0, std::vector<int>{1}));
    EXPECT_FALSE(ex.pSave(1, std::vector<int>{}, folder / "none.ico"));
    EXPECT_EQ(port.texts(), (std::vector<std::string>{"No Icon resources to save.",
                                                      "Please choose an icon to save.",
                                                      "Icon contains no images."}));
    EXPECT_TRUE(port.dialogs.empty()); // refusals come before the dialog

    port.saveAnswer = (folder / "two.ico").string();
    ASSERT_TRUE(ex.pSave(1, std::vector<int>{3, 1}));
    ASSERT_EQ(port.dialogs.size(), 1u);
    EXPECT_EQ(port.dialogs[0].defaultExtension, "ICO");
    EXPECT_EQ(port.dialogs[0].filters,
              (std::vector<std::string>{"ICO Files (*.ICO)|*.ICO", "All Files (*.*)|*.*"}));
    EXPECT_EQ(test::readFile(folder / "two.ico"),
              test::icoFile({entries[0], entries[2]}, {images[0], images[2]}));
    EXPECT_TRUE(std::filesystem::exists(folder / "three.ico")); // the source is untouched
}

TEST(frmIconEx, BatchExeWritesOwnOrScaledPicturesAsValidIcons) {
    const TempFolder folder;
    // Group 1: two 32-pixel images (the deeper must win) and a 16-pixel one. Group 2: one
    // 64-pixel two-tone image, which both sizes scale.
    const Bytes i16 = test::iconImage(16, 16, 4, 1), i32low = test::iconImage(32, 32, 4, 2),
                i32 = test::iconImage(32, 32, 8, 3), tone = twoToneImage(64);
    const std::vector<test::IconEntry> group1 = {
        test::entryFor(32, 32, 4), test::entryFor(32, 32, 8), test::entryFor(16, 16, 4)};
    const test::IconEntry toneEntry{64, 64, 0, 1, 32};
    test::writeFile(folder / "app.exe",
                    test::buildPe(false, {{std::uint16_t{3}, std::uint16_t{1}, 1033, i32low},
                                          {std::uint16_t{3}, std::uint16_t{2}, 1033, i32},
                                          {std::uint16_t{3}, std::uint16_t{3}, 1033, i16},
                                          {std::uint16_t{3}, std::uint16_t{4}, 1033, tone},
                                          {std::uint16_t{14}, std::uint16_t{1}, 1033,
                                           test::groupIcon(group1, {i32low, i32, i16}, {1, 2, 3})},
                                          {std::uint16_t{14}, std::uint16_t{2}, 1033,
                                           test::groupIcon({toneEntry}, {tone}, {4})}})
                        .bytes);
    test::RecordingPort port;
    frmIconEx ex = extractor(port);
    EXPECT_FALSE(ex.BatchEXE(folder.path().string(), "icon"));
    ASSERT_TRUE(ex.pOpen(folder / "app.exe"));
    const auto out = folder / "out";
    ASSERT_TRUE(ex.BatchEXE(out.string(), "icon"));
    EXPECT_EQ(port.texts(), std::vector<std::string>{"No Icon resources to save."});
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(out), {}), 4);

    EXPECT_EQ(test::readFile(out / "icon1.ico"), test::icoFile({group1[1]}, {i32}));
    EXPECT_EQ(test::readFile(out / "icon1_16.ico"), test::icoFile({group1[2]}, {i16}));
    for (const auto& [name, side] : {std::pair{"icon2.ico", 32}, std::pair{"icon2_16.ico", 16}}) {
        cFileIcon icon;
        ASSERT_TRUE(icon.LoadIcon(out / name));
        ASSERT_EQ(icon.ImageCount(), 1) << name;
        EXPECT_EQ(icon.ImageWidth(1), side);
        EXPECT_EQ(icon.Entry(1).BitCount, 32);
        // The picture stays upright: red on top, blue at the bottom.
        const std::optional<Bits> picture = icon.IconPicture(1);
        ASSERT_TRUE(picture);
        EXPECT_EQ((*picture)(Bits::Red, side / 2, 0), 255) << name;
        EXPECT_EQ((*picture)(Bits::Blue, side / 2, 0), 0) << name;
        EXPECT_EQ((*picture)(Bits::Blue, side / 2, side - 1), 255) << name;
        EXPECT_EQ((*picture)(Bits::Red, side / 2, side - 1), 0) << name;
        if (test::haveProgram("icotool")) {
            const std::string size = std::to_string(side);
            EXPECT_NE(icotoolList(out / name)
                          .find("--width=" + size + " --height=" + size + " --bit-depth=32"),
                      std::string::npos)
                << name;
        }
    }
}

} // namespace
} // namespace velmar
