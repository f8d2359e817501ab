// The brush family of the document's painting operations: single pixels, the stamp mask, the
// round brushes (colour, airbrush, lighten and darken, tiled stamp, soften, sharpen) and the
// stroke table that lets one stroke paint each pixel once.
#include "document/fImage.h"
#include "document/paintSupport.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace velmar {

using paint::Bgr;
using paint::Blend;
using paint::BlendPixel;
using paint::BrushRadius;
using paint::ClampPercent;
using paint::ColourBgr;
using paint::DoneIndex;
using paint::EnsureDoneBits;
using paint::ForEachBrushPixel;
using paint::InPicture;
using paint::kDone;

namespace {

// One dab of the colour brush: each selected brush pixel not yet painted by this stroke.
void brushDab(Bits& bits, const Region& region, std::uint16_t* done, int x, int y, int r,
              const Bgr& colour, double a) {
    ForEachBrushPixel(bits, region, x, y, r, [&](std::uint8_t* px, int atX, int atY) {
        std::uint16_t& entry = done[DoneIndex(bits, atX, atY)];
        if (entry == 0) {
            entry = kDone;
            BlendPixel(px, colour, a);
        }
        return true;
    });
}

// One dab of the tiled stamp. It keeps no stroke table: each dab blends again where dabs
// overlap, as the stamp brush always did.
void stampDab(Bits& bits, const Region& region, int x, int y, int r, const PlainPicture& stamp,
              int tileW, int tileH, double a) {
    ForEachBrushPixel(bits, region, x, y, r, [&](std::uint8_t* px, int atX, int atY) {
        const std::uint8_t* s = paint::StampPixel(stamp, tileW, tileH, atX, atY);
        for (int c = 0; c < 3; ++c)
            px[c] = Blend(px[c], s[c], a);
        return true;
    });
}

} // namespace

void fImage::CreateDoneBitsTable() {
    if (!pictureExists_) return;
    paint::ClearDoneBits(doneBits_, bits_);
}

COLORREF fImage::BitsGetPixel(int x, int y) const {
    if (!pictureExists_ || !InPicture(bits_, x, y)) return 0;
    return static_cast<COLORREF>(bits_(Bits::Red, x, y)) |
           static_cast<COLORREF>(bits_(Bits::Green, x, y)) << 8 |
           static_cast<COLORREF>(bits_(Bits::Blue, x, y)) << 16;
}

void fImage::BitsPaint(int x, int y, COLORREF colour, int pressure) {
    FinishUndoWrite();
    if (!pictureExists_) return;
    const Region* region = region_.Region();
    if (region == nullptr || !InPicture(bits_, x, y) || !region->Contains(x, y)) return;
    BlendPixel(&bits_(0, x, y), ColourBgr(colour), ClampPercent(pressure) / 100.0);
}

void fImage::BitsPaintPreMasked(int x, int y, COLORREF colour, int pressure) {
    FinishUndoWrite();
    if (!pictureExists_ || !InPicture(bits_, x, y)) return;
    BlendPixel(&bits_(0, x, y), ColourBgr(colour), ClampPercent(pressure) / 100.0);
}

// How the mask is laid down is ours to choose: it is drawn `size` pixels wide (its own width when
// size < 1), its height in proportion (rounded, at least 1), scaled by nearest neighbour (drawn
// column i takes mask column i * maskW / drawnW), and centred on (x, y). The dark pixels of the
// mask (luminance 0.299 R + 0.587 G + 0.114 B below 128) are the shape: they paint the colour,
// the light ones leave the picture alone.
void fImage::BitsBWMask(int x, int y, const PlainPicture& mask, int size, COLORREF colour,
                        int pressure) {
    FinishUndoWrite();
    if (!pictureExists_) return;
    const Region* region = region_.Region();
    if (region == nullptr || mask.width < 1 || mask.height < 1) return;
    if (mask.bytes.size() <
        static_cast<std::size_t>(mask.width) * static_cast<std::size_t>(mask.height) * 4)
        return;
    const std::int64_t drawnW = size < 1 ? mask.width : size;
    const std::int64_t drawnH = std::max<std::int64_t>(
        1, static_cast<std::int64_t>(std::nearbyint(static_cast<double>(mask.height) *
                                                    static_cast<double>(drawnW) / mask.width)));
    const std::int64_t left = x - drawnW / 2;
    const std::int64_t top = y - drawnH / 2;
    const Bgr paintColour = ColourBgr(colour);
    const double a = ClampPercent(pressure) / 100.0;
    // Only the part of the drawn mask that lies on the picture is walked.
    const std::int64_t jFirst = std::max<std::int64_t>(0, -top);
    const std::int64_t jLast = std::min<std::int64_t>(drawnH, bits_.Height() - top);
    const std::int64_t iFirst = std::max<std::int64_t>(0, -left);
    const std::int64_t iLast = std::min<std::int64_t>(drawnW, bits_.Width() - left);
    for (std::int64_t j = jFirst; j < jLast; ++j) {
        const int py = static_cast<int>(top + j);
        const std::int64_t my = j * mask.height / drawnH;
        for (std::int64_t i = iFirst; i < iLast; ++i) {
            const int px = static_cast<int>(left + i);
            if (!region->Contains(px, py)) continue;
            const std::int64_t mx = i * mask.width / drawnW;
            const std::uint8_t* m =
                mask.bytes.data() + (static_cast<std::size_t>(my) * mask.width + mx) * 4;
            const double luminance =
                0.299 * m[Bits::Red] + 0.587 * m[Bits::Green] + 0.114 * m[Bits::Blue];
            if (luminance < 128.0) BlendPixel(&bits_(0, px, py), paintColour, a);
        }
    }
}

