// Has nothing happened for a while?

#pragma once

#include <QTimer>

#include <functional>

namespace kelvane {

/// Calls back once when `begin` has not been called again for as long as it takes. Main thread.
class QuietTime {
public:
    explicit QuietTime(std::function<void()> quiet) {
        m_timer.setSingleShot(true);
        m_timer.setInterval(10'000);
        m_timer.setTimerType(Qt::VeryCoarseTimer);
        QObject::connect(&m_timer, &QTimer::timeout, [quiet = std::move(quiet)] { quiet(); });
    }

    void begin() { m_timer.start(); }

private:
    QTimer m_timer;
};

} // namespace kelvane
