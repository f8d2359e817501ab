#include "shell/ui/fPreferencesDialog.h"

#include "shell/ui/widgetParts.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSlider>
#include <QSpinBox>
#include <QTabWidget>
#include <QVBoxLayout>

namespace velmar {

namespace {} // namespace

// The save-format choices are session-only: the setup record has no field for them and no file
// keeps them, so they last until the program closes.
fPreferencesDialog::SaveImagesChoices& fPreferencesDialog::SessionChoices() {
    static SaveImagesChoices choices;
    return choices;
}

fPreferencesDialog::fPreferencesDialog(SetupRecord& record, UserPort& port, QWidget* parent)
    : QDialog(parent), logic_(record, port), choices_(SessionChoices()) {
    setObjectName("fPreferences");
    setWindowTitle("Options");
    // Wide enough that the three tab captions show without scrolling.
    setMinimumWidth(500);
    auto* tabs = new QTabWidget(this);
    tabs->addTab(generalTab(), "General");
    tabs->addTab(saveImagesTab(), QtText(fPreferences::kSaveImagesTabCaption));
    tabs->addTab(new QWidget(tabs), QtText(fPreferences::kSecondTabCaption));
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(tabs);
    layout->addWidget(buttons);
    showRecord();
}

QWidget* fPreferencesDialog::generalTab() {
    auto* tab = new QWidget;
    auto* layout = new QVBoxLayout(tab);
    for (std::size_t i = 0; i < flags_.size(); ++i) {
        const PreferenceFlagOption& option = fPreferences::kFlagOptions[i];
        flags_[i] = new QCheckBox(QtText(option.caption), tab);
        flags_[i]->setObjectName(QString("chkFlag%1").arg(i));
        connect(flags_[i], &QCheckBox::toggled, this,
                [this, &option](bool on) { logic_.SetChecked(option, on); });
        layout->addWidget(flags_[i]);
    }
    folder_ = new QLineEdit(tab);
    folder_->setObjectName("txtImagesFolder");
    folder_->setMaxLength(static_cast<int>(decltype(SetupRecord::ImagesFolder)::kLength));
    connect(folder_, &QLineEdit::textChanged, this,
            [this](const QString& folder) { logic_.Record().ImagesFolder = folder.toStdString(); });
    auto* browse = new QPushButton("...", tab);
    browse->setObjectName("cmdBrowse");
    browse->setAutoDefault(false);
    browse->setFixedWidth(browse->fontMetrics().horizontalAdvance("...") * 3);
    connect(browse, &QPushButton::clicked, this, [this] {
        const QString chosen = QFileDialog::getExistingDirectory(
            this, QtText(fPreferences::kImagesFolderCaption), folder_->text());
        // New pictures' captions are the folder and the name joined as they stand, so the
        // folder keeps its closing separator.
        if (!chosen.isEmpty()) folder_->setText(chosen.endsWith('/') ? chosen : chosen + '/');
    });
    auto* folderRow = new QHBoxLayout;
    folderRow->addWidget(folder_);
    folderRow->addWidget(browse);
    layout->addWidget(new QLabel(QtText(fPreferences::kImagesFolderCaption), tab));
    layout->addLayout(folderRow);
    layout->addStretch();
    return tab;
}

QWidget* fPreferencesDialog::saveImagesTab() {
    auto* tab = new QWidget;
    auto* quality = new QSlider(Qt::Horizontal, tab);
    quality->setObjectName("sldJpegQuality");
    quality->setRange(1, 100);
    quality->setValue(choices_.jpegQuality);
    auto* qualityValue = new QLabel(QString::number(choices_.jpegQuality), tab);
    connect(quality, &QSlider::valueChanged, this, [this, qualityValue](int value) {
        choices_.jpegQuality = value;
        qualityValue->setNum(value);
    });
    auto* compression = new QSpinBox(tab);
    compression->setObjectName("txtPngCompression");
    compression->setRange(0, 9);
    compression->setValue(choices_.pngCompression);
    connect(compression, &QSpinBox::valueChanged, this,
            [this](int value) { choices_.pngCompression = value; });
    auto* qualityRow = new QHBoxLayout;
    qualityRow->addWidget(quality);
    qualityRow->addWidget(qualityValue);
    auto* form = new QFormLayout(tab);
    form->addRow("JPEG quality", qualityRow);
    form->addRow("PNG compression", compression);
    return tab;
}

void fPreferencesDialog::showRecord() {
    for (std::size_t i = 0; i < flags_.size(); ++i) {
        const QSignalBlocker block(flags_[i]);
        flags_[i]->setChecked(logic_.IsChecked(fPreferences::kFlagOptions[i]));
    }
    const QSignalBlocker block(folder_);
    folder_->setText(QString::fromStdString(logic_.Record().ImagesFolder.Trimmed()));
}

void fPreferencesDialog::accept() {
    if (!logic_.OK()) {
        showRecord();
        return;
    }
    SessionChoices() = choices_;
    QDialog::accept();
}

void fPreferencesDialog::reject() {
    logic_.Cancel();
    QDialog::reject();
}

} // namespace velmar
