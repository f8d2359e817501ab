#include "filters/documentGeometry.h"

#include "filters/filterMath.h"
#include "pixel/cBitRegion.h"

#include <array>
#include <cmath>
#include <stdexcept>

namespace velmar {

namespace {

using std::int32_t;
using std::int64_t;

// The degree factor of the document turn, which is its own rounder value, not the filters'.
constexpr double kDocumentDegree = 0.0174533;

// Puts the filter's selection back when the turn is done (or fails): the square canvas's selection
// lives only as long as the turn.
class SelectionGuard {
  public:
    explicit SelectionGuard(cBitFilter& f) : f_(f), saved_(f.BitsRegion()) {}
    ~SelectionGuard() { f_.BitsRegion(saved_); }
    SelectionGuard(const SelectionGuard&) = delete;
    SelectionGuard& operator=(const SelectionGuard&) = delete;

  private:
    cBitFilter& f_;
    const Region* saved_;
};

using Kind = GeometryWord::Kind;

// N270 turns by +90 degrees, the others clockwise; A270 turns as A90 does, which is what the menu
// has always done.
constexpr std::array<GeometryWord, 16> kWords = {{
    {"N45", Kind::Rotate, -45.0, false, 0, false},
    {"N90", Kind::Rotate, -90.0, false, 0, false},
    {"N180", Kind::Rotate, -180.0, false, 0, false},
    {"N270", Kind::Rotate, 90.0, false, 0, false},
    {"A45", Kind::Rotate, -45.0, true, 0, false},
    {"A90", Kind::Rotate, -90.0, true, 0, false},
    {"A180", Kind::Rotate, -180.0, true, 0, false},
    {"A270", Kind::Rotate, -90.0, true, 0, false},
    {"2x", Kind::Scale, 0.0, false, 2, true},
    {"3x", Kind::Scale, 0.0, false, 3, true},
    {"4x", Kind::Scale, 0.0, false, 4, true},
    {"5x", Kind::Scale, 0.0, false, 5, true},
    {"x2", Kind::Scale, 0.0, false, 2, false},
    {"x3", Kind::Scale, 0.0, false, 3, false},
    {"x4", Kind::Scale, 0.0, false, 4, false},
    {"x5", Kind::Scale, 0.0, false, 5, false},
}};

// A divided side rounds to the nearest (ties to even, as every round() here) and is at least 2,
// the smallest side the size dialog accepts: a picture one row high cannot even report progress
// (its H1 of 0 divides by zero).
constexpr int32_t kSmallestSide = 2;

int32_t scaledSide(int32_t side, int32_t factor, bool multiply) {
    if (multiply) return filters::checkedLong(int64_t{side} * factor);
    const int32_t divided = roundToLong(static_cast<double>(side) / factor);
    return divided < kSmallestSide ? kSmallestSide : divided;
}

} // namespace

velmar::Bits RotateDocument(cBitFilter& f, const velmar::Bits& original, double degrees,
                            bool smooth) {
    // The object's own picture is replaced by the canvas below: keep a copy of it first.
    const bool own = &original == &f.BitsView();
    const velmar::Bits kept = own ? f.Bits() : velmar::Bits();
    const velmar::Bits& picture = own ? kept : original;

    // 1. The turned picture's bounding size.
    const double c = std::fabs(std::cos(degrees * kDocumentDegree));
    const double s = std::fabs(std::sin(degrees * kDocumentDegree));
    const int32_t w = picture.Width();
    const int32_t h = picture.Height();
    const int32_t newWidth = roundToLong(h * s + c * w);
    const int32_t newHeight = roundToLong(c * h + s * w);

    // 2. A black square as large as the diagonal, wholly selected.
    const int32_t d =
        roundToLong(std::sqrt(static_cast<double>(w) * w + static_cast<double>(h) * h));
    SelectionGuard guard(f);
    cBitRegion square;
    square.Init(0, 0, d, d);
    f.Bits(velmar::Bits(d, d));
    f.BitsRegion(square.RegionMain());

    // 3. The picture in its middle.
    f.Bits(f.TileMask(picture, (d - w) / 2, (d - h) / 2, false, 0, -1));

    // 4. The turn.
    const velmar::Bits turned = smooth ? f.RotateSmooth(degrees) : f.ROTATE(degrees, true);

    // 5. The middle part of the new size.
    const int32_t left = (d - newWidth) / 2;
    const int32_t top = (d - newHeight) / 2;
    f.BitsCrop(turned, left, top, left + newWidth, top + newHeight);
    return f.TakeBits();
}

velmar::Bits ScaleDocument(cBitFilter& f, const velmar::Bits& picture, std::int32_t factor,
                           bool multiply, bool quality) {
    if (factor < 1) throw std::invalid_argument("the size factor must be at least 1");
    const int32_t w = scaledSide(picture.Width(), factor, multiply);
    const int32_t h = scaledSide(picture.Height(), factor, multiply);
    if (quality)
        f.BitsResample(picture, w, h);
    else
        f.BitsResize(picture, w, h);
    return f.TakeBits();
}

std::span<const GeometryWord> GeometryWords() {
    return kWords;
}

std::optional<GeometryWord> FindGeometryWord(std::string_view word) {
    for (const GeometryWord& g : kWords)
        if (g.word == word) return g;
    return std::nullopt;
}

velmar::Bits ApplyGeometryWord(cBitFilter& f, const velmar::Bits& picture,
                               const GeometryWord& word) {
    if (word.kind == Kind::Rotate) return RotateDocument(f, picture, word.degrees, word.smooth);
    return ScaleDocument(f, picture, word.factor, word.multiply, true);
}

} // namespace velmar
