#include "filters/filterCommands.h"

#include "filters/filterMath.h"
#include "pixel/colour.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>

namespace velmar {

namespace {

using filters::fdiv;

// ---- Words that run at once ----------------------------------------------------------------

// Captureless lambdas become plain function pointers, so each row is data with no allocation.
#define VELMAR_PRESET(expr) [](cBitFilter& f) -> velmar::Bits { return expr; }

// True for a kept channel: SpecialColors tests its flags for all ones.
constexpr std::int16_t kKeep = -1;

const DirectCommand kDirectCommands[] = {
    {"INVERT", VELMAR_PRESET(f.Invert())},
    {"GRAYSCALE", VELMAR_PRESET(f.GreyScale())},
    {"RELIEF", VELMAR_PRESET(f.RELIEF())},
    {"ERODE", VELMAR_PRESET(f.ERODE())},
    {"DILATE", VELMAR_PRESET(f.DILATE())},
    {"LIGHTSHARPEN", VELMAR_PRESET(f.SHARPEN(10))},
    {"HEAVYSHARPEN", VELMAR_PRESET(f.SHARPEN(40))},
    {"PAINTING", VELMAR_PRESET(f.PAINTING())},
    {"EDGEENHANCE", VELMAR_PRESET(f.EDGEENHANCE(10))},
    {"LUMPLUS", VELMAR_PRESET(f.BRIGHTNESS(20))},
    // "Minus" brightens too: the preset has always gone up by 80.
    {"LUMMINUS", VELMAR_PRESET(f.BRIGHTNESS(80))},
    {"LIGHTEMBOSS", VELMAR_PRESET(f.EMBOSS(10))},
    {"HEAVYEMBOSS", VELMAR_PRESET(f.EMBOSS(30))},
    {"LIGHTCONTOUR", VELMAR_PRESET(f.CONTOUR(200, kPresetContourColour))},
    {"HEAVYCONTOUR", VELMAR_PRESET(f.CONTOUR(255, kPresetContourColour))},
    {"LIGHTDIFFUSE", VELMAR_PRESET(f.DIFFUSE(5, 10))},
    {"HEAVYDIFFUSE", VELMAR_PRESET(f.DIFFUSE(10, 30))},
    {"LIGHTENGRAVE", VELMAR_PRESET(f.ENGRAVE(10))},
    {"HEAVYENGRAVE", VELMAR_PRESET(f.ENGRAVE(30))},
    {"LIGHTSOFTEN", VELMAR_PRESET(f.SOFTEN(30))},
    {"SEPIATONE", VELMAR_PRESET(f.COLORIZE(0.5f, 0.25f, 1.0f))},
    {"HEAVYSOFTEN", VELMAR_PRESET(f.SOFTEN(80))},
    {"LIGHTBLUR", VELMAR_PRESET(f.Blurs(1))},
    // The preset is 2.5 handed to a long: round half to even gives 2.
    {"HEAVYBLUR", VELMAR_PRESET(f.Blurs(2))},
    {"LIGHTNOISE", VELMAR_PRESET(f.NOISE(20, true))},
    {"HEAVYNOISE", VELMAR_PRESET(f.NOISE(40, true))},
    {"LIGHTSATURATION", VELMAR_PRESET(f.SATURATION(10))},
    {"HEAVYSATURATION", VELMAR_PRESET(f.SATURATION(20))},
    {"WWAVES", VELMAR_PRESET(f.WAVES(30, 40, 0))},
    {"AADDSCANLINES", VELMAR_PRESET(f.Scanlines(30))},
    {"BBRIGHTNESS", VELMAR_PRESET(f.BRIGHTNESS(40))},
    // Percent-like numbers in fraction arguments: the disc lies outside the picture and
    // nothing changes, as the word has always behaved.
    {"FISHEYE", VELMAR_PRESET(f.LENS(50.0f, 50.0f, 60.0f, 60))},
    {"CURTAINHORIZONTAL", VELMAR_PRESET(f.GLASS("curtain", 1))},
    {"CURTAINVERTICAL", VELMAR_PRESET(f.GLASS("curtain", 2))},
    {"CURTAINCLASSY", VELMAR_PRESET(f.GLASS("curtain", 3))},
    {"CURTAINWHITY", VELMAR_PRESET(f.GLASS("curtain", 4))},
    {"SLANTING", VELMAR_PRESET(f.GLASS("slanting", 0))},
    {"HORIZONTAL", VELMAR_PRESET(f.GLASS("horizontal", 0))},
    {"VERTICAL", VELMAR_PRESET(f.GLASS("vertical", 0))},
    {"SQUARY", VELMAR_PRESET(f.GLASS("squary", 0))},
    {"THERMIQUE", VELMAR_PRESET(f.THERMIQUE())},
    {"XBLACK", VELMAR_PRESET(f.XBLACK())},
    {"PHOTOCOP", VELMAR_PRESET(f.PHOTOCOP())},
    {"OLDPHOTO", VELMAR_PRESET(f.OLDPHOTO())},
    {"FLIPH", VELMAR_PRESET(f.Flip(true, false))},
    {"FLIPV", VELMAR_PRESET(f.Flip(false, true))},
    {"SOFTRED", VELMAR_PRESET(f.ClassyColors(3))},
    {"SOFTBLUE", VELMAR_PRESET(f.ClassyColors(0))},
    {"SOFTGREEN", VELMAR_PRESET(f.ClassyColors(1))},
    {"SOFTYELLOW", VELMAR_PRESET(f.ClassyColors(8))},
    {"PURPLE", VELMAR_PRESET(f.ClassyColors(2))},
    {"ORANGE", VELMAR_PRESET(f.ClassyColors(10))},
    {"RETRO", VELMAR_PRESET(f.ClassyColors(7))},
    {"WETPAPER", VELMAR_PRESET(f.ClassyColors(11))},
    {"SPOTTED", VELMAR_PRESET(f.ClassyColors(6))},
    {"HARDRED", VELMAR_PRESET(f.SpecialColors(kKeep, 0, 0))},
    {"HARDBLUE", VELMAR_PRESET(f.SpecialColors(0, 0, kKeep))},
    {"HARDGREEN", VELMAR_PRESET(f.SpecialColors(0, kKeep, 0))},
    {"HARDYELLOW", VELMAR_PRESET(f.SpecialColors(kKeep, kKeep, 0))},
    {"CYAN", VELMAR_PRESET(f.SpecialColors(0, kKeep, kKeep))},
    {"MAGENTA", VELMAR_PRESET(f.SpecialColors(kKeep, 0, kKeep))},
    {"RGB2BRG", VELMAR_PRESET(f.SwapBanks(1))},
    {"RGB2GBR", VELMAR_PRESET(f.SwapBanks(2))},
    {"RGB2RBG", VELMAR_PRESET(f.SwapBanks(3))},
    {"RGB2BGR", VELMAR_PRESET(f.SwapBanks(4))},
    {"RGB2GRB", VELMAR_PRESET(f.SwapBanks(5))},
    // Menu entries the dispatcher accepts and ends without doing anything.
    {"MOSAIC", nullptr},
    {"TALCOMPOWDER", nullptr},
};

#undef VELMAR_PRESET

// ---- The dialog setups -------------------------------------------------------------------------

#define VELMAR_CALL(expr)                                                                          \
    [](cBitFilter& f, const DialogValues& v) -> velmar::Bits {                                     \
        [[maybe_unused]] const auto& p = v.p;                                                      \
        return expr;                                                                               \
    }

// A plain slider: scale 1, format "0", not centred.
constexpr SliderSetup slider(std::string_view label, double min, double max, double def) {
    return {label, min, max, 1.0, def, "0", false};
}

// The lens and light radius: the slider value over the preview's larger side, a fraction of
// the picture's larger side as the filters take it.
float radiusOf(const DialogValues& v) {
    return static_cast<float>(fdiv(v.p[0], v.previewSide));
}

// The colorize hue: round(p0 * 2.4) through the slider's wrap, over 40, on the -1..5 scale.
float colorizeHue(std::int32_t p0) {
    return static_cast<float>(HueFromSlider(roundToLong(p0 * 2.4)) / 40.0);
}

float percentOf(std::int32_t v) {
    return static_cast<float>(v / 100.0);
}

// The banks' check boxes as SwapRGB takes them: invert flags are all ones, kill masks 255.
std::int16_t invertFlag(bool on) {
    return on ? std::int16_t{-1} : std::int16_t{0};
}
std::uint8_t killMask(bool on) {
    return on ? std::uint8_t{255} : std::uint8_t{0};
}
std::uint8_t channelOf(std::int32_t p) {
    return static_cast<std::uint8_t>(p);
}

constexpr std::string_view kCleanBack = "Clean back";

FilterSetup setup(std::int32_t index, std::string_view caption,
                  std::initializer_list<SliderSetup> sliders, DialogCall call) {
    FilterSetup s;
    s.index = index;
    s.caption = caption;
    std::copy(sliders.begin(), sliders.end(), s.sliders.begin());
    s.sliderCount = static_cast<std::int32_t>(sliders.size());
    s.call = call;
    return s;
}

FilterSetup withOption(FilterSetup s, std::string_view option) {
    s.option = option;
    return s;
}
FilterSetup withColours(FilterSetup s, ColourFrame frame) {
    s.colours = frame;
    return s;
}
FilterSetup withPoint(FilterSetup s) {
    s.pickedPoint = true;
    return s;
}

std::array<FilterSetup, kFilterSetupCount> makeSetups() {
    using CF = ColourFrame;
    const SliderSetup level = slider("Level", -100, 250, 0);
    const SliderSetup hvFactor[] = {slider("Horizontal factor", -100, 100, 0),
                                    slider("Vertical factor", -100, 100, 0)};
    std::array<FilterSetup, kFilterSetupCount> s = {
        setup(0, "Color [Colorize]",
              {slider("Hue", 0, 100, 0), slider("Saturation", 0, 100, 50),
               slider("Luminosity", 0, 100, 100)},
              VELMAR_CALL(f.COLORIZE(colorizeHue(p[0]), percentOf(p[1]), percentOf(p[2])))),
        setup(1, "Adjust [Brightness]", {level}, VELMAR_CALL(f.BRIGHTNESS(p[0]))),
        setup(2, "Adjust [Contrast]", {level}, VELMAR_CALL(f.CONTRAST(p[0]))),
        setup(3, "Adjust [Saturation]", {level}, VELMAR_CALL(f.SATURATION(p[0]))),
        setup(4, "Adjust [Gamma correction]", {{"Gamma", 0, 2, 0.01, 1, "0.00", true}},
              VELMAR_CALL(f.GammaCorrection(p[0]))),
        setup(5, "Definition [Diffuse]",
              {slider("Horizontal range", 0, 50, 2), slider("Vertical range", 0, 50, 2)},
              VELMAR_CALL(f.DIFFUSE(p[0], p[1]))),
        setup(6, "Adjust [Blur]", {slider("Level", 0, 2, 0)}, VELMAR_CALL(f.Blurs(p[0]))),
        setup(7, "Definition [Halftone]",
              {slider("Radius", 1, 25, 1), slider("Definition", 0, 100, 50),
               slider("Intensity", 0, 100, 0)},
              VELMAR_CALL(f.Halftone(p[0], p[1], p[2]))),
        setup(8, "Definition [Pixelaze]", {slider("Pixel size", 1, 25, 2)},
              VELMAR_CALL(f.PIXELIZE(p[0]))),
        setup(9, "Edges [Emboss]", {slider("Weight", 0, 50, 10)}, VELMAR_CALL(f.EMBOSS(p[0]))),
        setup(10, "Edges [Engrave]", {slider("Weight", 0, 50, 10)}, VELMAR_CALL(f.ENGRAVE(p[0]))),
        withColours(setup(11, "Edges [Contour]", {slider("Weight", 0, 255, 255)},
                          VELMAR_CALL(f.CONTOUR(p[0], v.col1))),
                    CF::OneColour),
        withColours(withOption(setup(12, "Edges [Sketch]", {slider("Weight", 0, 255, 255)},
                                     VELMAR_CALL(f.SKETCH(p[0], v.option, v.col1))),
                               "B/W"),
                    CF::OneColour),
        setup(13, "Edges [Threshold]", {slider("Cut value", 0, 255, 128)},
              VELMAR_CALL(f.Threshold(p[0]))),
        withColours(setup(14, "Color [Isolate]", {slider("Tolerance", 0, 200, 100)},
                          VELMAR_CALL(f.ISOLATE(v.col0, v.col1, p[0]))),
                    CF::Colours),
        setup(15, "Color [Reduction]", {slider("Level", 0, 255, 0)},
              VELMAR_CALL(f.Reduction(p[0]))),
        withColours(setup(16, "Color [Replace]", {slider("Tolerance", 0, 200, 100)},
                          VELMAR_CALL(f.REPLACE(v.col0, v.col1, p[0]))),
                    CF::Colours),
        withColours(
            setup(17, "Color [Replace Hue/Sat.]",
                  {slider("Hue Tolerance", 0, 100, 50), slider("Sat. Tolerance", 0, 100, 50),
                   slider("Apply Tolerance", 0, 200, 100)},
                  VELMAR_CALL(f.ReplaceHS(v.col0, v.col1, p[0], p[1], p[2]))),
            CF::Colours),
        withColours(
            setup(18, "Color [Replace Lum.]",
                  {slider("Lum. Tolerance", 0, 100, 50), slider("Apply Tolerance", 0, 200, 100)},
                  VELMAR_CALL(f.ReplaceL(v.col0, v.col1, p[0], p[1]))),
            CF::Colours),
        setup(19, "Adjust [Sharpen]", {slider("Level", 0, 100, 0)}, VELMAR_CALL(f.SHARPEN(p[0]))),
        setup(20, "Adjust [Soften]", {slider("Level", 0, 100, 0)}, VELMAR_CALL(f.SOFTEN(p[0]))),
        withColours(setup(21, "Color [Shift]",
                          {slider("Shift", -255, 255, 0), slider("Tolerance", 0, 200, 100)},
                          VELMAR_CALL(f.SHIFT(v.col0, p[0], p[1]))),
                    CF::Colours),
        setup(22, "Color [Hue rotation]",
              {slider("Offset", 0, 100, 0), slider("Saturation", 0, 100, 100)},
              VELMAR_CALL(f.RotateH(p[0], p[1]))),
        setup(23, "Color [Grey rotation]",
              {slider("Offset", 0, 100, 0), slider("Steps", 0, 100, 25)},
              VELMAR_CALL(f.RotateL(p[0], p[1]))),
        setup(24, "Color [Hue stretch]",
              {slider("Offset", 0, 100, 0), slider("Saturation", 0, 100, 100),
               slider("Stretch factor", 0, 100, 0)},
              VELMAR_CALL(f.StretchH(p[0], p[1], p[2]))),
        setup(25, "Color [RGB levels]",
              {slider("Red", -255, 255, 0), slider("Green", -255, 255, 0),
               slider("Blue", -255, 255, 0)},
              VELMAR_CALL(f.ShiftRGB(p[0], p[1], p[2]))),
        setup(26, "Color [RGB banks]", {},
              VELMAR_CALL(f.SwapRGB(channelOf(p[0]), channelOf(p[1]), channelOf(p[2]),
                                    invertFlag(v.invert[0]), invertFlag(v.invert[1]),
                                    invertFlag(v.invert[2]), killMask(v.kill[0]),
                                    killMask(v.kill[1]), killMask(v.kill[2])))),
        withPoint(setup(27, "Deformation [Lens]",
                        {slider("Diameter", 1, 100, 50), slider("Magnify factor", 0, 100, 50)},
                        VELMAR_CALL(f.LENS(v.x, v.y, radiusOf(v), p[1])))),
        setup(28, "Deformation [Waves]",
              {slider("Frequency", 0, 100, 25), slider("Amplitude", 1, 100, 25),
               slider("Start degree", 0, 360, 0)},
              VELMAR_CALL(f.WAVES(p[0], p[1], p[2]))),
        withOption(setup(29, "Deformation [Bend]", {slider("Radius factor", -200, 200, 0)},
                         VELMAR_CALL(f.BEND(p[0], v.option))),
                   kCleanBack),
        withOption(setup(30, "Deformation [Fold]", {hvFactor[0], hvFactor[1]},
                         VELMAR_CALL(f.FOLD(p[0], p[1], v.option))),
                   kCleanBack),
        withOption(setup(31, "Deformation [Rotate]", {slider("Degrees", -180, 180, 0)},
                         VELMAR_CALL(f.ROTATE(p[0], v.option))),
                   kCleanBack),
        withOption(setup(32, "Deformation [Stretch]", {hvFactor[0], hvFactor[1]},
                         VELMAR_CALL(f.STRETCH(p[0], p[1], v.option))),
                   kCleanBack),
        setup(33, "Deformation [Tile]", {slider("Factor", 2, 50, 2)}, VELMAR_CALL(f.TILE(p[0]))),
        withOption(setup(34, "Deformation [Twirl]",
                         {slider("Level", -100, 100, 0), slider("Offset degrees", -180, 180, 0)},
                         VELMAR_CALL(f.TWIRL(p[0], p[1], v.option))),
                   kCleanBack),
        withColours(
            withOption(setup(35, "Special [Grid]",
                             {slider("Horizontal step", 1, 250, 25),
                              slider("Vertical step", 1, 250, 25), slider("Opacity", 0, 255, 128)},
                             VELMAR_CALL(f.Grid(p[0], p[1], v.option, v.col1, p[2]))),
                       "Force margins"),
            CF::OneColour),
        withPoint(setup(36, "Special [Light]",
                        {slider("Extension", 1, 100, 50), slider("Intensity", 0, 500, 250),
                         slider("Definition", 0, 100, 0)},
                        VELMAR_CALL(f.Light(v.x, v.y, radiusOf(v), p[1], p[2])))),
        withOption(setup(37, "Special [Noise]", {slider("Intensity", 0, 100, 25)},
                         VELMAR_CALL(f.NOISE(p[0], v.option))),
                   "Equalized"),
        setup(38, "Special [Scanlines]", {slider("Opacity", 0, 255, 128)},
              VELMAR_CALL(f.Scanlines(p[0]))),
        setup(39, "Behind Glass", {},
              VELMAR_CALL(f.GLASS(v.glassStyle, static_cast<std::int16_t>(p[0])))),
        setup(40, "Behind Curtain", {},
              VELMAR_CALL(f.GLASS("curtain", static_cast<std::int16_t>(p[0])))),
    };
    s[26].banksFrame = true;
    s[39].glassFrame = true;
    s[40].curtainFrame = true;
    return s;
}

#undef VELMAR_CALL

const DialogWord kDialogWords[] = {
    {"COLORIZE", 0},
    {"BRIGHTNESS", 1},
    {"LIGHTCUSTOM", 1},
    {"CONTRAST", 2},
    {"CUSTOMSATURATION", 3},
    {"GAMMA", 4},
    {"CUSTOMDIFFUSE", 5},
    {"CUSTOMBLUR", 6},
    {"HAFTONE", 7},
    {"PIXELIZE", 8},
    {"CUSTOMEMBOSS", 9},
    {"CUSTOMENGRAVE", 10},
    {"CUSTOMCONTOUR", 11},
    {"SKETCH", 12},
    {"ISOLATE", 14},
    {"REPLACE", 16},
    {"REPLACEHUESAT", 17},
    {"REPLACELUMINOUS", 18},
    {"CUSTOMSHARPEN", 19},
    {"CUSTOMSOFTEN", 20},
    {"SHIFT", 21},
    {"HUEROTATION", 22},
    {"GREYROTATION", 23},
    {"HUESTRETCH", 24},
    {"RGBLEVELS", 25},
    {"RGBBANKS", 26},
    {"LENS", 27},
    {"WAVES", 28},
    {"BEND", 29},
    {"FOLD", 30},
    {"ROTATE", 31},
    {"STRETCH", 32},
    {"TILE", 33},
    {"TWIRL", 34},
    {"ADDGRID", 35},
    {"LENSFLARE", 36},
    {"ADDNOISE", 37},
    {"CUSTOMNOISE", 37},
    {"ADDSCANLINES", 38},
    {"CUSTOMGLASS", 39},
    {"CUSTOMCURTAIN", 40},
};

constexpr std::string_view kGlassStyles[] = {"slanting", "horizontal", "vertical", "squary"};
constexpr std::string_view kGlassModes[] = {"Light", "Tight", "Large"};
// The buttons' indices are the modes the curtain words use: "Whity" is the stale-position mode 4.
constexpr CurtainButton kCurtainButtons[] = {
    {"Whity", 4}, {"Classy", 3}, {"Vertical", 2}, {"Horizontal", 1}};

} // namespace

std::span<const DirectCommand> DirectCommands() {
    return kDirectCommands;
}

const DirectCommand* FindDirectCommand(std::string_view word) {
    for (const DirectCommand& c : kDirectCommands)
        if (c.word == word) return &c;
    return nullptr;
}

std::int32_t SliderSetup::ControlMin() const {
    return roundToLong(min / scale);
}
std::int32_t SliderSetup::ControlMax() const {
    return roundToLong(max / scale);
}
std::int32_t SliderSetup::ControlDefault() const {
    return roundToLong(def / scale);
}
std::int32_t SliderSetup::Offset() const {
    return centred ? roundToLong((max / scale) * 0.5) : 0;
}

std::string SliderSetup::ValueLabel(std::int32_t controlValue) const {
    // The formats in use are "0" and "0.00": the digits after the point are the decimals.
    const std::size_t point = format.find('.');
    const int decimals =
        point == std::string_view::npos ? 0 : static_cast<int>(format.size() - point - 1);
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, controlValue * scale);
    return text;
}

