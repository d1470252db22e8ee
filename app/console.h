// The companion in a terminal: reads commands, prints verdicts.
//
// It says what the panel shows: the application in front, the note of a capture, the verdict, and
// after an iterate what changed. Like the panel it redraws on the turn of the main loop that
// follows a change, when the model's whole step is done. Main thread only.

#pragma once

#include "app/companion_model.h"

#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace kelvane {

class Console {
public:
    struct Actions {
        std::function<void()> quit; ///< Ends the program. It may be called more than once.
        std::function<std::string(const std::string& runId)> reportAddress;
    };

    /// Everything handed in must outlive the console.
    Console(CompanionModel& model, Dispatcher& dispatcher, std::ostream& out, Actions actions);
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    /// Says what there is to type, and what is in front.
    void start();

    /// One line that the user typed, without its line break: "grade", "iterate", "status", "help"
    /// or "quit". Blanks around it do not matter; an empty line does nothing.
    void handle(std::string_view line);

    /// No more lines will come: quits, after the grade in flight if there is one.
    void inputEnded();

private:
    /// What the last redraw has shown, so that the next one says only what is new.
    struct Shown {
        std::string front;
        bool grading = false;
    };

    void redrawSoon();
    void redraw();
    void status();
    void startGrade();
    void startIterate();
    void showOutcome();
    [[nodiscard]] std::string frontText() const;

    CompanionModel& m_model;
    Dispatcher& m_dispatcher;
    std::ostream& m_out;
    Actions m_actions;
    Shown m_shown;
    std::optional<Verdict> m_iteratingFrom; ///< The verdict that the running iterate revises.
    bool m_newVerdict = false;              ///< One came since grading began.
    bool m_redrawComing = false;
    bool m_inputEnded = false;
    std::shared_ptr<const bool> m_alive;
    Subscription m_changes;
    Subscription m_verdicts;
};

} // namespace kelvane
