// Overlays and patterns.
#include "filterBench.h"

namespace velmar::bench {
namespace {

const bool registered = [] {
    registerFilters({
        {"Grid", [](cBitFilter& f) { return f.Grid(25, 25, true, 0x2040C0, 128); }},
        {"Grid1", [](cBitFilter& f) { return f.Grid(1, 3, false, 0x2040C0, 128); }},
        {"Light", [](cBitFilter& f) { return f.Light(0.5f, 0.5f, 0.4f, 250, 30); }},
        {"GradientLinear",
         [](cBitFilter& f) {
             return f.GradientLinear(500, 300, 5200, 3500, 0xFF8000, 0x0000FF, 60, 1);
         }},
        {"GradientLinearSource",
         [](cBitFilter& f) { return f.GradientLinear(500, 300, 5200, 3500, -1, 0x0000FF, 60, 1); }},
        {"GradientLinearRepeats",
         [](cBitFilter& f) {
             return f.GradientLinear(500, 300, 5200, 3500, 0xFF8000, 0x0000FF, 60, 4);
         }},
        {"GradientCircular",
         [](cBitFilter& f) {
             return f.GradientCircular(3000, 2000, 5000, 3000, 0xFF8000, 0x0000FF, 60, 1);
         }},
        {"GradientCircularRepeats",
         [](cBitFilter& f) {
             return f.GradientCircular(3000, 2000, 5000, 3000, 0xFF8000, 0x0000FF, 60, 4);
         }},
        {"Texturize",
         [](cBitFilter& f) {
             static const Bits texture = [] {
                 Bits t(97, 61);
                 for (int y = 0; y < 61; ++y)
                     for (int x = 0; x < 97; ++x)
                         t(0, x, y) = static_cast<std::uint8_t>(96 + (x * 7 + y * 13) % 64);
                 return t;
             }();
             return f.Texturize(texture);
         }},
    });
    return true;
}();

} // namespace
} // namespace velmar::bench
