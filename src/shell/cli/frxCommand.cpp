// velmar-cli frx FILE OUTDIR [--images-only]: the extractor's Save All for a form's binary file.
//
// Every item of the container is written to OUTDIR as its own file, byte for byte as it stands
// in the container. The names are the ones the window's Save All gives when its name field holds
// the container's name: the container's stem, the item's number from 1 in the listing, and the
// item's extension ("frmAbout1.bmp", "frmAbout2.txt"). Numbers follow the listing, not the files
// written, so with --images-only (binary stretches skipped, as "Save Only Images" does) a name
// still points at the same row the extractor shows.
#include "extract/cFrxFile.h"
#include "port/ReplaceFile.h"
#include "shell/cli/CliCommand.h"

#include <algorithm>
#include <ostream>

namespace velmar::cli {

namespace {

constexpr std::string_view kUsage = "Usage: velmar-cli frx FILE OUTDIR [--images-only]\n";

struct FrxArguments {
    std::filesystem::path file, folder;
    bool imagesOnly = false;
};

std::optional<FrxArguments> parse(std::span<const std::string> args) {
    FrxArguments parsed;
    std::vector<std::string> places;
    for (const std::string& a : args) {
        if (a == "--images-only")
            parsed.imagesOnly = true;
        else if (a.starts_with("--"))
            return std::nullopt;
        else
            places.push_back(a);
    }
    if (places.size() != 2) return std::nullopt;
    parsed.file = places[0];
    parsed.folder = places[1];
    return parsed;
}

int runFrx(CliContext& ctx, std::span<const std::string> args) {
    const std::optional<FrxArguments> a = parse(args);
    if (!a) {
        ctx.err << "velmar-cli frx: give the form's binary file and the folder for its items.\n"
                << kUsage;
        return 2;
    }
    if (!IsFrxContainerPath(a->file)) {
        ctx.err << "velmar-cli frx: '" << a->file.string()
                << "' is not a form's binary file (.frx, .ctx, .dsx, .dox, .pgx).\n";
        return 2;
    }
    if (!std::filesystem::is_directory(a->folder)) {
        ctx.err << "velmar-cli frx: the folder '" << a->folder.string() << "' does not exist.\n";
        return 1;
    }
    cFrxFile container;
    try {
        container.Path(a->file);
    } catch (const FrxLoadError& e) {
        ctx.err << "velmar-cli frx: " << a->file.string() << ": " << e.what() << "\n";
        return 1;
    }
    if (container.Count() == 0) {
        ctx.err << "No graphics found in " << a->file.string() << ".\n";
        return 0;
    }
    const std::string stem = a->file.stem().string();
    int failed = 0, written = 0;
    for (std::size_t i = 1; i <= container.Count(); ++i) {
        const cFrxItem& item = container.Item(i);
        if (a->imagesOnly && item.FileExtension() == "txt") continue;
        const std::filesystem::path target =
            a->folder / (stem + std::to_string(i) + "." + std::string(item.FileExtension()));
        try {
            ReplaceFile(target, item.Bits());
            ctx.out << target.string() << "\n";
            ++written;
        } catch (const FileWriteError& e) {
            ctx.err << "velmar-cli frx: " << e.what() << "\n";
            ++failed;
        }
    }
    if (written == 0 && failed == 0)
        ctx.err << "velmar-cli frx: " << a->file.string() << " holds no pictures.\n";
    return failed == 0 ? 0 : 1;
}

} // namespace

CliCommand frxCommand() {
    return {"frx", "FILE OUTDIR [--images-only]",
            "write every item of the form's binary file FILE (.frx, .ctx, .dsx, .dox, .pgx) to "
            "OUTDIR as stem + number + extension, byte for byte; --images-only skips binary data",
            runFrx};
}

} // namespace velmar::cli
