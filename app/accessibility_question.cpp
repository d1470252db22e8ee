#include "app/accessibility_question.h"

#include "app/accessibility_choice.h"
#include "platform/ports/accessibility_switch.h"
#include "platform/ports/dialogs.h"
#include "text/translation.h"

#include <cstddef>
#include <utility>

namespace kelvane {

namespace {

using accessibility_choice::Answer;
using text::translated;

// Where the buttons stand; what the Return key presses changes nothing.
constexpr std::size_t kChange = 1;
constexpr std::size_t kLeave = 0;

Alert onQuestion() {
    return {.style = Alert::Style::Informational,
            .message = translated("Alert", "Read the text of more programs?"),
            .informative = translated(
                "Alert",
                "This desktop does not show Kelvane what you have selected. Programs tell it "
                "themselves once accessibility is switched on: Firefox at once, Qt programs when "
                "they are started the next time.\n\n"
                "That is a setting of yours, not of Kelvane: it stays on after you log out, every "
                "program of yours sees it, and any of them may then read the text of the others. "
                "It costs about 6 MB of memory, and Firefox starts a little more slowly.\n\n"
                "You can switch it off again in Kelvane's Settings menu."),
            .buttons = {translated("Alert", "Leave Off"), translated("Alert", "Switch On")}};
}

Alert offQuestion() {
    return {.style = Alert::Style::Informational,
            .message = translated("Alert", "Switch accessibility off again?"),
            .informative = translated(
                "Alert", "Kelvane will then read selected text from GTK programs only. If you use "
                         "a screen reader or another program that needs the setting, leave it on."),
            .buttons = {translated("Alert", "Leave On"), translated("Alert", "Switch Off")}};
}

Alert failure() {
    return {.style = Alert::Style::Warning,
            .message = translated("Alert", "The setting could not be changed."),
            .informative = translated(
                "Alert", "The desktop's accessibility service did not take it. Nothing else was "
                         "changed."),
            .buttons = {}};
}

Alert leftOn() {
    return {.style = Alert::Style::Warning,
            .message = translated("Alert", "Accessibility stays switched on."),
            .informative = translated(
                "Alert", "Kelvane switched it on for you, and the desktop's accessibility service "
                         "did not let it be switched off again. You can do so in your desktop's "
                         "settings."),
            .buttons = {}};
}

} // namespace

AccessibilityQuestion::AccessibilityQuestion(Ports ports, std::filesystem::path braskHome)
    : m_ports(ports),
      m_braskHome(std::move(braskHome)) {}

void AccessibilityQuestion::askOnce(const DesktopLimit& limit) {
    if (!limit.accessibilityHelps) return;
    if (accessibility_choice::remembered(m_ports.files, m_braskHome)) return;
    if (m_ports.setting.isOn() != false) return;
    offerOn();
}

void AccessibilityQuestion::change() {
    const auto said = accessibility_choice::remembered(m_ports.files, m_braskHome);
    const auto isOn = m_ports.setting.isOn();
    if (!isOn) return tellFailure();
    if (*isOn && said == Answer::On) return offerOff();
    if (!*isOn) return offerOn();
    // Somebody else switched it on: it is not ours to switch off.
    m_ports.dialogs.show(
        {.style = Alert::Style::Informational,
         .message = translated("Alert", "Accessibility is switched on already."),
         .informative = translated("Alert", "Firefox tells Kelvane what is selected, and so do Qt "
                                            "programs that were started since."),
         .buttons = {}});
}

void AccessibilityQuestion::giveBack() {
    if (accessibility_choice::remembered(m_ports.files, m_braskHome) != Answer::On) return;
    if (m_ports.setting.isOn() == false) return; // He switched it off himself.
    if (!m_ports.setting.set(false)) {
        m_ports.dialogs.show(leftOn());
        return;
    }
    // Should the note outlive the removal, what others switch on is not to be taken for ours.
    accessibility_choice::remember(m_ports.files, m_braskHome, Answer::Off);
}

void AccessibilityQuestion::offerOn() {
    const auto button = m_ports.dialogs.show(onQuestion());
    if (button == kLeave) accessibility_choice::remember(m_ports.files, m_braskHome, Answer::No);
    if (button != kChange) return;
    // First the note of it, so that what was switched on can always be switched off again.
    if (!accessibility_choice::remember(m_ports.files, m_braskHome, Answer::On)) {
        return tellFailure();
    }
    if (m_ports.setting.set(true)) return;
    accessibility_choice::remember(m_ports.files, m_braskHome, Answer::No);
    tellFailure();
}

void AccessibilityQuestion::offerOff() {
    if (m_ports.dialogs.show(offQuestion()) != kChange) return;
    if (!m_ports.setting.set(false)) return tellFailure();
    accessibility_choice::remember(m_ports.files, m_braskHome, Answer::Off);
}

void AccessibilityQuestion::tellFailure() {
    m_ports.dialogs.show(failure());
}

} // namespace kelvane
