#include "platform/linux/rules/accessible_tree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace kelvane {
namespace {

using namespace accessible;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr AccessibleRole kFrame = 23;
constexpr AccessibleRole kParagraph = 73;
constexpr AccessibleRole kTextRole = 61;
constexpr AccessibleRole kLink = 88;
constexpr AccessibleStates kOnScreen = kShowing | kVisible;

AccessibleRef at(const std::string& path) {
    return {":1.7", "/" + path};
}

TEST(AccessibleTree, NobodyIsAskedForChildrenThatAreMadeAsTheyAreAskedFor) {
    EXPECT_TRUE(mayAskChildren(kFrame, kOnScreen));
    EXPECT_FALSE(mayAskChildren(kFrame, kOnScreen | kManagesDescendants));
    EXPECT_FALSE(mayAskChildren(kTable, kOnScreen));
    EXPECT_FALSE(mayAskChildren(kTreeTable, kOnScreen));
}

TEST(AccessibleTree, OnlyWhatIsOnScreenIsLookedInto) {
    EXPECT_FALSE(mayAskChildren(kFrame, 0));
    EXPECT_TRUE(mayAskChildren(kFrame, kVisible)) << "containers of GTK 4 say no more";
    EXPECT_TRUE(mayAskChildren(kFrame, kShowing));
}

TEST(AccessibleTree, APasswordIsNotAskedForItsText) {
    EXPECT_FALSE(mayAskText(kPassword));
    EXPECT_FALSE(mayAskChildren(kPassword, kOnScreen));
    EXPECT_TRUE(mayAskText(kTextRole));
    EXPECT_TRUE(mayAskText(kTerminal));
}

TEST(AccessibleTree, TheOfficeSuiteShowsOnlyAPart) {
    const std::string suite = "/usr/lib/libreoffice/program/soffice.bin";
    EXPECT_FALSE(tellsWholeTexts("VCL", ""));
    EXPECT_FALSE(tellsWholeTexts("gtk", suite)) << "in the desktop's own look";
    for (const auto* const toolkit : {"gtk", "GTK", "Qt", "Gecko", ""}) {
        EXPECT_TRUE(tellsWholeTexts(toolkit, "/usr/bin/gedit")) << toolkit;
    }
}

TEST(AccessibleTree, NobodyIsAskedToSearchWhoWouldLookBelowTables) {
    EXPECT_TRUE(maySearch("Gecko"));
    for (const auto* const toolkit : {"gtk", "GTK", "Qt", "VCL", ""}) {
        EXPECT_FALSE(maySearch(toolkit)) << toolkit;
    }
}

TEST(FocusSearch, TakesTheDeepestThatKnowsOfSelections) {
    FocusSearch search;
    const auto window = at("w");
    const std::vector<AccessibleRef> rows{at("tab"), at("frame")};
    const std::vector<AccessibleRef> inside{at("text")};
    EXPECT_THAT(search.admit(nullptr, {window}), ElementsAre(window));
    EXPECT_THAT(search.admit(&window, rows), SizeIs(2));
    EXPECT_THAT(search.admit(&rows[0], inside), SizeIs(1));
    search.toldSelections(inside[0], 0);
    search.toldSelections(rows[1], 0); // Answered later, and is not as deep.
    EXPECT_EQ(search.focused(), inside[0]);
}

TEST(FocusSearch, OfSeveralAsDeepTheLastCounts) {
    FocusSearch search;
    const auto window = at("w");
    const std::vector<AccessibleRef> two{at("first"), at("second")};
    (void)search.admit(nullptr, {window});
    (void)search.admit(&window, two);
    search.toldSelections(two[1], 1);
    search.toldSelections(two[0], 1);
    EXPECT_EQ(search.focused(), two[1]);
}

TEST(FocusSearch, WhatKnowsOfNoSelectionsIsNoText) {
    FocusSearch search;
    (void)search.admit(nullptr, {at("w")});
    search.toldSelections(at("w"), -1);
    search.toldSelections(at("never admitted"), 3);
    EXPECT_EQ(search.focused(), std::nullopt);
}

TEST(FocusSearch, AsksNeitherBelowATableNorAPasswordForItsSelection) {
    FocusSearch search;
    (void)search.admit(nullptr, {at("w")});
    EXPECT_EQ(search.told(at("w"), kTable, kOnScreen | kFocused),
              (FocusSearch::Next{.children = false, .selections = true}));
    EXPECT_EQ(search.told(at("w"), kPassword, kOnScreen | kFocused),
              (FocusSearch::Next{.children = false, .selections = false}));
    EXPECT_EQ(search.told(at("w"), kFrame, kOnScreen),
              (FocusSearch::Next{.children = true, .selections = false}));
    EXPECT_EQ(search.told(at("w"), kFrame, kOnScreen | kFocused | kManagesDescendants),
              (FocusSearch::Next{.children = false, .selections = true}));
}

TEST(FocusSearch, LooksAtSoManyObjectsAndNoMore) {
    FocusSearch search(3);
    const auto window = at("w");
    (void)search.admit(nullptr, {window});
    EXPECT_THAT(search.admit(&window, {at("1"), at("2"), at("3")}), SizeIs(2));
    EXPECT_THAT(search.admit(&window, {at("4")}), IsEmpty());
}

TEST(FocusSearch, GoesInNoCircles) {
    FocusSearch search;
    const auto window = at("w");
    (void)search.admit(nullptr, {window});
    EXPECT_THAT(search.admit(&window, {window, at("child"), at("child")}),
                ElementsAre(at("child")));
}

TEST(FocusSearch, AnObjectThatIsNoneIsLeftOut) {
    FocusSearch search;
    EXPECT_THAT(search.admit(nullptr, {{":1.7", "/org/a11y/atspi/null"}}), IsEmpty());
}

AccessibleText piece(std::string text, AccessibleRole role = kParagraph) {
    const auto length = static_cast<std::int32_t>(text.size());
    return {.text = std::move(text),
            .selections = {{0, length}},
            .embedded = {},
            .block = isBlock(role)};
}

TEST(SelectedText, IsThePartBetweenTheMarksInCharacters) {
    const AccessibleText text{.text = "grüße an alle", .selections = {{2, 8}}, .embedded = {}};
    EXPECT_EQ(selectedText(text), "üße an");
}

TEST(SelectedText, MarksMayStandTheOtherWayRoundOrPastTheEnd) {
    EXPECT_EQ(selectedText({.text = "abc", .selections = {{3, 1}}, .embedded = {}}), "bc");
    EXPECT_EQ(selectedText({.text = "abc", .selections = {{1, 99}}, .embedded = {}}), "bc");
}

TEST(SelectedText, NothingIsAbsent) {
    EXPECT_EQ(selectedText({}), std::nullopt);
    EXPECT_EQ(selectedText({.text = "abc", .selections = {}, .embedded = {}}), std::nullopt);
    EXPECT_EQ(selectedText({.text = "abc", .selections = {{1, 1}}, .embedded = {}}), std::nullopt);
}

TEST(SelectedText, SplicesParagraphsInOnLinesOfTheirOwn) {
    const AccessibleText page{.text = "\uFFFC\uFFFC\uFFFC",
                              .selections = {{0, 2}},
                              .embedded = {piece("one"), piece("two"), piece("three")}};
    EXPECT_EQ(selectedText(page), "one\ntwo");
}

TEST(SelectedText, SplicesLinksInWhereTheyStand) {
    const AccessibleText line{
        .text = "see \uFFFC now", .selections = {{0, 9}}, .embedded = {piece("here", kLink)}};
    EXPECT_EQ(selectedText(line), "see here now");
}

TEST(SelectedText, ASelectionThatBeginsInsideTakesItsOwnPieceOfEach) {
    auto first = piece("first paragraph");
    first.selections = {{6, 15}};
    auto last = piece("last paragraph");
    last.selections = {{0, 4}};
    const AccessibleText page{
        .text = "\uFFFC\uFFFC", .selections = {{0, 2}}, .embedded = {first, last}};
    EXPECT_EQ(selectedText(page), "paragraph\nlast");
}

TEST(SelectedText, ATextWithAHoleIsNone) {
    const AccessibleText table{.text = "", .selections = {}, .embedded = {}, .whole = false};
    const AccessibleText page{
        .text = "\uFFFC\uFFFC", .selections = {{0, 2}}, .embedded = {piece("one"), table}};
    EXPECT_EQ(selectedText(page), std::nullopt);
    const AccessibleText missing{
        .text = "\uFFFC\uFFFC", .selections = {{0, 2}}, .embedded = {piece("one")}};
    EXPECT_EQ(selectedText(missing), std::nullopt);
    auto besides = page;
    besides.selections = {{0, 1}};
    EXPECT_EQ(selectedText(besides), "one") << "the hole is not in what is selected";
}

TEST(SelectedObjects, AreThoseAmongTheSelectedCharacters) {
    EXPECT_THAT(selectedObjects("a\uFFFCb\uFFFC\uFFFC", {{2, 4}}), ElementsAre(1));
    EXPECT_THAT(selectedObjects("a\uFFFCb\uFFFC\uFFFC", {{0, 2}, {4, 5}}), ElementsAre(0, 2));
    EXPECT_THAT(selectedObjects("abc", {{0, 3}}), IsEmpty());
}

TEST(SilentNames, AreForgottenForHalfAMinute) {
    SilentNames silent;
    EXPECT_FALSE(silent.holds(":1.7", 5s));
    silent.add(":1.7", 5s);
    EXPECT_TRUE(silent.holds(":1.7", 34s));
    EXPECT_FALSE(silent.holds(":1.8", 34s));
    EXPECT_FALSE(silent.holds(":1.7", 35s));
}

// ---- who it is
// -----------------------------------------------------------------------------------

DesktopEntry entry(const std::string& id, const std::string& exec = {}) {
    DesktopEntry made;
    made.id = id;
    made.name = id;
    made.exec = exec;
    return made;
}

std::unique_ptr<const DesktopEntryIndex> installed() {
    auto terminal = entry("org.gnome.Terminal", "gnome-terminal");
    terminal.categories = {"TerminalEmulator"};
    return std::make_unique<const DesktopEntryIndex>(
        std::vector<DesktopEntry>{entry("org.gnome.TextEditor", "gnome-text-editor %U"), terminal,
                                  entry("libreoffice-startcenter", "libreoffice %U"),
                                  entry("libreoffice-writer", "libreoffice --writer %U"),
                                  entry("libreoffice-calc", "libreoffice --calc %U")});
}

std::string identityOf(const std::string& executable, const std::string& application,
                       const std::string& title) {
    WindowFacts facts;
    facts.executable = executable;
    const auto identity = identify(accessibleFacts(facts, application, title), *installed());
    return identity ? identity->id : "nobody";
}

TEST(AccessibleIdentity, ComesFromTheProgramBehindTheWindow) {
    EXPECT_EQ(identityOf("/usr/bin/gnome-text-editor", "gnome-text-editor", "a.txt"),
              "org.gnome.TextEditor");
    EXPECT_EQ(identityOf("/opt/own/tool", "Own Tool", "x"), "wmclass:own tool");
}

TEST(AccessibleIdentity, TheTerminalsServerIsTheTerminal) {
    EXPECT_EQ(identityOf("/usr/libexec/gnome-terminal-server", "gnome-terminal-server", "me@here"),
              "org.gnome.Terminal");
    WindowFacts byClass;
    byClass.wmClass = "gnome-terminal-server";
    const auto identity = identify(byClass, *installed());
    ASSERT_TRUE(identity);
    EXPECT_EQ(identity->id, "org.gnome.Terminal");
    EXPECT_FALSE(identity->takesKeys);
}

TEST(AccessibleIdentity, TheOfficeSuiteIsKnownByHowItsTitleEnds) {
    const std::string soffice = "/usr/lib/libreoffice/program/soffice.bin";
    EXPECT_EQ(identityOf(soffice, "soffice", "a.odt - LibreOffice Writer"), "libreoffice-writer");
    EXPECT_EQ(identityOf(soffice, "soffice", "a.ods \u2014 LibreOffice Calc"), "libreoffice-calc");
    EXPECT_EQ(identityOf("", "libreoffice-startcenter", "a.ods - LibreOffice Calc"),
              "libreoffice-calc")
        << "its first window keeps the name of the one before it";
    EXPECT_EQ(identityOf("/usr/bin/gnome-text-editor", "gnome-text-editor",
                         "How to use - LibreOffice Calc"),
              "org.gnome.TextEditor")
        << "a title proves nothing of another program";
}

} // namespace
} // namespace kelvane
