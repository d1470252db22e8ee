#include "critics/servers/server_engines.h"

#include "critics/findings/part_kind.h"
#include "critics/findings/stop.h"
#include "critics/servers/language_tool.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <utility>

namespace trevix {

namespace text = kelvane::text;

namespace {

constexpr std::string_view kModel = "model";
constexpr std::string_view kLanguageTool = "languagetool";
/// A server that is there tells its name at once.
constexpr std::chrono::milliseconds kProbeTime{2000};

bool isWritten(WorkKind kind) {
    return kind == WorkKind::text || kind == WorkKind::document || kind == WorkKind::code ||
           kind == WorkKind::sheet;
}

bool isProse(WorkKind kind) {
    return kind == WorkKind::text || kind == WorkKind::document;
}

/// The secrets of the first `size` bytes of a text. What is asked about is a small part of what a
/// text may be, and this is the service's own process: the rest is not looked at. A key that goes
/// on behind them is one all the same, so some more is read; the longest keys have ten kilobytes.
std::vector<Secret> secretsBefore(std::string_view text, std::size_t size) {
    constexpr std::size_t kLongestSecret = std::size_t{64} << 10U;
    return findSecrets(text.substr(0, size + kLongestSecret));
}

EngineInfo probed(OwnServers& servers, EngineInfo info, const ServerAddress& address,
                  std::string path, const std::string& key) {
    ServerRequest request;
    request.address = address;
    request.path = std::move(path);
    request.key = key;
    request.time = kProbeTime;
    request.mostBytes = kMostModelBytes;
    const ServerAnswer answer = servers.ask(request, {});
    info.place = address.shown;
    info.here = answer.end == ServerAnswer::End::answered && answer.status == 200;
    if (!info.here) info.trouble = info.name + " does not answer at " + address.shown;
    return info;
}

} // namespace

std::variant<ServerChoices, AddressError> chosenServers(const ServerWishes& wishes) {
    ServerChoices choices;
    if (!wishes.judge.empty()) {
        auto address = serverAddress(wishes.judge, wishes.elsewhere);
        if (const auto* error = std::get_if<AddressError>(&address)) {
            return AddressError{"--judge: " + error->text};
        }
        const bool sendable =
            std::ranges::all_of(wishes.key, [](char c) { return c > ' ' && c < '\x7F'; });
        if (!sendable) return AddressError{"TREVIX_JUDGE_KEY holds what no key holds"};
        choices.model =
            ModelChoice{std::get<ServerAddress>(std::move(address)), wishes.model, wishes.key};
    }
    if (!wishes.languageTool.empty()) {
        auto address = serverAddress(wishes.languageTool, false);
        if (const auto* error = std::get_if<AddressError>(&address)) {
            return AddressError{"--languagetool: " + error->text};
        }
        choices.languageTool = std::get<ServerAddress>(std::move(address));
    }
    return choices;
}

std::vector<std::string> ServerEngines::enginesFor(const Part& part,
                                                   std::string_view modality) const {
    const WorkKind kind = kindOf(part, text::lowerAscii(modality));
    std::vector<std::string> ids;
    if (part.text.empty()) return ids;
    if (m_choices.languageTool && isProse(kind)) ids.emplace_back(kLanguageTool);
    if (m_choices.model && isWritten(kind)) ids.emplace_back(kModel);
    return ids;
}

std::size_t ServerEngines::mostParts(std::string_view engine) const {
    return engine == kModel ? kMostModelParts : EngineRoom::mostParts(engine);
}

int ServerEngines::usualMilliseconds(std::string_view engine) const {
    // A model answers in seconds to a minute, LanguageTool in about one second; both work elsewhere
    // meanwhile. The room is asked about programs of other rooms too.
    if (engine == kModel) return 10'000;
    return engine == kLanguageTool ? 1'000 : 0;
}

Critique ServerEngines::look(std::string_view engine, const Part& part, std::string_view modality,
                             StopToken cancel) {
    const WorkKind kind = kindOf(part, text::lowerAscii(modality));
    if (engine == kModel && m_choices.model && isWritten(kind)) {
        return reviewed(part, kind, std::move(cancel));
    }
    if (engine == kLanguageTool && m_choices.languageTool && isProse(kind)) {
        const std::vector<Secret> secrets = secretsBefore(part.text, kMostForLanguageTool);
        const ServerAnswer answer = m_servers.ask(
            languageToolRequest(*m_choices.languageTool, part.text, secrets), std::move(cancel));
        return critiqueOfLanguageTool(part.text, secrets, answer);
    }
    return {};
}

Critique ServerEngines::reviewed(const Part& part, WorkKind kind, StopToken cancel) {
    {
        // Under the lock, or the word would be missed between the look and the wait.
        const StopCallback wake(cancel, [this] {
            const std::lock_guard lock(m_mutex);
            m_free.notify_all();
        });
        std::unique_lock lock(m_mutex);
        m_free.wait(lock, [&] { return !m_asking || cancel.isAsked(); });
        if (m_asking) return {};
        m_asking = true;
    }
    std::vector<ModelWindow> windows = modelWindowsOf(part.text);
    const std::size_t all = windows.size();
    if (all > kMostModelWindows) windows.resize(kMostModelWindows);
    const std::string_view asked =
        std::string_view(part.text).substr(0, windows.empty() ? 0 : windows.back().end);
    const std::vector<Secret> secrets = secretsBefore(part.text, asked.size());
    std::vector<ModelReading> readings;
    std::chrono::milliseconds left = kModelPartTime;
    for (const ModelWindow& window : windows) {
        const auto time = std::min(kModelAnswerTime, left);
        const ServerAnswer answer = m_servers.ask(
            reviewRequest(*m_choices.model, kind, asked, window, secrets, time), cancel);
        left -= std::min(answer.took, left);
        readings.push_back(readReview(answer, time));
        if (readings.back().hopeless || left <= std::chrono::milliseconds(0)) break;
    }
    {
        const std::lock_guard lock(m_mutex);
        m_asking = false;
    }
    m_free.notify_one();
    return critiqueOfReview(*m_choices.model, asked, windows, readings, all, secrets);
}

std::vector<NotChecked> ServerEngines::absentFor(const Part& part,
                                                 std::string_view modality) const {
    const WorkKind kind = kindOf(part, text::lowerAscii(modality));
    if (!m_choices.model || isWritten(kind)) return {};
    return {{std::string(kModelJudges),
             modelName(*m_choices.model) + " is asked about text, code and tables only", ""}};
}

std::vector<EngineInfo> ServerEngines::list() const {
    EngineInfo tool;
    tool.id = kLanguageTool;
    tool.name = "LanguageTool";
    tool.judges = kLanguageToolJudges;
    tool.licence = "LGPL-2.1-or-later";
    tool.obtain = "a server of your own: --languagetool URL";
    if (m_choices.languageTool) {
        const bool versioned = m_choices.languageTool->base.ends_with("/v2");
        tool = probed(m_servers, tool, *m_choices.languageTool,
                      versioned ? "/languages" : "/v2/languages", "");
    }
    EngineInfo model;
    model.id = kModel;
    model.name = m_choices.model ? modelName(*m_choices.model) : "a model";
    model.judges = kModelJudges;
    model.obtain = "a server of your own: --judge URL --model NAME";
    if (m_choices.model) {
        const bool versioned = m_choices.model->address.base.ends_with("/v1");
        model = probed(m_servers, model, m_choices.model->address,
                       versioned ? "/models" : "/v1/models", m_choices.model->key);
    }
    return {tool, model};
}

} // namespace trevix
