#pragma once
// SetupRecord: every persistent setting of the program in one flat record.
//
// The record is stored as one packed block of bytes in "Velmar.dat" (see setupStore.h): the
// fields in the order below, integers little-endian, no padding, texts as fixed runs of
// single-byte characters. The C++ struct layout plays no part in that: the one field walk
// VisitFields() drives reading, writing and the byte offsets alike, so adding a field in the
// right place of that walk is the whole of a format change.
//
// Types: 16-bit integers hold both numbers and flags (-1 true, 0 false); colours are 32-bit
// values with red in the low byte; screen measures (frame size, box places) are in twips,
// 15 to the pixel. Every panel reads and writes its own fields directly, so the record has no
// accessors; the application object owns the one instance.
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace velmar {

// A text of exactly N single-byte characters, as the file stores it. Assigning a shorter text
// pads it with blanks and a longer one is cut, which is how the old fixed-length strings
// behaved; code that wants the text itself reads Trimmed(). A default-constructed text is N NUL
// bytes: that is what a field holds when a short file left it unread, and it trims to "".
template <std::size_t N> class FixedText {
  public:
    static constexpr std::size_t kLength = N;

    constexpr FixedText() = default;
    constexpr explicit FixedText(std::string_view text) { Assign(text); }

    constexpr void Assign(std::string_view text) {
        std::size_t i = 0;
        for (; i < N && i < text.size(); ++i)
            bytes_[i] = text[i];
        for (; i < N; ++i)
            bytes_[i] = ' ';
    }
    constexpr FixedText& operator=(std::string_view text) {
        Assign(text);
        return *this;
    }

    // The text without its trailing blanks and NULs; blanks inside are kept.
    std::string Trimmed() const {
        std::size_t end = N;
        while (end > 0 && (bytes_[end - 1] == ' ' || bytes_[end - 1] == '\0'))
            --end;
        return std::string(bytes_.data(), end);
    }
    // All N bytes, padding included.
    constexpr std::string_view View() const { return std::string_view(bytes_.data(), N); }

    constexpr std::array<char, N>& Bytes() { return bytes_; }
    constexpr const std::array<char, N>& Bytes() const { return bytes_; }

    friend constexpr bool operator==(const FixedText&, const FixedText&) = default;

  private:
    std::array<char, N> bytes_{};
};

// Flags are 16-bit: -1 for true, 0 for false. Any non-zero value reads as true, as the old
// conditionals did.
inline constexpr std::int16_t kFlagTrue = -1;
inline constexpr std::int16_t kFlagFalse = 0;
constexpr bool IsSet(std::int16_t flag) {
    return flag != 0;
}
constexpr std::int16_t ToFlag(bool value) {
    return value ? kFlagTrue : kFlagFalse;
}

// The fields in file order. Member names are the setting names the rest of the program uses.
struct SetupRecord {
    std::int16_t FrameWidth = 0;         // twips; written at close unless minimized
    std::int16_t FrameHeight = 0;        // twips
    std::int16_t FrameMaximized = 0;     // flag: "Open Velmar Kestrin maximized"
    std::int16_t ImagesMaximized = 0;    // flag: "Open images maximized"
    FixedText<256> ImagesFolder;         // "Images default folder": file dialogs start here
    std::int16_t PreserveLastFolder = 0; // flag: the open dialog's folder goes to ImagesFolder
    std::int16_t AskToSave = 0;          // flag: "Ask to save on Close/Exit"
    std::int16_t DefaultZoom = 0;        // above 1: zoom of each newly opened document
    std::array<FixedText<256>, 8> RecentFiles{}; // entry 0 is the newest; unused entries blank
    std::int16_t ColorBoxVisible = 0;            // flag: colour box shown at start
    std::int16_t TexturesBoxVisible = 0;         // flag: textures box shown at start
    std::int16_t ClipboardBoxVisible = 0;        // flag: clipboard box shown at start
    // Flags, in order: Standard, Effects, Image, Utilities, Help, Tools, Filters bars.
    std::array<std::int16_t, 7> BarVisible{};
    std::int16_t StatusBarVisible = 0;  // flag
    std::int16_t SideToolsAutoHide = 0; // flag
    std::int32_t PaletteHue = 0;        // hue strip position of the colour box
    std::int32_t ForeColor = 0;         // colour of all paint tools
    std::int32_t BackColor = 0;         // second colour, swapped with ForeColor by the colour box
    std::array<std::int32_t, 16> CustomColors{};
    std::int16_t ReservedFlag = 0;   // flag; kept for the file layout, read by nothing
    FixedText<25> Tool;              // current tool name; cleared at every start
    std::int16_t SelectionMode = 0;  // 0 Add, 1 Subtract, 2 New
    std::int16_t SelectionShape = 0; // 0 Rectangle, 1 Ellipse, 2 Polygon/Free hand, 3 Pixel
    std::int16_t SelectionPressure = 0;
    std::int16_t MoveSelection = 0; // flag
    std::int16_t BrushMode = 0;
    std::int16_t BrushSize = 0;
    std::int16_t BrushPressure = 0;
    std::int16_t BrushContinuous = 0; // flag
    std::int16_t AirbrushSize = 0;
    std::int16_t AirbrushPressure = 0;
    std::int16_t AirbrushQuantity = 0;
    std::int16_t AirbrushDefinition = 0;
    std::int16_t FillMode = 0;
    std::int16_t FillTolerance = 0;
    std::int16_t FillPressure = 0;
    std::int16_t ShapeKind = 0;
    std::int16_t ShapePressure = 0;
    std::int16_t ShapeSides = 0;
    std::int32_t StampMaskColor = 0;
    std::int16_t StampUseMaskColor = 0; // flag
    std::int16_t StampMask = 0;         // flag: "Current color stamp"
    std::int16_t StampClearBack = 0;    // flag: "Clear stamp track"
    std::int16_t StampPressure = 0;
    FixedText<256> TextVersionMark;              // kept for the file layout, read by nothing
    FixedText<256> TextFontName;                 // kept for the file layout, read by nothing
    std::array<std::int16_t, 5> TextDefaults{};  // kept for the file layout, read by nothing
    std::int16_t TextOpacity = 0;                // default opacity of the text stamp
    std::array<std::uint8_t, 8> ReservedBlock{}; // kept for the file layout, read by nothing
    std::int16_t GradMode = 0;                   // 0 Linear, 1 Circular
    std::int32_t GradColor2 = 0;
    std::int32_t GradColor1 = 0;
    std::array<std::int16_t, 2> GradTransparent{}; // flags
    std::int16_t GradPressure = 0;
    std::int16_t GradFrequency = 0;
    std::array<std::int16_t, 12> EffectFlags{}; // flags, one per entry of the effect list
    std::int16_t ReservedCount = 0;             // kept for the file layout, read by nothing
    std::int16_t PasteOpacity = 0;              // "Opaque Intensity" of the clipboard box
    std::int16_t PasteActive = 0;               // flag: a pasted picture floats over a document
    std::int16_t ThumbWidth = 0;                // pixels
    std::int16_t ThumbHeight = 0;               // pixels
    FixedText<9> ThumbBackColor; // three decimal values of three digits: red, green, blue
    // Left, top and height in twips of the three tool boxes.
    std::array<std::int16_t, 3> ClipboardBoxPlace{};
    std::array<std::int16_t, 3> TexturesBoxPlace{};
    std::array<std::int16_t, 3> ColorBoxPlace{};

    // Sets every field to its value for a new installation. appFolder is the application
    // folder without a trailing separator; twipsPerPixel is the screen's (15 on any ordinary
    // screen, at most 51 so that 640 pixels fit a 16-bit field).
    void SetDefaults(std::string_view appFolder, int twipsPerPixel = 15);

    friend bool operator==(const SetupRecord&, const SetupRecord&) = default;
};

// The one walk over the fields, in file order: v(name, field) for each. Reading, writing and
// FieldOffset() all go through it, so they cannot disagree. Works on a const record as well.
template <class Record, class Visitor> constexpr void VisitFields(Record& r, Visitor&& v) {
#define VELMAR_SETUP_FIELD(field) v(#field, r.field)
    VELMAR_SETUP_FIELD(FrameWidth);
    VELMAR_SETUP_FIELD(FrameHeight);
    VELMAR_SETUP_FIELD(FrameMaximized);
    VELMAR_SETUP_FIELD(ImagesMaximized);
    VELMAR_SETUP_FIELD(ImagesFolder);
    VELMAR_SETUP_FIELD(PreserveLastFolder);
    VELMAR_SETUP_FIELD(AskToSave);
    VELMAR_SETUP_FIELD(DefaultZoom);
    VELMAR_SETUP_FIELD(RecentFiles);
    VELMAR_SETUP_FIELD(ColorBoxVisible);
    VELMAR_SETUP_FIELD(TexturesBoxVisible);
    VELMAR_SETUP_FIELD(ClipboardBoxVisible);
    VELMAR_SETUP_FIELD(BarVisible);
    VELMAR_SETUP_FIELD(StatusBarVisible);
    VELMAR_SETUP_FIELD(SideToolsAutoHide);
    VELMAR_SETUP_FIELD(PaletteHue);
    VELMAR_SETUP_FIELD(ForeColor);
    VELMAR_SETUP_FIELD(BackColor);
    VELMAR_SETUP_FIELD(CustomColors);
    VELMAR_SETUP_FIELD(ReservedFlag);
    VELMAR_SETUP_FIELD(Tool);
    VELMAR_SETUP_FIELD(SelectionMode);
    VELMAR_SETUP_FIELD(SelectionShape);
    VELMAR_SETUP_FIELD(SelectionPressure);
    VELMAR_SETUP_FIELD(MoveSelection);
    VELMAR_SETUP_FIELD(BrushMode);
    VELMAR_SETUP_FIELD(BrushSize);
    VELMAR_SETUP_FIELD(BrushPressure);
    VELMAR_SETUP_FIELD(BrushContinuous);
    VELMAR_SETUP_FIELD(AirbrushSize);
    VELMAR_SETUP_FIELD(AirbrushPressure);
    VELMAR_SETUP_FIELD(AirbrushQuantity);
    VELMAR_SETUP_FIELD(AirbrushDefinition);
    VELMAR_SETUP_FIELD(FillMode);
    VELMAR_SETUP_FIELD(FillTolerance);
    VELMAR_SETUP_FIELD(FillPressure);
    VELMAR_SETUP_FIELD(ShapeKind);
    VELMAR_SETUP_FIELD(ShapePressure);
    VELMAR_SETUP_FIELD(ShapeSides);
    VELMAR_SETUP_FIELD(StampMaskColor);
    VELMAR_SETUP_FIELD(StampUseMaskColor);
    VELMAR_SETUP_FIELD(StampMask);
    VELMAR_SETUP_FIELD(StampClearBack);
    VELMAR_SETUP_FIELD(StampPressure);
    VELMAR_SETUP_FIELD(TextVersionMark);
    VELMAR_SETUP_FIELD(TextFontName);
    VELMAR_SETUP_FIELD(TextDefaults);
    VELMAR_SETUP_FIELD(TextOpacity);
    VELMAR_SETUP_FIELD(ReservedBlock);
    VELMAR_SETUP_FIELD(GradMode);
    VELMAR_SETUP_FIELD(GradColor2);
    VELMAR_SETUP_FIELD(GradColor1);
    VELMAR_SETUP_FIELD(GradTransparent);
    VELMAR_SETUP_FIELD(GradPressure);
    VELMAR_SETUP_FIELD(GradFrequency);
    VELMAR_SETUP_FIELD(EffectFlags);
    VELMAR_SETUP_FIELD(ReservedCount);
    VELMAR_SETUP_FIELD(PasteOpacity);
    VELMAR_SETUP_FIELD(PasteActive);
    VELMAR_SETUP_FIELD(ThumbWidth);
    VELMAR_SETUP_FIELD(ThumbHeight);
    VELMAR_SETUP_FIELD(ThumbBackColor);
    VELMAR_SETUP_FIELD(ClipboardBoxPlace);
    VELMAR_SETUP_FIELD(TexturesBoxPlace);
    VELMAR_SETUP_FIELD(ColorBoxPlace);
#undef VELMAR_SETUP_FIELD
}

namespace setup_detail {
// Bytes a field takes in the file.
constexpr std::size_t EncodedSize(const std::uint8_t&) {
    return 1;
}
constexpr std::size_t EncodedSize(const std::int16_t&) {
    return 2;
}
constexpr std::size_t EncodedSize(const std::int32_t&) {
    return 4;
}
template <std::size_t N> constexpr std::size_t EncodedSize(const FixedText<N>&) {
    return N;
}
template <class T, std::size_t K> constexpr std::size_t EncodedSize(const std::array<T, K>& a) {
    return K * EncodedSize(a[0]);
}
} // namespace setup_detail

// Byte offset of the named field in the file, or nothing for a name the record does not have.
constexpr std::optional<std::size_t> FieldOffset(std::string_view name) {
    const SetupRecord r{};
    std::size_t at = 0;
    std::optional<std::size_t> found;
    VisitFields(r, [&](std::string_view fieldName, const auto& field) {
        if (!found && fieldName == name) found = at;
        at += setup_detail::EncodedSize(field);
    });
    return found;
}

// Size of the record in the file.
constexpr std::size_t SetupRecordSize() {
    const SetupRecord r{};
    std::size_t at = 0;
    VisitFields(
        r, [&](std::string_view, const auto& field) { at += setup_detail::EncodedSize(field); });
    return at;
}
inline constexpr std::size_t kSetupRecordSize = SetupRecordSize();

using SetupBytes = std::array<std::uint8_t, kSetupRecordSize>;

// The record as the file holds it.
SetupBytes ToBytes(const SetupRecord& record);

// Reads a record from the start of bytes, without any check: the file has no signature and no
// version. Bytes past the record are ignored; fields, or parts of a field, beyond the end of a
// shorter input stay blank: zero numbers and texts of NUL bytes.
SetupRecord FromBytes(std::span<const std::uint8_t> bytes);

} // namespace velmar
