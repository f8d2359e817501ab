// The painting primitives at the speed a user meets them.
//
// Flood fill: a 6000x4000 picture of one colour, filled from its centre with tolerance 0, over
// the whole picture and over an elliptic selection of about half of it. Each iteration is what
// the Fill tool does at a click: a fresh stroke table, then the fill. The colours alternate so
// every iteration paints every selected pixel. Rate: selected pixels per second (target: at
// least 50 MPix/s over the whole picture).
//
// Brush stroke: one 200-pixel BitsBrushLine of size 30 (radius 15, 709 pixels a dab, 201 dabs)
// on a 1000x1000 picture; the stroke table is made outside the timing, as the tool makes it once
// at the mouse down. Rate: dab pixels visited per second.
#include "document/fImage.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <filesystem>

namespace velmar {
namespace {

constexpr int kW = 6000, kH = 4000;

void FloodFill(benchmark::State& state) {
    const bool ellipse = state.range(0) != 0;
    // The document writes nothing to its folder unless an undo state is saved.
    fImage doc(1, std::filesystem::temp_directory_path());
    doc.CreateBlank(kW, kH);
    if (ellipse)
        doc.BitsRegion().CreateEllipse(kW / 10, kH / 10, kW - kW / 10, kH - kH / 10, 5, true);
    else
        doc.SelectWholePicture();
    std::int64_t selected = 0;
    doc.BitsRegion().Region()->ForEachSpan(0, kH, 0, kW,
                                           [&](int, int x0, int x1) { selected += x1 - x0; });
    const COLORREF colours[2] = {0x2040C0, 0x000000};
    int turn = 0;
    for (auto _ : state) {
        doc.CreateDoneBitsTable();
        doc.BitsFill(kW / 2, kH / 2, colours[turn], 0, 100);
        turn ^= 1;
        benchmark::DoNotOptimize(doc.Bits().Data());
    }
    state.counters["MPix/s"] = benchmark::Counter(static_cast<double>(selected) *
                                                      static_cast<double>(state.iterations()) / 1e6,
                                                  benchmark::Counter::kIsRate);
}
BENCHMARK(FloodFill)->ArgName("ellipse")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void BrushStroke(benchmark::State& state) {
    constexpr int kSide = 1000;
    fImage doc(1, std::filesystem::temp_directory_path());
    doc.CreateBlank(kSide, kSide);
    doc.SelectWholePicture();
    for (auto _ : state) {
        state.PauseTiming();
        doc.CreateDoneBitsTable();
        state.ResumeTiming();
        doc.BitsBrushLine(400, 500, 600, 500, 30, 60, 0x20A0F0);
        benchmark::DoNotOptimize(doc.Bits().Data());
    }
    constexpr double kDabPixels = 709.0 * 201.0;
    state.counters["MPix/s"] = benchmark::Counter(
        kDabPixels * static_cast<double>(state.iterations()) / 1e6, benchmark::Counter::kIsRate);
}
BENCHMARK(BrushStroke)->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace velmar
