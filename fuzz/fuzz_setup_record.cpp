// Arbitrary bytes through the setup record reader that LoadSetup uses, then back out.
//
// The reader takes any length without a check, so beyond "no crash, no read past the input"
// the target holds it to two promises: writing the record read from the bytes gives back
// exactly those bytes (cut or zero-padded to the record's size), and reading that again gives
// the same record.
#include "shell/SetupRecord.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace velmar;
    const std::span<const std::uint8_t> input(data, size);
    const SetupRecord record = FromBytes(input);
    const SetupBytes out = ToBytes(record);

    const std::size_t used = std::min(size, out.size());
    if (!std::equal(out.begin(), out.begin() + static_cast<std::ptrdiff_t>(used), data))
        std::abort();
    if (!std::all_of(out.begin() + static_cast<std::ptrdiff_t>(used), out.end(),
                     [](std::uint8_t b) { return b == 0; }))
        std::abort();
    if (!(FromBytes(out) == record)) std::abort();

    // The texts the rest of the program reads trimmed must trim within their own bytes.
    std::size_t trimmed = record.ImagesFolder.Trimmed().size() + record.Tool.Trimmed().size() +
                          record.ThumbBackColor.Trimmed().size();
    for (const auto& entry : record.RecentFiles)
        trimmed += entry.Trimmed().size();
    if (trimmed > 256 + 25 + 9 + 8 * 256) std::abort();
    return 0;
}
