#include "app/known_sentences.h"

#include "text/translation.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <optional>
#include <string_view>

namespace kelvane {

namespace {

struct Known {
    const char* sentence;
    const char* many = nullptr; ///< Of a count.
};

// As they stand where they are said. Of two that fit, the first counts.
constexpr std::array kKnown{
    // Of the model.
    Known{KELVANE_TRANSLATE_LATER("Sentence", "Couldn't capture anything to grade.")},
    Known{KELVANE_TRANSLATE_LATER("Sentence", "Nothing was sent.")},
    Known{KELVANE_TRANSLATE_LATER("Sentence", "Grade cancelled.")},
    Known{KELVANE_TRANSLATE_LATER("Sentence",
                                  "No saved file that was opened lately holds this text.")},
    Known{KELVANE_TRANSLATE_LATER("Sentence", "Does not count any more.")},
    Known{KELVANE_TRANSLATE_LATER("Sentence", "“%1” is in your dictionary.")},
    Known{KELVANE_TRANSLATE_LATER("Sentence", "Taken back.")},
    Known{KELVANE_TRANSLATE_LATER("Sentence", "Copied.")},
    Known{KELVANE_TRANSLATE_LATER("Sentence", "Could not be said: %1")},
    Known{KELVANE_TRANSLATE_COUNT_LATER("Sentence", "Paused for %n more minute.",
                                        "Paused for %n more minutes.")},
    Known{KELVANE_TRANSLATE_LATER("Sentence", "Nothing is captured from %1: it keeps passwords.")},
    Known{KELVANE_TRANSLATE_LATER("Sentence", "Nothing is captured from %1, as you set it.")},
    // Of a capture.
    Known{KELVANE_TRANSLATE_LATER("Sentence",
                                  "No text selection found — graded a screenshot of %1's window. "
                                  "Select text first for a text grade.")},
    Known{KELVANE_TRANSLATE_LATER("Sentence",
                                  "Grant Accessibility (System Settings ▸ Privacy) to grade your "
                                  "text selection; graded a window screenshot for now.")},
    Known{
        KELVANE_TRANSLATE_LATER("Sentence", "%1 isn't running anymore — open it and press Grade.")},
    Known{KELVANE_TRANSLATE_LATER("Sentence",
                                  "Graded a frame of %1. For the full render, export the file and "
                                  "run `brask grade <file>`.")},
    Known{KELVANE_TRANSLATE_LATER(
        "Sentence", "Couldn't capture %1's window — grant Screen Recording in System "
                    "Settings ▸ Privacy, and make sure the window is open on screen.")},
    // Of the client of the service.
    Known{KELVANE_TRANSLATE_LATER("Sentence", "the grade was cancelled")},
    Known{KELVANE_TRANSLATE_LATER("Sentence", "could not reach the eval API")},
    Known{KELVANE_TRANSLATE_LATER("Sentence", "the service key holds a line break — check "
                                              "BRASK_API_KEY or ~/.brask/key")},
    Known{KELVANE_TRANSLATE_LATER("Sentence",
                                  "The service answers, but not in a way that can be read.")},
    Known{KELVANE_TRANSLATE_LATER("Sentence", "nothing was sent: %1 is not encrypted and was not "
                                              "allowed — see ~/.brask/plain-http")},
    Known{KELVANE_TRANSLATE_LATER("Sentence", "not authorized — check your Trevix key (HTTP %1)")},
    Known{KELVANE_TRANSLATE_LATER("Sentence", "eval API error (HTTP %1)")},
    Known{KELVANE_TRANSLATE_LATER("Sentence", "grade timed out after %1s")},
    Known{KELVANE_TRANSLATE_LATER("Sentence", "grade failed")},
    Known{KELVANE_TRANSLATE_LATER("Sentence", "grade cancelled")},
    Known{KELVANE_TRANSLATE_LATER("Sentence", "no job_id in response")},
    Known{KELVANE_TRANSLATE_LATER("Sentence", "the service refused")},
    Known{KELVANE_TRANSLATE_LATER("Sentence", "there is no key in %1")},
    Known{KELVANE_TRANSLATE_LATER("Sentence", "%1: others may read or write it; the key in it is "
                                              "not used (make it yours, chmod 600)")},
    Known{KELVANE_TRANSLATE_LATER("Sentence", "this machine")},
    // Of the desktop.
    Known{KELVANE_TRANSLATE_LATER("Sentence",
                                  "%1 To read every program and to photograph a window, turn on "
                                  "its Shell extension, then log in again.")},
    Known{KELVANE_TRANSLATE_LATER("Sentence", "No desktop answers here: start Kelvane from inside "
                                              "your session.")},
    Known{KELVANE_TRANSLATE_LATER("Sentence",
                                  "GNOME shows Kelvane the windows of X11 programs only.")},
    Known{KELVANE_TRANSLATE_LATER(
        "Sentence", "This desktop shows Kelvane the windows of X11 programs only. Log "
                    "in to an X11 session to have the others graded.")},
    Known{KELVANE_TRANSLATE_LATER("Sentence",
                                  "On GNOME Kelvane reads text from GTK, Qt and Firefox windows.")},
    Known{KELVANE_TRANSLATE_LATER("Sentence",
                                  "This desktop tells Kelvane only of programs that speak to "
                                  "assistive technology: select text in a GTK, Qt or Firefox "
                                  "window.")},
    Known{KELVANE_TRANSLATE_LATER(
        "Sentence", "This desktop lets no program read a selection or photograph a window.")},
    Known{KELVANE_TRANSLATE_LATER("Sentence",
                                  "KWin lets only an installed Kelvane photograph windows: install "
                                  "the package, or select text.")},
    Known{KELVANE_TRANSLATE_LATER("Sentence",
                                  "This desktop does not tell where windows are, so none can be "
                                  "photographed: select text.")},
    Known{KELVANE_TRANSLATE_LATER("Sentence", "This desktop lets no program read a selection: a "
                                              "picture of the window is graded.")},
    Known{KELVANE_TRANSLATE_LATER("Sentence",
                                  "On GNOME a window can be photographed once Kelvane's Shell "
                                  "extension is on; selected text can be graded without.")},
    Known{KELVANE_TRANSLATE_LATER("Sentence", "On this desktop no program may photograph a window: "
                                              "select text instead.")},
    Known{KELVANE_TRANSLATE_LATER("Sentence",
                                  "On Linux no permission is needed: the window has to be on this "
                                  "workspace, not minimised, and its program has to answer.")},
    Known{KELVANE_TRANSLATE_LATER("Sentence", "This keyboard has no key “%1”.")},
    Known{KELVANE_TRANSLATE_LATER("Sentence", "The display does not answer.")},
    Known{KELVANE_TRANSLATE_LATER(
        "Sentence", "Another program has these keys already, or the desktop itself.")},
    Known{KELVANE_TRANSLATE_LATER("Sentence", "The system gives no more files.")},
    Known{KELVANE_TRANSLATE_LATER("Sentence",
                                  "Here no program can have keys of its own: give “kelvane "
                                  "--grade” a shortcut in the desktop's settings.")},
    Known{KELVANE_TRANSLATE_LATER(
        "Sentence", "The desktop did not give these keys; its own settings of shortcuts may.")},
    Known{KELVANE_TRANSLATE_LATER("Sentence", "The desktop has taken these keys back; its own "
                                              "settings of shortcuts may give them again.")},
};

/// A failure in a failure; a service may send anything, and any length of it.
constexpr int kDeepest = 3;

/// What stands in the one hole that a sentence may have; empty where it has none.
std::optional<std::string> match(std::string_view pattern, std::string_view text) {
    const auto at = pattern.find('%');
    if (at == std::string_view::npos) {
        return pattern == text ? std::optional(std::string()) : std::nullopt;
    }
    const auto before = pattern.substr(0, at);
    const auto after = pattern.substr(at + 2);
    const bool fits = text.size() > before.size() + after.size() && text.starts_with(before) &&
                      text.ends_with(after);
    if (!fits) return std::nullopt;
    return std::string(text.substr(before.size(), text.size() - before.size() - after.size()));
}

std::optional<std::size_t> number(const std::string& digits) {
    std::size_t value = 0;
    const auto* const end = digits.data() + digits.size();
    const auto [at, error] = std::from_chars(digits.data(), end, value);
    return error == std::errc() && at == end ? std::optional(value) : std::nullopt;
}

std::optional<std::string> counted(const Known& known, const std::string& english) {
    for (const char* const form : {known.sentence, known.many}) {
        const auto found = match(form, english);
        const auto count = found ? number(*found) : std::nullopt;
        if (count) return text::translated("Sentence", known.sentence, known.many, *count);
    }
    return std::nullopt;
}

std::string translatedAt(const std::string& english, int depth) {
    if (depth == kDeepest) return english;
    for (const Known& known : kKnown) {
        if (known.many != nullptr) {
            if (auto said = counted(known, english)) return *std::move(said);
        } else if (const auto found = match(known.sentence, english)) {
            const auto said = text::translated("Sentence", known.sentence);
            return text::filled(said, {translatedAt(*found, depth + 1)});
        }
    }
    return english;
}

} // namespace

std::string translatedSentence(const std::string& english) {
    return translatedAt(english, 0);
}

std::vector<std::string> knownSentences() {
    std::vector<std::string> all;
    for (const Known& known : kKnown) {
        all.emplace_back(known.many == nullptr ? known.sentence : known.many);
    }
    return all;
}

} // namespace kelvane
