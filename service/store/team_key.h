// A key of a person or a machine of a team, as it is kept.
//
// Of the key itself only a digest is: who reads the database cannot ask with it. Plain values; any
// thread.

#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace trevix {

/// What a key is good for.
enum class KeyScope {
    grade, ///< Hands work in, and reads what became of its group's.
    read,  ///< Reads what became of its group's work.
};

struct TeamKey {
    std::string name; ///< Of the person or machine; no two keys have the same.
    /// Who see each other's runs have the same. Its own name where nothing is shared.
    std::string group;
    std::string digest; ///< See keyDigest().
    KeyScope scope = KeyScope::grade;
    std::int64_t createdMs = 0; ///< Since 1970, UTC, as the times below.
    std::optional<std::int64_t> expiresMs;
    std::optional<std::int64_t> revokedMs;
    std::int64_t perMinute = 0; ///< Requests; 0: any number.
    std::int64_t perDay = 0;    ///< Works handed in within 24 hours; 0: any number.

    [[nodiscard]] bool isGoodAt(std::int64_t nowMs) const {
        return !revokedMs && (!expiresMs || nowMs < *expiresMs);
    }

    bool operator==(const TeamKey&) const = default;
};

/// Whose a job is.
struct JobOwner {
    std::string group;       ///< Empty where there is one person only.
    std::string key;         ///< The name of the key.
    std::int64_t perDay = 0; ///< As in TeamKey.

    bool operator==(const JobOwner&) const = default;
};

/// What was done with a key.
struct KeyUse {
    std::string key;    ///< Its name.
    std::string action; ///< "POST /api/v1/eval/jobs": method and path, without any query.
    int status = 0;     ///< Of the answer.

    bool operator==(const KeyUse&) const = default;
};

} // namespace trevix
