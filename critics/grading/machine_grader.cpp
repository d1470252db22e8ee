#include "critics/grading/machine_grader.h"

#include "critics/critic.h"
#include "critics/engines/engine_table.h"
#include "critics/engines/joined_engines.h"
#include "critics/engines/program_engines.h"
#include "critics/findings/stop.h"
#include "critics/inside_engines.h"
#include "critics/servers/curl_servers.h"
#include "critics/worker/posix_child_runner.h"
#include "critics/worker/work_folder.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

namespace trevix {

namespace fs = std::filesystem;

namespace {

// Of the child that the critics run in. What it reads of one text is bounded so that it stays
// within (critics/critic.cpp); what meets the limits all the same is said in the coverage.
#ifdef KELVANE_SANITIZED
// What a sanitizer maps for its own books counts as data of the child, and is terabytes.
constexpr std::uint64_t kWorkerMemory = std::numeric_limits<std::uint64_t>::max();
#else
constexpr std::uint64_t kWorkerMemory = std::uint64_t{512} << 20U;
#endif
constexpr ChildLimits kWorkerLimits{
    .wall = std::chrono::seconds(20),
    .cpu = std::chrono::seconds(20),
    .addressSpace = 0, // Libraries are mapped, not used up.
    .memory = kWorkerMemory,
};

CriticTools toolsFor(const std::string& tessdata, const fs::path& home, const fs::path& dataHome,
                     const fs::path& words) {
    CriticTools tools;
    tools.lines = std::make_shared<LineReaders>(languageFolders(tessdata));
    tools.language = toolsOfMachine(home, dataHome, words);
    return tools;
}

// Nobody else uses the folder: that of the data is locked by now.
const fs::path& takenOver(const fs::path& folder) {
    takeOverWorkFolder(folder);
    return folder;
}

// What the child is told of the person, whose folders it does not see.
constexpr const char* kHome = "TREVIX_HOME";
constexpr const char* kDataHome = "TREVIX_DATA_HOME";
constexpr const char* kWords = "TREVIX_WORDS";
constexpr const char* kWritings = "TREVIX_TESSDATA";

GraderOptions optionsFor(const MachinePlaces& places) {
    GraderOptions options;
    options.atOnce = childrenAtOnce(std::thread::hardware_concurrency());
    options.worker.program = places.program.string();
    options.worker.environment = {{kHome, places.home.string()},
                                  {kDataHome, places.dataHome.string()},
                                  {kWords, places.words.string()},
                                  {kWritings, places.tessdata.string()}};
    // Of the person's folders those alone in which dictionaries are looked for.
    options.worker.readable = {(places.dataHome / "hunspell").string(), places.words.string(),
                               (places.home / "Library/Spelling").string()};
    if (!places.tessdata.empty()) options.worker.readable.push_back(places.tessdata.string());
    options.worker.arguments = {"--worker"};
    options.worker.limits = kWorkerLimits;
    return options;
}

} // namespace

struct MachineGrader::Parts {
    // In the order of need: each is given those before it, and they go the other way round.
    explicit Parts(const MachinePlaces& given)
        : places(given),
          runner(makePosixChildRunner(takenOver(places.work),
                                      sandboxOfThisMachine(places.work, places.program.string()))),
          finder(usualProgramFolders(), usualModuleFolders(places.program.parent_path())),
          programs(engineTable(), finder, *runner),
          web(makeCurlServers()),
          servers(places.servers, *web),
          engines({&programs, &servers}),
          grader(*runner, engines, optionsFor(places)) {}

    const MachinePlaces places;
    std::unique_ptr<ChildRunner> runner;
    FolderFinder finder;
    ProgramEngines programs;
    std::unique_ptr<OwnServers> web;
    ServerEngines servers;
    JoinedEngines engines;
    Grader grader;
    StoppableThread prober; // Ends before what it asks.
};

MachineGrader::MachineGrader(const MachinePlaces& places)
    : m_parts(std::make_unique<Parts>(places)) {}

MachineGrader::~MachineGrader() = default;

const Grader& MachineGrader::grader() const {
    return m_parts->grader;
}

void MachineGrader::probe() {
    // Assigning stops and waits for the one before, if it is asked twice.
    m_parts->prober =
        StoppableThread([this](const StopToken& stop) { m_parts->programs.probe(stop); });
}

std::vector<EngineInfo> MachineGrader::engines() const {
    // For telling what is here; the child that judges has its own.
    const MachinePlaces& places = m_parts->places;
    std::vector<EngineInfo> engines = insideEngines(
        toolsFor(places.tessdata.string(), places.home, places.dataHome, places.words));
    for (EngineInfo& program : m_parts->programs.list()) engines.push_back(std::move(program));
    for (EngineInfo& server : m_parts->servers.list()) engines.push_back(std::move(server));
    return engines;
}

namespace {

/// Opens what most works need, as long as none is here: a child that was begun beforehand has the
/// time.
void makeReady(const CriticTools& tools) {
    // Asked again before each step, so that work that is there never waits for a preparation.
    if (!inputWaits()) warmUp();
    if (tools.language.shelf == nullptr || inputWaits()) return;
    for (const auto& book : tools.language.shelf->of(NaturalLanguage::english).books) {
        if (inputWaits()) return;
        // Dictionaries are read when first asked; any word does.
        static_cast<void>(book->knows("ready"));
    }
}

} // namespace

int serveWorker(Readers readers, const std::function<std::string(const char*)>& environment) {
    CriticTools tools = toolsFor(environment(kWritings), environment(kHome), environment(kDataHome),
                                 environment(kWords));
    tools.readers = readers;
    makeReady(tools);
    std::string input;
    // To the end of input: the length is nowhere told.
    std::array<char, 65536> room{};
    while (const std::size_t got = std::fread(room.data(), 1, room.size(), stdin)) {
        input.append(room.data(), got);
    }
    const bool read = writeFrames(std::move(input), tools, [](std::string_view frame) {
        std::fwrite(frame.data(), 1, frame.size(), stdout);
        // After each part, so that what was found survives a bad end of the next.
        std::fflush(stdout);
    });
    return read && std::ferror(stdout) == 0 ? 0 : 1;
}

} // namespace trevix
