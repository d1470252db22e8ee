#include "app/grading_place.h"

#include "eval/chosen_environment.h"
#include "platform/fake/fakes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace kelvane {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using Where = ServiceChoice::Where;

constexpr const char* kService = "/usr/bin/trevix-local";
constexpr const char* kSocketBase = "http+unix://%2Frun%2Fuser%2F7%2Ftrevix-local%2Fapi.sock";

/// A package's program in a session, with or without systemd.
class GradingPlaceTest : public testing::Test {
protected:
    GradingPlaceTest() {
        platform.environment.variables = {{"HOME", "/home/me"}, {"XDG_RUNTIME_DIR", "/run/user/7"}};
        platform.files.folders = {"/home/me", "/run/user/7"};
        platform.files.files[kService] = "ELF";
        platform.processes.answer = [this](const ProcessRequest& request) {
            return answer(request);
        };
    }

    std::optional<ProcessResult> answer(const ProcessRequest& request) {
        if (request.program == kService) {
            if (!makesKey) return ProcessResult{.status = 1, .output = ""};
            platform.files.files[std::filesystem::path(request.arguments.at(2)) / "key"] =
                "trevix_local_new\n";
            return ProcessResult{.status = 0, .output = "trevix_local_new\n"};
        }
        const std::string& command = request.arguments.at(1);
        const auto has = [&](const char* words) {
            return command.find(words) != std::string::npos;
        };
        if (has("launchctl")) return ProcessResult{.status = 0, .output = ""};
        if (has("cat trevix-local.service")) {
            return ProcessResult{.status = unit.empty() ? 1 : 0, .output = unit};
        }
        if (has("show-environment")) return ProcessResult{.status = 0, .output = managers};
        if (has("is-active")) return ProcessResult{.status = isEnabled ? 0 : 3, .output = ""};
        if (has("is-enabled")) return ProcessResult{.status = wasEnabled ? 0 : 1, .output = ""};
        if (has("enable --now")) return ProcessResult{.status = enabling, .output = ""};
        return ProcessResult{.status = 0, .output = ""};
    }

    GradingPlace& place() {
        if (!m_place) {
            m_place.emplace(GradingPlace::Ports{.files = platform.files,
                                                .processes = platform.processes,
                                                .programs = platform.programs,
                                                .environment = environment},
                            places);
        }
        return *m_place;
    }
    void quit() { m_place.reset(); }

    std::string chosen() const {
        const auto found = platform.files.files.find("/home/me/.brask/service");
        return found == platform.files.files.end() ? "" : found->second;
    }
    void withSystemd() { unit = "[Service]\nExecStart=/usr/bin/trevix-local --idle-exit 300\n"; }

    std::size_t commands(const char* words) const {
        std::size_t count = 0;
        for (const auto& entry : platform.journal.entries()) {
            count += entry.find(words) != std::string::npos ? 1U : 0U;
        }
        return count;
    }

    FakePlatform platform;
    ChosenEnvironment environment{platform.environment};
    GradingPlace::Places places{.home = "/home/me",
                                .braskHome = "/home/me/.brask",
                                .bundle = "/usr/lib/kelvane/Kelvane.app",
                                .loginItem = LoginItem::AutostartEntry,
                                .bundleId = "example.kelvane"};
    std::string unit;
    std::string managers = "HOME=/home/me\n";
    bool makesKey = true;
    bool isEnabled = false;
    bool wasEnabled = false; ///< Before anybody listened.
    int enabling = 0;

private:
    std::optional<GradingPlace> m_place;
};

TEST_F(GradingPlaceTest, IsUnknownUntilSomethingSaysIt) {
    place().begin();
    EXPECT_TRUE(place().isUnknown());
    platform.environment.variables["BRASK_API_BASE"] = "";
    EXPECT_FALSE(place().isUnknown());
    platform.environment.variables.erase("BRASK_API_BASE");
    platform.environment.variables["BRASK_API_KEY"] = "k";
    EXPECT_FALSE(place().isUnknown());
    platform.environment.variables.erase("BRASK_API_KEY");
    platform.files.files["/home/me/.brask/key"] = "k\n";
    EXPECT_FALSE(place().isUnknown());
    platform.files.files.erase("/home/me/.brask/key");
    EXPECT_TRUE(place().isUnknown());
    place().decideLater();
    EXPECT_FALSE(place().isUnknown());
    EXPECT_THAT(chosen(), HasSubstr("service: later\n"));
}

