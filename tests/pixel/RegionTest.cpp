#include "pixel/Region.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <ostream>
#include <random>
#include <vector>

namespace velmar {

std::ostream& operator<<(std::ostream& os, const IntRect& r) {
    return os << "(" << r.left << "," << r.top << "," << r.right << "," << r.bottom << ")";
}

namespace {

using Rects = std::vector<IntRect>;
constexpr int kLimit = Region::kCoordinateLimit;

// The rectangle list must be y-x banded, disjoint, and coalesced as far as it can be.
void ExpectCanonical(const Region& r) {
    const Rects rects = r.Rects();
    ASSERT_EQ(rects.empty(), r.IsEmpty());
    IntRect box{};
    std::vector<std::pair<int, int>> previousSpans, spans;
    int previousBottom = std::numeric_limits<int>::min();
    for (std::size_t i = 0; i < rects.size(); ++i) {
        const IntRect& q = rects[i];
        ASSERT_FALSE(q.IsEmpty()) << q;
        const bool sameBand = i > 0 && rects[i - 1].top == q.top;
        if (sameBand) {
            ASSERT_EQ(rects[i - 1].bottom, q.bottom) << q;
            ASSERT_GT(q.left, rects[i - 1].right) << "spans must neither overlap nor touch " << q;
        } else {
            if (i > 0) {
                ASSERT_GE(q.top, previousBottom) << q;
                if (q.top == previousBottom)
                    previousSpans = spans;
                else
                    previousSpans.clear();
            }
            spans.clear();
        }
        spans.emplace_back(q.left, q.right);
        const bool bandEnds = i + 1 == rects.size() || rects[i + 1].top != q.top;
        if (bandEnds) {
            ASSERT_NE(spans, previousSpans) << "touching bands with equal spans at " << q;
            previousBottom = q.bottom;
        }
        box = i == 0 ? q
                     : IntRect{std::min(box.left, q.left), std::min(box.top, q.top),
                               std::max(box.right, q.right), std::max(box.bottom, q.bottom)};
    }
    EXPECT_EQ(r.Box(), box);
}

// The span walk, the row accessor and the point test must agree on every pixel of the box and
// a margin around it, and the walk must come in order.
void ExpectWalkMatchesPointTest(const Region& r) {
    const IntRect b = r.Box();
    const int top = b.top - 1, bottom = b.bottom + 1, left = b.left - 1, right = b.right + 1;
    const int w = right - left;
    std::vector<char> walked(static_cast<std::size_t>(w) * static_cast<std::size_t>(bottom - top),
                             0);
    int lastY = std::numeric_limits<int>::min(), lastX = 0;
    r.ForEachSpan(top, bottom, left, right, [&](int y, int x0, int x1) {
        ASSERT_LT(x0, x1);
        ASSERT_TRUE(y > lastY || (y == lastY && x0 > lastX)) << "out of order at row " << y;
        lastY = y;
        lastX = x1;
        for (int x = x0; x < x1; ++x) {
            char& seen = walked[static_cast<std::size_t>((y - top) * w + (x - left))];
            ASSERT_EQ(seen, 0) << "pixel visited twice " << x << "," << y;
            seen = 1;
        }
    });
    for (int y = top; y < bottom; ++y) {
        std::vector<char> row(static_cast<std::size_t>(w), 0);
        for (const RegionSpan& s : r.RowSpans(y))
            for (int x = std::max(s.left, left); x < std::min(s.right, right); ++x)
                row[static_cast<std::size_t>(x - left)] = 1;
        for (int x = left; x < right; ++x) {
            const bool in = r.Contains(x, y);
            ASSERT_EQ(walked[static_cast<std::size_t>((y - top) * w + (x - left))] != 0, in)
                << "walk vs point test at " << x << "," << y;
            ASSERT_EQ(row[static_cast<std::size_t>(x - left)] != 0, in)
                << "row at " << x << "," << y;
        }
    }
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

Rects RowsOf(const std::vector<std::pair<int, int>>& rows, int top) {
    Rects out;
    for (std::size_t i = 0; i < rows.size(); ++i)
        out.push_back({rows[i].first, top + static_cast<int>(i), rows[i].second,
                       top + static_cast<int>(i) + 1});
    return Region::FromRects(out).Rects();
}

TEST(Region, RectanglesAreNormalisedAndEmptyWhenFlat) {
    struct Case {
        int l, t, r, b;
        Rects expected;
    };
    const Case cases[] = {
        {0, 0, 10, 5, {{0, 0, 10, 5}}},
        {10, 5, 0, 0, {{0, 0, 10, 5}}},
        {10, 0, 0, 5, {{0, 0, 10, 5}}},
        {-3, -4, -1, -2, {{-3, -4, -1, -2}}},
        {4, 0, 4, 9, {}},
        {0, 7, 9, 7, {}},
        {std::numeric_limits<int>::min(),
         0,
         std::numeric_limits<int>::max(),
         1,
         {{-kLimit, 0, kLimit, 1}}},
    };
    for (const Case& c : cases) {
        const Region r = Region::Rect(c.l, c.t, c.r, c.b);
        EXPECT_EQ(r.Rects(), c.expected) << c.l << "," << c.t << "," << c.r << "," << c.b;
        if (c.expected.empty()) {
            EXPECT_TRUE(r.IsEmpty());
            EXPECT_EQ(r.Box(), IntRect{});
        }
    }
}

TEST(Region, CombineModesOnHandMadeCases) {
    const Region a = Region::Rect(0, 0, 10, 10);
    const Region b = Region::Rect(5, 5, 15, 15);
    const Region left = Region::Rect(0, 0, 5, 10);
    const Region right = Region::Rect(5, 0, 10, 10);
    const Region upper = Region::Rect(0, 0, 10, 5);
    const Region lower = Region::Rect(0, 5, 10, 10);
    const Region hole = Region::Combine(a, Region::Rect(3, 3, 7, 7), CombineMode::Diff);
    struct Case {
        const char* name;
        const Region& x;
        const Region& y;
        CombineMode mode;
        Rects expected;
    };
    const Case cases[] = {
        {"and", a, b, CombineMode::And, {{5, 5, 10, 10}}},
        {"or", a, b, CombineMode::Or, {{0, 0, 10, 5}, {0, 5, 15, 10}, {5, 10, 15, 15}}},
        {"xor",
         a,
         b,
         CombineMode::Xor,
         {{0, 0, 10, 5}, {0, 5, 5, 10}, {10, 5, 15, 10}, {5, 10, 15, 15}}},
        {"diff", a, b, CombineMode::Diff, {{0, 0, 10, 5}, {0, 5, 5, 10}}},
        {"diff reversed", b, a, CombineMode::Diff, {{10, 5, 15, 10}, {5, 10, 15, 15}}},
        {"copy", a, b, CombineMode::Copy, {{0, 0, 10, 10}}},
        {"side by side join", left, right, CombineMode::Or, {{0, 0, 10, 10}}},
        {"stacked bands join", upper, lower, CombineMode::Or, {{0, 0, 10, 10}}},
        {"touching and", left, right, CombineMode::And, {}},
        {"xor with itself", a, a, CombineMode::Xor, {}},
        {"diff to nothing", left, a, CombineMode::Diff, {}},
        {"hole",
         hole,
         Region(),
         CombineMode::Or,
         {{0, 0, 10, 3}, {0, 3, 3, 7}, {7, 3, 10, 7}, {0, 7, 10, 10}}},
        {"filling the hole", hole, Region::Rect(3, 3, 7, 7), CombineMode::Xor, {{0, 0, 10, 10}}},
        {"and with empty", a, Region(), CombineMode::And, {}},
        {"diff of empty", Region(), a, CombineMode::Diff, {}},
        {"xor with empty", Region(), b, CombineMode::Xor, {{5, 5, 15, 15}}},
    };
    for (const Case& c : cases) {
        const Region r = Region::Combine(c.x, c.y, c.mode);
        EXPECT_EQ(r.Rects(), c.expected) << c.name;
        ExpectCanonical(r);
    }
}

TEST(Region, EveryWayOfBuildingAShapeGivesTheSameRectangles) {
    // An L shape: rows 0..9 x 0..3, plus rows 6..9 x 4..9.
    const Rects canonical = {{0, 0, 4, 6}, {0, 6, 10, 10}};
    Rects strips;
    for (int y = 0; y < 10; ++y)
        strips.push_back({0, y, y < 6 ? 4 : 10, y + 1});
    Rects columns;
    for (int x = 0; x < 10; ++x)
        columns.push_back({x, x < 4 ? 0 : 6, x + 1, 10});
    Rects overlapping = {{4, 6, 10, 10}, {0, 0, 4, 10}, {2, 7, 8, 9}, {0, 0, 1, 1}};
    Rects withJunk = overlapping;
    withJunk.insert(withJunk.begin() + 1, {{5, 5, 2, 9}, {3, 3, 3, 8}, {1, 9, 6, 9}});
    const Region fromStrips = Region::FromRects(strips);
    for (const Rects& list : {strips, columns, overlapping, withJunk}) {
        const Region r = Region::FromRects(list);
        EXPECT_EQ(r.Rects(), canonical);
        EXPECT_EQ(r, fromStrips);
        ExpectCanonical(r);
    }
    EXPECT_EQ(
        Region::Combine(Region::Rect(0, 0, 4, 10), Region::Rect(4, 6, 10, 10), CombineMode::Or)
            .Rects(),
        canonical);
}

TEST(Region, EllipseBoxIsTheBoxShrunkAtRightAndBottom) {
    struct Case {
        int l, t, r, b;
        IntRect box;
    };
    const Case cases[] = {
        {0, 0, 10, 10, {0, 0, 9, 9}},
        {10, 10, 0, 0, {0, 0, 9, 9}},
        {-7, 3, 20, 8, {-7, 3, 19, 7}},
        {0, 0, 102, 5, {0, 0, 101, 4}}, // flat: the ends of the middle row still reach the box
        {0, 0, 5, 103, {0, 0, 4, 102}}, // thin: the middle column still reaches the box
        {0, 0, 3, 3, {0, 0, 2, 2}},
        {5, 5, 7, 30, {5, 5, 6, 29}}, // shrunk width 1: the shrunk box as a rectangle
        {0, 0, 1, 9, {}},
        {0, 0, 9, 0, {}},
        {-kLimit, 0, kLimit, 4, {-kLimit, 0, kLimit - 1, 3}},
    };
    for (const Case& c : cases) {
        const Region e = Region::Ellipse(c.l, c.t, c.r, c.b);
        EXPECT_EQ(e.Box(), c.box) << c.l << "," << c.t << "," << c.r << "," << c.b;
        ExpectCanonical(e);
    }
    EXPECT_EQ(Region::Ellipse(5, 5, 7, 30).Rects(), Rects({{5, 5, 6, 29}}));
}

TEST(Region, SmallEllipsesWorkedByHand) {
    // Ellipse(0, 0, 5, 5): W = H = 4, X = 2x - 3, Y = 2y - 3, inside when X^2 + Y^2 <= 16.
    // Row 0 (Y = -3): X^2 <= 7 -> X = +-1 -> x 1..2. Row 1 (Y = -1): X^2 <= 15 -> x 0..3.
    EXPECT_EQ(Region::Ellipse(0, 0, 5, 5).Rects(), RowsOf({{1, 3}, {0, 4}, {0, 4}, {1, 3}}, 0));
    // Ellipse(0, 0, 6, 4): W = 5, H = 3, X = 2x - 4, Y = 2y - 2, 9 X^2 + 25 Y^2 <= 225.
    // Row 1 (Y = 0): X^2 <= 25 -> x 0..4. Rows 0, 2 (Y = +-2): X^2 <= 13.9 -> X = +-2 -> x 1..3.
    EXPECT_EQ(Region::Ellipse(0, 0, 6, 4).Rects(), RowsOf({{1, 4}, {0, 5}, {1, 4}}, 0));
    // Ellipse(0, 0, 10, 10): W = H = 9, X = 2x - 8, Y = 2y - 8, X^2 + Y^2 <= 81.
    // Y = -8: |X| <= 4 -> x 2..6; Y = -6: |X| <= 6 -> x 1..7; |Y| <= 4: |X| <= 8 -> x 0..8.
    EXPECT_EQ(Region::Ellipse(0, 0, 10, 10).Rects(),
              Rects({{2, 0, 7, 1}, {1, 1, 8, 2}, {0, 2, 9, 7}, {1, 7, 8, 8}, {2, 8, 7, 9}}));
    // Moving the box moves the shape.
    Region moved = Region::Ellipse(0, 0, 6, 4);
    ASSERT_TRUE(moved.Offset(-20, 7));
    EXPECT_EQ(Region::Ellipse(-20, 7, -14, 11), moved);
}

TEST(Region, EllipsesAreMirrorSymmetricAndMatchTheCentreRule) {
    std::mt19937 rng(20240611);
    std::uniform_int_distribution<int> coord(-12, 40);
    for (int i = 0; i < 400; ++i) {
        const int l = coord(rng), t = coord(rng), r = coord(rng), b = coord(rng);
        const Region e = Region::Ellipse(l, t, r, b);
        ExpectCanonical(e);
        ExpectWalkMatchesPointTest(e);
        const int L = std::min(l, r), R = std::max(l, r), T = std::min(t, b), B = std::max(t, b);
        if (R - L < 3 || B - T < 3) continue; // the rectangle cases are covered above
        const IntRect box = e.Box();
        ASSERT_EQ(box, (IntRect{L, T, R - 1, B - 1}));
        for (int y = T - 1; y <= B; ++y)
            for (int x = L - 1; x <= R; ++x) {
                ASSERT_EQ(e.Contains(x, y), ReferenceEllipse(L, T, R, B, x, y))
                    << "ellipse " << L << "," << T << "," << R << "," << B << " at " << x << ","
                    << y;
                // Mirror images inside the box: x -> L + R - 2 - x, y -> T + B - 2 - y.
                ASSERT_EQ(e.Contains(x, y), e.Contains(L + R - 2 - x, y));
                ASSERT_EQ(e.Contains(x, y), e.Contains(x, T + B - 2 - y));
            }
        for (int y = box.top; y < box.bottom; ++y)
            ASSERT_EQ(e.RowSpans(y).size(), 1u);
    }
}

TEST(Region, PolygonsWorkedByHand) {
    const std::vector<IntPoint> square = {{0, 0}, {10, 0}, {10, 10}, {0, 10}};
    EXPECT_EQ(Region::Polygon(square), Region::Rect(0, 0, 10, 10));
    EXPECT_EQ(Region::Polygon(square, PolyFillMode::Alternate), Region::Rect(0, 0, 10, 10));

    struct Case {
        const char* name;
        std::vector<IntPoint> points;
        PolyFillMode mode;
        Rects expected;
    };
    const Case cases[] = {
        // Right edge x = 8 - y ends the row before it: rows [0, 8 - y).
        {"right triangle",
         {{0, 0}, {8, 0}, {0, 8}},
         PolyFillMode::Winding,
         RowsOf({{0, 8}, {0, 7}, {0, 6}, {0, 5}, {0, 4}, {0, 3}, {0, 2}, {0, 1}}, 0)},
        // Right edge x = 5 - 5y/3: 5, 3.33, 1.67 -> ceil 5, 4, 2.
        {"shallow triangle",
         {{0, 0}, {5, 0}, {0, 3}},
         PolyFillMode::Winding,
         RowsOf({{0, 5}, {0, 4}, {0, 2}}, 0)},
        // Left x = 2 - y/2, right x = 2 + y: row 0 is the bare apex [2, 2); then
        // [ceil 1.5, 3) = [2, 3), [1, 4), [ceil 0.5, 5) = [1, 5).
        {"apex triangle",
         {{2, 0}, {6, 4}, {0, 4}},
         PolyFillMode::Winding,
         RowsOf({{2, 3}, {1, 4}, {1, 5}}, 1)},
        // Two triangles meeting at (5, 5): row y holds [0, y) and [10 - y, 10); at row 5 the
        // crossing point is on the right triangle's left edge, so the row is whole.
        {"bow tie",
         {{0, 0}, {10, 10}, {10, 0}, {0, 10}},
         PolyFillMode::Winding,
         Rects({{0, 1, 1, 2},
                {9, 1, 10, 2},
                {0, 2, 2, 3},
                {8, 2, 10, 3},
                {0, 3, 3, 4},
                {7, 3, 10, 4},
                {0, 4, 4, 5},
                {6, 4, 10, 5},
                {0, 5, 10, 6},
                {0, 6, 4, 7},
                {6, 6, 10, 7},
                {0, 7, 3, 8},
                {7, 7, 10, 8},
                {0, 8, 2, 9},
                {8, 8, 10, 9},
                {0, 9, 1, 10},
                {9, 9, 10, 10}})},
        {"duplicate points",
         {{0, 0}, {0, 0}, {4, 0}, {4, 0}, {4, 2}, {0, 2}, {0, 2}},
         PolyFillMode::Winding,
         Rects({{0, 0, 4, 2}})},
        // A square traced twice over has winding 2: in for WINDING, out for ALTERNATE.
        {"square twice winding",
         {{0, 0}, {3, 0}, {3, 3}, {0, 3}, {0, 0}, {3, 0}, {3, 3}, {0, 3}},
         PolyFillMode::Winding,
         Rects({{0, 0, 3, 3}})},
        {"square twice alternate",
         {{0, 0}, {3, 0}, {3, 3}, {0, 3}, {0, 0}, {3, 0}, {3, 3}, {0, 3}},
         PolyFillMode::Alternate,
         Rects{}},
        {"collinear", {{0, 0}, {5, 5}, {10, 10}}, PolyFillMode::Winding, Rects{}},
        {"two points", {{0, 0}, {5, 5}}, PolyFillMode::Winding, Rects{}},
        {"one point", {{3, 3}}, PolyFillMode::Winding, Rects{}},
        {"no points", {}, PolyFillMode::Winding, Rects{}},
        {"clamped",
         {{std::numeric_limits<int>::min(), 0},
          {std::numeric_limits<int>::max(), 0},
          {std::numeric_limits<int>::max(), 2},
          {std::numeric_limits<int>::min(), 2}},
         PolyFillMode::Winding,
         Rects({{-kLimit, 0, kLimit, 2}})},
    };
    for (const Case& c : cases) {
        const Region r = Region::Polygon(c.points, c.mode);
        EXPECT_EQ(r.Rects(), c.expected) << c.name;
        ExpectCanonical(r);
    }
}

TEST(Region, SelfCrossingStarFillsItsCentreOnlyWhenWinding) {
    // A pentagram: the corners of a pentagon of radius 100 taken every second one.
    std::vector<IntPoint> star;
    for (int k = 0; k < 5; ++k) {
        const double a = -std::numbers::pi / 2 + (2 * k % 5) * 2 * std::numbers::pi / 5;
        star.push_back({static_cast<int>(std::lround(100 + 100 * std::cos(a))),
                        static_cast<int>(std::lround(100 + 100 * std::sin(a)))});
    }
    const Region winding = Region::Polygon(star, PolyFillMode::Winding);
    const Region alternate = Region::Polygon(star, PolyFillMode::Alternate);
    EXPECT_TRUE(winding.Contains(100, 100));
    EXPECT_FALSE(alternate.Contains(100, 100));
    // The points of the star belong to both; the outside to neither.
    for (const Region* r : {&winding, &alternate}) {
        EXPECT_TRUE(r->Contains(100, 10));
        EXPECT_TRUE(r->Contains(20, 70));
        EXPECT_FALSE(r->Contains(100, 190));
        EXPECT_FALSE(r->Contains(5, 5));
    }
    // WINDING is the union of the two: the centre pentagon is all that ALTERNATE lacks.
    const Region centre = Region::Combine(winding, alternate, CombineMode::Diff);
    EXPECT_FALSE(centre.IsEmpty());
    EXPECT_TRUE(Region::Combine(alternate, winding, CombineMode::Diff).IsEmpty());
    const IntRect c = centre.Box();
    EXPECT_GT(c.left, 50);
    EXPECT_LT(c.right, 150);
    ExpectWalkMatchesPointTest(winding);
    ExpectWalkMatchesPointTest(alternate);
}

TEST(Region, RandomPolygonsMatchTheWindingNumberOfEverySamplePoint) {
    std::mt19937 rng(7);
    std::uniform_int_distribution<int> coord(-5, 40);
    std::uniform_int_distribution<int> count(3, 30);
    for (int i = 0; i < 300; ++i) {
        std::vector<IntPoint> p(static_cast<std::size_t>(count(rng)));
        for (IntPoint& q : p)
            q = {coord(rng), coord(rng)};
        const Region w = Region::Polygon(p, PolyFillMode::Winding);
        const Region a = Region::Polygon(p, PolyFillMode::Alternate);
        ExpectCanonical(w);
        ExpectCanonical(a);
        ExpectWalkMatchesPointTest(w);
        ExpectWalkMatchesPointTest(a);
        for (int y = -7; y < 43; ++y)
            for (int x = -7; x < 43; ++x) {
                const int n = ReferenceWinding(p, x, y);
                ASSERT_EQ(w.Contains(x, y), n != 0) << "polygon " << i << " at " << x << "," << y;
                ASSERT_EQ(a.Contains(x, y), n % 2 != 0)
                    << "polygon " << i << " at " << x << "," << y;
            }
    }
}

TEST(Region, ManyVertexPolygonMatchesTheReferenceAtSampledPoints) {
    // A wobbly ring of 5000 corners over a large box: the scan converter must stay exact and
    // fast with many edges, long edges and fractional slopes.
    std::vector<IntPoint> p;
    for (int k = 0; k < 5000; ++k) {
        const double a = 2 * std::numbers::pi * k / 5000;
        const double radius = 1500 + 300 * std::sin(37 * a) + 7 * (k % 3);
        p.push_back({static_cast<int>(2000 + radius * std::cos(a)),
                     static_cast<int>(2000 + 0.7 * radius * std::sin(a))});
    }
    const Region r = Region::Polygon(p);
    std::mt19937 rng(3);
    std::uniform_int_distribution<int> coord(0, 4000);
    for (int i = 0; i < 3000; ++i) {
        const int x = coord(rng), y = coord(rng);
        ASSERT_EQ(r.Contains(x, y), ReferenceWinding(p, x, y) != 0) << x << "," << y;
    }
    ExpectCanonical(r);
}

Region RandomShape(std::mt19937& rng) {
    std::uniform_int_distribution<int> coord(-6, 30);
    std::uniform_int_distribution<int> kind(0, 3);
    switch (kind(rng)) {
    case 0:
        return Region::Rect(coord(rng), coord(rng), coord(rng), coord(rng));
    case 1:
        return Region::Ellipse(coord(rng), coord(rng), coord(rng), coord(rng));
    case 2: {
        std::vector<IntPoint> p(
            static_cast<std::size_t>(std::uniform_int_distribution<int>(3, 12)(rng)));
        for (IntPoint& q : p)
            q = {coord(rng), coord(rng)};
        return Region::Polygon(p);
    }
    default: {
        Rects rects(static_cast<std::size_t>(std::uniform_int_distribution<int>(0, 8)(rng)));
        for (IntRect& q : rects)
            q = {coord(rng), coord(rng), coord(rng), coord(rng)};
        return Region::FromRects(rects);
    }
    }
}

TEST(Region, CombinationsAgreeWithTheModesPixelByPixel) {
    std::mt19937 rng(99);
    const CombineMode modes[] = {CombineMode::And, CombineMode::Or, CombineMode::Xor,
                                 CombineMode::Diff, CombineMode::Copy};
    for (int i = 0; i < 300; ++i) {
        const Region a = RandomShape(rng);
        const Region b = RandomShape(rng);
        for (CombineMode mode : modes) {
            const Region r = Region::Combine(a, b, mode);
            ExpectCanonical(r);
            ExpectWalkMatchesPointTest(r);
            for (int y = -8; y < 33; ++y)
                for (int x = -8; x < 33; ++x) {
                    const bool p = a.Contains(x, y), q = b.Contains(x, y);
                    const bool expected = mode == CombineMode::And    ? p && q
                                          : mode == CombineMode::Or   ? p || q
                                          : mode == CombineMode::Xor  ? p != q
                                          : mode == CombineMode::Diff ? p && !q
                                                                      : p;
                    ASSERT_EQ(r.Contains(x, y), expected)
                        << "mode " << static_cast<int>(mode) << " at " << x << "," << y;
                }
            // The rectangle list rebuilds the same region, in order or shuffled.
            Rects rects = r.Rects();
            EXPECT_EQ(Region::FromRects(rects), r);
            std::shuffle(rects.begin(), rects.end(), rng);
            EXPECT_EQ(Region::FromRects(rects), r);
        }
    }
}

TEST(Region, SpanWalkClipsToItsWindow) {
    std::mt19937 rng(5);
    std::uniform_int_distribution<int> coord(-8, 32);
    for (int i = 0; i < 300; ++i) {
        const Region r = RandomShape(rng);
        const int t = coord(rng), b = coord(rng), l = coord(rng), rt = coord(rng);
        std::vector<std::pair<int, int>> walked;
        r.ForEachSpan(t, b, l, rt, [&](int y, int x0, int x1) {
            ASSERT_TRUE(y >= t && y < b && x0 >= l && x1 <= rt && x0 < x1);
            for (int x = x0; x < x1; ++x)
                walked.emplace_back(y, x);
        });
        std::vector<std::pair<int, int>> expected;
        for (int y = t; y < b; ++y)
            for (int x = l; x < rt; ++x)
                if (r.Contains(x, y)) expected.emplace_back(y, x);
        ASSERT_EQ(walked, expected) << "window " << l << "," << t << "," << rt << "," << b;
    }
}

TEST(Region, OffsetMovesEverythingAndRefusesToLeaveTheRange) {
    Region r = Region::Combine(Region::Rect(0, 0, 4, 4), Region::Rect(6, 2, 9, 8), CombineMode::Or);
    const Rects before = r.Rects();
    ASSERT_TRUE(r.Offset(-10, 3));
    Rects expected = before;
    for (IntRect& q : expected)
        q = {q.left - 10, q.top + 3, q.right - 10, q.bottom + 3};
    EXPECT_EQ(r.Rects(), expected);
    EXPECT_TRUE(r.Contains(-10, 3));
    EXPECT_FALSE(r.Contains(0, 0));

    Region edge = Region::Rect(kLimit - 10, 0, kLimit, 5);
    EXPECT_FALSE(edge.Offset(1, 0));
    EXPECT_FALSE(edge.Offset(0, std::numeric_limits<int>::max()));
    EXPECT_FALSE(edge.Offset(std::numeric_limits<int>::min(), 0));
    EXPECT_EQ(edge, Region::Rect(kLimit - 10, 0, kLimit, 5));
    EXPECT_TRUE(edge.Offset(-2 * kLimit + 10, -5));
    EXPECT_EQ(edge.Box(), (IntRect{-kLimit, -5, -kLimit + 10, 0}));

    Region empty;
    EXPECT_TRUE(empty.Offset(std::numeric_limits<int>::max(), 0));
    EXPECT_TRUE(empty.IsEmpty());
}

TEST(Region, FrameIsTheBorderOfTheBrushSize) {
    const Region square = Region::Rect(0, 0, 10, 10);
    EXPECT_EQ(square.Frame(1, 1).Rects(),
              Rects({{0, 0, 10, 1}, {0, 1, 1, 9}, {9, 1, 10, 9}, {0, 9, 10, 10}}));
    EXPECT_EQ(square.Frame(2, 1).Rects(),
              Rects({{0, 0, 10, 1}, {0, 1, 2, 9}, {8, 1, 10, 9}, {0, 9, 10, 10}}));
    EXPECT_EQ(square.Frame(0, 3).Rects(), Rects({{0, 0, 10, 3}, {0, 7, 10, 10}}));
    EXPECT_TRUE(square.Frame(0, 0).IsEmpty());
    EXPECT_EQ(Region::Rect(0, 0, 2, 5).Frame(1, 1), Region::Rect(0, 0, 2, 5));
    EXPECT_TRUE(Region().Frame(1, 1).IsEmpty());
    // A hole has its own border.
    const Region ring =
        Region::Combine(Region::Rect(0, 0, 9, 9), Region::Rect(3, 3, 6, 6), CombineMode::Diff);
    const Region frame = ring.Frame(1, 1);
    EXPECT_TRUE(frame.Contains(2, 4));
    EXPECT_TRUE(frame.Contains(6, 4));
    EXPECT_FALSE(frame.Contains(1, 4));
    EXPECT_FALSE(frame.Contains(4, 4));
    // The frame of any shape is the pixels with a 4-neighbour outside it.
    std::mt19937 rng(11);
    for (int i = 0; i < 100; ++i) {
        const Region r = RandomShape(rng);
        const Region f = r.Frame(1, 1);
        ExpectCanonical(f);
        for (int y = -8; y < 33; ++y)
            for (int x = -8; x < 33; ++x) {
                const bool border =
                    r.Contains(x, y) && (!r.Contains(x - 1, y) || !r.Contains(x + 1, y) ||
                                         !r.Contains(x, y - 1) || !r.Contains(x, y + 1));
                ASSERT_EQ(f.Contains(x, y), border) << x << "," << y;
            }
    }
}

TEST(Region, RgnDataLayoutAndReadingBack) {
    const Region r =
        Region::Combine(Region::Rect(1, 2, 5, 4), Region::Rect(7, 2, 9, 6), CombineMode::Or);
    const std::vector<std::int32_t> expected = {32, 1, 3, 48, 1, 2, 9, 6, //
                                                1,  2, 5, 4,  7, 2, 9, 4, //
                                                7,  4, 9, 6};
    EXPECT_EQ(r.ToRgnData(), expected);
    EXPECT_EQ(Region::FromRgnData(expected), r);
    EXPECT_EQ(Region().ToRgnData(), std::vector<std::int32_t>({32, 1, 0, 0, 0, 0, 0, 0}));

    struct Case {
        const char* name;
        std::vector<std::int32_t> longs;
        Rects rects;
    };
    const Case cases[] = {
        {"empty array", {}, {}},
        {"short header", {32, 1, 1, 16, 0, 0, 1}, {}},
        {"count beyond the array", {32, 1, 5, 80, 0, 0, 0, 0, 0, 0, 2, 2, 3, 3, 4}, {{0, 0, 2, 2}}},
        {"negative count", {32, 1, -1, 16, 0, 0, 2, 2, 0, 0, 2, 2}, {}},
        {"fewer counted than present",
         {32, 1, 1, 16, 0, 0, 0, 0, 0, 0, 2, 2, 5, 5, 6, 6},
         {{0, 0, 2, 2}}},
        {"overlapping, unsorted",
         {32, 1, 2, 32, 0, 0, 0, 0, 3, 0, 6, 2, 0, 0, 4, 2},
         {{0, 0, 6, 2}}},
    };
    for (const Case& c : cases)
        EXPECT_EQ(Region::FromRgnData(c.longs).Rects(), c.rects) << c.name;
}

} // namespace
} // namespace velmar