void fImage::BitsBrush(int x, int y, int size, int pressure, COLORREF colour) {
    FinishUndoWrite();
    if (!pictureExists_) return;
    const Region* region = region_.Region();
    if (region == nullptr) return;
    std::uint16_t* done = EnsureDoneBits(doneBits_, bits_);
    brushDab(bits_, *region, done, x, y, BrushRadius(size), ColourBgr(colour),
             ClampPercent(pressure) / 100.0);
}

// The segment is walked in max(|dx|, |dy|) equal steps, both ends included, each position
// rounded half to even, with one dab at each step; the stroke table keeps the overlaps of the
// dabs from painting twice.
void fImage::BitsBrushLine(int x1, int y1, int x2, int y2, int size, int pressure,
                           COLORREF colour) {
    FinishUndoWrite();
    if (!pictureExists_) return;
    const Region* region = region_.Region();
    if (region == nullptr) return;
    std::uint16_t* done = EnsureDoneBits(doneBits_, bits_);
    const int r = BrushRadius(size);
    const Bgr paintColour = ColourBgr(colour);
    const double a = ClampPercent(pressure) / 100.0;
    paint::ForEachSegmentStep(x1, y1, x2, y2, [&](int x, int y) {
        brushDab(bits_, *region, done, x, y, r, paintColour, a);
    });
}

// The airbrush builds up: it keeps no stroke table. Each selected brush pixel draws one random
// number, in the brush's walk order, and is sprayed when that number is below the quantity;
// its strength falls off from the centre by the definition. A brush of radius 0 sprays its one
// pixel at full pressure (its distance from the centre is 0).
void fImage::BitsAirbrush(int x, int y, int size, int pressure, int quantity, int definition,
                          COLORREF colour) {
    FinishUndoWrite();
    if (!pictureExists_) return;
    const Region* region = region_.Region();
    if (region == nullptr) return;
    const int r = BrushRadius(size);
    const double p = ClampPercent(pressure) / 100.0;
    const double q = ClampPercent(quantity) / 100.0;
    const double d = 1.0 - ClampPercent(definition) / 100.0;
    const Bgr paintColour = ColourBgr(colour);
    ForEachBrushPixel(bits_, *region, x, y, r, [&](std::uint8_t* px, int atX, int atY) {
        if (rnd() < q) {
            const double dx = atX - x;
            const double dy = atY - y;
            const double a = r == 0 ? p : (1.0 - std::sqrt(dx * dx + dy * dy) * d / r) * p;
            BlendPixel(px, paintColour, a);
        }
        return true;
    });
}

void fImage::BitsBrightness(int x, int y, int size, int amount, bool lighten) {
    FinishUndoWrite();
    if (!pictureExists_) return;
    const Region* region = region_.Region();
    if (region == nullptr) return;
    const double percent = ClampPercent(amount) / 100.0;
    const double factor = lighten ? 1.0 + percent : 1.0 - percent;
    std::array<std::uint8_t, 256> table{};
    for (int i = 0; i < 256; ++i)
        table[static_cast<std::size_t>(i)] =
            static_cast<std::uint8_t>(std::min(255.0, std::nearbyint(factor * i)));
    std::uint16_t* done = EnsureDoneBits(doneBits_, bits_);
    ForEachBrushPixel(bits_, *region, x, y, BrushRadius(size),
                      [&](std::uint8_t* px, int atX, int atY) {
                          std::uint16_t& entry = done[DoneIndex(bits_, atX, atY)];
                          if (entry == 0) {
                              entry = kDone;
                              for (int c = 0; c < 3; ++c)
                                  px[c] = table[px[c]];
                          }
                          return true;
                      });
}

