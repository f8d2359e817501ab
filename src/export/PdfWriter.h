#pragma once
// The text-to-PDF writer behind the "ASCII to PDF Generator" window and `velmar-cli pdf`. It
// writes the PDF by hand, line by line: one Type 1 font by name, WinAnsi encoding, the text in
// pages of a fixed number of lines with the page number at the foot, no compression, no images.
//
// The file is what the program has always written, readers' quirks included: structure lines
// end in CR alone, the cross-reference section has no "xref" keyword (readers rebuild it from the
// objects), the document information is not escaped, and each text line keeps a CR LF inside
// its string. Messages go through the UserPort given.
#include "export/PdfLayout.h"
#include "export/PdfOutput.h"
#include "port/UserPort.h"

#include <cstdint>
#include <ctime>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace velmar {

inline constexpr std::string_view kPdfProducer = "Velmar Kestrin SILK";
// Shown beside the input file: any file is converted, but only plain text gives a useful PDF.
inline constexpr std::string_view kPdfAsciiWarning =
    "WARNING! Be careful when choosing ASCII files.";

// What the window's fields hold when "Produce PDF" is pressed.
struct PdfJob {
    std::string input;  // the text file
    std::string output; // the PDF file; an existing one is deleted first
    std::string title;
    std::string subject;
    std::string keywords;
    std::string author;
    std::string creator{kPdfProducer};
    std::string fontName = "Courier"; // written as /BaseFont; "Courier" and "Arial" are safe
    int fontSize = 10;                // points, 5 to 75
    int pageWidth = 8;                // inches, 5 to 50
    int pageHeight = 11;              // inches, 5 to 50
};

class PdfWriter {
  public:
    explicit PdfWriter(UserPort& port);

    // Writes job.output from job.input, stamped with the local time now. Returns true when the
    // file is complete. Otherwise one message has been shown and false comes back: "Please
    // specify file names." (either name empty), "File '" + input + "' does not exist.", or the
    // description of the error a file operation met, in which case no output is left behind.
    bool Convert(const PdfJob& job);
    // The same with a given creation time (local time, as the /CreationDate shows it).
    bool Convert(const PdfJob& job, const std::tm& creationTime);

    // Pages written by the last successful Convert.
    int PageCount() const noexcept { return static_cast<int>(pageObjects_.size()); }

  private:
    void setUp(const PdfJob& job);
    void writeDocument(const PdfJob& job, const std::tm& creationTime, PdfOutput& out);
    void writeHeader();
    void writeInfoAndFixedObjects(const PdfJob& job, const std::tm& creationTime);
    void startPage();
    void writeText(const std::filesystem::path& input);
    void writeTextLine(std::string_view text);
    void writeFooter();
    void endPage();
    void writeTrailer();
    int newObject();
    void beginObject(int number);
    std::string reference(int number) const;

    UserPort& port_;
    PdfOutput* out_ = nullptr; // the output of the conversion under way
    PdfLayout layout_;
    std::string fontName_;
    std::string fontSize_;
    std::string leading_;
    int lastObject_ = 0;
    std::vector<std::int64_t> offsets_; // by object number; [0] unused
    std::vector<int> pageObjects_;      // the page object of each page, in order
    int info_ = 0;
    int catalog_ = 0;
    int pages_ = 0;
    int font_ = 0;
    int encoding_ = 0;
    int resources_ = 0;
    std::int64_t streamStart_ = 0; // position of the open page's "BT"
};

} // namespace velmar
