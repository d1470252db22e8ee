#include "eval/service_json.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>

namespace kelvane::service_json {
namespace {

using nlohmann::json;

TEST(Compact, HasNoWhiteSpace) {
    EXPECT_EQ(compact(json::parse(R"({ "b" : [ 1, 2 ], "a" : "x y" })")),
              R"({"a":"x y","b":[1,2]})");
}

TEST(Compact, IsAbsentForAStringThatIsNotUtf8) {
    EXPECT_EQ(compact(json{{"a", "x\xFFy"}}), std::nullopt);
    EXPECT_EQ(compact(json{{"\xC3", 1}}), std::nullopt);
    EXPECT_EQ(compact(json{{"a", "cut \xE2\x82"}}), std::nullopt);
}

TEST(Lookups, AWrongTypeIsAMissingKey) {
    const json object = json::parse(R"({"s":"x","n":1,"o":{"k":1},"a":[],"b":true,"z":null})");
    for (const char* key : {"n", "o", "a", "b", "z", "missing"}) {
        EXPECT_EQ(string(object, key), std::nullopt) << key;
    }
    for (const char* key : {"s", "o", "a", "b", "z", "missing"}) {
        EXPECT_EQ(number(object, key), std::nullopt) << key;
    }
    for (const char* key : {"s", "n", "a", "b", "z", "missing"}) {
        EXPECT_EQ(objectOrEmpty(object, key), json::object()) << key;
    }
    EXPECT_EQ(string(object, "s"), "x");
    EXPECT_EQ(number(object, "n"), 1.0);
    EXPECT_EQ(objectOrEmpty(object, "o"), json::parse(R"({"k":1})"));
}

TEST(Lookups, FindTellsNullFromMissing) {
    const json object = json::parse(R"({"z":null})");
    ASSERT_NE(find(object, "z"), nullptr);
    EXPECT_TRUE(find(object, "z")->is_null());
    EXPECT_EQ(find(object, "missing"), nullptr);
}

TEST(Lookups, InAnythingButAnObjectFindNothing) {
    for (const char* text : {"[]", "null", "1", "\"s\""}) {
        EXPECT_EQ(find(json::parse(text), "s"), nullptr) << text;
    }
}

} // namespace
} // namespace kelvane::service_json
