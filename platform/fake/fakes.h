// Every port, scripted and journalled. See README.md for the whole list.
//
// The fields are the script: set them before or between calls. A fake is used from one thread
// unless it says otherwise; nothing here starts a thread, sleeps or touches the machine.

#pragma once

#include "platform/fake/journal.h"
#include "platform/ports/app_icons.h"
#include "platform/ports/bundle_resources.h"
#include "platform/ports/clock.h"
#include "platform/ports/dialogs.h"
#include "platform/ports/dispatcher.h"
#include "platform/ports/environment.h"
#include "platform/ports/file_system.h"
#include "platform/ports/http_session.h"
#include "platform/ports/keyboard.h"
#include "platform/ports/pasteboard.h"
#include "platform/ports/process_runner.h"
#include "platform/ports/url_opener.h"
#include "platform/ports/window_list.h"
#include "platform/ports/window_picture.h"
#include "platform/ports/workspace.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

class FakeClock : public Clock {
public:
    explicit FakeClock(Journal& journal) : m_journal(journal) {}

    Instant time{0};
    /// Called after each sleep has moved the time: the moment at which a test lets things happen.
    std::function<void(Instant)> onSleep;
    /// How the coming sleeps end, first one first; `Elapsed` once they are used up. A sleep that
    /// does not elapse does not move the time.
    std::deque<SleepEnd> sleepEnds;
    std::vector<std::chrono::nanoseconds> sleeps; ///< All that were asked for.

    Instant now() override { return time; }
    SleepEnd sleep(std::chrono::nanoseconds duration) override;

private:
    Journal& m_journal;
};

/// Holds jobs until the test runs them, each lane in order.
class FakeDispatcher : public Dispatcher {
public:
    void background(std::function<void()> job) override { m_background.push_back(std::move(job)); }
    void main(std::function<void()> job) override { m_main.push_back(std::move(job)); }

    [[nodiscard]] std::size_t waitingInBackground() const { return m_background.size(); }
    [[nodiscard]] std::size_t waitingOnMain() const { return m_main.size(); }

    bool runOneInBackground(); ///< The oldest background job; false when there was none.
    bool runOneOnMain();       ///< The oldest main-thread job; false when there was none.
    void runAll();             ///< Until neither lane has a job, main jobs first.

private:
    std::deque<std::function<void()>> m_background;
    std::deque<std::function<void()>> m_main;
};

class FakeEnvironment : public Environment {
public:
    std::map<std::string, std::string, std::less<>> variables;

    std::optional<std::string> get(std::string_view name) override;
};

/// Files in memory. A folder exists when it was made, when something lies in it, and when something
/// that lay in it was removed; the root always does. There are no permissions beyond the two sets
/// below, and no links but those that `links` names.
class FakeFileSystem : public FileSystem {
public:
    explicit FakeFileSystem(Journal& journal) : m_journal(journal) {}

    std::map<std::filesystem::path, std::string> files;
    std::set<std::filesystem::path> folders;
    std::set<std::filesystem::path> unreadable; ///< Files that exist, but reading them fails.
    std::set<std::filesystem::path> unwritable; ///< Writing, making and removing them fails.
    /// Folders that lead elsewhere. Only `resolve` follows them.
    std::map<std::filesystem::path, std::filesystem::path> links;
    std::filesystem::path temporary = "/tmp/";
    std::filesystem::path accountHome = "/home/account";

    std::optional<std::string> read(const std::filesystem::path& path) override;
    bool exists(const std::filesystem::path& path) override;
    bool createDirectories(const std::filesystem::path& path) override;
    bool writeAtomically(const std::filesystem::path& path, std::string_view bytes) override;
    bool remove(const std::filesystem::path& path) override;
    std::optional<std::vector<std::string>> list(const std::filesystem::path& folder) override;
    bool removeTree(const std::filesystem::path& path) override;
    bool copyTree(const std::filesystem::path& from, const std::filesystem::path& to) override;
    std::filesystem::path resolve(const std::filesystem::path& path) override;
    std::filesystem::path temporaryDirectory() override { return temporary; }
    std::filesystem::path homeDirectoryForCurrentUser() override { return accountHome; }

private:
    [[nodiscard]] bool isFolder(const std::filesystem::path& path) const;
    [[nodiscard]] bool isFile(const std::filesystem::path& path) const;

    Journal& m_journal;
};

class FakeBundleResources : public BundleResources {
public:
    std::map<std::string, std::filesystem::path> resources; ///< By "name.extension".
    std::optional<std::filesystem::path> resourcesIn;       ///< The resource folder.
    std::optional<std::filesystem::path> runsFrom;          ///< The bundle.

    std::optional<std::filesystem::path> url(std::string_view name,
                                             std::string_view extension) override;
    std::optional<std::filesystem::path> resourceFolder() override { return resourcesIn; }
    std::optional<std::filesystem::path> bundle() override { return runsFrom; }
};

