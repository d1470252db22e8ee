#include "catalog/catalog_file.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace kelvane {
namespace {

using namespace std::string_view_literals;

constexpr std::string_view kMinimal = R"({"apps":[]})";

// A file with one app that has these members beside "id" and "name".
std::string withApp(std::string_view members) {
    std::string bytes = R"({"apps":[{"id":"a","name":"A")";
    if (!members.empty()) bytes.append(",").append(members);
    return bytes + "}]}";
}

CatalogApp decodedApp(std::string_view members) {
    return decodeCatalogFile(withApp(members)).apps.at(0);
}

std::string messageOf(std::string_view bytes) {
    try {
        (void)decodeCatalogFile(bytes);
    } catch (const CatalogError& error) {
        return error.what();
    }
    return "decoded";
}

void expectRefused(std::string_view bytes) {
    EXPECT_THROW((void)decodeCatalogFile(bytes), CatalogError) << bytes;
}

TEST(DecodeCatalogFile, OnlyAnEmptyAppsArrayLoads) {
    const CatalogFile file = decodeCatalogFile(kMinimal);
    EXPECT_EQ(file.version, "0");
    EXPECT_TRUE(file.modalities.empty());
    EXPECT_TRUE(file.categories.empty());
    EXPECT_TRUE(file.apps.empty());
}

TEST(DecodeCatalogFile, AppWithOnlyIdAndNameGetsEveryDefault) {
    const CatalogApp app = decodedApp("");
    EXPECT_EQ(app.id, "a");
    EXPECT_EQ(app.name, "A");
    EXPECT_EQ(app.category, "operations");
    EXPECT_EQ(app.vertical, "operations");
    EXPECT_TRUE(app.bundleIds.empty());
    EXPECT_TRUE(app.webHosts.empty());
    EXPECT_TRUE(app.modalities.empty());
    EXPECT_EQ(app.primaryModality, "text");
    EXPECT_EQ(app.capture, "screenshot");
    EXPECT_EQ(app.connector, "native_gui");
    EXPECT_EQ(app.tier, "full");
    EXPECT_TRUE(app.workflowNodes.empty());
    EXPECT_FALSE(app.isBrowser);
}

TEST(DecodeCatalogFile, EveryKeyFillsItsField) {
    const CatalogFile file = decodeCatalogFile(R"({
        "schema": "s", "version": "2026-01", "modalities": ["text", "code"],
        "categories": [{"id": "c", "label": "C"}, {"id": "d", "label": "D"}],
        "apps": [{
            "id": "i", "name": "n", "category": "c", "vertical": "v", "bundle_ids": ["b1", "b2"],
            "web_hosts": ["w1", "w2"], "modalities": ["m1", "m2"], "primary_modality": "p",
            "capture": "x", "connector": "y", "tier": "z", "workflow_nodes": ["k1", "k2"],
            "is_browser": true
        }]})");
    const CatalogFile expected{
        .version = "2026-01",
        .modalities = {"text", "code"},
        .categories = {{"c", "C"}, {"d", "D"}},
        .apps = {{
            .id = "i",
            .name = "n",
            .category = "c",
            .vertical = "v",
            .bundleIds = {"b1", "b2"},
            .webHosts = {"w1", "w2"},
            .modalities = {"m1", "m2"},
            .primaryModality = "p",
            .capture = "x",
            .connector = "y",
            .tier = "z",
            .workflowNodes = {"k1", "k2"},
            .isBrowser = true,
        }},
    };
    EXPECT_EQ(file, expected);
}

TEST(DecodeCatalogFile, AppsKeepFileOrderAndDuplicateIdsStay) {
    const auto apps =
        decodeCatalogFile(
            R"({"apps":[{"id":"b","name":"1"},{"id":"a","name":"2"},{"id":"b","name":"3"}]})")
            .apps;
    ASSERT_EQ(apps.size(), 3U);
    EXPECT_EQ(apps[0].name, "1");
    EXPECT_EQ(apps[1].name, "2");
    EXPECT_EQ(apps[2].name, "3");
}

