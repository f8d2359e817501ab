#include "shell/fPreferences.h"
#include "support/RecordingPort.h"
#include "support/TempFolder.h"
#include "support/files.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace velmar {
namespace {

namespace fs = std::filesystem;

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
    test::TempFolder images;
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

// OK keeps the edits when the images folder exists. Otherwise it warns, puts everything back
// and leaves the dialog open: once the user names a real folder, the next OK keeps the edits.
TEST(fPreferences, OkKeepsTheEditsOnlyWithAnExistingFolder) {
    test::TempFolder scratch;
    fs::create_directory(scratch / "two words");
    test::writeFile(scratch / "a file", {'x'});
    const std::pair<std::string, bool> cases[] = {
        {scratch.path().string() + "/", true},
        {(scratch / "two words").string(), true},
        {(scratch / "missing").string(), false},
        {(scratch / "a file").string(), false},
        {"", false},
        {"   ", false},
    };
    for (const auto& [folder, exists] : cases) {
        SetupRecord record = openingRecord(scratch.path());
        const SetupBytes before = ToBytes(record);
        test::RecordingPort port;
        fPreferences dialog(record, port);
        editEverything(dialog, folder);
        const SetupBytes edited = ToBytes(record);
        EXPECT_EQ(dialog.OK(), exists) << folder;
        EXPECT_EQ(ToBytes(record), exists ? edited : before) << folder;
        if (exists) {
            EXPECT_TRUE(port.messages.empty());
            continue;
        }
        ASSERT_EQ(port.messages.size(), 1u);
        EXPECT_EQ(port.messages[0].text,
                  "The Image Folder Does not Exist! Please Specify a valid Folder Name.");
        EXPECT_EQ(port.messages[0].icon, MsgIcon::Information);
        EXPECT_EQ(port.messages[0].buttons, MsgButtons::Ok);
        EXPECT_EQ(port.messages[0].title, "Velmar Kestrin");

        dialog.Record().ThumbWidth = 120;
        dialog.Record().ImagesFolder = scratch.path().string();
        EXPECT_TRUE(dialog.OK());
        EXPECT_EQ(record.ThumbWidth, 120);
        EXPECT_EQ(port.messages.size(), 1u);
    }
}

// Each check box sets its own flag, -1 in the two bytes at the flag's offset in the file, and
// nothing else in the record.
TEST(fPreferences, OptionsSetTheirOwnFlag) {
    const std::pair<const char*, std::size_t> expected[] = {
        {"Open Velmar Kestrin maximized", 4},
        {"Open images maximized", 6},
        {"Preserve last folder", 264},
        {"Ask to save on Close/Exit", 266},
    };
    ASSERT_EQ(std::size(expected), fPreferences::kFlagOptions.size());
    for (std::size_t i = 0; i < std::size(expected); ++i) {
        const auto& [caption, offset] = expected[i];
        const auto& option = fPreferences::kFlagOptions[i];
        EXPECT_EQ(option.caption, caption);
        SetupRecord record;
        test::RecordingPort port;
        fPreferences dialog(record, port);
        dialog.SetChecked(option, true);
        EXPECT_TRUE(dialog.IsChecked(option));
        SetupBytes want{};
        want[offset] = want[offset + 1] = 0xFF;
        EXPECT_EQ(ToBytes(record), want) << caption;
        dialog.SetChecked(option, false);
        EXPECT_EQ(ToBytes(record), SetupBytes{}) << caption;
    }
}

} // namespace
} // namespace velmar
