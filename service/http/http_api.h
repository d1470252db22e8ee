// The answers of the service, request by request.
//
//   POST /api/v1/eval/jobs               a new job                                     key
//   GET  /api/v1/eval/jobs/ID            how far it is, and its verdict                key
//   DELETE /api/v1/eval/jobs/ID          gives it up                                   key
//   GET  /api/v1/eval/runs/ID            the graded work with all its versions         key
//   POST /api/v1/eval/runs/ID/iterate    a revision; answers when it is judged         key
//   GET  /console?run=ID                 the report, for a browser
//   and what a person says about findings, see user_actions.h
//   GET  /connect                        where the key is and how to use it, for a browser
//   GET  /                               what this is, for a browser
//   GET  /brask/app-catalog.json         the application catalog
//   GET  /healthz                        {"status": "ok", "warming": false}
//
// The routing and the rules of who may ask, without sockets. What needs the key is refused without
// it before anything else is told, even whether a path exists. A report needs no key, since a
// browser sends none: its address is the permission, for a run's id has 128 random bits and is told
// to those alone who have the key. Requests that name another host than the loopback are refused,
// so that no web page reaches the service through a name that it controls, and so are POSTs from
// pages of other origins. Any thread.

#pragma once

#include "service/http/http_server.h"
#include "service/http/user_actions.h"
#include "service/job_queue.h"
#include "service/store/run_store.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace trevix {

struct ApiOptions {
    std::string key;
    std::filesystem::path keyFile;    ///< To be shown to people; empty when the key is in no file.
    std::filesystem::path catalog;    ///< Read anew for every request; empty for none.
    std::filesystem::path dismissed;  ///< See user_files.h; empty where there is no home folder.
    std::filesystem::path dictionary; ///< Likewise.
    std::function<std::int64_t()> nowMs = [] { return std::int64_t{0}; }; ///< Since 1970, UTC.
};

class HttpApi final : public HttpHandler {
public:
    /// Both must outlive this object.
    HttpApi(ApiOptions options, JobQueue& queue, RunStore& store);

    [[nodiscard]] std::optional<HttpAnswer> refuse(const HttpHead& head) override;
    [[nodiscard]] HttpAnswer answer(const HttpHead& head, const std::string& body) override;
    [[nodiscard]] HttpAnswer problem(int status, std::string_view text) override;

private:
    [[nodiscard]] HttpAnswer route(const HttpHead& head, const std::string& body);
    [[nodiscard]] HttpAnswer submit(const std::string& body);
    [[nodiscard]] HttpAnswer jobStatus(const std::string& jobId);
    [[nodiscard]] HttpAnswer cancelJob(const std::string& jobId);
    [[nodiscard]] HttpAnswer runRecord(const std::string& runId);
    [[nodiscard]] HttpAnswer iterate(const std::string& runId, const std::string& body);
    [[nodiscard]] HttpAnswer report(const HttpHead& head);
    [[nodiscard]] HttpAnswer connect(const HttpHead& head);
    [[nodiscard]] HttpAnswer catalog();
    [[nodiscard]] HttpAnswer health();

    const ApiOptions m_options;
    JobQueue& m_queue;
    RunStore& m_store;
    UserActions m_user;
};

/// Whether a Host header names this machine's loopback, with or without a port.
[[nodiscard]] bool isLoopbackHost(std::string_view host);

} // namespace trevix
