#include "platform/linux/beside_x11.h"

#include "platform/fake/fake_keyboard.h"
#include "platform/fake/fake_pasteboard.h"
#include "platform/fake/fake_workspace.h"
#include "platform/fake/journal.h"
#include "platform/linux/common/read_selection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace kelvane {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

const RunningApp kBrowser{"chromium", "Chromium", 1};
const RunningApp kEditor{"org.gnome.TextEditor", "Text Editor", 2};

/// Reads "read" where it is asked to copy.
class Reader : public Keyboard {
public:
    Reader(Journal& journal, std::shared_ptr<ReadSelection> selection)
        : m_journal(journal),
          m_selection(std::move(selection)) {}
    bool trusted() override { return true; }
    void postCopy(ProcessId target) override {
        m_journal.add("read " + std::to_string(target));
        m_selection->set("read");
    }

private:
    Journal& m_journal;
    std::shared_ptr<ReadSelection> m_selection;
};

class BesideX11Test : public testing::Test {
protected:
    BesideX11Test() {
        auto workspace = std::make_unique<FakeWorkspace>(journal);
        auto keyboard = std::make_unique<FakeKeyboard>(journal);
        auto pasteboard = std::make_unique<FakePasteboard>(journal);
        x11 = workspace.get();
        keys = keyboard.get();
        clipboard = pasteboard.get();
        auto otherWorkspace = std::make_unique<FakeWorkspace>(otherJournal);
        other = otherWorkspace.get();
        const auto selection = std::make_shared<ReadSelection>();
        ports =
            besideX11({std::move(workspace), std::move(keyboard), std::move(pasteboard)},
                      {std::move(otherWorkspace), std::make_unique<Reader>(otherJournal, selection),
                       makeReadPasteboard(selection)});
        x11->running = {kBrowser};
        other->running = {kEditor, kBrowser};
        clipboard->text = "the user's";
    }

    Journal journal;
    Journal otherJournal;
    FakeWorkspace* x11 = nullptr;
    FakeKeyboard* keys = nullptr;
    FakePasteboard* clipboard = nullptr;
    FakeWorkspace* other = nullptr;
    TextPorts ports;
};

TEST_F(BesideX11Test, AnX11ProgramInFrontIsTheServersBusiness) {
    x11->front = kBrowser.pid;
    other->front = kEditor.pid;
    EXPECT_EQ(ports.workspace->frontmost(), kBrowser);
    ports.keyboard->postCopy(kBrowser.pid);
    EXPECT_THAT(journal.entries(), Contains("copy 1"));
    EXPECT_THAT(otherJournal.entries(), Not(Contains("read 1")));
}

TEST_F(BesideX11Test, ElseTheOtherSourceAnswersAndTheClipboardStaysAsItIs) {
    other->front = kEditor.pid;
    EXPECT_EQ(ports.workspace->frontmost(), kEditor);
    const auto memory = ports.pasteboard->remember();
    ports.keyboard->postCopy(kEditor.pid);
    EXPECT_THAT(journal.entries(), Not(Contains("copy 2")));
    EXPECT_NE(ports.pasteboard->changeCount(), memory.changeCount);
    EXPECT_EQ(ports.pasteboard->string(), "read");
    ports.pasteboard->putBack(memory);
    EXPECT_EQ(ports.pasteboard->string(), "the user's");
    EXPECT_THAT(journal.entries(), Not(Contains("clear")));
}

TEST_F(BesideX11Test, AfterACopyOnTheServerTheClipboardIsPutBack) {
    x11->front = kBrowser.pid;
    const auto memory = ports.pasteboard->remember();
    clipboard->copyText("copied");
    EXPECT_NE(ports.pasteboard->changeCount(), memory.changeCount);
    EXPECT_EQ(ports.pasteboard->string(), "copied");
    ports.pasteboard->putBack(memory);
    EXPECT_EQ(ports.pasteboard->string(), "the user's");
}

TEST_F(BesideX11Test, AWindowIsAskedForWhereItsProgramIs) {
    EXPECT_TRUE(ports.workspace->activateWindow(kBrowser.pid, 7));
    EXPECT_THAT(journal.entries(), ElementsAre("window 7", "activate 1"));
    EXPECT_THAT(otherJournal.entries(), ElementsAre());
    EXPECT_TRUE(ports.workspace->activateWindow(kEditor.pid, 8));
    EXPECT_THAT(otherJournal.entries(), ElementsAre("window 8", "activate 2"));
    EXPECT_FALSE(ports.workspace->activateWindow(99, 9));
}

TEST_F(BesideX11Test, AProgramThatBothKnowRunsOnce) {
    EXPECT_THAT(ports.workspace->runningApplications(), ElementsAre(kBrowser, kEditor));
}

} // namespace
} // namespace kelvane
