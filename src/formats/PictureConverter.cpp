#include "formats/PictureConverter.h"

#include "port/ReplaceFile.h"

#include "formats/converterParts.h"

#include <algorithm>
#include <cstdio>
#include <new>

namespace velmar {

using converter::ConverterFailure;

namespace {

std::string checkOptions(int fileKind, int colorMode, int colorBits, int paletteMode, int dither) {
    if (fileKind != kFileBmp && fileKind != kFileGif && fileKind != kFileGifInterlaced)
        return "FileKind " + std::to_string(fileKind) +
               " is unknown: use 0 for BMP, 1 for GIF or 2 for interlaced GIF.";
    if (colorMode != kColorModeColors && colorMode != kColorModeGreyscale)
        return "ColorMode " + std::to_string(colorMode) +
               " is unknown: use 0 for colours or 2 for greyscale.";
    if (!((colorBits >= 1 && colorBits <= 8) || colorBits == 16 || colorBits == 24))
        return "ColorBits " + std::to_string(colorBits) + " is unknown: use 1 to 8, 16 or 24.";
    if (fileKind != kFileBmp && colorBits > 8)
        return "A GIF file holds at most 8 bits per pixel; ColorBits " + std::to_string(colorBits) +
               " can only be written as BMP.";
    if (std::string problem = converter::PaletteModeProblem(paletteMode, colorBits);
        !problem.empty())
        return problem;
    if (!converter::IsKnownDither(dither))
        return "Dither " + std::to_string(dither) +
               " is unknown: use 0, 1, 2, 4, 8, 16, 32, 64, 256 or 512.";
    return {};
}

constexpr std::uint32_t kFlipVerticalBit = 0x10000;
constexpr std::uint32_t kFlipHorizontalBit = 0x20000;
constexpr std::uint32_t kInvertBit = 0x100000;
constexpr std::uint32_t kKnownTransformBits =
    kTransformFlipVertical | kTransformFlipHorizontal | kTransformInvert;

void flipVertical(Bits& b) {
    const std::size_t rowBytes = static_cast<std::size_t>(b.Width()) * 4;
    std::vector<std::uint8_t> swap(rowBytes);
    for (int top = 0, bottom = b.Height() - 1; top < bottom; ++top, --bottom) {
        std::copy_n(b.Row(top), rowBytes, swap.data());
        std::copy_n(b.Row(bottom), rowBytes, b.Row(top));
        std::copy_n(swap.data(), rowBytes, b.Row(bottom));
    }
}

void flipHorizontal(Bits& b) {
    for (int y = 0; y < b.Height(); ++y) {
        auto* row = reinterpret_cast<std::uint32_t*>(b.Row(y));
        std::reverse(row, row + b.Width());
    }
}

// Red, green and blue become 255 minus themselves; the mask byte is not a colour and stays.
void invert(Bits& b) {
    for (int y = 0; y < b.Height(); ++y) {
        std::uint8_t* row = b.Row(y);
        for (int x = 0; x < b.Width(); ++x) {
            row[x * 4] = static_cast<std::uint8_t>(255 - row[x * 4]);
            row[x * 4 + 1] = static_cast<std::uint8_t>(255 - row[x * 4 + 1]);
            row[x * 4 + 2] = static_cast<std::uint8_t>(255 - row[x * 4 + 2]);
        }
    }
}

QuantizedPicture quantize(const Bits& picture, const ConverterOptions& o) {
    const bool grey = o.ColorMode == kColorModeGreyscale;
    QuantizedPicture q;
    q.width = picture.Width();
    q.height = picture.Height();
    q.bits = o.ColorBits;
    const std::size_t pixels =
        static_cast<std::size_t>(q.width) * static_cast<std::size_t>(q.height);
    if (o.ColorBits == 24) {
        // Nothing to reduce, so there is nothing to dither either.
        q.samples.resize(pixels * 3);
        std::uint8_t* out = q.samples.data();
        for (int y = 0; y < q.height; ++y) {
            const std::uint8_t* row = picture.Row(y);
            for (int x = 0; x < q.width; ++x, out += 3) {
                const std::uint8_t* p = row + x * 4;
                if (grey) {
                    out[0] = out[1] = out[2] = converter::GreyOf(p[2], p[1], p[0]);
                } else {
                    out[0] = p[0];
                    out[1] = p[1];
                    out[2] = p[2];
                }
            }
        }
        return q;
    }
    if (o.ColorBits == 16) {
        q.samples.resize(pixels * 3);
        converter::MapTo555(picture, grey, o.Dither, q.samples.data());
        return q;
    }
    q.palette = o.PaletteMode == kPaletteOptimal
                    ? converter::AdaptivePalette(picture, grey, 1 << o.ColorBits)
                    : converter::FixedPalette(o.PaletteMode, o.ColorBits);
    // A greyscale picture maps onto the palette's greys only: a colour entry that happens to be
    // nearest to a grey (or that error diffusion drifts to) would put colour into it.
    if (grey) {
        std::vector<PaletteColour> greys = converter::GreyEntries(q.palette);
        if (!greys.empty()) q.palette = std::move(greys);
    }
    q.samples.resize(pixels);
    converter::MapToPalette(picture, grey, q.palette, o.Dither, q.samples.data());
    return q;
}

} // namespace

bool PictureConverter::fail(std::string text) {
    lastError_ = std::move(text);
    return false;
}

bool PictureConverter::ConvertPicture(const Bits& picture, const std::filesystem::path& path,
                                      int FileKind, int ColorMode, int ColorBits, int PaletteMode,
                                      int Dither) {
    if (!SetOptions(FileKind, ColorMode, ColorBits, PaletteMode, Dither)) return false;
    if (!SetPicture(picture)) return false;
    if (!Quantize()) return false;
    return writeFile(path, FileKind);
}

bool PictureConverter::SetOptions(int FileKind, int ColorMode, int ColorBits, int PaletteMode,
                                  int Dither) {
    if (std::string problem = checkOptions(FileKind, ColorMode, ColorBits, PaletteMode, Dither);
        !problem.empty())
        return fail(std::move(problem));
    options_ = ConverterOptions{FileKind, ColorMode, ColorBits, PaletteMode, Dither};
    result_.reset();
    lastError_.clear();
    return true;
}

bool PictureConverter::SetPicture(const Bits& picture) {
    if (!picture.IsAllocated() || picture.Width() < 1 || picture.Height() < 1)
        return fail("The picture is empty.");
    try {
        picture_ = picture.clone();
    } catch (const std::bad_alloc&) {
        return fail("There is not enough memory to take a copy of the picture.");
    }
    result_.reset();
    lastError_.clear();
    return true;
}

bool PictureConverter::TransformImage(std::uint32_t flags) {
    if (!picture_.IsAllocated()) return fail("There is no picture to transform: set one first.");
    if ((flags & ~kKnownTransformBits) != 0) {
        char text[160];
        std::snprintf(text, sizeof text,
                      "Transformation flags 0x%X are unknown: use 0x1010000, 0x1020000, "
                      "0x3100000 or their combination.",
                      flags);
        return fail(text);
    }
    if (flags != 0) {
        if (flags & kFlipVerticalBit) flipVertical(picture_);
        if (flags & kFlipHorizontalBit) flipHorizontal(picture_);
        if (flags & kInvertBit) invert(picture_);
        result_.reset();
    }
    lastError_.clear();
    return true;
}

bool PictureConverter::Quantize() {
    if (!options_) return fail("Set the options before quantizing.");
    if (!picture_.IsAllocated()) return fail("There is no picture to quantize: set one first.");
    try {
        result_ = quantize(picture_, *options_);
    } catch (const ConverterFailure& e) {
        return fail(e.what());
    } catch (const std::bad_alloc&) {
        return fail("There is not enough memory to quantize the picture.");
    }
    lastError_.clear();
    return true;
}

bool PictureConverter::writeFile(const std::filesystem::path& path, int kind) {
    if (!result_) return fail("There is nothing to write: quantize the picture first.");
    try {
        const std::vector<std::uint8_t> bytes =
            kind == kFileBmp ? converter::EncodeBmp(*result_)
                             : converter::EncodeGif(*result_, kind == kFileGifInterlaced);
        ReplaceFile(path, bytes);
    } catch (const ConverterFailure& e) {
        return fail(e.what());
    } catch (const FileWriteError& e) {
        return fail(e.what());
    } catch (const std::bad_alloc&) {
        return fail("There is not enough memory to write the picture.");
    }
    lastError_.clear();
    return true;
}

bool PictureConverter::WriteBmp(const std::filesystem::path& path) {
    return writeFile(path, kFileBmp);
}
bool PictureConverter::WriteGif(const std::filesystem::path& path) {
    return writeFile(path, kFileGif);
}
bool PictureConverter::WriteGifInterlaced(const std::filesystem::path& path) {
    return writeFile(path, kFileGifInterlaced);
}

} // namespace velmar
