#pragma once
// The data folders beside the executable and what start-up writes into them.
//
// Start-up is the only place that makes "Stamps", "Templates", "Temp" and "Images" in the
// application folder; everything else takes them for granted. A folder is filled only when it
// is made: one that exists is left as it is, even empty, so a stamp or a template the user
// deleted stays deleted.
//
// The templates are the player programs, which the build puts beside the editor's executable.
// They are copied byte for byte; a player that is not there is skipped, and the generators that
// need it later report the missing template as they would for one the user deleted.
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace velmar {

// One template: the name it is known by among the program's resources, the file it becomes in
// "Templates", and the player executable that provides its bytes.
struct TemplateFile {
    std::string_view resource;
    std::string_view fileName;
    std::string_view player;
};

// The four templates in the order start-up writes them.
std::span<const TemplateFile> TemplateFiles();

// The bytes of the template resource Name as this build provides them: the player's file in
// ProgramFolder. Nothing for a name that is no template or a player that is not there.
// Throws std::filesystem::filesystem_error when the player is there but cannot be read.
std::optional<std::vector<std::uint8_t>>
TemplateResource(std::string_view name, const std::filesystem::path& programFolder);

// Makes sure of the four folders in AppFolder, in the start-up order: "Stamps" (made with the
// stamps "Velmar1.bmp", "Velmar2.bmp", ...), "Templates" (made with the templates found in
// ProgramFolder), "Temp" (made empty), "Images" (made with "Velmar.bmp", the default picture).
// Returns the files it wrote, in the order written. Start-up has no way round a folder it
// cannot make or a file it cannot write, so every failure is thrown as
// std::filesystem::filesystem_error.
std::vector<std::filesystem::path> EnsureDataFolders(const std::filesystem::path& appFolder,
                                                     const std::filesystem::path& programFolder);

} // namespace velmar
