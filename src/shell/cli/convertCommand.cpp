// velmar-cli convert IN OUT: opens IN as File, Open does and saves it by OUT's extension as the
// document's Save As does, so a script gets exactly the files the editor would write.
#include "formats/gateway.h"
#include "shell/TerminalPort.h"
#include "shell/cli/CliCommand.h"

#include <ostream>
#include <string>

namespace velmar::cli {

namespace {

bool isPnmName(const std::string& ext) {
    return ext == "ppm" || ext == "pgm" || ext == "pbm" || ext == "pnm";
}

std::string lowerCase(std::string text) {
    for (char& c : text)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return text;
}

int runConvert(CliContext& ctx, std::span<const std::string> args) {
    if (args.size() != 2) {
        ctx.err << "velmar-cli convert: give the picture to read and the file to write.\n"
                << "Usage: velmar-cli convert IN OUT\n";
        return 2;
    }
    const std::filesystem::path in = args[0], out = args[1];
    TerminalPort port(ctx.err);

    std::string extension = ExtensionOf(out);
    std::filesystem::path target = out;
    // As Save As does, the three PNM names go to the pnm writer, which adds the letters for
    // the depth to a name that ends in its point; a name ending in .pnm is treated the same.
    if (isPnmName(lowerCase(extension))) {
        std::string stem = out.native();
        stem.resize(stem.size() - extension.size());
        target = stem;
        extension = "pnm";
    }
    if (!FindSaver(extension)) {
        ctx.err << "velmar-cli convert: no picture format is written for the name '" << out.string()
                << "'.\n";
        return 2;
    }

    const std::optional<Bits> picture = LoadPictureFile(in, LoadSite::MainFrameOpen);
    if (!picture) {
        port.MsgBox("Unexpected error loading image", MsgIcon::Warning, MsgButtons::Ok, kAppTitle);
        return 1;
    }
    switch (SaveDocumentPicture(*picture, target, extension, port)) {
    case SaveResult::Written:
        return 0;
    case SaveResult::NotWritten:
        ctx.err << "velmar-cli convert: nothing was written to '" << out.string() << "'.\n";
        return 1;
    case SaveResult::Failed:
        break;
    }
    return 1;
}

} // namespace

CliCommand convertCommand() {
    return {"convert", "IN OUT",
            "open the picture IN as File, Open does and save it by the extension of OUT",
            runConvert};
}

} // namespace velmar::cli
