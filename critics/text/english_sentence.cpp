#include "critics/text/english_sentence.h"

#include "text/unicode.h"

#include <algorithm>

namespace trevix {

namespace {

constexpr std::size_t kLongestGap = 60; // Bytes; a longer one is no space between words.

char gapOf(std::string_view between) {
    if (between.empty() || between.size() > kLongestGap) return '.';
    std::size_t lines = 0;
    for (const char c : between) {
        if (c == '\n') ++lines;
        if (c != ' ' && c != '\n' && c != '\r' && c != '\t') return c;
    }
    return lines > 1 ? '.' : ' ';
}

} // namespace

EnglishSentence::EnglishSentence(const ProseView& view, std::size_t first, std::size_t last,
                                 OpenWords& open) {
    m_tokens.reserve(last - first);
    for (std::size_t i = first; i < last; ++i) {
        Token token;
        token.word = view.words[i];
        token.lower = withStraightApostrophes(text::lowerAscii(view.wordText(i).substr(0, 64)));
        token.classes = classesOf(token.lower);
        const bool name = token.word.capitalised && i != first;
        if (token.classes == 0 && !name) token.classes = open.of(token.lower);
        if (i == first) {
            token.gap = '\0';
        } else {
            const std::size_t end = view.words[i - 1].end();
            const std::string_view between = view.masked().substr(end, token.word.offset - end);
            // "robots.txt": one name, and no end of a phrase.
            const bool file = between == "." && token.word.upper == 0;
            token.gap = file ? '/' : gapOf(between);
        }
        m_tokens.push_back(std::move(token));
    }
}

bool EnglishSentence::is(std::size_t i, std::initializer_list<std::string_view> words) const {
    const std::string_view own = word(i);
    return !own.empty() && std::find(words.begin(), words.end(), own) != words.end();
}

bool EnglishSentence::opensClause(std::size_t i) const {
    if (i == 0 || i >= size()) return i == 0;
    const char mark = gap(i);
    if (mark == ',' || mark == ';' || mark == ':') return true;
    return mark == ' ' && has(i - 1, kConjunction);
}

bool EnglishSentence::endsPhrase(std::size_t i) const {
    if (i + 1 >= size()) return true;
    const char mark = gap(i + 1);
    if (mark == ',' || mark == ';' || mark == '.' || mark == ':' || mark == '!' || mark == '?') {
        return true;
    }
    return mark == ' ' && has(i + 1, kFunction) && !digits(i + 1);
}

std::size_t EnglishSentence::past(std::size_t i, std::uint32_t classes) const {
    std::size_t at = i;
    while (at < i + 4 && at < size() && (at == i || glued(at)) && has(at, classes)) ++at;
    return at;
}

bool EnglishSentence::before(std::size_t i, std::initializer_list<std::string_view> words) const {
    for (std::size_t k = i > 12 ? i - 12 : 0; k < i && k < size(); ++k) {
        if (is(k, words)) return true;
    }
    return false;
}

} // namespace trevix
