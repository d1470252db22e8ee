// Does docs/engines.md have every engine as the table has it?

#include "tests/critics/engines/recorded.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace trevix {
namespace {

/// The rows below the header that begins with "| Engine |".
std::vector<std::string> rowsOf(const std::string& markdown) {
    std::vector<std::string> rows;
    std::istringstream lines(markdown);
    bool inTable = false;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("| Engine |")) {
            inTable = true;
            continue;
        }
        if (line.empty() || line[0] != '|') inTable = false;
        if (inTable && !line.starts_with("|---")) rows.push_back(line);
    }
    return rows;
}

TEST(EngineDocument, HasEachEngineOnceInTheOrderOfTheTable) {
    std::vector<std::string> expected;
    for (const EngineEntry& entry : engineTable()) {
        std::string row = "|";
        for (const std::string_view cell :
             {entry.name, entry.judges, entry.licence, entry.debian, entry.homebrew, entry.npm}) {
            row += cell.empty() ? " |" : " " + std::string(cell) + " |";
        }
        expected.push_back(row);
    }
    EXPECT_EQ(rowsOf(contentOf("docs/engines.md")), expected);
}

TEST(EngineDocument, EveryPackageOfDebianIsOneThatBootstrapInstalls) {
    const std::string bootstrap = contentOf("scripts/bootstrap");
    for (const EngineEntry& entry : engineTable()) {
        // Part of every system, of the tool that fetches packages, or of a toolchain of its own.
        if (entry.id == "bash" || entry.id == "node" || entry.id == "gofmt") continue;
        // What is not in Debian 12, which bootstrap knows, names the release that has it.
        if (entry.debian.empty() || entry.debian.find('(') != std::string_view::npos) continue;
        EXPECT_NE(bootstrap.find(" " + std::string(entry.debian)), std::string::npos) << entry.id;
    }
}

} // namespace
} // namespace trevix
