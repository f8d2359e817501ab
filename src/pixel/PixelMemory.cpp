#include "pixel/PixelMemory.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <sys/mman.h>

namespace velmar {

namespace {
constexpr std::size_t kHugePage = std::size_t{2} << 20;
constexpr std::size_t kCacheLine = 64;

// Blocks of at least this size are recycled. A handful of blocks is enough: a filter holds its
// source and its result, the document one more.
constexpr std::size_t kRecycleFrom = 2 * kHugePage;
constexpr std::size_t kKeptBlocks = 3;
constexpr std::size_t kKeptBytesLimit = std::size_t{1} << 30;

class BlockStore {
  public:
    ~BlockStore() {
        for (auto& b : blocks_)
            std::free(b.p);
    }

    void* take(std::size_t bytes) {
        std::lock_guard lock(mutex_);
        for (auto& b : blocks_) {
            if (b.p != nullptr && b.bytes == bytes) {
                void* p = b.p;
                b = {};
                kept_ -= bytes;
                return p;
            }
        }
        return nullptr;
    }

    // Keeps the block, or frees it (or an older one) when the store is full.
    void give(void* p, std::size_t bytes) noexcept {
        std::lock_guard lock(mutex_);
        if (bytes > kKeptBytesLimit) {
            std::free(p);
            return;
        }
        while (kept_ + bytes > kKeptBytesLimit || full()) {
            auto& oldest = blocks_[next_];
            if (oldest.p != nullptr) {
                std::free(oldest.p);
                kept_ -= oldest.bytes;
                oldest = {};
            }
            next_ = (next_ + 1) % kKeptBlocks;
        }
        for (auto& b : blocks_) {
            if (b.p == nullptr) {
                b = {p, bytes};
                kept_ += bytes;
                return;
            }
        }
    }

    void releaseAll() noexcept {
        std::lock_guard lock(mutex_);
        for (auto& b : blocks_) {
            std::free(b.p);
            b = {};
        }
        kept_ = 0;
    }

  private:
    struct Block {
        void* p = nullptr;
        std::size_t bytes = 0;
    };
    bool full() const noexcept {
        for (const auto& b : blocks_)
            if (b.p == nullptr) return false;
        return true;
    }

    std::mutex mutex_;
    std::array<Block, kKeptBlocks> blocks_{};
    std::size_t next_ = 0;
    std::size_t kept_ = 0;
};

BlockStore& store() {
    static BlockStore s;
    return s;
}

PixelMemory allocate(std::size_t bytes, bool zero) {
    if (bytes == 0) return {};
    const bool huge = bytes >= kRecycleFrom;
    const std::size_t align = huge ? kHugePage : kCacheLine;
    const std::size_t rounded = (bytes + align - 1) / align * align;
    if (rounded < bytes) throw std::bad_alloc();
    void* p = huge ? store().take(rounded) : nullptr;
    if (p == nullptr) {
        if (posix_memalign(&p, align, rounded) != 0 || p == nullptr) throw std::bad_alloc();
        if (huge) madvise(p, rounded, MADV_HUGEPAGE); // a hint only: failure costs speed, not data
    }
    if (zero) std::memset(p, 0, bytes);
    return PixelMemory(static_cast<std::uint8_t*>(p), PixelMemoryFree{rounded});
}

} // namespace

void PixelMemoryFree::operator()(std::uint8_t* p) const noexcept {
    if (p == nullptr) return;
    if (bytes >= kRecycleFrom)
        store().give(p, bytes);
    else
        std::free(p);
}

PixelMemory allocatePixels(std::size_t bytes) {
    return allocate(bytes, true);
}

void releaseKeptPixels() noexcept {
    store().releaseAll();
}

PixelMemory allocatePixelsUninitialised(std::size_t bytes) {
    return allocate(bytes, false);
}

} // namespace velmar
