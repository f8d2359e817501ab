#pragma once
// The turns and size steps of a whole document, headless: each takes the document's picture (which
// may be the filter object's own) and returns the new one, made with the filter object `f`, which
// is left holding the new picture and its own selection as it was. The document stores the result
// and then sets its own size and selection.
//
// The menu words of the quick and quality rotations and of quality sizing are data here, so that
// the editor's menus and the command line run the same operations.
#include "filters/cBitFilter.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace velmar {

// Turns `picture` by `degrees` on a canvas that grows to fit: the picture is laid in the middle
// of a black square as large as its diagonal, the square is turned (RotateSmooth when `smooth`,
// else ROTATE with a cleaned background), and the middle part of the turned picture's own bounding
// size is cut out. Negative degrees turn clockwise. The square is never built: each pixel of the
// result is computed from the picture as the turned square would hold it, so only the picture
// and the result take memory. `f` lends its threads and progress and keeps its own picture.
//
// ScaleDocument and ApplyGeometryWord's sizing move their result out of `f`, which is left
// without a picture.
velmar::Bits RotateDocument(cBitFilter& f, const velmar::Bits& picture, double degrees,
                            bool smooth);

// Multiplies (or divides) both sides of `picture` by `factor` (at least 1), with BitsResample when
// `quality` is set, else BitsResize. A divided side is rounded to the nearest whole pixel, ties to
// even as every round() of the program, and is at least 2 (the size dialog's minimum).
velmar::Bits ScaleDocument(cBitFilter& f, const velmar::Bits& picture, std::int32_t factor,
                           bool multiply, bool quality);

// A menu word and the operation it stands for.
struct GeometryWord {
    enum class Kind { Rotate, Scale };
    std::string_view word;
    Kind kind;
    double degrees;      // Rotate
    bool smooth;         // Rotate
    std::int32_t factor; // Scale
    bool multiply;       // Scale
};

// All words, in menu order: N45, N90, N180, N270, A45 ... A270, 2x ... 5x, x2 ... x5.
std::span<const GeometryWord> GeometryWords();
// The word spelled exactly so (the menus compare case-sensitively), if there is one.
std::optional<GeometryWord> FindGeometryWord(std::string_view word);
velmar::Bits ApplyGeometryWord(cBitFilter& f, const velmar::Bits& picture,
                               const GeometryWord& word);

} // namespace velmar
