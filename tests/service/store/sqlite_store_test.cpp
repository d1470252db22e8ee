#include "service/store/sqlite_store.h"

#include "tests/service/store/run_store_contract.h"
#include "tests/service/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string_view>

#include <sqlite3.h>
#include <sys/stat.h>

namespace trevix {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

std::string contentOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

class SqliteStoreTest : public testing::Test {
protected:
    [[nodiscard]] std::filesystem::path file() const { return m_folder.path() / "runs.db"; }

    std::unique_ptr<SqliteStore> open() {
        auto opened = SqliteStore::open(file(), 1'000'000);
        EXPECT_EQ(opened.notice, "");
        return std::move(opened.store);
    }

    // Through another program's eyes.
    std::string query(const std::string& sql) const {
        sqlite3* db = nullptr;
        EXPECT_EQ(sqlite3_open(file().c_str(), &db), SQLITE_OK);
        std::string result;
        const auto append = [](void* to, int count, char** values, char**) {
            for (int i = 0; i < count; ++i) {
                static_cast<std::string*>(to)->append(values[i] != nullptr ? values[i] : "NULL");
            }
            return 0;
        };
        EXPECT_EQ(sqlite3_exec(db, sql.c_str(), append, &result, nullptr), SQLITE_OK)
            << sqlite3_errmsg(db);
        sqlite3_close(db);
        return result;
    }

