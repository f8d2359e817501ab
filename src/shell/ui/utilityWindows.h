#pragma once
// The utility windows of the main frame (PDF writer, batch converter, extractor): each opens
// beside the pictures rather than over them, so that a long conversion can be set up while
// editing goes on; asking for one that is open already brings it forward.
#include <string_view>

class QWidget;

namespace velmar {

class UserPort;

// Shows the utility window named `form` ("fPDF", "fBatchSave", "frmIconEx") as a tool window of
// `frame`. False when no such window exists.
bool ShowUtilityWindow(std::string_view form, UserPort& port, QWidget* frame);

} // namespace velmar