void fImage::BitsMasked(int x, int y, const PlainPicture& stamp, int size, int pressure) {
    FinishUndoWrite();
    if (!pictureExists_) return;
    const Region* region = region_.Region();
    int tileW = 0, tileH = 0;
    if (region == nullptr || !paint::StampTile(stamp, tileW, tileH)) return;
    stampDab(bits_, *region, x, y, BrushRadius(size), stamp, tileW, tileH,
             ClampPercent(pressure) / 100.0);
}

// The segment is walked as BitsBrushLine walks it, one stamp dab at each step.
void fImage::BitsMaskedLine(int x1, int y1, int x2, int y2, const PlainPicture& stamp, int size,
                            int pressure) {
    FinishUndoWrite();
    if (!pictureExists_) return;
    const Region* region = region_.Region();
    int tileW = 0, tileH = 0;
    if (region == nullptr || !paint::StampTile(stamp, tileW, tileH)) return;
    const int r = BrushRadius(size);
    const double a = ClampPercent(pressure) / 100.0;
    paint::ForEachSegmentStep(x1, y1, x2, y2, [&](int x, int y) {
        stampDab(bits_, *region, x, y, r, stamp, tileW, tileH, a);
    });
}

// Softening works in place: the brush is walked row by row and later pixels read what earlier
// ones wrote. The weight w of the centre falls from 10 (amount 0, least soft) to 0 (amount 100,
// the plain mean of the four neighbours). Without overlay a pixel this stroke already softened
// ends the brush's row there; with overlay it is softened again.
void fImage::BitsSoften(int x, int y, int size, int amount, bool overlay) {
    FinishUndoWrite();
    if (!pictureExists_) return;
    const Region* region = region_.Region();
    if (region == nullptr) return;
    const int w = static_cast<int>(std::nearbyint(10.0 - ClampPercent(amount) / 10.0));
    const int divisor = w + 4;
    const std::ptrdiff_t stride = bits_.Stride();
    std::uint16_t* done = EnsureDoneBits(doneBits_, bits_);
    ForEachBrushPixel(
        bits_, *region, x, y, BrushRadius(size), [&](std::uint8_t* px, int atX, int atY) {
            std::uint16_t& entry = done[DoneIndex(bits_, atX, atY)];
            if (!overlay && entry != 0) return false;
            entry = kDone;
            // The neighbours of an edge pixel are read from the margin.
            for (int c = 0; c < 3; ++c)
                px[c] = static_cast<std::uint8_t>(
                    (px[c - 4] + px[c + 4] + px[c - stride] + px[c + stride] + px[c] * w) /
                    divisor);
            return true;
        });
}

// The same in-place walk; the centre weighs 15 at amount 0 down to 8 at amount 100. A pixel the
// stroke already sharpened is passed over (the walk goes on along its row).
void fImage::BitsSharpen(int x, int y, int size, int amount) {
    FinishUndoWrite();
    if (!pictureExists_) return;
    const Region* region = region_.Region();
    if (region == nullptr) return;
    const int w = static_cast<int>(std::nearbyint(15.0 - ClampPercent(amount) / 15.0));
    const int divisor = w - 4;
    const std::ptrdiff_t stride = bits_.Stride();
    std::uint16_t* done = EnsureDoneBits(doneBits_, bits_);
    ForEachBrushPixel(
        bits_, *region, x, y, BrushRadius(size), [&](std::uint8_t* px, int atX, int atY) {
            std::uint16_t& entry = done[DoneIndex(bits_, atX, atY)];
            if (entry != 0) return true;
            entry = kDone;
            for (int c = 0; c < 3; ++c) {
                const int v =
                    (px[c] * w - px[c - 4] - px[c + 4] - px[c - stride] - px[c + stride]) / divisor;
                px[c] = static_cast<std::uint8_t>(std::clamp(v, 0, 255));
            }
            return true;
        });
}

} // namespace velmar
