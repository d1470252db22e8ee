#include "platform/linux/common/clipboard_memory.h"

#include <gtest/gtest.h>

namespace kelvane {
namespace {

ClipboardCopy holding(const std::string& text) {
    return {std::make_shared<const ClipboardContent>(
                ClipboardContent{{std::string(kUtf8String), std::string(kUtf8String), 8, text}}),
            false};
}

std::string textOf(const ClipboardMemory::Content& content) {
    return content ? textAmong(*content).value_or("(no text)") : "(nothing)";
}

ClipboardCopy notToBeRead() {
    ADD_FAILURE() << "nothing changed, and nobody holds what was remembered";
    return {};
}

TEST(ClipboardMemoryTest, handsOutTheTextAndTheCount) {
    ClipboardMemory memory;
    const auto handed = memory.remember(holding("mine"), 7);
    EXPECT_EQ(handed.string, "mine");
    EXPECT_EQ(handed.changeCount, 7);
    EXPECT_EQ(textOf(memory.toPutBack(handed)), "mine");
    EXPECT_FALSE(memory.lost());
}

TEST(ClipboardMemoryTest, anEmptyClipboardIsRememberedToo) {
    ClipboardMemory memory;
    const auto handed = memory.remember({}, 7);
    EXPECT_EQ(handed.string, std::nullopt);
    ASSERT_TRUE(memory.held());
    EXPECT_EQ(*memory.held(), nullptr);
    EXPECT_EQ(memory.toPutBack(handed), nullptr);
}

TEST(ClipboardMemoryTest, livesAsLongAsWhatWasHandedOut) {
    ClipboardMemory memory;
    std::weak_ptr<const ClipboardContent> content;
    {
        auto seen = holding("a password");
        content = seen.content;
        const auto handed = memory.remember(std::move(seen), 7);
        EXPECT_FALSE(content.expired());
        EXPECT_TRUE(memory.held());
    }
    EXPECT_TRUE(content.expired());
    EXPECT_EQ(memory.held(), std::nullopt);
    EXPECT_EQ(memory.renew(8, notToBeRead), std::nullopt);
}

TEST(ClipboardMemoryTest, whatCouldNotBeKeptIsKnownPastThat) {
    ClipboardMemory memory;
    EXPECT_FALSE(memory.lost());
    (void)memory.remember({nullptr, true}, 7);
    EXPECT_TRUE(memory.lost());
    (void)memory.remember({}, 8);
    EXPECT_FALSE(memory.lost());
}

TEST(ClipboardMemoryTest, isRenewedWhereTheClipboardMoved) {
    ClipboardMemory memory;
    const auto handed = memory.remember(holding("old"), 7);
    EXPECT_EQ(memory.renew(7, notToBeRead), std::nullopt);
    EXPECT_EQ(memory.renew(9, [] { return holding("new"); }), 7);
    EXPECT_EQ(handed.string, "old");
    EXPECT_EQ(textOf(memory.toPutBack(handed)), "new");
    EXPECT_EQ(textOf(memory.held().value_or(nullptr)), "new");
    EXPECT_EQ(memory.renew(9, [] { return ClipboardCopy{nullptr, true}; }), 7);
    EXPECT_TRUE(memory.lost());
}

TEST(ClipboardMemoryTest, anEarlierOneIsPutBackAsItWasHandedOut) {
    ClipboardMemory memory;
    const auto first = memory.remember(holding("first"), 7);
    (void)memory.renew(8, [] { return holding("renewed"); });
    const auto second = memory.remember(holding("second"), 9);
    EXPECT_EQ(textOf(memory.toPutBack(first)), "first");
    EXPECT_EQ(textOf(memory.toPutBack(second)), "second");
}

} // namespace
} // namespace kelvane
