// What every pasteboard promises, whatever is behind it.
//
// A test program that includes this brings a pasteboard of its kind, and instantiates
// `PasteboardContract` with it.

#pragma once

#include "platform/ports/pasteboard.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <ostream>
#include <string>

namespace kelvane {

/// One pasteboard, and another application that copies.
class PasteboardOfSystem {
public:
    virtual ~PasteboardOfSystem() = default;
    virtual Pasteboard& pasteboard() = 0;
    virtual void anotherApplicationCopies(const std::string& text) = 0;
};

struct PasteboardKind {
    std::string name;
    std::unique_ptr<PasteboardOfSystem> (*make)();
};

/// By its name and not by its bytes, which differ from build to build.
inline void PrintTo(const PasteboardKind& kind, std::ostream* out) {
    *out << kind.name;
}

class PasteboardContract : public testing::TestWithParam<PasteboardKind> {
protected:
    std::unique_ptr<PasteboardOfSystem> system = GetParam().make();
    Pasteboard& pasteboard = system->pasteboard();
};

TEST_P(PasteboardContract, holdsNothingAtFirst) {
    EXPECT_EQ(pasteboard.string(), std::nullopt);
    const auto memory = pasteboard.remember();
    EXPECT_EQ(memory.string, std::nullopt);
    EXPECT_EQ(memory.changeCount, pasteboard.changeCount());
}

TEST_P(PasteboardContract, holdsWhatWasSet) {
    for (const auto& text : {std::string("plain"), std::string("grüße 😀\r\n\t"), std::string(),
                             std::string("a\0b", 3), std::string(2'000'000, 'x')}) {
        pasteboard.setString(text);
        EXPECT_TRUE(pasteboard.string() == text);
    }
}

TEST_P(PasteboardContract, holdsNothingOnceCleared) {
    pasteboard.setString("text");
    const auto before = pasteboard.changeCount();
    pasteboard.clearContents();
    EXPECT_EQ(pasteboard.string(), std::nullopt);
    EXPECT_NE(pasteboard.changeCount(), before);
}

TEST_P(PasteboardContract, countsCopiesAndNothingElse) {
    pasteboard.setString("mine");
    const auto before = pasteboard.changeCount();
    (void)pasteboard.string();
    (void)pasteboard.remember();
    EXPECT_EQ(pasteboard.changeCount(), before);
    system->anotherApplicationCopies("theirs");
    const auto after = pasteboard.changeCount();
    EXPECT_NE(after, before);
    EXPECT_EQ(pasteboard.string(), "theirs");
    EXPECT_EQ(pasteboard.changeCount(), after);
    system->anotherApplicationCopies("theirs");
    EXPECT_NE(pasteboard.changeCount(), after) << "the same text again is a copy as well";
}

TEST_P(PasteboardContract, countsTheFirstCopyOfAll) {
    const auto before = pasteboard.changeCount();
    system->anotherApplicationCopies("theirs");
    EXPECT_NE(pasteboard.changeCount(), before);
}

TEST_P(PasteboardContract, remembersTextAndCount) {
    system->anotherApplicationCopies("theirs");
    const auto memory = pasteboard.remember();
    EXPECT_EQ(memory.string, "theirs");
    EXPECT_EQ(memory.changeCount, pasteboard.changeCount());
}

TEST_P(PasteboardContract, bringsBackWhatWasRemembered) {
    system->anotherApplicationCopies("theirs: grüße\n");
    const auto memory = pasteboard.remember();
    pasteboard.setString("something else");
    pasteboard.putBack(memory);
    EXPECT_EQ(pasteboard.string(), "theirs: grüße\n");
    pasteboard.putBack(memory);
    EXPECT_EQ(pasteboard.string(), "theirs: grüße\n") << "once more changes nothing";
}

TEST_P(PasteboardContract, bringsBackNothingWhereNothingWas) {
    const auto memory = pasteboard.remember();
    pasteboard.setString("something else");
    pasteboard.putBack(memory);
    EXPECT_EQ(pasteboard.string(), std::nullopt);
}

} // namespace kelvane
