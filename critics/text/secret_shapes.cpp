#include "critics/text/secret_shapes.h"

#include "critics/text/secret_data.h"
#include "text/letters.h"
#include "text/unicode.h"

#include <nlohmann/json.hpp>
#include <re2/re2.h>
#include <re2/set.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <tuple>
#include <unordered_set>

namespace trevix {

namespace text = kelvane::text;

namespace {

using Json = nlohmann::json;

re2::StringPiece piece(std::string_view text) {
    return {text.data(), text.size()};
}

RE2::Options options() {
    RE2::Options options;
    // Bytes, as the kit's patterns see them: a repeat counts the same in both.
    options.set_encoding(RE2::Options::EncodingLatin1);
    options.set_log_errors(false);
    return options;
}

/// What a value must be to count as a secret; the units are those of the file.
struct Check {
    double entropy = 0;
    std::size_t letters = 0;
    std::size_t digits = 0;
    std::size_t upper = 0;
    std::size_t lower = 0;
    std::size_t others = 0;
    std::size_t kinds = 0;
    std::size_t left = 0;
    std::size_t run = 0;
    bool named = false; ///< Its name may say that the value is harmless.
    std::vector<const RE2*> refusals;
};

struct Shape {
    std::string pattern;
    std::string label;
    bool named = false; ///< A place with a name before the value, which is shown along.
    const Check* check = nullptr;
    std::once_flag once;
    std::unique_ptr<RE2> compiled;

    const RE2& regex() {
        std::call_once(once, [this] { compiled = std::make_unique<RE2>(pattern, options()); });
        return *compiled;
    }
};

constexpr int kMostGroups = 4;

std::size_t letterOrDigitCount(std::string_view value) {
    return static_cast<std::size_t>(std::count_if(value.begin(), value.end(), [](char c) {
        return text::isAsciiLetter(c) || text::isAsciiDigit(c);
    }));
}

void strike(std::string& text, std::string_view word) {
    for (std::size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + 1)) {
        text.replace(at, word.size(), word.size(), ' ');
    }
}

/// The letters, in small ones.
std::string lettersOf(std::string_view text) {
    std::string letters;
    for (const char c : text) {
        if (text::isAsciiLetter(c)) letters += c;
    }
    return text::lowerAscii(letters);
}

/// Whether so many bytes in a row come again, as in what a hand strikes on the keys.
bool comesTwice(std::string_view value, std::size_t run) {
    std::unordered_set<std::string_view> seen;
    for (std::size_t at = 0; at + run <= value.size(); ++at) {
        if (!seen.insert(value.substr(at, run)).second) return true;
    }
    return false;
}

/// Whether a value of letters in quotes says what the name before it says: "challengePassword". Of
/// settings without quotes it is the password.
bool repeatsName(std::string_view before, std::string_view value) {
    constexpr std::size_t kShortest = 6; // Letters, as in the kit: shorter ones may be a chance.
    constexpr std::size_t kLongest = 60; // Bytes: what is looked at before it.
    if (value.size() > kLongest || before.empty()) return false;
    if (before.back() != '"' && before.back() != '\'') return false;
    const bool words = std::all_of(value.begin(), value.end(), [](char c) {
        return text::isAsciiLetter(c) || c == '_' || c == '-' || c == '.' || c == ' ';
    });
    const std::string letters = lettersOf(value);
    return words && letters.size() >= kShortest && lettersOf(before).ends_with(letters);
}

class Shapes {
public:
    explicit Shapes(const Json& data)
        : m_examples(data.at("examples").get<std::string>(), options()),
          m_harmless(data.at("harmless").get<std::string>(), options()),
          m_keywords(options(), RE2::UNANCHORED) {
        for (const auto& [name, pattern] : data.at("refusals").items()) {
            m_refusals[name] = std::make_unique<RE2>(pattern.get<std::string>(), options());
        }
        for (const auto& [name, check] : data.at("checks").items()) m_checks[name] = read(check);
        m_ordinary = data.at("ordinary").get<std::vector<std::string>>();
        for (const Json& entry : data.at("shapes")) {
            auto shape = std::make_unique<Shape>();
            shape->pattern = entry.at("pattern").get<std::string>();
            shape->label = entry.at("label").get<std::string>();
            shape->named = entry.at("issuer") == "name";
            shape->check = &m_checks.at(entry.at("check").get<std::string>());
            for (const Json& keyword : entry.at("keywords")) {
                m_keywords.Add(RE2::QuoteMeta(keyword.get<std::string>()), nullptr);
                m_shapeOfKeyword.push_back(m_shapes.size());
            }
            m_shapes.push_back(std::move(shape));
        }
        m_keywords.Compile();
    }

