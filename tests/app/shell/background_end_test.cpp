#include "app/shell/background_end.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>

namespace kelvane {
namespace {

/// Ends as the real one does: not before its job has, which is when the job hears of the end.
class DispatcherWithAJob : public Dispatcher {
public:
    explicit DispatcherWithAJob(std::function<void()> job) : m_job(std::move(job)) {}
    ~DispatcherWithAJob() override { m_job(); }
    void background(std::function<void()>) override {}
    void main(std::function<void()>) override {}

private:
    std::function<void()> m_job;
};

struct Told {
    std::string& story;
    const char* word;
    ~Told() { story += word; }
};

/// The order in which the program holds its parts.
struct Program {
    std::string& story;
    QuitSignal quit{};
    std::unique_ptr<Dispatcher> dispatcher{};
    Told ports{story, "ports"};
    Told model{story, "model "};
    BackgroundEnd backgroundEnd{quit, dispatcher};
    Told listening{story, "listening "};
};

TEST(BackgroundEnd, JobsHearOfTheEndAndAreOverBeforeWhatTheyUseGoes) {
    std::string story;
    {
        Program program{.story = story};
        program.dispatcher = std::make_unique<DispatcherWithAJob>(
            [&] { story += program.quit.raised() ? "job told to end " : "job waits for ever "; });
    }
    EXPECT_EQ(story, "listening job told to end model ports");
}

TEST(BackgroundEnd, WithoutADispatcherOnlyTheSignalIsRaised) {
    QuitSignal quit;
    std::unique_ptr<Dispatcher> none;
    { const BackgroundEnd end(quit, none); }
    EXPECT_TRUE(quit.raised());
}

} // namespace
} // namespace kelvane
