#pragma once
// A user port for tests: keeps every message the core shows, answers with queued replies
// (the first button when none is queued), and holds the last clipboard picture.
#include "port/UserPort.h"

#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
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
    // Answers of the file dialogs (an empty list or nothing cancels), and the windows shown.
    std::vector<std::string> openAnswer;
    std::optional<std::string> saveAnswer;
    std::vector<FileDialogSetup> dialogs;
    std::vector<std::pair<std::string, int>> forms;
    // The addresses and folders handed to the desktop to open.
    std::vector<std::string> opened;

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

    std::optional<ClipboardPicture> GetClipboardPicture() override { return clipboard; }
    std::vector<std::string> OpenFileDialog(const FileDialogSetup& setup, bool) override {
        dialogs.push_back(setup);
        return openAnswer;
    }
    std::optional<std::string> SaveFileDialog(const FileDialogSetup& setup) override {
        dialogs.push_back(setup);
        return saveAnswer;
    }
    bool ShowForm(std::string_view form, int argument) override {
        forms.emplace_back(std::string(form), argument);
        return true;
    }
    void OpenUrl(const std::string& url) override { opened.push_back(url); }
    // The texts shown so far, in order.
    std::vector<std::string> texts() const {
        std::vector<std::string> t;
        for (const ShownMessage& m : messages)
            t.push_back(m.text);
        return t;
    }

    bool SetClipboardPicture(const ClipboardPicture& picture) override {
        if (!clipboardAccepts) return false;
        clipboard = picture;
        return true;
    }
};

} // namespace velmar::test
