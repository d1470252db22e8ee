#include "platform/linux/common/copy_pasteboard.h"

#include "platform/linux/common/clipboard_formats.h"
#include "platform/linux/rules/copy_rules.h"
#include "tests/platform/linux/x11/clipboard_desktop_test.h"

#include <gmock/gmock.h>

#include <sys/types.h>

#include <future>
#include <string>

namespace kelvane {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr auto kBounded = 2s;

std::string longText(std::size_t size) {
    std::string text;
    text.reserve(size + 32);
    for (std::size_t line = 0; text.size() < size; ++line) {
        text += "line " + std::to_string(line) + " of a long text\n";
    }
    text.resize(size);
    return text;
}

/// Bytes of every value, as a picture has.
std::string pictureBytes(std::size_t size) {
    std::string bytes = "\x89PNG\r\n\x1a\n";
    std::uint32_t state = 1;
    while (bytes.size() < size) {
        state = state * 1664525U + 1013904223U;
        bytes.push_back(static_cast<char>(state >> 24U));
    }
    return bytes;
}

OwnerScript says(const std::string& text) {
    return {.values = {{"UTF8_STRING", {"UTF8_STRING", text}}}};
}

class X11PasteboardTest : public ClipboardDesktopTest<X11PasteboardTest> {
public:
    inline static const DesktopOptions kDesktop{.windowManager = false, .sessionBus = false};

protected:
    ClipboardPorts ports{desktop().display()};
    Pasteboard& pasteboard = *ports.pasteboard;

