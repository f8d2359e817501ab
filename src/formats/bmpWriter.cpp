// BMP through FreeImage: the quantized picture is laid into a FreeImage bitmap of the BMP's
// depth and saved to memory, so the file itself is written by ReplaceFile like every other.
#include "formats/ModFreeImage.h"
#include "formats/converterParts.h"

#include <FreeImage.h>

#include <cstring>
#include <memory>

namespace velmar::converter {

namespace {

// FreeImage is initialised and de-initialised around each use; its own count keeps the
// library alive for other users in between.
struct FreeImageSession {
    FreeImageSession() { FreeImageOpen(); }
    ~FreeImageSession() { FreeImageClose(); }
    FreeImageSession(const FreeImageSession&) = delete;
    FreeImageSession& operator=(const FreeImageSession&) = delete;
};

struct BitmapFree {
    void operator()(FIBITMAP* b) const { FreeImage_Unload(b); }
};
struct MemoryFree {
    void operator()(FIMEMORY* m) const { FreeImage_CloseMemory(m); }
};

// BMP knows 1, 4 and 8 bits of palette: 2 and 3 bits go into 4-bit files, 5 to 7 into 8-bit.
int bmpDepth(int bits) {
    return bits == 1 ? 1 : (bits <= 4 ? 4 : (bits <= 8 ? 8 : bits));
}

void fillIndexed(FIBITMAP* dib, const QuantizedPicture& q, int depth) {
    RGBQUAD* table = FreeImage_GetPalette(dib);
    const int tableSize = 1 << depth;
    for (int i = 0; i < tableSize; ++i) {
        RGBQUAD& entry = table[i];
        entry = {};
        if (i < static_cast<int>(q.palette.size())) {
            entry.rgbRed = q.palette[static_cast<std::size_t>(i)].red;
            entry.rgbGreen = q.palette[static_cast<std::size_t>(i)].green;
            entry.rgbBlue = q.palette[static_cast<std::size_t>(i)].blue;
        }
    }
    const std::size_t w = static_cast<std::size_t>(q.width);
    for (int y = 0; y < q.height; ++y) {
        // FreeImage keeps its rows bottom-up.
        BYTE* line = FreeImage_GetScanLine(dib, q.height - 1 - y);
        const std::uint8_t* in = q.samples.data() + static_cast<std::size_t>(y) * w;
        std::memset(line, 0, FreeImage_GetPitch(dib));
        for (std::size_t x = 0; x < w; ++x) {
            if (depth == 8)
                line[x] = in[x];
            else if (depth == 4)
                line[x / 2] |= static_cast<BYTE>(in[x] << (x % 2 == 0 ? 4 : 0));
            else
                line[x / 8] |= static_cast<BYTE>((in[x] & 1) << (7 - x % 8));
        }
    }
}

void fillDirect(FIBITMAP* dib, const QuantizedPicture& q) {
    const std::size_t w = static_cast<std::size_t>(q.width);
    for (int y = 0; y < q.height; ++y) {
        BYTE* line = FreeImage_GetScanLine(dib, q.height - 1 - y);
        const std::uint8_t* in = q.samples.data() + static_cast<std::size_t>(y) * w * 3;
        for (std::size_t x = 0; x < w; ++x, in += 3) {
            if (q.bits == 16) {
                const unsigned word = (static_cast<unsigned>(in[2]) << 10) |
                                      (static_cast<unsigned>(in[1]) << 5) | in[0];
                line[x * 2] = static_cast<BYTE>(word & 0xFF);
                line[x * 2 + 1] = static_cast<BYTE>(word >> 8);
            } else {
                line[x * 3 + FI_RGBA_BLUE] = in[0];
                line[x * 3 + FI_RGBA_GREEN] = in[1];
                line[x * 3 + FI_RGBA_RED] = in[2];
            }
        }
    }
}

} // namespace

std::vector<std::uint8_t> EncodeBmp(const QuantizedPicture& q) {
    FreeImageSession session;
    const int depth = bmpDepth(q.bits);
    std::unique_ptr<FIBITMAP, BitmapFree> dib(
        depth == 16 ? FreeImage_Allocate(q.width, q.height, 16, FI16_555_RED_MASK,
                                         FI16_555_GREEN_MASK, FI16_555_BLUE_MASK)
                    : FreeImage_Allocate(q.width, q.height, depth));
    if (!dib) throw ConverterFailure("There is not enough memory for the BMP picture.");
    if (depth <= 8)
        fillIndexed(dib.get(), q, depth);
    else
        fillDirect(dib.get(), q);

    std::unique_ptr<FIMEMORY, MemoryFree> memory(FreeImage_OpenMemory());
    if (!memory || !FreeImage_SaveToMemory(FIF_BMP, dib.get(), memory.get(), BMP_DEFAULT))
        throw ConverterFailure("FreeImage could not encode the BMP picture.");
    BYTE* data = nullptr;
    DWORD size = 0;
    if (!FreeImage_AcquireMemory(memory.get(), &data, &size))
        throw ConverterFailure("FreeImage could not encode the BMP picture.");
    return {data, data + size};
}

} // namespace velmar::converter
