// One request of the curl session on its way over one connection, redirects not followed.
//
// For the sources of this folder only, and for the network thread only, with whose multi handle it
// is used.

#pragma once

#include "platform/curl/destination.h"
#include "platform/ports/http_session.h"

#include <chrono>
#include <curl/curl.h>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>

namespace kelvane {

/// The connections of a session that are proved, by their own end: "IP:PORT" and the key that the
/// server proved it holds.
using ProvedConnections = std::set<std::pair<std::string, std::string>>;

/// What the transfers of a session have in common. Outlives them and their connections.
struct TransferContext {
    uid_t user = 0;          ///< Whose Unix sockets are trusted beside root's.
    std::string authorities; ///< A file of certificates to trust; empty: those of the system.
    ProvedConnections proved;
    std::set<int> sockets; ///< Those that are open.
};

class CurlTransfer {
public:
    struct Options {
        bool onNewConnection = false;
        /// Sent only over a connection that is proved for the request's key.
        bool onProvedConnection = false;
        /// What to go through; "": nothing in between. Absent: what the environment says.
        std::optional<std::string> proxy = {};
    };

    /// Precondition: isSendable(request), and `timeout` is positive.
    CurlTransfer(const HttpRequest& request, const Options& options,
                 std::chrono::milliseconds timeout, TransferContext& context);
    ~CurlTransfer() = default;
    CurlTransfer(const CurlTransfer&) = delete;
    CurlTransfer& operator=(const CurlTransfer&) = delete;

    /// What the multi handle takes; its CURLOPT_PRIVATE is this object. Null when the library would
    /// not have it.
    [[nodiscard]] CURL* handle() { return m_handle.get(); }

    /// What came of it, told how the library ended. Absent for anything but a whole answer.
    [[nodiscard]] std::optional<HttpResponse> end(CURLcode result);

    /// The connection was not proved, and so nothing was sent.
    [[nodiscard]] bool lackedProof() const { return m_lackedProof; }
    /// The server had already ended the kept connection, and so nothing was sent.
    [[nodiscard]] bool cameTooLate() const { return m_cameTooLate; }
    /// Where the answer sends the client on, absolute; empty when nowhere.
    [[nodiscard]] std::string redirectTarget() const;
    /// The ends of the connection that was used, as "IP:PORT"; empty before it is there.
    [[nodiscard]] const std::string& ownEnd() const { return m_ownEnd; }
    [[nodiscard]] const std::string& serverEnd() const { return m_serverEnd; }

private:
    struct FreeHandle {
        void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
    };
    struct FreeList {
        void operator()(curl_slist* list) const { curl_slist_free_all(list); }
    };

    bool setUp(const Options& options, std::chrono::milliseconds timeout);
    void setHeaders();
    [[nodiscard]] int beforeSending(const char* serverIp, const char* ownIp, int serverPort,
                                    int ownPort);

    static std::size_t takeBody(char* data, std::size_t size, std::size_t count, void* self);
    static std::size_t takeHead(char* data, std::size_t size, std::size_t count, void* self);
    static curl_socket_t open(void* self, curlsocktype purpose, curl_sockaddr* address);
    static int closeSocket(void* context, curl_socket_t socket);
    static int askBeforeSending(void* self, char* serverIp, char* ownIp, int serverPort,
                                int ownPort);

    HttpRequest m_request;
    Destination m_destination;
    TransferContext& m_context;
    std::unique_ptr<curl_slist, FreeList> m_headers;
    std::unique_ptr<CURL, FreeHandle> m_handle; // goes before what it was given
    HttpResponse m_response;
    std::size_t m_headSize = 0;
    bool m_headIsWhole = false;
    std::optional<int> m_ownSocket; // absent on a connection that an earlier transfer left
    int m_timesSent = 0;
    bool m_needsProof = false;
    bool m_lackedProof = false;
    bool m_cameTooLate = false;
    std::string m_ownEnd;
    std::string m_serverEnd;
};

} // namespace kelvane
