// What outlasts a grade: the history, what is under way over a restart, and the last word.

#include "app/companion_model.h"
#include "app/editor_line.h"
#include "platform/ports/dispatcher.h"
#include "platform/ports/environment.h"
#include "platform/ports/file_system.h"
#include "platform/ports/process_runner.h"
#include "platform/ports/workspace.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace kelvane {

namespace {

constexpr const char* kNoFile = "No saved file that was opened lately holds this text.";

/// Whether the flaw is a password or key: the service takes those out of what it keeps.
bool isSecret(const Flaw& flaw) {
    return flaw.rule.ends_with(".secret");
}

/// The stated address of a report; none where the service's address holds a name and a password.
std::string reportOf(const std::string& base, const std::string& runId) {
    if (runId.empty() || base.find('@') != std::string::npos) return {};
    return base + "/console?run=" + runId;
}

/// Started and left alone: an editor that was closed meanwhile goes on as the user's own. The shell
/// looks it up on the search path, and reads nothing of what the command says.
ProcessRequest leftAlone(std::vector<std::string> command) {
    std::vector<std::string> arguments{"-c", R"("$@" >/dev/null 2>&1 </dev/null &)", "sh"};
    for (std::string& word : command) arguments.push_back(std::move(word));
    return {.program = "/bin/sh", .arguments = std::move(arguments)};
}

/// Which files the application may have open, the likeliest first.
std::vector<std::filesystem::path> filesInUse(const CompanionModel::Ports& ports,
                                              const std::string& bundleId) {
    // This user's processes, on every system.
    const auto listed =
        ports.processes.run({.program = "/bin/ps", .arguments = {"-xwwo", "args="}});
    auto files = editor_line::startedWith(bundleId, listed ? listed->output : std::string());
    const auto list =
        ports.files.readAny(ports.dataHome / "recently-used.xbel", editor_line::kLargestList);
    for (auto& file : editor_line::recentFiles(list.value_or(""))) files.push_back(std::move(file));
    return files;
}

} // namespace

history::VerdictEntry CompanionModel::keptOf(const CaptureResult& capture,
                                             const GradedWork& about) const {
    history::VerdictEntry kept;
    if (m_ports.history == nullptr) return kept;
    kept.app = about.app;
    kept.bundleId = about.bundleId;
    kept.kind = capture.modality;
    history::describeWork(kept, capture.parts, EvalBridge::isThisMachine(m_ports.environment));
    return kept;
}

std::function<void(const EvalBridge::AcceptedJob&)>
CompanionModel::keepsUnderWay(history::VerdictEntry kept, Accepted job) const {
    return [history = m_ports.history, desktop = m_ports.desktop,
            base = history::digestOf(EvalBridge::base(m_ports.environment)), kept = std::move(kept),
            job = std::move(job)](const EvalBridge::AcceptedJob& accepted) {
        *job = accepted;
        if (history == nullptr) return;
        history::UnderWay underWay{.jobId = accepted.id,
                                   .base = base,
                                   .desktop = desktop,
                                   .acceptedMs = history->now(),
                                   .work = kept};
        if (!accepted.keepsWork) underWay.work.text.reset();
        history->keepUnderWay(underWay);
    };
}

void CompanionModel::remember(history::VerdictEntry kept, const Verdict& result,
                              const EvalBridge::AcceptedJob& job) {
    if (m_ports.history == nullptr) return;
    history::describeVerdict(kept, result);
    // What the service does not keep is not kept here, and nothing that holds a secret is.
    if (!job.keepsWork || std::ranges::any_of(result.flaws, isSecret)) kept.text.reset();
    kept.report = reportOf(EvalBridge::base(m_ports.environment), kept.runId);
    // What failed is no verdict.
    const bool isVerdict = !result.error;
    m_ports.dispatcher.background(
        [history = m_ports.history, kept = std::move(kept), job, isVerdict]() mutable {
            // Of a job that was taken up the verdict may have been kept just before the program's
            // end. Revisions of a run have no job of their own.
            const bool isKept = !job.id.empty() && history->holdsRun(kept.runId);
            if (isVerdict && !isKept) history->record(std::move(kept));
            if (!job.id.empty()) history->endUnderWay(job.id);
        });
}

