#include "filters/documentGeometry.h"

#include "filters/filterMath.h"
#include "filters/pixelWord.h"
#include "filters/rowRunner.h"

#include <array>
#include <cmath>
#include <stdexcept>

namespace velmar {

namespace {

using std::int32_t;
using std::int64_t;
using std::uint32_t;

// The degree factor of the document turn, which is its own rounder value, not the filters'.
constexpr double kDocumentDegree = 0.0174533;

// The square canvas of a document turn, black with the picture at (left, top), read without
// being built: holding it (a 6000x4000 picture makes a 7211x7211 square) and its turned copy at
// once would take four times the picture's memory. Each read gives the colour bytes the square
// would hold there, mask byte 0 as the laid picture has; outside the square, and on its zero
// margin, black.
struct Canvas {
    const velmar::Bits& picture;
    int32_t left, top, side;

    uint32_t at(int64_t x, int64_t y) const noexcept {
        const int64_t px = x - left, py = y - top;
        if (px < 0 || py < 0 || px >= picture.Width() || py >= picture.Height()) return 0;
        return reinterpret_cast<const Pixel32*>(picture.Row(static_cast<int>(py)))[px] &
               0x00FFFFFFu;
    }

    // ROTATE's pixel: the source position rounded; inside the square (which is all selected)
    // its colour, outside black (the background is cleaned).
    uint32_t nearestAt(double fx, double fy) const {
        const int64_t sx = roundToLong(fx), sy = roundToLong(fy);
        if (sx < 0 || sy < 0 || sx >= side || sy >= side) return 0;
        return at(sx, sy);
    }

    // RotateSmooth's pixel: the two-stage interpolation of the four pixels from floor(f), when
    // that lies in the square; otherwise black.
    uint32_t smoothAt(double fx, double fy) const {
        const double ix = std::floor(fx), iy = std::floor(fy);
        if (ix < 0 || iy < 0 || ix >= side || iy >= side) return 0;
        const auto x = static_cast<int64_t>(ix), y = static_cast<int64_t>(iy);
        const double tx = fx - ix, ty = fy - iy;
        const uint32_t q00 = at(x, y), q10 = at(x + 1, y), q01 = at(x, y + 1),
                       q11 = at(x + 1, y + 1);
        uint32_t word = 0;
        for (int shift = 0; shift < 24; shift += 8) {
            const auto channel = [shift](uint32_t q) { return static_cast<double>((q >> shift) & 255u); };
            const double a = std::nearbyint((1.0 - ty) * channel(q00) + ty * channel(q01));
            const double b = std::nearbyint((1.0 - ty) * channel(q10) + ty * channel(q11));
            const double v = std::nearbyint((1.0 - tx) * a + tx * b);
            word |= static_cast<uint32_t>(filters::clampByte(static_cast<int32_t>(v))) << shift;
        }
        return word;
    }
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

velmar::Bits RotateDocument(cBitFilter& f, const velmar::Bits& picture, double degrees,
                            bool smooth) {
    // 1. The turned picture's bounding size.
    const double c = std::fabs(std::cos(degrees * kDocumentDegree));
    const double s = std::fabs(std::sin(degrees * kDocumentDegree));
    const int32_t w = picture.Width();
    const int32_t h = picture.Height();
    const int32_t newWidth = roundToLong(h * s + c * w);
    const int32_t newHeight = roundToLong(c * h + s * w);
    // 2. and 3. The black square as large as the diagonal, with the picture in its middle.
    const int32_t d =
        roundToLong(std::sqrt(static_cast<double>(w) * w + static_cast<double>(h) * h));
    const Canvas canvas{picture, (d - w) / 2, (d - h) / 2, d};
    // 4. and 5. The turn of the whole square (ROTATE with a cleaned background, or
    // RotateSmooth), of which only the middle part of the new size is kept.
    const int32_t left = (d - newWidth) / 2;
    const int32_t top = (d - newHeight) / 2;
    velmar::Bits out(newWidth, newHeight);
    const double a = degrees * filters::kDegree;
    const double cs = std::cos(a), sn = std::sin(a);
    const int32_t centre = (d - 1) / 2;
    filters::runRows(
        0, newHeight - 1, f.Threads(),
        [&](int row) {
            Pixel32* o = reinterpret_cast<Pixel32*>(out.Row(row));
            const double dy = top + row - centre;
            for (int32_t col = 0; col < newWidth; ++col) {
                const double dx = left + col - centre;
                o[col] = smooth ? canvas.smoothAt(dx * cs - dy * sn + centre,
                                                  dx * sn + dy * cs + centre)
                                : canvas.nearestAt(dx * cs - dy * sn + centre,
                                                   dx * sn + dy * cs + centre);
            }
        },
        [&](int row) { f.ProgressStep(row, newHeight - 1); });
    f.ProgressDone();
    return out;
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
