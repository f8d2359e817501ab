#include "extract/ui/fSaveAllFRXDialog.h"

#include "extract/frmIconEx.h"

#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

namespace velmar {

fSaveAllFRXDialog::fSaveAllFRXDialog(frmIconEx& logic, bool container, QWidget* parent)
    : QDialog(parent), logic_(logic), container_(container), folderPath_(new QLineEdit(this)),
      imageName_(new QLineEdit(this)),
      allParts_(new QRadioButton("Save All Including Binary Parts (txt)", this)),
      onlyImages_(new QRadioButton("Save Only Images", this)) {
    setObjectName("fSaveAllFRX");
    setWindowTitle("Save All listed Images/Files");
    folderPath_->setObjectName("FolderPath");
    imageName_->setObjectName("ImageName");
    allParts_->setObjectName("optAll");
    onlyImages_->setObjectName("optImages");
    allParts_->setChecked(true);
    // Icons have no binary parts, so the choice means nothing for them.
    allParts_->setVisible(container_);
    onlyImages_->setVisible(container_);

    auto* browse = new QPushButton("...", this);
    browse->setObjectName("cmdBrowse");
    connect(browse, &QPushButton::clicked, this, &fSaveAllFRXDialog::browse);
    auto* folderRow = new QHBoxLayout;
    folderRow->addWidget(folderPath_, 1);
    folderRow->addWidget(browse);

    auto* fields = new QFormLayout;
    fields->addRow("Folder:", folderRow);
    fields->addRow("Name:", imageName_);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &fSaveAllFRXDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(fields);
    layout->addWidget(allParts_);
    layout->addWidget(onlyImages_);
    layout->addWidget(buttons);
    setMinimumWidth(420);
}

void fSaveAllFRXDialog::browse() {
    const QString folder = QFileDialog::getExistingDirectory(
        this, "Select a folder", folderPath_->text(),
        QFileDialog::ShowDirsOnly | QFileDialog::DontUseNativeDialog);
    if (!folder.isEmpty()) folderPath_->setText(folder);
}

void fSaveAllFRXDialog::accept() {
    const std::string folder = folderPath_->text().toStdString();
    const std::string name = imageName_->text().toStdString();
    const bool written = container_ ? logic_.BatchFRX(folder, name, onlyImages_->isChecked())
                                    : logic_.BatchEXE(folder, name);
    if (written) QDialog::accept();
}

} // namespace velmar
