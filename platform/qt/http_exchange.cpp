#include "platform/qt/http_exchange.h"

#include "text/unicode.h"

#include <QHostAddress>
#include <QIODevice>
#include <QNetworkProxyFactory>
#include <QNetworkReply>
#include <QNetworkRequest>

#include <algorithm>
#include <array>
#include <cctype>
#include <chrono>
#include <limits>
#include <string_view>
#include <utility>

namespace kelvane {

namespace {

constexpr std::size_t kLargestBody = std::size_t{256} * 1024 * 1024;
constexpr int kMostRedirects = 10;

// A body that can be read once. When a connection breaks before the answer Qt sends the
// request again by itself; a body that cannot be rewound makes that an error instead.
class OneTimeBody : public QIODevice {
public:
    explicit OneTimeBody(std::shared_ptr<const std::string> bytes) : m_bytes(std::move(bytes)) {
        open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    }

    [[nodiscard]] bool isSequential() const override { return true; }
    [[nodiscard]] qint64 bytesAvailable() const override {
        return static_cast<qint64>(m_bytes->size() - m_read) + QIODevice::bytesAvailable();
    }
    [[nodiscard]] bool atEnd() const override { return m_read == m_bytes->size(); }
    bool seek(qint64) override { return false; }
    bool reset() override { return false; }

protected:
    qint64 readData(char* data, qint64 maxSize) override {
        if (atEnd()) return -1;
        const std::size_t size =
            std::min(m_bytes->size() - m_read, static_cast<std::size_t>(maxSize));
        std::copy_n(m_bytes->data() + m_read, size, data);
        m_read += size;
        return static_cast<qint64>(size);
    }
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    std::shared_ptr<const std::string> m_bytes;
    std::size_t m_read = 0;
};

bool isLoopback(const QString& host) {
    if (host == QLatin1String("localhost") || host.endsWith(QLatin1String(".localhost"))) {
        return true;
    }
    return QHostAddress(host).isLoopback();
}

class SystemProxies : public QNetworkProxyFactory {
public:
    QList<QNetworkProxy> queryProxy(const QNetworkProxyQuery& query) override {
        if (isLoopback(query.peerHostName())) return {QNetworkProxy(QNetworkProxy::NoProxy)};
        return systemProxyForQuery(query);
    }
};

bool isToken(std::string_view name) {
    constexpr std::string_view kMarks = "!#$%&'*+-.^_`|~";
    return !name.empty() && std::all_of(name.begin(), name.end(), [&](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) != 0 ||
               kMarks.find(c) != std::string_view::npos;
    });
}

bool isOneLine(std::string_view value) {
    constexpr std::string_view kBreaks("\r\n\0", 3);
    return value.find_first_of(kBreaks) == std::string_view::npos;
}

bool isReachable(const QUrl& url) {
    const QString scheme = url.scheme();
    return url.isValid() && !url.host().isEmpty() &&
           (scheme == QLatin1String("http") || scheme == QLatin1String("https"));
}

QUrl urlOf(const HttpRequest& request) {
    return QUrl(QString::fromStdString(request.url), QUrl::StrictMode);
}

bool isSameOrigin(const QUrl& a, const QUrl& b) {
    const auto port = [](const QUrl& url) {
        return url.port(url.scheme() == QLatin1String("https") ? 443 : 80);
    };
    return a.scheme() == b.scheme() && a.host() == b.host() && port(a) == port(b);
}

bool isRedirect(int status) {
    constexpr std::array kRedirects{301, 302, 303, 307, 308};
    return std::find(kRedirects.begin(), kRedirects.end(), status) != kRedirects.end();
}

// Qt reports an HTTP error status as an error too; everything else that it reports is a
// failed transport.
bool isTransportFailure(QNetworkReply::NetworkError error, int status) {
    if (error == QNetworkReply::NoError) return false;
    // It tries to rewind the body for a redirect that repeats the request, which is ours to do.
    if (error == QNetworkReply::ContentReSendError) return status != 307 && status != 308;
    if (status < 400) return true;
    const bool aboutStatus =
        error == QNetworkReply::ProxyAuthenticationRequiredError ||
        error == QNetworkReply::ProtocolInvalidOperationError ||
        (error >= QNetworkReply::ContentAccessDenied &&
         error <= QNetworkReply::UnknownContentError) ||
        (error >= QNetworkReply::InternalServerError && error <= QNetworkReply::UnknownServerError);
    return !aboutStatus;
}

// Whether all of the announced body came. Qt takes the end of the connection for the end
// of the body when it learns of both at once. An unpacked body has another length than announced.
bool isWhole(const QNetworkReply& reply, const HttpResponse& response) {
    if (response.status == 204 || response.status == 304) return true;
    if (reply.hasRawHeader("Content-Encoding")) return true;
    bool isNumber = false;
    const qulonglong length = reply.rawHeader("Content-Length").trimmed().toULongLong(&isNumber);
    return !isNumber || length == response.body.size();
}

std::unique_ptr<QNetworkAccessManager> makeNetworkAccess() {
    auto access = std::make_unique<QNetworkAccessManager>();
    access->setProxyFactory(new SystemProxies); // the manager takes it over
    return access;
}

bool isAboutBody(const std::string& headerName) {
    constexpr std::string_view kPrefix = "content-";
    return headerName.size() >= kPrefix.size() &&
           std::equal(kPrefix.begin(), kPrefix.end(), headerName.begin(),
                      [](char a, char b) { return a == text::lowerAscii(b); });
}

} // namespace

