#include "document/fImage.h"

#include "formats/gateway.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <utility>

namespace velmar {

namespace {

void putLong(std::uint8_t* at, std::int32_t v) {
    const auto u = static_cast<std::uint32_t>(v);
    for (int i = 0; i < 4; ++i)
        at[i] = static_cast<std::uint8_t>(u >> (8 * i));
}

std::int32_t getLong(const std::uint8_t* at) {
    std::uint32_t u = 0;
    for (int i = 0; i < 4; ++i)
        u |= static_cast<std::uint32_t>(at[i]) << (8 * i);
    return static_cast<std::int32_t>(u);
}

std::int16_t getShort(const std::uint8_t* at) {
    return static_cast<std::int16_t>(at[0] | (at[1] << 8));
}

} // namespace

std::array<std::uint8_t, BitmapHeader::kSize> BitmapHeader::ToBytes() const {
    std::array<std::uint8_t, kSize> b{};
    putLong(&b[0], 40);
    putLong(&b[4], width);
    putLong(&b[8], height);
    b[12] = 1;  // planes
    b[14] = 32; // bits per pixel
    return b;
}

bool BitmapHeader::FromBytes(const std::uint8_t* bytes, BitmapHeader& header) {
    if (getLong(bytes) != 40 || getShort(bytes + 12) != 1 || getShort(bytes + 14) != 32)
        return false;
    const std::int32_t w = getLong(bytes + 4);
    const std::int32_t h = getLong(bytes + 8);
    // At least a 1 by 1 picture with its margin, stored top-down.
    if (w < 5 || h > -5) return false;
    header = {w, h};
    return true;
}

fImage::fImage(int docNumber, std::filesystem::path tempFolder)
    : docNumber_(docNumber), tempFolder_(std::move(tempFolder)) {}

void fImage::Bits(velmar::Bits picture) {
    FinishUndoWrite();
    const bool resized = picture.Width() != bits_.Width() || picture.Height() != bits_.Height();
    bits_ = std::move(picture);
    live_ = {};
    header_ = BitmapHeader::ForPicture(bits_.Width(), bits_.Height());
    if (resized) pictureSizeChanged();
}

void fImage::SelectWholePicture() {
    region_.Init(0, 0, bits_.Width(), bits_.Height());
    region_.CreateRect(0, 0, bits_.Width(), bits_.Height(), 5, true);
    view_->UpdateRegion();
}

void fImage::CreateBlank(int width, int height) {
    FinishUndoWrite();
    if (width < 1 || height < 1) return;
    bits_ = velmar::Bits(width, height);
    live_ = {};
    header_ = BitmapHeader::ForPicture(width, height);
    region_.Init(0, 0, width, height);
    pictureExists_ = true;
    view_->LayoutView();
}

bool fImage::SetPicture(const std::filesystem::path& file, std::string_view extension) {
    FinishUndoWrite();
    // The extension chooses the route, never the content.
    std::optional<velmar::Bits> picture;
    if (LowerCase(ExtensionOf(file)) == LowerCase(extension)) {
        picture = LoadPictureFile(file, LoadSite::Document);
    } else {
        std::ifstream in(file, std::ios::binary);
        const std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>(in),
                                              std::istreambuf_iterator<char>()};
        if (in.bad()) return false;
        picture = LoadPictureBytes(bytes, extension, LoadSite::Document);
    }
    if (!picture) return false;
    bits_ = std::move(*picture);
    live_ = {};
    header_ = BitmapHeader::ForPicture(bits_.Width(), bits_.Height());
    region_.Init(0, 0, bits_.Width(), bits_.Height());
    pictureExists_ = true;
    view_->LayoutView();
    return true;
}

void fImage::Clear() {
    FinishUndoWrite();
    pictureExists_ = false;
    bits_ = {};
    live_ = {};
    view_->LayoutView();
}

void fImage::ZoomFactor(int factor) {
    zoomIndex_ = std::clamp(factor, kZoomLowest, kZoomHighest);
    if (!pictureExists_) return;
    region_.ZoomFactor(static_cast<float>(zoomIndex_));
    view_->LayoutView();
}

void fImage::ZoomIn() {
    if (!pictureExists_ || zoomIndex_ >= kZoomHighest) return;
    ZoomFactor(zoomIndex_ + 1);
}

void fImage::ZoomOut() {
    if (!pictureExists_ || zoomIndex_ <= kZoomLowest) return;
    ZoomFactor(zoomIndex_ - 1);
}

void fImage::pictureSizeChanged() {
    region_.Init(0, 0, bits_.Width(), bits_.Height());
    region_.CreateRect(0, 0, bits_.Width(), bits_.Height(), 5, true);
    if (status_)
        status_->Set(StatusPanels::Size,
                     std::to_string(bits_.Width()) + " x " + std::to_string(bits_.Height()));
    view_->LayoutView();
    view_->UpdateRegion();
}

// ---- The filter dialog ----------------------------------------------------------------------

const cBitRegion* fImage::Selection() const {
    return region_.Region() && !region_.Region()->IsEmpty() ? &region_ : nullptr;
}

void fImage::ShowLive(velmar::Bits result) {
    live_ = std::move(result);
    view_->UpdateImage();
}

void fImage::KeepLive() {
    if (!live_.IsAllocated()) return;
    TakePicture(std::move(live_));
}

void fImage::TakePicture(velmar::Bits picture) {
    Bits(std::move(picture));
    view_->UpdateImage();
    SaveUndoBits();
    Changed = true;
}

void fImage::RestorePicture() {
    live_ = {};
    view_->UpdateImage();
}

} // namespace velmar
