// Everything the panel shows, and the four things a user can do with it.
//
// One instance for the whole process, on the main thread: every member is called there and every
// property read and written there. `refresh` does its work before it returns; `grade` and `iterate`
// return at once and go on in the background, coming back to the main thread to assign. Captures
// never overlap, however often a grade is asked for: the next waits until the last has ended.

#pragma once

#include "app/grade_preview.h"
#include "app/history/history_store.h"
#include "app/instance_place.h"
#include "app/published.h"
#include "catalog/app_catalog.h"
#include "detect/agent_scan.h"
#include "detect/app_detector.h"
#include "detect/capture.h"
#include "detect/workflow_infer.h"
#include "eval/eval_bridge.h"
#include "eval/grade_ticket.h"
#include "eval/verdict.h"
#include "harness/wiring_truth.h"
#include "platform/ports/desktop_limits.h"

#include <chrono>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kelvane {

class Clock;
class Dispatcher;
class Environment;
class FileSystem;
class HttpSession;
class OwnFocus;
class ProcessRunner;
class SettingsStore;
class Workspace;

/// What a verdict is about.
struct GradedWork {
    std::string app;           ///< The application that it was taken from, as people know it.
    bool isPicture = false;    ///< A picture of its window, not the text selected in it.
    std::string bundleId = {}; ///< Of the application; may be empty.
    std::optional<std::string> text = {}; ///< What was sent, when it was one text.
    bool isKept = false;                  ///< The service keeps it as well.

    /// Whether people read the same of it.
    bool operator==(const GradedWork& other) const {
        return app == other.app && isPicture == other.isPicture;
    }
};

class CompanionModel {
public:
    /// What the model uses of the world. Everything must outlive each job that the model has handed
    /// to the dispatcher.
    struct Ports {
        Workspace& workspace;
        ProcessRunner& processes;
        FileSystem& files;
        Environment& environment;
        HttpSession& http;
        Clock& clock;
        Dispatcher& dispatcher;
        /// `Capture::capture` over the platform. Called in the background, never twice at once.
        std::function<CaptureResult(const DetectedApp&)> capture;
        /// As the service client has it. Called in the background, and may ask the user.
        std::function<bool(const std::string& address)> mayGoUnencrypted = nullptr;
        DesktopLimits* limits = nullptr;          ///< Null: the desktop has none.
        OwnFocus* ownFocus = nullptr;             ///< Null: it has no windows.
        history::HistoryStore* history = nullptr; ///< Null: nothing is kept.
        std::string desktop = {};                 ///< Of this instance, see desktopName().
        std::filesystem::path dataHome = {};      ///< The desktop's list of files lies here.
        /// Null: nothing is previewed and nothing excluded.
        SettingsStore* settings = nullptr;
    };

    /// Stores its arguments. It scans and looks up nothing; the first `refresh` fills the state.
    CompanionModel(Ports ports, const AppCatalog& catalog, std::filesystem::path home);
    ~CompanionModel();
    CompanionModel(const CompanionModel&) = delete;
    CompanionModel& operator=(const CompanionModel&) = delete;

private:
    // Declared before the properties that notify through it.
    WillChange m_willChange;

public:
    Published<DetectedApp> detected{m_willChange}; ///< The last real application in front.
    Published<std::vector<DetectedAgent>> agents{m_willChange}; ///< As of the last refresh.
    Published<WorkflowState> workflow{m_willChange};
    Published<std::optional<Verdict>> verdict{m_willChange};  ///< Of the last grade or iterate.
    Published<bool> grading{m_willChange};                    ///< A grade or iterate is in flight.
    Published<std::optional<std::string>> note{m_willChange}; ///< A remark on the last capture.
    /// What else helps, on this system; only beside a note.
    Published<std::optional<std::string>> noteHint{m_willChange};
    Published<bool> hasKey{m_willChange}; ///< A service key is available.
    /// What the installer tells of the tools' wiring; empty until it has been asked.
    Published<WiringTruths> wiringTruths{m_willChange};
    Published<DesktopLimit> limit{m_willChange}; ///< What this desktop does not allow.
    /// What became of the last wish about a flaw, a sentence.
    Published<std::optional<std::string>> flawNote{m_willChange};
    /// Whether the user's accessibility setting is on because he had this program switch it on.
    Published<bool> accessibilityIsOurs{m_willChange};