    /// The asked application is this very process, in which the scripted owners live.
    void askToCopy(bool takesKeys = true) {
        ports.target = CopyTarget{::getpid(), 0, takesKeys};
        ports.keyboard->postCopy(1);
    }
};

TEST_F(X11PasteboardTest, anEmptyClipboardHoldsNothing) {
    EXPECT_EQ(pasteboard.string(), std::nullopt);
    EXPECT_EQ(pasteboard.changeCount(), pasteboard.changeCount());
    const auto memory = pasteboard.remember();
    EXPECT_EQ(memory.string, std::nullopt);
    EXPECT_EQ(memory.changeCount, pasteboard.changeCount());
}

TEST_F(X11PasteboardTest, readsWhatAnotherProgramCopied) {
    const auto before = pasteboard.changeCount();
    otherProgramCopies("grüße 😀\n");
    EXPECT_EQ(pasteboard.changeCount(), before + 1);
    EXPECT_EQ(pasteboard.string(), "grüße 😀\n");
    EXPECT_EQ(pasteboard.changeCount(), before + 1);
}

TEST_F(X11PasteboardTest, readsALongTextInPieces) {
    const auto text = longText(5'400'000);
    otherProgramCopies(text);
    EXPECT_TRUE(pasteboard.string() == text);
}

TEST_F(X11PasteboardTest, readsLatin1WhereNothingBetterIsOffered) {
    ScriptedOwner owner(desktop().display(), {.values = {{"STRING", {"STRING", "gr\xFC\xDF"}}}});
    owner.own();
    EXPECT_EQ(pasteboard.string(), "grüß");
}

TEST_F(X11PasteboardTest, readsPlainTextOfAnOwnerThatKnowsNoXNames) {
    ScriptedOwner owner(desktop().display(), {.values = {{"text/plain;charset=utf-8",
                                                          {"text/plain;charset=utf-8", "naïve"}}}});
    owner.own();
    EXPECT_EQ(pasteboard.string(), "naïve");
}

TEST_F(X11PasteboardTest, repairsBrokenUtf8AndDropsOneNulAtTheEnd) {
    ScriptedOwner owner(desktop().display(), says(std::string("a\xFFz\0", 4)));
    owner.own();
    EXPECT_EQ(pasteboard.string(), "a\xEF\xBF\xBDz");
}

TEST_F(X11PasteboardTest, aPictureIsNoText) {
    otherProgramCopies(pictureBytes(1000), "image/png");
    EXPECT_EQ(pasteboard.string(), std::nullopt);
}

TEST_F(X11PasteboardTest, garbageTypesAreNoText) {
    ScriptedOwner owner(desktop().display(),
                        {.values = {{"UTF8_STRING", {"INTEGER", "abcdefgh", 32}},
                                    {"STRING", {"PIXMAP", "abcd", 32}},
                                    {"text/plain;charset=utf-8", {"UTF8_STRING", "abcd", 16}}}});
    owner.own();
    EXPECT_EQ(pasteboard.string(), std::nullopt);
    EXPECT_EQ(pasteboard.remember().string, std::nullopt);
}

TEST_F(X11PasteboardTest, fallsBackToTheNextTextWhenOneIsGarbage) {
    ScriptedOwner owner(desktop().display(), {.values = {{"UTF8_STRING", {"INTEGER", "abcd", 32}},
                                                         {"STRING", {"STRING", "fine"}}}});
    owner.own();
    EXPECT_EQ(pasteboard.string(), "fine");
}

// ---- owners that misbehave ---------------------------------------------------------------------

TEST_F(X11PasteboardTest, anOwnerThatNeverAnswersCostsABoundedTime) {
    ScriptedOwner owner(desktop().display(), {.silent = true});
    owner.own();
    EXPECT_LT(timeOf([&] { EXPECT_EQ(pasteboard.string(), std::nullopt); }), kBounded);
    EXPECT_EQ(owner.asked().size(), 1U) << "asked again although it does not answer";
    EXPECT_LT(timeOf([&] { EXPECT_EQ(pasteboard.remember().string, std::nullopt); }), kBounded);
    EXPECT_THAT(owner.asked(), ElementsAre("UTF8_STRING", "TARGETS"));
}

TEST_F(X11PasteboardTest, anOwnerThatStopsHalfWayHasNothingToGive) {
    auto script = says(longText(500'000));
    script.chunk = 100'000;
    script.stopAfterChunk = 2;
    ScriptedOwner owner(desktop().display(), script);
    owner.own();
    EXPECT_LT(timeOf([&] { EXPECT_EQ(pasteboard.string(), std::nullopt); }), kBounded);
}

TEST_F(X11PasteboardTest, anOwnerThatDiesHalfWayHasNothingToGive) {
    auto script = says(longText(500'000));
    script.chunk = 100'000;
    script.dieAfterChunk = 2;
    ScriptedOwner owner(desktop().display(), script);
    owner.own();
    EXPECT_LT(timeOf([&] { EXPECT_EQ(pasteboard.string(), std::nullopt); }), kBounded);
    EXPECT_EQ(pasteboard.string(), std::nullopt);
}

TEST_F(X11PasteboardTest, aSlowOwnerIsWaitedForAsLongAsItMoves) {
    const auto text = longText(5'000'000);
    auto script = says(text);
    script.chunk = 500'000;
    script.pause = 60ms; // 660 ms in all: more than one silence may last.
    ScriptedOwner owner(desktop().display(), script);
    owner.own();
    EXPECT_TRUE(pasteboard.string() == text);
}

TEST_F(X11PasteboardTest, anOwnerThatDripsForEverIsLeft) {
    auto script = says(longText(1'000'000));
    script.chunk = 4;
    script.pause = 100ms;
    ScriptedOwner owner(desktop().display(), script);
    owner.own();
    EXPECT_LT(timeOf([&] { EXPECT_EQ(pasteboard.string(), std::nullopt); }), kLongestRead + 1s);
}

TEST_F(X11PasteboardTest, anOwnerThatRefusesAtFirstIsAskedOnceMore) {
    auto script = says("second try");
    script.refuseFirst = textTargets().size();
    ScriptedOwner owner(desktop().display(), script);
    owner.own();
    EXPECT_EQ(pasteboard.string(), "second try");
}

TEST_F(X11PasteboardTest, anOwnerThatLetsGoForAMomentChangesTheCountOnce) {
    ScriptedOwner owner(desktop().display(), says("office"));
    owner.own();
    const auto before = pasteboard.changeCount();
    owner.release();
    EXPECT_EQ(pasteboard.changeCount(), before);
    owner.own();
    EXPECT_EQ(pasteboard.changeCount(), before + 1);
    EXPECT_EQ(pasteboard.string(), "office");
}

TEST_F(X11PasteboardTest, aSecondCopyByTheSameOwnerIsAChange) {
    ScriptedOwner owner(desktop().display(), says("again"));
    owner.own();
    const auto before = pasteboard.changeCount();
    owner.own();
    EXPECT_EQ(pasteboard.changeCount(), before + 1);
}

// ---- owning ------------------------------------------------------------------------------------

TEST_F(X11PasteboardTest, servesTextUnderAllItsNames) {
    pasteboard.setString("grüß 😀");
    EXPECT_EQ(pasteboard.string(), "grüß 😀");
    EXPECT_EQ(pasted("UTF8_STRING"), "grüß 😀");
    EXPECT_EQ(pasted("text/plain;charset=utf-8"), "grüß 😀");
    EXPECT_EQ(pasted("text/plain"), "grüß 😀");
    EXPECT_EQ(pasted("TEXT"), "grüß 😀");
    EXPECT_EQ(pasted("STRING"), "gr\xFC\xDF ?");
    EXPECT_EQ(pasted("image/png"), "");
    const auto targets = pasted("TARGETS");
    for (const auto* name : {"TARGETS", "MULTIPLE", "TIMESTAMP", "SAVE_TARGETS", "UTF8_STRING",
                             "STRING", "TEXT", "text/plain"}) {
        EXPECT_THAT(targets, HasSubstr(name));
    }
    EXPECT_NE(std::stoul("0" + pasted("TIMESTAMP")), 0U);
}

TEST_F(X11PasteboardTest, servesALongTextInPiecesToSeveralAtOnce) {
    const auto text = longText(5'400'000);
    pasteboard.setString(text);
    auto first = std::async(std::launch::async, [] { return pasted(); });
    auto second = std::async(std::launch::async, [] { return pasted("text/plain"); });
    EXPECT_TRUE(first.get() == text);
    EXPECT_TRUE(second.get() == text);
}

TEST_F(X11PasteboardTest, clearingLeavesTheClipboardToNobody) {
    otherProgramCopies("theirs");
    pasteboard.clearContents();
    EXPECT_EQ(clipboardOwner(), static_cast<xcb_window_t>(XCB_WINDOW_NONE));
    EXPECT_EQ(pasteboard.string(), std::nullopt);
    pasteboard.setString("ours");
    pasteboard.clearContents();
    EXPECT_EQ(pasteboard.string(), std::nullopt);
}

TEST_F(X11PasteboardTest, losingTheClipboardLosesTheContent) {
    pasteboard.setString("ours");
    const auto before = pasteboard.changeCount();
    otherProgramCopies("theirs");
    EXPECT_EQ(pasteboard.changeCount(), before + 1);
    EXPECT_EQ(pasteboard.string(), "theirs");
    EXPECT_EQ(pasted(), "theirs");
}

TEST_F(X11PasteboardTest, twoInstancesReadEachOther) {
    ClipboardPorts other(desktop().display());
    const auto before = other.pasteboard->changeCount();
    pasteboard.setString(longText(3'000'000));
    EXPECT_EQ(other.pasteboard->changeCount(), before + 1);
    EXPECT_TRUE(other.pasteboard->string() == longText(3'000'000));
}

// ---- remembering and putting back --------------------------------------------------------------

TEST_F(X11PasteboardTest, textComesBackAfterACopy) {
    otherProgramCopies("mine: grüße\n");
    const auto memory = pasteboard.remember();
    EXPECT_EQ(memory.string, "mine: grüße\n");
    askToCopy();
    ScriptedOwner app(desktop().display(), says("the selection"));
    app.own();
    EXPECT_NE(pasteboard.changeCount(), memory.changeCount);
    EXPECT_EQ(pasteboard.string(), "the selection");
    pasteboard.putBack(memory);
    EXPECT_EQ(pasted(), "mine: grüße\n");
    EXPECT_EQ(pasteboard.string(), "mine: grüße\n");
}

TEST_F(X11PasteboardTest, aPictureComesBackByteForByte) {
    const auto picture = pictureBytes(900'000);
    otherProgramCopies(picture, "image/png");
    const auto memory = pasteboard.remember();
    EXPECT_EQ(memory.string, std::nullopt);
    askToCopy();
    ScriptedOwner app(desktop().display(), says("the selection"));
    app.own();
    EXPECT_EQ(pasteboard.string(), "the selection");
    pasteboard.putBack(memory);
    EXPECT_TRUE(pasted("image/png") == picture);
    EXPECT_EQ(pasteboard.string(), std::nullopt);
}

TEST_F(X11PasteboardTest, everyFormatComesBackAndNoOrderIsGiven) {
    ScriptedOwner user(
        desktop().display(),
        {.values = {{"text/html", {"text/html", "<b>x</b>"}},
                    {"UTF8_STRING", {"UTF8_STRING", "x"}},
                    {"image/png", {"image/png", pictureBytes(100)}},
                    {"image/bmp", {"image/bmp", "BM"}},
                    {"application/x-numbers", {"INTEGER", std::string("\1\0\0\0\2\0\0\0", 8), 32}},
                    {"x-kde-passwordManagerHint", {"x-kde-passwordManagerHint", "secret"}},
                    {"DELETE", {"NULL", ""}},
                    {"INSERT_SELECTION", {"NULL", ""}},
                    {"SAVE_TARGETS", {"NULL", ""}},
                    {"application/x-qt-image", {"application/x-qt-image", "big"}}}});
    user.own();
    const auto memory = pasteboard.remember();
    for (const auto* never :
         {"DELETE", "INSERT_SELECTION", "SAVE_TARGETS", "application/x-qt-image", "MULTIPLE"}) {
        EXPECT_THAT(user.asked(), Not(Contains(never)));
    }
    askToCopy();
    ScriptedOwner app(desktop().display(), says("the selection"));
    app.own();
    EXPECT_EQ(pasteboard.string(), "the selection");
    pasteboard.putBack(memory);
    EXPECT_EQ(pasted("text/html"), "<b>x</b>");
    EXPECT_EQ(pasted("UTF8_STRING"), "x");
    EXPECT_EQ(pasted("STRING"), "x");
    EXPECT_TRUE(pasted("image/png") == pictureBytes(100));
    EXPECT_EQ(pasted("x-kde-passwordManagerHint"), "secret")
        << "clipboard managers would record a password";

    // What we own now is remembered without asking anybody, and comes back once more.
    const auto again = pasteboard.remember();
    EXPECT_EQ(again.formats, memory.formats);
    askToCopy();
    app.own();
    (void)pasteboard.changeCount();
    pasteboard.putBack(again);
    EXPECT_EQ(pasted("text/html"), "<b>x</b>");
}

TEST_F(X11PasteboardTest, anEmptyClipboardIsEmptyAgainAfterACopy) {
    const auto memory = pasteboard.remember();
    askToCopy();
    ScriptedOwner app(desktop().display(), says("the selection"));
    app.own();
    EXPECT_NE(pasteboard.changeCount(), memory.changeCount);
    pasteboard.putBack(memory);
    EXPECT_EQ(clipboardOwner(), static_cast<xcb_window_t>(XCB_WINDOW_NONE));
}

TEST_F(X11PasteboardTest, whatTheUserCopiedAfterwardsStays) {
    pasteboard.setString("before");
    const auto memory = pasteboard.remember();
    askToCopy();
    ScriptedOwner app(desktop().display(), says("the selection"));
    app.own();
    EXPECT_NE(pasteboard.changeCount(), memory.changeCount);
    otherProgramCopies("the user's new text");
    EXPECT_EQ(pasteboard.string(), std::nullopt) << "that is not the selection any more";
    EXPECT_NE(pasteboard.changeCount(), memory.changeCount);
    pasteboard.putBack(memory);
    EXPECT_EQ(pasted(), "the user's new text");
}

TEST_F(X11PasteboardTest, whatTheUserCopiedInsteadStays) {
    pasteboard.setString("before");
    const auto memory = pasteboard.remember();
    askToCopy();
    otherProgramCopies("the user's new text");
    EXPECT_EQ(pasteboard.changeCount(), memory.changeCount) << "nobody copied the selection";
    pasteboard.putBack(memory);
    EXPECT_EQ(pasted(), "the user's new text");
}

TEST_F(X11PasteboardTest, whatAnotherProgramCopiedRightAfterTheApplicationIsNotTheSelection) {
    const auto memory = pasteboard.remember();
    askToCopy();
    ScriptedOwner app(desktop().display(), says("the selection"));
    app.own();
    otherProgramCopies("a password");
    EXPECT_EQ(pasteboard.changeCount(), memory.changeCount);
    EXPECT_EQ(pasted(), "a password");
}

TEST_F(X11PasteboardTest, whatIsMarkedAsAPasswordIsNoText) {
    auto script = says("hunter2");
    script.values["x-kde-passwordManagerHint"] = {"x-kde-passwordManagerHint", "secret"};
    ScriptedOwner manager(desktop().display(), script);
    manager.own();
    EXPECT_EQ(pasteboard.string(), std::nullopt);
    // It is remembered all the same, to come back as it was.
    EXPECT_EQ(pasteboard.remember().string, "hunter2");
    askToCopy();
    ScriptedOwner app(desktop().display(), script);
    app.own();
    EXPECT_EQ(pasteboard.string(), std::nullopt);

    script.values["x-kde-passwordManagerHint"].bytes = "public";
    ScriptedOwner open(desktop().display(), script);
    open.own();
    (void)pasteboard.remember();
    EXPECT_EQ(pasteboard.string(), "hunter2");

    ScriptedOwner selected(
        desktop().display(),
        {.values = {{"UTF8_STRING", {"UTF8_STRING", "hunter2"}},
                    {"x-kde-passwordManagerHint", {"x-kde-passwordManagerHint", "secret"}}}},
        "PRIMARY");
    selected.own();
    const auto memory = pasteboard.remember();
    askToCopy(false);
    EXPECT_EQ(pasteboard.changeCount(), memory.changeCount);
}

TEST_F(X11PasteboardTest, silenceOfAnApplicationThatAnswersMeansThatNothingIsSelected) {
    ScriptedOwner selected(desktop().display(), says("the old word"), "PRIMARY");
    selected.own();
    auto memory = pasteboard.remember();
    askToCopy();
    ScriptedOwner app(desktop().display(), says("the selection"));
    app.own();
    EXPECT_EQ(pasteboard.string(), "the selection");
    EXPECT_NE(pasteboard.changeCount(), memory.changeCount);
    pasteboard.putBack(memory);

    memory = pasteboard.remember();
    askToCopy();
    EXPECT_EQ(pasteboard.changeCount(), memory.changeCount);
}

TEST_F(X11PasteboardTest, whatWasRememberedIsLetGoWithItsMemory) {
    otherProgramCopies("a password");
    std::weak_ptr<const void> content;
    {
        const auto memory = pasteboard.remember();
        content = memory.formats;
        EXPECT_FALSE(content.expired());
        askToCopy();
        EXPECT_EQ(pasteboard.changeCount(), memory.changeCount);
    }
    // For as long as a late copy would be undone; then for nothing.
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return content.expired(); }));
    EXPECT_EQ(pasted(), "a password");
}

TEST_F(X11PasteboardTest, nothingCopiedLeavesTheOwnerInPlace) {
    otherProgramCopies("theirs");
    const auto owner = clipboardOwner();
    const auto memory = pasteboard.remember();
    askToCopy();
    EXPECT_EQ(pasteboard.changeCount(), memory.changeCount);
    EXPECT_EQ(pasteboard.changeCount(), memory.changeCount);
    EXPECT_EQ(clipboardOwner(), owner);
}

TEST_F(X11PasteboardTest, anApplicationThatCopiedAndDiedLosesTheUserNothing) {
    otherProgramCopies("theirs");
    const auto memory = pasteboard.remember();
    askToCopy();
    {
        ScriptedOwner app(desktop().display(), says("the selection"));
        app.own();
    }
    ASSERT_TRUE(VirtualDesktop::waitUntil([] { return clipboardOwner() == 0; }));
    EXPECT_NE(pasteboard.changeCount(), memory.changeCount);
    EXPECT_EQ(pasteboard.string(), std::nullopt);
    pasteboard.putBack(memory);
    EXPECT_EQ(pasted(), "theirs");
}

TEST_F(X11PasteboardTest, aClipboardTakenAnewOnActivationIsNotTakenForTheCopy) {
    ScriptedOwner remote(desktop().display(), says("theirs"));
    remote.own();
    const auto memory = pasteboard.remember();
    remote.own(); // As some programs do whenever they gain or lose the focus.
    askToCopy();
    EXPECT_EQ(pasteboard.changeCount(), memory.changeCount);
}

TEST_F(X11PasteboardTest, whatTheUserCopiedWhileTheApplicationCameForwardComesBack) {
    otherProgramCopies("old");
    const auto memory = pasteboard.remember();
    otherProgramCopies("new");
    askToCopy();
    ScriptedOwner app(desktop().display(), says("the selection"));
    app.own();
    EXPECT_NE(pasteboard.changeCount(), memory.changeCount);
    EXPECT_EQ(pasteboard.string(), "the selection");
    pasteboard.putBack(memory);
    EXPECT_EQ(pasted(), "new");
}

TEST_F(X11PasteboardTest, moreThanCanBeKeptIsNeverRisked) {
    auto script = says(longText(33 << 20));
    script.values["text/html"] = {"text/html", longText(33 << 20)};
    script.chunk = 4 << 20;
    ScriptedOwner user(desktop().display(), script);
    user.own();
    const auto memory = pasteboard.remember();
    EXPECT_EQ(memory.string, std::nullopt);
    askToCopy();
    // No key was posted, so this cannot be the answer and is not undone.
    ScriptedOwner app(desktop().display(), says("unasked"));
    app.own();
    EXPECT_EQ(pasteboard.changeCount(), memory.changeCount);
    EXPECT_EQ(clipboardOwner(), app.window());
}

// ---- copies that come too late -----------------------------------------------------------------

TEST_F(X11PasteboardTest, aCopyThatComesTooLateIsUndone) {
    otherProgramCopies("theirs");
    const auto memory = pasteboard.remember();
    ScriptedOwner app(desktop().display(), says("late selection"));
    askToCopy();
    const auto keyTime = app.now();
    EXPECT_EQ(pasteboard.changeCount(), memory.changeCount);
    app.own(keyTime); // It took its time, but copied for our key.
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return app.lost(); }));
    EXPECT_EQ(pasted(), "theirs");
}

