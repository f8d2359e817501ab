#include "shell/ui/fileDialogs.h"

#include "formats/gateway.h"
#include "pixel/ui/BitsImage.h"
#include "shell/ui/sizeDialogWindows.h"

#include <QFileDialog>
#include <QGridLayout>
#include <QLabel>
#include <QStringList>
#include <QVBoxLayout>

#include <exception>
#include <filesystem>
#include <system_error>

namespace velmar {

namespace {

QStringList qtFilters(const std::vector<std::string>& lines) {
    QStringList filters;
    for (const std::string& line : lines)
        filters << QtFilterLine(line);
    return filters;
}

// "*.bmp" or ".bmp" as the suffix Qt adds to a bare name: "bmp".
QString suffixOf(QString pattern) {
    const qsizetype dot = pattern.lastIndexOf('.');
    return dot < 0 || pattern.contains('?') ? QString() : pattern.mid(dot + 1).remove('*');
}

// The suffix of the first pattern of the core's filter line whose Qt form, or the caption the
// dialog shows for it, is `chosen`.
QString firstSuffix(const std::vector<std::string>& lines, const QString& chosen) {
    for (const std::string& line : lines) {
        const std::size_t bar = line.find('|');
        if (bar == std::string::npos) continue;
        const QString caption = QString::fromStdString(line.substr(0, bar)).simplified();
        if (chosen != QtFilterLine(line) && chosen.simplified() != caption) continue;
        const std::string patterns = line.substr(bar + 1);
        return suffixOf(QString::fromStdString(patterns.substr(0, patterns.find(';'))));
    }
    return {};
}

// What both dialogs share: Qt's own dialog, the title, the folder, the filters with their
// captions shown as the core wrote them.
void setUp(QFileDialog& dialog, const FileDialogSetup& setup) {
    dialog.setOption(QFileDialog::DontUseNativeDialog);
    dialog.setOption(QFileDialog::HideNameFilterDetails);
    dialog.setWindowTitle(QString::fromStdString(setup.title));
    dialog.setDirectory(QString::fromStdString(setup.folder));
    dialog.setNameFilters(qtFilters(setup.filters));
}

std::vector<std::string> chosenFiles(const QFileDialog& dialog) {
    std::vector<std::string> files;
    for (const QString& file : dialog.selectedFiles())
        files.push_back(file.toStdString());
    return files;
}

// The save route picks the writer by the name's extension, so a bare name takes the setup's
// default extension or, without one, the first the chosen filter names. The filter is read
// when the name is accepted, however it was chosen.
class SaveDialog : public QFileDialog {
  public:
    SaveDialog(QWidget* parent, const FileDialogSetup& setup)
        : QFileDialog(parent), setup_(setup) {}
    void accept() override {
        const QString suffix = suffixOf(QString::fromStdString(setup_.defaultExtension));
        setDefaultSuffix(suffix.isEmpty() ? firstSuffix(setup_.filters, selectedNameFilter())
                                          : suffix);
        QFileDialog::accept();
    }

  private:
    const FileDialogSetup& setup_;
};

} // namespace

QString QtFilterLine(const std::string& line) {
    const std::size_t bar = line.find('|');
    const QString caption =
        QString::fromStdString(bar == std::string::npos ? std::string() : line.substr(0, bar));
    QString patterns =
        QString::fromStdString(bar == std::string::npos ? line : line.substr(bar + 1));
    patterns.replace(';', ' ');
    const QString list = "(" + patterns.simplified() + ")";
    return caption.isEmpty() ? list : caption + " " + list;
}

std::vector<std::string> RunOpenDialog(const FileDialogSetup& setup, bool multiple,
                                       QWidget* parent) {
    QFileDialog dialog(parent);
    setUp(dialog, setup);
    dialog.setAcceptMode(QFileDialog::AcceptOpen);
    dialog.setFileMode(multiple ? QFileDialog::ExistingFiles : QFileDialog::ExistingFile);
    dialog.setLabelText(QFileDialog::Accept, "Open");
    dialog.setLabelText(QFileDialog::Reject, "Cancel");
    auto* preview = new PicturePreview(&dialog);
    // Qt's own dialog lays itself out in a grid: the preview takes a column of its own on the
    // right, as high as the whole dialog.
    if (auto* grid = qobject_cast<QGridLayout*>(dialog.layout()))
        grid->addWidget(preview, 0, grid->columnCount(), grid->rowCount(), 1);
    QObject::connect(&dialog, &QFileDialog::currentChanged, preview, &PicturePreview::ShowFile);
    if (dialog.exec() != QDialog::Accepted) return {};
    return chosenFiles(dialog);
}

std::optional<std::string> RunSaveDialog(const FileDialogSetup& setup, QWidget* parent) {
    SaveDialog dialog(parent, setup);
    setUp(dialog, setup);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    if (dialog.exec() != QDialog::Accepted) return std::nullopt;
    const std::vector<std::string> files = chosenFiles(dialog);
    if (files.empty()) return std::nullopt;
    return files.front();
}

// ---- PicturePreview -----------------------------------------------------------------------

PicturePreview::PicturePreview(QWidget* parent)
    : QWidget(parent), picture_(new QLabel(this)), size_(new QLabel(this)),
      fileSize_(new QLabel(this)) {
    setObjectName("PicPreview");
    picture_->setObjectName("iPreview");
    picture_->setFixedSize(kBoxWidth + 4, kBoxHeight + 4);
    picture_->setAlignment(Qt::AlignCenter);
    picture_->setFrameShape(QFrame::StyledPanel);
    size_->setObjectName("lblSize");
    fileSize_->setObjectName("lblFileSize");
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(picture_);
    layout->addWidget(size_);
    layout->addWidget(fileSize_);
    layout->addStretch();
}

void PicturePreview::clear() {
    picture_->clear();
    size_->clear();
    fileSize_->clear();
}

void PicturePreview::ShowFile(const QString& path) {
    const std::filesystem::path file = path.toStdString();
    std::error_code ec;
    if (path.isEmpty() || !std::filesystem::is_regular_file(file, ec)) return clear();
    const auto bytes = std::filesystem::file_size(file, ec);
    std::optional<Bits> loaded;
    try {
        loaded = LoadPictureFile(file, LoadSite::MainFrameOpen);
    } catch (const std::exception&) {
        // A preview never stops the dialog: a file that breaks the loader just shows nothing.
        loaded.reset();
    }
    if (ec || !loaded || loaded->Width() < 1 || loaded->Height() < 1) return clear();
    const Bits fitted = FittedPicture(*loaded, kBoxWidth, kBoxHeight);
    // The view shares the fitted array's memory, which goes at the end of this call.
    picture_->setPixmap(QPixmap::fromImage(bitsAsImage(fitted).copy()));
    size_->setText(QString::number(loaded->Width()) + " x " + QString::number(loaded->Height()));
    fileSize_->setText(QString::number(bytes / 1024) + " KB");
}

} // namespace velmar
