#include "app/history/verdict_entry.h"

#include "text/byte_cut.h"
#include "text/json_shape.h"
#include "text/unicode.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <ctime>
#include <utility>

namespace kelvane::history {

namespace {

using nlohmann::json;

constexpr int kForm = 1; // of the line; a reader of another form passes it over

std::string cut(const std::string& text) {
    return std::string(text::firstBytes(text, kLongestFlawText));
}

std::string stringIn(const json& object, const char* key) {
    const auto found = object.find(key);
    return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

std::optional<std::string> optionalIn(const json& object, const char* key) {
    const auto found = object.find(key);
    if (found == object.end() || !found->is_string()) return std::nullopt;
    return found->get<std::string>();
}

bool flagIn(const json& object, const char* key) {
    const auto found = object.find(key);
    return found != object.end() && found->is_boolean() && found->get<bool>();
}

std::int64_t numberIn(const json& object, const char* key) {
    const auto found = object.find(key);
    return found != object.end() && found->is_number_integer() ? found->get<std::int64_t>() : 0;
}

json flawJson(const Flaw& flaw) {
    return {{"severity", flaw.severity}, {"criterion", flaw.criterion},
            {"detail", flaw.detail},     {"rule", flaw.rule},
            {"place", flaw.place},       {"evidence", flaw.evidence}};
}

Flaw flawOf(const json& object) {
    return {stringIn(object, "severity"), stringIn(object, "criterion"),
            stringIn(object, "detail"),   stringIn(object, "rule"),
            stringIn(object, "place"),    stringIn(object, "evidence")};
}

} // namespace

void describeWork(VerdictEntry& entry, const std::vector<ArtifactPart>& parts, bool keepsText) {
    std::string all;
    std::string words;
    for (const ArtifactPart& part : parts) {
        entry.isPicture = entry.isPicture || part.mimeType.starts_with("image/");
        all += part.mimeType + '\n' + part.text.value_or("") + '\n' + part.dataB64.value_or("");
        if (part.text) words += (words.empty() ? "" : "\n") + *part.text;
    }
    entry.digest = digestOf(all);
    if (!keepsText || words.empty()) return;
    const auto kept = text::firstBytes(words, kLongestText);
    entry.textIsCut = kept.size() < words.size();
    entry.text = std::string(kept);
}

void describeVerdict(VerdictEntry& entry, const Verdict& verdict) {
    entry.band = verdict.band;
    entry.score = verdict.score;
    entry.error = verdict.error;
    if (entry.error) entry.error = cut(*entry.error);
    entry.runId = verdict.runId.value_or("");
    entry.flawCount = verdict.flaws.size();
    entry.flaws.clear();
    for (const Flaw& flaw : verdict.flaws) {
        if (entry.flaws.size() == kMostFlaws) break;
        entry.flaws.push_back({cut(flaw.severity), cut(flaw.criterion), cut(flaw.detail),
                               cut(flaw.rule), cut(flaw.place), cut(flaw.evidence)});
    }
}

Verdict verdictOf(const VerdictEntry& entry) {
    Verdict verdict;
    verdict.band = entry.band;
    verdict.score = entry.score;
    verdict.flaws = entry.flaws;
    if (!entry.runId.empty()) verdict.runId = entry.runId;
    verdict.error = entry.error;
    return verdict;
}

std::string digestOf(std::string_view bytes) {
    std::uint64_t hash = 0xcbf29ce484222325U;
    for (const char c : bytes) {
        hash ^= static_cast<unsigned char>(c);
        hash *= 0x100000001b3U;
    }
    std::string digits;
    for (int shift = 60; shift >= 0; shift -= 4)
        digits += "0123456789abcdef"[(hash >> shift) & 15U];
    return digits;
}

std::string lineOf(const VerdictEntry& entry) {
    json flaws = json::array();
    for (const Flaw& flaw : entry.flaws) flaws.push_back(flawJson(flaw));
    json object = {{"form", kForm},
                   {"time_ms", entry.timeMs},
                   {"time", isoTime(entry.timeMs)},
                   {"app", entry.app},
                   {"bundle", entry.bundleId},
                   {"kind", entry.kind},
                   {"picture", entry.isPicture},
                   {"band", name(entry.band)},
                   {"flaws", std::move(flaws)},
                   {"flaw_count", entry.flawCount},
                   {"run_id", entry.runId},
                   {"report", entry.report},
                   {"digest", entry.digest}};
    if (entry.score) object["score"] = *entry.score;
    if (entry.error) object["error"] = *entry.error;
    if (entry.text) object["text"] = *entry.text;
    if (entry.textIsCut) object["text_cut"] = true;
    return object.dump(-1, ' ', false, json::error_handler_t::replace) + '\n';
}

std::optional<VerdictEntry> entryInLine(std::string_view line) {
    if (line.size() > kLongestEntry || !text::isValidUtf8(line)) return std::nullopt;
    const auto shape = text::jsonShape(line);
    if (shape.depth > text::kDeepestJson || shape.hasNul) {
        return std::nullopt;
    }
    const json object = json::parse(line, nullptr, false);
    if (!object.is_object() || numberIn(object, "form") != kForm) return std::nullopt;
    const auto band = bandNamed(stringIn(object, "band"));
    if (!band) return std::nullopt;
    VerdictEntry entry;
    entry.timeMs = numberIn(object, "time_ms");
    entry.app = stringIn(object, "app");
    entry.bundleId = stringIn(object, "bundle");
    entry.kind = stringIn(object, "kind");
    entry.isPicture = flagIn(object, "picture");
    entry.band = *band;
    if (const auto found = object.find("score"); found != object.end() && found->is_number()) {
        entry.score = found->get<double>();
    }
    if (const auto found = object.find("flaws"); found != object.end() && found->is_array()) {
        for (const json& flaw : *found) {
            if (flaw.is_object() && entry.flaws.size() < kMostFlaws) {
                entry.flaws.push_back(flawOf(flaw));
            }
        }
    }
    const auto count = numberIn(object, "flaw_count");
    entry.flawCount =
        std::max(entry.flaws.size(), static_cast<std::size_t>(std::max<std::int64_t>(count, 0)));
    entry.error = optionalIn(object, "error");
    entry.runId = stringIn(object, "run_id");
    entry.report = stringIn(object, "report");
    entry.digest = stringIn(object, "digest");
    entry.text = optionalIn(object, "text");
    entry.textIsCut = flagIn(object, "text_cut");
    return entry;
}

std::string isoTime(std::int64_t ms) {
    const auto seconds = static_cast<std::time_t>(ms / 1000);
    std::tm parts{};
    if (gmtime_r(&seconds, &parts) == nullptr) return {};
    char text[32];
    const std::size_t length = std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
    return {text, length};
}

} // namespace kelvane::history
