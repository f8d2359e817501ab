// The text-to-PDF writer: its metrics, its line handling, a whole file compared byte for byte
// with one worked out by hand, the pages its rules give, poppler reading the result, and the
// messages of its refusals.
#include "export/PdfWriter.h"
#include "export/PdfLayout.h"
#include "export/PdfTextLines.h"
#include "export/TextLineReader.h"
#include "support/RecordingPort.h"
#include "support/TempFolder.h"
#include "support/files.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace velmar {
namespace {

using test::TempFolder;

void writeText(const std::filesystem::path& p, const std::string& text) {
    std::ofstream(p, std::ios::binary) << text;
}

std::string readText(const std::filesystem::path& p) {
    const std::vector<std::uint8_t> bytes = test::readFile(p);
    return {bytes.begin(), bytes.end()};
}

// 2024-01-02 03:04:05 local time.
std::tm fixedTime() {
    std::tm t{};
    t.tm_year = 124;
    t.tm_mon = 0;
    t.tm_mday = 2;
    t.tm_hour = 3;
    t.tm_min = 4;
    t.tm_sec = 5;
    return t;
}

// Courier 75 on a 5 by 5 inch page: leading 90, 3 lines a page, 7 characters a line.
PdfJob smallPages(const TempFolder& tmp) {
    PdfJob job;
    job.input = (tmp / "in.txt").string();
    job.output = (tmp / "out.pdf").string();
    job.fontName = "Courier";
    job.fontSize = 75;
    job.pageWidth = 5;
    job.pageHeight = 5;
    return job;
}

TEST(PdfSetUp, MetricsRoundTiesToEvenAndKnowTheFamilies) {
    const struct {
        const char* font;
        int size, width, height;
        const char* leading;
        int lines, chars;
    } cases[] = {
        {"Courier", 11, 8, 11, "13.2", 55, 79},    // 720 / 13.2 = 54.5..; 864 / 11 = 78.5..
        {"Courier", 75, 5, 5, "90", 3, 7},         // 288 / 90 = 3.2; 540 / 75 = 7.2
        {"COURIER", 24, 5, 6, "28.8", 12, 22},     // 360 / 28.8 = 12.5 and 540 / 24 = 22.5: down
        {"courier", 32, 5, 5, "38.4", 8, 17},      // 288 / 38.4 = 7.5: up
        {"Arial", 75, 5, 5, "90", 3, 10},          // 720 / 75 = 9.6
        {"Courier-Bold", 48, 5, 5, "57.6", 5, 16}, // k 2.2: 792 / 48 = 16.5 exactly: down
        {"Times", 16, 5, 5, "19.2", 15, 50},       // 792 / 16 = 49.5: up
        {"Arial Black", 7, 50, 50, "8.4", 420, 1131},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.font) + " " + std::to_string(c.size));
        const PdfLayout l = PdfSetUp(c.font, c.size, c.width, c.height);
        EXPECT_EQ(l.pageWidth, c.width * 72);
        EXPECT_EQ(l.pageHeight, c.height * 72);
        EXPECT_EQ(FixedPointText(l.leading), c.leading);
        EXPECT_EQ(l.linesPerPage, c.lines);
        EXPECT_EQ(l.charsPerLine, c.chars);
        EXPECT_EQ(l.footerX, c.width * 36);
        EXPECT_EQ(l.footerY, 25);
    }
    EXPECT_EQ(FixedPointText(125), "0.0125");
}

TEST(PdfTextLines, EscapeTrimAndBreakSearch) {
    std::string escaped = "left from before";
    EscapeParentheses("a(b)\\c[d]", escaped);
    EXPECT_EQ(escaped, "a\\(b\\)\\c[d]");
    EXPECT_EQ(TrimBlanks("  \tx y \t  "), "\tx y \t");
    EXPECT_EQ(TrimBlanks("    "), "");
    // Every break character, found in the piece's second half: cut behind it.
    for (const char c : kPdfBreakCharacters)
        EXPECT_EQ(BreakLength(std::string("abcd") + c + "fg"), 5u) << c;
    const struct {
        const char* piece;
        std::size_t length;
    } cases[] = {
        {"abcdefg", 7},   // no break character: the whole piece
        {"abcd(fg", 7},   // "(", "-" and "/" are not break characters
        {"abc-/fg", 7},   //
        {"a,b.c d", 6},   // the last one wins
        {"abc defg", 4},  // position 4 of 8 is the middle, still searched
        {"ab cdefg", 8},  // position 3 of 8 is not
        {"abc defgh", 9}, // position 4 of 9 lies below 4.5
        {"abcd efgh", 5}, {"!", 1},
    };
    for (const auto& c : cases)
        EXPECT_EQ(BreakLength(c.piece), c.length) << c.piece;
}

