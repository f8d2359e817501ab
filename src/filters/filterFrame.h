#pragma once
// The frame every standard filter runs in, written once.
//
// 1. The working copy: rows of the source are copied into an unfilled array as the loop reaches
//    them, except the selected spans, which the kernel writes whole; so the copy and the filter
//    share one pass over memory. All reads go to the source, all writes to the copy: no filter
//    sees its own output, and pixels left alone keep their value.
// 2. The box of the selection with the filter's margin.
// 3. For each row of the box, the kernel is called once per selected span of the row. Only
//    selected pixels are handed over, exactly those the selection's point test accepts.
// 4. Progress after each row, by the 10 ms rule, from the calling thread.
// 5. Progress 100, and the copy is the result.
//
// Rows go to several threads unless the filter says they must run in order. The loop fields x
// and y of the object are left as the row loop leaves them.
#include "filters/cBitFilter.h"
#include "filters/pixelWord.h"
#include "filters/rowRunner.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace velmar {

struct FrameOptions {
    std::int32_t margin = 0;
    // Scanlines changes every second row from the box top.
    std::int32_t rowStep = 1;
    // The rows depend on each other (error diffusion, carried values) or on one random sequence.
    bool sequential = false;
    // The whole working copy exists before the first row runs: for a filter that writes into
    // its own source as it goes, whose unselected pixels must still keep their first values.
    bool copyFirst = false;
    // The bottom row of the picture reads the working copy of the row above it, so it runs
    // after every other row has been written.
    bool lastRowLast = false;
    // Progress names the row of the filter's own loop, which for a filter that writes below and
    // right of its loop position (MaskFilter) lies this many rows from the row written.
    std::int32_t progressRowOffset = 0;
};

// One row of the frame as a kernel sees it. src and out point at channel 0 of pixel (0, y);
// neighbours are src + dx * 4 + dy * stride. A kernel writes all four bytes of every pixel of
// its span: channels it leaves alone (the mask byte, as a rule) it copies from the source.
struct FrameRow {
    const std::uint8_t* src;
    std::uint8_t* out;
    std::ptrdiff_t stride;
    std::int32_t y;
};

class FilterFrame {
  public:
    // Runs kernel(row, x0, x1) over the pixels x0..x1-1 of each selected span and returns the
    // working copy.
    template <class Kernel>
    static velmar::Bits Run(cBitFilter& f, const FrameOptions& options, Kernel&& kernel);

    // Calls fn(x0, x1) for each selected span of row y within columns left..right (inclusive).
    template <class Fn>
    static void ForEachSelected(const cBitFilter& f, std::int32_t y, std::int32_t left,
                                std::int32_t right, Fn&& fn) {
        if (left > right) return;
        if (f.region_ == nullptr) {
            fn(left, right + 1);
            return;
        }
        f.region_->ForEachSpan(y, y + 1, left, right + 1,
                               [&](int, int x0, int x1) { fn(x0, x1); });
    }

    // Computes rowValue(y) for every row 0..H1 of the picture (on all threads) and returns the
    // sum, added in row order so the total never depends on the threads. With `progress`, the
    // rows report progress and a 100 ends the pass.
    template <class T, class RowValue>
    static T SumRows(cBitFilter& f, bool progress, RowValue&& rowValue) {
        const std::int32_t rows = f.H1_ + 1;
        std::vector<T> values(static_cast<std::size_t>(std::max(rows, 0)));
        filters::runRows(
            0, f.H1_, f.threads_, [&](int y) { values[static_cast<std::size_t>(y)] = rowValue(y); },
            [&](int y) {
                if (progress) f.ProgressStep(y);
            });
        T total{};
        for (const T& v : values)
            total += v;
        if (progress) f.ProgressDone();
        return total;
    }

    // The box cut to the picture: a selection handed to filters lies inside the picture, and
    // this keeps a stray one from reading outside the array.
    static cBitFilter::Box ClippedBox(const cBitFilter& f) {
        cBitFilter::Box b = f.box_;
        b.left = std::max(b.left, 0);
        b.top = std::max(b.top, 0);
        b.right = std::min(b.right, f.W1_);
        b.bottom = std::min(b.bottom, f.H1_);
        return b;
    }

    // Leaves the loop fields as a row loop from box top to box bottom (by `step`) with a column
    // loop from box left to box right leaves them.
    static void LeaveLoopFields(cBitFilter& f, const cBitFilter::Box& box, std::int32_t step);
};

template <class Kernel>
velmar::Bits FilterFrame::Run(cBitFilter& f, const FrameOptions& options, Kernel&& kernel) {
    const velmar::Bits& src = f.bits_;
    f.RegionBox(options.margin);
    if (!src.IsAllocated()) {
        f.ProgressDone();
        return {};
    }
    const cBitFilter::Box box = f.box_;
    const cBitFilter::Box cut = ClippedBox(f);
    const std::int32_t step = options.rowStep < 1 ? 1 : options.rowStep;

    velmar::Bits out = options.copyFirst ? src.clone()
                                      : velmar::Bits::Uninitialised(src.Width(), src.Height());
    const std::ptrdiff_t stride = src.Stride();
    const std::size_t rowBytes = static_cast<std::size_t>(stride);
    constexpr std::ptrdiff_t kLead = velmar::Bits::kMargin * velmar::Bits::kChannels;

    auto inLoop = [&](int y) {
        return y >= cut.top && y <= cut.bottom && (y - box.top) % step == 0;
    };
    auto rowFn = [&](int y) {
        const FrameRow row{src.Row(y), out.Row(y), stride, y};
        if (!inLoop(y)) {
            if (!options.copyFirst) std::memcpy(row.out - kLead, row.src - kLead, rowBytes);
            return;
        }
        // Pixels from `done` on are not written yet; the gaps between spans are copied.
        std::int32_t done = -velmar::Bits::kMargin;
        auto copyUpTo = [&](std::int32_t x) {
            if (!options.copyFirst && x > done)
                std::memcpy(row.out + done * 4, row.src + done * 4,
                            static_cast<std::size_t>(x - done) * 4);
        };
        ForEachSelected(f, y, cut.left, cut.right, [&](std::int32_t x0, std::int32_t x1) {
            copyUpTo(x0);
            kernel(row, x0, x1);
            done = x1;
        });
        copyUpTo(src.Width() + velmar::Bits::kMargin);
    };
    auto afterRow = [&](int y) {
        if (inLoop(y)) f.ProgressStep(y + options.progressRowOffset);
    };

    const int threads = options.sequential ? 1 : f.threads_;
    const int firstRow = -velmar::Bits::kMargin;
    const int lastRow = src.Height() - 1 + velmar::Bits::kMargin;
    if (options.lastRowLast && f.H1_ >= 0) {
        // Everything but the bottom row first, then the bottom row, on the calling thread.
        filters::runRows(firstRow, f.H1_ - 1, threads, rowFn, afterRow);
        filters::runRows(f.H1_ + 1, lastRow, threads, rowFn, [](int) {});
        rowFn(f.H1_);
        afterRow(f.H1_);
    } else {
        filters::runRows(firstRow, lastRow, threads, rowFn, afterRow);
    }
    LeaveLoopFields(f, box, step);
    f.ProgressDone();
    return out;
}

} // namespace velmar
