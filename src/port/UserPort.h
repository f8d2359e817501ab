#pragma once
// The one door through which the core talks to the person at the screen.
//
// The core never shows anything itself: it asks this interface. The editor implements it with
// Qt dialogs, velmar-cli with the terminal, and the tests with a recorder that keeps every
// message so that exact texts can be asserted. Texts, titles, icons and buttons are passed as
// the program shows them; an implementation must not reword them.
#include <cstdint>
#include <string>
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
};

} // namespace velmar