    TemporaryFolder m_folder;
};

class Sqlite {
public:
    static bool isHere() { return true; }
    std::unique_ptr<RunStore> open() {
        return SqliteStore::open(m_folder.path() / "runs.db", 1'000'000).store;
    }

private:
    TemporaryFolder m_folder;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Sqlite, RunStoreContract, Sqlite);

TEST_F(SqliteStoreTest, AFinishedJobLosesItsWork) {
    const auto store = open();
    store->addJob("job_1", JobKind::grade, "", "private words", 1);
    store->finishGrade("job_1", runRecord("run_1", 5));
    EXPECT_THAT(store->pendingJobs(), IsEmpty());
    EXPECT_EQ(store->payload("job_1"), std::nullopt);
    EXPECT_EQ(query("SELECT count(*) FROM jobs WHERE payload IS NOT NULL"), "0");
}

TEST_F(SqliteStoreTest, AStoreOfTheSecondFormatIsTakenOver) {
    {
        const auto store = open();
        store->addJob("job_1", JobKind::grade, "", "work", 1);
        store->finishGrade("job_1", runRecord("run_1", 5));
    }
    query("DROP TABLE works");
    query("PRAGMA user_version = 2");
    const auto store = open();
    EXPECT_EQ(store->run("run_1"), runRecord("run_1", 5));
    EXPECT_THAT(store->work("run_1", 0), IsEmpty());
    store->addJob("job_2", JobKind::iterate, "run_1", "x", 6);
    store->finishIterate("job_2", "run_1", iteration(0, 7), {{0, true, "kept"}});
    EXPECT_EQ(store->work("run_1", 1), (KeptWork{{0, true, "kept"}}));
}

TEST_F(SqliteStoreTest, DroppedWorkLeavesNoTrace) {
    const std::string secret = "the private words of a person";
    {
        const auto store = open();
        store->addJob("job_1", JobKind::grade, "", "x", 1);
        store->finishGrade("job_1", runRecord("run_1", 5), {{0, true, secret}});
        store->dropWork(6, 100);
        store->giveBackRoom();
    }
    std::ifstream in(file(), std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_EQ(bytes.find(secret), std::string::npos);
    EXPECT_FALSE(bytes.empty());
}

TEST_F(SqliteStoreTest, AStoreOfTheFirstFormatIsTakenOver) {
    {
        const auto store = open();
        store->addJob("job_1", JobKind::grade, "", "work", 1);
        store->finishGrade("job_1", runRecord("run_1", 5));
        store->addJob("job_2", JobKind::grade, "", "waits", 2);
    }
    // As the program before this one left it.
    for (const char* column : {"words", "lines", "cells", "known"}) {
        query(std::string("ALTER TABLE iterations DROP COLUMN ") + column);
    }
    query("DROP TABLE coverage");
    query("DROP TABLE works");
    query("PRAGMA user_version = 1");

    const auto store = open();
    RunRecord expected = runRecord("run_1", 5);
    expected.iterations.front().extent = {};
    expected.iterations.front().coverage = {{}, {}, true};
    EXPECT_EQ(store->run("run_1"), expected);
    ASSERT_EQ(store->pendingJobs().size(), 1U);
    store->finishGrade("job_2", runRecord("run_2", 6));
    EXPECT_EQ(store->run("run_2"), runRecord("run_2", 6));
    EXPECT_EQ(query("PRAGMA user_version"), "3");
}

TEST_F(SqliteStoreTest, BandsAreKeptByNameAndNoOtherNameIsRead) {
    const auto store = open();
    store->addJob("job_1", JobKind::grade, "", "work", 1);
    RunRecord blocked = runRecord("run_1", 5);
    blocked.iterations.front().band = Band::block;
    store->finishGrade("job_1", blocked);
    EXPECT_EQ(query("SELECT band FROM iterations"), "block");
    EXPECT_EQ(store->run("run_1"), blocked);

    query("UPDATE iterations SET band = 'perhaps'");
    EXPECT_THROW((void)store->run("run_1"), StoreError);
}

TEST_F(SqliteStoreTest, RowsThatMakeNoRunAreAnError) {
    const auto store = open();
    store->addJob("job", JobKind::grade, "", "{}", 1);
    store->finishGrade("job", runRecord("run", 1000));
    const auto sound = store->run("run");
    ASSERT_TRUE(sound);
    for (const std::string broken :
         {"UPDATE findings SET number = 7", "UPDATE findings SET number = -1",
          "UPDATE parts SET number = 1", "UPDATE coverage SET number = 1",
          "UPDATE iterations SET number = 3", "DELETE FROM iterations",
          "UPDATE iterations SET score = 9e999"}) {
        SCOPED_TRACE(broken);
        query("CREATE TABLE it AS SELECT * FROM iterations; "
              "CREATE TABLE f AS SELECT * FROM findings; CREATE TABLE p AS SELECT * FROM parts; "
              "CREATE TABLE c AS SELECT * FROM coverage;" +
              broken);
        EXPECT_THROW((void)store->run("run"), StoreError);
        query("DELETE FROM iterations; INSERT INTO iterations SELECT * FROM it; DROP TABLE it; "
              "DELETE FROM findings; INSERT INTO findings SELECT * FROM f; DROP TABLE f; "
              "DELETE FROM parts; INSERT INTO parts SELECT * FROM p; DROP TABLE p; "
              "DELETE FROM coverage; INSERT INTO coverage SELECT * FROM c; DROP TABLE c;");
        EXPECT_TRUE(store->run("run") == sound);
    }
}

TEST_F(SqliteStoreTest, OldRunsAreForgottenButNotWhatIsStillRevised) {
    const auto store = open();
    for (const char* name : {"1", "2", "3"}) {
        store->addJob(std::string("job_") + name, JobKind::grade, "", "x", 1);
        store->finishGrade(std::string("job_") + name, runRecord(std::string("run_") + name, 100));
    }
    store->addJob("job_4", JobKind::iterate, "run_2", "x", 150);
    store->addJob("job_5", JobKind::iterate, "run_3", "x", 150);
    (void)store->finishIterate("job_5", "run_3", iteration(0, 200));
    store->addJob("job_6", JobKind::grade, "", "x", 1);
    store->failJob("job_6", "why", 120);

    EXPECT_EQ(store->prune(150), 1U);
    EXPECT_FALSE(store->hasRun("run_1"));
    EXPECT_TRUE(store->hasRun("run_2")) << "a job still revises it";
    EXPECT_TRUE(store->hasRun("run_3")) << "revised lately";
    EXPECT_EQ(store->finishedJob("job_1"), std::nullopt);
    EXPECT_EQ(store->finishedJob("job_6"), std::nullopt);
    EXPECT_NE(store->finishedJob("job_2"), std::nullopt);
    EXPECT_NE(store->finishedJob("job_3"), std::nullopt);
    EXPECT_EQ(query("SELECT count(*) FROM findings WHERE run_id = 'run_1'"), "0");
    EXPECT_EQ(query("SELECT count(*) FROM parts WHERE run_id = 'run_1'"), "0");
}

TEST_F(SqliteStoreTest, RoomAndTracesOfFinishedWorkAreGivenBack) {
    const auto store = open();
    const std::string secret = "words that nobody else may read";
    std::string work;
    while (work.size() < 4'000'000) work += secret;
    store->addJob("job_1", JobKind::grade, "", work, 1);
    store->giveBackRoom();
    EXPECT_GT(std::filesystem::file_size(file()), 4'000'000U);
    EXPECT_THAT(contentOf(file()), HasSubstr(secret)) << "else this test could not fail";
    store->finishGrade("job_1", runRecord("run_1", 5));
    store->giveBackRoom();
    EXPECT_LT(std::filesystem::file_size(file()), 500'000U);
    EXPECT_EQ(std::filesystem::file_size(file().string() + "-wal"), 0U);
    EXPECT_THAT(contentOf(file()), Not(HasSubstr(secret)));

    store->addJob("job_2", JobKind::grade, "", secret, 1);
    store->finishGrade("job_2", runRecord("run_2", 5));
    store->giveBackRoom();
    EXPECT_THAT(contentOf(file()), Not(HasSubstr(secret))) << "little work leaves no more";
}

/// The connection of the store that is opened while it lives.
class OpenedConnection {
public:
    OpenedConnection() { sqlite3_auto_extension(reinterpret_cast<void (*)()>(&opened)); }
    OpenedConnection(const OpenedConnection&) = delete;
    OpenedConnection& operator=(const OpenedConnection&) = delete;
    ~OpenedConnection() {
        sqlite3_cancel_auto_extension(reinterpret_cast<void (*)()>(&opened));
        latest = nullptr;
    }

    [[nodiscard]] static sqlite3* get() { return latest; }

private:
    static int opened(sqlite3* db, const char** /*error*/, const sqlite3_api_routines* /*api*/) {
        latest = db;
        return SQLITE_OK;
    }

    inline static sqlite3* latest = nullptr;
};

int busyTimeoutOf(sqlite3* db) {
    sqlite3_stmt* statement = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(db, "PRAGMA busy_timeout", -1, &statement, nullptr), SQLITE_OK);
    EXPECT_EQ(sqlite3_step(statement), SQLITE_ROW);
    const int timeout = sqlite3_column_int(statement, 0);
    sqlite3_finalize(statement);
    return timeout;
}

int refuseCheckpoints(void* /*of*/, int action, const char* name, const char* /*value*/,
                      const char* /*database*/, const char* /*trigger*/) {
    const bool checkpoint = action == SQLITE_PRAGMA && std::string_view(name) == "wal_checkpoint";
    return checkpoint ? SQLITE_DENY : SQLITE_OK;
}

TEST_F(SqliteStoreTest, WaitsForOthersAlsoAfterTheLogCouldNotBeEmptied) {
    const OpenedConnection connection;
    const auto store = open();
    ASSERT_NE(connection.get(), nullptr);
    const int before = busyTimeoutOf(connection.get());
    EXPECT_GT(before, 0);
    store->giveBackRoom();
    EXPECT_EQ(busyTimeoutOf(connection.get()), before);
    sqlite3_set_authorizer(connection.get(), refuseCheckpoints, nullptr);
    EXPECT_THROW(store->giveBackRoom(), StoreError);
    EXPECT_EQ(busyTimeoutOf(connection.get()), before);
}

TEST_F(SqliteStoreTest, KeepsWhatItPromisesThroughAPowerCut) {
    const auto store = open();
    EXPECT_EQ(query("PRAGMA journal_mode"), "wal");
    EXPECT_EQ(query("PRAGMA integrity_check"), "ok");
    EXPECT_EQ(query("PRAGMA user_version"), "3");
}

TEST_F(SqliteStoreTest, ADamagedFileIsMovedAsideWhole) {
    const std::string junk = std::string("this is no database at all\n") + std::string(8192, 'x');
    std::ofstream(file()) << junk;
    std::ofstream(file().string() + "-wal") << "old log";
    chmod(file().c_str(), 0600);
    chmod((file().string() + "-wal").c_str(), 0600);
    auto opened = SqliteStore::open(file(), 1'000'000);
    const auto aside = m_folder.path() / "runs.db.damaged-1000";
    EXPECT_THAT(opened.notice, HasSubstr("is damaged"));
    EXPECT_THAT(opened.notice, HasSubstr(aside.string()));
    std::ifstream kept(aside);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(kept), {}), junk);
    opened.store->addJob("job_1", JobKind::grade, "", "x", 1);
    EXPECT_EQ(opened.store->pendingJobs().size(), 1U);
    EXPECT_EQ(query("PRAGMA integrity_check"), "ok");
}

