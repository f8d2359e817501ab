#pragma once
// The errors the icon and resource readers raise, as the old program raised them: a number that
// callers may test, the text the user sees, and the source that names the class which failed.
// The numbers are the old COM-style ones (0x8004041A and on), so they are kept unsigned.
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace velmar {

// Loading an icon, from an .ico file or from a module: "Failed to load icon: " + reason.
inline constexpr std::uint32_t kIconLoadError = 2147746842u; // 0x8004041A
// Saving an icon: one number for each reason, in the order SaveIcon tests them.
inline constexpr std::uint32_t kIconNoFileName = 2147746843u;    // 0x8004041B
inline constexpr std::uint32_t kIconNothingToSave = 2147746844u; // 0x8004041C
inline constexpr std::uint32_t kIconCannotCreate = 2147746845u;  // 0x8004041D
inline constexpr std::uint32_t kIconWriteFailed = 2147746846u;   // 0x8004041E
// AddImage of a size and depth the icon already holds; the number follows the save ones.
inline constexpr std::uint32_t kIconImageExists = 2147746847u; // 0x8004041F
// A module that cannot be read as a PE file with a resource directory.
inline constexpr std::uint32_t kResourcesLoadError = 2147746848u; // 0x80040420

// The program's own name, the first part of every source.
inline constexpr std::string_view kProgramSource = "Velmar32";

class ExtractError : public std::runtime_error {
  public:
    ExtractError(std::uint32_t number, const std::string& text, std::string_view className)
        : std::runtime_error(text), number_(number),
          source_(std::string(kProgramSource) + "." + std::string(className)) {}
    std::uint32_t number() const noexcept { return number_; }
    // "Velmar32.cFileIcon" or "Velmar32.cResources".
    const std::string& source() const noexcept { return source_; }

  private:
    std::uint32_t number_;
    std::string source_;
};

} // namespace velmar
