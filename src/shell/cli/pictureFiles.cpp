#include "shell/cli/pictureFiles.h"

#include "formats/gateway.h"

#include <algorithm>
#include <ostream>
#include <string>

namespace velmar::cli {

namespace {

std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) {
        return static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    });
    return text;
}

// The name and extension the save route is given for OUT.
std::pair<std::filesystem::path, std::string> saveTarget(const std::filesystem::path& out) {
    const std::string extension = ExtensionOf(out);
    const std::string lower = lowerCase(extension);
    if (lower == "ppm" || lower == "pgm" || lower == "pbm" || lower == "pnm") {
        std::string stem = out.native();
        stem.resize(stem.size() - extension.size());
        return {stem, "pnm"};
    }
    return {out, extension};
}

} // namespace

std::optional<Bits> openPicture(const std::filesystem::path& in, UserPort& port) {
    std::optional<Bits> picture = LoadPictureFile(in, LoadSite::MainFrameOpen);
    if (!picture)
        port.MsgBox("Unexpected error loading image", MsgIcon::Warning, MsgButtons::Ok, kAppTitle);
    return picture;
}

bool canSaveAs(const std::filesystem::path& out) {
    return FindSaver(saveTarget(out).second).has_value();
}

int savePicture(const Bits& picture, const std::filesystem::path& out, std::string_view command,
                CliContext& ctx, UserPort& port) {
    const auto [target, extension] = saveTarget(out);
    switch (SaveDocumentPicture(picture, target, extension, port)) {
    case SaveResult::Written:
        return 0;
    case SaveResult::NotWritten:
        ctx.err << "velmar-cli " << command << ": nothing was written to '" << out.string()
                << "'.\n";
        return 1;
    case SaveResult::Failed:
        break;
    }
    return 1;
}

} // namespace velmar::cli
