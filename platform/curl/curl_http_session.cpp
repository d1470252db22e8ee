#include "platform/curl/curl_http_session.h"

#include "platform/curl/curl_transfer.h"
#include "platform/curl/local_proof.h"
#include "platform/curl/request_rules.h"
#include "platform/ports/proxy_rules.h"
#include "platform/ports/proxy_settings.h"
#include "platform/ports/quit_signal.h"
#include "text/web_address.h"

#include <condition_variable>
#include <csignal>
#include <deque>
#include <list>
#include <mutex>
#include <thread>
#include <utility>

namespace kelvane {

namespace {

using Steady = std::chrono::steady_clock;
using namespace std::chrono_literals;

// A longer chain leads in a circle.
constexpr int kMostRedirects = 10;
// A proof is one number; its answer has no business being longer.
constexpr std::size_t kLargestProof = 4'096;

/// Nothing to do until somebody wakes the thread, who always does.
constexpr std::chrono::milliseconds kLongestRest = 1h;

/// What a caller of `send` waits for. Guarded by the session's mutex.
struct Call {
    HttpRequest request;
    /// What to go through; "": nothing in between. Absent: what the environment says.
    std::optional<std::string> proxy;
    Steady::time_point deadline;
    bool isOver = false;
    std::optional<HttpResponse> response;
};

struct FreeMulti {
    void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
};

/// One call on its way: its hops, one transfer at a time. Network thread only.
class Exchange {
public:
    Exchange(std::shared_ptr<Call> call, CURLM* multi, TransferContext& context)
        : m_call(std::move(call)),
          m_multi(multi),
          m_context(context),
          m_request(m_call->request) {}
    Exchange(const Exchange&) = delete;
    Exchange& operator=(const Exchange&) = delete;
    ~Exchange() { dropTransfer(); }

    [[nodiscard]] const std::shared_ptr<Call>& call() const { return m_call; }
    [[nodiscard]] bool owns(const CurlTransfer* transfer) const {
        return m_transfer.get() == transfer;
    }

    /// Each returns whether the exchange goes on; when it does not, `response` is what came of it.
    bool start() { return startHop(); }
    bool transferEnded(CURLcode result);

    std::optional<HttpResponse> response;

private:
    enum class Step { Proof, Request };

    [[nodiscard]] bool mustProve() const { return m_request.keyToProve && m_to.isPlain; }
    bool startHop();
    bool startProof();
    bool startRequest(bool onNewConnection);
    bool startTransfer(const HttpRequest& request, CurlTransfer::Options options);
    bool proofEnded(const std::optional<HttpResponse>& answer);
    bool requestEnded(std::optional<HttpResponse> answer);
    void dropTransfer();

