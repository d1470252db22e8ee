// Holds the rules themselves: each bad example must be found, by its own complaint.

#include "catalog/catalog_lint.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace kelvane {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

CatalogFile good() {
    CatalogFile file;
    file.version = "2026-01-01";
    file.modalities = {"code", "text", "image"};
    file.categories = {{"code", "Code"}, {"browser", "Browsers"}, {"terminal", "Terminals"}};
    CatalogApp editor;
    editor.id = "editor";
    editor.name = "Editor";
    editor.category = "code";
    editor.vertical = "engineering";
    editor.bundleIds = {"org.example.editor", "chrome-edit.example.org__"};
    editor.webHosts = {"edit.example.org"};
    editor.modalities = {"code", "text"};
    editor.primaryModality = "code";
    editor.capture = "selection";
    editor.workflowNodes = {"build"};
    CatalogApp browser = editor;
    browser.id = "browser";
    browser.name = "Browser";
    browser.category = "browser";
    browser.bundleIds = {"org.example.browser"};
    browser.webHosts = {};
    browser.isBrowser = true;
    CatalogApp terminal = editor;
    terminal.id = "terminal";
    terminal.name = "Terminal";
    terminal.category = "terminal";
    terminal.bundleIds = {"org.example.terminal"};
    terminal.webHosts = {};
    file.apps = {editor, browser, terminal};
    return file;
}

CatalogApp& editorOf(CatalogFile& file) {
    return file.apps.front();
}

const char* const kGoodSources =
    "app\tidentifier\tplatform\tsource\tnote\n"
    "editor\torg.example.editor\tmacos\thttps://example.org/a\t\n"
    "editor\torg.example.editor\tlinux\tDebian package e, f\t\n"
    "editor\tchrome-edit.example.org__\tlinux\thttps://a.org\tx\n"
    "editor\tedit.example.org\tweb\thttps://edit.example.org\tits own address; known from use\n"
    "browser\torg.example.browser\tlinux\thttps://a.org\t\n"
    "terminal\torg.example.terminal\tlinux\thttps://a.org\t\n";

TEST(CatalogLint, AGoodCatalogDrawsNoComplaint) {
    EXPECT_THAT(lint::checkEntries(good(), {}), IsEmpty());
    EXPECT_THAT(lint::checkSources(kGoodSources, good()), IsEmpty());
    EXPECT_THAT(lint::checkFormat(lint::canonicalText(good()), good()), IsEmpty());
}

struct Bad {
    const char* name;
    std::function<void(CatalogFile&)> spoil;
    const char* complaint;
};

