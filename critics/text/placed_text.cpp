#include "critics/text/placed_text.h"

#include "critics/text/prose_rules.h"
#include "critics/text/text_rule_table.h"

#include <algorithm>

namespace trevix {

namespace {

constexpr GradedRule kSecret = declared<WorkKind::text>("text.secret");

/// Masks words that the end of a line parts: neither half is a word.
void maskPartedWords(std::string& text) {
    const auto isBlank = [&](std::size_t i) {
        return text[i] == ' ' || text[i] == '\n' || text[i] == '\t' || text[i] == '\r';
    };
    for (std::size_t at = text.find("-\n"); at != std::string::npos; at = text.find("-\n", at)) {
        std::size_t begin = at;
        while (begin > 0 && !isBlank(begin - 1)) --begin;
        std::size_t end = at + 2;
        while (end < text.size() && !isBlank(end)) ++end;
        mask(text, begin, end - begin);
        at = end;
    }
}

Prose proseOf(const PlacedText& placed, const SourceText& source, Flow flow) {
    Prose prose = plainProse(source);
    if (!placed.blocks.empty()) prose.blocks = placed.blocks;
    if (flow == Flow::cut) maskPartedWords(prose.masked);
    return prose;
}

} // namespace

void PlacedText::add(std::string_view paragraph, BlockKind kind) {
    if (paragraph.find_first_not_of(" \t\r\n") == std::string_view::npos) return;
    const std::size_t begin = text.size();
    text += paragraph;
    blocks.push_back({begin, text.size(), kind});
    text += "\n\n";
}

Critique critiquePlacedText(const PlacedText& placed, Flow flow, const LanguageTools& tools) {
    const SourceText source(placed.text, [&placed](std::size_t offset, std::size_t /*length*/) {
        const auto after = std::ranges::upper_bound(placed.places, offset, {},
                                                    [](const auto& place) { return place.first; });
        return after == placed.places.begin() ? std::string("the beginning") : (after - 1)->second;
    });
    FindingList findings(source);
    checkSecrets(source, kSecret, findings);
    const ProseView view(source, proseOf(placed, source, flow));
    Critique critique = proseCritique(view);
    if (!checkAmount(view, findings)) {
        checkEncoding(source, findings);
        if (flow == Flow::known) {
            checkProse(view, findings);
        } else {
            checkPlaceholders(view, findings);
            checkEditingMarks(view, findings);
            checkDoubledWords(view, findings);
            checkDates(view, findings);
        }
        checkLanguage(view, tools, findings, critique.coverage);
    }
    critique.findings = findings.take();
    return critique;
}

} // namespace trevix
