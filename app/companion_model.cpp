#include "app/companion_model.h"

#include "app/accessibility_choice.h"
#include "app/process_settings.h"
#include "app/settings/privacy_rules.h"
#include "app/settings/settings_store.h"
#include "detect/harness_config.h"
#include "detect/live_agent_scan.h"
#include "platform/ports/clock.h"
#include "platform/ports/dispatcher.h"
#include "platform/ports/environment.h"
#include "platform/ports/file_system.h"
#include "platform/ports/own_focus.h"
#include "platform/ports/workspace.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace kelvane {

namespace {

/// The application as the capture is to take it.
DetectedApp asWished(DetectedApp app, GradeWish wish) {
    if (wish == GradeWish::Selection) app.app->capture = "selection";
    if (wish == GradeWish::Window) app.app->capture = "screenshot";
    return app;
}

bool hasWork(const CaptureResult& capture) {
    return capture.ok && !capture.parts.empty();
}

GradedWork aboutWork(const CaptureResult& capture, const DetectedApp& app) {
    const auto isPicture = [](const ArtifactPart& part) {
        return part.mimeType.starts_with("image/");
    };
    const bool isOne = capture.parts.size() == 1;
    return {.app = app.app ? app.app->name : app.rawName,
            .isPicture = std::ranges::any_of(capture.parts, isPicture),
            .bundleId = app.rawBundleId,
            .text = isOne ? capture.parts.front().text : std::nullopt};
}

} // namespace

CompanionModel::CompanionModel(Ports ports, const AppCatalog& catalogToUse,
                               std::filesystem::path homeFolder)
    : catalog(catalogToUse),
      home(std::move(homeFolder)),
      m_ports(std::move(ports)),
      // Jobs hold it weakly, and so know whether there is still somebody to tell.
      m_alive(std::make_shared<const bool>(true)) {}

CompanionModel::~CompanionModel() = default;

EvalBridge::Ports CompanionModel::evalPorts(const Ports& ports, GradeTicket* ticket) {
    return {.environment = ports.environment,
            .http = ports.http,
            .clock = ports.clock,
            .ticket = ticket,
            .mayGoUnencrypted = ports.mayGoUnencrypted};
}

Subscription CompanionModel::observeWillChange(std::function<void()> observer) {
    return m_willChange.add(std::move(observer));
}

void CompanionModel::refresh() {
    const auto front = m_ports.workspace.frontmost();
    keyIsExposed = EvalBridge::isKeyExposed(m_ports.environment, m_ports.files, home);
    kitIsMissing = !m_ports.files.exists(home / ".brask" / "validate.py");
    const std::string bundleId = front ? front->bundleId.value_or("") : "";
    lookAtLimits();
    const bool isOurs = m_ports.ownFocus != nullptr && m_ports.ownFocus->isHeld();
    if (!front && limit->hidesFront && !isOurs) detected = DetectedApp{};
    // The panel itself is no application to grade: what was in front before it stays.
    if (!bundleId.empty() && bundleId != kBundleID) {
        detected = AppDetector::resolve(front->bundleId, front->name, catalog);
        if (const auto& app = detected->app) {
            history = WorkflowInfer::append(std::move(history), {.appId = app->id,
                                                                 .name = app->name,
                                                                 .category = app->category,
                                                                 .modality = app->primaryModality});
        }
    }
    agents = LiveAgentScan::scan({.workspace = m_ports.workspace, .processes = m_ports.processes},
                                 HarnessConfig::present(m_ports.files, home),
                                 HarnessConfig::wired(m_ports.files, home));
    askAboutWiring();
    hasKey = EvalBridge::apiKey(m_ports.environment, m_ports.files, home).has_value();
    lookAtSettings();
    workflow = WorkflowInfer::infer(history, detected->app);
}

void CompanionModel::askAboutWiring() {
    const auto isWired = [](const DetectedAgent& agent) { return agent.wired.value_or(false); };
    if (kitIsMissing || !std::ranges::any_of(*agents, isWired) ||
        !m_ports.files.exists(braskHome(home) / "brask_install.py")) {
        return;
    }
    const auto mark = wiringMark(m_ports.files, home);
    if (m_askedAt == mark) return;
    m_askedAt = mark;
    // What was true of other files is not told of these.
    if (!wiringTruths->empty()) wiringTruths = WiringTruths();
    m_ports.dispatcher.background(
        [this, &processes = m_ports.processes, &dispatcher = m_ports.dispatcher,
         question = wiringQuestion(braskHome(home)), mark, alive = std::weak_ptr(m_alive)] {
            const auto said = processes.run(question);
            auto truths = kelvane::wiringTruths(said && said->status == 0 ? said->output : "");
            dispatcher.main([this, alive, mark, truths = std::move(truths)]() mutable {
                if (alive.expired() || m_askedAt != mark) return;
                if (*wiringTruths != truths) wiringTruths = std::move(truths);
            });
        });
}

