// velmar-cli batch: the batch converter on the files given, as if they were the rows of the
// window's list and all of them were selected. Unlike the window, which skips a failed file
// silently, the command names every file it could not convert and counts them.
#include "export/BatchConvert.h"
#include "shell/TerminalPort.h"
#include "shell/cli/CliCommand.h"

#include <charconv>
#include <filesystem>
#include <optional>
#include <ostream>
#include <vector>

namespace velmar::cli {

namespace {

constexpr std::string_view kUsage = "--format INDEX [--grey] --out DIR --name STEM FILE...";

int usage(CliContext& ctx, const std::string& why) {
    ctx.err << "velmar-cli batch: " << why << "\nUsage: velmar-cli batch " << kUsage
            << "\nFormats:\n";
    int index = 0;
    for (const BatchFormat& f : BatchFormats())
        ctx.err << "  " << index++ << "  " << f.entry << "\n";
    return 2;
}

std::optional<int> formatIndex(const std::string& text) {
    int value = -1;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (ec != std::errc() || end != text.data() + text.size()) return std::nullopt;
    if (value < 0 || value >= static_cast<int>(BatchFormats().size())) return std::nullopt;
    return value;
}

int runBatch(CliContext& ctx, std::span<const std::string> args) {
    std::optional<int> format;
    int colour = kBatchColor;
    // An option left out counts as the window's empty field, so it gets the window's message.
    std::string folder, name;
    std::vector<BatchRow> rows;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        const bool hasValue = i + 1 < args.size();
        if (a == "--format" && hasValue) {
            format = formatIndex(args[++i]);
            if (!format) return usage(ctx, "'" + args[i] + "' is not a format index.");
        } else if (a == "--grey") {
            colour = kBatchGreyScale;
        } else if (a == "--out" && hasValue) {
            folder = args[++i];
        } else if (a == "--name" && hasValue) {
            name = args[++i];
        } else if (a.starts_with("--")) {
            return usage(ctx, "'" + a + "' is not an option of batch, or its value is missing.");
        } else {
            rows.push_back({a, static_cast<int>(rows.size()) + 1});
        }
    }
    if (!format) return usage(ctx, "--format is required.");
    if (rows.empty()) return usage(ctx, "give the pictures to convert.");

    TerminalPort port(ctx.err);
    if (!CheckBatchTarget(folder, name, port)) return 2;
    std::error_code ec;
    if (!std::filesystem::is_directory(folder, ec)) {
        ctx.err << "velmar-cli batch: the folder '" << folder << "' does not exist.\n";
        return 2;
    }

    const std::optional<std::vector<BatchOutcome>> outcomes =
        BatchConvertRows(rows, folder, name, *format, colour, port);
    if (!outcomes) return 2;
    std::size_t failures = 0;
    for (std::size_t i = 0; i < outcomes->size(); ++i) {
        const BatchOutcome& o = (*outcomes)[i];
        if (o.result == BatchResult::Written) {
            ctx.out << o.written.string() << "\n";
        } else {
            ++failures;
            ctx.err << "velmar-cli batch: '" << rows[i].source.string()
                    << "' was not converted: " << o.reason << "\n";
        }
    }
    if (failures == 0) return 0;
    ctx.err << "velmar-cli batch: " << failures << " of " << rows.size()
            << " pictures were not converted.\n";
    return 1;
}

} // namespace

CliCommand batchCommand() {
    return {"batch", kUsage,
            "convert the pictures to one format as the batch converter does; FILE number n is "
            "written as DIR/STEMn.EXT",
            runBatch};
}

} // namespace velmar::cli
