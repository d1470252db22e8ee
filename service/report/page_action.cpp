#include "service/report/page_action.h"

#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>

namespace trevix {

namespace {

constexpr std::array kKinds{PageAction::Kind::dismiss, PageAction::Kind::undo,
                            PageAction::Kind::addWord, PageAction::Kind::removeWord};

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

std::optional<std::string> decoded(std::string_view field) {
    std::string plain;
    for (std::size_t i = 0; i < field.size(); ++i) {
        if (field[i] == '+') {
            plain += ' ';
        } else if (field[i] != '%') {
            plain += field[i];
        } else {
            const int high = i + 2 < field.size() ? hexDigit(field[i + 1]) : -1;
            const int low = i + 2 < field.size() ? hexDigit(field[i + 2]) : -1;
            // Browsers escape every "%" of their own, so one that begins no escape is no form of
            // ours.
            if (high < 0 || low < 0) return std::nullopt;
            plain += static_cast<char>(high * 16 + low);
            i += 2;
        }
    }
    if (!kelvane::text::isValidUtf8(plain)) return std::nullopt;
    return plain;
}

} // namespace

std::string_view name(PageAction::Kind kind) {
    switch (kind) {
    case PageAction::Kind::dismiss:
        return "dismiss";
    case PageAction::Kind::undo:
        return "undo";
    case PageAction::Kind::addWord:
        return "add-word";
    case PageAction::Kind::removeWord:
        break;
    }
    return "remove-word";
}

std::optional<PageAction> parsePageAction(std::string_view body) {
    if (body.size() > kLargestForm) return std::nullopt;
    PageAction action;
    bool named = false;
    while (!body.empty()) {
        const std::string_view field = body.substr(0, body.find('&'));
        body.remove_prefix(std::min(body.size(), field.size() + 1));
        const std::size_t equals = field.find('=');
        if (equals == std::string_view::npos) return std::nullopt;
        const std::string_view key = field.substr(0, equals);
        const auto value = decoded(field.substr(equals + 1));
        if (!value) return std::nullopt;
        // Fields that are not known are passed over: a later page may send more.
        if (key == "token") action.token = *value;
        if (key == "finding") action.finding = *value;
        if (key == "reason") action.reason = *value;
        if (key == "do") {
            const auto* const kind = std::find_if(kKinds.begin(), kKinds.end(),
                                                  [&](auto each) { return name(each) == *value; });
            if (kind == kKinds.end()) return std::nullopt;
            action.kind = *kind;
            named = true;
        }
    }
    // A missing token is not told here: it is compared by who knows the right one.
    if (!named || action.finding.empty()) return std::nullopt;
    return action;
}

// FNV-1a. Whoever makes two findings of one digest only has the wrong one of the two dismissed.
std::string findingKey(const Finding& finding) {
    // The offset and the prime of its 64-bit form.
    std::uint64_t digest = 0xcbf29ce484222325U;
    for (const std::string* part : {&finding.rule, &finding.evidence, &finding.place}) {
        for (const char c : *part) {
            digest = (digest ^ static_cast<unsigned char>(c)) * 0x100000001b3U;
        }
        digest *= 0x100000001b3U; // A NUL between them.
    }
    char text[17];
    std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(digest));
    return text;
}

} // namespace trevix