    /// The shapes one of whose keywords the text holds, in the file's order.
    std::vector<Shape*> wanted(std::string_view text) const {
        const std::string lower = text::lowerAscii(text);
        std::vector<int> keywords;
        RE2::Set::ErrorInfo error{};
        std::vector<bool> chosen(m_shapes.size(), false);
        if (m_keywords.Match(piece(lower), &keywords, &error)) {
            for (const int keyword : keywords) {
                chosen[m_shapeOfKeyword[static_cast<std::size_t>(keyword)]] = true;
            }
        } else if (error.kind != RE2::Set::kNoError) {
            // Out of the memory it may use: then every shape is tried.
            chosen.assign(m_shapes.size(), true);
        }
        std::vector<Shape*> shapes;
        for (std::size_t i = 0; i < m_shapes.size(); ++i) {
            if (chosen[i]) shapes.push_back(m_shapes[i].get());
        }
        return shapes;
    }

    bool accepts(std::string_view value, const Check& check) const {
        std::size_t upper = 0;
        std::size_t lower = 0;
        std::size_t digits = 0;
        std::size_t others = 0;
        for (const char c : value) {
            if (c >= 'A' && c <= 'Z') {
                ++upper;
            } else if (c >= 'a' && c <= 'z') {
                ++lower;
            } else if (text::isAsciiDigit(c)) {
                ++digits;
                ++others;
            } else if (c != '-' && c != '_' && c != '.') {
                ++others;
            }
        }
        const std::size_t kinds =
            (upper > 0 ? 1U : 0U) + (lower > 0 ? 1U : 0U) + (digits > 0 ? 1U : 0U);
        if (upper + lower < check.letters || digits < check.digits || upper < check.upper ||
            lower < check.lower || others < check.others || kinds < check.kinds ||
            entropy(value) < check.entropy) {
            return false;
        }
        if (check.left > 0 && left(value) < check.left) return false;
        if (check.run > 0 && comesTwice(value, check.run)) return false;
        return std::none_of(check.refusals.begin(), check.refusals.end(), [&](const RE2* refusal) {
            return RE2::PartialMatch(piece(value), *refusal);
        });
    }

    /// Whether the name in front of the value at `begin` says that a page or a lock is marked, or
    /// says the same as the value.
    bool isHarmless(std::string_view text, std::size_t begin, std::size_t end,
                    const Check& check) const {
        constexpr std::size_t kName = 60; // Bytes, as in the kit.
        const std::size_t first = begin - std::min(begin, kName);
        const std::string_view before = text.substr(first, begin - first);
        if (repeatsName(before, text.substr(begin, end - begin))) return true;
        return check.named && RE2::PartialMatch(piece(before), m_harmless);
    }

    std::vector<std::string> broken() const {
        std::vector<std::string> problems;
        const auto look = [&problems](std::string_view what, const RE2& regex) {
            if (!regex.ok()) problems.push_back(std::string(what) + ": " + regex.error());
        };
        look("examples", m_examples);
        look("harmless", m_harmless);
        for (const auto& [name, regex] : m_refusals) look(name, *regex);
        for (const auto& shape : m_shapes) look(shape->pattern, shape->regex());
        return problems;
    }

private:
    Check read(const Json& entry) const {
        Check check;
        check.entropy = entry.value("entropy", 0.0);
        check.letters = entry.value("letters", std::size_t{0});
        check.digits = entry.value("digits", std::size_t{0});
        check.upper = entry.value("upper", std::size_t{0});
        check.lower = entry.value("lower", std::size_t{0});
        check.others = entry.value("others", std::size_t{0});
        check.kinds = entry.value("kinds", std::size_t{0});
        check.left = entry.value("left", std::size_t{0});
        check.run = entry.value("run", std::size_t{0});
        check.named = entry.value("named", false);
        for (const Json& name : entry.value("refuse", Json::array())) {
            check.refusals.push_back(m_refusals.at(name.get<std::string>()).get());
        }
        return check;
    }

    std::size_t left(std::string_view value) const {
        std::string text = text::lowerAscii(value);
        RE2::GlobalReplace(&text, m_examples, " ");
        for (const std::string& word : m_ordinary) strike(text, word);
        return letterOrDigitCount(text);
    }