TEST(DecodeCatalogFile, NullCountsAsMissingForEveryOptionalKey) {
    EXPECT_EQ(
        decodeCatalogFile(
            R"({"schema":null,"version":null,"modalities":null,"categories":null,"apps":[]})"),
        decodeCatalogFile(kMinimal));
    const CatalogApp bare = decodedApp("");
    for (const auto* key :
         {"category", "vertical", "bundle_ids", "web_hosts", "modalities", "primary_modality",
          "capture", "connector", "tier", "workflow_nodes", "is_browser"}) {
        EXPECT_EQ(decodedApp("\"" + std::string(key) + "\":null"), bare) << key;
    }
}

TEST(DecodeCatalogFile, PrimaryModalityIsTheFirstModalityWhenMissing) {
    EXPECT_EQ(decodedApp(R"("modalities":["deck","image"])").primaryModality, "deck");
}

TEST(DecodeCatalogFile, PrimaryModalityNullBehavesLikeMissing) {
    EXPECT_EQ(
        decodedApp(R"("modalities":["deck","image"],"primary_modality":null)").primaryModality,
        "deck");
    EXPECT_EQ(decodedApp(R"("primary_modality":null)").primaryModality, "text");
}

TEST(DecodeCatalogFile, PrimaryModalityDependsOnModalitiesWhateverTheirOrderInTheFile) {
    EXPECT_EQ(decodedApp(R"("primary_modality":null,"modalities":["code"])").primaryModality,
              "code");
    EXPECT_EQ(decodedApp(R"("modalities":[])").primaryModality, "text");
    EXPECT_EQ(decodedApp(R"("modalities":["code"],"primary_modality":"image")").primaryModality,
              "image");
    EXPECT_EQ(decodedApp(R"("modalities":["code"],"primary_modality":"")").primaryModality, "");
}

TEST(DecodeCatalogFile, VerticalDefaultsToTheWordNotToTheCategory) {
    const CatalogApp app = decodedApp(R"("category":"design")");
    EXPECT_EQ(app.category, "design");
    EXPECT_EQ(app.vertical, "operations");
}

TEST(DecodeCatalogFile, UnknownKeysAreIgnoredAtEveryLevel) {
    EXPECT_EQ(decodeCatalogFile(R"({"notes":[1,{"a":{}}],"apps":[]})"),
              decodeCatalogFile(kMinimal));
    EXPECT_EQ(decodedApp(R"("notes":{"apps":7},"Bundle_Ids":3,"bundleIds":4)"), decodedApp(""));
    const auto file =
        decodeCatalogFile(R"({"apps":[],"categories":[{"id":"c","label":"C","notes":false}]})");
    EXPECT_EQ(file.categories, (std::vector<CatalogCategory>{{"c", "C"}}));
}

TEST(DecodeCatalogFile, EmptyStringsAreValues) {
    EXPECT_EQ(decodedApp(R"("category":"","tier":"")").category, "");
    EXPECT_EQ(decodeCatalogFile(R"({"version":"","apps":[]})").version, "");
}

TEST(DecodeCatalogFile, RefusesBytesThatAreNotJson) {
    for (const auto bytes :
         {""sv, " "sv, "nonsense"sv, "<html><body>502</body></html>"sv, R"({"apps":[])"sv,
          R"({"apps":[]}})"sv, R"({"apps":[],})"sv, R"({"apps":[]} {"apps":[]})"sv,
          R"({'apps':[]})"sv, R"({"apps":[]} // comment)"sv, R"({"apps":[NaN]})"sv, "{\"apps"sv,
          "{\"apps\\"sv, "]"sv}) {
        expectRefused(bytes);
    }
}

TEST(DecodeCatalogFile, RefusesEveryTruncationOfAGoodFile) {
    const std::string whole = withApp(R"("bundle_ids":["b"],"is_browser":true)");
    for (std::size_t length = 0; length < whole.size(); ++length) {
        expectRefused(std::string_view(whole).substr(0, length));
    }
}

TEST(DecodeCatalogFile, RefusesARootThatIsNotAnObject) {
    for (const auto bytes :
         {"[]"sv, R"([{"apps":[]}])"sv, "null"sv, "1"sv, "\"apps\""sv, "true"sv}) {
        expectRefused(bytes);
    }
}

TEST(DecodeCatalogFile, RefusesMissingOrNullApps) {
    expectRefused("{}");
    expectRefused(R"({"version":"1"})");
    expectRefused(R"({"apps":null})");
    expectRefused(R"({"Apps":[]})");
}

