#pragma once
// How the gateway hands a file's bytes to FreeImage. Not for use outside formats/.
//
// Every library load goes through the same steps, because several of the library's loaders
// take whatever they are given: a Koala or Photo CD loader decodes any bytes, a BMP or Targa
// loader returns a half-empty picture from a file cut short, and some write past their buffers
// on a broken file (see contentChecks.h). So before the load, a file in a form the loader
// refuses or misreads is rewritten into one it reads (long BMP headers, a GIF frame off its
// screen), the loaders that trust their input get the file only when its structure holds, and
// the picture's size is read from its header and refused above the limit; after the load, the
// way the loader read the bytes tells whether the file ended too soon.
#include "formats/ModFreeImage.h"

#include <cstdint>
#include <span>

namespace velmar {

// Bytes in memory read by the library through its I/O callbacks, noting how it reads them.
class LibraryInput {
  public:
    explicit LibraryInput(std::span<const std::uint8_t> bytes);
    LibraryInput(const LibraryInput&) = delete;
    LibraryInput& operator=(const LibraryInput&) = delete;

    FreeImageIO* io() noexcept { return &io_; }
    fi_handle handle() noexcept { return this; }
    // Back to the first byte, with the notes below cleared.
    void rewind() noexcept;

    // The loader asked for bytes when none were left.
    bool readPastEnd() const noexcept { return readPastEnd_; }
    // The loader asked for more bytes than were left.
    bool readShort() const noexcept { return readShort_; }

  private:
    static unsigned DLL_CALLCONV read(void* buffer, unsigned size, unsigned count, fi_handle h);
    static unsigned DLL_CALLCONV write(void* buffer, unsigned size, unsigned count, fi_handle h);
    static int DLL_CALLCONV seek(fi_handle h, long offset, int origin);
    static long DLL_CALLCONV tell(fi_handle h);

    std::span<const std::uint8_t> bytes_;
    std::size_t position_ = 0;
    bool readPastEnd_ = false;
    bool readShort_ = false;
    FreeImageIO io_;
};

// Loads the bytes with the library's loader for Format (a FREE_IMAGE_FORMAT) and Flags, with
// the checks above. Null when refused or when the loader fails; the reason is in LastError.
// Call inside a session.
LibraryImage LoadLibraryImage(ModFreeImage& Mod, std::span<const std::uint8_t> File, int Format,
                              int Flags);

// The format the library's content probe finds in the first 16 bytes, FIF_UNKNOWN for none.
int ProbeLibraryFormat(std::span<const std::uint8_t> File);

} // namespace velmar
