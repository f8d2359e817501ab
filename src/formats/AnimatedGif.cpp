#include "formats/AnimatedGif.h"

#include <gif_lib.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>

namespace velmar {

namespace {

struct MemoryReader {
    std::span<const std::uint8_t> bytes;
    std::size_t at = 0;
};

int readFromMemory(GifFileType* gif, GifByteType* out, int wanted) {
    auto* reader = static_cast<MemoryReader*>(gif->UserData);
    const std::size_t n = std::min<std::size_t>(static_cast<std::size_t>(std::max(wanted, 0)),
                                                reader->bytes.size() - reader->at);
    std::memcpy(out, reader->bytes.data() + reader->at, n);
    reader->at += n;
    return static_cast<int>(n);
}

struct GifCloser {
    void operator()(GifFileType* gif) const {
        int error = 0;
        DGifCloseFile(gif, &error);
    }
};

[[noreturn]] void fail(const std::string& why) {
    throw GifError(why);
}

void check(int result, const char* what) {
    if (result == GIF_ERROR) fail(std::string("The GIF file is damaged: ") + what + ".");
}

std::vector<std::uint8_t> coloursOf(const ColorMapObject* map) {
    std::vector<std::uint8_t> out;
    if (map == nullptr || map->Colors == nullptr) return out;
    for (int i = 0; i < map->ColorCount; ++i) {
        out.push_back(map->Colors[i].Red);
        out.push_back(map->Colors[i].Green);
        out.push_back(map->Colors[i].Blue);
    }
    return out;
}

} // namespace

void AnimatedGif::decode(std::span<const std::uint8_t> bytes) {
    MemoryReader reader{bytes};
    int error = 0;
    std::unique_ptr<GifFileType, GifCloser> gif(DGifOpen(&reader, readFromMemory, &error));
    if (!gif) fail("This is not a GIF file.");
    width_ = gif->SWidth;
    height_ = gif->SHeight;
    const std::vector<std::uint8_t> global = coloursOf(gif->SColorMap);

    std::uint64_t rawBytes = 0;
    GraphicsControlBlock pending{DISPOSAL_UNSPECIFIED, false, 0, NO_TRANSPARENT_COLOR};
    for (;;) {
        GifRecordType type = UNDEFINED_RECORD_TYPE;
        // Many writers end a file without its trailer, or with stray bytes after the last frame:
        // once a frame has been read, whatever cannot be read as a record ends the file.
        if (DGifGetRecordType(gif.get(), &type) == GIF_ERROR) {
            if (!raw_.empty()) break;
            fail("The GIF file is damaged: a record is cut short.");
        }
        if (type == TERMINATE_RECORD_TYPE) break;
        if (type == EXTENSION_RECORD_TYPE) {
            int code = 0;
            GifByteType* block = nullptr;
            check(DGifGetExtension(gif.get(), &code, &block), "an extension is cut short");
            bool first = true;
            while (block != nullptr) {
                if (first && code == GRAPHICS_EXT_FUNC_CODE && block[0] >= 4)
                    DGifExtensionToGCB(block[0], block + 1, &pending);
                if (first && code == APPLICATION_EXT_FUNC_CODE && block[0] == 11 &&
                    std::memcmp(block + 1, "NETSCAPE2.0", 11) == 0) {
                    check(DGifGetExtensionNext(gif.get(), &block), "an extension is cut short");
                    if (block != nullptr && block[0] >= 3 && block[1] == 1)
                        loopCount_ = block[2] | (block[3] << 8);
                    first = false;
                    continue;
                }
                first = false;
                check(DGifGetExtensionNext(gif.get(), &block), "an extension is cut short");
            }
            continue;
        }
        if (type != IMAGE_DESC_RECORD_TYPE) fail("The GIF file holds a record of no known kind.");
        check(DGifGetImageDesc(gif.get()), "a frame's header is cut short");
        const GifImageDesc& d = gif->Image;
        if (d.Width <= 0 || d.Height <= 0) fail("The GIF file holds a frame of no size.");
        if (static_cast<std::uint64_t>(d.Width) * static_cast<std::uint64_t>(d.Height) >
            limits_.maxFramePixels)
            fail("The GIF file holds a frame too large to open.");
        rawBytes += static_cast<std::uint64_t>(d.Width) * static_cast<std::uint64_t>(d.Height);
        if (rawBytes > limits_.maxComposedBytes) fail("The GIF animation is too large to open.");
        RawFrame f;
        f.left = d.Left;
        f.top = d.Top;
        f.width = d.Width;
        f.height = d.Height;
        f.disposal = pending.DisposalMode;
        f.transparent = pending.TransparentColor;
        f.delayMs = pending.DelayTime * 10;
        f.colours = d.ColorMap != nullptr ? coloursOf(d.ColorMap) : global;
        if (f.colours.empty()) fail("A frame of the GIF file has no colours.");
        f.indices.resize(static_cast<std::size_t>(d.Width) * static_cast<std::size_t>(d.Height));
        auto line = [&](int row) {
            check(DGifGetLine(gif.get(),
                              f.indices.data() +
                                  static_cast<std::size_t>(row) * static_cast<std::size_t>(d.Width),
                              d.Width),
                  "a frame's pixels are cut short");
        };
        if (d.Interlace) {
            // The four passes of an interlaced frame: every 8th row from 0, from 4, every 4th
            // from 2, every 2nd from 1.
            constexpr int start[] = {0, 4, 2, 1}, step[] = {8, 8, 4, 2};
            for (int pass = 0; pass < 4; ++pass)
                for (int row = start[pass]; row < d.Height; row += step[pass])
                    line(row);
        } else {
            for (int row = 0; row < d.Height; ++row)
                line(row);
        }
        raw_.push_back(std::move(f));
        pending = GraphicsControlBlock{DISPOSAL_UNSPECIFIED, false, 0, NO_TRANSPARENT_COLOR};
    }
    if (raw_.empty()) fail("The GIF file holds no picture.");
    // A logical screen of no size (some writers leave it out) is taken from the frames.
    if (width_ <= 0 || height_ <= 0) {
        width_ = height_ = 0;
        for (const auto& f : raw_) {
            width_ = std::max(width_, f.left + f.width);
            height_ = std::max(height_, f.top + f.height);
        }
    }
    // A few bytes can claim a logical screen of 65535 x 65535; the canvas is held and painted
    // for every frame, so its size is capped like a frame's.
    const std::uint64_t canvas =
        static_cast<std::uint64_t>(width_) * static_cast<std::uint64_t>(height_);
    if (canvas > limits_.maxFramePixels || canvas * 4 * raw_.size() > limits_.maxComposedBytes)
        fail("The GIF animation is too large to open.");
}

void AnimatedGif::compose() {
    frames_.clear();
    const auto bgB = static_cast<std::uint8_t>((background_ >> 16) & 0xFF);
    const auto bgG = static_cast<std::uint8_t>((background_ >> 8) & 0xFF);
    const auto bgR = static_cast<std::uint8_t>(background_ & 0xFF);
    auto fill = [&](Bits& canvas, int x0, int y0, int x1, int y1) {
        for (int y = std::max(y0, 0); y < std::min(y1, height_); ++y) {
            std::uint8_t* row = canvas.Row(y);
            for (int x = std::max(x0, 0); x < std::min(x1, width_); ++x) {
                row[x * 4] = bgB;
                row[x * 4 + 1] = bgG;
                row[x * 4 + 2] = bgR;
            }
        }
    };
    Bits canvas(width_, height_);
    fill(canvas, 0, 0, width_, height_);
    for (const RawFrame& f : raw_) {
        Bits before;
        if (f.disposal == DISPOSE_PREVIOUS) before = canvas.clone();
        const int colourCount = static_cast<int>(f.colours.size() / 3);
        for (int y = 0; y < f.height; ++y) {
            const int cy = f.top + y;
            if (cy < 0 || cy >= height_) continue;
            std::uint8_t* row = canvas.Row(cy);
            const std::uint8_t* idx =
                f.indices.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(f.width);
            for (int x = 0; x < f.width; ++x) {
                const int cx = f.left + x;
                if (cx < 0 || cx >= width_ || idx[x] == f.transparent) continue;
                // An index past the colour map is drawn black, as decoders commonly do.
                const std::uint8_t* c = idx[x] < colourCount ? &f.colours[idx[x] * 3u] : nullptr;
                row[cx * 4] = c ? c[2] : 0;
                row[cx * 4 + 1] = c ? c[1] : 0;
                row[cx * 4 + 2] = c ? c[0] : 0;
            }
        }
        frames_.push_back({canvas.clone(), f.delayMs});
        if (f.disposal == DISPOSE_BACKGROUND)
            fill(canvas, f.left, f.top, f.left + f.width, f.top + f.height);
        if (f.disposal == DISPOSE_PREVIOUS) canvas = std::move(before);
    }
}

bool AnimatedGif::LoadBytes(std::span<const std::uint8_t> bytes) {
    raw_.clear();
    frames_.clear();
    fileName_.clear();
    loopCount_ = 1;
    lastError_.clear();
    try {
        decode(bytes);
        compose();
        return true;
    } catch (const GifError& e) {
        lastError_ = e.what();
    } catch (const std::bad_alloc&) {
        lastError_ = "There is not enough memory to open this GIF file.";
    }
    raw_.clear();
    frames_.clear();
    return false;
}

bool AnimatedGif::Load(const std::filesystem::path& file) {
    if (file.empty()) {
        LoadBytes({});
        lastError_.clear();
        return true;
    }
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        LoadBytes({});
        lastError_ = "The file " + file.string() + " cannot be opened.";
        return false;
    }
    const std::vector<std::uint8_t> bytes((std::istreambuf_iterator<char>(in)),
                                          std::istreambuf_iterator<char>());
    if (!LoadBytes(bytes)) return false;
    fileName_ = file;
    return true;
}

int AnimatedGif::DisplayTime(int i) const {
    const int d = Delay(i);
    return d < 20 ? 100 : d;
}

void AnimatedGif::SetBackground(std::uint32_t colour) {
    background_ = colour & 0xFFFFFF;
    if (!raw_.empty()) compose();
}

} // namespace velmar