TEST(DecodeCatalogFile, RefusesAnAppWithoutIdOrName) {
    for (const auto app :
         {R"({"name":"A"})"sv, R"({"id":"a"})"sv, "{}"sv, R"({"id":null,"name":"A"})"sv,
          R"({"id":"a","name":null})"sv, R"({"id":1,"name":"A"})"sv, R"({"id":"a","name":["A"]})"sv,
          "null"sv, "\"a\""sv, "[]"sv}) {
        expectRefused(R"({"apps":[)" + std::string(app) + "]}");
    }
}

TEST(DecodeCatalogFile, RefusesACategoryWithoutIdOrLabel) {
    for (const auto category :
         {R"({"id":"c"})"sv, R"({"label":"C"})"sv, R"({"id":null,"label":"C"})"sv,
          R"({"id":"c","label":null})"sv, R"({"id":"c","label":1})"sv, R"({"id":{},"label":"C"})"sv,
          "null"sv, "\"c\""sv}) {
        expectRefused(R"({"apps":[],"categories":[)" + std::string(category) + "]}");
    }
}

TEST(DecodeCatalogFile, OneBadEntryRefusesTheWholeFile) {
    expectRefused(R"({"apps":[{"id":"a","name":"A"},{"id":"b","name":"B","tier":1},)"
                  R"({"id":"c","name":"C"}]})");
}

TEST(DecodeCatalogFile, RefusesTheWrongTypeUnderEveryKey) {
    const std::string_view notStrings[] = {"1", "1.5", "true", "[]", "{}", R"(["x"])"};
    const std::string_view notStringLists[] = {
        "1", "true", "{}", R"("x")", "[1]", "[[]]", "[null]", R"(["x",null])", "[true]", "[{}]"};
    const std::string_view notBooleans[] = {"0", "1", R"("true")", "[]", "{}"};

    for (const auto* key :
         {"category", "vertical", "primary_modality", "capture", "connector", "tier"}) {
        for (const auto value : notStrings) {
            expectRefused(withApp("\"" + std::string(key) + "\":" + std::string(value)));
        }
    }
    for (const auto* key : {"bundle_ids", "web_hosts", "modalities", "workflow_nodes"}) {
        for (const auto value : notStringLists) {
            expectRefused(withApp("\"" + std::string(key) + "\":" + std::string(value)));
        }
    }
    for (const auto value : notBooleans) {
        expectRefused(withApp(R"("is_browser":)" + std::string(value)));
    }
    const auto withRoot = [](std::string_view key, std::string_view value) {
        return "{\"" + std::string(key) + "\":" + std::string(value) + ",\"apps\":[]}";
    };
    for (const auto value : notStrings) {
        expectRefused(withRoot("version", value));
        expectRefused(withRoot("schema", value)); // never used, still a string
    }
    for (const auto value : notStringLists) expectRefused(withRoot("modalities", value));
    for (const auto* value : {"1", "true", "{}", "\"c\"", "[1]", "[[]]", "[null]"}) {
        expectRefused(withRoot("categories", value));
    }
    for (const auto* value : {"1", "true", "{}", "\"c\"", "[1]", "[[]]", "[null]"}) {
        expectRefused("{\"apps\":" + std::string(value) + "}");
    }
}

TEST(DecodeCatalogFile, IsBrowserAsAStringFailsTheFile) {
    expectRefused(withApp(R"("is_browser":"true")"));
}

TEST(DecodeCatalogFile, ErrorsNameThePlace) {
    EXPECT_EQ(messageOf(R"({"apps":[{"id":"a","name":"A"},{"id":"b","name":"B","tier":1}]})"),
              "apps[1].tier: expected string, found number");
    EXPECT_EQ(messageOf(withApp(R"("bundle_ids":["x",null])")),
              "apps[0].bundle_ids[1]: expected string, found null");
    EXPECT_EQ(messageOf(R"({"apps":[{"id":"a"}]})"), "apps[0]: \"name\" is missing");
    EXPECT_EQ(messageOf("{}"), "the root: \"apps\" is missing");
    EXPECT_EQ(messageOf("[]"), "the root: expected object, found array");
    EXPECT_EQ(messageOf(R"({"apps":[],"version":1})"), "version: expected string, found number");
    EXPECT_EQ(messageOf(R"({"apps":[[]]})"), "apps[0]: expected object, found array");
    EXPECT_EQ(messageOf(R"({"apps":[],"categories":[{"id":"c","label":"C"},{"id":"d"}]})"),
              "categories[1]: \"label\" is missing");
    EXPECT_EQ(messageOf(withApp(R"("is_browser":"no")")),
              "apps[0].is_browser: expected boolean, found string");
    EXPECT_EQ(messageOf(withApp(R"("web_hosts":{})")),
              "apps[0].web_hosts: expected array, found object");
}

