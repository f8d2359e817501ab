#include "extract/PeResourceDirectory.h"

#include "extract/ByteView.h"

#include <unordered_set>

namespace velmar {

namespace {

constexpr std::uint16_t kPe32Magic = 0x10B;
constexpr std::uint16_t kPe32PlusMagic = 0x20B;
constexpr std::uint32_t kResourceDirectoryIndex = 2;
constexpr std::uint32_t kHighBit = 0x80000000u;
constexpr std::uint64_t kDirectoryHeaderSize = 16;
constexpr std::uint64_t kDirectoryEntrySize = 8;
constexpr std::uint64_t kDataEntrySize = 16;

struct Section {
    std::uint32_t virtualAddress;
    std::uint32_t rawSize;
    std::uint32_t rawOffset;
};

// The headers up to the section table: where the resources are and how RVAs map to the file.
struct PeLayout {
    bool pe32Plus = false;
    std::uint32_t resourceRva = 0;
    std::uint32_t resourceSize = 0;
    std::vector<Section> sections;
};

PeLayout readLayout(const ByteView& file) {
    if (!file.holds(0, 64) || file.u16(0) != 0x5A4D) throw PeFormatError("no MZ header");
    const std::uint32_t peOffset = file.u32(0x3C);
    if (!file.holds(peOffset, 24) || file.u32(peOffset) != 0x00004550)
        throw PeFormatError("no PE header");
    const std::uint64_t coff = std::uint64_t{peOffset} + 4;
    const std::uint16_t sectionCount = file.u16(coff + 2);
    const std::uint16_t optionalSize = file.u16(coff + 16);
    const std::uint64_t optional = coff + 20;
    if (!file.holds(optional, optionalSize) || optionalSize < 2)
        throw PeFormatError("optional header cut short");

    PeLayout layout;
    const std::uint16_t magic = file.u16(optional);
    if (magic != kPe32Magic && magic != kPe32PlusMagic)
        throw PeFormatError("unknown optional header");
    layout.pe32Plus = magic == kPe32PlusMagic;
    const std::uint64_t countField = layout.pe32Plus ? 108 : 92;
    const std::uint64_t directories = countField + 4;
    if (optionalSize >= directories) {
        const std::uint32_t count = file.u32(optional + countField);
        const std::uint64_t entry = directories + 8 * kResourceDirectoryIndex;
        if (count > kResourceDirectoryIndex && entry + 8 <= optionalSize) {
            layout.resourceRva = file.u32(optional + entry);
            layout.resourceSize = file.u32(optional + entry + 4);
        }
    }
    const std::uint64_t table = optional + optionalSize;
    if (!file.holds(table, std::uint64_t{sectionCount} * 40))
        throw PeFormatError("section table cut short");
    layout.sections.reserve(sectionCount);
    for (std::uint64_t i = 0; i < sectionCount; ++i) {
        const std::uint64_t s = table + 40 * i;
        layout.sections.push_back({file.u32(s + 12), file.u32(s + 16), file.u32(s + 20)});
    }
    return layout;
}

// The file extent that holds the RVAs [rva, rva + size): the section's raw data from that point
// on, cut at the file's end. Nothing when no section's raw data holds all of them.
struct Extent {
    std::uint64_t offset;
    std::uint64_t available;
};
std::optional<Extent> mapRva(const PeLayout& layout, const ByteView& file, std::uint32_t rva,
                             std::uint64_t size) {
    for (const Section& s : layout.sections) {
        if (rva < s.virtualAddress) continue;
        const std::uint64_t into = rva - s.virtualAddress;
        if (into > s.rawSize || size > s.rawSize - into) continue;
        const std::uint64_t offset = std::uint64_t{s.rawOffset} + into;
        if (!file.holds(offset, size)) continue;
        const std::uint64_t inSection = s.rawSize - into;
        const std::uint64_t inFile = file.size() - offset;
        return Extent{offset, inSection < inFile ? inSection : inFile};
    }
    return std::nullopt;
}

// The walk over the three levels (type, name, language). Offsets inside the directory are
// relative to its root and must stay inside the root's section.
class DirectoryWalk {
  public:
    DirectoryWalk(const PeLayout& layout, const ByteView& file, const Extent& root)
        : layout_(layout), file_(file), root_(root),
          entryBudget_(root.available / kDirectoryEntrySize) {}

