#include "extract/cFileIcon.h"

#include "extract/ByteView.h"
#include "extract/ExtractError.h"
#include "extract/iconEntry.h"
#include "formats/gateway.h"
#include "pixel/RuntimeError.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <functional>
#include <new>
#include <string>

namespace velmar {

namespace {

constexpr std::uint32_t kHeaderSize = 6;
constexpr std::uint32_t kEntrySize = 16;

// Where an icon's bytes come from: a file read piece by piece, as the old loader did, or bytes
// in memory. `read` fills `out` from `offset` and is false on a short read.
struct IconSource {
    std::uint64_t size;
    std::function<bool(std::uint64_t offset, std::span<std::uint8_t> out)> read;
};

IconDirectoryEntry entryFrom(const ByteView& bytes, std::uint64_t at) {
    IconDirectoryEntry e = ReadIconEntryHead(bytes, at);
    e.BytesInRes = bytes.u32(at + 8);
    e.ImageOffset = bytes.u32(at + 12);
    return e;
}

// The checks in the order and with the texts of the old loader. A header cut short is read as
// far as it goes with zeros after it, as a short read into a cleared header was.
const char* loadParts(const IconSource& source, IconDirectoryHeader& header,
                      std::vector<IconDirectoryEntry>& entries,
                      std::vector<std::vector<std::uint8_t>>& images) {
    std::uint8_t head[kHeaderSize] = {};
    source.read(0, std::span(head, std::min<std::uint64_t>(kHeaderSize, source.size)));
    const ByteView headView(head);
    header = {headView.u16(0), headView.u16(2), headView.u16(4)};
    if (header.Reserved != 0) return "File is not icon type (reserved member is 0)";
    if (header.Type != 1) return "File is not icon type (idType <> IMAGE_ICON)";
    if (header.Count < 1) return "Icon contains no images.";

    std::vector<std::uint8_t> table(std::size_t{header.Count} * kEntrySize);
    if (!source.read(kHeaderSize, table)) return "Icon Directory Array is Corrupt.";
    const ByteView tableView(table);
    std::uint64_t total = 0;
    for (std::uint64_t i = 0; i < header.Count; ++i) {
        entries.push_back(entryFrom(tableView, i * kEntrySize));
        total += entries.back().BytesInRes;
    }
    // Images of a real file never share bytes, so together they fit in it; a directory that
    // claims more would make us hold many copies of the same bytes.
    if (total > source.size) return "Icon Images Array is Corrupt.";
    for (const IconDirectoryEntry& e : entries) {
        std::vector<std::uint8_t> image(e.BytesInRes);
        if (!source.read(e.ImageOffset, image)) return "Icon Images Array is Corrupt.";
        images.push_back(std::move(image));
    }
    return nullptr;
}

// The failure's text, or nothing when the icon was read. A size that passed the checks but
// cannot be allocated is refused like any other fault.
const char* loadFrom(const IconSource& source, IconDirectoryHeader& header,
                     std::vector<IconDirectoryEntry>& entries,
                     std::vector<std::vector<std::uint8_t>>& images) {
    try {
        return loadParts(source, header, entries, images);
    } catch (const std::bad_alloc&) {
        return "Out of memory";
    }
}

} // namespace

bool cFileIcon::LoadIcon(const std::filesystem::path& path) {
    clear();
    fileName_ = path;
    std::ifstream in(path, std::ios::binary);
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    if (!in || error) failLoad("Can't open file.");
    const IconSource source{size, [&in, size](std::uint64_t offset, std::span<std::uint8_t> out) {
                                if (offset > size || out.size() > size - offset) return false;
                                in.clear();
                                in.seekg(static_cast<std::streamoff>(offset));
                                in.read(reinterpret_cast<char*>(out.data()),
                                        static_cast<std::streamsize>(out.size()));
                                return in.gcount() == static_cast<std::streamsize>(out.size());
                            }};
    if (const char* failure = loadFrom(source, header_, entries_, images_)) failLoad(failure);
    layOut();
    return true;
}

bool cFileIcon::LoadIconBytes(std::span<const std::uint8_t> file) {
    clear();
    const IconSource source{file.size(), [file](std::uint64_t offset, std::span<std::uint8_t> out) {
                                const ByteView view(file);
                                if (!view.holds(offset, out.size())) return false;
                                const auto from = view.slice(offset, out.size());
                                std::copy(from.begin(), from.end(), out.begin());
                                return true;
                            }};
    if (const char* failure = loadFrom(source, header_, entries_, images_)) failLoad(failure);
    layOut();
    return true;
}

void cFileIcon::failLoad(const char* reason) {
    clear();
    throw ExtractError(kIconLoadError, std::string("Failed to load icon: ") + reason, "cFileIcon");
}

void cFileIcon::clear() noexcept {
    fileName_.clear();
    resourceId_ = ResourceId();
    header_ = IconDirectoryHeader();
    entries_.clear();
    images_.clear();
}

void cFileIcon::layOut() noexcept {
    header_.Count = static_cast<std::uint16_t>(entries_.size());
    std::uint32_t offset = kHeaderSize + kEntrySize * static_cast<std::uint32_t>(entries_.size());
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        entries_[i].BytesInRes = static_cast<std::uint32_t>(images_[i].size());
        entries_[i].ImageOffset = offset;
        offset += entries_[i].BytesInRes;
    }
}

