#pragma once
// Little-endian reads from outside bytes in which every access is checked: a read that would
// pass the end throws OutOfBytes instead of touching memory it does not own. The parsers catch
// it and report the structure they were reading.
#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>

namespace velmar {

class OutOfBytes : public std::out_of_range {
  public:
    OutOfBytes() : std::out_of_range("read past the end of the data") {}
};

class ByteView {
  public:
    explicit ByteView(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    std::size_t size() const noexcept { return bytes_.size(); }
    // True when [offset, offset + count) lies inside; written so that no sum can overflow.
    bool holds(std::uint64_t offset, std::uint64_t count) const noexcept {
        return offset <= bytes_.size() && count <= bytes_.size() - offset;
    }
    std::span<const std::uint8_t> slice(std::uint64_t offset, std::uint64_t count) const {
        if (!holds(offset, count)) throw OutOfBytes();
        return bytes_.subspan(static_cast<std::size_t>(offset), static_cast<std::size_t>(count));
    }
    std::uint8_t u8(std::uint64_t offset) const { return slice(offset, 1)[0]; }
    std::uint16_t u16(std::uint64_t offset) const {
        const auto b = slice(offset, 2);
        return static_cast<std::uint16_t>(b[0] | b[1] << 8);
    }
    std::uint32_t u32(std::uint64_t offset) const {
        const auto b = slice(offset, 4);
        return static_cast<std::uint32_t>(b[0]) | static_cast<std::uint32_t>(b[1]) << 8 |
               static_cast<std::uint32_t>(b[2]) << 16 | static_cast<std::uint32_t>(b[3]) << 24;
    }

  private:
    std::span<const std::uint8_t> bytes_;
};

// Appends little-endian values to a byte vector, for the writers.
template <class Vector> void putU16(Vector& out, std::uint16_t v) {
    out.push_back(static_cast<std::uint8_t>(v));
    out.push_back(static_cast<std::uint8_t>(v >> 8));
}
template <class Vector> void putU32(Vector& out, std::uint32_t v) {
    for (int shift = 0; shift < 32; shift += 8)
        out.push_back(static_cast<std::uint8_t>(v >> shift));
}

} // namespace velmar
