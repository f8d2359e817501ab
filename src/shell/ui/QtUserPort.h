#pragma once
// The editor's user port: message boxes as Qt dialogs with the program's exact texts, icons and
// buttons, and the system clipboard.
#include "port/UserPort.h"

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

  private:
    QWidget* parent_;
};

} // namespace velmar