TEST(CatalogLint, EachBadEntryIsFound) {
    const Bad cases[] = {
        {"no version", [](auto& file) { file.version = "0"; }, "no version"},
        {"modality twice", [](auto& file) { file.modalities.push_back("code"); }, "declared twice"},
        {"modality without a word", [](auto& file) { file.modalities.push_back("scent"); },
         "none the panel has a word for"},
        {"category twice", [](auto& file) { file.categories.push_back(file.categories.front()); },
         "\"code\" is declared twice"},
        {"category without a label", [](auto& file) { file.categories.front().label = ""; },
         "no label"},
        {"category without an application",
         [](auto& file) {
             file.categories.push_back({"deck", "Decks"});
         },
         "holds no application"},
        {"undeclared category", [](auto& file) { editorOf(file).category = "kode"; },
         "editor: category \"kode\" is not in"},
        {"id that is no word", [](auto& file) { editorOf(file).id = "Edi-Tor"; }, "a-z, 0-9 and _"},
        {"name missing", [](auto& file) { editorOf(file).name = ""; }, "no name"},
        {"name twice", [](auto& file) { editorOf(file).name = "Browser"; },
         "has the name \"Browser\" of"},
        {"no modality",
         [](auto& file) {
             editorOf(file).modalities = {};
             editorOf(file).primaryModality = "code";
         },
         "holds no kind of work"},
        {"undeclared modality", [](auto& file) { editorOf(file).modalities.push_back("deck"); },
         "modality \"deck\" is not declared"},
        {"modality twice in an application",
         [](auto& file) { editorOf(file).modalities.push_back("code"); },
         "a modality is listed twice"},
        {"primary modality of another kind",
         [](auto& file) { editorOf(file).modalities = {"text"}; }, "is not among its modalities"},
        {"unknown vertical", [](auto& file) { editorOf(file).vertical = "fun"; },
         "vertical \"fun\" is unknown"},
        {"unknown capture", [](auto& file) { editorOf(file).capture = "Selection"; },
         "capture \"Selection\" would be a screenshot"},
        {"text of a picture",
         [](auto& file) {
             editorOf(file).modalities = {"image"};
             editorOf(file).primaryModality = "image";
         },
         "graded as \"image\""},
        {"no step", [](auto& file) { editorOf(file).workflowNodes = {}; }, "plays no step"},
        {"step that is no word", [](auto& file) { editorOf(file).workflowNodes = {"Build it"}; },
         "is no plain word"},
        {"browser that is not marked", [](auto& file) { file.apps[1].isBrowser = false; },
         "go together"},
        {"text taken as a picture", [](auto& file) { editorOf(file).capture = "screenshot"; },
         "editor: its text would never be read"},
        {"text left to an exported file", [](auto& file) { editorOf(file).capture = "export"; },
         "editor: its text would never be read"},
        {"browser taken as a picture", [](auto& file) { file.apps[1].capture = "screenshot"; },
         "a browser shows any page"},
        {"terminal taken as a picture", [](auto& file) { file.apps[2].capture = "screenshot"; },
         "a terminal is captured by"},
        {"nothing to be found by",
         [](auto& file) {
             editorOf(file).bundleIds = {};
             editorOf(file).webHosts = {};
         },
         "can never be found"},
        {"identifier listed by two",
         [](auto& file) { file.apps[2].bundleIds.push_back("org.example.browser"); },
         "terminal: identifier \"org.example.browser\" is listed by browser already"},
        {"identifier with a blank",
         [](auto& file) { editorOf(file).bundleIds.push_back("an editor"); },
         "a letter that no identifier has"},
        {"family too short to be a prefix",
         [](auto& file) { editorOf(file).bundleIds.push_back("c.e."); },
         "six characters are needed"},
        {"window class in capitals",
         [](auto& file) { editorOf(file).bundleIds.push_back("wmclass:Editor"); },
         "a window class is listed in lower case"},
        {"window class with a blank at its end",
         [](auto& file) { editorOf(file).bundleIds.push_back("wmclass:editor "); },
         "a letter that no identifier has"},
        {"prefix that reaches into another",
         [](auto& file) { file.apps[1].bundleIds.push_back("org.example.editor-viewer"); },
         "editor: identifier \"org.example.editor\" begins \"org.example.editor-viewer\" of "
         "browser"},
        {"window of a page that is not ours",
         [](auto& file) { editorOf(file).bundleIds.push_back("chrome-other.example.org__"); },
         "which no host of this application matches"},
        {"key of a web application cut short",
         [](auto& file) { editorOf(file).bundleIds.push_back("crx_abc"); }, "has 32 letters"},
        {"installed site by another of its names",
         [](auto& file) {
             editorOf(file).bundleIds.push_back("msedge-abcdefghijklmnopabcdefghijklmnop");
         },
         "list it as \"chrome-abcdefghijklmnopabcdefghijklmnop\""},
        {"host in capitals",
         [](auto& file) { editorOf(file).webHosts.push_back("Edit.example.com"); },
         "must be lower case"},
        {"host with a scheme",
         [](auto& file) { editorOf(file).webHosts.push_back("https://edit.example.com"); },
         "leave the scheme out"},
        {"host with a slash at its end",
         [](auto& file) { editorOf(file).webHosts.push_back("edit.example.com/"); },
         "leave the last slash out"},
        {"host with a blank",
         [](auto& file) { editorOf(file).webHosts.push_back("edit example.com"); },
         "must be lower case, without blanks"},
        {"host without a dot", [](auto& file) { editorOf(file).webHosts.push_back("edithost"); },
         "no whole host name"},
        {"host found inside others",
         [](auto& file) { editorOf(file).webHosts.push_back("hdt.app"); },
         "would be found inside other hosts"},
        {"host that begins with half a mark",
         [](auto& file) { editorOf(file).webHosts.push_back("/edit.example.net"); },
         "is no whole host name"},
        {"host that begins with two marks",
         [](auto& file) { editorOf(file).webHosts.push_back("//.example.net"); },
         "is no whole host name"},
        {"host listed by two",
         [](auto& file) { file.apps[2].webHosts.push_back("edit.example.org"); },
         "terminal: host \"edit.example.org\" is listed by editor already"},
        {"host found in a common page",
         [](auto& file) { editorOf(file).webHosts.push_back("reddit.com/r/typography"); },
         "editor: one of its hosts is found in https://www.reddit.com"},
    };
    for (const auto& bad : cases) {
        CatalogFile file = good();
        bad.spoil(file);
        auto complaints = lint::checkEntries(file, {});
        EXPECT_FALSE(complaints.empty()) << bad.name;
        bool named = false;
        for (const auto& complaint : complaints) {
            named = named || complaint.find(bad.complaint) != std::string::npos;
        }
        EXPECT_TRUE(named) << bad.name << ": " << testing::PrintToString(complaints);
    }
}

