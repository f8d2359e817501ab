#include "shell/sizeDialogs.h"

#include "filters/documentGeometry.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

namespace velmar {

namespace {

int rounded(double v) {
    return static_cast<int>(std::nearbyint(v));
}

bool tooSmall(int width, int height, UserPort& port) {
    if (width >= 2 && height >= 2) return false;
    port.MsgBox(kMinimumSizeText, MsgIcon::Information, MsgButtons::Ok, kAppTitle);
    return true;
}

void showSize(Application& app, const fImage& doc) {
    app.Status.Set(StatusPanels::Size,
                   std::to_string(doc.PictureWidth()) + "x" + std::to_string(doc.PictureHeight()));
}

// The present size of the active document (0 by 0 without one).
std::pair<int, int> activeSize(const Application& app) {
    fImage* doc = nullptr;
    if (!app.GetActiveImage(doc)) return {0, 0};
    return {doc->PictureWidth(), doc->PictureHeight()};
}

// The "Quick" list: 1.5 or 2.0 times, or divided by them.
void quickSize(ProportionalSize& size, int index) {
    static constexpr double kFactor[] = {1.5, 2.0, 1.0 / 1.5, 0.5};
    if (index < 0 || index > 3) return;
    const bool keep = size.KeepProportions;
    size.KeepProportions = false;
    const int w = size.Width(), h = size.Height();
    size.SetWidth(rounded(w * kFactor[index]));
    size.SetHeight(rounded(h * kFactor[index]));
    size.KeepProportions = keep;
}

} // namespace

ProportionalSize::ProportionalSize(int width, int height)
    : width_(width), height_(height), ratio_(width > 0 ? static_cast<double>(height) / width : 1) {}

void ProportionalSize::SetWidth(int width) {
    width_ = width;
    if (!KeepProportions || guard_) return;
    guard_ = true;
    SetHeight(rounded(width * ratio_));
    guard_ = false;
}

void ProportionalSize::SetHeight(int height) {
    height_ = height;
    if (!KeepProportions || guard_) return;
    guard_ = true;
    SetWidth(ratio_ != 0 ? rounded(height / ratio_) : width_);
    guard_ = false;
}

bool ParseSizeEntry(std::string_view entry, int& width, int& height) {
    const std::size_t at = entry.find(" x ");
    if (at == std::string_view::npos) return false;
    int w = 0, h = 0;
    const auto first = std::from_chars(entry.data(), entry.data() + at, w);
    const auto second = std::from_chars(entry.data() + at + 3, entry.data() + entry.size(), h);
    if (first.ec != std::errc{} || second.ec != std::errc{}) return false;
    width = w;
    height = h;
    return true;
}

// ---- fNew ---------------------------------------------------------------------------------

// A new picture starts as the first standard size the list offers in landscape.
fNew::fNew(Application& app) : Size(640, 480), app_(app) {}

void fNew::cbDefault(int index) {
    if (index < 0 || index >= static_cast<int>(kDefaults.size())) return;
    int w = 0, h = 0;
    if (!ParseSizeEntry(kDefaults[static_cast<std::size_t>(index)], w, h)) return;
    const bool keep = Size.KeepProportions;
    Size.KeepProportions = false;
    Size.SetWidth(w);
    Size.SetHeight(h);
    Size.KeepProportions = keep;
}

bool fNew::OK() {
    if (tooSmall(Size.Width(), Size.Height(), app_.Port())) return false;
    fImage& doc = app_.NewDocument();
    doc.CreateBlank(Size.Width(), Size.Height());
    doc.SelectWholePicture();
    doc.Caption = app_.MakeCaption(app_.Setup.ImagesFolder.Trimmed() + "New.bmp");
    doc.Tag = "New.bmp";
    doc.SaveUndoBits();
    app_.ShowDocument(doc);
    return true;
}

// ---- fSize --------------------------------------------------------------------------------

fSize::fSize(Application& app) : Size(activeSize(app).first, activeSize(app).second), app_(app) {}

void fSize::cbPreDef(int index) {
    quickSize(Size, index);
}

bool fSize::OK() {
    fImage* doc = nullptr;
    if (!app_.GetActiveImage(doc)) return true;
    const int w = Size.Width(), h = Size.Height();
    if (w == doc->PictureWidth() && h == doc->PictureHeight()) return true;
    if (tooSmall(w, h, app_.Port())) return false;
    const velmar::Bits& picture = doc->Bits();
    const bool smooth = chkInterpolate;
    if (app_.RunOnActive(
            [&](cBitFilter& f) {
                if (smooth)
                    f.BitsResample(picture, w, h);
                else
                    f.BitsResize(picture, w, h);
                return f.TakeBits();
            },
            false))
        showSize(app_, *doc);
    return true;
}

// ---- fCanvas ------------------------------------------------------------------------------

fCanvas::fCanvas(Application& app)
    : Size(activeSize(app).first, activeSize(app).second), app_(app) {}

void fCanvas::cbPreDef(int index) {
    quickSize(Size, index);
}

// The old picture sits in the middle of the new canvas: a smaller canvas cuts all sides
// evenly, a larger one adds black space all round.
bool fCanvas::OK() {
    const int w = Size.Width(), h = Size.Height();
    if (tooSmall(w, h, app_.Port())) return false;
    fImage* doc = nullptr;
    if (!app_.GetActiveImage(doc)) return true;
    const velmar::Bits& picture = doc->Bits();
    if (app_.RunOnActive(
            [&](cBitFilter&) {
                velmar::Bits canvas(w, h);
                const int dx = (w - picture.Width()) / 2;
                const int dy = (h - picture.Height()) / 2;
                const int x0 = std::max(0, dx), x1 = std::min(w, dx + picture.Width());
                for (int y = std::max(0, dy); y < std::min(h, dy + picture.Height()); ++y)
                    if (x1 > x0)
                        std::memcpy(canvas.Row(y) + x0 * 4, picture.Row(y - dy) + (x0 - dx) * 4,
                                    static_cast<std::size_t>(x1 - x0) * 4);
                return canvas;
            },
            false)) {
        doc->SelectWholePicture();
        showSize(app_, *doc);
    }
    return true;
}

// ---- fOrientation -------------------------------------------------------------------------

velmar::Bits OrientPicture(cBitFilter& filter, int orientation, bool flipVertical,
                           bool flipHorizontal) {
    // A quarter turn of the filter is counter-clockwise: n turns clockwise are 4 - n of them.
    const int turns = (4 - std::clamp(orientation, 0, 3)) % 4;
    for (int i = 0; i < turns; ++i) {
        velmar::Bits source = filter.TakeBits();
        filter.BitsRotate90(source);
    }
    filter.BitsRegion(nullptr);
    if (flipVertical || flipHorizontal) return filter.Flip(flipHorizontal, flipVertical);
    return filter.TakeBits();
}

bool fOrientation::OK() {
    fImage* doc = nullptr;
    if (!app_.GetActiveImage(doc)) return true;
    if (app_.RunOnActive([&](cBitFilter& f) {
            return OrientPicture(f, cbOrientation, FlipVertical, FlipHorizontal);
        }))
        showSize(app_, *doc);
    return true;
}

// ---- fRotate ------------------------------------------------------------------------------

void fRotate::Plus45() {
    Degrees = static_cast<std::int16_t>(static_cast<std::int16_t>(Degrees + 45) % 180);
}

void fRotate::Minus45() {
    Degrees = static_cast<std::int16_t>(static_cast<std::int16_t>(Degrees - 45) % 180);
}

bool fRotate::OK() {
    fImage* doc = nullptr;
    if (!app_.GetActiveImage(doc)) return true;
    const velmar::Bits& picture = doc->Bits();
    const double degrees = Degrees;
    const bool smooth = chkAntialiasing;
    if (app_.RunOnActive([&](cBitFilter& f) { return RotateDocument(f, picture, degrees, smooth); },
                         false))
        showSize(app_, *doc);
    return true;
}

// ---- fResolution --------------------------------------------------------------------------

void fResolution::Preset(int index) {
    if (index < 0 || index >= static_cast<int>(kPresets.size())) return;
    ParseSizeEntry(kPresets[static_cast<std::size_t>(index)], Width, Height);
}

bool fResolution::OK() {
    fSize size(app_);
    size.Size.SetWidth(Width);
    size.Size.SetHeight(Height);
    size.chkInterpolate = chkAnti;
    return size.OK();
}

} // namespace velmar
