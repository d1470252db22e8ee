// How many bytes of bodies may be in memory at the same time.
//
// A body that does not fit waits; when room comes back, those that waited get it in their order,
// and what fits goes before what does not. One thread.

#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>

namespace trevix {

class BodyBudget {
public:
    explicit BodyBudget(std::size_t bytes) : m_free(bytes), m_all(bytes) {}

    /// Takes so many bytes when they are free; more than there are at all counts as all.
    [[nodiscard]] bool take(std::size_t bytes);

    /// Calls `taken` once the bytes were taken, from within giveBack(). `owner` names who waits.
    void wait(std::uint64_t owner, std::size_t bytes, std::function<void()> taken);
    /// Nothing when it does not wait.
    void giveUp(std::uint64_t owner);

    void giveBack(std::size_t bytes);

private:
    struct Waiting {
        std::uint64_t owner;
        std::size_t bytes;
        std::function<void()> taken;
    };

    std::size_t m_free;
    const std::size_t m_all;
    std::list<Waiting> m_waiting;
};

} // namespace trevix
