// Resampling and rotation. The three operations that change the picture's size leave their result
// in the object; they run on a second object (so that the source stays 6000x4000) and count the
// source's pixels. They do not look at the selection, so only the whole picture is timed.
#include "filterBench.h"

#include <string>

namespace velmar::bench {
namespace {

void registerSized(const char* name, void (*run)(cBitFilter& target, const Bits& source)) {
    for (const int threads : {1, 2}) {
        const std::string full = std::string(name) + "/whole/" + std::to_string(threads);
        benchmark::RegisterBenchmark(full.c_str(),
                                     [run, threads](benchmark::State& state) {
                                         cBitFilter target;
                                         target.SetThreads(threads);
                                         const Bits& source = benchPicture();
                                         for (auto _ : state) {
                                             run(target, source);
                                             benchmark::DoNotOptimize(target.BitsView().Data());
                                         }
                                         state.counters["MPix/s"] = benchmark::Counter(
                                             static_cast<double>(kW) * kH *
                                                 static_cast<double>(state.iterations()) / 1e6,
                                             benchmark::Counter::kIsRate);
                                     })
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime()
            ->MinWarmUpTime(1.0);
    }
}

const bool registered = [] {
    registerSized("BitsResize/half",
                  [](cBitFilter& t, const Bits& s) { t.BitsResize(s, kW / 2, kH / 2); });
    registerSized("BitsResize/double",
                  [](cBitFilter& t, const Bits& s) { t.BitsResize(s, kW * 2, kH * 2); });
    registerSized("BitsResample/half",
                  [](cBitFilter& t, const Bits& s) { t.BitsResample(s, kW / 2, kH / 2); });
    registerSized("BitsResample/double",
                  [](cBitFilter& t, const Bits& s) { t.BitsResample(s, kW * 2, kH * 2); });
    registerSized("BitsRotate90", [](cBitFilter& t, const Bits& s) { t.BitsRotate90(s); });
    registerFilters({
        {"RotateSmooth", [](cBitFilter& f) { return f.RotateSmooth(30.0); }},
    });
    return true;
}();

} // namespace
} // namespace velmar::bench
