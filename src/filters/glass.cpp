// GLASS: fixed trigonometric ripples, in the frame of the source-tested deformations
// (deform.cpp). tan, sin and cos take plain radians of the integer coordinate, so each value of
// a column or a row is computed once per call and shared by the pixels that need it; only the
// "slanting" style, whose ripple follows a counter of the box's pixels, needs a sine per pixel.
//
// A style and mode that are not in the table compute no source position at all: every pixel
// copies from the position the object's fields already hold, left by the previous pixel or by
// the previous operation. The menu word CURTAINWHITY ("curtain", mode 4) relies on it.
#include "filters/cBitFilter.h"
#include "filters/filterFrame.h"
#include "filters/filterMath.h"
#include "filters/sourceMapped.h"
#include "pixel/RuntimeError.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <vector>

namespace velmar {


namespace {

// The ripples of one coordinate v, before rounding.
enum class Ripple { None, Tan2, Sin3, Sin5, Cos10, Tan };

double ripple(Ripple r, double v) {
    switch (r) {
    case Ripple::Tan2:
        return 2.0 * std::tan(v) + v;
    case Ripple::Sin3:
        return v - 3.0 * std::sin(v);
    case Ripple::Sin5:
        return v - 5.0 * std::sin(v);
    case Ripple::Cos10:
        return v - 10.0 * std::cos(v);
    case Ripple::Tan:
        return std::tan(v);
    case Ripple::None:
        break;
    }
    return v;
}

// The styles by the shape of their source position.
enum class Shape {
    Stale,   // no position computed
    Slant,   // a sine of the pixel counter moves x (mode 0) or y (mode 1)
    Split,   // sx from a ripple of x or of y, sy from a ripple of y
    Product, // sx = round(tan x * tan y)
    Sum,     // sy = round(tan x + tan y)
};

struct Plan {
    Shape shape = Shape::Stale;
    Ripple sxOfX = Ripple::None; // Split: sx from x...
    Ripple sxOfY = Ripple::None; // ... or from y
    Ripple syOfY = Ripple::None;
    int slantMode = 0;
};

Plan planOf(std::string_view style, std::int16_t mode) {
    Plan p;
    auto split = [&](Ripple x, Ripple xFromY, Ripple y) {
        p.shape = Shape::Split;
        p.sxOfX = x;
        p.sxOfY = xFromY;
        p.syOfY = y;
    };
    const Ripple byMode[] = {Ripple::Tan2, Ripple::Sin3, Ripple::Cos10};
    if (style == "slanting" && (mode == 0 || mode == 1)) {
        p.shape = Shape::Slant;
        p.slantMode = mode;
    } else if (style == "vertical" && mode >= 0 && mode <= 2) {
        split(byMode[mode], Ripple::None, Ripple::None);
    } else if (style == "horizontal" && mode >= 0 && mode <= 2) {
        split(Ripple::None, Ripple::None, byMode[mode]);
    } else if (style == "squary" && mode >= 0 && mode <= 2) {
        const Ripple r = mode == 1 ? Ripple::Sin5 : byMode[mode];
        split(r, Ripple::None, r);
    } else if (style == "curtain" && mode == 0) {
        split(Ripple::None, Ripple::Tan, Ripple::None);
    } else if (style == "curtain" && mode == 1) {
        split(Ripple::Tan, Ripple::None, Ripple::None);
    } else if (style == "curtain" && mode == 2) {
        p.shape = Shape::Product;
    } else if (style == "curtain" && mode == 3) {
        p.shape = Shape::Sum;
    }
    return p;
}

} // namespace

velmar::Bits cBitFilter::GLASS(std::string_view style, std::int16_t mode) {
    const Plan plan = planOf(style, mode);
    RegionBox(0);
    const Box box = box_;
    const Box cut = FilterFrame::ClippedBox(*this);
    const bool anyPixel = cut.left <= cut.right && cut.top <= cut.bottom;
    // Values per column of the box, computed once: rounded ripples of x, or tan x.
    std::vector<std::int32_t> columns;
    std::vector<double> tanOfX;
    // cos i and sin i for the offsets of a row, for the slanting sine.
    std::vector<double> cosOfI, sinOfI;
    if (anyPixel) {
        for (std::int32_t x = cut.left; x <= cut.right; ++x) {
            if (plan.shape == Shape::Split && plan.sxOfX != Ripple::None)
                columns.push_back(roundToLong(ripple(plan.sxOfX, x)));
            if (plan.shape == Shape::Product || plan.shape == Shape::Sum)
                tanOfX.push_back(std::tan(static_cast<double>(x)));
            if (plan.shape == Shape::Slant) {
                cosOfI.push_back(std::cos(static_cast<double>(x - cut.left)));
                sinOfI.push_back(std::sin(static_cast<double>(x - cut.left)));
            }
        }
    }
    const std::int32_t staleX = sx_, staleY = sy_;
    const std::int64_t boxWidth = std::int64_t{box.right} - box.left + 1;

    auto identityX = [](std::int32_t x0, std::int32_t n, std::int32_t* sx) {
        for (std::int32_t i = 0; i < n; ++i)
            sx[i] = x0 + i;
    };
    const filters::SourceRowMap map = [&](std::int32_t y, std::int32_t x0, std::int32_t n,
                                          std::int32_t* __restrict sx,
                                          std::int32_t* __restrict sy) {
        const std::size_t first = static_cast<std::size_t>(x0 - cut.left);
        switch (plan.shape) {
        case Shape::Stale:
            std::fill(sx, sx + n, staleX);
            std::fill(sy, sy + n, staleY);
            return;
        case Shape::Split: {
            if (plan.sxOfX != Ripple::None)
                std::copy_n(columns.data() + first, n, sx);
            else if (plan.sxOfY != Ripple::None)
                std::fill(sx, sx + n, roundToLong(ripple(plan.sxOfY, y)));
            else
                identityX(x0, n, sx);
            std::fill(sy, sy + n,
                      plan.syOfY != Ripple::None ? roundToLong(ripple(plan.syOfY, y)) : y);
            return;
        }
        case Shape::Product:
        case Shape::Sum: {
            const double tanY = std::tan(static_cast<double>(y));
            const double* __restrict tanX = tanOfX.data() + first;
            const bool product = plan.shape == Shape::Product;
            std::int32_t* __restrict moved = product ? sx : sy;
            // round() with its overflow raised after the row: a tan near a pole can exceed a long.
            std::uint32_t bad = 0;
            for (std::int32_t i = 0; i < n; ++i) {
                const double r = std::nearbyint(product ? tanX[i] * tanY : tanX[i] + tanY);
                const bool fits = (r >= -2147483648.0) & (r <= 2147483647.0);
                bad |= fits ? 0u : 1u;
                moved[i] = static_cast<std::int32_t>(fits ? r : 0.0);
            }
            if (bad != 0) throw RuntimeError::Overflow();
            if (product)
                std::fill(sy, sy + n, y);
            else
                identityX(x0, n, sx);
            return;
        }
        case Shape::Slant: {
            // n counts the pixels of the box row by row from 0. sin(n0 + i) is taken as
            // sin n0 cos i + cos n0 sin i, which errs by at most 2^-50; the ripple times 10 then
            // by 2^-46, far below eps, and values within eps of a tie take the sine itself.
            const std::int64_t n0 = (std::int64_t{y} - box.top) * boxWidth + (x0 - box.left);
            const double s0 = std::sin(static_cast<double>(n0));
            const double c0 = std::cos(static_cast<double>(n0));
            const bool moveX = plan.slantMode == 0;
            const double amount = moveX ? 3.0 : 10.0;
            const double eps = 0x1p-40 * (std::fabs(static_cast<double>(x0)) + n + y + 16.0);
            std::int32_t* __restrict moved = moveX ? sx : sy;
            std::int32_t* __restrict kept = moveX ? sy : sx;
            thread_local std::vector<std::int32_t> doubtBuf;
            if (doubtBuf.size() < static_cast<std::size_t>(n))
                doubtBuf.resize(static_cast<std::size_t>(n));
            std::int32_t* __restrict doubt = doubtBuf.data();
            const double* __restrict cosI = cosOfI.data();
            const double* __restrict sinI = sinOfI.data();
            const double step = moveX ? 1.0 : 0.0;
            const double start = moveX ? static_cast<double>(x0) : static_cast<double>(y);
            std::uint32_t anyDoubt = 0;
            for (std::int32_t i = 0; i < n; ++i) {
                const double base = start + step * i;
                const double v = base - amount * (s0 * cosI[i] + c0 * sinI[i]);
                const double r = std::nearbyint(v);
                const bool d =
                    (std::fabs(std::fabs(v - r) - 0.5) <= eps) | !(std::fabs(v) < 1073741824.0);
                doubt[i] = d ? 1 : 0;
                anyDoubt |= d ? 1u : 0u;
                moved[i] = static_cast<std::int32_t>(d ? 0.0 : r);
            }
            if (anyDoubt != 0)
                for (std::int32_t i = 0; i < n; ++i)
                    if (doubt[i] != 0)
                        moved[i] = roundToLong(start + step * i -
                                               amount * std::sin(static_cast<double>(n0 + i)));
            if (moveX)
                std::fill(kept, kept + n, y);
            else
                identityX(x0, n, kept);
            return;
        }
        }
    };
    velmar::Bits out = filters::runSourceMapped(
        *this, sx_, sy_, [this](std::int32_t y) { ProgressStep(y); }, false, map);
    ProgressDone();
    return out;
}

} // namespace velmar
