// Recording an undo state of a 6000x4000 picture against the plain write of as many bytes to a
// file in the same folder: a state should cost what the disk costs and no more (target: within
// 1.2 times the plain write). Wall-clock time, since the kernel's share is the point.
//
// The saves run past ten states, so the steady state includes the rotation (one file dropped,
// ten renamed), as a long editing session has it.
#include "benchFolder.h"
#include "document/fImage.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace velmar {
namespace {

constexpr int kW = 6000, kH = 4000;

using bench::BenchFolder;

// The same bytes, one open, one write, one close, overwriting one file, as the simplest program
// would. It pays for truncating its previous content (on ext4 also a write-out at the close of a
// truncated file), which the save avoids by unlinking first. False when it failed.
bool plainWrite(const std::filesystem::path& file, const std::vector<std::uint8_t>& bytes) {
    const int fd = ::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    std::size_t done = 0;
    while (fd >= 0 && done < bytes.size()) {
        const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (n <= 0) break;
        done += static_cast<std::size_t>(n);
    }
    return fd >= 0 && ::close(fd) == 0 && done == bytes.size();
}

// Each iteration times one save and one plain write back to back, so that both meet the same
// state of the page cache and the disk (which other programs share); the benchmark's time is
// the save's, the counters give the plain write's and the ratio of the totals.
void BM_SaveUndoBitsAgainstPlainWrite(benchmark::State& state) {
    using Clock = std::chrono::steady_clock;
    BenchFolder folder;
    fImage doc(1, folder.path());
    doc.CreateBlank(kW, kH);
    const std::vector<std::uint8_t> bytes(doc.Bits().SizeBytes() + 40, 1);
    const auto plainFile = folder.path() / "plain.dat";
    double saveSeconds = 0, plainSeconds = 0;
    for (auto _ : state) {
        const auto t0 = Clock::now();
        doc.SaveUndoBits();
        const auto t1 = Clock::now();
        if (!plainWrite(plainFile, bytes)) {
            state.SkipWithError("the plain write failed");
            break;
        }
        const auto t2 = Clock::now();
        const double save = std::chrono::duration<double>(t1 - t0).count();
        saveSeconds += save;
        plainSeconds += std::chrono::duration<double>(t2 - t1).count();
        state.SetIterationTime(save);
    }
    const auto n = static_cast<double>(std::max<std::int64_t>(state.iterations(), 1));
    state.counters["plain_ms"] = 1000 * plainSeconds / n;
    state.counters["save_ms"] = 1000 * saveSeconds / n;
    state.counters["ratio"] = plainSeconds > 0 ? saveSeconds / plainSeconds : 0;
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes.size()));
}
BENCHMARK(BM_SaveUndoBitsAgainstPlainWrite)->Unit(benchmark::kMillisecond)->UseManualTime();

} // namespace
} // namespace velmar
