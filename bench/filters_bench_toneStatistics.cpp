// Tone filters driven by a statistic of the whole picture, the gamma curve, the dithers.
#include "filterBench.h"

#include "pixel/mPalette.h"

namespace velmar::bench {
namespace {

// The 16 colours of the classic VGA palette, in the order the palette lookup takes them.
const mPalette& sixteenColours() {
    static const mPalette palette = [] {
        mPalette p;
        const std::uint8_t c[16][3] = {
            {0, 0, 0},       {128, 0, 0},   {0, 128, 0},   {128, 128, 0},
            {0, 0, 128},     {128, 0, 128}, {0, 128, 128}, {192, 192, 192},
            {128, 128, 128}, {255, 0, 0},   {0, 255, 0},   {255, 255, 0},
            {0, 0, 255},     {255, 0, 255}, {0, 255, 255}, {255, 255, 255}};
        for (const auto& e : c)
            p.Add(e[0], e[1], e[2]);
        return p;
    }();
    return palette;
}

const bool registered = [] {
    registerFilters({
        // On this picture of random colours CONTRAST(40) sends two pixels in three through the
        // overflow hand-on; lowering the contrast never overflows and is all table.
        {"CONTRAST", [](cBitFilter& f) { return f.CONTRAST(40); }},
        {"CONTRAST(-30)", [](cBitFilter& f) { return f.CONTRAST(-30); }},
        {"GammaCorrection", [](cBitFilter& f) { return f.GammaCorrection(30); }},
        {"Equalize", [](cBitFilter& f) { return f.Equalize(); }},
        {"StuckiBW", [](cBitFilter& f) { return f.StuckiBW(10); }},
        // The picture takes the diffused error each time: the cost stays that of one call.
        {"PaletteApply", [](cBitFilter& f) { return f.PaletteApply(sixteenColours()); }},
        {"GetLMed",
         [](cBitFilter& f) {
             benchmark::DoNotOptimize(f.GetLMed());
             return Bits();
         }},
    });
    return true;
}();

} // namespace
} // namespace velmar::bench
