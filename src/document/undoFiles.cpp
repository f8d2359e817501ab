// The undo states of a document: each state is a whole-picture file in the temporary folder,
// the 40-byte header followed by Bits exactly as it stands in memory, margin included. Nothing
// is kept in memory and the selection is not part of a state.
//
// States 0 to UndoTop - 1 have files; UndoPos - 1 is the picture on screen. At most ten states
// are kept: the eleventh save drops state 0 and renames the others down by one.
#include "document/fImage.h"
#include "port/FileDescriptor.h"

#include "port/ReplaceFile.h"

#include <array>
#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <functional>
#include <future>
#include <new>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <sys/uio.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace velmar {

namespace {

// "b" + the document number with at least four digits.
std::string undoPrefix(int docNumber) {
    char text[24];
    std::snprintf(text, sizeof text, "b%04d", docNumber);
    return text;
}

// Header and pixels in as few system calls as the kernel allows (one, for any picture up to
// 2 GB), straight from the pixel memory: the save must cost no more than the disk does.
bool writeAll(int fd, const std::uint8_t* header, std::size_t headerSize, const std::uint8_t* data,
              std::size_t dataSize) {
    iovec parts[2] = {{const_cast<std::uint8_t*>(header), headerSize},
                      {const_cast<std::uint8_t*>(data), dataSize}};
    int first = 0;
    while (first < 2) {
        const ssize_t n = ::writev(fd, parts + first, 2 - first);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            if (n == 0) errno = EIO;
            return false;
        }
        auto left = static_cast<std::size_t>(n);
        while (first < 2 && left >= parts[first].iov_len) {
            left -= parts[first].iov_len;
            ++first;
        }
        if (first < 2) {
            parts[first].iov_base = static_cast<std::uint8_t*>(parts[first].iov_base) + left;
            parts[first].iov_len -= left;
        }
    }
    return true;
}

bool readAll(int fd, std::uint8_t* to, std::size_t size) {
    while (size > 0) {
        const ssize_t n = ::read(fd, to, size);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        to += n;
        size -= static_cast<std::size_t>(n);
    }
    return true;
}

// Writes one state file: the header, then the pixels. 0 when it is complete; otherwise the
// error number, and the part written is gone.
int writeStateFile(const std::filesystem::path& name,
                   const std::array<std::uint8_t, BitmapHeader::kSize>& header,
                   const velmar::Bits& bits) {
    // The old file goes first rather than being truncated: ext4 pushes a truncated and
    // rewritten file to the disk at its close (its guard against zero-length files after a
    // crash), which made an overwrite after an undo cost twice a fresh write.
    ::unlink(name.c_str());
    FileDescriptor fd(::open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    if (fd.get() < 0) return errno;
    int error = 0;
    if (!writeAll(fd.get(), header.data(), header.size(), bits.Data(), bits.SizeBytes()))
        error = errno;
    if (fd.release() != 0 && error == 0) error = errno;
    if (error != 0) ::unlink(name.c_str());
    return error;
}

} // namespace

std::filesystem::path fImage::UndoFileName(int state) const {
    // A negative state gives "-1" in place of two digits: a name no state ever has.
    char digits[16];
    std::snprintf(digits, sizeof digits, "%02d", state);
    return tempFolder_ / (undoPrefix(docNumber_) + digits + ".dat");
}

fImage::~fImage() {
    // The writer reads the pixels; it must be done before they go. Its outcome no longer
    // matters to anybody.
    if (undoWrite_.valid()) undoWrite_.get();
}

void fImage::FinishUndoWrite() {
    if (!undoWrite_.valid()) return;
    const int error = undoWrite_.get();
    if (error == 0) return;
    // The state was counted when the write began; a state without its file is no state.
    undoPos_ = undoBeforeWrite_.pos;
    undoTop_ = undoBeforeWrite_.top;
    throw FileWriteError(UndoFileName(undoPos_), error);
}

void fImage::SaveUndoBitsInBackground() {
    FinishUndoWrite();
    // Only the plain case goes to the second thread: a state that neither ends a redo branch
    // nor rotates the others is one new file and two counters, which a failure can take back.
    if (!pictureExists_ || !bits_.IsAllocated() || undoPos_ != undoTop_ ||
        undoPos_ > kUndoDepth - 1) {
        SaveUndoBits();
        return;
    }
    undoBeforeWrite_ = {undoPos_, undoTop_};
    undoWrite_ = std::async(std::launch::async, writeStateFile, UndoFileName(undoPos_),
                            header_.ToBytes(), std::cref(bits_));
    ++undoPos_;
    undoTop_ = undoPos_;
}

