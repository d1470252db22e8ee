// The registry of rules, and docs/critics.md held against it.

#include "critics/rules.h"
#include "tests/source_tree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace trevix {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

struct DocumentedRule {
    std::string id;
    std::set<std::string> severities; ///< The words in its cell.

    bool operator==(const DocumentedRule&) const = default;
};

std::vector<std::string> cellsOf(const std::string& line) {
    std::vector<std::string> cells;
    std::istringstream rest(line.substr(1));
    for (std::string cell; std::getline(rest, cell, '|');) cells.push_back(cell);
    return cells;
}

std::set<std::string> severitiesIn(const std::string& cell) {
    std::string words = cell;
    for (char& c : words) {
        if (c < 'a' || c > 'z') c = ' ';
    }
    std::set<std::string> found;
    std::istringstream rest(words);
    for (std::string word; rest >> word;) {
        if (word == "low" || word == "medium" || word == "high" || word == "critical") {
            found.insert(word);
        }
    }
    return found;
}

/// The rows of every table that has the columns "Rule" and "Severity". Several ids in one cell are
/// several rules.
std::vector<DocumentedRule> documentedRules(std::istream& markdown) {
    std::vector<DocumentedRule> rules;
    std::size_t severityColumn = 0; // The first column has the ids: none of severities.
    bool inTable = false;
    for (std::string line; std::getline(markdown, line);) {
        if (line.empty() || line[0] != '|') {
            inTable = false;
            continue;
        }
        const std::vector<std::string> cells = cellsOf(line);
        if (!inTable) {
            inTable = true;
            severityColumn = 0;
            for (std::size_t i = 1; cells[0] == " Rule " && i < cells.size(); ++i) {
                if (cells[i] == " Severity ") severityColumn = i;
            }
            continue;
        }
        if (severityColumn == 0 || severityColumn >= cells.size()) continue;
        for (std::size_t open = cells[0].find('`'); open != std::string::npos;) {
            const std::size_t close = cells[0].find('`', open + 1);
            if (close == std::string::npos) break;
            rules.push_back(
                {cells[0].substr(open + 1, close - open - 1), severitiesIn(cells[severityColumn])});
            open = cells[0].find('`', close + 1);
        }
    }
    return rules;
}

std::set<std::string> namesOf(Severities severities) {
    static const std::array<std::pair<Severity, const char*>, 4> kNames = {
        {{Severity::low, "low"},
         {Severity::medium, "medium"},
         {Severity::high, "high"},
         {Severity::critical, "critical"}}};
    std::set<std::string> names;
    for (const auto& [severity, name] : kNames) {
        if (severities.has(severity)) names.insert(name);
    }
    return names;
}

/// What is wrong with the documented rules: "ID: missing", "ID: unknown", "ID: twice",
/// "ID: severity".
std::vector<std::string> differences(const std::vector<DocumentedRule>& documented,
                                     const std::vector<Rule>& declared) {
    std::vector<std::string> found;
    std::map<std::string, std::set<std::string>> known;
    for (const Rule& rule : declared) known[std::string(rule.id)] = namesOf(rule.severities);
    std::set<std::string> seen;
    for (const DocumentedRule& row : documented) {
        const auto rule = known.find(row.id);
        if (!seen.insert(row.id).second) {
            found.push_back(row.id + ": twice");
        } else if (rule == known.end()) {
            found.push_back(row.id + ": unknown");
        } else if (rule->second != row.severities) {
            found.push_back(row.id + ": severity");
        }
    }
    for (const auto& [id, severities] : known) {
        if (!seen.contains(id)) found.push_back(id + ": missing");
    }
    return found;
}

TEST(Rules, EachIsDeclaredOnceAndWhole) {
    std::set<std::string_view> ids;
    for (const Rule& rule : allRules()) {
        EXPECT_TRUE(ids.insert(rule.id).second) << rule.id;
        EXPECT_NE(rule.id.find('.'), std::string_view::npos) << rule.id;
        EXPECT_FALSE(rule.criterion.empty()) << rule.id;
        EXPECT_FALSE(namesOf(rule.severities).empty()) << rule.id;
    }
    EXPECT_TRUE(ids.contains("artifact.empty"));
    EXPECT_TRUE(ids.contains("deck.margin"));
}

TEST(Rules, AreFoundByNameAndFamiliesByTheirs) {
    EXPECT_EQ(ruleNamed("text.secret")->id, "text.secret");
    EXPECT_EQ(ruleNamed("shellcheck.SC2086")->id, "shellcheck.*");
    EXPECT_EQ(ruleNamed("oxlint.oxc/missing-throw")->id, "oxlint.*");
    EXPECT_FALSE(ruleNamed("text.unheard_of").has_value());
    EXPECT_FALSE(ruleNamed("shellcheck.").has_value());
    EXPECT_FALSE(ruleNamed("shellcheck").has_value());
    EXPECT_FALSE(ruleNamed("").has_value());
}

TEST(Rules, TheDocumentHasEachOnceWithItsSeverities) {
    std::ifstream document(kelvane::inSourceTree("docs/critics.md"));
    ASSERT_TRUE(document.is_open());
    EXPECT_THAT(differences(documentedRules(document), allRules()), IsEmpty());
}

TEST(RuleDocument, RowsAreReadByTheirHeader) {
    std::istringstream document("| Severity | Points |\n|---|---|\n| `no.rule` | high |\n\n"
                                "| Rule | Severity | Example |\n|---|---|---|\n"
                                "| `a.one`, `a.two` | Python high, else low | `b.no` |\n\n"
                                "| Rule | For | Severity | When |\n|---|---|---|---|\n"
                                "| `c.d` | all | medium; highest | wider than high |\n");
    EXPECT_THAT(documentedRules(document), ElementsAre(DocumentedRule{"a.one", {"high", "low"}},
                                                       DocumentedRule{"a.two", {"high", "low"}},
                                                       DocumentedRule{"c.d", {"medium"}}));
}

TEST(RuleDocument, AMissingExtraDoubleOrDifferentRowIsADifference) {
    const std::vector<Rule> declared = {
        Rule{"a.one", Severity::high, "x", Unit::part, ""},
        Rule{"a.two", {Severity::high, Severity::low}, "x", Unit::part, ""},
        Rule{"a.three", Severity::low, "x", Unit::part, ""},
    };
    const std::vector<DocumentedRule> right = {
        {"a.one", {"high"}}, {"a.two", {"low", "high"}}, {"a.three", {"low"}}};
    EXPECT_THAT(differences(right, declared), IsEmpty());
    EXPECT_THAT(differences({right[0], right[2]}, declared), ElementsAre("a.two: missing"));
    EXPECT_THAT(differences({right[0], right[1], right[2], {"a.four", {"low"}}}, declared),
                ElementsAre("a.four: unknown"));
    EXPECT_THAT(differences({right[0], right[0], right[1], right[2]}, declared),
                ElementsAre("a.one: twice"));
    EXPECT_THAT(
        differences({{"a.one", {"medium"}}, {"a.two", {"high"}}, {"a.three", {}}}, declared),
        UnorderedElementsAre("a.one: severity", "a.two: severity", "a.three: severity"));
}

TEST(Severities, KnowTheirWorst) {
    EXPECT_EQ(Severities(Severity::low).worst(), Severity::low);
    EXPECT_TRUE(Severities(Severity::low).isOne());
    constexpr Severities several{Severity::low, Severity::critical};
    EXPECT_EQ(several.worst(), Severity::critical);
    EXPECT_FALSE(several.isOne());
    EXPECT_FALSE(several.has(Severity::medium));
}

} // namespace
} // namespace trevix
