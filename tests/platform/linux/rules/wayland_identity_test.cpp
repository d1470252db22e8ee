#include "platform/linux/rules/wayland_identity.h"

#include <gtest/gtest.h>

#include <string>

namespace kelvane {
namespace {

DesktopEntryIndex installed() {
    const auto entry = [](std::string id, std::string name, std::string wmClass = {}) {
        DesktopEntry made;
        made.id = std::move(id);
        made.name = std::move(name);
        made.startupWmClass = std::move(wmClass);
        return made;
    };
    auto terminal = entry("org.gnome.Terminal", "Terminal");
    terminal.categories = {"TerminalEmulator"};
    return DesktopEntryIndex(
        {entry("org.xfce.mousepad", "Mousepad"), entry("org.kde.kate", "Kate"), terminal,
         entry("gimp", "GIMP"), entry("foot", "Foot"),
         entry("libreoffice-writer", "Writer", "libreoffice-writer"),
         entry("libreoffice-calc", "Calc", "libreoffice-calc"),
         entry("libreoffice-startcenter", "Start Center", "libreoffice-startcenter")});
}

struct Window {
    const char* appId;
    const char* title;
    const char* resourceName;
    const char* id; ///< Null: nobody.
    bool takesKeys = true;
};

TEST(WaylandIdentity, isTheDesktopFileOfTheAppId) {
    const Window windows[] = {
        {"org.kde.kate", "document", "", "org.kde.kate"},
        {"mousepad", "document", "", "org.xfce.mousepad"},
        {"Gimp", "GNU Image", "gimp", "gimp"},
        {"gnome-terminal-server", "user@host", "", "org.gnome.Terminal", false},
        {"foot", "user@host", "", "foot", false},
        {"footclient", "user@host", "", "foot", false},
        {"libreoffice-startcenter", "report.odt - LibreOffice Writer", "", "libreoffice-writer"},
        {"libreoffice-startcenter", "Ausgaben \u2014 LibreOffice Calc", "", "libreoffice-calc"},
        {"libreoffice-startcenter", "LibreOffice", "", "libreoffice-startcenter"},
        {"libreoffice-writer", "a - LibreOffice Writer", "", "libreoffice-writer"},
        {"soffice", "sums.ods - LibreOffice Calc", "", "libreoffice-calc"},
        {"editor", "about LibreOffice - LibreOffice Writer", "", "wmclass:editor"},
        {"unheard.of", "", "", "wmclass:unheard.of"},
        {"", "a title alone", "", nullptr},
    };
    const auto index = installed();
    for (const auto& window : windows) {
        const auto identity =
            identify(waylandFacts(window.appId, window.title, window.resourceName, 0), index);
        if (window.id == nullptr) {
            EXPECT_FALSE(identity) << window.title;
            continue;
        }
        ASSERT_TRUE(identity) << window.appId;
        EXPECT_EQ(identity->id, window.id) << window.title;
        EXPECT_EQ(identity->takesKeys, window.takesKeys) << window.appId;
    }
}

} // namespace
} // namespace kelvane
