#pragma once
// PCX: the program's own 24-bit PCX writer, and a reader for the files it writes.
//
// The writer lays out version 5, 8 bits per plane, three planes (red, green, blue) of an even
// row width, corner (1, 1) to (width, height), and run-length encodes the whole plane buffer
// as ONE sequence: runs of up to 63 bytes cross plane and line boundaries. Readers that restart
// their decoder on every scan line misread such files, so the program reads its own 24-bit
// three-plane files with PcxRead, which decodes the stream as one sequence (standard files,
// whose runs end with the line, read the same way).
#include "pixel/Bits.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace velmar {

class PCX {
  public:
    // Writes the picture as a 24-bit PCX, encoded when Compress is set. An existing file is
    // replaced as a whole (written beside it, then renamed over it), never patched in place.
    // False when the file could not be written; nothing half-written is left behind.
    bool SavePCXinFile(const std::filesystem::path& FileName, const Bits& Pic, bool Compress);

    // The file's bytes without touching the disk: the 128-byte header, then the data.
    static std::vector<std::uint8_t> Encode(const Bits& Pic, bool Compress);

    // The run-length encoding of a plane buffer whose planes are `evenWidth` bytes long.
    static std::vector<std::uint8_t> RunLengthEncode(std::span<const std::uint8_t> planes,
                                                     std::int32_t evenWidth);
};

class PcxError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// True when the bytes start a PCX header of the 24-bit three-plane form PcxRead decodes.
bool PcxIsTrueColour(std::span<const std::uint8_t> file);

// Decodes a 24-bit three-plane PCX (encoded or plain) into Bits, mask bytes 0. Throws PcxError
// with the reason for anything else or anything broken: a short header, a size the data cannot
// hold, a stream that ends before the picture does.
Bits PcxRead(std::span<const std::uint8_t> file);

} // namespace velmar