void CompanionModel::takeUpUnderWay() {
    if (m_ports.history == nullptr) return;
    const auto key = EvalBridge::apiKey(m_ports.environment, m_ports.files, home);
    if (!key) return;
    constexpr std::chrono::seconds kDeadline{static_cast<long long>(EvalBridge::kDeadlineSec)};
    for (auto& job : m_ports.history->takeUp(m_ports.desktop, kDeadline)) {
        // Another service knows nothing of it.
        if (job.base != history::digestOf(EvalBridge::base(m_ports.environment))) {
            m_ports.history->endUnderWay(job.jobId);
            continue;
        }
        const std::chrono::milliseconds waited(m_ports.history->now() - job.acceptedMs);
        const double left = std::chrono::duration<double>(kDeadline - waited).count();
        grading = true;
        const auto ticket = begin(*key);
        GradedWork about{.app = job.work.app,
                         .isPicture = job.work.isPicture,
                         .bundleId = job.work.bundleId,
                         .text = job.work.textIsCut ? std::nullopt : job.work.text};
        publishVerdict(ticket, std::move(about), std::move(job.work),
                       std::make_shared<EvalBridge::AcceptedJob>(
                           EvalBridge::AcceptedJob{job.jobId, job.work.text.has_value()}),
                       [ports = evalPorts(m_ports, ticket.get()), jobId = job.jobId, key = *key,
                        left] { return EvalBridge::resume(ports, jobId, key, left); });
    }
}

bool CompanionModel::takesLastWord() const {
    return *hasKey && verdict.get() && verdict.get()->runId &&
           EvalBridge::isThisMachine(m_ports.environment);
}

void CompanionModel::dismissFlaw(const Flaw& flaw) {
    say([ports = evalPorts(m_ports),
         flaw](const std::string& key) { return EvalBridge::dismiss(ports, flaw, key); },
        "Does not count any more.",
        [ports = evalPorts(m_ports), flaw](const std::string& key) {
            return EvalBridge::undoDismissal(ports, flaw, key);
        });
}

void CompanionModel::addWord(const std::string& word) {
    say([ports = evalPorts(m_ports),
         word](const std::string& key) { return EvalBridge::addWord(ports, word, key); },
        "“" + word + "” is in your dictionary.",
        [ports = evalPorts(m_ports), word](const std::string& key) {
            return EvalBridge::removeWord(ports, word, key);
        });
}

bool CompanionModel::mayUndoLastWord() const {
    return m_undo && takesLastWord() && m_undoRun == verdict.get()->runId;
}

void CompanionModel::undoLastWord() {
    if (!mayUndoLastWord()) return;
    const LastWord undo = *std::exchange(m_undo, std::nullopt);
    say(undo, "Taken back.", std::nullopt);
}

void CompanionModel::say(LastWord word, std::string done, std::optional<LastWord> undo) {
    if (!takesLastWord()) return;
    const auto key = EvalBridge::apiKey(m_ports.environment, m_ports.files, home);
    if (!key) return;
    m_ports.dispatcher.background([this, ports = evalPorts(m_ports),
                                   &dispatcher = m_ports.dispatcher, word = std::move(word),
                                   done = std::move(done), undo = std::move(undo), key = *key,
                                   runId = *verdict.get()->runId, alive = std::weak_ptr(m_alive)] {
        auto error = word(key);
        auto now = error ? std::nullopt : EvalBridge::verdictOfRun(ports, runId, key);
        dispatcher.main([this, alive, error, now, done, undo, runId] {
            if (alive.expired()) return;
            // Another verdict is shown by now; what was said is said all the same.
            if (!verdict.get() || verdict.get()->runId != runId) return;
            if (!error) {
                m_undo = undo;
                m_undoRun = runId;
            }
            if (now && !*grading) verdict = now;
            flawNote = error ? "Could not be said: " + *error : done;
        });
    });
}

bool CompanionModel::canGoTo(const Flaw& flaw) const {
    return gradedWork && gradedWork->text && !gradedWork->text->empty() &&
           editor_line::isKnown(gradedWork->bundleId) && editor_line::lineIn(flaw.place);
}

void CompanionModel::goTo(const Flaw& flaw) {
    if (!canGoTo(flaw)) return;
    m_ports.dispatcher.background([this, ports = m_ports, work = *gradedWork,
                                   line = *editor_line::lineIn(flaw.place),
                                   alive = std::weak_ptr(m_alive)] {
        const auto found =
            editor_line::fileWithText(ports.files, filesInUse(ports, work.bundleId), *work.text);
        const auto command =
            found ? editor_line::command(work.bundleId, found->file, found->line + line - 1)
                  : std::nullopt;
        const auto ran = command ? ports.processes.run(leftAlone(*command)) : std::nullopt;
        const bool shows = ran && ran->status == 0;
        if (shows) {
            // A window manager may leave it behind when it asks for itself.
            for (const auto& app : ports.workspace.instancesOf(work.bundleId)) {
                if (ports.workspace.activate(app.pid)) break;
            }
        }
        ports.dispatcher.main([this, alive, shows] {
            if (!alive.expired()) {
                flawNote = shows ? std::nullopt : std::optional<std::string>(kNoFile);
            }
        });
    });
}

} // namespace kelvane
