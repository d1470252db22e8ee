// How do the tests of the critics say what they expect?
//
// A case is a text and the rules that it breaks. Good work, and what only looks like bad work, has
// none.

#pragma once

#include "critics/critic.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace trevix {

struct RuleCase {
    std::string_view name;
    std::string text;
    std::vector<std::string> rules; ///< Broken, sorted, each once.
    std::string fileName = "work.txt";
};

inline std::vector<std::string> rulesOf(const std::vector<Finding>& findings) {
    std::vector<std::string> rules;
    for (const Finding& finding : findings) rules.push_back(finding.rule);
    std::sort(rules.begin(), rules.end());
    rules.erase(std::unique(rules.begin(), rules.end()), rules.end());
    return rules;
}

/// Of the findings of `rule`, in their order.
inline std::vector<Severity> severitiesOf(const std::vector<Finding>& findings,
                                          std::string_view rule) {
    std::vector<Severity> severities;
    for (const Finding& finding : findings) {
        if (finding.rule == rule) severities.push_back(finding.severity);
    }
    return severities;
}

inline Part textPart(std::string text, std::string name = "work.txt",
                     std::string mimeType = "text/plain") {
    Part part;
    part.text = std::move(text);
    part.name = std::move(name);
    part.mimeType = std::move(mimeType);
    return part;
}

inline void expectRules(const std::vector<RuleCase>& cases, Critique (*critic)(const Part&)) {
    for (const RuleCase& entry : cases) {
        const std::vector<Finding> findings = critic(textPart(entry.text, entry.fileName)).findings;
        std::string details;
        for (const Finding& finding : findings) details += "\n  " + finding.detail;
        EXPECT_EQ(rulesOf(findings), entry.rules) << entry.name << details;
    }
}

/// The only finding of `rule`, or one that says there is none or more than one.
inline Finding onlyFinding(const std::vector<Finding>& findings, std::string_view rule) {
    Finding found;
    std::size_t count = 0;
    for (const Finding& finding : findings) {
        if (finding.rule != rule) continue;
        found = finding;
        ++count;
    }
    EXPECT_EQ(count, 1U) << rule;
    return found;
}

} // namespace trevix
