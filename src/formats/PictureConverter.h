#pragma once
// PictureConverter: lowers a picture to a palette or to 16/24-bit colour and writes it as BMP,
// GIF or interlaced GIF. The web optimizer and the GIF save path call it.
//
// Two ways to use it, which give byte-identical files:
//   ConvertPicture(picture, path, kind, mode, bits, palette, dither)           one call
//   SetOptions -> SetPicture -> [TransformImage] -> Quantize -> Write...        stepwise
// Only the stepwise way can flip or invert the picture on the way.
//
// Every operation returns true on success. On failure it returns false, LastError() says why
// in a sentence fit for a message box, and the converter stays as it was before the call
// (ConvertPicture keeps the steps that succeeded before the failing one). SetOptions,
// SetPicture and TransformImage drop an earlier Quantize result: write only after Quantize.
//
// Files are written beside the target under a temporary name and renamed over it, so a
// failed write never leaves a half file and never damages an existing one.
//
// Not thread-safe; one converter per thread. The picture's mask byte is ignored.
#include "formats/platformPalettes.h"
#include "pixel/Bits.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace velmar {

// FileKind: what ConvertPicture writes.
inline constexpr int kFileBmp = 0;
inline constexpr int kFileGif = 1;
inline constexpr int kFileGifInterlaced = 2;

// ColorMode: keep the colours, or turn the picture grey before quantizing.
inline constexpr int kColorModeColors = 0;
inline constexpr int kColorModeGreyscale = 2;

// PaletteMode (only used for ColorBits 1..8; 16 and 24 bits have no colour table).
inline constexpr int kPalettePlatform = 0x1000;   // the desktop's own map for the depth
inline constexpr int kPaletteOptimal = 0x4000;    // adaptive, made for the picture
inline constexpr int kPaletteFixedCube = 0;       // a colour cube split by bits
inline constexpr int kPaletteFixedCount = 0x8000; // plus n (2..256): n fixed colours
inline constexpr int kPaletteVga = 0x8210;        // the 16 VGA colours
inline constexpr int kPaletteWebSafe = 0x84D8;    // the 216 web-safe colours
inline constexpr int kPaletteHalftone = 0x8300;   // the 256-colour halftone palette
inline constexpr int kPaletteGreyRamp = 0x88FF;   // 2^bits evenly spaced greys

// Dither values; their patterns are described in dithers.cpp.
inline constexpr int kDitherNone = 0;
inline constexpr int kDitherBinary = 1;
inline constexpr int kDitherOrdered = 2;
inline constexpr int kDitherHaftone = 4;
inline constexpr int kDitherForwardDiag = 8;
inline constexpr int kDitherBackwardDiag = 16;
inline constexpr int kDitherHorizontal = 32;
inline constexpr int kDitherVertical = 64;
inline constexpr int kDitherOdd = 256;
inline constexpr int kDitherEven = 512;

// TransformImage flags; OR them together. See TransformImage for the bits that are tested.
inline constexpr std::uint32_t kTransformFlipVertical = 0x1010000;
inline constexpr std::uint32_t kTransformFlipHorizontal = 0x1020000;
inline constexpr std::uint32_t kTransformInvert = 0x3100000;

struct ConverterOptions {
    int FileKind = kFileGif;
    int ColorMode = kColorModeColors;
    int ColorBits = 8;
    int PaletteMode = kPaletteOptimal;
    int Dither = kDitherNone;
};

// What Quantize produced: a colour table with one index per pixel (ColorBits 1..8), or direct
// colour (16 bits: 5-bit levels 0..31 per channel; 24 bits: bytes), blue, green, red per pixel.
struct QuantizedPicture {
    int width = 0;
    int height = 0;
    int bits = 0;
    std::vector<PaletteColour> palette;
    std::vector<std::uint8_t> samples; // row after row from the top, no padding
};

class PictureConverter {
  public:
    // SetOptions, SetPicture, Quantize, then WriteBmp, WriteGif or WriteGifInterlaced by
    // FileKind.
    bool ConvertPicture(const Bits& picture, const std::filesystem::path& path, int FileKind,
                        int ColorMode, int ColorBits, int PaletteMode, int Dither);

    // FileKind 0 BMP, 1 GIF, 2 interlaced GIF; ColorMode 0 colours, 2 greyscale; ColorBits
    // 1..8, 16 or 24 (GIF: 1..8); PaletteMode and Dither as the constants above. A palette of
    // fixed size must fit in ColorBits (the 216 web-safe colours need 8 bits). At 16 and 24
    // bits every known PaletteMode is accepted and means direct colour; the dither still
    // applies at 16 bits. The palettes themselves are described in converterPalettes.cpp.
    bool SetOptions(int FileKind, int ColorMode, int ColorBits, int PaletteMode, int Dither);

    // Keeps its own copy of the picture; the caller's may change or go afterwards.
    bool SetPicture(const Bits& picture);

    // Flips and inverts the kept picture. The bits tested are 0x10000 (flip top to bottom),
    // 0x20000 (flip left to right) and 0x100000 (invert red, green and blue); the family bits
    // 0x1000000 and 0x2000000 that the named flags carry are accepted and mean nothing more.
    // Any other bit is refused, so a mistyped flag is not silently ignored. 0 changes nothing.
    bool TransformImage(std::uint32_t flags);

    // Builds the palette by PaletteMode and maps the picture onto it with Dither. In greyscale
    // the picture is turned grey first and only the palette's greys are kept, so the result
    // holds no colour whatever the palette.
    bool Quantize();

    // BMP at 1, 4 or 8 bits with a colour table (2 and 3 bits are stored in 4-bit files, 5 to
    // 7 in 8-bit files, as BMP has no such depths), 16 bits as 5-5-5, or 24 bits.
    bool WriteBmp(const std::filesystem::path& path);
    // GIF with the colour table rounded up to a power of two (at least 2 entries).
    bool WriteGif(const std::filesystem::path& path);
    bool WriteGifInterlaced(const std::filesystem::path& path);

    // Why the last call failed; empty after a call that succeeded.
    const std::string& LastError() const noexcept { return lastError_; }
    // The result of the last successful Quantize, or null when there is none (yet).
    const QuantizedPicture* Result() const noexcept { return result_ ? &*result_ : nullptr; }

  private:
    bool fail(std::string text);
    bool writeFile(const std::filesystem::path& path, int kind);

    std::optional<ConverterOptions> options_;
    Bits picture_;
    std::optional<QuantizedPicture> result_;
    std::string lastError_;
};

} // namespace velmar
