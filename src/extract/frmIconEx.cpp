#include "extract/frmIconEx.h"

#include "export/BatchConvert.h"
#include "extract/ExtractError.h"
#include "extract/cResources.h"
#include "filters/cBitFilter.h"
#include "formats/gateway.h"
#include "port/ReplaceFile.h"

#include <algorithm>
#include <exception>
#include <numeric>
#include <system_error>

namespace velmar {

namespace {

constexpr const char* kNoGraphics = "No graphics found in ";
constexpr const char* kNoIconsInFile = "No icons found in file.";
constexpr const char* kNoIconResources = "No icon resources were found.";
constexpr const char* kChooseIconToSave = "Please choose an icon to save.";
constexpr const char* kNothingToSave = "No Icon resources to save.";
constexpr const char* kSelectIconForProperties = "Please select an icon to view properties for.";
constexpr const char* kNoIconsForProperties = "There are no icon resources to view properties for.";
constexpr const char* kSelectItemToSave = "please Select a file to save";
// cFileIcon's own text for an icon without images: an empty grid selection would save one.
constexpr const char* kNoImages = "Icon contains no images.";

const ResourceId kGroupIcon = std::uint16_t{14};

// A directory byte as pixels: 0 stands for 256.
int pixelSide(int directoryByte) {
    return directoryByte == 0 ? 256 : directoryByte;
}

void putLe(std::vector<std::uint8_t>& bytes, std::size_t at, std::uint32_t value, int count) {
    for (int i = 0; i < count; ++i)
        bytes[at + static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(value >> (8 * i));
}

// A 32-bit icon image of the picture: the 40-byte bitmap header with the height doubled, the
// colour rows bottom-up, and an all-clear AND mask. The picture comes composed over white, so
// every pixel is opaque.
std::vector<std::uint8_t> iconImageOf(const Bits& picture) {
    const int w = picture.Width(), h = picture.Height();
    const std::size_t rowBytes = static_cast<std::size_t>(w) * 4;
    const std::size_t maskRow = static_cast<std::size_t>((w + 31) / 32 * 4);
    const std::size_t pixels = rowBytes * static_cast<std::size_t>(h);
    std::vector<std::uint8_t> bytes(40 + pixels + maskRow * static_cast<std::size_t>(h), 0);
    putLe(bytes, 0, 40, 4);
    putLe(bytes, 4, static_cast<std::uint32_t>(w), 4);
    putLe(bytes, 8, static_cast<std::uint32_t>(2 * h), 4);
    putLe(bytes, 12, 1, 2);
    putLe(bytes, 14, 32, 2);
    putLe(bytes, 20, static_cast<std::uint32_t>(bytes.size() - 40), 4);
    for (int y = 0; y < h; ++y) {
        const std::uint8_t* from = picture.Row(h - 1 - y);
        std::uint8_t* to = bytes.data() + 40 + rowBytes * static_cast<std::size_t>(y);
        for (int x = 0; x < w; ++x) {
            std::copy_n(from + 4 * x, 3, to + 4 * x);
            to[4 * x + 3] = 255;
        }
    }
    return bytes;
}

// The icon's image of exactly side x side, the one with the most colours; 0 when it has none.
int ownImageOfSide(const cFileIcon& icon, int side) {
    int best = 0;
    for (int i = 1; i <= icon.ImageCount(); ++i) {
        if (pixelSide(icon.ImageWidth(i)) != side || pixelSide(icon.ImageHeight(i)) != side)
            continue;
        if (best == 0 || icon.ImageColourCount(i) > icon.ImageColourCount(best)) best = i;
    }
    return best;
}

std::string colourText(double colours) {
    if (colours > 256) return "millions of";
    return std::to_string(static_cast<long long>(colours));
}

} // namespace

FileDialogSetup IconExOpenSetup() {
    FileDialogSetup setup;
    setup.title = "Open";
    setup.defaultExtension = "ICO";
    setup.filters = {
        "All Supported Files|*.EXE;*.DLL;*.ICO;*.FRX;*.CTX;*.DSX;*.DOX;*.PGX",
        "Icon Files (*.ICO)|*.ICO",
        "Executables (*.EXE;*.DLL)|*.EXE;*.DLL",
        "Binary form file (*.FRX)|*.FRX",
        "User Control file (*.CTX)|*.CTX",
        "Active Designer binary file (*.DSX)|*.DSX",
        "ActiveX document binary form file (*.DOX)|*.DOX",
        "Binary property page file (*.PGX)|*.PGX",
    };
    return setup;
}

FileDialogSetup IconExSaveSetup() {
    FileDialogSetup setup;
    setup.title = "Save As";
    setup.defaultExtension = "ICO";
    setup.filters = {"ICO Files (*.ICO)|*.ICO", "All Files (*.*)|*.*"};
    return setup;
}

FileDialogSetup FrxItemSaveSetup(const cFrxItem& item) {
    const std::string extension(item.FileExtension());
    FileDialogSetup setup;
    setup.title = "Save As";
    // A bare name gets the item's own extension, so that the copy opens as what it is.
    setup.defaultExtension = extension;
    setup.filters = {
        std::string(item.FileTypeName()) + " (*." + extension + ")|*." + extension,
        "All Picture Files|*.bmp;*.dib;*.gif;*.jpg;*.wmf;*.emf;*.ico;*.cur",
        "All Files (*.*)|*.*",
    };
    return setup;
}

cFileIcon IconRendition(const cFileIcon& icon, int side) {
    cFileIcon rendition;
    // The icon's own picture of that size is what the desktop would draw there: keep its bytes.
    if (const int own = ownImageOfSide(icon, side)) {
        icon.CloneTo(rendition);
        for (int i = rendition.ImageCount(); i >= 1; --i)
            if (i != own) rendition.RemoveImage(i);
        return rendition;
    }
    // Otherwise the most detailed picture scaled: the largest first, and the next when one does
    // not decode (a broken or unknown image must not cost the icon its file).
    std::vector<int> bySize(static_cast<std::size_t>(icon.ImageCount()));
    std::iota(bySize.begin(), bySize.end(), 1);
    std::stable_sort(bySize.begin(), bySize.end(), [&icon](int a, int b) {
        return pixelSide(icon.ImageWidth(a)) * pixelSide(icon.ImageHeight(a)) >
               pixelSide(icon.ImageWidth(b)) * pixelSide(icon.ImageHeight(b));
    });
    for (int index : bySize) {
        const std::optional<Bits> picture = icon.IconPicture(index);
        if (!picture || picture->Width() < 1 || picture->Height() < 1) continue;
        cBitFilter filter;
        filter.BitsResample(*picture, side, side);
        const Bits scaled = filter.TakeBits();
        const auto sideByte = static_cast<std::uint8_t>(side & 0xFF);
        rendition.AddImage(sideByte, sideByte, 0, iconImageOf(scaled));
        return rendition;
    }
    return rendition;
}

std::optional<Bits> RenditionPicture(const cFileIcon& icon, int side) {
    const cFileIcon rendition = IconRendition(icon, side);
    if (rendition.ImageCount() == 0) return std::nullopt;
    return rendition.IconPicture(1);
}

frmIconEx::frmIconEx(UserPort& port, StatusSink status) : port_(port), status_(std::move(status)) {}

void frmIconEx::status(const std::string& text) const {
    if (status_) status_(text);
}

void frmIconEx::Clear() {
    path_.clear();
    shown_ = IconExList::Icons;
    fromModule_ = false;
    container_ = cFrxFile();
    icons_.clear();
}

bool frmIconEx::pOpen(const std::filesystem::path& path) {
    Clear();
    path_ = path;
    const std::string extension = LowerCase(ExtensionOf(path));
    for (const char* container : {"frx", "ctx", "dsx", "dox", "pgx"})
        if (extension == container) return openContainer();
    if (extension == "ico") return openIconFile();
    return openModule();
}

bool frmIconEx::openContainer() {
    try {
        container_.Path(path_);
    } catch (const FrxLoadError&) {
        // An unreadable container is told as one without graphics: the step's own message.
        container_ = cFrxFile();
    }
    if (container_.Count() == 0) {
        port_.MsgBox(kNoGraphics + path_.string() + ".", MsgIcon::Information);
        shown_ = IconExList::Icons;
        return false;
    }
    shown_ = IconExList::Binary;
    return true;
}

bool frmIconEx::openIconFile() {
    status("Loading icon " + path_.string());
    cFileIcon icon;
    try {
        icon.LoadIcon(path_);
    } catch (const std::exception&) {
        port_.MsgBox(kNoIconsInFile, MsgIcon::Warning);
        return false;
    }
    icons_.push_back(std::move(icon));
    return true;
}

bool frmIconEx::openModule() {
    fromModule_ = true;
    status("Checking for resources...");
    cResources module;
    try {
        module.FILE(path_);
    } catch (const std::exception&) {
        // A file that is no module has no icon resources either; the step's message says so.
        module.ClearUp();
    }
    if (module.IndexOfResourceType(kGroupIcon) == 0) {
        port_.MsgBox(kNoIconResources, MsgIcon::Information);
        return false;
    }
    status("Getting icon resources...");
    const int count = module.ResourceNameCount(kGroupIcon);
    for (int i = 1; i <= count; ++i) {
        status("Loading icon resource " + std::to_string(i) + " of " + std::to_string(count) +
               "...");
        port_.PumpEvents();
        cFileIcon icon;
        try {
            icon.LoadIconFromEXE(module, module.ResourceName(kGroupIcon, i));
        } catch (const std::exception&) {
            continue; // a broken group costs only its own row
        }
        icons_.push_back(std::move(icon));
    }
    return !icons_.empty();
}

const cFileIcon& frmIconEx::Icon(int index) const {
    return icons_.at(static_cast<std::size_t>(index - 1));
}

std::string frmIconEx::IconName(int index) const {
    const cFileIcon& icon = Icon(index);
    return fromModule_ ? icon.ResourceID().Text() : path_.filename().string();
}

std::string frmIconEx::IconStatus(int index) const {
    if (index < 1 || index > IconCount()) return kIconExNothingLoaded;
    return "Icon: " + IconName(index);
}

std::vector<IconExIconRow> frmIconEx::IconRows() const {
    std::vector<IconExIconRow> rows;
    for (int i = 1; i <= IconCount(); ++i)
        rows.push_back({IconName(i), Icon(i).ImageCount()});
    return rows;
}

std::vector<IconExBinaryRow> frmIconEx::BinaryRows() const {
    std::vector<IconExBinaryRow> rows;
    for (const cFrxItem& item : container_)
        rows.push_back({std::string(item.FileTypeName()), item.HeaderSize(), item.FileOffset(),
                        item.ImageSize()});
    return rows;
}

bool frmIconEx::iconChosen(int iconIndex, const char* noneChosen, const char* noIcons) {
    if (icons_.empty()) {
        port_.MsgBox(noIcons, MsgIcon::Information);
        return false;
    }
    if (iconIndex < 1 || iconIndex > IconCount()) {
        port_.MsgBox(noneChosen, MsgIcon::Information);
        return false;
    }
    return true;
}

bool frmIconEx::pSave(int iconIndex, std::span<const int> selectedImages) {
    if (!iconChosen(iconIndex, kChooseIconToSave, kNothingToSave)) return false;
    const std::optional<std::string> target = port_.SaveFileDialog(IconExSaveSetup());
    if (!target || target->empty()) return false;
    return pSave(iconIndex, selectedImages, *target);
}

bool frmIconEx::pSave(int iconIndex, std::span<const int> selectedImages,
                      const std::filesystem::path& chosenPath) {
    if (!iconChosen(iconIndex, kChooseIconToSave, kNothingToSave)) return false;
    const cFileIcon& icon = Icon(iconIndex);
    cFileIcon clone;
    icon.CloneTo(clone);
    // From the last image down, so that the indices still to be tested keep their meaning.
    for (int i = clone.ImageCount(); i >= 1; --i)
        if (std::find(selectedImages.begin(), selectedImages.end(), i) == selectedImages.end())
            clone.RemoveImage(i);
    if (clone.ImageCount() == 0) {
        port_.MsgBox(kNoImages, MsgIcon::Information);
        return false;
    }
    return writeIcon(clone, chosenPath);
}

std::string frmIconEx::PropertiesText(int iconIndex) const {
    if (iconIndex < 1 || iconIndex > IconCount()) return {};
    const cFileIcon& icon = Icon(iconIndex);
    std::string text = fromModule_
                           ? "Icon " + icon.ResourceID().Text() + " in file " + path_.string()
                           : "Icon File " + path_.string();
    text += "\nIcon types within image:";
    for (int i = 1; i <= icon.ImageCount(); ++i) {
        // The directory's 0 is shown as the 256 pixels it stands for: a reader of this text
        // wants the size, not the byte.
        text += "\n    " + std::to_string(pixelSide(icon.ImageWidth(i))) + " x " +
                std::to_string(pixelSide(icon.ImageHeight(i))) + ", " +
                colourText(icon.ImageColourCount(i)) +
                " colours.  Size=" + std::to_string(icon.ImageSize(i)) + " bytes.";
    }
    return text;
}

bool frmIconEx::pProperties(int iconIndex) {
    if (!iconChosen(iconIndex, kSelectIconForProperties, kNoIconsForProperties)) return false;
    port_.MsgBox(PropertiesText(iconIndex), MsgIcon::Information);
    return true;
}

bool frmIconEx::saveFromFRX(int itemIndex) {
    if (itemIndex < 1 || static_cast<std::size_t>(itemIndex) > container_.Count()) {
        port_.MsgBox(kSelectItemToSave, MsgIcon::Information);
        return false;
    }
    const auto target = port_.SaveFileDialog(
        FrxItemSaveSetup(container_.Item(static_cast<std::size_t>(itemIndex))));
    if (!target || target->empty()) return false;
    return saveFromFRX(itemIndex, *target);
}

bool frmIconEx::saveFromFRX(int itemIndex, const std::filesystem::path& chosenPath) {
    if (itemIndex < 1 || static_cast<std::size_t>(itemIndex) > container_.Count()) {
        port_.MsgBox(kSelectItemToSave, MsgIcon::Information);
        return false;
    }
    return writeBytes(chosenPath, container_.Item(static_cast<std::size_t>(itemIndex)).Bits());
}

bool frmIconEx::writeBytes(const std::filesystem::path& target,
                           std::span<const std::uint8_t> bytes) {
    try {
        // The whole file is replaced, so a target that was there before never keeps a tail.
        ReplaceFile(target, bytes);
        return true;
    } catch (const FileWriteError& e) {
        port_.MsgBox(e.what(), MsgIcon::Warning);
        return false;
    }
}

bool frmIconEx::writeIcon(const cFileIcon& icon, const std::filesystem::path& target) {
    try {
        icon.SaveIcon(target);
        return true;
    } catch (const ExtractError& e) {
        port_.MsgBox(std::string(e.what()) + "\n" + target.string(), MsgIcon::Warning);
        return false;
    }
}

bool frmIconEx::makeFolder(const std::string& folder) {
    // A folder typed into the dialog that is not there yet is made, as the user clearly wants
    // the files there; one that cannot be made is told once, before any file.
    std::error_code ec;
    std::filesystem::create_directories(folder, ec);
    if (!ec || std::filesystem::is_directory(folder)) return true;
    port_.MsgBox("Cannot make the folder \"" + folder + "\": " + ec.message() + ".",
                 MsgIcon::Warning);
    return false;
}

void frmIconEx::openFolder(const std::string& folder) {
    std::error_code ec;
    const std::filesystem::path absolute = std::filesystem::absolute(folder, ec);
    port_.OpenUrl("file://" + (ec ? folder : absolute.string()));
}

bool frmIconEx::BatchFRX(std::string_view folder, std::string_view name, bool onlyImages) {
    if (!CheckBatchTarget(folder, name, port_)) return false;
    const std::string base = FolderWithSeparator(folder);
    if (!makeFolder(base)) return false;
    std::size_t i = 0;
    for (const cFrxItem& item : container_) {
        ++i; // names follow the rows, skipped or not, so a file names the row it came from
        if (onlyImages && item.FileExtension() == "txt") continue;
        const std::string target =
            base + std::string(name) + std::to_string(i) + "." + std::string(item.FileExtension());
        if (!writeBytes(target, item.Bits())) return false;
    }
    openFolder(base);
    return true;
}

bool frmIconEx::BatchEXE(std::string_view folder, std::string_view name) {
    if (!CheckBatchTarget(folder, name, port_)) return false;
    if (icons_.empty()) {
        port_.MsgBox(kNothingToSave, MsgIcon::Information);
        return false;
    }
    const std::string base = FolderWithSeparator(folder);
    if (!makeFolder(base)) return false;
    for (int i = 1; i <= IconCount(); ++i) {
        const std::string stem = base + std::string(name) + std::to_string(i);
        // The 16-pixel file carries its size as the second number, so the two names differ.
        for (const auto& [side, suffix] : {std::pair{32, ".ico"}, std::pair{16, "_16.ico"}}) {
            const cFileIcon rendition = IconRendition(Icon(i), side);
            // An icon none of whose images decodes has no picture to write at that size.
            if (rendition.ImageCount() == 0) continue;
            if (!writeIcon(rendition, stem + suffix)) return false;
        }
        port_.PumpEvents();
    }
    openFolder(base);
    return true;
}

} // namespace velmar
