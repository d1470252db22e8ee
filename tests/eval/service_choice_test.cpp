#include "eval/service_choice.h"

#include "platform/fake/fake_file_system.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace kelvane {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using Where = ServiceChoice::Where;

const char* const kHere = "service: this machine\n"
                          "base: http+unix://%2Frun%2Fuser%2F1000%2Ftrevix-local%2Fapi.sock\n"
                          "key_file: /home/me/.local/share/trevix-local/key\n";

ServiceChoice thisMachine() {
    return {.where = Where::ThisMachine,
            .base = "http+unix://%2Frun%2Fuser%2F1000%2Ftrevix-local%2Fapi.sock",
            .keyFile = "/home/me/.local/share/trevix-local/key",
            .program = {}};
}

std::vector<std::string> problemsOf(std::string_view text) {
    return parseServiceChoice(text, "service").problems;
}

TEST(ServiceChoiceText, IsReadAsItWasWritten) {
    ServiceChoice withProgram = thisMachine();
    withProgram.program = "/usr/bin/trevix-local";
    for (const auto& choice :
         {thisMachine(), withProgram,
          ServiceChoice{.where = Where::Account, .base = {}, .keyFile = {}, .program = {}},
          ServiceChoice{.where = Where::Later, .base = {}, .keyFile = {}, .program = {}}}) {
        const auto read = parseServiceChoice(serviceChoiceText(choice), "service");
        EXPECT_EQ(read.choice, choice) << serviceChoiceText(choice);
        EXPECT_THAT(read.problems, IsEmpty());
    }
    EXPECT_EQ(serviceChoiceText({}), "");
    EXPECT_EQ(parseServiceChoice("base: http://127.0.0.1:8797", "service").choice.base,
              "http://127.0.0.1:8797");
}

TEST(ServiceChoiceText, MayHaveRemarksBlankLinesAndOtherLineEnds) {
    const auto read = parseServiceChoice("# mine\r\n\r\n  service:   account  \r\n", "service");
    EXPECT_EQ(read.choice.where, Where::Account);
    EXPECT_THAT(read.problems, IsEmpty());
    EXPECT_EQ(parseServiceChoice("service: later", "service").choice.where, Where::Later);
    EXPECT_EQ(parseServiceChoice("service:later", "service").choice.where, Where::Later);
    EXPECT_EQ(parseServiceChoice("", "service").choice.where, Where::Unasked);
    EXPECT_THAT(problemsOf(""), IsEmpty());
}

