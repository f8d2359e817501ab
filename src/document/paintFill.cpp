// The flood fills of the document: with the colour, and with the tiled stamp.
//
// Both grow from the seed in passes over a frontier: each pass takes the pixels the last pass
// painted and tries their four neighbours, left, right, up, down. A neighbour is taken once
// (its stroke-table entry is set the first time it is tried, whether it is painted or not), so
// every pixel costs one test; it is painted when the sum over blue, green and red of its
// differences from the seed's colour is at most the tolerance. The tolerance is a sum, not a
// limit per channel.
#include "document/fImage.h"
#include "document/paintSupport.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

namespace velmar {

using paint::ClampPercent;
using paint::DoneIndex;
using paint::EnsureDoneBits;
using paint::InPicture;
using paint::kDone;

namespace {

struct FrontierPoint {
    std::int32_t x;
    std::int32_t y;
};

// The walk from the seed (sx, sy), which the caller has painted already. paintPixel(px, x, y)
// paints one pixel. Pixels off the picture are never tried. `selected` is a SelectedRows, or
// WholePicture when the selection holds every pixel of the picture.
template <class Selected, class Paint>
void walk(Bits& bits, const Selected& selected, std::uint16_t* done, int sx, int sy,
          const std::uint8_t (&seed)[3], int tolerance, Paint& paintPixel) {
    const int width = bits.Width();
    const int height = bits.Height();
    std::uint8_t* const origin = bits.Row(0);
    const std::ptrdiff_t stride = bits.Stride();
    std::uint16_t* const doneOrigin = done + DoneIndex(bits, 0, 0);
    const std::ptrdiff_t doneStride = width + 2 * Bits::kMargin;
    const int s0 = seed[0], s1 = seed[1], s2 = seed[2];

    std::vector<FrontierPoint> frontier{{sx, sy}};
    std::vector<FrontierPoint> next;
    // A front seldom holds more than a few thousand pixels; growing beyond costs little.
    frontier.reserve(4096);
    next.reserve(4096);
    const auto visit = [&](int x, int y) {
        std::uint16_t& entry = doneOrigin[y * doneStride + x];
        if (entry != 0 || !selected.Contains(x, y)) return;
        entry = kDone;
        std::uint8_t* const px = origin + y * stride + x * 4;
        // The seed's own colour (a flat area, the common case) needs no sum: its difference is 0.
        const bool seedColour = px[0] == s0 && px[1] == s1 && px[2] == s2;
        if (seedColour
                ? tolerance < 0
                : std::abs(px[0] - s0) + std::abs(px[1] - s1) + std::abs(px[2] - s2) > tolerance)
            return;
        paintPixel(px, x, y);
        next.push_back({x, y});
    };
    while (!frontier.empty()) {
        next.clear();
        for (const FrontierPoint p : frontier) {
            if (p.x > 0) visit(p.x - 1, p.y);
            if (p.x < width - 1) visit(p.x + 1, p.y);
            if (p.y > 0) visit(p.x, p.y - 1);
            if (p.y < height - 1) visit(p.x, p.y + 1);
        }
        frontier.swap(next);
    }
}

struct WholePicture {
    static bool Contains(int, int) noexcept { return true; }
};

template <class Paint>
void floodWalk(Bits& bits, const Region& region, std::uint16_t* done, int sx, int sy,
               const std::uint8_t (&seed)[3], int tolerance, Paint&& paintPixel) {
    // The common case, the whole picture selected, needs no test at all.
    const IntRect box = region.Box();
    if (region.RectCount() == 1 && box.left <= 0 && box.top <= 0 && box.right >= bits.Width() &&
        box.bottom >= bits.Height())
        walk(bits, WholePicture{}, done, sx, sy, seed, tolerance, paintPixel);
    else
        walk(bits, paint::SelectedRows(region, bits.Height()), done, sx, sy, seed, tolerance,
             paintPixel);
}

} // namespace

// The seed is blended first and marked in the stroke table, so that the walk never comes back to
// it and blends it twice when its new colour lies within the tolerance.
void fImage::BitsFill(int x, int y, COLORREF colour, int tolerance, int pressure) {
    FinishUndoWrite();
    if (!pictureExists_) return;
    const Region* region = region_.Region();
    if (region == nullptr || !InPicture(bits_, x, y) || !region->Contains(x, y)) return;
    // a is the part of the old colour that stays.
    const double a = 1.0 - ClampPercent(pressure) / 100.0;
    const paint::Bgr fill = paint::ColourBgr(colour);
    std::array<std::array<std::uint8_t, 256>, 3> table{};
    for (std::size_t c = 0; c < 3; ++c)
        for (int i = 0; i < 256; ++i)
            table[c][static_cast<std::size_t>(i)] = paint::RoundByte(i * a + fill.c[c] * (1.0 - a));

    std::uint8_t* const px = &bits_(0, x, y);
    const std::uint8_t seed[3] = {px[0], px[1], px[2]};
    for (std::size_t c = 0; c < 3; ++c)
        px[c] = table[c][px[c]];
    std::uint16_t* done = EnsureDoneBits(doneBits_, bits_);
    done[DoneIndex(bits_, x, y)] = kDone;
    // Filling with nearly the seed's own colour would repaint a whole area for nothing: such a
    // fill stops at the seed.
    bool nearlyEqual = true;
    for (std::size_t c = 0; c < 3; ++c)
        nearlyEqual = nearlyEqual && std::abs(fill.c[c] - seed[c]) < 10;
    if (nearlyEqual) return;

    floodWalk(bits_, *region, done, x, y, seed, tolerance, [&table](std::uint8_t* p, int, int) {
        p[0] = table[0][p[0]];
        p[1] = table[1][p[1]];
        p[2] = table[2][p[2]];
    });
}

// The same walk, each pixel blended with the stamp's pixel tiled over the picture. A texture has
// no one colour to compare with the seed, so there is no early stop here: the seed is blended
// with its own stamp pixel and the walk always runs.
void fImage::BitsFillTexture(int x, int y, const PlainPicture& stamp, int tolerance, int pressure) {
    FinishUndoWrite();
    if (!pictureExists_) return;
    const Region* region = region_.Region();
    int tileW = 0, tileH = 0;
    if (region == nullptr || !paint::StampTile(stamp, tileW, tileH)) return;
    if (!InPicture(bits_, x, y) || !region->Contains(x, y)) return;
    const double a = 1.0 - ClampPercent(pressure) / 100.0;
    const auto blendStamp = [&](std::uint8_t* p, int atX, int atY) {
        const std::uint8_t* s = paint::StampPixel(stamp, tileW, tileH, atX, atY);
        for (int c = 0; c < 3; ++c)
            p[c] = paint::RoundByte(p[c] * a + s[c] * (1.0 - a));
    };

    std::uint8_t* const px = &bits_(0, x, y);
    const std::uint8_t seed[3] = {px[0], px[1], px[2]};
    blendStamp(px, x, y);
    std::uint16_t* done = EnsureDoneBits(doneBits_, bits_);
    done[DoneIndex(bits_, x, y)] = kDone;
    floodWalk(bits_, *region, done, x, y, seed, tolerance, blendStamp);
}

} // namespace velmar
