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
    });
    return true;
}();

} // namespace
} // namespace velmar::bench