    /// Why nothing may be captured now, whatever is asked for: a pause, or the application in
    /// front.
    Published<std::optional<std::string>> refusal{m_willChange};
    Published<int> settingsSeen{m_willChange}; ///< How often settings turned out to be others.
    /// Captured work that the person sees before it is sent; `grading` is true meanwhile.
    Published<std::optional<GradePreview>> preview{m_willChange};

    // These notify nobody: they change only before something above does.
    std::optional<GradedWork> gradedWork; ///< What `verdict` is about; absent of a demonstration.
    bool keyIsExposed = false; ///< Others may read or change the key's file. As of a refresh.
    bool kitIsMissing = false; ///< What wired tools would call is not there. As of a refresh.

    const AppCatalog catalog;
    const std::filesystem::path home;
    std::vector<WorkflowEvent> history; ///< Oldest first, at most six.

    // What the shell fills in and the panel calls. Each does nothing until it is filled in.
    std::function<void()> onWire = [] {};
    std::function<void()> onGetKey = [] {};
    std::function<void()> onUninstall = [] {};
    std::function<void()> onAccessibility = [] {};
    std::function<void()> onSettings = nullptr; ///< Null: there is no window of settings.
    std::function<void()> onQuit = [] {};
    std::function<void()> onHistory = [] {};
    /// Called once a grade or an iterate has brought the verdict that `verdict` has now.
    std::function<void()> onVerdict = [] {};
    /// Called once `preview` has work that nobody has seen yet.
    std::function<void()> onPreview = [] {};
    std::function<void(const std::string& runId)> onOpenReport = [](const std::string&) {};

    /// The shell's as well: called with true before a row of captures begins, each of which may
    /// bring another application to the front, and with false when the last of them is over.
    std::function<void(bool under)> onCapture = [](bool) {};

    /// Called before any published property changes.
    [[nodiscard]] Subscription observeWillChange(std::function<void()> observer);

    /// Looks again: the application in front, the agents, the key, the workflow. While this program
    /// itself, or nothing, is in front, `detected` and `history` stay as they are, so that the
    /// panel goes on describing the application the user came from. Where an application may be in
    /// front without anybody telling, nobody in front empties `detected`, unless this program has
    /// the keyboard: no other one is named then than the one the user came from.
    void refresh();

    /// Captures and grades the work in the detected application, as the catalog or the wish says.
    /// Does nothing when the catalog does not know that application or there is no key.
    void grade(GradeWish wish = GradeWish::AsCatalog);

    /// Captures again and grades the result as a revision of the run in `verdict`. The old verdict
    /// stays until the new one is there. Does nothing without a run to iterate on or without a key.
    void iterate();

    /// Gives up every grade and iterate that is in flight: from here on nothing of them changes
    /// anything. Ends grading and leaves the note "Grade cancelled."; the verdict stays as it is.
    /// The service is asked, in the background, to give up the jobs that it had accepted. A capture
    /// that is under way ends by itself and is thrown away. Does nothing while nothing is graded.
    void cancel();

    /// Goes on waiting for what the service had accepted when this desktop's instance ended, for
    /// what is left of its deadline: called once, at launch. Without a key nothing is taken up, and
    /// nothing of another service than the one that is asked now.
    void takeUpUnderWay();

    // The user's last word about a flaw of the verdict. Each returns at once; what became of it is
    // in `flawNote`, and the verdict is the service's new one.

    /// Whether the service takes it: it is of this machine, there is a key, and the verdict is a
    /// run's.
    [[nodiscard]] bool takesLastWord() const;
    void dismissFlaw(const Flaw& flaw);
    /// That the word is right.
    void addWord(const std::string& word);
    [[nodiscard]] bool mayUndoLastWord() const;
    /// Takes back what was said last, as long as the same run is shown.
    void undoLastWord();

