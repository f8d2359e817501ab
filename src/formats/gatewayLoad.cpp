// Loading a picture by its name's extension: the site's row decides the route.
#include "formats/PCX.h"
#include "formats/gateway.h"
#include "formats/libraryLoad.h"
#include "formats/pictureLoader.h"

#include <exception>
#include <fstream>
#include <system_error>
#include <vector>

namespace velmar {

namespace {

std::uint64_t pcxDeclaredPixels(std::span<const std::uint8_t> f) {
    const auto u16 = [&](std::size_t i) { return f[i] | (f[i + 1] << 8); };
    const int w = u16(8) - u16(4) + 1, h = u16(10) - u16(6) + 1;
    return w > 0 && h > 0 ? std::uint64_t(w) * std::uint64_t(h) : 0;
}

// Our own reader takes the 24-bit three-plane files: it decodes the stream as one sequence,
// which is how our writer encodes it and how the library's loader does not read it.
std::optional<Bits> readTrueColourPcx(std::span<const std::uint8_t> file, ModFreeImage& mod) {
    if (pcxDeclaredPixels(file) > mod.MostPixels()) {
        mod.RecordError("The picture is larger than can be held.");
        return std::nullopt;
    }
    try {
        return PcxRead(file);
    } catch (const std::exception& e) {
        mod.RecordError(e.what());
        return std::nullopt;
    }
}

bool readWholeFile(const std::filesystem::path& path, std::vector<std::uint8_t>& bytes) {
    std::error_code ec;
    const std::uintmax_t size = std::filesystem::file_size(path, ec);
    if (ec) return false;
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    try {
        bytes.resize(static_cast<std::size_t>(size));
    } catch (const std::exception&) {
        return false;
    }
    in.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return static_cast<std::uintmax_t>(in.gcount()) == size;
}

} // namespace

std::optional<Bits> LoadPictureBytes(std::span<const std::uint8_t> File, std::string_view Extension,
                                     LoadSite Site, ModFreeImage* Diagnostics) {
    ModFreeImage own;
    ModFreeImage& mod = Diagnostics != nullptr ? *Diagnostics : own;
    mod.ClearError();
    const std::optional<LoaderRow> row = FindLoader(Extension, Site);
    if (!row) return std::nullopt;

    const FreeImageSession session = mod.FreeImage_InitErrorHandler();
    LibraryImage image;
    switch (row->route) {
    case LoadRoute::Library:
        image = LoadLibraryImage(mod, File, row->format, row->flags);
        break;
    case LoadRoute::ProbedLibrary: {
        // The probe's answer matters for this row only, so only this row asks it.
        const int probed = ProbeLibraryFormat(File);
        if (probed == FIF_UNKNOWN) {
            mod.RecordError("The library does not know the file's format.");
            return std::nullopt;
        }
        image = LoadLibraryImage(mod, File, probed, 0);
        break;
    }
    case LoadRoute::Pcx:
        if (PcxIsTrueColour(File)) return readTrueColourPcx(File, mod);
        image = LoadLibraryImage(mod, File, FIF_PCX, row->flags);
        break;
    case LoadRoute::PictureLoader:
        image = LoadWithPictureLoader(mod, File, *row);
        break;
    }
    if (!image) return std::nullopt;
    Bits bits;
    if (!mod.FreeImage_BMP_From_DIB(image.get(), bits)) return std::nullopt;
    return bits;
}

std::optional<Bits> LoadPictureFile(const std::filesystem::path& Path, LoadSite Site,
                                    ModFreeImage* Diagnostics) {
    const std::string extension = ExtensionOf(Path);
    // A name no row serves is not even read.
    if (!FindLoader(extension, Site)) {
        if (Diagnostics != nullptr) Diagnostics->ClearError();
        return std::nullopt;
    }
    std::vector<std::uint8_t> bytes;
    if (!readWholeFile(Path, bytes)) {
        if (Diagnostics != nullptr) Diagnostics->RecordError("The file cannot be read.");
        return std::nullopt;
    }
    return LoadPictureBytes(bytes, extension, Site, Diagnostics);
}

} // namespace velmar
