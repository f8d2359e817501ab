#include "filters/fFilter.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace velmar {

namespace {

COLORREF colourAt(const velmar::Bits& b, int x, int y) {
    return static_cast<COLORREF>(b(Bits::Red, x, y)) |
           static_cast<COLORREF>(b(Bits::Green, x, y)) << 8 |
           static_cast<COLORREF>(b(Bits::Blue, x, y)) << 16;
}

// Sets a flag for the length of a scope, also when the filter throws.
class FlagScope {
  public:
    FlagScope(bool& flag, bool value) : flag_(flag), old_(flag) { flag_ = value; }
    ~FlagScope() { flag_ = old_; }
    FlagScope(const FlagScope&) = delete;
    FlagScope& operator=(const FlagScope&) = delete;

  private:
    bool& flag_;
    bool old_;
};

} // namespace

fFilter::fFilter(FilterDocument& document, int index) : document_(document) {
    const velmar::Bits& picture = document_.Picture();
    FitInside(picture.Width(), picture.Height(), kPreviewMaxWidth, kPreviewMaxHeight, previewWidth_,
              previewHeight_);
    filter_.BitsResize(picture, previewWidth_, previewHeight_);
    preview_ = filter_.Bits();
    filter_.SetProgress([this](std::int32_t percent) {
        if (forwardProgress_ && progress_) progress_(percent);
    });
    SetupFilter(index);
}

void fFilter::SetupFilter(int index) {
    const FilterSetup& setup = FilterSetupAt(index);
    index_ = index;
    values_ = setup.StartValues();
    for (std::size_t i = 0; i < sliders_.size(); ++i)
        sliders_[i] = i < setup.Sliders().size() ? setup.sliders[i].ControlDefault() : 0;
    values_.previewSide = std::max(previewWidth_, previewHeight_);
    pickX_ = previewWidth_ / 2;
    pickY_ = previewHeight_ / 2;
    if (setup.colours != ColourFrame::None && previewWidth_ > 0 && previewHeight_ > 0)
        values_.col0 = colourAt(preview_, pickX_, pickY_);
}

std::int32_t fFilter::SliderValue(int slider) const {
    return sliders_.at(static_cast<std::size_t>(slider));
}

std::string fFilter::ValueLabel(int slider) const {
    return Setup().Sliders()[static_cast<std::size_t>(slider)].ValueLabel(SliderValue(slider));
}

void fFilter::ApplyFilter(int index) {
    if (closed_) return;
    const FilterSetup& setup = FilterSetupAt(index);
    // The banks, glass and curtain frames write p themselves.
    if (!setup.banksFrame && !setup.glassFrame && !setup.curtainFrame) {
        for (std::size_t i = 0; i < setup.Sliders().size(); ++i)
            values_.p[i] = sliders_[i] - setup.sliders[i].Offset();
    }

    const bool small = !realTime_ && !appliedOnce_ && !accept_;
    const bool run = !appliedOnce_;
    velmar::Bits result;
    if (run) {
        const velmar::Bits& picture = document_.Picture();
        region_.Init(0, 0, picture.Width(), picture.Height());
        const cBitRegion* selection = document_.Selection();
        if (selection == nullptr || selection->IsEmptyRegion())
            region_.Region(*region_.RegionMain());
        else
            region_.Region(*selection->Region());
        if (small) {
            filter_.Bits(preview_.clone());
            region_.ZoomFactor(static_cast<float>(static_cast<double>(previewWidth_) /
                                                  static_cast<double>(picture.Width())));
        } else {
            filter_.Bits(picture.clone());
            region_.ZoomFactor(1.0f);
        }
        filter_.BitsRegion(region_.RegionScaled());
        {
            const FlagScope forwarding(forwardProgress_, !small);
            result = setup.call(filter_, values_);
        }
        // A copy of the whole picture is not kept in the dialog beyond the run.
        if (!small) filter_.Bits(velmar::Bits());
    }

    if (realTime_) {
        document_.ShowLive(std::move(result));
    } else if (!accept_) {
        previewResult_ = std::move(result);
    } else {
        if (run)
            document_.TakePicture(std::move(result));
        else
            document_.KeepLive();
        release();
    }
}

void fFilter::controlChanged() {
    if (closed_) return;
    realTime_ = appliedOnce_ = accept_ = false;
    ApplyFilter(index_);
}

void fFilter::SetSlider(int slider, std::int32_t controlValue) {
    const SliderSetup& s = Setup().Sliders()[static_cast<std::size_t>(slider)];
    sliders_[static_cast<std::size_t>(slider)] =
        std::clamp(controlValue, s.ControlMin(), s.ControlMax());
    controlChanged();
}

void fFilter::SetOption(bool on) {
    values_.option = on;
    controlChanged();
}

void fFilter::SetColour(int which, COLORREF colour) {
    (which == 0 ? values_.col0 : values_.col1) = colour;
    controlChanged();
}

void fFilter::PickPoint(int x, int y) {
    if (previewWidth_ <= 0 || previewHeight_ <= 0) return;
    pickX_ = std::clamp(x, 0, previewWidth_ - 1);
    pickY_ = std::clamp(y, 0, previewHeight_ - 1);
    values_.x = static_cast<float>(static_cast<double>(pickX_) / previewWidth_);
    values_.y = static_cast<float>(static_cast<double>(pickY_) / previewHeight_);
    if (Setup().colours != ColourFrame::None) values_.col0 = colourAt(preview_, pickX_, pickY_);
    controlChanged();
}

void fFilter::SetBankSource(int output, int source) {
    if (output < 0 || output > 2 || source < 0 || source > 2) return;
    auto& p = values_.p;
    const auto out = static_cast<std::size_t>(output);
    for (std::size_t other = 0; other < 3; ++other)
        if (other != out && p[other] == source) p[other] = p[out];
    p[out] = source;
    controlChanged();
}

void fFilter::SetBankInvert(int output, bool on) {
    values_.invert.at(static_cast<std::size_t>(output)) = on;
    controlChanged();
}

void fFilter::SetBankKill(int output, bool on) {
    values_.kill.at(static_cast<std::size_t>(output)) = on;
    controlChanged();
}

void fFilter::SetGlassStyle(std::string_view style) {
    values_.glassStyle = std::string(style);
    controlChanged();
}

void fFilter::SetGlassMode(int mode) {
    values_.p[0] = mode;
    controlChanged();
}

void fFilter::SetCurtain(int buttonIndex) {
    values_.p[0] = buttonIndex;
    controlChanged();
}

void fFilter::tmrSelect() noexcept {
    marker_ = marker_ == kMarkerWhite ? kMarkerBlack : kMarkerWhite;
}

void fFilter::cmdPreview() {
    if (closed_ || appliedOnce_) return;
    {
        const FlagScope realTime(realTime_, true);
        ApplyFilter(index_);
    }
    appliedOnce_ = true;
}

void fFilter::cmdOK() {
    if (closed_) return;
    try {
        accept_ = true;
        ApplyFilter(index_);
    } catch (...) {
        accept_ = false;
        throw;
    }
}

void fFilter::CmdCancel() {
    if (closed_) return;
    document_.RestorePicture();
    release();
}

void fFilter::release() {
    closed_ = true;
    filter_.BitsRegion(nullptr);
    filter_.Bits(velmar::Bits());
    region_.Clear();
    previewResult_ = velmar::Bits();
}

} // namespace velmar
