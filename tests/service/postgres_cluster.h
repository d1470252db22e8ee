// A database server of the tests' own, thrown away with them.
//
// One for a test program, begun when the first test asks for it: it listens on a Unix socket in a
// temporary folder and nowhere else, and does not wait for the disk. It ends with the test program,
// however that one ends. As root it is run as another user, since PostgreSQL refuses root.

#pragma once

#include <memory>
#include <string>
#include <vector>

#include <sys/types.h>

namespace trevix {

class TemporaryFolder;

class PostgresCluster {
public:
    /// The one of this program; null where there is no server to run, which is said on standard
    /// error.
    [[nodiscard]] static PostgresCluster* ofThisProgram();

    ~PostgresCluster();
    PostgresCluster(const PostgresCluster&) = delete;
    PostgresCluster& operator=(const PostgresCluster&) = delete;

    /// As libpq takes it.
    [[nodiscard]] std::string address() const;

    /// The first column of the first row, through another program's eyes. Fails the test when the
    /// server refuses.
    std::string query(const std::string& sql) const;

    /// As a new one: without anything of the store's. Nobody may be connected who holds locks.
    void clear() const;

    void kill();   ///< At once, as a machine that loses its power.
    void freeze(); ///< All of its processes stop where they are.
    void thaw();
    void start(); ///< Returns when it answers.

private:
    PostgresCluster();
    void run(const std::string& program, const std::string& arguments) const;
    [[nodiscard]] std::string asItsUser() const;
    [[nodiscard]] std::vector<pid_t> processes() const; ///< It must answer.

    std::unique_ptr<TemporaryFolder> m_folder;
    pid_t m_server = -1;
    std::vector<pid_t> m_frozen;
};

} // namespace trevix
