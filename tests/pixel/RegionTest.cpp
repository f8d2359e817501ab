#include "pixel/Region.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <ostream>
#include <random>
#include <utility>
#include <vector>

namespace velmar {

std::ostream& operator<<(std::ostream& os, const IntRect& r) {
    return os << "(" << r.left << "," << r.top << "," << r.right << "," << r.bottom << ")";
}

namespace {

using Rects = std::vector<IntRect>;
using Spans = std::vector<std::pair<int, int>>;
constexpr int kLimit = Region::kCoordinateLimit;
constexpr int kMin = std::numeric_limits<int>::min(), kMax = std::numeric_limits<int>::max();

// The rectangle list must be y-x banded, disjoint, and coalesced as far as it can be: bands in
// order without overlap, spans in order with gaps between them, no two touching bands alike.
void ExpectCanonical(const Region& r) {
    const Rects q = r.Rects();
    const auto sameSpan = [](const IntRect& a, const IntRect& b) {
        return a.left == b.left && a.right == b.right;
    };
    ASSERT_EQ(q.empty(), r.IsEmpty());
    IntRect box = q.empty() ? IntRect{} : q[0];
    std::size_t band = 0, above = 0; // the first rectangles of this band and of the one above
    for (std::size_t i = 0; i < q.size(); ++i) {
        ASSERT_FALSE(q[i].IsEmpty()) << q[i];
        if (i > 0 && q[i].top == q[i - 1].top) {
            ASSERT_EQ(q[i].bottom, q[i - 1].bottom) << q[i];
            ASSERT_GT(q[i].left, q[i - 1].right) << "spans must neither overlap nor touch " << q[i];
        } else if (i > 0) {
            ASSERT_GE(q[i].top, q[i - 1].bottom) << q[i];
            above = std::exchange(band, i);
        }
        const bool bandEnds = i + 1 == q.size() || q[i + 1].top != q[i].top;
        if (bandEnds && band > 0 && q[above].bottom == q[band].top) {
            ASSERT_FALSE(std::equal(q.begin() + above, q.begin() + band, q.begin() + band,
                                    q.begin() + i + 1, sameSpan))
                << "touching bands alike at " << q[i];
        }
        box = {std::min(box.left, q[i].left), box.top, std::max(box.right, q[i].right),
               q[i].bottom};
    }
    EXPECT_EQ(r.Box(), box);
}

// The span walk and the row accessor must give, in order, exactly the pixels of the window
// that the point test accepts.
void ExpectWalkMatchesPointTest(const Region& r, int top, int bottom, int left, int right) {
    Spans walked, rows, points;
    r.ForEachSpan(top, bottom, left, right, [&](int y, int x0, int x1) {
        ASSERT_TRUE(y >= top && y < bottom && x0 >= left && x1 <= right && x0 < x1);
        for (int x = x0; x < x1; ++x)
            walked.emplace_back(y, x);
    });
    for (int y = top; y < bottom; ++y) {
        for (const RegionSpan& s : r.RowSpans(y))
            for (int x = std::max(s.left, left); x < std::min(s.right, right); ++x)
                rows.emplace_back(y, x);
        for (int x = left; x < right; ++x)
            if (r.Contains(x, y)) points.emplace_back(y, x);
    }
    ASSERT_EQ(walked, points) << "window " << left << "," << top << "," << right << "," << bottom;
    ASSERT_EQ(rows, points) << "window " << left << "," << top << "," << right << "," << bottom;
}

// Slow references, written from the rules rather than from the code.

// Centre test of the ellipse in (l, t, r - 1, b - 1), plus the middle row(s) and column(s) that
// make the shape touch its box, all in doubles (exact for these small sizes).
bool ReferenceEllipse(int l, int t, int r, int b, int x, int y) {
    const double L = l, T = t, R = r - 1, B = b - 1;
    if (x < L || x >= R || y < T || y >= B) return false;
    const double cx = (L + R) / 2, cy = (T + B) / 2, ax = (R - L) / 2, ay = (B - T) / 2;
    const double dx = x + 0.5 - cx, dy = y + 0.5 - cy;
    // Multiplied out: every term is a multiple of 1/16 and small, so exact in a double.
    if (dx * dx * ay * ay + dy * dy * ax * ax <= ax * ax * ay * ay) return true;
    return std::abs(dy) <= 0.5 || std::abs(dx) <= 0.5;
}

// Winding number of the sample point (x, y): an edge crossing row y at c counts when c <= x.
int ReferenceWinding(const std::vector<IntPoint>& p, int x, int y) {
    int winding = 0;
    for (std::size_t i = 0; i < p.size(); ++i) {
        IntPoint a = p[i], b = p[(i + 1) % p.size()];
        if (a.y == b.y) continue;
        const int dir = b.y > a.y ? 1 : -1;
        if (a.y > b.y) std::swap(a, b);
        if (y < a.y || y >= b.y) continue;
        // c = a.x + (y - a.y) (b.x - a.x) / (b.y - a.y) <= x, multiplied out by b.y - a.y > 0.
        const long long lhs = static_cast<long long>(a.x) * (b.y - a.y) +
                              static_cast<long long>(y - a.y) * (b.x - a.x);
        if (lhs <= static_cast<long long>(x) * (b.y - a.y)) winding += dir;
    }
    return winding;
}

// One [left, right) span per row, from row `top` down.
Rects RowsOf(const Spans& rows, int top) {
    Rects out;
    for (const auto& [l, r] : rows)
        out.push_back({l, top, r, top + 1}), ++top;
    return Region::FromRects(out).Rects();
}

std::vector<IntPoint> RandomPoints(std::mt19937& rng, int lo, int hi, int most) {
    std::uniform_int_distribution<int> coord(lo, hi);
    std::vector<IntPoint> p(
        static_cast<std::size_t>(std::uniform_int_distribution<int>(3, most)(rng)));
    for (IntPoint& q : p)
        q = {coord(rng), coord(rng)};
    return p;
}

// A rectangle, an ellipse, a polygon or a union of rectangles, about (-6, -6) to (30, 30).
Region RandomShape(std::mt19937& rng) {
    std::uniform_int_distribution<int> coord(-6, 30), kind(0, 3), count(0, 8);
    const int k = kind(rng), l = coord(rng), t = coord(rng), r = coord(rng), b = coord(rng);
    if (k == 0) return Region::Rect(l, t, r, b);
    if (k == 1) return Region::Ellipse(l, t, r, b);
    if (k == 2) return Region::Polygon(RandomPoints(rng, -6, 30, 12));
    Rects rects(static_cast<std::size_t>(count(rng)));
    for (IntRect& q : rects)
        q = {coord(rng), coord(rng), coord(rng), coord(rng)};
    return Region::FromRects(rects);
}

TEST(Region, RectanglesAreNormalisedClampedAndEmptyWhenFlat) {
    EXPECT_EQ(Region::Rect(10, -2, -3, -4).Rects(), Rects({{-3, -4, 10, -2}}));
    EXPECT_EQ(Region::Rect(kMin, 0, kMax, 1).Rects(), Rects({{-kLimit, 0, kLimit, 1}}));
    for (const Region& flat : {Region::Rect(4, 0, 4, 9), Region::Rect(0, 7, 9, 7)}) {
        EXPECT_TRUE(flat.IsEmpty());
        EXPECT_EQ(flat.Box(), IntRect{});
    }
}

TEST(Region, CombineModesAndCoalescingOnHandMadeCases) {
    using enum CombineMode;
    const Region a = Region::Rect(0, 0, 10, 10), b = Region::Rect(5, 5, 15, 15);
    const struct {
        Region x, y;
        CombineMode mode;
        Rects expected;
    } cases[] = {
        {a, b, And, {{5, 5, 10, 10}}},
        {a, b, Or, {{0, 0, 10, 5}, {0, 5, 15, 10}, {5, 10, 15, 15}}},
        {a, b, Xor, {{0, 0, 10, 5}, {0, 5, 5, 10}, {10, 5, 15, 10}, {5, 10, 15, 15}}},
        {a, b, Diff, {{0, 0, 10, 5}, {0, 5, 5, 10}}},
        {a, b, Copy, {{0, 0, 10, 10}}},
        {Region::Rect(0, 0, 5, 10), Region::Rect(5, 0, 10, 10), Or, {{0, 0, 10, 10}}},
        {Region::Rect(0, 0, 10, 5), Region::Rect(0, 5, 10, 10), Or, {{0, 0, 10, 10}}},
    };
    for (const auto& c : cases) {
        const Region r = Region::Combine(c.x, c.y, c.mode);
        EXPECT_EQ(r.Rects(), c.expected) << static_cast<int>(c.mode);
        ExpectCanonical(r);
    }
    // An L shape from strips, columns or overlapping junk has one list of bands.
    const Rects canonical = {{0, 0, 4, 6}, {0, 6, 10, 10}};
    Rects strips, columns, junk = {{4, 6, 10, 10}, {0, 0, 4, 10}, {5, 5, 2, 9}, {1, 9, 6, 9}};
    for (int i = 0; i < 10; ++i) {
        strips.push_back({0, i, i < 6 ? 4 : 10, i + 1});
        columns.push_back({i, i < 4 ? 0 : 6, i + 1, 10});
    }
    for (const Rects& list : {strips, columns, junk})
        EXPECT_EQ(Region::FromRects(list).Rects(), canonical);
}

TEST(Region, EllipsesWorkedByHand) {
    // The box shrinks by one at the right and the bottom; flat and thin ones still reach it.
    // Each row: the box given, then the region's box.
    const int cases[][8] = {{0, 0, 10, 10, 0, 0, 9, 9},   {10, 10, 0, 0, 0, 0, 9, 9},
                            {-7, 3, 20, 8, -7, 3, 19, 7}, {0, 0, 102, 5, 0, 0, 101, 4},
                            {0, 0, 5, 103, 0, 0, 4, 102}, {0, 0, 1, 9, 0, 0, 0, 0}};
    for (const auto& c : cases)
        EXPECT_EQ(Region::Ellipse(c[0], c[1], c[2], c[3]).Box(), (IntRect{c[4], c[5], c[6], c[7]}))
            << c[0] << "," << c[1];
    EXPECT_EQ(Region::Ellipse(-kLimit, 0, kLimit, 4).Box(), (IntRect{-kLimit, 0, kLimit - 1, 3}));
    // A shrunk box of width 1 is that box as a rectangle.
    EXPECT_EQ(Region::Ellipse(5, 5, 7, 30).Rects(), Rects({{5, 5, 6, 29}}));
    // Ellipse(0, 0, 5, 5): W = H = 4, X = 2x - 3, Y = 2y - 3, inside when X^2 + Y^2 <= 16.
    // Row 0 (Y = -3): X^2 <= 7 -> X = +-1 -> x 1..2. Row 1 (Y = -1): X^2 <= 15 -> x 0..3.
    EXPECT_EQ(Region::Ellipse(0, 0, 5, 5).Rects(), RowsOf({{1, 3}, {0, 4}, {0, 4}, {1, 3}}, 0));
    // Ellipse(0, 0, 6, 4): W = 5, H = 3, X = 2x - 4, Y = 2y - 2, 9 X^2 + 25 Y^2 <= 225.
    // Row 1 (Y = 0): X^2 <= 25 -> x 0..4. Rows 0, 2 (Y = +-2): X^2 <= 13.9 -> X = +-2 -> x 1..3.
    EXPECT_EQ(Region::Ellipse(0, 0, 6, 4).Rects(), RowsOf({{1, 4}, {0, 5}, {1, 4}}, 0));
}

TEST(Region, EllipsesAreMirrorSymmetricAndMatchTheCentreRule) {
    std::mt19937 rng(20240611);
    std::uniform_int_distribution<int> coord(-12, 40);
    for (int i = 0; i < 400; ++i) {
        const int l = coord(rng), t = coord(rng), r = coord(rng), b = coord(rng);
        const Region e = Region::Ellipse(l, t, r, b);
        ExpectCanonical(e);
        ExpectWalkMatchesPointTest(e, -13, 41, -13, 41);
        const int L = std::min(l, r), R = std::max(l, r), T = std::min(t, b), B = std::max(t, b);
        if (R - L < 3 || B - T < 3) continue; // the rectangle cases are worked by hand
        ASSERT_EQ(e.Box(), (IntRect{L, T, R - 1, B - 1}));
        for (int y = T - 1; y <= B; ++y)
            for (int x = L - 1; x <= R; ++x) {
                ASSERT_EQ(e.Contains(x, y), ReferenceEllipse(L, T, R, B, x, y))
                    << "ellipse " << L << "," << T << "," << R << "," << B << " at " << x << ","
                    << y;
                // Mirror images inside the box: x -> L + R - 2 - x, y -> T + B - 2 - y.
                ASSERT_EQ(e.Contains(x, y), e.Contains(L + R - 2 - x, y));
                ASSERT_EQ(e.Contains(x, y), e.Contains(x, T + B - 2 - y));
            }
    }
}

TEST(Region, PolygonsWorkedByHand) {
    using P = std::vector<IntPoint>;
    EXPECT_EQ(Region::Polygon(P{{0, 0}, {10, 0}, {10, 10}, {0, 10}}), Region::Rect(0, 0, 10, 10));
    // Right edge x = 8 - y is outside: rows [0, 8 - y).
    EXPECT_EQ(Region::Polygon(P{{0, 0}, {8, 0}, {0, 8}}).Rects(),
              RowsOf({{0, 8}, {0, 7}, {0, 6}, {0, 5}, {0, 4}, {0, 3}, {0, 2}, {0, 1}}, 0));
    // Left x = 2 - y/2 is inside, right x = 2 + y outside: row 0 is the bare apex [2, 2); then
    // [ceil 1.5, 3) = [2, 3), [1, 4) (x = 1 on the left edge), [ceil 0.5, 5) = [1, 5).
    EXPECT_EQ(Region::Polygon(P{{2, 0}, {6, 4}, {0, 4}}).Rects(),
              RowsOf({{2, 3}, {1, 4}, {1, 5}}, 1));
    // Corners are clamped into the range as a rectangle's are; fewer than three make nothing.
    EXPECT_EQ(Region::Polygon(P{{kMin, 0}, {kMax, 0}, {kMax, 2}, {kMin, 2}}),
              Region::Rect(kMin, 0, kMax, 2));
    for (const P& none : {P{{0, 0}, {5, 5}, {10, 10}}, P{{0, 0}, {5, 5}}, P{}})
        EXPECT_TRUE(Region::Polygon(none).IsEmpty()) << none.size() << " points";

    // A pentagram (a pentagon of radius 100 about (100, 100), every second corner): WINDING
    // fills its centre pentagon, ALTERNATE leaves it out; nothing else differs.
    const P star = {{100, 0}, {159, 181}, {5, 69}, {195, 69}, {41, 181}};
    const Region winding = Region::Polygon(star, PolyFillMode::Winding);
    const Region alternate = Region::Polygon(star, PolyFillMode::Alternate);
    EXPECT_TRUE(winding.Contains(100, 100));
    EXPECT_FALSE(alternate.Contains(100, 100));
    EXPECT_TRUE(alternate.Contains(100, 10));
    EXPECT_TRUE(Region::Combine(alternate, winding, CombineMode::Diff).IsEmpty());
    const IntRect centre = Region::Combine(winding, alternate, CombineMode::Diff).Box();
    EXPECT_TRUE(centre.left > 50 && centre.right < 150) << centre;
}

TEST(Region, RandomPolygonsMatchTheWindingNumberOfEverySamplePoint) {
    std::mt19937 rng(7);
    for (int i = 0; i < 300; ++i) {
        const std::vector<IntPoint> p = RandomPoints(rng, -5, 40, 30);
        const Region w = Region::Polygon(p, PolyFillMode::Winding);
        const Region a = Region::Polygon(p, PolyFillMode::Alternate);
        for (const Region* r : {&w, &a}) {
            ExpectCanonical(*r);
            ExpectWalkMatchesPointTest(*r, -7, 43, -7, 43);
        }
        for (int y = -7; y < 43; ++y)
            for (int x = -7; x < 43; ++x) {
                const int n = ReferenceWinding(p, x, y);
                ASSERT_EQ(w.Contains(x, y), n != 0) << i << " at " << x << "," << y;
                ASSERT_EQ(a.Contains(x, y), n % 2 != 0) << i << " at " << x << "," << y;
            }
    }
    // A wobbly ring of 5000 corners over a large box: many, long and fractional edges.
    std::vector<IntPoint> ring;
    for (int k = 0; k < 5000; ++k) {
        const double a = 2 * std::numbers::pi * k / 5000;
        const double radius = 1500 + 300 * std::sin(37 * a) + 7 * (k % 3);
        ring.push_back({static_cast<int>(2000 + radius * std::cos(a)),
                        static_cast<int>(2000 + 0.7 * radius * std::sin(a))});
    }
    const Region r = Region::Polygon(ring);
    ExpectCanonical(r);
    std::uniform_int_distribution<int> far(0, 4000);
    for (int i = 0; i < 3000; ++i) {
        const int x = far(rng), y = far(rng);
        ASSERT_EQ(r.Contains(x, y), ReferenceWinding(ring, x, y) != 0) << x << "," << y;
    }
}

TEST(Region, CombinationsAndTheirFramesAgreeWithTheRulesPixelByPixel) {
    using enum CombineMode;
    std::mt19937 rng(99);
    std::uniform_int_distribution<int> coord(-8, 32);
    for (int i = 0; i < 300; ++i) {
        const Region a = RandomShape(rng), b = RandomShape(rng);
        for (CombineMode mode : {And, Or, Xor, Diff, Copy}) {
            const Region r = Region::Combine(a, b, mode);
            ExpectCanonical(r);
            ExpectWalkMatchesPointTest(r, -8, 33, -8, 33);
            ExpectWalkMatchesPointTest(r, coord(rng), coord(rng), coord(rng), coord(rng));
            // Also the one-pixel frame: the pixels with a 4-neighbour outside the region.
            const Region f = r.Frame(1, 1);
            ExpectCanonical(f);
            for (int y = -8; y < 33; ++y)
                for (int x = -8; x < 33; ++x) {
                    const bool in = r.Contains(x, y);
                    ASSERT_EQ(f.Contains(x, y),
                              in && !(r.Contains(x - 1, y) && r.Contains(x + 1, y) &&
                                      r.Contains(x, y - 1) && r.Contains(x, y + 1)))
                        << x << "," << y;
                    const bool p = a.Contains(x, y), q = b.Contains(x, y);
                    const bool expected = mode == And    ? p && q
                                          : mode == Or   ? p || q
                                          : mode == Xor  ? p != q
                                          : mode == Diff ? p && !q
                                                         : p;
                    ASSERT_EQ(in, expected)
                        << "mode " << static_cast<int>(mode) << " at " << x << "," << y;
                }
            // The rectangle list, shuffled, rebuilds the same region.
            Rects rects = r.Rects();
            std::shuffle(rects.begin(), rects.end(), rng);
            EXPECT_EQ(Region::FromRects(rects), r);
        }
    }
}

TEST(Region, OffsetMovesEverythingAndRefusesToLeaveTheRange) {
    Region r = Region::Combine(Region::Rect(0, 0, 4, 4), Region::Rect(6, 2, 9, 8), CombineMode::Or);
    ASSERT_TRUE(r.Offset(-10, 3));
    EXPECT_EQ(r, Region::Combine(Region::Rect(-10, 3, -6, 7), Region::Rect(-4, 5, -1, 11),
                                 CombineMode::Or));

    const Region start = Region::Rect(kLimit - 10, 0, kLimit, 5);
    Region edge = start;
    EXPECT_FALSE(edge.Offset(1, 0));
    EXPECT_FALSE(edge.Offset(0, kMax));
    EXPECT_FALSE(edge.Offset(kMin, 0));
    EXPECT_EQ(edge, start);
    EXPECT_TRUE(edge.Offset(-2 * kLimit + 10, -5));
    EXPECT_EQ(edge.Box(), (IntRect{-kLimit, -5, -kLimit + 10, 0}));
    Region empty;
    EXPECT_TRUE(empty.Offset(kMax, 0));
    EXPECT_TRUE(empty.IsEmpty());
}

TEST(Region, FrameIsTheBorderOfTheBrushSize) {
    const Region square = Region::Rect(0, 0, 10, 10);
    EXPECT_EQ(square.Frame(2, 1).Rects(),
              Rects({{0, 0, 10, 1}, {0, 1, 2, 9}, {8, 1, 10, 9}, {0, 9, 10, 10}}));
    EXPECT_EQ(square.Frame(0, 3).Rects(), Rects({{0, 0, 10, 3}, {0, 7, 10, 10}}));
    EXPECT_TRUE(square.Frame(0, 0).IsEmpty());
}

TEST(Region, RgnDataLayoutAndReadingBack) {
    const Region r =
        Region::Combine(Region::Rect(1, 2, 5, 4), Region::Rect(7, 2, 9, 6), CombineMode::Or);
    const std::vector<std::int32_t> expected = {32, 1, 3, 48, 1, 2, 9, 6, // header and box
                                                1,  2, 5, 4,  7, 2, 9, 4, 7, 4, 9, 6};
    EXPECT_EQ(r.ToRgnData(), expected);
    EXPECT_EQ(Region::FromRgnData(expected), r);
    EXPECT_EQ(Region().ToRgnData(), std::vector<std::int32_t>({32, 1, 0, 0, 0, 0, 0, 0}));
    // Only whole counted rectangles are read; a short header is nothing.
    const std::vector<std::int32_t> cases[] = {
        {32, 1, 1, 16, 0, 0, 1},
        {32, 1, -1, 16, 0, 0, 2, 2, 0, 0, 2, 2},
        {32, 1, 5, 80, 0, 0, 0, 0, 0, 0, 2, 2, 3, 3, 4},
        {32, 1, 1, 16, 0, 0, 0, 0, 0, 0, 2, 2, 5, 5, 6, 6},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i)
        EXPECT_EQ(Region::FromRgnData(cases[i]).Rects(), i < 2 ? Rects{} : Rects({{0, 0, 2, 2}}))
            << i;
}

} // namespace
} // namespace velmar
