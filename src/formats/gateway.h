#pragma once
// The format gateway: which loader reads a picture file and which writer saves one, chosen by
// the lower-cased extension of the name and never by the content, with the library's flags.
//
// Loading: one table of loaders (gatewayTables.cpp) says, for each extension, the route and the
// library's format code and flags, and at which sites of the program the row exists: the sites
// differ in a few rows only. A load gives a 32-bit top-down Bits (mask bytes 0) or nothing.
// Nothing is also the answer for an extension no row names, quietly; the caller decides what
// to say ("Unexpected error loading image" for the document).
//
// Saving: the document's save table (gatewaySave.cpp) by extension. Every format written
// through the library gets 24 bits a pixel: the picture becomes a 32-bit library image first
// and is then converted to 24. Messages go through the UserPort with the program's texts.
// Files are written under a temporary name beside the target and renamed over it, so a failed
// save leaves no part file and an existing target untouched.
//
// Each load and each save is one library session (ModFreeImage.h); nothing stays open between
// calls. Not for concurrent use from several threads: FreeImage's message hook is global.
#include "formats/ModFreeImage.h"
#include "pixel/Bits.h"
#include "port/UserPort.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace velmar {

// The places of the program that load pictures, each with its own variant of the table. The
// three album loaders send gif, wmf, emf, ico and dib to the picture loader; which of them
// lacks jfif and jtif and which knows cur is our assignment of the variants to their uses.
enum class LoadSite : std::uint8_t {
    Document,         // the document's own loader: the table plus sgi
    MainFrameOpen,    // File, Open: gif, wmf, emf, ico, cur, dib through the picture loader
    BatchConverter,   // the table without sun; gif, wmf, emf, dib through the picture loader
    AlbumFolder,      // thumbnails of a disk folder
    AlbumTree,        // thumbnails of the album tree: its JPEG row lacks jfif and jtif
    AlbumPreview,     // the picture of the album's description frame: also knows cur
    ProjectGenerator, // screen savers, slide shows, image executables: no ico, no jng
};
inline constexpr int kLoadSiteCount = 7;

enum class LoadRoute : std::uint8_t {
    Library,       // the library's loader for `format`, with `flags`
    ProbedLibrary, // the library's loader for the format its content probe names, flags 0
    Pcx,           // our reader for 24-bit three-plane PCX; the library for every other PCX
    PictureLoader, // the platform picture loader: GIF, ICO and CUR, DIB; metafiles give nothing
};

// One row of the loader table. `format` is a FREE_IMAGE_FORMAT, FIF_UNKNOWN for the metafiles.
struct LoaderRow {
    std::string_view extension; // lower case, without the point
    LoadRoute route;
    int format;
    int flags;
    std::uint8_t sites; // bit (1 << site) for every LoadSite that has the row
};

// The whole table, in the order it is searched.
std::span<const LoaderRow> LoaderTable();

// The row that serves Extension (any case) at Site, or nothing.
std::optional<LoaderRow> FindLoader(std::string_view Extension, LoadSite Site);

// The text after the last point of the path's file name, as it stands ("photo.JPG" gives
// "JPG", ".png" gives "png", "README" gives ""). Folders' points do not count.
std::string ExtensionOf(const std::filesystem::path& Path);

// Text in lower case (ASCII letters only, as extensions are compared everywhere).
std::string LowerCase(std::string_view Text);

// The save dialogs' pnm rule: a name ending in ppm, pgm or pbm (any case) loses those three
// letters and is saved as "pnm", so that the save route appends the letters of the depth.
// Nothing for any other name.
std::optional<std::filesystem::path> PnmStem(const std::filesystem::path& Name);

// Reads the file and loads it by its extension as the site does. Nothing when the file cannot
// be read, no row serves its extension, or the picture is refused: broken, cut short, not of
// the format its name says, or larger than kMostPicturePixels. `Diagnostics`, when given,
// receives the reason in its LastError, and its MostPixels() is the size limit.
std::optional<Bits> LoadPictureFile(const std::filesystem::path& Path, LoadSite Site,
                                    ModFreeImage* Diagnostics = nullptr);

// The same from bytes already in memory, with the extension given apart.
std::optional<Bits> LoadPictureBytes(std::span<const std::uint8_t> File, std::string_view Extension,
                                     LoadSite Site, ModFreeImage* Diagnostics = nullptr);

// ---- saving ----

enum class SaveWriter : std::uint8_t {
    Library,          // FreeImage_Save with `format` and `flags` on the 24-bit image
    PictureConverter, // the quantizing GIF writer: 8 bits, adaptive palette, no dither
    Pcx,              // our PCX writer, run-length encoded
    Pnm,              // the library's PNM writer; the letters for the depth follow the path
    TurnedOff,        // a message and nothing written
};

struct SaveRow {
    std::string_view extension;
    SaveWriter writer;
    int format;
    int flags;
};

// The save table in the order it is searched, and the row for Extension (any case).
std::span<const SaveRow> SaveTable();
std::optional<SaveRow> FindSaver(std::string_view Extension);

// The pnm branch by the library image's depth: the letters appended to the path, the format
// code, and the message that follows a save.
struct PnmVariant {
    unsigned bpp;
    std::string_view letters;
    int format;
    std::string_view message;
};
std::span<const PnmVariant> PnmVariants();

inline constexpr const char* kPnmCaption = "Collection of ASCII based bitmap";
inline constexpr const char* kTurnedOffText = "This facility is currently turned Off!";
inline constexpr const char* kSaveErrorText =
    "There was an error while saving! Please Restart Velmar's Kestrin";
inline constexpr const char* kSaveErrorCaption = "Internal Error";

enum class SaveResult : std::uint8_t {
    Written,    // the file is there, complete (for pnm: at the path with the letters added)
    NotWritten, // nothing to write, an extension no row names, or ico: nothing was touched
    Failed,     // a writer failed; the user was told, and an existing target is as it was
};

// Saves the picture by Extension (any case) to Path as the document's save does. For pnm the
// letters "pbm", "pgm" or "ppm" are appended to Path as given: the caller ends it in a point.
// Messages go to Port: the turned-off text for ico, the PNM note after a pnm save, and the
// internal-error text when a writer fails.
SaveResult SaveDocumentPicture(const Bits& Picture, const std::filesystem::path& Path,
                               std::string Extension, UserPort& Port);

} // namespace velmar
