#include "document/viewLayout.h"

#include <algorithm>
#include <climits>
#include <cstdint>

namespace velmar {

namespace {

// A zoomed size of a very large picture may pass the range of int; the scroll bars cannot
// count past it anyway.
int zoomed(int size, int zoom) {
    return static_cast<int>(
        std::min<std::int64_t>(static_cast<std::int64_t>(std::max(size, 0)) * zoom, INT_MAX));
}

ScrollBarRange barRange(bool shown, int zoomedSize, int visible) {
    if (!shown) return {};
    return {true, zoomedSize - visible, visible};
}

} // namespace

ViewLayout LayOutView(int clientWidth, int clientHeight, int pictureWidth, int pictureHeight,
                      int zoom, int barThickness) {
    zoom = std::max(zoom, 1);
    const int zw = zoomed(pictureWidth, zoom);
    const int zh = zoomed(pictureHeight, zoom);

    // Each bar is tested against the whole client area first; a bar that shows takes its
    // thickness from the other direction, which is then tested again.
    bool hBar = zw > clientWidth;
    bool vBar = zh > clientHeight;
    if (hBar && !vBar) vBar = zh > clientHeight - barThickness;
    if (vBar && !hBar) hBar = zw > clientWidth - barThickness;

    // A window smaller than a bar leaves nothing visible, never less.
    const int visibleWidth = std::max(0, clientWidth - (vBar ? barThickness : 0));
    const int visibleHeight = std::max(0, clientHeight - (hBar ? barThickness : 0));

    ViewLayout layout;
    layout.horizontal = barRange(hBar, zw, visibleWidth);
    layout.vertical = barRange(vBar, zh, visibleHeight);
    layout.surfaceWidth = hBar ? visibleWidth : zw;
    layout.surfaceHeight = vBar ? visibleHeight : zh;
    return layout;
}

AxisPaint PaintAxis(int barValue, int surfaceSize, int zoom) {
    zoom = std::max(zoom, 1);
    const int whole = surfaceSize / zoom; // picture pixels wholly on the surface
    if (barValue >= 1)
        return {-(barValue % zoom), whole * zoom + 2 * zoom, barValue / zoom + 2, whole + 2};
    return {0, surfaceSize, 2, whole};
}

} // namespace velmar
