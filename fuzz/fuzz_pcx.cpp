// Arbitrary bytes through the 24-bit PCX reader: it must refuse or decode, never crash.
#include "formats/PCX.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        const velmar::Bits bits = velmar::PcxRead({data, size});
        // Decoding the picture again from our own writer's bytes must succeed.
        (void)velmar::PcxRead(velmar::PCX::Encode(bits, true));
    } catch (const velmar::PcxError&) {
    }
    return 0;
}
