#include "platform/linux/x11/clipboard_formats.h"

#include "platform/linux/x11/x11_text.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace kelvane {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

template <std::size_t N>
bool contains(const std::array<std::string_view, N>& names, std::string_view name) {
    return std::ranges::find(names, name) != names.end();
}

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
    return contains(kLeftOut, target) || target.starts_with("INSERT_") ||
           target.starts_with("GTK_TEXT_BUFFER_CONTENTS") || target.starts_with("_QT_");
}

bool isDerivedPicture(std::string_view target) {
    return target.starts_with("image/") && target != "image/png" &&
           !target.starts_with("image/svg");
}

int preciousness(std::string_view target) {
    static constexpr std::array<std::string_view, 6> kFirst{
        kUtf8String,     kUtf8Plain, kLatin1String, "x-kde-passwordManagerHint",
        "text/uri-list", "image/png"};
    const auto found = std::ranges::find(kFirst, target);
    if (found != kFirst.end()) return static_cast<int>(found - kFirst.begin());
    if (target.starts_with("text/")) return 10;
    return isDerivedPicture(target) ? 30 : 20;
}

/// How many bytes from `at` on form one well-formed character; 0 when none does.
std::size_t wellFormed(std::string_view bytes, std::size_t at) {
    const auto byte = [&](std::size_t offset) -> unsigned {
        return at + offset < bytes.size() ? static_cast<unsigned char>(bytes[at + offset]) : 0;
    };
    const auto follows = [&](std::size_t offset, unsigned least = 0x80, unsigned most = 0xBF) {
        return byte(offset) >= least && byte(offset) <= most;
    };
    const unsigned lead = byte(0);
    if (lead < 0x80) return 1;
    if (lead >= 0xC2 && lead <= 0xDF) return follows(1) ? 2 : 0;
    if (lead >= 0xE0 && lead <= 0xEF) {
        const unsigned least = lead == 0xE0 ? 0xA0 : 0x80;
        const unsigned most = lead == 0xED ? 0x9F : 0xBF;
        return follows(1, least, most) && follows(2) ? 3 : 0;
    }
    if (lead >= 0xF0 && lead <= 0xF4) {
        const unsigned least = lead == 0xF0 ? 0x90 : 0x80;
        const unsigned most = lead == 0xF4 ? 0x8F : 0xBF;
        return follows(1, least, most) && follows(2) && follows(3) ? 4 : 0;
    }
    return 0;
}

/// How many bytes from `at` on are the beginning of a character that breaks off: at least one.
std::size_t brokenPiece(std::string_view bytes, std::size_t at) {
    const auto lead = static_cast<unsigned char>(bytes[at]);
    const std::size_t whole = lead >= 0xF0 && lead <= 0xF4   ? 4
                              : lead >= 0xE0 && lead <= 0xEF ? 3
                              : lead >= 0xC2 && lead <= 0xDF ? 2
                                                             : 1;
    std::size_t length = 1;
    while (length < whole && at + length < bytes.size()) {
        // What completes the piece to a well-formed character is irrelevant; whether it could still
        // become one decides.
        std::string trial(bytes.substr(at, length + 1));
        while (trial.size() < whole) trial.push_back(static_cast<char>(0x80));
        if (wellFormed(trial, 0) != whole) break;
        ++length;
    }
    return length;
}

std::string repaired(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size());
    for (std::size_t at = 0; at < bytes.size();) {
        const std::size_t length = wellFormed(bytes, at);
        if (length > 0) {
            text.append(bytes.substr(at, length));
            at += length;
        } else {
            text.append(kReplacement);
            at += brokenPiece(bytes, at);
        }
    }
    return text;
}

} // namespace

std::vector<std::string> formatsToKeep(const std::vector<std::string>& offered) {
    std::vector<std::string> kept;
    for (const auto& target : offered) {
        if (target.empty() || isLeftOut(target)) continue;
        if (std::ranges::find(kept, target) == kept.end()) kept.push_back(target);
    }
    std::ranges::stable_sort(kept, {},
                             [](const std::string& target) { return preciousness(target); });
    return kept;
}

bool isCovered(std::string_view target, const std::vector<ClipboardFormat>& kept) {
    const auto has = [&](std::string_view name) {
        return std::ranges::find(kept, name, &ClipboardFormat::target) != kept.end();
    };
    if (isDerivedPicture(target)) return has("image/png");
    const bool isPlainText = target == kUtf8Plain || target == kPlain || target == kLatin1String;
    return isPlainText && has(kUtf8String);
}

bool canBeKept(std::string_view type) {
    static constexpr std::array<std::string_view, 9> kNames{
        "ATOM", "ATOM_PAIR", "WINDOW", "PIXMAP", "BITMAP", "DRAWABLE", "COLORMAP", "INCR", "NULL"};
    return !type.empty() && !contains(kNames, type);
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
    if (!bytes.empty() && bytes.back() == '\0') bytes.remove_suffix(1);
    return format.type == kLatin1String ? fromLatin1(bytes) : repaired(bytes);
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

std::string latin1(std::string_view text) {
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = wellFormed(text, at);
        const auto lead = static_cast<unsigned char>(text[at]);
        if (length == 1) {
            bytes.push_back(text[at]);
        } else if (length == 2 && lead <= 0xC3) {
            const auto next = static_cast<unsigned char>(text[at + 1]);
            bytes.push_back(static_cast<char>(((lead & 0x03U) << 6U) | (next & 0x3FU)));
        } else {
            bytes.push_back('?');
        }
        at += length > 0 ? length : 1;
    }
    return bytes;
}

} // namespace kelvane
