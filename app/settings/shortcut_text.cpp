#include "app/settings/shortcut_text.h"

#include "text/translation.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace kelvane {

namespace {

using text::filled;
using text::translated;

constexpr std::array<std::string_view, 12> kNamedKeys{"Space",  "Return",   "Tab",   "Escape",
                                                      "Insert", "Delete",   "Home",  "End",
                                                      "PageUp", "PageDown", "Pause", "Print"};

/// The highest function key that keyboards and their drivers know.
constexpr int kLastFunctionKey = 24;

bool isFunctionKey(std::string_view key) {
    if (key.size() < 2 || key.front() != 'F' || key[1] == '0') return false;
    int number = 0;
    const auto [end, error] = std::from_chars(key.data() + 1, key.data() + key.size(), number);
    return error == std::errc() && end == key.data() + key.size() && number >= 1 &&
           number <= kLastFunctionKey;
}

/// The key as it is written; empty when there is no such key.
std::string keyOf(std::string_view word) {
    std::string lower = text::lowerAscii(word);
    if (lower.size() == 1) {
        const char c = lower.front();
        if (c >= 'a' && c <= 'z') return {static_cast<char>(c - 'a' + 'A')};
        if (c >= '0' && c <= '9') return lower;
        return {};
    }
    for (const auto name : kNamedKeys) {
        if (text::lowerAscii(name) == lower) return std::string(name);
    }
    if (lower.size() > 1 && lower.front() == 'f') {
        std::string key = "F" + lower.substr(1);
        if (isFunctionKey(key)) return key;
    }
    return {};
}

bool* modifierOf(Shortcut& shortcut, std::string_view word) {
    const std::string lower = text::lowerAscii(word);
    if (lower == "ctrl") return &shortcut.ctrl;
    if (lower == "alt") return &shortcut.alt;
    if (lower == "shift") return &shortcut.shift;
    if (lower == "super") return &shortcut.super;
    return nullptr;
}

} // namespace

std::optional<Shortcut> shortcutOf(std::string_view text, std::string& why) {
    Shortcut shortcut;
    std::string_view rest = text;
    for (auto plus = rest.find('+'); plus != std::string_view::npos; plus = rest.find('+')) {
        const auto word = text::trimmedBlanks(rest.substr(0, plus));
        bool* const modifier = modifierOf(shortcut, word);
        if (modifier == nullptr || *modifier) {
            why =
                modifier == nullptr
                    ? filled(translated("Settings", "“%1” is none of Ctrl, Alt, Shift and Super."),
                             {word})
                    : filled(translated("Settings", "“%1” stands there twice."), {word});
            return std::nullopt;
        }
        *modifier = true;
        rest = rest.substr(plus + 1);
    }
    const auto word = text::trimmedBlanks(rest);
    shortcut.key = keyOf(word);
    if (shortcut.key.empty()) {
        why = word.empty() ? translated("Settings", "The key is missing, as in Ctrl+Alt+G.")
                           : filled(translated("Settings", "There is no key “%1”."), {word});
        return std::nullopt;
    }
    const bool isTypedWith =
        !isFunctionKey(shortcut.key) && shortcut.key != "Pause" && shortcut.key != "Print";
    if (isTypedWith && !shortcut.ctrl && !shortcut.alt && !shortcut.super) {
        why =
            translated("Settings", "A key that you type with needs Ctrl, Alt or Super beside it.");
        return std::nullopt;
    }
    return shortcut;
}

std::string shortcutText(const Shortcut& shortcut) {
    std::string text;
    if (shortcut.ctrl) text += "Ctrl+";
    if (shortcut.alt) text += "Alt+";
    if (shortcut.shift) text += "Shift+";
    if (shortcut.super) text += "Super+";
    return text + shortcut.key;
}

} // namespace kelvane
