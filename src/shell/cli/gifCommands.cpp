// velmar-cli gif-frames and gif-frame: the animated GIF window's EXTRACT and SAVE.
#include "formats/fgif.h"
#include "shell/TerminalPort.h"
#include "shell/cli/CliCommand.h"
#include "shell/cli/pictureFiles.h"

#include <charconv>
#include <ostream>

namespace velmar::cli {

namespace {

bool loadAnimation(CliContext& ctx, fgif& window, const std::string& in) {
    if (window.AniGif.Load(in)) return true;
    ctx.err << "velmar-cli: " << in << ": " << window.AniGif.LastError() << "\n";
    return false;
}

int runFrames(CliContext& ctx, std::span<const std::string> args) {
    if (args.size() != 2) {
        ctx.err << "velmar-cli gif-frames: give the animation and the folder for its frames.\n"
                   "Usage: velmar-cli gif-frames IN OUTDIR\n";
        return 2;
    }
    if (!std::filesystem::is_directory(args[1])) {
        ctx.err << "velmar-cli gif-frames: the folder '" << args[1] << "' does not exist.\n";
        return 1;
    }
    TerminalPort port(ctx.err);
    fgif window(args[1], port);
    if (!loadAnimation(ctx, window, args[0])) return 1;
    if (window.AniGif.FrameCount() < 2) {
        ctx.err << "velmar-cli gif-frames: " << args[0]
                << " holds a single picture; a still GIF is not taken apart.\n";
        return 0;
    }
    const std::vector<std::filesystem::path> written = window.Extract();
    for (const auto& f : written)
        ctx.out << f.string() << "\n";
    if (static_cast<int>(written.size()) != window.AniGif.FrameCount()) {
        ctx.err << "velmar-cli gif-frames: "
                << window.AniGif.FrameCount() - static_cast<int>(written.size())
                << " frames could not be written.\n";
        return 1;
    }
    return 0;
}

int runFrame(CliContext& ctx, std::span<const std::string> args) {
    int n = 0;
    if (args.size() != 3 ||
        std::from_chars(args[1].data(), args[1].data() + args[1].size(), n).ec != std::errc() ||
        n < 1) {
        ctx.err << "velmar-cli gif-frame: give the animation, the frame number from 1 and the file "
                   "to write.\n"
                   "Usage: velmar-cli gif-frame IN N OUT\n";
        return 2;
    }
    TerminalPort port(ctx.err);
    fgif window(std::filesystem::path(args[2]).parent_path(), port);
    if (!loadAnimation(ctx, window, args[0])) return 1;
    if (n > window.AniGif.FrameCount()) {
        ctx.err << "velmar-cli gif-frame: " << args[0] << " has " << window.AniGif.FrameCount()
                << " frames.\n";
        return 1;
    }
    window.SelectFrame(n);
    return window.SaveFrame(args[2]) ? 0 : 1;
}

} // namespace

CliCommand gifFramesCommand() {
    return {"gif-frames", "IN OUTDIR",
            "write every frame of the animated GIF IN, as a player shows it, to OUTDIR as "
            "temp0001.gif, "
            "temp0002.gif, ...",
            runFrames};
}

CliCommand gifFrameCommand() {
    return {"gif-frame", "IN N OUT",
            "save frame N (from 1) of the animated GIF IN by the extension of OUT", runFrame};
}

} // namespace velmar::cli
