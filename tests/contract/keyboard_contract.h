// What every keyboard promises, whatever posts its keys: who is in front is asked to copy, and
// nobody else.
//
// A test program that includes this brings a keyboard of its kind, and instantiates
// `KeyboardContract` with it.

#pragma once

#include "platform/ports/keyboard.h"
#include "platform/ports/pasteboard.h"
#include "tests/platform/linux/test_programs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace kelvane {

/// One keyboard, and applications on the same desktop that write down the keys they get.
class KeysOfSystem {
public:
    virtual ~KeysOfSystem() = default;
    virtual Keyboard& keyboard() = 0;
    virtual Pasteboard& pasteboard() = 0;

    /// Opens the window of an application with this text in it, all of it selected, in front.
    virtual ProcessId open(const std::string& text) = 0;
    virtual void close(ProcessId application) = 0;
    /// All that it has got so far, like "+37", pressed, and "-37", let go, as X servers number
    /// keys.
    virtual std::vector<std::string> keys(ProcessId application) = 0;
};

struct KeyboardKind {
    const char* name;
    std::unique_ptr<KeysOfSystem> (*make)();
};

/// By its name and not by its bytes, which differ from build to build.
inline void PrintTo(const KeyboardKind& kind, std::ostream* out) {
    *out << kind.name;
}

/// Control and Insert.
inline constexpr std::array kKeysOfACopy{"+37", "+118", "-118", "-37"};

class KeyboardContract : public testing::TestWithParam<KeyboardKind> {
protected:
    void SetUp() override {
        system = GetParam().make();
        ASSERT_NE(system, nullptr);
    }
    Keyboard& keyboard() { return system->keyboard(); }

    /// Asks an application that is in front until the keys of a copy have come there, and returns
    /// how often it was asked: a desktop that is busy may not say in time who is in front.
    std::ptrdiff_t askUntilKeysCome(ProcessId front) {
        std::ptrdiff_t asked = 0;
        EXPECT_TRUE(TestPrograms::waitUntil([&] {
            ++asked;
            keyboard().postCopy(front);
            return copiesAskedOf(front) > 0;
        }));
        return asked;
    }
    std::ptrdiff_t copiesAskedOf(ProcessId application) {
        return std::ranges::count(system->keys(application), std::string(kKeysOfACopy[2]));
    }

    std::unique_ptr<KeysOfSystem> system;
};

TEST_P(KeyboardContract, isTrustedWhereKeysCanBePosted) {
    EXPECT_TRUE(keyboard().trusted());
}

TEST_P(KeyboardContract, whoIsInFrontGetsControlInsertAndNothingElse) {
    const auto front = system->open("one");
    askUntilKeysCome(front);
    std::vector<std::string> keys;
    ASSERT_TRUE(TestPrograms::waitUntil([&] {
        keys = system->keys(front);
        return keys.size() % kKeysOfACopy.size() == 0;
    }));
    for (std::size_t i = 0; i < keys.size(); ++i) {
        EXPECT_EQ(keys[i], kKeysOfACopy[i % kKeysOfACopy.size()]) << i;
    }
}

TEST_P(KeyboardContract, whatIsSelectedThereIsOnThePasteboardAfterwards) {
    system->pasteboard().setString("mine");
    const auto front = system->open("one");
    const auto memory = system->pasteboard().remember();
    EXPECT_TRUE(TestPrograms::waitUntil([&] {
        keyboard().postCopy(front);
        const auto isCopied = [&] {
            return system->pasteboard().changeCount() != memory.changeCount;
        };
        return TestPrograms::waitUntil(isCopied, std::chrono::seconds(1)) &&
               system->pasteboard().string() == "one";
    }));
    system->pasteboard().putBack(memory);
    EXPECT_EQ(system->pasteboard().string(), "mine");
}

TEST_P(KeyboardContract, whoIsNotInFrontIsNotAskedNorIsWhoever) {
    const auto behind = system->open("one");
    const auto front = system->open("two");
    keyboard().postCopy(behind);
    const auto asked = askUntilKeysCome(front);
    EXPECT_LE(copiesAskedOf(front), asked);
    EXPECT_THAT(system->keys(behind), testing::IsEmpty());
}

TEST_P(KeyboardContract, inPlaceOfWhoHasEndedNobodyIsAsked) {
    const auto ended = system->open("one");
    system->close(ended);
    const auto front = system->open("two");
    keyboard().postCopy(ended);
    const auto asked = askUntilKeysCome(front);
    EXPECT_LE(copiesAskedOf(front), asked);
}

} // namespace kelvane
