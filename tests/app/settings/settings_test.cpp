#include "app/settings/settings.h"
#include "app/settings/settings_store.h"
#include "app/settings/shortcut_text.h"
#include "platform/fake/fake_file_system.h"
#include "tests/source_tree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace kelvane {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

Settings everythingSet() {
    return {.preview = PreviewWhen::Never,
            .previewApps = {{"org.gnome.gedit", true}, {"code", false}},
            .neverCapture = {"org.example.diary", "com.example.*"},
            .neverPasswordManagers = false,
            .shortcut = "Ctrl+Alt+G",
            .notifications = false,
            .language = "de"};
}

SettingsRead parsed(const std::string& text) {
    return parseSettings(text, "s.json");
}

TEST(SettingsText, OfNothingAreTheDefaults) {
    for (const char* text : {"", " \n", "{}", "{ }\n"}) {
        EXPECT_EQ(parsed(text), SettingsRead{}) << text;
    }
}

TEST(SettingsText, IsReadAsItWasWritten) {
    const auto text = settingsText("", everythingSet());
    ASSERT_TRUE(text.has_value());
    EXPECT_EQ(parsed(*text), (SettingsRead{.settings = everythingSet(), .problems = {}}));
    EXPECT_EQ(*text, R"({
  "preview": "never",
  "preview_apps": {"code": "never", "org.gnome.gedit": "always"},
  "never_capture": ["org.example.diary", "com.example.*"],
  "never_capture_password_managers": false,
  "shortcut": "Ctrl+Alt+G",
  "notifications": false,
  "language": "de"
}
)");
}

TEST(SettingsText, AChangeEditsOneValueAndKeepsTheRestToTheByte) {
    const std::string text = "\n{\t\"mine\" : {\"a\": [1, \"}\\\"\"]},\r\n"
                             "    \"notifications\" :true ,\n"
                             "    \"language\":\"de\"}  ";
    auto settings = parsed(text).settings;
    settings.notifications = false;
    EXPECT_EQ(settingsText(text, settings), "\n{\t\"mine\" : {\"a\": [1, \"}\\\"\"]},\r\n"
                                            "    \"notifications\" :false ,\n"
                                            "    \"language\":\"de\"}  ");
    settings.notifications = true;
    settings.shortcut = "F9";
    EXPECT_EQ(settingsText("{\n    \"language\": \"de\"\n}\n", settings),
              "{\n    \"language\": \"de\",\n    \"shortcut\": \"F9\"\n}\n");
    EXPECT_EQ(settingsText(R"({"language": "de"})", settings),
              R"({"language": "de", "shortcut": "F9"})");
    EXPECT_EQ(settingsText(text, parsed(text).settings), text) << "nothing to change";
}

TEST(SettingsText, OfSeveralOfANameTheLastCountsAndIsEdited) {
    const std::string text = R"({"language": "de", "language": "fr"})";
    const auto read = parsed(text);
    EXPECT_EQ(read.settings.language, "fr");
    EXPECT_THAT(read.problems,
                ElementsAre("s.json:1: “language” stands there twice; the last one counts"));
    auto settings = read.settings;
    settings.language = "es";
    EXPECT_EQ(settingsText(text, settings), R"({"language": "de", "language": "es"})");
}

TEST(SettingsText, AnEscapedNameIsItsName) {
    EXPECT_EQ(parsed(R"({"langu\u0061ge": "de"})").settings.language, "de");
}

struct Refused {
    const char* name;
    const char* text;
    const char* problem;
    bool trusted;
};

void PrintTo(const Refused& refused, std::ostream* out) {
    *out << refused.name;
}

class SettingsRefused : public testing::TestWithParam<Refused> {};

TEST_P(SettingsRefused, NamesTheLineAndTheKey) {
    const auto read = parsed(GetParam().text);
    ASSERT_EQ(read.problems.size(), 1U);
    EXPECT_THAT(read.problems.front(), HasSubstr(GetParam().problem));
    EXPECT_EQ(read.isTrusted, GetParam().trusted);
    // What guards work from leaving unseen fails to the safe side.
    EXPECT_EQ(read.settings.preview == PreviewWhen::Always, !GetParam().trusted);
}