TEST(ServiceChoiceText, ThatCannotBeUsedIsNamedByItsLine) {
    EXPECT_THAT(problemsOf("# x\nnonsense\n"), ElementsAre("service:2: not a “name: value” line"));
    EXPECT_THAT(problemsOf("service: elsewhere\n"),
                ElementsAre("service:1: service is “this machine”, “account” or “later”"));
    EXPECT_THAT(problemsOf("service:\n"), SizeIs(1));
    EXPECT_THAT(problemsOf("service: later\nkey: secret\n"),
                ElementsAre("service:2: there is no setting “key”"));
    EXPECT_THAT(problemsOf("base: https://elsewhere.example\n"),
                ElementsAre("service:1: base is no address of this machine"));
    EXPECT_THAT(problemsOf("base: http://127.0.0.1.elsewhere.example\n"),
                ElementsAre("service:1: base is no address of this machine"));
    EXPECT_THAT(problemsOf("key_file: key\nprogram: trevix-local\n"),
                ElementsAre("service:1: key_file is no absolute path",
                            "service:2: program is no absolute path"));
    EXPECT_THAT(problemsOf("service: this machine\n"),
                ElementsAre("service: this machine needs base and key_file; start Kelvane and "
                            "choose “Grade on this machine” again"));
    EXPECT_THAT(problemsOf("service: this machine\nbase: http://127.0.0.1:8797\n"), SizeIs(1));
    EXPECT_THAT(problemsOf("service: \xff\n"),
                ElementsAre("service: not a file of “name: value” lines"));
    EXPECT_THAT(problemsOf(std::string(70'000, 'a')),
                ElementsAre("service: not a file of “name: value” lines"));
}

TEST(ServiceChoiceText, OfUpTo64KiBIsRead) {
    std::string text = "service: later\n";
    text.resize(std::size_t{64} << 10U, '\n');
    EXPECT_EQ(parseServiceChoice(text, "service").choice.where, Where::Later);
    EXPECT_THAT(problemsOf(text), IsEmpty());
    text += '\n';
    EXPECT_EQ(parseServiceChoice(text, "service").choice.where, Where::Unasked);
    EXPECT_THAT(problemsOf(text), ElementsAre("service: not a file of “name: value” lines"));
}

TEST(ServiceChoiceText, OfWhichOneLineIsWrongIsOtherwiseUsed) {
    const auto read = parseServiceChoice(std::string(kHere) + "colour: red\n", "service");
    EXPECT_EQ(read.choice, thisMachine());
    EXPECT_THAT(read.problems, ElementsAre("service:4: there is no setting “colour”"));
}

class ServiceChoiceFile : public testing::Test {
protected:
    Journal journal;
    FakeFileSystem files{journal};
};

TEST_F(ServiceChoiceFile, IsTheOneInTheDataFolder) {
    EXPECT_EQ(readServiceChoice(files, "/home/me/.brask").choice.where, Where::Unasked);
    EXPECT_THAT(readServiceChoice(files, "/home/me/.brask").problems, IsEmpty());
    files.files["/home/me/.brask/service"] = kHere;
    const auto read = readServiceChoice(files, "/home/me/.brask");
    EXPECT_EQ(read.choice, thisMachine());
    EXPECT_THAT(read.problems, IsEmpty());
}

TEST_F(ServiceChoiceFile, ThatSomebodyElseCanHaveWrittenIsNotUsed) {
    files.files["/b/service"] = kHere;
    for (const FileGuard& guard : {FileGuard{.isOurs = false}, FileGuard{.othersWrite = true}}) {
        files.guards["/b/service"] = guard;
        const auto read = readServiceChoice(files, "/b");
        EXPECT_EQ(read.choice, ServiceChoice{});
        EXPECT_THAT(read.problems, ElementsAre(HasSubstr("somebody else could have written it")));
    }
    // It holds no secret: others may look.
    files.guards["/b/service"] = {.othersRead = true};
    EXPECT_EQ(readServiceChoice(files, "/b").choice, thisMachine());
}

TEST_F(ServiceChoiceFile, KeysAreTakenFromFilesThatAreClosedToOthers) {
    files.files["/d/key"] = "trevix_local_0123\n";
    EXPECT_EQ(readChosenKey(files, "/d/key").key, "trevix_local_0123");
    EXPECT_EQ(readChosenKey(files, "/d/key").problem, "");
    for (const FileGuard& guard : {FileGuard{.isOurs = false}, FileGuard{.othersRead = true},
                                   FileGuard{.othersWrite = true}}) {
        files.guards["/d/key"] = guard;
        EXPECT_EQ(readChosenKey(files, "/d/key").key, std::nullopt);
        EXPECT_THAT(readChosenKey(files, "/d/key").problem,
                    HasSubstr("others may read or write it"));
    }
    files.guards.clear();
    for (const char* content : {"", " \n", "\xff\xfe"}) {
        files.files["/d/key"] = content;
        EXPECT_EQ(readChosenKey(files, "/d/key").key, std::nullopt);
        EXPECT_EQ(readChosenKey(files, "/d/key").problem, "there is no key in /d/key");
    }
    EXPECT_EQ(readChosenKey(files, "/d/none").problem, "there is no key in /d/none");
}

} // namespace
} // namespace kelvane
