#include "platform/linux/rules/window_identity.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace kelvane {
namespace {

using Source = WindowIdentity::Source;

DesktopEntry entry(std::string id, std::string name, std::string wmClass = "",
                   std::vector<std::string> categories = {}) {
    DesktopEntry made;
    made.id = std::move(id);
    made.name = std::move(name);
    made.startupWmClass = std::move(wmClass);
    made.categories = std::move(categories);
    return made;
}

DesktopEntry aside(DesktopEntry made) {
    made.noDisplay = true;
    return made;
}

DesktopEntry flatpak(DesktopEntry made, std::string id) {
    made.flatpakId = std::move(id);
    return made;
}

/// A machine on which everything is installed that the table of windows below names.
std::vector<DesktopEntry> everything() {
    return {
        entry("code", "Visual Studio Code", "Code"),
        aside(entry("code-url-handler", "Visual Studio Code - URL Handler", "Code")),
        entry("cursor", "Cursor", "Cursor"),
        entry("jetbrains-idea-ce", "IntelliJ IDEA Community", "jetbrains-idea-ce"),
        entry("jetbrains-idea", "IntelliJ IDEA", "jetbrains-idea"),
        entry("jetbrains-pycharm-ce", "PyCharm Community", "jetbrains-pycharm-ce"),
        entry("jetbrains-webstorm-0d1c", "WebStorm", "jetbrains-webstorm"),
        entry("figma-linux", "Figma Linux", "figma-linux"),
        entry("gimp", "GNU Image Manipulation Program"),
        entry("org.inkscape.Inkscape", "Inkscape", "org.inkscape.Inkscape"),
        aside(entry("krita_exr", "Krita")),
        entry("org.kde.krita", "Krita", "krita"),
        entry("blender", "Blender"),
        entry("libreoffice-startcenter", "LibreOffice", "libreoffice-startcenter"),
        entry("libreoffice-writer", "LibreOffice Writer", "libreoffice-writer"),
        entry("libreoffice-calc", "LibreOffice Calc", "libreoffice-calc"),
        entry("libreoffice-impress", "LibreOffice Impress", "libreoffice-impress"),
        entry("firefox-esr", "Firefox ESR", "firefox-esr"),
        entry("chromium", "Chromium Web Browser", "chromium", {"Network", "WebBrowser"}),
        entry("google-chrome", "Google Chrome", "", {"WebBrowser"}),
        entry("chrome-abcdefgh-Default", "Installed Site", "crx_abcdefgh"),
        entry("slack", "Slack", "Slack"),
        entry("notion-app", "Notion", ""),
        entry("obsidian", "Obsidian", "obsidian"),
        entry("dev.zed.Zed", "Zed", ""),
        entry("sublime_text", "Sublime Text", ""),
        entry("emacs", "Emacs (GUI)", "Emacs", {"TextEditor"}),
        entry("emacsclient", "Emacs (Client)", "Emacs", {"TextEditor"}),
        entry("emacs-mail", "Emacs (Mail)", ""),
        entry("org.gnome.gedit", "Text Editor"),
        entry("org.gnome.TextEditor", "Text Editor"),
        entry("org.xfce.mousepad", "Mousepad"),
        aside(entry("org.xfce.mousepad-settings", "Mousepad Settings")),
        entry("org.kde.kate", "Kate"),
        entry("org.kde.okular", "Okular"),
        aside(entry("okularApplication_pdf", "Okular", "okular")),
        entry("org.gnome.Evince", "Document Viewer"),
        entry("audacity", "Audacity", "audacity"),
        entry("org.kde.kdenlive", "Kdenlive"),
        entry("com.blackmagicdesign.resolve", "DaVinci Resolve", "resolve"),
        entry("com.obsproject.Studio", "OBS Studio", "obs"),
        entry("thunderbird", "Thunderbird Mail", "thunderbird-default"),
        entry("org.telegram.desktop", "Telegram Desktop", "TelegramDesktop"),
        entry("postman", "Postman", "Postman"),
        entry("dbeaver-ce", "DBeaver CE", "DBeaver"),
        entry("debian-xterm", "XTerm", "XTerm", {"System", "TerminalEmulator"}),
        entry("xfce4-terminal", "Xfce Terminal", "", {"GTK", "TerminalEmulator"}),
    };
}

const DesktopEntryIndex& machine() {
    static const DesktopEntryIndex index(everything());
    return index;
}

WindowFacts window(std::string instance, std::string wmClass) {
    WindowFacts facts;
    facts.instance = std::move(instance);
    facts.wmClass = std::move(wmClass);
    return facts;
}

std::string idOf(const WindowFacts& facts, const DesktopEntryIndex& index = machine()) {
    const auto identity = identify(facts, index);
    return identity ? identity->id : "(none)";
}

TEST(WindowIdentity, namesEveryProgramOfTheTable) {
    const struct {
        const char *instance, *wmClass, *gtk, *id;
    } cases[] = {
        {"code", "Code", "", "code"},
        {"cursor", "Cursor", "", "cursor"},
        {"jetbrains-idea-ce", "jetbrains-idea-ce", "", "jetbrains-idea-ce"},
        {"jetbrains-idea", "jetbrains-idea", "", "jetbrains-idea"},
        {"jetbrains-pycharm-ce", "jetbrains-pycharm-ce", "", "jetbrains-pycharm-ce"},
        {"jetbrains-webstorm", "jetbrains-webstorm", "", "jetbrains-webstorm-0d1c"},
        {"figma-linux", "figma-linux", "", "figma-linux"},
        {"gimp", "Gimp", "", "gimp"},
        {"org.inkscape.Inkscape", "Inkscape", "org.inkscape.Inkscape", "org.inkscape.Inkscape"},
        {"krita", "krita", "", "org.kde.krita"},
        {"Blender", "Blender", "", "blender"},
        {"libreoffice", "libreoffice-writer", "org.libreoffice", "libreoffice-writer"},
        {"libreoffice", "libreoffice-calc", "org.libreoffice", "libreoffice-calc"},
        {"libreoffice", "libreoffice-impress", "org.libreoffice", "libreoffice-impress"},
        {"Navigator", "firefox-esr", "", "firefox-esr"},
        {"Firefox", "firefox-esr", "", "firefox-esr"},
        {"chromium (/home/me/other profile)", "Chromium", "", "chromium"},
        {"google-chrome", "Google-chrome", "", "google-chrome"},
        {"crx_abcdefgh", "Google-chrome", "", "chrome-abcdefgh-Default"},
        {"slack", "Slack", "", "slack"},
        {"notion-app", "notion-app", "", "notion-app"},
        {"obsidian", "obsidian", "", "obsidian"},
        {"dev.zed.Zed", "dev.zed.Zed", "", "dev.zed.Zed"},
        {"sublime_text", "Sublime_text", "", "sublime_text"},
        {"emacs", "Emacs", "", "emacs"},
        {"gedit", "Gedit", "org.gnome.gedit", "org.gnome.gedit"},
        {"gnome-text-editor", "gnome-text-editor", "org.gnome.TextEditor", "org.gnome.TextEditor"},
        {"mousepad", "Mousepad", "org.xfce.mousepad", "org.xfce.mousepad"},
        {"mousepad", "Mousepad", "", "org.xfce.mousepad"},
        {"kate", "kate", "", "org.kde.kate"},
        {"okular", "okular", "", "org.kde.okular"},
        {"evince", "Evince", "", "org.gnome.Evince"},
        {"audacity", "audacity", "", "audacity"},
        {"kdenlive", "kdenlive", "", "org.kde.kdenlive"},
        {"resolve", "resolve", "", "com.blackmagicdesign.resolve"},
        {"obs", "obs", "", "com.obsproject.Studio"},
        {"Mail", "thunderbird-default", "", "thunderbird"},
        {"TelegramDesktop", "TelegramDesktop", "", "org.telegram.desktop"},
        {"postman", "Postman", "", "postman"},
        {"DBeaver", "DBeaver", "", "dbeaver-ce"},
        {"xterm", "XTerm", "", "debian-xterm"},
        {"xfce4-terminal", "Xfce4-terminal", "", "xfce4-terminal"},
    };
    for (const auto& one : cases) {
        auto facts = window(one.instance, one.wmClass);
        facts.gtkApplicationId = one.gtk;
        EXPECT_EQ(idOf(facts), one.id) << one.instance << " | " << one.wmClass;
    }
}

TEST(WindowIdentity, anEditorsClientDoesNotTakeTheEditorsWindows) {
    // Whatever the order in which the two files are found.
    for (const bool clientFirst : {false, true}) {
        std::vector<DesktopEntry> entries{entry("emacs", "Emacs", "Emacs"),
                                          entry("emacsclient", "Emacs (Client)", "Emacs")};
        if (clientFirst) std::swap(entries[0], entries[1]);
        const DesktopEntryIndex index(entries);
        EXPECT_EQ(idOf(window("emacs", "Emacs"), index), "emacs");
    }
}

TEST(WindowIdentity, anEntryOutsideTheMenusClaimsNoWindows) {
    const DesktopEntryIndex index(
        {aside(entry("code-url-handler", "Handler", "Code")), entry("code", "Code", "Code")});
    EXPECT_EQ(idOf(window("code", "Code"), index), "code");
    const DesktopEntryIndex alone({aside(entry("code-url-handler", "Handler", "Code"))});
    EXPECT_EQ(idOf(window("code", "Code"), alone), "wmclass:code");
}

TEST(WindowIdentity, anEntryOutsideTheMenusStillNamesTheWindowThatBearsItsId) {
    const DesktopEntryIndex index({aside(entry("gcr-prompter", "Access Prompt"))});
    EXPECT_EQ(idOf(window("gcr-prompter", "Gcr-prompter"), index), "gcr-prompter");
}

TEST(WindowIdentity, theDesktopFilePropertyComesFirstWhenThereIsSuchAFile) {
    auto facts = window("code", "Code");
    const struct {
        const char *property, *id;
    } cases[] = {
        {"org.kde.kate", "org.kde.kate"},
        {"org.kde.kate.desktop", "org.kde.kate"},
        {"/usr/share/applications/org.kde.kate.desktop", "org.kde.kate"},
        {"org.kde.nowhere", "code"},
        {"/", "code"},
        {"", "code"},
    };
    for (const auto& one : cases) {
        facts.kdeDesktopFile = one.property;
        EXPECT_EQ(idOf(facts), one.id) << one.property;
    }
}

TEST(WindowIdentity, classComesBeforeTheToolkitsApplicationId) {
    auto facts = window("slack", "Slack");
    facts.gtkApplicationId = "org.gnome.gedit";
    EXPECT_EQ(idOf(facts), "slack");
}

TEST(WindowIdentity, spacesAndCaseOfAClassFoldIntoTheIdOfAFile) {
    const DesktopEntryIndex index({entry("github-desktop", "GitHub Desktop")});
    EXPECT_EQ(idOf(window("github desktop", "GitHub Desktop"), index), "github-desktop");
}

TEST(WindowIdentity, theLastComponentOfAnIdCountsOnlyWhenItIsUnique) {
    const DesktopEntryIndex one({entry("org.example.Viewer", "Viewer")});
    EXPECT_EQ(idOf(window("viewer", "viewer"), one), "org.example.Viewer");
    const DesktopEntryIndex two({entry("org.example.Viewer", "V"), entry("net.other.viewer", "W")});
    EXPECT_EQ(idOf(window("viewer", "viewer"), two), "wmclass:viewer");
    const DesktopEntryIndex noDomain({entry("python3.11", "Python")});
    EXPECT_EQ(idOf(window("11", "11"), noDomain), "wmclass:11");
}

TEST(WindowIdentity, aWindowThatNobodyClaimsIsCalledByItsClass) {
    const auto identity = identify(window("mytool", "MyTool"), machine());
    EXPECT_EQ(identity, (WindowIdentity{"wmclass:mytool", "MyTool", Source::WmClass, true}));
    EXPECT_EQ(idOf(window("only-instance", "")), "wmclass:only-instance");
    EXPECT_EQ(identify(window("", ""), machine()), std::nullopt);
}

TEST(WindowIdentity, theNameIsTheDesktopFilesElseTheClass) {
    EXPECT_EQ(identify(window("gedit", "Gedit"), machine())->name, "Text Editor");
    const DesktopEntryIndex nameless({entry("thing", "")});
    EXPECT_EQ(identify(window("thing", "Thing"), nameless)->name, "Thing");
}

TEST(WindowIdentity, aSandboxKeepsItsWindowsFromNamesakesOutside) {
    const DesktopEntryIndex index({
        entry("code", "Code (deb)", "Code"),
        flatpak(entry("com.visualstudio.code", "Code (flatpak)", "Code"), "com.visualstudio.code"),
    });
    auto facts = window("code", "Code");
    EXPECT_EQ(idOf(facts, index), "code");
    facts.flatpakId = "com.visualstudio.code";
    EXPECT_EQ(idOf(facts, index), "com.visualstudio.code");

    const DesktopEntryIndex silent({
        entry("code", "Code (deb)", "Code"),
        entry("com.visualstudio.code", "Code (flatpak)"),
    });
    EXPECT_EQ(idOf(facts, silent), "com.visualstudio.code");
}

TEST(WindowIdentity, aSandboxWithSeveralEntriesIsToldApartByClass) {
    const std::string id = "org.libreoffice.LibreOffice";
    const DesktopEntryIndex index({
        flatpak(entry(id, "LibreOffice", "libreoffice-startcenter"), id),
        flatpak(entry(id + ".calc", "Calc", "libreoffice-calc"), id),
        flatpak(entry(id + ".writer", "Writer", "libreoffice-writer"), id),
    });
    auto facts = window("libreoffice", "libreoffice-writer");
    facts.flatpakId = id;
    EXPECT_EQ(idOf(facts, index), id + ".writer");
    facts.wmClass = "Soffice";
    EXPECT_EQ(idOf(facts, index), id);
}

TEST(WindowIdentity, aSandboxedProgramWithoutAFileIsStillNamedByItsSandbox) {
    auto facts = window("thing", "Thing");
    facts.flatpakId = "org.example.Thing";
    const auto identity = identify(facts, machine());
    EXPECT_EQ(identity, (WindowIdentity{"org.example.Thing", "Thing", Source::Sandbox, true}));
}

TEST(WindowIdentity, aSnapIsNamedByItsEntry) {
    const DesktopEntryIndex index({entry("gimp", "GIMP (deb)"), entry("gimp_gimp", "GIMP (snap)")});
    auto facts = window("gimp", "Gimp");
    facts.snapInstance = "gimp";
    EXPECT_EQ(idOf(facts, index), "gimp_gimp");
    facts.snapInstance = "other";
    EXPECT_EQ(idOf(facts, index), "gimp") << "a snap without entries leaves the class to decide";
}

TEST(WindowIdentity, aSiteInAWindowOfItsOwnKeepsItsName) {
    const struct {
        const char *instance, *wmClass, *id;
    } cases[] = {
        {"chrome-docs.google.com__document-Default", "chrome-docs.google.com__document-Default",
         "chrome-docs.google.com__document-Default"},
        {"docs.google.com__document", "Google-chrome", "chrome-docs.google.com__document"},
        {"docs.google.com__document (/tmp/profile)", "Chromium",
         "chrome-docs.google.com__document"},
        {"www.figma.com", "Google-chrome", "chrome-www.figma.com__"},
        {"crx_nobodyinstalled", "Google-chrome", "crx_nobodyinstalled"},
        {"_crx_nobodyinstalled", "Google-chrome", "crx_nobodyinstalled"},
        {"msedge-www.notion.so__-Default", "msedge-www.notion.so__-Default",
         "msedge-www.notion.so__-Default"},
        {"msedge-_abcdefghijklmnopabcdefghijklmnop-Default",
         "msedge-_abcdefghijklmnopabcdefghijklmnop-Default",
         "msedge-_abcdefghijklmnopabcdefghijklmnop-Default"},
        {"brave-abcdefghijklmnopabcdefghijklmnop-Profile_1",
         "brave-abcdefghijklmnopabcdefghijklmnop-Profile_1",
         "brave-abcdefghijklmnopabcdefghijklmnop-Profile_1"},
    };
    for (const auto& one : cases) {
        const auto identity = identify(window(one.instance, one.wmClass), machine());
        ASSERT_TRUE(identity) << one.instance;
        EXPECT_EQ(identity->id, one.id);
        EXPECT_EQ(identity->source, Source::WebApp) << one.instance;
        EXPECT_EQ(identity->name, std::nullopt) << "the class names the browser, not the site";
    }
}

TEST(WindowIdentity, aBrowsersOwnWindowIsNoSite) {
    for (const auto* const instance :
         {"google-chrome", "google-chrome (/tmp/a.b)", "Google-chrome"}) {
        EXPECT_EQ(idOf(window(instance, "Google-chrome")), "google-chrome") << instance;
    }
    EXPECT_EQ(idOf(window("org.example.tool", "Tool")), "wmclass:tool");
    for (const auto* const name :
         {"brave-abcdefghijklmnopabcdefghijklmnop", "brave-abcdefghijklmnopabcdefghijklmno-Default",
          "brave-zbcdefghijklmnopabcdefghijklmnop-Default"}) {
        EXPECT_EQ(identify(window(name, name), machine())->source, Source::WmClass) << name;
    }
}

TEST(WindowIdentity, aTerminalsServiceIsTheTerminal) {
    const auto service = window("gnome-terminal-server", "gnome-terminal-server");
    DesktopEntryIndex index({entry("org.gnome.Terminal", "Terminal", "", {"TerminalEmulator"})});
    const auto identity = identify(service, index);
    ASSERT_TRUE(identity);
    EXPECT_EQ(identity->id, "org.gnome.Terminal");
    EXPECT_EQ(identity->name, "Terminal");
    EXPECT_FALSE(identity->takesKeys);
    // Without the file it keeps its class, and still takes no keys.
    EXPECT_EQ(identify(service, DesktopEntryIndex({}))->id, "wmclass:gnome-terminal-server");
    EXPECT_FALSE(identify(service, DesktopEntryIndex({}))->takesKeys);
}

TEST(WindowIdentity, aDocumentOfTheOfficeIsToldByTheEndOfItsTitle) {
    const auto titled = [](const char* wmClass, const char* title) {
        auto facts = window(wmClass, wmClass);
        facts.title = title;
        return facts;
    };
    const struct {
        const char *wmClass, *title, *id;
    } cases[] = {
        {"libreoffice-startcenter", "Untitled 1 - LibreOffice Writer", "libreoffice-writer"},
        {"libreoffice-startcenter", "budget.ods - LibreOffice Calc", "libreoffice-calc"},
        {"libreoffice-startcenter", "a \u2014 LibreOffice Impress", "libreoffice-impress"},
        {"libreoffice-startcenter", "a \u2013 LibreOffice Calc", "libreoffice-calc"},
        {"soffice", "letter.odt - LibreOffice Writer", "libreoffice-writer"},
        {"Soffice", "letter.odt - LibreOffice Writer", "libreoffice-writer"},
        // Those without a desktop file here keep the class they ought to have.
        {"libreoffice-startcenter", "plan.odg - LibreOffice Draw", "wmclass:libreoffice-draw"},
        {"libreoffice-startcenter", "x - LibreOffice Math", "wmclass:libreoffice-math"},
        {"libreoffice-startcenter", "books.odb - LibreOffice Base", "wmclass:libreoffice-base"},
        // The start centre itself, and titles that only look alike.
        {"libreoffice-startcenter", "LibreOffice", "libreoffice-startcenter"},
        {"libreoffice-startcenter", "", "libreoffice-startcenter"},
        {"libreoffice-startcenter", "LibreOffice Writer", "libreoffice-startcenter"},
        {"libreoffice-startcenter", "MyLibreOffice Writer", "libreoffice-startcenter"},
        {"libreoffice-startcenter", "About Writer", "libreoffice-startcenter"},
        {"libreoffice-startcenter", "a - LibreOffice Writer (read-only)",
         "libreoffice-startcenter"},
        // What says itself what it is is believed, and a title of another program means nothing.
        {"libreoffice-calc", "a - LibreOffice Writer", "libreoffice-calc"},
        {"Code", "notes - LibreOffice Writer", "code"},
    };
    for (const auto& one : cases) {
        EXPECT_EQ(idOf(titled(one.wmClass, one.title)), one.id) << one.wmClass << ", " << one.title;
    }
    // The property of the desktop's own names the start centre as well.
    auto facts = titled("libreoffice-startcenter", "a - LibreOffice Calc");
    facts.kdeDesktopFile = "libreoffice-startcenter";
    EXPECT_EQ(idOf(facts), "libreoffice-calc");
}

TEST(WindowIdentity, theOfficeIsKnownByItsProgramAndByIdsWithoutClasses) {
    WindowFacts facts = window("LibreOffice", "LibreOffice");
    facts.executable = "/usr/lib/libreoffice/program/soffice.bin";
    facts.title = "a.ods - LibreOffice Calc";
    const DesktopEntryIndex flathub({entry("org.libreoffice.LibreOffice.calc", "Calc")});
    EXPECT_EQ(identify(facts, flathub)->id, "org.libreoffice.LibreOffice.calc");
    const DesktopEntryIndex snap({entry("libreoffice_calc", "Calc")});
    EXPECT_EQ(identify(facts, snap)->id, "libreoffice_calc");
    facts.instance = facts.wmClass = "x-window";
    EXPECT_EQ(identify(facts, snap)->id, "libreoffice_calc");
    facts.executable = "/usr/bin/other";
    EXPECT_EQ(identify(facts, snap)->id, "wmclass:x-window");
    // A terminal's service by its program.
    facts.executable = "/usr/libexec/gnome-terminal-server";
    EXPECT_EQ(identify(facts, DesktopEntryIndex({entry("org.gnome.Terminal", "Terminal")}))->id,
              "org.gnome.Terminal");
}

TEST(WindowIdentity, theOfficeInASandboxIsToldByItsTitleAmongItsOwn) {
    const DesktopEntryIndex index(
        {flatpak(entry("org.libreoffice.LibreOffice.calc", "Calc", "libreoffice-calc"),
                 "org.libreoffice.LibreOffice"),
         flatpak(entry("org.libreoffice.LibreOffice", "LibreOffice", "libreoffice-startcenter"),
                 "org.libreoffice.LibreOffice"),
         entry("libreoffice-calc", "Calc outside", "libreoffice-calc")});
    auto facts = window("libreoffice-startcenter", "libreoffice-startcenter");
    facts.flatpakId = "org.libreoffice.LibreOffice";
    facts.title = "budget.ods - LibreOffice Calc";
    EXPECT_EQ(identify(facts, index)->id, "org.libreoffice.LibreOffice.calc");
    EXPECT_EQ(identify(facts, DesktopEntryIndex({}))->id, "org.libreoffice.LibreOffice");
}

TEST(WindowIdentity, terminalsAndEmacsTakeNoKeys) {
    const struct {
        const char *instance, *wmClass;
        bool takesKeys;
    } cases[] = {
        {"xterm", "XTerm", false},
        {"xfce4-terminal", "Xfce4-terminal", false},
        {"Alacritty", "Alacritty", false},
        {"gnome-terminal-server", "Gnome-terminal", false},
        {"org.wezfurlong.wezterm", "org.wezfurlong.wezterm", false},
        {"st-256color", "st-256color", false},
        {"kitty", "kitty", false},
        {"emacs", "Emacs", false},
        {"gedit", "Gedit", true},
        {"code", "Code", true},
        {"stellarium", "Stellarium", true},
        {"", "", true},
    };
    for (const auto& one : cases) {
        const auto identity = identify(window(one.instance, one.wmClass), machine());
        EXPECT_EQ(!identity || identity->takesKeys, one.takesKeys) << one.wmClass;
    }
    auto flatpakEmacs = window("x", "X");
    flatpakEmacs.flatpakId = "org.gnu.emacs";
    EXPECT_FALSE(identify(flatpakEmacs, machine())->takesKeys);
}

TEST(WindowChain, aDialogBelongsToTheWindowItIsFor) {
    auto dialog = window("xdg-desktop-portal-gtk", "Xdg-desktop-portal-gtk");
    dialog.process = 7;
    auto owner = window("gedit", "Gedit");
    owner.process = 9;
    const std::vector<WindowFacts> chain{dialog, owner};
    const auto found = identify(chain, {}, machine());
    ASSERT_TRUE(found);
    EXPECT_EQ(found->identity.id, "org.gnome.gedit");
    EXPECT_EQ(found->process, 9);
}

TEST(WindowChain, aParentThatSaysNothingLeavesTheDialogToSpeak) {
    const std::vector<WindowFacts> chain{window("gedit", "Gedit"), window("", "")};
    EXPECT_EQ(identify(chain, {}, machine())->identity.id, "org.gnome.gedit");
}

TEST(WindowChain, aDialogOfUnknownClassBelongsToItsTopmostNeighbour) {
    const std::vector<WindowFacts> chain{window("soffice", "Soffice")};
    const std::vector<WindowFacts> neighbours{window("soffice", "Soffice"),
                                              window("libreoffice", "libreoffice-calc"),
                                              window("libreoffice", "libreoffice-writer")};
    EXPECT_EQ(identify(chain, neighbours, machine())->identity.id, "libreoffice-calc");
    EXPECT_EQ(identify(chain, {}, machine())->identity.id, "wmclass:soffice");
}

TEST(WindowChain, nothingSaidIsNothingKnown) {
    EXPECT_EQ(identify(std::vector<WindowFacts>{window("", "")}, {}, machine()), std::nullopt);
    EXPECT_EQ(identify(std::span<const WindowFacts>{}, {}, machine()), std::nullopt);
}

TEST(ProcessIds, tellApplicationsOfOneProcessApart) {
    const std::set<std::int64_t> different{
        processIdOf(100, "libreoffice-writer"), processIdOf(100, "libreoffice-calc"),
        processIdOf(101, "libreoffice-writer"), processIdOf(0, "libreoffice-writer")};
    EXPECT_EQ(different.size(), 4U);
    EXPECT_EQ(processIdOf(100, "a"), processIdOf(100, "a"));
    for (const auto id : different) EXPECT_GT(id, 0);
}

TEST(Sandboxes, flatpakNamesItselfInItsOwnDescription) {
    EXPECT_EQ(flatpakIdFrom("[Application]\nname=org.example.App\nruntime=x\n"), "org.example.App");
    EXPECT_EQ(flatpakIdFrom("[Instance]\nname=wrong\n[Application]\nname=right"), "right");
    EXPECT_EQ(flatpakIdFrom("[Runtime]\nname=org.example.Platform\n"), "");
    EXPECT_EQ(flatpakIdFrom(""), "");
}

TEST(Sandboxes, snapsShowInTheControlGroups) {
    EXPECT_EQ(snapInstanceFrom("0::/user.slice/app.slice/snap.gimp.gimp-1234.scope\n"), "gimp");
    EXPECT_EQ(snapInstanceFrom("1:x:/snap.code_beta.code.1b-2.scope"), "code_beta");
    EXPECT_EQ(snapInstanceFrom("0::/user.slice/app-gedit.scope\n"), "");
    EXPECT_EQ(snapInstanceFrom("0::/snap."), "");
    EXPECT_EQ(snapInstanceFrom(""), "");
}

DesktopEntry starting(DesktopEntry made, std::string exec) {
    made.exec = std::move(exec);
    return made;
}

TEST(WindowIdentity, AnIdentifierHasNoControlCharactersQuotesOrBackslashes) {
    const DesktopEntryIndex index({entry("good", "Good"), entry("b\"ad", "Bad", "Claimed")});
    for (const auto* const name : {"line\nbreak", "a\",\"supported\":true", "back\\slash",
                                   "es\x1b[0mcape", "de\x7fl", "Claimed"}) {
        EXPECT_EQ(identify(window(name, name), index), std::nullopt) << name;
    }
    EXPECT_TRUE(identify(window("good", "good"), index));
    EXPECT_TRUE(identify(window("gr\u00fc\u00df", "gr\u00fc\u00df"), index));
}

TEST(WindowIdentity, TheExecutableTellsWhereNothingElseDoes) {
    const DesktopEntryIndex index({
        starting(entry("lm-studio", "LM Studio"), "/home/me/LM-Studio-0.3.AppImage --x %U"),
        starting(entry("spaced", "Spaced"), "\"/opt/My Program/run me\" %f"),
        starting(entry("plain", "Plain"), "plainly"),
        starting(aside(entry("helper", "Helper")), "plainly --help"),
        starting(entry("one", "One"), "twice"),
        starting(entry("other", "Other"), "/usr/bin/twice -o"),
        starting(entry("script", "Script"), "python3 /opt/script.py"),
        starting(entry("wrapped", "Wrapped"), "sh -c wrapped"),
        entry("silent", "Silent"),
    });
    const auto idOf = [&](std::string executable) {
        auto facts = window("main", "Main");
        facts.executable = std::move(executable);
        return identify(facts, index)->id;
    };
    EXPECT_EQ(idOf("/home/me/LM-Studio-0.3.AppImage"), "lm-studio");
    EXPECT_EQ(idOf("/opt/My Program/run me"), "spaced");
    EXPECT_EQ(idOf("/usr/bin/plainly"), "plain");
    EXPECT_EQ(idOf("/usr/bin/twice"), "wmclass:main") << "one of two, nobody knows which";
    EXPECT_EQ(idOf("/usr/bin/python3"), "wmclass:main") << "anybody's program may run in it";
    EXPECT_EQ(idOf("/usr/bin/python3.11"), "wmclass:main");
    EXPECT_EQ(idOf("/usr/bin/sh"), "wmclass:main");
    EXPECT_EQ(idOf(""), "wmclass:main");
    EXPECT_EQ(idOf("/usr/bin/"), "wmclass:main");
    // The class of a window still counts before it.
    auto facts = window("spaced", "Spaced");
    facts.executable = "/usr/bin/plainly";
    EXPECT_EQ(identify(facts, index)->id, "spaced");
}

TEST(WindowIdentity, AnAppImageIsNamedByItsEnvironment) {
    using std::string_literals::operator""s;
    EXPECT_EQ(appImageFrom("HOME=/home/me\0APPIMAGE=/opt/X.AppImage\0ARGV0=x\0"s),
              "/opt/X.AppImage");
    EXPECT_EQ(appImageFrom("APPIMAGE=/opt/X.AppImage"), "/opt/X.AppImage");
    EXPECT_EQ(appImageFrom("NOAPPIMAGE=/x\0HOME=/\0"s), "");
    EXPECT_EQ(appImageFrom(""), "");
}

} // namespace
} // namespace kelvane
