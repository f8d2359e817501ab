#include "shell/SetupRecord.h"
#include "shell/setupStore.h"
#include "support/RecordingPort.h"
#include "support/TempFolder.h"
#include "support/files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

namespace velmar {
namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;
using test::readFile;
using test::writeFile;

// A record that differs from both the blank and the default record.
SetupRecord editedRecord() {
    SetupRecord r;
    r.SetDefaults("/opt/velmar");
    r.FrameWidth = 12345;
    r.ImagesFolder = "/home/ann/Pictures/";
    r.ForeColor = 0x00336699;
    r.ReservedBlock = {1, 2, 3, 4, 5, 6, 7, 255};
    return r;
}

SetupRecord defaultsFor(const fs::path& app) {
    SetupRecord r;
    r.SetDefaults(app.string());
    return r;
}

Bytes bytesOf(const SetupRecord& r) {
    const SetupBytes b = ToBytes(r);
    return {b.begin(), b.end()};
}

// Offsets worked out by hand from the field widths: i16 and flags 2, i32 4, texts their length.
TEST(SetupRecordLayout, SizeAndOffsets) {
    EXPECT_EQ(kSetupRecordSize, 3104u);
    EXPECT_EQ(ToBytes(SetupRecord{}).size(), 3104u);
    const struct {
        const char* name;
        std::size_t offset;
    } cases[] = {
        {"FrameWidth", 0},       {"ImagesFolder", 8},     {"RecentFiles", 270},
        {"BarVisible", 2324},    {"PaletteHue", 2342},    {"CustomColors", 2354},
        {"Tool", 2420},          {"SelectionMode", 2445}, {"ThumbBackColor", 3077},
        {"ColorBoxPlace", 3098},
    };
    for (const auto& c : cases)
        EXPECT_EQ(FieldOffset(c.name), c.offset) << c.name;
}

// Each field lands at its offset, little-endian, whatever the host's struct layout.
TEST(SetupRecordLayout, FieldsEncodeLittleEndianAtTheirOffsets) {
    SetupRecord r;
    r.FrameWidth = 0x1234;
    r.RecentFiles[1] = "x";
    r.PaletteHue = -2;
    r.CustomColors[15] = 0x00A0B0C0;
    r.Tool = "Brush";
    r.SelectionMode = 2;
    r.ThumbBackColor = "123456789xyz";
    r.ColorBoxPlace[2] = 2040;
    const struct {
        std::size_t offset;
        Bytes bytes;
    } cases[] = {
        {0, {0x34, 0x12}},
        {270 + 256, {'x', ' '}},
        {2342, {0xFE, 0xFF, 0xFF, 0xFF}},
        {2414, {0xC0, 0xB0, 0xA0, 0x00}},
        {2420, {'B', 'r', 'u', 's', 'h', ' '}},
        {2444, {' ', 0x02, 0x00}}, // the text's last blank, then SelectionMode at an odd offset
        {3077, {'1', '2', '3', '4', '5', '6', '7', '8', '9', 0}},
        {3102, {0xF8, 0x07}},
    };
    const Bytes bytes = bytesOf(r);
    for (const auto& c : cases)
        EXPECT_EQ(Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(c.offset),
                        bytes.begin() + static_cast<std::ptrdiff_t>(c.offset + c.bytes.size())),
                  c.bytes)
            << c.offset;
    EXPECT_EQ(FromBytes(bytes), r);
}

TEST(SetupRecordFixedText, PadsCutsAndTrims) {
    const struct {
        const char *assigned, *stored, *trimmed;
    } cases[] = {{"", "     ", ""}, {"a b ", "a b  ", "a b"}, {"abcdefgh", "abcde", "abcde"}};
    for (const auto& c : cases) {
        FixedText<5> t;
        t = c.assigned;
        EXPECT_EQ(t.View(), c.stored);
        EXPECT_EQ(t.Trimmed(), c.trimmed);
    }
    // Unread bytes of a short file are NULs; they trim away like blanks.
    FixedText<5> mixed;
    mixed.Bytes() = {'x', ' ', '\0', ' ', '\0'};
    EXPECT_EQ(mixed.Trimmed(), "x");
}

