#include "harness/installation.h"

#include "platform/ports/environment.h"
#include "text/xdg_folders.h"

namespace kelvane {

namespace {

namespace fs = std::filesystem;

/// Nothing is escaped: the property list reads as its readers have always seen it.
std::string launchAgent(const Installation& installation) {
    return R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0"><dict>
  <key>Label</key><string>)" +
           installation.bundleId +
           R"(</string>
  <key>ProgramArguments</key><array><string>)" +
           installedExecutable(installation).string() +
           R"(</string></array>
  <key>RunAtLoad</key><true/>
  <key>LimitLoadToSessionType</key><string>Aqua</string>
</dict></plist>)";
}

/// A text as the value of a desktop entry's key.
std::string entryValue(std::string_view text) {
    std::string value;
    for (const char character : text) {
        switch (character) {
        case '\\':
            value += "\\\\";
            break;
        case '\n':
            value += "\\n";
            break;
        case '\r':
            value += "\\r";
            break;
        case '\t':
            value += "\\t";
            break;
        default:
            value += character;
        }
    }
    // A blank at the beginning would be taken for one that belongs to the equals sign.
    if (value.starts_with(' ')) value.replace(0, 1, "\\s");
    return value;
}

/// The entry of the applications menu, and of autostart but for what that adds: what a package
/// installs for everybody says the same of another place.
std::string desktopEntry(const Installation& installation) {
    const auto program = installedExecutable(installation);
    const auto icon = installedBundle(installation) / "Contents" / "Resources" / "brask.png";
    // No startup notification: the first start shows no window, and a desktop would wait for one
    // with a busy pointer.
    return "[Desktop Entry]\n"
           "Type=Application\n"
           "Name=Kelvane Companion\n"
           "GenericName=Work grader\n"
           "Comment=Grades your work before it ships\n"
           "Exec=" +
           execValue(program) +
           "\n"
           "TryExec=" +
           entryValue(program.string()) +
           "\n"
           "Icon=" +
           entryValue(icon.string()) +
           "\n"
           "Terminal=false\n"
           "StartupNotify=false\n"
           "StartupWMClass=" +
           entryValue(installation.bundleId) +
           "\n"
           "Categories=Utility;\n"
           "Keywords=grade;review;quality;\n";
}

/// What KWin lets a program do whose executable an entry of the menu names: press the key that
/// copies, list windows, and take their pictures.
constexpr std::string_view kAskedOfKwin =
    "X-KDE-Wayland-Interfaces=org_kde_kwin_fake_input,org_kde_plasma_window_management\n"
    "X-KDE-DBUS-Restricted-Interfaces=org.kde.KWin.ScreenShot2\n";

} // namespace

fs::path configHome(Environment& environment, const fs::path& home) {
    return text::xdgConfigHome(environment.get("XDG_CONFIG_HOME").value_or(""), home);
}

fs::path dataHome(Environment& environment, const fs::path& home) {
    return text::xdgDataHome(environment.get("XDG_DATA_HOME").value_or(""), home);
}

fs::path installedBundle(const Installation& installation) {
    return installation.home / "Applications" / "Kelvane.app";
}

fs::path installedExecutable(const Installation& installation) {
    return installedBundle(installation) / "Contents" / "MacOS" / "Kelvane";
}

std::vector<InstalledFile> startFiles(const Installation& installation) {
    if (installation.loginItem == LoginItem::LaunchAgent) {
        return {{.path = installation.home / "Library" / "LaunchAgents" /
                         (installation.bundleId + ".plist"),
                 .text = launchAgent(installation)}};
    }
    const std::string name = installation.bundleId + ".desktop";
    const std::string entry = desktopEntry(installation);
    // Behind the panel, or the icon has no place to go to.
    return {{.path = installation.configHome / "autostart" / name,
             .text = entry + "X-GNOME-Autostart-enabled=true\nX-KDE-autostart-after=panel\n"},
            {.path = installation.dataHome / "applications" / name,
             .text = entry + std::string(kAskedOfKwin)}};
}

std::string execValue(const fs::path& program) {
    std::string quoted = "\"";
    for (const char character : program.string()) {
        if (character == '%') {
            quoted += '%'; // or it would begin a field code
        } else if (std::string_view("\"`$\\").find(character) != std::string_view::npos) {
            quoted += '\\';
        }
        quoted += character;
    }
    quoted += '"';
    // Desktops look for a program before they resolve field codes, and none may have an equals sign
    // in its name; both are allowed in what follows the program. The shell then begins the program
    // that it gets as its first argument, "$0", whose name may hold anything.
    if (program.string().find_first_of("%=") != std::string::npos) {
        quoted = R"(/bin/sh -c "exec \"\$0\"" )" + quoted;
    }
    // Twice escaped: once for the words of a command, and once as a value of the file.
    return entryValue(quoted);
}

std::string inDoubleQuotes(std::string_view text) {
    std::string quoted;
    for (const char character : text) {
        if (std::string_view("\"`$\\").find(character) != std::string_view::npos) quoted += '\\';
        quoted += character;
    }
    return quoted;
}

std::string shellWord(std::string_view text) {
    std::string word = "'";
    for (const char character : text) {
        if (character == '\'') {
            word += R"('\'')";
        } else {
            word += character;
        }
    }
    return word + "'";
}

} // namespace kelvane
