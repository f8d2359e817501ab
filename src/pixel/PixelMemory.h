#pragma once
// Pixel memory. Large blocks ask the kernel for transparent huge pages: touching a fresh 96 MB
// picture in 4 KB pages costs more than most filters, and with 2 MB pages it is a fraction of
// that. Large blocks that are let go are also kept for the next request of the same size, so a
// filter applied again and again (a live preview, a benchmark, a batch) pays no page faults at
// all after its first call.
#include <cstddef>
#include <cstdint>
#include <memory>

namespace velmar {

struct PixelMemoryFree {
    std::size_t bytes = 0; // the rounded size of the block, which the recycling keys on
    void operator()(std::uint8_t* p) const noexcept;
};
using PixelMemory = std::unique_ptr<std::uint8_t[], PixelMemoryFree>;

// Returns `bytes` zeroed bytes aligned to at least 64. Throws std::bad_alloc when the block
// cannot be had; a size of 0 gives an empty pointer.
PixelMemory allocatePixels(std::size_t bytes);

// The same block without the zero fill: its contents are whatever the memory held. Only for
// code that writes every byte before reading any (the filter frame's working copy).
PixelMemory allocatePixelsUninitialised(std::size_t bytes);

// Gives every kept block back to the system. For a program about to do other memory-hungry work
// with no further pictures of the same size to come (velmar-cli before it encodes its output).
void releaseKeptPixels() noexcept;

} // namespace velmar
