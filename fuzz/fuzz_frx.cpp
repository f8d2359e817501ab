// Arbitrary bytes through the FRX container scan.
//
// Beyond "no crash, no hang, no read past the input", the scan must account for every byte:
// items and their headers follow each other without gap or overlap from the first byte to the
// last, each item's bytes are the input's bytes at its offset, a recorded item passes the
// signature test of its own type, and two binary stretches never lie side by side (a skipped
// run is one item).
#include "extract/cFrxFile.h"
#include "fuzzCheck.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

using velmar::fuzz::check;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace velmar;
    const std::span<const std::uint8_t> input(data, size);
    const std::vector<cFrxItem> items = ScanFrxItems(input);
    std::size_t at = 0;
    bool lastWasRun = false;
    for (const cFrxItem& item : items) {
        const auto header = static_cast<std::size_t>(item.HeaderSize());
        check(header == 0 || header == 4 || header == 12 || header == 28);
        check(item.FileOffset() == at + header);
        check(item.FileOffset() + item.ImageSize() <= size);
        check(std::equal(item.Bits().begin(), item.Bits().end(),
                         input.begin() + static_cast<std::ptrdiff_t>(item.FileOffset())));
        const int type = item.PictureType();
        // A skipped run may happen to pass a test as a whole; it stays binary data.
        check(header == 0 ? type == kFrxBinary : type == FrxSignatureType(item.Bits()));
        // Only an empty picture record is a binary item with a header.
        check(type != kFrxBinary || header == 0 || (header == 12 && item.ImageSize() == 0));
        const bool run = header == 0;
        check(!(run && lastWasRun) && (!run || item.ImageSize() > 0));
        lastWasRun = run;
        check(!item.FileTypeName().empty() && item.FileExtension().size() == 3);
        at = item.FileOffset() + item.ImageSize();
    }
    check(at == size);
    return 0;
}