const IconDirectoryEntry& cFileIcon::entry(int index) const {
    if (index < 1 || index > ImageCount()) throw RuntimeError(9, "Subscript out of range");
    return entries_[static_cast<std::size_t>(index - 1)];
}

std::span<const std::uint8_t> cFileIcon::ImageBytes(int index) const {
    entry(index);
    return images_[static_cast<std::size_t>(index - 1)];
}

double cFileIcon::ImageColourCount(int index) const {
    const IconDirectoryEntry& e = entry(index);
    if (e.ColorCount != 0) return e.ColorCount;
    return std::pow(2.0, double(e.Planes) * double(e.BitCount));
}

void cFileIcon::AddImage(std::uint8_t width, std::uint8_t height, std::uint8_t colourCount,
                         std::vector<std::uint8_t> image) {
    const bool held = std::any_of(entries_.begin(), entries_.end(), [&](const auto& e) {
        return e.Width == width && e.Height == height && e.ColorCount == colourCount;
    });
    if (held) throw ExtractError(kIconImageExists, "Icon already exists.", "cFileIcon");
    IconDirectoryEntry e;
    e.Width = width;
    e.Height = height;
    e.ColorCount = colourCount;
    // A bitmap image says its own planes and depth; a PNG image is taken as 32-bit.
    const ByteView bytes(image);
    if (bytes.holds(0, 16) && bytes.u32(0) == 40) {
        e.Planes = bytes.u16(12);
        e.BitCount = bytes.u16(14);
    } else if (bytes.holds(0, 4) && bytes.u32(0) == 0x474E5089) {
        e.Planes = 1;
        e.BitCount = 32;
    }
    entries_.push_back(e);
    images_.push_back(std::move(image));
    layOut();
}

void cFileIcon::RemoveImage(int index) {
    entry(index);
    entries_.erase(entries_.begin() + (index - 1));
    images_.erase(images_.begin() + (index - 1));
    layOut();
}

void cFileIcon::CloneTo(cFileIcon& other) const {
    if (&other != this) other = *this;
}

std::optional<Bits> cFileIcon::IconPicture(int index) const {
    cFileIcon single;
    single.header_ = header_;
    single.entries_ = {entry(index)};
    single.images_ = {images_[static_cast<std::size_t>(index - 1)]};
    single.layOut();
    return LoadPictureBytes(single.IconFileBytes(), "ico", LoadSite::MainFrameOpen);
}

} // namespace velmar
