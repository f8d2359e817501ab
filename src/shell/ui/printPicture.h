#pragma once
// Printing a document: the picture as large as the page allows, its proportions kept, centred.
class QPrinter;

namespace velmar {

class fImage;

// Prints the document's picture on one page of `printer`; false when there is no picture or
// the printer cannot start.
bool PrintPicture(QPrinter& printer, const fImage& doc);

} // namespace velmar
