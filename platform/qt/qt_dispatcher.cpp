#include "platform/qt/qt_dispatcher.h"

#include <QMetaObject>
#include <QObject>
#include <QThreadPool>

#include <mutex>
#include <utility>

namespace kelvane {

namespace {

// Jobs mostly wait (for a server, for a selection), so their number has nothing to do with cores.
constexpr int kThreads = 8;

class QtDispatcher : public Dispatcher {
public:
    QtDispatcher() { m_pool.setMaxThreadCount(kThreads); }
    QtDispatcher(const QtDispatcher&) = delete;
    QtDispatcher& operator=(const QtDispatcher&) = delete;

    ~QtDispatcher() override {
        {
            const std::lock_guard lock(m_mutex);
            m_closing = true;
        }
        // Jobs that have not begun are dropped, and those that have are waited for: they use what
        // goes after this.
        m_pool.clear();
        m_pool.waitForDone();
    }

    void background(std::function<void()> job) override {
        const std::lock_guard lock(m_mutex);
        if (!m_closing) m_pool.start(std::move(job));
    }

    void main(std::function<void()> job) override {
        // Queued even on the main thread: a job never runs within the one that asks for it.
        QMetaObject::invokeMethod(&m_mainThread, std::move(job), Qt::QueuedConnection);
    }

private:
    QObject m_mainThread; // events posted to it die with it
    std::mutex m_mutex;
    bool m_closing = false;
    QThreadPool m_pool;
};

} // namespace

std::unique_ptr<Dispatcher> makeQtDispatcher() {
    return std::make_unique<QtDispatcher>();
}

} // namespace kelvane
