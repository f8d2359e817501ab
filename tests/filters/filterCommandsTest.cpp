// The command tables: each word and each dialog setup must reach its filter
// with its own arguments. Each row's result is compared with a direct call of
// the expected member with the expected arguments on the same picture and
// selection; both objects draw the same random sequence, so the random filters
// compare too.
#include "filters/filterCommands.h"
#include "filterFixtures.h"
#include "filters/filterMath.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace velmar {
namespace {

using Direct = velmar::Bits (*)(cBitFilter&);

// The object a row runs on: a patterned picture with the L-shaped selection, a
// fixed seed.
velmar::Bits runOn(const velmar::Bits& picture, const Region& region, auto&& call) {
    cBitFilter f = test::filterOn(picture, &region);
    f.SeedRandom(7);
    return call(f);
}

TEST(FilterCommands, EveryDirectWordRunsItsPreset) {
    constexpr COLORREF k255255255 = 255255255;
    constexpr std::int16_t T = -1; // a kept channel
    const struct {
        const char* word;
        Direct expected;
    } rows[] = {
        {"INVERT", [](cBitFilter& f) { return f.Invert(); }},
        {"GRAYSCALE", [](cBitFilter& f) { return f.GreyScale(); }},
        {"RELIEF", [](cBitFilter& f) { return f.RELIEF(); }},
        {"ERODE", [](cBitFilter& f) { return f.ERODE(); }},
        {"DILATE", [](cBitFilter& f) { return f.DILATE(); }},
        {"LIGHTSHARPEN", [](cBitFilter& f) { return f.SHARPEN(10); }},
        {"HEAVYSHARPEN", [](cBitFilter& f) { return f.SHARPEN(40); }},
        {"PAINTING", [](cBitFilter& f) { return f.PAINTING(); }},
        {"EDGEENHANCE", [](cBitFilter& f) { return f.EDGEENHANCE(10); }},
        {"LUMPLUS", [](cBitFilter& f) { return f.BRIGHTNESS(20); }},
        {"LUMMINUS", [](cBitFilter& f) { return f.BRIGHTNESS(80); }},
        {"LIGHTEMBOSS", [](cBitFilter& f) { return f.EMBOSS(10); }},
        {"HEAVYEMBOSS", [](cBitFilter& f) { return f.EMBOSS(30); }},
        {"LIGHTCONTOUR", [](cBitFilter& f) { return f.CONTOUR(200, k255255255); }},
        {"HEAVYCONTOUR", [](cBitFilter& f) { return f.CONTOUR(255, k255255255); }},
        {"LIGHTDIFFUSE", [](cBitFilter& f) { return f.DIFFUSE(5, 10); }},
        {"HEAVYDIFFUSE", [](cBitFilter& f) { return f.DIFFUSE(10, 30); }},
        {"LIGHTENGRAVE", [](cBitFilter& f) { return f.ENGRAVE(10); }},
        {"HEAVYENGRAVE", [](cBitFilter& f) { return f.ENGRAVE(30); }},
        {"LIGHTSOFTEN", [](cBitFilter& f) { return f.SOFTEN(30); }},
        {"SEPIATONE", [](cBitFilter& f) { return f.COLORIZE(0.5f, 0.25f, 1.0f); }},
        {"HEAVYSOFTEN", [](cBitFilter& f) { return f.SOFTEN(80); }},
        {"LIGHTBLUR", [](cBitFilter& f) { return f.Blurs(1); }},
        {"HEAVYBLUR", [](cBitFilter& f) { return f.Blurs(2); }}, // round(2.5) = 2
        {"LIGHTNOISE", [](cBitFilter& f) { return f.NOISE(20, true); }},
        {"HEAVYNOISE", [](cBitFilter& f) { return f.NOISE(40, true); }},
        {"LIGHTSATURATION", [](cBitFilter& f) { return f.SATURATION(10); }},
        {"HEAVYSATURATION", [](cBitFilter& f) { return f.SATURATION(20); }},
        {"WWAVES", [](cBitFilter& f) { return f.WAVES(30, 40, 0); }},
        {"AADDSCANLINES", [](cBitFilter& f) { return f.Scanlines(30); }},
        {"BBRIGHTNESS", [](cBitFilter& f) { return f.BRIGHTNESS(40); }},
        {"FISHEYE", [](cBitFilter& f) { return f.LENS(50.0f, 50.0f, 60.0f, 60); }},
        {"CURTAINHORIZONTAL", [](cBitFilter& f) { return f.GLASS("curtain", 1); }},
        {"CURTAINVERTICAL", [](cBitFilter& f) { return f.GLASS("curtain", 2); }},
        {"CURTAINCLASSY", [](cBitFilter& f) { return f.GLASS("curtain", 3); }},
        {"CURTAINWHITY", [](cBitFilter& f) { return f.GLASS("curtain", 4); }},
        {"SLANTING", [](cBitFilter& f) { return f.GLASS("slanting", 0); }},
        {"HORIZONTAL", [](cBitFilter& f) { return f.GLASS("horizontal", 0); }},
        {"VERTICAL", [](cBitFilter& f) { return f.GLASS("vertical", 0); }},
        {"SQUARY", [](cBitFilter& f) { return f.GLASS("squary", 0); }},
        {"THERMIQUE", [](cBitFilter& f) { return f.THERMIQUE(); }},
        {"XBLACK", [](cBitFilter& f) { return f.XBLACK(); }},
        {"PHOTOCOP", [](cBitFilter& f) { return f.PHOTOCOP(); }},
        {"OLDPHOTO", [](cBitFilter& f) { return f.OLDPHOTO(); }},
        {"FLIPH", [](cBitFilter& f) { return f.Flip(true, false); }},
        {"FLIPV", [](cBitFilter& f) { return f.Flip(false, true); }},
        {"SOFTRED", [](cBitFilter& f) { return f.ClassyColors(3); }},
        {"SOFTBLUE", [](cBitFilter& f) { return f.ClassyColors(0); }},
        {"SOFTGREEN", [](cBitFilter& f) { return f.ClassyColors(1); }},
        {"SOFTYELLOW", [](cBitFilter& f) { return f.ClassyColors(8); }},
        {"PURPLE", [](cBitFilter& f) { return f.ClassyColors(2); }},
        {"ORANGE", [](cBitFilter& f) { return f.ClassyColors(10); }},
        {"RETRO", [](cBitFilter& f) { return f.ClassyColors(7); }},
        {"WETPAPER", [](cBitFilter& f) { return f.ClassyColors(11); }},
        {"SPOTTED", [](cBitFilter& f) { return f.ClassyColors(6); }},
        {"HARDRED", [](cBitFilter& f) { return f.SpecialColors(T, 0, 0); }},
        {"HARDBLUE", [](cBitFilter& f) { return f.SpecialColors(0, 0, T); }},
        {"HARDGREEN", [](cBitFilter& f) { return f.SpecialColors(0, T, 0); }},
        {"HARDYELLOW", [](cBitFilter& f) { return f.SpecialColors(T, T, 0); }},
        {"CYAN", [](cBitFilter& f) { return f.SpecialColors(0, T, T); }},
        {"MAGENTA", [](cBitFilter& f) { return f.SpecialColors(T, 0, T); }},
        {"RGB2BRG", [](cBitFilter& f) { return f.SwapBanks(1); }},
        {"RGB2GBR", [](cBitFilter& f) { return f.SwapBanks(2); }},
        {"RGB2RBG", [](cBitFilter& f) { return f.SwapBanks(3); }},
        {"RGB2BGR", [](cBitFilter& f) { return f.SwapBanks(4); }},
        {"RGB2GRB", [](cBitFilter& f) { return f.SwapBanks(5); }},
    };
    // RETRO overflows on some colours: a picture whose channels stay in 40..200
    // suits every row.
    velmar::Bits picture = test::patterned(8, 8);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x)
            for (int c = 0; c < 3; ++c)
                picture(c, x, y) = static_cast<std::uint8_t>(40 + picture(c, x, y) * 160 / 255);
    const Region region = test::lShape();
    std::set<std::string> covered;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.word);
        const DirectCommand* command = FindDirectCommand(row.word);
        ASSERT_NE(command, nullptr);
        ASSERT_NE(command->call, nullptr);
        const velmar::Bits viaTable = runOn(picture, region, command->call);
        EXPECT_TRUE(test::samePixels(viaTable, runOn(picture, region, row.expected)));
        covered.insert(row.word);
    }
    // The two words that do nothing, and no word left out or listed twice.
    for (const char* idle : {"MOSAIC", "TALCOMPOWDER"}) {
        ASSERT_NE(FindDirectCommand(idle), nullptr);
        EXPECT_EQ(FindDirectCommand(idle)->call, nullptr);
        covered.insert(idle);
    }
    EXPECT_EQ(covered.size(), DirectCommands().size());
    for (const DirectCommand& c : DirectCommands())
        EXPECT_TRUE(covered.count(std::string(c.word))) << c.word;
    EXPECT_EQ(FindDirectCommand("heavyemboss"), nullptr);
    EXPECT_EQ(FindDirectCommand("BRIGHTNESS"),
              nullptr); // opens the dialog instead
}