TEST(CatalogLint, AHostMayBeginAtALabel) {
    CatalogFile file = good();
    editorOf(file).webHosts = {"edit.example.org", "//edit.app", ".hdt.app", "//x.io/write"};
    EXPECT_THAT(lint::checkEntries(file, {}), IsEmpty());
}

TEST(CatalogLint, AClassReachesIntoNothingUnlessItIsAFamily) {
    CatalogFile file = good();
    editorOf(file).bundleIds.push_back("wmclass:edit");
    file.apps[1].bundleIds.push_back("wmclass:editor-browser");
    EXPECT_THAT(lint::checkEntries(file, {}), IsEmpty());
    editorOf(file).bundleIds.back() = "wmclass:editor-";
    EXPECT_THAT(lint::checkEntries(file, {}), ElementsAre(HasSubstr("\"wmclass:editor-\" begins")));
}

TEST(CatalogLint, AClassMayBeSeveralWords) {
    CatalogFile file = good();
    editorOf(file).bundleIds.push_back("wmclass:the editor");
    EXPECT_THAT(lint::checkEntries(file, {}), IsEmpty());
}

TEST(CatalogLint, AnIdUsedTwiceIsFound) {
    CatalogFile file = good();
    file.apps.push_back(file.apps.front());
    file.apps.back().name = "Another";
    file.apps.back().bundleIds = {"com.example.another"};
    file.apps.back().webHosts = {};
    EXPECT_THAT(lint::checkEntries(file, {}), ElementsAre(HasSubstr("the id is used twice")));
}

TEST(CatalogLint, AnOverlapThatIsNotedWithItsReasonIsFine) {
    CatalogFile file = good();
    file.apps[1].bundleIds.push_back("org.example.editor-viewer");
    EXPECT_THAT(lint::checkEntries(
                    file, {{"org.example.editor", "org.example.editor-viewer", "the longer wins"}}),
                IsEmpty());
}

TEST(CatalogLint, ANotedOverlapThatIsGoneIsFound) {
    EXPECT_THAT(
        lint::checkEntries(good(), {{"org.example.editor", "org.example.editor-viewer", "old"}}),
        ElementsAre(HasSubstr("no longer begins")));
}

TEST(CatalogLint, ANotedOverlapWithoutAReasonIsFound) {
    CatalogFile file = good();
    file.apps[1].bundleIds.push_back("org.example.editor-viewer");
    EXPECT_THAT(lint::checkEntries(file, {{"org.example.editor", "org.example.editor-viewer", ""}}),
                ElementsAre(HasSubstr("has no reason")));
}

TEST(CatalogLint, AWindowOfAPageMayBeginOneOfAnotherApplication) {
    CatalogFile file = good();
    file.apps[2].bundleIds.push_back("chrome-edit.example.org__shell");
    file.apps[2].webHosts = {"edit.example.org/shell"};
    EXPECT_THAT(lint::checkEntries(file, {}), IsEmpty());
}

