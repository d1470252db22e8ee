// The session over TLS: who is trusted, and that nobody else is told anything.

#include "platform/ports/quit_signal.h"
#include "platform/qt/qt_http_session.h"
#include "tests/source_tree.h"
#include "tests/wire/fault_server.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QSslServer>
#include <QSslSocket>
#include <QThread>

#include <chrono>
#include <memory>
#include <mutex>
#include <string>

namespace kelvane::wire {
namespace {

using namespace std::chrono_literals;

QByteArray fixture(const char* name) {
    QFile file(QString::fromStdString(inSourceTree("tests/wire/tls/") + name));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name;
    return file.readAll();
}

/// Answers every request with the same bytes and then closes.
class TlsServer {
public:
    explicit TlsServer(std::string answer) : m_server(new QSslServer) {
        QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
        configuration.setLocalCertificate(QSslCertificate(fixture("server.pem")));
        configuration.setPrivateKey(QSslKey(fixture("server.key"), QSsl::Ec));
        m_server->setSslConfiguration(configuration);
        EXPECT_TRUE(m_server->listen(QHostAddress::LocalHost));
        m_port = m_server->serverPort();
        QObject::connect(m_server, &QSslServer::pendingConnectionAvailable, m_server,
                         [this, answer = std::move(answer)] {
                             while (QTcpSocket* socket = m_server->nextPendingConnection()) {
                                 attend(socket, answer);
                             }
                         });
        m_server->moveToThread(&m_thread);
        QObject::connect(&m_thread, &QThread::finished, m_server, &QObject::deleteLater);
        m_thread.start();
    }
    TlsServer(const TlsServer&) = delete;
    TlsServer& operator=(const TlsServer&) = delete;
    ~TlsServer() {
        m_thread.quit();
        m_thread.wait();
    }

    [[nodiscard]] std::string url(const std::string& host) const {
        return "https://" + host + ":" + std::to_string(m_port) + "/";
    }
    /// Everything that arrived, decrypted.
    [[nodiscard]] std::string heard() {
        const std::lock_guard lock(m_mutex);
        return m_heard;
    }

private:
    void attend(QTcpSocket* socket, const std::string& answer) {
        QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket, answer] {
            const std::lock_guard lock(m_mutex);
            m_heard += socket->readAll().toStdString();
            if (!m_heard.ends_with("\r\n\r\n")) return;
            socket->write(answer.data(), static_cast<qint64>(answer.size()));
            socket->disconnectFromHost();
        });
    }

    QThread m_thread;
    QSslServer* m_server;
    quint16 m_port = 0;
    std::mutex m_mutex;
    std::string m_heard;
};

class HttpSessionTls : public testing::Test {
protected:
    HttpSessionTls() {
        if (!QSslSocket::supportsSsl()) return;
        QSslConfiguration trusting = m_before;
        trusting.addCaCertificate(QSslCertificate(fixture("authority.pem")));
        QSslConfiguration::setDefaultConfiguration(trusting);
    }
    ~HttpSessionTls() override { QSslConfiguration::setDefaultConfiguration(m_before); }

    void trustNobody() { QSslConfiguration::setDefaultConfiguration(m_before); }

    std::optional<HttpResponse> get(const std::string& url) {
        return session->send({.method = "GET",
                              .url = url,
                              .headers = {{"Authorization", "Bearer key"}},
                              .body = std::nullopt,
                              .timeout = 10s});
    }

    QuitSignal quit;
    std::unique_ptr<HttpSession> session = makeQtHttpSession(quit);

private:
    QSslConfiguration m_before = QSslConfiguration::defaultConfiguration();
};

TEST_F(HttpSessionTls, TalksToAServerThatItTrusts) {
    ASSERT_TRUE(QSslSocket::supportsSsl());
    TlsServer server(answerBytes(200, "{}"));
    EXPECT_EQ(get(server.url("localhost")), (HttpResponse{200, "{}"}));
    EXPECT_NE(server.heard().find("Authorization: Bearer key\r\n"), std::string::npos);
}

TEST_F(HttpSessionTls, TellsNothingToAServerThatNobodyVouchesFor) {
    trustNobody();
    TlsServer server(answerBytes(200, "{}"));
    EXPECT_FALSE(get(server.url("localhost")));
    EXPECT_EQ(server.heard(), "");
}

TEST_F(HttpSessionTls, TellsNothingToAServerOfAnotherName) {
    TlsServer server(answerBytes(200, "{}"));
    EXPECT_FALSE(get(server.url("127.0.0.1")));
    EXPECT_EQ(server.heard(), "");
}

TEST_F(HttpSessionTls, IsAbsentWhereNoTlsIsSpoken) {
    FaultServer server;
    server.onAccept([](Connection& connection) {
        connection.send(answerBytes(400, "this is plain HTTP"));
        connection.waitForClient();
        connection.close();
    });
    EXPECT_FALSE(get("https://localhost:" + std::to_string(server.port()) + "/"));
}

TEST_F(HttpSessionTls, IsAbsentWhenTheBodyIsCutShort) {
    const std::string whole = answerBytes(200, std::string(1000, 'x'));
    TlsServer server(whole.substr(0, whole.size() - 500));
    EXPECT_FALSE(get(server.url("localhost")));
}

TEST_F(HttpSessionTls, DoesNotFollowARedirectThatLeavesTls) {
    FaultServer plain;
    TlsServer server(answerBytes(
        302, "moved", {{"Location", "http://localhost:" + std::to_string(plain.port()) + "/"}}));
    EXPECT_EQ(get(server.url("localhost")), (HttpResponse{302, "moved"}));
    EXPECT_EQ(plain.connections(), 0);
}

} // namespace
} // namespace kelvane::wire
