#include "app/shell/shortcut_keeper.h"

#include "app/settings/settings_store.h"
#include "platform/fake/fake_dispatcher.h"
#include "platform/fake/fake_file_system.h"
#include "platform/fake/fake_global_shortcut.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

namespace kelvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ShortcutKeeperTest : public testing::Test {
protected:
    void set(const std::string& keys) {
        files.files["/h/settings.json"] = "{\"shortcut\": \"" + keys + "\"}";
        store.look();
        keeper->look();
        dispatcher.runAll();
    }

    Journal filesJournal;
    Journal journal;
    FakeFileSystem files{filesJournal};
    FakeDispatcher dispatcher;
    FakeGlobalShortcut shortcut{journal};
    SettingsStore store{files, "/h"};
    int presses = 0;
    std::optional<ShortcutKeeper> keeper{
        std::in_place,
        ShortcutKeeper::Ports{.shortcut = shortcut, .settings = store, .dispatcher = dispatcher},
        [this] { ++presses; }};
};

TEST_F(ShortcutKeeperTest, UsesWhatIsSetOnceAndGivesItBack) {
    keeper->look();
    EXPECT_THAT(journal.entries(), IsEmpty()) << "there is none unless it is set";
    set("Ctrl+Alt+G");
    keeper->look();
    set("F9");
    set("");
    EXPECT_THAT(journal.entries(), ElementsAre("use G", "give back", "use F9", "give back"));
}

TEST_F(ShortcutKeeperTest, APressIsToldOnTheMainThread) {
    set("F9");
    shortcut.press();
    EXPECT_EQ(presses, 0);
    dispatcher.runAll();
    EXPECT_EQ(presses, 1);
}

TEST_F(ShortcutKeeperTest, APressOfAShortcutThatIsGivenBackIsForNobody) {
    set("F9");
    shortcut.press();
    store.look();
    files.files.clear();
    store.look();
    keeper->look();
    dispatcher.runAll();
    EXPECT_EQ(presses, 0);
    set("F9");
    shortcut.press();
    keeper.reset();
    dispatcher.runAll();
    EXPECT_EQ(presses, 0);
    EXPECT_FALSE(shortcut.used.has_value());
}

TEST_F(ShortcutKeeperTest, WhatCannotBeHadSaysWhyUntilAnotherIsSet) {
    shortcut.refusal = "Another program has it.";
    set("F9");
    EXPECT_EQ(keeper->problem(), "F9: Another program has it.");
    shortcut.refusal.reset();
    set("F8");
    EXPECT_EQ(keeper->problem(), "");
}

} // namespace
} // namespace kelvane
