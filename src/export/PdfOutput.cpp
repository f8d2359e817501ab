#include "export/PdfOutput.h"

#include "port/ReplaceFile.h"

#include <cerrno>
#include <unistd.h>

namespace velmar {

PdfOutput::PdfOutput(int fd, std::filesystem::path target) : fd_(fd), target_(std::move(target)) {
    buffer_.reserve(kPdfFlushSize + 1024);
}

void PdfOutput::WriteLine(std::initializer_list<std::string_view> parts, bool flush) {
    const std::size_t before = buffer_.size();
    for (const std::string_view part : parts)
        buffer_ += part;
    buffer_ += '\r';
    position_ += static_cast<std::int64_t>(buffer_.size() - before);
    if (flush || buffer_.size() >= kPdfFlushSize) this->flush();
}

void PdfOutput::flush() {
    std::size_t done = 0;
    while (done < buffer_.size()) {
        const ssize_t n = ::write(fd_, buffer_.data() + done, buffer_.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) throw FileWriteError(target_, n < 0 ? errno : EIO);
        done += static_cast<std::size_t>(n);
    }
    buffer_.clear();
}

} // namespace velmar
