// What the variables of a service manager say. The sockets themselves are tried by the process's
// tests.

#include "service/setup/inherited_sockets.h"

#include <gtest/gtest.h>

namespace trevix {
namespace {

using Text = std::optional<std::string>;
constexpr pid_t kSelf = 4711;

std::size_t countOf(const Text& pid, const Text& fds) {
    const auto count = inheritedCount(pid, fds, kSelf);
    EXPECT_TRUE(std::holds_alternative<std::size_t>(count));
    const auto* number = std::get_if<std::size_t>(&count);
    return number == nullptr ? 99 : *number;
}

std::string errorOf(const Text& pid, const Text& fds) {
    const auto count = inheritedCount(pid, fds, kSelf);
    const auto* error = std::get_if<SocketError>(&count);
    return error == nullptr ? "" : error->text;
}

TEST(InheritedCount, IsWhatTheManagerSays) {
    EXPECT_EQ(countOf("4711", "0"), 0U);
    EXPECT_EQ(countOf("4711", "1"), 1U);
    EXPECT_EQ(countOf("4711", "2"), 2U);
}

TEST(InheritedCount, IsNoneWithoutAManagerAndForAnotherProcess) {
    EXPECT_EQ(countOf(std::nullopt, std::nullopt), 0U);
    EXPECT_EQ(countOf("4711", std::nullopt), 0U);
    EXPECT_EQ(countOf(std::nullopt, "2"), 0U);
    EXPECT_EQ(countOf("4712", "2"), 0U);
    EXPECT_EQ(countOf("", "2"), 0U);
    EXPECT_EQ(countOf("4711x", "2"), 0U);
    EXPECT_EQ(countOf("99999999999999999999", "2"), 0U);
}

TEST(InheritedCount, ThatCannotBeMeantIsAnError) {
    EXPECT_EQ(errorOf("4711", "3"),
              "LISTEN_FDS is 3: a Unix socket and a port is all that is listened on");
    EXPECT_EQ(errorOf("4711", ""), "LISTEN_FDS is no number: ");
    EXPECT_EQ(errorOf("4711", "-1"), "LISTEN_FDS is no number: -1");
    EXPECT_EQ(errorOf("4711", "two"), "LISTEN_FDS is no number: two");
}

TEST(InheritedSocketsTaken, OfNoneThereAreNone) {
    const auto taken = takeInherited(0);
    ASSERT_TRUE(std::holds_alternative<InheritedSockets>(taken));
    EXPECT_EQ(std::get<InheritedSockets>(taken).unixListener, -1);
    EXPECT_EQ(std::get<InheritedSockets>(taken).tcpListener, -1);
}

} // namespace
} // namespace trevix