TEST(FilterCommands, TheContourColourIsNotWhite) {
    // 255255255 = 15 * 2^24 + 54 * 2^16 + 226 * 2^8 + 215.
    EXPECT_EQ(filters::redOf(kPresetContourColour), 215);
    EXPECT_EQ(filters::greenOf(kPresetContourColour), 226);
    EXPECT_EQ(filters::blueOf(kPresetContourColour), 54);
}

TEST(FilterCommands, SlidersScaleCentreAndLabel) {
    // Gamma 0..2 at scale 0.01: control 0..200, value 100, offset round(200 *
    // 0.5) = 100.
    const SliderSetup& gamma = FilterSetupAt(4).sliders[0];
    EXPECT_EQ(gamma.ControlMin(), 0);
    EXPECT_EQ(gamma.ControlMax(), 200);
    EXPECT_EQ(gamma.ControlDefault(), 100);
    EXPECT_EQ(gamma.Offset(), 100);
    EXPECT_EQ(gamma.ValueLabel(100), "1.00");
    EXPECT_EQ(gamma.ValueLabel(37), "0.37");
    EXPECT_EQ(FilterSetupAt(4).StartValues().p[0], 0);
    // A plain slider: the control is the value, no offset.
    const SliderSetup& level = FilterSetupAt(1).sliders[0];
    EXPECT_EQ(level.ControlMin(), -100);
    EXPECT_EQ(level.Offset(), 0);
    EXPECT_EQ(level.ValueLabel(-35), "-35");
    // The banks start with each output on its own channel; the others at their
    // defaults.
    EXPECT_EQ(FilterSetupAt(26).StartValues().p, (std::array<std::int32_t, 3>{2, 1, 0}));
    EXPECT_EQ(FilterSetupAt(0).StartValues().p, (std::array<std::int32_t, 3>{0, 50, 100}));
    EXPECT_EQ(FilterSetupAt(39).StartValues().glassStyle, "slanting");
    EXPECT_EQ(FilterSetupAt(39).StartValues().p[0], 0);
    for (int i = 0; i < kFilterSetupCount; ++i)
        EXPECT_EQ(FilterSetupAt(i).index, i);
    EXPECT_THROW(FilterSetupAt(41), std::out_of_range);
    EXPECT_THROW(FilterSetupAt(-1), std::out_of_range);
}

