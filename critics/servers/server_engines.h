// The room of the engines that are servers of the user's own: a model, LanguageTool. Off until the
// user names one.

#pragma once

#include "critics/engines/engine.h"
#include "critics/servers/model_review.h"
#include "critics/servers/own_servers.h"

#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace trevix {

/// The servers that the user named.
struct ServerChoices {
    std::optional<ModelChoice> model;
    std::optional<ServerAddress> languageTool;

    bool operator==(const ServerChoices&) const = default;
};

/// What the user asked for, in their words; empty where they did not.
struct ServerWishes {
    std::string judge;        ///< Address of a server of models.
    std::string model;        ///< Its model's name.
    std::string key;          ///< Of that server.
    bool elsewhere = false;   ///< Whether the model may be on another machine.
    std::string languageTool; ///< Address; always on this machine.
};

/// The choices that these wishes are, or why one cannot be: "--judge: …". Pure.
[[nodiscard]] std::variant<ServerChoices, AddressError> chosenServers(const ServerWishes& wishes);

class ServerEngines : public EngineRoom {
public:
    /// `servers` outlives the room.
    ServerEngines(ServerChoices choices, OwnServers& servers)
        : m_choices(std::move(choices)),
          m_servers(servers) {}

    [[nodiscard]] std::vector<std::string> enginesFor(const Part& part,
                                                      std::string_view modality) const override;
    [[nodiscard]] Critique look(std::string_view engine, const Part& part,
                                std::string_view modality, StopToken cancel) override;
    /// Only of what the user asked for and the part is not fit for.
    [[nodiscard]] std::vector<NotChecked> absentFor(const Part& part,
                                                    std::string_view modality) const override;
    [[nodiscard]] std::size_t mostParts(std::string_view engine) const override;
    [[nodiscard]] int usualMilliseconds(std::string_view engine) const override;

    /// All of them, asked for or not. A server that was asked for is asked whether it is there:
    /// some seconds.
    [[nodiscard]] std::vector<EngineInfo> list() const;

private:
    [[nodiscard]] Critique reviewed(const Part& part, WorkKind kind, StopToken cancel);

    const ServerChoices m_choices;
    OwnServers& m_servers;
    std::mutex m_mutex;
    std::condition_variable m_free;
    bool m_asking = false; ///< Guarded by `m_mutex`. A model answers one question at a time.
};

} // namespace trevix
