#include "shell/TerminalPort.h"

#include <ostream>

namespace velmar {

TerminalPort::TerminalPort(std::ostream& err) : err_(err) {}

MsgResult TerminalPort::MsgBox(const std::string& text, MsgIcon icon, MsgButtons buttons,
                               const std::string& title) {
    const char* kind = "";
    switch (icon) {
    case MsgIcon::Critical:
        kind = "error: ";
        break;
    case MsgIcon::Warning:
        kind = "warning: ";
        break;
    default:
        break;
    }
    err_ << title << ": " << kind << text << '\n';
    // Scripts cannot answer; they get the answer a user would most often give first.
    switch (buttons) {
    case MsgButtons::OkCancel:
        return MsgResult::Ok;
    case MsgButtons::AbortRetryIgnore:
        return MsgResult::Abort;
    case MsgButtons::YesNoCancel:
    case MsgButtons::YesNo:
        return MsgResult::Yes;
    case MsgButtons::RetryCancel:
        return MsgResult::Cancel;
    case MsgButtons::Ok:
        break;
    }
    return MsgResult::Ok;
}

bool TerminalPort::SetClipboardPicture(const ClipboardPicture&) {
    return false;
}

} // namespace velmar
