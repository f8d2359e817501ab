#pragma once
// cFileIcon: one icon in memory as the ICO format lays it out, a directory and the images' raw
// bytes, read from an .ico file or rebuilt from a group icon of a module, and written back as
// an .ico file.
//
// The model keeps one invariant: every entry's BytesInRes is the size of its image's bytes and
// its ImageOffset is where SaveIcon puts them (images one after the other behind the
// directory). So a loaded icon saves to a well-formed file even when the source had gaps or
// images out of order, and an .ico written by a tool that lays images out this way comes back
// byte for byte.
//
// Image indices run from 1 to ImageCount(); any other index raises the error 9 "Subscript out
// of range" (RuntimeError). The other failures raise ExtractError with the program's texts and
// numbers (ExtractError.h) and the source "Velmar32.cFileIcon"; a failed load leaves the model
// empty. Widths and heights are the directory's bytes: 0 stands for 256 only when drawn.
#include "extract/ResourceId.h"
#include "pixel/Bits.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <vector>

namespace velmar {

class cResources;

struct IconDirectoryHeader {
    std::uint16_t Reserved = 0;
    std::uint16_t Type = 1;
    std::uint16_t Count = 0;
};

struct IconDirectoryEntry {
    std::uint8_t Width = 0;
    std::uint8_t Height = 0;
    std::uint8_t ColorCount = 0;
    std::uint8_t Reserved = 0;
    std::uint16_t Planes = 0;
    std::uint16_t BitCount = 0;
    std::uint32_t BytesInRes = 0;
    std::uint32_t ImageOffset = 0;
};

class cFileIcon {
  public:
    // Reads an .ico file. True on success; failures raise "Failed to load icon: " + reason.
    bool LoadIcon(const std::filesystem::path& path);
    // The same checks over an .ico file's bytes in memory; FileName() becomes empty.
    bool LoadIconBytes(std::span<const std::uint8_t> file);

    // Rebuilds the group icon `id` (type 14) of the module at `path`, each image from the icon
    // resource (type 3) its group entry names. True on success; failures raise "Failed to load
    // icon: " + reason.
    bool LoadIconFromEXE(const std::filesystem::path& path, const ResourceId& id);
    // The same from a module already read, so that a module's icons are read with one pass
    // over the file.
    bool LoadIconFromEXE(const cResources& module, const ResourceId& id);

    // Writes the icon as a new .ico file at `path`, replacing any file there. Raises the save
    // errors: no name, no images, cannot create, short write.
    void SaveIcon(const std::filesystem::path& path) const;
    // The bytes SaveIcon writes.
    std::vector<std::uint8_t> IconFileBytes() const;

    // Adds an entry for an image of that size and directory colour count, with the image's raw
    // bytes (a bitmap with its 40-byte header, whose planes and bit count the entry takes, or a
    // PNG). Raises "Icon already exists." when the directory holds the triple already.
    void AddImage(std::uint8_t width, std::uint8_t height, std::uint8_t colourCount,
                  std::vector<std::uint8_t> image = {});
    void RemoveImage(int index);
    // Makes `other` an equal copy of this icon.
    void CloneTo(cFileIcon& other) const;

    const std::filesystem::path& FileName() const noexcept { return fileName_; }
    // The group's id when the icon came from a module; number 0 for a file.
    const ResourceId& ResourceID() const noexcept { return resourceId_; }
    int ImageCount() const noexcept { return static_cast<int>(entries_.size()); }
    int ImageWidth(int index) const { return entry(index).Width; }
    int ImageHeight(int index) const { return entry(index).Height; }
    // The directory's colour count, or 2 to the power planes times bits where that is 0
    // (so 4294967296 for a 32-bit image); a double as the old arithmetic was.
    double ImageColourCount(int index) const;
    // The image's bytes in the file.
    std::uint32_t ImageSize(int index) const { return entry(index).BytesInRes; }

    const IconDirectoryHeader& Header() const noexcept { return header_; }
    const IconDirectoryEntry& Entry(int index) const { return entry(index); }
    std::span<const std::uint8_t> ImageBytes(int index) const;

    // The image decoded as the desktop's picture loader shows an icon: transparent parts over
    // white. Nothing when the image's bytes are no picture the loader reads.
    std::optional<Bits> IconPicture(int index) const;

  private:
    const IconDirectoryEntry& entry(int index) const;
    void clear() noexcept;
    void layOut() noexcept;
    [[noreturn]] void failLoad(const char* reason);

    std::filesystem::path fileName_;
    ResourceId resourceId_;
    IconDirectoryHeader header_;
    std::vector<IconDirectoryEntry> entries_;
    std::vector<std::vector<std::uint8_t>> images_;
};

} // namespace velmar
