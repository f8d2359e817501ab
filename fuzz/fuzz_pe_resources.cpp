// Arbitrary bytes through the PE resource reader, cResources and the group icon rebuild that the
// extractor runs on a module.
//
// Beyond "no crash, no hang, no read past the input": every resource that has bytes has them
// inside the input; the type and name lists agree with the directory's leaves; and every group
// icon that loads gives an .ico file that the icon loader accepts and writes back unchanged.
#include "extract/ExtractError.h"
#include "extract/PeResourceDirectory.h"
#include "extract/cFileIcon.h"
#include "extract/cResources.h"
#include "fuzzCheck.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

using velmar::fuzz::check;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace velmar;
    const std::span<const std::uint8_t> input(data, size);
    PeResourceDirectory directory;
    try {
        directory = ParsePeResources(input);
    } catch (const PeFormatError&) {
        return 0;
    }
    for (const PeResource& r : directory.resources) {
        const auto bytes = ResourceBytes(input, r);
        check(bytes.has_value() == r.fileOffset.has_value());
        if (bytes) check(bytes->data() == data + *r.fileOffset && bytes->size() == r.size);
    }

    cResources module;
    module.LoadBytes(std::vector<std::uint8_t>(input.begin(), input.end()));
    check(module.Resources().size() == directory.resources.size());
    std::size_t names = 0;
    for (int t = 1; t <= module.ResourceTypeCount(); ++t) {
        const ResourceId& type = module.ResourceType(t);
        check(module.IndexOfResourceType(type) >= 1);
        names += static_cast<std::size_t>(module.ResourceNameCount(type));
        check(!module.ResourceTypeName(t).empty() || !type.IsNumber());
    }
    check(names <= directory.resources.size());

    const ResourceId groupIcon(std::uint16_t{14});
    const int groups = module.ResourceNameCount(groupIcon);
    for (int i = 1; i <= groups && i <= 32; ++i) {
        cFileIcon icon;
        try {
            icon.LoadIconFromEXE(module, module.ResourceName(groupIcon, i));
        } catch (const ExtractError&) {
            check(icon.ImageCount() == 0);
            continue;
        }
        const std::vector<std::uint8_t> file = icon.IconFileBytes();
        cFileIcon again;
        try {
            again.LoadIconBytes(file);
        } catch (const ExtractError&) {
            // A group may copy a header the icon loader refuses (reserved or type not as an
            // .ico file has them, or no images): that is the module's content, not a fault.
            check(icon.Header().Reserved != 0 || icon.Header().Type != 1 || icon.ImageCount() == 0);
            continue;
        }
        check(again.IconFileBytes() == file);
    }
    return 0;
}
