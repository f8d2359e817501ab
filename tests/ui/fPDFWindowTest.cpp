// The "ASCII to PDF Generator" window: its fields reach the PDF (read back by poppler), the
// question after a finished PDF and its two answers, the empty-name refusal, the browse dialogs
// and the output a starting text file suggests.
#include "export/ui/fPDFWindow.h"

#include "support/RecordingPort.h"
#include "support/TempFolder.h"
#include "support/files.h"
#include "support/qtModal.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace velmar {
namespace {

using test::TempFolder;

constexpr const char* kDoneQuestion =
    "PDF file is done.\r\rDo you want to open the generated PDF file?";

template <typename T> T* child(const QWidget& window, const char* name) {
    T* widget = window.findChild<T*>(name);
    EXPECT_NE(widget, nullptr) << name;
    return widget;
}

void setText(const QWidget& window, const char* name, const QString& value) {
    child<QLineEdit>(window, name)->setText(value);
}

void click(const QWidget& window, const char* name) {
    QTest::mouseClick(child<QPushButton>(window, name), Qt::LeftButton);
}

std::string commandOutput(const std::string& command, const TempFolder& tmp) {
    const std::filesystem::path out = tmp / "command.txt";
    EXPECT_EQ(test::run(command + " > '" + out.string() + "' 2>/dev/null"), 0) << command;
    std::ostringstream text;
    text << std::ifstream(out).rdbuf();
    return text.str();
}

// One "Name:   value" line of pdfinfo.
std::string infoField(const std::string& info, const std::string& name) {
    const std::size_t at = ("\n" + info).find("\n" + name + ":");
    if (at == std::string::npos) return "(none)";
    const std::size_t begin = info.find_first_not_of(' ', at + name.size() + 1);
    return info.substr(begin, info.find('\n', begin) - begin);
}

TEST(fPDFWindow, ProducesThePdfTheFieldsDescribeAndOffersToOpenIt) {
    if (!test::haveProgram("pdfinfo") || !test::haveProgram("pdftotext") ||
        !test::haveProgram("pdffonts"))
        GTEST_SKIP() << "needs poppler-utils";
    test::qtApp();
    TempFolder tmp;
    // Arial 75 on a 6 by 5 inch page: 3 lines a page and 12 characters a line, so seven short
    // lines make three pages; the page count shows that the size and the height arrived.
    std::ofstream(tmp / "in.txt") << "Line (1)\nLine 2\nLine 3\nLine 4\nLine 5\nLine 6\nLine 7\n";
    const std::string output = (tmp / "out.pdf").string();
    test::RecordingPort port;
    fPDFWindow window(port);
    setText(window, "txtFilename", QString::fromStdString((tmp / "in.txt").string()));
    setText(window, "txtOutputFile", QString::fromStdString(output));
    setText(window, "txtTitle", "The title");
    setText(window, "txtSubject", "The subject");
    setText(window, "txtKeywords", "some words");
    setText(window, "txtAuthor", "The author");
    setText(window, "txtCreator", "The creator");
    child<QComboBox>(window, "cmbFont")->setEditText("Arial");
    child<QComboBox>(window, "cmbFontSize")->setCurrentText("75");
    child<QComboBox>(window, "cmbPageWidth")->setCurrentText("6");
    child<QComboBox>(window, "cmbPageHeight")->setCurrentText("5");

    port.replies = {MsgResult::No};
    click(window, "btnConvert");
    ASSERT_EQ(port.messages.size(), 1u);
    const test::ShownMessage& question = port.messages.front();
    EXPECT_EQ(question.text, kDoneQuestion);
    EXPECT_EQ(question.icon, MsgIcon::Question);
    EXPECT_EQ(question.buttons, MsgButtons::YesNo);
    EXPECT_EQ(question.title, kAppTitle);
    EXPECT_TRUE(port.opened.empty());

    const std::string info = commandOutput("pdfinfo '" + output + "'", tmp);
    EXPECT_EQ(infoField(info, "Pages"), "3");
    EXPECT_EQ(infoField(info, "Page size"), "432 x 360 pts");
    EXPECT_EQ(infoField(info, "Title"), "The title");
    EXPECT_EQ(infoField(info, "Subject"), "The subject");
    EXPECT_EQ(infoField(info, "Keywords"), "some words");
    EXPECT_EQ(infoField(info, "Author"), "The author");
    EXPECT_EQ(infoField(info, "Creator"), "The creator");
    EXPECT_NE(commandOutput("pdffonts '" + output + "'", tmp).find("Arial"), std::string::npos);
    const std::string pages = commandOutput("pdftotext '" + output + "' -", tmp);
    std::size_t at = 0;
    for (const char* line : {"Line (1)", "Line 2", "Line 3", "Line 4", "Line 7"}) {
        at = pages.find(line, at);
        ASSERT_NE(at, std::string::npos) << line << "\n" << pages;
    }

    // Yes opens the PDF by its file address.
    port.replies = {MsgResult::Yes};
    click(window, "btnConvert");
    EXPECT_EQ(port.texts(), std::vector<std::string>(2, kDoneQuestion));
    EXPECT_EQ(port.opened, std::vector<std::string>{"file://" + output});
}

TEST(fPDFWindow, EmptyNamesAreRefusedWithoutAQuestion) {
    test::qtApp();
    TempFolder tmp;
    std::ofstream(tmp / "in.txt") << "text\n";
    const QString input = QString::fromStdString((tmp / "in.txt").string());
    const QString output = QString::fromStdString((tmp / "out.pdf").string());
    const struct { QString input, output; } cases[] = {{"", output}, {input, ""}, {"", ""}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.input.toStdString() + " -> " + c.output.toStdString());
        test::RecordingPort port;
        fPDFWindow window(port);
        setText(window, "txtFilename", c.input);
        setText(window, "txtOutputFile", c.output);
        click(window, "btnConvert");
        ASSERT_EQ(port.messages.size(), 1u);
        EXPECT_EQ(port.messages[0].text, "Please specify file names.");
        EXPECT_EQ(port.messages[0].title, kAppTitle);
        EXPECT_TRUE(port.opened.empty());
        EXPECT_FALSE(std::filesystem::exists(tmp / "out.pdf"));
    }
}

