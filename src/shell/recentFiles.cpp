// The Recent menu: eight names in the setup record, newest first, shown by FillRecent.
#include "shell/Application.h"

#include <filesystem>
#include <system_error>

namespace velmar {

namespace {

// The name without its blanks at either end, as the entries are compared and tested.
std::string trimmed(const std::string& text) {
    const auto first = text.find_first_not_of(' ');
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

bool fileExists(const std::string& name) {
    std::error_code error;
    return !name.empty() && std::filesystem::is_regular_file(name, error);
}

} // namespace

void Application::FillRecent() {
    for (int i = 0; i < kRecentCount; ++i) {
        auto& entry = Setup.RecentFiles[static_cast<std::size_t>(i)];
        RecentItem& item = recentMenu_[static_cast<std::size_t>(i)];
        const std::string name = trimmed(entry.Trimmed());
        if (fileExists(name)) {
            item = {port_.CompactPath(name, kRecentCaptionPixels), true, true};
        } else {
            entry = "";
            item = {};
        }
    }
    if (!recentMenu_[0].enabled) recentMenu_[0] = {"Empty", true, false};
}

void Application::AddRecent(const std::string& file) {
    const std::string name = trimmed(file);
    auto& entries = Setup.RecentFiles;
    // A name already listed stays where it is: reopening does not bring it to the top.
    for (const auto& entry : entries)
        if (trimmed(entry.Trimmed()) == name) return;
    for (auto& entry : entries)
        if (trimmed(entry.Trimmed()).empty()) {
            entry = name;
            return;
        }
    for (std::size_t i = entries.size() - 1; i > 0; --i)
        entries[i] = entries[i - 1];
    entries[0] = name;
}

void Application::RF(int index) {
    if (index < 0 || index >= kRecentCount) return;
    const std::string name = trimmed(Setup.RecentFiles[static_cast<std::size_t>(index)].Trimmed());
    if (!name.empty()) User_File(name);
}

} // namespace velmar
