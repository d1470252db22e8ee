// Every line that the doctor can say.

#include "app/cli/doctor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>

namespace kelvane {
namespace {

using nlohmann::json;
using testing::Each;
using testing::ElementsAre;
using testing::Field;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

DoctorFacts allIsWell() {
    DoctorFacts facts;
    facts.version = "0.1.0";
    facts.system = "Debian, Linux";
    facts.desktop = "XFCE";
    facts.display = "x11 :0";
    facts.hasSessionBus = true;
    facts.hasTray = true;
    facts.hasAccessibility = true;
    facts.notifier = "dunst 1.9.0";
    facts.isRunning = facts.isInstalled = facts.startsAtLogin = facts.hasPython = true;
    facts.copyVersion = "0.1.0";
    facts.place = "this machine";
    facts.base = "http+unix://%2Fs";
    facts.answers = true;
    facts.key = DoctorFacts::KeyFrom::Choice;
    facts.tools = {{"Codex", true, true}};
    facts.localService = "/usr/bin/trevix-local";
    facts.engines = {{{"trevix", true, ""}}};
    return facts;
}

/// What is said beyond the lines of a machine on which all is well.
std::vector<DoctorLine> beyondWell(const DoctorFacts& facts) {
    const auto well = doctorLines(allIsWell());
    std::vector<DoctorLine> lines;
    for (const auto& line : doctorLines(facts)) {
        if (std::ranges::find(well, line) == well.end()) lines.push_back(line);
    }
    return lines;
}

/// The one line that is said beyond those.
DoctorLine only(const DoctorFacts& facts) {
    const auto lines = beyondWell(facts);
    EXPECT_EQ(lines.size(), 1U) << doctorText(lines);
    return lines.empty() ? DoctorLine{} : lines.front();
}

template <typename Change>
DoctorFacts with(Change change) {
    DoctorFacts facts = allIsWell();
    change(facts);
    return facts;
}

TEST(Doctor, OfAMachineOnWhichAllIsWellHasNothingToDo) {
    const auto lines = doctorLines(allIsWell());
    EXPECT_TRUE(isHealthy(lines));
    EXPECT_THAT(lines, Each(Field(&DoctorLine::todo, IsEmpty())));
    EXPECT_THAT(lines, Each(Field(&DoctorLine::health, Health::Good)));
    EXPECT_EQ(
        doctorText(lines),
        "ok     program       Kelvane 0.1.0 on Debian, Linux.\n"
        "ok     program       It runs on this desktop.\n"
        "ok     program       It starts when you log in.\n"
        "ok     display       The display is x11 :0, of XFCE.\n"
        "ok     tray          There is a tray that shows the icon.\n"
        "ok     accessibility The accessibility bus is there.\n"
        "ok     notifications Messages are shown by dunst 1.9.0.\n"
        "ok     service       The service http+unix://%2Fs answers (chosen: on this machine).\n"
        "ok     service       The local service is /usr/bin/trevix-local.\n"
        "ok     key           The key is the local service's own.\n"
        "ok     tools         Codex is wired.\n"
        "ok     engines       Judging here: trevix.\n");
}

struct Case {
    const char* name;
    void (*change)(DoctorFacts&);
    Health health;
    const char* what;
    const char* todo;
};

std::ostream& operator<<(std::ostream& out, const Case& each) {
    return out << each.name;
}

class DoctorLineOf : public testing::TestWithParam<Case> {};

TEST_P(DoctorLineOf, SaysWhatIsAndWhatToDo) {
    const DoctorLine line = only(with(GetParam().change));
    EXPECT_EQ(line.health, GetParam().health);
    EXPECT_THAT(line.what, HasSubstr(GetParam().what));
    EXPECT_THAT(line.todo, HasSubstr(GetParam().todo));
    EXPECT_EQ(line.todo.empty(), line.health == Health::Good);
}

TEST(DoctorOfAPackage, ItsEntryCountsOnceSomebodyHasStartedTheProgram) {
    EXPECT_EQ(doctorLines(with([](DoctorFacts& f) {
                  f.startsAtLogin = false;
                  f.hasPackagesEntry = true;
              })),
              doctorLines(allIsWell()));
    const auto lines = beyondWell(with([](DoctorFacts& f) {
        f.startsAtLogin = f.isInstalled = false;
        f.hasPackagesEntry = true;
    }));
    ASSERT_EQ(lines.size(), 2U) << doctorText(lines);
    EXPECT_THAT(lines.front().what, HasSubstr("does not start when you log in"));
    EXPECT_THAT(lines.front().todo, HasSubstr("Start it once"));
}

const Case kCases[] = {
    {"NotRunning", [](DoctorFacts& f) { f.isRunning = false; }, Health::Advice,
     "does not run on this desktop", "applications menu"},
    {"NoLoginItem", [](DoctorFacts& f) { f.startsAtLogin = false; }, Health::Advice,
     "does not start when you log in", "Wire my tools"},
    {"AnotherCopy", [](DoctorFacts& f) { f.copyVersion = "0.0.9"; }, Health::Advice,
     "starts when you log in, is Kelvane 0.0.9", "Wire my tools"},
    {"NoDisplay", [](DoctorFacts& f) { f.display = ""; }, Health::Bad, "There is no display",
     "WAYLAND_DISPLAY"},
    {"SilentDisplay", [](DoctorFacts& f) { f.silent = ":0"; }, Health::Bad,
     "The display :0 does not answer", "Log out"},
    {"UnnamedDesktop", [](DoctorFacts& f) { f.desktop = ""; }, Health::Good,
     "The display is x11 :0.", ""},
    {"NoTray", [](DoctorFacts& f) { f.hasTray = false; }, Health::Advice, "No tray",
     "AppIndicator"},
    {"TrayUnasked", [](DoctorFacts& f) { f.hasTray = std::nullopt; }, Health::Advice,
     "could not be asked", "dbus-bin"},
    {"NoAccessibility", [](DoctorFacts& f) { f.hasAccessibility = false; }, Health::Advice,
     "no accessibility bus", "at-spi2-core"},
    {"AccessibilityUnasked", [](DoctorFacts& f) { f.hasAccessibility = std::nullopt; },
     Health::Advice, "accessibility bus is there could not be asked", "dbus-bin"},
    {"NobodyShowsMessages", [](DoctorFacts& f) { f.notifier = ""; }, Health::Advice,
     "Nobody shows messages here", "notification service"},
    {"MessagesUnasked", [](DoctorFacts& f) { f.notifier = std::nullopt; }, Health::Advice,
     "Whether messages can be shown could not be asked", "dbus-bin"},
    {"MessagesNotWished",
     [](DoctorFacts& f) {
         f.wantsNotices = false;
         f.notifier = "";
     },
     Health::Good, "as your settings have it", ""},
    {"NoBus", [](DoctorFacts& f) { f.hasSessionBus = false; }, Health::Advice,
     "There is no session bus", "dbus-user-session"},
    {"ChoiceWrong", [](DoctorFacts& f) { f.choiceProblems = {"~/.brask/service:1: wrong"}; },
     Health::Bad, "~/.brask/service:1: wrong.", "kelvane --service"},
    {"NoAddress", [](DoctorFacts& f) { f.isAddress = false; }, Health::Bad, "is none: “http+unix",
     "kelvane --service"},
    {"LocalSilent", [](DoctorFacts& f) { f.answers = false; }, Health::Bad,
     "does not answer (chosen: on this machine)", "systemctl --user status"},
    {"AccountAnswers", [](DoctorFacts& f) { f.place = "account"; }, Health::Good,
     "answers (chosen: with a service account)", ""},
    {"NothingChosen", [](DoctorFacts& f) { f.place = ""; }, Health::Good,
     "answers (nothing was chosen)", ""},
    {"AccountSilent",
     [](DoctorFacts& f) {
         f.place = "account";
         f.answers = false;
     },
     Health::Bad, "does not answer (chosen: with a service account)", "grade on this machine"},
    {"ProxyOfTheEnvironment",
     [](DoctorFacts& f) { f.proxyFrom = DoctorFacts::ProxyFrom::Environment; }, Health::Good,
     "by the proxies that the environment names", ""},
    {"ProxyOfTheDesktop",
     [](DoctorFacts& f) {
         f.proxyFrom = DoctorFacts::ProxyFrom::Desktop;
         f.proxy = "http://proxy:8080";
     },
     Health::Good, "through http://proxy:8080, as the desktop's settings say", ""},
    {"DirectlyByTheDesktop", [](DoctorFacts& f) { f.proxyFrom = DoctorFacts::ProxyFrom::Desktop; },
     Health::Good, "reached directly, as the desktop's settings say", ""},
    {"NoKey", [](DoctorFacts& f) { f.key = DoctorFacts::KeyFrom::Nowhere; }, Health::Bad,
     "There is no key", "Grade on this machine"},
    {"KeyInEnvironment", [](DoctorFacts& f) { f.key = DoctorFacts::KeyFrom::Environment; },
     Health::Good, "BRASK_API_KEY", ""},
    {"KeyInFile", [](DoctorFacts& f) { f.key = DoctorFacts::KeyFrom::KeyFile; }, Health::Good,
     "~/.brask/key", ""},
    {"KeyOfAnother", [](DoctorFacts& f) { f.isKeyOfAnother = true; }, Health::Bad,
     "is not the key of the service you chose", "Unset it"},
    {"OpenKeyFile", [](DoctorFacts& f) { f.isKeyFileOpen = true; }, Health::Bad,
     "Others may read or write ~/.brask/key", "chmod 600"},
    {"NoPython", [](DoctorFacts& f) { f.hasPython = false; }, Health::Bad, "no python3",
     "Install python3"},
    {"NotInstalled", [](DoctorFacts& f) { f.isInstalled = false; }, Health::Advice,
     "validator is not installed", "Start Kelvane once"},
    {"ToolUnwired", [](DoctorFacts& f) { f.tools[0].isWired = false; }, Health::Advice,
     "Codex is here and not wired", "Wire my tools"},
    {"ToolAbsent",
     [](DoctorFacts& f) {
         f.tools = {{"Codex", true, true}, {"Cursor", false, false}};
     },
     Health::Good, "Cursor is not here", ""},
    {"EnginesSilent", [](DoctorFacts& f) { f.engines = std::nullopt; }, Health::Bad,
     "did not say in time", "trevix-local --engines"},
    {"EngineAbsent",
     [](DoctorFacts& f) {
         f.engines = {{{"trevix", true, ""}, {"ShellCheck", false, "Debian: shellcheck"}}};
     },
     Health::Advice, "ShellCheck is not here", "Debian: shellcheck"},
    {"NoLocalService", [](DoctorFacts& f) { f.localService = ""; }, Health::Advice,
     "trevix-local, is not installed", "whole package"},
};

INSTANTIATE_TEST_SUITE_P(All, DoctorLineOf, testing::ValuesIn(kCases),
                         [](const auto& each) { return std::string(each.param.name); });

TEST(Doctor, TheEnvironmentsAddressWinsAndIsSaidTo) {
    const auto lines = beyondWell(with([](DoctorFacts& f) { f.isBaseSet = true; }));
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_THAT(lines[0].what, HasSubstr("answers (BRASK_API_BASE names it)"));
    EXPECT_THAT(lines[1].what, HasSubstr("wins over your choice"));
    const auto wrong = with([](DoctorFacts& f) {
        f.isBaseSet = true;
        f.isAddress = false;
        f.place = "account";
    });
    EXPECT_THAT(only(wrong).todo, HasSubstr("Correct BRASK_API_BASE"));
}

TEST(Doctor, WithoutASessionBusNothingOnItIsSpokenOf) {
    auto facts = with([](DoctorFacts& f) { f.hasSessionBus = false; });
    for (const auto& line : doctorLines(facts)) {
        EXPECT_NE(line.area, "tray");
        EXPECT_NE(line.area, "accessibility");
        EXPECT_NE(line.area, "notifications");
    }
}

TEST(Doctor, WhatIsToBeDoneStandsUnderWhatItIsAbout) {
    EXPECT_EQ(doctorText({{"key", Health::Bad, "There is none.", "Get one."},
                          {"tray", Health::Advice, "No.", "Add one."}}),
              "BAD    key           There is none.\n"
              "                     -> Get one.\n"
              "advice tray          No.\n"
              "                     -> Add one.\n");
}

TEST(Doctor, AdviceIsNoIllness) {
    EXPECT_TRUE(isHealthy({{"a", Health::Advice, "", "x"}, {"b", Health::Good, "", ""}}));
    EXPECT_FALSE(isHealthy({{"a", Health::Advice, "", "x"}, {"b", Health::Bad, "", "x"}}));
}

TEST(Doctor, SpeaksToProgramsInOneLine) {
    const std::string line = doctorJson({{"key", Health::Bad, "Say \"no\"\n.", "Do."}});
    EXPECT_EQ(line.find('\n'), std::string::npos);
    EXPECT_EQ(
        json::parse(line),
        (json{
            {"healthy", false},
            {"lines",
             {{{"area", "key"}, {"health", "bad"}, {"what", "Say \"no\"\n."}, {"todo", "Do."}}}}}));
}

TEST(WithoutHome, WritesATilde) {
    EXPECT_EQ(withoutHome("/home/me/.brask/key: /home/me", "/home/me"), "~/.brask/key: ~");
    EXPECT_EQ(withoutHome("/home/meadow/x", "/home/me"), "/home/meadow/x");
    EXPECT_EQ(withoutHome("/x", ""), "/x");
    EXPECT_EQ(withoutHome("/x", "/"), "/x");
}

TEST(NotifierIn, IsReadFromTheAnswerOfTheBus) {
    const std::string head = "method return time=1.2 sender=:1.4 -> destination=:1.9 serial=5\n";
    EXPECT_EQ(notifierIn(head + "   string \"dunst\"\n   string \"knopwob\"\n"
                                "   string \"1.9.0 (2022-06-27)\"\n   string \"1.2\"\n"),
              "dunst 1.9.0 (2022-06-27)");
    EXPECT_EQ(notifierIn(head + "   string \"Plasma\"\n   string \"KDE\"\n   string \"\"\n"),
              "Plasma");
    EXPECT_EQ(notifierIn(head + "   string \"e\x1b[31mvil\"\n   string \"\"\n   string \"1\"\n"),
              "e [31mvil 1");
    for (const std::string& other :
         {std::string(), head, head + "   string \"dunst\"\n", std::string("string \"")}) {
        EXPECT_EQ(notifierIn(other), "") << other;
    }
}

TEST(TextsInReply, AreThoseOfAListToo) {
    EXPECT_THAT(textsInReply("method return\n   array [\n      string \"http://proxy:8080\"\n"
                             "      string \"direct://\"\n   ]\n"),
                ElementsAre("http://proxy:8080", "direct://"));
    EXPECT_THAT(textsInReply("   array [\n   ]\n"), IsEmpty());
}

TEST(EnginesOf, AreReadFromTheServicesOwnTable) {
    const auto engines = enginesOf(R"({"engines": [
        {"name": "A", "here": true, "obtain": "x"},
        {"name": "B", "here": false, "obtain": "Debian: b"},
        {"name": "C", "here": false, "obtain": "Debian: c", "trouble": "C is too old"},
        7, {"name": 8, "here": "yes"}]})");
    ASSERT_TRUE(engines.has_value());
    ASSERT_EQ(engines->size(), 4U);
    EXPECT_TRUE((*engines)[0].isPresent);
    EXPECT_EQ((*engines)[1].remedy, "Debian: b");
    EXPECT_EQ((*engines)[2].remedy, "C is too old");
    EXPECT_FALSE((*engines)[3].isPresent);
    for (const char* other : {"", "[]", "{}", R"({"engines": 1})", "{"}) {
        EXPECT_FALSE(enginesOf(other).has_value()) << other;
    }
}

} // namespace
} // namespace kelvane
