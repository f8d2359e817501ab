#pragma once
// Region files: a selection saved as its RGNDATA longs, little-endian, nothing before or after.
//
//   long 0      32, the header size in bytes
//   long 1      1, rectangles
//   long 2      nCount, the number of rectangles
//   long 3      nRgnSize, 16 * nCount (0 is accepted too: some writers leave it unset)
//   longs 4..7  the bounding rectangle (kept as written; the rectangles are what counts)
//   then        nCount rectangles left, top, right, bottom, right and bottom exclusive
//
// The file's length is therefore exactly 32 + 16 * nCount bytes. A file is outside input: the
// reader checks every field against the bytes it has and refuses, with a RegionFileError naming
// the file and the fault, anything else: wrong length, a foreign header, a count that disagrees
// with the length, empty or inverted rectangles, coordinates beyond +-2^27, a size it cannot
// allocate. It never reads past the data.
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace velmar {

class RegionFileError : public std::runtime_error {
  public:
    RegionFileError(const std::string& file, const std::string& fault);
    const std::string& file() const noexcept { return file_; }
    const std::string& fault() const noexcept { return fault_; }

  private:
    std::string file_;
    std::string fault_;
};

// The checked longs of a region file's bytes; `file` names the source in error messages.
std::vector<std::int32_t> ParseRegionFile(std::span<const std::uint8_t> bytes,
                                          const std::string& file);

// Reads and checks a region file.
std::vector<std::int32_t> ReadRegionFile(const std::filesystem::path& path);

// The bytes of a region file holding these longs.
std::vector<std::uint8_t> RegionFileBytes(std::span<const std::int32_t> longs);

// Writes the longs as a region file. The bytes go to a temporary file in the same folder that
// then replaces `path`, so a failed save never leaves half a file where a good one was.
void WriteRegionFile(const std::filesystem::path& path, std::span<const std::int32_t> longs);

} // namespace velmar
