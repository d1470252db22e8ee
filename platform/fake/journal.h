// What was asked of the fakes, in order, so that a test can also assert what was *not* touched.

#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace kelvane {

/// Shared by all fakes of one test. Entries read like calls: "activate 42", "sleep 40ms". Any
/// thread.
class Journal {
public:
    void add(std::string entry) {
        const std::lock_guard lock(m_mutex);
        m_entries.push_back(std::move(entry));
    }

    [[nodiscard]] std::vector<std::string> entries() const {
        const std::lock_guard lock(m_mutex);
        return m_entries;
    }

    /// How many entries begin with `beginning`.
    [[nodiscard]] std::size_t count(const std::string& beginning) const {
        const std::lock_guard lock(m_mutex);
        std::size_t n = 0;
        for (const auto& entry : m_entries) n += entry.starts_with(beginning) ? 1U : 0U;
        return n;
    }

    void clear() {
        const std::lock_guard lock(m_mutex);
        m_entries.clear();
    }

private:
    mutable std::mutex m_mutex;
    std::vector<std::string> m_entries;
};

} // namespace kelvane