void CompanionModel::lookAtLimits() {
    if (m_ports.limits == nullptr) return;
    auto now = m_ports.limits->now();
    if (now != *limit) limit = std::move(now);
    const bool ours = limit->accessibilityHelps &&
                      accessibility_choice::remembered(m_ports.files, braskHome(home)) ==
                          accessibility_choice::Answer::On;
    if (ours != *accessibilityIsOurs) accessibilityIsOurs = ours;
}

void CompanionModel::lookAtSettings() {
    if (m_ports.settings != nullptr && m_ports.settings->look()) settingsSeen = *settingsSeen + 1;
    auto why = whyNot(*detected);
    if (why != *refusal) refusal = std::move(why);
}

std::optional<std::string> CompanionModel::whyNot(const DetectedApp& app) const {
    const auto left = pauseLeft();
    if (m_ports.settings == nullptr && !left) return std::nullopt;
    static const Settings none{.neverPasswordManagers = false};
    return whyNotCaptured(m_ports.settings != nullptr ? m_ports.settings->now() : none,
                          app.rawBundleId, app.app ? app.app->name : app.rawName, left);
}

void CompanionModel::pause(std::chrono::nanoseconds duration) {
    m_pauseEnds = m_ports.clock.now() + duration;
    lookAtSettings();
}

void CompanionModel::resume() {
    m_pauseEnds.reset();
    lookAtSettings();
}

std::optional<std::chrono::nanoseconds> CompanionModel::pauseLeft() const {
    if (!m_pauseEnds) return std::nullopt;
    const auto left = *m_pauseEnds - m_ports.clock.now();
    if (left <= std::chrono::nanoseconds(0)) return std::nullopt;
    return left;
}

void CompanionModel::grade(GradeWish wish) {
    if (!detected->app) return;
    lookAtSettings();
    if (*refusal) return;
    auto key = EvalBridge::apiKey(m_ports.environment, m_ports.files, home);
    if (!key) return;

    grading = true;
    // The verdict of other work must not stand beside the progress of this one.
    verdict = std::nullopt;
    note = std::nullopt;
    flawNote = std::nullopt;
    m_undo.reset();
    hint(CaptureLack::Nothing);

    // The application, the key and the ticket as they are now: the panel may show another by the
    // time the capture ends.
    captureInTurn(asWished(*detected, wish), [this, from = *detected, ticket = begin(*key),
                                              key = *key](const CaptureResult& capture) {
        // Cancelled while it was captured.
        if (ticket->cancelled()) return;
        if (!hasWork(capture)) {
            endWith(ticket, capture.note ? capture.note : "Couldn't capture anything to grade.");
            hint(capture.lacks);
            return;
        }
        note = capture.note;
        hint(capture.lacks);
        sendOrAsk(ticket, from, capture, [this, ticket, from, capture, key] {
            auto about = aboutWork(capture, from);
            auto kept = keptOf(capture, about);
            auto job = std::make_shared<EvalBridge::AcceptedJob>();
            auto ports = evalPorts(m_ports, ticket.get());
            ports.accepted = keepsUnderWay(kept, job);
            publishVerdict(ticket, std::move(about), std::move(kept), job,
                           [ports = std::move(ports), capture, app = *from.app, key,
                            policyId = m_ports.environment.get("BRASK_POLICY_ID")] {
                               return EvalBridge::grade(
                                   ports, capture.parts, capture.modality, app.vertical, policyId,
                                   "Validate this " + app.name + " work before it ships.", key);
                           });
        });
    });
}

