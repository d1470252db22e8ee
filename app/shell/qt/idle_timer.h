// A timer that tells when nothing has happened for a while.

#pragma once

#include <QTimer>

#include <chrono>
#include <functional>

namespace kelvane {

/// Calls back once when `restart` has not been called again for ten seconds. Main thread.
class IdleTimer {
public:
    explicit IdleTimer(std::function<void()> idle) {
        m_timer.setSingleShot(true);
        m_timer.setInterval(kIdle);
        m_timer.setTimerType(Qt::VeryCoarseTimer);
        QObject::connect(&m_timer, &QTimer::timeout, [idle = std::move(idle)] { idle(); });
    }

    void restart() { m_timer.start(); }

private:
    // Longer than a look at the panel takes, so that a second look finds everything warm.
    static constexpr std::chrono::seconds kIdle{10};

    QTimer m_timer;
};

} // namespace kelvane
