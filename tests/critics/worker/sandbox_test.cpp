#include "critics/worker/sandbox.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace trevix {
namespace {

using testing::ElementsAre;

ChildRequest request() {
    ChildRequest made;
    made.program = "/usr/bin/tool";
    made.arguments = {"-a", "b c"};
    return made;
}

bool has(const std::vector<std::string>& command, const std::vector<std::string>& words) {
    return std::search(command.begin(), command.end(), words.begin(), words.end()) != command.end();
}

TEST(Sandbox, WithoutBubblewrapTheCommandIsTheRequestsOwn) {
    EXPECT_THAT(shutIn(request(), "/tmp/w", {}), ElementsAre("/usr/bin/tool", "-a", "b c"));
}

TEST(Sandbox, WithItTheCommandComesLastBehindWhatItSees) {
    ChildRequest made = request();
    made.readable = {"/opt/words"};
    const auto command = shutIn(made, "/tmp/w", {"/usr/bin/bwrap", {{"/bin", "usr/bin"}}});
    EXPECT_EQ(command.front(), "/usr/bin/bwrap");
    EXPECT_TRUE(has(command, {"--unshare-all"}));
    EXPECT_TRUE(has(command, {"--die-with-parent"}));
    EXPECT_TRUE(has(command, {"--symlink", "usr/bin", "/bin"}));
    EXPECT_FALSE(has(command, {"--ro-bind-try", "/bin", "/bin"}));
    EXPECT_TRUE(has(command, {"--ro-bind-try", "/lib", "/lib"}));
    EXPECT_TRUE(has(command, {"--ro-bind-try", "/opt/words", "/opt/words"}));
    EXPECT_TRUE(has(command, {"--chdir", "/tmp/w", "--", "/usr/bin/tool", "-a", "b c"}));
    EXPECT_FALSE(has(command, {"--ro-bind", "/usr/bin/tool"}));
}

TEST(Sandbox, AProgramFromElsewhereIsSeenToo) {
    ChildRequest made = request();
    made.program = "/usrlocal/tool";
    EXPECT_TRUE(has(shutIn(made, "/tmp/w", {"/usr/bin/bwrap", {}}),
                    {"--ro-bind", "/usrlocal/tool", "/usrlocal/tool"}));
}

} // namespace
} // namespace trevix
