#include "critics/grading/machine_grader.h"

#include "critics/worker/posix_child_runner.h"

#include <array>
#include <cstdio>
#include <string>
#include <string_view>

namespace trevix {

namespace fs = std::filesystem;

namespace {

// Of the child that the critics run in. What sound work of the largest size that the service takes
// needs is in docs/performance.md; what needs more is made to.
constexpr ChildLimits kWorkerLimits{
    .wall = std::chrono::seconds(20),
    .cpu = std::chrono::seconds(20),
    .addressSpace = 0, // Libraries are mapped, not used up.
    .memory = std::uint64_t{512} << 20U,
};

const fs::path& emptied(const fs::path& folder) {
    fs::remove_all(folder);
    fs::create_directories(folder);
    fs::permissions(folder, fs::perms::owner_all);
    return folder;
}

GraderOptions optionsFor(const fs::path& program) {
    GraderOptions options;
    options.worker.program = program.string();
    options.worker.arguments = {"--worker"};
    options.worker.limits = kWorkerLimits;
    return options;
}

} // namespace

struct MachineGrader::Parts {
    Parts(const fs::path& program, const fs::path& workFolder)
        : runner(makePosixChildRunner(emptied(workFolder),
                                      sandboxOfThisMachine(workFolder, program.string()))),
          grader(*runner, engines, optionsFor(program)) {}

    std::unique_ptr<ChildRunner> runner;
    NoEngines engines;
    Grader grader;
};

MachineGrader::MachineGrader(const fs::path& program, const fs::path& workFolder)
    : m_parts(std::make_unique<Parts>(program, workFolder)) {}

MachineGrader::~MachineGrader() = default;

const Grader& MachineGrader::grader() const {
    return m_parts->grader;
}

int serveWorker(Readers readers) {
    std::string input;
    std::array<char, 65536> room{};
    while (const std::size_t got = std::fread(room.data(), 1, room.size(), stdin)) {
        input.append(room.data(), got);
    }
    const bool read = writeFrames(input, readers, [](std::string_view frame) {
        std::fwrite(frame.data(), 1, frame.size(), stdout);
        std::fflush(stdout);
    });
    return read && std::ferror(stdout) == 0 ? 0 : 1;
}

} // namespace trevix
