#include "extract/ui/frmIconExWindow.h"

#include "extract/ui/fSaveAllFRXDialog.h"
#include "pixel/ui/BitsImage.h"
#include "shell/ui/sizeDialogWindows.h"

#include <QAction>
#include <QApplication>
#include <QHeaderView>
#include <QIcon>
#include <QLabel>
#include <QListWidget>
#include <QMenuBar>
#include <QPixmap>
#include <QSplitter>
#include <QStackedWidget>
#include <QStatusBar>
#include <QToolBar>
#include <QTreeWidget>

#include <algorithm>
#include <cmath>
#include <optional>

namespace velmar {

namespace {

// The grid's cells show each image fitted into this square.
constexpr int kCellPicture = 48;

struct Command {
    const char* keyWord;
    const char* caption;
    bool onToolBar;
};
constexpr Command kCommands[] = {
    {"open", "&Open...", true},        {"save", "&Save...", true},
    {"saveall", "Save &All...", true}, {"properties", "&Properties", true},
    {"exit", "E&xit", false},
};

QString text(const std::string& s) {
    return QString::fromStdString(s);
}

QPixmap pixmapOf(const Bits& picture) {
    // The view shares the array's memory, which the caller lets go: take a copy.
    return QPixmap::fromImage(bitsAsImage(picture).copy());
}

QTreeWidget* listView(const char* name, const QStringList& columns, QWidget* parent) {
    auto* list = new QTreeWidget(parent);
    list->setObjectName(name);
    list->setHeaderLabels(columns);
    list->setRootIsDecorated(false);
    list->setSelectionMode(QAbstractItemView::SingleSelection);
    list->setContextMenuPolicy(Qt::ActionsContextMenu);
    return list;
}

// "32 x 32" and the depth in bits, taken from the colours the directory gives.
QString cellLabel(const cFileIcon& icon, int image) {
    const int w = icon.ImageWidth(image) == 0 ? 256 : icon.ImageWidth(image);
    const int h = icon.ImageHeight(image) == 0 ? 256 : icon.ImageHeight(image);
    const long bits = std::lround(std::log2(std::max(1.0, icon.ImageColourCount(image))));
    return QString("%1 x %2\n%3 bit").arg(w).arg(h).arg(bits);
}

} // namespace

frmIconExWindow::frmIconExWindow(UserPort& port, QWidget* parent)
    : QMainWindow(parent), port_(port), logic_(port), pages_(new QStackedWidget(this)),
      lvwIcons_(listView("lvwIcons", {"Icon", "Number of Images"}, this)),
      lvBinary_(
          listView("lvBinary", {"File Type", "Header Size", "File Offset", "Image Size"}, this)),
      grdIcons_(new QListWidget(this)), picture1_(new QLabel(this)), status_(new QLabel(this)) {
    setObjectName("frmIconEx");
    setWindowTitle(kIconExCaption);
    logic_.SetStatusSink([this](std::string s) { setStatus(s); });

    lvwIcons_->setIconSize(QSize(32, 32));
    grdIcons_->setObjectName("grdIcons");
    grdIcons_->setViewMode(QListView::IconMode);
    grdIcons_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    grdIcons_->setIconSize(QSize(kCellPicture, kCellPicture));
    grdIcons_->setGridSize(QSize(kCellPicture + 48, kCellPicture + 40));
    grdIcons_->setMovement(QListView::Static);
    grdIcons_->setResizeMode(QListView::Adjust);
    picture1_->setObjectName("Picture1");
    picture1_->setAlignment(Qt::AlignCenter);
    picture1_->setFrameShape(QFrame::StyledPanel);
    picture1_->setMinimumSize(160, 160);

    auto* iconPage = new QSplitter(pages_);
    iconPage->addWidget(lvwIcons_);
    iconPage->addWidget(grdIcons_);
    auto* binaryPage = new QSplitter(pages_);
    binaryPage->addWidget(lvBinary_);
    binaryPage->addWidget(picture1_);
    pages_->addWidget(iconPage);
    pages_->addWidget(binaryPage);
    setCentralWidget(pages_);

    status_->setObjectName("sbrPanel1");
    statusBar()->setObjectName("sbrMain");
    statusBar()->addWidget(status_, 1);

    buildActions();
    connect(lvwIcons_, &QTreeWidget::currentItemChanged, this, [this](QTreeWidgetItem* item) {
        DisplayIcon(item ? lvwIcons_->indexOfTopLevelItem(item) + 1 : 0);
    });
    connect(lvBinary_, &QTreeWidget::currentItemChanged, this, [this](QTreeWidgetItem* item) {
        if (item) DisplayItem(lvBinary_->indexOfTopLevelItem(item) + 1);
    });
    resize(720, 480);
    showLists();
}

void frmIconExWindow::buildActions() {
    QMenu* file = menuBar()->addMenu("&File");
    QToolBar* bar = addToolBar("tbrMain");
    bar->setObjectName("tbrMain");
    for (const Command& c : kCommands) {
        auto* action = new QAction(c.caption, this);
        action->setObjectName(c.keyWord);
        const QString keyWord = c.keyWord;
        connect(action, &QAction::triggered, this, [this, keyWord] { RunCommand(keyWord); });
        file->addAction(action);
        if (!c.onToolBar) continue;
        bar->addAction(action);
        // The lists' pop-up menu offers what acts on a selected row.
        if (keyWord != "open") {
            lvwIcons_->addAction(action);
            lvBinary_->addAction(action);
        }
    }
}

void frmIconExWindow::RunCommand(const QString& keyWord) {
    if (keyWord == "open") {
        const std::vector<std::string> chosen = port_.OpenFileDialog(IconExOpenSetup(), false);
        if (!chosen.empty()) OpenFile(chosen.front());
    } else if (keyWord == "save") {
        if (logic_.ShownList() == IconExList::Binary)
            logic_.saveFromFRX(selectedItem());
        else
            logic_.pSave(selectedIcon(), selectedImages());
    } else if (keyWord == "saveall") {
        fSaveAllFRXDialog dialog(logic_, logic_.ShownList() == IconExList::Binary, this);
        dialog.exec();
    } else if (keyWord == "properties") {
        logic_.pProperties(selectedIcon());
    } else if (keyWord == "exit") {
        close();
    }
}

bool frmIconExWindow::OpenFile(const std::filesystem::path& path) {
    QApplication::setOverrideCursor(Qt::WaitCursor);
    // The old rows go before the file is read, so that a failed open leaves empty lists.
    lvwIcons_->clear();
    lvBinary_->clear();
    grdIcons_->clear();
    picture1_->clear();
    const bool found = logic_.pOpen(path);
    showLists();
    QApplication::restoreOverrideCursor();
    return found;
}

void frmIconExWindow::showLists() {
    const bool binary = logic_.ShownList() == IconExList::Binary;
    pages_->setCurrentIndex(binary ? 1 : 0);
    fillIconList();
    fillBinaryList();
    // A container has no icon to name; the panel must not keep the last file's.
    if (binary)
        setStatus("");
    else if (lvwIcons_->topLevelItemCount() == 0)
        DisplayIcon(0);
}

void frmIconExWindow::fillIconList() {
    lvwIcons_->clear();
    const std::vector<IconExIconRow> rows = logic_.IconRows();
    for (int i = 1; i <= static_cast<int>(rows.size()); ++i) {
        const IconExIconRow& row = rows[static_cast<std::size_t>(i - 1)];
        auto* item = new QTreeWidgetItem({text(row.icon), QString::number(row.numberOfImages)});
        QIcon icon;
        for (int side : {32, 16})
            if (const std::optional<Bits> picture = RenditionPicture(logic_.Icon(i), side))
                icon.addPixmap(pixmapOf(*picture));
        item->setIcon(0, icon);
        lvwIcons_->addTopLevelItem(item);
        port_.PumpEvents();
    }
    if (lvwIcons_->topLevelItemCount() > 0) lvwIcons_->setCurrentItem(lvwIcons_->topLevelItem(0));
}

void frmIconExWindow::fillBinaryList() {
    lvBinary_->clear();
    for (const IconExBinaryRow& row : logic_.BinaryRows()) {
        port_.PumpEvents();
        lvBinary_->addTopLevelItem(
            new QTreeWidgetItem({text(row.fileType), QString::number(row.headerSize),
                                 QString::number(row.fileOffset), QString::number(row.imageSize)}));
    }
}

void frmIconExWindow::DisplayIcon(int index) {
    setStatus(kIconExDisplaying);
    grdIcons_->clear();
    if (index < 1 || index > logic_.IconCount()) {
        setStatus(kIconExNothingLoaded);
        return;
    }
    const cFileIcon& icon = logic_.Icon(index);
    for (int i = 1; i <= icon.ImageCount(); ++i) {
        auto* cell = new QListWidgetItem(cellLabel(icon, i), grdIcons_);
        cell->setData(Qt::UserRole, i);
        cell->setTextAlignment(Qt::AlignHCenter | Qt::AlignTop);
        if (const std::optional<Bits> picture = icon.IconPicture(i))
            cell->setIcon(pixmapOf(FittedPicture(*picture, kCellPicture, kCellPicture)));
    }
    if (grdIcons_->count() > 0) grdIcons_->setCurrentRow(0, QItemSelectionModel::ClearAndSelect);
    setStatus(logic_.IconStatus(index));
}

void frmIconExWindow::DisplayItem(int index) {
    picture1_->clear();
    if (index < 1 || static_cast<std::size_t>(index) > logic_.Container().Count()) return;
    const std::optional<Bits> picture =
        logic_.Container().Item(static_cast<std::size_t>(index)).Picture();
    const QSize box = picture1_->contentsRect().size();
    if (!picture || picture->Width() < 1 || picture->Height() < 1) {
        picture1_->setText("Unable to display data");
        return;
    }
    picture1_->setPixmap(pixmapOf(FittedPicture(*picture, box.width(), box.height())));
}

QString frmIconExWindow::StatusText() const {
    return status_->text();
}

void frmIconExWindow::setStatus(const std::string& s) {
    status_->setText(text(s));
}

int frmIconExWindow::selectedIcon() const {
    const QList<QTreeWidgetItem*> chosen = lvwIcons_->selectedItems();
    return chosen.isEmpty() ? 0 : lvwIcons_->indexOfTopLevelItem(chosen.front()) + 1;
}

int frmIconExWindow::selectedItem() const {
    const QList<QTreeWidgetItem*> chosen = lvBinary_->selectedItems();
    return chosen.isEmpty() ? 0 : lvBinary_->indexOfTopLevelItem(chosen.front()) + 1;
}

std::vector<int> frmIconExWindow::selectedImages() const {
    std::vector<int> images;
    for (const QListWidgetItem* cell : grdIcons_->selectedItems())
        images.push_back(cell->data(Qt::UserRole).toInt());
    return images;
}

} // namespace velmar