TEST(DecodeCatalogFile, OfADuplicateKeyTheLastValueCounts) {
    const auto file = decodeCatalogFile(
        R"({"version":1,"version":"2","apps":3,"apps":[{"id":"a","id":"b","name":"A"}]})");
    EXPECT_EQ(file.version, "2");
    EXPECT_EQ(file.apps.at(0).id, "b");
    expectRefused(R"({"version":"2","version":1,"apps":[]})");
}

TEST(DecodeCatalogFile, TheLastValueCountsUnderEveryKeyOfAnApp) {
    struct Case {
        std::string_view key, one, other;
        std::string CatalogApp::*text = nullptr;
        std::vector<std::string> CatalogApp::*texts = nullptr;
    };
    const Case cases[] = {
        {.key = "category", .one = "1", .other = "2", .text = &CatalogApp::category},
        {.key = "vertical", .one = "1", .other = "2", .text = &CatalogApp::vertical},
        {.key = "primary_modality", .one = "1", .other = "2", .text = &CatalogApp::primaryModality},
        {.key = "capture", .one = "1", .other = "2", .text = &CatalogApp::capture},
        {.key = "connector", .one = "1", .other = "2", .text = &CatalogApp::connector},
        {.key = "tier", .one = "1", .other = "2", .text = &CatalogApp::tier},
        {.key = "bundle_ids", .one = "1", .other = "2", .texts = &CatalogApp::bundleIds},
        {.key = "web_hosts", .one = "1", .other = "2", .texts = &CatalogApp::webHosts},
        {.key = "modalities", .one = "1", .other = "2", .texts = &CatalogApp::modalities},
        {.key = "workflow_nodes", .one = "1", .other = "2", .texts = &CatalogApp::workflowNodes},
    };
    const CatalogApp bare = decodedApp("");
    for (const Case& each : cases) {
        // Not as structured bindings, which not every compiler lets a lambda refer to.
        const auto& key = each.key;
        const auto& one = each.one;
        const auto& other = each.other;
        const auto& text = each.text;
        const auto& texts = each.texts;
        const auto member = [&](std::string_view value) {
            const std::string quoted = "\"" + std::string(value) + "\"";
            return "\"" + std::string(key) +
                   "\":" + (texts != nullptr ? "[" + quoted + "]" : quoted);
        };
        const std::string wrong = "\"" + std::string(key) + "\":[1]";
        const std::string null = "\"" + std::string(key) + "\":null";

        const CatalogApp twice = decodedApp(member(one) + "," + member(other));
        if (text != nullptr) {
            EXPECT_EQ(twice.*text, other) << key;
        } else {
            EXPECT_EQ(twice.*texts, std::vector<std::string>{std::string(other)}) << key;
        }
        EXPECT_EQ(decodedApp(wrong + "," + member(other)), decodedApp(member(other))) << key;
        EXPECT_EQ(decodedApp(member(one) + "," + null), bare) << key;
        EXPECT_EQ(decodedApp(wrong + "," + null), bare) << key;
        expectRefused(withApp(member(one) + "," + wrong));
    }
    EXPECT_FALSE(decodedApp(R"("is_browser":true,"is_browser":false)").isBrowser);
    EXPECT_FALSE(decodedApp(R"("is_browser":true,"is_browser":null)").isBrowser);
    EXPECT_TRUE(decodedApp(R"("is_browser":"no","is_browser":true)").isBrowser);
    expectRefused(withApp(R"("is_browser":true,"is_browser":"no")"));
}

