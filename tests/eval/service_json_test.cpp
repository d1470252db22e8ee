#include "eval/service_json.h"

#include "text/json_shape.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>

namespace kelvane::service_json {
namespace {

using nlohmann::json;
using namespace std::string_literals;

std::string nested(std::size_t arrays, std::string_view inside = "") {
    return "{\"a\":" + std::string(arrays, '[').append(inside).append(arrays, ']') + "}";
}

TEST(ParseObject, TakesAnObject) {
    EXPECT_EQ(parseObject(R"( {"a":[1,"x",null,true,{}]} )"),
              json::parse(R"({"a":[1,"x",null,true,{}]})"));
}

TEST(ParseObject, RefusesEveryOtherValue) {
    for (const char* text : {"[]", "[{}]", "\"x\"", "1", "null", "true"}) {
        EXPECT_FALSE(parseObject(text)) << text;
    }
}

TEST(ParseObject, RefusesMalformedText) {
    for (const char* text :
         {"", " ", "{", "}", "{]", "{}{}", "{} x", "{\"a\":}", "{\"a\":1,}", "{'a':1}", "{a:1}",
          "<html></html>", "{\"a\":\"", "{\"a\":\"\\", "{\"a\":\"\\x\"}", "{\"a\":NaN}",
          "{\"a\":01}", "{\"a\":\"\n\"}", "{/**/}"}) {
        EXPECT_FALSE(parseObject(text)) << text;
    }
}

TEST(ParseObject, RefusesInvalidUtf8) {
    for (const char* text : {"{\"a\":\"\xFF\"}", "{\"\xC3\":1}", "{\"a\":\"\xED\xA0\x80\"}",
                             "{\"a\":\"\\ud800\"}", "\xFF\xFE{\0}\0"}) {
        EXPECT_FALSE(parseObject(text)) << text;
    }
}

TEST(ParseObject, RefusesANulByteAnywhere) {
    for (const std::string& text :
         {"{}\0"s, "{\"a\":1}\0 x"s, "\0{}"s, "{\"a\":\"\0\"}"s, "{\"a\"\0:1}"s}) {
        EXPECT_FALSE(parseObject(text));
    }
}

TEST(ParseObject, TakesANulThatIsSpelt) {
    EXPECT_EQ(string(*parseObject(R"({"a":"x\u0000y"})"), "a"), "x\0y"s);
}

TEST(ParseObject, RefusesANumberThatNoDoubleHolds) {
    EXPECT_FALSE(parseObject(R"({"a":1e999})"));
    EXPECT_FALSE(parseObject(R"({"a":-1e999})"));
}

TEST(ParseObject, TakesNumbersOutsideTheIntegers) {
    EXPECT_EQ(number(*parseObject(R"({"a":1e-999})"), "a"), 0.0);
    EXPECT_EQ(number(*parseObject(R"({"a":99999999999999999999})"), "a"), 1e20);
}

TEST(ParseObject, OfAKeyThatStandsTwiceTheLastValueCounts) {
    EXPECT_EQ(string(*parseObject(R"({"a":"x","b":1,"a":"y"})"), "a"), "y");
    EXPECT_EQ(parseObject(R"({"a":{"x":1},"a":{"y":2}})"), json::parse(R"({"a":{"y":2}})"));
}

TEST(ParseObject, TakesNestingUpToItsLimit) {
    EXPECT_TRUE(parseObject(nested(text::kDeepestJson - 1)));
    EXPECT_FALSE(parseObject(nested(text::kDeepestJson)));
}

TEST(ParseObject, CountsDepthAndNotBrackets) {
    std::string text = "{\"a\":[";
    for (int i = 0; i < 2000; ++i) text += "[],";
    EXPECT_TRUE(parseObject(text + "[]]}"));
}

TEST(ParseObject, RefusesNestingOfAHundredThousand) {
    EXPECT_FALSE(parseObject(nested(100'000)));
    EXPECT_FALSE(parseObject(std::string(100'000, '[')));
    std::string objects;
    for (int i = 0; i < 100'000; ++i) objects += "{\"a\":";
    EXPECT_FALSE(parseObject(objects));
}

TEST(ParseObject, BracketsInStringsAreText) {
    const std::string brackets(10'000, '[');
    EXPECT_EQ(string(*parseObject("{\"a\":\"" + brackets + "\"}"), "a"), brackets);
    EXPECT_EQ(string(*parseObject("{\"a\":\"\\\"" + brackets + "\"}"), "a"), "\"" + brackets);
    EXPECT_FALSE(parseObject("{\"a\":\"\\\\\"," + brackets));
}

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
