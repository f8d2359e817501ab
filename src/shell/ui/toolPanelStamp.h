#pragma once
// The Stamp tool's panel: the stamp folders of the application folder, the stamps of the chosen
// folder with a preview, and the stamp's fields of the setup record.
#include "shell/ui/toolPanels.h"

#include <filesystem>

class QComboBox;
class QLabel;
class QListWidget;

namespace velmar {

class StampPanel : public ToolPanel {
  public:
    StampPanel(Application& app, QWidget* parent = nullptr);

    // The record's fields, and the folders and stamps read again from the disk, so stamps the
    // user copied in since are there.
    void Init() override;

  private:
    void listFolders();
    void listStamps(const std::filesystem::path& folder);
    void chooseStamp(const std::filesystem::path& file);

    Application& app_;
    QLabel* missing_;
    QComboBox* folders_;
    QListWidget* stamps_;
    QLabel* preview_;
    std::filesystem::path chosen_; // the stamp file in use, empty before the first
};

} // namespace velmar
