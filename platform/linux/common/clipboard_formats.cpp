#include "platform/linux/common/clipboard_formats.h"

#include "text/one_of.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace kelvane {

namespace {

/// Not content: questions about the owner, orders to it, and conversions that say less than the
/// text they come from.
bool isLeftOut(std::string_view target) {
    static constexpr std::array<std::string_view, 34> kLeftOut{"TARGETS",
                                                               "MULTIPLE",
                                                               "TIMESTAMP",
                                                               "SAVE_TARGETS",
                                                               "DELETE",
                                                               "INSERT_SELECTION",
                                                               "INSERT_PROPERTY",
                                                               "INCR",
                                                               "NULL",
                                                               "ATOM_PAIR",

                                                               "PIXMAP",
                                                               "BITMAP",
                                                               "DRAWABLE",
                                                               "FOREGROUND",
                                                               "BACKGROUND",
                                                               "COLORMAP",
                                                               "WINDOW",
                                                               "CLIENT_WINDOW",
                                                               "OWNER_OS",
                                                               "HOST_NAME",
                                                               "USER",
                                                               "PROCESS",
                                                               "TASK",
                                                               "NAME",
                                                               "CLASS",
                                                               "MODULE",
                                                               "PROCEDURE",
                                                               "CHARACTER_POSITION",
                                                               "LINE_NUMBER",
                                                               "COLUMN_NUMBER",
                                                               "LENGTH",
                                                               "COMPOUND_TEXT",
                                                               "TEXT",
                                                               "application/x-qt-image"};
    return text::isOneOf(target, kLeftOut) || target.starts_with("INSERT_") ||
           target.starts_with("GTK_TEXT_BUFFER_CONTENTS") || target.starts_with("_QT_");
}

// Programs offer a picture in every format that they can write; one of them is enough.
bool isDerivedPicture(std::string_view target) {
    return target.starts_with("image/") && target != "image/png" &&
           !target.starts_with("image/svg");
}

// What is kept first, should the room or the time end: text, then what says that it is secret, then
// files, then pictures.
int rank(std::string_view target) {
    static constexpr std::array<std::string_view, 6> kFirst{
        kUtf8String, kUtf8Plain, kLatin1String, kPasswordHint, "text/uri-list", "image/png"};
    const auto found = std::ranges::find(kFirst, target);
    if (found != kFirst.end()) return static_cast<int>(found - kFirst.begin());
    if (target.starts_with("text/")) return 10;
    return isDerivedPicture(target) ? 30 : 20;
}

} // namespace

std::vector<std::string> formatsToKeep(const std::vector<std::string>& offered) {
    std::vector<std::string> kept;
    for (const auto& target : offered) {
        if (target.empty() || isLeftOut(target)) continue;
        if (std::ranges::find(kept, target) == kept.end()) kept.push_back(target);
    }
    std::ranges::stable_sort(kept, {}, [](const std::string& target) { return rank(target); });
    return kept;
}

bool isCovered(std::string_view target, const std::vector<ClipboardFormat>& kept) {
    const auto has = [&](std::string_view name) {
        return std::ranges::find(kept, name, &ClipboardFormat::target) != kept.end();
    };
    if (isDerivedPicture(target)) return has("image/png");
    // These say no more than the same text in UTF-8.
    const bool isPlainText = target == kUtf8Plain || target == kPlain || target == kLatin1String;
    return isPlainText && has(kUtf8String);
}

// Ids of things on the server mean nothing once their owner has gone.
bool canBeKept(std::string_view type) {
    static constexpr std::array<std::string_view, 9> kNames{
        "ATOM", "ATOM_PAIR", "WINDOW", "PIXMAP", "BITMAP", "DRAWABLE", "COLORMAP", "INCR", "NULL"};
    return !type.empty() && !text::isOneOf(type, kNames);
}

const std::vector<std::string>& textTargets() {
    static const std::vector<std::string> kTargets{
        std::string(kUtf8String), std::string(kUtf8Plain), std::string(kLatin1String)};
    return kTargets;
}

std::optional<std::string> textOf(const ClipboardFormat& format) {
    const bool isText = format.type == kUtf8String || format.type == kLatin1String ||
                        format.type.starts_with("text/");
    if (format.unit != 8 || !isText) return std::nullopt;
    std::string_view bytes = format.bytes;
    // Some programs count a closing NUL in.
    if (!bytes.empty() && bytes.back() == '\0') bytes.remove_suffix(1);
    return format.type == kLatin1String ? text::fromLatin1(bytes) : text::repairedUtf8(bytes);
}

std::optional<std::string> textAmong(const std::vector<ClipboardFormat>& formats) {
    for (const auto& target : textTargets()) {
        for (const auto& format : formats) {
            if (format.target != target) continue;
            if (auto text = textOf(format)) return text;
        }
    }
    return std::nullopt;
}

} // namespace kelvane
