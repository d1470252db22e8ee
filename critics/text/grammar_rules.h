// The rules for the grammar of English: only what is certainly wrong.
//
// They read words, not parses: each knows a frame of a few words in which learners and hurried
// writers slip, and stays silent where the frame has an honest reading. Headings and tables are
// left out. Linear; any thread.

#pragma once

#include "critics/text/english_sentence.h"
#include "critics/text/language_slips.h"
#include "critics/text/prose_languages.h"

#include <cstddef>
#include <set>
#include <string>

namespace trevix {

/// Takes what the rules find, a place at most once.
class GrammarReport {
public:
    GrammarReport(LanguageSlips& slips, bool technical, bool casual)
        : m_slips(slips),
          m_technical(technical),
          m_casual(casual) {}

    /// Adds a finding for the words from `first` to `last`, unless one of them was spoken of.
    void add(GradedRule rule, const EnglishSentence& sentence, std::size_t first, std::size_t last,
             const std::string& says);

    /// Whether the text has code: articles are left out of notes on code.
    [[nodiscard]] bool technical() const { return m_technical; }
    /// The rule for what casual notes leave out by habit, a capital or an apostrophe: low in those.
    [[nodiscard]] GradedRule forHabit(GradedRule rule) const {
        return m_casual ? softened(rule) : rule;
    }
    /// The offsets of the words that were spoken of.
    [[nodiscard]] const std::set<std::size_t>& spokenOf() const { return m_spokenOf; }

private:
    LanguageSlips& m_slips;
    bool m_technical;
    bool m_casual;
    std::set<std::size_t> m_spokenOf;
};

void checkAgreement(const EnglishSentence& sentence, GrammarReport& report);
void checkVerbForms(const EnglishSentence& sentence, GrammarReport& report);
void checkNumber(const EnglishSentence& sentence, GrammarReport& report);
void checkArticles(const EnglishSentence& sentence, bool whole, GrammarReport& report);
void checkComparison(const EnglishSentence& sentence, GrammarReport& report);
void checkConfusedWords(const EnglishSentence& sentence, GrammarReport& report);
void checkUsage(const EnglishSentence& sentence, GrammarReport& report);
/// Last, for what no rule has spoken of.
void checkWordFrames(const EnglishSentence& sentence, GrammarReport& report);

/// All of them over the English blocks of a text; `shelf` may be null. Returns the offsets of the
/// words that they spoke of, which need no second word about their spelling.
std::set<std::size_t> checkGrammar(const ProseView& view, const ProseLanguages& languages,
                                   const DictionaryShelf* shelf, LanguageSlips& slips);

} // namespace trevix
