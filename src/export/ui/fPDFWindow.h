#pragma once
// The "ASCII to PDF Generator" window: the names of the text file and of the PDF, the document
// information, the font and the page size, and "Produce PDF", which hands the fields to the
// core's PdfWriter. The writer shows its own refusals; this window only asks, once the PDF is
// complete, whether to open it. Every message and dialog goes through the UserPort given, which
// must outlive the window.
#include "export/PdfWriter.h"
#include "port/UserPort.h"

#include <QDialog>
#include <QString>

class QComboBox;
class QLineEdit;
class QPushButton;

namespace velmar {

// The output a text file suggests: its path with the last four characters (".txt" and the
// like) replaced by ".pdf". A path of four characters or fewer becomes ".pdf" alone.
QString PdfOutputFor(const QString& input);

class fPDFWindow : public QDialog {
    Q_OBJECT
  public:
    // `initialInput`, when not empty, fills txtFilename and suggests the output by PdfOutputFor:
    // the editor passes the file its command line named.
    explicit fPDFWindow(UserPort& port, QWidget* parent = nullptr,
                        const QString& initialInput = QString());

    // The fields as the writer takes them.
    PdfJob Job() const;
    // What "Produce PDF" does: writes the PDF, then offers to open it. True when the PDF was
    // written.
    bool ProducePdf();

  private:
    void browseInput();
    void browseOutput();

    UserPort& port_;
    QLineEdit* filename_;
    QLineEdit* outputFile_;
    QLineEdit* title_;
    QLineEdit* subject_;
    QLineEdit* keywords_;
    QLineEdit* author_;
    QLineEdit* creator_;
    QComboBox* font_;
    QComboBox* fontSize_;
    QComboBox* pageWidth_;
    QComboBox* pageHeight_;
};

} // namespace velmar
