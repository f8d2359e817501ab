// velmar-cli depth BITS IN OUT: the depth window's reduction, then Save As by OUT's extension.
#include "formats/EuroDepth.h"
#include "shell/TerminalPort.h"
#include "shell/cli/CliCommand.h"
#include "shell/cli/pictureFiles.h"

#include <algorithm>
#include <ostream>

namespace velmar::cli {

namespace {

int runDepth(CliContext& ctx, std::span<const std::string> args) {
    const auto& choices = DepthChoices();
    const auto choice =
        args.size() == 3
            ? std::find_if(choices.begin(), choices.end(),
                           [&](const DepthChoice& c) { return std::to_string(c.bits) == args[0]; })
            : choices.end();
    if (choice == choices.end()) {
        ctx.err << "velmar-cli depth: give the bits (1, 4, 8, 15, 16, 24 or 32), the picture to "
                   "read and the "
                   "file to write.\nUsage: velmar-cli depth BITS IN OUT\n";
        return 2;
    }
    if (!canSaveAs(args[2])) {
        ctx.err << "velmar-cli depth: no picture format is written for the name '" << args[2]
                << "'.\n";
        return 2;
    }
    TerminalPort port(ctx.err);
    std::optional<Bits> picture = openPicture(args[1], port);
    if (!picture) return 1;
    EuroDepth depth;
    (depth.*choice->method)(*picture, nullptr);
    return savePicture(*picture, args[2], "depth", ctx, port);
}

} // namespace

CliCommand depthCommand() {
    return {"depth", "BITS IN OUT",
            "reduce IN to 1, 4, 8, 15, 16, 24 or 32 bits as the colour depth window does and save "
            "it as OUT",
            runDepth};
}

} // namespace velmar::cli
