#pragma once
// Our reader of the resource directory of a PE file (PE32 and PE32+), standing in for the
// platform's module loader when the extractor lists and reads a module's resources. It only
// reads bytes: no code of the file is run, nothing is mapped or relocated.
//
// The file is outside input. Every header, table, directory, name and data entry is checked
// against the bytes there are before it is read; a directory that is reached twice (a loop) or
// that claims more entries than its section has room for stops the walk, so a hostile file
// costs time in proportion to its size. A resource whose bytes lie outside the file is still
// listed (the module names it) but has no bytes: ResourceBytes gives nothing for it.
#include "extract/ResourceId.h"

#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace velmar {

// A file that is no PE file, or whose resource directory is broken; what() says which part.
class PeFormatError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// One leaf of the directory: a type, a name and a language with the data they point at.
struct PeResource {
    ResourceId type;
    ResourceId name;
    ResourceId language;
    std::uint32_t dataRva = 0; // where the bytes lie once loaded, as the data entry says
    std::uint32_t size = 0;    // in bytes
    std::uint32_t codePage = 0;
    // The file offset of the first byte, when all `size` bytes lie in one section's raw data.
    std::optional<std::uint64_t> fileOffset;
};

struct PeResourceDirectory {
    bool pe32Plus = false;
    // Leaves in directory order: types, then names within a type, then languages, each level
    // named entries first as the directory stores them.
    std::vector<PeResource> resources;
};

// Reads the directory of the whole file's bytes. A PE file without resources gives an empty
// list. Throws PeFormatError.
PeResourceDirectory ParsePeResources(std::span<const std::uint8_t> file);

// The bytes of a resource inside the file they were parsed from; nothing when they lie outside.
std::optional<std::span<const std::uint8_t>> ResourceBytes(std::span<const std::uint8_t> file,
                                                           const PeResource& resource);

} // namespace velmar
