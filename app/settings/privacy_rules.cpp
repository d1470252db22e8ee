#include "app/settings/privacy_rules.h"

#include "text/unicode.h"
#include "text/web_address.h"

#include <algorithm>
#include <array>

namespace kelvane {

namespace {

/// What keeps or asks for passwords and one-time codes: identifiers of desktop files, classes of
/// windows and bundles, in lower case. "*" at the end: all that begin so.
constexpr std::array<std::string_view, 46> kPasswordManagers{
    "org.keepassxc.keepassxc",
    "keepassxc",
    "keepassx",
    "keepass",
    "keepass2",
    "org.gnome.world.secrets",
    "org.gnome.passwordsafe",
    "org.gnome.seahorse.application",
    "org.gnome.seahorse",
    "seahorse",
    "org.kde.kwalletmanager*",
    "kwalletmanager*",
    "com.bitwarden.*",
    "bitwarden",
    "bitwarden_bitwarden",
    "com.onepassword.onepassword",
    "com.1password.*",
    "com.agilebits.onepassword*",
    "1password",
    "1password_1password",
    "me.proton.pass*",
    "proton-pass",
    "proton pass",
    "io.enpass.enpass",
    "in.sinew.enpass*",
    "enpass",
    "app.authpass.authpass",
    "authpass",
    "org.ijhack.qtpass",
    "qtpass",
    "com.lastpass.*",
    "com.dashlane.*",
    "nordpass",
    "nordpass_nordpass",
    "keeperpasswordmanager",
    "com.hicknhacksoftware.macpass",
    "com.markmcguill.strongbox*",
    "com.apple.passwords",
    "com.apple.keychainaccess",
    "com.belmoussaoui.authenticator",
    "io.ente.auth",
    "bitwarden-desktop",
    "gcr-prompter",
    "pinentry*",
    "ksshaskpass",
    "seahorse-ssh-askpass",
};

/// Of a window that no desktop file claims.
constexpr std::string_view kClassMark = "wmclass:";

bool matches(std::string_view entry, std::string_view lowerId) {
    if (entry.ends_with('*')) return lowerId.starts_with(entry.substr(0, entry.size() - 1));
    return lowerId == entry;
}

/// In lower case, and where it is a class of windows, without the mark of one.
std::string comparable(std::string_view bundleId) {
    std::string id = text::lowercased(bundleId);
    return id.starts_with(kClassMark) ? id.substr(kClassMark.size()) : id;
}

} // namespace

bool isThisMachine(std::string_view serviceBase) {
    if (serviceBase.starts_with("http+unix:")) return true;
    const auto origin = text::webOrigin(serviceBase);
    return origin && text::isLoopback(origin->host);
}

std::string placeName(std::string_view serviceBase) {
    if (isThisMachine(serviceBase)) return "this machine";
    const auto origin = text::webOrigin(serviceBase);
    return origin ? origin->host : std::string(serviceBase);
}

bool previewNeeded(const Settings& settings, bool placeIsThisMachine, std::string_view bundleId) {
    const auto said = settings.previewApps.find(std::string(bundleId));
    if (said != settings.previewApps.end()) return said->second;
    switch (settings.preview) {
    case PreviewWhen::Always:
        return true;
    case PreviewWhen::Never:
        return false;
    case PreviewWhen::Elsewhere:
        break;
    }
    return !placeIsThisMachine;
}

bool isPasswordManager(std::string_view bundleId) {
    const std::string id = comparable(bundleId);
    return std::ranges::any_of(kPasswordManagers,
                               [&](std::string_view entry) { return matches(entry, id); });
}

bool isNeverCaptured(const Settings& settings, std::string_view bundleId) {
    if (settings.neverPasswordManagers && isPasswordManager(bundleId)) return true;
    const std::string id = comparable(bundleId);
    return std::ranges::any_of(settings.neverCapture, [&](const std::string& entry) {
        return matches(comparable(entry), id);
    });
}

std::optional<std::string>
whyNotCaptured(const Settings& settings, std::string_view bundleId, const std::string& app,
               const std::optional<std::chrono::nanoseconds>& pauseLeft) {
    if (pauseLeft) {
        const auto minutes = std::chrono::ceil<std::chrono::minutes>(*pauseLeft).count();
        return "Paused for " + std::to_string(minutes) +
               (minutes == 1 ? " more minute." : " more minutes.");
    }
    if (!isNeverCaptured(settings, bundleId)) return std::nullopt;
    if (settings.neverPasswordManagers && isPasswordManager(bundleId)) {
        return "Nothing is captured from " + app + ": it keeps passwords.";
    }
    return "Nothing is captured from " + app + ", as you set it.";
}

} // namespace kelvane