TEST_F(SqliteStoreTest, PagesOverwrittenInTheMiddleAreNoticed) {
    {
        const auto store = open();
        for (int i = 0; i < 50; ++i) {
            store->addJob("job_" + std::to_string(i), JobKind::grade, "", std::string(5000, 'p'),
                          1);
        }
    }
    const auto size = std::filesystem::file_size(file());
    {
        std::fstream damage(file(), std::ios::in | std::ios::out | std::ios::binary);
        for (std::uintmax_t at = 4096; at + 4096 <= size; at += 4096) {
            damage.seekp(static_cast<std::streamoff>(at));
            damage << std::string(200, '\xee');
        }
    }
    auto opened = SqliteStore::open(file(), 1'000'000);
    EXPECT_THAT(opened.notice, HasSubstr("is damaged"));
    EXPECT_THAT(opened.store->pendingJobs(), IsEmpty());
    // A second one at the same moment does not overwrite the first.
    opened.store.reset();
    std::ofstream(file(), std::ios::trunc) << std::string(9000, 'y');
    EXPECT_THAT(SqliteStore::open(file(), 1'000'000).notice, HasSubstr("damaged-1000-2"));
    EXPECT_EQ(std::filesystem::file_size(m_folder.path() / "runs.db.damaged-1000"), size);
}

