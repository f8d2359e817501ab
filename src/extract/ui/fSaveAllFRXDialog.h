#pragma once
// The save-all window of the image extractor: a folder, a name, and for containers whether the
// binary parts go too. OK hands them to frmIconEx (BatchFRX or BatchEXE), which checks them and
// tells what is wrong; the window stays open until the files are written.
#include <QDialog>

class QLineEdit;
class QRadioButton;

namespace velmar {

class frmIconEx;

class fSaveAllFRXDialog : public QDialog {
    Q_OBJECT
  public:
    // `container`: the open file is a form container (the two options show). The logic must
    // outlive the dialog.
    fSaveAllFRXDialog(frmIconEx& logic, bool container, QWidget* parent = nullptr);
    void accept() override;

  private:
    void browse();

    frmIconEx& logic_;
    bool container_;
    QLineEdit* folderPath_;
    QLineEdit* imageName_;
    QRadioButton* allParts_;
    QRadioButton* onlyImages_;
};

} // namespace velmar
