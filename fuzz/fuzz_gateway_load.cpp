// Arbitrary bytes through the gateway's loaders: the first byte picks a row of the loader table
// (its extension at the first site that has it), the rest is the file. Every loader must refuse
// or decode; a decoded picture must be whole and within the size limit. The limit is lowered
// to 4 million pixels so that a small input naming a huge picture runs in a moment here too;
// the check that refuses it is the same.
#include "formats/gateway.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const auto table = velmar::LoaderTable();
    const velmar::LoaderRow& row = table[data[0] % table.size()];
    int site = 0;
    while ((row.sites & (1u << site)) == 0)
        ++site;
    velmar::ModFreeImage mod;
    mod.SetMostPixels(std::uint64_t{1} << 22);
    const auto bits = velmar::LoadPictureBytes({data + 1, size - 1}, row.extension,
                                               static_cast<velmar::LoadSite>(site), &mod);
    if (bits && (!bits->IsAllocated() || bits->Width() < 1 || bits->Height() < 1 ||
                 static_cast<std::uint64_t>(bits->Width()) * bits->Height() > mod.MostPixels()))
        std::abort();
    return 0;
}
