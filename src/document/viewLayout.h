#pragma once
// The arithmetic of a document's view, apart from any widget: which scroll bars show, how large
// the painted surface is, and which block of Bits one repaint stretches onto it. Everything
// counts in screen pixels except the source block of a paint, which counts in pixels of Bits
// (margin included, so the picture's column 0 is source column 2).
//
// The zoom is an integer z >= 1: each picture pixel is a z by z square on the screen.

namespace velmar {

// One scroll bar. A hidden bar has max 0 and large change 0, so its value falls back to 0.
struct ScrollBarRange {
    bool shown = false;
    int max = 0;         // zoomed picture size less the visible size
    int largeChange = 0; // the visible size: one page
};

struct ViewLayout {
    ScrollBarRange horizontal; // scrolls x, takes height from the client area
    ScrollBarRange vertical;   // scrolls y, takes width from the client area
    // The surface that receives the paint: the zoomed picture's size where it fits, the
    // visible size where a bar shows.
    int surfaceWidth = 0;
    int surfaceHeight = 0;
};

// Lays out a W by H picture at zoom z in a client area of clientWidth by clientHeight, whose
// scroll bars are barThickness pixels thick and stand inside the client area. A zoom below 1 is
// taken as 1.
ViewLayout LayOutView(int clientWidth, int clientHeight, int pictureWidth, int pictureHeight,
                      int zoom, int barThickness);

// One axis of a repaint: the block of Bits from srcStart, srcSize pixels long, stretched onto
// the surface from destStart, destSize pixels long.
struct AxisPaint {
    int destStart = 0;
    int destSize = 0;
    int srcStart = 0;
    int srcSize = 0;
};

// The axis of a repaint with the scroll bar at barValue, the surface surfaceSize pixels long
// and zoom z (below 1 taken as 1). A scrolled view paints whole picture pixels from one before
// the visible part to one after it, so the surface starts -(barValue mod z) pixels into the
// first one and every picture pixel stays z screen pixels wide.
AxisPaint PaintAxis(int barValue, int surfaceSize, int zoom);

} // namespace velmar
