// The keys of a team: who asks, how often, and what is done with them.
//
// The keys are read from the store every now and then and held in memory, so that who asks is known
// without a question to the database; a key that is revoked is good for another kRereadEvery at
// most. Of a database that does not answer the keys last read stand. Any thread.

#pragma once

#include "critics/findings/stop.h"
#include "service/setup/keys_command.h"
#include "service/store/shared_store.h"
#include "service/store/team_key.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace trevix {

/// Chosen: who revokes a key waits no longer than that for it to be over.
constexpr std::chrono::milliseconds kRereadEvery{5'000};

/// How many requests a key has left: one more every 60 s divided by so many, and so many at most.
/// A value; each moment is handed in, in milliseconds of any clock that does not go back.
struct RequestBudget {
    double left = 0;
    std::int64_t lastMs = 0;

    /// Whether one more may be answered; if so it is taken off.
    [[nodiscard]] bool take(std::int64_t perMinute, std::int64_t nowMs);

    bool operator==(const RequestBudget&) const = default;
};

class TeamKeys {
public:
    /// Reads the keys, and again every so often. `store` must outlive this object. Throws
    /// StoreError.
    explicit TeamKeys(SharedStore& store, std::chrono::milliseconds every = kRereadEvery);

    /// The key that an Authorization header holds, if it is a good one.
    [[nodiscard]] std::optional<TeamKey> keyOf(std::string_view authorizationHeader) const;

    /// Whether the key may ask once more now.
    [[nodiscard]] bool mayAsk(const TeamKey& key);

    /// Reads them now.
    void reread();

private:
    SharedStore& m_store;
    mutable std::mutex m_mutex;
    std::map<std::string, TeamKey> m_keys;          // by digest
    std::map<std::string, RequestBudget> m_budgets; // by name
    // What the database's clock said, and when that was: its hour counts, and is not asked for.
    std::int64_t m_readMs = 0;
    std::chrono::steady_clock::time_point m_readAt;
    StoppableThread m_rereads;
};

/// What the keys' command printed, and how it ended.
struct KeysDone {
    int status = 0;
    std::string output; ///< For standard output, or for standard error where it failed.

    bool operator==(const KeysDone&) const = default;
};

/// Throws StoreError.
[[nodiscard]] KeysDone runKeysCommand(SharedStore& store, const KeysCommand& command);

} // namespace trevix
