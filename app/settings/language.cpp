#include "app/settings/language.h"

#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <utility>

namespace kelvane {

namespace {

constexpr std::array<std::pair<std::string_view, std::string_view>, 5> kNames{{
    {"en", "English"},
    {"de", "Deutsch"},
    {"fr", "Français"},
    {"es", "Español"},
    {"ja", "日本語"},
}};

bool isOurs(std::string_view language) {
    return !languageName(language).empty();
}

} // namespace

std::string languageOf(std::string_view set, const std::vector<std::string>& desktops) {
    if (isOurs(set)) return std::string(set);
    for (const auto& locale : desktops) {
        auto language = text::lowerAscii(locale.substr(0, locale.find_first_of("-_.@")));
        // Whoever asks for no language in particular asks for the texts as they are written.
        if (language == "c" || language == "posix") break;
        if (isOurs(language)) return language;
    }
    return "en";
}

std::string_view languageName(std::string_view language) {
    const auto* const found =
        std::ranges::find(kNames, language, &decltype(kNames)::value_type::first);
    return found == kNames.end() ? std::string_view() : found->second;
}

} // namespace kelvane