TEST_F(X11PasteboardTest, aLateCopyIntoAnEmptyClipboardIsUndoneToo) {
    const auto memory = pasteboard.remember();
    ScriptedOwner app(desktop().display(), says("late selection"));
    askToCopy();
    EXPECT_EQ(pasteboard.changeCount(), memory.changeCount);
    app.own(app.now());
    ASSERT_TRUE(VirtualDesktop::waitUntil([] { return clipboardOwner() == 0; }));
}

TEST_F(X11PasteboardTest, theUsersOwnCopyInTheSameApplicationIsNotUndone) {
    otherProgramCopies("theirs");
    const auto memory = pasteboard.remember();
    ScriptedOwner app(desktop().display(), says("the user's own copy"));
    askToCopy();
    EXPECT_EQ(pasteboard.changeCount(), memory.changeCount);
    std::this_thread::sleep_for(kKeyEcho + 20ms);
    app.own();
    (void)pasteboard.changeCount(); // Up to date with it.
    EXPECT_FALSE(app.lost());
    EXPECT_EQ(pasted(), "the user's own copy");
}

TEST_F(X11PasteboardTest, anAnswerGivenTwiceIsStillTheAnswer) {
    otherProgramCopies("theirs");
    const auto memory = pasteboard.remember();
    ScriptedOwner app(desktop().display(), says("the selection"));
    askToCopy();
    app.own();
    EXPECT_NE(pasteboard.changeCount(), memory.changeCount);
    app.own();
    EXPECT_EQ(pasteboard.string(), "the selection");
    pasteboard.putBack(memory);
    EXPECT_EQ(pasted(), "theirs");
}

