// The rules for documents, beside those for all prose.

#pragma once

#include "critics/findings/rule.h"

#include <array>

namespace trevix {

template <>
struct RulesFor<WorkKind::document> {
    static constexpr std::array kRules = {
        Rule{"document.heading_order",
             {Severity::medium, Severity::low},
             "order of headings",
             Unit::line,
             "chosen: low are three headings of a level where the one above it is nowhere, one in "
             "eight, five words right below the title, and few for the text, as slips of spelling "
             "are"},
        Rule{"document.second_title", Severity::low, "order of headings", Unit::line,
             "chosen: three headings of level 1 make them chapters"},
        Rule{"document.duplicate_heading", Severity::low, "distinct headings", Unit::line, ""},
        Rule{"document.empty_section", Severity::medium, "complete sections", Unit::line, ""},
        Rule{"document.empty_heading", Severity::medium, "headings with words", Unit::line, ""},
        Rule{"document.glued_heading", Severity::medium, "headings that are some", Unit::line,
             "chosen: two marks and more, as one may be a hashtag or a number"},
        Rule{"document.reversed_link", Severity::medium, "working links", Unit::word, ""},
        Rule{"document.link_text", Severity::low, "links with words", Unit::word, ""},
        Rule{"document.empty_link", Severity::high, "working links", Unit::word, ""},
        Rule{"document.broken_address", Severity::high, "working links", Unit::word, ""},
        Rule{"document.broken_anchor",
             {Severity::medium, Severity::low},
             "working links",
             Unit::word,
             "chosen: low are those that are few for the text, as slips of spelling are where but "
             "the capitals differ, and as doubled words where no heading is meant"},
        Rule{"document.missing_definition", Severity::medium, "working links", Unit::word, ""},
        Rule{"document.missing_note", Severity::medium, "complete notes", Unit::word,
             "chosen: two numbered sources make a list of sources"},
        Rule{"document.unused_note", Severity::low, "complete notes", Unit::line, ""},
        Rule{"document.missing_reference", Severity::medium, "references that exist", Unit::word,
             ""},
        Rule{"document.list_order", Severity::medium, "order of numbers", Unit::line,
             "chosen: a number of more than three digits is a year, not the number of an item"},
        Rule{"document.table_columns",
             {Severity::medium, Severity::low},
             "regular tables",
             Unit::row,
             "chosen: low are rows that end early where three rows and a third of the table do, as "
             "their last cells are shown empty"},
        Rule{"document.unclosed_code", Severity::high, "closed code blocks", Unit::part, ""},
        Rule{"document.unclosed_comment", Severity::high, "closed comments", Unit::part, ""},
        Rule{"document.spelling_mix", Severity::low, "consistent spelling", Unit::word, ""},
        Rule{"document.image_text", Severity::low, "described pictures", Unit::word, ""},
    };
};

} // namespace trevix
