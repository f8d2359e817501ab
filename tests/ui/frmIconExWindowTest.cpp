// The extractor window on an icon file and a form container built here: the file dialogs are
// answered as a user would, then the lists, the grid, the preview and the save-all window are
// checked against what the files hold.
#include "extract/ui/frmIconExWindow.h"

#include "extract/ui/fSaveAllFRXDialog.h"
#include "formats/gateway.h"
#include "shell/ui/QtUserPort.h"
#include "support/RecordingPort.h"
#include "support/TempFolder.h"
#include "support/files.h"
#include "support/qtModal.h"

#include "extract/peBuilder.h"

#include <QAction>
#include <QLabel>
#include <QListWidget>
#include <QRadioButton>
#include <QTreeWidget>
#include <gtest/gtest.h>

namespace velmar {
namespace {

using test::Bytes;
using test::TempFolder;

QStringList rowTexts(const QTreeWidget* list, int row) {
    QStringList texts;
    for (int c = 0; c < list->columnCount(); ++c)
        texts << list->topLevelItem(row)->text(c);
    return texts;
}

void openThroughDialog(frmIconExWindow& window, const std::filesystem::path& file) {
    test::whenModal<QFileDialog>([file](QFileDialog* dialog) {
        test::answerFileDialog(dialog, QString::fromStdString(file.string()),
                               QDialogButtonBox::Open);
    });
    window.findChild<QAction*>("open")->trigger();
}

Bytes frxRecord(const Bytes& data, bool form1) {
    Bytes b;
    if (form1) {
        test::put32(b, 0, static_cast<std::uint32_t>(data.size() + 8));
        test::put32(b, 4, 29804);
    }
    test::put32(b, b.size(), static_cast<std::uint32_t>(data.size()));
    b.insert(b.end(), data.begin(), data.end());
    return b;
}

TEST(frmIconExWindow, IconFileFillsTheListAndGridAndSavesTheSelectedCells) {
    test::qtApp();
    const TempFolder folder;
    const std::vector<test::IconEntry> entries = {test::entryFor(16, 16, 4),
                                                  test::entryFor(32, 32, 8)};
    const std::vector<Bytes> images = {test::iconImage(16, 16, 4, 1),
                                       test::iconImage(32, 32, 8, 2)};
    test::writeFile(folder / "pair.ico", test::icoFile(entries, images));
    QtUserPort port;
    frmIconExWindow window(port);
    port.setParent(&window);
    window.show();
    EXPECT_EQ(window.windowTitle(), "Extract Icon From EXE, DLL and Binary Files");
    EXPECT_EQ(window.StatusText(), "No icon resources loaded.");

    openThroughDialog(window, folder / "pair.ico");
    auto* list = window.findChild<QTreeWidget*>("lvwIcons");
    ASSERT_TRUE(list->isVisible());
    EXPECT_FALSE(window.findChild<QTreeWidget*>("lvBinary")->isVisible());
    ASSERT_EQ(list->topLevelItemCount(), 1);
    EXPECT_EQ(rowTexts(list, 0), (QStringList{"pair.ico", "2"}));
    const QList<QSize> sizes = list->topLevelItem(0)->icon(0).availableSizes();
    EXPECT_TRUE(sizes.contains(QSize(32, 32)) && sizes.contains(QSize(16, 16)));

    auto* grid = window.findChild<QListWidget*>("grdIcons");
    ASSERT_EQ(grid->count(), 2);
    EXPECT_EQ(grid->item(0)->text(), "16 x 16\n4 bit");
    EXPECT_EQ(grid->item(1)->text(), "32 x 32\n8 bit");
    EXPECT_TRUE(grid->item(0)->isSelected());
    EXPECT_FALSE(grid->item(1)->isSelected());
    EXPECT_FALSE(grid->item(1)->icon().isNull());
    EXPECT_EQ(window.StatusText(), "Icon: pair.ico");

    // Only the second cell chosen: the saved icon holds that image alone.
    grid->item(0)->setSelected(false);
    grid->item(1)->setSelected(true);
    const auto saved = folder / "single.ico";
    test::whenModal<QFileDialog>([saved](QFileDialog* dialog) {
        test::answerFileDialog(dialog, QString::fromStdString(saved.string()),
                               QDialogButtonBox::Save);
    });
    window.findChild<QAction*>("save")->trigger();
    EXPECT_EQ(test::readFile(saved), test::icoFile({entries[1]}, {images[1]}));
}

TEST(frmIconExWindow, ContainerRowsPreviewAndSaveAll) {
    test::qtApp();
    const TempFolder folder;
    Bits wide(600, 300);
    test::RecordingPort port;
    ASSERT_EQ(SaveDocumentPicture(wide, folder / "wide.jpg", "jpg", port), SaveResult::Written);
    const Bytes jpeg = test::readFile(folder / "wide.jpg");
    Bytes metafile(40, 5);
    test::put32(metafile, 0, 2596720087u);
    const Bytes junk = {7, 7, 7};
    Bytes frx = junk;
    for (const Bytes& part : {frxRecord(jpeg, true), frxRecord(metafile, false)})
        frx.insert(frx.end(), part.begin(), part.end());
    test::writeFile(folder / "form.frx", frx);
    test::writeFile(folder / "empty.frx", {});

    frmIconExWindow window(port);
    window.show();
    ASSERT_TRUE(window.OpenFile(folder / "form.frx"));
    auto* list = window.findChild<QTreeWidget*>("lvBinary");
    ASSERT_TRUE(list->isVisible());
    EXPECT_FALSE(window.findChild<QTreeWidget*>("lvwIcons")->isVisible());
    ASSERT_EQ(list->topLevelItemCount(), 3);
    EXPECT_EQ(rowTexts(list, 0), (QStringList{"Binary data", "0", "0", "3"}));
    EXPECT_EQ(rowTexts(list, 1),
              (QStringList{"JPEG Image", "12", "15", QString::number(jpeg.size())}));
    EXPECT_EQ(rowTexts(list, 2),
              (QStringList{"Metatfile", "4", QString::number(19 + jpeg.size()), "40"}));

    // The picture is scaled down into the box with its 2:1 shape kept; a metafile is not drawn.
    auto* preview = window.findChild<QLabel*>("Picture1");
    list->setCurrentItem(list->topLevelItem(1));
    const QPixmap shown = preview->pixmap();
    const QSize box = preview->contentsRect().size();
    ASSERT_FALSE(shown.isNull());
    EXPECT_TRUE(shown.width() <= box.width() && shown.height() <= box.height());
    EXPECT_TRUE(shown.width() == box.width() || shown.height() == box.height());
    EXPECT_NEAR(shown.width(), 2 * shown.height(), 2);
    list->setCurrentItem(list->topLevelItem(2));
    EXPECT_EQ(preview->text(), "Unable to display data");
    EXPECT_TRUE(preview->pixmap().isNull());

    // Save all with "Save Only Images": the binary row is skipped, names follow the rows.
    const auto out = folder / "out";
    test::whenModal<fSaveAllFRXDialog>([&out](fSaveAllFRXDialog* dialog) {
        EXPECT_EQ(dialog->windowTitle(), "Save All listed Images/Files");
        dialog->findChild<QLineEdit*>("FolderPath")->setText(QString::fromStdString(out.string()));
        dialog->findChild<QLineEdit*>("ImageName")->setText("item");
        auto* onlyImages = dialog->findChild<QRadioButton*>("optImages");
        EXPECT_TRUE(onlyImages->isVisible());
        EXPECT_EQ(onlyImages->text(), "Save Only Images");
        onlyImages->setChecked(true);
        dialog->accept();
    });
    window.findChild<QAction*>("saveall")->trigger();
    EXPECT_EQ(test::readFile(out / "item2.jpg"), jpeg);
    EXPECT_EQ(test::readFile(out / "item3.wmf"), metafile);
    EXPECT_FALSE(std::filesystem::exists(out / "item1.txt"));

    // An empty container: its message, then the empty icon view.
    EXPECT_FALSE(window.OpenFile(folder / "empty.frx"));
    EXPECT_EQ(port.texts().back(), "No graphics found in " + (folder / "empty.frx").string() + ".");
    EXPECT_TRUE(window.findChild<QTreeWidget*>("lvwIcons")->isVisible());
    EXPECT_EQ(list->topLevelItemCount(), 0);
    EXPECT_EQ(window.StatusText(), "No icon resources loaded.");
}

} // namespace
} // namespace velmar
