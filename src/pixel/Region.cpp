#include "pixel/Region.h"

#include "pixel/RegionBuilder.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace velmar {

namespace {

// Writes into the open band of `out` the spans of x where op(in a, in b) holds. Both lists are
// sorted and disjoint; the walk visits each boundary once.
template <class Op>
void mergeSpans(const RegionSpan* a, const RegionSpan* aEnd, const RegionSpan* b,
                const RegionSpan* bEnd, Op op, RegionBuilder& out) {
    constexpr std::int64_t kNone = std::numeric_limits<std::int64_t>::max();
    bool inA = false;
    bool inB = false;
    bool in = false;
    std::int32_t start = 0;
    while (a != aEnd || b != bEnd) {
        const std::int64_t xa = a != aEnd ? (inA ? a->right : a->left) : kNone;
        const std::int64_t xb = b != bEnd ? (inB ? b->right : b->left) : kNone;
        const auto x = static_cast<std::int32_t>(std::min(xa, xb));
        if (xa == x) {
            if (inA) ++a;
            inA = !inA;
        }
        if (xb == x) {
            if (inB) ++b;
            inB = !inB;
        }
        const bool now = op(inA, inB);
        if (now != in) {
            if (now)
                start = x;
            else
                out.Push(start, x);
            in = now;
        }
    }
}

} // namespace

// The combination walks both band lists at once. Every y where a band of either region starts
// or ends cuts the plane into slices; in a slice each region has one fixed span list (possibly
// none), and the result's spans for the slice come from one merge of the two lists.
class RegionCombiner {
  public:
    template <class Op> static Region Run(const Region& a, const Region& b, Op op) {
        RegionBuilder out;
        out.Reserve(a.bands_.size() + b.bands_.size(), a.spans_.size() + b.spans_.size());
        const auto& ab = a.bands_;
        const auto& bb = b.bands_;
        std::size_t ia = 0;
        std::size_t ib = 0;
        constexpr std::int64_t kNone = std::numeric_limits<std::int64_t>::max();
        std::int64_t y = std::numeric_limits<std::int64_t>::min();
        while (ia < ab.size() || ib < bb.size()) {
            while (ia < ab.size() && ab[ia].bottom <= y)
                ++ia;
            while (ib < bb.size() && bb[ib].bottom <= y)
                ++ib;
            if (ia == ab.size() && ib == bb.size()) break;
            const bool inA = ia < ab.size() && ab[ia].top <= y;
            const bool inB = ib < bb.size() && bb[ib].top <= y;
            const std::int64_t nextA = ia < ab.size() ? (inA ? ab[ia].bottom : ab[ia].top) : kNone;
            const std::int64_t nextB = ib < bb.size() ? (inB ? bb[ib].bottom : bb[ib].top) : kNone;
            const std::int64_t next = std::min(nextA, nextB);
            if (inA || inB) {
                out.BeginBand(static_cast<std::int32_t>(y), static_cast<std::int32_t>(next));
                const RegionSpan* sa = a.spans_.data();
                const RegionSpan* sb = b.spans_.data();
                mergeSpans(inA ? sa + ab[ia].first : sa, inA ? sa + ab[ia].last : sa,
                           inB ? sb + bb[ib].first : sb, inB ? sb + bb[ib].last : sb, op, out);
                out.EndBand();
            }
            y = next;
        }
        return out.Finish();
    }

    static Region Shifted(const Region& r, std::int32_t dx, std::int32_t dy) {
        Region s = r;
        if (!s.IsEmpty()) s.shiftUnchecked(dx, dy);
        return s;
    }
};

Region Region::Rect(int left, int top, int right, int bottom) {
    const IntRect r = normalised({left, top, right, bottom});
    RegionBuilder out;
    out.BeginBand(r.top, r.bottom);
    out.Push(r.left, r.right);
    out.EndBand();
    return out.Finish();
}

namespace {

Region unionOf(const IntRect* rects, std::size_t n) {
    if (n == 0) return {};
    if (n == 1) return Region::Rect(rects->left, rects->top, rects->right, rects->bottom);
    const std::size_t half = n / 2;
    return Region::Combine(unionOf(rects, half), unionOf(rects + half, n - half), CombineMode::Or);
}

} // namespace

Region Region::FromRects(std::span<const IntRect> rects) {
    // Region data written by this program (or by GDI) is already banded and canonical; that
    // case is copied in one pass. Anything else is the union of its rectangles, built by
    // halving so that the cost follows the size of the result, not the square of the count.
    RegionBuilder out;
    out.Reserve(rects.size(), rects.size());
    bool open = false;
    bool banded = true;
    IntRect band{};
    std::int32_t lastRight = 0;
    for (const IntRect& raw : rects) {
        if (raw.IsEmpty()) continue;
        const IntRect r = normalised(raw);
        if (r.IsEmpty()) continue;
        if (open && r.top == band.top && r.bottom == band.bottom) {
            if (r.left < lastRight) {
                banded = false;
                break;
            }
        } else if (!open || r.top >= band.bottom) {
            if (open) out.EndBand();
            out.BeginBand(r.top, r.bottom);
            band = r;
            open = true;
        } else {
            banded = false;
            break;
        }
        out.Push(r.left, r.right);
        lastRight = r.right;
    }
    if (banded) {
        if (open) out.EndBand();
        return out.Finish();
    }

    std::vector<IntRect> kept;
    kept.reserve(rects.size());
    for (const IntRect& raw : rects) {
        if (raw.IsEmpty()) continue;
        const IntRect r = normalised(raw);
        if (!r.IsEmpty()) kept.push_back(r);
    }
    // Neighbours in y end up in the same half, which keeps the partial unions small.
    std::sort(kept.begin(), kept.end(), [](const IntRect& p, const IntRect& q) {
        return p.top != q.top ? p.top < q.top : p.left < q.left;
    });
    return unionOf(kept.data(), kept.size());
}

