#pragma once
// What the painting operations of fImage share: the colour of a COLORREF, the blend, the round
// brush walk, the stroke table and a fast row test of the selection. Private to paint*.cpp.
//
// A pixel outside the picture counts as unselected everywhere here: the selection may be larger
// than the picture (an uncropped shape, a moved selection), but the margin of Bits must stay
// zero, so nothing is ever written there.
#include "filters/cBitFilter.h"
#include "pixel/Bits.h"
#include "pixel/Region.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>
#include <sys/mman.h>
#include <vector>

namespace velmar::paint {

inline constexpr std::uint16_t kDone = 65535;

// Blue, green, red of a colour with red in the low byte, in the channel order of Bits.
struct Bgr {
    std::uint8_t c[3];
};

inline Bgr ColourBgr(COLORREF colour) noexcept {
    return {{static_cast<std::uint8_t>(colour >> 16), static_cast<std::uint8_t>(colour >> 8),
             static_cast<std::uint8_t>(colour)}};
}

// Percent arguments outside 0..100 are taken as the nearest end, so that no blend leaves the
// byte range (the sliders never give anything else).
inline int ClampPercent(int percent) noexcept {
    return std::clamp(percent, 0, 100);
}

// Float to byte as the platform converts: round half to even. The callers' values lie in range.
inline std::uint8_t RoundByte(double v) noexcept {
    return static_cast<std::uint8_t>(static_cast<int>(std::nearbyint(v)));
}

// old * (1 - a) + new * a, rounded.
inline std::uint8_t Blend(std::uint8_t old, std::uint8_t neu, double a) noexcept {
    return RoundByte(static_cast<double>(old) * (1.0 - a) + static_cast<double>(neu) * a);
}

inline void BlendPixel(std::uint8_t* px, const Bgr& colour, double a) noexcept {
    for (int c = 0; c < 3; ++c)
        px[c] = Blend(px[c], colour.c[c], a);
}

// The radius of the round brush: half the size, rounded half to even (size 1 gives 0).
inline int BrushRadius(int size) noexcept {
    return static_cast<int>(std::nearbyint(static_cast<double>(size) * 0.5));
}

// The stroke table: one entry per pixel of Bits, margin included.
inline std::size_t DoneBitsSize(const Bits& bits) noexcept {
    return static_cast<std::size_t>(bits.Width() + 2 * Bits::kMargin) *
           static_cast<std::size_t>(bits.Height() + 2 * Bits::kMargin);
}

inline std::size_t DoneIndex(const Bits& bits, int x, int y) noexcept {
    return static_cast<std::size_t>(y + Bits::kMargin) *
               static_cast<std::size_t>(bits.Width() + 2 * Bits::kMargin) +
           static_cast<std::size_t>(x + Bits::kMargin);
}

// A new stroke table for the picture, all 0. A table of the same size is cleared in place; a new
// one is asked for in 2 MB pages before it is first touched: a fill walks it a row apart at every
// step, and in 4 KB pages nearly every step would miss the address cache.
inline void ClearDoneBits(std::vector<std::uint16_t>& done, const Bits& bits) {
    const std::size_t size = DoneBitsSize(bits);
    if (done.size() == size) {
        std::fill(done.begin(), done.end(), std::uint16_t{0});
        return;
    }
    std::vector<std::uint16_t>().swap(done);
    done.reserve(size);
    constexpr std::uintptr_t kHugePage = std::uintptr_t{1} << 21;
    const auto first = reinterpret_cast<std::uintptr_t>(done.data());
    const std::uintptr_t alignedFirst = (first + kHugePage - 1) & ~(kHugePage - 1);
    const std::uintptr_t alignedEnd = (first + size * sizeof(std::uint16_t)) & ~(kHugePage - 1);
    // A hint only: refused, it costs speed and nothing else.
    if (alignedEnd > alignedFirst)
        madvise(reinterpret_cast<void*>(alignedFirst), alignedEnd - alignedFirst, MADV_HUGEPAGE);
    done.resize(size);
}

// A stroke whose caller forgot CreateDoneBitsTable (or made it for another size) still paints
// each pixel once: the table is made here.
inline std::uint16_t* EnsureDoneBits(std::vector<std::uint16_t>& done, const Bits& bits) {
    if (done.size() != DoneBitsSize(bits)) ClearDoneBits(done, bits);
    return done.data();
}

inline bool InPicture(const Bits& bits, int x, int y) noexcept {
    return x >= 0 && y >= 0 && x < bits.Width() && y < bits.Height();
}

// The largest h with h * h <= v (v >= 0).
inline std::int64_t FloorSqrt(std::int64_t v) noexcept {
    auto h = static_cast<std::int64_t>(std::sqrt(static_cast<double>(v)));
    while (h * h > v)
        --h;
    while ((h + 1) * (h + 1) <= v)
        ++h;
    return h;
}

// The round brush of radius r at (cx, cy): the pixels with dx^2 + dy^2 below r^2 + 1, walked row
// by row from dy = -r and within a row from dx = -r, of which only the selected pixels of the
// picture are given to f(px, x, y). Each row is cut to the brush's chord and then to the
// selection's spans, which visits the same pixels in the same order as a point test of each
// brush pixel would. f returns false to skip the rest of its row.
template <class F>
void ForEachBrushPixel(Bits& bits, const Region& region, int cx, int cy, int r, F&& f) {
    if (r < 0) return;
    const std::int64_t r2 = static_cast<std::int64_t>(r) * r;
    const std::int64_t yFirst = std::max<std::int64_t>(std::int64_t{cy} - r, 0);
    const std::int64_t yLast = std::min<std::int64_t>(std::int64_t{cy} + r, bits.Height() - 1);
    for (std::int64_t y = yFirst; y <= yLast; ++y) {
        const std::int64_t dy = y - cy;
        const std::int64_t half = FloorSqrt(r2 - dy * dy);
        const std::int64_t xFirst = std::max<std::int64_t>(cx - half, 0);
        const std::int64_t xLast = std::min<std::int64_t>(cx + half, bits.Width() - 1);
        if (xFirst > xLast) continue;
        const int row = static_cast<int>(y);
        std::uint8_t* const line = bits.Row(row);
        bool rowGoesOn = true;
        for (const RegionSpan& s : region.RowSpans(row)) {
            if (!rowGoesOn || s.left > xLast) break;
            const int x0 = static_cast<int>(std::max<std::int64_t>(s.left, xFirst));
            const int x1 = static_cast<int>(std::min<std::int64_t>(s.right - 1, xLast));
            for (int x = x0; x <= x1 && rowGoesOn; ++x)
                rowGoesOn = f(line + static_cast<std::ptrdiff_t>(x) * 4, x, row);
        }
    }
}

// Walks a segment for the line forms of the brushes: n = max(|dx|, |dy|) equal steps from the
// first point to the second, both ends included, each position rounded half to even; a segment
// of one point gives that point once.
template <class F> void ForEachSegmentStep(int x1, int y1, int x2, int y2, F&& f) {
    const double dx = static_cast<double>(x2) - x1;
    const double dy = static_cast<double>(y2) - y1;
    const double n = std::max(std::abs(dx), std::abs(dy));
    if (n == 0) {
        f(x1, y1);
        return;
    }
    const auto steps = static_cast<std::int64_t>(n);
    for (std::int64_t i = 0; i <= steps; ++i) {
        const double t = static_cast<double>(i) / n;
        f(static_cast<int>(std::nearbyint(x1 + dx * t)),
          static_cast<int>(std::nearbyint(y1 + dy * t)));
    }
}

// A point test of the selection with the band search done once per row: the spans of each
// picture row are looked up when the table is made, so a test is a compare (one span) or a
// short binary search. Gives exactly what Region::Contains gives inside the picture.
class SelectedRows {
  public:
    SelectedRows(const Region& region, int height) : rows_(static_cast<std::size_t>(height)) {
        for (int y = 0; y < height; ++y)
            rows_[static_cast<std::size_t>(y)] = region.RowSpans(y);
    }

