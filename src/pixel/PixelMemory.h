#pragma once
// Zero-filled pixel memory. Large blocks ask the kernel for transparent huge pages: touching a
// fresh 96 MB picture in 4 KB pages costs more than most filters, and with 2 MB pages it is a
// fraction of that.
#include <cstddef>
#include <cstdint>
#include <memory>

namespace velmar {

struct PixelMemoryFree {
    void operator()(std::uint8_t* p) const noexcept;
};
using PixelMemory = std::unique_ptr<std::uint8_t[], PixelMemoryFree>;

// Returns `bytes` zeroed bytes aligned to at least 64. Throws std::bad_alloc when the block
// cannot be had; a size of 0 gives an empty pointer.
PixelMemory allocatePixels(std::size_t bytes);

} // namespace velmar
