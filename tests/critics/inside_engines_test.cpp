#include "critics/inside_engines.h"

#include "critics/syntax/syntax_reader.h"

#include <gtest/gtest.h>

#include <set>

namespace trevix {
namespace {

TEST(InsideEngines, AreTheOwnRulesAndEachGrammarOfThisBuild) {
    const auto engines = insideEngines();
    ASSERT_EQ(engines.size(), knownGrammars().size() + 1);
    EXPECT_EQ(engines.front().id, "trevix");
    std::set<std::string> ids;
    for (const EngineInfo& engine : engines) {
        EXPECT_TRUE(ids.insert(engine.id).second) << engine.id;
        EXPECT_TRUE(engine.here && engine.inside);
        EXPECT_FALSE(engine.version.empty()) << engine.id;
        EXPECT_FALSE(engine.judges.empty()) << engine.id;
    }
}

} // namespace
} // namespace trevix
