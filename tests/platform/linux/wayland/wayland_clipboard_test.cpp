// Copies that come when nobody waits for them any more, on a compositor that does what the test
// says, when it says so.

#include "platform/linux/wayland/wayland_clipboard.h"

#include "platform/linux/rules/copy_rules.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kelvane {
namespace {

using namespace std::chrono_literals;
using Content = std::shared_ptr<const ClipboardContent>;

class ScriptedWindows : public WaylandWindows {
public:
    void attach(WaylandConnection&) override {}
    void globalAdded(wl_registry*, std::uint32_t, std::string_view, std::uint32_t) override {}
    void globalRemoved(std::uint32_t) override {}
    void detach() override {}
    bool hasForeignToplevel() const override { return true; }
    bool hasPlasmaWindows() const override { return false; }
    bool hasPlasmaShell() const override { return false; }
    std::vector<WaylandWindow> windows() const override { return list; }
    std::uint32_t active() const override { return 0; }
    bool activate(std::uint32_t) override { return true; }

    std::vector<WaylandWindow> list;
};

class ScriptedSelections : public WaylandSelections {
public:
    void attach(WaylandConnection&) override {}
    void globalAdded(wl_registry*, std::uint32_t, std::string_view, std::uint32_t) override {}
    void globalRemoved(std::uint32_t) override {}
    void detach() override {}
    bool offered() const override { return true; }
    SelectionSeen seen(SelectionName which) const override {
        return which == SelectionName::Clipboard ? clipboard : primary;
    }
    std::uint64_t changes() const override { return all.size(); }
    std::vector<SelectionChange> changesSince(std::uint64_t count) const override {
        return {all.begin() + static_cast<std::ptrdiff_t>(count), all.end()};
    }
    SelectionAnswer read(SelectionName which, std::uint64_t generation, const std::string& format,
                         const Bounds&) override {
        if (onRead) onRead(which);
        const auto& now = which == SelectionName::Clipboard ? clipboard : primary;
        const auto& held = which == SelectionName::Clipboard ? clipboardText : primaryText;
        if (now.generation != generation || format != kUtf8Plain) return {};
        return {SelectionAnswer::Kind::Value, held};
    }
    void offer(Content content) override { offers = std::move(content); }
    void onChange(std::function<void(const SelectionChange&)> hook) override {
        changed = std::move(hook);
    }

    /// The compositor has dealt with what this program offered.
    void settle() {
        if (!offers) return;
        clipboard = {++lastGeneration, {}, {}, {}, std::exchange(offers, std::nullopt).value()};
        if (clipboard.ours) clipboard.formats = {std::string(kUtf8Plain)};
    }
    void copied(const SelectionTag& by, const std::string& text,
                std::chrono::steady_clock::time_point when) {
        clipboard = {++lastGeneration, {std::string(kUtf8Plain)}, by, when, nullptr};
        clipboardText = text;
        all.push_back({by, when, lastGeneration});
        if (changed) changed(all.back());
    }
    void selected(const SelectionTag& by, const std::string& text,
                  std::chrono::steady_clock::time_point when) {
        primary = {++lastGeneration, {std::string(kUtf8Plain)}, by, when, nullptr};
        primaryText = text;
    }

    SelectionSeen clipboard;
    SelectionSeen primary;
    std::string clipboardText;
    std::string primaryText;
    std::vector<SelectionChange> all;
    std::uint64_t lastGeneration = 0;
    std::optional<Content> offers; ///< That the compositor has not dealt with.
    std::function<void(const SelectionChange&)> changed;
    std::function<void(SelectionName)> onRead;
};

class ScriptedKeys : public WaylandKeys {
public:
    void attach(WaylandConnection&) override {}
    void globalAdded(wl_registry*, std::uint32_t, std::string_view, std::uint32_t) override {}
    void globalRemoved(std::uint32_t) override {}
    void detach() override {}
    bool hasVirtualKeyboard() const override { return true; }
    bool hasFakeInput() const override { return false; }
    bool post(std::span<const WaylandKey>) override {
        ++posted;
        lastPosted = std::chrono::steady_clock::now();
        return true;
    }
    int posted = 0;
    std::chrono::steady_clock::time_point lastPosted = std::chrono::steady_clock::now();
};

class ScriptedLink : public WaylandConnection {
public:
    explicit ScriptedLink(std::shared_ptr<ScriptedSelections> selections)
        : m_selections(std::move(selections)) {}
    bool alive() const override { return true; }
    bool started() const override { return true; }
    bool answers() override {
        if (!isAnswering) return false;
        m_selections->settle();
        return true;
    }
    void post(std::function<void()> job) override { job(); }
    bool run(std::function<void()> job) override {
        if (beforeJob) std::exchange(beforeJob, nullptr)();
        if (isBusy) {
            waiting.push_back(std::move(job));
            return false;
        }
        job();
        return true;
    }
    void feed(int, std::shared_ptr<const std::string>) override {}

