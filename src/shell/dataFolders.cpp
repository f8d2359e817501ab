#include "shell/dataFolders.h"

#include "formats/PictureConverter.h"
#include "port/ReplaceFile.h"
#include "shell/builtinPictures.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>

namespace velmar {

namespace fs = std::filesystem;

namespace {

constexpr std::array<TemplateFile, 4> kTemplates{{
    {"SIMPLE-EXE", "Simple Exe.vit", "velmar-simple-exe"},
    {"WATERY-EFFECT", "Watery Effect Exe.vit", "velmar-watery-exe"},
    {"SLIDE", "Slide.tpl", "velmar-slide"},
    {"SAVER", "Saver.tpl", "velmar-saver"},
}};

// True when the folder had to be made, and so wants its content. A file of the folder's name
// is no folder: creating the folder then fails, as it must.
bool makeIfMissing(const fs::path& folder) {
    if (fs::is_directory(folder)) return false;
    fs::create_directory(folder);
    return true;
}

void writeBytes(const fs::path& path, std::span<const std::uint8_t> bytes) {
    try {
        ReplaceFile(path, bytes);
    } catch (const FileWriteError& e) {
        throw fs::filesystem_error(e.what(), path,
                                   std::error_code(e.errorNumber(), std::generic_category()));
    }
}

// The pictures are stored as 24-bit BMP: the depth the old program's picture files had, and
// one that every viewer and the stamp loader read.
void writePicture(const Bits& picture, const fs::path& path) {
    PictureConverter converter;
    if (!converter.ConvertPicture(picture, path, kFileBmp, kColorModeColors, 24, kPaletteOptimal,
                                  kDitherNone))
        throw fs::filesystem_error(converter.LastError(), path,
                                   std::make_error_code(std::errc::io_error));
}

} // namespace

std::span<const TemplateFile> TemplateFiles() {
    return kTemplates;
}

std::optional<std::vector<std::uint8_t>> TemplateResource(std::string_view name,
                                                          const fs::path& programFolder) {
    const auto row = std::find_if(kTemplates.begin(), kTemplates.end(),
                                  [&](const TemplateFile& t) { return t.resource == name; });
    if (row == kTemplates.end()) return std::nullopt;
    const fs::path player = programFolder / row->player;
    if (!fs::is_regular_file(player)) return std::nullopt;
    std::ifstream in(player, std::ios::binary);
    std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>(in),
                                    std::istreambuf_iterator<char>()};
    if (!in.is_open() || in.bad())
        throw fs::filesystem_error("cannot read the player", player,
                                   std::make_error_code(std::errc::io_error));
    return bytes;
}

std::vector<fs::path> EnsureDataFolders(const fs::path& appFolder, const fs::path& programFolder) {
    std::vector<fs::path> written;

    const fs::path stamps = appFolder / "Stamps";
    if (makeIfMissing(stamps)) {
        const std::vector<Bits> pictures = StampPictures();
        for (std::size_t i = 0; i < pictures.size(); ++i) {
            const fs::path file = stamps / ("Velmar" + std::to_string(i + 1) + ".bmp");
            writePicture(pictures[i], file);
            written.push_back(file);
        }
    }

    const fs::path templates = appFolder / "Templates";
    if (makeIfMissing(templates)) {
        for (const TemplateFile& t : kTemplates) {
            const auto bytes = TemplateResource(t.resource, programFolder);
            if (!bytes) continue;
            const fs::path file = templates / t.fileName;
            writeBytes(file, *bytes);
            written.push_back(file);
        }
    }

    makeIfMissing(appFolder / "Temp");

    const fs::path images = appFolder / "Images";
    if (makeIfMissing(images)) {
        const fs::path file = images / "Velmar.bmp";
        writePicture(DefaultPicture(), file);
        written.push_back(file);
    }
    return written;
}

} // namespace velmar
