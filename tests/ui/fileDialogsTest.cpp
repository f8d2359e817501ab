// The open and save dialogs: the core's filter lines as Qt reads them, the preview of the
// picked file, and what the dialogs hand back.
#include "shell/ui/fileDialogs.h"

#include "formats/gateway.h"
#include "shell/Application.h"
#include "support/RecordingPort.h"
#include "support/TempFolder.h"
#include "support/qtModal.h"

#include <QApplication>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFileSystemModel>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>

#include <fstream>
#include <ostream>

// Failures show the texts themselves rather than their bytes.
inline void PrintTo(const QString& text, std::ostream* out) {
    *out << '"' << text.toStdString() << '"';
}

namespace velmar {
namespace {

// Makes `path` the dialog's current file, as a click on it in the list does.
void pick(QFileDialog& dialog, const std::string& path) {
    auto* model = dialog.findChild<QFileSystemModel*>();
    auto* view = dialog.findChild<QListView*>("listView");
    ASSERT_TRUE(model && view);
    view->setCurrentIndex(model->index(QString::fromStdString(path)));
}

std::string picture(const test::TempFolder& folder, const std::string& name, int w, int h) {
    test::RecordingPort port;
    const std::string path = (folder / name).string();
    EXPECT_EQ(SaveDocumentPicture(Bits(w, h), path, ExtensionOf(path), port), SaveResult::Written);
    return path;
}

TEST(FileDialogs, FilterLinesKeepTheirCaptionsAndQtReadsThePatterns) {
    test::qtApp();
    const struct {
        std::string line;
        QString qt;
    } cases[] = {
        {OpenDialogFilters()[1], "Bitmap Files (*.BMP;*.DIB;*.RLE) (*.bmp *.dib *.rle)"},
        {OpenDialogFilters()[6], "Portable Network Graphics (*.PNG) (*.png)"},
        {SaveDialogFilters()[8], "ASCII bitmap format(*.ppm)(*.pgm)(*.pbm) (*.ppm *.pgm *.pbm)"},
        {"*.a;*.b", "(*.a *.b)"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(QtFilterLine(c.line), c.qt);
    const QString all = QtFilterLine(OpenDialogFilters()[0]);
    EXPECT_TRUE(all.startsWith("All Supported Picture Formats (*.bmp *.dib *.rle *.wmf "));
    EXPECT_TRUE(all.endsWith(" *.lbm)"));

    // In the dialog, the list shows each caption as the core wrote it and a chosen filter
    // hands the file list the patterns after the bar.
    test::TempFolder folder;
    const FileDialogSetup setup{"Open File :: Velmar Kestrin v2", SaveDialogFilters(),
                                folder.path().string(), ""};
    QStringList shown, applied;
    test::whenModal<QFileDialog>([&](QFileDialog* dialog) {
        auto* types = dialog->findChild<QComboBox*>("fileTypeCombo");
        auto* model = dialog->findChild<QFileSystemModel*>();
        ASSERT_TRUE(types && model);
        for (int i = 0; i < types->count(); ++i) {
            shown << types->itemText(i);
            dialog->selectNameFilter(dialog->nameFilters()[i]);
            applied << model->nameFilters().join(' ');
        }
        dialog->reject();
    });
    EXPECT_TRUE(RunOpenDialog(setup, false, nullptr).empty());
    ASSERT_EQ(shown.size(), 9);
    EXPECT_EQ(shown[1], "Windows Bitmap Files (*.bmp;*.dib;*.rle)");
    EXPECT_EQ(shown[8], "ASCII bitmap format(*.ppm)(*.pgm)(*.pbm)");
    EXPECT_EQ(applied[1], "*.bmp *.dib *.rle");
    EXPECT_EQ(applied[8], "*.ppm *.pgm *.pbm");
}

TEST(FileDialogs, OpenPreviewsThePickedFileAndReturnsIt) {
    test::qtApp();
    test::TempFolder folder;
    const std::string good = picture(folder, "photo.png", 300, 120);
    const std::string bad = (folder / "broken.png").string();
    std::ofstream(bad) << "not a picture";
    const FileDialogSetup setup{"Open File :: Velmar Kestrin v2", OpenDialogFilters(),
                                folder.path().string(), "*.bmp"};
    QString title, openText, size, fileSize, badSize;
    QSize shownPicture{-1, -1}, badPicture{-1, -1};
    test::whenModal<QFileDialog>([&](QFileDialog* dialog) {
        title = dialog->windowTitle();
        openText = dialog->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Open)->text();
        auto* preview = dialog->findChild<PicturePreview*>("PicPreview");
        ASSERT_NE(preview, nullptr);
        auto* sizeLabel = preview->findChild<QLabel*>("lblSize");
        auto* picturePane = preview->findChild<QLabel*>("iPreview");
        pick(*dialog, bad);
        pick(*dialog, good);
        EXPECT_TRUE(QTest::qWaitFor([&] { return !sizeLabel->text().isEmpty(); }, 5000));
        size = sizeLabel->text();
        fileSize = preview->findChild<QLabel*>("lblFileSize")->text();
        shownPicture = picturePane->pixmap().size();
        pick(*dialog, bad);
        EXPECT_TRUE(QTest::qWaitFor([&] { return sizeLabel->text().isEmpty(); }, 5000));
        badSize = sizeLabel->text();
        badPicture = picturePane->pixmap().size();
        dialog->selectFile(QString::fromStdString(good));
        dialog->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Open)->click();
    });
    EXPECT_EQ(RunOpenDialog(setup, true, nullptr), std::vector<std::string>{good});
    EXPECT_EQ(title, "Open File :: Velmar Kestrin v2");
    EXPECT_EQ(openText, "Open");
    EXPECT_EQ(size, "300 x 120");
    EXPECT_EQ(fileSize, QString::number(std::filesystem::file_size(good) / 1024) + " KB");
    EXPECT_EQ(shownPicture, QSize(200, 80));
    EXPECT_TRUE(badSize.isEmpty());
    EXPECT_TRUE(badPicture.isEmpty());
}

TEST(FileDialogs, SaveGivesABareNameTheChosenFiltersExtension) {
    test::qtApp();
    test::TempFolder folder;
    const FileDialogSetup setup{"Save as", SaveDialogFilters(), folder.path().string(), ""};
    QString title;
    test::whenModal<QFileDialog>([&](QFileDialog* dialog) {
        title = dialog->windowTitle();
        dialog->selectNameFilter(QtFilterLine(SaveDialogFilters()[4])); // PNG
        dialog->findChild<QLineEdit*>("fileNameEdit")->setText("holiday");
        dialog->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Save)->click();
    });
    EXPECT_EQ(RunSaveDialog(setup, nullptr), (folder / "holiday.png").string());
    EXPECT_EQ(title, "Save as");
}

} // namespace
} // namespace velmar
