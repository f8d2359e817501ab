// Rasterisation of the two curved region shapes: ellipses and polygons. Both work in exact
// integer arithmetic, so a shape never gains or loses a pixel by rounding drift, and both write
// whole spans per row through RegionBuilder.
#include "pixel/Region.h"
#include "pixel/RegionBuilder.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace velmar {

namespace {

__extension__ typedef __int128 Int128;

std::uint64_t isqrt(std::uint64_t n) {
    auto r = static_cast<std::uint64_t>(std::sqrt(static_cast<double>(n)));
    while (r > 0 && r * r > n)
        --r;
    while ((r + 1) * (r + 1) <= n)
        ++r;
    return r;
}

std::int32_t floorDiv(std::int32_t a, std::int32_t b) {
    std::int32_t q = a / b;
    if ((a % b != 0) && ((a < 0) != (b < 0))) --q;
    return q;
}

} // namespace

// The ellipse rule. GDI inscribes the ellipse in the box shrunk by one pixel at the right and the
// bottom: with L, T, R = right - 1, B = bottom - 1, W = R - L and H = B - T, pixel (x, y) is
// taken when its centre (x + 0.5, y + 0.5) lies inside or on the ellipse with centre
// ((L + R) / 2, (T + B) / 2) and half axes W / 2 and H / 2. Doubling every length makes this the
// integer test X^2 H^2 + Y^2 W^2 <= W^2 H^2 with X = 2x + 1 - (L + R), Y = 2y + 1 - (T + B).
// The test is symmetric under X -> -X and Y -> -Y, so the shape has GDI's two mirror axes, and
// each row is one span, found from the largest admissible |X| with an integer square root.
//
// GDI's outline always touches the four sides of its box. The centre test alone would miss
// them on very flat or very thin ellipses (the middle row of a 100 by 3 ellipse would stop short
// of the ends), so the middle row(s) always span the full width and every row keeps at least its
// middle pixel(s); the box is then always exactly (L, T, R, B). GDI finds the outline by
// stepping along it, and that stepping can put a single pixel at the end of a row one place in
// or out compared with the centre test, mostly near the 45-degree points of the outline; the
// box, the symmetry and the one-span rows are the same.
Region Region::Ellipse(int left, int top, int right, int bottom) {
    const IntRect box = normalised({left, top, right, bottom});
    const std::int64_t L = box.left;
    const std::int64_t T = box.top;
    const std::int64_t R = std::int64_t{box.right} - 1;
    const std::int64_t B = std::int64_t{box.bottom} - 1;
    const std::int64_t W = R - L;
    const std::int64_t H = B - T;
    if (W < 1 || H < 1) return {};
    if (W < 2 || H < 2)
        return Rect(static_cast<int>(L), static_cast<int>(T), static_cast<int>(R),
                    static_cast<int>(B));

    const Int128 w2 = Int128{W} * W;
    const Int128 h2 = Int128{H} * H;
    const std::int64_t parity = (W - 1) & 1; // X always has the parity of W - 1
    RegionBuilder out;
    out.Reserve(static_cast<std::size_t>(H), static_cast<std::size_t>(H));
    for (std::int64_t y = T; y < B; ++y) {
        const std::int64_t Y = 2 * y + 1 - (T + B);
        std::int64_t m;
        if (Y >= -1 && Y <= 1) {
            m = W - 1;
        } else {
            const Int128 q = w2 * (h2 - Int128{Y} * Y) / h2; // <= W^2 < 2^57
            m = static_cast<std::int64_t>(isqrt(static_cast<std::uint64_t>(q)));
            if ((m & 1) != parity) --m;
            m = std::max(m, parity);
        }
        // x = (X - 1 + L + R) / 2 is exact for X of the right parity.
        const std::int64_t x0 = (-m - 1 + L + R) / 2;
        const std::int64_t x1 = (m - 1 + L + R) / 2 + 1;
        out.BeginBand(static_cast<std::int32_t>(y), static_cast<std::int32_t>(y + 1));
        out.Push(static_cast<std::int32_t>(x0), static_cast<std::int32_t>(x1));
        out.EndBand();
    }
    return out.Finish();
}