    bool isAnswering = true;
    bool isBusy = false; ///< Its thread comes to nothing in time.
    std::deque<std::function<void()>> waiting;
    std::function<void()> beforeJob;

private:
    std::shared_ptr<ScriptedSelections> m_selections;
};

class WaylandClipboard : public testing::Test {
protected:
    void SetUp() override {
        for (const auto& tag : {editor, browser}) {
            auto& window = windows->list.emplace_back();
            window.number = tag.window;
            window.appId = tag.appId;
        }
        copies(browser, "mine", -1h);
    }

    /// So much later than the last key.
    void copies(const SelectionTag& by, const std::string& text, std::chrono::milliseconds later) {
        selections->copied(by, text, keys->lastPosted + later);
    }
    void selects(const SelectionTag& by, const std::string& text, std::chrono::milliseconds later) {
        selections->selected(by, text, keys->lastPosted + later);
    }
    /// As a capture does that gets no answer in time.
    void capturesNothing() {
        const auto memory = clipboard->remember();
        clipboard->copyFrom({0, 1, true});
        EXPECT_EQ(clipboard->changeCount(), memory.changeCount);
        EXPECT_EQ(clipboard->changeCount(), memory.changeCount);
    }
    std::string content() {
        selections->settle();
        return clipboard->string().value_or("(nothing)");
    }

