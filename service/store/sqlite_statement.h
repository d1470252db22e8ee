// SQLite as the run store speaks it.
//
// For sqlite_store.cpp only. A statement with its values bound in order, and a transaction that is
// undone unless it is committed. Whatever goes wrong is thrown as StoreError.

#pragma once

#include "service/store/run_store.h"

#include <cstdint>
#include <string>
#include <string_view>

#include <sqlite3.h>

namespace trevix {

/// The file itself is at fault, not its surroundings.
struct Damaged : StoreError {
    using StoreError::StoreError;
};

/// Throws what `code` means: Damaged or another StoreError.
[[noreturn]] void failWith(sqlite3* db, int code);

/// Runs statements that have neither values nor rows.
void execute(sqlite3* db, const std::string& sql);

class Statement {
public:
    Statement(sqlite3* db, std::string_view sql);
    ~Statement() { sqlite3_finalize(m_statement); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    /// Each binds the next value. Texts and bytes must live until the last step.
    Statement& bind(std::string_view text);
    Statement& bind(std::int64_t value);
    Statement& bind(double value);
    Statement& bindBlob(std::string_view bytes);

    /// Whether there is a row; its columns are read below, from 0.
    [[nodiscard]] bool step();
    void run(); ///< To the end, whatever rows there are.

    [[nodiscard]] std::string text(int column); ///< Also a blob's bytes; empty for null.
    [[nodiscard]] std::int64_t integer(int column);
    [[nodiscard]] double real(int column);
    [[nodiscard]] bool isNull(int column);

private:
    void check(int code);

    sqlite3* m_db;
    sqlite3_stmt* m_statement = nullptr;
    int m_bound = 0;
};

class Transaction {
public:
    explicit Transaction(sqlite3* db);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    void commit();

private:
    sqlite3* m_db;
    bool m_done = false;
};

} // namespace trevix
