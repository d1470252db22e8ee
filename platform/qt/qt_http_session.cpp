#include "platform/qt/qt_http_session.h"

#include "platform/ports/quit_signal.h"
#include "platform/qt/http_exchange.h"

#include <QMetaObject>
#include <QObject>
#include <QThread>

#include <condition_variable>
#include <mutex>
#include <optional>
#include <utility>

namespace kelvane {

namespace {

// Everything that lives on the network thread.
class NetworkSide : public QObject {
public:
    ~NetworkSide() override { close(); }

    void start(HttpRequest request, HttpExchange::Report report) {
        if (m_closed) return;
        auto* exchange = new HttpExchange(std::move(request), std::move(report), &m_exchanges);
        exchange->start();
    }

    // Ends what is under way without a report; nobody waits for one any more.
    void close() {
        m_closed = true;
        const QObjectList running = m_exchanges.children();
        qDeleteAll(running);
    }

private:
    bool m_closed = false;
    QObject m_exchanges{this}; // the parent of those that are under way
};

class QtHttpSession : public HttpSession {
public:
    explicit QtHttpSession(QuitSignal& quit) : m_network(new NetworkSide) {
        m_network->moveToThread(&m_thread);
        QObject::connect(&m_thread, &QThread::finished, m_network, &QObject::deleteLater);
        m_thread.setObjectName(QStringLiteral("network"));
        m_thread.start();
        m_onQuit = quit.onRaise([this] { stop(); });
    }
    QtHttpSession(const QtHttpSession&) = delete;
    QtHttpSession& operator=(const QtHttpSession&) = delete;

    ~QtHttpSession() override {
        m_onQuit.reset();
        m_thread.quit();
        m_thread.wait();
    }

    std::optional<HttpResponse> send(const HttpRequest& request) override {
        if (!isSendable(request)) return std::nullopt;
        {
            const std::lock_guard lock(m_mutex);
            if (m_stopped) return std::nullopt;
        }
        const auto call = std::make_shared<Call>();
        QMetaObject::invokeMethod(
            m_network,
            [this, request, call] {
                m_network->start(request, [this, call](std::optional<HttpResponse> response) {
                    const std::lock_guard lock(m_mutex);
                    call->response = std::move(response);
                    call->over = true;
                    m_changed.notify_all();
                });
            },
            Qt::QueuedConnection);
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return call->over || m_stopped; });
        return call->over ? std::move(call->response) : std::nullopt;
    }

private:
    struct Call { // guarded by m_mutex
        bool over = false;
        std::optional<HttpResponse> response;
    };

    // The callers go first: the network thread may be busy asking the system for its proxies.
    void stop() {
        {
            const std::lock_guard lock(m_mutex);
            m_stopped = true;
            m_changed.notify_all();
        }
        QMetaObject::invokeMethod(
            m_network, [this] { m_network->close(); }, Qt::QueuedConnection);
    }

    QThread m_thread;
    NetworkSide* m_network; // deleted on the network thread when that ends
    std::mutex m_mutex;
    std::condition_variable m_changed; // a call is over, or all are
    bool m_stopped = false;
    QuitSignal::Registration m_onQuit;
};

} // namespace

std::unique_ptr<HttpSession> makeQtHttpSession(QuitSignal& quit) {
    return std::make_unique<QtHttpSession>(quit);
}

} // namespace kelvane
