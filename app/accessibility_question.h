// The question whether accessibility may be switched on, and the way back.
//
// On a desktop that tells other programs nothing of its windows, programs still tell assistive
// technology; Qt programs and Firefox do so only while the user's accessibility setting is on. The
// setting is his, for all his programs, and it outlives the session: he is asked once, told what it
// means, and can have it switched off again from the menu. Main thread only.

#pragma once

#include "platform/ports/desktop_limits.h"

#include <filesystem>

namespace kelvane {

class AccessibilitySwitch;
class Dialogs;
class FileSystem;

class AccessibilityQuestion {
public:
    struct Ports {
        FileSystem& files;
        Dialogs& dialogs;
        AccessibilitySwitch& setting;
    };

    /// All of it must outlive this.
    AccessibilityQuestion(Ports ports, std::filesystem::path braskHome);

    /// Asks, once for all time, where the setting would help and is off. A question that is closed
    /// without an answer is asked again at the next start.
    void askOnce(const DesktopLimit& limit);

    /// What the menu's item does: offers to switch it on or, where this program did that, off
    /// again.
    void change();

    /// Before this program is removed: switches it off, without a question, where this program
    /// switched it on and it is on still. Says so when that cannot be done.
    void giveBack();

private:
    void offerOn();
    void offerOff();
    void tellFailure();

    Ports m_ports;
    std::filesystem::path m_braskHome;
};

} // namespace kelvane