TEST(DecodeCatalogFile, TheLastValueCountsUnderEveryKeyOfTheRoot) {
    const auto file = decodeCatalogFile(
        R"({"modalities":["a"],"modalities":["b"],
            "categories":[{"id":"a","label":"A"}],"categories":[{"id":"b","label":"B"}],
            "apps":[{"id":"a","name":"A"}],"apps":[{"id":"b","name":"B"}]})");
    EXPECT_EQ(file.modalities, std::vector<std::string>{"b"});
    EXPECT_EQ(file.categories, (std::vector<CatalogCategory>{{"b", "B"}}));
    ASSERT_EQ(file.apps.size(), 1U);
    EXPECT_EQ(file.apps[0].id, "b");

    const auto emptied = decodeCatalogFile(
        R"({"version":"1","modalities":["a"],"categories":[{"id":"a","label":"A"}],"schema":1,
            "version":null,"modalities":null,"categories":null,"schema":null,"apps":[]})");
    EXPECT_EQ(emptied, decodeCatalogFile(kMinimal));

    EXPECT_EQ(
        decodeCatalogFile(R"({"apps":[{"id":"a"}],"categories":[1],"apps":[],"categories":[]})"),
        decodeCatalogFile(kMinimal));
    expectRefused(R"({"apps":[],"apps":null})");
    expectRefused(R"({"apps":[],"categories":[],"categories":[{}]})");
    expectRefused(R"({"apps":[],"schema":"s","schema":1})");
}

TEST(DecodeCatalogFile, TheLastValueCountsUnderARequiredKey) {
    expectRefused(R"({"apps":[{"id":"a","id":null,"name":"A"}]})");
    expectRefused(R"({"apps":[{"id":"a","name":"A","name":1}]})");
    expectRefused(R"({"apps":[],"categories":[{"id":"c","label":"C","label":null}]})");
    EXPECT_EQ(
        decodeCatalogFile(R"({"apps":[],"categories":[{"id":1,"id":"c","label":"C"}]})").categories,
        (std::vector<CatalogCategory>{{"c", "C"}}));
}

TEST(DecodeCatalogFile, NothingOfOneAppIsLeftForTheNext) {
    const auto apps = decodeCatalogFile(R"({"apps":[
        {"id":"a","name":"A","category":"c","vertical":"v","bundle_ids":["b"],"web_hosts":["w"],
         "modalities":["m"],"primary_modality":"p","capture":"x","connector":"y","tier":"z",
         "workflow_nodes":["k"],"is_browser":true},
        {"id":"a","name":"A"},
        {"id":"a","name":"A","modalities":["code"]}]})")
                          .apps;
    ASSERT_EQ(apps.size(), 3U);
    EXPECT_EQ(apps[1], decodedApp(""));
    EXPECT_EQ(apps[2], decodedApp(R"("modalities":["code"])"));
    EXPECT_EQ(apps[2].primaryModality, "code");
}

TEST(DecodeCatalogFile, RefusesBytesThatAreNotUtf8) {
    for (const auto name :
         {"\xFF"sv, "\xC3"sv, "\xC0\xAF"sv, "\xED\xA0\x80"sv, "\xF4\x90\x80\x80"sv}) {
        expectRefused(R"({"apps":[{"id":"a","name":")" + std::string(name) + R"("}]})");
        // Under a key that is not used, too.
        expectRefused(R"({"apps":[],"notes":")" + std::string(name) + R"("})");
    }
    expectRefused(R"({"apps":[{"id":"a","name":"\ud800"}]})"); // half of a surrogate pair
    expectRefused("{\0\"\0a\0p\0p\0s\0\"\0:\0[\0]\0}\0"sv);    // UTF-16
}

TEST(DecodeCatalogFile, StringsKeepEveryEscape) {
    const auto app =
        decodeCatalogFile(R"({"apps":[{"id":"a","name":"é\u00e9\ud834\udd1e\n\"\\"}]})");
    EXPECT_EQ(app.apps.at(0).name, "éé𝄞\n\"\\");
}

TEST(DecodeCatalogFile, AnEscapedNulIsAPartOfTheString) {
    const auto file = decodeCatalogFile(R"({"apps":[{"id":"a","name":"x\u0000y"}]})");
    EXPECT_EQ(file.apps.at(0).name, "x\0y"sv);
}

TEST(DecodeCatalogFile, RefusesARawNulByte) {
    expectRefused("{\"apps\":[]}\0"sv);
    expectRefused("{\"apps\":[]}\0rubbish"sv);
    expectRefused("{\"apps\":[],\"version\":\"\0\"}"sv);
    expectRefused("\0"sv);
}

