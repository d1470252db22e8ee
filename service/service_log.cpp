#include "service/service_log.h"

#include <array>
#include <cstdio>
#include <ctime>

#include <nlohmann/json.hpp>

namespace trevix {

namespace {

// Names in the order in which they are put in: the time first, for people who do look.
using Line = nlohmann::ordered_json;

/// "2026-03-04T05:06:07.890Z"
std::string utc(std::int64_t ms) {
    const std::time_t seconds = static_cast<std::time_t>(ms / 1000);
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    std::array<char, 32> text{};
    const std::size_t size = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &parts);
    std::array<char, 8> fraction{};
    std::snprintf(fraction.data(), fraction.size(), ".%03dZ", static_cast<int>(ms % 1000));
    return std::string(text.data(), size) + fraction.data();
}

std::string lineOf(const Line& line) {
    // What is no UTF-8, in the name of a file say, is not to cost the line.
    return line.dump(-1, ' ', false, Line::error_handler_t::replace) + "\n";
}

Line begun(std::int64_t nowMs, std::string_view event) {
    return {{"time", utc(nowMs)}, {"event", event}};
}

} // namespace

void ServiceLog::write(const std::string& line) {
    const std::lock_guard lock(m_mutex);
    m_sink(line);
}

void ServiceLog::notice(const std::string& text) {
    if (text.empty()) return;
    if (!m_json) return write("trevix-local: " + text + "\n");
    Line line = begun(m_nowMs(), "notice");
    line["text"] = text;
    write(lineOf(line));
}

void ServiceLog::request(std::string_view method, std::string_view route, int status,
                         std::chrono::milliseconds took) {
    if (!m_json) return;
    Line line = begun(m_nowMs(), "request");
    line["method"] = method;
    line["route"] = route;
    line["status"] = status;
    line["ms"] = took.count();
    write(lineOf(line));
}

void ServiceLog::judged(const JudgedJob& job) {
    if (!m_json) return;
    Line line = begun(m_nowMs(), "judged");
    line["job"] = job.id;
    line["kind"] = job.kind == JobKind::grade ? "grade" : "iterate";
    line["attempt"] = job.attempts;
    line["ms"] = job.took.count();
    write(lineOf(line));
}

void ServiceLog::stage(std::string_view event, std::string_view role) {
    if (!m_json) return;
    Line line = begun(m_nowMs(), event);
    line["role"] = role;
    write(lineOf(line));
}

} // namespace trevix
