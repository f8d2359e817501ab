#include "export/ui/fBatchSaveWindow.h"

#include "export/BatchConvert.h"
#include "shell/ui/widgetParts.h"

#include <QApplication>
#include <QComboBox>
#include <QDateTime>
#include <QEventLoop>
#include <QFileDialog>
#include <QFileInfo>
#include <QFileSystemModel>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTreeView>
#include <QTreeWidget>
#include <QUrl>
#include <QVBoxLayout>

#include <algorithm>
#include <exception>
#include <span>
#include <thread>

namespace velmar {

namespace {

enum Column { NameColumn, TypeColumn, SizeColumn, DateColumn };
constexpr int kSourceRole = Qt::UserRole; // the row's file, as the list's text is only its name

// Sizes in whole kilobytes rounded up, as file managers show them, so that a small picture
// never reads "0 KB".
QString sizeText(qint64 bytes) {
    return QString::number((bytes + 1023) / 1024) + " KB";
}

// Year first, so that the column reads the same in every locale and sorts as text. Linux file
// systems do not all keep a creation time; the last change stands in where none is kept.
QString dateText(const QFileInfo& file) {
    const QDateTime created = file.birthTime().isValid() ? file.birthTime() : file.lastModified();
    return created.toString("yyyy-MM-dd HH:mm");
}

QTreeWidgetItem* pictureRow(const std::filesystem::path& picture) {
    const QFileInfo file(QString::fromStdString(picture.string()));
    auto* item = new QTreeWidgetItem;
    item->setText(NameColumn, file.fileName());
    item->setText(TypeColumn, file.suffix().toUpper() + " File");
    item->setText(SizeColumn, sizeText(file.size()));
    item->setTextAlignment(SizeColumn, Qt::AlignRight | Qt::AlignVCenter);
    item->setText(DateColumn, dateText(file));
    item->setData(NameColumn, kSourceRole, file.absoluteFilePath());
    return item;
}

QComboBox* entryList(QWidget* owner, const char* name, const std::vector<QString>& entries,
                     int initial) {
    auto* list = new QComboBox(owner);
    list->setObjectName(name);
    for (const QString& entry : entries)
        list->addItem(entry);
    list->setCurrentIndex(initial);
    return list;
}

std::vector<QString> formatEntries() {
    std::vector<QString> entries;
    for (const BatchFormat& format : BatchFormats())
        entries.push_back(QtText(format.entry));
    return entries;
}

std::vector<QString> colourEntries() {
    std::vector<QString> entries;
    for (std::string_view entry : BatchColourEntries())
        entries.push_back(QtText(entry));
    return entries;
}

QPushButton* button(QWidget* owner, const char* name, const QString& caption) {
    auto* b = new QPushButton(caption, owner);
    b->setObjectName(name);
    return b;
}

// The long conversion shows the busy cursor over the whole program, and always takes it away.
struct BusyCursor {
    BusyCursor() { QApplication::setOverrideCursor(Qt::WaitCursor); }
    ~BusyCursor() { QApplication::restoreOverrideCursor(); }
    BusyCursor(const BusyCursor&) = delete;
    BusyCursor& operator=(const BusyCursor&) = delete;
};

} // namespace

fBatchSaveWindow::fBatchSaveWindow(UserPort& port, QWidget* parent)
    : QDialog(parent), port_(port), folders_(new QFileSystemModel(this)),
      folderTree_(new QTreeView(this)), path_(NamedLineEdit(this, "Path")),
      list_(new QTreeWidget(this)), outputFolder_(NamedLineEdit(this, "OutputFolder")),
      outputFile_(NamedLineEdit(this, "OutputFile")),
      formats_(entryList(this, "cboFiles", formatEntries(), kBatchOpeningFormat)),
      colours_(entryList(this, "Opt", colourEntries(), kBatchOpeningColour)),
      progress_(new QProgressBar(this)) {
    setObjectName("fBatchSave");
    setWindowTitle("Batch Conversion");

    folders_->setFilter(QDir::AllDirs | QDir::NoDotAndDotDot | QDir::Drives);
    folders_->setRootPath(QDir::rootPath());
    folderTree_->setObjectName("FD");
    folderTree_->setModel(folders_);
    for (int column = 1; column < folders_->columnCount(); ++column)
        folderTree_->hideColumn(column);
    folderTree_->setHeaderHidden(true);
    folderTree_->setMinimumWidth(220);
    // The tree opens on the user's home, where pictures usually are, without choosing it.
    const QModelIndex home = folders_->index(QDir::homePath());
    folderTree_->expand(home.parent());
    folderTree_->scrollTo(home);
    connect(folderTree_->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& current) {
                const QString folder = folders_->filePath(current);
                if (!folder.isEmpty() && folder != path_->text()) SetSourceFolder(folder);
            });
    connect(path_, &QLineEdit::editingFinished, this, [this] { SetSourceFolder(path_->text()); });

    list_->setObjectName("LV");
    list_->setHeaderLabels({"Image Name", "Type", "Size", "Date Created"});
    list_->setRootIsDecorated(false);
    list_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    list_->header()->setSectionResizeMode(NameColumn, QHeaderView::Stretch);
    list_->header()->setStretchLastSection(false);

