#pragma once
// The filter benchmarks: every filter on a 6000x4000 picture, over the whole picture and over an
// elliptic selection of about half its area, on one thread and on two. The time is that of the
// whole call, the result's memory included, and the rate (MPix/s) counts selected pixels, so the
// two selections compare per pixel.
#include "filters/cBitFilter.h"
#include "pixel/Bits.h"
#include "pixel/Region.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>

namespace velmar::bench {

constexpr int kW = 6000, kH = 4000;

// A picture of varied colours (a hash of the position), built once.
inline const Bits& benchPicture() {
    static const Bits picture = [] {
        Bits b(kW, kH);
        std::uint32_t h = 2166136261u;
        for (int y = 0; y < kH; ++y) {
            std::uint8_t* row = b.Row(y);
            for (int i = 0; i < kW * 4; ++i) {
                h = (h ^ static_cast<std::uint32_t>(i + y)) * 16777619u;
                row[i] = static_cast<std::uint8_t>(h >> 13);
            }
        }
        return b;
    }();
    return picture;
}

// An ellipse of 0.8 times the picture in each direction: pi/4 * 0.64, about half the area.
inline const Region& halfEllipse() {
    static const Region r =
        Region::Ellipse(kW / 10, kH / 10, kW - kW / 10, kH - kH / 10);
    return r;
}

inline std::int64_t selectedPixels(const Region* r) {
    if (r == nullptr) return std::int64_t{kW} * kH;
    std::int64_t n = 0;
    r->ForEachSpan(0, kH, 0, kW, [&](int, int x0, int x1) { n += x1 - x0; });
    return n;
}

struct FilterCase {
    const char* name;
    std::function<Bits(cBitFilter&)> run;
};

// Registers name/whole/1, name/whole/2, name/ellipse/1 and name/ellipse/2 for each case.
inline void registerFilters(std::initializer_list<FilterCase> cases) {
    for (const FilterCase& c : cases) {
        for (const bool ellipse : {false, true}) {
            for (const int threads : {1, 2}) {
                const std::string name = std::string(c.name) + (ellipse ? "/ellipse/" : "/whole/") +
                                         std::to_string(threads);
                auto run = c.run;
                benchmark::RegisterBenchmark(name.c_str(), [run, ellipse,
                                                            threads](benchmark::State& state) {
                    cBitFilter f;
                    f.Bits(benchPicture().clone());
                    const Region* region = ellipse ? &halfEllipse() : nullptr;
                    f.BitsRegion(region);
                    f.SetThreads(threads);
                    for (auto _ : state) {
                        Bits out = run(f);
                        benchmark::DoNotOptimize(out.Data());
                    }
                    const double pixels = static_cast<double>(selectedPixels(region));
                    state.counters["MPix/s"] = benchmark::Counter(
                        pixels * static_cast<double>(state.iterations()) / 1e6,
                        benchmark::Counter::kIsRate);
                })
                    ->Unit(benchmark::kMillisecond)
                    ->UseRealTime()
                    // The first calls fault the recycled result memory in; time the steady state.
                    ->MinWarmUpTime(0.1);
            }
        }
    }
}

} // namespace velmar::bench