TEST(DecodeCatalogFile, PassesOverAByteOrderMark) {
    EXPECT_EQ(decodeCatalogFile("\xEF\xBB\xBF{\"apps\":[]}"), decodeCatalogFile(kMinimal));
    expectRefused("\xEF\xBB\xBF");
    expectRefused("\xEF\xBB{\"apps\":[]}");
}

TEST(DecodeCatalogFile, RefusesANumberThatNoDoubleCanHold) {
    expectRefused(R"({"apps":[],"notes":1e999})");
    EXPECT_NO_THROW(
        (void)decodeCatalogFile(R"({"apps":[],"notes":[1e300,99999999999999999999999]})"));
}

TEST(DecodeCatalogFile, TakesNestingOf512LevelsAndRefuses513) {
    const auto nested = [](std::size_t levels) { // the root object is the first level
        return R"({"apps":[],"notes":)" + std::string(levels - 1, '[') +
               std::string(levels - 1, ']') + "}";
    };
    EXPECT_NO_THROW((void)decodeCatalogFile(nested(512)));
    expectRefused(nested(513));
}

TEST(DecodeCatalogFile, BracketsInsideStringsAreNoNesting) {
    const std::string name = std::string(2000, '[') + R"(\"\\{)" + std::string(2000, '{');
    EXPECT_NO_THROW((void)decodeCatalogFile(R"({"apps":[],"notes":")" + name + R"("})"));
}

TEST(DecodeCatalogFile, RefusesAHundredThousandLevels) {
    constexpr std::size_t kLevels = 100'000;
    std::string objects;
    for (std::size_t i = 0; i < kLevels; ++i) objects += R"({"apps":)";
    const std::string open(kLevels, '[');
    const std::string balanced = open + std::string(kLevels, ']');
    EXPECT_THROW((void)decodeCatalogFile(open), CatalogError);
    EXPECT_THROW((void)decodeCatalogFile(balanced), CatalogError);
    EXPECT_THROW((void)decodeCatalogFile(objects), CatalogError);
    EXPECT_THROW((void)decodeCatalogFile(objects + "1" + std::string(kLevels, '}')), CatalogError);
}

TEST(DecodeCatalogFile, TakesSixtyFourMebibytesAndNoByteMore) {
    std::string bytes(kMinimal);
    bytes.resize(64U << 20U, ' ');
    EXPECT_NO_THROW((void)decodeCatalogFile(bytes));
    bytes += ' ';
    EXPECT_EQ(messageOf(bytes), "larger than 67108864 bytes");
}

TEST(DecodeCatalogFile, TakesHalfAMillionValuesAndNoneMore) {
    const auto withValues = [](std::size_t values) {
        std::string bytes = R"({"apps":[],"notes":[0)";
        // The text around the list counts for five.
        for (std::size_t i = 5; i < values; ++i) bytes += ",0";
        return bytes + "]}";
    };
    EXPECT_NO_THROW((void)decodeCatalogFile(withValues(500'000)));
    EXPECT_EQ(messageOf(withValues(500'001)), "more than 500000 values");
}

TEST(DecodeCatalogFile, ReadsAFileOfFiftyMegabytes) {
    std::string bytes = R"({"apps":[)";
    std::size_t apps = 0;
    while (bytes.size() < 50'000'000) {
        if (apps > 0) bytes += ",";
        const std::string n = std::to_string(apps++);
        bytes += R"({"id":"app)" + n + R"(","name":"App )" + n + R"(","notes":")" +
                 std::string(4000, 'n') + R"(","bundle_ids":["com.example.app)" + n + R"("]})";
    }
    bytes += "]}";
    const auto file = decodeCatalogFile(bytes);
    ASSERT_EQ(file.apps.size(), apps);
    EXPECT_EQ(file.apps.back().id, "app" + std::to_string(apps - 1));
}

TEST(DecodeCatalogFile, ReadsOneStringOfFiftyMegabytes) {
    std::string name;
    name.resize(50'000'000, 'n');
    const auto file = decodeCatalogFile(R"({"apps":[{"id":"a","name":")" + name + R"("}]})");
    EXPECT_EQ(file.apps.at(0).name.size(), name.size());
}

} // namespace
} // namespace kelvane