INSTANTIATE_TEST_SUITE_P(
    All, SettingsRefused,
    testing::Values(
        Refused{"cut", "{\n\"preview\": \"never\",\n", "s.json:3: not JSON from here on", false},
        Refused{"list", "[]", "s.json: not an object of JSON", false},
        Refused{"bytes", "{\"language\": \"\xff\"}", "s.json:1: not JSON", false},
        Refused{"preview", "{\n\"preview\": \"sometimes\"}", "s.json:2: “preview” is “elsewhere”",
                false},
        Refused{"previewApps", R"({"preview_apps": {"a": "never", "b": 1}})",
                "s.json:1: “preview_apps” is an object", false},
        Refused{"neverCapture", R"({"never_capture": "a"})", "is a list", false},
        Refused{"neverCaptureStar", R"({"never_capture": ["a*b"]})", "has “a*b”: “*” stands",
                false},
        Refused{"neverCaptureAll", R"({"never_capture": ["*"]})", "at least three", false},
        Refused{"managers", R"({"never_capture_password_managers": 1})", "is true or false", false},
        Refused{"shortcut", R"({"shortcut": "Ctrl+G+H"})", "“G” is none of Ctrl", true},
        Refused{"shortcutBare", R"({"shortcut": "g"})", "needs Ctrl, Alt or Super", true},
        Refused{"shortcutKind", R"({"shortcut": 1})", "is a text such as", true},
        Refused{"notifications", "{\n\n\"notifications\": \"yes\"}", "s.json:3: “notifications”",
                true},
        Refused{"language", R"({"language": "tlh"})", "“language” is “en”, ", true},
        Refused{"unknown", R"({"prevew": "never"})", "“prevew” is no setting of this version",
                true}),
    [](const auto& each) { return std::string(each.param.name); });

TEST(SettingsText, WhatIsWrongInOneKeyLeavesTheOthers) {
    const auto read =
        parsed(R"({"language": 3, "never_capture": ["ok.one"], "notifications": false})");
    EXPECT_EQ(read.problems.size(), 1U);
    EXPECT_FALSE(read.settings.notifications);
    EXPECT_THAT(read.settings.neverCapture, ElementsAre("ok.one"));
}

