// Programs that run when a test says so.

#pragma once

#include "platform/fake/journal.h"
#include "platform/ports/kept_programs.h"

#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace kelvane {

class FakeKeptPrograms : public KeptPrograms {
public:
    explicit FakeKeptPrograms(Journal& journal) : m_journal(journal) {}

    std::set<std::filesystem::path> missing; ///< Programs that cannot be started.
    std::set<std::filesystem::path> served;  ///< Sockets on which somebody listens.
    bool keepsRunning = true;                ///< Whether what was started still runs.

    std::unique_ptr<KeptProgram> start(const std::filesystem::path& program,
                                       const std::vector<std::string>& arguments) override;
    bool isServed(const std::filesystem::path& socket) override { return served.contains(socket); }

private:
    Journal& m_journal;
};

} // namespace kelvane
