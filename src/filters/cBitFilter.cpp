#include "filters/cBitFilter.h"

#include "filters/filterFrame.h"
#include "filters/filterMath.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>

namespace velmar {

namespace {

// timeGetTime: milliseconds on a clock that never goes back, wrapping at 32 bits.
std::uint32_t nowMs() {
    const auto t = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint32_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(t).count());
}

IntRect intersect(const IntRect& a, const IntRect& b) {
    IntRect r{std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
              std::min(a.bottom, b.bottom)};
    if (r.IsEmpty()) return {}; // as IntersectRect: an empty result is all zeros
    return r;
}

IntRect sizeRect(const velmar::Bits& b) { return {0, 0, b.Width(), b.Height()}; }

} // namespace

// Each object draws its own random sequence, seeded once from the system so that two runs of
// NOISE differ; SeedRandom makes a run repeatable.
cBitFilter::cBitFilter() : threads_(filters::machineThreads()), random_(std::random_device{}()) {}

void cBitFilter::Bits(velmar::Bits bits) {
    bits_ = std::move(bits);
    W1_ = bits_.UBoundX() - 2;
    H1_ = bits_.UBoundY() - 2;
    image_ = sizeRect(bits_);
}

velmar::Bits cBitFilter::TakeBits() noexcept {
    velmar::Bits out = std::move(bits_);
    bits_ = velmar::Bits();
    W1_ = H1_ = -1;
    image_ = {};
    return out;
}

void cBitFilter::RegionBox(std::int32_t margin) {
    const IntRect r = region_ != nullptr ? region_->Box() : image_;
    box_.left = r.left + margin;
    box_.right = r.right - margin - 1;
    box_.top = r.top + margin;
    box_.bottom = r.bottom - margin - 1;
}

double cBitFilter::PolarAngle(double a, double b) {
    if (a == 0.0) return b > 0.0 ? filters::kPi / 2.0 : -filters::kPi / 2.0;
    if (a > 0.0) return std::atan(b / a);
    return std::atan(b / a) + filters::kPi;
}

void cBitFilter::ProgressStep(std::int64_t at, std::int64_t last) {
    if (nowMs() - lastProgressMs_ > 10) {
        lastProgressMs_ = nowMs();
        // A picture of one row has H1 = 0: "Division by zero", as the program always did.
        const std::int32_t percent =
            filters::idiv(filters::checkedLong(at * 100), filters::checkedLong(last));
        if (progress_) progress_(percent);
    }
}

void cBitFilter::ProgressDone() {
    if (progress_) progress_(100);
}

void FilterFrame::LeaveLoopFields(cBitFilter& f, const cBitFilter::Box& box, std::int32_t step) {
    if (box.top > box.bottom) {
        f.y_ = box.top;
        return;
    }
    f.y_ = box.top + ((box.bottom - box.top) / step + 1) * step;
    f.x_ = box.left <= box.right ? box.right + 1 : box.left;
}

void cBitFilter::BitsBlack() {
    RegionBox(0);
    if (!bits_.IsAllocated()) return;
    const Box cut = FilterFrame::ClippedBox(*this);
    for (std::int32_t y = cut.top; y <= cut.bottom; ++y) {
        std::uint8_t* row = bits_.Row(y);
        FilterFrame::ForEachSelected(*this, y, cut.left, cut.right,
                                     [&](std::int32_t x0, std::int32_t x1) {
                                         std::memset(row + x0 * 4, 0,
                                                     static_cast<std::size_t>(x1 - x0) * 4);
                                     });
    }
    FilterFrame::LeaveLoopFields(*this, box_, 1);
}

void cBitFilter::BitsCrop(const velmar::Bits& source, std::int32_t left, std::int32_t top,
                          std::int32_t right, std::int32_t bottom) {
    // Cut to the object's picture as the program does, and also to the source, which the
    // program trusted to be at least as large.
    const IntRect r = intersect(intersect({left, top, right, bottom}, image_), sizeRect(source));
    const std::int32_t w = r.right - r.left;
    const std::int32_t h = r.bottom - r.top;
    velmar::Bits fresh(w, h);
    for (std::int32_t row = 0; row < h; ++row)
        std::memcpy(fresh.Row(row), source.Row(r.top + row) + std::ptrdiff_t{r.left} * 4,
                    static_cast<std::size_t>(w) * 4);
    Bits(std::move(fresh));
    ProgressDone();
}

void cBitFilter::BitsCropMasked(const velmar::Bits& source, std::int32_t left, std::int32_t top,
                                std::int32_t right, std::int32_t bottom) {
    image_ = sizeRect(source);
    const IntRect r = intersect({left, top, right, bottom}, image_);
    const std::int32_t w = r.right - r.left;
    const std::int32_t h = r.bottom - r.top;
    velmar::Bits fresh(w, h);
    for (std::int32_t y = 0; y < h; ++y) {
        const std::uint8_t* in = source.Row(r.top + y) + std::ptrdiff_t{r.left} * 4;
        std::uint8_t* out = fresh.Row(y);
        for (std::int32_t x = 0; x < w; ++x) {
            const bool selected = region_ == nullptr || region_->Contains(r.left + x, r.top + y);
            if (selected)
                std::memcpy(out + x * 4, in + x * 4, 4);
            else
                out[x * 4 + 3] = 255;
        }
    }
    Bits(std::move(fresh));
    ProgressDone();
}

} // namespace velmar
