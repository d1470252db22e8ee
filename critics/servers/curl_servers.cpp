#include "critics/servers/curl_servers.h"

#include "critics/findings/stop.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <string>

#include <arpa/inet.h>
#include <curl/curl.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace trevix {

namespace {

using End = ServerAnswer::End;

constexpr long kConnectMs = 2000;
/// How long one wait of the library lasts at most; a cancel wakes it.
constexpr int kWaitMs = 1000;

struct Freed {
    void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
using Easy = std::unique_ptr<CURL, Freed>;

struct Multi {
    CURLM* handle = curl_multi_init();
    Multi() = default;
    Multi(const Multi&) = delete;
    Multi& operator=(const Multi&) = delete;
    ~Multi() { curl_multi_cleanup(handle); }
};

struct Received {
    std::string body;
    std::size_t most = 0;
    bool tooMuch = false;
};

std::size_t take(char* bytes, std::size_t one, std::size_t count, void* into) {
    auto& received = *static_cast<Received*>(into);
    const std::size_t size = one * count;
    const std::size_t room = received.most - received.body.size();
    received.body.append(bytes, std::min(size, room));
    if (size <= room) return size;
    received.tooMuch = true;
    return 0; // Ends the transfer.
}

bool isOfThisMachine(const curl_sockaddr& address) {
    if (address.family == AF_UNIX) return true;
    const sockaddr* const generic = &address.addr;
    if (address.family == AF_INET) {
        const auto* four = reinterpret_cast<const sockaddr_in*>(generic);
        return (ntohl(four->sin_addr.s_addr) >> 24U) == 127U;
    }
    if (address.family == AF_INET6) {
        const auto* six = reinterpret_cast<const sockaddr_in6*>(generic);
        return IN6_IS_ADDR_LOOPBACK(&six->sin6_addr) != 0;
    }
    return false;
}

/// Where a name leads is seen here and not before: "localhost" is what the machine's table of hosts
/// says.
curl_socket_t openHere(void*, curlsocktype, curl_sockaddr* address) {
    if (!isOfThisMachine(*address)) return CURL_SOCKET_BAD;
    const int made = socket(address->family, address->socktype, address->protocol);
    // Not every system does it with the call itself. The moment between harms nobody: a child
    // closes all but its standard descriptors before anything else runs.
    if (made >= 0) fcntl(made, F_SETFD, FD_CLOEXEC);
    return made;
}

End endOf(CURLcode code, const Received& received) {
    if (received.tooMuch) return End::tooMuch;
    switch (code) {
    case CURLE_OK:
        return End::answered;
    case CURLE_OPERATION_TIMEDOUT:
        return End::outOfTime;
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_CONNECT:
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_PEER_FAILED_VERIFICATION:
        return End::notReached;
    default:
        return End::broken;
    }
}

class CurlServers : public OwnServers {
public:
    CurlServers() {
        static std::once_flag once;
        std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
    }

    ServerAnswer ask(const ServerRequest& request, StopToken cancel) override {
        const Easy easy(curl_easy_init());
        const Multi multi;
        if (!easy || multi.handle == nullptr) return {};
        Received received;
        received.most = request.mostBytes;
        std::unique_ptr<curl_slist, Freed> headers;
        const auto header = [&](const std::string& line) {
            curl_slist* longer = curl_slist_append(headers.get(), line.c_str());
            if (longer == nullptr) return;
            static_cast<void>(headers.release());
            headers.reset(longer);
        };
        // It would wait a second for a leave that many servers never give.
        header("Expect:");
        if (!request.contentType.empty()) header("Content-Type: " + request.contentType);
        if (!request.key.empty()) header("Authorization: Bearer " + request.key);

        const std::string url = request.address.base + request.path;
        const auto set = [&](CURLoption option, auto value) {
            curl_easy_setopt(easy.get(), option, value);
        };
        set(CURLOPT_URL, url.c_str());
        set(CURLOPT_PROTOCOLS_STR, "http,https");
        set(CURLOPT_FOLLOWLOCATION, 0L);
        set(CURLOPT_PROXY, "");
        set(CURLOPT_NETRC, static_cast<long>(CURL_NETRC_IGNORED));
        set(CURLOPT_NOSIGNAL, 1L);
        set(CURLOPT_HTTP09_ALLOWED, 0L);
        set(CURLOPT_CONNECTTIMEOUT_MS,
            std::min(kConnectMs, static_cast<long>(request.time.count())));
        set(CURLOPT_TIMEOUT_MS, std::max(1L, static_cast<long>(request.time.count())));
        set(CURLOPT_HTTPHEADER, headers.get());
        set(CURLOPT_WRITEFUNCTION, &take);
        set(CURLOPT_WRITEDATA, static_cast<void*>(&received));
        if (!request.address.socket.empty()) {
            set(CURLOPT_UNIX_SOCKET_PATH, request.address.socket.c_str());
        }
        if (request.address.onlyHere) set(CURLOPT_OPENSOCKETFUNCTION, &openHere);
        if (!request.body.empty()) {
            set(CURLOPT_POST, 1L);
            set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.body.size()));
            set(CURLOPT_POSTFIELDS, request.body.data());
        }

        curl_multi_add_handle(multi.handle, easy.get());
        CURLcode code = CURLE_RECV_ERROR;
        {
            const StopCallback wake(cancel, [&] { curl_multi_wakeup(multi.handle); });
            int running = 1;
            while (running != 0 && !cancel.isAsked()) {
                if (curl_multi_perform(multi.handle, &running) != CURLM_OK) break;
                if (running != 0) curl_multi_poll(multi.handle, nullptr, 0, kWaitMs, nullptr);
            }
            int left = 0;
            while (const CURLMsg* message = curl_multi_info_read(multi.handle, &left)) {
                if (message->msg == CURLMSG_DONE) code = message->data.result;
            }
        }
        ServerAnswer answer;
        curl_off_t took = 0;
        curl_easy_getinfo(easy.get(), CURLINFO_TOTAL_TIME_T, &took); // Microseconds.
        answer.took = std::chrono::milliseconds(took / 1000);
        long status = 0;
        curl_easy_getinfo(easy.get(), CURLINFO_RESPONSE_CODE, &status);
        curl_multi_remove_handle(multi.handle, easy.get());
        answer.end = cancel.isAsked() ? End::cancelled : endOf(code, received);
        answer.status = static_cast<int>(status);
        answer.body = std::move(received.body);
        return answer;
    }
};

} // namespace

std::unique_ptr<OwnServers> makeCurlServers() {
    return std::make_unique<CurlServers>();
}

std::string curlVersion() {
    return curl_version_info(CURLVERSION_NOW)->version;
}

} // namespace trevix
