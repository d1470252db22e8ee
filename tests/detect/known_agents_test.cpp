// What the build made of resources/tools.json is what that file says, in every field. The kit's
// installer is held to the same file by tests/kit/installer/test_table.py.

#include "detect/known_agents.h"

#include "detect/agent_scan.h"
#include "tests/source_tree.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <string>
#include <vector>

namespace kelvane {
namespace {

using nlohmann::json;
using testing::ElementsAreArray;
using testing::SizeIs;

json table() {
    std::ifstream file(kelvane::inSourceTree("resources/tools.json"));
    return json::parse(file);
}

std::vector<std::string> strings(std::span<const std::string_view> texts) {
    return {texts.begin(), texts.end()};
}

std::vector<std::string> strings(const json& list) {
    return list.get<std::vector<std::string>>();
}

void expectSame(const WiringRecord& made, const json& said) {
    EXPECT_EQ(made.key, said.at("key").get<std::string>());
    EXPECT_EQ(strings(made.homeEntries), strings(said.at("homeEntries")));
    EXPECT_EQ(made.wiredWhenFound, said.at("wiredWhenFound").get<bool>());
    EXPECT_EQ(made.wiredWhenNoneIsFound, said.at("wiredWhenNoneIsFound").get<bool>());
    const json more = said.value("more", json::array());
    ASSERT_THAT(made.furtherFiles, SizeIs(more.size()));
    for (std::size_t i = 0; i < more.size(); ++i) {
        EXPECT_EQ(made.furtherFiles[i], more.at(i).at("path").get<std::string>());
    }
    ASSERT_THAT(made.files, SizeIs(said.at("files").size()));
    for (std::size_t i = 0; i < made.files.size(); ++i) {
        EXPECT_EQ(made.files[i].path, said.at("files").at(i).at("path").get<std::string>());
        EXPECT_EQ(strings(made.files[i].markers), strings(said.at("files").at(i).at("markers")));
    }
}

TEST(KnownAgents, AreThoseOfTheTableFieldByField) {
    const json agents = table().at("agents");
    ASSERT_THAT(knownAgents(), SizeIs(agents.size()));
    for (std::size_t i = 0; i < agents.size(); ++i) {
        const KnownAgent& made = knownAgents()[i];
        const json& said = agents.at(i);
        SCOPED_TRACE(said.at("id").get<std::string>());
        EXPECT_EQ(made.id, said.at("id").get<std::string>());
        EXPECT_EQ(made.name, said.at("name").get<std::string>());
        EXPECT_EQ(rawValue(made.kind), said.at("kind").get<std::string>());
        EXPECT_EQ(strings(made.bundleIds), strings(said.at("bundleIds")));
        EXPECT_EQ(strings(made.processNames), strings(said.at("processNames")));
        ASSERT_EQ(made.wiring == nullptr, said.at("wiring").is_null());
        if (made.wiring != nullptr) expectSame(*made.wiring, said.at("wiring"));
    }
}

TEST(KnownAgents, ThoseThatCanBeWiredStandInTheTablesOrder) {
    std::vector<std::string> ids;
    for (const KnownAgent* tool : wireableTools()) {
        ASSERT_NE(tool->wiring, nullptr);
        ids.emplace_back(tool->id);
    }
    EXPECT_THAT(ids, ElementsAreArray(strings(table().at("wiringOrder"))));
}

TEST(KnownAgents, SignaturesOfTheScanAreTheSameRecords) {
    ASSERT_THAT(AgentScan::signatures(), SizeIs(knownAgents().size()));
    for (std::size_t i = 0; i < knownAgents().size(); ++i) {
        const KnownAgent& agent = knownAgents()[i];
        const AgentSignature& signature = AgentScan::signatures()[i];
        EXPECT_EQ(signature.id, agent.id);
        EXPECT_EQ(signature.name, agent.name);
        EXPECT_EQ(signature.kind, agent.kind);
        EXPECT_EQ(signature.bundleIds, strings(agent.bundleIds));
        EXPECT_EQ(signature.procNames, strings(agent.processNames));
        EXPECT_EQ(signature.canWire, agent.wiring != nullptr);
        ASSERT_EQ(signature.configKey.has_value(), agent.wiring != nullptr);
        if (agent.wiring != nullptr) {
            EXPECT_EQ(*signature.configKey, agent.wiring->key);
        }
    }
}

} // namespace
} // namespace kelvane
