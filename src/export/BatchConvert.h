#pragma once
// The batch converter behind fBatchSave: the list of pictures a folder offers, the format list,
// the names the outputs get, and the conversion of one file or of a whole selection. fSaveAll
// (the frames of an animated GIF) shares the checks and the naming, so they live here as well.
//
// Loading goes through the gateway's loader table at the batch converter's site (the table
// without `sun`); writing goes through the project's writers: the picture converter for GIF and
// BMP, the library for JPEG, PNG, Targa, TIFF and PNM, and the PCX writer.
//
// A file that cannot be loaded or written never stops the batch: its outcome says why, and the
// window ignores it while velmar-cli counts it. Files convert on several threads at once; every
// file's output is the same as when it converts alone.
#include "port/UserPort.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace velmar {

// How a format of the list is written.
enum class BatchWriter : std::uint8_t {
    Converter, // the picture converter: GIF with an adaptive palette, BMP at 16 or 24 bits
    Jpeg,      // the library's JPEG writer with the row's quality flag
    Document,  // the document's save route for the row's extension (PNG, Targa, TIFF)
    Pnm,       // the library's PNM writer; the source's depth chooses pbm, pgm or ppm
    Pcx,       // our PCX writer
};

// One entry of the format list, in list order: its index is the format index.
struct BatchFormat {
    std::string_view entry;     // the text of the list
    std::string_view extension; // appended to the stem ("pnm" is replaced by the depth's letters)
    BatchWriter writer;
    int setting; // Converter: the colour bits; Jpeg: the library's quality flag; otherwise 0
};

std::span<const BatchFormat> BatchFormats();

// The colour list: "Color" (0) and "GreyScale" (1). It changes the GIF and BMP formats only.
inline constexpr int kBatchColor = 0;
inline constexpr int kBatchGreyScale = 1;
std::span<const std::string_view> BatchColourEntries();

// The window opens on these entries.
inline constexpr int kBatchOpeningFormat = 1;
inline constexpr int kBatchOpeningColour = kBatchGreyScale;

inline constexpr const char* kBatchNoFolderText = "Please specify a folder to save the images!";
inline constexpr const char* kBatchNoNameText = "Please type a name to save the images!";

// The pictures fBatchSave lists for Folder: its files (not those of its subfolders) whose
// extension the batch converter's loader rows serve, sorted by name. Empty when the folder
// cannot be read.
std::vector<std::filesystem::path> BatchSourceFiles(const std::filesystem::path& Folder);

// The checks of Convert and of fSaveAll: an empty folder or an empty name is told with its
// message (information icon, the product's title) and gives false.
bool CheckBatchTarget(std::string_view Folder, std::string_view Name, UserPort& Port);

// The folder's text with a "/" added unless it ends with one.
std::string FolderWithSeparator(std::string_view Folder);

// The stem of a row's output: folder (with its separator) + name + row + ".". The number is the
// row's 1-based position in the list, not a count of the files done.
std::string BatchStem(std::string_view Folder, std::string_view Name, int Row);

enum class BatchResult : std::uint8_t {
    Written,    // the file is there, complete
    NotWritten, // the PNM rule has no form for the source's depth; nothing was touched
    Failed,     // the source could not be loaded or the writer failed; nothing was left behind
};

struct BatchOutcome {
    BatchResult result = BatchResult::Failed;
    std::filesystem::path written; // the file written (for PNM: the stem + the depth's letters)
    std::string reason;            // why nothing was written; empty when written
};

// Converts one file to Target (the stem + the format's extension) by FormatIndex (0 to 14) and
// ColourIndex (0 or 1). Stem ends in a point; the PNM format writes the stem + "pbm", "pgm" or
// "ppm" by the depth of the source (1, 8, and 24 or 32 bits) and nothing for other depths.
// Nothing is shown to the user. Files may convert on several threads at once.
BatchOutcome BatchConvert(const std::filesystem::path& Source, const std::string& Stem,
                          const std::filesystem::path& Target, int FormatIndex, int ColourIndex);

// A selected row of the list: the file and its 1-based position.
struct BatchRow {
    std::filesystem::path source;
    int row = 0;
};

// One thread per core, at least one.
unsigned DefaultBatchWorkers();

// What Convert does: the two checks (nothing when one fails, after its message), then every
// row converted to BatchStem(Folder, Name, row) + the format's extension. Outcomes come back in
// the order of Rows. Workers > 1 converts that many files at once, one file to a thread. Opening
// the folder afterwards is the window's part.
std::optional<std::vector<BatchOutcome>> BatchConvertRows(std::span<const BatchRow> Rows,
                                                          std::string_view Folder,
                                                          std::string_view Name, int FormatIndex,
                                                          int ColourIndex, UserPort& Port,
                                                          unsigned Workers = DefaultBatchWorkers());

// ---- fSaveAll ----

// The entries of its FileType list, in order.
std::span<const std::string_view> SaveAllFileTypes();

// The extension of a FileType entry as its caption writes it ("bmp", "GIF", "JPG", "PNG",
// "TGA", "TIF", "ppm"); empty for an index outside the list.
std::string SaveAllExtension(int FileType);

// The file of frame Frame (from 1): folder (with its separator) + name + frame + "." + the
// extension of the FileType entry.
std::string SaveAllFrameName(std::string_view Folder, std::string_view Name, int Frame,
                             int FileType);

} // namespace velmar