TEST(fPDFWindow, OpensOnTheWritersDefaultsAndTakesNamesFromTheDialogs) {
    test::qtApp();
    // A starting text file suggests its own name with the last four characters made ".pdf".
    const struct {
        QString input, output;
    } starts[] = {
        {"/tmp/notes.txt", "/tmp/notes.pdf"},
        {"/tmp/page.html", "/tmp/page..pdf"},
        {"/tmp/readme", "/tmp/re.pdf"},
        {"a.c", ".pdf"},
    };
    for (const auto& s : starts) {
        test::RecordingPort port;
        const fPDFWindow window(port, nullptr, s.input);
        EXPECT_EQ(child<QLineEdit>(window, "txtFilename")->text(), s.input);
        EXPECT_EQ(child<QLineEdit>(window, "txtOutputFile")->text(), s.output);
    }

    test::RecordingPort port;
    fPDFWindow window(port);
    EXPECT_TRUE(child<QLineEdit>(window, "txtFilename")->text().isEmpty());
    EXPECT_EQ(child<QLineEdit>(window, "txtCreator")->text(), "Velmar Kestrin SILK");
    EXPECT_EQ(child<QComboBox>(window, "cmbFont")->currentText(), "Courier");
    const struct {
        const char* name;
        int count;
        QString first, last, current;
    } lists[] = {{"cmbFontSize", 71, "5", "75", "10"},
                 {"cmbPageWidth", 46, "5", "50", "8"},
                 {"cmbPageHeight", 46, "5", "50", "11"}};
    for (const auto& l : lists) {
        const auto* list = child<QComboBox>(window, l.name);
        EXPECT_EQ(list->count(), l.count) << l.name;
        EXPECT_EQ(list->itemText(0), l.first) << l.name;
        EXPECT_EQ(list->itemText(list->count() - 1), l.last) << l.name;
        EXPECT_EQ(list->currentText(), l.current) << l.name;
    }
    EXPECT_EQ(child<QLabel>(window, "lblWarning")->text(), kPdfAsciiWarning.data());
    const QString fontWarning = child<QLabel>(window, "lblFontWarning")->text();
    EXPECT_TRUE(fontWarning.contains("'COURIER'") && fontWarning.contains("'ARIAL'"));

    // A cancelled dialog leaves the field as it was; a chosen name fills it.
    setText(window, "txtFilename", "/old/in.txt");
    click(window, "btnBrowseInput");
    EXPECT_EQ(child<QLineEdit>(window, "txtFilename")->text(), "/old/in.txt");
    port.openAnswer = {"/home/u/letter.txt"};
    port.saveAnswer = "/home/u/letter.pdf";
    click(window, "btnBrowseInput");
    click(window, "btnBrowseOutput");
    EXPECT_EQ(child<QLineEdit>(window, "txtFilename")->text(), "/home/u/letter.txt");
    EXPECT_EQ(child<QLineEdit>(window, "txtOutputFile")->text(), "/home/u/letter.pdf");
    const std::vector<FileDialogSetup>& dialogs = port.dialogs;
    ASSERT_EQ(dialogs.size(), 3u);
    EXPECT_EQ(dialogs[0].title, "Select a text file");
    EXPECT_EQ(dialogs[0].folder, "/old");
    EXPECT_EQ(dialogs[0].filters.back(), "All Files|*");
    EXPECT_EQ(dialogs[2].title, "Save PDF As");
    EXPECT_EQ(dialogs[2].defaultExtension, "pdf");
}

} // namespace
} // namespace velmar
