#include "shell/instanceLock.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <memory>
#include <sys/wait.h>
#include <unistd.h>

namespace velmar {
namespace {

using test::TempFolder;

TEST(InstanceLock, EveryHolderSeesTheOthersInItsFolder) {
    TempFolder app, elsewhere;
    auto first = std::make_unique<InstanceLock>(app.path());
    EXPECT_FALSE(first->AnotherInstanceRunning());
    auto second = std::make_unique<InstanceLock>(app.path());
    EXPECT_TRUE(second->AnotherInstanceRunning());
    EXPECT_FALSE(InstanceLock(elsewhere.path()).AnotherInstanceRunning());

    // The first quits while the second runs: a third start still finds the second.
    first.reset();
    EXPECT_TRUE(InstanceLock(app.path()).AnotherInstanceRunning());
    second.reset();
    EXPECT_FALSE(InstanceLock(app.path()).AnotherInstanceRunning());
}

TEST(InstanceLock, AnotherProcessIsSeenUntilItDies) {
    TempFolder app;
    int ready[2];
    ASSERT_EQ(::pipe(ready), 0);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        InstanceLock held(app.path());
        const char byte = 1;
        (void)!::write(ready[1], &byte, 1);
        ::pause();
        ::_exit(0);
    }
    char byte = 0;
    ASSERT_EQ(::read(ready[0], &byte, 1), 1);
    EXPECT_TRUE(InstanceLock(app.path()).AnotherInstanceRunning());

    // A killed instance runs no destructor; the system drops its lock all the same.
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    EXPECT_FALSE(InstanceLock(app.path()).AnotherInstanceRunning());
    ::close(ready[0]);
    ::close(ready[1]);
}

TEST(InstanceLock, NoLockFilePossibleMeansNoWarning) {
    TempFolder app;
    EXPECT_FALSE(InstanceLock(app / "missing").AnotherInstanceRunning());
}

} // namespace
} // namespace velmar
