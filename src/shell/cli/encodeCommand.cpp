// velmar-cli encode: the picture converter of the web optimizer, with every option on the line.
#include "formats/PictureConverter.h"
#include "shell/TerminalPort.h"
#include "shell/cli/CliCommand.h"
#include "shell/cli/pictureFiles.h"

#include <charconv>
#include <ostream>

namespace velmar::cli {

namespace {

bool parseNumber(const std::string& text, int& value) {
    const bool hex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    const char* first = text.data() + (hex ? 2 : 0);
    const char* last = text.data() + text.size();
    const auto [end, ec] = std::from_chars(first, last, value, hex ? 16 : 10);
    return ec == std::errc() && end == last;
}

int usage(CliContext& ctx, const std::string& why) {
    ctx.err << "velmar-cli encode: " << why
            << "\nUsage: velmar-cli encode IN OUT --kind bmp|gif|gif-interlaced --bits N "
               "[--palette 0xNNNN] "
               "[--dither N] [--grey] [--flip-h] [--flip-v] [--invert]\n";
    return 2;
}

int runEncode(CliContext& ctx, std::span<const std::string> args) {
    if (args.size() < 2) return usage(ctx, "give the picture to read and the file to write.");
    ConverterOptions o;
    o.FileKind = -1;
    o.ColorBits = -1;
    std::uint32_t flags = 0;
    for (std::size_t i = 2; i < args.size(); ++i) {
        const std::string& a = args[i];
        const bool hasValue = i + 1 < args.size();
        if (a == "--kind" && hasValue) {
            const std::string& k = args[++i];
            o.FileKind = k == "bmp"              ? kFileBmp
                         : k == "gif"            ? kFileGif
                         : k == "gif-interlaced" ? kFileGifInterlaced
                                                 : -2;
            if (o.FileKind == -2)
                return usage(ctx, "the kind is bmp, gif or gif-interlaced, not '" + k + "'.");
        } else if ((a == "--bits" || a == "--palette" || a == "--dither") && hasValue) {
            int value = 0;
            if (!parseNumber(args[++i], value))
                return usage(ctx, a + " needs a number, not '" + args[i] + "'.");
            (a == "--bits" ? o.ColorBits : a == "--palette" ? o.PaletteMode : o.Dither) = value;
        } else if (a == "--grey") {
            o.ColorMode = kColorModeGreyscale;
        } else if (a == "--flip-h") {
            flags |= kTransformFlipHorizontal;
        } else if (a == "--flip-v") {
            flags |= kTransformFlipVertical;
        } else if (a == "--invert") {
            flags |= kTransformInvert;
        } else {
            return usage(ctx, "'" + a + "' is not an option of encode.");
        }
    }
    if (o.FileKind < 0) return usage(ctx, "--kind is required.");
    if (o.ColorBits < 0) return usage(ctx, "--bits is required.");

    TerminalPort port(ctx.err);
    const std::optional<Bits> picture = openPicture(args[0], port);
    if (!picture) return 1;
    PictureConverter converter;
    // Without a transformation the one-call path runs, as the optimizer does; with one, the
    // stepwise path. Both write the same file when no transformation is asked.
    bool ok = false;
    if (flags == 0) {
        ok = converter.ConvertPicture(*picture, args[1], o.FileKind, o.ColorMode, o.ColorBits,
                                      o.PaletteMode, o.Dither);
    } else {
        ok = converter.SetOptions(o.FileKind, o.ColorMode, o.ColorBits, o.PaletteMode, o.Dither) &&
             converter.SetPicture(*picture) && converter.TransformImage(flags) &&
             converter.Quantize() &&
             (o.FileKind == kFileBmp   ? converter.WriteBmp(args[1])
              : o.FileKind == kFileGif ? converter.WriteGif(args[1])
                                       : converter.WriteGifInterlaced(args[1]));
    }
    if (!ok) {
        ctx.err << "velmar-cli encode: " << converter.LastError() << "\n";
        return 1;
    }
    return 0;
}

} // namespace

CliCommand encodeCommand() {
    return {
        "encode",
        "IN OUT --kind bmp|gif|gif-interlaced --bits N [--palette 0xNNNN] [--dither N] [--grey] "
        "[--flip-h] [--flip-v] [--invert]",
        "reduce IN to a palette or 16/24 bits with the web optimizer's converter and write OUT as "
        "BMP or GIF",
        runEncode};
}

} // namespace velmar::cli
