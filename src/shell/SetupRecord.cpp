#include "shell/SetupRecord.h"

#include <algorithm>
#include <string>

namespace velmar {

namespace {

// Little-endian by shifts, so the file is the same whatever the host's byte order.
void put(std::uint8_t*& at, std::uint8_t v) {
    *at++ = v;
}
void put(std::uint8_t*& at, std::int16_t v) {
    const auto u = static_cast<std::uint16_t>(v);
    *at++ = static_cast<std::uint8_t>(u & 0xFFu);
    *at++ = static_cast<std::uint8_t>(u >> 8);
}
void put(std::uint8_t*& at, std::int32_t v) {
    const auto u = static_cast<std::uint32_t>(v);
    for (int shift = 0; shift < 32; shift += 8)
        *at++ = static_cast<std::uint8_t>(u >> shift);
}
template <std::size_t N> void put(std::uint8_t*& at, const FixedText<N>& text) {
    for (const char c : text.Bytes())
        *at++ = static_cast<std::uint8_t>(c);
}
template <class T, std::size_t K> void put(std::uint8_t*& at, const std::array<T, K>& items) {
    for (const T& item : items)
        put(at, item);
}

void get(const std::uint8_t*& at, std::uint8_t& v) {
    v = *at++;
}
void get(const std::uint8_t*& at, std::int16_t& v) {
    const auto u = static_cast<std::uint16_t>(at[0] | (at[1] << 8));
    v = static_cast<std::int16_t>(u);
    at += 2;
}
void get(const std::uint8_t*& at, std::int32_t& v) {
    std::uint32_t u = 0;
    for (int i = 3; i >= 0; --i)
        u = (u << 8) | at[i];
    v = static_cast<std::int32_t>(u);
    at += 4;
}
template <std::size_t N> void get(const std::uint8_t*& at, FixedText<N>& text) {
    for (char& c : text.Bytes())
        c = static_cast<char>(*at++);
}
template <class T, std::size_t K> void get(const std::uint8_t*& at, std::array<T, K>& items) {
    for (T& item : items)
        get(at, item);
}

} // namespace

SetupBytes ToBytes(const SetupRecord& record) {
    SetupBytes bytes{};
    std::uint8_t* at = bytes.data();
    VisitFields(record, [&](std::string_view, const auto& field) { put(at, field); });
    return bytes;
}

SetupRecord FromBytes(std::span<const std::uint8_t> bytes) {
    // A short input is laid over a zeroed record, which is exactly the blank state the rest of
    // the fields must have; the field walk then never looks past the buffer it was given.
    SetupBytes full{};
    std::copy_n(bytes.begin(), std::min(bytes.size(), full.size()), full.begin());
    SetupRecord record;
    const std::uint8_t* at = full.data();
    VisitFields(record, [&](std::string_view, auto& field) { get(at, field); });
    return record;
}

void SetupRecord::SetDefaults(std::string_view appFolder, int twipsPerPixel) {
    FrameWidth = static_cast<std::int16_t>(640 * twipsPerPixel);
    FrameHeight = static_cast<std::int16_t>(480 * twipsPerPixel);
    FrameMaximized = kFlagFalse;
    ImagesMaximized = kFlagFalse;
    // The folder keeps its name, "Images" with a separator at the end, but the separator is
    // the Linux one.
    ImagesFolder = std::string(appFolder) + "/Images/";
    PreserveLastFolder = kFlagTrue;
    AskToSave = kFlagTrue;
    DefaultZoom = 1;
    // Blank means all blanks, not empty: the recent list tells unused entries that way.
    for (auto& entry : RecentFiles)
        entry = "";
    ColorBoxVisible = kFlagTrue;
    TexturesBoxVisible = kFlagTrue;
    ClipboardBoxVisible = kFlagTrue;
    BarVisible.fill(kFlagTrue);
    StatusBarVisible = kFlagTrue;
    SideToolsAutoHide = kFlagFalse;
    PaletteHue = 0;
    ForeColor = 0xFFFFFF;
    BackColor = 0;
    // A grey ramp from black to white in sixteen steps of 17.
    for (std::size_t i = 0; i < CustomColors.size(); ++i)
        CustomColors[i] = static_cast<std::int32_t>(17 * i * 0x010101);
    ReservedFlag = kFlagTrue;
    Tool = "";
    SelectionMode = 2;
    SelectionShape = 0;
    SelectionPressure = 50;
    MoveSelection = kFlagTrue;
    BrushMode = 0;
    BrushSize = 25;
    BrushPressure = 25;
    BrushContinuous = kFlagTrue;
    AirbrushSize = 75;
    AirbrushPressure = 25;
    AirbrushQuantity = 100;
    AirbrushDefinition = 1;
    FillMode = 0;
    FillTolerance = 25;
    FillPressure = 100;
    ShapeKind = 0;
    ShapePressure = 100;
    ShapeSides = 3;
    StampMaskColor = 0;
    StampUseMaskColor = kFlagFalse;
    StampMask = kFlagTrue;
    StampClearBack = kFlagFalse;
    StampPressure = 50;
    TextVersionMark = "1.0";
    TextFontName = "Arial";
    TextDefaults = {20, -1, -1, 0, 2};
    TextOpacity = 100;
    ReservedBlock.fill(0);
    GradMode = 0;
    GradColor2 = 0xFFFFFF;
    GradColor1 = 0;
    GradTransparent = {kFlagFalse, kFlagFalse};
    GradPressure = 50;
    GradFrequency = 1;
    EffectFlags = {kFlagTrue, kFlagTrue, kFlagTrue,  kFlagTrue,  kFlagTrue,  kFlagTrue,
                   kFlagTrue, kFlagTrue, kFlagFalse, kFlagFalse, kFlagFalse, kFlagFalse};
    ReservedCount = 10;
    PasteOpacity = 80;
    PasteActive = kFlagFalse;
    ThumbWidth = 90;
    ThumbHeight = 65;
    ThumbBackColor = "255255255";
    ClipboardBoxPlace = {9000, 7000, 2670};
    TexturesBoxPlace = {9000, 4500, 2370};
    ColorBoxPlace = {9000, 2000, 2040};
}

} // namespace velmar
