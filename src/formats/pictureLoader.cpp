#include "formats/pictureLoader.h"

#include "formats/contentChecks.h"
#include "formats/libraryLoad.h"

#include <algorithm>

namespace velmar {

namespace {

constexpr std::size_t kIconHeader = 6, kIconEntry = 16;

std::uint32_t u16(std::span<const std::uint8_t> b, std::size_t i) {
    return b[i] | (std::uint32_t{b[i + 1]} << 8);
}

std::uint32_t u32(std::span<const std::uint8_t> b, std::size_t i) {
    return u16(b, i) | (u16(b, i + 2) << 16);
}

void put32(std::uint8_t* p, std::uint32_t v) {
    for (int i = 0; i < 4; ++i)
        p[i] = static_cast<std::uint8_t>(v >> (8 * i));
}

// A 32-bit picture whose alpha is 0 everywhere carries no transparency at all (old icons keep
// it in the AND mask, and the loader leaves such alpha alone): it is shown as it is.
bool alphaAllZero(FIBITMAP* image) {
    const unsigned w = FreeImage_GetWidth(image), h = FreeImage_GetHeight(image);
    for (unsigned y = 0; y < h; ++y) {
        const BYTE* line = FreeImage_GetScanLine(image, static_cast<int>(y));
        for (unsigned x = 0; x < w; ++x)
            if (line[4 * x + 3] != 0) return false;
    }
    return true;
}

LibraryImage overWhite(LibraryImage image) {
    // The library calls any 32-bit picture transparent whose alpha is not all 255.
    const bool fourBytes =
        FreeImage_GetImageType(image.get()) == FIT_BITMAP && FreeImage_GetBPP(image.get()) == 32;
    const bool transparent =
        fourBytes ? !alphaAllZero(image.get()) : FreeImage_IsTransparent(image.get()) != FALSE;
    if (!transparent) return image;
    RGBQUAD white = {255, 255, 255, 0};
    LibraryImage flat(FreeImage_Composite(image.get(), FALSE, &white, nullptr));
    return flat ? std::move(flat) : std::move(image);
}

} // namespace

std::vector<std::uint8_t> LargestIconAlone(std::span<const std::uint8_t> File) {
    if (!IconWhole(File)) return {};
    const std::uint32_t type = u16(File, 2), count = u16(File, 4);
    std::size_t best = 0;
    std::uint64_t bestArea = 0;
    std::uint32_t bestBits = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::size_t e = kIconHeader + kIconEntry * i;
        // A width or height byte of 0 stands for 256. A cursor keeps its hot spot where an icon
        // keeps planes and bits, so only icons compare by bits.
        const std::uint64_t area =
            std::uint64_t{File[e] == 0 ? 256u : File[e]} * (File[e + 1] == 0 ? 256u : File[e + 1]);
        const std::uint32_t bits = type == 1 ? u16(File, e + 6) : 0;
        if (i == 0 || area > bestArea || (area == bestArea && bits > bestBits)) {
            best = e;
            bestArea = area;
            bestBits = bits;
        }
    }
    const std::uint32_t offset = u32(File, best + 12), size = u32(File, best + 8);
    std::vector<std::uint8_t> alone(kIconHeader + kIconEntry + size);
    alone[2] = 1; // an icon
    alone[4] = 1; // of one image
    std::copy_n(File.begin() + static_cast<std::ptrdiff_t>(best), kIconEntry,
                alone.begin() + kIconHeader);
    put32(&alone[kIconHeader + 12], kIconHeader + kIconEntry);
    std::copy_n(File.begin() + offset, size, alone.begin() + kIconHeader + kIconEntry);
    return alone;
}

LibraryImage LoadWithPictureLoader(ModFreeImage& Mod, std::span<const std::uint8_t> File,
                                   const LoaderRow& Row) {
    switch (Row.format) {
    case FIF_UNKNOWN:
        // Metafiles are drawn by a renderer of their own, which this loader does not have yet.
        Mod.RecordError("Metafile pictures are not drawn yet.");
        return {};
    case FIF_ICO: {
        const std::vector<std::uint8_t> alone = LargestIconAlone(File);
        if (alone.empty()) {
            Mod.RecordError("The icon's directory is broken or points past the end of the file.");
            return {};
        }
        LibraryImage image = LoadLibraryImage(Mod, alone, FIF_ICO, Row.flags);
        return image ? overWhite(std::move(image)) : std::move(image);
    }
    case FIF_GIF: {
        LibraryImage image = LoadLibraryImage(Mod, File, FIF_GIF, Row.flags);
        return image ? overWhite(std::move(image)) : std::move(image);
    }
    default:
        return LoadLibraryImage(Mod, File, Row.format, Row.flags);
    }
}

} // namespace velmar
