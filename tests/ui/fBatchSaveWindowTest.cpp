// The batch converter's window: the pictures of a folder in the list, the selected rows written
// under their row numbers in the chosen format and colour mode (read back by the project's
// loader), the output folder from its dialog, the two refusals, and an empty selection.
#include "export/ui/fBatchSaveWindow.h"

#include "export/BatchConvert.h"
#include "formats/gateway.h"
#include "formats/gatewayFiles.h"
#include "support/RecordingPort.h"
#include "support/TempFolder.h"
#include "support/cliRuns.h"
#include "support/qtModal.h"

#include <QComboBox>
#include <QFileDialog>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeWidget>
#include <gtest/gtest.h>

#include <fstream>
#include <set>

namespace velmar {
namespace {

using test::TempFolder;

template <typename T> T* child(const QWidget& window, const char* name) {
    T* widget = window.findChild<T*>(name);
    EXPECT_NE(widget, nullptr) << name;
    return widget;
}

void click(const QWidget& window, const char* name) {
    QTest::mouseClick(child<QPushButton>(window, name), Qt::LeftButton);
}

// Selects exactly the given rows, counted from 1 as the names count them.
void selectRows(const QWidget& window, std::initializer_list<int> rows) {
    auto* list = child<QTreeWidget>(window, "LV");
    list->clearSelection();
    for (const int row : rows)
        list->topLevelItem(row - 1)->setSelected(true);
}

std::set<std::string> filesIn(const std::filesystem::path& folder) {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.insert(entry.path().filename().string());
    return names;
}

// Three pictures of different sizes and a text file the list must leave out.
std::vector<Bits> writeSources(const TempFolder& source) {
    std::vector<Bits> pictures;
    for (const int width : {5, 6, 7})
        pictures.push_back(test::patternPicture(width, width - 2));
    test::RecordingPort port;
    const char* names[] = {"a.bmp", "b.bmp", "c.bmp"};
    for (std::size_t i = 0; i < pictures.size(); ++i)
        EXPECT_EQ(SaveDocumentPicture(pictures[i], source / names[i], "bmp", port),
                  SaveResult::Written);
    std::ofstream(source / "notes.txt") << "not a picture";
    return pictures;
}

TEST(fBatchSaveWindow, SelectedRowsAreWrittenUnderTheirRowNumbers) {
    test::qtApp();
    const TempFolder source, target;
    const std::vector<Bits> pictures = writeSources(source);
    test::RecordingPort port;
    fBatchSaveWindow window(port);
    window.SetSourceFolder(QString::fromStdString(source.path().string()));

    EXPECT_EQ(child<QLineEdit>(window, "Path")->text().toStdString(), source.path().string());
    const auto* list = child<QTreeWidget>(window, "LV");
    ASSERT_EQ(list->topLevelItemCount(), 3);
    EXPECT_EQ(list->topLevelItem(1)->text(0), "b.bmp");
    EXPECT_EQ(list->topLevelItem(1)->text(1), "BMP File");
    EXPECT_EQ(list->topLevelItem(1)->text(2), "1 KB");
    auto* formats = child<QComboBox>(window, "cboFiles");
    auto* colours = child<QComboBox>(window, "Opt");
    EXPECT_EQ(formats->count(), 15);
    EXPECT_EQ(formats->currentText(), "GIF-128 Colors");
    EXPECT_EQ(colours->currentText(), "GreyScale");

    // The output folder comes from its dialog.
    test::whenModal<QFileDialog>([&](QFileDialog* dialog) {
        test::answerFileDialog(dialog, QString::fromStdString(target.path().string()),
                               QDialogButtonBox::Open);
    });
    click(window, "btnBrowseFolder");
    EXPECT_EQ(child<QLineEdit>(window, "OutputFolder")->text().toStdString(),
              target.path().string());

    child<QLineEdit>(window, "OutputFile")->setText("x");
    formats->setCurrentText("BMP-24 bit");
    colours->setCurrentText("Color");
    selectRows(window, {2, 3});
    click(window, "btnConvert");
    EXPECT_TRUE(port.messages.empty());
    EXPECT_EQ(filesIn(target.path()), (std::set<std::string>{"x2.bmp", "x3.bmp"}));
    for (const int row : {2, 3}) {
        const auto back =
            LoadPictureFile(target / ("x" + std::to_string(row) + ".bmp"), LoadSite::Document);
        ASSERT_TRUE(back.has_value()) << row;
        EXPECT_TRUE(test::sameColours(*back, pictures[static_cast<std::size_t>(row - 1)])) << row;
    }
    EXPECT_EQ(port.opened, std::vector<std::string>{"file://" + target.path().string()});

    // The colour list reaches the converter: "GreyScale" writes a grey BMP.
    colours->setCurrentText("GreyScale");
    child<QLineEdit>(window, "OutputFile")->setText("g");
    selectRows(window, {1});
    click(window, "btnConvert");
    const auto grey = LoadPictureFile(target / "g1.bmp", LoadSite::Document);
    ASSERT_TRUE(grey.has_value());
    EXPECT_EQ(grey->Width(), 5);
    EXPECT_TRUE(test::allGrey(*grey));
    EXPECT_FALSE(test::allGrey(pictures[0]));
}

TEST(fBatchSaveWindow, RefusalsAndAnEmptySelectionWriteNothing) {
    test::qtApp();
    const TempFolder source, target;
    writeSources(source);
    const std::string folder = target.path().string();
    const struct {
        std::string folder, name;
        bool selected;
        const char* message; // null: none
        bool opens;
    } cases[] = {
        {"", "x", true, kBatchNoFolderText, false},
        {folder, "", true, kBatchNoNameText, false},
        {"", "", true, kBatchNoFolderText, false},
        {folder, "x", false, nullptr, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE("folder '" + c.folder + "' name '" + c.name + "'");
        test::RecordingPort port;
        fBatchSaveWindow window(port);
        window.SetSourceFolder(QString::fromStdString(source.path().string()));
        child<QLineEdit>(window, "OutputFolder")->setText(QString::fromStdString(c.folder));
        child<QLineEdit>(window, "OutputFile")->setText(QString::fromStdString(c.name));
        if (c.selected) selectRows(window, {1, 2, 3});
        click(window, "btnConvert");
        if (c.message) {
            ASSERT_EQ(port.messages.size(), 1u);
            EXPECT_EQ(port.messages[0].text, c.message);
            EXPECT_EQ(port.messages[0].icon, MsgIcon::Information);
            EXPECT_EQ(port.messages[0].title, kAppTitle);
        } else {
            EXPECT_TRUE(port.messages.empty());
        }
        EXPECT_EQ(port.opened.size(), c.opens ? 1u : 0u);
        EXPECT_TRUE(filesIn(target.path()).empty());
        EXPECT_EQ(filesIn(source.path()).size(), 4u);
    }
}

} // namespace
} // namespace velmar
