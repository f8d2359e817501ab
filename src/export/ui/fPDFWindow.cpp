#include "export/ui/fPDFWindow.h"

#include "shell/ui/widgetParts.h"

#include <QComboBox>
#include <QFileInfo>
#include <QFontDatabase>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QUrl>
#include <QVBoxLayout>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

namespace velmar {

namespace {

constexpr int kSmallestFont = 5;
constexpr int kLargestFont = 75;
constexpr int kSmallestPage = 5; // inches
constexpr int kLargestPage = 50;

constexpr const char* kDoneQuestion =
    "PDF file is done.\r\rDo you want to open the generated PDF file?";
// The font goes into the PDF by name only and is never embedded, so a reader has to find a
// font of that name itself; the standard ones are always there.
constexpr const char* kFontWarning = "Some font families may not show in every PDF reader. If "
                                     "the text does not appear, use 'COURIER' or 'ARIAL'.";

// A list of whole numbers from `first` to `last` that opens on `initial`.
QComboBox* numberList(QWidget* owner, const char* name, int first, int last, int initial) {
    auto* list = new QComboBox(owner);
    list->setObjectName(name);
    for (int n = first; n <= last; ++n)
        list->addItem(QString::number(n), n);
    list->setCurrentIndex(initial - first);
    return list;
}

// The system's families to choose from; the list is editable because the name is only written
// into the file, so a family this machine lacks ("Courier" on many Linux desktops) still works.
QComboBox* fontList(QWidget* owner, const QString& initial) {
    auto* list = new QComboBox(owner);
    list->setObjectName("cmbFont");
    list->setEditable(true);
    list->setInsertPolicy(QComboBox::NoInsert);
    list->addItems(QFontDatabase::families());
    list->setEditText(initial);
    return list;
}

// A file's folder to start a dialog in, or nothing for an empty field.
std::string folderOf(const QLineEdit* edit) {
    if (edit->text().isEmpty()) return {};
    return QFileInfo(edit->text()).absolutePath().toStdString();
}

QPushButton* browseButton(QWidget* owner, const char* name) {
    auto* button = new QPushButton("...", owner);
    button->setObjectName(name);
    return button;
}

QHBoxLayout* withButton(QWidget* edit, QWidget* button) {
    auto* row = new QHBoxLayout;
    row->addWidget(edit, 1);
    row->addWidget(button);
    return row;
}

} // namespace

QString PdfOutputFor(const QString& input) {
    return input.left(std::max<qsizetype>(0, input.size() - 4)) + ".pdf";
}

fPDFWindow::fPDFWindow(UserPort& port, QWidget* parent, const QString& initialInput)
    : QDialog(parent), port_(port), filename_(NamedLineEdit(this, "txtFilename")),
      outputFile_(NamedLineEdit(this, "txtOutputFile")), title_(NamedLineEdit(this, "txtTitle")),
      subject_(NamedLineEdit(this, "txtSubject")), keywords_(NamedLineEdit(this, "txtKeywords")),
      author_(NamedLineEdit(this, "txtAuthor")), creator_(NamedLineEdit(this, "txtCreator")) {
    setObjectName("fPDF");
    setWindowTitle("ASCII to PDF Generator");

    // The lists open on the writer's own defaults (Courier, 10 points, 8 by 11 inches), a page
    // of plain text that every reader shows.
    const PdfJob defaults;
    creator_->setText(QtText(defaults.creator));
    font_ = fontList(this, QtText(defaults.fontName));
    fontSize_ = numberList(this, "cmbFontSize", kSmallestFont, kLargestFont, defaults.fontSize);
    pageWidth_ = numberList(this, "cmbPageWidth", kSmallestPage, kLargestPage, defaults.pageWidth);
    pageHeight_ =
        numberList(this, "cmbPageHeight", kSmallestPage, kLargestPage, defaults.pageHeight);

    QPushButton* browseInputButton = browseButton(this, "btnBrowseInput");
    QPushButton* browseOutputButton = browseButton(this, "btnBrowseOutput");
    connect(browseInputButton, &QPushButton::clicked, this, &fPDFWindow::browseInput);
    connect(browseOutputButton, &QPushButton::clicked, this, &fPDFWindow::browseOutput);

    auto* asciiWarning = new QLabel(QtText(kPdfAsciiWarning), this);
    asciiWarning->setObjectName("lblWarning");
    auto* fontWarning = new QLabel(kFontWarning, this);
    fontWarning->setObjectName("lblFontWarning");
    fontWarning->setWordWrap(true);

    auto* files = new QFormLayout;
    files->addRow("Text file:", withButton(filename_, browseInputButton));
    files->addRow(QString(), asciiWarning);
    files->addRow("PDF file:", withButton(outputFile_, browseOutputButton));

    auto* information = new QGroupBox("Document information", this);
    auto* informationRows = new QFormLayout(information);
    informationRows->addRow("Title:", title_);
    informationRows->addRow("Subject:", subject_);
    informationRows->addRow("Keywords:", keywords_);
    informationRows->addRow("Author:", author_);
    informationRows->addRow("Creator:", creator_);

    auto* page = new QGroupBox("Font and page", this);
    auto* pageRows = new QFormLayout(page);
    pageRows->addRow("Font:", font_);
    pageRows->addRow(QString(), fontWarning);
    pageRows->addRow("Font size (points):", fontSize_);
    pageRows->addRow("Page width (inches):", pageWidth_);
    pageRows->addRow("Page height (inches):", pageHeight_);

    auto* convert = new QPushButton("&Produce PDF", this);
    convert->setObjectName("btnConvert");
    convert->setDefault(true);
    connect(convert, &QPushButton::clicked, this, [this] { ProducePdf(); });
    auto* close = new QPushButton("&Close", this);
    close->setObjectName("btnClose");
    connect(close, &QPushButton::clicked, this, &QDialog::close);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(convert);
    buttons->addWidget(close);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(files);
    layout->addWidget(information);
    layout->addWidget(page);
    layout->addLayout(buttons);

    if (!initialInput.isEmpty()) {
        filename_->setText(initialInput);
        outputFile_->setText(PdfOutputFor(initialInput));
    }
}

PdfJob fPDFWindow::Job() const {
    PdfJob job;
    job.input = filename_->text().toStdString();
    job.output = outputFile_->text().toStdString();
    job.title = title_->text().toStdString();
    job.subject = subject_->text().toStdString();
    job.keywords = keywords_->text().toStdString();
    job.author = author_->text().toStdString();
    job.creator = creator_->text().toStdString();
    job.fontName = font_->currentText().toStdString();
    job.fontSize = fontSize_->currentData().toInt();
    job.pageWidth = pageWidth_->currentData().toInt();
    job.pageHeight = pageHeight_->currentData().toInt();
    return job;
}

bool fPDFWindow::ProducePdf() {
    const PdfJob job = Job();
    if (!PdfWriter(port_).Convert(job)) return false;
    if (port_.MsgBox(kDoneQuestion, MsgIcon::Question, MsgButtons::YesNo) == MsgResult::Yes) {
        // The desktop opens local files by their file address, whatever characters the name has.
        const QString absolute = QFileInfo(QString::fromStdString(job.output)).absoluteFilePath();
        port_.OpenUrl(QUrl::fromLocalFile(absolute).toString().toStdString());
    }
    return true;
}

void fPDFWindow::browseInput() {
    const FileDialogSetup setup{"Select a text file",
                                {"Text Files|*.txt;*.text;*.log;*.csv;*.ini;*.md",
                                 "Mark-up Files|*.htm;*.html;*.xml;*.xhtml", "All Files|*"},
                                folderOf(filename_),
                                ""};
    const std::vector<std::string> chosen = port_.OpenFileDialog(setup, false);
    if (!chosen.empty()) filename_->setText(QString::fromStdString(chosen.front()));
}

void fPDFWindow::browseOutput() {
    const FileDialogSetup setup{
        "Save PDF As", {"PDF Files|*.pdf", "All Files|*"}, folderOf(outputFile_), "pdf"};
    if (const std::optional<std::string> chosen = port_.SaveFileDialog(setup))
        outputFile_->setText(QString::fromStdString(*chosen));
}

} // namespace velmar
