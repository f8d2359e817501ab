#pragma once
// The key words of the three dispatchers as data, and the texts of the dead commands. The
// editor builds its menus from the same words, and velmar-cli's scripts use them as they stand.
#include <span>
#include <string_view>

namespace velmar {

enum class Dispatcher { Static, Utilities, Document };

// A key word and the dispatcher that has it.
struct KeyWord {
    std::string_view key;
    Dispatcher dispatcher;
};

// Every key word the dispatchers test (the filter words of the filter tables apart), in menu
// order.
std::span<const KeyWord> KeyWords();

inline constexpr const char* kNotAvailableNewVersion =
    "Not Available! Please Check for new Version!";
inline constexpr const char* kWillComeSoon = "Will Come soon!";
inline constexpr const char* kHelpNotAvailable = "Not Available! Check it out for new Version";
inline constexpr const char* kHelpBarNotAvailable =
    "Not Available Now! Please Download a newer version!";
inline constexpr const char* kNoScanner = "Please Verify that the system is connected to Scanner!";

} // namespace velmar
