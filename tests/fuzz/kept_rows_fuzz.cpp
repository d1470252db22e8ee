// Whatever stands in the rows of the service's own file: a run comes of it that can be shown, or an
// error.
//
// Each line is a row of one run: the first letter names its table, then come its values, parted by
// a byte that is no text.

#include "service/report/report_page.h"
#include "service/store/sqlite_store.h"
#include "text/unicode.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <sqlite3.h>
#include <unistd.h>

using namespace trevix;

namespace {

void require(bool holds) {
    if (!holds) std::abort();
}

std::string_view next(std::string_view& rest, char end) {
    const std::size_t length = std::min(rest.find(end), rest.size());
    const auto piece = rest.substr(0, length);
    rest.remove_prefix(std::min(length + 1, rest.size()));
    return piece;
}

/// A table and how many values its rows have after the id of the run.
struct Table {
    char letter;
    const char* insert;
    int values;
};

constexpr std::array<Table, 5> kTables{{
    {'i', "INSERT OR REPLACE INTO iterations VALUES ('run', ?, ?, ?, ?, ?, ?, ?, ?, ?)", 9},
    {'p', "INSERT OR REPLACE INTO parts VALUES ('run', ?, ?, ?, ?, ?)", 5},
    {'f', "INSERT OR REPLACE INTO findings VALUES ('run', ?, ?, ?, ?, ?, ?, ?, ?)", 8},
    {'c', "INSERT OR REPLACE INTO coverage VALUES ('run', ?, ?, ?, ?, ?, ?)", 6},
    {'w', "INSERT OR REPLACE INTO works VALUES ('run', ?, ?, ?, ?)", 4},
}};

/// A store in memory-backed storage where there is some, and another hand in its file.
class Store {
public:
    Store() {
        const auto shared = std::filesystem::path("/dev/shm");
        std::string name =
            ((std::filesystem::is_directory(shared) ? shared
                                                    : std::filesystem::temp_directory_path()) /
             "kept-rows.XXXXXX")
                .string();
        require(::mkdtemp(name.data()) != nullptr);
        m_folder = name;
        const auto file = m_folder / "runs.db";
        m_store = SqliteStore::open(file, 1).store;
        require(sqlite3_open(file.c_str(), &m_db) == SQLITE_OK);
        execute("PRAGMA synchronous = OFF; PRAGMA foreign_keys = OFF");
    }
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;
    ~Store() {
        sqlite3_close(m_db);
        m_store.reset();
        std::filesystem::remove_all(m_folder);
    }

    SqliteStore& fill(std::string_view rows) {
        execute("BEGIN; DELETE FROM works; DELETE FROM coverage; DELETE FROM findings; "
                "DELETE FROM parts; DELETE FROM iterations; DELETE FROM runs; "
                "INSERT INTO runs VALUES ('run', 'text', '', '')");
        while (!rows.empty()) {
            auto row = next(rows, '\n');
            if (row.empty()) continue;
            for (const Table& table : kTables) {
                if (table.letter == row.front()) insert(table, row.substr(1));
            }
        }
        execute("COMMIT");
        return *m_store;
    }

private:
    void execute(const char* sql) {
        require(sqlite3_exec(m_db, sql, nullptr, nullptr, nullptr) == SQLITE_OK);
    }
    void insert(const Table& table, std::string_view values) {
        sqlite3_stmt* statement = nullptr;
        require(sqlite3_prepare_v2(m_db, table.insert, -1, &statement, nullptr) == SQLITE_OK);
        for (int i = 1; i <= table.values; ++i) {
            const auto value = next(values, '\x1e');
            // A column of numbers makes a number of what looks like one, and keeps the rest.
            sqlite3_bind_text(statement, i, value.data(), static_cast<int>(value.size()),
                              SQLITE_TRANSIENT);
        }
        require(sqlite3_step(statement) == SQLITE_DONE);
        sqlite3_finalize(statement);
    }

    std::filesystem::path m_folder;
    std::unique_ptr<SqliteStore> m_store;
    sqlite3* m_db = nullptr;
};

void show(SqliteStore& store) {
    auto run = store.run("run");
    require(run.has_value() && !run->iterations.empty());
    for (std::size_t i = 0; i < run->iterations.size(); ++i) {
        require(run->iterations[i].number == static_cast<int>(i));
        require(std::isfinite(run->iterations[i].score));
    }
    const int latest = run->latest().number;
    const ReportExtras extras{store.work("run", latest), store.work("run", latest - 1), {}, {}};
    require(!reportPage(withUserSays(*std::move(run), {}), extras).html.empty());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Store store;
    SqliteStore& filled = store.fill({reinterpret_cast<const char*>(data), size});
    try {
        show(filled);
    } catch (const StoreError& error) {
        require(*error.what() != '\0');
    }
    return 0;
}
