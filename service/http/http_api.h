// The answers of the service, request by request.
//
//   POST /api/v1/eval/jobs               a new job                                     key
//   GET  /api/v1/eval/jobs/ID            how far it is, and its verdict                key
//   DELETE /api/v1/eval/jobs/ID          gives it up                                   key
//   GET  /api/v1/eval/runs/ID            the graded work with all its versions         key
//   POST /api/v1/eval/runs/ID/iterate    a revision; answers when it is judged         key
//   POST /api/v1/eval/runs/ID/ticket     an address that opens the report once         key
//   GET  /api/v1/proof?nonce=...         that this service knows the key
//   GET  /console?run=ID                 the report, for a browser                     see below
//   and what a person says about findings, see user_actions.h
//   GET  /connect                        where the key is and how to use it, for a browser
//   GET  /                               what this is, for a browser
//   GET  /brask/app-catalog.json         the application catalog
//   GET  /healthz                        {"status": "ok", "warming": false}
//   GET  /readyz                         {"status": "ok"}, or 503: ask another one
//
// The routing and the rules of who may ask, without sockets. What needs the key is refused without
// it before anything else is told, even whether a path exists. A report is shown to a browser that
// brings a ticket, or the pass that it got for one (see report_gate.h), and to who has the key; its
// address alone opens nothing. A ticket is taken from a program of this user, or of root, where the
// system tells whose a connection is: another user who sees it in the list of processes cannot be
// faster. Requests that name another host than the loopback, or than the service's public one, are
// refused, so that no web page reaches the service through a name that it controls, and so are
// POSTs from pages of other origins. Any thread.

#pragma once

#include "service/http/http_server.h"
#include "service/http/peer_user.h"
#include "service/http/report_gate.h"
#include "service/http/user_actions.h"
#include "service/job_desk.h"
#include "service/setup/public_url.h"
#include "service/store/run_store.h"
#include "service/team_keys.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace trevix {

struct ApiOptions {
    std::string key; ///< Of the one person that there is.
    /// Those of a team, in its place; both must outlive the API. Then runs and jobs are told to the
    /// group alone whose they are, and there are no dismissals.
    TeamKeys* keys = nullptr;
    SharedStore* shared = nullptr;
    std::filesystem::path keyFile;    ///< To be shown to people; empty when the key is in no file.
    std::filesystem::path catalog;    ///< Read anew for every request; empty for none.
    std::filesystem::path dismissed;  ///< See user_files.h; empty where there is no home folder.
    std::filesystem::path dictionary; ///< Likewise.
    std::function<std::int64_t()> nowMs = [] { return std::int64_t{0}; }; ///< Since 1970, UTC.
    /// Where others reach the service; absent for one that answers its own machine alone.
    std::optional<PublicUrl> publicUrl;
    /// For how long tickets last.
    std::function<ReportGate::Instant()> now = [] { return std::chrono::steady_clock::now(); };
    /// See userOfTcpPeer().
    std::function<std::optional<uid_t>(const std::string& client, const std::string& server)>
        userOfPeer = userOfTcpPeer;
};

class HttpApi final : public HttpHandler {
public:
    /// Both must outlive this object.
    HttpApi(ApiOptions options, JobDesk& queue, RunStore& store);

    /// Where browsers reach the service: "http://127.0.0.1:8797". Before the first request.
    void setBase(std::string base) { m_base = std::move(base); }

    [[nodiscard]] std::optional<HttpAnswer> refuse(const HttpHead& head) override;
    [[nodiscard]] HttpAnswer answer(const HttpHead& head, const std::string& body) override;
    [[nodiscard]] HttpAnswer problem(int status, std::string_view text) override;

private:
    [[nodiscard]] HttpAnswer route(const HttpHead& head, const std::string& body);
    /// Whether whoever asks may know of it.
    [[nodiscard]] bool ownsJob(const HttpHead& head, const std::string& jobId) const;
    [[nodiscard]] bool ownsRun(const HttpHead& head, const std::string& runId) const;
    [[nodiscard]] JobOwner ownerIn(const HttpHead& head) const;
    [[nodiscard]] std::optional<TeamKey> teamKeyIn(const HttpHead& head) const;
    [[nodiscard]] std::optional<HttpAnswer> refuseKey(const HttpHead& head);
    void noteUse(const HttpHead& head, const HttpAnswer& answer);
    [[nodiscard]] HttpAnswer submit(const HttpHead& head, const std::string& body);
    [[nodiscard]] HttpAnswer jobStatus(const std::string& jobId);
    [[nodiscard]] HttpAnswer cancelJob(const std::string& jobId);
    [[nodiscard]] HttpAnswer runRecord(const std::string& runId);
    [[nodiscard]] HttpAnswer iterate(const HttpHead& head, const std::string& runId,
                                     const std::string& body);
    [[nodiscard]] HttpAnswer ticket(const std::string& runId);
    [[nodiscard]] HttpAnswer proof(const HttpHead& head);
    [[nodiscard]] HttpAnswer report(const HttpHead& head);
    [[nodiscard]] bool mayRead(const HttpHead& head, const std::string& runId);
    [[nodiscard]] bool isOwnUsers(const HttpHead& head) const;
    [[nodiscard]] HttpAnswer connect(const HttpHead& head);
    [[nodiscard]] HttpAnswer catalog();
    [[nodiscard]] HttpAnswer health();
    [[nodiscard]] HttpAnswer readiness();
    [[nodiscard]] bool isOwnHost(const std::string& host) const;
    /// Of a page of this service that was asked for by that name.
    [[nodiscard]] std::string originFor(const std::string& host) const;

    const ApiOptions m_options;
    std::string m_base;
    ReportGate m_gate;
    JobDesk& m_queue;
    RunStore& m_store;
    UserActions m_user;
};

/// A path with what clients choose blotted out, "/api/v1/eval/jobs/{id}"; "other" for one that
/// there is not. Of a bounded set, for logs.
[[nodiscard]] std::string_view routeName(std::string_view path);

/// Whether a Host header names this machine's loopback, with or without a port.
[[nodiscard]] bool isLoopbackHost(std::string_view host);

} // namespace trevix