    /// Whether the application that the work is from can be told to show the flaw's line.
    [[nodiscard]] bool canGoTo(const Flaw& flaw) const;
    /// Has it show that line, in the file that holds the graded text.
    void goTo(const Flaw& flaw);

    /// Sends the work in `preview`; with `always`, work of its application is sent without a
    /// preview from now on. Where the service is another one by now, the preview says so and
    /// nothing is sent.
    void sendPreviewed(bool always = false);

    /// Sends nothing of what waits in a preview: the grade ends with the note "Nothing was sent.",
    /// the verdict stays as it is. Does nothing without a preview.
    void dropPreviewed();

    /// Nothing is captured for so long from now on; a pause that there was is forgotten.
    void pause(std::chrono::nanoseconds duration);
    void resume();
    /// How long it still lasts; absent without one.
    [[nodiscard]] std::optional<std::chrono::nanoseconds> pauseLeft() const;

    /// Fills the state with the demonstration content.
    void seedDemo();

private:
    using Continuation = std::function<void(CaptureResult)>;
    using Ticket = std::shared_ptr<GradeTicket>;

    /// A grade or iterate from when it is asked for to its verdict, or to the end without one.
    struct InFlight {
        Ticket ticket;
        std::string key;
    };

    /// A capture that waits for the person's word.
    struct Waiting {
        Ticket ticket;
        GradePreview preview;
        std::function<void()> send;
    };

    [[nodiscard]] static EvalBridge::Ports evalPorts(const Ports& ports,
                                                     GradeTicket* ticket = nullptr);
    void lookAtLimits();
    void askAboutWiring();
    void lookAtSettings();
    [[nodiscard]] std::optional<std::string> whyNot(const DetectedApp& app) const;
    void endWith(const Ticket& ticket, std::optional<std::string> said);
    /// Calls `send`, at once or when the person says so, or never.
    void sendOrAsk(const Ticket& ticket, const DetectedApp& from, const CaptureResult& capture,
                   std::function<void()> send);
    void showNextPreview();
    void hint(CaptureLack lack);
    [[nodiscard]] Ticket begin(const std::string& key);
    void end(const Ticket& ticket);

    /// Captures `app` in the background, after every capture asked for earlier, and hands the
    /// result to `then` on the main thread.
    void captureInTurn(DetectedApp app, Continuation then);
    void startNextCapture();

    /// Runs `work`, which may use the ticket, in the background, then on the main thread assigns
    /// its verdict and ends grading; drops the verdict when the ticket was given up meanwhile.
    using Accepted = std::shared_ptr<EvalBridge::AcceptedJob>; ///< Without an id: none by now.
    /// `kept` is what the history keeps of the work; `job` is not under way any more then.
    void publishVerdict(Ticket ticket, GradedWork about, history::VerdictEntry kept, Accepted job,
                        std::function<Verdict()> work);

    /// What the history keeps of a capture, and what it is told when the service has accepted it.
    [[nodiscard]] history::VerdictEntry keptOf(const CaptureResult& capture,
                                               const GradedWork& about) const;
    [[nodiscard]] std::function<void(const EvalBridge::AcceptedJob&)>
    keepsUnderWay(history::VerdictEntry kept, Accepted job) const;
    void remember(history::VerdictEntry kept, const Verdict& verdict,
                  const EvalBridge::AcceptedJob& job);

    using LastWord = std::function<std::optional<std::string>(const std::string& key)>;
    void say(LastWord word, std::string done, std::optional<LastWord> undo);

    Ports m_ports;
    std::deque<std::pair<DetectedApp, Continuation>> m_captures; ///< The first one is running.
    std::vector<InFlight> m_inFlight;
    std::optional<std::size_t> m_askedAt; ///< What the wiring was like when it was asked about.
    std::optional<LastWord> m_undo;       ///< Takes the last word back.
    std::string m_undoRun;                ///< Said of this run.
    std::deque<Waiting> m_waiting;        ///< The first one is shown.
    std::optional<std::chrono::nanoseconds> m_pauseEnds;
    std::shared_ptr<const bool> m_alive; ///< Jobs that outlive the model see it gone.
};

} // namespace kelvane
