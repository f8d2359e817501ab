#include "pixel/RegionFile.h"
#include "port/FileDescriptor.h"

#include "port/ReplaceFile.h"

#include "pixel/Region.h"

#include <cerrno>
#include <cstring>
#include <limits>
#include <new>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmar {

namespace {

constexpr std::size_t kHeaderBytes = 32;
// nRgnSize is a long, so 16 * nCount must fit one; that bounds the largest file there can be.
constexpr std::int64_t kMaxCount = std::numeric_limits<std::int32_t>::max() / 16;

std::int32_t longAt(std::span<const std::uint8_t> bytes, std::size_t index) {
    const std::uint8_t* p = bytes.data() + 4 * index;
    return static_cast<std::int32_t>(std::uint32_t{p[0]} | std::uint32_t{p[1]} << 8 |
                                     std::uint32_t{p[2]} << 16 | std::uint32_t{p[3]} << 24);
}

bool inRange(std::int32_t v) {
    return v >= -Region::kCoordinateLimit && v <= Region::kCoordinateLimit;
}

std::string systemError(int err) {
    return std::strerror(err);
}

// Checks the 32-byte header against the length of the whole file. Shared by the reader of a
// file, which calls it before reading the rest, and by the parser of bytes.
void checkHeader(std::span<const std::uint8_t> header, std::uint64_t length,
                 const std::string& file) {
    if (length % 4 != 0)
        throw RegionFileError(file, "its length of " + std::to_string(length) +
                                        " bytes is not a multiple of 4");
    if (length < kHeaderBytes || header.size() < kHeaderBytes)
        throw RegionFileError(file, "its length of " + std::to_string(length) +
                                        " bytes is shorter than the 32-byte header");
    if (const std::int32_t dwSize = longAt(header, 0); dwSize != 32)
        throw RegionFileError(file, "the header size is " + std::to_string(dwSize) + ", not 32");
    if (const std::int32_t iType = longAt(header, 1); iType != 1)
        throw RegionFileError(file, "the region type is " + std::to_string(iType) +
                                        ", not 1 (rectangles)");
    const std::int32_t nCount = longAt(header, 2);
    if (nCount < 0 || nCount > kMaxCount)
        throw RegionFileError(file,
                              "the rectangle count " + std::to_string(nCount) + " is impossible");
    const std::uint64_t expected = kHeaderBytes + 16 * static_cast<std::uint64_t>(nCount);
    if (expected != length)
        throw RegionFileError(file, "its header gives nCount " + std::to_string(nCount) +
                                        ", which needs " + std::to_string(expected) +
                                        " bytes, but it has " + std::to_string(length));
    if (const std::int32_t nRgnSize = longAt(header, 3); nRgnSize != 0 && nRgnSize != 16 * nCount)
        throw RegionFileError(file, "the rectangle buffer size is " + std::to_string(nRgnSize) +
                                        ", not 16 * " + std::to_string(nCount));
    for (std::size_t i = 4; i < 8; ++i)
        if (!inRange(longAt(header, i)))
            throw RegionFileError(file, "the bounding rectangle lies outside the coordinate "
                                        "range of +-134217728");
}

} // namespace

RegionFileError::RegionFileError(const std::string& file, const std::string& fault)
    : std::runtime_error("Region file \"" + file + "\": " + fault), file_(file), fault_(fault) {}

std::vector<std::int32_t> ParseRegionFile(std::span<const std::uint8_t> bytes,
                                          const std::string& file) {
    checkHeader(bytes.first(std::min(bytes.size(), kHeaderBytes)), bytes.size(), file);
    std::vector<std::int32_t> longs;
    try {
        longs.resize(bytes.size() / 4);
    } catch (const std::bad_alloc&) {
        throw RegionFileError(file, "its " + std::to_string(bytes.size()) +
                                        " bytes cannot be held in memory");
    }
    for (std::size_t i = 0; i < longs.size(); ++i)
        longs[i] = longAt(bytes, i);
    for (std::size_t r = 0, n = static_cast<std::size_t>(longs[2]); r < n; ++r) {
        const std::int32_t* p = longs.data() + 8 + 4 * r;
        const std::string which = "rectangle " + std::to_string(r + 1) + " (" +
                                  std::to_string(p[0]) + ", " + std::to_string(p[1]) + ", " +
                                  std::to_string(p[2]) + ", " + std::to_string(p[3]) + ")";
        if (!inRange(p[0]) || !inRange(p[1]) || !inRange(p[2]) || !inRange(p[3]))
            throw RegionFileError(file,
                                  which + " lies outside the coordinate range of +-134217728");
        if (p[0] >= p[2] || p[1] >= p[3])
            throw RegionFileError(file, which + " is empty or inverted");
    }
    return longs;
}

