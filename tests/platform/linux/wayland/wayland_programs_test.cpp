// Real programs of every kind on real compositors: who is in front, what is selected in it, a
// picture of its window, and the clipboard afterwards. And terminals, which get no key.

#include "tests/platform/linux/wayland/compositor_stage.h"
#include "text/one_of.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kelvane {
namespace {

using namespace std::chrono_literals;

constexpr auto kDocument = "First line\nZweite Zeile: grüße 😀\n\tthird";

/// The limit of what only says that it is not going to happen: a browser that starts on a machine
/// where everything is busy takes some ten times what it does alone.
constexpr auto kProgramPatience = 120s;
/// Pixels that are another colour once all of a document is selected: more than a blinking cursor,
/// and less than three marked lines.
constexpr std::size_t kMarked = 500;
/// Pixels of a page of one colour: more than any button or line of the program's own.
constexpr std::size_t kPage = 40'000;
constexpr std::uint32_t kPageColour = 0xFF3366AA;
constexpr auto kPageColourName = "#3366aa";

/// With which programs of every toolkit have no way to the compositor but its X server.
const std::map<std::string, std::string> kAsX11Program{{"WAYLAND_DISPLAY", ""},
                                                       {"GDK_BACKEND", "x11"},
                                                       {"QT_QPA_PLATFORM", "xcb"},
                                                       {"MOZ_ENABLE_WAYLAND", "0"}};

constexpr std::string_view kPlainText = "text/plain;charset=utf-8";
/// What is not kept, or not byte for byte: an X server's own names, the same text in other
/// encodings, the same picture in others, and what asks for something rather than being it.
constexpr std::array<std::string_view, 10> kSaysNoMore{
    "TARGETS", "MULTIPLE",      "SAVE_TARGETS", "TIMESTAMP", "STRING",
    "TEXT",    "COMPOUND_TEXT", "text/plain",   "image/bmp", "GTK_TEXT_BUFFER_CONTENTS"};

/// A program with a document open.
struct Program {
    std::vector<std::string> command;
    std::map<std::string, std::string> variables;
    std::string id;    ///< Of its desktop file.
    std::string text;  ///< What all of the document is, copied.
    bool page = false; ///< The document has the colour of a page.
    /// The program by which it is known to be installed, when not by the command's own.
    std::string needs = {};
};

class ProgramOnCompositor : public OnCompositor {
protected:
    void isCaptured(const Program& program);

    Program editor(std::vector<std::string> command, std::string id);
    Program mousepad();
    Program gnomeTextEditor();
    Program kate();
    Program qt6(std::string id);
    Program firefox();
    Program chromium();
    Program office(const std::string& application, const std::string& name,
                   const std::string& document, const std::string& text);
    Program calc();
    Program writer();

