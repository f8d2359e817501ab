// The view's lay-out and the paint rectangles, worked out by hand. Scroll bars are 17 pixels
// thick throughout.
#include "document/viewLayout.h"

#include <gtest/gtest.h>

namespace velmar {
namespace {

constexpr int kBar = 17;

TEST(ViewLayout, BarsSurfaceAndRanges) {
    const struct {
        const char* what;
        int cw, ch, w, h, z;
        bool hBar, vBar;
        int sw, sh, hMax, hPage, vMax, vPage;
    } cases[] = {
        {"narrower and lower than the window", 400, 300, 200, 100, 1, false, false, 200, 100, 0, 0,
         0, 0},
        {"exactly the window", 400, 300, 400, 300, 1, false, false, 400, 300, 0, 0, 0, 0},
        // 1000 > 400: bar; 100 <= 300 - 17: no other bar. Max 1000 - 400.
        {"wide only", 400, 300, 1000, 100, 1, true, false, 400, 100, 600, 400, 0, 0},
        // 290 <= 300, but the horizontal bar leaves 283: both bars, 383 by 283 visible.
        // Max 1000 - 383 = 617 and 290 - 283 = 7.
        {"horizontal bar brings the vertical", 400, 300, 1000, 290, 1, true, true, 383, 283, 617,
         383, 7, 283},
        // 600 > 300: bar; 390 > 400 - 17 = 383: the other bar too. 390 - 383 = 7, 600 - 283.
        {"vertical bar brings the horizontal", 400, 300, 390, 600, 1, true, true, 383, 283, 7, 383,
         317, 283},
        // 283 is exactly the room the horizontal bar leaves.
        {"just fits under the bar", 400, 300, 1000, 283, 1, true, false, 400, 283, 600, 400, 0, 0},
        // 3 * 100 = 300 and 3 * 50 = 150 fit.
        {"zoom 3 fits", 400, 300, 100, 50, 3, false, false, 300, 150, 0, 0, 0, 0},
        // 5 * 100 = 500 > 400; 250 <= 283. Max 500 - 400 in screen pixels.
        {"zoom 5 needs a bar", 400, 300, 100, 50, 5, true, false, 400, 250, 100, 400, 0, 0},
        // Smaller than the bars: nothing visible, the whole zoomed size to scroll.
        {"window smaller than a bar", 10, 10, 20, 20, 1, true, true, 0, 0, 20, 0, 20, 0},
    };
    for (const auto& c : cases) {
        const ViewLayout v = LayOutView(c.cw, c.ch, c.w, c.h, c.z, kBar);
        EXPECT_EQ(v.horizontal.shown, c.hBar) << c.what;
        EXPECT_EQ(v.vertical.shown, c.vBar) << c.what;
        EXPECT_EQ(v.surfaceWidth, c.sw) << c.what;
        EXPECT_EQ(v.surfaceHeight, c.sh) << c.what;
        EXPECT_EQ(v.horizontal.max, c.hMax) << c.what;
        EXPECT_EQ(v.horizontal.largeChange, c.hPage) << c.what;
        EXPECT_EQ(v.vertical.max, c.vMax) << c.what;
        EXPECT_EQ(v.vertical.largeChange, c.vPage) << c.what;
    }
}

TEST(ViewLayout, PaintAxis) {
    const struct {
        int v, s, z;
        AxisPaint expected;
    } cases[] = {
        {0, 300, 1, {0, 300, 2, 300}},
        {0, 100, 3, {0, 100, 2, 33}}, // 100 / 3 = 33 picture pixels
        // 1 mod 3 = 1: start -1; 33 * 3 + 6 = 105; 1 / 3 + 2 = 2; 33 + 2 = 35.
        {1, 100, 3, {-1, 105, 2, 35}},
        {7, 100, 3, {-1, 105, 4, 35}}, // 7 / 3 + 2 = 4
        {9, 100, 3, {0, 105, 5, 35}},  // 9 mod 3 = 0: whole pixels from the edge
        {10, 400, 1, {0, 402, 12, 402}},
        {-5, 50, 2, {0, 50, 2, 25}}, // below 1 counts as unscrolled
    };
    for (const auto& c : cases) {
        const AxisPaint p = PaintAxis(c.v, c.s, c.z);
        EXPECT_EQ(p.destStart, c.expected.destStart) << c.v << " " << c.s << " " << c.z;
        EXPECT_EQ(p.destSize, c.expected.destSize) << c.v << " " << c.s << " " << c.z;
        EXPECT_EQ(p.srcStart, c.expected.srcStart) << c.v << " " << c.s << " " << c.z;
        EXPECT_EQ(p.srcSize, c.expected.srcSize) << c.v << " " << c.s << " " << c.z;
    }
}

} // namespace
} // namespace velmar
