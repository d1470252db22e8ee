// The product as a user meets it: the built program on a real desktop with real applications,
// against the built local service.

#include "tests/desktop/virtual_desktop.h"
#include "tests/journey/program.h"

#include <gtest/gtest.h>

#include <fstream>
#include <signal.h>
#include <sstream>
#include <thread>

namespace kelvane {
namespace {

using namespace std::chrono_literals;

std::string contents(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

std::filesystem::path sample(const std::string& name) {
    return std::filesystem::path(KELVANE_SOURCE_DIR) / "docs" / "samples" / name;
}

class Journey : public testing::Test {
protected:
    static void SetUpTestSuite() { s_desktop = std::make_unique<VirtualDesktop>(); }
    static void TearDownTestSuite() { s_desktop.reset(); }

    void TearDown() override {
        for (const pid_t program : m_started) s_desktop->end(program);
    }

    /// Starts the service on a port of its own, or again on the one it had.
    void startService() {
        m_service = std::make_unique<Program>(
            std::vector<std::string>{KELVANE_SERVICE, "--port", std::to_string(m_port), "--data",
                                     (s_desktop->home() / "service").string()},
            s_desktop->environment());
        const auto line = m_service->readUntil("\n", 20s);
        ASSERT_TRUE(line);
        const std::string expected = "trevix-local listening on http://127.0.0.1:";
        ASSERT_EQ(line->substr(0, expected.size()), expected);
        m_port = std::stoi(line->substr(expected.size()));
    }

    /// Opens a document in an application, in front, and selects all of it.
    void open(const std::vector<std::string>& command, const std::string& wmClass) {
        const pid_t program = s_desktop->start(command);
        m_started.push_back(program);
        const auto window = s_desktop->waitForWindow(VirtualDesktop::ofClass(wmClass));
        ASSERT_TRUE(window) << wmClass;
        ASSERT_TRUE(s_desktop->activate(window->window));
        std::this_thread::sleep_for(1s); // the window is there before its document is
        press("ctrl+a");
    }

    void press(const std::string& key) {
        const pid_t keys = s_desktop->start({"xdotool", "key", "--clearmodifiers", key});
        VirtualDesktop::waitUntil([&] { return !s_desktop->running(keys); });
        std::this_thread::sleep_for(300ms);
    }

    void startProduct(std::map<std::string, std::string> more = {},
                      std::vector<std::string> arguments = {}) {
        auto environment = s_desktop->environment();
        environment["BRASK_API_BASE"] = "http://127.0.0.1:" + std::to_string(m_port);
        environment["BRASK_API_KEY"] = serviceKey();
        for (const auto& [name, value] : more) environment[name] = value;
        arguments.insert(arguments.begin(), KELVANE_PRODUCT);
        m_product = std::make_unique<Program>(arguments, environment);
        ASSERT_TRUE(m_product->readUntil("  quit\n", 20s));
    }

    static std::string serviceKey() {
        auto key = contents(s_desktop->home() / "service" / "key");
        while (key.ends_with('\n')) key.pop_back();
        return key;
    }

    std::string grade(const std::string& command = "grade") {
        m_product->type(command);
        auto answer = m_product->readUntil("done\n");
        EXPECT_TRUE(answer) << "unread: " << m_product->unread();
        return answer.value_or("");
    }

    void quitProduct() {
        m_product->type("quit");
        EXPECT_EQ(m_product->waitForEnd(), 0);
    }

    std::filesystem::path document(const std::string& text, const std::string& name = "work.md") {
        const auto path = s_desktop->home() / name;
        std::ofstream(path, std::ios::binary) << text;
        return path;
    }

    inline static std::unique_ptr<VirtualDesktop> s_desktop;
    std::vector<pid_t> m_started;
    std::unique_ptr<Program> m_service;
    std::unique_ptr<Program> m_product;
    int m_port = 0;
};

struct Editor {
    std::string name;
    std::string wmClass;
    std::vector<std::string> command;
};

class JourneyWithEditor : public Journey, public testing::WithParamInterface<Editor> {};

TEST_P(JourneyWithEditor, GradesTheSelectionAndIteratesAfterTheFix) {
    startService();
    const auto page = document(contents(sample("launch-note.md")));
    auto command = GetParam().command;
    command.push_back(page.string());
    open(command, GetParam().wmClass);
    startProduct();

    const auto first = grade();
    EXPECT_NE(first.find("You're in "), std::string::npos) << first;
    EXPECT_EQ(first.find("No text selection"), std::string::npos) << first;
    EXPECT_EQ(first.find("band   ship"), std::string::npos) << first;
    EXPECT_NE(first.find("flaws ("), std::string::npos) << first;

    s_desktop->end(m_started.back());
    m_started.pop_back();
    document(contents(sample("launch-note-corrected.md")));
    open(command, GetParam().wmClass);
    const auto second = grade("iterate");
    EXPECT_NE(second.find("-> ship"), std::string::npos) << second;
    EXPECT_NE(second.find("fixed ("), std::string::npos) << second;
    EXPECT_EQ(second.find("remaining ("), std::string::npos) << second;
    EXPECT_EQ(second.find("new ("), std::string::npos) << second;
    quitProduct();
}

INSTANTIATE_TEST_SUITE_P(
    Editors, JourneyWithEditor,
    testing::Values(Editor{"mousepad", "Mousepad", {"mousepad", "--disable-server"}},
                    Editor{"gedit", "Gedit", {"gedit", "--standalone"}},
                    Editor{"featherpad", "FeatherPad", {"featherpad", "--standalone"}}),
    [](const auto& test) { return test.param.name; });

TEST_F(Journey, WithoutASelectionTheWindowIsGradedAndTheNoteSaysSo) {
    startService();
    open({"mousepad", "--disable-server", document("Some words.\n").string()}, "Mousepad");
    press("Left");
    startProduct();
    const auto answer = grade();
    EXPECT_NE(answer.find("No text selection found — graded a screenshot of Mousepad's window."),
              std::string::npos)
        << answer;
    EXPECT_NE(answer.find("band   "), std::string::npos) << answer;
    quitProduct();
}

TEST_F(Journey, AServiceKilledInMidGradeAndStartedAgainStillGivesTheVerdict) {
    startService();
    open({"mousepad", "--disable-server", document("All is well here.\n").string()}, "Mousepad");
    startProduct();
    m_product->type("grade");
    ASSERT_TRUE(m_product->readUntil("Grading…"));
    std::this_thread::sleep_for(700ms); // the submission has gone out by now
    m_service->signal(SIGKILL);
    ASSERT_TRUE(m_service->waitForEnd());
    startService();
    const auto answer = m_product->readUntil("done\n");
    ASSERT_TRUE(answer) << m_product->unread();
    EXPECT_NE(answer->find("band   ship"), std::string::npos) << *answer;
    quitProduct();
}

TEST_F(Journey, QuittingWhileAGradePollsIsImmediate) {
    startService();
    open({"mousepad", "--disable-server", document("All is well here.\n").string()}, "Mousepad");
    startProduct();
    m_product->type("grade");
    std::this_thread::sleep_for(500ms);
    m_service->signal(SIGSTOP); // accepts connections, says nothing
    std::this_thread::sleep_for(2s);
    m_product->type("quit");
    EXPECT_EQ(m_product->waitForEnd(3s), 0);
    m_service->signal(SIGCONT);
}

TEST_F(Journey, WrongKeyIsSaidInTheVerdict) {
    startService();
    open({"mousepad", "--disable-server", document("Words.\n").string()}, "Mousepad");
    startProduct({{"BRASK_API_KEY", "wrong"}});
    EXPECT_NE(grade().find("not graded: not authorized — check your Trevix key (HTTP 401)"),
              std::string::npos);
    quitProduct();
}

TEST_F(Journey, ServiceThatIsNotThereIsSaidInTheVerdict) {
    startService();
    m_service->signal(SIGTERM);
    ASSERT_TRUE(m_service->waitForEnd());
    open({"mousepad", "--disable-server", document("Words.\n").string()}, "Mousepad");
    startProduct();
    EXPECT_NE(grade().find("not graded: could not reach the eval API"), std::string::npos);
    quitProduct();
}

TEST_F(Journey, ACatalogOfOnesOwnDecidesWhatIsCaptured) {
    startService();
    open({"mousepad", "--disable-server", document("Words.\n").string()}, "Mousepad");
    const auto catalog = document(R"({"apps":[{"id":"mine","name":"My \"Editor\"",
        "bundle_ids":["org.xfce.mousepad"],"modalities":["ui_ux"],"capture":"export"}]})",
                                  "mine.json");
    startProduct({}, {"--catalog", catalog.string()});
    const auto answer = grade();
    EXPECT_NE(answer.find("You're in My \"Editor\" · operations · grades as ui_ux"),
              std::string::npos)
        << answer;
    EXPECT_NE(answer.find("Graded a frame of My \"Editor\". For the full render, export the file "
                          "and run `brask grade <file>`."),
              std::string::npos)
        << answer;
    quitProduct();
}

