#include "platform/curl/curl_transfer.h"

#include "platform/curl/local_peer.h"
#include "platform/curl/local_proof.h"
#include "text/unicode.h"
#include "text/web_address.h"

#include <algorithm>
#include <limits>
#include <sys/socket.h>
#include <unistd.h>

namespace kelvane {

namespace {

// Bytes of all heads of one answer, those of interim ones too. Servers send a few hundred, and
// limit what they take themselves to some ten thousand.
constexpr std::size_t kLargestHead = std::size_t{256} * 1024;

} // namespace

CurlTransfer::CurlTransfer(const HttpRequest& request, const Options& options,
                           std::chrono::milliseconds timeout, TransferContext& context)
    : m_request(request),
      m_destination(destinationOf(request.url).value_or(Destination{})),
      m_context(context),
      m_handle(curl_easy_init()),
      m_needsProof(options.onProvedConnection) {
    if (m_handle && !setUp(options, timeout)) m_handle.reset();
}

bool CurlTransfer::setUp(const Options& options, std::chrono::milliseconds timeout) {
    // An end does not wait for a name that is still being looked up. A library older than the one
    // that this was compiled with may not know it.
    curl_easy_setopt(m_handle.get(), CURLOPT_QUICK_EXIT, 1L);
    // One failure is enough to give the transfer up, so only the sum of all is kept.
    bool isSet = true;
    const auto set = [&](CURLoption option, auto value) {
        isSet = curl_easy_setopt(m_handle.get(), option, value) == CURLE_OK && isSet;
    };
    set(CURLOPT_PRIVATE, static_cast<void*>(this));
    set(CURLOPT_URL, m_destination.url.c_str());
    // What stands in an address is sent as it stands: the service and its proof agree on the text.
    set(CURLOPT_PATH_AS_IS, 1L);
    // What is sent and what is kept alive is decided here, connection by connection; HTTP/2 would
    // mix requests on one.
    set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    set(CURLOPT_ACCEPT_ENCODING, "gzip, deflate");
    set(CURLOPT_FOLLOWLOCATION, 0L); // what follows is decided by `afterRedirect`
    // The library would use signals for the time-outs of name look-ups, which interrupt other
    // threads.
    set(CURLOPT_NOSIGNAL, 1L);
    // The library counts in long, which may have 32 bits.
    constexpr std::chrono::milliseconds kLongest{std::numeric_limits<int>::max()};
    set(CURLOPT_TIMEOUT_MS, static_cast<long>(std::min(timeout, kLongest).count()));
    set(CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(std::min(timeout, kLongest).count()));
    set(CURLOPT_FRESH_CONNECT, options.onNewConnection ? 1L : 0L);
    if (!m_context.authorities.empty()) set(CURLOPT_CAINFO, m_context.authorities.c_str());
    // This machine is never reached through another.
    if (m_destination.isLoopback) {
        set(CURLOPT_PROXY, "");
    } else if (options.proxy) {
        set(CURLOPT_PROXY, options.proxy->c_str());
    }
    if (m_destination.socket) set(CURLOPT_UNIX_SOCKET_PATH, m_destination.socket->c_str());

    set(CURLOPT_WRITEFUNCTION, &CurlTransfer::takeBody);
    set(CURLOPT_WRITEDATA, static_cast<void*>(this));
    set(CURLOPT_HEADERFUNCTION, &CurlTransfer::takeHead);
    set(CURLOPT_HEADERDATA, static_cast<void*>(this));
    set(CURLOPT_OPENSOCKETFUNCTION, &CurlTransfer::open);
    set(CURLOPT_OPENSOCKETDATA, static_cast<void*>(this));
    // A connection outlives its transfer, and takes what it is closed with along.
    set(CURLOPT_CLOSESOCKETFUNCTION, &CurlTransfer::closeSocket);
    set(CURLOPT_CLOSESOCKETDATA, static_cast<void*>(&m_context));
    set(CURLOPT_PREREQFUNCTION, &CurlTransfer::askBeforeSending);
    set(CURLOPT_PREREQDATA, static_cast<void*>(this));

    if (m_request.method == "POST" || m_request.body) {
        static const std::string kNothing;
        // Not copied by the library: the request lives as long as the transfer.
        const std::string& body = m_request.body ? *m_request.body : kNothing;
        set(CURLOPT_POSTFIELDS, body.c_str());
        set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
    }
    // After the fields, which make a POST of it.
    if (m_request.method != "GET" || m_request.body) {
        set(CURLOPT_CUSTOMREQUEST, m_request.method.c_str());
    }
    setHeaders();
    set(CURLOPT_HTTPHEADER, m_headers.get());
    return isSet;
}

void CurlTransfer::setHeaders() {
    const auto add = [this](const std::string& line) {
        // The list stays as it is when there is no memory for more of it.
        if (curl_slist* longer = curl_slist_append(m_headers.get(), line.c_str())) {
            static_cast<void>(m_headers.release());
            m_headers.reset(longer);
        }
    };
    bool namesType = false;
    for (const auto& [name, value] : m_request.headers) {
        // The library takes an empty value for the wish to leave the header out.
        add(value.empty() ? name + ";" : name + ": " + value);
        namesType = namesType || text::lowerAscii(name) == "content-type";
    }
    // Nobody is asked whether he will take the body, and no type is made up for it. Without these
    // the library adds both by itself.
    add("Expect:");
    if (!namesType) add("Content-Type:");
}

std::optional<HttpResponse> CurlTransfer::end(CURLcode result) {
    long status = 0;
    curl_easy_getinfo(m_handle.get(), CURLINFO_RESPONSE_CODE, &status);
    // The library takes the end of the connection for the end of the head, too.
    if (result != CURLE_OK || status <= 0 || !m_headIsWhole) return std::nullopt;
    m_response.status = static_cast<int>(status);
    return std::move(m_response);
}

std::string CurlTransfer::redirectTarget() const {
    char* target = nullptr;
    curl_easy_getinfo(m_handle.get(), CURLINFO_REDIRECT_URL, &target);
    return target == nullptr ? "" : target;
}

std::size_t CurlTransfer::takeBody(char* data, std::size_t size, std::size_t count, void* self) {
    auto& transfer = *static_cast<CurlTransfer*>(self);
    const std::size_t bytes = size * count;
    const std::size_t room = transfer.m_request.largestAnswer - transfer.m_response.body.size();
    if (bytes > room) return 0; // which ends the transfer
    transfer.m_response.body.append(data, bytes);
    return bytes;
}

std::size_t CurlTransfer::takeHead(char* data, std::size_t size, std::size_t count, void* self) {
    auto& transfer = *static_cast<CurlTransfer*>(self);
    transfer.m_headSize += size * count;
    // One line at a time: an empty one ends a head. After it come the head that follows an interim
    // answer, or what a server says behind the last chunk.
    const std::string_view line(data, size * count);
    if (line.starts_with("HTTP/")) transfer.m_headIsWhole = false;
    if (line.starts_with('\r') || line.starts_with('\n')) transfer.m_headIsWhole = true;
    return transfer.m_headSize > kLargestHead ? 0 : size * count;
}

curl_socket_t CurlTransfer::open(void* self, curlsocktype, curl_sockaddr* address) {
    auto& transfer = *static_cast<CurlTransfer*>(self);
    const int socket = openSocket(address->family, address->socktype, address->protocol);
    if (socket < 0) return CURL_SOCKET_BAD;
    transfer.m_ownSocket = socket;
    transfer.m_context.sockets.insert(socket);
    return socket;
}

int CurlTransfer::closeSocket(void* context, curl_socket_t socket) {
    // Before the descriptor is closed, when its number may be another's at once.
    static_cast<TransferContext*>(context)->sockets.erase(socket);
    // The next connection may get the same end, and would pass for this one.
    auto& proved = static_cast<TransferContext*>(context)->proved;
    if (!proved.empty()) {
        const std::string end = localEnd(socket);
        std::erase_if(proved, [&](const auto& each) { return each.first == end; });
    }
    return ::close(socket);
}

int CurlTransfer::askBeforeSending(void* self, char* serverIp, char* ownIp, int serverPort,
                                   int ownPort) {
    return static_cast<CurlTransfer*>(self)->beforeSending(serverIp, ownIp, serverPort, ownPort);
}

// Called when the connection stands and nothing was sent. What is refused here has reached nobody.
int CurlTransfer::beforeSending(const char* serverIp, const char* ownIp, int serverPort,
                                int ownPort) {
    // The library sends again, by itself, what went over a kept connection that then broke. The
    // server may have acted on the first.
    if (++m_timesSent > 1) return CURL_PREREQFUNC_ABORT;
    if (m_destination.socket) {
        // Of a kept connection this was asked when it was new.
        const bool isOurs = !m_ownSocket || isTrustedPeer(*m_ownSocket, m_context.user);
        return isOurs ? CURL_PREREQFUNC_OK : CURL_PREREQFUNC_ABORT;
    }
    // A name that says it is this machine and leads elsewhere would be sent what is for this
    // machine alone.
    if (m_destination.isLoopback && !text::isLoopback(serverIp)) return CURL_PREREQFUNC_ABORT;
    m_ownEnd = serverAddress(ownIp, ownPort);
    m_serverEnd = serverAddress(serverIp, serverPort);
    // A server that has something to say on an unused connection says that it ends.
    const auto& sockets = m_context.sockets;
    m_cameTooLate = !m_ownSocket && std::any_of(sockets.begin(), sockets.end(), [this](int socket) {
        return localEnd(socket) == m_ownEnd && hasUnread(socket);
    });
    if (m_cameTooLate) return CURL_PREREQFUNC_ABORT;
    if (m_needsProof && !m_context.proved.contains({m_ownEnd, m_request.keyToProve.value_or("")})) {
        m_lackedProof = true;
        return CURL_PREREQFUNC_ABORT;
    }
    return CURL_PREREQFUNC_OK;
}

} // namespace kelvane
