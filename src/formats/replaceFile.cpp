// Whole-file replacement: the bytes go to a new file beside the target, which is then renamed
// over it. A reader sees the old file or the new one, never a part; a failure leaves the old
// file as it was and removes the new one.
#include "formats/converterParts.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <unistd.h>

namespace velmar::converter {

namespace {

std::string reason(int error) {
    return std::strerror(error);
}

// A fresh name in the target's folder, taken with O_EXCL so that two writers never share it.
// The mode 0666 lets the umask decide, as for any file the user creates.
int createBeside(const std::filesystem::path& target, std::filesystem::path& made) {
    static std::atomic<unsigned> counter{0};
    for (int attempt = 0; attempt < 100; ++attempt) {
        std::filesystem::path candidate = target;
        candidate += ".part-" + std::to_string(::getpid()) + "-" + std::to_string(++counter);
        const int fd = ::open(candidate.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd >= 0) {
            made = candidate;
            return fd;
        }
        if (errno != EEXIST)
            throw ConverterFailure("Cannot write \"" + target.string() + "\": " + reason(errno) +
                                   ".");
    }
    throw ConverterFailure("Cannot write \"" + target.string() +
                           "\": no free temporary name beside it.");
}

} // namespace

// No fsync: the optimizer rewrites its preview file on every change of a setting, and the
// rename already keeps readers from ever seeing a part of a file.
void ReplaceFile(const std::filesystem::path& path, std::span<const std::uint8_t> bytes) {
    std::filesystem::path temp;
    const int fd = createBeside(path, temp);
    const auto failWith = [&](int error) {
        ::close(fd);
        ::unlink(temp.c_str());
        throw ConverterFailure("Cannot write \"" + path.string() + "\": " + reason(error) + ".");
    };
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (n < 0) {
            if (errno == EINTR) continue;
            failWith(errno);
        }
        done += static_cast<std::size_t>(n);
    }
    if (::close(fd) != 0) {
        const int error = errno;
        ::unlink(temp.c_str());
        throw ConverterFailure("Cannot write \"" + path.string() + "\": " + reason(error) + ".");
    }
    if (::rename(temp.c_str(), path.c_str()) != 0) {
        const int error = errno;
        ::unlink(temp.c_str());
        throw ConverterFailure("Cannot write \"" + path.string() + "\": " + reason(error) + ".");
    }
}

} // namespace velmar::converter