TEST(SettingsText, ThatIsTooLongOrTooDeepIsRefusedSoon) {
    EXPECT_FALSE(parsed(std::string(kLongestSettings + 1, ' ') + "{}").isTrusted);
    EXPECT_FALSE(parsed(std::string(200'000, '[')).isTrusted);
    EXPECT_EQ(settingsText("nonsense", {}), std::nullopt);
}

TEST(SettingsJson, HasEveryKeyWithItsValue) {
    const auto object = nlohmann::ordered_json::parse(settingsJson(everythingSet()));
    std::vector<std::string> keys;
    for (const auto& [key, value] : object.items()) keys.push_back(key);
    EXPECT_EQ(keys, settingsKeys());
    EXPECT_EQ(parseSettings(settingsJson({}), "").settings, Settings{});
}

TEST(SettingsDocument, NamesEveryKeyAndNoOther) {
    std::ifstream stream(inSourceTree("docs/settings.md"));
    const std::string text(std::istreambuf_iterator<char>(stream), {});
    std::vector<std::string> documented;
    std::size_t at = 0;
    while ((at = text.find("\n| `", at)) != std::string::npos) {
        at += 4;
        documented.push_back(text.substr(at, text.find('`', at) - at));
    }
    EXPECT_EQ(documented, settingsKeys());
    for (const auto& language : settingsLanguages()) {
        EXPECT_THAT(text, HasSubstr("`\"" + language + "\"`"));
    }
    // The example is one that can be used as it stands.
    const auto begin = text.find("```json\n") + 8;
    const auto read = parsed(text.substr(begin, text.find("```", begin) - begin));
    EXPECT_THAT(read.problems, testing::IsEmpty());
    EXPECT_NE(read.settings, Settings{});
}

// The file

class SettingsStoreTest : public testing::Test {
protected:
    const std::filesystem::path file = "/home/ada/.brask/settings.json";
    Journal journal;
    FakeFileSystem files{journal};
    SettingsStore store{files, "/home/ada/.brask"};
};

TEST_F(SettingsStoreTest, WithoutAFileAreTheDefaults) {
    EXPECT_FALSE(store.look());
    EXPECT_EQ(store.now(), Settings{});
    EXPECT_TRUE(store.problems().empty());
    EXPECT_FALSE(files.exists(file)) << "nothing is written until something is changed";
}

TEST_F(SettingsStoreTest, AreReadAgainWhenTheFileIsAnother) {
    files.files[file] = R"({"language": "de"})";
    EXPECT_TRUE(store.look());
    EXPECT_EQ(store.now().language, "de");
    EXPECT_FALSE(store.look());
    files.files[file] = R"({"language": "fr"})";
    EXPECT_TRUE(store.look());
    EXPECT_EQ(store.now().language, "fr");
    files.files.erase(file);
    EXPECT_TRUE(store.look());
    EXPECT_EQ(store.now(), Settings{});
}

TEST_F(SettingsStoreTest, AChangeIsAnEditOfWhatTheFileSaysNow) {
    files.files[file] = R"({"mine": 1})";
    store.look();
    files.files[file] = R"({"mine": 2, "language": "de"})";
    EXPECT_EQ(store.change([](Settings& settings) { settings.notifications = false; }),
              std::nullopt);
    EXPECT_EQ(files.files[file], R"({"mine": 2, "language": "de", "notifications": false})");
    EXPECT_FALSE(store.now().notifications);
    EXPECT_EQ(store.now().language, "de");
}

TEST_F(SettingsStoreTest, AFileThatIsNoJsonIsLeftAsItIs) {
    files.files[file] = "{oops";
    const auto why = store.change([](Settings& settings) { settings.notifications = false; });
    EXPECT_THAT(why.value_or(""), HasSubstr("settings.json:1: not JSON"));
    EXPECT_EQ(files.files[file], "{oops");
    EXPECT_EQ(store.now().preview, PreviewWhen::Always) << "nothing leaves unseen";
}

TEST_F(SettingsStoreTest, ABrokenFileLeavesInForceWhatWasReadBefore) {
    files.files[file] = R"({"never_capture": ["org.example.diary"], "preview": "never"})";
    store.look();
    files.files[file] = R"({"never_capture": ["org.example)";
    EXPECT_TRUE(store.look()) << "there is a problem now";
    EXPECT_EQ(store.problems().size(), 1U);
    EXPECT_THAT(store.now().neverCapture, ElementsAre("org.example.diary"));
    EXPECT_EQ(store.now().preview, PreviewWhen::Never);
}

TEST_F(SettingsStoreTest, WhatOthersCouldHaveWrittenIsNotUsed) {
    files.files[file] = R"({"preview": "never"})";
    files.guards[file] = {.isOurs = true, .othersRead = true, .othersWrite = true};
    store.look();
    EXPECT_EQ(store.now().preview, PreviewWhen::Always);
    EXPECT_THAT(store.problems(), ElementsAre(HasSubstr("chmod 600")));
    EXPECT_TRUE(store.change([](Settings& settings) { settings.language = "de"; }).has_value());
    EXPECT_EQ(files.files[file], R"({"preview": "never"})");
}

TEST_F(SettingsStoreTest, AFileThatCannotBeWrittenSaysSoAndChangesNothing) {
    files.unwritable.insert(file);
    EXPECT_THAT(store.change([](Settings& settings) { settings.language = "de"; }).value_or(""),
                HasSubstr("could not be written"));
    EXPECT_EQ(store.now(), Settings{});
}

// Shortcuts

TEST(ShortcutText, IsReadInAnyOrderAndCaseAndWrittenInOne) {
    std::string why;
    for (const auto& [text, written] :
         std::vector<std::pair<std::string, std::string>>{{"alt+CTRL+g", "Ctrl+Alt+G"},
                                                          {" Super + Shift + 1 ", "Shift+Super+1"},
                                                          {"f24", "F24"},
                                                          {"shift+Print", "Shift+Print"},
                                                          {"ctrl+pageup", "Ctrl+PageUp"}}) {
        const auto shortcut = shortcutOf(text, why);
        ASSERT_TRUE(shortcut.has_value()) << text << ": " << why;
        EXPECT_EQ(shortcutText(*shortcut), written);
        EXPECT_EQ(shortcutOf(written, why), shortcut);
    }
}

TEST(ShortcutText, ThatIsNoneSaysWhy) {
    for (const auto& [text, expected] : std::vector<std::pair<std::string, std::string>>{
             {"Ctrl+", "The key is missing"},
             {"", "The key is missing"},
             {"Ctrl+Ctrl+G", "twice"},
             {"Hyper+G", "“Hyper” is none of"},
             {"Ctrl+F25", "no key “F25”"},
             {"Ctrl+F01", "no key “F01”"},
             {"Ctrl+ä", "no key “ä”"},
             {"Shift+G", "needs Ctrl, Alt or Super"}}) {
        std::string why;
        EXPECT_EQ(shortcutOf(text, why), std::nullopt) << text;
        EXPECT_THAT(why, HasSubstr(expected)) << text;
    }
}

} // namespace
} // namespace kelvane
