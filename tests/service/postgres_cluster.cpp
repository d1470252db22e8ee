#include "tests/service/postgres_cluster.h"

#include "tests/service/temporary_folder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

#include <libpq-fe.h>
#include <pwd.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ; // NOLINT(readability-redundant-declaration): macOS declares none

namespace trevix {

namespace {

// A PostgreSQL server answers after half a second; a machine that is busy takes longer. When it has
// not by then it will not.
constexpr int kStartTries = 6000;
constexpr std::chrono::milliseconds kBetween{10};

bool onLinux() {
    return std::filesystem::exists("/usr/bin/setpriv");
}

const passwd* itsUser() {
    if (geteuid() != 0) return nullptr;
    if (const passwd* user = getpwnam("postgres")) return user;
    return getpwnam("nobody");
}

/// Neither gone nor a zombie, which has closed all its files. No child of ours, so nobody tells.
bool isAlive(pid_t pid) {
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string text;
    if (!std::getline(stat, text)) return false;
    // The state stands behind the name, which is in parentheses.
    const auto name = text.rfind(')');
    return name != std::string::npos && text.compare(name, 3, ") Z") != 0;
}

} // namespace

PostgresCluster* PostgresCluster::ofThisProgram() {
    static std::unique_ptr<PostgresCluster> cluster;
    static bool tried = false;
    if (tried) return cluster.get();
    tried = true;
    const std::filesystem::path bin = POSTGRES_BIN;
    if (!std::filesystem::exists(bin / "initdb")) {
        std::fprintf(stderr,
                     "NO POSTGRESQL HERE (%s): what the store of a team does is not tested\n",
                     bin.c_str());
        return nullptr;
    }
    cluster.reset(new PostgresCluster());
    return cluster.get();
}

PostgresCluster::PostgresCluster() : m_folder(std::make_unique<TemporaryFolder>()) {
    if (const passwd* user = itsUser()) {
        if (chown(m_folder->path().c_str(), user->pw_uid, user->pw_gid) != 0) {
            throw std::runtime_error("the folder of the database cannot be given away");
        }
    }
    run("initdb", "-D '" + (m_folder->path() / "data").string() +
                      "' -A trust -U trevix -E UTF8 --locale=C --no-sync >'" +
                      (m_folder->path() / "initdb.log").string() + "' 2>&1");
    start();
}

PostgresCluster::~PostgresCluster() {
    thaw();
    kill();
}

std::string PostgresCluster::asItsUser() const {
    if (!onLinux()) return "";
    const passwd* user = itsUser();
    // The signal comes when this program is gone, whatever ended it.
    std::string with = "/usr/bin/setpriv --pdeathsig KILL ";
    if (user == nullptr) return with;
    return with + "--reuid " + std::to_string(user->pw_uid) + " --regid " +
           std::to_string(user->pw_gid) + " --clear-groups ";
}

void PostgresCluster::run(const std::string& program, const std::string& arguments) const {
    const std::string command =
        "cd / && exec " + asItsUser() + "'" POSTGRES_BIN "/" + program + "' " + arguments;
    if (std::system(command.c_str()) != 0) throw std::runtime_error(program + " failed");
}

std::string PostgresCluster::address() const {
    return "postgresql://trevix@/postgres?host=" + m_folder->path().string();
}

void PostgresCluster::start() {
    const std::string folder = m_folder->path().string();
    // What is lost with the power does not matter here, and waiting for the disk would take longer
    // than all tests together.
    const std::string command = "cd / && exec " + asItsUser() + "'" POSTGRES_BIN "/postgres' -D '" +
                                folder + "/data' -k '" + folder +
                                "' -h '' -c fsync=off -c full_page_writes=off "
                                "-c shared_buffers=16MB -c max_connections=60 "
                                "-c restart_after_crash=on >>'" +
                                folder + "/server.log' 2>&1";
    for (int i = 0; i < kStartTries; ++i) {
        if (m_server < 0) {
            const char* words[] = {"/bin/sh", "-c", command.c_str(), nullptr};
            if (posix_spawn(&m_server, "/bin/sh", nullptr, nullptr, const_cast<char* const*>(words),
                            environ) != 0) {
                throw std::runtime_error("no shell");
            }
        }
        if (PQping(address().c_str()) == PQPING_OK) return;
        // One that was killed leaves processes that hold its memory until they notice: then it ends
        // again at once, and is started anew.
        if (waitpid(m_server, nullptr, WNOHANG) == m_server) m_server = -1;
        std::this_thread::sleep_for(kBetween);
    }
    throw std::runtime_error("PostgreSQL does not start");
}

std::vector<pid_t> PostgresCluster::processes() const {
    std::vector<pid_t> all;
    std::istringstream listed(query("SELECT string_agg(pid::text, ' ') FROM pg_stat_activity"));
    for (pid_t pid = 0; listed >> pid;) all.push_back(pid);
    all.push_back(m_server);
    return all;
}

void PostgresCluster::kill() {
    if (m_server < 0) return;
    // The server alone would leave its children, who go on answering for a while.
    const std::vector<pid_t> all = processes();
    for (const pid_t pid : all) ::kill(pid, SIGKILL);
    waitpid(m_server, nullptr, 0);
    m_server = -1;
    // A process lets go of its memory, for which the next server waits, before it closes its
    // connections: a client would take one of them for good once more.
    for (const pid_t pid : all) {
        while (isAlive(pid)) std::this_thread::sleep_for(kBetween);
    }
}

void PostgresCluster::freeze() {
    m_frozen = processes();
    for (const pid_t pid : m_frozen) ::kill(pid, SIGSTOP);
}

void PostgresCluster::thaw() {
    for (const pid_t pid : m_frozen) ::kill(pid, SIGCONT);
    m_frozen.clear();
}

std::string PostgresCluster::query(const std::string& sql) const {
    PGconn* connection = PQconnectdb((address() + "&options=-csearch_path%3Dtrevix").c_str());
    // Of each table that clear() drops it would tell.
    PQsetNoticeProcessor(
        connection, [](void*, const char*) {}, nullptr);
    PGresult* result = PQexec(connection, sql.c_str());
    const ExecStatusType status = PQresultStatus(result);
    EXPECT_TRUE(status == PGRES_TUPLES_OK || status == PGRES_COMMAND_OK)
        << sql << ": " << PQerrorMessage(connection);
    std::string value;
    if (PQntuples(result) > 0 && PQnfields(result) > 0) value = PQgetvalue(result, 0, 0);
    PQclear(result);
    PQfinish(connection);
    return value;
}

void PostgresCluster::clear() const {
    (void)query("DROP SCHEMA IF EXISTS trevix CASCADE");
}

} // namespace trevix
