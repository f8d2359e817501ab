#pragma once
// The user port of velmar-cli: messages go to stderr as "title: text", questions take the
// default answer (the first button), and there is no clipboard.
#include "port/UserPort.h"

#include <iosfwd>

namespace velmar {

class TerminalPort final : public UserPort {
  public:
    explicit TerminalPort(std::ostream& err);
    MsgResult MsgBox(const std::string& text, MsgIcon icon, MsgButtons buttons,
                     const std::string& title) override;
    bool SetClipboardPicture(const ClipboardPicture& picture) override;

  private:
    std::ostream& err_;
};

} // namespace velmar
