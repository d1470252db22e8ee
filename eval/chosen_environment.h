// The environment with the person's choice of a service in it, where the environment says nothing.
//
// What is set outside stays as it is; a choice only fills what is not there. Kept beside the
// process's own environment and not written into it, which other threads read. Any thread.

#pragma once

#include "platform/ports/environment.h"

#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace kelvane {

class ChosenEnvironment : public Environment {
public:
    /// `outside` must outlive it. Until something is chosen it says what `outside` says.
    explicit ChosenEnvironment(Environment& outside) : m_outside(outside) {}

    /// From now on BRASK_API_BASE is `base` where it is not set, and BRASK_API_KEY `key` where it
    /// is not set or empty, as the key file would be asked then. The key goes with its service:
    /// where BRASK_API_BASE is set outside, `key` is not used.
    void choose(std::string base, std::optional<std::string> key);
    /// Nothing is chosen any more.
    void forget();

    [[nodiscard]] std::optional<std::string> get(std::string_view name) override;
    /// What the process was started with.
    [[nodiscard]] Environment& outside() { return m_outside; }

private:
    Environment& m_outside;
    std::mutex m_mutex;
    std::optional<std::string> m_base;
    std::optional<std::string> m_key;
};

} // namespace kelvane
