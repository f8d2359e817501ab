#pragma once
// The mouse cursors of the tools and the icons of the tool strip, drawn in code: they need no
// image files and look the same on every desktop theme.
#include <QCursor>
#include <QIcon>

#include <string_view>

namespace velmar {

// The cursor by the name the tools give a document's view (DocumentView::SetMouseCursor):
// "cBrush", "cAirBrush", "cFill", "cPencil", "cTextures", "cGradient", "cPicker", "cGrab" (a
// closed hand) and "cRelease" (an open hand) are our own 32 x 32 drawings, hot spot where the
// tool paints; "Default" is the arrow and "Hourglass" the busy cursor. Any other name gives
// the arrow, so a new tool never leaves the mouse without a cursor.
QCursor ToolCursor(std::string_view name);

// The 24 x 24 icon of a tool strip button by its key: the eleven tools and "ZoomIn",
// "ZoomOut", "MouseScroll". A key without a drawing gives a null icon.
QIcon ToolIcon(std::string_view key);

} // namespace velmar
