// The conversion's frame and the file's structure: header, document information, the fixed
// objects, the page objects, catalog, page tree, cross-reference section and trailer. The text
// of the pages is in PdfWriterText.cpp.
#include "export/PdfWriter.h"

#include "port/FileDescriptor.h"
#include "port/ReplaceFile.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>

namespace velmar {

namespace {

// "YYYYMMDDHHNNSS", the form of the /CreationDate after its "D:".
std::string timeStamp(const std::tm& t) {
    char text[32];
    std::snprintf(text, sizeof text, "%04d%02d%02d%02d%02d%02d", t.tm_year + 1900, t.tm_mon + 1,
                  t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec);
    return text;
}

// A byte offset in the ten digits of a cross-reference entry.
std::string tenDigits(std::int64_t offset) {
    char text[24];
    std::snprintf(text, sizeof text, "%010lld", static_cast<long long>(offset));
    return text;
}

} // namespace

PdfWriter::PdfWriter(UserPort& port) : port_(port) {}

bool PdfWriter::Convert(const PdfJob& job) {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    return Convert(job, local);
}

bool PdfWriter::Convert(const PdfJob& job, const std::tm& creationTime) {
    pageObjects_.clear();
    if (job.input.empty() || job.output.empty()) {
        port_.MsgBox("Please specify file names.", MsgIcon::Information);
        return false;
    }
    // The input exists when its length can be taken: a folder has none.
    std::error_code ec;
    [[maybe_unused]] const std::uintmax_t length = std::filesystem::file_size(job.input, ec);
    if (ec) {
        port_.MsgBox("File '" + job.input + "' does not exist.", MsgIcon::Warning);
        return false;
    }
    // The output is deleted before it is written; were it the input, the text would be lost.
    if (std::filesystem::equivalent(job.input, job.output, ec)) {
        port_.MsgBox("File '" + job.output +
                         "' is the text file itself. Choose another name for the PDF file.",
                     MsgIcon::Warning);
        return false;
    }
    if (::unlink(job.output.c_str()) != 0 && errno != ENOENT) {
        port_.MsgBox(FileWriteError(job.output, errno).what(), MsgIcon::Critical);
        return false;
    }

    // The file grows under a hidden name and takes the output's name when complete, so a
    // failure half-way leaves no damaged PDF behind.
    std::string failure;
    errno = 0;
    const bool done = ReplaceFileWith(job.output, [&](const std::filesystem::path& temporary) {
        try {
            FileDescriptor file(::open(temporary.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
            if (file.get() < 0) throw FileWriteError(job.output, errno);
            PdfOutput out(file.get(), job.output);
            writeDocument(job, creationTime, out);
            if (file.release() != 0) throw FileWriteError(job.output, errno);
            return true;
        } catch (const std::exception& e) {
            failure = e.what();
            return false;
        }
    });
    const int error = errno;
    out_ = nullptr;
    if (done) return true;
    pageObjects_.clear();
    // Without a failure of our own, the hidden file could not be made or renamed.
    if (failure.empty()) failure = FileWriteError(job.output, error ? error : EIO).what();
    port_.MsgBox(failure, MsgIcon::Critical);
    return false;
}

void PdfWriter::setUp(const PdfJob& job) {
    layout_ = PdfSetUp(job.fontName, job.fontSize, job.pageWidth, job.pageHeight);
    fontName_ = job.fontName;
    fontSize_ = std::to_string(job.fontSize);
    leading_ = FixedPointText(layout_.leading);
    lastObject_ = 0;
    offsets_.assign(1, 0);
    pageObjects_.clear();
}

void PdfWriter::writeDocument(const PdfJob& job, const std::tm& creationTime, PdfOutput& out) {
    out_ = &out;
    setUp(job);
    writeHeader();
    writeInfoAndFixedObjects(job, creationTime);
    startPage();
    writeText(job.input);
    writeTrailer();
}

int PdfWriter::newObject() {
    offsets_.push_back(0);
    return ++lastObject_;
}

void PdfWriter::beginObject(int number) {
    offsets_[static_cast<std::size_t>(number)] = out_->Position();
    out_->WriteLine({std::to_string(number), " 0 obj"});
}

std::string PdfWriter::reference(int number) const {
    return std::to_string(number) + " 0 R";
}

void PdfWriter::writeHeader() {
    out_->WriteLine("%PDF-1.2");
    // Bytes above 127 early in the file tell transfer programs that it is binary.
    out_->WriteLine("%\xE2\xE3\xCF\xD3");
}

void PdfWriter::writeInfoAndFixedObjects(const PdfJob& job, const std::tm& creationTime) {
    info_ = newObject();
    beginObject(info_);
    out_->WriteLine("<<");
    out_->WriteLine({"/Author (", job.author, ")"});
    out_->WriteLine({"/CreationDate (D:", timeStamp(creationTime), ")"});
    out_->WriteLine({"/Creator (", job.creator, ")"});
    out_->WriteLine({"/Producer (", kPdfProducer, ")"});
    out_->WriteLine({"/Title (", job.title, ")"});
    out_->WriteLine({"/Subject (", job.subject, ")"});
    out_->WriteLine({"/Keywords (", job.keywords, ")"});
    out_->WriteLine(">>");
    out_->WriteLine("endobj");

    // The catalog and the page tree need the page count, so their numbers are taken now and
    // their objects written last.
    catalog_ = newObject();
    pages_ = newObject();
    font_ = newObject();
    encoding_ = newObject();
    resources_ = newObject();

    beginObject(font_);
    out_->WriteLine("<<");
    out_->WriteLine("/Type /Font");
    out_->WriteLine("/Subtype /Type1");
    out_->WriteLine("/Name /F1");
    out_->WriteLine({"/Encoding ", reference(encoding_)});
    out_->WriteLine({"/BaseFont /", fontName_});
    out_->WriteLine(">>");
    out_->WriteLine("endobj");

    beginObject(encoding_);
    out_->WriteLine("<<");
    out_->WriteLine("/Type /Encoding");
    out_->WriteLine("/BaseEncoding /WinAnsiEncoding");
    out_->WriteLine(">>");
    out_->WriteLine("endobj");

    beginObject(resources_);
    out_->WriteLine("<<");
    out_->WriteLine({"  /Font << /F1 ", reference(font_), " >>"});
    out_->WriteLine("  /ProcSet [ /PDF /Text ]");
    out_->WriteLine(">>");
    out_->WriteLine("endobj");
}

void PdfWriter::startPage() {
    const int page = newObject();
    const int contents = newObject();
    newObject(); // the stream's length, known at the page's end
    pageObjects_.push_back(page);

    beginObject(page);
    out_->WriteLine("<<");
    out_->WriteLine("/Type /Page");
    out_->WriteLine({"/Parent ", reference(pages_)});
    out_->WriteLine({"/Resources ", reference(resources_)});
    out_->WriteLine({"/Contents ", reference(contents)});
    out_->WriteLine("/Rotate 0");
    out_->WriteLine(">>");
    out_->WriteLine("endobj");

    beginObject(contents);
    out_->WriteLine("<<");
    out_->WriteLine({"/Length ", reference(contents + 1)});
    out_->WriteLine(">>");
    out_->WriteLine("stream");
    streamStart_ = out_->Position();
    out_->WriteLine("BT");
    out_->WriteLine({"/F1 ", fontSize_, " Tf"});
    out_->WriteLine({"1 0 0 1 50 ", std::to_string(layout_.pageHeight - 40), " Tm"});
    out_->WriteLine({leading_, " TL"});
}

void PdfWriter::writeFooter() {
    out_->WriteLine(
        {"1 0 0 1 ", std::to_string(layout_.footerX), " ", std::to_string(layout_.footerY), " Tm"});
    out_->WriteLine({"(", std::to_string(pageObjects_.size()), ") Tj"});
    out_->WriteLine({"/F1 ", fontSize_, " Tf"});
}

void PdfWriter::endPage() {
    out_->WriteLine("ET");
    const std::int64_t length = out_->Position() - streamStart_;
    out_->WriteLine("endstream");
    out_->WriteLine("endobj");
    beginObject(lastObject_);
    out_->WriteLine(std::to_string(length));
    out_->WriteLine("endobj");
}

void PdfWriter::writeTrailer() {
    beginObject(catalog_);
    out_->WriteLine("<<");
    out_->WriteLine("/Type /Catalog");
    out_->WriteLine({"/Pages ", reference(pages_)});
    out_->WriteLine(">>");
    out_->WriteLine("endobj");

    beginObject(pages_);
    out_->WriteLine("<<");
    out_->WriteLine("/Type /Pages");
    out_->WriteLine({"/Count ", std::to_string(pageObjects_.size())});
    out_->WriteLine({"/MediaBox [ 0 0 ", std::to_string(layout_.pageWidth), " ",
                     std::to_string(layout_.pageHeight), " ]"});
    std::string kids = "/Kids [ ";
    for (const int page : pageObjects_)
        kids += reference(page) + " ";
    out_->WriteLine({kids, "]"});
    out_->WriteLine(">>");
    out_->WriteLine("endobj");

    // The subsection line opens the section without the "xref" keyword: the files of this
    // program have always looked so, and readers rebuild the table from the objects.
    const std::int64_t crossReference = out_->Position();
    out_->WriteLine({"0 ", std::to_string(lastObject_ + 1)});
    out_->WriteLine("0000000000 65535 f ");
    for (int n = 1; n <= lastObject_; ++n)
        out_->WriteLine({tenDigits(offsets_[static_cast<std::size_t>(n)]), " 00000 n "});
    out_->WriteLine("trailer");
    out_->WriteLine("<<");
    out_->WriteLine({"/Size ", std::to_string(lastObject_ + 1)});
    out_->WriteLine({"/Root ", reference(catalog_)});
    out_->WriteLine({"/Info ", reference(info_)});
    out_->WriteLine(">>");
    out_->WriteLine("startxref");
    out_->WriteLine(std::to_string(crossReference));
    out_->WriteLine("%%EOF", true);
}

} // namespace velmar
