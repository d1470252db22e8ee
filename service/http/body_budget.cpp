#include "service/http/body_budget.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace trevix {

bool BodyBudget::take(std::size_t bytes) {
    // One that wants more than there is at all gets all of it, or it would wait for ever.
    const std::size_t wanted = std::min(bytes, m_all);
    if (wanted > m_free) return false;
    m_free -= wanted;
    return true;
}

void BodyBudget::wait(std::uint64_t owner, std::size_t bytes, std::function<void()> taken) {
    m_waiting.push_back({owner, bytes, std::move(taken)});
}

void BodyBudget::giveUp(std::uint64_t owner) {
    m_waiting.remove_if([&](const Waiting& each) { return each.owner == owner; });
}

void BodyBudget::giveBack(std::size_t bytes) {
    m_free += std::min(bytes, m_all);
    std::vector<std::function<void()>> served;
    for (auto each = m_waiting.begin(); each != m_waiting.end();) {
        // Who wants little may pass who wants much: a large body waits until its deadline at worst,
        // and small ones never stand still behind it.
        if (take(each->bytes)) {
            served.push_back(std::move(each->taken));
            each = m_waiting.erase(each);
        } else {
            ++each;
        }
    }
    // Only now: what is called may wait, give up or give back itself, and would change the list
    // under the loop.
    for (const auto& taken : served) taken();
}

} // namespace trevix
