#pragma once
// cBitRegion: the selection of one picture.
//
// It holds three regions: RegionMain (the picture's bounds, against which selections are
// cropped), Region (the selection; absent until a shape, Invert, Region set or a load makes one,
// and again after Clear) and RegionScaled (the
// selection at the view's zoom, only for drawing the outline). Beside them it keeps the
// selection's RGNDATA longs (the region data array, which is also the region file) and their
// scaled copy, the zoom factor, and the index of the current outline pattern.
//
// The arrays lag the selection in one case on purpose: Offset moves the selection alone (see
// there). Everything else that changes the selection rebuilds both arrays and RegionScaled.
//
// Combine modes are the Windows numbers: 1 AND, 2 OR, 3 XOR, 4 DIFF, 5 COPY. Any other number
// leaves an existing selection as it is.
//
// Failures: LoadFromFile and SaveToFile throw RegionFileError and leave the object as it was;
// nothing else reports anything (beyond std::bad_alloc, which also leaves the object as it was).
// Not thread-safe; the editor calls it from its UI thread only.
#include "pixel/Region.h"
#include "pixel/RegionFile.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <vector>

namespace velmar {

class cBitRegion {
  public:
    static constexpr int kBrushCount = 8;
    // An 8 by 8 monochrome pattern: one byte a row, top row first, most significant bit left.
    using Pattern = std::array<std::uint8_t, 8>;

    // Zoom 1, brush 0, no regions, both arrays never dimensioned.
    cBitRegion() = default;

    // Clear, then RegionMain becomes the rectangle of these bounds (right, bottom exclusive).
    void Init(int left, int top, int right, int bottom);

    // Add a shape to the selection by the combine mode: with a selection, the shape is combined
    // into it; without one, the shape becomes the selection whatever the mode, except DIFF, which
    // does nothing. With `crop`, the result is cut to RegionMain. Then both arrays and the scaled
    // copy are rebuilt.
    void CreateRect(int left, int top, int right, int bottom, int mode, bool crop);
    void CreateEllipse(int left, int top, int right, int bottom, int mode, bool crop);
    // `points` holds x and y alternating; (size) div 2 points are used, closed implicitly and
    // filled WINDING. Fewer than three longs do nothing at all.
    void CreatePolygon(std::span<const std::int32_t> points, int mode, bool crop);

    // Swaps selected and unselected inside RegionMain. An empty or absent selection becomes all
    // of RegionMain's box.
    void Invert();

    // Cuts the selection to RegionMain. Like Offset, this works on the selection only; the
    // arrays and the scaled copy follow at the next rebuild.
    void Crop();

    // Moves the selection by (dx, dy) pixels; a move beyond the coordinate range is ignored.
    void Offset(int dx, int dy);

    // Drops all three regions and both arrays (back to never dimensioned). Zoom and brush stay.
    void Clear();

    // Steps the outline pattern: 0, 1, ..., 7, 0, ...
    void RotateBrush() noexcept { brush_ = (brush_ + 1) % kBrushCount; }
    int BrushIndex() const noexcept { return brush_; }
    Pattern CurrentPattern() const noexcept { return BrushPattern(brush_); }
    // Brush k: row i is the row (i + k) mod 8 of the diagonal band 240, 120, ..., 225.
    static Pattern BrushPattern(int k) noexcept;

    // True and the selection's box (right, bottom exclusive), or false when the box is empty or
    // there is no selection; the outputs are then not touched.
    bool BoundRect(int& left, int& top, int& right, int& bottom) const;
    bool IsEmptyRegion() const;

    // Reads a region file into the selection: the array becomes the file's longs, the selection
    // their rectangles, and the scaled copy is rebuilt. A bad file throws RegionFileError and
    // changes nothing.
    void LoadFromFile(const std::filesystem::path& path);
    // Writes the region data array as a region file (atomically: a failed save leaves any old
    // file in place). With the array never dimensioned, the file of the empty region is written,
    // so that every saved file loads again. Throws RegionFileError.
    void SaveToFile(const std::filesystem::path& path) const;

    // Copy of the region data array (empty when never dimensioned), and its length in longs.
    std::vector<std::int32_t> GetData() const {
        return data_.value_or(std::vector<std::int32_t>{});
    }
    std::size_t GetDataCount() const noexcept { return data_ ? data_->size() : 0; }
    // The scaled array, in the same form.
    std::vector<std::int32_t> GetScaledData() const {
        return scaledData_.value_or(std::vector<std::int32_t>{});
    }

    // Zoom of the view, single precision. Set: 0 or more is stored, anything else becomes 0.01;
    // the scaled copy is then rebuilt.
    float ZoomFactor() const noexcept { return zoom_; }
    void ZoomFactor(float z);

    // The regions; nullptr when absent.
    const velmar::Region* Region() const noexcept { return region_ ? &*region_ : nullptr; }
    // Takes a copy of `r` as the selection, by way of the region data array.
    void Region(const velmar::Region& r);
    const velmar::Region* RegionScaled() const noexcept {
        return regionScaled_ ? &*regionScaled_ : nullptr;
    }
    const velmar::Region* RegionMain() const noexcept {
        return regionMain_ ? &*regionMain_ : nullptr;
    }

    // What the outline painter frames: the scaled region's one-pixel border (Frame(1, 1)),
    // moved by (dx, dy) view pixels. Empty without a selection.
    velmar::Region Outline(int dx, int dy) const;

  private:
    struct ScaledCopy {
        std::vector<std::int32_t> data;
        velmar::Region region;
        velmar::Region frame;
    };
    static ScaledCopy makeScaled(const std::vector<std::int32_t>& data, float zoom);
    void commitScaled(ScaledCopy&& scaled) noexcept;
    void rebuildScaled();
    // Makes `selection` the selection and `data` its array, and rebuilds the scaled copy. All is
    // computed before anything is stored, so running out of memory changes nothing.
    void adopt(velmar::Region selection, std::vector<std::int32_t> data);
    void addShape(velmar::Region shape, int mode, bool crop);

    std::optional<velmar::Region> regionMain_;
    std::optional<velmar::Region> region_;
    std::optional<velmar::Region> regionScaled_;
    velmar::Region scaledFrame_;
    float zoom_ = 1.0f;
    std::optional<std::vector<std::int32_t>> data_;
    std::optional<std::vector<std::int32_t>> scaledData_;
    int brush_ = 0;
};

} // namespace velmar
