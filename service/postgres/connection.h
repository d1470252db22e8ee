// PostgreSQL as the shared store speaks it: one connection, statements with their values apart from
// them, and a transaction that is undone unless it is committed.
//
// For service/postgres only. Every wait ends: a server that stops answering, or answers drop by
// drop, costs kAnswerLimit and then its connection. Whatever goes wrong is thrown as StoreError; it
// says what the server says, and neither values nor the password. One thread at a time.

#pragma once

#include "service/store/run_store.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <libpq-fe.h>

namespace trevix {

/// For one statement and its answer. Chosen: a body of 64 MiB over a line of 50 Mbit/s.
constexpr std::chrono::milliseconds kAnswerLimit{15'000};
/// Seconds, for each machine that the address names.
constexpr const char* kConnectLimit = "5";

/// A value of a statement.
class SqlValue {
public:
    // Not explicit: values stand in lists, and each of these is one.
    SqlValue(std::string_view text);   // NOLINT(google-explicit-constructor)
    SqlValue(const std::string& text); // NOLINT(google-explicit-constructor)
    SqlValue(const char* text);        // NOLINT(google-explicit-constructor)
    SqlValue(std::int64_t value);      // NOLINT(google-explicit-constructor)
    SqlValue(double value);            // NOLINT(google-explicit-constructor)
    [[nodiscard]] static SqlValue null();
    /// Bytes, not copied: they must live until the statement is done.
    [[nodiscard]] static SqlValue bytes(std::string_view bytes);

private:
    friend class SqlConnection;
    SqlValue() = default;

    std::string m_text;
    std::string_view m_bytes;
    enum class Kind { null, text, bytes } m_kind = Kind::null;
};

/// The rows of an answer, from 0, as are their columns.
class SqlRows {
public:
    explicit SqlRows(PGresult* result) : m_result(result, &PQclear) {}

    [[nodiscard]] std::size_t size() const;
    [[nodiscard]] bool empty() const { return size() == 0; }
    /// Of a statement that changes rows.
    [[nodiscard]] std::size_t changed() const;

    [[nodiscard]] std::string text(std::size_t row, int column) const; ///< Empty for null.
    [[nodiscard]] std::int64_t integer(std::size_t row, int column) const;
    [[nodiscard]] double real(std::size_t row, int column) const;
    [[nodiscard]] bool boolean(std::size_t row, int column) const; ///< False for null.
    [[nodiscard]] std::string bytes(std::size_t row, int column) const;
    [[nodiscard]] bool isNull(std::size_t row, int column) const;

private:
    [[nodiscard]] std::string_view raw(std::size_t row, int column) const;

    std::unique_ptr<PGresult, void (*)(PGresult*)> m_result;
};

class SqlConnection {
public:
    /// `address` as libpq takes it: "postgresql://user@host/database", or "host=... dbname=...".
    /// `limit` is for each statement. What goes wrong is counted in `errors`, where there is one;
    /// it must outlive the connection.
    explicit SqlConnection(const std::string& address,
                           std::chrono::milliseconds limit = kAnswerLimit,
                           std::atomic<std::uint64_t>* errors = nullptr);

    /// One statement.
    SqlRows query(const char* sql, const std::vector<SqlValue>& values = {});
    SqlRows query(const std::string& sql, const std::vector<SqlValue>& values = {}) {
        return query(sql.c_str(), values);
    }
    /// Any number of statements without values.
    void execute(const std::string& sql);

    /// Whether it can be asked again: nothing has broken it, no transaction is left open, and the
    /// other end has not gone away meanwhile. Does not wait.
    [[nodiscard]] bool isUsable();

    [[nodiscard]] PGconn* handle() const { return m_connection.get(); }

private:
    [[nodiscard]] SqlRows answer();
    void awaitSocket(short events, std::chrono::steady_clock::time_point until);
    [[noreturn]] void fail(const std::string& text);
    [[noreturn]] void refuse(const std::string& text);

    std::unique_ptr<PGconn, void (*)(PGconn*)> m_connection;
    std::chrono::milliseconds m_limit;
    std::atomic<std::uint64_t>* m_errors;
    bool m_isBroken = false;
};

/// What is done on the connection while it lives is done as a whole or not at all.
class SqlTransaction {
public:
    /// `how` stands behind BEGIN.
    explicit SqlTransaction(SqlConnection& connection, const char* how = "");
    ~SqlTransaction();
    SqlTransaction(const SqlTransaction&) = delete;
    SqlTransaction& operator=(const SqlTransaction&) = delete;

    void commit();

private:
    SqlConnection& m_connection;
    bool m_done = false;
};

} // namespace trevix