// ---- PRIMARY -----------------------------------------------------------------------------------

TEST_F(X11PasteboardTest, aFreshSelectionStandsInForACopyThatDidNotCome) {
    otherProgramCopies("theirs");
    const auto owner = clipboardOwner();
    ScriptedOwner app(desktop().display(), says("selected"), "PRIMARY");
    app.own();
    const auto memory = pasteboard.remember();
    askToCopy();
    EXPECT_NE(pasteboard.changeCount(), memory.changeCount);
    EXPECT_EQ(pasteboard.string(), "selected");
    EXPECT_NE(pasteboard.changeCount(), memory.changeCount);
    pasteboard.putBack(memory);
    EXPECT_EQ(pasteboard.string(), "theirs");
    EXPECT_EQ(clipboardOwner(), owner) << "the clipboard was touched";
}

TEST_F(X11PasteboardTest, aCopyThatComesWhilePrimaryIsAskedForIsTheAnswer) {
    otherProgramCopies("theirs");
    ScriptedOwner busy(desktop().display(), {.silent = true}, "PRIMARY");
    busy.own();
    ScriptedOwner app(desktop().display(), says("a large selection"));
    const auto memory = pasteboard.remember();
    askToCopy();
    const auto keyTime = app.now();
    auto copying = std::async(std::launch::async, [&] {
        VirtualDesktop::waitUntil([&] { return !busy.asked().empty(); });
        app.own(keyTime);
    });
    EXPECT_NE(pasteboard.changeCount(), memory.changeCount);
    copying.get();
    EXPECT_EQ(pasteboard.string(), "a large selection");
    pasteboard.putBack(memory);
    EXPECT_EQ(pasted(), "theirs");
}

