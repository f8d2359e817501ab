#pragma once
// The frame of the deformations that test the selection at the source position, shared by
// deform.cpp (which owns it) and glass.cpp.
//
// The destination loop covers the whole box of the selection, so pixels in the box but outside
// the selection can change. For each destination pixel the map gives a source position; when the
// selection holds that position, channels 0..2 are copied from it (the destination keeps its own
// mask byte); otherwise a clean run writes black and any other leaves the pixel alone. The map is
// called once per row with whole runs of positions, which keeps the per-pixel work in a loop the
// compiler can vectorise; the std::function call is per row, not per pixel.
#include "filters/cBitFilter.h"

#include <cstdint>
#include <functional>

namespace velmar::filters {

// A row of source positions: sx[i], sy[i] for the destination (x0 + i, y), i < n.
using SourceRowMap = std::function<void(std::int32_t y, std::int32_t x0, std::int32_t n,
                                        std::int32_t* sx, std::int32_t* sy)>;

// Runs the frame; lastSx and lastSy receive the position of the last pixel of the loop.
velmar::Bits runSourceMapped(cBitFilter& f, std::int32_t& lastSx, std::int32_t& lastSy,
                             const std::function<void(std::int32_t)>& progressStep, bool clean,
                             const SourceRowMap& map);

} // namespace velmar::filters
