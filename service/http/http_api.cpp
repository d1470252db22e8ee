#include "service/http/http_api.h"

#include "service/http/answers.h"
#include "service/report/report_page.h"
#include "service/setup/key_file.h"
#include "service/setup/key_proof.h"
#include "service/wire.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <system_error>
#include <utility>

#include <unistd.h>

namespace trevix {

namespace {

using kelvane::text::lowerAscii;

// Bytes: many times the shipped catalog. A larger file was put there by mistake.
constexpr std::uintmax_t kLargestCatalog = std::uintmax_t{16} << 20U;

// Bytes of a path that the record of uses holds; ours have some sixty.
constexpr std::size_t kLongestAction = 200;

// Asked before the key is sent, so without it.
constexpr std::string_view kProof = "/api/v1/proof";

enum class Route {
    submit,
    job,
    run,
    iterate,
    ticket,
    proof,
    console,
    connect,
    index,
    catalog,
    health,
    ready
};

struct Target {
    Route route = Route::index;
    std::string id;

    [[nodiscard]] bool isPost() const {
        return route == Route::submit || route == Route::iterate || route == Route::ticket;
    }
};

bool startsWith(std::string_view text, std::string_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

bool isId(std::string_view id) {
    return !id.empty() && id.find('/') == std::string_view::npos;
}

std::optional<Target> targetOf(std::string_view path) {
    constexpr std::string_view kJobs = "/api/v1/eval/jobs";
    constexpr std::string_view kRuns = "/api/v1/eval/runs/";
    if (path == "/") return Target{Route::index, {}};
    // The paths are a protocol that clients have built in; none may change its meaning.
    if (path == "/console") return Target{Route::console, {}};
    if (path == "/connect") return Target{Route::connect, {}};
    if (path == "/healthz") return Target{Route::health, {}};
    if (path == "/readyz") return Target{Route::ready, {}};
    if (path == "/brask/app-catalog.json") return Target{Route::catalog, {}};
    if (path == kProof) return Target{Route::proof, {}};
    if (path == kJobs) return Target{Route::submit, {}};
    if (startsWith(path, kJobs) && path[kJobs.size()] == '/') {
        const std::string_view id = path.substr(kJobs.size() + 1);
        if (isId(id)) return Target{Route::job, std::string(id)};
    }
    if (startsWith(path, kRuns)) {
        const std::string_view rest = path.substr(kRuns.size());
        if (isId(rest)) return Target{Route::run, std::string(rest)};
        for (const auto& [ending, route] :
             {std::pair{std::string_view("/iterate"), Route::iterate},
              std::pair{std::string_view("/ticket"), Route::ticket}}) {
            if (!rest.ends_with(ending)) continue;
            const std::string_view id = rest.substr(0, rest.size() - ending.size());
            if (isId(id)) return Target{route, std::string(id)};
        }
    }
    return std::nullopt;
}

bool needsKey(std::string_view path) {
    // Everything below /api, also what does not exist: who has no key does not learn which.
    return path == "/api" || (startsWith(path, "/api/") && path != kProof);
}

// The value of the cookie of this name in a Cookie header.
std::optional<std::string_view> cookieIn(std::string_view header, std::string_view name) {
    while (!header.empty()) {
        const std::string_view pair =
            kelvane::text::trimmedBlanks(header.substr(0, header.find(';')));
        // Both of these clip at the end of the header, where there is no further ";".
        header.remove_prefix(std::min(header.size(), header.find(';')));
        if (!header.empty()) header.remove_prefix(1);
        const std::size_t equals = pair.find('=');
        if (equals != std::string_view::npos && pair.substr(0, equals) == name) {
            return pair.substr(equals + 1);
        }
    }
    return std::nullopt;
}

HttpAnswer queueFull() {
    // 429 is what the client waits and tries again for. In seconds; how long the queue takes nobody
    // knows, but it keeps a client from asking without a pause.
    HttpAnswer answer = errorAnswer(429, "too many jobs are waiting; try again in a while");
    answer.headers.emplace_back("Retry-After", "5");
    return answer;
}

HttpAnswer quotaUsed() {
    // An hour: somewhen within the day the first of its works is a day old.
    HttpAnswer answer = errorAnswer(429, "this key has handed in as much as it may within a day");
    answer.headers.emplace_back("Retry-After", "3600");
    return answer;
}

HttpAnswer stopping() {
    return errorAnswer(503, "the service is ending");
}

} // namespace

std::string_view routeName(std::string_view path) {
    static constexpr std::array<std::string_view, 4> kUsers{
        "/api/v1/eval/dismissals", "/api/v1/eval/dismissals/undo", "/api/v1/eval/words",
        "/api/v1/eval/words/undo"};
    if (const auto* const found = std::ranges::find(kUsers, path); found != kUsers.end()) {
        return *found;
    }
    const auto target = targetOf(path);
    if (!target) return "other";
    switch (target->route) {
    case Route::submit:
        return "/api/v1/eval/jobs";
    case Route::job:
        return "/api/v1/eval/jobs/{id}";
    case Route::run:
        return "/api/v1/eval/runs/{id}";
    case Route::iterate:
        return "/api/v1/eval/runs/{id}/iterate";
    case Route::ticket:
        return "/api/v1/eval/runs/{id}/ticket";
    case Route::proof:
        return kProof;
    case Route::console:
        return "/console";
    case Route::connect:
        return "/connect";
    case Route::catalog:
        return "/brask/app-catalog.json";
    case Route::health:
        return "/healthz";
    case Route::ready:
        return "/readyz";
    case Route::index:
        break;
    }
    return "/";
}

bool isLoopbackHost(std::string_view host) {
    // A page elsewhere can have its own name lead to 127.0.0.1, and its browser then takes this
    // service for that page's server. But it names the page's host, so only our own names are
    // answered to.
    const std::string name = lowerAscii(host);
    static constexpr std::array<std::string_view, 3> kNames{"127.0.0.1", "localhost", "[::1]"};
    for (const std::string_view known : kNames) {
        if (!startsWith(name, known)) continue;
        const std::string_view rest = std::string_view(name).substr(known.size());
        if (rest.empty()) return true;
        // A colon and a port of at most five digits. Which port is not looked at: a relay in front
        // of the service may have another one.
        if (rest.front() == ':' && rest.size() <= 6 &&
            std::all_of(rest.begin() + 1, rest.end(),
                        [](char c) { return c >= '0' && c <= '9'; })) {
            return true;
        }
    }
    return false;
}

HttpApi::HttpApi(ApiOptions options, JobDesk& queue, RunStore& store)
    : m_options(std::move(options)),
      m_gate(m_options.now),
      m_queue(queue),
      m_store(store),
      m_user(UserFiles(m_options.dismissed, m_options.dictionary), store, m_options.nowMs) {}

std::optional<HttpAnswer> HttpApi::refuse(const HttpHead& head) {
    // RFC 9112, 3.2: a request that names none, or several, is answered with 400.
    const auto host = head.header("host");
    if (!host) return errorAnswer(400, "the request must name one Host");
    if (!isOwnHost(*host)) {
        return errorAnswer(403, "this service answers to 127.0.0.1 and localhost only");
    }
    if (needsKey(head.path)) {
        if (auto refused = refuseKey(head)) return refused;
    }
    if (UserActions::owns(head)) return m_user.refuse(head);
    const auto target = targetOf(head.path);
    if (!target) return errorAnswer(404, "there is nothing at this address");
    const bool cancels = target->route == Route::job && head.method == "DELETE";
    // Before the method: it changes nothing, so it may come from anywhere that has the key.
    if (!target->isPost() && !cancels) {
        if (head.method == "GET" || head.method == "HEAD") return std::nullopt;
        if (target->route == Route::job) {
            return wrongMethod("only GET and DELETE are possible here", "GET, HEAD, DELETE");
        }
        if (target->route == Route::console) {
            return wrongMethod("only GET and POST are possible here", "GET, HEAD, POST");
        }
        return wrongMethod("only GET is possible here", "GET, HEAD");
    }
    if (!cancels && head.method != "POST") {
        return wrongMethod("only POST is possible here", "POST");
    }
    // Programs send no Origin; pages of this service have none but its own.
    const auto origins = head.headers.count("origin");
    if (origins > 0 && (origins > 1 || lowerAscii(*head.header("origin")) != originFor(*host))) {
        return errorAnswer(403, "requests from other web pages are not taken");
    }
    if (cancels) return std::nullopt;
    const std::string type = lowerAscii(head.header("content-type").value_or(""));
    // A form of another page can be sent without asking, but not with this type. It makes the
    // browser ask first, and nobody answers that question.
    if (type.substr(0, type.find_first_of("; ")) != "application/json") {
        return errorAnswer(415, "Content-Type must be application/json");
    }
    // Unpacked it could be a thousand times as large as what the budget was asked for.
    if (lowerAscii(head.header("content-encoding").value_or("identity")) != "identity" ||
        head.headers.count("content-encoding") > 1) {
        return errorAnswer(415, "the body must not be compressed");
    }
    return std::nullopt;
}

std::optional<HttpAnswer> HttpApi::refuseKey(const HttpHead& head) {
    const auto authorization = head.header("authorization");
    const auto team = teamKeyIn(head);
    if (m_options.keys != nullptr ? !team
                                  : !authorization || !authorizes(*authorization, m_options.key)) {
        HttpAnswer answer = errorAnswer(401, "not authorized — check your Trevix key (HTTP 401)");
        // RFC 9110, 11.6.1: 401 says how to be let in.
        answer.headers.emplace_back("WWW-Authenticate", "Bearer");
        return answer;
    }
    if (!team) return std::nullopt;
    // A ticket opens what may be read anyway.
    if (team->scope == KeyScope::read && head.method != "GET" && head.method != "HEAD" &&
        !head.path.ends_with("/ticket")) {
        return errorAnswer(403, "this key only reads");
    }
    if (!m_options.keys->mayAsk(*team)) {
        HttpAnswer answer = errorAnswer(429, "this key asks too often; try again in a while");
        answer.headers.emplace_back("Retry-After", "5");
        return answer;
    }
    return std::nullopt;
}

std::optional<TeamKey> HttpApi::teamKeyIn(const HttpHead& head) const {
    const auto authorization = head.header("authorization");
    if (m_options.keys == nullptr || !authorization) return std::nullopt;
    return m_options.keys->keyOf(*authorization);
}

JobOwner HttpApi::ownerIn(const HttpHead& head) const {
    const auto key = teamKeyIn(head);
    return key ? JobOwner{key->group, key->name, key->perDay} : JobOwner{};
}

bool HttpApi::ownsJob(const HttpHead& head, const std::string& jobId) const {
    if (m_options.keys == nullptr) return true;
    const auto key = teamKeyIn(head);
    return key && m_options.shared->groupOfJob(jobId) == key->group;
}

bool HttpApi::ownsRun(const HttpHead& head, const std::string& runId) const {
    if (m_options.keys == nullptr) return true;
    const auto key = teamKeyIn(head);
    return key && m_options.shared->groupOfRun(runId) == key->group;
}

void HttpApi::noteUse(const HttpHead& head, const HttpAnswer& answer) {
    // Who waits asks every second how far it is: that tells nobody anything.
    const bool asksHowFar = head.method == "GET" && head.path.starts_with("/api/v1/eval/jobs/") &&
                            answer.body.find(R"("run_id")") == std::string::npos;
    // Nor does whoever watches: the answer must not wait for a database that may be away.
    const bool watches = head.path == "/healthz" || head.path == "/readyz";
    const auto key = teamKeyIn(head);
    if (!key || asksHowFar || watches) return;
    // Whoever asks chooses what stands there.
    m_options.shared->noteUse(
        {key->name, head.method + " " + head.path.substr(0, kLongestAction), answer.status});
}

HttpAnswer HttpApi::answer(const HttpHead& head, const std::string& body) {
    try {
        HttpAnswer answer = route(head, body);
        noteUse(head, answer);
        return answer;
    } catch (const StoreError& error) {
        // A full disk, as a rule: what was not stored was not promised, and may be tried again.
        return errorAnswer(503, error.what());
    }
}

HttpAnswer HttpApi::problem(int status, std::string_view text) {
    return errorAnswer(status, text);
}

HttpAnswer HttpApi::route(const HttpHead& head, const std::string& body) {
    if (UserActions::owns(head)) {
        // What one person says is no flaw is none in that person's own service.
        if (m_options.keys != nullptr) {
            return errorAnswer(404, "a team's service keeps no dismissals and no dictionary");
        }
        return m_user.answer(head, body);
    }
    const auto target = targetOf(head.path);
    if (!target) return errorAnswer(404, "there is nothing at this address");
    // What is somebody else's is told as what there is not.
    switch (target->route) {
    case Route::submit:
        return submit(head, body);
    case Route::job:
        if (!ownsJob(head, target->id)) return errorAnswer(404, "there is no such job");
        return head.method == "DELETE" ? cancelJob(target->id) : jobStatus(target->id);
    case Route::run:
        if (!ownsRun(head, target->id)) return errorAnswer(404, "there is no such run");
        return runRecord(target->id);
    case Route::iterate:
        if (!ownsRun(head, target->id)) return errorAnswer(404, "there is no such run");
        return iterate(head, target->id, body);
    case Route::ticket:
        if (!ownsRun(head, target->id)) return errorAnswer(404, "there is no such run");
        return ticket(target->id);
    case Route::proof:
        return proof(head);
    case Route::console:
        return report(head);
    case Route::connect:
        return connect(head);
    case Route::index:
        return pageAnswer(200, indexPage());
    case Route::catalog:
        return catalog();
    case Route::ready:
        return readiness();
    case Route::health:
        break;
    }
    return health();
}

HttpAnswer HttpApi::submit(const HttpHead& head, const std::string& body) {
    auto parsed = parseSubmit(body);
    if (const auto* error = std::get_if<WireError>(&parsed)) return errorAnswer(400, error->text);
    const auto outcome =
        m_queue.submit(std::move(std::get<SubmitRequest>(parsed)), body, ownerIn(head));
    if (const auto* accepted = std::get_if<Accepted>(&outcome)) {
        return jsonAnswer(202, acceptedJson(accepted->jobId, m_queue.keepsWork()));
    }
    if (std::holds_alternative<QuotaUsed>(outcome)) return quotaUsed();
    return std::holds_alternative<QueueFull>(outcome) ? queueFull() : stopping();
}

HttpAnswer HttpApi::jobStatus(const std::string& jobId) {
    auto status = m_queue.status(jobId);
    if (!status) return errorAnswer(404, "there is no such job");
    // What was dismissed since the verdict is put aside anew with every answer.
    if (status->result) status->result = withUserSays(std::move(*status->result), m_user.says());
    return jsonAnswer(200, statusJson(*status));
}

HttpAnswer HttpApi::cancelJob(const std::string& jobId) {
    switch (m_queue.cancel(jobId)) {
    case JobDesk::Cancelled::done:
        return jsonAnswer(200, cancelledJson(jobId));
    case JobDesk::Cancelled::over:
        return errorAnswer(409, "the job is over");
    case JobDesk::Cancelled::noSuchJob:
        break;
    }
    return errorAnswer(404, "there is no such job");
}

HttpAnswer HttpApi::runRecord(const std::string& runId) {
    const auto run = m_store.run(runId);
    if (!run) return errorAnswer(404, "there is no such run");
    return jsonAnswer(200, runJson(withUserSays(*run, m_user.says())));
}

HttpAnswer HttpApi::iterate(const HttpHead& head, const std::string& runId,
                            const std::string& body) {
    // Before the body is read for what it says: an unknown run is the likelier mistake.
    if (!m_store.hasRun(runId)) return errorAnswer(404, "there is no such run");
    auto parsed = parseIterate(body);
    if (const auto* error = std::get_if<WireError>(&parsed)) return errorAnswer(400, error->text);
    const auto outcome =
        m_queue.iterate(runId, std::move(std::get<IterateRequest>(parsed)), body, ownerIn(head));
    if (const auto* done = std::get_if<Iterated>(&outcome)) {
        return jsonAnswer(200, iterationJson(withUserSays(done->run, m_user.says()), done->number));
    }
    if (std::holds_alternative<NoSuchRun>(outcome)) return errorAnswer(404, "there is no such run");
    if (std::holds_alternative<QueueFull>(outcome)) return queueFull();
    if (std::holds_alternative<QuotaUsed>(outcome)) return quotaUsed();
    if (const auto* failed = std::get_if<JudgingFailed>(&outcome)) {
        return errorAnswer(500, failed->error);
    }
    return stopping();
}

HttpAnswer HttpApi::ticket(const std::string& runId) {
    if (!m_store.hasRun(runId)) return errorAnswer(404, "there is no such run");
    // The id has letters, digits and "_" only, as all that the store knows.
    const std::string ticket = m_gate.ticketFor(runId);
    return jsonAnswer(200, ticketJson(m_base + "/console?run=" + runId + "&ticket=" + ticket,
                                      ReportGate::kTicketLasts));
}

HttpAnswer HttpApi::proof(const HttpHead& head) {
    // There a proof would only give away what the key makes of texts that others choose.
    if (head.serverAddress.empty()) {
        return errorAnswer(404, "over a Unix socket the system tells who answers");
    }
    if (m_options.keys != nullptr) {
        return errorAnswer(404, "a team's service is known by its certificate");
    }
    // 32 bytes that the client drew: an answer heard once proves nothing the next time.
    const auto nonce = head.query.find("nonce");
    if (nonce == head.query.end() || !isNonce(nonce->second)) {
        return errorAnswer(400, "nonce must be 64 lower-case hexadecimal digits");
    }
    HttpAnswer answer =
        jsonAnswer(200, proofJson(keyProof(m_options.key, nonce->second, head.serverAddress)));
    answer.goesOn = true; // With what the proof was asked for.
    return answer;
}

HttpAnswer HttpApi::report(const HttpHead& head) {
    const auto named = head.query.find("run");
    const std::string runId = named == head.query.end() ? "" : named->second;
    const auto ticket = head.query.find("ticket");
    // HEAD uses no ticket up: programs that preview an address ask that way. The order counts: the
    // ticket is used up only when the one who holds it may read.
    if (ticket != head.query.end() && head.method == "GET" &&
        m_gate.isTicket(ticket->second, runId) && isOwnUsers(head)) {
        if (const auto pass = m_gate.redeem(ticket->second, runId)) {
            // On to the address without the ticket, which is what a history then keeps.
            HttpAnswer answer = guarded({303, "text/plain", "", {}});
            answer.headers.emplace_back("Location", "/console?run=" + runId);
            // Only for this path, out of reach for scripts, and sent along when a link is followed
            // here but not with requests that other pages make. The name is the run's, so that
            // reports do not push each other's passes out.
            answer.headers.emplace_back(
                "Set-Cookie",
                runId + "=" + *pass +
                    "; Path=/console; Max-Age=" + std::to_string(ReportGate::kPassLasts.count()) +
                    "; HttpOnly; SameSite=Lax" + (m_base.starts_with("https:") ? "; Secure" : ""));
            return answer;
        }
    }
    if (!mayRead(head, runId)) return pageAnswer(403, closedReportPage());
    const auto run = m_store.run(runId);
    return run ? m_user.report(*run) : pageAnswer(404, noSuchRunPage());
}

bool HttpApi::mayRead(const HttpHead& head, const std::string& runId) {
    const auto authorization = head.header("authorization");
    if (m_options.keys != nullptr) {
        if (ownsRun(head, runId)) return true;
    } else if (authorization && authorizes(*authorization, m_options.key)) {
        return true;
    }
    // Browsers send one Cookie header, relays may split it.
    const auto [first, last] = head.headers.equal_range("cookie");
    for (auto each = first; each != last; ++each) {
        if (const auto pass = cookieIn(each->second, runId); pass && m_gate.isPass(*pass, runId)) {
            return true;
        }
    }
    return false;
}

bool HttpApi::isOwnUsers(const HttpHead& head) const {
    if (head.clientAddress.empty()) return true; // A Unix socket lets no others in.
    const auto user = m_options.userOfPeer(head.clientAddress, head.serverAddress);
    // Where it cannot be found whose the connection is, the ticket alone decides. The administrator
    // can read everything anyway, and is not shut out.
    return !user || *user == geteuid() || *user == 0;
}

HttpAnswer HttpApi::connect(const HttpHead& head) {
    // As the browser has reached it: refuse() has seen that it is a name of this machine.
    return pageAnswer(
        200, connectPage(originFor(head.header("host").value_or("")), m_options.keyFile.string()));
}

HttpAnswer HttpApi::catalog() {
    std::error_code error;
    // Looked at with each request: it may be replaced while the service runs.
    if (!std::filesystem::is_regular_file(m_options.catalog, error) ||
        std::filesystem::file_size(m_options.catalog, error) > kLargestCatalog || error) {
        return errorAnswer(404, "this service has no application catalog");
    }
    std::ifstream file(m_options.catalog, std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (!file.eof() && file.fail())
        return errorAnswer(404, "the application catalog cannot be read");
    return jsonAnswer(200, std::move(bytes));
}

bool HttpApi::isOwnHost(const std::string& host) const {
    return isLoopbackHost(host) ||
           (m_options.publicUrl && lowerAscii(host) == m_options.publicUrl->authority);
}

std::string HttpApi::originFor(const std::string& host) const {
    const std::string lower = lowerAscii(host);
    if (m_options.publicUrl && lower == m_options.publicUrl->authority) {
        return m_options.publicUrl->origin();
    }
    return "http://" + lower;
}

HttpAnswer HttpApi::readiness() {
    // A store that does not answer is told as one that cannot be written: see answer().
    if (!m_queue.isAccepting()) return stopping();
    return jsonAnswer(200, R"({"status":"ok"})");
}

HttpAnswer HttpApi::health() {
    // In order as soon as it answers: work is taken while the critics are still made ready. Whether
    // the store answers is for readiness(): a process is not to be ended and begun anew for that.
    bool warming = true;
    try {
        warming = m_queue.isWarming();
    } catch (const StoreError&) {
        // As far as anybody here knows.
    }
    return jsonAnswer(200,
                      std::string(R"({"status":"ok","warming":)") + (warming ? "true}" : "false}"));
}

} // namespace trevix
