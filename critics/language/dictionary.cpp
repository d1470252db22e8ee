#include "critics/language/dictionary.h"

#include "text/letters.h"
#include "text/unicode.h"

#include <algorithm>

namespace trevix {

namespace text = kelvane::text;

namespace {

class WordList : public Dictionary {
public:
    explicit WordList(std::string_view words) {
        for (const text::Word& word : text::wordsIn(words, 0, words.size())) {
            m_words.emplace_back(words.substr(word.offset, word.length));
            m_known.insert(m_words.back());
        }
    }

    [[nodiscard]] bool knows(std::string_view word) const override {
        return m_known.contains(std::string(word)) || m_known.contains(text::lowercased(word));
    }

    [[nodiscard]] std::vector<std::string> suggestions(std::string_view word) const override {
        std::vector<std::string> near;
        for (const std::string& own : m_words) {
            if (editsBetween(own, word, 1) <= 1) near.push_back(own);
        }
        return near;
    }

private:
    std::vector<std::string> m_words;
    std::unordered_set<std::string> m_known;
};

std::vector<std::int32_t> codePointsOf(const std::string& word) {
    std::vector<std::int32_t> points;
    for (std::size_t i = 0; i < word.size();) {
        const text::Decoded point = text::decodeFront(std::string_view(word).substr(i));
        points.push_back(point.codePoint);
        i += point.length;
    }
    return points;
}

} // namespace

bool SpellingBooks::know(std::string_view word) const {
    return std::any_of(books.begin(), books.end(),
                       [&](const auto& book) { return book->knows(word); });
}

void ListShelf::add(NaturalLanguage language, std::string_view words) {
    SpellingBooks& books = m_books[static_cast<std::size_t>(language)];
    books.books.push_back(std::make_shared<WordList>(words));
    books.names = "a list";
}

const SpellingBooks& ListShelf::of(NaturalLanguage language) const {
    const SpellingBooks& books = m_books[static_cast<std::size_t>(language)];
    return books.books.empty() ? m_none : books;
}

namespace {

std::vector<std::string> lettersOf(std::string_view word) {
    std::vector<std::string> letters;
    while (!word.empty()) {
        const std::size_t length = text::decodeFront(word).length;
        letters.emplace_back(word.substr(0, length));
        word.remove_prefix(length);
    }
    return letters;
}

std::string_view alphabetOf(NaturalLanguage language) {
    switch (language) {
    case NaturalLanguage::german:
        return "enirstadhulcgmobwfkzpvjyxqäöüß";
    case NaturalLanguage::french:
        return "esaitnrulodcmpvqgbfhjxyzkwéèêàâçôîûùëï";
    case NaturalLanguage::spanish:
        return "eaosnrildtucmpbgyvqhfzjxkwáéíóúñü";
    case NaturalLanguage::english:
    case NaturalLanguage::unknown:
    case NaturalLanguage::other:
        break;
    }
    return "etaoinsrhldcumfpgwybvkxjqz";
}

bool isVowel(const std::string& letter) {
    return letter.size() > 1 || std::string_view("aeiouy").find(letter) != std::string_view::npos;
}

/// Collects known words, each once.
class Finder {
public:
    Finder(const SpellingBooks& books, bool capitals, std::size_t most)
        : m_books(books),
          m_capitals(capitals),
          m_most(most) {}

    [[nodiscard]] bool full() const { return m_found.size() >= m_most; }
    [[nodiscard]] std::vector<std::string> take() { return std::move(m_found); }

    /// The letters with `replacement` for the `length` from `at` on.
    void ask(const std::vector<std::string>& letters, std::size_t at, std::size_t length,
             const std::string& replacement) {
        if (full()) return;
        std::string word;
        for (std::size_t i = 0; i < at; ++i) word += letters[i];
        word += replacement;
        for (std::size_t i = at + length; i < letters.size(); ++i) word += letters[i];
        if (word.empty() || std::find(m_found.begin(), m_found.end(), word) != m_found.end())
            return;
        if (m_books.know(word)) {
            m_found.push_back(std::move(word));
        } else if (m_capitals) {
            const std::size_t first = text::decodeFront(word).length;
            std::string capital = text::uppercased(word.substr(0, first)) + word.substr(first);
            if (m_books.know(capital)) m_found.push_back(std::move(capital));
        }
    }

private:
    const SpellingBooks& m_books;
    bool m_capitals;
    std::size_t m_most;
    std::vector<std::string> m_found;
};

} // namespace

std::vector<std::string> wordsOneEditFrom(std::string_view word, const SpellingBooks& books,
                                          NaturalLanguage language, bool capitals,
                                          std::size_t most) {
    const std::vector<std::string> letters = lettersOf(word);
    const std::vector<std::string> alphabet = lettersOf(alphabetOf(language));
    const std::size_t size = letters.size();
    Finder finder(books, capitals, most);
    for (std::size_t i = 0; i + 1 < size; ++i) {
        if (letters[i] != letters[i + 1]) {
            finder.ask(letters, i, 2, letters[i + 1] + letters[i]);
        } else {
            finder.ask(letters, i, 1, "");
        }
    }
    for (std::size_t i = 0; i < size; ++i) finder.ask(letters, i, 1, letters[i] + letters[i]);
    for (const std::string& letter : alphabet) {
        for (std::size_t i = 1; i <= size; ++i) finder.ask(letters, i, 0, letter);
    }
    for (std::size_t i = 1; i < size; ++i) finder.ask(letters, i, 1, "");
    for (const bool vowels : {true, false}) {
        for (std::size_t i = 1; i < size; ++i) {
            for (const std::string& letter : alphabet) {
                if ((isVowel(letter) && isVowel(letters[i])) == vowels) {
                    finder.ask(letters, i, 1, letter);
                }
            }
        }
    }
    // People rarely miss the first letter.
    if (size > 0) finder.ask(letters, 0, 1, "");
    for (const std::string& letter : alphabet) {
        finder.ask(letters, 0, 0, letter);
        if (size > 0) finder.ask(letters, 0, 1, letter);
    }
    return finder.take();
}

std::size_t editsBetween(std::string_view a, std::string_view b, std::size_t most) {
    const std::vector<std::int32_t> left = codePointsOf(text::lowercased(a));
    const std::vector<std::int32_t> right = codePointsOf(text::lowercased(b));
    const std::size_t longer = std::max(left.size(), right.size());
    if (longer - std::min(left.size(), right.size()) > most) return most + 1;
    // Rows of the table of optimal string alignment: two back, one back, this one.
    std::vector<std::size_t> twoBack(right.size() + 1);
    std::vector<std::size_t> oneBack(right.size() + 1);
    std::vector<std::size_t> row(right.size() + 1);
    for (std::size_t j = 0; j <= right.size(); ++j) row[j] = j;
    for (std::size_t i = 1; i <= left.size(); ++i) {
        std::swap(twoBack, oneBack);
        std::swap(oneBack, row);
        row[0] = i;
        for (std::size_t j = 1; j <= right.size(); ++j) {
            const std::size_t change = left[i - 1] == right[j - 1] ? 0 : 1;
            row[j] = std::min({oneBack[j] + 1, row[j - 1] + 1, oneBack[j - 1] + change});
            const bool swapped = i > 1 && j > 1 && left[i - 1] == right[j - 2] &&
                                 left[i - 2] == right[j - 1] && change == 1;
            if (swapped) row[j] = std::min(row[j], twoBack[j - 2] + 1);
        }
    }
    return std::min(row[right.size()], most + 1);
}

} // namespace trevix
