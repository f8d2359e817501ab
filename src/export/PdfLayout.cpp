#include "export/PdfLayout.h"

#include <algorithm>
#include <cctype>

namespace velmar {

namespace {

// numerator / denominator rounded to the nearest integer, ties to even, for positive values.
// Exact integer arithmetic: the leading and the factor k are decimal fractions, which a double
// would round and so move an exact tie to one side.
std::int64_t roundHalfEven(std::int64_t numerator, std::int64_t denominator) {
    std::int64_t q = numerator / denominator;
    const std::int64_t twiceRest = 2 * (numerator % denominator);
    if (twiceRest > denominator || (twiceRest == denominator && q % 2 != 0)) ++q;
    return q;
}

std::string lowerCase(std::string s) {
    std::transform(s.begin(), s.end(), s.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return s;
}

// The width factor k of a family in tenths: glyphs of Courier are narrower than the average
// proportional face, so more of them fit a line.
std::int64_t widthFactorTenths(const std::string& fontName) {
    const std::string family = lowerCase(fontName);
    if (family == "courier") return 15;
    if (family == "arial") return 20;
    return 22;
}

} // namespace

PdfLayout PdfSetUp(const std::string& fontName, int fontSize, int pageWidthInches,
                   int pageHeightInches) {
    PdfLayout layout;
    layout.pageWidth = pageWidthInches * 72;
    layout.pageHeight = pageHeightInches * 72;
    layout.leading = std::int64_t{fontSize} * 12000;
    // A page lower than its margins holds no line: then every line starts a page of its own.
    layout.linesPerPage = static_cast<int>(
        roundHalfEven(std::int64_t{std::max(0, layout.pageHeight - 72)} * 10000, layout.leading));
    // Zero would make the line breaking cut empty pieces for ever.
    layout.charsPerLine = std::max(
        1,
        static_cast<int>(roundHalfEven(std::int64_t{layout.pageWidth} * widthFactorTenths(fontName),
                                       std::int64_t{fontSize} * 10)));
    layout.footerX = layout.pageWidth / 2;
    layout.footerY = 25;
    return layout;
}

std::string FixedPointText(std::int64_t tenThousandths) {
    std::string text = std::to_string(tenThousandths / 10000);
    std::int64_t fraction = tenThousandths % 10000;
    if (fraction == 0) return text;
    std::string digits = std::to_string(fraction);
    digits.insert(0, 4 - digits.size(), '0');
    digits.erase(digits.find_last_not_of('0') + 1);
    return text + "." + digits;
}

} // namespace velmar
