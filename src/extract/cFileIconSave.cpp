// Writing an icon: the .ico bytes and the file.
#include "extract/ByteView.h"
#include "extract/ExtractError.h"
#include "extract/cFileIcon.h"
#include "port/FileDescriptor.h"
#include "port/ReplaceFile.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace velmar {

std::vector<std::uint8_t> cFileIcon::IconFileBytes() const {
    std::vector<std::uint8_t> out;
    std::size_t total = 6 + 16 * entries_.size();
    for (const auto& image : images_)
        total += image.size();
    out.reserve(total);
    putU16(out, header_.Reserved);
    putU16(out, header_.Type);
    putU16(out, header_.Count);
    for (const IconDirectoryEntry& e : entries_) {
        out.insert(out.end(), {e.Width, e.Height, e.ColorCount, e.Reserved});
        putU16(out, e.Planes);
        putU16(out, e.BitCount);
        putU32(out, e.BytesInRes);
        putU32(out, e.ImageOffset);
    }
    for (const auto& image : images_)
        out.insert(out.end(), image.begin(), image.end());
    return out;
}

void cFileIcon::SaveIcon(const std::filesystem::path& path) const {
    if (path.empty()) throw ExtractError(kIconNoFileName, "No filename specified.", "cFileIcon");
    if (entries_.empty())
        throw ExtractError(kIconNothingToSave, "Icon contains no images.", "cFileIcon");
    const std::vector<std::uint8_t> bytes = IconFileBytes();
    // The file is made beside the target and renamed over it, so a failed save leaves what was
    // there before; which step failed decides the message.
    bool created = false;
    const bool saved = ReplaceFileWith(path, [&](const std::filesystem::path& temporary) {
        FileDescriptor fd(::open(temporary.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC));
        if (fd.get() < 0) return false;
        created = true;
        std::size_t done = 0;
        while (done < bytes.size()) {
            const ssize_t n = ::write(fd.get(), bytes.data() + done, bytes.size() - done);
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) return false;
            done += static_cast<std::size_t>(n);
        }
        return fd.release() == 0;
    });
    if (!created)
        throw ExtractError(kIconCannotCreate, "Couldn't open file for writing.", "cFileIcon");
    if (!saved) throw ExtractError(kIconWriteFailed, "General failure writing icon.", "cFileIcon");
}

} // namespace velmar
