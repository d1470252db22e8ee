#include "critics/text/grammar_rules.h"

#include <algorithm>

namespace trevix {

namespace {

// Words; in fewer there is no sentence to be wrong.
constexpr std::size_t kFewestWords = 2;
// Words; what is longer is a list or no prose, and is read in pieces of this length.
constexpr std::size_t kMostWords = 400;

/// A title, a name or a shout: most of its words have capitals.
bool isTitle(const EnglishSentence& sentence) {
    std::size_t capitals = 0;
    for (std::size_t i = 0; i < sentence.size(); ++i) capitals += sentence.capital(i) ? 1U : 0U;
    return sentence.size() >= 3 ? capitals * 2 > sentence.size() + 1 : capitals == sentence.size();
}

} // namespace

void GrammarReport::add(GradedRule rule, const EnglishSentence& sentence, std::size_t first,
                        std::size_t last, const std::string& says) {
    last = std::min(last, sentence.size() - 1);
    for (std::size_t i = first; i <= last; ++i) {
        if (m_spokenOf.contains(sentence.offset(i))) return;
    }
    for (std::size_t i = first; i <= last; ++i) m_spokenOf.insert(sentence.offset(i));
    m_findings.add(rule, sentence.offset(first), sentence.length(first, last), says);
}

std::set<std::size_t> checkGrammar(const ProseView& view, const ProseLanguages& languages,
                                   FindingList& findings) {
    const bool technical = view.masked().find(kMasked) != std::string_view::npos;
    GrammarReport report(findings, technical);
    std::size_t word = 0;
    for (const Sentence& sentence : view.sentences) {
        while (word < view.words.size() && view.words[word].offset < sentence.begin) ++word;
        std::size_t last = word;
        while (last < view.words.size() && view.words[last].end() <= sentence.end) ++last;
        const std::size_t begin = word;
        word = last;
        if (languages.blocks[sentence.block].language != NaturalLanguage::english) continue;
        const BlockKind kind = view.prose.blocks[sentence.block].kind;
        if (kind == BlockKind::heading || kind == BlockKind::table) continue;
        for (std::size_t at = begin; at < last; at += kMostWords) {
            const EnglishSentence own(view, at, std::min(last, at + kMostWords));
            if (own.size() < kFewestWords || isTitle(own)) continue;
            const bool whole = sentence.ended && kind == BlockKind::paragraph;
            checkConfusedWords(own, report);
            checkUsage(own, report);
            checkVerbForms(own, report);
            checkAgreement(own, report);
            checkComparison(own, report);
            checkNumber(own, report);
            checkArticles(own, whole, report);
        }
    }
    return report.spokenOf();
}

} // namespace trevix