    const SelectionTag editor{1, 0, "editor"};
    const SelectionTag browser{2, 0, "browser"};
    std::shared_ptr<ScriptedWindows> windows = std::make_shared<ScriptedWindows>();
    std::shared_ptr<ScriptedSelections> selections = std::make_shared<ScriptedSelections>();
    std::shared_ptr<ScriptedKeys> keys = std::make_shared<ScriptedKeys>();
    std::shared_ptr<ScriptedLink> link = std::make_shared<ScriptedLink>(selections);
    std::shared_ptr<CopyClipboard> clipboard =
        makeWaylandClipboard({link, windows, selections, keys});
};

TEST_F(WaylandClipboard, aCopyInTimeIsReadAndPutBack) {
    const auto memory = clipboard->remember();
    clipboard->copyFrom({0, 1, true});
    EXPECT_EQ(keys->posted, 1);
    copies(editor, "work", 20ms);
    EXPECT_NE(clipboard->changeCount(), memory.changeCount);
    EXPECT_EQ(clipboard->string(), "work");
    clipboard->putBack(memory);
    EXPECT_EQ(content(), "mine");
}

TEST_F(WaylandClipboard, aCopyThatNobodyWaitsForAnyMoreIsUndone) {
    capturesNothing();
    copies(editor, "work", 900ms);
    EXPECT_EQ(content(), "mine");
}

TEST_F(WaylandClipboard, whatComesLongAfterTheKeyIsTheUsers) {
    capturesNothing();
    copies(editor, "theirs", kLateCopyWatch + 1s);
    EXPECT_EQ(content(), "theirs");
}

TEST_F(WaylandClipboard, oneKeyIsAnsweredOnce) {
    capturesNothing();
    copies(editor, "work", 900ms);
    EXPECT_EQ(content(), "mine");
    copies(editor, "theirs", 1000ms);
    EXPECT_EQ(content(), "theirs");
}

TEST_F(WaylandClipboard, anAnswerInTimeIsTheOnlyOne) {
    const auto memory = clipboard->remember();
    clipboard->copyFrom({0, 1, true});
    copies(editor, "work", 20ms);
    (void)clipboard->changeCount();
    clipboard->putBack(memory);
    copies(editor, "theirs", 1000ms);
    EXPECT_EQ(content(), "theirs");
}

TEST_F(WaylandClipboard, whatTheUserSelectsAndCopiesAfterTheKeyIsTheirs) {
    capturesNothing();
    selects(editor, "theirs", 1000ms);
    copies(editor, "theirs", 1400ms);
    EXPECT_EQ(content(), "theirs");
}

TEST_F(WaylandClipboard, aSelectionThatComesLateWithItsCopyIsNoSignOfTheUser) {
    capturesNothing();
    selects(editor, "work", 900ms);
    copies(editor, "work", 910ms);
    EXPECT_EQ(content(), "mine");
}

TEST_F(WaylandClipboard, theUsersCopyElsewhereEndsTheWatch) {
    capturesNothing();
    copies(browser, "theirs", 400ms);
    EXPECT_EQ(content(), "theirs");
    copies(editor, "work", 900ms);
    EXPECT_EQ(content(), "work") << "what was remembered is older than what the user copied";
}

TEST_F(WaylandClipboard, theAnswersToTwoCapturesAreBothPutBack) {
    capturesNothing();
    const auto memory = clipboard->remember();
    clipboard->copyFrom({0, 1, true});
    copies(editor, "work", 300ms);
    EXPECT_NE(clipboard->changeCount(), memory.changeCount);
    EXPECT_EQ(clipboard->string(), "work");
    clipboard->putBack(memory);
    EXPECT_EQ(content(), "mine");
    copies(editor, "work", 400ms);
    EXPECT_EQ(content(), "mine");
}

TEST_F(WaylandClipboard, aLateCopyIsNotTheClipboardOfTheNextCapture) {
    capturesNothing();
    copies(editor, "work", 500ms);
    // Undone, and the compositor is not there yet.
    const auto memory = clipboard->remember();
    EXPECT_EQ(memory.string, "mine");
    link->isAnswering = false;
    copies(editor, "theirs", 600ms);
    EXPECT_EQ(clipboard->remember().string, "theirs");
}

TEST_F(WaylandClipboard, aLateCopyIsNotRememberedBeforeItIsUndone) {
    capturesNothing();
    link->isAnswering = false;
    copies(editor, "work", 500ms);
    EXPECT_EQ(clipboard->remember().string, "mine");
}

TEST_F(WaylandClipboard, aCaptureThatTheCompositorDoesNotLetBeginForgetsNoLateCopy) {
    capturesNothing();
    const auto memory = clipboard->remember();
    link->isAnswering = false;
    clipboard->copyFrom({0, 1, true});
    EXPECT_EQ(keys->posted, 1);
    link->isAnswering = true;
    copies(editor, "work", 900ms);
    EXPECT_EQ(content(), "mine");
}

TEST_F(WaylandClipboard, aKeyThatIsNotPostedInTimeIsNotPostedLater) {
    const auto memory = clipboard->remember();
    link->isBusy = true;
    clipboard->copyFrom({0, 1, true});
    link->isBusy = false;
    for (const auto& job : link->waiting) job();
    EXPECT_EQ(keys->posted, 0);
    EXPECT_EQ(clipboard->changeCount(), memory.changeCount);
}

TEST_F(WaylandClipboard, whatIsCopiedJustBeforeTheKeyIsWhatComesBack) {
    const auto memory = clipboard->remember();
    link->beforeJob = [this] { copies(browser, "theirs", 0ms); };
    clipboard->copyFrom({0, 1, true});
    EXPECT_EQ(keys->posted, 1);
    copies(editor, "work", 20ms);
    EXPECT_NE(clipboard->changeCount(), memory.changeCount);
    EXPECT_EQ(clipboard->string(), "work");
    clipboard->putBack(memory);
    EXPECT_EQ(content(), "theirs");
}

TEST_F(WaylandClipboard, whatIsCopiedJustBeforePuttingBackStays) {
    const auto memory = clipboard->remember();
    clipboard->copyFrom({0, 1, true});
    copies(editor, "work", 20ms);
    EXPECT_NE(clipboard->changeCount(), memory.changeCount);
    link->beforeJob = [this] { copies(browser, "theirs", 40ms); };
    clipboard->putBack(memory);
    EXPECT_EQ(content(), "theirs");
}

TEST_F(WaylandClipboard, aLateCopyGivesWayToWhatWasSetSince) {
    capturesNothing();
    clipboard->setString("set");
    copies(editor, "work", 900ms);
    EXPECT_EQ(content(), "set");
}

TEST_F(WaylandClipboard, withoutAMemoryNothingIsUndone) {
    clipboard->copyFrom({0, 1, true});
    (void)clipboard->changeCount();
    copies(editor, "work", 900ms);
    EXPECT_EQ(content(), "work");
}

TEST_F(WaylandClipboard, whoHasAnsweredBeforeIsWaitedForWhileBusy) {
    auto memory = clipboard->remember();
    clipboard->copyFrom({0, 1, true});
    copies(editor, "first", 20ms);
    EXPECT_NE(clipboard->changeCount(), memory.changeCount);
    clipboard->putBack(memory);
    selects(editor, "second", 0ms);
    memory = clipboard->remember();
    clipboard->copyFrom({0, 1, true});
    // It comes to the key before it comes to the question.
    selections->onRead = [this](SelectionName which) {
        if (which != SelectionName::Primary) return;
        selections->onRead = nullptr;
        copies(editor, "second", 250ms);
    };
    EXPECT_NE(clipboard->changeCount(), memory.changeCount);
    EXPECT_EQ(clipboard->string(), "second");
    clipboard->putBack(memory);
    EXPECT_EQ(content(), "mine");
}

TEST_F(WaylandClipboard, whoHasAnsweredBeforeAndHasNothingSelectedCopiesNothing) {
    const auto first = clipboard->remember();
    clipboard->copyFrom({0, 1, true});
    copies(editor, "first", 20ms);
    (void)clipboard->changeCount();
    clipboard->putBack(first);
    selects(editor, "no longer", 0ms);
    capturesNothing();
    EXPECT_EQ(content(), "mine");
}

} // namespace
} // namespace kelvane
