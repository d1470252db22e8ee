#include "app/console.h"

#include "app/verdict_text.h"
#include "platform/ports/dispatcher.h"
#include "text/unicode.h"

#include <ostream>
#include <utility>

namespace kelvane {

Console::Console(CompanionModel& model, Dispatcher& dispatcher, std::ostream& out, Actions actions)
    : m_model(model),
      m_dispatcher(dispatcher),
      m_out(out),
      m_actions(std::move(actions)),
      m_alive(std::make_shared<const bool>(true)),
      m_changes(model.observeWillChange([this] { redrawSoon(); })),
      m_verdicts(model.verdict.observe(
          [this](const std::optional<Verdict>& next) { m_newVerdict = next.has_value(); })) {}

void Console::start() {
    m_out << "Kelvane Companion. Bring the app with your work to the front, then type here:\n"
             "  grade    grade the work in that app\n"
             "  iterate  grade it again after fixing the flaws\n"
             "  status   what is in front, which agents are here\n"
             "  quit\n";
    redraw();
}

void Console::handle(std::string_view line) {
    const auto command = text::trimmedWhitespaceAndNewlines(line);
    if (command.empty()) return;
    if (command == "grade") {
        startGrade();
    } else if (command == "iterate") {
        startIterate();
    } else if (command == "status") {
        status();
    } else if (command == "quit") {
        m_actions.quit();
    } else {
        m_out << "Type grade, iterate, status or quit.\n" << std::flush;
    }
}

void Console::inputEnded() {
    m_inputEnded = true;
    if (!*m_model.grading) m_actions.quit();
}

void Console::redrawSoon() {
    if (m_redrawComing) return;
    m_redrawComing = true;
    m_dispatcher.main([this, alive = std::weak_ptr(m_alive)] {
        if (alive.expired()) return;
        m_redrawComing = false;
        redraw();
    });
}

void Console::redraw() {
    const bool ended = m_shown.grading && !*m_model.grading;
    m_shown.grading = *m_model.grading;
    if (auto front = frontText(); front != m_shown.front) {
        m_shown.front = std::move(front);
        m_out << m_shown.front << "\n";
    }
    if (ended) showOutcome();
    m_out << std::flush;
    if (ended && m_inputEnded) m_actions.quit();
}

std::string Console::frontText() const {
    const auto& detected = *m_model.detected;
    if (detected.app) {
        return "You're in " + withVisibleControls(detected.app->name) + " · " +
               withVisibleControls(m_model.catalog.category(detected.app->category)) +
               " · grades as " + withVisibleControls(detected.app->primaryModality);
    }
    if (detected.rawName.empty()) return "No app in front yet";
    return withVisibleControls(detected.rawName) + " isn't in the catalog yet";
}

void Console::status() {
    m_out << frontText() << "\n"
          << "catalog  " << m_model.catalog.apps().size() << " apps\n"
          << "key      " << (*m_model.hasKey ? "there" : "missing") << "\n";
    for (const auto& agent : *m_model.agents) {
        if (!agent.present) continue;
        m_out << "agent    " << agent.name << (agent.running ? ", running" : ", installed");
        if (agent.wired) m_out << (*agent.wired ? ", wired" : ", not wired");
        m_out << "\n";
    }
    std::string pipeline;
    for (const auto& step : m_model.workflow->pipeline) {
        pipeline += (pipeline.empty() ? "" : "  →  ") + withVisibleControls(step.name);
    }
    if (!pipeline.empty()) m_out << "workflow " << pipeline << "\n";
    m_out << std::flush;
}

void Console::startGrade() {
    if (*m_model.grading) {
        m_out << "Still grading.\n" << std::flush;
        return;
    }
    m_iteratingFrom.reset();
    m_model.refresh();
    m_newVerdict = false;
    m_model.grade();
    if (*m_model.grading) {
        m_out << "Grading… the critic may be warming up\n";
    } else if (!m_model.detected->supported()) {
        m_out << "Nothing to grade: " << frontText() << ".\n";
    } else {
        m_out << "No key: set BRASK_API_KEY, or put the key into ~/.brask/key.\n";
    }
    m_out << std::flush;
}

void Console::startIterate() {
    if (*m_model.grading) {
        m_out << "Still grading.\n" << std::flush;
        return;
    }
    const auto before = *m_model.verdict;
    m_newVerdict = false;
    m_model.iterate();
    if (*m_model.grading) {
        m_iteratingFrom = before;
        m_out << "Grading the revision…\n";
    } else if (!before || !before->runId) {
        m_out << "Nothing to iterate on: grade first.\n";
    } else {
        m_out << "No key: set BRASK_API_KEY, or put the key into ~/.brask/key.\n";
    }
    m_out << std::flush;
}

void Console::showOutcome() {
    if (const auto& note = *m_model.note) m_out << withVisibleControls(*note) << "\n";
    if (m_newVerdict) {
        const auto& verdict = **m_model.verdict;
        m_out << (m_iteratingFrom ? changeText(*m_iteratingFrom, verdict) : verdictText(verdict));
        if (verdict.runId) m_out << "report " << m_actions.reportAddress(*verdict.runId) << "\n";
    }
    m_out << "done\n";
    m_iteratingFrom.reset();
}

} // namespace kelvane
