#pragma once
// The image extractor window: shows what frmIconEx found in the open file and passes the user's
// selection back to it. Icon files and modules fill lvwIcons (with each icon's 32 and 16 pixel
// pictures) and the grid grdIcons (one cell for each image); containers fill lvBinary and show
// the clicked item in Picture1. The first panel of sbrMain carries the steps of an open and the
// name of the icon shown. Every dialog and message goes through the UserPort.
#include "extract/frmIconEx.h"

#include <QMainWindow>

#include <filesystem>
#include <string>
#include <vector>

class QLabel;
class QListWidget;
class QStackedWidget;
class QTreeWidget;

namespace velmar {

class frmIconExWindow : public QMainWindow {
    Q_OBJECT
  public:
    // The port must outlive the window.
    explicit frmIconExWindow(UserPort& port, QWidget* parent = nullptr);

    frmIconEx& Logic() noexcept { return logic_; }

    // A key word of the tool bar tbrMain and the menu: "open", "save", "saveall",
    // "properties", "exit". Others do nothing.
    void RunCommand(const QString& keyWord);
    // Opens the file as the open dialog's choice would, and shows what it holds.
    bool OpenFile(const std::filesystem::path& path);

    // Shows icon `index` (from 1) in the grid, its first image selected; 0 empties the grid.
    void DisplayIcon(int index);
    // Shows container item `index` (from 1) in Picture1.
    void DisplayItem(int index);

    // The text of sbrMain's first panel.
    QString StatusText() const;

  private:
    void buildActions();
    void showLists();
    void fillIconList();
    void fillBinaryList();
    void setStatus(const std::string& text);
    int selectedIcon() const;
    int selectedItem() const;
    std::vector<int> selectedImages() const;

    UserPort& port_;
    frmIconEx logic_;
    QStackedWidget* pages_;
    QTreeWidget* lvwIcons_;
    QTreeWidget* lvBinary_;
    QListWidget* grdIcons_;
    QLabel* picture1_;
    QLabel* status_;
};

} // namespace velmar