TEST_F(GradingPlaceTest, WithSystemdTheSocketIsEnabledThere) {
    withSystemd();
    place().begin();
    EXPECT_EQ(place().useThisMachine(), std::nullopt);
    EXPECT_EQ(commands("enable --now trevix-local.socket"), 1U);
    EXPECT_EQ(platform.journal.count("keep "), 0U);
    EXPECT_EQ(environment.get("BRASK_API_BASE"), kSocketBase);
    EXPECT_EQ(environment.get("BRASK_API_KEY"), "trevix_local_new");
    const auto read = parseServiceChoice(chosen(), "service");
    EXPECT_THAT(read.problems, IsEmpty());
    EXPECT_EQ(read.choice, (ServiceChoice{.where = Where::ThisMachine,
                                          .base = kSocketBase,
                                          .keyFile = "/home/me/.local/share/trevix-local/key",
                                          .program = kService}));
}

TEST_F(GradingPlaceTest, AtTheNextStartItIsThereAtOnceAndNothingIsDoneTwice) {
    withSystemd();
    place().begin();
    ASSERT_EQ(place().useThisMachine(), std::nullopt);
    quit();
    environment.forget();
    isEnabled = true;
    platform.journal.clear();
    place().begin();
    EXPECT_EQ(environment.get("BRASK_API_BASE"), kSocketBase);
    EXPECT_EQ(environment.get("BRASK_API_KEY"), "trevix_local_new");
    EXPECT_FALSE(place().isUnknown());
    EXPECT_EQ(platform.journal.count("/bin/sh"), 0U) << "begin() reads files alone";
    place().look();
    EXPECT_EQ(commands("enable --now"), 0U);
    EXPECT_EQ(platform.journal.count("write"), 0U);
    EXPECT_EQ(place().problem(), "");
    platform.journal.clear();
    place().look();
    EXPECT_THAT(platform.journal.entries(), IsEmpty());
}

TEST_F(GradingPlaceTest, WhatTheManagersEnvironmentSaysIsWhereItsServiceKeepsTheKey) {
    withSystemd();
    platform.environment.variables["XDG_DATA_HOME"] = "/elsewhere";
    managers = "HOME=/home/me\nXDG_DATA_HOME=/data\nXDG_RUNTIME_DIR=/run/user/7\n";
    place().begin();
    ASSERT_EQ(place().useThisMachine(), std::nullopt);
    EXPECT_THAT(chosen(), HasSubstr("key_file: /data/trevix-local/key\n"));
}

TEST_F(GradingPlaceTest, WithoutSystemdItRunsTheServiceItselfAndEndsItWithItself) {
    place().begin();
    EXPECT_EQ(place().useThisMachine(), std::nullopt);
    EXPECT_EQ(platform.journal.entries().back().rfind("write /home/me/.brask/service", 0), 0U);
    EXPECT_EQ(platform.journal.count("keep /usr/bin/trevix-local --with-parent --port 0 --socket "
                                     "/run/user/7/trevix-local/api.sock --data "
                                     "/home/me/.local/share/trevix-local"),
              1U);
    place().look();
    EXPECT_EQ(platform.journal.count("keep "), 1U);
    quit();
    EXPECT_EQ(platform.journal.entries().back(), "end /usr/bin/trevix-local");
}

TEST_F(GradingPlaceTest, ASystemdThatCannotEnableItIsAsNone) {
    withSystemd();
    enabling = 1;
    place().begin();
    EXPECT_EQ(place().useThisMachine(), std::nullopt);
    EXPECT_EQ(platform.journal.count("keep "), 1U);
}

TEST_F(GradingPlaceTest, UnitsOfAnotherProgramAreNotUsed) {
    unit = "[Service]\nExecStart=/opt/other/trevix-local --idle-exit 300\n";
    place().begin();
    EXPECT_EQ(place().useThisMachine(), std::nullopt);
    EXPECT_EQ(commands("enable --now"), 0U);
    EXPECT_EQ(platform.journal.count("keep "), 1U);
}

