// Arbitrary bytes through the region file parser that LoadFromFile uses, and what the selection
// does with an accepted file.
//
// Beyond "no crash, no read past the input", an accepted file must keep four promises: its
// longs written out again are exactly its bytes; every rectangle it lists is selected at its
// corners; the region rebuilt from its own rectangle list is the same region; and the span walk
// agrees with the point test around every listed rectangle.
#include "fuzzCheck.h"
#include "pixel/Region.h"
#include "pixel/RegionFile.h"
#include "pixel/cBitRegion.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

namespace {

using velmar::fuzz::check;

// Walk and point test over a small window at (x, y).
void compareWindow(const velmar::Region& r, int x, int y) {
    const int left = x - 2, right = x + 3, top = y - 2, bottom = y + 3;
    int visited = 0;
    r.ForEachSpan(top, bottom, left, right, [&](int row, int x0, int x1) {
        for (int col = x0; col < x1; ++col)
            check(r.Contains(col, row));
        visited += x1 - x0;
    });
    int expected = 0;
    for (int row = top; row < bottom; ++row)
        for (int col = left; col < right; ++col)
            expected += r.Contains(col, row) ? 1 : 0;
    check(visited == expected);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace velmar;
    const std::span<const std::uint8_t> input(data, size);
    std::vector<std::int32_t> longs;
    try {
        longs = ParseRegionFile(input, "fuzz input");
    } catch (const RegionFileError&) {
        return 0;
    }
    const std::vector<std::uint8_t> again = RegionFileBytes(longs);
    check(again.size() == size && std::equal(again.begin(), again.end(), input.begin()));

    const Region region = Region::FromRgnData(longs);
    const auto count = static_cast<std::size_t>(longs[2]);
    for (std::size_t i = 0; i < count; ++i) {
        const std::int32_t* p = longs.data() + 8 + 4 * i;
        check(region.Contains(p[0], p[1]) && region.Contains(p[2] - 1, p[3] - 1));
        if (i < 16) {
            compareWindow(region, p[0], p[1]);
            compareWindow(region, p[2], p[3]);
        }
    }
    check(Region::FromRects(region.Rects()) == region);
    check(region.IsEmpty() == (count == 0));

    // The selection object takes the same longs and scales them for drawing.
    cBitRegion selection;
    selection.Region(region);
    selection.ZoomFactor(0.37f);
    check(selection.RegionScaled() != nullptr);
    return 0;
}