void CompanionModel::iterate() {
    if (!verdict.get() || !verdict.get()->runId) return;
    lookAtSettings();
    if (*refusal) return;
    auto key = EvalBridge::apiKey(m_ports.environment, m_ports.files, home);
    if (!key) return;

    // The verdict that there was stays until there is a new one.
    grading = true;

    captureInTurn(*detected, [this, from = *detected, runId = *verdict.get()->runId,
                              ticket = begin(*key), key = *key](const CaptureResult& capture) {
        if (ticket->cancelled()) return;
        if (!hasWork(capture)) {
            endWith(ticket, capture.note);
            hint(capture.lacks);
            return;
        }
        sendOrAsk(ticket, from, capture, [this, ticket, from, capture, runId, key] {
            auto about = aboutWork(capture, from);
            auto kept = keptOf(capture, about);
            // A revision is kept as the work before it is.
            auto job = std::make_shared<EvalBridge::AcceptedJob>();
            job->keepsWork = gradedWork && gradedWork->isKept;
            publishVerdict(
                ticket, std::move(about), std::move(kept), std::move(job),
                [ports = evalPorts(m_ports, ticket.get()), parts = capture.parts, runId, key] {
                    return EvalBridge::iterate(ports, runId, parts,
                                               "Re-grade after fixing the flaws.", key);
                });
        });
    });
}

void CompanionModel::sendOrAsk(const Ticket& ticket, const DetectedApp& from,
                               const CaptureResult& capture, std::function<void()> send) {
    // What was set while it was captured counts.
    lookAtSettings();
    if (auto why = whyNot(from)) return endWith(ticket, std::move(why));
    const std::string base = EvalBridge::base(m_ports.environment);
    if (m_ports.settings == nullptr ||
        !previewNeeded(m_ports.settings->now(), isThisMachine(base), from.rawBundleId)) {
        return send();
    }
    m_waiting.push_back({.ticket = ticket,
                         .preview = gradePreview(capture, from, base, *noteHint),
                         .send = std::move(send)});
    if (m_waiting.size() == 1) showNextPreview();
}

void CompanionModel::showNextPreview() {
    if (m_waiting.empty()) {
        if (*preview) preview = std::nullopt;
        return;
    }
    preview = m_waiting.front().preview;
    onPreview();
}

void CompanionModel::sendPreviewed(bool always) {
    if (m_waiting.empty()) return;
    // The person has said yes to one place and not to another.
    const std::string base = EvalBridge::base(m_ports.environment);
    GradePreview& shown = m_waiting.front().preview;
    if (shown.to != placeName(base) || shown.leaves == isThisMachine(base)) {
        shown.to = placeName(base);
        shown.leaves = !isThisMachine(base);
        preview = shown;
        return;
    }
    const Waiting waiting = std::move(m_waiting.front());
    m_waiting.pop_front();
    if (always && m_ports.settings != nullptr && !waiting.preview.appId.empty()) {
        if (auto why = m_ports.settings->change(
                [&](Settings& settings) { settings.previewApps[waiting.preview.appId] = false; })) {
            note = std::move(why);
        }
    }
    showNextPreview();
    waiting.send();
}

void CompanionModel::dropPreviewed() {
    if (m_waiting.empty()) return;
    for (const Waiting& each : std::exchange(m_waiting, {})) {
        // Nothing has been asked of the service: there is no job to give up.
        static_cast<void>(each.ticket->cancel());
    }
    std::erase_if(m_inFlight, [](const InFlight& each) { return each.ticket->cancelled(); });
    preview = std::nullopt;
    note = "Nothing was sent.";
    hint(CaptureLack::Nothing);
    grading = !m_inFlight.empty();
}

void CompanionModel::endWith(const Ticket& ticket, std::optional<std::string> said) {
    end(ticket);
    grading = false;
    note = std::move(said);
}

void CompanionModel::cancel() {
    if (!*grading) return;
    if (!m_waiting.empty()) {
        m_waiting.clear();
        preview = std::nullopt;
    }
    // All of them, also one whose capture has yet to begin: its ticket tells it so.
    for (const InFlight& each : std::exchange(m_inFlight, {})) {
        auto jobId = each.ticket->cancel();
        // Without a job there is nothing to give up at the service, or the grade does that itself.
        if (!jobId) continue;
        m_ports.dispatcher.background([ports = evalPorts(m_ports), history = m_ports.history,
                                       jobId = std::move(*jobId), key = each.key] {
            EvalBridge::cancelJob(ports, jobId, key);
            if (history != nullptr) history->endUnderWay(jobId);
        });
    }
    grading = false;
    note = "Grade cancelled.";
    hint(CaptureLack::Nothing);
}

