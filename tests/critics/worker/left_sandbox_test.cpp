// Does nobody wait for ever for a service that was killed?

#include "tests/critics/worker/left_sandbox.h"

#include "critics/worker/confinement.h"
#include "critics/worker/posix_child_runner.h"
#include "critics/worker/work_folder.h"
#include "tests/service/temporary_folder.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

namespace trevix {
namespace {

TEST(EndWithParent, EndsAtOnceWhereTheParentIsGone) {
    for (const bool gone : {false, true}) {
        const pid_t parent = gone ? ::getppid() : ::getpid();
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            endWithParent(parent);
            ::_exit(0);
        }
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_EQ(WIFSIGNALED(status), gone);
        EXPECT_EQ(WIFEXITED(status), !gone);
    }
}

TEST(LeftSandbox, EndsWhenItsFolderIsTakenOver) {
    const TemporaryFolder base;
    const SandboxFacts facts = sandboxOfThisMachine(base.path(), "/usr/bin/env");
    if (facts.bubblewrap.empty()) {
        GTEST_SKIP() << "NOT RUN: there is no bwrap that works on this machine";
    }
    const LeftSandbox ours(base.path() / "work" / "work.a1B2c3", facts);
    const LeftSandbox another(base.path() / "work2" / "work.a1B2c3", facts);
    ASSERT_TRUE(ours.waits());
    ASSERT_TRUE(another.waits());
    takeOverWorkFolder(base.path() / "work");
    ours.awaitEnd();
    EXPECT_FALSE(ours.waits());
    EXPECT_TRUE(another.waits());
}

} // namespace
} // namespace trevix