TEST_F(X11PasteboardTest, aSelectionFromBeforeWeListenedMayBeStale) {
    ScriptedOwner app(desktop().display(), says("selected long ago"), "PRIMARY");
    app.own();
    ClipboardPorts late(desktop().display());
    late.target = CopyTarget{::getpid(), 0, true};
    const auto memory = late.pasteboard->remember();
    late.keyboard->postCopy(1);
    EXPECT_EQ(late.pasteboard->changeCount(), memory.changeCount);
    late.target->takesKeys = false;
    const auto again = late.pasteboard->remember();
    late.keyboard->postCopy(1);
    EXPECT_EQ(late.pasteboard->changeCount(), again.changeCount);
    app.own();
    const auto fresh = late.pasteboard->remember();
    late.keyboard->postCopy(1);
    EXPECT_NE(late.pasteboard->changeCount(), fresh.changeCount);
    EXPECT_EQ(late.pasteboard->string(), "selected long ago");
}

TEST_F(X11PasteboardTest, anotherProgramsSelectionIsNotTaken) {
    start({"xclip", "-quiet", "-selection", "primary", file("other", "not yours").string()});
    ASSERT_TRUE(VirtualDesktop::waitUntil([] { return ownerOf("PRIMARY") != 0; }));
    for (const bool takesKeys : {true, false}) {
        const auto memory = pasteboard.remember();
        askToCopy(takesKeys);
        EXPECT_EQ(pasteboard.changeCount(), memory.changeCount);
        EXPECT_EQ(pasteboard.string(), std::nullopt);
    }
}

