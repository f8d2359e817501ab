#include "shell/SetupRecord.h"
#include "shell/setupStore.h"
#include "support/RecordingPort.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>
#include <vector>

namespace velmar {
namespace {

namespace fs = std::filesystem;

// A fresh folder per test, named uniquely by mkdtemp, removed afterwards.
class TempFolder {
  public:
    TempFolder() {
        std::string pattern = (fs::temp_directory_path() / "velmar-setup-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
        path_ = pattern;
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    ~TempFolder() {
        std::error_code ec;
        fs::remove_all(path_, ec);
    }
    const fs::path& path() const { return path_; }

  private:
    fs::path path_;
};

std::vector<std::uint8_t> readFile(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void writeFile(const fs::path& p, const std::vector<std::uint8_t>& bytes) {
    std::ofstream out(p, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()),
              static_cast<std::streamsize>(bytes.size()));
}

// A record that differs from both the blank and the default record in every kind of field.
SetupRecord editedRecord() {
    SetupRecord r;
    r.SetDefaults("/opt/velmar");
    r.FrameWidth = 12345;
    r.FrameMaximized = kFlagTrue;
    r.ImagesFolder = "/home/ann/Pictures/";
    r.RecentFiles[0] = "/home/ann/Pictures/cat.jpg";
    r.RecentFiles[7] = "/tmp/last one.png";
    r.BarVisible[3] = kFlagFalse;
    r.PaletteHue = -7;
    r.ForeColor = 0x00336699;
    r.BackColor = 0x7F0000FF;
    r.CustomColors[15] = static_cast<std::int32_t>(0x80000001u);
    r.Tool = "Airbrush";
    r.ShapeSides = -32768;
    r.ReservedBlock = {1, 2, 3, 4, 5, 6, 7, 255};
    r.EffectFlags[11] = kFlagTrue;
    r.ThumbBackColor = "000128255";
    r.ColorBoxPlace = {1, -2, 32767};
    return r;
}

TEST(SetupRecordLayout, RecordIs3104BytesWithNoPadding) {
    EXPECT_EQ(kSetupRecordSize, 3104u);
    EXPECT_EQ(ToBytes(SetupRecord{}).size(), 3104u);
}

// Offsets worked out by hand from the field widths: i16 and flags 2, i32 4, texts their length.
TEST(SetupRecordLayout, FieldOffsets) {
    const struct {
        const char* name;
        std::size_t offset;
    } cases[] = {
        {"FrameWidth", 0},
        {"FrameHeight", 2},
        {"FrameMaximized", 4},
        {"ImagesMaximized", 6},
        {"ImagesFolder", 8},
        {"PreserveLastFolder", 264},
        {"AskToSave", 266},
        {"DefaultZoom", 268},
        {"RecentFiles", 270},
        {"ColorBoxVisible", 2318},
        {"BarVisible", 2324},
        {"StatusBarVisible", 2338},
        {"SideToolsAutoHide", 2340},
        {"PaletteHue", 2342},
        {"ForeColor", 2346},
        {"BackColor", 2350},
        {"CustomColors", 2354},
        {"ReservedFlag", 2418},
        {"Tool", 2420},
        {"SelectionMode", 2445},
        {"StampMaskColor", 2481},
        {"StampPressure", 2491},
        {"TextVersionMark", 2493},
        {"TextFontName", 2749},
        {"TextDefaults", 3005},
        {"TextOpacity", 3015},
        {"ReservedBlock", 3017},
        {"GradMode", 3025},
        {"GradColor2", 3027},
        {"GradColor1", 3031},
        {"GradTransparent", 3035},
        {"EffectFlags", 3043},
        {"ReservedCount", 3067},
        {"ThumbBackColor", 3077},
        {"ClipboardBoxPlace", 3086},
        {"TexturesBoxPlace", 3092},
        {"ColorBoxPlace", 3098},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ASSERT_TRUE(FieldOffset(c.name).has_value());
        EXPECT_EQ(*FieldOffset(c.name), c.offset);
    }
    EXPECT_FALSE(FieldOffset("Nothing").has_value());
}

// Each field lands at its offset, little-endian, whatever the host's struct layout.
TEST(SetupRecordLayout, FieldsEncodeLittleEndianAtTheirOffsets) {
    const struct {
        const char* what;
        void (*set)(SetupRecord&);
        std::size_t offset;
        std::vector<std::uint8_t> bytes;
    } cases[] = {
        {"FrameWidth", [](SetupRecord& r) { r.FrameWidth = 0x1234; }, 0, {0x34, 0x12}},
        {"ImagesMaximized", [](SetupRecord& r) { r.ImagesMaximized = -1; }, 6, {0xFF, 0xFF}},
        {"ImagesFolder", [](SetupRecord& r) { r.ImagesFolder = "ab"; }, 8, {'a', 'b', ' ', ' '}},
        {"RecentFiles[1]", [](SetupRecord& r) { r.RecentFiles[1] = "x"; }, 270 + 256, {'x', ' '}},
        {"BarVisible[6]", [](SetupRecord& r) { r.BarVisible[6] = 0x0102; }, 2336, {0x02, 0x01}},
        {"PaletteHue", [](SetupRecord& r) { r.PaletteHue = -2; }, 2342, {0xFE, 0xFF, 0xFF, 0xFF}},
        {"ForeColor",
         [](SetupRecord& r) { r.ForeColor = 0x11223344; },
         2346,
         {0x44, 0x33, 0x22, 0x11}},
        {"CustomColors[15]",
         [](SetupRecord& r) { r.CustomColors[15] = 0x00A0B0C0; },
         2414,
         {0xC0, 0xB0, 0xA0, 0x00}},
        {"Tool", [](SetupRecord& r) { r.Tool = "Brush"; }, 2420, {'B', 'r', 'u', 's', 'h', ' '}},
        {"Tool end", [](SetupRecord& r) { r.Tool = "Brush"; }, 2444, {' ', 0}},
        {"SelectionMode", [](SetupRecord& r) { r.SelectionMode = 2; }, 2445, {0x02, 0x00}},
        {"StampMaskColor",
         [](SetupRecord& r) { r.StampMaskColor = 0x0000FF00; },
         2481,
         {0x00, 0xFF, 0x00, 0x00}},
        {"TextVersionMark",
         [](SetupRecord& r) { r.TextVersionMark = "1.0"; },
         2493,
         {'1', '.', '0', ' '}},
        {"ReservedBlock", [](SetupRecord& r) { r.ReservedBlock[7] = 0x99; }, 3024, {0x99, 0x00}},
        {"GradColor2",
         [](SetupRecord& r) { r.GradColor2 = 0x01020304; },
         3027,
         {0x04, 0x03, 0x02, 0x01}},
        {"ThumbBackColor",
         [](SetupRecord& r) { r.ThumbBackColor = "123456789xyz"; },
         3077,
         {'1', '2', '3', '4', '5', '6', '7', '8', '9', 0}},
        {"ColorBoxPlace[2]", [](SetupRecord& r) { r.ColorBoxPlace[2] = 2040; }, 3102, {0xF8, 0x07}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        SetupRecord r;
        c.set(r);
        const SetupBytes bytes = ToBytes(r);
        const std::vector<std::uint8_t> got(
            bytes.begin() + static_cast<std::ptrdiff_t>(c.offset),
            bytes.begin() + static_cast<std::ptrdiff_t>(c.offset + c.bytes.size()));
        EXPECT_EQ(got, c.bytes);
        EXPECT_EQ(FromBytes(bytes), r);
    }
}

TEST(SetupRecordFixedText, PadsCutsAndTrims) {
    const struct {
        const char* assigned;
        std::string stored;
        std::string trimmed;
    } cases[] = {
        {"", "     ", ""},           {"ab", "ab   ", "ab"},          {"a b ", "a b  ", "a b"},
        {"abcde", "abcde", "abcde"}, {"abcdefgh", "abcde", "abcde"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.assigned);
        FixedText<5> t;
        t = c.assigned;
        EXPECT_EQ(t.View(), c.stored);
        EXPECT_EQ(t.Trimmed(), c.trimmed);
    }
    // Unread bytes of a short file are NULs; they trim away like blanks.
    const FixedText<5> blank;
    EXPECT_EQ(blank.View(), std::string(5, '\0'));
    EXPECT_EQ(blank.Trimmed(), "");
    FixedText<5> mixed;
    mixed.Bytes() = {'x', ' ', '\0', ' ', '\0'};
    EXPECT_EQ(mixed.Trimmed(), "x");
}

TEST(SetupRecordDefaults, NewInstallation) {
    SetupRecord r;
    r.SetDefaults("/opt/velmar");

    EXPECT_EQ(r.FrameWidth, 9600);
    EXPECT_EQ(r.FrameHeight, 7200);
    EXPECT_EQ(r.ImagesFolder.Trimmed(), "/opt/velmar/Images/");
    EXPECT_EQ(r.ImagesFolder.View().substr(19), std::string(256 - 19, ' '));
    for (const auto& entry : r.RecentFiles)
        EXPECT_EQ(entry.View(), std::string(256, ' '));
    EXPECT_EQ(r.Tool.View(), std::string(25, ' '));
    EXPECT_EQ(r.TextVersionMark.Trimmed(), "1.0");
    EXPECT_EQ(r.TextFontName.Trimmed(), "Arial");
    EXPECT_EQ(r.ThumbBackColor.View(), "255255255");

    // Three boxes, seven bars and the status bar visible; white on black.
    for (const auto flag :
         {r.ColorBoxVisible, r.TexturesBoxVisible, r.ClipboardBoxVisible, r.StatusBarVisible})
        EXPECT_EQ(flag, -1);
    for (const auto flag : r.BarVisible)
        EXPECT_EQ(flag, -1);
    EXPECT_EQ(r.ForeColor, 0xFFFFFF);
    EXPECT_EQ(r.BackColor, 0);
    EXPECT_EQ(r.GradColor2, 0xFFFFFF);
    EXPECT_EQ(r.GradColor1, 0);

    const std::int32_t ramp[16] = {0x000000, 0x111111, 0x222222, 0x333333, 0x444444, 0x555555,
                                   0x666666, 0x777777, 0x888888, 0x999999, 0xAAAAAA, 0xBBBBBB,
                                   0xCCCCCC, 0xDDDDDD, 0xEEEEEE, 0xFFFFFF};
    for (int i = 0; i < 16; ++i)
        EXPECT_EQ(r.CustomColors[i], ramp[i]) << i;

    const struct {
        const char* name;
        std::int16_t SetupRecord::*field;
        std::int16_t value;
    } numbers[] = {
        {"FrameMaximized", &SetupRecord::FrameMaximized, 0},
        {"ImagesMaximized", &SetupRecord::ImagesMaximized, 0},
        {"PreserveLastFolder", &SetupRecord::PreserveLastFolder, -1},
        {"AskToSave", &SetupRecord::AskToSave, -1},
        {"DefaultZoom", &SetupRecord::DefaultZoom, 1},
        {"SideToolsAutoHide", &SetupRecord::SideToolsAutoHide, 0},
        {"ReservedFlag", &SetupRecord::ReservedFlag, -1},
        {"SelectionMode", &SetupRecord::SelectionMode, 2},
        {"SelectionShape", &SetupRecord::SelectionShape, 0},
        {"SelectionPressure", &SetupRecord::SelectionPressure, 50},
        {"MoveSelection", &SetupRecord::MoveSelection, -1},
        {"BrushMode", &SetupRecord::BrushMode, 0},
        {"BrushSize", &SetupRecord::BrushSize, 25},
        {"BrushPressure", &SetupRecord::BrushPressure, 25},
        {"BrushContinuous", &SetupRecord::BrushContinuous, -1},
        {"AirbrushSize", &SetupRecord::AirbrushSize, 75},
        {"AirbrushPressure", &SetupRecord::AirbrushPressure, 25},
        {"AirbrushQuantity", &SetupRecord::AirbrushQuantity, 100},
        {"AirbrushDefinition", &SetupRecord::AirbrushDefinition, 1},
        {"FillMode", &SetupRecord::FillMode, 0},
        {"FillTolerance", &SetupRecord::FillTolerance, 25},
        {"FillPressure", &SetupRecord::FillPressure, 100},
        {"ShapeKind", &SetupRecord::ShapeKind, 0},
        {"ShapePressure", &SetupRecord::ShapePressure, 100},
        {"ShapeSides", &SetupRecord::ShapeSides, 3},
        {"StampUseMaskColor", &SetupRecord::StampUseMaskColor, 0},
        {"StampMask", &SetupRecord::StampMask, -1},
        {"StampClearBack", &SetupRecord::StampClearBack, 0},
        {"StampPressure", &SetupRecord::StampPressure, 50},
        {"TextOpacity", &SetupRecord::TextOpacity, 100},
        {"GradMode", &SetupRecord::GradMode, 0},
        {"GradPressure", &SetupRecord::GradPressure, 50},
        {"GradFrequency", &SetupRecord::GradFrequency, 1},
        {"ReservedCount", &SetupRecord::ReservedCount, 10},
        {"PasteOpacity", &SetupRecord::PasteOpacity, 80},
        {"PasteActive", &SetupRecord::PasteActive, 0},
        {"ThumbWidth", &SetupRecord::ThumbWidth, 90},
        {"ThumbHeight", &SetupRecord::ThumbHeight, 65},
    };
    for (const auto& n : numbers)
        EXPECT_EQ(r.*n.field, n.value) << n.name;

    EXPECT_EQ(r.PaletteHue, 0);
    EXPECT_EQ(r.StampMaskColor, 0);
    EXPECT_EQ(r.TextDefaults, (std::array<std::int16_t, 5>{20, -1, -1, 0, 2}));
    EXPECT_EQ(r.GradTransparent, (std::array<std::int16_t, 2>{0, 0}));
    EXPECT_EQ(r.EffectFlags,
              (std::array<std::int16_t, 12>{-1, -1, -1, -1, -1, -1, -1, -1, 0, 0, 0, 0}));
    EXPECT_EQ(r.ClipboardBoxPlace, (std::array<std::int16_t, 3>{9000, 7000, 2670}));
    EXPECT_EQ(r.TexturesBoxPlace, (std::array<std::int16_t, 3>{9000, 4500, 2370}));
    EXPECT_EQ(r.ColorBoxPlace, (std::array<std::int16_t, 3>{9000, 2000, 2040}));
}

// Defaults overwrite every byte: a record full of junk defaults to the same bytes as a blank one.
TEST(SetupRecordDefaults, EveryFieldIsSet) {
    for (const std::uint8_t junk : {std::uint8_t{0xAB}, std::uint8_t{0x00}, std::uint8_t{0xFF}}) {
        SCOPED_TRACE(int{junk});
        const std::vector<std::uint8_t> filler(kSetupRecordSize, junk);
        SetupRecord fromJunk = FromBytes(filler);
        fromJunk.SetDefaults("/a");
        SetupRecord fromBlank;
        fromBlank.SetDefaults("/a");
        EXPECT_EQ(ToBytes(fromJunk), ToBytes(fromBlank));
    }
}

TEST(SetupRecordDefaults, FrameSizeFollowsTwipsPerPixel) {
    SetupRecord r;
    r.SetDefaults("/a", 12);
    EXPECT_EQ(r.FrameWidth, 640 * 12);
    EXPECT_EQ(r.FrameHeight, 480 * 12);
}

TEST(SetupStore, MissingFileGivesDefaultsAndLeavesAnEmptyFile) {
    TempFolder app;
    test::RecordingPort port;
    const LoadedSetup setup = LoadSetup(app.path(), port);

    SetupRecord expected;
    expected.SetDefaults(app.path().string());
    EXPECT_EQ(setup.record, expected);
    EXPECT_TRUE(setup.loaded);
    EXPECT_TRUE(port.messages.empty());
    const fs::path file = app.path() / "Velmar.dat";
    ASSERT_TRUE(fs::is_regular_file(file));
    EXPECT_EQ(fs::file_size(file), 0u);
}

TEST(SetupStore, SaveThenLoadGivesTheSameRecord) {
    TempFolder app;
    const SetupRecord saved = editedRecord();
    SaveSetup(app.path(), saved);

    const fs::path file = app.path() / "Velmar.dat";
    const SetupBytes expected = ToBytes(saved);
    EXPECT_EQ(readFile(file), std::vector<std::uint8_t>(expected.begin(), expected.end()));

    test::RecordingPort port;
    const LoadedSetup loaded = LoadSetup(app.path(), port);
    EXPECT_EQ(loaded.record, saved);
    EXPECT_TRUE(loaded.loaded);
    EXPECT_TRUE(port.messages.empty());
}

// A cut file is read as far as it goes; the rest stays blank and no defaults are applied.
TEST(SetupStore, ShortFileLeavesTheRestBlank) {
    const SetupBytes full = ToBytes(editedRecord());
    for (const std::size_t length : {std::size_t{1}, std::size_t{10}, std::size_t{2346},
                                     std::size_t{2347}, kSetupRecordSize - 1}) {
        SCOPED_TRACE(length);
        TempFolder app;
        writeFile(app.path() / "Velmar.dat",
                  std::vector<std::uint8_t>(full.begin(), full.begin() + length));
        test::RecordingPort port;
        const LoadedSetup setup = LoadSetup(app.path(), port);

        SetupBytes expected{};
        std::copy_n(full.begin(), length, expected.begin());
        EXPECT_EQ(ToBytes(setup.record), expected);
        EXPECT_TRUE(port.messages.empty());
        EXPECT_TRUE(setup.loaded);
        EXPECT_EQ(fs::file_size(app.path() / "Velmar.dat"), length);
    }
}

// An empty file, left by a first run that never reached a clean exit, holds no record: the
// defaults apply, as for a missing file.
TEST(SetupStore, EmptyFileGivesDefaults) {
    TempFolder app;
    writeFile(app.path() / "Velmar.dat", {});
    test::RecordingPort port;
    const LoadedSetup setup = LoadSetup(app.path(), port);
    SetupRecord expected;
    expected.SetDefaults(app.path().string());
    EXPECT_EQ(setup.record, expected);
    EXPECT_TRUE(port.messages.empty());
}

TEST(SetupStore, TenByteFileReadsTheFirstFields) {
    TempFolder app;
    const SetupBytes full = ToBytes(editedRecord());
    writeFile(app.path() / "Velmar.dat",
              std::vector<std::uint8_t>(full.begin(), full.begin() + 10));
    test::RecordingPort port;
    const SetupRecord r = LoadSetup(app.path(), port).record;

    EXPECT_EQ(r.FrameWidth, 12345);
    EXPECT_EQ(r.FrameHeight, 7200);
    EXPECT_EQ(r.FrameMaximized, -1);
    EXPECT_EQ(r.ImagesMaximized, 0);
    EXPECT_EQ(r.ImagesFolder.Trimmed(), "/h");
    EXPECT_EQ(r.ImagesFolder.View()[2], '\0');
    EXPECT_EQ(r.RecentFiles[0].Trimmed(), "");
    EXPECT_EQ(r.ColorBoxVisible, 0);
    EXPECT_EQ(r.ForeColor, 0);
    EXPECT_EQ(r.ThumbBackColor.View(), std::string(9, '\0'));
    EXPECT_TRUE(port.messages.empty());
}

// No signature, no version: whatever the file holds is taken as the record.
TEST(SetupStore, RecordFromAnotherVersionIsReadWithoutCheck) {
    for (const std::size_t length : {kSetupRecordSize, kSetupRecordSize + 500}) {
        SCOPED_TRACE(length);
        TempFolder app;
        std::vector<std::uint8_t> bytes(length);
        for (std::size_t i = 0; i < length; ++i)
            bytes[i] = static_cast<std::uint8_t>(i * 7 + 3);
        writeFile(app.path() / "Velmar.dat", bytes);

        test::RecordingPort port;
        const LoadedSetup setup = LoadSetup(app.path(), port);
        const SetupBytes got = ToBytes(setup.record);
        EXPECT_TRUE(std::equal(got.begin(), got.end(), bytes.begin()));
        EXPECT_TRUE(port.messages.empty());
        EXPECT_EQ(readFile(app.path() / "Velmar.dat"), bytes);
    }
}

TEST(SetupStore, SaveKeepsTheTailOfALongerFile) {
    TempFolder app;
    const fs::path file = app.path() / "Velmar.dat";
    writeFile(file, std::vector<std::uint8_t>(kSetupRecordSize + 100, 0x5A));

    const SetupRecord saved = editedRecord();
    SaveSetup(app.path(), saved);

    const std::vector<std::uint8_t> got = readFile(file);
    ASSERT_EQ(got.size(), kSetupRecordSize + 100);
    const SetupBytes head = ToBytes(saved);
    EXPECT_TRUE(std::equal(head.begin(), head.end(), got.begin()));
    EXPECT_TRUE(std::all_of(got.begin() + kSetupRecordSize, got.end(),
                            [](std::uint8_t b) { return b == 0x5A; }));
}

TEST(SetupStore, MissingApplicationFolderFailsCleanly) {
    TempFolder app;
    const fs::path gone = app.path() / "no such folder";
    test::RecordingPort port;
    EXPECT_THROW(LoadSetup(gone, port), std::system_error);
    EXPECT_THROW(SaveSetup(gone, SetupRecord{}), std::system_error);
    EXPECT_FALSE(fs::exists(gone));
    EXPECT_TRUE(port.messages.empty());
}

} // namespace
} // namespace velmar