    std::shared_ptr<Call> m_call;
    CURLM* m_multi;
    TransferContext& m_context;
    HttpRequest m_request; // of the present hop
    Destination m_to;      // of the present hop
    Step m_step = Step::Request;
    std::string m_nonce;
    bool m_hasAskedForProof = false; // on this hop
    int m_redirects = 0;
    std::unique_ptr<CurlTransfer> m_transfer;
};

bool Exchange::startHop() {
    m_to = destinationOf(m_request.url).value_or(Destination{});
    m_hasAskedForProof = false;
    // A POST is never repeated, so it does not go over a kept connection, which the server may be
    // closing just then.
    if (!mustProve()) return startRequest(/*onNewConnection=*/m_request.method == "POST");
    // A key of this machine's service does not leave it without encryption.
    if (!m_to.isLoopback) return false;
    // A kept connection that is proved already serves; a POST has a new one all the same.
    if (m_request.method == "POST" || m_context.proved.empty()) return startProof();
    return startRequest(false);
}

bool Exchange::startProof() {
    const auto nonce = newNonce();
    const auto origin = text::webOrigin(m_to.url);
    // Asked once for each hop: a server that does not prove itself then will not later.
    if (m_hasAskedForProof || !nonce || !origin) return false;
    m_hasAskedForProof = true;
    m_step = Step::Proof;
    m_nonce = *nonce;
    HttpRequest question;
    question.method = "GET";
    question.url = written(*origin) + proofTarget(m_nonce);
    question.headers = {{"Accept", "application/json"}};
    question.largestAnswer = kLargestProof;
    // On a new connection: the connection is what is proved.
    return startTransfer(question, {.onNewConnection = true});
}

bool Exchange::startRequest(bool onNewConnection) {
    m_step = Step::Request;
    return startTransfer(m_request,
                         {.onNewConnection = onNewConnection, .onProvedConnection = mustProve()});
}

bool Exchange::startTransfer(const HttpRequest& request, CurlTransfer::Options options) {
    // One deadline for all hops together, which no trickle of bytes puts off.
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(m_call->deadline - Steady::now());
    if (left <= 0ms) return false;
    dropTransfer();
    options.proxy = m_call->proxy;
    m_transfer = std::make_unique<CurlTransfer>(request, options, left, m_context);
    return m_transfer->handle() != nullptr &&
           curl_multi_add_handle(m_multi, m_transfer->handle()) == CURLM_OK;
}

bool Exchange::transferEnded(CURLcode result) {
    auto answer = m_transfer->end(result);
    return m_step == Step::Proof ? proofEnded(answer) : requestEnded(std::move(answer));
}

bool Exchange::proofEnded(const std::optional<HttpResponse>& answer) {
    const std::string& key = *m_request.keyToProve;
    const std::string proof = proofOf(key, m_nonce, m_transfer->serverEnd());
    if (!answer || answer->status != 200 || !givesProof(answer->body, proof)) return false;
    // By both ends and by the key: the same connection proves another key not.
    m_context.proved.emplace(m_transfer->ownEnd(), key);
    return startRequest(false);
}

bool Exchange::requestEnded(std::optional<HttpResponse> answer) {
    // Nothing was sent yet in either case: the kept connection had ended meanwhile, or is not
    // proved. The second is asked to prove itself, and the request then goes over the connection
    // that did.
    if (m_transfer->cameTooLate()) return mustProve() ? startProof() : startRequest(true);
    if (m_transfer->lackedProof()) return startProof();
    if (!answer) return false;
    auto next = afterRedirect(m_request, answer->status, m_transfer->redirectTarget());
    if (!next) {
        response = std::move(answer);
        return false;
    }
    if (++m_redirects > kMostRedirects) return false;
    m_request = *std::move(next);
    return startHop();
}

void Exchange::dropTransfer() {
    if (!m_transfer) return;
    // Taken out of the multi handle before it is destroyed, which the library asks for.
    if (m_transfer->handle() != nullptr) curl_multi_remove_handle(m_multi, m_transfer->handle());
    m_transfer.reset();
}

class CurlHttpSession : public HttpSession {
public:
    CurlHttpSession(QuitSignal& quit, CurlSettings settings) : m_settings(std::move(settings)) {
        m_context.user = m_settings.user;
        m_context.authorities = m_settings.authorities;
        m_onQuit = quit.onRaise([this] { stop(); });
    }
    CurlHttpSession(const CurlHttpSession&) = delete;
    CurlHttpSession& operator=(const CurlHttpSession&) = delete;

    ~CurlHttpSession() override {
        m_onQuit.reset();
        stop();
        if (m_thread.joinable()) m_thread.join();
    }

    std::optional<HttpResponse> send(const HttpRequest& request) override {
        if (!isSendable(request)) return std::nullopt;
        const auto call = std::make_shared<Call>();
        // Copied: the caller's may go when the wait is given up, and the thread would still read
        // it.
        call->request = request;
        call->proxy = proxyFor(request.url);
        // A year is as good as for ever, and no clock overflows by it.
        call->deadline = Steady::now() +
                         std::min<std::chrono::nanoseconds>(request.timeout, std::chrono::years(1));
        std::unique_lock lock(m_mutex);
        if (m_isStopped) return std::nullopt;
        // Not in the constructor: a session that is asked nothing needs no thread.
        if (!m_thread.joinable()) startThread();
        if (!m_multi) return std::nullopt;
        m_waiting.push_back(call);
        // The one call of the library that another thread may make at any time.
        curl_multi_wakeup(m_multi.get());
        m_changed.wait(lock, [&] { return call->isOver || m_isStopped; });
        return call->isOver ? std::move(call->response) : std::nullopt;
    }

private:
    /// Here and not on the network's thread, which no answer is to hold up.
    std::optional<std::string> proxyFor(const std::string& url) const {
        const auto to = destinationOf(url);
        const auto origin = to && !to->isLoopback ? text::webOrigin(to->url) : std::nullopt;
        if (m_settings.proxies == nullptr || !origin) return std::nullopt;
        // The host is all that whoever resolves it needs to know.
        return usableProxy(m_settings.proxies->proxiesFor(written(*origin)));
    }

