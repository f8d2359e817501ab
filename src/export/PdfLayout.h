#pragma once
// The page metrics of the text-to-PDF writer, worked out once per conversion from the font and
// the page size the user chose. Pure arithmetic, no files.
#include <cstdint>
#include <string>

namespace velmar {

struct PdfLayout {
    int pageWidth = 0;  // points (72 to the inch)
    int pageHeight = 0; // points
    // The distance between lines in ten-thousandths of a point: the leading is a fixed
    // four-decimal number, so 1.2 times the size is exact (size 11 gives 13.2).
    std::int64_t leading = 0;
    int linesPerPage = 0; // text lines on a page, footer not counted
    int charsPerLine = 0; // longest piece of a line before it is broken; at least 1
    int footerX = 0;      // points from the left, the page number's position
    int footerY = 0;      // points from the bottom
};

// The metrics for `fontName` at `fontSize` points on a page of whole inches. Lines per page is
// (height - 72) / leading and characters per line is width * k / size, both rounded to the
// nearest integer with ties to even; k is 1.5 for the family "courier", 2 for "arial" (the whole
// lower-cased name must match) and 2.2 for every other family. Sizes and inches must be
// positive; the window offers 5 to 75 points and 5 to 50 inches.
PdfLayout PdfSetUp(const std::string& fontName, int fontSize, int pageWidthInches,
                   int pageHeightInches);

// A number of ten-thousandths written as the file shows it: no trailing zeros after the point
// and no point for a whole number ("13.2", "90", "0.0125").
std::string FixedPointText(std::int64_t tenThousandths);

} // namespace velmar
