// Arbitrary bytes through the animated-GIF decoder and composer: refuse or compose, never crash.
#include "formats/AnimatedGif.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // Smaller limits than the editor's, so that runs stay fast; the checks are the same code.
    velmar::AnimatedGif gif({std::uint64_t{1} << 20, std::uint64_t{1} << 26});
    if (gif.LoadBytes({data, size}) && gif.FrameCount() > 0) {
        gif.SetBackground(0x123456); // composes again over another colour
        (void)gif.Frame(gif.FrameCount() - 1)(0, 0, 0);
    }
    return 0;
}
