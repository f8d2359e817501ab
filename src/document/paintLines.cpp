// The shapes of the document's painting operations: the anti-aliased line, and the rectangle,
// regular polygon and ellipse drawn with it.
//
// A line is a walk of real positions in half steps; each position lays a one-pixel square
// centred on it over the 2 by 2 pixels it touches, and each of those is blended by the area it
// gets. The half steps overlap, so a pixel is usually blended more than once: that is how the
// line gets its weight. A position on a whole coordinate would put the square exactly on a pixel
// edge, so it is nudged by 0.001, which keeps the walk from jumping between one and two pixels.
#include "document/fImage.h"
#include "document/paintSupport.h"

#include <algorithm>
#include <cmath>

namespace velmar {

using paint::Bgr;
using paint::BlendPixel;
using paint::ClampPercent;
using paint::ColourBgr;
using paint::InPicture;

namespace {

// The strength of a line: pressure * 2.55 rounded; a pressure of 0 still draws at 1, so that a
// line never vanishes altogether.
int lineIntensity(int pressure) {
    const int intensity = static_cast<int>(std::nearbyint(ClampPercent(pressure) * 2.55));
    return intensity == 0 ? 1 : intensity;
}

void nudgeWhole(double& v) {
    if (v == std::floor(v)) v += 0.001;
}

// Lays the unit square centred on (x, y) over the pixels. The area a pixel gets is scaled by 256
// and held to 255 as a coverage byte; the blend takes coverage * intensity / 255^2 of the colour.
void cover(Bits& bits, const Region& region, double x, double y, const Bgr& colour, int intensity) {
    const double left = std::floor(x - 0.5);
    const double top = std::floor(y - 0.5);
    // All four pixels off the picture: nothing to do (and no conversion of a far coordinate).
    if (left < -1.0 || top < -1.0 || left >= bits.Width() || top >= bits.Height()) return;
    const double fx = x - 0.5 - left;
    const double fy = y - 0.5 - top;
    const double overlapX[2] = {1.0 - fx, fx};
    const double overlapY[2] = {1.0 - fy, fy};
    const int ix = static_cast<int>(left);
    const int iy = static_cast<int>(top);
    for (int j = 0; j < 2; ++j) {
        for (int i = 0; i < 2; ++i) {
            const int px = ix + i;
            const int py = iy + j;
            if (!InPicture(bits, px, py) || !region.Contains(px, py)) continue;
            const int coverage =
                std::min(255, static_cast<int>(std::nearbyint(overlapX[i] * overlapY[j] * 256.0)));
            BlendPixel(&bits(0, px, py), colour, coverage * intensity / 65025.0);
        }
    }
}

} // namespace

void fImage::BitsLine(int x1, int y1, int x2, int y2, COLORREF colour, int pressure) {
    FinishUndoWrite();
    if (!pictureExists_) return;
    const Region* region = region_.Region();
    if (region == nullptr) return;
    const double dx = static_cast<double>(x2) - x1;
    const double dy = static_cast<double>(y2) - y1;
    const double n = std::max(std::abs(dx), std::abs(dy)) + 1.0;
    const double stepX = dx / n / 2.0;
    const double stepY = dy / n / 2.0;
    const int intensity = lineIntensity(pressure);
    const Bgr paintColour = ColourBgr(colour);
    // 2n half steps from the first point: the walk starts one half step in and ends on the
    // second point.
    double x = x1;
    double y = y1;
    for (double t = 0.0; t < n; t += 0.5) {
        x += stepX;
        y += stepY;
        nudgeWhole(x);
        nudgeWhole(y);
        cover(bits_, *region, x, y, paintColour, intensity);
    }
}

void fImage::BitsRectangle(int x1, int y1, int x2, int y2, COLORREF colour, int pressure) {
    FinishUndoWrite();
    // Top, right, bottom, left, each from the corner where the last one ended.
    BitsLine(x1, y1, x2, y1, colour, pressure);
    BitsLine(x2, y1, x2, y2, colour, pressure);
    BitsLine(x2, y2, x1, y2, colour, pressure);
    BitsLine(x1, y2, x1, y1, colour, pressure);
}

// A regular polygon round (cx, cy) with a vertex at (vx, vy). The angle constants are the short
// forms the drawing has always used (1.5708, 3.1416, 6.2832, 6.28318); their small errors are
// part of where the vertices fall, and the 0.001 in the loop's end keeps the last side from
// being lost to them. Fewer than one side draws nothing.
void fImage::BitsPolygon(int cx, int cy, int vx, int vy, int sides, COLORREF colour, int pressure) {
    FinishUndoWrite();
    if (!pictureExists_ || sides < 1) return;
    const double dx = static_cast<double>(vx) - cx;
    const double dy = static_cast<double>(vy) - cy;
    const double radius = std::nearbyint(std::sqrt(dx * dx + dy * dy));
    double start = 0.0;
    if (dx == 0.0)
        start = (dy > 0.0 ? 1.0 : dy < 0.0 ? -1.0 : 0.0) * 1.5708;
    else
        start = std::atan(dy / dx);
    if (dx < 0.0)
        start += 3.1416;
    else if (dy < 0.0)
        start += 6.2832;
    const double step = 6.28318 / sides;
    const double end = start + 6.28318 - step + 0.001;
    // Whole numbers in a double, held within the int range before the conversion.
    const auto toInt = [](double v) {
        return static_cast<int>(std::clamp(v, -2147483647.0, 2147483647.0));
    };
    const auto corner = [&](double angle, int& x, int& y) {
        x = toInt(std::nearbyint(radius * std::cos(angle)) + cx);
        y = toInt(std::nearbyint(radius * std::sin(angle)) + cy);
    };
    for (double a = start; a <= end; a += step) {
        int ax = 0, ay = 0, bx = 0, by = 0;
        corner(a, ax, ay);
        corner(a + step, bx, by);
        BitsLine(ax, ay, bx, by, colour, pressure);
    }
}

// The ellipse is walked by angle, with a step that keeps neighbouring positions about half a
// pixel apart on the larger radius. The step is taken from the larger magnitude of the radii: a
// shape dragged up or left gives negative radii, which draw the same ellipse.
void fImage::BitsEllipse(int cx, int cy, int rx, int ry, COLORREF colour, int pressure) {
    FinishUndoWrite();
    if (!pictureExists_) return;
    const Region* region = region_.Region();
    if (region == nullptr) return;
    constexpr double kAngleStep = 0.534070725440979;
    const double larger =
        std::max(std::abs(static_cast<double>(rx)), std::abs(static_cast<double>(ry)));
    const double step = larger == 0.0 ? kAngleStep : kAngleStep / larger;
    const int intensity = lineIntensity(pressure);
    const Bgr paintColour = ColourBgr(colour);
    for (double angle = 0.0; angle < 6.283185;) {
        angle += step;
        double x = rx * std::cos(angle) + cx;
        double y = ry * std::sin(angle) + cy;
        nudgeWhole(x);
        nudgeWhole(y);
        cover(bits_, *region, x, y, paintColour, intensity);
    }
}

} // namespace velmar