    std::string folder(const std::string& name) {
        const auto path = stage().desktop.home() / name;
        std::filesystem::create_directories(path);
        return path.string();
    }
    std::string page();

private:
    void showsItsPage();
    /// Formats with what each has to hold; absent: whatever it is.
    using Wanted = std::map<std::string, std::optional<std::string>>;
    /// Once the program has come to it.
    void selectsAll(const Program& program);
    /// As the user has it do so. Of all but the text it may make a new one for whoever asks.
    Wanted copiesItself(const Program& program);
    /// What of `wanted` an independent program does not find on the clipboard, or not as it is
    /// there; empty when it finds all of it.
    std::string lost(const Wanted& wanted);
    /// Captured with what `copied` puts on the clipboard, and tells, which comes back.
    void isCapturedWith(const Program& program, const std::function<Wanted()>& copied);
};

/// As an X11 program, on the compositor's X server.
class X11ProgramOnCompositor : public ProgramOnCompositor {
protected:
    [[nodiscard]] bool xwayland() const override { return true; }
};

std::string ProgramOnCompositor::lost(const Wanted& wanted) {
    std::istringstream lines(stage().desktop.outputOf({"wl-paste", "--list-types"}));
    std::set<std::string> types;
    for (std::string type; std::getline(lines, type);) types.insert(type);
    std::string lost;
    for (const auto& [type, content] : wanted) {
        if (!types.contains(type)) {
            lost += type + " is not there\n";
        } else if (content) {
            const auto now = stage().pasted(type);
            if (now != *content) lost += type + " is \"" + now.substr(0, 100) + "\"\n";
        }
    }
    return lost;
}

std::optional<std::string> notInstalled(const std::string& program) {
    const bool there = program.find('/') != program.npos || installedProgram(program);
    if (there) return std::nullopt;
    return "NOT TESTED: " + program + " is not installed (scripts/bootstrap test)";
}

bool eventually(const std::function<bool()>& condition) {
    return WaylandDesktop::waitUntil(condition, kProgramPatience);
}

/// How many pixels are not the same in both; none in pictures of different sizes.
std::size_t differing(const PngPixels& one, const PngPixels& other) {
    std::size_t found = 0;
    if (one.width != other.width || one.height != other.height) return 0;
    for (std::size_t i = 0; i + 4 <= one.rgba.size(); i += 4) {
        found += std::equal(&one.rgba[i], &one.rgba[i] + 4, &other.rgba[i]) ? 0U : 1U;
    }
    return found;
}

Program ProgramOnCompositor::editor(std::vector<std::string> command, std::string id) {
    command.push_back(stage().desktop.file("document.txt", kDocument).string());
    return {std::move(command), {}, std::move(id), kDocument};
}

std::string ProgramOnCompositor::page() {
    const auto file = stage().desktop.file(
        "page.html", "<!doctype html><meta charset=utf-8><title>page</title><body "
                     "style='color:#fff;background:" +
                         std::string(kPageColourName) + "'><pre>" + kDocument + "</pre>");
    return "file://" + file.string();
}

Program ProgramOnCompositor::firefox() {
    const auto profile = folder("firefox");
    stage().desktop.file("firefox/user.js", R"(
user_pref("app.normandy.enabled", false);
user_pref("app.update.enabled", false);
user_pref("browser.aboutwelcome.enabled", false);
user_pref("browser.preonboarding.enabled", false);
user_pref("browser.sessionstore.resume_from_crash", false);
user_pref("browser.shell.checkDefaultBrowser", false);
user_pref("browser.startup.homepage_override.mstone", "ignore");
user_pref("browser.startup.page", 0);
user_pref("browser.translations.automaticallyPopup", false);
user_pref("datareporting.policy.dataSubmissionEnabled", false);
user_pref("datareporting.policy.dataSubmissionPolicyBypassNotification", true);
user_pref("network.proxy.http", "127.0.0.1");
user_pref("network.proxy.http_port", 9);
user_pref("network.proxy.share_proxy_settings", true);
user_pref("network.proxy.ssl", "127.0.0.1");
user_pref("network.proxy.ssl_port", 9);
user_pref("network.proxy.type", 1);
)");
    return {{"firefox-esr", "--no-remote", "--profile", profile, page()},
            {},
            "firefox-esr",
            kDocument,
            true};
}

Program ProgramOnCompositor::chromium() {
    const std::string platform = xwayland() ? "x11" : "wayland";
    return {{"chromium", "--ozone-platform=" + platform, "--no-sandbox", "--test-type",
             "--disable-gpu", "--disable-dev-shm-usage", "--no-first-run",
             "--no-default-browser-check", "--password-store=basic", "--disable-sync",
             "--disable-extensions", "--disable-background-networking",
             "--disable-component-update", "--proxy-server=127.0.0.1:9",
             "--user-data-dir=" + folder("chromium"), page()},
            {},
            "chromium",
            kDocument,
            true};
}

Program ProgramOnCompositor::office(const std::string& application, const std::string& name,
                                    const std::string& document, const std::string& text) {
    // Each has a profile of its own: one that still ends would be handed the document of the next.
    const auto profile = application + "-profile";
    folder(profile + "/user");
    stage().desktop.file(profile + "/user/registrymodifications.xcu", R"(<?xml version="1.0"?>
<oor:items xmlns:oor="http://openoffice.org/2001/registry">
<item oor:path="/org.openoffice.Office.Common/Misc">
<prop oor:name="FirstRun" oor:op="fuse"><value>false</value></prop></item>
<item oor:path="/org.openoffice.Office.Common/Misc">
<prop oor:name="ShowTipOfTheDay" oor:op="fuse"><value>false</value></prop></item>
<item oor:path="/org.openoffice.Setup/Product">
<prop oor:name="ooSetupLastVersion" oor:op="fuse"><value>99.9</value></prop></item>
</oor:items>
)");
    const auto file = stage().desktop.file(name, R"(<?xml version="1.0" encoding="UTF-8"?>
<office:document xmlns:office="urn:oasis:names:tc:opendocument:xmlns:office:1.0"
 xmlns:style="urn:oasis:names:tc:opendocument:xmlns:style:1.0"
 xmlns:fo="urn:oasis:names:tc:opendocument:xmlns:xsl-fo-compatible:1.0"
 xmlns:table="urn:oasis:names:tc:opendocument:xmlns:table:1.0"
 xmlns:text="urn:oasis:names:tc:opendocument:xmlns:text:1.0" office:version="1.3" )" +
                                                     document + "</office:document>\n");
    return {{"soffice", "--norestore", "--nologo", "--nofirststartwizard",
             "-env:UserInstallation=file://" + folder(profile), file.string()},
            {{"SAL_USE_VCLPLUGIN", "gtk3"}},
            "libreoffice-" + application,
            text,
            true,
            "lo" + application};
}

