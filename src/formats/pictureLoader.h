#pragma once
// The platform picture loader's part of the gateway, built on FreeImage: the names some sites
// read as the desktop's own picture loader would (gif, ico, cur, dib, wmf, emf). Transparent
// parts of GIFs and icons are laid over white, as such a picture showed on a fresh surface.
// Not for use outside formats/.
#include "formats/ModFreeImage.h"
#include "formats/gateway.h"

#include <cstdint>
#include <span>
#include <vector>

namespace velmar {

// Loads the bytes as the row's picture-loader format: GIF (FIF_GIF) as its first frame played
// on the logical screen, ICO and CUR (FIF_ICO) as their largest image, DIB (FIF_BMP) as a BMP.
// Metafiles (FIF_UNKNOWN) give nothing. Call inside a session.
LibraryImage LoadWithPictureLoader(ModFreeImage& Mod, std::span<const std::uint8_t> File,
                                   const LoaderRow& Row);

// An icon or cursor file reduced to its largest image: largest area, then most bits a pixel
// for icons, the first of equals. The result is a one-image icon file (type 1, so the library
// takes a cursor's image too). Empty when the directory is broken, names an image too small to
// hold its header, or points past the end of the file, which means the file was cut short.
std::vector<std::uint8_t> LargestIconAlone(std::span<const std::uint8_t> File);

} // namespace velmar
