#include "app/plain_http_question.h"

#include "platform/fake/fakes.h"
#include "platform/ports/quit_signal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <string>

namespace kelvane {
namespace {

using namespace std::chrono_literals;
using testing::IsEmpty;
using testing::SizeIs;

/// Runs what is for the main thread at once, or loses it as a program does that quits.
class AtOnce : public Dispatcher {
public:
    bool losesJobs = false;
    void background(std::function<void()> job) override { job(); }
    void main(std::function<void()> job) override {
        if (!losesJobs) job();
    }
};

class PlainHttpQuestionTest : public testing::Test {
protected:
    bool ask(const std::string& address = "http://a.test:80") { return question.mayGoTo(address); }

    FakePlatform machine;
    AtOnce dispatcher;
    std::unique_ptr<QuitSignal> quit = std::make_unique<QuitSignal>();
    PlainHttpQuestion question{{machine.files, machine.dialogs, dispatcher, *quit},
                               "/home/me/.brask"};
};

TEST_F(PlainHttpQuestionTest, IsAskedOnceForEachAddressAndRemembered) {
    machine.dialogs.answers = {1, 0};
    EXPECT_TRUE(ask("http://a.test:80"));
    EXPECT_TRUE(ask("http://a.test:80"));
    EXPECT_FALSE(ask("http://b.test:80"));
    EXPECT_FALSE(ask("http://b.test:80"));
    ASSERT_THAT(machine.dialogs.shown, SizeIs(2));
    PlainHttpQuestion later({machine.files, machine.dialogs, dispatcher, *quit}, "/home/me/.brask");
    EXPECT_TRUE(later.mayGoTo("http://a.test:80"));
    EXPECT_FALSE(later.mayGoTo("http://b.test:80"));
    EXPECT_THAT(machine.dialogs.shown, SizeIs(2));
}

TEST_F(PlainHttpQuestionTest, NamesTheAddressAndSendsNothingOnReturn) {
    machine.dialogs.answers = {0};
    EXPECT_FALSE(ask());
    const Alert& alert = machine.dialogs.shown.at(0);
    EXPECT_EQ(alert.style, Alert::Style::Warning);
    EXPECT_THAT(alert.informative, testing::HasSubstr("http://a.test:80 is not encrypted"));
    EXPECT_EQ(alert.buttons, (std::vector<std::string>{"Don't Send", "Send Unencrypted"}));
}

TEST_F(PlainHttpQuestionTest, ClosedWithoutAnAnswerRefusesThisOnce) {
    machine.dialogs.answers = {std::nullopt, 1};
    EXPECT_FALSE(ask());
    EXPECT_THAT(machine.files.files, IsEmpty());
    EXPECT_TRUE(ask());
}

TEST_F(PlainHttpQuestionTest, WhatCannotBeWrittenIsRememberedForThisRun) {
    machine.files.unwritable.insert("/home/me/.brask/plain-http");
    machine.dialogs.answers = {1};
    EXPECT_TRUE(ask());
    EXPECT_TRUE(ask());
    EXPECT_THAT(machine.dialogs.shown, SizeIs(1));
}

TEST_F(PlainHttpQuestionTest, WhatTheFileSaysIsNotAsked) {
    machine.files.files["/home/me/.brask/plain-http"] = "allow http://a.test:80\n";
    EXPECT_TRUE(ask());
    machine.files.files["/home/me/.brask/plain-http"] = "refuse http://a.test:80\n";
    EXPECT_FALSE(ask());
    EXPECT_THAT(machine.dialogs.shown, IsEmpty());
}

TEST_F(PlainHttpQuestionTest, QuittingEndsTheWaitForAnAnswer) {
    dispatcher.losesJobs = true;
    auto answer = std::async(std::launch::async, [this] { return ask(); });
    quit->raise();
    ASSERT_EQ(answer.wait_for(10s), std::future_status::ready);
    EXPECT_FALSE(answer.get());
    EXPECT_THAT(machine.files.files, IsEmpty());
}

} // namespace
} // namespace kelvane
