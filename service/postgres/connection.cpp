#include "service/postgres/connection.h"

#include "service/postgres/sql_text.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <utility>

#include <poll.h>

namespace trevix {

namespace {

using Instant = std::chrono::steady_clock::time_point;

constexpr const char* kWho = "the run store: ";
constexpr std::string_view kDiskFull = "53100"; // PostgreSQL, appendix A

// The server's first sentence. What it adds in others may quote values.
std::string sentence(const PGresult* result, const PGconn* connection) {
    const char* state = PQresultErrorField(result, PG_DIAG_SQLSTATE);
    // The server's words name files of its own.
    if (state != nullptr && std::string_view(state) == kDiskFull) {
        return "the database's disk is full";
    }
    const char* primary = PQresultErrorField(result, PG_DIAG_MESSAGE_PRIMARY);
    std::string text = primary != nullptr ? primary : PQerrorMessage(connection);
    while (!text.empty() && (text.back() == '\n' || text.back() == ' ')) text.pop_back();
    return text;
}

} // namespace

SqlValue::SqlValue(std::string_view text) : m_text(toSqlText(text)), m_kind(Kind::text) {}
SqlValue::SqlValue(const std::string& text) : SqlValue(std::string_view(text)) {}
SqlValue::SqlValue(const char* text) : SqlValue(std::string_view(text)) {}
SqlValue::SqlValue(std::int64_t value) : m_text(std::to_string(value)), m_kind(Kind::text) {}

SqlValue::SqlValue(double value) : m_kind(Kind::text) {
    // The shortest text that reads as this very number again.
    std::array<char, 32> text{};
    const auto written = std::to_chars(text.data(), text.data() + text.size(), value);
    m_text.assign(text.data(), written.ptr);
}

SqlValue SqlValue::null() {
    return {};
}

SqlValue SqlValue::bytes(std::string_view bytes) {
    SqlValue value;
    value.m_bytes = bytes;
    value.m_kind = Kind::bytes;
    return value;
}

std::size_t SqlRows::size() const {
    return static_cast<std::size_t>(PQntuples(m_result.get()));
}

std::size_t SqlRows::changed() const {
    const std::string_view text = PQcmdTuples(m_result.get());
    std::size_t count = 0;
    // Empty for a statement that changes none.
    std::from_chars(text.data(), text.data() + text.size(), count);
    return count;
}

std::string_view SqlRows::raw(std::size_t row, int column) const {
    const int at = static_cast<int>(row);
    return {PQgetvalue(m_result.get(), at, column),
            static_cast<std::size_t>(PQgetlength(m_result.get(), at, column))};
}

std::string SqlRows::text(std::size_t row, int column) const {
    return fromSqlText(raw(row, column));
}

std::int64_t SqlRows::integer(std::size_t row, int column) const {
    const std::string_view text = raw(row, column);
    std::int64_t value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

double SqlRows::real(std::size_t row, int column) const {
    const std::string_view text = raw(row, column);
    double value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

bool SqlRows::boolean(std::size_t row, int column) const {
    return raw(row, column) == "t";
}

std::string SqlRows::bytes(std::size_t row, int column) const {
    const std::string_view hex = raw(row, column);
    std::size_t length = 0;
    const std::unique_ptr<unsigned char, void (*)(void*)> plain(
        PQunescapeBytea(reinterpret_cast<const unsigned char*>(hex.data()), &length), &PQfreemem);
    if (!plain) throw StoreError(std::string(kWho) + "out of memory");
    return {reinterpret_cast<const char*>(plain.get()), length};
}

bool SqlRows::isNull(std::size_t row, int column) const {
    return PQgetisnull(m_result.get(), static_cast<int>(row), column) != 0;
}

SqlConnection::SqlConnection(const std::string& address, std::chrono::milliseconds limit,
                             std::atomic<std::uint64_t>* errors)
    : m_connection(nullptr, &PQfinish),
      m_limit(limit),
      m_errors(errors) {
    // What stands before the address is a default that the address may replace, what stands behind
    // it is not. A connection whose other end vanished is noticed within a minute while it is idle,
    // and within kAnswerLimit while something is asked.
    const std::array<const char*, 9> names{"connect_timeout",
                                           "application_name",
                                           "keepalives_idle",
                                           "keepalives_interval",
                                           "keepalives_count",
                                           "tcp_user_timeout",
                                           "dbname",
                                           "client_encoding",
                                           nullptr};
    const std::array<const char*, 9> values{kConnectLimit, "trevix-local",  "30",   "10",   "3",
                                            "15000",       address.c_str(), "UTF8", nullptr};
    m_connection.reset(PQconnectdbParams(names.data(), values.data(), 1));
    if (PQstatus(m_connection.get()) != CONNECTION_OK) fail(sentence(nullptr, handle()));
    // What the server has to remark goes nowhere: it may quote values.
    PQsetNoticeReceiver(
        handle(), [](void*, const PGresult*) {}, nullptr);
    // So that a large body sent to a server that takes none of it does not wait for ever.
    PQsetnonblocking(handle(), 1);
    // The server gives up what this end has given up waiting for. Commits are on its disk when they
    // are told, whatever its settings say: accepted jobs were promised.
    execute("SET search_path TO trevix;"
            "SET statement_timeout = 15000; SET lock_timeout = 10000;"
            "SET idle_in_transaction_session_timeout = 30000;"
            "SELECT set_config('synchronous_commit', 'on', false) "
            "WHERE current_setting('synchronous_commit') = 'off'");
}

void SqlConnection::fail(const std::string& text) {
    m_isBroken = true;
    refuse(text);
}

void SqlConnection::refuse(const std::string& text) {
    if (m_errors != nullptr) ++*m_errors;
    throw StoreError(kWho + text);
}

void SqlConnection::awaitSocket(short events, Instant until) {
    while (true) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            until - std::chrono::steady_clock::now());
        if (left.count() <= 0) fail("the database does not answer");
        pollfd entry{PQsocket(handle()), events, 0};
        const int ready = poll(&entry, 1, static_cast<int>(left.count()) + 1);
        if (ready > 0) return;
        if (ready < 0 && errno != EINTR) fail("the connection to the database broke");
    }
}

SqlRows SqlConnection::answer() {
    const Instant until = std::chrono::steady_clock::now() + m_limit;
    while (true) {
        const int left = PQflush(handle());
        if (left == 0) break;
        if (left < 0) fail(sentence(nullptr, handle()));
        // The server may have to be read before it reads on.
        awaitSocket(POLLIN | POLLOUT, until);
        if (PQconsumeInput(handle()) == 0) fail(sentence(nullptr, handle()));
    }
    SqlRows rows(nullptr);
    std::string error;
    while (true) {
        while (PQisBusy(handle()) != 0) {
            awaitSocket(POLLIN, until);
            if (PQconsumeInput(handle()) == 0) fail(sentence(nullptr, handle()));
        }
        PGresult* result = PQgetResult(handle());
        if (result == nullptr) break; // All of the answer has come.
        SqlRows next(result);
        const ExecStatusType status = PQresultStatus(result);
        if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK) {
            // The first is the cause, what follows its consequence.
            if (error.empty()) error = sentence(result, handle());
        }
        rows = std::move(next);
    }
    if (PQstatus(handle()) != CONNECTION_OK) {
        fail(error.empty() ? "the connection to the database broke" : error);
    }
    if (!error.empty()) refuse(error);
    return rows;
}