TEST_F(GradingPlaceTest, WithoutARuntimeFolderTheSocketStandsBesideTheRuns) {
    platform.environment.variables.erase("XDG_RUNTIME_DIR");
    place().begin();
    EXPECT_EQ(place().useThisMachine(), std::nullopt);
    EXPECT_EQ(environment.get("BRASK_API_BASE"),
              "http+unix://%2Fhome%2Fme%2F.local%2Fshare%2Ftrevix-local%2Fapi.sock");
}

TEST_F(GradingPlaceTest, AnotherInstancesServiceIsSharedAndTakenOverWhenItIsGone) {
    platform.programs.served = {"/run/user/7/trevix-local/api.sock"};
    place().begin();
    EXPECT_EQ(place().useThisMachine(), std::nullopt);
    place().look();
    EXPECT_EQ(platform.journal.count("keep "), 0U);
    platform.programs.served.clear();
    place().look();
    EXPECT_EQ(platform.journal.count("keep "), 1U);
}

TEST_F(GradingPlaceTest, AServiceThatEndsIsStartedAnewButNotOnAndOn) {
    place().begin();
    EXPECT_EQ(place().useThisMachine(), std::nullopt);
    platform.programs.keepsRunning = false;
    int looks = 0;
    const auto startsAfter = [&](int count) {
        for (; looks < count; ++looks) place().look();
        return platform.journal.count("keep ");
    };
    // One look is passed, then two, four, eight, and fifteen each time from then on.
    EXPECT_EQ(startsAfter(1), 1U);
    EXPECT_EQ(startsAfter(2), 2U);
    EXPECT_EQ(startsAfter(5), 3U);
    EXPECT_EQ(startsAfter(10), 4U);
    EXPECT_EQ(startsAfter(34), 5U);
    EXPECT_EQ(startsAfter(35), 6U);
    EXPECT_EQ(startsAfter(50), 6U);
    EXPECT_EQ(startsAfter(51), 7U);
    platform.programs.keepsRunning = true;
    place().look();
    platform.programs.keepsRunning = false;
    EXPECT_EQ(startsAfter(53), 8U) << "one that ran begins with one again";
}

TEST_F(GradingPlaceTest, TheServiceIsFoundBesideTheBundleInThePackageWhereItWasAndOnThePath) {
    const auto found = [&](const std::filesystem::path& program) {
        quit();
        platform.files.files = {{program, "ELF"}, {"/home/me/.local/share/trevix-local/key", "k"}};
        platform.processes.answer = [](const ProcessRequest& request) {
            return ProcessResult{.status = request.program == "/bin/sh" ? 1 : 0, .output = "k\n"};
        };
        place().begin();
        EXPECT_EQ(place().useThisMachine(), std::nullopt) << program;
        return place().choice().program;
    };
    platform.environment.variables["PATH"] = "relative:/opt/bin:/sbin";
    for (const char* program : {"/usr/lib/kelvane/trevix-local", "/usr/bin/trevix-local",
                                "/opt/bin/trevix-local", "/sbin/trevix-local"}) {
        EXPECT_EQ(found(program), program);
    }
    quit();
    platform.files.files = {{"/far/trevix-local", "ELF"},
                            {"/home/me/.local/share/trevix-local/key", "k"},
                            {"/home/me/.brask/service",
                             "service: this machine\nbase: http+unix://%2Fx\n"
                             "key_file: /k\nprogram: /far/trevix-local\n"}};
    place().begin();
    place().look();
    EXPECT_EQ(place().problem(), "");
    EXPECT_EQ(place().choice().program, "/far/trevix-local");
}

TEST_F(GradingPlaceTest, WhyItCannotBeIsSaidAndNothingChanges) {
    platform.files.files.erase(kService);
    place().begin();
    EXPECT_THAT(place().useThisMachine().value_or(""), HasSubstr("is not installed"));
    EXPECT_EQ(place().choice(), ServiceChoice{});
    EXPECT_EQ(chosen(), "");
    EXPECT_EQ(environment.get("BRASK_API_BASE"), std::nullopt);
    platform.files.files[kService] = "ELF";
    makesKey = false;
    EXPECT_THAT(place().useThisMachine().value_or(""), HasSubstr("has no key"));
    EXPECT_EQ(chosen(), "");
    EXPECT_EQ(platform.journal.count("keep "), 0U);
}

