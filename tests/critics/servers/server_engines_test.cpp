// Who of the user's servers is asked about which work, and what when they misbehave?

#include "critics/servers/server_engines.h"

#include "critics/engines/engine_list.h"
#include "critics/engines/joined_engines.h"
#include "critics/findings/stop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

namespace trevix {
namespace {

using End = ServerAnswer::End;
using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

Part part(std::string text, std::string type = "text/plain") {
    Part made;
    made.mimeType = std::move(type);
    made.name = "work";
    made.text = std::move(text);
    return made;
}

ServerChoices choices(bool tool = false) {
    ServerWishes wishes;
    wishes.judge = "http://127.0.0.1:11434";
    wishes.model = "tiny:1b";
    if (tool) wishes.languageTool = "http://127.0.0.1:8081";
    return std::get<ServerChoices>(chosenServers(wishes));
}

ServerAnswer noRemarks(milliseconds took = milliseconds(5)) {
    const nlohmann::json body = {
        {"choices", nlohmann::json::array({{{"finish_reason", "stop"},
                                            {"message", {{"content", R"({"findings":[]})"}}}}})}};
    return {End::answered, 200, body.dump(), took};
}

std::string longWork(std::size_t windows) {
    std::string text;
    while (text.size() <= (windows - 1) * kModelWindow + 100) text += "The garden is open today.\n";
    return text;
}

TEST(ChosenServers, AreNoneUntilAskedFor) {
    EXPECT_EQ(std::get<ServerChoices>(chosenServers({})), ServerChoices{});
    FakeServers servers;
    ServerEngines room({}, servers);
    EXPECT_THAT(room.enginesFor(part("Some words."), "text"), IsEmpty());
    EXPECT_THAT(room.absentFor(part("Some words."), "text"), IsEmpty());
    EXPECT_EQ(room.look("model", part("Some words."), "text", {}), Critique());
    EXPECT_EQ(room.look("languagetool", part("Some words."), "text", {}), Critique());
    for (const EngineInfo& engine : room.list()) {
        EXPECT_FALSE(engine.here) << engine.id;
        EXPECT_THAT(engine.obtain, HasSubstr("URL"));
    }
    EXPECT_THAT(servers.requests(), IsEmpty()) << "nobody is asked anything unasked";
}

TEST(ChosenServers, WhatCannotBeIsNamedByItsOption) {
    ServerWishes far;
    far.judge = "http://10.0.0.7:11434";
    far.model = "m";
    EXPECT_THAT(std::get<AddressError>(chosenServers(far)).text, HasSubstr("--judge: work stays"));
    ServerWishes tool;
    tool.languageTool = "https://api.example.org";
    tool.elsewhere = true;
    EXPECT_THAT(std::get<AddressError>(chosenServers(tool)).text,
                HasSubstr("--languagetool: work stays"))
        << "leave to go elsewhere is the model's alone";
    ServerWishes key;
    key.judge = "http://127.0.0.1:1";
    key.model = "m";
    key.key = "a\r\nX: y";
    EXPECT_THAT(std::get<AddressError>(chosenServers(key)).text, HasSubstr("TREVIX_JUDGE_KEY"));
}

TEST(ServerEngines, TheModelIsAskedAboutWhatIsWritten) {
    FakeServers servers;
    const ServerEngines room(choices(true), servers);
    EXPECT_THAT(room.enginesFor(part("Words."), "text"), ElementsAre("languagetool", "model"));
    EXPECT_THAT(room.enginesFor(part("# W"), "Document"), ElementsAre("languagetool", "model"));
    EXPECT_THAT(room.enginesFor(part("a = 1", "text/x-code"), ""), ElementsAre("model"));
    EXPECT_THAT(room.enginesFor(part("a,b", "text/csv"), ""), ElementsAre("model"));
    EXPECT_THAT(room.enginesFor(part(""), "text"), IsEmpty());
    Part picture;
    picture.mimeType = "image/png";
    picture.isText = false;
    picture.bytes = "PNG";
    EXPECT_THAT(room.enginesFor(picture, "image"), IsEmpty());
    ASSERT_THAT(room.absentFor(picture, "image"), SizeIs(1));
    EXPECT_EQ(room.absentFor(picture, "image")[0].why,
              "the model tiny:1b is asked about text, code and tables only");
}

TEST(ServerEngines, LongWorkIsAskedAboutInWindowsAndTheRestIsAGap) {
    FakeServers servers;
    servers.answer = [](const ServerRequest&) { return noRemarks(); };
    ServerEngines room(choices(), servers);
    EXPECT_THAT(room.look("model", part(longWork(3)), "text", {}).coverage.notChecked, IsEmpty());
    EXPECT_THAT(servers.journal(), SizeIs(3));
    const Critique longer = room.look("model", part(longWork(20)), "text", {});
    EXPECT_THAT(servers.journal(), SizeIs(3 + kMostModelWindows));
    ASSERT_THAT(longer.coverage.notChecked, SizeIs(1));
    EXPECT_EQ(longer.coverage.notChecked[0].why,
              "it is asked about the first 6 of 20 passages only");
}

TEST(ServerEngines, SixtyFourMebibytesOfAnythingAreAskedAboutInPart) {
    // As much as a body may hold; of a text of line breaks a table of lines would take half a
    // gigabyte.
    constexpr std::size_t kMost = std::size_t{64} << 20U;
    FakeServers servers;
    servers.answer = [](const ServerRequest& request) {
        return request.path == "/v2/check"
                   ? ServerAnswer{End::answered, 200, R"({"matches":[]})", milliseconds(5)}
                   : noRemarks();
    };
    ServerEngines room(choices(true), servers);
    for (const char filler : {'a', '\n', '\0', '\xFF'}) {
        Part work = part("Some words.\n" + std::string(kMost, filler));
        for (const char* engine : {"model", "languagetool"}) {
            const Critique critique = room.look(engine, work, "text", {});
            EXPECT_THAT(critique.coverage.checkedBy, SizeIs(1)) << engine;
            EXPECT_THAT(critique.coverage.notChecked, SizeIs(1)) << engine;
        }
    }
    for (const ServerRequest& request : servers.requests()) {
        EXPECT_LT(request.body.size(), std::size_t{1} << 20U);
    }
}

TEST(ServerEngines, OneThatHangsIsAskedOnce) {
    FakeServers servers;
    servers.answer = [](const ServerRequest&) { return noRemarks(milliseconds(10'000'000)); };
    ServerEngines room(choices(), servers);
    const Critique critique = room.look("model", part(longWork(4)), "text", {});
    EXPECT_THAT(servers.journal(), SizeIs(1));
    ASSERT_THAT(critique.coverage.notChecked, SizeIs(1));
    EXPECT_EQ(critique.coverage.notChecked[0].why,
              "the model tiny:1b was asked, but it did not answer within 60 s");
}

TEST(ServerEngines, ASlowOneHasSoMuchTimeForAPart) {
    FakeServers servers;
    servers.answer = [](const ServerRequest&) { return noRemarks(milliseconds(50'000)); };
    ServerEngines room(choices(), servers);
    const Critique critique = room.look("model", part(longWork(4)), "text", {});
    const auto requests = servers.requests();
    ASSERT_THAT(requests, SizeIs(2));
    EXPECT_EQ(requests[0].time, kModelAnswerTime);
    EXPECT_EQ(requests[1].time, kModelPartTime - milliseconds(50'000));
    ASSERT_THAT(critique.coverage.notChecked, SizeIs(1));
    EXPECT_EQ(critique.coverage.notChecked[0].why,
              "of 4 passages it judged 1: it did not answer within 40 s");
}

TEST(ServerEngines, OneQuestionAtATimeAndACancelWhileWaiting) {
    FakeServers servers;
    std::mutex mutex;
    std::condition_variable changed;
    bool inside = false;
    bool free = false;
    servers.answer = [&](const ServerRequest&) {
        std::unique_lock lock(mutex);
        inside = true;
        changed.notify_all();
        changed.wait(lock, [&] { return free; });
        return noRemarks();
    };
    ServerEngines room(choices(), servers);
    std::thread first([&] { (void)room.look("model", part("Some words."), "text", {}); });
    {
        std::unique_lock lock(mutex);
        changed.wait(lock, [&] { return inside; });
    }
    const auto stop = std::make_unique<StopSource>();
    stop->ask();
    const Critique second = room.look("model", part("Other words."), "text", stop->token());
    EXPECT_EQ(second, Critique());
    EXPECT_THAT(servers.journal(), SizeIs(1));
    {
        const std::lock_guard lock(mutex);
        free = true;
    }
    changed.notify_all();
    first.join();
    EXPECT_THAT(room.look("model", part("Other words."), "text", {}).coverage.checkedBy, SizeIs(1));
}

TEST(ServerEngines, OfManyPartsTheModelSeesTheFirst) {
    FakeServers servers;
    const ServerEngines room(choices(true), servers);
    EXPECT_EQ(room.mostParts("model"), kMostModelParts);
    EXPECT_EQ(room.mostParts("languagetool"), kMostPartsForEngines);
    ServerEngines inner(choices(true), servers);
    const JoinedEngines joined({&inner});
    EXPECT_EQ(joined.mostParts("model"), kMostModelParts);
    EXPECT_EQ(joined.mostParts("shellcheck"), kMostPartsForEngines);
}

TEST(ServerEngines, TheListTellsWhoAnswers) {
    FakeServers servers;
    servers.answer = [](const ServerRequest& request) {
        return request.path == "/v1/models" ? ServerAnswer{End::answered, 200, "{}", {}}
                                            : ServerAnswer{};
    };
    const ServerEngines room(choices(true), servers);
    const auto list = room.list();
    ASSERT_THAT(list, SizeIs(2));
    EXPECT_EQ(list[0].trouble, "LanguageTool does not answer at 127.0.0.1:8081");
    EXPECT_FALSE(list[0].here);
    EXPECT_TRUE(list[1].here);
    EXPECT_EQ(list[1].name, "the model tiny:1b");
    EXPECT_EQ(list[1].place, "127.0.0.1:11434");
    EXPECT_THAT(servers.journal(), ElementsAre("GET http://127.0.0.1:8081/v2/languages",
                                               "GET http://127.0.0.1:11434/v1/models"));
}

TEST(FakeServers, KeepThePromisesOfServers) {
    FakeServers servers;
    ServerRequest request;
    request.body = "{}";
    request.time = milliseconds(10);
    request.mostBytes = 3;
    EXPECT_EQ(servers.ask(request, {}).end, End::notReached);
    servers.answer = [](const ServerRequest&) {
        return ServerAnswer{End::answered, 200, "abcd", milliseconds(1)};
    };
    EXPECT_EQ(servers.ask(request, {}).end, End::tooMuch);
    EXPECT_EQ(servers.ask(request, {}).body, "abc");
    servers.answer = [](const ServerRequest&) {
        return ServerAnswer{End::answered, 200, "", milliseconds(11)};
    };
    EXPECT_EQ(servers.ask(request, {}).end, End::outOfTime);
    const auto stop = std::make_unique<StopSource>();
    stop->ask();
    EXPECT_EQ(servers.ask(request, stop->token()).end, End::cancelled);
}

} // namespace
} // namespace trevix
