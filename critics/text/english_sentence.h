// A sentence of English as the grammar rules read it: its words in lower case, what each can be,
// and what stands between them.
//
// A view into a text that must outlive it; any thread.

#pragma once

#include "critics/text/english_words.h"
#include "critics/text/open_words.h"
#include "critics/text/prose_rules.h"

#include <initializer_list>
#include <string>
#include <vector>

namespace trevix {

class EnglishSentence {
public:
    /// The words of `view` from `first` to before `last`. `open` is asked about those that stand in
    /// no list, but for names.
    EnglishSentence(const ProseView& view, std::size_t first, std::size_t last, OpenWords& open);

    [[nodiscard]] std::size_t size() const { return m_tokens.size(); }
    /// In lower case, with straight apostrophes; empty beyond either end, as an index below 0 is
    /// when it wraps around.
    [[nodiscard]] std::string_view word(std::size_t i) const {
        return i < m_tokens.size() ? std::string_view(m_tokens[i].lower) : std::string_view();
    }
    [[nodiscard]] std::uint32_t classes(std::size_t i) const {
        return i < m_tokens.size() ? m_tokens[i].classes : 0;
    }
    [[nodiscard]] bool has(std::size_t i, std::uint32_t any) const {
        return (classes(i) & any) != 0;
    }
    [[nodiscard]] bool is(std::size_t i, std::initializer_list<std::string_view> words) const;

    /// Whether only blanks stand between this word and the one before it.
    [[nodiscard]] bool glued(std::size_t i) const {
        return i > 0 && i < m_tokens.size() && m_tokens[i].gap == ' ';
    }
    /// What stands in front of the word: ' ' for blanks alone, '\0' at the sentence's start, else
    /// the first mark.
    [[nodiscard]] char gap(std::size_t i) const {
        return i < m_tokens.size() ? m_tokens[i].gap : '.';
    }
    [[nodiscard]] bool capital(std::size_t i) const {
        return i < m_tokens.size() && m_tokens[i].word.capitalised;
    }
    [[nodiscard]] bool allUpper(std::size_t i) const {
        return i < m_tokens.size() && m_tokens[i].word.allUpper();
    }
    [[nodiscard]] bool digits(std::size_t i) const {
        return i < m_tokens.size() && m_tokens[i].word.digits;
    }

    /// Whether a clause begins with this word: the sentence does, a mark stands before it, or a
    /// conjunction.
    [[nodiscard]] bool opensClause(std::size_t i) const;

    /// Whether a noun phrase surely ends with this word: the sentence or the clause does, or a
    /// little word follows.
    [[nodiscard]] bool endsPhrase(std::size_t i) const;

    /// The first index from `i` on that is no adverb or adjective, all glued; at most four on.
    [[nodiscard]] std::size_t past(std::size_t i, std::uint32_t classes) const;

    /// Whether one of the words stands before `i`.
    [[nodiscard]] bool before(std::size_t i, std::initializer_list<std::string_view> words) const;

    /// Offset and length of the words from `first` to `last`, both included.
    [[nodiscard]] std::size_t offset(std::size_t first) const {
        return m_tokens[first].word.offset;
    }
    [[nodiscard]] std::size_t length(std::size_t first, std::size_t last) const {
        return m_tokens[last].word.end() - m_tokens[first].word.offset;
    }

private:
    struct Token {
        text::Word word;
        std::string lower;
        std::uint32_t classes = 0;
        char gap = ' ';
    };

    std::vector<Token> m_tokens;
};

} // namespace trevix
