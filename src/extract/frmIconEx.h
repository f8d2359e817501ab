#pragma once
// frmIconEx: the logic of the image extractor window. It opens one file (an icon file, a module
// or a form's binary container), holds what it found there, and saves one icon, some images of
// an icon, one container item, or everything. The Qt window (ui/frmIconExWindow) only shows the
// rows, the grid and the preview, and passes the user's selection in here.
//
// Indices are 1-based as the lists show them; 0 (or anything out of range) means "nothing
// selected". Every message goes through the UserPort, titled with the product's short name; the
// steps of an open are told to the status sink, which the window shows in its first status panel.
// Nothing here throws: a file that cannot be read or written ends in a message and leaves the
// object usable (after a failed open, with empty lists).
#include "extract/cFileIcon.h"
#include "extract/cFrxFile.h"
#include "pixel/Bits.h"
#include "port/UserPort.h"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace velmar {

inline constexpr const char* kIconExCaption = "Extract Icon From EXE, DLL and Binary Files";
// The status panel while the grid fills, and when the window holds no icon to show.
inline constexpr const char* kIconExDisplaying = "Displaying...";
inline constexpr const char* kIconExNothingLoaded = "No icon resources loaded.";

// The open dialog: default extension "ICO", the eight filter lines of the supported files.
FileDialogSetup IconExOpenSetup();
// The save dialog of an icon: default extension "ICO", icon files or all files.
FileDialogSetup IconExSaveSetup();
// The save dialog of a container item: its own type first, then all pictures, then all files.
FileDialogSetup FrxItemSaveSetup(const cFrxItem& item);

// The icon as one picture of side x side pixels, for the window's 32 and 16 pixel lists and for
// BatchEXE: a one-image icon holding the icon's own image of exactly that size when it has one
// (the deepest of them, its bytes untouched), else the largest image that decodes, resampled to
// that size and stored as a 32-bit image. Empty (ImageCount 0) when no image decodes.
cFileIcon IconRendition(const cFileIcon& icon, int side);
// The rendition's picture as the desktop draws an icon (transparent parts over white).
std::optional<Bits> RenditionPicture(const cFileIcon& icon, int side);

// The two lists of the window; one is shown at a time.
enum class IconExList { Icons, Binary };

// A row of lvwIcons: "Icon" and "Number of Images".
struct IconExIconRow {
    std::string icon;
    int numberOfImages = 0;
};

// A row of lvBinary: "File Type", "Header Size", "File Offset", "Image Size".
struct IconExBinaryRow {
    std::string fileType;
    int headerSize = 0;
    std::size_t fileOffset = 0;
    std::size_t imageSize = 0;
};

class frmIconEx {
  public:
    using StatusSink = std::function<void(std::string)>;

    // The port must outlive the object.
    explicit frmIconEx(UserPort& port, StatusSink status = {});
    void SetStatusSink(StatusSink status) { status_ = std::move(status); }

    // The file chosen in the open dialog (IconExOpenSetup): empties both lists, then reads the
    // file by its lower-cased extension, a container (frx, ctx, dsx, dox, pgx), an icon file
    // (ico) or a module (anything else). True when the file gave rows.
    bool pOpen(const std::filesystem::path& path);
    // Both lists empty, the icon list shown.
    void Clear();

    const std::filesystem::path& FilePath() const noexcept { return path_; }
    IconExList ShownList() const noexcept { return shown_; }

    int IconCount() const noexcept { return static_cast<int>(icons_.size()); }
    // Index from 1 to IconCount().
    const cFileIcon& Icon(int index) const;
    // The file's name for an icon file, the group's id for a module's icon.
    std::string IconName(int index) const;
    // The status panel after a click on the icon: "Icon: " + its name, or kIconExNothingLoaded.
    std::string IconStatus(int index) const;
    std::vector<IconExIconRow> IconRows() const;

    const cFrxFile& Container() const noexcept { return container_; }
    std::vector<IconExBinaryRow> BinaryRows() const;

    // Saves the icon with only the selected images (indices into the icon) as an .ico file,
    // asking for the name with IconExSaveSetup(). False on a refusal, a cancel or a failure.
    bool pSave(int iconIndex, std::span<const int> selectedImages);
    // The same to a name already chosen.
    bool pSave(int iconIndex, std::span<const int> selectedImages,
               const std::filesystem::path& chosenPath);

    // "Icon File " + path (or "Icon " + id + " in file " + path), the header line and one line
    // for each image. Empty for an index out of range.
    std::string PropertiesText(int iconIndex) const;
    // Shows PropertiesText, or the refusal that applies. True when the text was shown.
    bool pProperties(int iconIndex);

    // Writes the container item's bytes, as they stand in the container, to a file the save
    // dialog names. False on a refusal, a cancel or a failure.
    bool saveFromFRX(int itemIndex);
    bool saveFromFRX(int itemIndex, const std::filesystem::path& chosenPath);

    // Save all: every container item as folder + name + i + "." + extension (binary items
    // skipped with onlyImages), or every icon as folder + name + i + ".ico" (32 pixels) and
    // folder + name + i + "_16.ico" (16 pixels); then the folder is opened on the desktop. A
    // missing folder is made. False when a check refused or a file could not be written (the
    // files before it stay).
    bool BatchFRX(std::string_view folder, std::string_view name, bool onlyImages);
    bool BatchEXE(std::string_view folder, std::string_view name);

  private:
    bool openContainer();
    bool openIconFile();
    bool openModule();
    void status(const std::string& text) const;
    bool iconChosen(int iconIndex, const char* noneChosen, const char* noIcons);
    bool writeBytes(const std::filesystem::path& target, std::span<const std::uint8_t> bytes);
    bool writeIcon(const cFileIcon& icon, const std::filesystem::path& target);
    bool makeFolder(const std::string& folder);
    void openFolder(const std::string& folder);

    UserPort& port_;
    StatusSink status_;
    std::filesystem::path path_;
    IconExList shown_ = IconExList::Icons;
    bool fromModule_ = false; // icons_ came from a module's group icons
    cFrxFile container_;
    std::vector<cFileIcon> icons_;
};

} // namespace velmar
