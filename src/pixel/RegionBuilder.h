#pragma once
// RegionBuilder: the one place where a Region's bands are written, so that every way of making
// a region (rectangles, ellipses, polygons, combinations) ends in the same canonical form.
//
// Callers give bands from top to bottom, never overlapping, and the spans of a band from left
// to right. Touching or overlapping spans of a band are joined, empty bands vanish, and a band
// with the same spans as the band just above it and touching it extends that band instead.
// Internal to the region code.
#include "pixel/Region.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace velmar {

inline std::int32_t clampCoordinate(std::int64_t v) {
    return static_cast<std::int32_t>(
        std::clamp<std::int64_t>(v, -Region::kCoordinateLimit, Region::kCoordinateLimit));
}

// Corners in order and inside the coordinate range.
inline IntRect normalised(IntRect r) {
    if (r.left > r.right) std::swap(r.left, r.right);
    if (r.top > r.bottom) std::swap(r.top, r.bottom);
    return {clampCoordinate(r.left), clampCoordinate(r.top), clampCoordinate(r.right),
            clampCoordinate(r.bottom)};
}

class RegionBuilder {
  public:
    void BeginBand(std::int32_t top, std::int32_t bottom) {
        top_ = top;
        bottom_ = bottom;
        first_ = out_.spans_.size();
    }

    // Spans must come with non-decreasing left.
    void Push(std::int32_t left, std::int32_t right) {
        if (left >= right) return;
        auto& spans = out_.spans_;
        if (spans.size() > first_ && left <= spans.back().right) {
            if (right > spans.back().right) spans.back().right = right;
        } else {
            spans.push_back({left, right});
        }
    }

    void EndBand() {
        auto& spans = out_.spans_;
        auto& bands = out_.bands_;
        const std::size_t count = spans.size() - first_;
        if (count == 0 || top_ >= bottom_) {
            spans.resize(first_);
            return;
        }
        if (!bands.empty()) {
            Region::Band& above = bands.back();
            if (above.bottom == top_ && above.last - above.first == count &&
                std::equal(spans.begin() + above.first, spans.begin() + above.last,
                           spans.begin() + static_cast<std::ptrdiff_t>(first_))) {
                above.bottom = bottom_;
                spans.resize(first_);
                return;
            }
        }
        bands.push_back({top_, bottom_, static_cast<std::uint32_t>(first_),
                         static_cast<std::uint32_t>(spans.size())});
    }

    // The finished region; the builder is left empty.
    Region Finish() {
        Region r = std::move(out_);
        out_ = Region();
        if (r.bands_.empty()) {
            r.spans_.clear();
            r.box_ = {};
            return r;
        }
        IntRect box{r.spans_[r.bands_.front().first].left, r.bands_.front().top,
                    r.spans_[r.bands_.front().last - 1].right, r.bands_.back().bottom};
        for (const Region::Band& b : r.bands_) {
            box.left = std::min(box.left, r.spans_[b.first].left);
            box.right = std::max(box.right, r.spans_[b.last - 1].right);
        }
        r.box_ = box;
        return r;
    }

    void Reserve(std::size_t bands, std::size_t spans) {
        out_.bands_.reserve(bands);
        out_.spans_.reserve(spans);
    }

  private:
    Region out_;
    std::int32_t top_ = 0;
    std::int32_t bottom_ = 0;
    std::size_t first_ = 0;
};

} // namespace velmar
