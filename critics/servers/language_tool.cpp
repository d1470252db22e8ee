#include "critics/servers/language_tool.h"

#include "critics/engines/engine_rule_table.h"
#include "critics/engines/hostile_json.h"
#include "critics/engines/prose_file.h"
#include "critics/findings/finding_list.h"
#include "text/byte_cut.h"
#include "text/letters.h"
#include "text/one_of.h"
#include "text/unicode.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <limits>
#include <optional>
#include <utility>

namespace trevix {

namespace text = kelvane::text;
using nlohmann::json;

namespace {

/// The server's own reckoning from which on it is taken to know the language of the text. Chosen:
/// below it short texts are called by a neighbour's name.
constexpr double kSureOfLanguage = 0.9;
constexpr std::size_t kLongestMessage = 240;
/// A match covers words, not pages.
constexpr std::size_t kLongestMatch = 500;

std::string_view beginningOf(std::string_view text) {
    if (text.size() <= kMostForLanguageTool) return text;
    const std::size_t line = text.rfind('\n', kMostForLanguageTool - 1);
    const std::size_t end = line == std::string_view::npos ? kMostForLanguageTool : line + 1;
    return kelvane::text::firstBytes(text, end);
}

std::string formEncoded(std::string_view bytes) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string out;
    out.reserve(bytes.size() * 2);
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (text::isAsciiWord(c) || c == '-' || c == '.') {
            out += c;
        } else {
            out += '%';
            out += kDigits[byte >> 4U];
            out += kDigits[byte & 0xFU];
        }
    }
    return out;
}

/// The byte at which so many units of UTF-16 are over; absent behind the end.
std::optional<std::size_t> byteAt(std::string_view text, std::size_t units) {
    std::size_t at = 0;
    while (units > 0) {
        if (at >= text.size()) return std::nullopt;
        const text::Decoded point = text::decodeFront(text.substr(at));
        const std::size_t size = point.codePoint > 0xFFFF ? 2 : 1;
        at += point.length;
        units -= std::min(size, units);
    }
    return at;
}

std::optional<std::size_t> numberIn(const json& object, const char* name) {
    const auto found = object.find(name);
    if (found == object.end() || !found->is_number_unsigned()) return std::nullopt;
    return found->get<std::size_t>();
}

std::string textIn(const json& object, const char* name) {
    const auto found = object.find(name);
    return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

const json* objectIn(const json& object, const char* name) {
    const auto found = object.find(name);
    return found != object.end() && found->is_object() ? &*found : nullptr;
}

std::optional<Severity> severityOf(const json& rule) {
    constexpr std::array<std::string_view, 2> kGrammar = {"GRAMMAR", "CONFUSED_WORDS"};
    const std::string type = textIn(rule, "issueType");
    const json* category = objectIn(rule, "category");
    const std::string of = category == nullptr ? "" : textIn(*category, "id");
    if (type == "grammar" || type == "duplication" || text::isOneOf(of, kGrammar)) {
        return Severity::medium;
    }
    // It takes names and terms for slips.
    if (type == "misspelling") return Severity::low;
    return std::nullopt;
}

bool isUsableCode(std::string_view code) {
    return !code.empty() && code.size() <= 80 &&
           std::ranges::all_of(code, [](char c) { return text::isAsciiWord(c) || c == '-'; });
}

Critique gap(std::string why) {
    Critique critique;
    critique.coverage.missed(
        {std::string(kLanguageToolJudges), "LanguageTool was asked, but " + std::move(why), ""});
    return critique;
}

std::string troubleOf(const ServerAnswer& answer) {
    switch (answer.end) {
    case ServerAnswer::End::answered:
        break;
    case ServerAnswer::End::notReached:
        return "its server was not reached";
    case ServerAnswer::End::broken:
        return "its server broke off, or is none of its kind";
    case ServerAnswer::End::outOfTime:
        return "it did not answer within " + std::to_string(kLanguageToolTime.count() / 1000) +
               " s";
    case ServerAnswer::End::tooMuch:
        return "it answered more than is read of it";
    case ServerAnswer::End::cancelled:
        return "it was stopped";
    }
    if (answer.status != 200) {
        return "its server answered with status " + std::to_string(answer.status);
    }
    return {};
}

bool knowsLanguage(const json& answer) {
    const json* language = objectIn(answer, "language");
    const json* detected = language == nullptr ? nullptr : objectIn(*language, "detectedLanguage");
    if (detected == nullptr) return false;
    const auto sure = detected->find("confidence");
    return sure != detected->end() && sure->is_number() && sure->get<double>() >= kSureOfLanguage;
}

} // namespace

