#pragma once
// An open POSIX file descriptor that closes itself, for the readers and writers that work
// with open/read/write directly.
#include <unistd.h>

namespace velmar {

class FileDescriptor {
  public:
    explicit FileDescriptor(int fd) : fd_(fd) {}
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor() {
        if (fd_ >= 0) ::close(fd_);
    }
    int get() const noexcept { return fd_; }
    // Closes now, so that an error of the close (a full disk on some file systems) is seen.
    int release() noexcept {
        const int result = ::close(fd_);
        fd_ = -1;
        return result;
    }

  private:
    int fd_;
};

} // namespace velmar
