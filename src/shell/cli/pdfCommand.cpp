// velmar-cli pdf IN OUT [options]: the "ASCII to PDF Generator" window's Produce PDF, with the
// window's fields as options, so a script gets the file the window would write.
#include "export/PdfTextLines.h"
#include "export/PdfWriter.h"
#include "shell/TerminalPort.h"
#include "shell/cli/CliCommand.h"

#include <charconv>
#include <ostream>
#include <string_view>
#include <vector>

namespace velmar::cli {

namespace {

constexpr std::string_view kUsage =
    "IN OUT [--font NAME] [--size N] [--page-width IN] [--page-height IN] [--title T] "
    "[--subject S] [--keywords K] [--author A] [--creator C]";

// A whole number within the range the window's list offers.
bool parseWhole(const std::string& text, int low, int high, int& value) {
    int n = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), n);
    if (ec != std::errc() || end != text.data() + text.size() || n < low || n > high) return false;
    value = n;
    return true;
}

// Fills `job` from the words after "pdf"; false with the reason in `error` for bad usage.
bool parseArguments(std::span<const std::string> args, PdfJob& job, std::string& error) {
    struct TextOption {
        std::string_view name;
        std::string PdfJob::*field;
    };
    const TextOption texts[] = {{"--font", &PdfJob::fontName},   {"--title", &PdfJob::title},
                                {"--subject", &PdfJob::subject}, {"--keywords", &PdfJob::keywords},
                                {"--author", &PdfJob::author},   {"--creator", &PdfJob::creator}};
    struct NumberOption {
        std::string_view name;
        int PdfJob::*field;
        int low, high;
    };
    const NumberOption numbers[] = {{"--size", &PdfJob::fontSize, 5, 75},
                                    {"--page-width", &PdfJob::pageWidth, 5, 50},
                                    {"--page-height", &PdfJob::pageHeight, 5, 50}};
    std::vector<std::string> files;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& word = args[i];
        if (!word.starts_with("--")) {
            files.push_back(word);
            continue;
        }
        if (i + 1 >= args.size()) {
            error = "the option " + word + " needs a value.";
            return false;
        }
        const std::string& value = args[++i];
        bool known = false;
        for (const TextOption& t : texts)
            if (word == t.name) {
                job.*t.field = value;
                known = true;
            }
        for (const NumberOption& n : numbers)
            if (word == n.name) {
                if (!parseWhole(value, n.low, n.high, job.*n.field)) {
                    error = word + " takes a whole number from " + std::to_string(n.low) + " to " +
                            std::to_string(n.high) + ", not '" + value + "'.";
                    return false;
                }
                known = true;
            }
        if (!known) {
            error = "unknown option " + word + ".";
            return false;
        }
    }
    if (files.size() != 2) {
        error = "give the text file to read and the PDF file to write.";
        return false;
    }
    if (job.fontName.empty()) {
        error = "--font needs a font name.";
        return false;
    }
    job.input = files[0];
    job.output = files[1];
    return true;
}

int runPdf(CliContext& ctx, std::span<const std::string> args) {
    PdfJob job;
    std::string error;
    if (!parseArguments(args, job, error)) {
        ctx.err << "velmar-cli pdf: " << error << "\nUsage: velmar-cli pdf " << kUsage << "\n";
        return 2;
    }
    TerminalPort port(ctx.err);
    // The window keeps this warning in view beside the file name; a script sees it only when
    // the file given does not look like text.
    if (LooksLikeBinary(job.input))
        port.MsgBox(std::string(kPdfAsciiWarning), MsgIcon::Warning, MsgButtons::Ok, kAppTitle);
    return PdfWriter(port).Convert(job) ? 0 : 1;
}

} // namespace

CliCommand pdfCommand() {
    return {"pdf", kUsage,
            "write the text file IN as the PDF file OUT, as the ASCII to PDF Generator does "
            "(defaults: Courier 10 points on 8 by 11 inches)",
            runPdf};
}

} // namespace velmar::cli