TEST(TextLineReader, LinesEndAtLfCrLfOrCrInAnyBlock) {
    TempFolder tmp;
    const struct {
        std::string text;
        std::vector<std::string> lines;
    } cases[] = {
        {"", {}},
        {"a", {"a"}},
        {"a\n", {"a"}},
        {"a\r\n", {"a"}},
        {"a\r", {"a"}},
        {"\n", {""}},
        {"a\n\nb", {"a", "", "b"}},
        {"a\r\rb\r\n\r\nc\n\rd", {"a", "", "b", "", "c", "", "d"}},
        {"a\n\r\n", {"a", ""}},
        {std::string("x\0y\f\tz", 6), {std::string("x\0y\f\tz", 6)}},
    };
    for (const auto& c : cases) {
        writeText(tmp / "t.txt", c.text);
        // Blocks of 1 and 2 bytes put a CR LF across two reads.
        for (const std::size_t block : {1, 2, 3, 65536}) {
            SCOPED_TRACE(testing::PrintToString(c.text) + " block " + std::to_string(block));
            TextLineReader reader(tmp / "t.txt", block);
            std::vector<std::string> lines;
            std::string_view line;
            while (reader.Next(line))
                lines.emplace_back(line);
            EXPECT_EQ(lines, c.lines);
            EXPECT_FALSE(reader.Next(line));
        }
    }
    EXPECT_THROW(TextLineReader(tmp / "missing.txt"), FileReadError);
}

TEST(PdfWriter, TwoPagesMatchTheFileWorkedOutByHand) {
    TempFolder tmp;
    PdfJob job = smallPages(tmp);
    job.title = "T";
    job.subject = "S";
    job.keywords = "K";
    job.author = "A";
    job.creator = "C";
    // Line 1 is seven characters once escaped; line 2 breaks behind a blank and behind
    // ", " and its third piece opens page 2; line 3 is trimmed and has no line ending.
    writeText(job.input, "a(b)c\r\nHello world, again\r  last  ");
    writeText(job.output, "an older file, longer than nothing");
    test::RecordingPort port;
    PdfWriter writer(port);
    ASSERT_TRUE(writer.Convert(job, fixedTime()));
    EXPECT_TRUE(port.messages.empty());
    EXPECT_EQ(writer.PageCount(), 2);

    const std::string expected = "%PDF-1.2\r"
                                 "%\xE2\xE3\xCF\xD3\r"
                                 "1 0 obj\r<<\r/Author (A)\r/CreationDate (D:20240102030405)\r"
                                 "/Creator (C)\r/Producer (Velmar Kestrin SILK)\r/Title (T)\r"
                                 "/Subject (S)\r/Keywords (K)\r>>\rendobj\r"
                                 "4 0 obj\r<<\r/Type /Font\r/Subtype /Type1\r/Name /F1\r"
                                 "/Encoding 5 0 R\r/BaseFont /Courier\r>>\rendobj\r"
                                 "5 0 obj\r<<\r/Type /Encoding\r/BaseEncoding /WinAnsiEncoding\r"
                                 ">>\rendobj\r"
                                 "6 0 obj\r<<\r  /Font << /F1 4 0 R >>\r  /ProcSet [ /PDF /Text ]\r"
                                 ">>\rendobj\r"
                                 "7 0 obj\r<<\r/Type /Page\r/Parent 3 0 R\r/Resources 6 0 R\r"
                                 "/Contents 8 0 R\r/Rotate 0\r>>\rendobj\r"
                                 "8 0 obj\r<<\r/Length 9 0 R\r>>\rstream\r"
                                 "BT\r/F1 75 Tf\r1 0 0 1 50 320 Tm\r90 TL\r"
                                 "T* (a\\(b\\)c\r\n) Tj\r"
                                 "T* (Hello \r\n) Tj\r"
                                 "T* (world, \r\n) Tj\r"
                                 "1 0 0 1 180 25 Tm\r(1) Tj\r/F1 75 Tf\rET\r"
                                 "endstream\rendobj\r"
                                 "9 0 obj\r128\rendobj\r"
                                 "10 0 obj\r<<\r/Type /Page\r/Parent 3 0 R\r/Resources 6 0 R\r"
                                 "/Contents 11 0 R\r/Rotate 0\r>>\rendobj\r"
                                 "11 0 obj\r<<\r/Length 12 0 R\r>>\rstream\r"
                                 "BT\r/F1 75 Tf\r1 0 0 1 50 320 Tm\r90 TL\r"
                                 "T* (again\r\n) Tj\r"
                                 "T* (last\r\n) Tj\r"
                                 "1 0 0 1 180 25 Tm\r(2) Tj\r/F1 75 Tf\rET\r"
                                 "endstream\rendobj\r"
                                 "12 0 obj\r106\rendobj\r"
                                 "2 0 obj\r<<\r/Type /Catalog\r/Pages 3 0 R\r>>\rendobj\r"
                                 "3 0 obj\r<<\r/Type /Pages\r/Count 2\r/MediaBox [ 0 0 360 360 ]\r"
                                 "/Kids [ 7 0 R 10 0 R ]\r>>\rendobj\r"
                                 "0 13\r"
                                 "0000000000 65535 f \r"
                                 "0000000015 00000 n \r" // 1
                                 "0000000958 00000 n \r" // 2, the catalog, written late
                                 "0000001007 00000 n \r" // 3
                                 "0000000164 00000 n \r"
                                 "0000000258 00000 n \r"
                                 "0000000326 00000 n \r"
                                 "0000000397 00000 n \r" // 7
                                 "0000000487 00000 n \r"
                                 "0000000667 00000 n \r"
                                 "0000000686 00000 n \r" // 10
                                 "0000000778 00000 n \r"
                                 "0000000938 00000 n \r"
                                 "trailer\r<<\r/Size 13\r/Root 2 0 R\r/Info 1 0 R\r>>\r"
                                 "startxref\r1099\r%%EOF\r";
    EXPECT_EQ(readText(job.output), expected);
}

