// The formats of a clipboard: what of them is worth keeping, and what their text says. Pure.

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

/// One format that a clipboard offers, as it goes over the wire.
struct ClipboardFormat {
    std::string target;    ///< What it is asked for by: "UTF8_STRING", "image/png", ...
    std::string type;      ///< What the answer says it is, usually the same.
    std::uint8_t unit = 8; ///< 8, 16 or 32: the width of one item in bits.
    std::string bytes;

    bool operator==(const ClipboardFormat&) const = default;
};

inline constexpr std::string_view kUtf8String = "UTF8_STRING";
inline constexpr std::string_view kPlain = "text/plain";
inline constexpr std::string_view kUtf8Plain = "text/plain;charset=utf-8";
inline constexpr std::string_view kLatin1String = "STRING";
inline constexpr std::string_view kPasswordHint = "x-kde-passwordManagerHint";

/// The targets to ask an owner for in order to keep its content, the most precious first, each
/// once. Left out are those that are questions about the owner rather than content, those that make
/// it do something, those whose answer means nothing without it, and those that any owner of the
/// others can make from them.
[[nodiscard]] std::vector<std::string> formatsToKeep(const std::vector<std::string>& offered);

/// Whether `target` says nothing that `kept` does not say already: the same text in another coat,
/// or the same picture in one of the many encodings that programs offer it in.
[[nodiscard]] bool isCovered(std::string_view target, const std::vector<ClipboardFormat>& kept);

/// Whether an answer of this type can be kept: a number that names a thing of the owner (a pixmap,
/// a window, an atom list) cannot.
[[nodiscard]] bool canBeKept(std::string_view type);

/// The targets to ask for when text is wanted, the best first.
[[nodiscard]] const std::vector<std::string>& textTargets();

/// The text of an answer, as UTF-8: `STRING` is Latin-1, all else should be UTF-8 and is repaired
/// where it is not (U+FFFD for each maximal broken piece). One NUL at the end, which some owners
/// count in, is dropped; others are kept. Absent when the answer is of another type than text.
[[nodiscard]] std::optional<std::string> textOf(const ClipboardFormat& format);

/// The text among formats that were kept; absent when there is none.
[[nodiscard]] std::optional<std::string> textAmong(const std::vector<ClipboardFormat>& formats);

/// Everything a clipboard holds. Never changed once made, so that slow readers of an old one are
/// served to the end.
using ClipboardContent = std::vector<ClipboardFormat>;

} // namespace kelvane
