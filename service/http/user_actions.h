// What a person says about findings: by the API with the key, and by the forms of a report.
//
//   GET  /api/v1/eval/dismissals         what is dismissed                             key
//   POST /api/v1/eval/dismissals         {"rule", "evidence", "place", "reason"}       key
//   POST /api/v1/eval/dismissals/undo    {"rule", "evidence", "place"}                 key
//   POST /api/v1/eval/words              {"word"}                                      key
//   POST /api/v1/eval/words/undo         {"word"}                                      key
//   POST /console?run=ID                 a form of the report, answered with 303
//
// A form is taken from the report itself and from nowhere else: its Origin must be this service,
// and it must hold the token that this start of the service wrote into the pages of this very run,
// which no other page can know. A form names a finding of the run by a digest.
//
// Part of HttpApi, which asks here first. Any thread.

#pragma once

#include "service/http/http_server.h"
#include "service/store/run_store.h"
#include "service/store/user_files.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace trevix {

class UserActions {
public:
    /// `store` must outlive this object. `nowMs` is since 1970, UTC.
    UserActions(UserFiles files, RunStore& store, std::function<std::int64_t()> nowMs);

    /// Whether the request is answered here.
    [[nodiscard]] static bool owns(const HttpHead& head);

    /// As HttpHandler has them, for requests that are owned here. Host and key were looked at.
    [[nodiscard]] std::optional<HttpAnswer> refuse(const HttpHead& head) const;
    [[nodiscard]] HttpAnswer answer(const HttpHead& head, const std::string& body);

    /// The report on a run, with its forms.
    [[nodiscard]] HttpAnswer report(const RunRecord& run, int status = 200,
                                    const std::string& notice = {});

    [[nodiscard]] UserSays says() const { return m_files.says(); }

private:
    [[nodiscard]] HttpAnswer form(const HttpHead& head, const std::string& body);
    [[nodiscard]] std::string tokenFor(const std::string& runId);

    const UserFiles m_files;
    RunStore& m_store;
    const std::function<std::int64_t()> m_nowMs;

    std::mutex m_mutex;
    std::map<std::string, std::string> m_tokens; // by run
    std::deque<std::string> m_tokenOrder;        // the oldest first
};

} // namespace trevix