// The contents streams of a file, each from "BT" to "ET" and its CR.
std::vector<std::string> streams(const std::string& pdf) {
    std::vector<std::string> found;
    for (std::size_t at = pdf.find("\rstream\r"); at != std::string::npos;
         at = pdf.find("\rstream\r", at + 1)) {
        const std::size_t begin = at + 8;
        found.push_back(pdf.substr(begin, pdf.find("endstream\r", begin) - begin));
    }
    return found;
}

// A page of smallPages() as the layout writes it: the given text lines, then page number n.
std::string page(const std::vector<std::string>& lines, int n) {
    std::string s = "BT\r/F1 75 Tf\r1 0 0 1 50 320 Tm\r90 TL\r";
    for (const std::string& l : lines)
        s += "T* (" + l + "\r\n) Tj\r";
    return s + "1 0 0 1 180 25 Tm\r(" + std::to_string(n) + ") Tj\r/F1 75 Tf\rET\r";
}

TEST(PdfWriter, PagesHoldTheLinesTheRulesGive) {
    using Pages = std::vector<std::vector<std::string>>;
    const struct {
        const char* why;
        std::string text;
        Pages pages;
    } cases[] = {
        {"empty input: one page with its footer", "", {{}}},
        {"a full page opens no empty one", "1\n2\n3\n", {{"1", "2", "3"}}},
        {"the fourth line opens page 2", "1\n2\n3\n4", {{"1", "2", "3"}, {"4"}}},
        {"no break character: cut at 7", "abcdefghijklmnop", {{"abcdefg", "hijklmn", "op"}}},
        {"each piece takes a line, the rest goes on on the next page",
         "abcdefghijklmnopqrstuvw",
         {{"abcdefg", "hijklmn", "opqrstu"}, {"vw"}}},
        {"a blank below the middle is no break", "ab cdefghij", {{"ab cdef", "ghij"}}},
        {"a blank at the middle is", "abc defghij", {{"abc ", "defghij"}}},
        {"escapes count towards the width", "  ((((  ", {{"\\(\\(\\(\\", "("}}},
        {"a form feed opens a page and stays in the text", "a\n\fb\nc", {{"a"}, {"\fb", "c"}}},
        {"a form feed on the first line leaves page 1 empty", "\fx", {{}, {"\fx"}}},
        {"a form feed on a full page opens one page only",
         "1\n2\n3\n\f4",
         {{"1", "2", "3"}, {"\f4"}}},
        {"CR and CR LF endings, empty lines kept", "x\r\r\ny", {{"x", "", "y"}}},
    };
    TempFolder tmp;
    test::RecordingPort port;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        const PdfJob job = smallPages(tmp);
        writeText(job.input, c.text);
        PdfWriter writer(port);
        ASSERT_TRUE(writer.Convert(job, fixedTime()));
        std::vector<std::string> expected;
        for (std::size_t i = 0; i < c.pages.size(); ++i)
            expected.push_back(page(c.pages[i], static_cast<int>(i) + 1));
        EXPECT_EQ(streams(readText(job.output)), expected);
        EXPECT_EQ(writer.PageCount(), static_cast<int>(c.pages.size()));
    }
    EXPECT_TRUE(port.messages.empty());
}

