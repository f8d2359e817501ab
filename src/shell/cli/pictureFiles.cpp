#include "shell/cli/pictureFiles.h"

#include "formats/gateway.h"

#include <ostream>
#include <string>

namespace velmar::cli {

namespace {

// The name and extension the save route is given for OUT.
std::pair<std::filesystem::path, std::string> saveTarget(const std::filesystem::path& out) {
    if (const auto stem = PnmStem(out)) return {*stem, "pnm"};
    // Scripts may also name the writer itself: "x.pnm" is saved as "x." plus the depth's letters.
    const std::string extension = ExtensionOf(out);
    if (LowerCase(extension) == "pnm")
        return {out.native().substr(0, out.native().size() - 3), "pnm"};
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
