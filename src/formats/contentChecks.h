#pragma once
// Tests of a file's bytes made before FreeImage sees them, for the loaders that take any bytes
// (Koala, Photo CD) or trust what they read and write past their buffers, or hand back half a
// picture, when a file is cut short or its runs overflow a line (PSD, Targa, TIFF, PCX, Dr.
// Halo) or spend seconds on a header that names a huge picture (PNM). Each is true when the file
// may go to the loader. They walk the file's structure and its run-length data without decoding
// pixels, so they cost a small part of a load. Not for use outside formats/.
#include <cstdint>
#include <span>
#include <vector>

namespace velmar {

// The library's own Koala test: the C64 load address 0x6000 in front.
bool KoalaSignature(std::span<const std::uint8_t> File);
// "PCD_IPI" at 2048 bytes, where an Image Pac names itself.
bool PhotoCdSignature(std::span<const std::uint8_t> File);
// Every section inside the file and the merged picture whole: raw rows in full, or each
// packed row unpacking to exactly one line.
bool PsdWhole(std::span<const std::uint8_t> File);
// A known image type; the colour map and every pixel (raw, or in run-length packets that end
// on the last pixel) inside the file; and the areas a version 2 footer points at (extension,
// developer area, colour correction, postage stamp, scan line table) inside it too.
bool TargaWhole(std::span<const std::uint8_t> File);
// A TIFF header, every strip or tile of the first page inside the file, and whole-byte
// samples where the planes are stored apart.
bool TiffWhole(std::span<const std::uint8_t> File);
// The run-length stream holds every line of every plane, and an 8-bit picture ends with its
// 256-colour palette.
bool PcxWhole(std::span<const std::uint8_t> File);
// The header names a picture the file has room for: every byte of a raw one, a character a
// sample of a text one.
bool PnmWhole(std::span<const std::uint8_t> File);
// An icon or cursor directory whose every image lies inside the file, and whose bitmap images
// have a depth the loader knows and hold their colour table, pixels and mask.
bool IconWhole(std::span<const std::uint8_t> File);
// A type 0 header and exactly the picture's bytes after it.
bool WbmpWhole(std::span<const std::uint8_t> File);
// A Sun raster header of a known kind, and the colour map and every row inside the file.
bool RasterWhole(std::span<const std::uint8_t> File);
// An MNG or JNG signature, then whole chunks up to the closing one.
bool ChunksWhole(std::span<const std::uint8_t> File);
// Every run fits its line and no line ends past the picture's last.
bool CutWhole(std::span<const std::uint8_t> File);

// A Windows bitmap with a version 4 or 5 (or 52- or 56-byte) header rewritten with the classic
// 40-byte header the library reads, keeping the colour masks, colour table and pixels. Empty
// for any other file, which goes to the library as it is.
std::vector<std::uint8_t> BmpWithClassicHeader(std::span<const std::uint8_t> File);

// The first frame lies on the logical screen.
bool GifFirstFrameOnScreen(std::span<const std::uint8_t> File);
// A GIF whose first frame reaches past its logical screen with the screen grown to hold it, as
// viewers show such files whole; empty when the frame fits (or no screen can hold it).
std::vector<std::uint8_t> GifWithRoomForFirstFrame(std::span<const std::uint8_t> File);
// The most pixels a GIF asks the loader for when it plays the first frame: the logical screen
// grown to hold the first frame. 0 when the stream ends before it says.
std::uint64_t GifDeclaredPixels(std::span<const std::uint8_t> File);

} // namespace velmar
