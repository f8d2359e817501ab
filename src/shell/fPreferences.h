#pragma once
// fPreferences: the logic of the options dialog. The Qt window only shows the captions below,
// edits the record through Record() and calls OK() or Cancel().
//
// The dialog edits the application's live record in place, so every panel sees a change at
// once; it keeps a byte copy of the whole record from the moment it opens so that Cancel, and
// an OK that fails its check, can put everything back. Nothing is written to disk here: the
// record reaches the file at exit.
#include "shell/SetupRecord.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace velmar {

class UserPort;

// A check box of the dialog and the flag of the record it sets.
struct PreferenceFlagOption {
    std::string_view caption;
    std::int16_t SetupRecord::*field;
};

class fPreferences {
  public:
    static constexpr std::string_view kSaveImagesTabCaption = "Save Images Customization";
    static constexpr std::string_view kSecondTabCaption = "WILL COME SOON!";
    static constexpr std::string_view kImagesFolderCaption = "Images default folder";
    static constexpr std::array<PreferenceFlagOption, 4> kFlagOptions{{
        {"Open Velmar Kestrin maximized", &SetupRecord::FrameMaximized},
        {"Open images maximized", &SetupRecord::ImagesMaximized},
        {"Preserve last folder", &SetupRecord::PreserveLastFolder},
        {"Ask to save on Close/Exit", &SetupRecord::AskToSave},
    }};
    static constexpr std::string_view kMissingFolderMessage =
        "The Image Folder Does not Exist! Please Specify a valid Folder Name.";

    // Opening the dialog: takes the byte copy of record. record and port must outlive the
    // dialog.
    fPreferences(SetupRecord& record, UserPort& port);

    // The live record the dialog edits.
    SetupRecord& Record() { return record_; }

    bool IsChecked(const PreferenceFlagOption& option) const {
        return IsSet(record_.*option.field);
    }
    void SetChecked(const PreferenceFlagOption& option, bool checked) {
        record_.*option.field = ToFlag(checked);
    }

    // Puts back the record as it was when the dialog opened.
    void Cancel();

    // Accepts the edits when the images folder, without its trailing blanks, is an existing
    // folder: returns true and the dialog closes. Otherwise shows the missing-folder message,
    // puts back the record as it was when the dialog opened and returns false: the dialog stays
    // open.
    bool OK();

  private:
    SetupRecord& record_;
    UserPort& port_;
    SetupBytes copy_;
};

} // namespace velmar