    QPushButton* browse = button(this, "btnBrowseFolder", "...");
    connect(browse, &QPushButton::clicked, this, &fBatchSaveWindow::browseOutputFolder);
    auto* folderRow = new QHBoxLayout;
    folderRow->addWidget(outputFolder_, 1);
    folderRow->addWidget(browse);

    auto* target = new QFormLayout;
    target->addRow("Output folder:", folderRow);
    target->addRow("File name:", outputFile_);
    target->addRow("Format:", formats_);
    target->addRow("Colours:", colours_);

    progress_->setObjectName("ProgressBar1");
    progress_->setVisible(false);

    QPushButton* convert = button(this, "btnConvert", "&Convert");
    connect(convert, &QPushButton::clicked, this, &fBatchSaveWindow::Convert);
    QPushButton* close = button(this, "btnClose", "&Close");
    connect(close, &QPushButton::clicked, this, &QDialog::close);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(progress_, 1);
    buttons->addWidget(convert);
    buttons->addWidget(close);

    auto* source = new QVBoxLayout;
    source->addWidget(folderTree_, 1);
    source->addWidget(path_);
    auto* top = new QHBoxLayout;
    top->addLayout(source);
    top->addWidget(list_, 1);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(top, 1);
    layout->addLayout(target);
    layout->addLayout(buttons);
    resize(760, 520);
}

void fBatchSaveWindow::SetSourceFolder(const QString& folder) {
    path_->setText(folder);
    // Path is set first, so the tree's change of folder comes back here as no change.
    const QModelIndex index = folders_->index(folder);
    if (index.isValid()) {
        folderTree_->setCurrentIndex(index);
        folderTree_->scrollTo(index);
    }
    ShowImages();
}

void fBatchSaveWindow::ShowImages() {
    list_->clear();
    if (path_->text().isEmpty()) return;
    const std::vector<std::filesystem::path> pictures =
        BatchSourceFiles(std::filesystem::path(path_->text().toStdString()));
    QList<QTreeWidgetItem*> rows;
    for (const std::filesystem::path& picture : pictures)
        rows.append(pictureRow(picture));
    list_->addTopLevelItems(rows);
}

void fBatchSaveWindow::Convert() {
    const std::string folder = outputFolder_->text().toStdString();
    const std::string name = outputFile_->text().toStdString();
    // The checks speak to the user here, on the interface thread, before any work starts.
    if (!CheckBatchTarget(folder, name, port_)) return;
    std::vector<BatchRow> rows;
    for (int i = 0; i < list_->topLevelItemCount(); ++i) {
        const QTreeWidgetItem* item = list_->topLevelItem(i);
        if (item->isSelected())
            rows.push_back({item->data(NameColumn, kSourceRole).toString().toStdString(), i + 1});
    }
    if (!rows.empty()) convertRows(rows, folder, name);
    // The folder opens even when nothing was selected, so the user sees what is there.
    const QString absolute = QFileInfo(QString::fromStdString(folder)).absoluteFilePath();
    port_.OpenUrl(QUrl::fromLocalFile(absolute).toString().toStdString());
}

void fBatchSaveWindow::convertRows(const std::vector<BatchRow>& rows, const std::string& folder,
                                   const std::string& name) {
    const int format = formats_->currentIndex();
    const int colour = colours_->currentIndex();
    // The rows go to the converter a handful at a time, as many as it runs at once, so that
    // the bar can move between handfuls while every core stays busy.
    const std::size_t handful = DefaultBatchWorkers();
    const BusyCursor busy;
    progress_->setRange(0, static_cast<int>(rows.size()));
    progress_->setValue(0);
    progress_->setVisible(true);
    setEnabled(false);

    QEventLoop waiting;
    std::thread worker([&] {
        const std::span<const BatchRow> all(rows);
        for (std::size_t done = 0; done < all.size();) {
            const std::size_t count = std::min(handful, all.size() - done);
            // The checks have passed above, so the converter has nothing to tell the user and
            // never touches the port from this thread. A file that fails is skipped silently.
            try {
                BatchConvertRows(all.subspan(done, count), folder, name, format, colour, port_,
                                 static_cast<unsigned>(handful));
            } catch (const std::exception&) {
                // Only running out of memory for the handful's bookkeeping gets here; the next
                // handful may still fit.
            }
            done += count;
            QMetaObject::invokeMethod(
                progress_, [this, done] { progress_->setValue(static_cast<int>(done)); },
                Qt::QueuedConnection);
        }
        QMetaObject::invokeMethod(&waiting, &QEventLoop::quit, Qt::QueuedConnection);
    });
    // Painting and timers go on; clicks and keys wait, so nothing can change the fields or start
    // a second conversion meanwhile.
    waiting.exec(QEventLoop::ExcludeUserInputEvents);
    worker.join();

    setEnabled(true);
    progress_->setVisible(false);
}

void fBatchSaveWindow::browseOutputFolder() {
    // Qt's own dialog, as the editor's other file dialogs, so it looks the same on every desktop.
    QFileDialog dialog(this, "Select the output folder", outputFolder_->text());
    dialog.setObjectName("dlgOutputFolder");
    dialog.setOption(QFileDialog::DontUseNativeDialog);
    dialog.setOption(QFileDialog::ShowDirsOnly);
    dialog.setFileMode(QFileDialog::Directory);
    if (dialog.exec() == QDialog::Accepted && !dialog.selectedFiles().isEmpty())
        outputFolder_->setText(dialog.selectedFiles().front());
}

} // namespace velmar
