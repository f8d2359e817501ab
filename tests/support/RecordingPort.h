#pragma once
// A user port for tests: keeps every message the core shows, answers with queued replies
// (the first button when none is queued), and holds the last clipboard picture.
#include "port/UserPort.h"

#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace velmar::test {

struct ShownMessage {
    std::string text;
    MsgIcon icon;
    MsgButtons buttons;
    std::string title;
};

class RecordingPort final : public UserPort {
  public:
    std::vector<ShownMessage> messages;
    std::deque<MsgResult> replies;
    std::optional<ClipboardPicture> clipboard;
    bool clipboardAccepts = true;

    MsgResult MsgBox(const std::string& text, MsgIcon icon, MsgButtons buttons,
                     const std::string& title) override {
        messages.push_back({text, icon, buttons, title});
        if (!replies.empty()) {
            const MsgResult r = replies.front();
            replies.pop_front();
            return r;
        }
        switch (buttons) {
        case MsgButtons::YesNo:
        case MsgButtons::YesNoCancel:
            return MsgResult::Yes;
        case MsgButtons::AbortRetryIgnore:
            return MsgResult::Abort;
        case MsgButtons::RetryCancel:
            return MsgResult::Retry;
        default:
            return MsgResult::Ok;
        }
    }

    bool SetClipboardPicture(const ClipboardPicture& picture) override {
        if (!clipboardAccepts) return false;
        clipboard = picture;
        return true;
    }
};

} // namespace velmar::test
