// Deformations and GLASS. FISHEYE is the preset whose disc lies far outside the picture: its
// time is that of the copy alone.
#include "filterBench.h"

namespace velmar::bench {
namespace {

// A 64 by 64 mask of varied colours, one of them the key (white).
const Bits& benchMask() {
    static const Bits mask = [] {
        Bits m(64, 64);
        for (int y = 0; y < 64; ++y)
            for (int x = 0; x < 64; ++x) {
                const bool key = (x + y) % 7 == 0;
                m(0, x, y) = key ? 255 : static_cast<std::uint8_t>(x * 4);
                m(1, x, y) = key ? 255 : static_cast<std::uint8_t>(y * 4);
                m(2, x, y) = key ? 255 : static_cast<std::uint8_t>((x ^ y) * 4);
            }
        return m;
    }();
    return mask;
}

const bool registered = [] {
    registerFilters({
        {"ROTATE30", [](cBitFilter& f) { return f.ROTATE(30.0, false); }},
        {"ROTATE30clean", [](cBitFilter& f) { return f.ROTATE(30.0, true); }},
        {"FOLD", [](cBitFilter& f) { return f.FOLD(30, -40, false); }},
        {"STRETCH", [](cBitFilter& f) { return f.STRETCH(-30, 20, true); }},
        {"BEND", [](cBitFilter& f) { return f.BEND(50, true); }},
        {"TWIRL", [](cBitFilter& f) { return f.TWIRL(20, 30, false); }},
        {"DIFFUSE", [](cBitFilter& f) { return f.DIFFUSE(8, 8); }},
        {"WAVES", [](cBitFilter& f) { return f.WAVES(5, 40, 10); }},
        {"FlipH", [](cBitFilter& f) { return f.Flip(true, false); }},
        {"FlipV", [](cBitFilter& f) { return f.Flip(false, true); }},
        {"FlipHV", [](cBitFilter& f) { return f.Flip(true, true); }},
        {"TILE3", [](cBitFilter& f) { return f.TILE(3); }},
        {"TileMask",
         [](cBitFilter& f) { return f.TileMask(benchMask(), 10, 20, true, 40, 0xFFFFFF); }},
        {"GLASSslanting", [](cBitFilter& f) { return f.GLASS("slanting", 0); }},
        {"GLASSvertical", [](cBitFilter& f) { return f.GLASS("vertical", 0); }},
        {"GLASSsquary", [](cBitFilter& f) { return f.GLASS("squary", 1); }},
        {"GLASScurtain2", [](cBitFilter& f) { return f.GLASS("curtain", 2); }},
        {"CURTAINWHITY", [](cBitFilter& f) { return f.GLASS("curtain", 4); }},
        {"LENS", [](cBitFilter& f) { return f.LENS(0.5f, 0.5f, 0.4f, 60); }},
        {"FISHEYE", [](cBitFilter& f) { return f.LENS(50.0f, 50.0f, 60.0f, 60); }},
    });
    return true;
}();

} // namespace
} // namespace velmar::bench
