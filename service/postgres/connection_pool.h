// The connections to the database, as many as are needed and no more than so many.
//
// For service/postgres only. One that broke is replaced the next time one is needed. Any thread.

#pragma once

#include "service/postgres/connection.h"

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace trevix {

class ConnectionPool {
public:
    ConnectionPool(std::string address, std::size_t most);

    /// A connection for one thread; goes back with this object.
    class Borrowed {
    public:
        Borrowed(ConnectionPool& pool, std::unique_ptr<SqlConnection> connection)
            : m_pool(&pool),
              m_connection(std::move(connection)) {}
        ~Borrowed() { m_pool->giveBack(std::move(m_connection)); }
        Borrowed(const Borrowed&) = delete;
        Borrowed& operator=(const Borrowed&) = delete;

        SqlConnection& operator*() const { return *m_connection; }
        SqlConnection* operator->() const { return m_connection.get(); }

    private:
        ConnectionPool* m_pool;
        std::unique_ptr<SqlConnection> m_connection;
    };

    /// Waits for one at most kAnswerLimit. Throws StoreError when there is none by then, or none
    /// can be had.
    [[nodiscard]] Borrowed borrow();

    /// How many statements and connections went wrong.
    [[nodiscard]] std::uint64_t errors() const { return m_errors; }

private:
    void giveBack(std::unique_ptr<SqlConnection> connection);

    const std::string m_address;
    const std::size_t m_most;
    std::atomic<std::uint64_t> m_errors = 0; // before the connections that count in it
    std::mutex m_mutex;
    std::condition_variable m_returned;
    std::vector<std::unique_ptr<SqlConnection>> m_idle; // the one used last at the end
    std::size_t m_lent = 0;
};

} // namespace trevix
