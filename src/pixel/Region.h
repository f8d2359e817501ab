#pragma once
// Region: the selection shape of a picture, as GDI keeps it.
//
// A region is a set of pixels held as y-x banded rectangles: horizontal bands of equal top and
// bottom, in increasing y with no overlap, each holding sorted, disjoint, non-touching x spans
// [left, right). Right and bottom are exclusive. Two vertically adjacent bands with the same
// spans are always merged into one, so every set of pixels has exactly one representation:
// Rects() is canonical, and two regions are equal exactly when their rectangle lists are.
//
// Coordinates: every coordinate of a region lies in [-kCoordinateLimit, kCoordinateLimit]
// (2^27, about the range GDI itself accepts). Creation clamps its arguments into that range, so
// nothing downstream can overflow a 32-bit long; Offset refuses a move that would leave it.
//
// A Region is a plain value: copyable, movable, no handles, no sharing.
//
// Cost: an ellipse or a polygon is made row by row, so its time and memory grow with its height
// in rows (one band per row at most); everything else grows with the number of rectangles.
//
// Speed: Contains() is two binary searches. ForEachSpan() is the row loop of every filter; it
// does no allocation and no per-pixel work, and it visits exactly the pixels Contains() accepts.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace velmar {

struct IntRect {
    std::int32_t left = 0;
    std::int32_t top = 0;
    std::int32_t right = 0;
    std::int32_t bottom = 0;

    bool IsEmpty() const noexcept { return left >= right || top >= bottom; }
    bool operator==(const IntRect&) const = default;
};

struct IntPoint {
    std::int32_t x = 0;
    std::int32_t y = 0;
};

// One run of selected pixels in a row: x from left to right - 1.
struct RegionSpan {
    std::int32_t left = 0;
    std::int32_t right = 0;
    bool operator==(const RegionSpan&) const = default;
};

// The Windows combine modes, with their numbers.
enum class CombineMode : int { And = 1, Or = 2, Xor = 3, Diff = 4, Copy = 5 };

// The Windows polygon fill modes: ALTERNATE (even-odd) and WINDING (nonzero).
enum class PolyFillMode : int { Alternate = 1, Winding = 2 };

class RegionBuilder;
class RegionCombiner;

class Region {
  public:
    static constexpr std::int32_t kCoordinateLimit = 1 << 27;

    // The empty region.
    Region() = default;

    // The rectangle; swapped corners are put in order, and zero width or height is empty.
    static Region Rect(int left, int top, int right, int bottom);

    // The elliptic region of a bounding box, rasterised as GDI does: the ellipse is inscribed in
    // the box shrunk by one pixel at the right and the bottom, so Ellipse(0, 0, 10, 10) has the
    // box (0, 0, 9, 9). A shrunk box narrower or lower than 2 gives that box as a rectangle.
    static Region Ellipse(int left, int top, int right, int bottom);

    // The polygon region (closed implicitly) with GDI's and X11's scan conversion: row y samples
    // the points (x, y); a point on a left edge is inside, on a right edge outside; horizontal
    // edges count for nothing. Fewer than three points, or no area, give the empty region.
    static Region Polygon(std::span<const IntPoint> points,
                          PolyFillMode mode = PolyFillMode::Winding);

    // The union of any list of rectangles, overlapping or in any order (ExtCreateRegion).
    // Empty and inverted rectangles add nothing.
    static Region FromRects(std::span<const IntRect> rects);

    // The region of RGNDATA longs (the layout of ToRgnData()). Only nCount rectangles are read,
    // and none past the end of the array; a short or foreign header gives the empty region.
    // Validation of outside bytes belongs to the file reader, not here.
    static Region FromRgnData(std::span<const std::int32_t> longs);

    // CombineRgn: And, Or, Xor, Diff (a minus b), Copy (a).
    static Region Combine(const Region& a, const Region& b, CombineMode mode);

    // OffsetRgn. A move that would take a coordinate beyond kCoordinateLimit is refused: the
    // region stays as it was and the result is false.
    bool Offset(int dx, int dy);

    // The border FrameRgn paints with a brush of width w and height h: the region minus its
    // interior, where a pixel is interior when the pixels w to its left and right and h above
    // and below it are all in the region. Frame(1, 1) is the marching outline.
    Region Frame(int w, int h) const;

    // GetRgnBox: the smallest rectangle holding the region; all zero when it is empty.
    IntRect Box() const noexcept { return box_; }
    bool IsEmpty() const noexcept { return bands_.empty(); }

    // PtInRegion.
    bool Contains(int x, int y) const noexcept;

    // The canonical rectangle list, in y-x banded order.
    std::vector<IntRect> Rects() const;
    std::size_t RectCount() const noexcept;

    // GetRegionData as longs: [0] 32, [1] 1, [2] nCount, [3] 16 * nCount, [4..7] the box,
    // then nCount times left, top, right, bottom.
    std::vector<std::int32_t> ToRgnData() const;

    // The selected spans of row y (empty when the row has none). Valid until the region changes.
    std::span<const RegionSpan> RowSpans(int y) const noexcept;

    // Calls f(y, x0, x1) for each selected span of every row y in [top, bottom), clipped to
    // [left, right): the pixels x0..x1-1 of row y are selected. Rows come in increasing order,
    // spans of a row from left to right, and x0 < x1 always.
    template <class F> void ForEachSpan(int top, int bottom, int left, int right, F&& f) const;

    bool operator==(const Region&) const = default;

  private:
    friend class RegionBuilder;
    friend class RegionCombiner;

    struct Band {
        std::int32_t top = 0;
        std::int32_t bottom = 0;
        std::uint32_t first = 0; // index of the band's first span in spans_
        std::uint32_t last = 0;  // one past its last span
        bool operator==(const Band&) const = default;
    };

    // Index of the first band whose bottom lies below y (bands_.size() when none).
    std::size_t firstBandBelow(int y) const noexcept;
    // Moves every coordinate; the caller has made sure the results fit.
    void shiftUnchecked(std::int32_t dx, std::int32_t dy) noexcept;

    std::vector<Band> bands_;
    std::vector<RegionSpan> spans_;
    IntRect box_;
};

template <class F> void Region::ForEachSpan(int top, int bottom, int left, int right, F&& f) const {
    if (top >= bottom || left >= right) return;
    if (top < box_.top) top = box_.top;
    if (bottom > box_.bottom) bottom = box_.bottom;
    if (left < box_.left) left = box_.left;
    if (right > box_.right) right = box_.right;
    if (top >= bottom || left >= right) return;

    const Band* band = bands_.data() + firstBandBelow(top);
    const Band* const bandEnd = bands_.data() + bands_.size();
    const RegionSpan* const spans = spans_.data();
    for (; band != bandEnd && band->top < bottom; ++band) {
        // Spans wholly left or right of the window are dropped once per band, not per row.
        const RegionSpan* first = spans + band->first;
        const RegionSpan* last = spans + band->last;
        while (first != last && first->right <= left)
            ++first;
        while (last != first && (last - 1)->left >= right)
            --last;
        if (first == last) continue;
        const int y0 = std::max(band->top, top);
        const int y1 = std::min(band->bottom, bottom);
        for (int y = y0; y < y1; ++y)
            for (const RegionSpan* s = first; s != last; ++s)
                f(y, std::max(s->left, left), std::min(s->right, right));
    }
}

} // namespace velmar
