#include "formats/fgif.h"

#include "formats/PictureConverter.h"
#include "formats/gateway.h"

#include <algorithm>

namespace velmar {

const std::vector<fgif::MenuAction>& fgif::MenuActions() {
    static const std::vector<MenuAction> actions = {
        {"LOAD", 1}, {"UNLOAD", 2}, {"EXTRACT", 3}, {"STOP", 5},     {"PLAY", 6},
        {"NEXT", 8}, {"LOOP", 9},   {"SAVE", 11},   {"SAVEALL", 12},
    };
    return actions;
}

fgif::fgif(std::filesystem::path tempFolder, UserPort& port)
    : tempFolder_(std::move(tempFolder)), port_(port) {}

bool fgif::MenuGIF(std::string_view key, const std::filesystem::path& chosenFile) {
    const auto& actions = MenuActions();
    const auto it = std::find_if(actions.begin(), actions.end(),
                                 [&](const MenuAction& a) { return a.key == key; });
    if (it == actions.end()) return false;
    switch (it->number) {
    case 1:
        AniGif.Load(std::filesystem::path(AniGif.FileName()));
        break;
    case 2:
        AniGif.Load({});
        break;
    case 3:
        Extract();
        break;
    case 5:
        playing_ = false;
        break;
    case 6:
        playing_ = AniGif.FrameCount() > 1;
        break;
    case 8:
        if (AniGif.FrameCount() > 0) shown_ = (shown_ + 1) % AniGif.FrameCount();
        break;
    case 9:
        looping_ = !looping_;
        break;
    case 11:
        // A cancelled dialog ends the command with nothing said.
        if (!chosenFile.empty()) SaveFrame(chosenFile);
        break;
    case 12:
        break; // the window opens the Save All form
    default:
        break;
    }
    return true;
}

bool fgif::Browse(const std::filesystem::path& file) {
    if (LowerCase(ExtensionOf(file)) != "gif") return false;
    AniGif.Load(file);
    shown_ = 0;
    currentFrame_ = 1;
    return true;
}

std::vector<std::filesystem::path> fgif::Extract() {
    std::vector<std::filesystem::path> written;
    if (AniGif.FrameCount() < 2) return written;
    for (int i = 1; i <= AniGif.FrameCount(); ++i) {
        // No padding: the stem stays "temp000" and the number follows, so frame 12 is
        // "temp00012.gif". A second extraction replaces the same files.
        const std::filesystem::path file =
            tempFolder_ / (std::string(kExtractStem) + std::to_string(i) + ".gif");
        PictureConverter converter;
        if (converter.ConvertPicture(AniGif.Frame(i - 1), file, kFileGif, kColorModeColors, 8,
                                     kPaletteOptimal, kDitherNone))
            written.push_back(file);
    }
    return written;
}

bool fgif::SaveFrame(const std::filesystem::path& chosenFile) {
    if (AniGif.FrameCount() == 0) {
        port_.MsgBox("Unexpected error saving image", MsgIcon::Warning, MsgButtons::Ok, kAppTitle);
        return false;
    }
    const std::optional<std::filesystem::path> stem = PnmStem(chosenFile);
    const std::filesystem::path name = stem ? *stem : chosenFile;
    const std::string extension = stem ? "pnm" : LowerCase(ExtensionOf(chosenFile));
    const int frame = std::clamp(currentFrame_, 1, AniGif.FrameCount()) - 1;
    const std::optional<SaveRow> row = FindSaver(extension);
    const SaveResult result = SaveDocumentPicture(AniGif.Frame(frame), name, extension, port_);
    if (result == SaveResult::Written) return true;
    // ico has told the user itself that it is turned off; anything else is a failed save.
    if (!(row && row->writer == SaveWriter::TurnedOff))
        port_.MsgBox("Unexpected error saving image", MsgIcon::Warning, MsgButtons::Ok, kAppTitle);
    return false;
}

void fgif::SelectFrame(int n) {
    if (n >= 1 && n <= AniGif.FrameCount()) {
        currentFrame_ = n;
        shown_ = n - 1;
    }
}

void fgif::Advance() {
    if (!playing_ || AniGif.FrameCount() == 0) return;
    if (shown_ + 1 < AniGif.FrameCount()) {
        ++shown_;
    } else if (looping_) {
        shown_ = 0;
    } else {
        playing_ = false;
    }
}

} // namespace velmar
