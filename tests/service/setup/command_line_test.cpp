#include "service/setup/command_line.h"

#include <gtest/gtest.h>

namespace trevix {
namespace {

CommandLine parsed(const std::vector<std::string>& arguments) {
    const auto result = parseCommandLine(arguments);
    EXPECT_TRUE(std::holds_alternative<CommandLine>(result));
    return std::get<CommandLine>(result);
}

TEST(CommandLineOptions, WithoutArgumentsEverythingIsTheDefault) {
    EXPECT_EQ(parsed({}), CommandLine{});
}

TEST(CommandLineOptions, EveryOptionIsTaken) {
    CommandLine expected;
    expected.port = 0;
    expected.data = "/d";
    expected.key = "trevix_key";
    expected.catalog = "/c.json";
    expected.socket = "/s";
    expected.queue = 3;
    expected.keepDays = 0;
    EXPECT_EQ(parsed({"--port", "0", "--data", "/d", "--key", "trevix_key", "--catalog", "/c.json",
                      "--socket", "/s", "--queue", "3", "--keep-days", "0"}),
              expected);
    EXPECT_EQ(parsed({"--port=0", "--data=/d", "--key=trevix_key", "--catalog=/c.json",
                      "--socket=/s", "--queue=3", "--keep-days=0"}),
              expected);
}

TEST(CommandLineOptions, TheWorkIsKeptAWeekUnlessOneSaysOtherwise) {
    EXPECT_EQ(parsed({}).keepWorkDays, 7);
    EXPECT_EQ(parsed({"--keep-work", "0"}).keepWorkDays, 0);
    EXPECT_EQ(parsed({"--keep-work=30"}).keepWorkDays, 30);
    EXPECT_NE(usageText().find("--keep-work"), std::string_view::npos);
}

TEST(CommandLineOptions, EnginesArePrintedForPeopleOrPrograms) {
    EXPECT_EQ(parsed({"--engines"}).action, CommandLine::Action::engines);
    EXPECT_FALSE(parsed({"--engines"}).json);
    EXPECT_TRUE(parsed({"--engines", "--json"}).json);
    EXPECT_TRUE(parsed({"--json", "--engines"}).json);
    EXPECT_EQ(std::get<UsageError>(parseCommandLine({"--json"})).text,
              "--json goes with --engines");
    EXPECT_EQ(std::get<UsageError>(parseCommandLine({"--engines=all"})).text,
              "unknown option --engines=all");
    EXPECT_NE(usageText().find("--engines"), std::string_view::npos);
}

TEST(CommandLineOptions, ServersOfTheUsersOwnAreOffUntilNamed) {
    EXPECT_FALSE(parsed({}).judge.has_value());
    EXPECT_FALSE(parsed({}).languageTool.has_value());
    const CommandLine line = parsed({"--judge", "http://127.0.0.1:11434", "--model=tiny:1b",
                                     "--judge-elsewhere", "--languagetool=http://localhost:8081"});
    EXPECT_EQ(line.judge, "http://127.0.0.1:11434");
    EXPECT_EQ(line.model, "tiny:1b");
    EXPECT_TRUE(line.judgeElsewhere);
    EXPECT_EQ(line.languageTool, "http://localhost:8081");
    for (const char* option : {"--judge URL", "--model NAME", "--judge-elsewhere",
                               "--languagetool URL", "TREVIX_JUDGE_KEY"}) {
        EXPECT_NE(usageText().find(option), std::string_view::npos) << option;
    }
}

TEST(CommandLineOptions, TheEndMayComeByItself) {
    EXPECT_EQ(parsed({}).idleExit, 0);
    EXPECT_FALSE(parsed({}).withParent);
    EXPECT_EQ(parsed({"--idle-exit", "300"}).idleExit, 300);
    EXPECT_EQ(parsed({"--idle-exit=1"}).idleExit, 1);
    EXPECT_TRUE(parsed({"--with-parent"}).withParent);
    for (const char* option : {"--idle-exit SECONDS", "--with-parent"}) {
        EXPECT_NE(usageText().find(option), std::string_view::npos) << option;
    }
}

std::string problemOf(const std::vector<std::string>& arguments) {
    const auto result = parseCommandLine(arguments);
    const auto* error = std::get_if<UsageError>(&result);
    return error != nullptr ? error->text : "";
}

TEST(CommandLineOptions, AProgramOfATeamIsToldWhatItDoes) {
    CommandLine expected;
    expected.store = "postgresql://db/trevix";
    EXPECT_EQ(parsed({"--store", "postgresql://db/trevix"}), expected);
    EXPECT_EQ(parsed({"--store", "postgresql://db/trevix", "--role=both"}), expected);
    expected.role = CommandLine::Role::worker;
    EXPECT_EQ(parsed({"--role", "worker", "--store=postgresql://db/trevix"}), expected);
    expected.role = CommandLine::Role::api;
    expected.listen = "10.0.0.5";
    expected.publicUrl = "http://judge.example.org:8797";
    expected.plain = true;
    EXPECT_EQ(parsed({"--role=api", "--store=postgresql://db/trevix", "--listen=10.0.0.5",
                      "--plain", "--public-url", "http://judge.example.org:8797"}),
              expected);
    EXPECT_EQ(parsed({"--store=postgresql://db/trevix", "--listen=127.0.0.2"}).listen, "127.0.0.2");
}

TEST(CommandLineOptions, NothingGoesUnencryptedBeyondThisMachineUnlessOneSaysSo) {
    const std::string store = "--store=postgresql://db/trevix";
    const std::string url = "--public-url=http://judge.example.org";
    EXPECT_NE(problemOf({store, "--listen=0.0.0.0", url}).find("--plain"), std::string::npos);
    EXPECT_EQ(problemOf({store, "--listen=0.0.0.0", url, "--plain"}), "");
    EXPECT_EQ(problemOf({store, "--listen=0.0.0.0", "--plain"}),
              "--listen beyond this machine needs --public-url");
    EXPECT_EQ(problemOf({store, "--plain"}), "--plain goes with a --listen beyond this machine");
    EXPECT_EQ(problemOf({store, "--plain", "--listen=127.0.0.1"}),
              "--plain goes with a --listen beyond this machine");
}

TEST(CommandLineOptions, WhatIsATeamsGoesWithItsStoreAlone) {
    const std::string store = "--store=postgresql://db/trevix";
    EXPECT_EQ(problemOf({"--role=worker"}), "--role goes with --store");
    EXPECT_EQ(problemOf({"--listen=127.0.0.1"}), "--listen goes with --store");
    EXPECT_EQ(problemOf({"--public-url=https://a"}), "--public-url goes with --store");
    EXPECT_EQ(problemOf({"--plain"}), "--plain goes with --listen");
    EXPECT_NE(problemOf({store, "--key=trevix_key"}).find("keys --help"), std::string::npos);
    EXPECT_EQ(problemOf({store, "--print-key"}), "--print-key does not go with --store");
    EXPECT_EQ(problemOf({store, "--idle-exit=5"}), "--idle-exit does not go with --store");
    EXPECT_NE(problemOf({store, "--role=worker", "--listen=127.0.0.1"}), "");
    EXPECT_NE(problemOf({store, "--role=worker", "--socket=/s"}), "");
    EXPECT_EQ(problemOf({store, "--role=all"}), "--role is api, worker or both");
    EXPECT_NE(problemOf({"--store=runs.db"}), "");
    EXPECT_NE(problemOf({store, "--listen=localhost"}), "");
    EXPECT_NE(problemOf({store, "--public-url=judge.example.org"}), "");
}

TEST(CommandLineOptions, HelpAndVersionWinOverWhatFollows) {
    EXPECT_EQ(parsed({"--help", "--nonsense"}).action, CommandLine::Action::help);
    EXPECT_EQ(parsed({"-h"}).action, CommandLine::Action::help);
    EXPECT_EQ(parsed({"--version"}).action, CommandLine::Action::version);
    EXPECT_EQ(parsed({"--print-key", "--data", "/d"}).action, CommandLine::Action::printKey);
}

TEST(CommandLineOptions, WhatCannotBeUsedIsNamed) {
    const struct {
        std::vector<std::string> arguments;
        const char* text;
    } cases[] = {
        {{"--judge", "http://127.0.0.1:1"}, "--judge and --model go together"},
        {{"--model", "m"}, "--judge and --model go together"},
        {{"--judge-elsewhere"}, "--judge-elsewhere goes with --judge"},
        {{"--judge="}, "--judge needs a value"},
        {{"--judge", "u", "--model"}, "--model needs a value"},
        {{"--judge-elsewhere=yes"}, "unknown option --judge-elsewhere=yes"},
        {{"--nonsense"}, "unknown option --nonsense"},
        {{"stray"}, "unknown option stray"},
        {{"--nonsense=1"}, "unknown option --nonsense=1"},
        {{"--port"}, "--port needs a value"},
        {{"--port", "65536"}, "--port needs a number from 0 to 65535"},
        {{"--port", "-1"}, "--port needs a number from 0 to 65535"},
        {{"--port", "80x"}, "--port needs a number from 0 to 65535"},
        {{"--port", ""}, "--port needs a number from 0 to 65535"},
        {{"--queue", "0"}, "--queue needs a number from 1 to 4096"},
        {{"--queue", "99999"}, "--queue needs a number from 1 to 4096"},
        {{"--keep-work", "366"}, "--keep-work needs a number from 0 to 365"},
        {{"--keep-days", "-3"}, "--keep-days needs a number from 0 to 36500"},
        {{"--idle-exit", "0"}, "--idle-exit needs a number from 1 to 86400"},
        {{"--idle-exit", "86401"}, "--idle-exit needs a number from 1 to 86400"},
        {{"--idle-exit", "soon"}, "--idle-exit needs a number from 1 to 86400"},
        {{"--idle-exit"}, "--idle-exit needs a value"},
        {{"--metrics", "9100"}, "--metrics goes with --store"},
        {{"--metrics", "many"}, "--metrics needs a number from 0 to 65535"},
        {{"--log", "xml"}, "--log is text or json"},
        {{"--with-parent=1"}, "unknown option --with-parent=1"},
        {{"--data", ""}, "--data needs a value"},
        {{"--key", "short"}, "--key needs 8 to 512 visible ASCII characters without \"%\""},
        {{"--key", "with a blank"}, "--key needs 8 to 512 visible ASCII characters without \"%\""},
    };
    for (const auto& [arguments, text] : cases) {
        const auto result = parseCommandLine(arguments);
        ASSERT_TRUE(std::holds_alternative<UsageError>(result)) << text;
        EXPECT_EQ(std::get<UsageError>(result).text, text);
    }
}

TEST(DataFolderChoice, FollowsTheOptionThenTheDesktopThenHome) {
    EXPECT_EQ(dataFolder("/mine", "/xdg", "/home/u"), "/mine");
    EXPECT_EQ(dataFolder(std::nullopt, "/xdg", "/home/u"), "/xdg/trevix-local");
    EXPECT_EQ(dataFolder(std::nullopt, "relative", "/home/u"), "/home/u/.local/share/trevix-local");
    EXPECT_EQ(dataFolder(std::nullopt, "", "/home/u"), "/home/u/.local/share/trevix-local");
    EXPECT_EQ(dataFolder(std::nullopt, std::nullopt, "/home/u"),
              "/home/u/.local/share/trevix-local");
    EXPECT_EQ(dataFolder(std::nullopt, std::nullopt, std::nullopt), std::nullopt);
    EXPECT_EQ(dataFolder(std::nullopt, std::nullopt, ""), std::nullopt);
}

} // namespace
} // namespace trevix