// Polygon scan conversion, the rule GDI shares with X11. Row y samples the points (x, y) with x
// an integer. An edge from (x0, y0) down to (x1, y1) (y0 < y1) crosses the rows y0 <= y < y1 at
// x(y) = x0 + (y - y0) (x1 - x0) / (y1 - y0); horizontal edges cross nothing. A sample point on
// an edge counts as right of it, so pixel x of the row is inside when the crossings c <= x,
// i.e. ceil(c) <= x, have a nonzero winding sum (WINDING) or an odd count (ALTERNATE). Only the
// integer ceil(c) of each crossing matters, and it is stepped from row to row exactly as a
// quotient and remainder, so there is no division per row and no rounding at all.
Region Region::Polygon(std::span<const IntPoint> points, PolyFillMode mode) {
    struct Edge {
        std::int32_t yTop;
        std::int32_t yBottom;
        std::int32_t x;     // ceil of the crossing on the current row
        std::int32_t rem;   // x * dy - exact crossing * dy, in [0, dy)
        std::int32_t dy;    // yBottom - yTop, at most 2^28
        std::int32_t stepX; // floor(dx / dy)
        std::int32_t stepR; // dx - stepX * dy, in [0, dy)
        std::int32_t dir;   // +1 downward edge, -1 upward
    };

    std::vector<Edge> edges;
    edges.reserve(points.size());
    const std::size_t n = points.size();
    for (std::size_t i = 0; i < n; ++i) {
        const IntPoint& p = points[i];
        const IntPoint& q = points[(i + 1) % n];
        IntPoint a{clampCoordinate(p.x), clampCoordinate(p.y)};
        IntPoint b{clampCoordinate(q.x), clampCoordinate(q.y)};
        if (a.y == b.y) continue;
        const std::int32_t dir = b.y > a.y ? 1 : -1;
        if (a.y > b.y) std::swap(a, b);
        const std::int32_t dy = b.y - a.y;
        const std::int32_t dx = b.x - a.x;
        const std::int32_t stepX = floorDiv(dx, dy);
        edges.push_back({a.y, b.y, a.x, 0, dy, stepX, dx - stepX * dy, dir});
    }
    if (edges.empty()) return {};
    std::sort(edges.begin(), edges.end(),
              [](const Edge& e, const Edge& f) { return e.yTop < f.yTop; });
    std::int32_t yEnd = edges.front().yBottom;
    for (const Edge& e : edges)
        yEnd = std::max(yEnd, e.yBottom);

    RegionBuilder out;
    std::vector<Edge> active;
    std::size_t next = 0;
    for (std::int32_t y = edges.front().yTop; y < yEnd; ++y) {
        if (active.empty() && next < edges.size() && edges[next].yTop > y) y = edges[next].yTop;
        while (next < edges.size() && edges[next].yTop == y)
            active.push_back(edges[next++]);
        active.erase(std::remove_if(active.begin(), active.end(),
                                    [y](const Edge& e) { return e.yBottom <= y; }),
                     active.end());
        // The order changes only where edges cross, so insertion sort is nearly linear.
        for (std::size_t i = 1; i < active.size(); ++i) {
            const Edge e = active[i];
            std::size_t j = i;
            for (; j > 0 && active[j - 1].x > e.x; --j)
                active[j] = active[j - 1];
            active[j] = e;
        }

        out.BeginBand(y, y + 1);
        std::int32_t winding = 0;
        std::int32_t start = 0;
        for (const Edge& e : active) {
            const std::int32_t before = winding;
            winding = mode == PolyFillMode::Winding ? winding + e.dir : winding ^ 1;
            if (before == 0 && winding != 0)
                start = e.x;
            else if (before != 0 && winding == 0)
                out.Push(start, e.x);
        }
        out.EndBand();

        for (Edge& e : active) {
            e.x += e.stepX;
            e.rem -= e.stepR;
            if (e.rem < 0) {
                e.x += 1;
                e.rem += e.dy;
            }
        }
    }
    return out.Finish();
}

} // namespace velmar
