// The selection as the filters meet it: walking the selected pixels of a 6000x4000 picture
// through the span walk (ellipse, 200-corner polygon, and the plain box for comparison), the
// per-pixel point test the walk replaces, and the cost of making and combining the shapes.
//
// Walks report items = pixels of the box, so their rates compare directly: the walk of a shape
// should cost no more per box pixel than the walk of its bounding rectangle.
#include "pixel/Bits.h"
#include "pixel/Region.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <numbers>
#include <vector>

namespace velmar {
namespace {

constexpr int kW = 6000, kH = 4000;
constexpr std::int64_t kBoxPixels = std::int64_t{kW} * kH;

// One picture for every walk, touched once, so page faults stay out of the timings.
Bits& Picture() {
    static Bits bits = [] {
        Bits b(kW, kH);
        std::memset(b.Data(), 0x5a, b.SizeBytes());
        return b;
    }();
    return bits;
}

// A star of 100 spikes (200 corners) with a wobble, filling most of the box.
std::vector<IntPoint> StarCorners() {
    std::vector<IntPoint> p;
    for (int k = 0; k < 200; ++k) {
        const double a = 2 * std::numbers::pi * k / 200;
        const double r = (k % 2 == 0 ? 1.0 : 0.86) * (0.97 + 0.03 * std::sin(7 * a));
        p.push_back({static_cast<int>(std::lround(kW / 2.0 + (kW / 2.0 - 1) * r * std::cos(a))),
                     static_cast<int>(std::lround(kH / 2.0 + (kH / 2.0 - 1) * r * std::sin(a)))});
    }
    return p;
}

// Inverts blue, green and red of one run of pixels; the mask byte stays.
inline void InvertRun(std::uint8_t* __restrict p, int n) {
    for (int i = 0; i < n; ++i) {
        std::uint32_t v;
        std::memcpy(&v, p + 4 * i, 4);
        v ^= 0x00FFFFFFu;
        std::memcpy(p + 4 * i, &v, 4);
    }
}

void WalkRegion(benchmark::State& state, const Region& region) {
    Bits& bits = Picture();
    std::int64_t selected = 0;
    region.ForEachSpan(0, kH, 0, kW, [&](int, int x0, int x1) { selected += x1 - x0; });
    for (auto _ : state) {
        region.ForEachSpan(0, kH, 0, kW, [&bits](int y, int x0, int x1) {
            InvertRun(bits.Row(y) + 4 * x0, x1 - x0);
        });
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kBoxPixels);
    state.SetBytesProcessed(state.iterations() * kBoxPixels * 4);
    state.counters["selected%"] =
        100.0 * static_cast<double>(selected) / static_cast<double>(kBoxPixels);
}

void BM_WalkEllipse(benchmark::State& state) {
    WalkRegion(state, Region::Ellipse(0, 0, kW, kH));
}
BENCHMARK(BM_WalkEllipse)->Unit(benchmark::kMillisecond);

void BM_WalkPolygon200(benchmark::State& state) {
    const std::vector<IntPoint> star = StarCorners();
    WalkRegion(state, Region::Polygon(star));
}
BENCHMARK(BM_WalkPolygon200)->Unit(benchmark::kMillisecond);

void BM_WalkRect(benchmark::State& state) {
    WalkRegion(state, Region::Rect(0, 0, kW, kH));
}
BENCHMARK(BM_WalkRect)->Unit(benchmark::kMillisecond);

// A rectangle of the middle 80% of the columns: one span per row like the ellipse, but no
// curve. Rows that stop short of the picture's width break the one long memory stream of the
// full box, and with a vectorised kernel that costs more than the skipped pixels save.
void BM_WalkRectMiddle80(benchmark::State& state) {
    WalkRegion(state, Region::Rect(kW / 10, 0, kW - kW / 10, kH));
}
BENCHMARK(BM_WalkRectMiddle80)->Unit(benchmark::kMillisecond);

// The walk with no pixel work: what the region itself costs a filter per picture.
void WalkOnly(benchmark::State& state, const Region& region) {
    for (auto _ : state) {
        std::int64_t selected = 0;
        region.ForEachSpan(0, kH, 0, kW, [&](int, int x0, int x1) { selected += x1 - x0; });
        benchmark::DoNotOptimize(selected);
    }
    state.SetItemsProcessed(state.iterations() * kBoxPixels);
}

void BM_WalkOnlyEllipse(benchmark::State& state) {
    WalkOnly(state, Region::Ellipse(0, 0, kW, kH));
}
BENCHMARK(BM_WalkOnlyEllipse)->Unit(benchmark::kMicrosecond);

void BM_WalkOnlyPolygon200(benchmark::State& state) {
    const std::vector<IntPoint> star = StarCorners();
    WalkOnly(state, Region::Polygon(star));
}
BENCHMARK(BM_WalkOnlyPolygon200)->Unit(benchmark::kMicrosecond);

// The same work with no region at all: the floor any walk is measured against. The width is
// hidden from the compiler, as a span's length is, so that both loops compile alike.
void BM_WalkNoRegion(benchmark::State& state) {
    Bits& bits = Picture();
    int width = kW;
    benchmark::DoNotOptimize(width);
    for (auto _ : state) {
        for (int y = 0; y < kH; ++y)
            InvertRun(bits.Row(y), width);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kBoxPixels);
    state.SetBytesProcessed(state.iterations() * kBoxPixels * 4);
}
BENCHMARK(BM_WalkNoRegion)->Unit(benchmark::kMillisecond);

// What a filter without the walk does: a point test for every pixel of the box.
void PointTestEveryPixel(benchmark::State& state, const Region& region) {
    Bits& bits = Picture();
    for (auto _ : state) {
        for (int y = 0; y < kH; ++y) {
            std::uint8_t* row = bits.Row(y);
            for (int x = 0; x < kW; ++x)
                if (region.Contains(x, y)) InvertRun(row + 4 * x, 1);
        }
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kBoxPixels);
}

void BM_PointTestEllipse(benchmark::State& state) {
    PointTestEveryPixel(state, Region::Ellipse(0, 0, kW, kH));
}
BENCHMARK(BM_PointTestEllipse)->Unit(benchmark::kMillisecond);

void BM_PointTestPolygon200(benchmark::State& state) {
    const std::vector<IntPoint> star = StarCorners();
    PointTestEveryPixel(state, Region::Polygon(star));
}
BENCHMARK(BM_PointTestPolygon200)->Unit(benchmark::kMillisecond);

void BM_CreateEllipse(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(Region::Ellipse(0, 0, kW, kH));
}
BENCHMARK(BM_CreateEllipse)->Unit(benchmark::kMicrosecond);

void BM_CreatePolygon200(benchmark::State& state) {
    const std::vector<IntPoint> star = StarCorners();
    for (auto _ : state)
        benchmark::DoNotOptimize(Region::Polygon(star));
}
BENCHMARK(BM_CreatePolygon200)->Unit(benchmark::kMicrosecond);

void BM_CombineEllipseXorPolygon(benchmark::State& state) {
    const std::vector<IntPoint> star = StarCorners();
    const Region ellipse = Region::Ellipse(0, 0, kW, kH);
    const Region polygon = Region::Polygon(star);
    for (auto _ : state)
        benchmark::DoNotOptimize(Region::Combine(ellipse, polygon, CombineMode::Xor));
}
BENCHMARK(BM_CombineEllipseXorPolygon)->Unit(benchmark::kMicrosecond);

// The scaled copy is rebuilt from a rectangle list, and the outline is its Frame(1, 1).
void BM_FromRectsEllipse(benchmark::State& state) {
    const std::vector<IntRect> rects = Region::Ellipse(0, 0, kW, kH).Rects();
    for (auto _ : state)
        benchmark::DoNotOptimize(Region::FromRects(rects));
}
BENCHMARK(BM_FromRectsEllipse)->Unit(benchmark::kMicrosecond);

void BM_FrameEllipse(benchmark::State& state) {
    const Region ellipse = Region::Ellipse(0, 0, kW, kH);
    for (auto _ : state)
        benchmark::DoNotOptimize(ellipse.Frame(1, 1));
}
BENCHMARK(BM_FrameEllipse)->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace velmar
