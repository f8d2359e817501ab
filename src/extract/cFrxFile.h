#pragma once
// cFrxFile: the pictures and blobs of a form's binary resource file (".frx", ".ctx", ".dsx",
// ".dox", ".pgx"). Such a file has no directory: the scan walks it by the record headers the
// form designer writes and by the signatures of the picture formats, and turns every stretch it
// cannot explain into one binary item, so that every byte of the file belongs to exactly one
// item or one item header.
//
// The scan trusts nothing it reads: a length is believed only when it fits in the file, and a
// corrupt area only makes the scan step one byte at a time. Offsets and sizes are in bytes,
// offsets from the file's first byte (0).
#include "pixel/Bits.h"
#include "pixel/RuntimeError.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace velmar {

// The item kinds the signature tests tell apart; 2 is a second bitmap number that names and
// extensions treat as 1 but the scan never gives.
enum FrxPictureType : int {
    kFrxBinary = 0,
    kFrxBitmap = 1,
    kFrxBitmap2 = 2,
    kFrxGif = 3,
    kFrxJpeg = 4,
    kFrxMetafile = 5,
    kFrxEnhancedMetafile = 6,
    kFrxIcon = 7,
    kFrxCursor = 8,
};

// The type the signature tests find in an item's bytes, kFrxBinary when none matches (and for
// 4 bytes or fewer).
int FrxSignatureType(std::span<const std::uint8_t> Item);

// One item of a container: a picture as its own file's bytes, or a binary stretch.
class cFrxItem {
  public:
    cFrxItem(std::vector<std::uint8_t> Bytes, int HeaderSize, std::size_t FileOffset,
             int PictureType);

    // The item's bytes exactly as they stand in the container, without the record header.
    const std::vector<std::uint8_t>& Bits() const noexcept { return bytes_; }
    // The record header in front of the bytes: 12, 28 or 4; 0 for a binary stretch.
    int HeaderSize() const noexcept { return headerSize_; }
    // Where the bytes start in the container.
    std::size_t FileOffset() const noexcept { return fileOffset_; }
    std::size_t ImageSize() const noexcept { return bytes_.size(); }
    int PictureType() const noexcept { return pictureType_; }
    // "Bitmap Image", "GIF Image", ... and "Binary data"; the misspelt "Metatfile" names are
    // the program's own.
    std::string_view FileTypeName() const noexcept;
    // Lower case, without the point: "bmp", "gif", "jpg", "wmf", "emf", "ico", "cur", "txt".
    std::string_view FileExtension() const noexcept;
    // The picture decoded from the bytes as the main frame's File, Open reads a file of the
    // item's extension; nothing for binary data, metafiles (not drawn yet) and broken pictures.
    // Decoded on every call: the container keeps bytes, not pixels.
    std::optional<velmar::Bits> Picture() const;

  private:
    std::vector<std::uint8_t> bytes_;
    int headerSize_;
    std::size_t fileOffset_;
    int pictureType_;
};

// The whole scan over a container's bytes, the items in file order.
std::vector<cFrxItem> ScanFrxItems(std::span<const std::uint8_t> File);

// True when the path's last four characters, in any case, are one of the container extensions
// ".frx", ".ctx", ".dsx", ".dox", ".pgx".
bool IsFrxContainerPath(const std::filesystem::path& Path);

// A load that failed, raised again with the source "cFrxFile.LoadItems" and the first error's
// classic number and text: 53 "File not found", 75 "Path/File access error", 7 "Out of memory".
class FrxLoadError : public RuntimeError {
  public:
    using RuntimeError::RuntimeError;
    static constexpr std::string_view kSource = "cFrxFile.LoadItems";
    std::string_view source() const noexcept { return kSource; }
};

class cFrxFile {
  public:
    const std::filesystem::path& Path() const noexcept { return path_; }
    // Loads the container at NewPath. A name without a container extension is refused quietly:
    // the object is left empty, as after a load of an empty file. Throws FrxLoadError when the
    // file cannot be read; the object is then empty too.
    void Path(const std::filesystem::path& NewPath);

    // The container's bytes from memory, as a load of a file of that content.
    void LoadBytes(std::vector<std::uint8_t> File);

    std::size_t FileSize() const noexcept { return file_.size(); }
    std::size_t Count() const noexcept { return items_.size(); }
    // Index from 1 to Count; any other is the error 9 "Subscript out of range".
    const cFrxItem& Item(std::size_t Index) const;

    // NewEnum: the items in file order.
    std::vector<cFrxItem>::const_iterator begin() const noexcept { return items_.begin(); }
    std::vector<cFrxItem>::const_iterator end() const noexcept { return items_.end(); }

  private:
    void clear() noexcept;

    std::filesystem::path path_;
    std::vector<std::uint8_t> file_;
    std::vector<cFrxItem> items_;
};

} // namespace velmar