    bool Contains(int x, int y) const noexcept {
        const std::span<const RegionSpan> row = rows_[static_cast<std::size_t>(y)];
        if (row.size() == 1) return x >= row[0].left && x < row[0].right;
        const auto it = std::upper_bound(row.begin(), row.end(), x,
                                         [](int v, const RegionSpan& s) { return v < s.right; });
        return it != row.end() && it->left <= x;
    }

  private:
    std::vector<std::span<const RegionSpan>> rows_;
};

// The upper bounds of a stamp's dimensions (width - 1, height - 1) are the size of the tile it
// paints; false when either is below 1 or the bytes do not hold the picture.
inline bool StampTile(const PlainPicture& stamp, int& tileW, int& tileH) noexcept {
    tileW = stamp.width - 1;
    tileH = stamp.height - 1;
    return tileW >= 1 && tileH >= 1 &&
           stamp.bytes.size() >=
               static_cast<std::size_t>(stamp.width) * static_cast<std::size_t>(stamp.height) * 4;
}

// Pixel (x mod tileW, y mod tileH) of the stamp, for a picture pixel (x, y >= 0).
inline const std::uint8_t* StampPixel(const PlainPicture& stamp, int tileW, int tileH, int x,
                                      int y) noexcept {
    return stamp.bytes.data() +
           (static_cast<std::size_t>(y % tileH) * static_cast<std::size_t>(stamp.width) +
            static_cast<std::size_t>(x % tileW)) *
               4;
}

} // namespace velmar::paint
