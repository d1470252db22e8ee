// The rules for program text and data.

#pragma once

#include "critics/findings/rule.h"

#include <array>
#include <string_view>

namespace trevix {

template <>
struct RulesFor<WorkKind::code> {
    static constexpr std::string_view kFollowed =
        "chosen: 120 levels of expressions and blocks inside one another are followed; programs "
        "that people write have some thirty";
    static constexpr std::array kRules = {
        Rule{"code.secret",
             {Severity::critical, Severity::low},
             "kept secrets",
             Unit::line,
             "as text.secret"},
        Rule{"code.conflict_marker", Severity::critical, "unresolved merge", Unit::line,
             "as text.conflict_marker"},
        Rule{"code.empty", Severity::high, "something to judge", Unit::part, ""},
        Rule{"code.syntax", Severity::high, "code that parses", Unit::line,
             "chosen: the first three of a part, since a parser that lost its way finds echoes"},
        Rule{"code.unclosed_string", Severity::high, "code that parses", Unit::line, ""},
        Rule{"code.misspelt_keyword", Severity::high, "code that parses", Unit::line,
             "one slip of the keyboard: a letter more, less, other, or two swapped; SQL from four "
             "letters on"},
        Rule{"code.mismatched_bracket", Severity::high, "matching brackets", Unit::line,
             "chosen: the first three of a part, since one slip throws later brackets off; a "
             "partner is looked for eight brackets down"},
        Rule{"code.unclosed_bracket", Severity::medium, "matching brackets", Unit::line, ""},
        Rule{"code.runs_text", {Severity::high, Severity::low}, "safe calls", Unit::line, ""},
        Rule{"code.runs_download", {Severity::high, Severity::low}, "safe calls", Unit::line, ""},
        Rule{"code.plain_address", Severity::medium, "safe calls", Unit::line,
             "chosen: an address among the first 4 tokens of a call, behind the method of a "
             "request"},
        Rule{"code.unverified_peer", Severity::medium, "safe calls", Unit::line, ""},
        Rule{"code.guessable_secret", Severity::medium, "safe calls", Unit::line,
             "chosen: what the value is for is told by the names on its line and by that of the "
             "function around"},
        Rule{"code.format_from_data", Severity::high, "safe calls", Unit::line, ""},
        Rule{"code.unbounded_copy", Severity::high, "safe calls", Unit::line, ""},
        Rule{"code.query_from_text", Severity::high, "safe queries", Unit::line, ""},
        Rule{"code.path_from_outside", Severity::high, "data from outside", Unit::line, kFollowed},
        Rule{"code.page_from_outside", Severity::high, "data from outside", Unit::line, kFollowed},
        Rule{"code.address_from_outside",
             {Severity::high, Severity::medium},
             "data from outside",
             Unit::line,
             kFollowed},
        Rule{"code.output_from_outside", Severity::medium, "data from outside", Unit::line,
             kFollowed},
        Rule{"code.objects_from_outside", Severity::high, "data from outside", Unit::line,
             kFollowed},
        Rule{"code.pattern_from_outside", Severity::medium, "data from outside", Unit::line,
             kFollowed},
        Rule{"code.weak_crypto", Severity::medium, "safe calls", Unit::line,
             "10,000 rounds: ten times the least that NIST SP 800-132 asked for in 2010"},
        Rule{"code.unverified_token", Severity::high, "safe calls", Unit::line, ""},
        Rule{"code.unescaped_page", Severity::medium, "safe pages", Unit::line, ""},
        Rule{"code.lax_setting", Severity::medium, "protections left on", Unit::line, ""},
        Rule{"code.shown_trace", Severity::medium, "protections left on", Unit::line, ""},
        Rule{"code.known_password", Severity::medium, "kept secrets", Unit::line, ""},
        Rule{"code.shown_secret", Severity::medium, "kept secrets", Unit::line, ""},
        Rule{"code.unsafe_parser", Severity::medium, "safe calls", Unit::line, ""},
        Rule{"code.leaky_comparison", Severity::medium, "right comparisons", Unit::line, ""},
        Rule{"code.slow_pattern", Severity::medium, "safe calls", Unit::line, ""},
        Rule{"code.endless_loop", Severity::medium, "code that runs", Unit::line, ""},
        Rule{"code.wrong_range", Severity::medium, "code that runs", Unit::line, ""},
        Rule{"code.gone_function", Severity::medium, "code that runs", Unit::line, ""},
        Rule{"code.plain_form", Severity::high, "safe pages", Unit::line, ""},
        Rule{"code.unpaired_tag",
             {Severity::medium, Severity::low},
             "matching tags",
             Unit::line,
             "HTML, 13.1.2: which elements have no end tag, and which may go without"},
        Rule{"code.nested_element", Severity::medium, "matching tags", Unit::line, ""},
        Rule{"code.repeated_attribute", Severity::medium, "code that runs", Unit::line, ""},
        Rule{"code.repeated_id", Severity::medium, "code that runs", Unit::line, ""},
        Rule{"code.missing_target", Severity::medium, "links that lead somewhere", Unit::line, ""},
        Rule{"code.unrendered_value", Severity::medium, "code that runs", Unit::line, ""},
        Rule{"code.filler_text", Severity::medium, "open ends", Unit::part, ""},
        Rule{"code.image_text", Severity::low, "described pictures", Unit::line, ""},
        Rule{"code.json_syntax", Severity::high, "readable data", Unit::part, ""},
        Rule{
            "code.json_duplicate_key", Severity::medium, "readable data", Unit::line,
            "data nested deeper than the JSON that this program reads anywhere is not looked into"},
        Rule{"code.yaml_syntax", Severity::high, "readable data", Unit::line, ""},
        Rule{"code.breakpoint", Severity::high, "left-over debugging", Unit::line, ""},
        Rule{"code.debug_output", Severity::medium, "left-over debugging", Unit::line, ""},
        Rule{"code.dead_code",
             {Severity::medium, Severity::low},
             "code that runs",
             Unit::line,
             "chosen: a statement of more than 2,000 tokens is not followed to its end"},
        Rule{"code.swallowed_error",
             {Severity::medium, Severity::low},
             "handled errors",
             Unit::line,
             ""},
        Rule{"code.assignment_in_condition", Severity::medium, "right comparisons", Unit::line,
             "chosen: a declaration is looked for in 40 tokens, a semicolon in 200"},
        Rule{"code.text_identity", Severity::medium, "right comparisons", Unit::line, ""},
        Rule{"code.home_path", Severity::medium, "portable paths", Unit::line, ""},
        Rule{"code.deep_nesting", Severity::low, "readable functions", Unit::line,
             "chosen: six blocks, twice the three that the Linux kernel's coding style calls the "
             "most"},
        Rule{"code.mixed_indentation",
             {Severity::high, Severity::low},
             "even indentation",
             Unit::part,
             "a tab reaches the next multiple of eight columns, as terminals and Python have it"},
        Rule{"code.long_function", Severity::low, "readable functions", Unit::line,
             "chosen: 80 lines, which is more than one screen shows"},
        Rule{"code.long_line", Severity::low, "readable lines", Unit::line,
             "chosen: 160 characters, twice the 80 of most style guides; one word of 80 cannot be "
             "wrapped"},
        Rule{"code.commented_out", Severity::low, "code that runs", Unit::line,
             "chosen: four lines, four fifths of them code, since two or three may be an example"},
        Rule{"code.todo", Severity::low, "open ends", Unit::line,
             "chosen: an owner stands within 40 bytes on the same line"},
        Rule{"code.none_comparison", Severity::low, "right comparisons", Unit::line, ""},
        Rule{"code.duplicate_import", Severity::low, "tidy imports", Unit::line, ""},
    };
};

} // namespace trevix