DialogValues FilterSetup::StartValues() const {
    DialogValues v;
    for (std::size_t i = 0; i < static_cast<std::size_t>(sliderCount); ++i)
        v.p[i] = sliders[i].ControlDefault() - sliders[i].Offset();
    // Each output takes its own channel: red 2, green 1, blue 0.
    if (banksFrame) v.p = {2, 1, 0};
    return v;
}

std::span<const FilterSetup> FilterSetups() {
    static const std::array<FilterSetup, kFilterSetupCount> setups = makeSetups();
    return setups;
}

const FilterSetup& FilterSetupAt(int index) {
    if (index < 0 || index >= kFilterSetupCount)
        throw std::out_of_range("no filter setup " + std::to_string(index));
    return FilterSetups()[static_cast<std::size_t>(index)];
}

std::span<const std::string_view> GlassStyles() {
    return kGlassStyles;
}
std::span<const std::string_view> GlassModes() {
    return kGlassModes;
}
std::span<const CurtainButton> CurtainButtons() {
    return kCurtainButtons;
}

std::span<const DialogWord> DialogWords() {
    return kDialogWords;
}

std::optional<std::int32_t> FindDialogWord(std::string_view word) {
    for (const DialogWord& w : kDialogWords)
        if (w.word == word) return w.index;
    return std::nullopt;
}

} // namespace velmar
