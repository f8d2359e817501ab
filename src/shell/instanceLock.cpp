#include "shell/instanceLock.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace velmar {

namespace {

// The whole file, from its first byte to any length.
struct flock wholeFile(short type) {
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = 0;
    lock.l_len = 0;
    return lock;
}

int lockControl(int fd, int command, struct flock& lock) {
    int result;
    do
        result = ::fcntl(fd, command, &lock);
    while (result != 0 && errno == EINTR);
    return result;
}

} // namespace

InstanceLock::InstanceLock(const std::filesystem::path& appFolder) {
    const std::filesystem::path file = appFolder / ".velmar.lock";
    fd_ = ::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    // A shared lock needs read access only: a folder that has become read-only still has the
    // file an earlier start made.
    if (fd_ < 0) fd_ = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd_ < 0) return;

    struct flock shared = wholeFile(F_RDLCK);
    if (lockControl(fd_, F_OFD_SETLK, shared) != 0) {
        // Only an exclusive lock keeps a shared one out, and no instance takes one: whoever
        // holds it is using the folder, which is as good as another instance.
        another_ = true;
        return;
    }
    // Our own lock never conflicts with a request made through the same opening, so any
    // conflict found is another holder's.
    struct flock probe = wholeFile(F_WRLCK);
    if (lockControl(fd_, F_OFD_GETLK, probe) == 0) another_ = probe.l_type != F_UNLCK;
}

InstanceLock::~InstanceLock() {
    // Closing the last descriptor of the opening releases its lock. The file itself stays:
    // removing it could split a later instance from one still holding the old file.
    if (fd_ >= 0) ::close(fd_);
}

} // namespace velmar
