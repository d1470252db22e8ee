#include "platform/linux/x11/x11_shortcut.h"

#include "tests/platform/linux/x11/x11_desktop_test.h"

#include <gmock/gmock.h>

#include <atomic>

namespace kelvane {
namespace {

/// Keys pressed on a real server.
class X11ShortcutTest : public X11DesktopTest<X11ShortcutTest> {
protected:
    static const Shortcut& ctrlAltG() {
        static const Shortcut keys{
            .ctrl = true, .alt = true, .shift = false, .super = false, .key = "G"};
        return keys;
    }

    static Shortcut functionKey(const std::string& key) {
        Shortcut keys;
        keys.key = key;
        return keys;
    }

    /// Returns when xdotool has ended, and so the server has the keys.
    static void xdotool(const std::vector<std::string>& arguments) {
        std::vector<std::string> command{"xdotool"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        const auto program = desktop().start(command);
        ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return !desktop().running(program); }));
    }

    void use(GlobalShortcut& shortcut, const Shortcut& keys) {
        shortcut.use(
            keys, [this] { ++presses; }, [this](const std::string& why) { refused = why; });
    }
    bool hasPresses(int count) {
        return VirtualDesktop::waitUntil([&] { return presses == count; });
    }

    std::atomic<int> presses = 0;
    std::string refused;
};

TEST_F(X11ShortcutTest, IsToldOfItsKeysAloneWhateverIsLocked) {
    const auto shortcut = makeX11Shortcut(desktop().display());
    use(*shortcut, ctrlAltG());
    EXPECT_EQ(refused, "");
    xdotool({"key", "ctrl+alt+g"});
    EXPECT_TRUE(hasPresses(1));
    // Others are no presses; the last is waited for, and so are they.
    xdotool({"key", "g", "ctrl+g", "ctrl+alt+h", "ctrl+alt+shift+g", "ctrl+alt+g"});
    EXPECT_TRUE(hasPresses(2));
    xdotool({"key", "Caps_Lock", "ctrl+alt+g", "Caps_Lock"});
    EXPECT_TRUE(hasPresses(3));
    xdotool({"key", "Num_Lock", "ctrl+alt+g", "Num_Lock"});
    EXPECT_TRUE(hasPresses(4));
}

TEST_F(X11ShortcutTest, KeysThatAreHeldCountOnceTheyAreLetGo) {
    const auto shortcut = makeX11Shortcut(desktop().display());
    use(*shortcut, ctrlAltG());
    xdotool({"keydown", "ctrl", "keydown", "alt", "keydown", "g"});
    EXPECT_EQ(presses, 0) << "the application in front would get no keys yet";
    xdotool({"keyup", "g", "keyup", "alt", "keyup", "ctrl"});
    EXPECT_TRUE(hasPresses(1));
}

TEST_F(X11ShortcutTest, WhatAnotherProgramHasIsRefused) {
    const auto first = makeX11Shortcut(desktop().display());
    use(*first, ctrlAltG());
    const auto second = makeX11Shortcut(desktop().display());
    use(*second, ctrlAltG());
    EXPECT_NE(refused.find("Another program has these keys"), std::string::npos) << refused;
    first->stop();
    refused.clear();
    use(*second, ctrlAltG());
    EXPECT_EQ(refused, "") << "what was given back can be had";
    xdotool({"key", "ctrl+alt+g"});
    EXPECT_TRUE(hasPresses(1));
}

TEST_F(X11ShortcutTest, AnotherOneTakesThePlaceOfTheFirst) {
    const auto shortcut = makeX11Shortcut(desktop().display());
    use(*shortcut, ctrlAltG());
    use(*shortcut, functionKey("F9"));
    xdotool({"key", "ctrl+alt+g", "F9"});
    EXPECT_TRUE(hasPresses(1));
    shortcut->stop();
    xdotool({"key", "F9"});
    EXPECT_EQ(presses, 1) << "nobody listens any more";
}

TEST_F(X11ShortcutTest, AKeyThatTheKeyboardLacksAndADisplayThatIsNotThereAreSaid) {
    const auto shortcut = makeX11Shortcut(desktop().display());
    use(*shortcut, functionKey("F24"));
    // Keyboards of this server have none as a rule; where one has, it can be had.
    EXPECT_TRUE(refused.empty() || refused.find("no key “F24”") != std::string::npos) << refused;
    refused.clear();
    use(*makeX11Shortcut(":4711"), ctrlAltG());
    EXPECT_EQ(refused, "The display does not answer.");
    refused.clear();
    use(*makeX11Shortcut(""), ctrlAltG());
    EXPECT_NE(refused, "");
}

} // namespace
} // namespace kelvane
