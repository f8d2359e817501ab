#include "shell/fPreferences.h"
#include "support/RecordingPort.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

namespace velmar {
namespace {

namespace fs = std::filesystem;

class TempFolder {
  public:
    TempFolder() {
        std::string pattern = (fs::temp_directory_path() / "velmar-prefs-XXXXXX").string();
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

SetupRecord openingRecord(const fs::path& imagesFolder) {
    SetupRecord r;
    r.SetDefaults("/opt/velmar");
    r.ImagesFolder = imagesFolder.string() + "/";
    r.RecentFiles[2] = "/home/ann/x.bmp";
    return r;
}

// What a user does in the dialog before pressing a button.
void editEverything(fPreferences& dialog, const std::string& folder) {
    for (const auto& option : fPreferences::kFlagOptions)
        dialog.SetChecked(option, !dialog.IsChecked(option));
    dialog.Record().ImagesFolder = folder;
    dialog.Record().ForeColor = 0x123456;
}

TEST(fPreferences, CancelPutsBackEveryByte) {
    TempFolder images;
    SetupRecord record = openingRecord(images.path());
    const SetupBytes before = ToBytes(record);
    test::RecordingPort port;

    fPreferences dialog(record, port);
    editEverything(dialog, "/somewhere/else");
    ASSERT_NE(ToBytes(record), before);
    dialog.Cancel();

    EXPECT_EQ(ToBytes(record), before);
    EXPECT_TRUE(port.messages.empty());
}

TEST(fPreferences, OkWithoutAnExistingFolderWarnsAndPutsBack) {
    TempFolder scratch;
    const fs::path aFile = scratch.path() / "not a folder.txt";
    std::ofstream(aFile) << "x";
    const std::string cases[] = {
        (scratch.path() / "missing").string(),
        aFile.string(),
        "",
        "   ",
    };
    for (const auto& folder : cases) {
        SCOPED_TRACE(folder);
        SetupRecord record = openingRecord(scratch.path());
        const SetupBytes before = ToBytes(record);
        test::RecordingPort port;

        fPreferences dialog(record, port);
        editEverything(dialog, folder);
        EXPECT_FALSE(dialog.OK());

        ASSERT_EQ(port.messages.size(), 1u);
        EXPECT_EQ(port.messages[0].text,
                  "The Image Folder Does not Exist! Please Specify a valid Folder Name.");
        EXPECT_EQ(port.messages[0].icon, MsgIcon::Information);
        EXPECT_EQ(port.messages[0].buttons, MsgButtons::Ok);
        EXPECT_EQ(port.messages[0].title, "Velmar Kestrin");
        EXPECT_EQ(ToBytes(record), before);
    }
}

TEST(fPreferences, OkWithAnExistingFolderKeepsTheEdits) {
    TempFolder images;
    fs::create_directory(images.path() / "two words");
    const std::string cases[] = {
        images.path().string(),
        images.path().string() + "/",
        (images.path() / "two words").string(),
    };
    for (const auto& folder : cases) {
        SCOPED_TRACE(folder);
        SetupRecord record = openingRecord(images.path());
        test::RecordingPort port;

        fPreferences dialog(record, port);
        editEverything(dialog, folder);
        const SetupBytes edited = ToBytes(record);
        EXPECT_TRUE(dialog.OK());

        EXPECT_TRUE(port.messages.empty());
        EXPECT_EQ(ToBytes(record), edited);
        EXPECT_EQ(record.ImagesFolder.Trimmed(), folder);
    }
}

// The dialog stays open after a refused OK: the user corrects the folder and the next OK
// keeps the new edits.
TEST(fPreferences, RefusedOkLeavesTheDialogUsable) {
    TempFolder images;
    SetupRecord record = openingRecord(images.path());
    test::RecordingPort port;
    fPreferences dialog(record, port);

    editEverything(dialog, "/no/such/folder/velmar");
    EXPECT_FALSE(dialog.OK());
    EXPECT_EQ(record.ForeColor, 0xFFFFFF);

    dialog.Record().ThumbWidth = 120;
    dialog.Record().ImagesFolder = images.path().string();
    EXPECT_TRUE(dialog.OK());
    EXPECT_EQ(record.ThumbWidth, 120);
    EXPECT_EQ(record.ImagesFolder.Trimmed(), images.path().string());
    EXPECT_EQ(port.messages.size(), 1u);
}

// Each check box sets its own flag and nothing else in the record.
TEST(fPreferences, OptionsSetTheirOwnFlag) {
    const struct {
        const char* caption;
        const char* field;
    } expected[] = {
        {"Open Velmar Kestrin maximized", "FrameMaximized"},
        {"Open images maximized", "ImagesMaximized"},
        {"Preserve last folder", "PreserveLastFolder"},
        {"Ask to save on Close/Exit", "AskToSave"},
    };
    ASSERT_EQ(std::size(expected), fPreferences::kFlagOptions.size());
    for (std::size_t i = 0; i < std::size(expected); ++i) {
        const auto& option = fPreferences::kFlagOptions[i];
        SCOPED_TRACE(expected[i].caption);
        EXPECT_EQ(option.caption, expected[i].caption);

        SetupRecord record;
        test::RecordingPort port;
        fPreferences dialog(record, port);
        dialog.SetChecked(option, true);
        EXPECT_TRUE(dialog.IsChecked(option));

        SetupBytes want{};
        const std::size_t at = *FieldOffset(expected[i].field);
        want[at] = 0xFF;
        want[at + 1] = 0xFF;
        EXPECT_EQ(ToBytes(record), want);

        dialog.SetChecked(option, false);
        EXPECT_FALSE(dialog.IsChecked(option));
        EXPECT_EQ(ToBytes(record), SetupBytes{});
    }
}

} // namespace
} // namespace velmar
