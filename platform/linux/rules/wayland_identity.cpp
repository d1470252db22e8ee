#include "platform/linux/rules/wayland_identity.h"

#include "text/unicode.h"

#include <array>
#include <string>
#include <utility>

namespace kelvane {

namespace {

/// Programs whose windows bear the name of a helper that no desktop file claims.
constexpr std::array<std::pair<std::string_view, std::string_view>, 2> kHelpers{{
    {"gnome-terminal-server", "org.gnome.Terminal"},
    {"footclient", "foot"},
}};

/// An office suite keeps the name of its start window, whatever its window becomes; only the title
/// then says what it is. Dialogs and the start window itself stay what they are.
constexpr std::array<std::pair<std::string_view, std::string_view>, 6> kOffice{{
    {"LibreOffice Writer", "libreoffice-writer"},
    {"LibreOffice Calc", "libreoffice-calc"},
    {"LibreOffice Impress", "libreoffice-impress"},
    {"LibreOffice Draw", "libreoffice-draw"},
    {"LibreOffice Math", "libreoffice-math"},
    {"LibreOffice Base", "libreoffice-base"},
}};

bool isOffice(std::string_view appId) {
    const auto name = text::lowerAscii(appId);
    return name.starts_with("libreoffice-") || name == "soffice" || name == "soffice.bin";
}

std::string_view nameOf(std::string_view appId, std::string_view title) {
    for (const auto& [helper, program] : kHelpers) {
        if (appId == helper) return program;
    }
    if (!isOffice(appId)) return appId;
    for (const auto& [program, id] : kOffice) {
        if (!title.ends_with(program)) continue;
        const auto before = title.substr(0, title.size() - program.size());
        // With the name of a document before it, which any dash sets apart in some language.
        if (before.ends_with(" - ") || before.ends_with(" \u2013 ") ||
            before.ends_with(" \u2014 ")) {
            return id;
        }
    }
    return appId;
}

} // namespace

WindowFacts waylandFacts(std::string_view appId, std::string_view title,
                         std::string_view resourceName, std::int32_t process) {
    WindowFacts facts;
    const auto name = nameOf(appId, title);
    facts.wmClass = name;
    facts.instance = resourceName.empty() ? name : resourceName;
    // What should be the id of a desktop file is one, or says so as a class does.
    facts.kdeDesktopFile = name;
    facts.process = process;
    return facts;
}

} // namespace kelvane
