// What the ports themselves answer from what their adapters do.

#include "platform/fake/fakes.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace kelvane {
namespace {

TEST(RunningApplicationsWithIdentifier, AreExactMatchesInOrder) {
    FakePlatform fake;
    const RunningApp first{.bundleId = "org.example.editor", .name = "one", .pid = 3};
    const RunningApp second{.bundleId = "org.example.editor", .name = "two", .pid = 1};
    fake.workspace.running = {
        {.bundleId = std::nullopt, .name = "org.example.editor", .pid = 9},
        first,
        {.bundleId = "org.example.Editor", .name = "x", .pid = 4},
        {.bundleId = "org.example.editor.beta", .name = "x", .pid = 5},
        second,
    };
    EXPECT_EQ(fake.workspace.instancesOf("org.example.editor"),
              (std::vector<RunningApp>{first, second}));
    EXPECT_TRUE(fake.workspace.instancesOf("org.example").empty());
}

TEST(RunningApplicationsWithIdentifier, EmptyIdentifierIsNotAnAbsentOne) {
    FakePlatform fake;
    fake.workspace.running = {{.bundleId = std::nullopt, .name = "x", .pid = 1}};
    EXPECT_TRUE(fake.workspace.instancesOf("").empty());
}

TEST(PasteboardMemoryDefault, RemembersTextAndCount) {
    FakePlatform fake;
    fake.pasteboard.text = "words";
    fake.pasteboard.count = 17;
    const auto memory = fake.pasteboard.remember();
    EXPECT_EQ(memory.string, "words");
    EXPECT_EQ(memory.changeCount, 17);
    EXPECT_EQ(memory.formats, nullptr);
    EXPECT_TRUE(fake.journal.entries().empty());
}

TEST(PasteboardMemoryDefault, PutsTextBackByClearingAndSetting) {
    FakePlatform fake;
    fake.pasteboard.putBack({.string = "words", .changeCount = 1, .formats = nullptr});
    EXPECT_EQ(fake.pasteboard.text, "words");
    EXPECT_EQ(fake.journal.entries(), (std::vector<std::string>{"clear", "set words"}));
}

TEST(PasteboardMemoryDefault, PutsNothingBackByClearingOnly) {
    FakePlatform fake;
    fake.pasteboard.text = "replaced";
    fake.pasteboard.putBack({.string = std::nullopt, .changeCount = 1, .formats = nullptr});
    EXPECT_EQ(fake.pasteboard.text, std::nullopt);
    EXPECT_EQ(fake.journal.entries(), std::vector<std::string>{"clear"});
}

TEST(PasteboardMemoryDefault, EmptyTextIsPutBackAsText) {
    FakePlatform fake;
    fake.pasteboard.putBack({.string = "", .changeCount = 1, .formats = nullptr});
    EXPECT_EQ(fake.pasteboard.text, "");
}

} // namespace
} // namespace kelvane
