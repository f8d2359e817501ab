#pragma once
// ModFreeImage: the wrappers through which the program meets FreeImage, and the one text they
// leave behind when something fails.
//
// The library is never held open. Every operation that needs it starts a session with
// FreeImage_InitErrorHandler() and ends it by letting the session go, which de-initialises the
// library on every exit path, exceptions included.
//
// The picture surface on this side is a Bits. A library image (FIBITMAP*) of any depth becomes
// a 32-bit top-down Bits whose mask bytes are 0; a Bits becomes a 32-bit library image.
// FreeImage keeps its rows bottom-up, so row y of a Bits is scan line H - 1 - y of the library.
// Library images are owned by whoever obtained them and released with FreeImage_Unload.
//
// LastError holds the last failure text of a wrapper, or the library's last message: a
// diagnostic for logs and tests that no caller shows to the user. Every wrapper clears it when
// it starts. One ModFreeImage per thread of work; sessions may nest.
#include "pixel/Bits.h"

#include <FreeImage.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace velmar {

class ModFreeImage;

// A library image owned here: unloaded when it goes.
struct LibraryImageUnloader {
    void operator()(FIBITMAP* dib) const noexcept { FreeImage_Unload(dib); }
};
using LibraryImage = std::unique_ptr<FIBITMAP, LibraryImageUnloader>;

// The library initialised (plug-ins included) for one operation; its messages go to the
// LastError of the ModFreeImage that opened the session until the session ends.
// The library's own count of its users is a plain integer: two threads opening or closing
// at once could unload it under a third. Every use opens and closes it through these, which
// take turns.
void FreeImageOpen();
void FreeImageClose();

class FreeImageSession {
  public:
    explicit FreeImageSession(ModFreeImage& messagesTo);
    ~FreeImageSession();
    FreeImageSession(const FreeImageSession&) = delete;
    FreeImageSession& operator=(const FreeImageSession&) = delete;

  private:
    ModFreeImage* previous_;
};

// The most pixels a picture may have to be loaded: 16384 x 16384, a 1 GB Bits. A header that
// asks for more is refused before the library allocates anything, so a forged size in a small
// file cannot take the machine's memory.
inline constexpr std::uint64_t kMostPicturePixels = std::uint64_t{1} << 28;

class ModFreeImage {
  public:
    const std::string& LastError() const noexcept { return LastError_; }
    void ClearError() noexcept { LastError_.clear(); }

    // The most pixels a picture may have to be loaded: kMostPicturePixels, or less when a
    // caller lowers it (the fuzzer does, so that every input runs in a moment).
    std::uint64_t MostPixels() const noexcept { return MostPixels_; }
    void SetMostPixels(std::uint64_t Pixels) noexcept {
        MostPixels_ = Pixels < kMostPicturePixels ? Pixels : kMostPicturePixels;
    }

    // The error recorder. With Keep set, a LastError that already holds text stays as it is;
    // otherwise Text replaces it.
    void RecordError(std::string_view Text, bool Keep = false);

    // Starts a session: FreeImage_Initialise with plug-ins, and the message callback that copies
    // the library's messages into LastError.
    [[nodiscard]] FreeImageSession FreeImage_InitErrorHandler() { return FreeImageSession(*this); }

    // Makes Bitmap the picture of the library image: W x H of the image, blue, green, red taken
    // as a 32-bit read-back gives them (palettes looked up, 16-bit samples reduced to 8), mask
    // bytes 0, alpha dropped. Whatever Bitmap held before is released first. False, with Bitmap
    // empty, when the image is missing, header-only, of a kind that has no 8-bit form, or larger
    // than MostPixels().
    bool FreeImage_BMP_From_DIB(FIBITMAP* Dib, Bits& Bitmap);

    // Makes Dib a new 32-bit library image of the picture (all four bytes of each pixel, rows
    // turned bottom-up). An image Dib still holds is unloaded first. On failure Dib is null.
    bool FreeImage_DIB_From_BMP(const Bits& Bitmap, FIBITMAP*& Dib);

    // Draws the library image on Surface with its top-left corner at (X, Y), clipped to the
    // surface. Width or Height below 1 means the image's own; a larger one is cut to it.
    bool FreeImage_RenderDIB(FIBITMAP* Dib, Bits& Surface, int X, int Y, int Width, int Height);

    // Copies the top-left Width x Height of Bitmap to Surface at (X, Y), clipped to both.
    // Width or Height below 1 means the bitmap's own. Invert gives the colours' complement;
    // mask bytes are copied as they are either way.
    bool FreeImage_RenderBitmap(const Bits& Bitmap, Bits& Surface, int X, int Y, int Width,
                                int Height, bool Invert);

    // Width or height in pixels; 0 for a bitmap that holds no picture.
    int FreeImage_GetBitmapWidth(const Bits& Bitmap);
    int FreeImage_GetBitmapHeight(const Bits& Bitmap);

  private:
    std::string LastError_;
    std::uint64_t MostPixels_ = kMostPicturePixels;
};

} // namespace velmar
