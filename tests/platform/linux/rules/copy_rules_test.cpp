#include "platform/linux/rules/copy_rules.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace kelvane {
namespace {

using namespace std::chrono_literals;

TEST(ServerTime, countsAcrossTheWrap) {
    EXPECT_EQ(serverTimeBetween(1000, 1180), 180ms);
    EXPECT_EQ(serverTimeBetween(1180, 1000), -180ms);
    EXPECT_EQ(serverTimeBetween(0xFFFFFFF0U, 0x10U), 32ms);
    EXPECT_EQ(serverTimeBetween(0x10U, 0xFFFFFFF0U), -32ms);
}

TEST(ProvenanceOf, followsClientsFirstAndProcessesThen) {
    constexpr std::uint32_t kMask = 0x001FFFFF;
    struct Case {
        std::string name;
        SelectionParty owner;
        SelectionParty asked;
        pid_t process;
        Provenance expected;
    };
    const Case cases[] = {
        {"nobody owns it", {0, std::nullopt}, {0x0A00001, 7}, 7, Provenance::Unknown},
        {"another window of the same client",
         {0x0A00099, std::nullopt},
         {0x0A00001, std::nullopt},
         0,
         Provenance::Target},
        {"another client of the same process",
         {0x0C00001, 7},
         {0x0A00001, 7},
         7,
         Provenance::Target},
        {"the process is known by its window only",
         {0x0C00001, 7},
         {0x0A00001, std::nullopt},
         7,
         Provenance::Target},
        {"a sandboxed process calls itself 2",
         {0x0C00001, 4711},
         {0x0A00001, 4711},
         2,
         Provenance::Target},
        {"another process", {0x0C00001, 8}, {0x0A00001, 7}, 7, Provenance::Other},
        {"another process, the server knows ours",
         {0x0C00001, 8},
         {0x0A00001, 7},
         0,
         Provenance::Other},
        {"the owner is elsewhere",
         {0x0C00001, std::nullopt},
         {0x0A00001, 7},
         7,
         Provenance::Unknown},
        {"the asked one is elsewhere",
         {0x0C00001, 8},
         {0x0A00001, std::nullopt},
         0,
         Provenance::Unknown},
        {"no window was asked, its process was",
         {0x0C00001, 7},
         {0, std::nullopt},
         7,
         Provenance::Target},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(provenanceOf(c.owner, c.asked, c.process, kMask), c.expected) << c.name;
    }
}

TEST(CopyOutcome, prefersTheClipboardAndDistrustsAnOldSelection) {
    struct Case {
        std::string name;
        CopyFacts facts;
        CopyOutcome expected;
    };
    const Case cases[] = {
        {"the key changed the clipboard",
         {true, true, Provenance::Unknown, std::nullopt},
         CopyOutcome::Clipboard},
        {"the key changed the clipboard, PRIMARY is there as well",
         {true, true, Provenance::Target, 10ms},
         CopyOutcome::Clipboard},
        {"nothing changed and nothing is selected",
         {true, false, Provenance::Unknown, std::nullopt},
         CopyOutcome::Nothing},
        {"a fresh selection of the application",
         {true, false, Provenance::Target, 59s},
         CopyOutcome::Primary},
        {"just fresh enough", {true, false, Provenance::Target, 60s}, CopyOutcome::Primary},
        {"left over from before", {true, false, Provenance::Target, 60001ms}, CopyOutcome::Nothing},
        {"selected at an unknown time",
         {true, false, Provenance::Target, std::nullopt},
         CopyOutcome::Nothing},
        {"a fresh selection of another program",
         {true, false, Provenance::Other, 10ms},
         CopyOutcome::Nothing},
        {"a fresh selection of who knows whom",
         {true, false, Provenance::Unknown, 10ms},
         CopyOutcome::Nothing},
        {"a terminal's selection", {false, false, Provenance::Target, 60s}, CopyOutcome::Primary},
        {"a terminal's selection of a while ago",
         {false, false, Provenance::Target, 60001ms},
         CopyOutcome::Nothing},
        {"a terminal's selection from before we listened",
         {false, false, Provenance::Target, std::nullopt},
         CopyOutcome::Nothing},
        {"another program changed the clipboard",
         {true, true, Provenance::Unknown, std::nullopt, Provenance::Other, true},
         CopyOutcome::Nothing},
        {"another program changed the clipboard after the application did",
         {true, true, Provenance::Unknown, std::nullopt, Provenance::Other, false},
         CopyOutcome::Nothing},
        {"another program changed the clipboard, and there is a fresh selection",
         {true, true, Provenance::Target, 10ms, Provenance::Other, true},
         CopyOutcome::Primary},
        {"the application changed the clipboard after another program did",
         {true, true, Provenance::Unknown, std::nullopt, Provenance::Target, false},
         CopyOutcome::Clipboard},
        {"two clients of whom the server does not know whose they are",
         {true, true, Provenance::Unknown, std::nullopt, Provenance::Unknown, false},
         CopyOutcome::Nothing},
        {"an application that answers keys says nothing",
         {true, false, Provenance::Target, 10ms, Provenance::Unknown, true, true},
         CopyOutcome::Nothing},
        {"an application that answers keys answers",
         {true, true, Provenance::Target, 10ms, Provenance::Target, true, true},
         CopyOutcome::Clipboard},
        {"a terminal is asked by no key, whatever it answered before",
         {false, false, Provenance::Target, 10ms, Provenance::Unknown, true, true},
         CopyOutcome::Primary},
        {"a terminal without a selection",
         {false, false, Provenance::Unknown, std::nullopt},
         CopyOutcome::Nothing},
        {"a terminal, while another program selected",
         {false, false, Provenance::Other, 10ms},
         CopyOutcome::Nothing},
        {"a terminal, while another program copied",
         {false, true, Provenance::Other, 10ms},
         CopyOutcome::Nothing},
        {"a terminal's selection, while another program copied",
         {false, true, Provenance::Target, 10ms},
         CopyOutcome::Primary},
    };
    for (const auto& c : cases) EXPECT_EQ(copyOutcome(c.facts), c.expected) << c.name;
}

TEST(TellsWhenAsked, whoHasAKeyAndPrimaryAndHasNotCopied) {
    CopyFacts facts;
    facts.keyPosted = true;
    facts.primaryOwner = Provenance::Target;
    EXPECT_TRUE(tellsWhenAsked(facts));
    facts.hasAnswered = true;
    EXPECT_TRUE(tellsWhenAsked(facts)) << "the more so";

    const auto changed = [&](auto change) {
        auto other = facts;
        change(other);
        return tellsWhenAsked(other);
    };
    EXPECT_FALSE(changed([](auto& f) { f.keyPosted = false; }));
    EXPECT_FALSE(changed([](auto& f) { f.clipboardChanged = true; }));
    EXPECT_FALSE(changed([](auto& f) { f.primaryOwner = Provenance::Other; }));
    EXPECT_FALSE(changed([](auto& f) { f.primaryOwner = Provenance::Unknown; }));
}

TEST(MayPutBack, replacesOnlyWhatOurCopyMade) {
    struct Case {
        std::string name;
        ClipboardFacts facts;
        bool expected;
    };
    const Case cases[] = {
        {"our copy made it", {false, true, true, Provenance::Target, true}, true},
        {"our copy made it after someone else",
         {false, true, true, Provenance::Target, false},
         true},
        {"the user copied elsewhere after our copy",
         {false, true, true, Provenance::Other, false},
         false},
        {"only someone else changed it", {false, true, true, Provenance::Other, true}, false},
        {"one client that the server knows no process of",
         {false, true, true, Provenance::Unknown, true},
         true},
        {"two clients that the server knows no process of",
         {false, true, true, Provenance::Unknown, false},
         false},
        {"nothing changed", {false, true, false, Provenance::Unknown, true}, false},
        {"no key was posted", {false, false, true, Provenance::Target, true}, false},
        {"it is ours already", {true, false, false, Provenance::Unknown, true}, true},
    };
    for (const auto& c : cases) EXPECT_EQ(mayPutBack(c.facts), c.expected) << c.name;
}

TEST(IsLateCopy, tellsTheAnswerToOurKeyFromTheUsersOwnCopy) {
    const LateChangeFacts late{.keyPosted = true,
                               .decided = true,
                               .remembered = true,
                               .change = Provenance::Target,
                               .selectedAfterKey = 1ms,
                               .arrivedAfterKey = 900ms};
    EXPECT_TRUE(isLateCopy(late));

    const auto changed = [&](auto change) {
        auto facts = late;
        change(facts);
        return isLateCopy(facts);
    };
    EXPECT_TRUE(changed([](auto& f) { f.selectedAfterKey = kKeyEcho; }));
    EXPECT_TRUE(changed([](auto& f) { f.selectedAfterKey = -5ms; }));
    EXPECT_TRUE(changed([](auto& f) { f.arrivedAfterKey = kLateCopyWatch; }));

    EXPECT_FALSE(changed([](auto& f) { f.keyPosted = false; })) << "no key of ours";
    EXPECT_FALSE(changed([](auto& f) { f.decided = false; })) << "it is still waited for";
    EXPECT_FALSE(changed([](auto& f) { f.remembered = false; })) << "nothing to put back";
    EXPECT_FALSE(changed([](auto& f) { f.change = Provenance::Other; })) << "another program";
    EXPECT_FALSE(changed([](auto& f) { f.change = Provenance::Unknown; })) << "who knows whose";
    EXPECT_FALSE(changed([](auto& f) { f.selectedAfterKey = kKeyEcho + 1ms; }))
        << "the user's own copy, made in the same application a little later";
    EXPECT_FALSE(changed([](auto& f) { f.selectedAfterKey = -kKeyEcho - 1ms; }))
        << "the user's own copy, made earlier by an application that is slow to announce it";
    EXPECT_FALSE(changed([](auto& f) { f.arrivedAfterKey = kLateCopyWatch + 1ms; })) << "too late";
}

TEST(AnsweredKey, isTheOldestOfWhoeverCopied) {
    struct Case {
        std::string name;
        std::vector<UnansweredKey> keys;
        std::optional<std::size_t> expected;
    };
    const auto target = Provenance::Target;
    const auto other = Provenance::Other;
    const Case cases[] = {
        {"no key", {}, std::nullopt},
        {"at once", {{target, 1ms, {}}}, 0},
        {"long after anybody waited", {{target, 2000ms, {}}}, 0},
        {"too late", {{target, 2001ms, {}}}, std::nullopt},
        {"the first of two", {{target, 900ms, {}}, {target, 300ms, {}}}, 0},
        {"the first is too old", {{target, 2900ms, {}}, {target, 300ms, {}}}, 1},
        {"the first asked somebody else", {{other, 900ms, {}}, {target, 300ms, {}}}, 1},
        {"copied elsewhere", {{other, 10ms, {}}}, std::nullopt},
        {"who knows where", {{Provenance::Unknown, 10ms, {}}}, std::nullopt},
        {"a selection and a key that came late together", {{target, 900ms, 99ms}}, 0},
        {"selected and copied by hand since", {{target, 900ms, 100ms}}, std::nullopt},
        {"selected between two keys", {{target, 900ms, 500ms}, {target, 300ms, {}}}, 1},
    };
    for (const auto& c : cases) EXPECT_EQ(answeredKey(c.keys), c.expected) << c.name;
}

} // namespace
} // namespace kelvane
