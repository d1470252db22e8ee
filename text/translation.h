// The product's own texts in the language of whoever reads them.
//
// Every text is written in English where it is made, and translated as it is shown: by whatever
// useTranslator() was given, and by nobody at first. A process has one language at a time, as it
// has one locale; what depends on it is pure for that language. Without a translator, and for a
// text that it does not know, the English text is the answer. What programs read, what a service
// sends, and the work itself are never translated.
//
// The tools that collect the texts read the calls: contexts and texts are literals. A placeholder
// is "%1" to "%9", or "%n" for a count. Any thread.

#pragma once

#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

namespace kelvane::text {

struct Phrase {
    const char* context;           ///< The part of the program, as "Panel".
    const char* source;            ///< In English; of a count, for one.
    const char* many = nullptr;    ///< Of a count, the English text for any other number.
    std::optional<int> count = {}; ///< Decides which of a language's forms is the right one.
};

/// Absent for a text that has no translation. "%n" may stay in it.
using Translator = std::function<std::optional<std::string>(const Phrase&)>;

/// From now on texts are translated by it; null: they are in English. It is called on any thread.
void useTranslator(Translator translator);

[[nodiscard]] std::string translated(const char* context, const char* source);

/// A text with a number, "%n" in both.
[[nodiscard]] std::string translated(const char* context, const char* one, const char* many,
                                     std::size_t count);

/// `pattern` with values in the place of "%1", "%2" and so on; what is in a value stays as it is.
[[nodiscard]] std::string filled(std::string_view pattern,
                                 std::initializer_list<std::string_view> values);

} // namespace kelvane::text

/// Marks a text that is translated elsewhere than where it stands: in a table.
#define KELVANE_TRANSLATE_LATER(context, source) source
/// The same of a text with a number: stands for both of its English forms.
#define KELVANE_TRANSLATE_COUNT_LATER(context, one, many) one, many
