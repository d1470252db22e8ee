#include "service/store/sqlite_statement.h"

#include <cstddef>

namespace trevix {

namespace {

// SQLite takes a null pointer for NULL; an empty text is not that.
const char* notNull(std::string_view text) {
    return text.data() == nullptr ? "" : text.data();
}

} // namespace

void failWith(sqlite3* db, int code) {
    const std::string text = std::string("the run store: ") +
                             (db != nullptr ? sqlite3_errmsg(db) : sqlite3_errstr(code));
    // Extended result codes carry the kind in their low byte.
    const int primary = code & 0xff;
    if (primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB) throw Damaged(text);
    throw StoreError(text);
}

void execute(sqlite3* db, const std::string& sql) {
    const int code = sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr);
    if (code != SQLITE_OK) failWith(db, code);
}

Statement::Statement(sqlite3* db, std::string_view sql) : m_db(db) {
    check(sqlite3_prepare_v2(db, sql.data(), static_cast<int>(sql.size()), &m_statement, nullptr));
}

Statement& Statement::bind(std::string_view text) {
    // Not copied (SQLITE_STATIC): a payload may have many megabytes, and callers keep values until
    // the last step.
    check(sqlite3_bind_text64(m_statement, ++m_bound, notNull(text), text.size(), SQLITE_STATIC,
                              SQLITE_UTF8));
    return *this;
}

Statement& Statement::bind(std::int64_t value) {
    check(sqlite3_bind_int64(m_statement, ++m_bound, value));
    return *this;
}

Statement& Statement::bind(double value) {
    check(sqlite3_bind_double(m_statement, ++m_bound, value));
    return *this;
}

Statement& Statement::bindBlob(std::string_view bytes) {
    check(sqlite3_bind_blob64(m_statement, ++m_bound, notNull(bytes), bytes.size(), SQLITE_STATIC));
    return *this;
}

bool Statement::step() {
    const int code = sqlite3_step(m_statement);
    if (code == SQLITE_ROW) return true;
    if (code != SQLITE_DONE) failWith(m_db, code);
    return false;
}

void Statement::run() {
    while (step()) {
    }
}

std::string Statement::text(int column) {
    // As a blob, so that a text with a NUL in it arrives whole. The size must be asked for after
    // the bytes, since asking for them may convert the value.
    const void* bytes = sqlite3_column_blob(m_statement, column);
    const auto size = static_cast<std::size_t>(sqlite3_column_bytes(m_statement, column));
    return bytes == nullptr ? std::string() : std::string(static_cast<const char*>(bytes), size);
}

std::int64_t Statement::integer(int column) {
    return sqlite3_column_int64(m_statement, column);
}

double Statement::real(int column) {
    return sqlite3_column_double(m_statement, column);
}

bool Statement::isNull(int column) {
    return sqlite3_column_type(m_statement, column) == SQLITE_NULL;
}

void Statement::check(int code) {
    if (code != SQLITE_OK) failWith(m_db, code);
}

Transaction::Transaction(sqlite3* db) : m_db(db) {
    // Takes the right to write at once. A transaction that reads first and writes later can find
    // that another program wrote in between, and then fails however long it waits.
    execute(db, "BEGIN IMMEDIATE");
}

Transaction::~Transaction() {
    // Its own failure is passed over: SQLite has then undone the transaction already.
    if (!m_done) sqlite3_exec(m_db, "ROLLBACK", nullptr, nullptr, nullptr);
}

void Transaction::commit() {
    execute(m_db, "COMMIT");
    m_done = true;
}

} // namespace trevix