void fImage::SaveUndoBits() {
    FinishUndoWrite();
    if (!pictureExists_ || !bits_.IsAllocated()) return;

    // The present picture as state UndoPos, in place of any old file of that name. A state
    // that cannot be written (full disk, folder gone) is not recorded: the counters stay, and
    // the caller's error box says why.
    const std::filesystem::path name = UndoFileName(undoPos_);
    if (const int error = writeStateFile(name, header_.ToBytes(), bits_); error != 0)
        throw FileWriteError(name, error);

    // States after this one belonged to undone changes and can never be redone now.
    std::error_code ignored;
    for (int state = undoPos_ + 1; state <= undoTop_; ++state)
        std::filesystem::remove(UndoFileName(state), ignored);

    // The depth is ten states; past it the oldest goes and the rest move down by one.
    if (undoPos_ > kUndoDepth - 1) {
        std::filesystem::remove(UndoFileName(0), ignored);
        for (int state = 1; state <= kUndoDepth; ++state) {
            std::error_code ec;
            std::filesystem::rename(UndoFileName(state), UndoFileName(state - 1), ec);
            if (ec) {
                // A hole in the sequence would make undo skip states silently: drop them all.
                // UndoPos stays, so closing still asks to save a changed picture.
                DeleteUndoFiles();
                break;
            }
        }
    } else {
        ++undoPos_;
    }
    undoTop_ = undoPos_;
}

bool fImage::UndoBits() {
    FinishUndoWrite();
    // State UndoPos - 1 is the picture on screen; the one before it is UndoPos - 2. At the first
    // state that is negative, and no file has such a number.
    const int state = undoPos_ - 2;
    if (state < 0 || !loadUndoState(UndoFileName(state))) return false;
    if (undoPos_ > 0) --undoPos_;
    return true;
}

bool fImage::RedoBits() {
    FinishUndoWrite();
    // Only states written by this document are redone. A file past UndoTop can only be left
    // over from an earlier run that died (document numbers restart with each run), and it holds
    // somebody else's picture.
    if (undoPos_ >= undoTop_ || !loadUndoState(UndoFileName(undoPos_))) return false;
    ++undoPos_;
    return true;
}

bool fImage::loadUndoState(const std::filesystem::path& file) {
    // Non-blocking, so that a pipe under a state's name cannot hang the editor before the
    // test for a plain file refuses it.
    FileDescriptor fd(::open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (fd.get() < 0) return false; // no such state: silently nothing
    struct stat info {};
    if (::fstat(fd.get(), &info) != 0 || !S_ISREG(info.st_mode)) return false;

    std::array<std::uint8_t, BitmapHeader::kSize> headerBytes{};
    BitmapHeader header;
    if (!readAll(fd.get(), headerBytes.data(), headerBytes.size()) ||
        !BitmapHeader::FromBytes(headerBytes.data(), header))
        return false;

    // The file must hold exactly the pixels its header promises. The header's fields are at
    // most 2^31 each, so the product of both with 4 stays within 64 bits; checking it against
    // the file's length before anything is allocated keeps a forged header from asking for
    // more memory than the file itself takes.
    const std::uint64_t columns = static_cast<std::uint32_t>(header.width);
    const std::uint64_t rows =
        static_cast<std::uint64_t>(-static_cast<std::int64_t>(header.height));
    const std::uint64_t pixelBytes = 4 * columns * rows;
    if (static_cast<std::uint64_t>(info.st_size) != BitmapHeader::kSize + pixelBytes) return false;

    velmar::Bits picture;
    try {
        picture =
            velmar::Bits::Uninitialised(static_cast<int>(columns - 4), static_cast<int>(rows - 4));
    } catch (const std::bad_alloc&) {
        return false;
    } catch (const std::length_error&) {
        return false;
    }
    if (picture.SizeBytes() != pixelBytes || !readAll(fd.get(), picture.Data(), pixelBytes))
        return false;

    // The let compares the size with the present one, and a new size resets the selection to
    // the whole picture and shows the size in the status bar.
    Bits(std::move(picture));
    View().UpdateImage();
    return true;
}

void fImage::DeleteUndoFiles() {
    // A file still being written would be left behind; whether its write worked no longer
    // matters.
    if (undoWrite_.valid()) undoWrite_.wait();
    // Only "b" + this number + two digits + ".dat". A plain "b0003*.dat" would also take the
    // states of document 12345 for document 1234 (b1234501.dat), since numbers grow past four
    // digits in a long run.
    const std::string prefix = undoPrefix(docNumber_);
    std::error_code ec;
    std::vector<std::filesystem::path> doomed;
    for (std::filesystem::directory_iterator it(tempFolder_, ec), end; !ec && it != end;
         it.increment(ec)) {
        const std::string name = it->path().filename().string();
        if (name.size() == prefix.size() + 6 && name.starts_with(prefix) &&
            name.ends_with(".dat") &&
            std::isdigit(static_cast<unsigned char>(name[prefix.size()])) &&
            std::isdigit(static_cast<unsigned char>(name[prefix.size() + 1])))
            doomed.push_back(it->path());
    }
    for (const auto& path : doomed)
        std::filesystem::remove(path, ec);
}

} // namespace velmar
