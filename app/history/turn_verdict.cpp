#include "app/history/turn_verdict.h"

#include "platform/ports/file_system.h"

#include <nlohmann/json.hpp>

#include <utility>

namespace kelvane::history {

namespace {

using nlohmann::json;

const json& member(const json& object, const char* key) {
    static const json none;
    const auto found = object.find(key);
    return found != object.end() ? *found : none;
}

std::string textIn(const json& object, const char* key) {
    const json& value = member(object, key);
    return value.is_string() ? value.get<std::string>() : std::string();
}

std::int64_t numberIn(const json& object, const char* key) {
    const json& value = member(object, key);
    return value.is_number_integer() ? value.get<std::int64_t>() : 0;
}

} // namespace

std::optional<TurnVerdict> turnVerdictOf(std::string_view text) {
    if (text.size() > kLongestTurn) return std::nullopt;
    const auto object = json::parse(text, nullptr, false);
    if (!object.is_object()) return std::nullopt;
    TurnVerdict turn;
    const auto band = bandNamed(textIn(object, "band"));
    if (!band || *band == Band::unknown) return std::nullopt;
    turn.band = *band;
    turn.at = numberIn(object, "at");
    turn.project = textIn(object, "project");
    if (const json& score = member(object, "score"); score.is_number()) {
        turn.score = score.get<double>();
    }
    turn.flaws = numberIn(object, "flaws");
    if (auto run = textIn(object, "run_id"); !run.empty()) turn.runId = std::move(run);
    turn.service = textIn(object, "service");
    return turn;
}

TurnWatch::TurnWatch(FileSystem& files, const std::filesystem::path& braskHome)
    : m_files(files),
      m_file(braskHome / "state" / "turn.json"),
      m_last(read()) {}

std::optional<TurnVerdict> TurnWatch::look() {
    auto found = read();
    if (!found || found == m_last) return std::nullopt;
    m_last = found;
    return found;
}

std::optional<TurnVerdict> TurnWatch::read() {
    const auto guard = m_files.guard(m_file);
    if (!guard || !guard->isOurs || guard->othersWrite) return std::nullopt;
    const auto text = m_files.readAny(m_file, kLongestTurn);
    return text ? turnVerdictOf(*text) : std::nullopt;
}

} // namespace kelvane::history
