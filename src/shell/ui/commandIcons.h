#pragma once
// The tool bars' icons, drawn by the program itself: a glyph for the common commands and, for
// the many filter words, a tile in the colour of its bar with a short mark of the command.
#include <QIcon>

#include <string_view>

namespace velmar {

QIcon CommandIcon(std::string_view key, int barIndex);

} // namespace velmar
