#pragma once
// Opening and saving pictures for velmar-cli commands, exactly as the editor's File, Open and
// Save As do, with the messages written to stderr.
#include "pixel/Bits.h"
#include "port/UserPort.h"
#include "shell/cli/CliCommand.h"

#include <filesystem>
#include <optional>
#include <string_view>

namespace velmar::cli {

// The picture at `in` by the main frame's open route; nothing (after "Unexpected error loading
// image") when it cannot be loaded.
std::optional<Bits> openPicture(const std::filesystem::path& in, UserPort& port);

// True when OUT's extension names a format the save route writes (ppm, pgm and pbm count as
// pnm). Commands check this before they do any work.
bool canSaveAs(const std::filesystem::path& out);

// Saves by OUT's extension through the document's save route. Names ending in ppm, pgm or pbm
// (or pnm) lose their extension and go to the pnm writer, which adds the letters of the depth.
// Returns the exit code: 0 written, 1 failed (the route has said why; `command` names the
// command in the line for a file that was not written).
int savePicture(const Bits& picture, const std::filesystem::path& out, std::string_view command,
                CliContext& ctx, UserPort& port);

} // namespace velmar::cli
