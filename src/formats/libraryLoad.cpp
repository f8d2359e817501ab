#include "formats/libraryLoad.h"

#include "formats/contentChecks.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

namespace velmar {

namespace {

// How a file cut short shows in the way a loader reads it. Measured on real files of each
// format: a complete file never trips its loader's rule, and a cut one does.
enum class EndCheck : std::uint8_t {
    None,    // not known for this loader: no check
    PastEnd, // reads ahead in blocks, so a short last block is normal; a request with nothing
             // left is not
    Short,   // asks for exactly what it needs; a request the rest cannot meet means a cut file
};

// A test of the bytes for loaders that take anything or trust what they read; true when the
// file may go to the loader.
using ContentCheck = bool (*)(std::span<const std::uint8_t>);
// The most pixels the header asks for, for loaders that cannot read a header alone; 0 when the
// header cannot be read (the loader will then refuse the file itself).
using DeclaredPixels = std::uint64_t (*)(std::span<const std::uint8_t>);
// The file made readable for a loader that refuses or misreads a common form of it; empty when
// it goes as it is.
using Rewrite = std::vector<std::uint8_t> (*)(std::span<const std::uint8_t>);

struct LoaderTraits {
    int format;
    EndCheck end;
    ContentCheck check;
    DeclaredPixels declaredPixels = nullptr;
    Rewrite rewrite = nullptr;
};

constexpr LoaderTraits kTraits[] = {
    {FIF_BMP, EndCheck::Short, nullptr, nullptr, BmpWithClassicHeader},
    {FIF_ICO, EndCheck::Short, IconWhole},
    {FIF_JPEG, EndCheck::PastEnd, nullptr},
    {FIF_JNG, EndCheck::PastEnd, ChunksWhole},
    {FIF_MNG, EndCheck::None, ChunksWhole},
    {FIF_KOALA, EndCheck::Short, KoalaSignature},
    {FIF_PBM, EndCheck::Short, PnmWhole},
    {FIF_PBMRAW, EndCheck::Short, PnmWhole},
    {FIF_PCD, EndCheck::Short, PhotoCdSignature},
    {FIF_PCX, EndCheck::PastEnd, PcxWhole},
    {FIF_PGM, EndCheck::Short, PnmWhole},
    {FIF_PGMRAW, EndCheck::Short, PnmWhole},
    {FIF_PNG, EndCheck::Short, nullptr},
    {FIF_PPM, EndCheck::Short, PnmWhole},
    {FIF_PPMRAW, EndCheck::Short, PnmWhole},
    {FIF_RAS, EndCheck::Short, RasterWhole},
    {FIF_TARGA, EndCheck::PastEnd, TargaWhole},
    {FIF_TIFF, EndCheck::Short, TiffWhole},
    {FIF_WBMP, EndCheck::Short, WbmpWhole},
    {FIF_PSD, EndCheck::Short, PsdWhole},
    {FIF_CUT, EndCheck::None, CutWhole},
    {FIF_GIF, EndCheck::Short, GifFirstFrameOnScreen, GifDeclaredPixels, GifWithRoomForFirstFrame},
};

LoaderTraits traitsOf(int format) {
    for (const LoaderTraits& t : kTraits)
        if (t.format == format) return t;
    return {format, EndCheck::None, nullptr};
}

bool cutShort(EndCheck check, const LibraryInput& input) {
    switch (check) {
    case EndCheck::None:
        return false;
    case EndCheck::PastEnd:
        return input.readPastEnd();
    case EndCheck::Short:
        return input.readShort();
    }
    return false;
}

std::string formatName(FREE_IMAGE_FORMAT fif) {
    const char* name = FreeImage_GetFormatFromFIF(fif);
    return name != nullptr ? name : "unknown";
}

std::string sizeText(std::uint64_t width, std::uint64_t height) {
    return std::to_string(width) + " x " + std::to_string(height);
}

} // namespace

LibraryInput::LibraryInput(std::span<const std::uint8_t> bytes)
    : bytes_(bytes), io_{&LibraryInput::read, &LibraryInput::write, &LibraryInput::seek,
                         &LibraryInput::tell} {}

void LibraryInput::rewind() noexcept {
    position_ = 0;
    readPastEnd_ = readShort_ = false;
}

unsigned DLL_CALLCONV LibraryInput::read(void* buffer, unsigned size, unsigned count, fi_handle h) {
    auto& in = *static_cast<LibraryInput*>(h);
    if (size == 0 || count == 0) return 0;
    const std::size_t left = in.position_ < in.bytes_.size() ? in.bytes_.size() - in.position_ : 0;
    const std::uint64_t wanted = std::uint64_t{size} * count;
    if (left == 0) in.readPastEnd_ = true;
    if (left < wanted) in.readShort_ = true;
    const std::size_t items = static_cast<std::size_t>(std::min<std::uint64_t>(count, left / size));
    if (items > 0) std::memcpy(buffer, in.bytes_.data() + in.position_, items * size);
    in.position_ += items * size;
    return static_cast<unsigned>(items);
}

unsigned DLL_CALLCONV LibraryInput::write(void*, unsigned, unsigned, fi_handle) {
    return 0;
}

int DLL_CALLCONV LibraryInput::seek(fi_handle h, long offset, int origin) {
    auto& in = *static_cast<LibraryInput*>(h);
    std::int64_t base = 0;
    switch (origin) {
    case SEEK_SET:
        break;
    case SEEK_CUR:
        base = static_cast<std::int64_t>(in.position_);
        break;
    case SEEK_END:
        base = static_cast<std::int64_t>(in.bytes_.size());
        break;
    default:
        return -1;
    }
    const std::int64_t target = base + offset;
    // Past the end is allowed, as for a file; a read there gets nothing.
    if (target < 0 || target > std::numeric_limits<long>::max()) return -1;
    in.position_ = static_cast<std::size_t>(target);
    return 0;
}

long DLL_CALLCONV LibraryInput::tell(fi_handle h) {
    return static_cast<long>(static_cast<LibraryInput*>(h)->position_);
}

int ProbeLibraryFormat(std::span<const std::uint8_t> File) {
    LibraryInput input(File);
    return FreeImage_GetFileTypeFromHandle(input.io(), input.handle(), 16);
}

LibraryImage LoadLibraryImage(ModFreeImage& Mod, std::span<const std::uint8_t> File, int Format,
                              int Flags) {
    const auto fif = static_cast<FREE_IMAGE_FORMAT>(Format);
    const LoaderTraits traits = traitsOf(Format);
    const auto refuse = [&](const std::string& why, bool keepLibraryText) {
        Mod.RecordError(why, keepLibraryText);
        return LibraryImage();
    };
    std::vector<std::uint8_t> rewritten;
    if (traits.rewrite != nullptr && !(rewritten = traits.rewrite(File)).empty()) File = rewritten;
    if (traits.check != nullptr && !traits.check(File))
        return refuse("The file is not a whole " + formatName(fif) + " file.", false);

    LibraryInput input(File);
    if (FreeImage_FIFSupportsNoPixels(fif)) {
        const LibraryImage header(
            FreeImage_LoadFromHandle(fif, input.io(), input.handle(), Flags | FIF_LOAD_NOPIXELS));
        if (!header)
            return refuse("The " + formatName(fif) + " loader could not read the file.", true);
        const std::uint64_t w = FreeImage_GetWidth(header.get());
        const std::uint64_t h = FreeImage_GetHeight(header.get());
        if (w * h > Mod.MostPixels())
            return refuse("The picture is " + sizeText(w, h) + " pixels, more than can be held.",
                          false);
        input.rewind();
    } else if (traits.declaredPixels != nullptr && traits.declaredPixels(File) > Mod.MostPixels()) {
        return refuse("The picture is larger than can be held.", false);
    }

    LibraryImage image(FreeImage_LoadFromHandle(fif, input.io(), input.handle(), Flags));
    if (!image) return refuse("The " + formatName(fif) + " loader could not read the file.", true);
    if (cutShort(traits.end, input)) return refuse("The file ends before its picture does.", false);
    return image;
}

} // namespace velmar