    // With the mutex held, like everything that touches the multi handle itself.
    void startThread() {
        // Once in the program, before any other thread uses the library.
        static const CURLcode isReady = curl_global_init(CURL_GLOBAL_DEFAULT);
        if (isReady != CURLE_OK) return;
        m_multi.reset(curl_multi_init());
        if (!m_multi) return;
        // The thread handles no signals, and one that is ignored by nobody would end the program:
        // a TLS connection that the server closed raises SIGPIPE.
        sigset_t all;
        sigset_t before;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before);
        m_thread = std::thread([this] { run(); });
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
    }

    void stop() {
        const std::lock_guard lock(m_mutex);
        m_isStopped = true;
        m_changed.notify_all();
        if (m_multi) curl_multi_wakeup(m_multi.get());
    }

    void run() {
        auto lastUse = Steady::now();
        while (takeWaiting()) {
            int running = 0;
            // Neither waits for anything; what was waited for is told by curl_multi_poll() below.
            curl_multi_perform(m_multi.get(), &running);
            tellEnded();
            if (!m_exchanges.empty()) lastUse = Steady::now();
            const auto unused = Steady::now() - lastUse;
            if (m_isConnected && m_exchanges.empty() && unused >= m_settings.keepsUnused) {
                closeConnections();
            }
            const auto rest =
                m_isConnected && m_exchanges.empty()
                    // Only idle connections are a reason to wake up.
                    ? std::chrono::ceil<std::chrono::milliseconds>(m_settings.keepsUnused - unused)
                    : kLongestRest;
            // The library wakes up earlier for what it is waiting for itself.
            curl_multi_poll(m_multi.get(), nullptr, 0,
                            static_cast<int>(std::clamp(rest, 1ms, kLongestRest).count()), nullptr);
        }
        // On this thread, since the handles are its own.
        m_exchanges.clear();
        const std::lock_guard lock(m_mutex);
        m_multi.reset();
    }

    /// Starts what was asked for meanwhile. False when all is to end.
    bool takeWaiting() {
        std::deque<std::shared_ptr<Call>> taken;
        {
            const std::lock_guard lock(m_mutex);
            if (m_isStopped) return false;
            taken.swap(m_waiting);
        }
        for (auto& call : taken) {
            m_isConnected = true;
            m_exchanges.push_back(
                std::make_unique<Exchange>(std::move(call), m_multi.get(), m_context));
            // One that cannot start is over at once.
            if (!m_exchanges.back()->start()) finish(std::prev(m_exchanges.end()));
        }
        return true;
    }

    void tellEnded() {
        int left = 0;
        // Handles may be removed in between: the queue is read anew each time.
        while (const CURLMsg* message = curl_multi_info_read(m_multi.get(), &left)) {
            if (message->msg != CURLMSG_DONE) continue;
            CurlTransfer* transfer = nullptr;
            curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &transfer);
            const CURLcode result = message->data.result;
            const auto found = std::find_if(m_exchanges.begin(), m_exchanges.end(),
                                            [&](const auto& each) { return each->owns(transfer); });
            if (found != m_exchanges.end() && !(*found)->transferEnded(result)) finish(found);
        }
    }

    void finish(std::list<std::unique_ptr<Exchange>>::iterator exchange) {
        const auto call = (*exchange)->call();
        auto response = std::move((*exchange)->response);
        m_exchanges.erase(exchange);
        const std::lock_guard lock(m_mutex);
        call->response = std::move(response);
        call->isOver = true;
        m_changed.notify_all();
    }

    void closeConnections() {
        const std::lock_guard lock(m_mutex);
        // Asked for or ended since the queue was looked at. That wake-up went to the handle that is
        // here: with another in its place it would be lost, and the call wait for the longest rest.
        if (m_isStopped || !m_waiting.empty()) return;
        // The library keeps its connections in the handle, and closes them with it.
        m_multi.reset(curl_multi_init());
        m_isConnected = false;
        if (!m_multi) m_isStopped = true; // no memory: nothing can be asked any more
    }

    CurlSettings m_settings;
    std::mutex m_mutex;
    std::condition_variable m_changed; // a call is over, or all are
    std::deque<std::shared_ptr<Call>> m_waiting;
    bool m_isStopped = false;
    // The network thread's, and what its connections use goes after them.
    TransferContext m_context;
    std::unique_ptr<CURLM, FreeMulti> m_multi;
    std::list<std::unique_ptr<Exchange>> m_exchanges;
    bool m_isConnected = false;
    std::thread m_thread;
    QuitSignal::Registration m_onQuit;
};

} // namespace

std::unique_ptr<HttpSession> makeCurlHttpSession(QuitSignal& quit, CurlSettings settings) {
    return std::make_unique<CurlHttpSession>(quit, std::move(settings));
}

} // namespace kelvane
