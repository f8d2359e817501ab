// Tone and colour filters.
#include "filterBench.h"

namespace velmar::bench {
namespace {

const bool registered = [] {
    registerFilters({
        {"BRIGHTNESS", [](cBitFilter& f) { return f.BRIGHTNESS(30); }},
        {"Scanlines", [](cBitFilter& f) { return f.Scanlines(40); }},
        {"Invert", [](cBitFilter& f) { return f.Invert(); }},
        {"GreyScale", [](cBitFilter& f) { return f.GreyScale(); }},
        {"Reduction", [](cBitFilter& f) { return f.Reduction(15); }},
        {"ShiftRGB", [](cBitFilter& f) { return f.ShiftRGB(20, -30, 40); }},
        {"KillChannel", [](cBitFilter& f) { return f.KillChannel(true, false, true); }},
        {"SpecialColors", [](cBitFilter& f) { return f.SpecialColors(-1, 0, -1); }},
        {"OLDPHOTO", [](cBitFilter& f) { return f.OLDPHOTO(); }},
        {"Threshold", [](cBitFilter& f) { return f.Threshold(127); }},
        {"THERMIQUE", [](cBitFilter& f) { return f.THERMIQUE(); }},
        {"XBLACK", [](cBitFilter& f) { return f.XBLACK(); }},
        {"PHOTOCOP", [](cBitFilter& f) { return f.PHOTOCOP(); }},
        {"SwapBanks", [](cBitFilter& f) { return f.SwapBanks(1); }},
        {"SwapRGB", [](cBitFilter& f) { return f.SwapRGB(0, 2, 1, -1, 0, 0, 0, 255, 0); }},
        {"SATURATION", [](cBitFilter& f) { return f.SATURATION(40); }},
        {"ClassyColors0", [](cBitFilter& f) { return f.ClassyColors(0); }},
        {"ClassyColors6", [](cBitFilter& f) { return f.ClassyColors(6); }},
        {"COLORIZE", [](cBitFilter& f) { return f.COLORIZE(2.5f, 0.6f, 0.9f); }},
        {"RotateH", [](cBitFilter& f) { return f.RotateH(40, 80); }},
        {"StretchH", [](cBitFilter& f) { return f.StretchH(20, 70, 30); }},
        {"RotateL", [](cBitFilter& f) { return f.RotateL(10, 20); }},
        {"ISOLATE", [](cBitFilter& f) { return f.ISOLATE(0x406080, 0xFFFFFF, 40); }},
        {"REPLACE", [](cBitFilter& f) { return f.REPLACE(0x406080, 0x102030, 40); }},
        {"SHIFT", [](cBitFilter& f) { return f.SHIFT(0x406080, 30, 40); }},
        {"ReplaceHS", [](cBitFilter& f) { return f.ReplaceHS(0x406080, 0x102030, 20, 30, 60); }},
        {"ReplaceL", [](cBitFilter& f) { return f.ReplaceL(0x406080, 0x102030, 20, 40); }},
    });
    return true;
}();

} // namespace
} // namespace velmar::bench
