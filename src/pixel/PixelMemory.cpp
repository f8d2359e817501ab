#include "pixel/PixelMemory.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <sys/mman.h>

namespace velmar {

namespace {
constexpr std::size_t kHugePage = std::size_t{2} << 20;
constexpr std::size_t kCacheLine = 64;
} // namespace

void PixelMemoryFree::operator()(std::uint8_t* p) const noexcept {
    std::free(p);
}

PixelMemory allocatePixels(std::size_t bytes) {
    if (bytes == 0) return {};
    const bool huge = bytes >= 2 * kHugePage;
    const std::size_t align = huge ? kHugePage : kCacheLine;
    const std::size_t rounded = (bytes + align - 1) / align * align;
    if (rounded < bytes) throw std::bad_alloc();
    void* p = nullptr;
    if (posix_memalign(&p, align, rounded) != 0 || p == nullptr) throw std::bad_alloc();
    if (huge) madvise(p, rounded, MADV_HUGEPAGE); // a hint only: failure costs speed, not data
    std::memset(p, 0, bytes);
    return PixelMemory(static_cast<std::uint8_t*>(p));
}

} // namespace velmar
