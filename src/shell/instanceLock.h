#pragma once
// The test for another running instance of the program: a lock file in the application folder.
//
// Every instance holds a shared lock on "<application folder>/.velmar.lock" for as long as its
// InstanceLock lives, and asks at construction whether any other holder is there. The locks are
// open-file-description locks, so they belong to each opening of the file and not to the
// process: two InstanceLocks in one process see each other as two programs would, and the
// system drops a lock when its holder ends, even by a crash. Holding a shared lock (rather than
// one instance owning an exclusive one) keeps the answer right for a third start after the
// first has gone while the second runs.
//
// The answer is advisory: start-up warns and comes up all the same, and nothing guards the
// shared files against two instances.
#include <filesystem>

namespace velmar {

class InstanceLock {
  public:
    // Takes the lock in AppFolder. When the lock file can be neither opened nor created (a
    // read-only folder), there is no telling and no other instance is reported.
    explicit InstanceLock(const std::filesystem::path& appFolder);
    ~InstanceLock();
    InstanceLock(const InstanceLock&) = delete;
    InstanceLock& operator=(const InstanceLock&) = delete;

    // Whether another instance held the lock when this one was taken.
    bool AnotherInstanceRunning() const noexcept { return another_; }

  private:
    int fd_ = -1;
    bool another_ = false;
};

} // namespace velmar