    void walk(std::uint32_t offset, int level, PeResource& path, std::vector<PeResource>& out) {
        // Linkers never share a directory between two parents, so a second visit is a loop.
        if (!visited_.insert(offset).second) throw PeFormatError("resource directory loops");
        const std::uint64_t at = checked(offset, kDirectoryHeaderSize);
        const std::uint64_t count = std::uint64_t{file_.u16(at + 12)} + file_.u16(at + 14);
        // Entries of distinct directories never overlap in a real file, so all of them
        // together fit in the section; more means entries are being counted twice.
        if (count > entryBudget_) throw PeFormatError("resource directory has too many entries");
        entryBudget_ -= count;
        checked(offset + kDirectoryHeaderSize, count * kDirectoryEntrySize);
        for (std::uint64_t i = 0; i < count; ++i) {
            const std::uint64_t entry = at + kDirectoryHeaderSize + i * kDirectoryEntrySize;
            const ResourceId id = readId(file_.u32(entry));
            const std::uint32_t target = file_.u32(entry + 4);
            const bool subdirectory = (target & kHighBit) != 0;
            if (subdirectory != (level < 2))
                throw PeFormatError("resource directory has a leaf at the wrong level");
            (level == 0 ? path.type : level == 1 ? path.name : path.language) = id;
            if (subdirectory)
                walk(target & ~kHighBit, level + 1, path, out);
            else
                out.push_back(leaf(target, path));
        }
    }

  private:
    // The file offset of [offset, offset + size) inside the root's extent.
    std::uint64_t checked(std::uint64_t offset, std::uint64_t size) const {
        if (offset > root_.available || size > root_.available - offset)
            throw PeFormatError("resource directory points outside its section");
        return root_.offset + offset;
    }

    ResourceId readId(std::uint32_t field) const {
        if ((field & kHighBit) == 0) return ResourceId(static_cast<std::uint16_t>(field));
        const std::uint64_t at = checked(field & ~kHighBit, 2);
        const std::uint16_t length = file_.u16(at);
        checked((field & ~kHighBit) + 2, std::uint64_t{length} * 2);
        std::u16string name(length, u'\0');
        for (std::uint16_t i = 0; i < length; ++i)
            name[i] = static_cast<char16_t>(file_.u16(at + 2 + 2 * std::uint64_t{i}));
        return ResourceId(std::move(name));
    }

    PeResource leaf(std::uint32_t offset, const PeResource& path) const {
        const std::uint64_t at = checked(offset, kDataEntrySize);
        PeResource resource = path;
        resource.dataRva = file_.u32(at);
        resource.size = file_.u32(at + 4);
        resource.codePage = file_.u32(at + 8);
        if (const auto extent = mapRva(layout_, file_, resource.dataRva, resource.size))
            resource.fileOffset = extent->offset;
        return resource;
    }

    const PeLayout& layout_;
    const ByteView& file_;
    Extent root_;
    std::uint64_t entryBudget_;
    std::unordered_set<std::uint32_t> visited_;
};

} // namespace

PeResourceDirectory ParsePeResources(std::span<const std::uint8_t> bytes) {
    const ByteView file(bytes);
    try {
        const PeLayout layout = readLayout(file);
        PeResourceDirectory directory;
        directory.pe32Plus = layout.pe32Plus;
        if (layout.resourceRva == 0 || layout.resourceSize == 0) return directory;
        const auto root = mapRva(layout, file, layout.resourceRva, kDirectoryHeaderSize);
        if (!root) throw PeFormatError("resource directory outside the file");
        DirectoryWalk walk(layout, file, *root);
        PeResource path;
        walk.walk(0, 0, path, directory.resources);
        return directory;
    } catch (const OutOfBytes&) {
        // Every read is checked above; this is the net under a check that was forgotten.
        throw PeFormatError("file cut short");
    }
}

std::optional<std::span<const std::uint8_t>> ResourceBytes(std::span<const std::uint8_t> file,
                                                           const PeResource& resource) {
    if (!resource.fileOffset) return std::nullopt;
    const ByteView view(file);
    if (!view.holds(*resource.fileOffset, resource.size)) return std::nullopt;
    return view.slice(*resource.fileOffset, resource.size);
}

} // namespace velmar