TEST(FilterCommands, EverySetupCallsItsFilterWithTheDialogsValues) {
    using Expected = velmar::Bits (*)(cBitFilter&);
    // Distinct values everywhere, so that a swapped or dropped argument shows.
    // The common values below; rows change what their filter needs.
    DialogValues common;
    common.p = {3, 5, 7};
    common.option = true;
    // Pixel (2, 2) of the picture: blue 5 + 74 + 22 = 101, green 90 + 26 + 106 =
    // 222, red (200 + 142 + 58) & 255 = 144.
    common.col0 = 0x65DE90;
    common.col1 = 0x204080;
    common.x = 0.25f;
    common.y = 0.75f;
    common.previewSide = 20;
    const struct {
        int index;
        std::array<std::int32_t, 3> p;
        Expected expected;
    } rows[] = {
        // Hue round(3 * 2.4) = 7 stays below 201: 7 / 40 = 0.175; 5 / 100, 7 /
        // 100.
        {0, {3, 5, 7}, [](cBitFilter& f) { return f.COLORIZE(0.175f, 0.05f, 0.07f); }},
        // Hue round(90 * 2.4) = 216 wraps to -24: -24 / 40 = -0.6.
        {0, {90, 40, 80}, [](cBitFilter& f) { return f.COLORIZE(-0.6f, 0.4f, 0.8f); }},
        {1, {3, 5, 7}, [](cBitFilter& f) { return f.BRIGHTNESS(3); }},
        {2, {3, 5, 7}, [](cBitFilter& f) { return f.CONTRAST(3); }},
        {3, {3, 5, 7}, [](cBitFilter& f) { return f.SATURATION(3); }},
        {4, {-40, 5, 7}, [](cBitFilter& f) { return f.GammaCorrection(-40); }},
        {5, {3, 5, 7}, [](cBitFilter& f) { return f.DIFFUSE(3, 5); }},
        {6, {2, 5, 7}, [](cBitFilter& f) { return f.Blurs(2); }},
        {7, {3, 5, 7}, [](cBitFilter& f) { return f.Halftone(3, 5, 7); }},
        {8, {3, 5, 7}, [](cBitFilter& f) { return f.PIXELIZE(3); }},
        {9, {3, 5, 7}, [](cBitFilter& f) { return f.EMBOSS(3); }},
        {10, {3, 5, 7}, [](cBitFilter& f) { return f.ENGRAVE(3); }},
        {11, {100, 5, 7}, [](cBitFilter& f) { return f.CONTOUR(100, 0x204080); }},
        {12, {100, 5, 7}, [](cBitFilter& f) { return f.SKETCH(100, true, 0x204080); }},
        {13, {100, 5, 7}, [](cBitFilter& f) { return f.Threshold(100); }},
        {14, {30, 5, 7}, [](cBitFilter& f) { return f.ISOLATE(0x65DE90, 0x204080, 30); }},
        {15, {3, 5, 7}, [](cBitFilter& f) { return f.Reduction(3); }},
        {16, {30, 5, 7}, [](cBitFilter& f) { return f.REPLACE(0x65DE90, 0x204080, 30); }},
        {17,
         {30, 50, 70},
         [](cBitFilter& f) { return f.ReplaceHS(0x65DE90, 0x204080, 30, 50, 70); }},
        {18, {30, 50, 7}, [](cBitFilter& f) { return f.ReplaceL(0x65DE90, 0x204080, 30, 50); }},
        {19, {3, 5, 7}, [](cBitFilter& f) { return f.SHARPEN(3); }},
        {20, {3, 5, 7}, [](cBitFilter& f) { return f.SOFTEN(3); }},
        {21, {-30, 50, 7}, [](cBitFilter& f) { return f.SHIFT(0x65DE90, -30, 50); }},
        {22, {30, 50, 7}, [](cBitFilter& f) { return f.RotateH(30, 50); }},
        {23, {30, 5, 7}, [](cBitFilter& f) { return f.RotateL(30, 5); }},
        {24, {30, 50, 70}, [](cBitFilter& f) { return f.StretchH(30, 50, 70); }},
        {25, {-30, 50, 70}, [](cBitFilter& f) { return f.ShiftRGB(-30, 50, 70); }},
        // Red from green (1), green from blue (0), blue from red (2); red and
        // blue inverted,
        // green killed.
        {26, {1, 0, 2}, [](cBitFilter& f) { return f.SwapRGB(1, 0, 2, -1, 0, -1, 0, 255, 0); }},
        // Radius 10 / 20.
        {27, {10, 60, 7}, [](cBitFilter& f) { return f.LENS(0.25f, 0.75f, 0.5f, 60); }},
        {28, {3, 5, 7}, [](cBitFilter& f) { return f.WAVES(3, 5, 7); }},
        {29, {-30, 5, 7}, [](cBitFilter& f) { return f.BEND(-30, true); }},
        {30, {-30, 50, 7}, [](cBitFilter& f) { return f.FOLD(-30, 50, true); }},
        {31, {-30, 5, 7}, [](cBitFilter& f) { return f.ROTATE(-30.0, true); }},
        {32, {-30, 50, 7}, [](cBitFilter& f) { return f.STRETCH(-30, 50, true); }},
        {33, {3, 5, 7}, [](cBitFilter& f) { return f.TILE(3); }},
        {34, {-30, 50, 7}, [](cBitFilter& f) { return f.TWIRL(-30, 50, true); }},
        {35, {3, 5, 100}, [](cBitFilter& f) { return f.Grid(3, 5, true, 0x204080, 100); }},
        // Radius 10 / 20.
        {36, {10, 300, 50}, [](cBitFilter& f) { return f.Light(0.25f, 0.75f, 0.5f, 300, 50); }},
        {37, {30, 5, 7}, [](cBitFilter& f) { return f.NOISE(30, true); }},
        {38, {100, 5, 7}, [](cBitFilter& f) { return f.Scanlines(100); }},
        {39, {1, 5, 7}, [](cBitFilter& f) { return f.GLASS("vertical", 1); }},
        {40, {3, 5, 7}, [](cBitFilter& f) { return f.GLASS("curtain", 3); }},
    };
    const velmar::Bits picture = test::patterned(8, 8);
    const Region region = test::lShape();
    std::set<int> covered;
    for (const auto& row : rows) {
        SCOPED_TRACE(FilterSetupAt(row.index).caption);
        DialogValues v = common;
        v.p = row.p;
        v.glassStyle = "vertical";
        v.invert = {true, false, true};
        v.kill = {false, true, false};
        const DialogCall call = FilterSetupAt(row.index).call;
        const velmar::Bits viaTable =
            runOn(picture, region, [&](cBitFilter& f) { return call(f, v); });
        EXPECT_TRUE(test::samePixels(viaTable, runOn(picture, region, row.expected)));
        covered.insert(row.index);
    }
    EXPECT_EQ(covered.size(), static_cast<std::size_t>(kFilterSetupCount));
}

