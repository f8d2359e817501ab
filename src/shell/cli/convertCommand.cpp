// velmar-cli convert IN OUT: opens IN as File, Open does and saves it by OUT's extension as the
// document's Save As does, so a script gets exactly the files the editor would write.
#include "shell/TerminalPort.h"
#include "shell/cli/CliCommand.h"
#include "shell/cli/pictureFiles.h"

#include <ostream>

namespace velmar::cli {

namespace {

int runConvert(CliContext& ctx, std::span<const std::string> args) {
    if (args.size() != 2) {
        ctx.err << "velmar-cli convert: give the picture to read and the file to write.\n"
                << "Usage: velmar-cli convert IN OUT\n";
        return 2;
    }
    if (!canSaveAs(args[1])) {
        ctx.err << "velmar-cli convert: no picture format is written for the name '" << args[1]
                << "'.\n";
        return 2;
    }
    TerminalPort port(ctx.err);
    const std::optional<Bits> picture = openPicture(args[0], port);
    if (!picture) return 1;
    return savePicture(*picture, args[1], "convert", ctx, port);
}

} // namespace

CliCommand convertCommand() {
    return {"convert", "IN OUT",
            "open the picture IN as File, Open does and save it by the extension of OUT",
            runConvert};
}

} // namespace velmar::cli
