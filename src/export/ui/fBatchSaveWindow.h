#pragma once
// The batch converter's window: a folder tree (FD) to pick the source folder, the pictures of
// that folder in a list (LV) to select from, the output folder and name, the format (cboFiles)
// and the colour mode (Opt). Convert hands the selected rows to the core's BatchConvertRows,
// which holds the checks, the names and the conversion; the window shows progress meanwhile,
// skips failed files without a word, and opens the output folder at the end. Messages go through
// the UserPort given, which must outlive the window.
#include "port/UserPort.h"

#include <QDialog>
#include <QString>

#include <string>
#include <vector>

class QComboBox;
class QFileSystemModel;
class QLineEdit;
class QProgressBar;
class QTreeView;
class QTreeWidget;

namespace velmar {

struct BatchRow;

class fBatchSaveWindow : public QDialog {
    Q_OBJECT
  public:
    explicit fBatchSaveWindow(UserPort& port, QWidget* parent = nullptr);

    // Makes `folder` the source: Path shows it, the tree goes to it and the list shows its
    // pictures. The tree calls this when the user picks a folder, and Path when one is typed.
    void SetSourceFolder(const QString& folder);
    // Fills LV with the pictures of the folder in Path, one row each, sorted by name.
    void ShowImages();
    // What the Convert button does.
    void Convert();

  private:
    void browseOutputFolder();
    // Runs the conversion of the selected rows off the interface thread and keeps the window
    // painting (and the progress bar moving) until every file is done.
    void convertRows(const std::vector<BatchRow>& rows, const std::string& folder,
                     const std::string& name);

    UserPort& port_;
    QFileSystemModel* folders_;
    QTreeView* folderTree_;
    QLineEdit* path_;
    QTreeWidget* list_;
    QLineEdit* outputFolder_;
    QLineEdit* outputFile_;
    QComboBox* formats_;
    QComboBox* colours_;
    QProgressBar* progress_;
};

} // namespace velmar