TEST_F(Journey, TheUsersClipboardSurvivesAGrade) {
    startService();
    open({"mousepad", "--disable-server", document("Work to grade.\n").string()}, "Mousepad");
    const auto saved = s_desktop->home() / "clipboard.txt";
    std::ofstream(saved) << "what the user had copied";
    m_started.push_back(s_desktop->start(
        {"sh", "-c", "exec xclip -quiet -selection clipboard -in " + saved.string()}));
    std::this_thread::sleep_for(500ms);
    startProduct();
    EXPECT_NE(grade().find("band   "), std::string::npos);
    const auto out = s_desktop->home() / "after.txt";
    const pid_t reader =
        s_desktop->start({"sh", "-c", "exec xclip -selection clipboard -out > " + out.string()});
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return !s_desktop->running(reader); }));
    EXPECT_EQ(contents(out), "what the user had copied");
    quitProduct();
}

TEST_F(Journey, WithoutADisplayTheProductSaysSoAndEnds) {
    startService();
    auto environment = s_desktop->environment();
    environment.erase("DISPLAY");
    Program product({KELVANE_PRODUCT}, environment);
    product.type("grade");
    EXPECT_TRUE(product.readUntil("Nothing to grade: No app in front yet.\n", 20s));
    product.endInput();
    EXPECT_EQ(product.waitForEnd(), 0);
}

TEST_F(Journey, TerminationSignalEndsTheProductCleanly) {
    startService();
    startProduct();
    m_product->signal(SIGTERM);
    EXPECT_EQ(m_product->waitForEnd(3s), 0);
}

} // namespace
} // namespace kelvane
