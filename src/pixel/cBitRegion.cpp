#include "pixel/cBitRegion.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <utility>

namespace velmar {

namespace {

// The diagonal band the outline marches with.
constexpr std::array<std::uint8_t, 8> kBandRows = {240, 120, 60, 30, 15, 135, 195, 225};

std::optional<CombineMode> combineMode(int mode) {
    if (mode < 1 || mode > 5) return std::nullopt;
    return static_cast<CombineMode>(mode);
}

} // namespace

cBitRegion::Pattern cBitRegion::BrushPattern(int k) noexcept {
    const int shift = ((k % kBrushCount) + kBrushCount) % kBrushCount;
    Pattern p{};
    for (int i = 0; i < 8; ++i)
        p[static_cast<std::size_t>(i)] = kBandRows[static_cast<std::size_t>((i + shift) % 8)];
    return p;
}

void cBitRegion::Init(int left, int top, int right, int bottom) {
    Clear();
    regionMain_ = velmar::Region::Rect(left, top, right, bottom);
}

void cBitRegion::Clear() {
    regionMain_.reset();
    region_.reset();
    regionScaled_.reset();
    scaledFrame_ = {};
    data_.reset();
    scaledData_.reset();
}

void cBitRegion::CreateRect(int left, int top, int right, int bottom, int mode, bool crop) {
    addShape(velmar::Region::Rect(left, top, right, bottom), mode, crop);
}

void cBitRegion::CreateEllipse(int left, int top, int right, int bottom, int mode, bool crop) {
    addShape(velmar::Region::Ellipse(left, top, right, bottom), mode, crop);
}

void cBitRegion::CreatePolygon(std::span<const std::int32_t> points, int mode, bool crop) {
    if (points.size() < 3) return;
    std::vector<IntPoint> corners(points.size() / 2);
    for (std::size_t i = 0; i < corners.size(); ++i)
        corners[i] = {points[2 * i], points[2 * i + 1]};
    addShape(velmar::Region::Polygon(corners, PolyFillMode::Winding), mode, crop);
}

void cBitRegion::addShape(velmar::Region shape, int mode, bool crop) {
    std::optional<velmar::Region> next;
    if (region_) {
        const auto m = combineMode(mode);
        next = m ? velmar::Region::Combine(*region_, shape, *m) : *region_;
    } else if (mode != static_cast<int>(CombineMode::Diff)) {
        // A first shape is the selection whatever the mode: AND with nothing would otherwise
        // make the user's first ellipse vanish. Subtracting from nothing stays nothing.
        next = std::move(shape);
    }
    if (!next) return;
    if (crop && regionMain_) next = velmar::Region::Combine(*next, *regionMain_, CombineMode::And);
    std::vector<std::int32_t> data = next->ToRgnData();
    adopt(std::move(*next), std::move(data));
}

void cBitRegion::Invert() {
    const IntRect mainBox = regionMain_ ? regionMain_->Box() : IntRect{};
    velmar::Region next;
    if (!region_ || region_->IsEmpty())
        next = velmar::Region::Rect(mainBox.left, mainBox.top, mainBox.right, mainBox.bottom);
    else if (regionMain_)
        next = velmar::Region::Combine(*regionMain_, *region_, CombineMode::Xor);
    else
        next = *region_;
    std::vector<std::int32_t> data = next.ToRgnData();
    adopt(std::move(next), std::move(data));
}

void cBitRegion::Crop() {
    if (region_ && regionMain_)
        region_ = velmar::Region::Combine(*region_, *regionMain_, CombineMode::And);
}

// Offset moves the selection only. The selection tool calls it on every mouse move of a drag,
// where rebuilding the data array and the scaled copy each time would be wasted work: the
// moving outline is drawn from the selection itself, and the arrays catch up when the data is
// next rebuilt (a shape, Invert, Region set). A zoom change rebuilds only the scaled copy, from
// the old array. Until then GetData, SaveToFile and RegionScaled show the selection where it
// was before the move.
void cBitRegion::Offset(int dx, int dy) {
    if (region_) region_->Offset(dx, dy);
}

bool cBitRegion::BoundRect(int& left, int& top, int& right, int& bottom) const {
    if (IsEmptyRegion()) return false;
    const IntRect box = region_->Box();
    left = box.left;
    top = box.top;
    right = box.right;
    bottom = box.bottom;
    return true;
}

bool cBitRegion::IsEmptyRegion() const {
    return !region_ || region_->IsEmpty();
}

cBitRegion::ScaledCopy cBitRegion::makeScaled(const std::vector<std::int32_t>& data, float zoom) {
    std::vector<std::int32_t> scaled = data;
    if (zoom > 0) {
        const double z = zoom;
        // round() of the program is half to even. A coordinate scaled past the range a region
        // can hold is pinned to its edge; the copy is only ever drawn.
        for (std::size_t i = 4; i < scaled.size(); ++i) {
            const double v = std::nearbyint(static_cast<double>(scaled[i]) * z);
            scaled[i] = static_cast<std::int32_t>(std::clamp<double>(
                v, -velmar::Region::kCoordinateLimit, velmar::Region::kCoordinateLimit));
        }
    }
    velmar::Region region = velmar::Region::FromRgnData(scaled);
    velmar::Region frame = region.Frame(1, 1);
    return {std::move(scaled), std::move(region), std::move(frame)};
}

void cBitRegion::commitScaled(ScaledCopy&& scaled) noexcept {
    scaledData_ = std::move(scaled.data);
    regionScaled_ = std::move(scaled.region);
    scaledFrame_ = std::move(scaled.frame);
}

void cBitRegion::rebuildScaled() {
    if (!region_ || !data_) return;
    commitScaled(makeScaled(*data_, zoom_));
}

void cBitRegion::adopt(velmar::Region selection, std::vector<std::int32_t> data) {
    ScaledCopy scaled = makeScaled(data, zoom_);
    region_ = std::move(selection);
    data_ = std::move(data);
    commitScaled(std::move(scaled));
}

void cBitRegion::ZoomFactor(float z) {
    // NaN fails the test as a negative number does.
    zoom_ = z >= 0.0f ? z : 0.01f;
    rebuildScaled();
}

void cBitRegion::Region(const velmar::Region& r) {
    std::vector<std::int32_t> data = r.ToRgnData();
    velmar::Region selection = velmar::Region::FromRgnData(data);
    adopt(std::move(selection), std::move(data));
}

void cBitRegion::LoadFromFile(const std::filesystem::path& path) {
    std::vector<std::int32_t> data = ReadRegionFile(path);
    try {
        velmar::Region selection = velmar::Region::FromRgnData(data);
        adopt(std::move(selection), std::move(data));
    } catch (const std::bad_alloc&) {
        throw RegionFileError(path.string(), "its region is too large to hold in memory");
    }
}

void cBitRegion::SaveToFile(const std::filesystem::path& path) const {
    if (data_)
        WriteRegionFile(path, *data_);
    else
        WriteRegionFile(path, velmar::Region().ToRgnData());
}

velmar::Region cBitRegion::Outline(int dx, int dy) const {
    if (!regionScaled_) return {};
    velmar::Region outline = scaledFrame_;
    if (!outline.Offset(dx, dy)) return {};
    return outline;
}

} // namespace velmar
