// Does the list of engines have everybody who judges in process, here or not?

#include "critics/inside_engines.h"

#include "critics/syntax/syntax_reader.h"
#include "tests/source_tree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>

namespace trevix {
namespace {

using testing::HasSubstr;

EngineInfo named(const std::vector<EngineInfo>& engines, std::string_view id) {
    const auto found = std::ranges::find(engines, id, &EngineInfo::id);
    EXPECT_NE(found, engines.end()) << id;
    return found == engines.end() ? EngineInfo{} : *found;
}

CriticTools ofThisMachine() {
    CriticTools tools;
    tools.language = toolsOfMachine("", "", "");
    tools.lines = std::make_shared<LineReaders>(languageFolders(""));
    return tools;
}

TEST(InsideEngines, AreWholeAndEachOnce) {
    for (const CriticTools& tools : {CriticTools(), ofThisMachine()}) {
        const auto engines = insideEngines(tools);
        EXPECT_EQ(engines.front().id, "trevix");
        std::set<std::string> ids;
        for (const EngineInfo& engine : engines) {
            EXPECT_TRUE(ids.insert(engine.id).second) << engine.id;
            EXPECT_TRUE(engine.inside) << engine.id;
            EXPECT_TRUE(engine.place.empty()) << engine.id;
            EXPECT_FALSE(engine.name.empty()) << engine.id;
            EXPECT_FALSE(engine.judges.empty()) << engine.id;
        }
        for (const InsideLibrary& library : insideLibraries()) {
            EXPECT_TRUE(ids.contains(std::string(library.id))) << library.id;
        }
        for (const GrammarInfo& grammar : knownGrammars()) {
            // The grammar of TOML and that of JSON serve tests and other readers.
            if (grammar.name == "toml" || grammar.name == "json") continue;
            EXPECT_TRUE(ids.contains("grammar." + std::string(grammar.name))) << grammar.name;
        }
    }
}

TEST(InsideEngines, WhatABuildIsMadeWithTellsItsVersion) {
    const auto engines = insideEngines(ofThisMachine());
    for (const char* id : {"hunspell", "cmark-gfm", "poppler", "libzip", "pugixml", "tesseract"}) {
        const EngineInfo engine = named(engines, id);
        EXPECT_EQ(engine.here, !engine.version.empty()) << id;
    }
    // Without these nothing is built.
    EXPECT_TRUE(named(engines, "re2").here);
    EXPECT_TRUE(named(engines, "tree-sitter").here);
    EXPECT_TRUE(named(engines, "cmark-gfm").here);
}

TEST(InsideEngines, WhatIsAbsentIsListedWithHowToGetIt) {
    CriticTools tools;
    auto shelf = std::make_shared<ListShelf>();
    shelf->add(NaturalLanguage::english, "garden bed");
    tools.language.shelf = shelf;
    const auto engines = insideEngines(tools);
    EXPECT_TRUE(named(engines, "dictionary.english").here);
    const EngineInfo french = named(engines, "dictionary.french");
    EXPECT_FALSE(french.here);
    EXPECT_EQ(french.trouble, "no dictionary of the language is installed");
    const EngineInfo pictures = named(engines, "tesseract");
    EXPECT_FALSE(pictures.here);
    EXPECT_THAT(pictures.obtain, HasSubstr("tesseract-ocr-eng"));
    EXPECT_FALSE(named(engines, "codespell").here);
    EXPECT_THAT(named(engines, "codespell").obtain, HasSubstr("Debian: codespell"));
}

TEST(InsideEngines, TheDocumentHasEachLibraryInTheOrderOfTheList) {
    std::ifstream file(kelvane::inSourceTree("docs/engines.md"));
    ASSERT_TRUE(file.is_open());
    std::vector<std::string> rows;
    bool inTable = false;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("| Library |")) {
            inTable = true;
            continue;
        }
        if (line.empty() || line[0] != '|') inTable = false;
        if (inTable && !line.starts_with("|---")) rows.push_back(line);
    }
    std::vector<std::string> expected;
    for (const InsideLibrary& library : insideLibraries()) {
        std::string row = "|";
        for (const std::string_view cell :
             {library.name, library.judges, library.licence, library.debian, library.homebrew}) {
            row += cell.empty() ? " |" : " " + std::string(cell) + " |";
        }
        expected.push_back(row);
    }
    EXPECT_EQ(rows, expected);
}

} // namespace
} // namespace trevix
