// Window, block and cell filters: PAINTING, Dissolve, NOISE, PIXELIZE, Halftone, MaskFilter.
#include "filterBench.h"

namespace velmar::bench {
namespace {

MaskArray squareMask(int size, std::initializer_list<int> cells) {
    MaskArray m;
    m.m = size - 1;
    for (const int c : cells)
        m.cells.push_back(static_cast<std::uint8_t>(c));
    return m;
}

const bool registered = [] {
    registerFilters({
        {"PAINTING", [](cBitFilter& f) { return f.PAINTING(); }},
        {"Dissolve", [](cBitFilter& f) { return f.Dissolve(); }},
        {"NOISE", [](cBitFilter& f) { return f.NOISE(40, false); }},
        {"NOISE_equalized", [](cBitFilter& f) { return f.NOISE(40, true); }},
        {"PIXELIZE_8", [](cBitFilter& f) { return f.PIXELIZE(8); }},
        {"Halftone_4", [](cBitFilter& f) { return f.Halftone(4, 2, 20); }},
        {"MaskFilter_3x3",
         [](cBitFilter& f) {
             static const MaskArray m = squareMask(3, {1, 2, 1, 2, 4, 2, 1, 2, 1});
             return f.MaskFilter(m, 16, 0, 0, 0, false);
         }},
        {"MaskFilter_5x5",
         [](cBitFilter& f) {
             static const MaskArray m = squareMask(
                 5, {1, 1, 2, 1, 1, 1, 2, 4, 2, 1, 2, 4, 8, 4, 2, 1, 2, 4, 2, 1, 1, 1, 2, 1, 1});
             return f.MaskFilter(m, 52, 3, -3, 0, true);
         }},
    });
    return true;
}();

} // namespace
} // namespace velmar::bench
