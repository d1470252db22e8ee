// What a person can set, and the file that keeps it: `~/.brask/settings.json`, see
// docs/settings.md.
//
// One object of JSON. What is not there has its default; what cannot be used is told with its line
// and has its default; the rest counts. A change is an edit of the text: what this version does not
// know, the order and the layout stay as they are. Everything here is pure; any thread.

#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

/// When the person sees what is going to be sent, and says whether it may.
enum class PreviewWhen {
    Elsewhere, ///< When it leaves this machine.
    Always,
    Never,
};

struct Settings {
    PreviewWhen preview = PreviewWhen::Elsewhere;
    /// Whether there is a preview of an application's work, by the application's identifier, in
    /// spite of `preview`.
    std::map<std::string, bool> previewApps = {};
    /// Identifiers of applications that nothing is ever captured from; with "*" at the end all that
    /// begin so. Without regard to case.
    std::vector<std::string> neverCapture = {};
    /// Nor from what is known to keep passwords.
    bool neverPasswordManagers = true;
    std::string shortcut = {}; ///< As `shortcutText` writes it; empty: none.
    bool notifications = true;
    std::string language = {}; ///< Of the program's own texts, as "de"; empty: the desktop's.

    bool operator==(const Settings&) const = default;
};

/// In bytes: several thousand applications.
inline constexpr std::size_t kLongestSettings = std::size_t{256} << 10U;

struct SettingsRead {
    Settings settings = {};
    /// Each a sentence that begins with the place, as "settings.json:4: ".
    std::vector<std::string> problems = {};
    /// Whether what keeps work from leaving unseen could be read. Where it could not, `settings`
    /// has a preview of everything.
    bool isTrusted = true;

    bool operator==(const SettingsRead&) const = default;
};

/// The settings of a file of which nothing can be used: a preview of everything.
[[nodiscard]] SettingsRead unusableSettings(std::string problem);

/// `where` names the file in the sentences.
[[nodiscard]] SettingsRead parseSettings(std::string_view text, const std::string& where);

/// `text` with those keys edited whose meaning in `settings` is another than in `text`. Absent when
/// `text` is no object of JSON; an empty one is a new file.
[[nodiscard]] std::optional<std::string> settingsText(std::string_view text,
                                                      const Settings& settings);

/// One line of JSON with every key, for programs.
[[nodiscard]] std::string settingsJson(const Settings& settings);

/// The keys that a settings file may have, in the order of settingsJson().
[[nodiscard]] const std::vector<std::string>& settingsKeys();

/// The languages that can be chosen, beside the desktop's.
[[nodiscard]] const std::vector<std::string>& settingsLanguages();

/// Why an entry of `neverCapture` cannot be one; empty when it can.
[[nodiscard]] std::string neverCaptureProblem(std::string_view entry);

[[nodiscard]] std::string_view name(PreviewWhen when);

} // namespace kelvane
