#pragma once
// Animated GIFs made in memory with giflib's encoder, for the tests of the frame model and the
// GIF window.
#include <gif_lib.h>

#include <cstdint>
#include <vector>

namespace velmar {

// A frame to encode: its rectangle, palette indices, and control block.
struct FrameOptions {
    int left, top, width, height;
    std::vector<std::uint8_t> indices;
    int disposal = DISPOSE_DO_NOT;
    int transparent = NO_TRANSPARENT_COLOR;
    int delayCs = 10;
    bool interlace = false;
};

inline int appendBytes(GifFileType* gif, const GifByteType* data, int n) {
    auto* out = static_cast<std::vector<std::uint8_t>*>(gif->UserData);
    out->insert(out->end(), data, data + n);
    return n;
}

// Encodes a 4 x 2 animation with a four-colour map: 0 black, 1 red, 2 green, 3 blue.
inline std::vector<std::uint8_t> encode(const std::vector<FrameOptions>& frames, int width = 4,
                                        int height = 2) {
    std::vector<std::uint8_t> bytes;
    int error = 0;
    GifFileType* gif = EGifOpen(&bytes, appendBytes, &error);
    const GifColorType colours[4] = {{0, 0, 0}, {255, 0, 0}, {0, 255, 0}, {0, 0, 255}};
    ColorMapObject* map = GifMakeMapObject(4, colours);
    EGifSetGifVersion(gif, true);
    EGifPutScreenDesc(gif, width, height, 2, 0, map);
    for (const FrameOptions& f : frames) {
        GraphicsControlBlock gcb{f.disposal, false, f.delayCs, f.transparent};
        GifByteType ext[4];
        const std::size_t n = EGifGCBToExtension(&gcb, ext);
        EGifPutExtension(gif, GRAPHICS_EXT_FUNC_CODE, static_cast<int>(n), ext);
        EGifPutImageDesc(gif, f.left, f.top, f.width, f.height, f.interlace, nullptr);
        std::vector<std::uint8_t> rows(f.indices);
        if (f.interlace) { // write rows in the interlaced pass order
            rows.clear();
            constexpr int start[] = {0, 4, 2, 1}, step[] = {8, 8, 4, 2};
            for (int p = 0; p < 4; ++p)
                for (int r = start[p]; r < f.height; r += step[p])
                    rows.insert(rows.end(), f.indices.begin() + r * f.width,
                                f.indices.begin() + (r + 1) * f.width);
        }
        for (int r = 0; r < f.height; ++r)
            EGifPutLine(gif, rows.data() + r * f.width, f.width);
    }
    EGifCloseFile(gif, &error);
    GifFreeMapObject(map);
    return bytes;
}

} // namespace velmar