TEST_F(X11PasteboardTest, anEmptySelectionIsNone) {
    ScriptedOwner app(desktop().display(), says(""), "PRIMARY");
    app.own();
    const auto memory = pasteboard.remember();
    askToCopy(false);
    EXPECT_EQ(pasteboard.changeCount(), memory.changeCount);
}

TEST_F(X11PasteboardTest, aCopyElsewhereIsNotATerminalsAnswer) {
    const auto memory = pasteboard.remember();
    askToCopy(false);
    otherProgramCopies("someone else's");
    EXPECT_EQ(pasteboard.changeCount(), memory.changeCount);
    EXPECT_EQ(pasted(), "someone else's");
}

// ---- the end -----------------------------------------------------------------------------------

TEST_F(X11PasteboardTest, endingHandsTheContentToAClipboardKeeper) {
    OwnerScript script;
    script.values["SAVE_TARGETS"] = {"NULL", "", 32};
    ScriptedOwner manager(desktop().display(), script, "CLIPBOARD_MANAGER");
    manager.own();
    {
        ClipboardPorts mine(desktop().display());
        mine.pasteboard->setString("kept");
    }
    EXPECT_THAT(manager.asked(), ElementsAre("SAVE_TARGETS"));
    {
        ClipboardPorts mine(desktop().display());
        (void)mine.pasteboard->string();
    }
    EXPECT_THAT(manager.asked(), ElementsAre("SAVE_TARGETS")) << "asked with nothing to save";
}