ServerRequest languageToolRequest(const ServerAddress& address, std::string_view text,
                                  std::span<const Secret> secrets) {
    ServerRequest request;
    request.address = address;
    request.path = address.base.ends_with("/v2") ? "/check" : "/v2/check";
    // An unquoted byte that is no UTF-8 would be the server's to guess about.
    request.body = "language=auto&text=" + formEncoded(proseForOthers(beginningOf(text), secrets));
    request.contentType = "application/x-www-form-urlencoded";
    request.time = kLanguageToolTime;
    request.mostBytes = std::size_t{4} << 20U;
    return request;
}

Critique critiqueOfLanguageTool(std::string_view text, std::span<const Secret> secrets,
                                const ServerAnswer& answer) {
    if (std::string why = troubleOf(answer); !why.empty()) return gap(std::move(why));
    const auto whole = hostileObject(answer.body);
    const auto matches = whole ? whole->find("matches") : json::const_iterator();
    if (!whole || matches == whole->end() || !matches->is_array()) {
        return gap("its answer is not understood");
    }
    const std::string_view seen = beginningOf(text);
    const std::string shown = proseForOthers(seen, secrets);
    const SourceText source(seen);
    FindingList findings(source);
    for (const Secret& secret : secrets) findings.hide(secret.offset, secret.length);
    const Rule* family = engineFamily("languagetool");
    for (const json& match : *matches) {
        if (!match.is_object()) return gap("its answer is not understood");
        const auto offset = numberIn(match, "offset");
        const auto length = numberIn(match, "length");
        const json* rule = objectIn(match, "rule");
        if (!offset || !length || rule == nullptr || *offset > shown.size() ||
            *length > kLongestMatch) {
            return gap("its answer is not understood");
        }
        const std::string code = textIn(*rule, "id");
        const auto begin = byteAt(seen, *offset);
        const auto end = begin ? byteAt(seen.substr(*begin), *length) : std::nullopt;
        if (!begin || !end || !isUsableCode(code)) return gap("its answer is not understood");
        const auto severity = severityOf(*rule);
        const auto known = severity ? graded(*family, *severity) : std::nullopt;
        if (!known || !wasSeen(seen, shown, *begin, *end)) continue;
        std::string words = shortened(textIn(match, "message"), kLongestMessage);
        while (words.ends_with('.') || words.ends_with(' ')) words.pop_back();
        findings.addForeign(*known, code, *begin, *begin, *end,
                            "is " + code + " of LanguageTool: " + words);
    }
    Critique critique;
    critique.findings = findings.take();
    const json* software = objectIn(*whole, "software");
    critique.coverage.checked(
        {"LanguageTool", software == nullptr ? "" : shortened(textIn(*software, "version"), 30),
         std::string(kLanguageToolJudges)});
    critique.coverage.known = knowsLanguage(*whole);
    if (seen.size() < text.size()) {
        critique.coverage.missed({"grammar behind " + source.place(seen.size()),
                                  "LanguageTool is asked about the first " +
                                      std::to_string(kMostForLanguageTool) + " bytes only",
                                  "grade it in parts"});
    }
    return critique;
}

} // namespace trevix
