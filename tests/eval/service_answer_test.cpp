#include "eval/service_answer.h"

#include "eval/service_json.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>
#include <utility>
#include <vector>

namespace kelvane::service_answer {
namespace {

using nlohmann::json;
using namespace std::string_literals;

// ---- what is an answer

TEST(ServiceAnswer, TakesAnObject) {
    EXPECT_EQ(read(R"( {"status":"x","run_id":null,"error":true} )"),
              json::parse(R"({"status":"x","run_id":null,"error":true})"));
    EXPECT_EQ(read("{}"), json::object());
}

TEST(ServiceAnswer, RefusesEveryOtherValue) {
    for (const char* text : {"[]", "[{}]", "\"x\"", "1", "null", "true", "1e999", "[[1]]"}) {
        EXPECT_FALSE(read(text)) << text;
    }
}

TEST(ServiceAnswer, RefusesMalformedText) {
    for (const char* text : {"",
                             " ",
                             "{",
                             "}",
                             "{]",
                             "{}{}",
                             "{} x",
                             "{\"a\":}",
                             "{\"a\":1,}",
                             "{'a':1}",
                             "{a:1}",
                             "<html></html>",
                             "{\"a\":\"",
                             "{\"a\":\"\\",
                             "{\"a\":\"\\x\"}",
                             "{\"a\":NaN}",
                             "{\"a\":01}",
                             "{\"a\":01e999}",
                             "{\"a\":1e}",
                             "{\"a\":-}",
                             "{\"a\":1.}",
                             "{\"a\":\"\n\"}",
                             "{/**/}",
                             "{\"a\":\"\\u12\"}",
                             "{\"a\":\"\\ud8",
                             "{\"a\":\"\\ud8zz\"}",
                             "{\"a\":\"\\ud82:\"}",
                             "{\"a\":[}",
                             "{\"a\":{]}"}) {
        EXPECT_FALSE(read(text)) << text;
    }
}

TEST(ServiceAnswer, RefusesInvalidUtf8AndNulBytes) {
    for (const std::string& text :
         {"{\"a\":\"\xFF\"}"s, "{\"\xC3\":1}"s, "{\"a\":\"\xED\xA0\x80\"}"s, "\xFF\xFE{\0}\0"s,
          "{}\0"s, "{\"a\":1}\0 x"s, "\0{}"s, "{\"a\":\"\0\"}"s, "{\"a\"\0:1}"s}) {
        EXPECT_FALSE(read(text)) << text;
    }
    EXPECT_EQ(service_json::string(*read(R"({"status":"x\u0000y"})"), "status"), "x\0y"s);
}

TEST(ServiceAnswer, OfAKeyThatStandsTwiceTheLastValueCounts) {
    EXPECT_EQ(read(R"({"status":"x","a":1,"status":"y"})"), json::parse(R"({"status":"y"})"));
    EXPECT_EQ(read(R"({"run":{"flaws":[{"name":"x"}]},"run":{"flaws":[]}})"),
              json::parse(R"({"run":{"flaws":[]}})"));
    EXPECT_EQ(read(R"({"status":"x","status":{"y":1}})"), json::parse(R"({"status":{}})"));
}

// ---- what is kept of it

TEST(ServiceAnswer, KeepsEveryKeyThatIsReadAndNoOther) {
    const char* const kSummary = R"({"band":"b","decision":"d","score":0.5,
        "flaws":[{"severity":"s","criterion":"c","name":"n","detail":"d","evidence":"e",
                  "description":"x"}],
        "checked_by":[{"engine":"e","version":"v","knows":"k"}],
        "not_checked":[{"what":"w","why":"y","remedy":"r"}]})";
    for (const std::string& text :
         {R"({"job_id":"j","status":"s","run_id":"r","error":"e","detail":"d","message":"m"})"s,
          R"({"progress":{"warming":true},"flaws":[{"name":"n"}],"run":{"flaws":[{"name":"n"}]}})"s,
          R"({"result_summary":)"s + kSummary + "}",
          R"({"iteration":{"critic_verdict":)"s + kSummary + "}}"}) {
        EXPECT_EQ(read(text), json::parse(text));
    }
    EXPECT_EQ(read(R"({"other":{"flaws":[1]},"status":"s","more":[[{}]],
                       "result_summary":{"x":{"band":"b"},"band":"c"},"progress":{"stage":"y"}})"),
              json::parse(R"({"status":"s","result_summary":{"band":"c"},"progress":{}})"));
}

TEST(ServiceAnswer, AValueOfAnotherTypeKeepsItsTypeAndNothingElse) {
    EXPECT_EQ(read(R"({"status":{"a":[1]},"run_id":["x"],"error":{},"run":7,"flaws":{"x":1},
                       "result_summary":[{"band":"b"}],"progress":"x"})"),
              json::parse(R"({"status":{},"run_id":[],"error":{},"run":7,"flaws":{},
                              "result_summary":[],"progress":"x"})"));
    EXPECT_EQ(read(R"({"flaws":[{"name":{"a":1}},7,[8],null]})"),
              json::parse(R"({"flaws":[{"name":{}},7,[],null]})"));
}

