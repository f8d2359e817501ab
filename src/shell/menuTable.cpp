#include "shell/menuTable.h"

#include <array>

namespace velmar {

namespace {

using A = MenuAction;
constexpr MenuEntry kSeparator{"", "", A::Separator};

// ---- File, Edit, Adjust -------------------------------------------------------------------
constexpr MenuEntry kFile[] = {
    {"New", "NEW"},
    {"Open", "OPEN"},
    {"Animated GIF ...", "GIF"},
    {"Close", "CLOSE"},
    kSeparator,
    {"Save", "SAVE"},
    {"Save As", "SAVEAS"},
    kSeparator,
    {"Print Preview", "PRINTPREVIEW"},
    {"Printer Set up", "PRINTERSETUP"},
    {"Print", "PRINT"},
    kSeparator,
    {"Recent", "", A::Recent},
    kSeparator,
    {"Exit", "", A::Exit},
};

constexpr MenuEntry kEdit[] = {
    {"Undo", "UNDO"},
    {"Redo", "REDO"},
    kSeparator,
    {"Cut", "CUT"},
    {"Copy", "COPY"},
    {"Paste", "PASTE"},
    kSeparator,
    {"Create New Copy", "CREATENEWCOPY"},
    {"Copy Image to Clipboard", "COPYIMAGETOCLIPBOARD"},
    {"Create From Clipboard", "CREATEFROMCLIPBOARD"},
    kSeparator,
    {"Crop", "CROP"},
    {"Image Properties", "IMAGEPROPERTIES"},
    kSeparator,
    {"Options", "OPTIONS"},
};

constexpr MenuEntry kZoomPlus[] = {
    {"200 %", "200"}, {"300 %", "300"}, {"400 %", "400"},
    {"500 %", "500"}, {"600 %", "600"}, {"700 %", "700"},
};
constexpr MenuEntry kZoomMinus[] = {
    {"50 %", "50"}, {"33 %", "33"}, {"25 %", "25"}, {"20 %", "20"}, {"15 %", "15"}, {"10 %", "10"},
};
constexpr MenuEntry kQualitySizing[] = {
    {"2x", "2x"},  {"3x", "3x"},  {"4x", "4x"},  {"5x", "5x"},  kSeparator,
    {"x/2", "x2"}, {"x/3", "x3"}, {"x/4", "x4"}, {"x/5", "x5"},
};
constexpr MenuEntry kQuickRotate[] = {
    {"45", "N45"}, {"90", "N90"}, {"180", "N180"}, {"270", "N270"}};
constexpr MenuEntry kQualityRotate[] = {
    {"45", "A45"}, {"90", "A90"}, {"180", "A180"}, {"270", "A270"}};

constexpr MenuEntry kAdjust[] = {
    {"Size ...", "IMAGESIZE"},
    {"Canvas ...", "CANVASSIZE"},
    {"Orientation ...", "IMAGEORIENTATION"},
    {"Rotation ...", "IMAGEROTATE"},
    {"Restore Original", "RESTOREORIGINAL"},
    kSeparator,
    {"Zoom +", "", A::Submenu, 0, kZoomPlus},
    {"Zoom -", "", A::Submenu, 0, kZoomMinus},
    {"Original Size", "ORIGINAL"},
    {"Quality Sizing", "", A::Submenu, 0, kQualitySizing},
    kSeparator,
    {"Quick Rotate", "", A::Submenu, 0, kQuickRotate},
    {"Quality Rotate", "", A::Submenu, 0, kQualityRotate},
    {"Flip Horizontally", "FLIPH"},
    {"Flip Vertically", "FLIPV"},
};

// ---- Filters --------------------------------------------------------------------------------
// The filter words are grouped by family, each family with its light and heavy presets and the
// dialog ("Custom ...") that sets it freely.
constexpr MenuEntry kBrightness[] = {
    {"Lighten", "LUMPLUS"},
    {"Lighten More", "BBRIGHTNESS"},
    {"Brighten a Lot", "LUMMINUS"},
    {"Custom ...", "BRIGHTNESS"},
};
constexpr MenuEntry kSaturation[] = {
    {"Light", "LIGHTSATURATION"}, {"Heavy", "HEAVYSATURATION"}, {"Custom ...", "CUSTOMSATURATION"}};
constexpr MenuEntry kSharpen[] = {{"Light", "LIGHTSHARPEN"},
                                  {"Heavy", "HEAVYSHARPEN"},
                                  {"Custom ...", "CUSTOMSHARPEN"},
                                  kSeparator,
                                  {"Edge Enhance", "EDGEENHANCE"}};
constexpr MenuEntry kSoften[] = {
    {"Light", "LIGHTSOFTEN"}, {"Heavy", "HEAVYSOFTEN"}, {"Custom ...", "CUSTOMSOFTEN"}};
constexpr MenuEntry kBlur[] = {
    {"Light", "LIGHTBLUR"}, {"Heavy", "HEAVYBLUR"}, {"Custom ...", "CUSTOMBLUR"}};
constexpr MenuEntry kDiffuse[] = {
    {"Light", "LIGHTDIFFUSE"}, {"Heavy", "HEAVYDIFFUSE"}, {"Custom ...", "CUSTOMDIFFUSE"}};
constexpr MenuEntry kNoise[] = {
    {"Light", "LIGHTNOISE"}, {"Heavy", "HEAVYNOISE"}, {"Custom ...", "CUSTOMNOISE"}};
constexpr MenuEntry kEmboss[] = {{"Light", "LIGHTEMBOSS"},
                                 {"Heavy", "HEAVYEMBOSS"},
                                 {"Custom ...", "CUSTOMEMBOSS"},
                                 kSeparator,
                                 {"Relief", "RELIEF"}};
constexpr MenuEntry kEngrave[] = {
    {"Light", "LIGHTENGRAVE"}, {"Heavy", "HEAVYENGRAVE"}, {"Custom ...", "CUSTOMENGRAVE"}};
constexpr MenuEntry kContour[] = {
    {"Light", "LIGHTCONTOUR"}, {"Heavy", "HEAVYCONTOUR"}, {"Custom ...", "CUSTOMCONTOUR"}};

constexpr MenuEntry kFilters[] = {
    {"Brightness", "", A::Submenu, 0, kBrightness},
    {"Contrast ...", "CONTRAST"},
    {"Saturation", "", A::Submenu, 0, kSaturation},
    {"Gamma ...", "GAMMA"},
    kSeparator,
    {"Sharpen", "", A::Submenu, 0, kSharpen},
    {"Soften", "", A::Submenu, 0, kSoften},
    {"Blur", "", A::Submenu, 0, kBlur},
    {"Diffuse", "", A::Submenu, 0, kDiffuse},
    {"Noise", "", A::Submenu, 0, kNoise},
    kSeparator,
    {"Emboss", "", A::Submenu, 0, kEmboss},
    {"Engrave", "", A::Submenu, 0, kEngrave},
    {"Contour", "", A::Submenu, 0, kContour},
    {"Sketch ...", "SKETCH"},
    kSeparator,
    {"Halftone ...", "HAFTONE"},
    {"Pixelize ...", "PIXELIZE"},
    {"Erode", "ERODE"},
    {"Dilate", "DILATE"},
    {"Painting", "PAINTING"},
};

// ---- Effects --------------------------------------------------------------------------------
constexpr MenuEntry kDeformation[] = {
    {"Lens ...", "LENS"},      {"Fisheye", "FISHEYE"},     {"Waves ...", "WAVES"},
    {"Quick Waves", "WWAVES"}, {"Bend ...", "BEND"},       {"Fold ...", "FOLD"},
    {"Rotate ...", "ROTATE"},  {"Stretch ...", "STRETCH"}, {"Tile ...", "TILE"},
    {"Twirl ...", "TWIRL"},
};
constexpr MenuEntry kGlass[] = {
    {"Slanting", "SLANTING"},
    {"Horizontal", "HORIZONTAL"},
    {"Vertical", "VERTICAL"},
    {"Squary", "SQUARY"},
    kSeparator,
    {"Custom ...", "CUSTOMGLASS"},
};
constexpr MenuEntry kCurtain[] = {
    {"Horizontal", "CURTAINHORIZONTAL"},
    {"Vertical", "CURTAINVERTICAL"},
    {"Classy", "CURTAINCLASSY"},
    {"Whity", "CURTAINWHITY"},
    kSeparator,
    {"Custom ...", "CUSTOMCURTAIN"},
};
constexpr MenuEntry kScanlines[] = {{"Light", "AADDSCANLINES"}, {"Custom ...", "ADDSCANLINES"}};
constexpr MenuEntry kLooks[] = {
    {"Thermique", "THERMIQUE"},
    {"X-Black", "XBLACK"},
    {"Photocopy", "PHOTOCOP"},
    {"Old Photo", "OLDPHOTO"},
};

constexpr MenuEntry kEffects[] = {
    {"Deformation", "", A::Submenu, 0, kDeformation},
    {"Behind Glass", "", A::Submenu, 0, kGlass},
    {"Behind Curtain", "", A::Submenu, 0, kCurtain},
    kSeparator,
    {"Grid ...", "ADDGRID"},
    {"Light ...", "LENSFLARE"},
    {"Noise ...", "ADDNOISE"},
    {"Scanlines", "", A::Submenu, 0, kScanlines},
    kSeparator,
    {"Looks", "", A::Submenu, 0, kLooks},
};

// ---- Colors ---------------------------------------------------------------------------------
constexpr MenuEntry kClassy[] = {
    {"Soft Red", "SOFTRED"},     {"Soft Blue", "SOFTBLUE"},
    {"Soft Green", "SOFTGREEN"}, {"Soft Yellow", "SOFTYELLOW"},
    {"Purple", "PURPLE"},        {"Orange", "ORANGE"},
    {"Retro", "RETRO"},          {"Wet Paper", "WETPAPER"},
    {"Spotted", "SPOTTED"},
};
constexpr MenuEntry kHard[] = {
    {"Red", "HARDRED"},       {"Blue", "HARDBLUE"}, {"Green", "HARDGREEN"},
    {"Yellow", "HARDYELLOW"}, {"Cyan", "CYAN"},     {"Magenta", "MAGENTA"},
};
constexpr MenuEntry kSwapBanks[] = {
    {"RGB to BRG", "RGB2BRG"},  {"RGB to GBR", "RGB2GBR"}, {"RGB to RBG", "RGB2RBG"},
    {"RGB to BGR", "RGB2BGR"},  {"RGB to GRB", "RGB2GRB"}, kSeparator,
    {"Custom ...", "RGBBANKS"},
};
constexpr MenuEntry kReplace[] = {
    {"Color ...", "REPLACE"},
    {"Hue/Saturation ...", "REPLACEHUESAT"},
    {"Luminosity ...", "REPLACELUMINOUS"},
};

constexpr MenuEntry kColors[] = {
    {"Invert", "INVERT"},
    {"Grayscale", "GRAYSCALE"},
    {"Sepia Tone", "SEPIATONE"},
    {"Colorize ...", "COLORIZE"},
    kSeparator,
    {"Isolate ...", "ISOLATE"},
    {"Replace", "", A::Submenu, 0, kReplace},
    {"Shift ...", "SHIFT"},
    kSeparator,
    {"Hue Rotation ...", "HUEROTATION"},
    {"Grey Rotation ...", "GREYROTATION"},
    {"Hue Stretch ...", "HUESTRETCH"},
    {"RGB Levels ...", "RGBLEVELS"},
    {"Swap Banks", "", A::Submenu, 0, kSwapBanks},
    kSeparator,
    {"Soft Tints", "", A::Submenu, 0, kClassy},
    {"Hard Tints", "", A::Submenu, 0, kHard},
};

// ---- Tools, Utilities, Views, About -------------------------------------------------------
constexpr MenuEntry kTools[] = {
    {"Image Resolution", "IMAGERESOLUTION"},
};

constexpr MenuEntry kUtilities[] = {
    {"ASCII To PDF", "PDF"},
    {"PostScript to PDF", "", A::DeadSoon},
    {"Batch Converter", "BATCH"},
    {"Image Extractor from EXE/DLL/FRX....", "ICONEXTRACTOR"},
};

constexpr MenuEntry kBarsMenu[] = {
    {"Standard Bar", "", A::ToggleBar, 0},
    {"Effects Bar", "", A::ToggleBar, 1},
    {"Image  Bar", "", A::ToggleBar, 2},
    {"Utilities Bar", "", A::ToggleBar, 3},
    {"Help Bar", "", A::ToggleBar, 4},
    {"Tools Bar", "", A::ToggleBar, 5},
    {"Filters Bar", "", A::ToggleBar, 6},
    kSeparator,
    {"Reset All", "RESET"},
};

constexpr MenuEntry kViews[] = {
    {"Tile Horizontally", "TILEHORIZONTALLY"},
    {"Tile Vertically", "TILEVERTICALLY"},
    {"Cascade", "CASCADE"},
    kSeparator,
    {"Color Box", "", A::ToggleBox, 4},
    kSeparator,
    {"Status Bar", "", A::ToggleStatus, 8},
    {"Side Tools  Bar : Hide n Seek", "", A::ToggleSideAutoHide, 9},
    {"Tool Bars", "", A::Submenu, 0, kBarsMenu},
};

constexpr MenuEntry kAbout[] = {
    {"Help", "", A::DeadHelp},
    {"FAQ's", "", A::DeadHelp},
    {"Keyboard Shortcuts", "", A::DeadHelp},
    {"Support", "", A::DeadHelp},
    {"Upgrade", "", A::DeadHelp},
    {"Tutorials", "", A::DeadHelp},
    kSeparator,
    {"About", "", A::About},
};

constexpr MenuDef kMenus[] = {
    {"File", kFile},       {"Edit", kEdit},     {"Adjust", kAdjust}, {"Filters", kFilters},
    {"Effects", kEffects}, {"Colors", kColors}, {"Tools", kTools},   {"Utilities", kUtilities},
    {"Views", kViews},     {"About", kAbout},
};

// ---- Tool bars ------------------------------------------------------------------------------
constexpr std::string_view kStandardBar[] = {"NEW",  "OPEN",  "SAVE", "CUT",
                                             "COPY", "PASTE", "UNDO", "REDO"};
constexpr std::string_view kEffectsBar[] = {"LENS",     "WAVES",         "TWIRL",
                                            "SLANTING", "CURTAINCLASSY", "ADDGRID"};
constexpr std::string_view kImageBar[] = {
    "IMAGESIZE", "CANVASSIZE", "IMAGEORIENTATION", "IMAGEROTATE", "CROP", "FLIPH", "FLIPV"};
constexpr std::string_view kUtilitiesBar[] = {"CREATENEWCOPY", "COPYIMAGETOCLIPBOARD",
                                              "CREATEFROMCLIPBOARD", "IMAGERESOLUTION"};
constexpr std::string_view kHelpBar[] = {"HELP", "ABOUT"};
constexpr std::string_view kToolsBar[] = {"200", "ORIGINAL", "50", "OPTIONS"};
constexpr std::string_view kFiltersBar[] = {"HEAVYEMBOSS", "HEAVYSHARPEN", "HEAVYBLUR",
                                            "GRAYSCALE",   "INVERT",       "SEPIATONE"};

constexpr ToolBarDef kToolBars[] = {
    {"Standard Bar", kStandardBar},   {"Effects Bar", kEffectsBar}, {"Image  Bar", kImageBar},
    {"Utilities Bar", kUtilitiesBar}, {"Help Bar", kHelpBar},       {"Tools Bar", kToolsBar},
    {"Filters Bar", kFiltersBar},
};

std::string_view captionIn(std::span<const MenuEntry> entries, std::string_view key) {
    for (const MenuEntry& e : entries) {
        if (!e.key.empty() && e.key == key) return e.caption;
        if (!e.children.empty())
            if (const std::string_view c = captionIn(e.children, key); !c.empty()) return c;
    }
    return {};
}

} // namespace

std::span<const MenuDef> MainMenus() {
    return kMenus;
}

std::span<const ToolBarDef> ToolBars() {
    return kToolBars;
}

std::string_view CaptionOfKey(std::string_view key) {
    for (const MenuDef& m : kMenus)
        if (const std::string_view c = captionIn(m.entries, key); !c.empty()) return c;
    return key;
}

} // namespace velmar
