// Arbitrary bytes through the animated-GIF decoder and composer: refuse or compose, never crash.
#include "formats/AnimatedGif.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    velmar::AnimatedGif gif;
    if (gif.LoadBytes({data, size}) && gif.FrameCount() > 0) {
        gif.SetBackground(0x123456); // composes again over another colour
        (void)gif.Frame(gif.FrameCount() - 1)(0, 0, 0);
    }
    return 0;
}
