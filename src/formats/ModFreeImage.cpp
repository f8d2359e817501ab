#include "formats/ModFreeImage.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>

namespace velmar {

static_assert(FI_RGBA_BLUE == 0 && FI_RGBA_GREEN == 1 && FI_RGBA_RED == 2 && FI_RGBA_ALPHA == 3,
              "FreeImage must keep pixels in blue, green, red order, as Bits does");

namespace {

// The session that receives the library's messages on this thread.
thread_local ModFreeImage* tMessagesTo = nullptr;

void DLL_CALLCONV onLibraryMessage(FREE_IMAGE_FORMAT, const char* message) {
    if (tMessagesTo != nullptr) tMessagesTo->RecordError(message != nullptr ? message : "");
}

// The texts that end in "error code " are followed by a number, as the old wrappers followed
// them with the platform's last error. Here it is the errno value of the cause: ENOMEM when the
// picture cannot be held, EINVAL when the image has no 8-bit form to show.
std::string withCode(std::string_view text, int code) {
    return std::string(text) + std::to_string(code);
}

// The image as 24- or 32-bit rows: itself when it already is one, otherwise a converted copy
// that `holder` keeps. Null when the library has no 8-bit-per-sample form of it.
FIBITMAP* readableForm(FIBITMAP* dib, LibraryImage& holder) {
    const FREE_IMAGE_TYPE type = FreeImage_GetImageType(dib);
    const unsigned bpp = FreeImage_GetBPP(dib);
    if (type == FIT_BITMAP && (bpp == 24 || bpp == 32)) return dib;
    holder.reset(FreeImage_ConvertTo32Bits(dib));
    if (!holder && type == FIT_UINT16) {
        // 16-bit grey keeps its high byte, as every other 16-bit sample does; the library's
        // standard-type conversion would stretch the picture's own range instead.
        const LibraryImage grey(FreeImage_ConvertTo8Bits(dib));
        if (grey) holder.reset(FreeImage_ConvertTo32Bits(grey.get()));
    }
    if (!holder && type != FIT_BITMAP) {
        const LibraryImage standard(FreeImage_ConvertToStandardType(dib, TRUE));
        if (standard) holder.reset(FreeImage_ConvertTo32Bits(standard.get()));
    }
    return holder.get();
}

// Copies `width` x `height` pixels from (sx, sy) of a 24- or 32-bit image, counted from its top,
// to (dx, dy) of `dst`, with the fourth byte 0.
void copyLibraryRows(FIBITMAP* image, int sx, int sy, Bits& dst, int dx, int dy, int width,
                     int height) {
    const int step = static_cast<int>(FreeImage_GetBPP(image) / 8);
    const int lastLine = static_cast<int>(FreeImage_GetHeight(image)) - 1;
    const int n = width;
    for (int r = 0; r < height; ++r) {
        const std::uint8_t* __restrict s = FreeImage_GetScanLine(image, lastLine - (sy + r)) +
                                           static_cast<std::ptrdiff_t>(sx) * step;
        std::uint8_t* __restrict d = dst.Row(dy + r) + static_cast<std::ptrdiff_t>(dx) * 4;
        if (step == 3) {
            // Four bytes read at each pixel, the fourth masked off: one load and one store a
            // pixel. The last pixel is read byte by byte, since its fourth byte may lie past the
            // end of the library's buffer.
            for (int x = 0; x + 1 < n; ++x) {
                std::uint32_t v;
                std::memcpy(&v, s + 3 * x, 4);
                v &= 0x00FFFFFFu;
                std::memcpy(d + 4 * x, &v, 4);
            }
            if (n > 0) {
                const int x = n - 1;
                d[4 * x] = s[3 * x];
                d[4 * x + 1] = s[3 * x + 1];
                d[4 * x + 2] = s[3 * x + 2];
                d[4 * x + 3] = 0;
            }
        } else {
            for (int x = 0; x < n; ++x) {
                d[4 * x] = s[4 * x];
                d[4 * x + 1] = s[4 * x + 1];
                d[4 * x + 2] = s[4 * x + 2];
                d[4 * x + 3] = 0;
            }
        }
    }
}

// A large picture's rows are copied by two threads, each half of them: the copy runs at the
// speed of memory, and one core alone does not reach it.
void copyRowsOnTwoCores(FIBITMAP* image, Bits& dst) {
    constexpr std::int64_t kWorthASecondThread = 1 << 20; // pixels
    const int w = dst.Width(), h = dst.Height();
    if (std::int64_t{w} * h < kWorthASecondThread || std::thread::hardware_concurrency() < 2) {
        copyLibraryRows(image, 0, 0, dst, 0, 0, w, h);
        return;
    }
    const int half = h / 2;
    std::thread lower;
    try {
        lower = std::thread([&] { copyLibraryRows(image, 0, half, dst, 0, half, w, h - half); });
    } catch (const std::system_error&) {
        copyLibraryRows(image, 0, 0, dst, 0, 0, w, h);
        return;
    }
    copyLibraryRows(image, 0, 0, dst, 0, 0, w, half);
    lower.join();
}

// One axis of a copy of `length` pixels to position `at` of a target `limit` long, clipped:
// where reading starts in the source, where writing starts, and how many pixels go.
struct Run {
    int from = 0, to = 0, length = 0;
};

Run clip(int at, int length, int limit) {
    std::int64_t from = 0, to = at, n = length;
    if (to < 0) {
        from = -to;
        n += to;
        to = 0;
    }
    n = std::min<std::int64_t>(n, static_cast<std::int64_t>(limit) - to);
    if (n <= 0) return {};
    return {static_cast<int>(from), static_cast<int>(to), static_cast<int>(n)};
}

} // namespace

namespace {
std::mutex& libraryUsers() {
    static std::mutex users;
    return users;
}
} // namespace

void FreeImageOpen() {
    const std::lock_guard<std::mutex> turn(libraryUsers());
    FreeImage_Initialise(FALSE);
}

void FreeImageClose() {
    const std::lock_guard<std::mutex> turn(libraryUsers());
    FreeImage_DeInitialise();
}

FreeImageSession::FreeImageSession(ModFreeImage& messagesTo) : previous_(tMessagesTo) {
    FreeImageOpen();
    FreeImage_SetOutputMessage(onLibraryMessage);
    tMessagesTo = &messagesTo;
}

FreeImageSession::~FreeImageSession() {
    tMessagesTo = previous_;
    FreeImageClose();
}

void ModFreeImage::RecordError(std::string_view Text, bool Keep) {
    if (Keep && !LastError_.empty()) return;
    LastError_.assign(Text);
}

bool ModFreeImage::FreeImage_BMP_From_DIB(FIBITMAP* Dib, Bits& Bitmap) {
    ClearError();
    Bitmap = Bits();
    const auto fail = [&](std::string text) {
        RecordError(text);
        return false;
    };
    if (Dib == nullptr) return fail("[FreeImage_BMP_From_DIB] No DIB specified to convert");
    if (FreeImage_GetInfoHeader(Dib) == nullptr)
        return fail(
            "[FreeImage_BMP_From_DIB] FreeImage_GetInfoHeader failed to get the DIB header");
    if (FreeImage_GetInfo(Dib) == nullptr)
        return fail("[FreeImage_BMP_From_DIB] FreeImage_GetInfo failed to get the DIB info");
    if (!FreeImage_HasPixels(Dib) || FreeImage_GetBits(Dib) == nullptr)
        return fail("[FreeImage_BMP_From_DIB] FreeImage_GetBits failed to get the DIB's bits");

    static constexpr std::string_view kCreateFailed =
        "[FreeImage_BMP_From_DIB] CreateDIBitmap failed to create the BITMAP from the DIB "
        "reporting error code ";
    const unsigned width = FreeImage_GetWidth(Dib), height = FreeImage_GetHeight(Dib);
    if (std::uint64_t{width} * height > MostPixels()) return fail(withCode(kCreateFailed, ENOMEM));
    LibraryImage holder;
    FIBITMAP* rows = readableForm(Dib, holder);
    if (rows == nullptr) return fail(withCode(kCreateFailed, EINVAL));
    try {
        // Every picture byte is written by the copy, so only the margin needs its zeros: a
        // zero fill first would touch a large picture's memory twice.
        Bits made = Bits::Uninitialised(static_cast<int>(width), static_cast<int>(height));
        made.ZeroMarginRows();
        for (int y = 0; y < made.Height(); ++y)
            made.ZeroRowMargins(y);
        copyRowsOnTwoCores(rows, made);
        Bitmap = std::move(made);
    } catch (const std::exception&) {
        return fail(withCode(kCreateFailed, ENOMEM));
    }
    return true;
}

bool ModFreeImage::FreeImage_DIB_From_BMP(const Bits& Bitmap, FIBITMAP*& Dib) {
    ClearError();
    if (Dib != nullptr) {
        FreeImage_Unload(Dib);
        Dib = nullptr;
    }
    const auto fail = [&](std::string_view text) {
        RecordError(text);
        return false;
    };
    if (!Bitmap.IsAllocated() || Bitmap.Width() < 1 || Bitmap.Height() < 1)
        return fail("[FreeImage_DIB_From_BMP] No bitmap specified to convert");
    const int w = Bitmap.Width(), h = Bitmap.Height();
    LibraryImage made(FreeImage_Allocate(w, h, 32, 0, 0, 0));
    if (!made)
        return fail(
            "[FreeImage_DIB_From_BMP] FreeImage_Allocate failed to create a DIB to work with");
    if (FreeImage_GetInfo(made.get()) == nullptr)
        return fail("[FreeImage_DIB_From_BMP] FreeImage_GetInfo failed to get the DIB info");
    if (FreeImage_GetBits(made.get()) == nullptr)
        return fail("[FreeImage_DIB_From_BMP] FreeImage_GetBits failed to get the DIB bits");
    const std::size_t rowBytes = static_cast<std::size_t>(w) * 4;
    for (int y = 0; y < h; ++y)
        std::memcpy(FreeImage_GetScanLine(made.get(), h - 1 - y), Bitmap.Row(y), rowBytes);
    Dib = made.release();
    return true;
}

bool ModFreeImage::FreeImage_RenderDIB(FIBITMAP* Dib, Bits& Surface, int X, int Y, int Width,
                                       int Height) {
    ClearError();
    const auto fail = [&](std::string text) {
        RecordError(text);
        return false;
    };
    if (Dib == nullptr) return fail("[FreeImage_RenderDIB] No DIB specified to render");
    if (!Surface.IsAllocated()) return fail("[FreeImage_RenderDIB] DC specified was invalid");
    const int h = static_cast<int>(std::min<unsigned>(FreeImage_GetHeight(Dib), 0x7FFFFFFF));
    if (h == 0) return fail("[FreeImage_RenderDIB] Could not get the bitmap's height");
    const int w = static_cast<int>(std::min<unsigned>(FreeImage_GetWidth(Dib), 0x7FFFFFFF));
    if (w == 0) return fail("[FreeImage_RenderDIB] Could not get the bitmap's width");
    if (!FreeImage_HasPixels(Dib) || FreeImage_GetBits(Dib) == nullptr)
        return fail("[FreeImage_RenderDIB] Could not get the DIB's bits");
    if (FreeImage_GetInfo(Dib) == nullptr)
        return fail("[FreeImage_RenderDIB] Could not get the DIB's information");
    LibraryImage holder;
    FIBITMAP* rows = readableForm(Dib, holder);
    if (rows == nullptr)
        return fail(withCode("[FreeImage_RenderDIB] SetDIBitsToDevice failed to render the DIB to "
                             "the specified DC with error code ",
                             EINVAL));
    const Run across = clip(X, Width < 1 ? w : std::min(Width, w), Surface.Width());
    const Run down = clip(Y, Height < 1 ? h : std::min(Height, h), Surface.Height());
    if (across.length > 0 && down.length > 0)
        copyLibraryRows(rows, across.from, down.from, Surface, across.to, down.to, across.length,
                        down.length);
    return true;
}

bool ModFreeImage::FreeImage_RenderBitmap(const Bits& Bitmap, Bits& Surface, int X, int Y,
                                          int Width, int Height, bool Invert) {
    ClearError();
    if (!Bitmap.IsAllocated()) {
        RecordError("[FreeImage_RenderBitmap] No bitmap specified to render");
        return false;
    }
    if (!Surface.IsAllocated()) {
        RecordError("[FreeImage_RenderBitmap] DC specified is not valid");
        return false;
    }
    // A copy of a picture onto itself reads what it has not yet overwritten.
    Bits own;
    const Bits& source = &Bitmap == &Surface ? (own = Bitmap.clone()) : Bitmap;
    const int w = Width < 1 ? source.Width() : std::min(Width, source.Width());
    const int h = Height < 1 ? source.Height() : std::min(Height, source.Height());
    const Run across = clip(X, w, Surface.Width());
    const Run down = clip(Y, h, Surface.Height());
    for (int r = 0; r < down.length; ++r) {
        const std::uint8_t* s = source.Row(down.from + r) + across.from * 4;
        std::uint8_t* d = Surface.Row(down.to + r) + across.to * 4;
        if (!Invert) {
            std::memcpy(d, s, static_cast<std::size_t>(across.length) * 4);
            continue;
        }
        for (int x = 0; x < across.length; ++x) {
            d[4 * x] = static_cast<std::uint8_t>(~s[4 * x]);
            d[4 * x + 1] = static_cast<std::uint8_t>(~s[4 * x + 1]);
            d[4 * x + 2] = static_cast<std::uint8_t>(~s[4 * x + 2]);
            d[4 * x + 3] = s[4 * x + 3];
        }
    }
    return true;
}

int ModFreeImage::FreeImage_GetBitmapWidth(const Bits& Bitmap) {
    ClearError();
    if (!Bitmap.IsAllocated()) {
        RecordError("[FreeImage_GetBitmapWidth] No bitmap specified to get the info for");
        return 0;
    }
    return Bitmap.Width();
}

int ModFreeImage::FreeImage_GetBitmapHeight(const Bits& Bitmap) {
    ClearError();
    if (!Bitmap.IsAllocated()) {
        RecordError("[FreeImage_GetBitmapHeight] No bitmap specified to get the info for");
        return 0;
    }
    return Bitmap.Height();
}

} // namespace velmar