class FakeHttpSession : public HttpSession {
public:
    explicit FakeHttpSession(Journal& journal) : m_journal(journal) {}

    /// Answers each request; nothing is an unreachable server. Unset: everything is unreachable.
    std::function<std::optional<HttpResponse>(const HttpRequest&)> answer;
    std::vector<HttpRequest> requests;

    std::optional<HttpResponse> send(const HttpRequest& request) override;

private:
    Journal& m_journal;
};

class FakeKeyboard : public Keyboard {
public:
    explicit FakeKeyboard(Journal& journal) : m_journal(journal) {}

    bool isTrusted = true;
    /// What the coming questions hear, first one first; `isTrusted` once they are used up.
    std::deque<bool> trustedAnswers;
    std::function<void(ProcessId)> onCopy; ///< What the application does about it.

    bool trusted() override;
    void postCopy(ProcessId target) override;

private:
    Journal& m_journal;
};

class FakePasteboard : public Pasteboard {
public:
    explicit FakePasteboard(Journal& journal) : m_journal(journal) {}

    std::optional<std::string> text;
    std::int64_t count = 1;
    std::size_t timesRead = 0; ///< How often the text or the count was asked for.

    /// What another application does when it copies; nothing stands for content without text.
    void copyText(std::optional<std::string> newText);

    std::optional<std::string> string() override;
    std::int64_t changeCount() override;
    void clearContents() override;
    void setString(std::string_view newText) override;

private:
    Journal& m_journal;
};

class FakeDialogs : public Dialogs {
public:
    explicit FakeDialogs(Journal& journal) : m_journal(journal) {}

    /// Which button the coming alerts see pressed, first one first; closed without one once they
    /// are used up.
    std::deque<std::optional<std::size_t>> answers;
    std::vector<Alert> shown;

    std::optional<std::size_t> show(const Alert& alert) override;

private:
    Journal& m_journal;
};

class FakeUrlOpener : public UrlOpener {
public:
    explicit FakeUrlOpener(Journal& journal) : m_journal(journal) {}

    std::set<std::string, std::less<>> invalid; ///< What does not count as an address.
    std::vector<std::string> opened;

    bool open(std::string_view url) override;

private:
    Journal& m_journal;
};

class FakeAppIcons : public AppIcons {
public:
    std::map<std::string, AppIcon, std::less<>> icons; ///< By bundle identifier.

    std::optional<AppIcon> icon(std::string_view bundleId) override;
};

class FakeProcessRunner : public ProcessRunner {
public:
    explicit FakeProcessRunner(Journal& journal) : m_journal(journal) {}

    /// By program path; a program that is not listed cannot be started.
    std::map<std::string, ProcessResult> results;
    /// When set, decides instead of `results`: for tests that tell commands of one program apart.
    std::function<std::optional<ProcessResult>(const ProcessRequest&)> answer;
    std::function<void(const ProcessRequest&)> onRun; ///< The command's visible effect.
    std::vector<ProcessRequest> requests;

    std::unique_ptr<RunningProcess> start(const ProcessRequest& request) override;

private:
    Journal& m_journal;
};

class FakeWindowList : public WindowList {
public:
    explicit FakeWindowList(Journal& journal) : m_journal(journal) {}

    std::optional<std::vector<WindowInfo>> windows = std::vector<WindowInfo>{};

    std::optional<std::vector<WindowInfo>> onScreenWindows() override;

private:
    Journal& m_journal;
};

class FakeWindowPicture : public WindowPicture {
public:
    explicit FakeWindowPicture(Journal& journal) : m_journal(journal) {}

    std::map<std::int64_t, std::string> pictures; ///< By window number.

    std::optional<std::string> png(std::int64_t windowNumber) override;

private:
    Journal& m_journal;
};

class FakeWorkspace : public Workspace {
public:
    explicit FakeWorkspace(Journal& journal) : m_journal(journal) {}

    std::vector<RunningApp> running;
    std::optional<ProcessId> front; ///< A member of `running`, or nothing in front.
    /// What an activation does. Unset: the application comes to the front at once.
    std::function<void(ProcessId)> onActivate;

    std::optional<RunningApp> frontmost() override;
    std::vector<RunningApp> runningApplications() override { return running; }
    bool activate(ProcessId pid) override;

private:
    Journal& m_journal;
};

/// One of each, sharing a journal: what most tests start with.
struct FakePlatform {
    Journal journal;
    FakeClock clock{journal};
    FakeDialogs dialogs{journal};
    FakeDispatcher dispatcher;
    FakeEnvironment environment;
    FakeFileSystem files{journal};
    FakeBundleResources resources;
    FakeAppIcons icons;
    FakeHttpSession http{journal};
    FakeKeyboard keyboard{journal};
    FakePasteboard pasteboard{journal};
    FakeProcessRunner processes{journal};
    FakeUrlOpener urls{journal};
    FakeWindowList windows{journal};
    FakeWindowPicture picture{journal};
    FakeWorkspace workspace{journal};
};

} // namespace kelvane
