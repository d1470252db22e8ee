// The running program and its ticks, through Qt's event loop.

#pragma once

#include "app/shell/shell_ports.h"

#include <functional>
#include <memory>

namespace kelvane {

/// `ending` is called once, when the application is told to terminate and before its loop ends:
/// whatever waits in the background is to stop. `bringForward` asks the system to put this program
/// in front. Needs Qt's application object.
[[nodiscard]] std::unique_ptr<Application> makeQtApplication(std::function<void()> ending,
                                                             std::function<void()> bringForward);

/// Brings the alert that waits for an answer, if there is one, before everything else. Until it has
/// one nothing else of this program reacts, a panel that opened now among it. False when none
/// waits.
[[nodiscard]] bool bringAlertForward();

/// Precise to a twentieth of the interval, so that the system may wake for several things at once.
[[nodiscard]] std::unique_ptr<Ticker> makeQtTicker();

/// Calls `quit` in the event loop when the system asks this process to end (SIGINT, SIGTERM,
/// SIGHUP), and ignores SIGPIPE: a reader or a server that has gone is no reason to end. One per
/// process; the signals keep this handling when the object is gone.
class QuitOnSignal {
public:
    explicit QuitOnSignal(std::function<void()> quit);
    ~QuitOnSignal();
    QuitOnSignal(const QuitOnSignal&) = delete;
    QuitOnSignal& operator=(const QuitOnSignal&) = delete;

private:
    struct Notifier;
    std::unique_ptr<Notifier> m_notifier;
};

} // namespace kelvane
