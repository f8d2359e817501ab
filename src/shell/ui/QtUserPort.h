#pragma once
// The editor's user port: message boxes as Qt dialogs with the program's exact texts, icons and
// buttons, and the system clipboard.
#include "port/UserPort.h"

#include <functional>

class QWidget;

namespace velmar {

class QtUserPort final : public UserPort {
  public:
    // Dialogs are centred on and owned by `parent` (may be null before the frame exists).
    explicit QtUserPort(QWidget* parent = nullptr) : parent_(parent) {}
    void setParent(QWidget* parent) { parent_ = parent; }

    MsgResult MsgBox(const std::string& text, MsgIcon icon, MsgButtons buttons,
                     const std::string& title) override;
    bool SetClipboardPicture(const ClipboardPicture& picture) override;
    std::optional<ClipboardPicture> GetClipboardPicture() override;
    std::vector<std::string> OpenFileDialog(const FileDialogSetup& setup, bool multiple) override;
    std::optional<std::string> SaveFileDialog(const FileDialogSetup& setup) override;
    bool ShowForm(std::string_view form, int argument) override;
    void Progress(int percent) override;
    void PumpEvents() override;
    std::string CompactPath(const std::string& path, int pixels) override;
    void OpenUrl(const std::string& url) override;

    // The main frame shows the forms and the progress; without a frame, no form exists.
    std::function<bool(std::string_view, int)> formShower;
    std::function<void(int)> progressSink;

  private:
    QWidget* parent_;
};

} // namespace velmar
