// The families of rules of other people's programs: one for each program, since their rules are
// theirs and open-ended.

#pragma once

#include "critics/findings/rule.h"

#include <array>
#include <string_view>

namespace trevix {

template <>
struct RulesFor<WorkKind::engine> {
    static constexpr std::array kRules = {
        Rule{"bandit.*",
             {Severity::high, Severity::medium, Severity::low},
             "safe code",
             Unit::line,
             ""},
        Rule{"biome.*", {Severity::high, Severity::medium}, "sound scripts", Unit::line, ""},
        Rule{"bash.*", Severity::high, "code that parses", Unit::line, ""},
        Rule{"cppcheck.*",
             {Severity::high, Severity::medium, Severity::low},
             "sound C and C++",
             Unit::line,
             ""},
        Rule{"gitleaks.*", {Severity::high, Severity::medium}, "safe code", Unit::line, ""},
        Rule{"gofmt.*", Severity::high, "code that parses", Unit::line, ""},
        Rule{"harper.*", {Severity::medium, Severity::low}, "sound prose", Unit::sentence, ""},
        Rule{
            "languagetool.*", {Severity::medium, Severity::low}, "sound prose", Unit::sentence, ""},
        Rule{"markdownlint.*",
             {Severity::high, Severity::medium, Severity::low},
             "sound Markdown",
             Unit::line,
             ""},
        Rule{"model.*",
             {Severity::medium, Severity::low},
             "meaning, as a model sees it",
             Unit::line,
             ""},
        Rule{"node.*", Severity::high, "code that parses", Unit::line, ""},
        Rule{"oxlint.*", {Severity::high, Severity::medium}, "sound scripts", Unit::line, ""},
        Rule{"python.*",
             {Severity::high, Severity::medium, Severity::low},
             "code that parses",
             Unit::line,
             ""},
        Rule{"ruff.*",
             {Severity::high, Severity::medium, Severity::low},
             "sound Python",
             Unit::line,
             ""},
        Rule{"shellcheck.*",
             {Severity::high, Severity::medium, Severity::low},
             "sound shell",
             Unit::line,
             ""},
        Rule{"xmllint.*", Severity::high, "readable data", Unit::line, ""},
        Rule{"yamllint.*", Severity::high, "readable data", Unit::line, ""},
    };
};

/// The family of an engine: "shellcheck.*" of "shellcheck". Null for one that has none.
[[nodiscard]] constexpr const Rule* engineFamily(std::string_view engine) {
    for (const Rule& rule : RulesFor<WorkKind::engine>::kRules) {
        if (rule.id.substr(0, rule.id.size() - 2) == engine) return &rule;
    }
    return nullptr;
}

} // namespace trevix
