#include "formats/contentChecks.h"

#include "formats/ModFreeImage.h"
#include "formats/libraryLoad.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <vector>

namespace velmar {

namespace {

std::uint64_t bigEndian(std::span<const std::uint8_t> b, std::size_t at, int bytes) {
    std::uint64_t v = 0;
    for (int i = 0; i < bytes; ++i)
        v = (v << 8) | b[at + static_cast<std::size_t>(i)];
    return v;
}

std::uint64_t littleEndian(std::span<const std::uint8_t> b, std::size_t at, int bytes) {
    std::uint64_t v = 0;
    for (int i = bytes - 1; i >= 0; --i)
        v = (v << 8) | b[at + static_cast<std::size_t>(i)];
    return v;
}

// The logical screen and the first frame's place on it, as a GIF's header and first image
// descriptor give them; `found` is false when the stream ends before the descriptor.
struct GifFrame {
    bool found = false;
    std::uint64_t screenWidth = 0, screenHeight = 0, right = 0, bottom = 0;
};

GifFrame firstGifFrame(std::span<const std::uint8_t> b) {
    GifFrame f;
    if (b.size() < 13) return f;
    f.screenWidth = littleEndian(b, 6, 2);
    f.screenHeight = littleEndian(b, 8, 2);
    std::size_t i = 13;
    if ((b[10] & 0x80) != 0) i += std::size_t{3} << ((b[10] & 7) + 1);
    while (i < b.size()) {
        if (b[i] == 0x2C) {
            if (i + 9 > b.size()) break;
            f.found = true;
            f.right = littleEndian(b, i + 1, 2) + littleEndian(b, i + 5, 2);
            f.bottom = littleEndian(b, i + 3, 2) + littleEndian(b, i + 7, 2);
            break;
        }
        if (b[i] != 0x21 || i + 2 > b.size()) break;
        i += 2; // introducer and label, then the sub-blocks up to their terminator
        while (i < b.size() && b[i] != 0)
            i += b[i] + std::size_t{1};
        ++i;
    }
    return f;
}

} // namespace

bool KoalaSignature(std::span<const std::uint8_t> file) {
    // The loader reads the whole picture in one go, and what a shorter file leaves unread it
    // decodes all the same.
    if (file.size() < 10003) return false;
    LibraryInput input(file);
    return FreeImage_ValidateFromHandle(FIF_KOALA, input.io(), input.handle()) != FALSE;
}

bool PhotoCdSignature(std::span<const std::uint8_t> file) {
    static constexpr char kName[] = "PCD_IPI";
    constexpr std::size_t at = 0x800, n = sizeof kName - 1;
    return file.size() >= at + n && std::memcmp(file.data() + at, kName, n) == 0;
}

// The library's PSD loader writes outside its buffers on a file cut short or on a packed row
// that unpacks past its line.
bool PsdWhole(std::span<const std::uint8_t> b) {
    if (b.size() < 26 || std::memcmp(b.data(), "8BPS", 4) != 0) return false;
    const std::uint64_t version = bigEndian(b, 4, 2);
    if (version != 1 && version != 2) return false;
    const int wide = version == 2 ? 8 : 4; // large documents have wider lengths and counts
    const std::uint64_t channels = bigEndian(b, 12, 2), height = bigEndian(b, 14, 4),
                        width = bigEndian(b, 18, 4), depth = bigEndian(b, 22, 2);
    if (channels == 0 || height == 0 || width == 0 ||
        (depth != 1 && depth != 8 && depth != 16 && depth != 32))
        return false;
    const std::uint64_t line = (width * depth + 7) / 8, rows = channels * height;
    std::uint64_t at = 26;
    const auto section = [&](int lengthBytes) {
        if (at + static_cast<std::uint64_t>(lengthBytes) > b.size()) return false;
        const std::uint64_t length = bigEndian(b, at, lengthBytes);
        at += static_cast<std::uint64_t>(lengthBytes);
        if (length > b.size() - at) return false;
        at += length;
        return true;
    };
    if (!section(4)) return false; // colour mode data
    // Image resources: each "8BIM" block with its id, even-padded name and even-padded data.
    if (at + 4 > b.size()) return false;
    const std::uint64_t resourcesEnd = at + 4 + bigEndian(b, at, 4);
    if (resourcesEnd > b.size()) return false;
    for (std::uint64_t r = at + 4; r < resourcesEnd;) {
        if (r + 7 > resourcesEnd || std::memcmp(b.data() + r, "8BIM", 4) != 0) return false;
        r += 7 + b[r + 6] + ((b[r + 6] & 1) == 0 ? 1 : 0); // signature, id, name with its length
        if (r + 4 > resourcesEnd) return false;
        const std::uint64_t size = bigEndian(b, r, 4);
        r += 4 + size + (size & 1);
        if (r > resourcesEnd) return false;
    }
    at = resourcesEnd;
    if (!section(wide)) return false; // layers and masks
    if (at + 2 > b.size()) return false;
    const std::uint64_t compression = bigEndian(b, at, 2);
    at += 2;
    const std::uint64_t left = b.size() - at;
    if (compression == 0) return rows <= left / std::max<std::uint64_t>(line, 1);
    if (compression != 1) return false;
    const int countBytes = version == 2 ? 4 : 2;
    if (rows > left / static_cast<std::uint64_t>(countBytes)) return false;
    std::uint64_t data = at + rows * static_cast<std::uint64_t>(countBytes);
    for (std::uint64_t row = 0; row < rows; ++row) {
        const std::uint64_t packed = bigEndian(b, at + row * countBytes, countBytes);
        if (packed > b.size() - data) return false;
        std::uint64_t out = 0;
        for (std::uint64_t i = data, end = data + packed; i < end;) {
            const int n = static_cast<std::int8_t>(b[i]);
            if (n >= 0) {
                out += static_cast<std::uint64_t>(n) + 1;
                i += static_cast<std::uint64_t>(n) + 2;
            } else if (n != -128) {
                out += static_cast<std::uint64_t>(1 - n);
                i += 2;
            } else {
                i += 1;
            }
            if (i > end) return false;
        }
        if (out != line) return false;
        data += packed;
    }
    return true;
}

// The library's GIF player draws the first frame at its place on the logical screen without
// clipping it, so a frame that reaches past the screen is drawn past the picture.
bool GifFirstFrameOnScreen(std::span<const std::uint8_t> b) {
    const GifFrame f = firstGifFrame(b);
    return f.found && f.right <= f.screenWidth && f.bottom <= f.screenHeight;
}

std::vector<std::uint8_t> GifWithRoomForFirstFrame(std::span<const std::uint8_t> b) {
    const GifFrame f = firstGifFrame(b);
    if (!f.found || (f.right <= f.screenWidth && f.bottom <= f.screenHeight) || f.right > 0xFFFF ||
        f.bottom > 0xFFFF)
        return {};
    std::vector<std::uint8_t> out(b.begin(), b.end());
    const std::uint64_t width = std::max(f.screenWidth, f.right);
    const std::uint64_t height = std::max(f.screenHeight, f.bottom);
    out[6] = static_cast<std::uint8_t>(width);
    out[7] = static_cast<std::uint8_t>(width >> 8);
    out[8] = static_cast<std::uint8_t>(height);
    out[9] = static_cast<std::uint8_t>(height >> 8);
    return out;
}

std::uint64_t GifDeclaredPixels(std::span<const std::uint8_t> b) {
    const GifFrame f = firstGifFrame(b);
    return std::max(f.screenWidth, f.right) * std::max(f.screenHeight, f.bottom);
}

// The library's Targa loader hands back a picture with whatever its buffer held where a file
// cut short has no pixels left.
bool TargaWhole(std::span<const std::uint8_t> b) {
    if (b.size() < 18) return false;
    const unsigned type = b[2];
    if (type != 1 && type != 2 && type != 3 && type != 9 && type != 10 && type != 11) return false;
    const std::uint64_t mapBytes = b[1] == 1 ? littleEndian(b, 5, 2) * ((b[7] + 7u) / 8) : 0;
    const std::uint64_t width = littleEndian(b, 12, 2), height = littleEndian(b, 14, 2);
    const std::uint64_t pixelBytes = (b[16] + 7u) / 8;
    if (width == 0 || height == 0 || pixelBytes == 0) return false;
    std::uint64_t at = 18 + std::uint64_t{b[0]} + mapBytes;
    if (at > b.size()) return false;
    // A version 2 file ends with a footer that points at its extension and developer areas;
    // the loader reads them without looking whether they are there.
    static constexpr char kFooter[] = "TRUEVISION-XFILE.";
    if (b.size() >= 26 && std::memcmp(b.data() + b.size() - 18, kFooter, 17) == 0) {
        const std::uint64_t extension = littleEndian(b, b.size() - 26, 4);
        const std::uint64_t developer = littleEndian(b, b.size() - 22, 4);
        if ((extension != 0 && (extension > b.size() || b.size() - extension < 495)) ||
            (developer != 0 && (developer > b.size() || b.size() - developer < 2)))
            return false;
        if (extension != 0) {
            // The extension area points at a colour correction table (256 entries of 8 bytes),
            // a postage stamp (its width and height in two bytes, then raw pixels) and a scan
            // line table (4 bytes a line); the loader reads the stamp as far as its size says.
            const std::uint64_t correction = littleEndian(b, extension + 482, 4);
            const std::uint64_t stamp = littleEndian(b, extension + 486, 4);
            const std::uint64_t lines = littleEndian(b, extension + 490, 4);
            if ((correction != 0 && (correction > b.size() || b.size() - correction < 2048)) ||
                (lines != 0 && (lines > b.size() || (b.size() - lines) / 4 < height)))
                return false;
            if (stamp != 0 &&
                (stamp > b.size() || b.size() - stamp < 2 ||
                 std::uint64_t{b[stamp]} * b[stamp + 1] * pixelBytes > b.size() - stamp - 2))
                return false;
        }
    }
    const std::uint64_t pixels = width * height;
    if (type < 9) return pixels <= (b.size() - at) / pixelBytes;
    // Packets may run across lines but not past the last pixel, where the loader's decoder
    // overruns its buffer; the picture is whole when they cover every pixel.
    std::uint64_t done = 0;
    while (done < pixels) {
        if (at >= b.size()) return false;
        const std::uint8_t head = b[at++];
        const std::uint64_t n = (head & 0x7Fu) + 1;
        const std::uint64_t bytes = (head & 0x80) != 0 ? pixelBytes : n * pixelBytes;
        if (bytes > b.size() - at) return false;
        at += bytes;
        done += n;
    }
    return done == pixels;
}

// libtiff, as the library uses it, leaves strips that lie past the end of the file empty and
// says so only on the terminal, so the library hands back half a picture; and the library's
// own reader of separate planes asserts on samples of less than a byte.
bool TiffWhole(std::span<const std::uint8_t> b) {
    if (b.size() < 8 || b[0] != b[1] || (b[0] != 'I' && b[0] != 'M')) return false;
    const bool little = b[0] == 'I';
    const auto get = [&](std::uint64_t at, int bytes) {
        return little ? littleEndian(b, at, bytes) : bigEndian(b, at, bytes);
    };
    const std::uint64_t magic = get(2, 2);
    if (magic != 42 && magic != 43) return false;
    const bool big = magic == 43; // BigTIFF: 8-byte offsets and counts
    if (big && (b.size() < 16 || get(4, 2) != 8)) return false;
    const int word = big ? 8 : 4, countBytes = big ? 8 : 2, entryBytes = big ? 20 : 12;
    const std::uint64_t ifd = big ? get(8, 8) : get(4, 4);
    if (ifd > b.size() || b.size() - ifd < static_cast<std::uint64_t>(countBytes)) return false;
    const std::uint64_t entries = get(ifd, countBytes), first = ifd + countBytes;
    if (entries > (b.size() - first) / static_cast<std::uint64_t>(entryBytes)) return false;

    struct Array {
        std::uint64_t count = 0, at = 0;
        int size = 0;
    } offsets, counts, bits;
    bool separatePlanes = false;
    for (std::uint64_t e = 0; e < entries; ++e) {
        const std::uint64_t at = first + e * static_cast<std::uint64_t>(entryBytes);
        const std::uint64_t tag = get(at, 2), type = get(at + 2, 2), n = get(at + 4, word);
        if (tag == 284) separatePlanes = get(at + 4 + static_cast<std::uint64_t>(word), 2) == 2;
        Array* which = tag == 273 || tag == 324   ? &offsets // strip or tile offsets
                       : tag == 279 || tag == 325 ? &counts  // their byte counts
                       : tag == 258               ? &bits    // bits of each sample
                                                  : nullptr;
        if (which == nullptr) continue;
        const int size = type == 3 ? 2 : type == 4 ? 4 : type == 16 ? 8 : 0;
        if (size == 0 || n == 0 || n > b.size() / static_cast<std::uint64_t>(size)) return false;
        const std::uint64_t valueAt = at + 4 + static_cast<std::uint64_t>(word);
        const std::uint64_t where =
            n * static_cast<std::uint64_t>(size) <= static_cast<std::uint64_t>(word)
                ? valueAt
                : get(valueAt, word);
        if (where > b.size() || n * static_cast<std::uint64_t>(size) > b.size() - where)
            return false;
        *which = {n, where, size};
    }
    if (offsets.count == 0 || offsets.count != counts.count) return false;
    for (std::uint64_t i = 0; i < offsets.count; ++i) {
        const std::uint64_t from =
            get(offsets.at + i * static_cast<std::uint64_t>(offsets.size), offsets.size);
        const std::uint64_t length =
            get(counts.at + i * static_cast<std::uint64_t>(counts.size), counts.size);
        if (from > b.size() || length > b.size() - from) return false;
    }
    // The library stores separate planes a whole byte a sample at a time; with fewer bits it
    // stops the program on an assertion.
    for (std::uint64_t i = 0; separatePlanes && i < std::max<std::uint64_t>(bits.count, 1); ++i) {
        const std::uint64_t depth =
            bits.count == 0 ? 1
                            : get(bits.at + i * static_cast<std::uint64_t>(bits.size), bits.size);
        if (depth != 8 && depth != 16 && depth != 32 && depth != 64) return false;
    }
    return true;
}

// The library's PCX loader reads ahead in blocks and decodes what a cut file no longer has;
// an 8-bit picture takes its colours from the last 769 bytes whatever they are.
bool PcxWhole(std::span<const std::uint8_t> b) {
    if (b.size() < 128 || b[0] != 10) return false;
    const std::int64_t width = static_cast<std::int64_t>(littleEndian(b, 8, 2)) -
                               static_cast<std::int64_t>(littleEndian(b, 4, 2)) + 1;
    const std::int64_t height = static_cast<std::int64_t>(littleEndian(b, 10, 2)) -
                                static_cast<std::int64_t>(littleEndian(b, 6, 2)) + 1;
    const std::uint64_t line = littleEndian(b, 66, 2), planes = b[65];
    if (width <= 0 || height <= 0 || line == 0 || planes == 0) return false;
    const std::uint64_t needed = line * planes * static_cast<std::uint64_t>(height);
    std::uint64_t end = b.size();
    if (b[3] == 8 && planes == 1) {
        constexpr std::uint64_t kPalette = 769; // the marker 12 and 256 colours
        if (end < 128 + kPalette || b[end - kPalette] != 12) return false;
        end -= kPalette;
    }
    if (b[2] != 1) return needed <= end - 128;
    std::uint64_t at = 128;
    for (std::uint64_t done = 0; done < needed;) {
        if (at >= end) return false;
        const std::uint8_t c = b[at++];
        if (c >= 0xC0) {
            if (at >= end) return false;
            ++at;
            done += c - 0xC0u;
        } else {
            ++done;
        }
    }
    return true;
}

// The library's Dr. Halo loader moves up a line at every line end without looking whether a
// line is left, and so writes before its picture when a file has more line ends than lines.
// As it reads: 8 bytes of header (the last two are the first line's length), then packets,
// and after each line's closing 0 the next line's two-byte length.
bool CutWhole(std::span<const std::uint8_t> b) {
    if (b.size() < 8) return false;
    const std::uint64_t width = littleEndian(b, 0, 2), height = littleEndian(b, 2, 2);
    if (width == 0 || height == 0) return false;
    const std::uint64_t pixels = width * height;
    std::uint64_t at = 8, done = 0, x = 0, lines = 0;
    while (done < pixels) {
        if (at >= b.size()) return false;
        std::uint64_t count = b[at++];
        if (count == 0) {
            if (++lines >= height) return false;
            x = 0;
            at += 2;
            continue;
        }
        const bool run = (count & 0x80) != 0;
        count &= 0x7F;
        if (x + count > width) return false;
        const std::uint64_t bytes = run ? 1 : count;
        if (bytes > b.size() - at) return false;
        at += bytes;
        x += count;
        done += count;
    }
    return true;
}

// The library's PNM loader allocates the picture its header names and then reads it row by
// row, the text forms character by character, whatever the file holds: a few bytes naming a
// huge picture cost seconds and hundreds of megabytes before the load fails.
bool PnmWhole(std::span<const std::uint8_t> b) {
    if (b.size() < 2 || b[0] != 'P' || b[1] < '1' || b[1] > '6') return false;
    const int kind = b[1] - '0';
    std::size_t at = 2;
    const auto number = [&](std::uint64_t& value) {
        while (at < b.size() && (std::isspace(b[at]) != 0 || b[at] == '#')) {
            if (b[at] == '#')
                while (at < b.size() && b[at] != '\n' && b[at] != '\r')
                    ++at;
            else
                ++at;
        }
        if (at >= b.size() || std::isdigit(b[at]) == 0) return false;
        value = 0;
        for (; at < b.size() && std::isdigit(b[at]) != 0; ++at)
            if ((value = value * 10 + (b[at] - '0')) > 0xFFFFFFFFu) return false;
        return true;
    };
    std::uint64_t width = 0, height = 0, most = 1;
    if (!number(width) || !number(height) || (kind != 1 && kind != 4 && !number(most)))
        return false;
    if (width == 0 || height == 0 || most == 0 || most > 65535 ||
        width * height > kMostPicturePixels)
        return false;
    const std::uint64_t channels = kind == 3 || kind == 6 ? 3 : 1;
    const std::uint64_t left = b.size() - at;
    if (kind < 4) return width * height * channels <= left; // a character a sample at least
    const std::uint64_t needed =
        kind == 4 ? (width + 7) / 8 * height : width * height * channels * (most > 255 ? 2 : 1);
    return left >= 1 && needed <= left - 1; // one blank after the header
}

// The library's icon loader reads an image's header without looking whether the entry holds
// one, and sizes its buffers from what it read.
bool IconWhole(std::span<const std::uint8_t> b) {
    if (b.size() < 6) return false;
    const std::uint64_t type = littleEndian(b, 2, 2), count = littleEndian(b, 4, 2);
    if (littleEndian(b, 0, 2) != 0 || (type != 1 && type != 2) || count == 0 ||
        6 + 16 * count > b.size())
        return false;
    for (std::uint64_t i = 0; i < count; ++i) {
        const std::uint64_t size = littleEndian(b, 6 + 16 * i + 8, 4);
        const std::uint64_t offset = littleEndian(b, 6 + 16 * i + 12, 4);
        // 40 bytes: a bitmap header, and less than the smallest PNG
        if (size < 40 || offset > b.size() || size > b.size() - offset) return false;
        if (b[offset] == 0x89 && b[offset + 1] == 'P') continue; // PNG, read by libpng
        // The bitmap's header decides how much the loader reads into buffers it sizes its own
        // way: a depth it does not know, or masks longer than the entry, overrun them.
        const std::uint64_t header = littleEndian(b, offset, 4);
        const std::uint64_t width = littleEndian(b, offset + 4, 4);
        const std::uint64_t height = littleEndian(b, offset + 8, 4) / 2; // image and mask
        const std::uint64_t bits = littleEndian(b, offset + 14, 2);
        const std::uint64_t colours = littleEndian(b, offset + 32, 4);
        if (header < 40 || header > size || width == 0 || width > 4096 || height == 0 ||
            height > 4096 || littleEndian(b, offset + 16, 4) != 0 ||
            (bits != 1 && bits != 4 && bits != 8 && bits != 16 && bits != 24 && bits != 32))
            return false;
        const std::uint64_t table = bits <= 8 ? (colours != 0 ? colours : 1u << bits) * 4 : 0;
        const std::uint64_t image = (width * bits + 31) / 32 * 4 * height;
        const std::uint64_t mask = (width + 31) / 32 * 4 * height;
        if (header + table + image + mask > size) return false;
    }
    return true;
}

// FreeImage 3.18 refuses the longer Windows bitmap headers (versions 4 and 5, and the 52- and
// 56-byte ones) that most current programs write. Their first 40 bytes are the classic header
// and the three colour masks follow it, where a classic header with bit fields has them, so the
// same file with a classic header, the masks, the colour table and the pixels is the picture.
std::vector<std::uint8_t> BmpWithClassicHeader(std::span<const std::uint8_t> b) {
    constexpr std::uint64_t kFileHeader = 14, kClassic = 40;
    if (b.size() < kFileHeader + kClassic || b[0] != 'B' || b[1] != 'M') return {};
    const std::uint64_t headerSize = littleEndian(b, 14, 4);
    if (headerSize != 52 && headerSize != 56 && headerSize != 108 && headerSize != 124) return {};
    const std::uint64_t bits = littleEndian(b, 28, 2), compression = littleEndian(b, 30, 4);
    const std::uint64_t pixelsAt = littleEndian(b, 10, 4);
    const std::uint64_t tableAt = kFileHeader + headerSize;
    if (compression > 3 || pixelsAt < tableAt || pixelsAt > b.size()) return {};
    const std::uint64_t masks = compression == 3 ? 12 : 0;
    std::uint64_t colours = littleEndian(b, 46, 4);
    if (colours == 0 && bits <= 8) colours = std::uint64_t{1} << bits;
    const std::uint64_t table = std::min(colours * 4, pixelsAt - tableAt);

    std::vector<std::uint8_t> out;
    out.reserve(kFileHeader + kClassic + masks + table + (b.size() - pixelsAt));
    out.insert(out.end(), b.begin(), b.begin() + kFileHeader + kClassic);
    out.insert(out.end(), b.begin() + kFileHeader + kClassic,
               b.begin() + static_cast<std::ptrdiff_t>(kFileHeader + kClassic + masks));
    out.insert(out.end(), b.begin() + static_cast<std::ptrdiff_t>(tableAt),
               b.begin() + static_cast<std::ptrdiff_t>(tableAt + table));
    const std::uint64_t newPixelsAt = out.size();
    out.insert(out.end(), b.begin() + static_cast<std::ptrdiff_t>(pixelsAt), b.end());
    const auto put32 = [&](std::size_t at, std::uint64_t v) {
        for (int i = 0; i < 4; ++i)
            out[at + static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(v >> (8 * i));
    };
    put32(2, out.size());
    put32(10, newPixelsAt);
    put32(14, kClassic);
    return out;
}

// The library's WBMP loader reads the header's numbers byte by byte without looking for the
// end of the file, and loops for ever on an empty one.
bool WbmpWhole(std::span<const std::uint8_t> b) {
    std::size_t at = 0;
    const auto number = [&](std::uint64_t& value) {
        value = 0;
        for (int i = 0; i < 5; ++i) {
            if (at >= b.size()) return false;
            const std::uint8_t c = b[at++];
            value = (value << 7) | (c & 0x7Fu);
            if ((c & 0x80) == 0) return true;
        }
        return false;
    };
    std::uint64_t type = 0, width = 0, height = 0;
    // Type 0, a fixed header without extension headers, then the size.
    if (!number(type) || type != 0 || at >= b.size() || (b[at++] & 0x80) != 0 || !number(width) ||
        !number(height) || width == 0 || height == 0)
        return false;
    return (width + 7) / 8 * height == b.size() - at;
}

// The library's Sun raster loader reads a colour map and rows of the sizes the header names a
// byte at a time whatever the file holds, for hours when the header names gigabytes.
bool RasterWhole(std::span<const std::uint8_t> b) {
    if (b.size() < 32 || bigEndian(b, 0, 4) != 0x59A66A95) return false;
    const std::uint64_t width = bigEndian(b, 4, 4), height = bigEndian(b, 8, 4);
    const std::uint64_t depth = bigEndian(b, 12, 4), type = bigEndian(b, 20, 4);
    const std::uint64_t mapType = bigEndian(b, 24, 4), mapLength = bigEndian(b, 28, 4);
    if (width == 0 || height == 0 || width * height > kMostPicturePixels ||
        (depth != 1 && depth != 8 && depth != 24 && depth != 32) || type > 3 || mapType > 2 ||
        mapLength > b.size() - 32)
        return false;
    const std::uint64_t line = (width * depth + 15) / 16 * 2; // rows end on 16 bits
    const std::uint64_t needed = line * height;
    std::uint64_t at = 32 + mapLength;
    if (type != 2) return needed <= b.size() - at;
    // Byte-encoded: 128 n v is n + 1 bytes v, 128 0 is a 128, anything else itself.
    for (std::uint64_t done = 0; done < needed;) {
        if (at >= b.size()) return false;
        if (b[at] != 0x80) {
            ++at;
            ++done;
        } else if (at + 1 < b.size() && b[at + 1] == 0) {
            at += 2;
            ++done;
        } else if (at + 2 < b.size()) {
            done += b[at + 1] + 1u;
            at += 3;
        } else {
            return false;
        }
    }
    return true;
}

// The library's MNG and JNG reader walks the chunks without looking for the end of the file,
// and walks for ever over bytes that are not chunks.
bool ChunksWhole(std::span<const std::uint8_t> b) {
    static constexpr std::uint8_t kJng[] = {0x8B, 'J', 'N', 'G', 13, 10, 26, 10};
    static constexpr std::uint8_t kMng[] = {0x8A, 'M', 'N', 'G', 13, 10, 26, 10};
    if (b.size() < 8) return false;
    const bool jng = std::memcmp(b.data(), kJng, 8) == 0;
    if (!jng && std::memcmp(b.data(), kMng, 8) != 0) return false;
    const char* last = jng ? "IEND" : "MEND";
    for (std::uint64_t at = 8; at + 12 <= b.size();) {
        const std::uint64_t length = bigEndian(b, at, 4);
        for (std::uint64_t i = at + 4; i < at + 8; ++i)
            if (std::isalpha(b[i]) == 0) return false;
        if (length > b.size() - at - 12) return false;
        if (std::memcmp(b.data() + at + 4, last, 4) == 0) return true;
        at += 12 + length; // length, type, data, CRC
    }
    return false;
}

} // namespace velmar