TEST(ServiceAnswer, AnythingMayStandInAKeyThatIsNotRead) {
    const auto expected = json::parse(R"({"status":"s"})");
    std::string objects;
    for (int i = 0; i < 100'000; ++i) objects += "{\"a\":";
    for (const std::string& odd :
         {"1e400"s, "-1e999"s, std::string(400, '9'), R"("\ud800")"s, R"("\udc00x")"s,
          std::string(600, '[') + std::string(600, ']'),
          std::string(100'000, '[') + std::string(100'000, ']'),
          objects + "1" + std::string(100'000, '}'), "[1e400,{\"b\":\"\\udfff\"}]"s}) {
        EXPECT_EQ(read("{\"odd\":" + odd + ",\"status\":\"s\"}"), expected) << odd.substr(0, 20);
        EXPECT_EQ(read("{\"status\":\"s\",\"odd\":" + odd + "}"), expected) << odd.substr(0, 20);
    }
}

TEST(ServiceAnswer, WhatStandsInAnArrayStaysApart) {
    for (const char* text : {R"({"flaws":[{"name":"a"},{"name":"b","rule":"r"},{"detail":"d"}]})",
                             R"({"result_summary":{"score":-3,"flaws":[{"name":"a"},7]}})"}) {
        EXPECT_EQ(read(text), json::parse(text));
    }
}

// What 12 MB of empty flaws would expand to is half a gigabyte.
TEST(ServiceAnswer, OfAnArrayWithoutEndTheBeginningIsKept) {
    std::string text = R"({"result_summary":{"flaws":[{"name":"first"})";
    for (int i = 0; i < 1'000'000; ++i) text += ",{}";
    text += R"(],"band":"ship"}})";
    const auto answer = read(text);
    ASSERT_TRUE(answer);
    const json& summary = (*answer)["result_summary"];
    EXPECT_EQ(summary["flaws"].size(), kMostElements);
    EXPECT_EQ(summary["flaws"][0]["name"], "first");
    EXPECT_EQ(summary["band"], "ship");
}

// ---- what is mended in it

TEST(ServiceAnswer, ANumberThatNoDoubleHoldsIsNull) {
    for (const std::string& number :
         {"1e400"s, "-1e999"s, "1E+309"s, "12.5e400"s, "0.5e999"s, std::string(400, '9'),
          "2" + std::string(308, '0'), std::string(400, '9') + "e5", std::string(400, '9') + "e-5",
          std::string(400, '9') + ".5"}) {
        EXPECT_EQ(read("{\"result_summary\":{\"score\":" + number + ",\"band\":\"ship\"}}"),
                  json::parse(R"({"result_summary":{"score":null,"band":"ship"}})"))
            << number;
    }
    EXPECT_EQ(read(R"({"error":1e-999})"), json::parse(R"({"error":0.0})"));
    EXPECT_EQ(read("{\"error\":1" + std::string(308, '0') + "}"),
              json::parse(R"({"error":1e308})"));
    EXPECT_EQ(read(R"({"error":1.5e308})"), json::parse(R"({"error":1.5e308})"));
    EXPECT_EQ(read(R"({"error":99999999999999999999})"), json::parse(R"({"error":1e20})"));
}

TEST(ServiceAnswer, WhatIsNoNumberIsNotMendedIntoOne) {
    const std::string large(400, '9');
    for (const std::string& number :
         {"-.1e999"s, "1.e999"s, large + ".", large + "e", large + "e+", large + "E-"}) {
        EXPECT_FALSE(read("{\"error\":" + number + "}")) << number;
    }
}

TEST(ServiceAnswer, ASurrogateWithoutItsOtherHalfIsTheReplacementCharacter) {
    const std::string mark = "\xEF\xBF\xBD";
    for (const auto& [written, text] : std::vector<std::pair<std::string, std::string>>{
             {R"(a\ud800)", "a" + mark},
             {R"(\uDBFFb)", mark + "b"},
             {R"(\udc00)", mark},
             {R"(\ud800\ud800)", mark + mark},
             {R"(\ud83d\ude00)", "\xF0\x9F\x98\x80"},
             {R"(\ud800\ud83d\ude00)", mark + "\xF0\x9F\x98\x80"},
             {R"(\ude00\ud83d)", mark + mark},
             {R"(\ud800\n)", mark + "\n"},
             {R"(\udc00\udc00)", mark + mark},
             {R"(\ud800\ue000)", mark + "\xEE\x80\x80"},
             {R"(\ue000)", "\xEE\x80\x80"},
             {R"(\uDA0a)", mark},
             {R"(\ud8aF)", mark},
             {R"(\uD8fA)", mark},
             {R"(\ud800xxDC00)", mark + "xxDC00"},
             {R"(\\ud800)", "\\ud800"},
             {R"(\\\ud800)", "\\" + mark},
             {R"(\"\ud800)", "\"" + mark},
             {R"(\ud800x\udc00)", mark + "x" + mark}}) {
        const auto answer = read("{\"status\":\"" + written + "\"}");
        ASSERT_TRUE(answer) << written;
        EXPECT_EQ(service_json::string(*answer, "status"), text) << written;
    }
}

// A string that an escape ends would otherwise take in what follows it.
TEST(ServiceAnswer, WhatFollowsAnEscapeAtTheEndOfAStringIsMendedToo) {
    for (const char* escape : {R"(\u0041)", R"(\ud83d\ude00)", R"(\ud800)", R"(\n)"}) {
        const auto answer = read("{\"status\":\"" + std::string(escape) + "\",\"error\":1e400}");
        ASSERT_TRUE(answer) << escape;
        EXPECT_TRUE(answer->at("error").is_null()) << escape;
    }
}

TEST(ServiceAnswer, WhatNeedsNoMendingIsNotCopied) {
    for (const char* text : {"", "{}", R"({"a":"1e400 \ud83d\ude00 \\ud800","b":[1e308,-0.0]})",
                             "{\"a\":1e", "\"\\", "-"}) {
        EXPECT_EQ(mended(text), std::nullopt) << text;
    }
    EXPECT_EQ(mended("1e400"), "null"); // From the first byte on.
    EXPECT_EQ(mended(R"({"a":1e400,"b":"1e400\ud800"} )"), R"({"a":null,"b":"1e400\ufffd"} )");
}

} // namespace
} // namespace kelvane::service_answer
