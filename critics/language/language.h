// The languages that prose is told to be in.
//
// Plain values; any thread.

#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace trevix {

/// `other` is a language that is told by name and that no critic here knows.
enum class NaturalLanguage { unknown, english, german, french, spanish, other };

/// The languages that a dictionary may be known of, in the order of asking.
inline constexpr NaturalLanguage kSpelledLanguages[] = {
    NaturalLanguage::english, NaturalLanguage::german, NaturalLanguage::french,
    NaturalLanguage::spanish};
inline constexpr std::size_t kNaturalLanguages =
    static_cast<std::size_t>(NaturalLanguage::other) + 1;

/// "English"; empty for `unknown` and `other`.
[[nodiscard]] std::string_view name(NaturalLanguage language);

/// What a passage was told to be in.
struct ToldLanguage {
    NaturalLanguage language = NaturalLanguage::unknown;
    std::string name; ///< "English", "Japanese"; empty exactly when unknown.

    bool operator==(const ToldLanguage&) const = default;
};

} // namespace trevix
