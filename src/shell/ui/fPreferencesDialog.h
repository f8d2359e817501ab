#pragma once
// The options window: shows the setup record's flags and images folder through the fPreferences
// logic, which edits the live record and puts it back on Cancel or a refused OK.
#include "shell/fPreferences.h"

#include <QDialog>

#include <array>

class QCheckBox;
class QLineEdit;

namespace velmar {

class fPreferencesDialog : public QDialog {
    Q_OBJECT
  public:
    // record and port must outlive the dialog.
    fPreferencesDialog(SetupRecord& record, UserPort& port, QWidget* parent = nullptr);
    // Closes only when the logic accepts the edits; otherwise the boxes show the record the
    // logic put back.
    void accept() override;
    // Cancel, Escape and the close button all put the record back.
    void reject() override;

    // The save-format choices of the "Save Images Customization" tab.
    struct SaveImagesChoices {
        int jpegQuality = 75;
        int pngCompression = 6;
    };
    // The choices of the last accepted dialog of this run.
    static SaveImagesChoices& SessionChoices();

  private:
    QWidget* generalTab();
    QWidget* saveImagesTab();
    void showRecord();

    fPreferences logic_;
    std::array<QCheckBox*, fPreferences::kFlagOptions.size()> flags_{};
    QLineEdit* folder_ = nullptr;
    SaveImagesChoices choices_;
};

} // namespace velmar