TEST(FilterCommands, WordsOpenTheirSetups) {
    const struct {
        const char* word;
        int index;
    } rows[] = {{"COLORIZE", 0},     {"BRIGHTNESS", 1},   {"LIGHTCUSTOM", 1},
                {"GAMMA", 4},        {"HAFTONE", 7},      {"CUSTOMCONTOUR", 11},
                {"SKETCH", 12},      {"ISOLATE", 14},     {"REPLACEHUESAT", 17},
                {"RGBBANKS", 26},    {"LENS", 27},        {"ROTATE", 31},
                {"ADDGRID", 35},     {"LENSFLARE", 36},   {"ADDNOISE", 37},
                {"CUSTOMNOISE", 37}, {"CUSTOMGLASS", 39}, {"CUSTOMCURTAIN", 40}};
    for (const auto& row : rows)
        EXPECT_EQ(FindDialogWord(row.word), row.index) << row.word;
    EXPECT_EQ(FindDialogWord("INVERT"), std::nullopt);
    // Every setup but Threshold (13) and Reduction (15) has a word; no word is
    // also a preset.
    std::set<int> opened;
    for (const DialogWord& w : DialogWords()) {
        opened.insert(w.index);
        EXPECT_EQ(FindDirectCommand(w.word), nullptr) << w.word;
    }
    EXPECT_EQ(opened.size(), 39u);
    EXPECT_FALSE(opened.count(13));
    EXPECT_FALSE(opened.count(15));
}

} // namespace
} // namespace velmar