TEST_F(SqliteStoreTest, AFileOfANewerVersionOrAnotherProgramIsLeftAlone) {
    open().reset();
    query("PRAGMA user_version = 99");
    try {
        (void)SqliteStore::open(file(), 1);
        FAIL() << "opened";
    } catch (const StoreError& error) {
        EXPECT_THAT(error.what(), HasSubstr("newer"));
    }
    query("PRAGMA user_version = 3; PRAGMA application_id = 7");
    EXPECT_THROW((void)SqliteStore::open(file(), 1), StoreError);
    EXPECT_TRUE(std::filesystem::exists(file()));
    query("PRAGMA application_id = 1414682200"); // its own again
    EXPECT_NE(open(), nullptr);
}

TEST_F(SqliteStoreTest, AFileThatIsNotThisUsersAloneIsAnErrorAndStaysAsItIs) {
    open().reset();
    const auto errorNow = [&]() -> std::string {
        try {
            (void)SqliteStore::open(file(), 1);
        } catch (const StoreError& error) {
            return error.what();
        }
        return "";
    };
    EXPECT_EQ(errorNow(), "");
    ASSERT_EQ(chmod(file().c_str(), 0666), 0);
    EXPECT_THAT(errorNow(), HasSubstr("may change"));
    ASSERT_EQ(chmod(file().c_str(), 0644), 0);
    EXPECT_THAT(errorNow(), HasSubstr("may read"));
    ASSERT_EQ(chmod(file().c_str(), 0600), 0);
    std::ofstream(file().string() + "-wal").close();
    ASSERT_EQ(chmod((file().string() + "-wal").c_str(), 0660), 0);
    EXPECT_THAT(errorNow(), HasSubstr("runs.db-wal"));
    std::filesystem::remove(file().string() + "-wal");
    std::filesystem::rename(file(), m_folder.path() / "elsewhere.db");
    std::filesystem::create_symlink(m_folder.path() / "elsewhere.db", file());
    EXPECT_THAT(errorNow(), HasSubstr("is a link"));
    EXPECT_TRUE(std::filesystem::is_symlink(file()));
}

TEST_F(SqliteStoreTest, IsItsOwnersAloneWhateverTheMaskIs) {
    const mode_t before = umask(0);
    const auto store = open();
    store->addJob("job_1", JobKind::grade, "", "x", 1);
    umask(before);
    for (const char* suffix : {"", "-wal", "-shm"}) {
        struct stat facts {};
        ASSERT_EQ(stat((file().string() + suffix).c_str(), &facts), 0) << suffix;
        EXPECT_EQ(facts.st_mode & 07777U, 0600U) << suffix;
    }
}

TEST_F(SqliteStoreTest, RemembersWhatTheClockSaidFromStartToStart) {
    constexpr std::int64_t kDay = std::int64_t{24} * 60 * 60 * 1000;
    constexpr std::int64_t kNow = 20'000 * kDay;
    EXPECT_TRUE(open()->believesClock(kNow));
    EXPECT_FALSE(open()->believesClock(kNow + 730 * kDay));
    EXPECT_FALSE(open()->believesClock(kNow + 733 * kDay));
    EXPECT_TRUE(open()->believesClock(kNow + 737 * kDay)) << "it has said so for a week";
    EXPECT_EQ(query("SELECT count(*) FROM clock"), "1");
}

TEST_F(SqliteStoreTest, AFolderThatIsMissingIsAnError) {
    EXPECT_THROW((void)SqliteStore::open(m_folder.path() / "missing" / "runs.db", 1), StoreError);
}

} // namespace
} // namespace trevix
