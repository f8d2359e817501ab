#pragma once
#include <string_view>

namespace velmar {
// The product's name and version as velmar-cli --version and the About box show them.
std::string_view productName();
std::string_view productVersion();
} // namespace velmar