TEST(SetupRecordDefaults, NewInstallation) {
    const SetupRecord r = defaultsFor("/opt/velmar");
    EXPECT_EQ(r.FrameWidth, 640 * 15);
    EXPECT_EQ(r.FrameHeight, 480 * 15);
    EXPECT_EQ(r.ImagesFolder.Trimmed(), "/opt/velmar/Images/");
    for (const auto& entry : r.RecentFiles)
        EXPECT_EQ(entry.View(), std::string(256, ' '));
    EXPECT_EQ(r.Tool.View(), std::string(25, ' '));
    EXPECT_EQ(r.ThumbBackColor.View(), "255255255");
    // The three boxes, every bar and the status bar visible; white on black.
    for (const auto flag :
         {r.ColorBoxVisible, r.TexturesBoxVisible, r.ClipboardBoxVisible, r.StatusBarVisible})
        EXPECT_EQ(flag, kFlagTrue);
    for (const auto flag : r.BarVisible)
        EXPECT_EQ(flag, kFlagTrue);
    EXPECT_EQ(r.ForeColor, 0xFFFFFF);
    EXPECT_EQ(r.BackColor, 0);
    for (int i = 0; i < 16; ++i)
        EXPECT_EQ(r.CustomColors[static_cast<std::size_t>(i)], 0x111111 * i) << "grey ramp " << i;
    EXPECT_EQ(r.AskToSave, kFlagTrue);
    EXPECT_EQ(r.ColorBoxPlace, (std::array<std::int16_t, 3>{9000, 2000, 2040}));

    SetupRecord small;
    small.SetDefaults("/a", 12);
    EXPECT_EQ(small.FrameWidth, 640 * 12);
    EXPECT_EQ(small.FrameHeight, 480 * 12);
}

// Defaults overwrite every byte: a record full of junk defaults to the same bytes as a blank one.
TEST(SetupRecordDefaults, EveryFieldIsSet) {
    for (const int junk : {0x00, 0xAB, 0xFF}) {
        SetupRecord fromJunk = FromBytes(Bytes(kSetupRecordSize, static_cast<std::uint8_t>(junk)));
        fromJunk.SetDefaults("/a");
        EXPECT_EQ(ToBytes(fromJunk), ToBytes(defaultsFor("/a"))) << junk;
    }
}

// A missing file, or an empty one left by a first run that never reached a clean exit, holds
// no record: the defaults apply, silently, and an empty file stays behind.
TEST(SetupStore, MissingOrEmptyFileGivesDefaults) {
    for (const bool present : {false, true}) {
        test::TempFolder app;
        if (present) writeFile(app / "Velmar.dat", {});
        test::RecordingPort port;
        const LoadedSetup setup = LoadSetup(app.path(), port);
        EXPECT_EQ(setup.record, defaultsFor(app.path())) << present;
        EXPECT_TRUE(setup.loaded);
        EXPECT_TRUE(port.messages.empty());
        ASSERT_TRUE(fs::is_regular_file(app / "Velmar.dat"));
        EXPECT_EQ(fs::file_size(app / "Velmar.dat"), 0u);
    }
}

// Saving writes the record at the start of the file, creating it or keeping a longer file's
// tail, and loading gives the same record back.
TEST(SetupStore, SaveThenLoadGivesTheSameRecord) {
    for (const std::size_t before : {std::size_t{0}, kSetupRecordSize + 100}) {
        test::TempFolder app;
        if (before > 0) writeFile(app / "Velmar.dat", Bytes(before, 0x5A));
        const SetupRecord saved = editedRecord();
        SaveSetup(app.path(), saved);
        Bytes expected = bytesOf(saved);
        expected.resize(std::max(before, kSetupRecordSize), 0x5A);
        EXPECT_EQ(readFile(app / "Velmar.dat"), expected) << before;
        test::RecordingPort port;
        EXPECT_EQ(LoadSetup(app.path(), port).record, saved);
        EXPECT_TRUE(port.messages.empty());
    }
}

// No signature, no version, no check: a file is read as far as it goes, up to the record's
// size, and the rest stays blank (no defaults, no message). The file is left as it is.
TEST(SetupStore, AnyFileIsReadAsFarAsItGoes) {
    for (const std::size_t length :
         {std::size_t{1}, std::size_t{10}, std::size_t{2346}, std::size_t{2347},
          kSetupRecordSize - 1, kSetupRecordSize, kSetupRecordSize + 500}) {
        test::TempFolder app;
        Bytes bytes(length);
        for (std::size_t i = 0; i < length; ++i)
            bytes[i] = static_cast<std::uint8_t>(i * 7 + 3);
        writeFile(app / "Velmar.dat", bytes);
        Bytes expected = bytes;
        expected.resize(kSetupRecordSize, 0);
        test::RecordingPort port;
        const LoadedSetup setup = LoadSetup(app.path(), port);
        EXPECT_EQ(bytesOf(setup.record), expected) << length;
        EXPECT_TRUE(setup.loaded);
        EXPECT_TRUE(port.messages.empty());
        EXPECT_EQ(readFile(app / "Velmar.dat"), bytes);
    }
}

TEST(SetupStore, MissingApplicationFolderFailsCleanly) {
    test::TempFolder app;
    const fs::path gone = app / "no such folder";
    test::RecordingPort port;
    EXPECT_THROW(LoadSetup(gone, port), std::system_error);
    EXPECT_THROW(SaveSetup(gone, SetupRecord{}), std::system_error);
    EXPECT_FALSE(fs::exists(gone));
    EXPECT_TRUE(port.messages.empty());
}

} // namespace
} // namespace velmar