Program ProgramOnCompositor::calc() {
    const std::string head = R"(office:mimetype="application/vnd.oasis.opendocument.spreadsheet">
<office:automatic-styles>
<style:style style:name="coloured" style:family="table-cell">
<style:table-cell-properties fo:background-color=")";
    const std::string body = R"("/></style:style>
<style:style style:name="high" style:family="table-row">
<style:table-row-properties style:row-height="4cm"/></style:style>
<style:style style:name="wide" style:family="table-column">
<style:table-column-properties style:column-width="6cm"/></style:style>
</office:automatic-styles>
<office:body><office:spreadsheet><table:table table:name="one">
<table:table-column table:style-name="wide" table:number-columns-repeated="2"/>
<table:table-row table:style-name="high">
<table:table-cell table:style-name="coloured" office:value-type="string">
<text:p>Umsatz</text:p></table:table-cell>
<table:table-cell table:style-name="coloured" office:value-type="float" office:value="12"/>
</table:table-row>
<table:table-row>
<table:table-cell office:value-type="string"><text:p>grüße</text:p></table:table-cell>
<table:table-cell office:value-type="float" office:value="3"/>
</table:table-row>
</table:table></office:spreadsheet></office:body>)";
    return office("calc", "sheet.fods", head + kPageColourName + body, "Umsatz\t12\ngrüße\t3\n");
}

Program ProgramOnCompositor::writer() {
    const std::string head = R"(office:mimetype="application/vnd.oasis.opendocument.text">
<office:automatic-styles>
<style:page-layout style:name="page">
<style:page-layout-properties fo:page-width="15cm" fo:page-height="15cm" fo:background-color=")";
    const std::string body = R"("/></style:page-layout>
</office:automatic-styles>
<office:master-styles><style:master-page style:name="Standard" style:page-layout-name="page"/>
</office:master-styles>
<office:body><office:text><text:p>First line</text:p><text:p>Zweite Zeile: grüße 😀</text:p>
<text:p><text:tab/>third</text:p></office:text></office:body>)";
    return office("writer", "letter.fodt", head + kPageColourName + body, kDocument);
}

void ProgramOnCompositor::showsItsPage() {
    std::optional<PngPixels> picture;
    EXPECT_TRUE(eventually([&] {
        picture = stage().picture();
        return picture && picture->count(kPageColour) > kPage;
    })) << (picture ? std::to_string(picture->count(kPageColour)) + " pixels" : "no picture");
}

void ProgramOnCompositor::selectsAll(const Program& program) {
    // The window can be there before its document is, and an editor that has read its document
    // puts the cursor where it was last time, which ends a selection.
    EXPECT_TRUE(eventually([&] {
        stage().press({kLeftControl, kKeyA});
        return WaylandDesktop::waitUntil(
            [&] {
                return stage().held(SelectionName::Primary, std::string(kPlainText)) ==
                       program.text;
            },
            1s);
    })) << "nothing is selected";
}

ProgramOnCompositor::Wanted ProgramOnCompositor::copiesItself(const Program& program) {
    Wanted wanted;
    EXPECT_TRUE(eventually([&] {
        stage().press({kLeftControl, kKeyC});
        return WaylandDesktop::waitUntil(
            [&] {
                const auto now = stage().selections->seen(SelectionName::Clipboard);
                wanted.clear();
                for (const auto& type : now.formats) {
                    if (!text::isOneOf(type, kSaysNoMore)) wanted[type] = std::nullopt;
                }
                return stage().held(SelectionName::Clipboard, std::string(kPlainText)) ==
                       program.text;
            },
            1s);
    })) << "the program does not copy";
    wanted[std::string(kPlainText)] = program.text;
    return wanted;
}