bool isSendable(const HttpRequest& request) {
    return (request.method == "GET" || request.method == "POST" || request.method == "DELETE") &&
           isReachable(urlOf(request)) &&
           std::all_of(request.headers.begin(), request.headers.end(), [](const auto& header) {
               return isToken(header.first) && isOneLine(header.second);
           });
}

HttpExchange::HttpExchange(HttpRequest request, Report report, QObject* parent)
    : QObject(parent),
      m_request(std::move(request)),
      m_report(std::move(report)) {
    if (m_request.body || m_request.method == "POST") {
        m_body =
            std::make_shared<const std::string>(std::exchange(m_request.body, {}).value_or(""));
    }
    m_silence.setSingleShot(true);
    m_silence.setTimerType(Qt::PreciseTimer);
    connect(&m_silence, &QTimer::timeout, this, &HttpExchange::giveUp);
}

HttpExchange::~HttpExchange() {
    if (m_reply) {
        m_reply->disconnect(this);
        m_reply->abort();
        delete m_reply;
    }
}

void HttpExchange::start() {
    sendTo(urlOf(m_request));
}

void HttpExchange::sendTo(const QUrl& url) {
    QNetworkRequest request(url);
    for (const auto& [name, value] : m_request.headers) {
        request.setRawHeader(QByteArray::fromStdString(name), QByteArray::fromStdString(value));
    }
    // The access is this request's alone and has no cache, so nothing is kept for later ones.
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::ManualRedirectPolicy);
    request.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);

    m_response = {};
    heardSomething();
    // Each request has a connection of its own, and goes by the call for methods that Qt
    // does not know: it must neither send again what the server may have acted on nor invent a
    // content type.
    const QByteArray method = QByteArray::fromStdString(m_request.method);
    std::unique_ptr<OneTimeBody> body;
    if (m_body) {
        body = std::make_unique<OneTimeBody>(m_body);
        request.setHeader(QNetworkRequest::ContentLengthHeader,
                          static_cast<qulonglong>(m_body->size()));
        request.setAttribute(QNetworkRequest::DoNotBufferUploadDataAttribute, true);
    }
    m_access = makeNetworkAccess();
    m_reply = m_access->sendCustomRequest(request, method, body.get());
    if (body) body.release()->setParent(m_reply);
    connect(m_reply, &QNetworkReply::metaDataChanged, this, &HttpExchange::heardSomething);
    connect(m_reply, &QNetworkReply::uploadProgress, this, &HttpExchange::heardSomething);
    connect(m_reply, &QNetworkReply::readyRead, this, [this] {
        heardSomething();
        readMore();
    });
    connect(m_reply, &QNetworkReply::finished, this, &HttpExchange::replyFinished);
}

void HttpExchange::heardSomething() {
    constexpr std::chrono::milliseconds kLongest{std::numeric_limits<int>::max()};
    m_silence.start(std::clamp(m_request.timeout, std::chrono::milliseconds(0), kLongest));
}

void HttpExchange::readMore() {
    std::array<char, std::size_t{64} * 1024> chunk{};
    while (!m_gaveUp) {
        const qint64 size = m_reply->read(chunk.data(), chunk.size());
        if (size <= 0) return;
        m_response.body.append(chunk.data(), static_cast<std::size_t>(size));
        if (m_response.body.size() > kLargestBody) giveUp();
    }
}

void HttpExchange::giveUp() {
    m_gaveUp = true;
    m_reply->abort(); // which finishes it
}

void HttpExchange::replyFinished() {
    m_silence.stop();
    if (!m_gaveUp) readMore();
    QNetworkReply* reply = std::exchange(m_reply, nullptr);
    reply->disconnect(this);
    reply->deleteLater();
    m_response.status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (m_gaveUp || m_response.status <= 0 ||
        isTransportFailure(reply->error(), m_response.status) || !isWhole(*reply, m_response)) {
        finish(std::nullopt);
        return;
    }
    if (isRedirect(m_response.status) && reply->hasRawHeader("Location")) {
        const QUrl target =
            reply->url().resolved(QUrl::fromEncoded(reply->rawHeader("Location").trimmed()));
        if (isReachable(target) && isSameOrigin(reply->url(), target)) {
            follow(target, m_response.status);
            return;
        }
    }
    finish(std::move(m_response));
}

void HttpExchange::follow(const QUrl& url, int status) {
    if (++m_redirects > kMostRedirects) {
        finish(std::nullopt);
        return;
    }
    const bool asPlainGet =
        status == 303 || (m_request.method == "POST" && (status == 301 || status == 302));
    if (asPlainGet) {
        m_request.method = "GET";
        m_body.reset();
        std::erase_if(m_request.headers,
                      [](const auto& header) { return isAboutBody(header.first); });
    }
    // Not from here: this runs inside the reply, whose access the next request replaces.
    QMetaObject::invokeMethod(
        this, [this, url] { sendTo(url); }, Qt::QueuedConnection);
}

void HttpExchange::finish(std::optional<HttpResponse> response) {
    m_report(std::move(response));
    deleteLater();
}

} // namespace kelvane
