#include "service/postgres/connection_pool.h"

#include <utility>

namespace trevix {

ConnectionPool::ConnectionPool(std::string address, std::size_t most)
    : m_address(std::move(address)),
      m_most(most) {}

ConnectionPool::Borrowed ConnectionPool::borrow() {
    {
        std::unique_lock lock(m_mutex);
        if (!m_returned.wait_for(lock, kAnswerLimit, [this] { return m_lent < m_most; })) {
            ++m_errors;
            throw StoreError("the run store: too much is asked of the database at once");
        }
        ++m_lent;
        while (!m_idle.empty()) {
            std::unique_ptr<SqlConnection> connection = std::move(m_idle.back());
            m_idle.pop_back();
            if (connection->isUsable()) return {*this, std::move(connection)};
        }
    }
    try {
        // Outside the lock: connecting takes seconds where the database is not there.
        return {*this, std::make_unique<SqlConnection>(m_address, kAnswerLimit, &m_errors)};
    } catch (...) {
        giveBack(nullptr);
        throw;
    }
}

void ConnectionPool::giveBack(std::unique_ptr<SqlConnection> connection) {
    const std::lock_guard lock(m_mutex);
    --m_lent;
    // Closed by the end of this function where it cannot be asked again.
    if (connection && connection->isUsable()) m_idle.push_back(std::move(connection));
    m_returned.notify_one();
}

} // namespace trevix
