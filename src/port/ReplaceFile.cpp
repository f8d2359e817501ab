#include "port/ReplaceFile.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace velmar {

namespace {

// A fresh hidden name in the target's folder, taken with O_EXCL so that two writers never share
// it; a crash between write and rename leaves at worst a hidden file, not a half picture. The
// mode 0666 lets the umask decide, as for any file the user creates.
int createBeside(const std::filesystem::path& target, std::filesystem::path& made) {
    static std::atomic<unsigned> counter{0};
    const std::filesystem::path folder = target.has_parent_path() ? target.parent_path() : ".";
    for (int attempt = 0; attempt < 100; ++attempt) {
        const std::filesystem::path candidate =
            folder / ("." + target.filename().string() + ".part-" + std::to_string(::getpid()) +
                      "-" + std::to_string(++counter));
        const int fd = ::open(candidate.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd >= 0) {
            made = candidate;
            return fd;
        }
        if (errno != EEXIST) throw FileWriteError(target, errno);
    }
    throw FileWriteError(target, EEXIST);
}

} // namespace

FileWriteError::FileWriteError(const std::filesystem::path& path, int error)
    : std::runtime_error("Cannot write \"" + path.string() + "\": " + std::strerror(error) + "."),
      error_(error) {}

void ReplaceFile(const std::filesystem::path& path, std::span<const std::uint8_t> bytes,
                 bool sync) {
    std::filesystem::path temp;
    const int fd = createBeside(path, temp);
    const auto fail = [&](int error) {
        ::close(fd);
        ::unlink(temp.c_str());
        throw FileWriteError(path, error);
    };
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) fail(n < 0 ? errno : EIO);
        done += static_cast<std::size_t>(n);
    }
    if (sync && ::fsync(fd) != 0) fail(errno);
    if (::close(fd) != 0) {
        const int error = errno;
        ::unlink(temp.c_str());
        throw FileWriteError(path, error);
    }
    if (::rename(temp.c_str(), path.c_str()) != 0) {
        const int error = errno;
        ::unlink(temp.c_str());
        throw FileWriteError(path, error);
    }
}

bool ReplaceFileWith(const std::filesystem::path& path,
                     const std::function<bool(const std::filesystem::path& temporary)>& write) {
    std::filesystem::path temp;
    try {
        ::close(createBeside(path, temp));
    } catch (const FileWriteError&) {
        return false;
    }
    if (write(temp) && ::rename(temp.c_str(), path.c_str()) == 0) return true;
    ::unlink(temp.c_str());
    return false;
}

} // namespace velmar
