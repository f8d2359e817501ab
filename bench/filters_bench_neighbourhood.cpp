// Neighbourhood filters. EMBOSS and ENGRAVE run once with a weight the float kernel takes and
// once with one it does not (7: the double kernel).
#include "filterBench.h"

namespace velmar::bench {
namespace {

const bool registered = [] {
    registerFilters({
        {"Blurs1", [](cBitFilter& f) { return f.Blurs(1); }},
        {"Blurs2", [](cBitFilter& f) { return f.Blurs(2); }},
        {"Blurs7", [](cBitFilter& f) { return f.Blurs(7); }},
        {"SOFTEN30", [](cBitFilter& f) { return f.SOFTEN(30); }},
        {"SHARPEN40", [](cBitFilter& f) { return f.SHARPEN(40); }},
        {"EDGEENHANCE10", [](cBitFilter& f) { return f.EDGEENHANCE(10); }},
        {"DILATE", [](cBitFilter& f) { return f.DILATE(); }},
        {"ERODE", [](cBitFilter& f) { return f.ERODE(); }},
        {"RELIEF", [](cBitFilter& f) { return f.RELIEF(); }},
        {"EMBOSS30", [](cBitFilter& f) { return f.EMBOSS(30); }},
        {"EMBOSS7", [](cBitFilter& f) { return f.EMBOSS(7); }},
        {"ENGRAVE10", [](cBitFilter& f) { return f.ENGRAVE(10); }},
        {"ENGRAVE7", [](cBitFilter& f) { return f.ENGRAVE(7); }},
        {"CONTOUR", [](cBitFilter& f) { return f.CONTOUR(200, 0xFFFFFF); }},
        {"SKETCH", [](cBitFilter& f) { return f.SKETCH(200, true, 0); }},
        {"RankFilterN4", [](cBitFilter& f) { return f.RankFilterN4(0); }},
        {"RankFilterND", [](cBitFilter& f) { return f.RankFilterND(1); }},
    });
    return true;
}();

} // namespace
} // namespace velmar::bench