TEST_F(X11PasteboardTest, aKeeperThatNeverAnswersDoesNotHoldUpTheEnd) {
    ScriptedOwner manager(desktop().display(), {.silent = true}, "CLIPBOARD_MANAGER");
    manager.own();
    auto mine = std::make_unique<ClipboardPorts>(desktop().display());
    mine->pasteboard->setString("kept");
    EXPECT_LT(timeOf([&] { mine.reset(); }), kBounded);
}

TEST(X11Pasteboard, withoutADisplayThereIsNothing) {
    EXPECT_EQ(openX11Clipboard(":4711"), nullptr);
    const auto pasteboard = makeCopyPasteboard(nullptr);
    EXPECT_EQ(pasteboard->string(), std::nullopt);
    EXPECT_EQ(pasteboard->changeCount(), pasteboard->changeCount());
    pasteboard->setString("x");
    pasteboard->clearContents();
    const auto memory = pasteboard->remember();
    EXPECT_EQ(memory.string, std::nullopt);
    pasteboard->putBack(memory);
    const auto keyboard = makeCopyKeyboard(nullptr, nullptr);
    EXPECT_FALSE(keyboard->trusted());
    keyboard->postCopy(1);
}

TEST(X11Pasteboard, aServerThatDiesAnswersNothingAtOnce) {
    VirtualDesktop desktop({.windowManager = false, .sessionBus = false});
    auto ports = std::make_unique<ClipboardPorts>(desktop.display());
    ports->pasteboard->setString("x");
    EXPECT_TRUE(ports->keyboard->trusted());
    const auto memory = ports->pasteboard->remember();
    desktop.killServer();
    ports->target = CopyTarget{1, 0, true};
    VirtualDesktop::waitUntil([&] { return !ports->keyboard->trusted(); }, 100ms);
    ports->keyboard->postCopy(1);
    EXPECT_FALSE(ports->keyboard->trusted());
    EXPECT_EQ(ports->pasteboard->changeCount(), memory.changeCount);
    EXPECT_EQ(ports->pasteboard->string(), std::nullopt);
    EXPECT_EQ(ports->pasteboard->remember().string, std::nullopt);
    ports->pasteboard->setString("y");
    ports->pasteboard->clearContents();
    ports->pasteboard->putBack(memory);
    const auto begin = std::chrono::steady_clock::now();
    ports.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, kBounded);
}

