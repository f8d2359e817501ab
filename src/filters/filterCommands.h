#pragma once
// The filter commands as data: the words that run a filter at once with a fixed preset, the 41
// setups of the filter dialog (sliders, options, and the call they feed), and the words that
// open the dialog at a setup. The editor's dispatcher, the dialog and velmar-cli all read these
// tables, so a word or a setup means the same thing wherever it is used.
#include "filters/cBitFilter.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace velmar {

// The colour of the contour presets, written as the nine decimal digits 255255255 and taken
// as a colour value: red 215, green 226, blue 54 (not white).
inline constexpr COLORREF kPresetContourColour = 255255255;

// ---- Words that run at once ----------------------------------------------------------------

// The preset call of a word: the filter's result, to be stored back as the new picture.
using PresetCall = velmar::Bits (*)(cBitFilter&);

struct DirectCommand {
    std::string_view word;
    // nullptr for the words the dispatcher accepts and ends without any action.
    PresetCall call;
};

// Every word that runs a filter at once, in the order of the menus.
std::span<const DirectCommand> DirectCommands();
// The row of `word` (exact, upper case), or nullptr.
const DirectCommand* FindDirectCommand(std::string_view word);

// ---- The filter dialog -----------------------------------------------------------------------

// A slider as SetupSlider takes it. Min, Max and Default are in shown units; the control runs
// from Min/Scale to Max/Scale and its value label shows value * Scale in Format.
struct SliderSetup {
    std::string_view label;
    double min = 0;
    double max = 0;
    double scale = 1;
    double def = 0;
    std::string_view format = "0";
    bool centred = false;

    std::int32_t ControlMin() const;
    std::int32_t ControlMax() const;
    std::int32_t ControlDefault() const;
    // round((Max/Scale) * 0.5) for a centred slider, 0 otherwise: p = control value - offset.
    std::int32_t Offset() const;
    // The value label of a control value: value * Scale in Format ("0", "0.00", ...).
    std::string ValueLabel(std::int32_t controlValue) const;
};

// The colour frame: none, one colour (Col 1), or two colours with Col 0 the key picked from
// the source preview.
enum class ColourFrame { None, OneColour, Colours };

// Everything a setup's call reads from the dialog.
struct DialogValues {
    // The filter arguments: slider values after the centred offset; for the RGB banks the
    // source channel of the red, green and blue output; for the glass and curtain setups the
    // mode in p[0].
    std::array<std::int32_t, 3> p{};
    bool option = false;
    COLORREF col0 = 0;
    COLORREF col1 = 0xFFFFFF;
    // The picked point as fractions of the preview's width and height.
    float x = 0.5f;
    float y = 0.5f;
    // The larger side of the preview, the unit of the lens and light radius.
    std::int32_t previewSide = 0;
    std::string glassStyle = "slanting";
    // RGB banks, per output red, green, blue.
    std::array<bool, 3> invert{};
    std::array<bool, 3> kill{};
};

using DialogCall = velmar::Bits (*)(cBitFilter&, const DialogValues&);

struct FilterSetup {
    std::int32_t index = 0;
    std::string_view caption;
    std::array<SliderSetup, 3> sliders{};
    std::int32_t sliderCount = 0;
    // The caption of the option check box; empty when the setup has none.
    std::string_view option;
    ColourFrame colours = ColourFrame::None;
    bool pickedPoint = false;
    bool banksFrame = false;
    bool glassFrame = false;
    bool curtainFrame = false;
    DialogCall call = nullptr;

    std::span<const SliderSetup> Sliders() const {
        return {sliders.data(), static_cast<std::size_t>(sliderCount)};
    }
    // The values the dialog starts with for this setup (sliders at their defaults, the banks
    // 2, 1, 0, the glass "slanting" with mode 0, the curtain with p0 at 0 until a button is
    // pressed).
    DialogValues StartValues() const;
};

inline constexpr int kFilterSetupCount = 41;

std::span<const FilterSetup> FilterSetups();
// Setup 0..40; anything else is std::out_of_range.
const FilterSetup& FilterSetupAt(int index);

// The choices of the glass and curtain frames.
struct CurtainButton {
    std::string_view caption;
    std::int16_t index; // what the button puts in p0
};
std::span<const std::string_view> GlassStyles(); // "slanting", "horizontal", "vertical", "squary"
std::span<const std::string_view> GlassModes();  // "Light", "Tight", "Large": p0 0..2
std::span<const CurtainButton> CurtainButtons();

// ---- Words that open the dialog --------------------------------------------------------------

struct DialogWord {
    std::string_view word;
    std::int32_t index;
};
std::span<const DialogWord> DialogWords();
std::optional<std::int32_t> FindDialogWord(std::string_view word);

} // namespace velmar
