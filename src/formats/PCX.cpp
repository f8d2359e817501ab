#include "formats/PCX.h"

#include "port/ReplaceFile.h"

#include <algorithm>
#include <cstring>

namespace velmar {

namespace {

constexpr std::size_t kHeaderSize = 128;

void put16(std::uint8_t* p, int v) {
    p[0] = static_cast<std::uint8_t>(v & 0xFF);
    p[1] = static_cast<std::uint8_t>((v >> 8) & 0xFF);
}

int get16(const std::uint8_t* p) {
    return p[0] | (p[1] << 8);
}

// The picture as a top-down 24-bit buffer with rows padded to 4 bytes (padding zero), as a
// bitmap read at 24 bits gives it.
std::vector<std::uint8_t> packed24(const Bits& pic, std::size_t stride) {
    const int w = pic.Width(), h = pic.Height();
    std::vector<std::uint8_t> out(stride * static_cast<std::size_t>(h), 0);
    for (int y = 0; y < h; ++y) {
        const std::uint8_t* src = pic.Row(y);
        std::uint8_t* dst = out.data() + static_cast<std::size_t>(y) * stride;
        for (int x = 0; x < w; ++x) {
            dst[x * 3] = src[x * 4];
            dst[x * 3 + 1] = src[x * 4 + 1];
            dst[x * 3 + 2] = src[x * 4 + 2];
        }
    }
    return out;
}

} // namespace

std::vector<std::uint8_t> PCX::RunLengthEncode(std::span<const std::uint8_t> in,
                                               std::int32_t evenWidth) {
    const std::size_t n = in.size();
    std::vector<std::uint8_t> out;
    if (n == 0) return out;
    // 2 * (N + N / W): the worst case of every byte doubled, plus room for line pads.
    out.resize(2 * (n + n / static_cast<std::size_t>(std::max(evenWidth, 1))));
    std::size_t o = 0;
    const std::size_t last = n - 1;
    const bool oddWidth = (evenWidth & 1) != 0;
    std::size_t line = 1;
    std::size_t i = 0;
    int run = 0;
    const auto lineEnd = [&] { return static_cast<std::size_t>(evenWidth) * line; };
    while (i <= last) {
        while (i + 1 <= last && in[i] == in[i + 1]) {
            if (run == 62) break;
            // With an even width (always, here) this never stops a run: runs cross rows.
            if (oddWidth && i + 1 == lineEnd()) break;
            ++i;
            ++run;
        }
        if (run != 0) {
            out[o++] = static_cast<std::uint8_t>(run + 193);
            out[o++] = in[i];
            ++i;
            run = 0;
        } else {
            const std::uint8_t b = in[i];
            if (b >= 192) out[o++] = 193;
            out[o++] = b;
            ++i;
        }
        if (oddWidth && i == lineEnd()) {
            out[o++] = 0;
            ++line;
        }
    }
    out.resize(o);
    return out;
}

std::vector<std::uint8_t> PCX::Encode(const Bits& pic, bool compress) {
    const int w = pic.Width(), h = pic.Height();
    const std::size_t stride = (static_cast<std::size_t>(w) * 3 + 3) & ~std::size_t{3};
    const int evenW = w + (w & 1);

    // The row copy takes even width * 3 bytes from each row start, so for an odd width the
    // extra pixel comes from the row's padding and, when the padding is short, from the start of
    // the next row: the extra column is deliberately not normalised. Past the last row the
    // buffer reads as zero.
    const std::vector<std::uint8_t> rows = packed24(pic, stride);
    const std::size_t evenBytes = static_cast<std::size_t>(evenW) * 3;
    std::vector<std::uint8_t> packed(static_cast<std::size_t>(h) * evenBytes, 0);
    if (static_cast<std::size_t>(w) * 3 == stride) {
        std::memcpy(packed.data(), rows.data(), rows.size());
    } else {
        for (int y = 0; y < h; ++y) {
            const std::size_t from = static_cast<std::size_t>(y) * stride;
            const std::size_t n = std::min(evenBytes, rows.size() - from);
            std::memcpy(packed.data() + static_cast<std::size_t>(y) * evenBytes, rows.data() + from,
                        n);
        }
    }

    std::vector<std::uint8_t> planes(packed.size());
    const std::size_t W = static_cast<std::size_t>(evenW);
    for (int r = 0; r < h; ++r) {
        const std::uint8_t* src = packed.data() + static_cast<std::size_t>(r) * evenBytes;
        std::uint8_t* red = planes.data() + static_cast<std::size_t>(r) * 3 * W;
        std::uint8_t* green = red + W;
        std::uint8_t* blue = green + W;
        for (std::size_t x = 0; x < W; ++x) {
            blue[x] = src[x * 3];
            green[x] = src[x * 3 + 1];
            red[x] = src[x * 3 + 2];
        }
    }

    std::vector<std::uint8_t> file(kHeaderSize, 0);
    file[0] = 10;
    file[1] = 5;
    file[2] = compress ? 1 : 0;
    file[3] = 8;
    put16(&file[4], 1);
    put16(&file[6], 1);
    put16(&file[8], w);
    put16(&file[10], h);
    put16(&file[12], 96);
    put16(&file[14], 96);
    file[65] = 3;
    put16(&file[66], evenW);
    const std::vector<std::uint8_t> data =
        compress ? RunLengthEncode(planes, evenW) : std::move(planes);
    file.insert(file.end(), data.begin(), data.end());
    return file;
}

bool PCX::SavePCXinFile(const std::filesystem::path& FileName, const Bits& Pic, bool Compress) {
    if (!Pic.IsAllocated() || Pic.Width() > 0xFFFF || Pic.Height() > 0xFFFF) return false;
    try {
        ReplaceFile(FileName, Encode(Pic, Compress));
        return true;
    } catch (const FileWriteError&) {
        return false;
    }
}

bool PcxIsTrueColour(std::span<const std::uint8_t> f) {
    return f.size() >= kHeaderSize && f[0] == 10 && (f[2] == 0 || f[2] == 1) && f[3] == 8 &&
           f[65] == 3;
}

Bits PcxRead(std::span<const std::uint8_t> f) {
    if (f.size() < kHeaderSize) throw PcxError("The PCX file is shorter than its 128-byte header.");
    if (f[0] != 10) throw PcxError("This is not a PCX file.");
    if (!PcxIsTrueColour(f))
        throw PcxError("Only 24-bit PCX files of three 8-bit planes are read here.");
    const int xmin = get16(&f[4]), ymin = get16(&f[6]), xmax = get16(&f[8]), ymax = get16(&f[10]);
    const int bytesPerLine = get16(&f[66]);
    const int w = xmax - xmin + 1, h = ymax - ymin + 1;
    if (w < 1 || h < 1) throw PcxError("The PCX header gives an empty picture.");
    if (bytesPerLine < w)
        throw PcxError("The PCX header's line length is shorter than the picture.");

    const std::uint64_t needed =
        static_cast<std::uint64_t>(bytesPerLine) * 3 * static_cast<std::uint64_t>(h);
    const std::span<const std::uint8_t> data = f.subspan(kHeaderSize);
    // A pair of bytes decodes to at most 63, so a stream this short cannot fill the picture;
    // refusing here keeps a forged header from asking for gigabytes.
    const bool encoded = f[2] == 1;
    if ((encoded ? data.size() * 63 / 2 + 63 : data.size()) < needed)
        throw PcxError("The PCX file ends before its picture does.");

    std::vector<std::uint8_t> planes(needed);
    if (!encoded) {
        std::memcpy(planes.data(), data.data(), needed);
    } else {
        // One sequence over the whole buffer: runs may cross plane and line boundaries.
        std::size_t i = 0, o = 0;
        while (o < needed) {
            if (i >= data.size()) throw PcxError("The PCX file ends before its picture does.");
            std::uint8_t b = data[i++];
            std::size_t count = 1;
            if (b >= 192) {
                count = b - 192u;
                if (i >= data.size()) throw PcxError("The PCX file ends before its picture does.");
                b = data[i++];
            }
            count = std::min<std::size_t>(count, needed - o);
            std::memset(planes.data() + o, b, count);
            o += count;
        }
    }

    Bits bits(w, h);
    const std::size_t L = static_cast<std::size_t>(bytesPerLine);
    for (int y = 0; y < h; ++y) {
        const std::uint8_t* red = planes.data() + static_cast<std::size_t>(y) * 3 * L;
        const std::uint8_t* green = red + L;
        const std::uint8_t* blue = green + L;
        std::uint8_t* row = bits.Row(y);
        for (int x = 0; x < w; ++x) {
            row[x * 4] = blue[x];
            row[x * 4 + 1] = green[x];
            row[x * 4 + 2] = red[x];
        }
    }
    return bits;
}

} // namespace velmar
