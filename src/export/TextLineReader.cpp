#include "export/TextLineReader.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace velmar {

FileReadError::FileReadError(const std::filesystem::path& path, int error)
    : std::runtime_error("Cannot read \"" + path.string() + "\": " + std::strerror(error) + ".") {}

namespace {

int openForReading(const std::filesystem::path& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) throw FileReadError(path, errno);
    return fd;
}

} // namespace

TextLineReader::TextLineReader(const std::filesystem::path& path, std::size_t blockSize)
    : path_(path), file_(openForReading(path)), block_(std::max<std::size_t>(1, blockSize)) {}

bool TextLineReader::fill() {
    next_ = end_ = 0;
    crKnown_ = false;
    while (!atEnd_) {
        const ssize_t n = ::read(file_.get(), block_.data(), block_.size());
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) throw FileReadError(path_, errno);
        if (n == 0) {
            atEnd_ = true;
            break;
        }
        end_ = static_cast<std::size_t>(n);
        return true;
    }
    return false;
}

// The index of the first LF or CR at or behind next_, or end_ when the block holds neither.
std::size_t TextLineReader::lineEnd() {
    if (!crKnown_ || nextCr_ < next_) {
        const void* cr = std::memchr(block_.data() + next_, '\r', end_ - next_);
        nextCr_ =
            cr ? static_cast<std::size_t>(static_cast<const char*>(cr) - block_.data()) : end_;
        crKnown_ = true;
    }
    const void* lf = std::memchr(block_.data() + next_, '\n', nextCr_ - next_);
    return lf ? static_cast<std::size_t>(static_cast<const char*>(lf) - block_.data()) : nextCr_;
}

bool TextLineReader::Next(std::string_view& line) {
    line = {};
    if (skipLineFeed_) {
        if (next_ == end_) fill();
        if (next_ < end_ && block_[next_] == '\n') ++next_;
        skipLineFeed_ = false;
    }
    // A line within one block is handed out in place; only a line across blocks is gathered.
    bool started = false;
    carry_.clear();
    for (;;) {
        if (next_ == end_ && !fill()) {
            line = carry_;
            return started;
        }
        started = true;
        const std::size_t ending = lineEnd();
        const std::string_view piece(block_.data() + next_, ending - next_);
        if (ending == end_) {
            carry_ += piece;
            next_ = end_;
            continue;
        }
        next_ = ending + 1;
        skipLineFeed_ = block_[ending] == '\r';
        if (carry_.empty()) {
            line = piece;
        } else {
            carry_ += piece;
            line = carry_;
        }
        return true;
    }
}

} // namespace velmar