    std::map<std::string, std::unique_ptr<RE2>> m_refusals;
    std::map<std::string, Check> m_checks;
    std::vector<std::string> m_ordinary;
    RE2 m_examples;
    RE2 m_harmless;
    std::vector<std::unique_ptr<Shape>> m_shapes;
    RE2::Set m_keywords;
    std::vector<std::size_t> m_shapeOfKeyword; ///< By the number of the keyword in the set.
};

const Shapes& shapes() {
    static const Shapes known(Json::parse(kSecrets));
    return known;
}

bool continuesCharacter(char c) {
    return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

/// The bytes [begin, end) of a value, with what is shown of it.
struct Span {
    std::size_t begin = 0;
    std::size_t end = 0;
    std::size_t shown = 0;
    std::string_view kind;
    bool byName = false;
};

/// Names are short; no more than this is shown before a value.
constexpr std::size_t kLongestName = 80;

std::size_t nameBefore(std::string_view text, std::size_t match, std::size_t value) {
    std::size_t begin = match;
    while (begin < value && !text::isAsciiWord(text[begin])) ++begin;
    if (begin == value) return value;
    while (begin > 0 && match - std::min(match, begin) < kLongestName &&
           (text::isAsciiWord(text[begin - 1]) || text[begin - 1] == '-')) {
        --begin;
    }
    return begin;
}

void collect(const Shapes& known, Shape& shape, std::string_view text, std::vector<Span>& spans) {
    const RE2& regex = shape.regex();
    const int groups = std::min(regex.NumberOfCapturingGroups() + 1, kMostGroups);
    std::array<re2::StringPiece, kMostGroups> found;
    std::size_t at = 0;
    while (regex.Match(piece(text), at, text.size(), RE2::UNANCHORED, found.data(), groups)) {
        std::size_t group = 0;
        for (std::size_t i = 1; i < static_cast<std::size_t>(groups) && group == 0; ++i) {
            if (found[i].data() != nullptr) group = i;
        }
        const auto offsetOf = [&](const re2::StringPiece& part) {
            return static_cast<std::size_t>(part.data() - text.data());
        };
        const std::size_t matched = offsetOf(found[0]);
        std::size_t begin = offsetOf(found[group]);
        std::size_t end = begin + found[group].size();
        at = matched + std::max<std::size_t>(found[0].size(), 1);
        if (!known.accepts(text.substr(begin, end - begin), *shape.check)) continue;
        if (known.isHarmless(text, begin, end, *shape.check)) continue;
        const std::size_t shown =
            group > 0 && shape.named ? nameBefore(text, matched, begin) : begin;
        while (begin > 0 && continuesCharacter(text[begin])) --begin;
        while (end < text.size() && continuesCharacter(text[end])) ++end;
        spans.push_back({begin, end, std::min(shown, begin), shape.label, shape.named});
    }
}

} // namespace

void warmUpSecretShapes() {
    // A text, as what tells of keywords is put together when it is first asked.
    static_cast<void>(findSecrets("a"));
}

std::vector<std::string> brokenSecretShapes() {
    return shapes().broken();
}

double entropy(std::string_view text) {
    std::array<std::size_t, 256> counts{};
    for (const char c : text) ++counts[static_cast<unsigned char>(c)];
    double bits = 0;
    for (const std::size_t count : counts) {
        if (count == 0) continue;
        const double share = static_cast<double>(count) / static_cast<double>(text.size());
        bits -= share * std::log2(share);
    }
    return bits;
}

std::vector<Secret> findSecrets(std::string_view text) {
    const Shapes& known = shapes();
    std::vector<Span> spans;
    for (Shape* shape : known.wanted(text)) collect(known, *shape, text, spans);
    std::stable_sort(spans.begin(), spans.end(), [](const Span& a, const Span& b) {
        return std::tuple(a.begin, b.end) < std::tuple(b.begin, a.end);
    });
    std::vector<Secret> secrets;
    for (const Span& span : spans) {
        if (!secrets.empty()) {
            Secret& last = secrets.back();
            const std::size_t end = last.valueOffset + last.valueLength;
            if (span.begin < end) {
                const std::size_t longer = std::max(end, span.end) - end;
                last.valueLength += longer;
                last.length += longer;
                last.byName = last.byName && span.byName;
                continue;
            }
            // A name must not reach into the secret before it.
            const std::size_t shown = std::max(span.shown, end);
            secrets.push_back({shown, span.end - shown, span.begin, span.end - span.begin,
                               span.kind, span.byName});
            continue;
        }
        secrets.push_back({span.shown, span.end - span.shown, span.begin, span.end - span.begin,
                           span.kind, span.byName});
    }
    return secrets;
}

} // namespace trevix
