// A group icon of a module rebuilt as an icon: the group resource (type 14) holds the ICO header
// and one 14-byte entry for each image, with the id of the icon resource (type 3) that holds the
// image's bytes where an .ico file has the image's offset.
#include "extract/ByteView.h"
#include "extract/ExtractError.h"
#include "extract/cFileIcon.h"
#include "extract/cResources.h"
#include "extract/iconEntry.h"

#include <new>

namespace velmar {

namespace {

constexpr std::uint16_t kGroupIconType = 14;
constexpr std::uint16_t kIconType = 3;
constexpr std::uint64_t kGroupEntrySize = 14;

} // namespace

bool cFileIcon::LoadIconFromEXE(const std::filesystem::path& path, const ResourceId& id) {
    cResources module;
    try {
        module.FILE(path);
    } catch (const ExtractError&) {
        failLoad("Can't load library.");
    }
    return LoadIconFromEXE(module, id);
}

bool cFileIcon::LoadIconFromEXE(const cResources& module, const ResourceId& id) {
    clear();
    if (module.ModuleSize() == 0) failLoad("Can't load library.");
    if (!module.HasResource(kGroupIconType, id)) failLoad("Can't find resource.");
    const auto group = module.ResourceData(kGroupIconType, id);
    if (!group) failLoad("Can't load resource.");
    const ByteView bytes(*group);
    // The group must hold its header and every entry it counts.
    if (!bytes.holds(0, 6) || !bytes.holds(6, std::uint64_t{bytes.u16(4)} * kGroupEntrySize))
        failLoad("Can't lock resource.");
    header_ = {bytes.u16(0), bytes.u16(2), bytes.u16(4)};
    std::uint64_t total = 0;
    try {
        for (std::uint64_t i = 0; i < header_.Count; ++i) {
            const std::uint64_t at = 6 + i * kGroupEntrySize;
            IconDirectoryEntry e = ReadIconEntryHead(bytes, at);
            const auto image = module.ResourceData(kIconType, ResourceId(bytes.u16(at + 12)));
            // Icons of one group are distinct resources, so together they fit in the module;
            // more means the group names the same bytes again and again.
            total += image ? image->size() : 0;
            if (!image || total > module.ModuleSize())
                failLoad("Failed to read bitmap bits from resource.");
            entries_.push_back(e);
            images_.emplace_back(image->begin(), image->end());
        }
    } catch (const std::bad_alloc&) {
        failLoad("Out of memory");
    }
    fileName_ = module.FILE();
    resourceId_ = id;
    // The entries' sizes become those of the icons' bytes, so that the saved file agrees with
    // itself even where a group's size field disagrees with its icon.
    layOut();
    return true;
}

} // namespace velmar
