#pragma once
// AnimatedGif: an animated GIF taken apart into the frames a player shows.
//
// Frames are composed as a player draws them: each frame is laid over what the previous one
// left (after that one's disposal: leave in place, restore the background, or restore what was
// under it), transparent pixels show what lies below, and the canvas starts as the chosen
// background colour, which is also what shows through everywhere nothing has been drawn.
// Each frame keeps its delay. Decoding refuses broken or oversized files with a reason and
// never reads past the data.
#include "pixel/Bits.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace velmar {

class GifError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

class AnimatedGif {
  public:
    // Frames are held composed; a file that would need more than this is refused rather than
    // taking the machine's memory. The fuzzer lowers them to keep its runs short.
    struct Limits {
        std::uint64_t maxFramePixels = std::uint64_t{1} << 25;   // a frame's or the canvas's pixels
        std::uint64_t maxComposedBytes = std::uint64_t{1} << 30; // all frames, raw and composed
    };
    AnimatedGif() = default;
    explicit AnimatedGif(Limits limits) : limits_(limits) {}

    // Opens a file and composes its frames; an empty name unloads. False with LastError() set
    // when the file cannot be read or is not a GIF; what was loaded before is then unloaded.
    bool Load(const std::filesystem::path& file);
    // The same from bytes in memory (used by tests and the fuzzer).
    bool LoadBytes(std::span<const std::uint8_t> bytes);

    const std::filesystem::path& FileName() const noexcept { return fileName_; }
    int FrameCount() const noexcept { return static_cast<int>(frames_.size()); }
    // Frame i from 0, composed, mask bytes 0. i must be below FrameCount().
    const Bits& Frame(int i) const { return frames_.at(static_cast<std::size_t>(i)).bits; }
    // The frame's delay in milliseconds as the file gives it (hundredths of a second times 10).
    int Delay(int i) const { return frames_.at(static_cast<std::size_t>(i)).delayMs; }
    // How long a player shows the frame: the file's delay, except that delays below 20 ms,
    // which most encoders write to mean "as fast as you like", show for 100 ms as browsers do.
    int DisplayTime(int i) const;
    // The file's loop count (0 forever); 1 when the file says nothing.
    int LoopCount() const noexcept { return loopCount_; }

    // The colour behind transparent pixels, as a colour value (red in the low byte). Changing it
    // composes the frames again. White until set.
    std::uint32_t Background() const noexcept { return background_; }
    void SetBackground(std::uint32_t colour);

    const std::string& LastError() const noexcept { return lastError_; }

  private:
    struct RawFrame {
        int left = 0, top = 0, width = 0, height = 0;
        int disposal = 0;
        int transparent = -1;
        int delayMs = 0;
        std::vector<std::uint8_t> colours; // r, g, b triples of its colour map
        std::vector<std::uint8_t> indices; // width * height, top-down, de-interlaced
    };
    struct Composed {
        Bits bits;
        int delayMs = 0;
    };

    void decode(std::span<const std::uint8_t> bytes);
    void compose();

    std::filesystem::path fileName_;
    int width_ = 0, height_ = 0;
    int loopCount_ = 1;
    std::vector<RawFrame> raw_;
    std::vector<Composed> frames_;
    std::uint32_t background_ = 0xFFFFFF;
    std::string lastError_;
    Limits limits_;
};

} // namespace velmar
