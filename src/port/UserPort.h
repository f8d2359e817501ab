#pragma once
// The one door through which the core talks to the person at the screen.
//
// The core never shows anything itself: it asks this interface. The editor implements it with
// Qt dialogs, velmar-cli with the terminal, and the tests with a recorder that keeps every
// message so that exact texts can be asserted. Texts, titles, icons and buttons are passed as
// the program shows them; an implementation must not reword them.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmar {

// Icons and button sets carry the classic message-box numbers so that a caller reading an
// old constant table can pass it straight through.
enum class MsgIcon : int { None = 0, Critical = 16, Question = 32, Warning = 48, Information = 64 };
enum class MsgButtons : int {
    Ok = 0,
    OkCancel = 1,
    AbortRetryIgnore = 2,
    YesNoCancel = 3,
    YesNo = 4,
    RetryCancel = 5
};
enum class MsgResult : int {
    Ok = 1,
    Cancel = 2,
    Abort = 3,
    Retry = 4,
    Ignore = 5,
    Yes = 6,
    No = 7
};

// What a file dialog shows: its title, the filter lines ("caption|*.a;*.b"), the starting
// folder and the default extension.
struct FileDialogSetup {
    std::string title;
    std::vector<std::string> filters;
    std::string folder;
    std::string defaultExtension;
};

// The product's short name: the title of every message box that names no title of its own.
inline constexpr const char* kAppTitle = "Velmar Kestrin";

// A 32-bit top-down picture handed to the clipboard: rows of width*4 bytes in blue, green, red,
// unused order, no padding between rows.
struct ClipboardPicture {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> bgrx;
};

class UserPort {
  public:
    virtual ~UserPort() = default;

    // Shows a modal message and returns the button the user pressed.
    virtual MsgResult MsgBox(const std::string& text, MsgIcon icon = MsgIcon::None,
                             MsgButtons buttons = MsgButtons::Ok,
                             const std::string& title = kAppTitle) = 0;

    // Puts a bitmap on the system clipboard; false when no clipboard took it (for example in a
    // terminal session).
    virtual bool SetClipboardPicture(const ClipboardPicture& picture) = 0;

    // The bitmap on the clipboard, or nothing when it holds none.
    virtual std::optional<ClipboardPicture> GetClipboardPicture() { return std::nullopt; }

    // The open dialog: the files chosen, none when the user cancelled. `multiple` allows more
    // than one.
    virtual std::vector<std::string> OpenFileDialog(const FileDialogSetup& /*setup*/,
                                                    bool /*multiple*/) {
        return {};
    }
    // The save dialog: the name chosen, nothing when the user cancelled.
    virtual std::optional<std::string> SaveFileDialog(const FileDialogSetup& /*setup*/) {
        return std::nullopt;
    }

    // Shows the window `form` (its name in the program, "fNew", "fSize", "fFilter", ...);
    // `argument` tells the window what to show where it needs it (the setup index of
    // "fFilter"). Modal windows have done their work when this returns. False when this user
    // interface has no such window.
    virtual bool ShowForm(std::string_view /*form*/, int /*argument*/ = 0) { return false; }

    // Long work: a percentage for the progress bar (-1 clears it), and a chance for the user
    // interface to keep painting.
    virtual void Progress(int /*percent*/) {}
    virtual void PumpEvents() {}

    // A path shortened in the middle so that it fits `pixels` of the user interface's font.
    // The default assumes 7 pixels a character.
    virtual std::string CompactPath(const std::string& path, int pixels);

    // Opens an address in the desktop's browser.
    virtual void OpenUrl(const std::string& /*url*/) {}
};

} // namespace velmar
