#include "app/grading_question.h"

#include "app/grading_place.h"
#include "platform/ports/dialogs.h"

namespace kelvane {

namespace {

using Where = ServiceChoice::Where;

enum Answer : std::size_t { kThisMachine, kAccount, kLater };

Alert cannotBe(const std::string& why) {
    return {.style = Alert::Style::Warning,
            .message = "This machine cannot grade yet",
            .informative = why,
            .buttons = {}};
}

} // namespace

Alert gradingAlert(const ServiceChoice& now, const std::string& service, bool isSetOutside) {
    std::string text = "On this machine: your work stays here and nothing else is needed.\n\n"
                       "With a service account: your work is sent to " +
                       service + ", and you need a key.";
    bool chosen = true;
    switch (now.where) {
    case Where::ThisMachine:
        text += "\n\nNow: on this machine.";
        break;
    case Where::Account:
        text += "\n\nNow: with a service account.";
        break;
    case Where::Unasked:
    case Where::Later:
        chosen = false;
        text +=
            "\n\nYou can change this at any time: “Where to grade…” in the menu of the icon, or "
            "kelvane --service.";
        break;
    }
    if (isSetOutside) {
        text +=
            "\n\nBRASK_API_BASE is set where Kelvane was started from, and wins over this choice.";
    }
    return {.style = Alert::Style::Informational,
            .message = "Where shall your work be graded?",
            .informative = text,
            .buttons = {"Grade on this machine", "Use a service account",
                        chosen ? "Leave it" : "Later"}};
}

void askWhereToGrade(const GradingQuestion& question) {
    while (true) {
        const auto answer = question.dialogs.show(
            gradingAlert(question.place.choice(), question.service, question.isSetOutside()));
        if (answer == kAccount) {
            question.place.useAccount();
            if (!question.hasKey()) question.openKeyPage();
            return;
        }
        if (answer != kThisMachine) {
            question.place.decideLater();
            return;
        }
        const auto problem = question.place.useThisMachine();
        if (!problem) return;
        question.dialogs.show(cannotBe(*problem));
    }
}

} // namespace kelvane