TEST(PdfWriter, PopplerReadsTheTextThePagesAndTheMediaBox) {
    if (!test::haveProgram("pdftotext") || !test::haveProgram("pdfinfo"))
        GTEST_SKIP() << "needs poppler-utils";
    TempFolder tmp;
    PdfJob job;
    job.input = (tmp / "long.txt").string();
    job.output = (tmp / "long.pdf").string();
    job.title = "Poppler reads us";
    job.author = "The tests";
    job.fontName = "Courier";
    job.fontSize = 10;
    job.pageWidth = 8;
    job.pageHeight = 11; // 60 lines a page, 86 characters a line
    // 1500 lines make 25 pages and about 40 KB: the buffer goes to the file in several parts.
    std::string text;
    for (int i = 1; i <= 1500; ++i)
        text += "Line " + std::to_string(i) + " says (hello) & goodbye\n";
    writeText(job.input, text);
    test::RecordingPort port;
    ASSERT_TRUE(PdfWriter(port).Convert(job));
    ASSERT_GT(std::filesystem::file_size(job.output), 2 * kPdfFlushSize);

    const std::string info = (tmp / "info.txt").string();
    ASSERT_EQ(test::run("(echo; pdfinfo '" + job.output + "') > '" + info + "' 2>/dev/null"), 0);
    const std::string infoText = readText(info);
    const auto field = [&](const std::string& name) {
        const std::size_t at = infoText.find("\n" + name + ":");
        if (at == std::string::npos) return std::string("(none)");
        const std::size_t begin = infoText.find_first_not_of(' ', at + name.size() + 2);
        return infoText.substr(begin, infoText.find('\n', begin) - begin);
    };
    EXPECT_EQ(field("Pages"), "25");
    EXPECT_EQ(field("Page size"), "576 x 792 pts");
    EXPECT_EQ(field("Title"), "Poppler reads us");
    EXPECT_EQ(field("Author"), "The tests");
    EXPECT_EQ(field("Producer"), "Velmar Kestrin SILK");
    EXPECT_EQ(field("Creator"), "Velmar Kestrin SILK");

    // Page 7 holds lines 361 to 420 and its number.
    const std::string seventh = (tmp / "p7.txt").string();
    ASSERT_EQ(test::run("pdftotext -f 7 -l 7 '" + job.output + "' '" + seventh + "' 2>/dev/null"),
              0);
    const std::string pageText = readText(seventh);
    std::size_t at = 0;
    for (int i = 361; i <= 420; ++i) {
        at = pageText.find("Line " + std::to_string(i) + " says (hello) & goodbye", at);
        ASSERT_NE(at, std::string::npos) << i << "\n" << pageText;
    }
    EXPECT_EQ(pageText.find("Line 360 "), std::string::npos);
    EXPECT_EQ(pageText.find("Line 421 "), std::string::npos);
    EXPECT_NE(pageText.find("\n7\n"), std::string::npos) << pageText;
}

TEST(PdfWriter, RefusalsShowOneMessageAndLeaveNoFile) {
    TempFolder tmp;
    writeText(tmp / "in.txt", "text\n");
    const std::string in = (tmp / "in.txt").string();
    const std::string missing = (tmp / "missing.txt").string();
    const std::string noFolder = (tmp / "no" / "out.pdf").string();
    const struct {
        std::string input, output, text;
        MsgIcon icon;
    } cases[] = {
        {"", (tmp / "a.pdf").string(), "Please specify file names.", MsgIcon::Information},
        {in, "", "Please specify file names.", MsgIcon::Information},
        {missing, (tmp / "b.pdf").string(), "File '" + missing + "' does not exist.",
         MsgIcon::Warning},
        {tmp.path().string(), (tmp / "c.pdf").string(),
         "File '" + tmp.path().string() + "' does not exist.", MsgIcon::Warning},
        {in, in, "File '" + in + "' is the text file itself. Choose another name for the PDF file.",
         MsgIcon::Warning},
        {in, noFolder, "Cannot write \"" + noFolder + "\": No such file or directory.",
         MsgIcon::Critical},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        test::RecordingPort port;
        PdfJob job;
        job.input = c.input;
        job.output = c.output;
        EXPECT_FALSE(PdfWriter(port).Convert(job));
        ASSERT_EQ(port.messages.size(), 1u);
        EXPECT_EQ(port.messages[0].text, c.text);
        EXPECT_EQ(port.messages[0].icon, c.icon);
        EXPECT_EQ(port.messages[0].buttons, MsgButtons::Ok);
        EXPECT_EQ(port.messages[0].title, "Velmar Kestrin");
    }
    EXPECT_EQ(readText(in), "text\n");
    // Nothing but the input is left: no PDF, no hidden part of one.
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(tmp.path()),
                            std::filesystem::directory_iterator()),
              1);
}

} // namespace
} // namespace velmar
