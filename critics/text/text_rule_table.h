// The rules for prose of every kind: plain text, mail, documents.

#pragma once

#include "critics/findings/rule.h"

#include <array>

namespace trevix {

template <>
struct RulesFor<WorkKind::text> {
    static constexpr std::string_view kFrames =
        "measured: each frame of words on sentences of learners, flawed and corrected";

    static constexpr std::array kRules = {
        Rule{"text.empty", Severity::high, "something to judge", Unit::part, ""},
        Rule{"text.nearly_empty", Severity::medium, "something to judge", Unit::part,
             "chosen: fewer than 3 words in fewer than 20 bytes make no sentence"},
        Rule{
            "text.placeholder",
            {Severity::high, Severity::low},
            "unfinished text",
            Unit::word,
            "chosen: a gap names its content in at most 80 bytes on one line; low for the notes of "
            "a manual, as for those of code"},
        Rule{"text.secret", Severity::critical, "kept secrets", Unit::word,
             "prefixes and lengths as each issuer documents its keys; for values assigned to a "
             "name, lengths and bits of entropy a byte chosen above those of written words"},
        Rule{"text.conflict_marker", Severity::critical, "unresolved merge", Unit::line,
             "git writes its markers seven characters long (conflict-marker-size)"},
        Rule{"text.encoding", Severity::high, "broken characters", Unit::word, ""},
        Rule{"text.weekday", Severity::high, "consistent dates", Unit::word, ""},
        Rule{"text.impossible_date", Severity::high, "consistent dates", Unit::word, ""},
        Rule{"text.date_order", Severity::high, "consistent dates", Unit::word,
             "chosen: two dates make a range when at most 16 bytes stand between them; a word for "
             "a change counts among the 8 words before"},
        Rule{"text.doubled_word",
             {Severity::medium, Severity::low},
             "repeated words",
             Unit::word,
             "chosen: across a line break only from 30 characters on, since shorter lines are "
             "lists set with line breaks; low in a manual where no little word is doubled: a name "
             "and its value may be alike"},
        Rule{
            "text.unclosed_pair",
            {Severity::medium, Severity::low},
            "closed brackets and quotes",
            Unit::word,
            "chosen: an interval has at most 24 bytes between its brackets; low in a manual, which "
            "quotes single marks, and for a quote in a text of one sentence"},
        Rule{"text.repeated_sentence",
             {Severity::medium, Severity::low},
             "repeated passages",
             Unit::sentence,
             "chosen: from 8 words on, since shorter sentences are formulas that people do repeat; "
             "in a manual from 20, and low: it describes like things in like words"},
        Rule{
            "text.unfinished_sentence", Severity::medium, "unfinished text", Unit::sentence,
            "chosen: from 4 words on, and from 7 where it breaks off at a comma, since salutations "
            "and labels are shorter"},
        Rule{"text.editing_mark", Severity::medium, "left-over editing marks", Unit::word, ""},
        Rule{"text.long_sentence", Severity::low, "readable sentences", Unit::sentence,
             "chosen: 45 words, about twice the 20 to 25 that guides to plain language allow"},
        Rule{"text.shouting", Severity::low, "calm tone", Unit::word,
             "chosen: four words in capitals, since names of up to three are common; three "
             "exclamation marks, since two are a slip"},
        Rule{"text.spacing", Severity::low, "blanks around marks", Unit::word, ""},
        Rule{"text.agreement",
             {Severity::medium, Severity::low},
             "agreement of subject and verb",
             Unit::word,
             kFrames},
        Rule{"text.verb_form",
             {Severity::medium, Severity::low},
             "forms of verbs",
             Unit::word,
             kFrames},
        Rule{"text.number",
             {Severity::medium, Severity::low},
             "singular and plural",
             Unit::word,
             kFrames},
        Rule{"text.article", {Severity::medium, Severity::low}, "articles", Unit::word, kFrames},
        Rule{"text.comparison",
             {Severity::medium, Severity::low},
             "comparison",
             Unit::word,
             kFrames},
        Rule{"text.capital",
             {Severity::medium, Severity::low},
             "capital letters",
             Unit::sentence,
             "chosen: from 5 words on; shorter notes begin as they like; low in a casual note, "
             "which has no full stop"},
        Rule{"text.confused_word",
             {Severity::medium, Severity::low},
             "words taken for others",
             Unit::word,
             kFrames},
        Rule{"text.usage",
             {Severity::medium, Severity::low},
             "turns of phrase",
             Unit::word,
             kFrames},
        Rule{"text.spelling",
             {Severity::medium, Severity::low},
             "spelling",
             Unit::word,
             "measured: a suggestion one edit away, or two from 6 letters on, makes it sure; "
             "chosen: "
             "a word that stands 3 times is a term"},
    };
};

} // namespace trevix