void ProgramOnCompositor::isCapturedWith(const Program& program,
                                         const std::function<Wanted()>& copied) {
    // A program that is too busy to copy in time may do so later than anybody watches for it, even
    // when PRIMARY stood in: then what is there is not what was there before.
    bool owesACopy = false;
    std::string text;
    Wanted before;
    std::string missed;
    eventually([&] {
        selectsAll(program);
        before = copied();
        const auto changes = stage().selections->changes();
        text = stage().capture().value_or("(nothing)");
        // The program's own copy, and what was put back.
        (void)WaylandDesktop::waitUntil([&] { return stage().person->answers(); });
        if (stage().selections->changes() < changes + 2) owesACopy = true;
        if (text != program.text) {
            owesACopy = true;
            return HasFailure();
        }
        missed = lost(before);
        // Formats that their owner is too busy to tell in time are not kept. Without the text no
        // key is posted.
        const bool textIsLost = missed.find(kPlainText) != missed.npos;
        return missed.empty() || (textIsLost && !owesACopy);
    });
    EXPECT_EQ(text, program.text);
    EXPECT_EQ(missed, "");
}

void ProgramOnCompositor::isCaptured(const Program& program) {
    const auto& needed = program.needs.empty() ? program.command.front() : program.needs;
    if (const auto why = notInstalled(needed)) GTEST_SKIP() << *why;
    auto variables = program.variables;
    if (xwayland()) variables.insert(kAsX11Program.begin(), kAsX11Program.end());
    const auto started = start(program.command, variables);
    ASSERT_TRUE(stage().waitForFront(program.id, kProgramPatience));
    if (program.page) showsItsPage();
    std::optional<PngPixels> unmarked;
    ASSERT_TRUE(eventually([&] { return (unmarked = stage().picture()).has_value(); }));

    const std::string picture = "\x89PNG\r\n\x1a\n" + std::string(100'000, '\xA5');
    const Wanted others{{std::string(kPlainText), "mine: grüße"},
                        {"UTF8_STRING", "mine: grüße"},
                        {"image/png", picture},
                        {"text/html", "<b>mine</b>"}};
    const auto anotherCopies = [&] {
        stage().copies({{"image/png", "image/png", 8, picture},
                        {"text/html", "text/html", 8, "<b>mine</b>"},
                        {"UTF8_STRING", "UTF8_STRING", 8, "mine: grüße"}});
        return Wanted{others};
    };
    isCapturedWith(program, anotherCopies);
    EXPECT_TRUE(eventually([&] {
        const auto marked = stage().picture();
        return marked && differing(*unmarked, *marked) > kMarked;
    })) << "a picture does not show what is selected";
    if (HasFailure()) return;
    bool isFirst = true; // With the clipboard the product's own, unless that comes to nothing.
    isCapturedWith(program,
                   [&] { return std::exchange(isFirst, false) ? others : anotherCopies(); });
    isCapturedWith(program, [&] { return copiesItself(program); });
    stage().desktop.end(started);
}

Program ProgramOnCompositor::mousepad() {
    return editor({"mousepad", "--disable-server"}, "org.xfce.mousepad");
}

Program ProgramOnCompositor::gnomeTextEditor() {
    return editor({"gnome-text-editor", "-s"}, "org.gnome.TextEditor");
}

Program ProgramOnCompositor::kate() {
    return editor({"kate", "--new", "--block"}, "org.kde.kate");
}

Program ProgramOnCompositor::qt6(std::string id) {
    return {{KELVANE_TEXT_WINDOW, "kelvane.probe", "probe", "400", "300", kDocument},
            {},
            std::move(id),
            kDocument};
}

TEST_P(ProgramOnCompositor, ofGtk3IsCaptured) {
    isCaptured(mousepad());
}

TEST_P(ProgramOnCompositor, ofGtk4IsCaptured) {
    isCaptured(gnomeTextEditor());
}

TEST_P(ProgramOnCompositor, ofQt5IsCaptured) {
    isCaptured(kate());
}

TEST_P(ProgramOnCompositor, ofQt6IsCaptured) {
    isCaptured(qt6("wmclass:kelvane.probe"));
}

TEST_P(ProgramOnCompositor, firefoxIsCaptured) {
    isCaptured(firefox());
}

TEST_P(ProgramOnCompositor, chromiumIsCaptured) {
    isCaptured(chromium());
}

TEST_P(ProgramOnCompositor, calcIsCaptured) {
    isCaptured(calc());
}

TEST_P(ProgramOnCompositor, writerIsCaptured) {
    isCaptured(writer());
}

TEST_P(X11ProgramOnCompositor, ofGtk3IsCaptured) {
    isCaptured(mousepad());
}

TEST_P(X11ProgramOnCompositor, ofGtk4IsCaptured) {
    isCaptured(gnomeTextEditor());
}

TEST_P(X11ProgramOnCompositor, ofQt5IsCaptured) {
    isCaptured(kate());
}

TEST_P(X11ProgramOnCompositor, ofQt6IsCaptured) {
    isCaptured(qt6("wmclass:text_window")); // Qt takes the class from the program's file.
}

TEST_P(X11ProgramOnCompositor, firefoxIsCaptured) {
    isCaptured(firefox());
}

TEST_P(X11ProgramOnCompositor, chromiumIsCaptured) {
    isCaptured(chromium());
}

TEST_P(X11ProgramOnCompositor, calcIsCaptured) {
    isCaptured(calc());
}

TEST_P(X11ProgramOnCompositor, writerIsCaptured) {
    isCaptured(writer());
}

class TerminalOnCompositor : public OnCompositor {
protected:
    /// What runs in it shows a word and writes down what it gets.
    struct Typed {
        std::vector<std::string> command;
        std::filesystem::path notes;
    };
    Typed child() {
        auto& desktop = stage().desktop;
        Typed typed{{}, desktop.home() / "typed"};
        std::filesystem::remove(typed.notes);
        const auto script =
            desktop.file("child.sh", "echo selectable\nstty raw -echo\nexec cat > " +
                                         typed.notes.string() + "\n");
        typed.command = {"sh", script.string()};
        return typed;
    }

    void getsNoKey(std::vector<std::string> command, const Typed& typed, const std::string& id);
};

void TerminalOnCompositor::getsNoKey(std::vector<std::string> command, const Typed& typed,
                                     const std::string& id) {
    if (const auto why = notInstalled(command.front())) GTEST_SKIP() << *why;
    start(command);
    ASSERT_TRUE(stage().waitForFront(id, kProgramPatience));
    const auto content = [&] {
        std::ifstream file(typed.notes, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    };
    ASSERT_TRUE(eventually([&] { return std::filesystem::exists(typed.notes); }));
    stage().copies({{"UTF8_STRING", "UTF8_STRING", 8, "mine"}});
    EXPECT_EQ(stage().capture(), std::nullopt);
    // What is typed afterwards comes after everything that was posted before.
    ASSERT_TRUE(eventually([&] {
        stage().press({kKeyA});
        return !content().empty();
    }));
    EXPECT_EQ(content().front(), 'a');
    EXPECT_TRUE(stage().pastes("mine"));
}

TEST_P(TerminalOnCompositor, ofGtk3GetsNoKey) {
    const auto typed = child();
    std::vector<std::string> command{"xfce4-terminal", "--disable-server", "-x"};
    command.insert(command.end(), typed.command.begin(), typed.command.end());
    ASSERT_NO_FATAL_FAILURE(getsNoKey(command, typed, "xfce4-terminal"));
    if (IsSkipped()) return;
    std::optional<std::string> text;
    EXPECT_TRUE(eventually([&] {
        stage().press({kLeftControl, kLeftShift, kKeyA}); // Selects all that it shows.
        text = stage().capture();
        return text && text->starts_with("selectable");
    })) << text.value_or("(nothing)");
    EXPECT_TRUE(stage().pastes("mine"));
}

TEST_P(TerminalOnCompositor, ofQt5GetsNoKey) {
    const auto typed = child();
    getsNoKey({"qterminal", "-e", typed.command[0] + " " + typed.command[1]}, typed, "qterminal");
}

/// Not on KWin: foot divides by the size of its screen, and a virtual one is 0 mm wide there.
class FootOnCompositor : public TerminalOnCompositor {};

TEST_P(FootOnCompositor, getsNoKey) {
    const auto typed = child();
    getsNoKey({"foot", typed.command[0], typed.command[1]}, typed, "foot");
}

const auto kCompositors = testing::Values(Compositor::Sway, Compositor::KWin);
const auto kNames = [](const testing::TestParamInfo<Compositor>& compositor) {
    return std::string(nameOf(compositor.param));
};
INSTANTIATE_TEST_SUITE_P(Compositors, ProgramOnCompositor, kCompositors, kNames);
INSTANTIATE_TEST_SUITE_P(Compositors, X11ProgramOnCompositor, kCompositors, kNames);
INSTANTIATE_TEST_SUITE_P(Compositors, TerminalOnCompositor, kCompositors, kNames);
INSTANTIATE_TEST_SUITE_P(Compositors, FootOnCompositor, testing::Values(Compositor::Sway), kNames);

} // namespace
} // namespace kelvane
