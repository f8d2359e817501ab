// The pages' text: input lines escaped, trimmed and broken to the line width, a new page when
// the page is full or a line holds a form feed, the page number at each page's foot.
#include "export/PdfTextLines.h"
#include "export/PdfWriter.h"
#include "export/TextLineReader.h"

namespace velmar {

void PdfWriter::writeTextLine(std::string_view text) {
    // The CR LF inside the string is how the files of this program have always carried a line;
    // T* has already moved to the next line, so readers show no extra break.
    out_->WriteLine({"T* (", text, "\r\n) Tj"});
}

void PdfWriter::writeText(const std::filesystem::path& input) {
    TextLineReader reader(input);
    const auto width = static_cast<std::size_t>(layout_.charsPerLine);
    // The slot of the line about to be written, from 0; a full page moves on to the next.
    int line = -1;
    const auto nextPageWhenFull = [&](bool formFeed) {
        if (line >= layout_.linesPerPage || formFeed) {
            writeFooter();
            endPage();
            startPage();
            line = 0;
        }
    };
    std::string_view raw;
    std::string escaped;
    while (reader.Next(raw)) {
        ++line;
        // A form feed is looked for once per input line, before the line is written; it stays
        // in the text.
        nextPageWhenFull(raw.find('\f') != std::string_view::npos);
        std::string_view rest = raw;
        // Two fast searches spare most lines the character-by-character copy.
        if (raw.find('(') != std::string_view::npos || raw.find(')') != std::string_view::npos) {
            EscapeParentheses(raw, escaped);
            rest = escaped;
        }
        rest = TrimBlanks(rest);
        while (rest.size() > width) {
            const std::size_t cut = BreakLength(rest.substr(0, width));
            writeTextLine(rest.substr(0, cut));
            rest.remove_prefix(cut);
            ++line;
            nextPageWhenFull(false);
        }
        writeTextLine(rest);
    }
    writeFooter();
    endPage();
}

} // namespace velmar