TEST(X11Pasteboard, aServerThatHangsHoldsNobodyUp) {
    VirtualDesktop desktop({.windowManager = false, .sessionBus = false});
    auto ports = std::make_unique<ClipboardPorts>(desktop.display());
    ports->pasteboard->setString("x");
    // As long as somebody has grabbed the server it answers nobody else.
    auto& link = desktop.link();
    xcb_grab_server(link.xcb());
    (void)link.property(link.root(), XCB_ATOM_WM_NAME);
    const auto begin = std::chrono::steady_clock::now();
    (void)ports->pasteboard->changeCount();
    (void)ports->pasteboard->string();
    ports.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 4s);
}

TEST(X11Pasteboard, aServerWithoutXfixesHasNoClipboardForUs) {
    // Without it a copy could not be undone. (Xvfb then does not survive the first client that
    // leaves, so this looks at a broken link as well.)
    VirtualDesktop desktop(
        {.windowManager = false, .sessionBus = false, .withoutExtensions = {"XFIXES"}});
    ClipboardPorts ports(desktop.display());
    ports.target = CopyTarget{::getpid(), 0, true};
    const auto memory = ports.pasteboard->remember();
    ports.keyboard->postCopy(1);
    EXPECT_EQ(ports.pasteboard->changeCount(), memory.changeCount);
    EXPECT_EQ(ports.pasteboard->string(), std::nullopt);
    ports.pasteboard->setString("x");
    ports.pasteboard->putBack(memory);
    EXPECT_EQ(memory.string, std::nullopt);
}

TEST(X11Pasteboard, aServerWithoutXtestTakesNoKeysFromUs) {
    VirtualDesktop desktop(
        {.windowManager = false, .sessionBus = false, .withoutExtensions = {"XTEST"}});
    ClipboardPorts ports(desktop.display());
    EXPECT_FALSE(ports.keyboard->trusted());
    ports.target = CopyTarget{::getpid(), 0, true};
    const auto memory = ports.pasteboard->remember();
    ports.keyboard->postCopy(1);
    EXPECT_EQ(ports.pasteboard->changeCount(), memory.changeCount);
}

TEST(X11Pasteboard, aServerThatKnowsNoProcessesTellsClientsApart) {
    VirtualDesktop desktop(
        {.windowManager = false, .sessionBus = false, .withoutExtensions = {"X-Resource"}});
    ClipboardPorts ports(desktop.display());
    ScriptedOwner app(desktop.display(), says("selected"), "PRIMARY");
    app.own();
    ports.target = CopyTarget{::getpid(), app.window(), false};
    const auto memory = ports.pasteboard->remember();
    ports.keyboard->postCopy(1);
    EXPECT_NE(ports.pasteboard->changeCount(), memory.changeCount);
    EXPECT_EQ(ports.pasteboard->string(), "selected");

    ScriptedOwner other(desktop.display(), says("not yours"), "PRIMARY");
    other.own();
    const auto again = ports.pasteboard->remember();
    ports.keyboard->postCopy(1);
    EXPECT_EQ(ports.pasteboard->changeCount(), again.changeCount);
}

} // namespace
} // namespace kelvane
