// One request of the Qt session on its way, redirects included.
//
// For the sources of this folder only. Lives on the network thread and is used from there alone.

#pragma once

#include "platform/ports/http_session.h"

#include <QNetworkAccessManager>
#include <QObject>
#include <QTimer>
#include <QUrl>

#include <functional>
#include <memory>
#include <optional>
#include <string>

class QNetworkReply;

namespace kelvane {

/// Whether the request can be sent at all: a method we know, an absolute http or https address with
/// a host, and headers that stay one line each.
[[nodiscard]] bool isSendable(const HttpRequest& request);

class HttpExchange : public QObject {
public:
    using Report = std::function<void(std::optional<HttpResponse>)>;

    /// Calls `report` exactly once when the exchange is over, unless it is destroyed before; then
    /// it deletes itself. Precondition: isSendable(request).
    HttpExchange(HttpRequest request, Report report, QObject* parent);
    ~HttpExchange() override;

    void start();

private:
    void sendTo(const QUrl& url);
    void readMore();
    void giveUp();
    void replyFinished();
    void follow(const QUrl& url, int status);
    void finish(std::optional<HttpResponse> response);
    void heardSomething();

    std::unique_ptr<QNetworkAccessManager> m_access; // of the present hop
    HttpRequest m_request;                           // of the present hop, its body apart
    std::shared_ptr<const std::string> m_body;
    Report m_report;
    QTimer m_silence;
    QNetworkReply* m_reply = nullptr;
    HttpResponse m_response;
    bool m_gaveUp = false;
    int m_redirects = 0;
};

} // namespace kelvane
