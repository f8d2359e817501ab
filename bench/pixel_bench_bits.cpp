// Costs of holding pictures: allocating a fresh 6000x4000 array (zeroed, margin included),
// the explicit whole copy, and the section resample.
#include "pixel/Bits.h"
#include "pixel/cDIBSection.h"

#include <benchmark/benchmark.h>

namespace velmar {
namespace {

constexpr int kW = 6000, kH = 4000;

void BM_BitsAllocate(benchmark::State& state) {
    for (auto _ : state) {
        Bits bits(kW, kH);
        benchmark::DoNotOptimize(bits.Data());
    }
    state.SetItemsProcessed(state.iterations() * kW * kH);
}
BENCHMARK(BM_BitsAllocate)->Unit(benchmark::kMillisecond);

void BM_BitsClone(benchmark::State& state) {
    const Bits bits(kW, kH);
    for (auto _ : state) {
        Bits copy = bits.clone();
        benchmark::DoNotOptimize(copy.Data());
    }
    state.SetItemsProcessed(state.iterations() * kW * kH);
}
BENCHMARK(BM_BitsClone)->Unit(benchmark::kMillisecond);

void BM_SectionResampleHalf(benchmark::State& state) {
    cDIBSection s;
    s.Create(kW, kH);
    s.RandomiseBits(false);
    for (auto _ : state) {
        auto out = s.Resample(kH / 2, kW / 2);
        benchmark::DoNotOptimize(out->DIBSectionBitsPtr());
    }
    state.SetItemsProcessed(state.iterations() * (kW / 2) * (kH / 2));
}
BENCHMARK(BM_SectionResampleHalf)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace velmar
