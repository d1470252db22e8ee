// The rules that hold for all prose, be it a mail or a chapter of a report.
//
// Each function reads the text once and adds what it finds, nothing where all is well;
// docs/critics.md lists the rules with examples. Rules are tuned to stay silent about sound work:
// where a pattern has an honest use, it is not reported. Linear; any thread.

#pragma once

#include "critics/findings/critique.h"
#include "critics/findings/finding_list.h"
#include "critics/language/language_tools.h"
#include "critics/text/prose.h"
#include "text/letters.h"

#include <functional>
#include <string_view>
#include <vector>

namespace trevix {

namespace text = kelvane::text;

/// The text with everything that several rules read.
struct ProseView {
    ProseView(const SourceText& text, Prose parts);

    const SourceText& source;
    Prose prose;
    std::vector<text::Word> words; ///< Of the masked text.
    std::vector<Sentence> sentences;

    [[nodiscard]] std::string_view masked() const { return prose.masked; }
    [[nodiscard]] std::string_view wordText(std::size_t word) const;
    /// Whether a hyphen at the end of a line parts a word of which this is the beginning or the
    /// end.
    [[nodiscard]] bool isPartedByLine(const text::Word& word) const;
    /// Whether the text is about programs: it has code beside its prose, something that is masked
    /// and no address, or reads like a manual.
    [[nodiscard]] bool isTechnical() const { return m_technical; }

private:
    bool m_technical = false;
};

/// Whether it is a casual note, as people type them to each other or into a field: no sentence of
/// it has a full stop. Such a note leaves out capitals and apostrophes by habit.
[[nodiscard]] bool isCasual(const ProseView& view);

/// Builds the word lists that the prose rules look words up in; otherwise the first check does.
void warmUpWordLists();

/// All of the rules below that read prose. Conflict markers and secrets, which concern code too,
/// are separate.
void checkProse(const ProseView& view, FindingList& findings);

void checkPlaceholders(const ProseView& view, FindingList& findings);
void checkDoubledWords(const ProseView& view, FindingList& findings);
void checkPairs(const ProseView& view, FindingList& findings);
void checkShouting(const ProseView& view, FindingList& findings);
void checkSpacing(const ProseView& view, FindingList& findings);
void checkSentences(const ProseView& view, FindingList& findings);
void checkDates(const ProseView& view, FindingList& findings);
void checkEditingMarks(const ProseView& view, FindingList& findings);
void checkEncoding(const SourceText& source, FindingList& findings);

/// Spelling and grammar, in the languages that can be told: adds findings, and to `coverage` who
/// looked and what could not be judged. Separate, since it needs what the machine has.
void checkLanguage(const ProseView& view, const LanguageTools& tools, FindingList& findings,
                   Coverage& coverage);

/// How much prose there is, and that the rules below read it; without findings.
[[nodiscard]] Critique proseCritique(const ProseView& view);

/// Reports too little text to judge. True when there is nothing more to check.
[[nodiscard]] bool checkAmount(const ProseView& view, FindingList& findings);

/// Reports unresolved merges, each once at its first line. `rule` is the rule of the kind of work.
void checkConflictMarkers(const SourceText& source, GradedRule rule, FindingList& findings);

/// Reports secrets and hides them from every finding that is added later.
/// A value that its name alone tells weighs low, where the rule can, at the offsets that
/// `isExample` accepts.
void checkSecrets(const SourceText& source, GradedRule rule, FindingList& findings,
                  const std::function<bool(std::size_t)>& isExample = {});

} // namespace trevix