namespace {

// Reads exactly `size` bytes; false on an error or an early end (errno then set, 0 for an end).
bool readAll(int fd, std::uint8_t* out, std::size_t size) {
    while (size > 0) {
        const ::ssize_t n = ::read(fd, out, size);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            if (n == 0) errno = 0;
            return false;
        }
        out += n;
        size -= static_cast<std::size_t>(n);
    }
    return true;
}

} // namespace

std::vector<std::int32_t> ReadRegionFile(const std::filesystem::path& path) {
    const std::string name = path.string();
    FileDescriptor fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (fd.get() < 0)
        throw RegionFileError(name, "it cannot be opened (" + systemError(errno) + ")");
    struct stat st {};
    if (::fstat(fd.get(), &st) != 0)
        throw RegionFileError(name, "it cannot be examined (" + systemError(errno) + ")");
    if (!S_ISREG(st.st_mode)) throw RegionFileError(name, "it is not a plain file");
    const auto length = static_cast<std::uint64_t>(st.st_size);

    // The header decides whether the rest is worth reading (and allocating).
    std::uint8_t header[kHeaderBytes] = {};
    const std::size_t headerBytes =
        static_cast<std::size_t>(std::min<std::uint64_t>(length, kHeaderBytes));
    if (!readAll(fd.get(), header, headerBytes))
        throw RegionFileError(name, "it cannot be read (" + systemError(errno) + ")");
    checkHeader({header, headerBytes}, length, name);

    std::vector<std::uint8_t> bytes;
    try {
        bytes.resize(static_cast<std::size_t>(length));
    } catch (const std::bad_alloc&) {
        throw RegionFileError(name,
                              "its " + std::to_string(length) + " bytes cannot be held in memory");
    }
    std::memcpy(bytes.data(), header, kHeaderBytes);
    if (!readAll(fd.get(), bytes.data() + kHeaderBytes, bytes.size() - kHeaderBytes))
        throw RegionFileError(name, errno == 0 ? "it ended while being read"
                                               : "it cannot be read (" + systemError(errno) + ")");
    // A file that grew while being read is not the file whose length the header matched.
    std::uint8_t extra = 0;
    if (::read(fd.get(), &extra, 1) != 0)
        throw RegionFileError(name, "it changed while being read");
    return ParseRegionFile(bytes, name);
}

std::vector<std::uint8_t> RegionFileBytes(std::span<const std::int32_t> longs) {
    std::vector<std::uint8_t> bytes(longs.size() * 4);
    for (std::size_t i = 0; i < longs.size(); ++i) {
        const auto v = static_cast<std::uint32_t>(longs[i]);
        bytes[4 * i] = static_cast<std::uint8_t>(v);
        bytes[4 * i + 1] = static_cast<std::uint8_t>(v >> 8);
        bytes[4 * i + 2] = static_cast<std::uint8_t>(v >> 16);
        bytes[4 * i + 3] = static_cast<std::uint8_t>(v >> 24);
    }
    return bytes;
}

void WriteRegionFile(const std::filesystem::path& path, std::span<const std::int32_t> longs) {
    // Synced before the rename: a selection file is small, and one lost to a crash is work lost.
    try {
        ReplaceFile(path, RegionFileBytes(longs), true);
    } catch (const FileWriteError& e) {
        throw RegionFileError(path.string(), std::string("it cannot be written (") +
                                                 std::strerror(e.errorNumber()) + ")");
    }
}

} // namespace velmar