Region Region::FromRgnData(std::span<const std::int32_t> longs) {
    if (longs.size() < 8) return {};
    const std::size_t available = (longs.size() - 8) / 4;
    const std::size_t count =
        longs[2] > 0 ? std::min(available, static_cast<std::size_t>(longs[2])) : 0;
    std::vector<IntRect> rects(count);
    for (std::size_t i = 0; i < count; ++i) {
        const std::int32_t* p = longs.data() + 8 + 4 * i;
        rects[i] = {p[0], p[1], p[2], p[3]};
    }
    return FromRects(rects);
}

Region Region::Combine(const Region& a, const Region& b, CombineMode mode) {
    switch (mode) {
    case CombineMode::And:
        if (a.IsEmpty() || b.IsEmpty()) return {};
        return RegionCombiner::Run(a, b, [](bool p, bool q) { return p && q; });
    case CombineMode::Or:
        if (b.IsEmpty()) return a;
        if (a.IsEmpty()) return b;
        return RegionCombiner::Run(a, b, [](bool p, bool q) { return p || q; });
    case CombineMode::Xor:
        if (b.IsEmpty()) return a;
        if (a.IsEmpty()) return b;
        return RegionCombiner::Run(a, b, [](bool p, bool q) { return p != q; });
    case CombineMode::Diff:
        if (a.IsEmpty() || b.IsEmpty()) return a;
        return RegionCombiner::Run(a, b, [](bool p, bool q) { return p && !q; });
    case CombineMode::Copy:
        return a;
    }
    return a;
}

bool Region::Offset(int dx, int dy) {
    if (IsEmpty()) return true;
    const auto inRange = [](std::int64_t v) {
        return v >= -kCoordinateLimit && v <= kCoordinateLimit;
    };
    if (!inRange(std::int64_t{box_.left} + dx) || !inRange(std::int64_t{box_.right} + dx) ||
        !inRange(std::int64_t{box_.top} + dy) || !inRange(std::int64_t{box_.bottom} + dy))
        return false;
    shiftUnchecked(dx, dy);
    return true;
}

void Region::shiftUnchecked(std::int32_t dx, std::int32_t dy) noexcept {
    for (Band& b : bands_) {
        b.top += dy;
        b.bottom += dy;
    }
    for (RegionSpan& s : spans_) {
        s.left += dx;
        s.right += dx;
    }
    box_ = {box_.left + dx, box_.top + dy, box_.right + dx, box_.bottom + dy};
}

Region Region::Frame(int w, int h) const {
    if (IsEmpty()) return {};
    // Shifts up to the coordinate limit stay inside a 32-bit long (2 * 2^27 < 2^31) and only
    // feed intersections with this region, so the interim regions need no range check.
    const auto wx = static_cast<std::int32_t>(std::clamp(w, 0, kCoordinateLimit));
    const auto hy = static_cast<std::int32_t>(std::clamp(h, 0, kCoordinateLimit));
    Region interior = *this;
    if (wx > 0) {
        interior = Combine(interior, RegionCombiner::Shifted(*this, -wx, 0), CombineMode::And);
        interior = Combine(interior, RegionCombiner::Shifted(*this, wx, 0), CombineMode::And);
    }
    if (hy > 0) {
        interior = Combine(interior, RegionCombiner::Shifted(*this, 0, -hy), CombineMode::And);
        interior = Combine(interior, RegionCombiner::Shifted(*this, 0, hy), CombineMode::And);
    }
    return Combine(*this, interior, CombineMode::Diff);
}

std::size_t Region::firstBandBelow(int y) const noexcept {
    const auto it = std::upper_bound(bands_.begin(), bands_.end(), y,
                                     [](int v, const Band& b) { return v < b.bottom; });
    return static_cast<std::size_t>(it - bands_.begin());
}

std::span<const RegionSpan> Region::RowSpans(int y) const noexcept {
    if (y < box_.top || y >= box_.bottom) return {};
    const Band& b = bands_[firstBandBelow(y)];
    if (b.top > y) return {};
    return {spans_.data() + b.first, spans_.data() + b.last};
}

bool Region::Contains(int x, int y) const noexcept {
    if (x < box_.left || x >= box_.right) return false;
    const std::span<const RegionSpan> row = RowSpans(y);
    const auto it = std::upper_bound(row.begin(), row.end(), x,
                                     [](int v, const RegionSpan& s) { return v < s.right; });
    return it != row.end() && it->left <= x;
}

std::size_t Region::RectCount() const noexcept {
    return spans_.size();
}

std::vector<IntRect> Region::Rects() const {
    std::vector<IntRect> out;
    out.reserve(spans_.size());
    for (const Band& b : bands_)
        for (std::uint32_t i = b.first; i < b.last; ++i)
            out.push_back({spans_[i].left, b.top, spans_[i].right, b.bottom});
    return out;
}

std::vector<std::int32_t> Region::ToRgnData() const {
    const std::size_t count = spans_.size();
    std::vector<std::int32_t> out;
    out.reserve(8 + 4 * count);
    out.insert(out.end(),
               {32, 1, static_cast<std::int32_t>(count), static_cast<std::int32_t>(16 * count),
                box_.left, box_.top, box_.right, box_.bottom});
    for (const IntRect& r : Rects())
        out.insert(out.end(), {r.left, r.top, r.right, r.bottom});
    return out;
}

} // namespace velmar
