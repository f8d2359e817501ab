#pragma once
// Spreads the rows of a picture operation over threads.
//
// Rows are handed out in small chunks from a shared counter, so a selection whose rows differ in
// cost (an ellipse) still keeps every thread busy. The calling thread works too, and it alone
// calls `afterRow`, which is where progress is reported: progress callbacks never run on a helper
// thread. The first exception of any thread stops the others and is rethrown here, after every
// thread has finished, so the caller never sees a half-running operation.
//
// The row function must only write memory that belongs to its row; then the result does not
// depend on the number of threads.
#include <algorithm>
#include <atomic>
#include <cstdint>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace velmar::filters {

// Rows a thread takes at a time: enough to make the shared counter cheap, few enough to balance.
inline constexpr int kRowChunk = 8;
// Below this many rows the threads cost more than they save.
inline constexpr int kParallelMinRows = 4 * kRowChunk;

template <class RowFn, class AfterRow>
void runRows(int first, int last, int threads, RowFn&& rowFn, AfterRow&& afterRow) {
    if (last < first) return;
    const std::int64_t count = std::int64_t{last} - first + 1;
    if (threads <= 1 || count < kParallelMinRows) {
        for (int y = first; y <= last; ++y) {
            rowFn(y);
            afterRow(y);
        }
        return;
    }

    std::atomic<std::int64_t> next{first};
    std::atomic<bool> stop{false};
    std::exception_ptr failure;
    std::mutex failureMutex;
    auto work = [&](bool caller) {
        try {
            while (!stop.load(std::memory_order_relaxed)) {
                const std::int64_t y0 = next.fetch_add(kRowChunk, std::memory_order_relaxed);
                if (y0 > last) return;
                const int y1 = static_cast<int>(std::min<std::int64_t>(last, y0 + kRowChunk - 1));
                for (int y = static_cast<int>(y0); y <= y1; ++y) {
                    rowFn(y);
                    if (caller) afterRow(y);
                }
            }
        } catch (...) {
            std::lock_guard lock(failureMutex);
            if (!failure) failure = std::current_exception();
            stop.store(true, std::memory_order_relaxed);
        }
    };
    {
        std::vector<std::jthread> helpers;
        const int extra = static_cast<int>(std::min<std::int64_t>(threads - 1, count / kRowChunk));
        helpers.reserve(static_cast<std::size_t>(extra));
        for (int i = 0; i < extra; ++i)
            helpers.emplace_back(work, false);
        work(true);
    } // the helpers join here
    if (failure) std::rethrow_exception(failure);
}

// The default number of threads: the machine's cores.
inline int machineThreads() noexcept {
    const unsigned n = std::thread::hardware_concurrency();
    return n == 0 ? 1 : static_cast<int>(std::min(n, 64u));
}

} // namespace velmar::filters
