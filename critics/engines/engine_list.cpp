#include "critics/engines/engine_list.h"

#include "text/unicode.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <vector>

namespace trevix {

namespace text = kelvane::text;

namespace {

constexpr std::size_t kColumns = 5;
using Row = std::array<std::string, kColumns>;

Row rowOf(const EngineInfo& engine) {
    std::string state = engine.version;
    if (!engine.here) {
        state = engine.version.empty() ? "not here" : engine.version + ", not used";
    } else if (state.empty()) {
        state = "here";
    }
    std::string obtain = engine.obtain;
    if (engine.inside && engine.here) {
        obtain = "part of the service";
    } else if (engine.here) {
        obtain = engine.place;
    } else if (!engine.trouble.empty()) {
        obtain = engine.trouble + (obtain.empty() ? "" : "; " + obtain);
    }
    return {engine.name, state, engine.judges, engine.licence, obtain};
}

} // namespace

std::string engineTableText(std::span<const EngineInfo> engines) {
    std::vector<Row> rows = {{"ENGINE", "VERSION", "JUDGES", "LICENCE", "WHERE, OR HOW TO GET IT"}};
    for (const EngineInfo& engine : engines) rows.push_back(rowOf(engine));
    std::array<std::size_t, kColumns> widths{};
    for (const Row& row : rows) {
        for (std::size_t i = 0; i < kColumns; ++i) {
            widths[i] = std::max(widths[i], text::characterCount(row[i]));
        }
    }
    std::string out;
    for (const Row& row : rows) {
        for (std::size_t i = 0; i + 1 < kColumns; ++i) {
            out += row[i] + std::string(widths[i] - text::characterCount(row[i]) + 2, ' ');
        }
        out += row.back();
        while (out.ends_with(' ')) out.pop_back();
        out += '\n';
    }
    return out;
}

std::string engineTableJson(std::span<const EngineInfo> engines) {
    nlohmann::json list = nlohmann::json::array();
    for (const EngineInfo& engine : engines) {
        list.push_back({{"id", engine.id},
                        {"name", engine.name},
                        {"judges", engine.judges},
                        {"licence", engine.licence},
                        {"version", engine.version},
                        {"place", engine.place},
                        {"here", engine.here},
                        {"inside", engine.inside},
                        {"trouble", engine.trouble},
                        {"obtain", engine.obtain}});
    }
    return nlohmann::json{{"engines", std::move(list)}}.dump(
               2, ' ', false, nlohmann::json::error_handler_t::replace) +
           "\n";
}

} // namespace trevix
