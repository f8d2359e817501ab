#pragma once
// Helpers for the gateway's tests: the shared corpus, small test pictures, and ImageMagick as
// the independent reader of what the gateway writes.
#include "pixel/Bits.h"
#include "support/TempFolder.h"
#include "support/files.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

namespace velmar::test {

// The corpus of files written by other software, or an empty path when it is not here.
inline std::filesystem::path corpusFolder() {
    const char* env = std::getenv("VELMAR_CORPUS");
    const std::filesystem::path folder =
        env != nullptr ? std::filesystem::path(env)
                       : std::filesystem::path(__FILE__).parent_path() / "../../../shared/corpus";
    return std::filesystem::is_directory(folder / "images") ? folder : std::filesystem::path();
}

// Every pixel different from its neighbours, no two rows alike, and few enough colours (at most
// 4 x 4 x 4 levels) for an adaptive 256-colour palette to keep them all.
inline Bits patternPicture(int w, int h) {
    Bits b(w, h);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            b(Bits::Red, x, y) = static_cast<std::uint8_t>(85 * ((x + 2 * y) % 4));
            b(Bits::Green, x, y) = static_cast<std::uint8_t>(85 * ((3 * x + y) % 4));
            b(Bits::Blue, x, y) = static_cast<std::uint8_t>(85 * ((x * y + y) % 4));
        }
    return b;
}

// A smooth picture for lossy formats.
inline Bits smoothPicture(int w, int h) {
    Bits b(w, h);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            b(Bits::Red, x, y) = static_cast<std::uint8_t>(40 + 160 * x / (w - 1));
            b(Bits::Green, x, y) = static_cast<std::uint8_t>(60 + 150 * y / (h - 1));
            b(Bits::Blue, x, y) = static_cast<std::uint8_t>(200 - 100 * (x + y) / (w + h - 2));
        }
    return b;
}

struct RgbPicture {
    int width = 0, height = 0;
    std::vector<std::uint8_t> rgb; // red, green, blue, rows from the top
    int at(int c, int x, int y) const {
        return rgb[(static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                    static_cast<std::size_t>(x)) *
                       3 +
                   static_cast<std::size_t>(c)];
    }
};

inline bool haveImageMagick() {
    return haveProgram("convert") && haveProgram("identify");
}

// The first picture of a file as ImageMagick reads it, turned upright by its own orientation
// tag (ImageMagick 6 keeps a Targa's bottom-up rows upside down and only tags them).
inline std::optional<RgbPicture> readWithImageMagick(const std::filesystem::path& file) {
    const TempFolder scratch;
    const std::filesystem::path raw = scratch / "picture.rgb", size = scratch / "size.txt";
    if (run("identify -format '%w %h' '" + file.string() + "[0]' > '" + size.string() +
            "' 2>/dev/null") != 0 ||
        run("convert '" + file.string() + "[0]' -auto-orient -depth 8 rgb:'" + raw.string() +
            "' 2>/dev/null") != 0)
        return std::nullopt;
    RgbPicture p;
    std::ifstream(size) >> p.width >> p.height;
    p.rgb = readFile(raw);
    if (p.width < 1 || p.rgb.size() != static_cast<std::size_t>(p.width) * p.height * 3)
        return std::nullopt;
    return p;
}

// The largest difference of any channel of any pixel, or 256 when the sizes differ.
inline int largestDifference(const Bits& bits, const RgbPicture& p) {
    if (bits.Width() != p.width || bits.Height() != p.height) return 256;
    int most = 0;
    for (int y = 0; y < p.height; ++y)
        for (int x = 0; x < p.width; ++x)
            for (int c = 0; c < 3; ++c)
                most = std::max(most, std::abs(bits(Bits::Red - c, x, y) - p.at(c, x, y)));
    return most;
}

// True when `loaded` has the colours of `expected` everywhere and every mask byte 0.
inline bool samePicture(const Bits& expected, const Bits& loaded) {
    const Bits& a = expected;
    const Bits& b = loaded;
    if (a.Width() != b.Width() || a.Height() != b.Height()) return false;
    for (int y = 0; y < a.Height(); ++y)
        for (int x = 0; x < a.Width(); ++x) {
            for (int c = 0; c < 3; ++c)
                if (a(c, x, y) != b(c, x, y)) return false;
            if (b(Bits::Mask, x, y) != 0) return false;
        }
    return true;
}

} // namespace velmar::test
