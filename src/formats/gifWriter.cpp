// GIF through giflib's record interface: one screen, one image, no extensions (GIF87a). The
// file is built in memory and written in one piece.
#include "formats/converterParts.h"

#include <gif_lib.h>

#include <algorithm>
#include <memory>

namespace velmar::converter {

namespace {

int appendBytes(GifFileType* gif, const GifByteType* data, int length) {
    auto* out = static_cast<std::vector<std::uint8_t>*>(gif->UserData);
    out->insert(out->end(), data, data + length);
    return length;
}

[[noreturn]] void gifFailed(int code) {
    const char* text = GifErrorString(code);
    throw ConverterFailure(std::string("The GIF could not be encoded: ") +
                           (text ? text : "unknown giflib error") + ".");
}

struct MapFree {
    void operator()(ColorMapObject* m) const { GifFreeMapObject(m); }
};

// The rows in the order an interlaced GIF stores them: every 8th from 0, every 8th from 4,
// every 4th from 2, every 2nd from 1. A viewer can show a coarse picture after the first pass.
std::vector<int> rowOrder(int height, bool interlaced) {
    std::vector<int> order;
    order.reserve(static_cast<std::size_t>(height));
    if (!interlaced) {
        for (int y = 0; y < height; ++y)
            order.push_back(y);
        return order;
    }
    constexpr int kStart[] = {0, 4, 2, 1}, kStep[] = {8, 8, 4, 2};
    for (int pass = 0; pass < 4; ++pass)
        for (int y = kStart[pass]; y < height; y += kStep[pass])
            order.push_back(y);
    return order;
}

} // namespace

std::vector<std::uint8_t> EncodeGif(const QuantizedPicture& picture, bool interlaced) {
    if (picture.bits > 8)
        throw ConverterFailure("A GIF file holds at most 8 bits per pixel: set ColorBits to 1..8 "
                               "before quantizing.");
    if (picture.width > 0xFFFF || picture.height > 0xFFFF)
        throw ConverterFailure("A GIF picture is at most 65535 pixels wide and high; this one is " +
                               std::to_string(picture.width) + " by " +
                               std::to_string(picture.height) + ".");

    // The smallest power of two that holds the palette: fewer bits per pixel, a smaller file.
    int tableSize = 2;
    while (tableSize < static_cast<int>(picture.palette.size()))
        tableSize *= 2;
    std::vector<GifColorType> colours(static_cast<std::size_t>(tableSize), GifColorType{0, 0, 0});
    for (std::size_t i = 0; i < picture.palette.size(); ++i)
        colours[i] = {picture.palette[i].red, picture.palette[i].green, picture.palette[i].blue};
    std::unique_ptr<ColorMapObject, MapFree> map(GifMakeMapObject(tableSize, colours.data()));
    if (!map) gifFailed(E_GIF_ERR_NOT_ENOUGH_MEM);

    std::vector<std::uint8_t> bytes;
    int error = 0;
    GifFileType* gif = EGifOpen(&bytes, appendBytes, &error);
    if (!gif) gifFailed(error);
    const auto closeAndFail = [&](int code) {
        int ignored = 0;
        EGifCloseFile(gif, &ignored);
        gifFailed(code);
    };
    if (EGifPutScreenDesc(gif, picture.width, picture.height, 8, 0, map.get()) == GIF_ERROR ||
        EGifPutImageDesc(gif, 0, 0, picture.width, picture.height, interlaced, nullptr) ==
            GIF_ERROR)
        closeAndFail(gif->Error);
    // giflib masks the line it is given in place, so it gets a copy of each row.
    std::vector<GifPixelType> line(static_cast<std::size_t>(picture.width));
    for (const int y : rowOrder(picture.height, interlaced)) {
        const auto* row = picture.samples.data() +
                          static_cast<std::size_t>(y) * static_cast<std::size_t>(picture.width);
        std::copy(row, row + picture.width, line.begin());
        if (EGifPutLine(gif, line.data(), picture.width) == GIF_ERROR) closeAndFail(gif->Error);
    }
    if (EGifCloseFile(gif, &error) == GIF_ERROR) gifFailed(error);
    return bytes;
}

} // namespace velmar::converter