TEST_F(GradingPlaceTest, WhatTheSystemDidNotStartIsNotLeftEnabled) {
    withSystemd();
    enabling = 1;
    for (const bool before : {true, false}) {
        wasEnabled = before;
        platform.journal.clear();
        place().begin();
        ASSERT_EQ(place().useThisMachine(), std::nullopt);
        EXPECT_EQ(platform.journal.count("keep "), 1U);
        EXPECT_EQ(commands("disable trevix-local.socket"), before ? 0U : 1U);
        quit();
    }
}

TEST_F(GradingPlaceTest, AnAccountEndsWhatThisMachineHad) {
    withSystemd();
    place().begin();
    ASSERT_EQ(place().useThisMachine(), std::nullopt);
    place().useAccount();
    EXPECT_EQ(commands("disable --now trevix-local.socket trevix-local-port.socket"), 1U);
    EXPECT_EQ(environment.get("BRASK_API_BASE"), std::nullopt);
    EXPECT_EQ(environment.get("BRASK_API_KEY"), std::nullopt);
    EXPECT_THAT(chosen(), HasSubstr("service: account\n"));
    EXPECT_THAT(chosen(), Not(HasSubstr("base:")));
}

TEST_F(GradingPlaceTest, AnAccountEndsTheServiceThatItRan) {
    place().begin();
    ASSERT_EQ(place().useThisMachine(), std::nullopt);
    place().useAccount();
    EXPECT_EQ(platform.journal.count("end /usr/bin/trevix-local"), 1U);
    place().look();
    EXPECT_EQ(platform.journal.count("keep "), 1U);
}

TEST_F(GradingPlaceTest, AnUninstallTakesBackWhatTheSystemHas) {
    withSystemd();
    place().begin();
    ASSERT_EQ(place().useThisMachine(), std::nullopt);
    platform.journal.clear();
    place().giveUp();
    EXPECT_EQ(commands("disable --now"), 1U);
    EXPECT_EQ(platform.journal.count("write"), 0U);
    place().look();
    EXPECT_EQ(platform.journal.count("keep "), 0U);
    EXPECT_EQ(commands("enable --now"), 0U);
}

TEST_F(GradingPlaceTest, AnAnswerPutOffLaterChangesNoChoice) {
    place().begin();
    place().useAccount();
    place().decideLater();
    EXPECT_THAT(chosen(), HasSubstr("service: account\n"));
}

TEST_F(GradingPlaceTest, ADiskThatTakesNothingIsSaidAndTheChoiceHoldsForNow) {
    platform.files.unwritable = {"/home/me/.brask/service"};
    place().begin();
    EXPECT_EQ(place().useThisMachine(), std::nullopt);
    EXPECT_EQ(environment.get("BRASK_API_BASE"), kSocketBase);
    EXPECT_THAT(place().problem(), HasSubstr("/home/me/.brask/service could not be written"));
}

TEST_F(GradingPlaceTest, OnMacOsALaunchAgentRunsIt) {
    places.loginItem = LoginItem::LaunchAgent;
    platform.environment.variables.erase("XDG_RUNTIME_DIR");
    place().begin();
    EXPECT_EQ(place().useThisMachine(), std::nullopt);
    const auto file = "/home/me/Library/LaunchAgents/example.kelvane.service.plist";
    EXPECT_EQ(platform.files.files[file],
              serviceAgent("example.kelvane.service", kService,
                           "/home/me/.local/share/trevix-local/api.sock"));
    EXPECT_EQ(commands("launchctl bootstrap"), 1U);
    EXPECT_EQ(platform.journal.count("keep "), 0U);
    place().useAccount();
    EXPECT_EQ(platform.files.files.count(file), 0U);
    EXPECT_EQ(commands("launchctl bootout"), 2U);
}

TEST(ManagerVariable, IsReadFromItsLine) {
    const char* const said = "HOME=/home/me\nXDG_DATA_HOME=/d=1\nPS1=$'\\e[0m'\n";
    EXPECT_EQ(managerVariable(said, "HOME"), "/home/me");
    EXPECT_EQ(managerVariable(said, "XDG_DATA_HOME"), "/d=1");
    EXPECT_EQ(managerVariable(said, "PS1"), "");
    EXPECT_EQ(managerVariable(said, "XDG_DATA"), "");
    EXPECT_EQ(managerVariable("", "HOME"), "");
}

} // namespace
} // namespace kelvane
