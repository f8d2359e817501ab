#include "shell/fPreferences.h"

#include "port/UserPort.h"

#include <filesystem>
#include <string>
#include <system_error>

namespace velmar {

namespace {

bool FolderExists(const std::string& folder) {
    std::error_code ec;
    return !folder.empty() && std::filesystem::is_directory(folder, ec);
}

} // namespace

fPreferences::fPreferences(SetupRecord& record, UserPort& port)
    : record_(record), port_(port), copy_(ToBytes(record)) {}

void fPreferences::Cancel() {
    record_ = FromBytes(copy_);
}

bool fPreferences::OK() {
    if (!FolderExists(record_.ImagesFolder.Trimmed())) {
        port_.MsgBox(std::string(kMissingFolderMessage), MsgIcon::Information, MsgButtons::Ok,
                     kAppTitle);
        record_ = FromBytes(copy_);
        return false;
    }
    return true;
}

} // namespace velmar
