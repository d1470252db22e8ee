#include "app/shell/qt/qt_application.h"

#include <QApplication>
#include <QMetaObject>
#include <QSocketNotifier>
#include <QTimer>
#include <QWidget>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace kelvane {

namespace {

class QtApplication : public Application {
public:
    QtApplication(std::function<void()> ending, std::function<void()> bringForward)
        : m_ending(std::move(ending)),
          m_bringForward(std::move(bringForward)) {}

    void activate() override { m_bringForward(); }

    void terminate(int status) override {
        if (std::exchange(m_terminated, true)) return;
        m_ending();
        // Posted, so that it is heard also when the loop has not begun to run.
        later([status] { QCoreApplication::exit(status); });
    }

    void later(std::function<void()> job) override {
        QMetaObject::invokeMethod(QCoreApplication::instance(), std::move(job),
                                  Qt::QueuedConnection);
    }

private:
    std::function<void()> m_ending;
    std::function<void()> m_bringForward;
    bool m_terminated = false;
};

class QtTimer : public Timer {
public:
    QtTimer(std::chrono::milliseconds interval, std::function<void()> block) {
        m_timer.setTimerType(Qt::CoarseTimer);
        QObject::connect(&m_timer, &QTimer::timeout, std::move(block));
        m_timer.start(interval);
    }

private:
    QTimer m_timer;
};

class QtTicker : public Ticker {
public:
    std::unique_ptr<Timer> every(std::chrono::milliseconds interval,
                                 std::function<void()> block) override {
        return std::make_unique<QtTimer>(interval, std::move(block));
    }
};

int quitPipe[2] = {-1, -1};

void onQuitSignal(int) {
    const char byte = 0;
    [[maybe_unused]] const auto written = ::write(quitPipe[1], &byte, 1);
}

void handleSignals() {
    if (::pipe(quitPipe) != 0) return;
    for (const int end : quitPipe) {
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
        ::fcntl(end, F_SETFL, O_NONBLOCK);
    }
    struct sigaction action {};
    action.sa_handler = onQuitSignal;
    action.sa_flags = SA_RESTART;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) ::sigaction(signal, &action, nullptr);
    action.sa_handler = SIG_IGN;
    ::sigaction(SIGPIPE, &action, nullptr);
}

} // namespace

std::unique_ptr<Application> makeQtApplication(std::function<void()> ending,
                                               std::function<void()> bringForward) {
    return std::make_unique<QtApplication>(std::move(ending), std::move(bringForward));
}

bool bringAlertForward() {
    QWidget* const alert = QApplication::activeModalWidget();
    if (alert == nullptr) return false;
    alert->raise();
    alert->activateWindow();
    return true;
}

std::unique_ptr<Ticker> makeQtTicker() {
    return std::make_unique<QtTicker>();
}

struct QuitOnSignal::Notifier {
    QSocketNotifier socket{quitPipe[0], QSocketNotifier::Read};
};

QuitOnSignal::QuitOnSignal(std::function<void()> quit) {
    handleSignals();
    if (quitPipe[0] < 0) return;
    m_notifier = std::make_unique<Notifier>();
    QObject::connect(&m_notifier->socket, &QSocketNotifier::activated, [quit = std::move(quit)] {
        char bytes[16];
        while (::read(quitPipe[0], bytes, sizeof bytes) > 0) {
        }
        quit();
    });
}

QuitOnSignal::~QuitOnSignal() = default;

} // namespace kelvane