void CompanionModel::hint(CaptureLack lack) {
    std::optional<std::string> said;
    if (lack == CaptureLack::Picture) said = limit->noPicture;
    if (lack == CaptureLack::Selection) said = limit->noSelection;
    if (said == "") said.reset();
    if (*noteHint != said) noteHint = std::move(said);
}

CompanionModel::Ticket CompanionModel::begin(const std::string& key) {
    m_inFlight.push_back({.ticket = std::make_shared<GradeTicket>(), .key = key});
    return m_inFlight.back().ticket;
}

void CompanionModel::end(const Ticket& ticket) {
    std::erase_if(m_inFlight, [&](const InFlight& each) { return each.ticket == ticket; });
}

void CompanionModel::captureInTurn(DetectedApp app, Continuation then) {
    m_captures.emplace_back(std::move(app), std::move(then));
    // Two captures at once would read each other's clipboard.
    if (m_captures.size() != 1) return;
    // Told once for a row of captures: the panel lends the keyboard only while there is one.
    onCapture(true);
    startNextCapture();
}

void CompanionModel::startNextCapture() {
    m_ports.dispatcher.background([this, capture = m_ports.capture,
                                   &dispatcher = m_ports.dispatcher, app = m_captures.front().first,
                                   alive = std::weak_ptr(m_alive)] {
        auto result = capture(app);
        dispatcher.main([this, alive, result = std::move(result)]() mutable {
            // The model has gone; the capture was made for nobody.
            if (alive.expired()) return;
            const auto then = std::move(m_captures.front().second);
            m_captures.pop_front();
            // The next is started before the work of this one begins, which may take minutes.
            if (!m_captures.empty()) {
                startNextCapture();
            } else {
                onCapture(false);
            }
            then(std::move(result));
        });
    });
}

void CompanionModel::publishVerdict(Ticket ticket, GradedWork about, history::VerdictEntry kept,
                                    Accepted job, std::function<Verdict()> work) {
    m_ports.dispatcher.background([this, &dispatcher = m_ports.dispatcher, work = std::move(work),
                                   about = std::move(about), kept = std::move(kept),
                                   job = std::move(job), history = m_ports.history,
                                   ticket = std::move(ticket), alive = std::weak_ptr(m_alive)] {
        auto result = work();
        // Accepted before it was cancelled, and kept after: nobody else knows of it.
        if (history != nullptr && ticket->cancelled() && !job->id.empty()) {
            history->endUnderWay(job->id);
        }
        // Computed in the background, assigned on the main thread.
        dispatcher.main(
            [this, alive, ticket, about, kept, job, result = std::move(result)]() mutable {
                if (alive.expired() || ticket->cancelled()) return;
                end(ticket);
                remember(std::move(kept), result, *job);
                about.isKept = job->keepsWork;
                gradedWork = std::move(about);
                flawNote = std::nullopt;
                m_undo.reset();
                verdict = std::move(result);
                grading = false;
                onVerdict();
            });
    });
}

void CompanionModel::seedDemo() {
    // Everything that a panel can show, without asking anything.
    if (const auto* figma = catalog.appForBundleId("com.figma.Desktop")) {
        detected =
            DetectedApp{.rawBundleId = "com.figma.Desktop", .rawName = "Figma", .app = *figma};
    }
    hasKey = true;
    const auto demo =
        AgentScan::detect({}, {"claude", "codex", "ollama"}, {"cursor"}, {"claude", "codex"});
    std::vector<DetectedAgent> shown;
    std::copy_if(demo.begin(), demo.end(), std::back_inserter(shown),
                 [](const DetectedAgent& agent) { return agent.present; });
    agents = std::move(shown);
    verdict = Verdict{
        .band = Band::route_to_fix,
        .score = 0.62,
        .flaws = {{"HIGH", "contrast",
                   "Primary CTA text fails AA contrast (3.1:1) on the teal fill."},
                  {"MEDIUM", "hierarchy",
                   "Two competing H1s on the hero — the eye has no single entry point."},
                  {"LOW", "spacing", "Card grid gutters drift 16→20px between rows."}},
        .runId = "demo-run",
        .warming = false,
        .error = std::nullopt,
    };
    workflow =
        WorkflowState{.node = "design",
                      .pipeline = {{"Obsidian", "text"}, {"Figma", "ui_ux"}, {"VS Code", "code"}},
                      .multiModal = true};
}

} // namespace kelvane