TEST(CatalogLint, IdentifiersOfFiveCharactersReachIntoNothing) {
    CatalogFile file = good();
    editorOf(file).bundleIds.push_back("brows");
    file.apps[1].bundleIds.push_back("browser-x");
    EXPECT_THAT(lint::checkEntries(file, {}), IsEmpty());
    editorOf(file).bundleIds.back() = "browse";
    EXPECT_THAT(lint::checkEntries(file, {}), ElementsAre(HasSubstr("\"browse\" begins")));
}

TEST(CatalogLint, ABadLineIsShownWithTheLineItShouldBe) {
    const CatalogFile file = good();
    std::string text = lint::canonicalText(file);
    text.replace(text.find("\"capture\": \"selection\""), 10, "\"capture\" :");
    EXPECT_THAT(lint::checkFormat(text, file),
                ElementsAre(testing::AllOf(HasSubstr("app-catalog.json:"),
                                           HasSubstr("should read\n    {\"id\": \"editor\""))));
}

TEST(CatalogLint, AppsOutOfOrderAreFound) {
    CatalogFile file = good();
    const std::string sorted = lint::canonicalText(file);
    std::swap(file.apps[0], file.apps[2]);
    EXPECT_EQ(lint::canonicalText(file), sorted);
    EXPECT_THAT(lint::checkFormat(sorted + "\n", file), testing::SizeIs(1));
}

TEST(CatalogLint, AKeyThatNobodyReadsIsFound) {
    std::string text = lint::canonicalText(good());
    text.insert(text.find("\"capture\""), "\"web_host\": [\"x.example.org\"], ");
    EXPECT_THAT(lint::checkFormat(text, decodeCatalogFile(text)), testing::SizeIs(1));
}

TEST(CatalogLint, TheCanonicalTextSaysWhatItWasMadeFrom) {
    CatalogFile file = good();
    file.apps[0].name = "An \"editor\" ▸";
    file.apps[0].connector = "web";
    file.apps[0].tier = "partial";
    EXPECT_EQ(decodeCatalogFile(lint::canonicalText(file)).apps.front(), file.apps.front());
}

TEST(CatalogLint, EachBadTableOfSourcesIsFound) {
    const auto replaced = [](const std::string& what, const std::string& with) {
        std::string table = kGoodSources;
        const auto at = table.find(what);
        EXPECT_NE(at, std::string::npos) << what;
        return table.replace(at, what.size(), with);
    };
    const struct {
        std::string table;
        const char* complaint;
    } cases[] = {
        {"", "has no end"},
        {replaced("app\tidentifier", "application\tidentifier"), ":1: the header is missing"},
        {replaced("editor\tchrome-edit.example.org__\tlinux\thttps://a.org\tx\n", ""),
         "\"chrome-edit.example.org__\" of editor is due"},
        {replaced("terminal\torg.example.terminal\tlinux\thttps://a.org\t\n", ""),
         "no row for \"org.example.terminal\""},
        {std::string(kGoodSources) + "terminal\torg.gone\tlinux\thttps://a.org\t\n",
         ":8: \"org.gone\" of terminal stands where nothing is due"},
        {replaced("https://a.org\tx", "https://a.org"), ":4: has 4 cells"},
        {replaced("Debian package e, f", "my memory"), "is no public place"},
        {replaced("its own address; known from use", ""), "is its own source"},
        {replaced("its own address; known from use", "seen"), "is its own source"},
        {replaced("Debian package e, f", "/home/me/list.txt"), "is no public place"},
        {replaced("\tweb\t", "\tlinux\t"), "a host is \"web\""},
        {replaced("\tlinux\tDebian", "\tplan9\tDebian"), "platform \"plan9\""},
        {replaced("\tlinux\tDebian", "\tmacos\tDebian"), "a second row for one platform"},
    };
    for (const auto& [table, complaint] : cases) {
        EXPECT_THAT(lint::checkSources(table, good()), ElementsAre(HasSubstr(complaint))) << table;
    }
}

} // namespace
} // namespace kelvane