SqlRows SqlConnection::query(const char* sql, const std::vector<SqlValue>& values) {
    std::vector<const char*> pointers;
    std::vector<int> lengths;
    std::vector<int> formats;
    for (const SqlValue& value : values) {
        const bool isBytes = value.m_kind == SqlValue::Kind::bytes;
        switch (value.m_kind) {
        case SqlValue::Kind::null:
            pointers.push_back(nullptr);
            break;
        case SqlValue::Kind::text:
            pointers.push_back(value.m_text.c_str());
            break;
        case SqlValue::Kind::bytes:
            // A null pointer would be NULL, and no bytes are not that.
            pointers.push_back(value.m_bytes.empty() ? "" : value.m_bytes.data());
            break;
        }
        lengths.push_back(isBytes ? static_cast<int>(value.m_bytes.size()) : 0);
        formats.push_back(isBytes ? 1 : 0);
    }
    if (PQsendQueryParams(handle(), sql, static_cast<int>(values.size()), nullptr, pointers.data(),
                          lengths.data(), formats.data(), 0) == 0) {
        fail(sentence(nullptr, handle()));
    }
    return answer();
}

void SqlConnection::execute(const std::string& sql) {
    if (PQsendQuery(handle(), sql.c_str()) == 0) fail(sentence(nullptr, handle()));
    (void)answer();
}

bool SqlConnection::isUsable() {
    if (m_isBroken || PQstatus(handle()) != CONNECTION_OK ||
        PQtransactionStatus(handle()) != PQTRANS_IDLE) {
        return false;
    }
    // A server that ended says so, or closes: either makes the socket readable.
    pollfd entry{PQsocket(handle()), POLLIN, 0};
    if (poll(&entry, 1, 0) == 0) return true;
    return PQconsumeInput(handle()) != 0 && PQstatus(handle()) == CONNECTION_OK;
}

SqlTransaction::SqlTransaction(SqlConnection& connection, const char* how)
    : m_connection(connection) {
    connection.query(std::string("BEGIN ") + how);
}

SqlTransaction::~SqlTransaction() {
    if (m_done) return;
    try {
        m_connection.query("ROLLBACK");
    } catch (const StoreError&) {
        // Then the connection goes, and the server undoes it by itself: see isUsable().
    }
}

void SqlTransaction::commit() {
    // Done either way: where the answer is lost nobody here knows what has become of it.
    m_done = true;
    m_connection.query("COMMIT");
}

} // namespace trevix
