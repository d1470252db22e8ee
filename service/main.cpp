#include "critics/engines/engine_list.h"
#include "critics/findings/stop.h"
#include "critics/grading/machine_grader.h"
#include "critics/servers/server_engines.h"
#include "service/http/http_api.h"
#include "service/http/metrics_door.h"
#include "service/http/watched_handler.h"
#include "service/job_queue.h"
#include "service/postgres/postgres_store.h"
#include "service/service_log.h"
#include "service/service_metrics.h"
#include "service/setup/command_line.h"
#include "service/setup/data_folder.h"
#include "service/setup/idle_watch.h"
#include "service/setup/inherited_sockets.h"
#include "service/setup/key_file.h"
#include "service/setup/keys_command.h"
#include "service/setup/local_socket.h"
#include "service/setup/public_url.h"
#include "service/shared_queue.h"
#include "service/store/sqlite_store.h"
#include "service/team_keys.h"
#include "text/build_version.h"
#include "text/xdg_folders.h"

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

#include <poll.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using namespace trevix;

constexpr std::size_t kJobsAtOnce = 2; // Chosen for machines of two cores and more.

int complain(const std::string& text, int status) {
    std::fprintf(stderr, "trevix-local: %s\n", text.c_str());
    return status;
}

// Not by way of a buffer that would be written later, and half: one call of the system's for a
// line. Where whoever reads has stopped, the pipe is full, and a line is given up rather than the
// thread that serves all connections held up: a pipe with room has room for one (PIPE_BUF).
void writeLine(const std::string& line) {
    pollfd entry{STDERR_FILENO, POLLOUT, 0};
    if (poll(&entry, 1, 0) != 1 || (entry.revents & POLLOUT) == 0) return;
    const ssize_t written = write(STDERR_FILENO, line.data(), line.size());
    (void)written; // Where the log cannot be written nobody can be told.
}

std::optional<std::string> environment(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

std::int64_t nowMs() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

fs::path ownProgram(const char* invokedAs) {
    std::error_code error;
    // Not by how it was started: that may be a link, or a name found along PATH. Other systems have
    // no such file.
    fs::path self = fs::read_symlink("/proc/self/exe", error);
    if (error) self = fs::canonical(invokedAs, error);
    return error ? fs::path() : self;
}

// The product's catalog, where builds and packages put it in relation to this program.
fs::path shippedCatalog(const fs::path& folder) {
    for (const char* place : {"Kelvane.app/Contents/Resources", "../Resources", "resources",
                              "../resources", "../lib/kelvane/Kelvane.app/Contents/Resources"}) {
        std::error_code error;
        const fs::path file = folder / place / "app-catalog.json";
        if (fs::is_regular_file(file, error)) return file.lexically_normal();
    }
    return {};
}

sigset_t endSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&signals, signal);
    return signals;
}

std::optional<fs::path> wantedSocket(const CommandLine& line) {
    if (!line.socket) return defaultSocket(environment("XDG_RUNTIME_DIR"));
    if (*line.socket == "none") return std::nullopt;
    // Absolute, because it is printed for others to connect to.
    return fs::absolute(*line.socket).lexically_normal();
}

// Where this person has what work is judged with.
MachinePlaces placesFor(const fs::path& self) {
    MachinePlaces places;
    places.program = self;
    places.home = environment("HOME").value_or("");
    places.dataHome =
        kelvane::text::xdgDataHome(environment("XDG_DATA_HOME").value_or(""), places.home);
    places.words =
        kelvane::text::xdgConfigHome(environment("XDG_CONFIG_HOME").value_or(""), places.home) /
        "kelvane/dictionary.txt";
    places.tessdata = environment("TESSDATA_PREFIX").value_or("");
    return places;
}

// Has the wait for a signal end as somebody who ends the service would.
void endOurselves() {
    kill(getpid(), SIGTERM);
}

// Ends the service with whoever holds the other end of its standard input, however that one ends.
void endWithParent() {
    std::thread([] {
        char bytes[64];
        ssize_t size = 0;
        do {
            size = read(STDIN_FILENO, bytes, sizeof bytes);
        } while (size > 0 || (size < 0 && errno == EINTR));
        endOurselves();
    }).detach();
}

// Ends the service once it has had nothing to do for long enough.
StoppableThread endWhenIdle(std::chrono::seconds limit, HttpServer& server, const JobDesk& queue) {
    return StoppableThread([limit, &server, &queue](const StopToken& stop) {
        std::mutex mutex;
        std::condition_variable woken;
        // Under the lock, or the word would be missed between the look and the wait.
        const StopCallback wake(stop, [&] {
            const std::lock_guard lock(mutex);
            woken.notify_all();
        });
        const auto now = [] { return std::chrono::steady_clock::now(); };
        IdleWatch watch(limit, now());
        std::unique_lock lock(mutex);
        while (!stop.isAsked()) {
            woken.wait_for(lock, watch.period(), [&] { return stop.isAsked(); });
            if (stop.isAsked()) return;
            if (!watch.isOver(now(), server.connectionsTaken(), !queue.isIdle())) continue;
            if (server.closeIfQuiet([&queue] { return queue.isIdle(); })) return endOurselves();
            watch.restart(now());
        }
    });
}

/// Where runs and jobs are kept: a file of this program's own, or a database that it shares.
struct Store {
    std::unique_ptr<RunStore> own; ///< Never null.
    SharedStore* shared = nullptr; ///< The same one, where it is shared.
};

// Throws StoreError.
Store openStore(const CommandLine& line, const fs::path& data, ServiceLog& log) {
    if (!line.store) {
        auto opened = SqliteStore::open(data / "runs.db", nowMs());
        log.notice(opened.notice);
        return {std::move(opened.store), nullptr};
    }
    std::unique_ptr<SharedStore> opened = openPostgresStore(*line.store);
    SharedStore* shared = opened.get();
    return {std::move(opened), shared};
}

std::unique_ptr<JobDesk> startQueue(const Store& store, QueueOptions options) {
    if (store.shared == nullptr) return std::make_unique<JobQueue>(*store.own, std::move(options));
    return std::make_unique<SharedQueue>(*store.shared, std::move(options));
}

// Who cannot wait for the job being graded signals again: nothing is lost then either.
void awaitEnd(const sigset_t& signals) {
    int received = 0;
    sigwait(&signals, &received);
}

void endAtOnceFromNowOn(const sigset_t& signals) {
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) std::signal(signal, SIG_DFL);
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

/// The port for who watches over this process.
class Watch {
public:
    Watch(const ServiceMetrics& metrics, SharedStore& store, JobDesk& desk)
        : m_door(metrics, store, desk) {}

    /// What went wrong.
    std::optional<std::string> listen(std::uint16_t port) {
        ServerOptions options;
        options.port = port;
        // Whoever watches asks every few seconds.
        options.maxThreads = 8;
        options.maxConnections = 64;
        auto listening = HttpServer::listen(options, m_door);
        if (auto* error = std::get_if<ListenError>(&listening)) return std::move(error->text);
        m_server = std::move(std::get<std::unique_ptr<HttpServer>>(listening));
        m_server->start();
        return std::nullopt;
    }
    void tell() const {
        std::printf("trevix-local metrics on http://127.0.0.1:%u/metrics\n",
                    static_cast<unsigned>(m_server->port()));
    }

private:
    MetricsDoor m_door;
    std::unique_ptr<HttpServer> m_server;
};

// A program of a team that judges, and takes no work in.
int judgeForOthers(SharedStore& store, QueueOptions options, std::optional<std::uint16_t> port,
                   const ServiceMetrics& metrics, ServiceLog& log, const sigset_t& signals) {
    SharedQueue queue(store, std::move(options));
    std::optional<Watch> watch;
    if (port) {
        watch.emplace(metrics, store, queue);
        if (const auto error = watch->listen(*port)) return complain(*error, 1);
    }
    std::printf("trevix-local judging as %s\n", queue.name().c_str());
    if (watch) watch->tell();
    std::fflush(stdout);
    log.stage("started", "worker");
    awaitEnd(signals);
    log.stage("draining", "worker");
    endAtOnceFromNowOn(signals);
    queue.stop();
    log.stage("ended", "worker");
    return 0;
}

int serve(const CommandLine& line, const fs::path& self, const fs::path& data,
          const fs::path& catalog, ServerChoices servers, const InheritedSockets& inherited) {
    ServiceLog log(line.jsonLog, nowMs, writeLine);
    ServiceMetrics metrics;
    // Before anything in the folder is read: a second service over the same store would judge the
    // same jobs.
    auto lock = FolderLock::take(data);
    if (const auto* error = std::get_if<FolderError>(&lock)) return complain(error->text, 1);

    ApiOptions api;
    api.catalog = catalog;
    if (line.key) {
        api.key = *line.key;
    } else if (!line.store) {
        api.keyFile = data / "key";
        const auto key = loadOrMakeKey(api.keyFile);
        if (const auto* error = std::get_if<KeyError>(&key)) return complain(error->text, 1);
        api.key = std::get<Key>(key).text;
    }

    MachinePlaces places = placesFor(self);
    places.work = data / "work";
    places.servers = std::move(servers);
    // Without HOME there is no folder of settings, and so nobody's say.
    if (places.words.is_absolute()) {
        api.dictionary = places.words;
        api.dismissed = places.words.parent_path() / "dismissed.tsv";
    }
    api.nowMs = nowMs;

    const bool judges = line.role != CommandLine::Role::api;
    const bool listens = line.role != CommandLine::Role::worker;

    // Before any thread starts, so that all inherit it and only the wait below gets a signal.
    const sigset_t signals = endSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);

    Store store = openStore(line, data, log);
    if (store.shared) {
        // Whoever holds an address that somebody was handed is on another machine.
        api.userOfPeer = [](const std::string&, const std::string&) { return std::nullopt; };
        if (line.publicUrl) api.publicUrl = parsePublicUrl(*line.publicUrl);
        // What one person says counts for that person's own service.
        api.dictionary.clear();
        api.dismissed.clear();
        api.nowMs = [shared = store.shared] { return shared->nowMs(); };
        api.shared = store.shared;
    }
    std::optional<TeamKeys> teamKeys;
    if (store.shared != nullptr && listens) api.keys = &teamKeys.emplace(*store.shared);

    const auto publicOrigin =
        api.publicUrl ? std::optional<std::string>(api.publicUrl->origin()) : std::nullopt;
    MachineGrader critics(places);

    QueueOptions queueOptions;
    queueOptions.maxWaiting = line.queue;
    queueOptions.keep = std::chrono::hours(24) * line.keepDays;
    queueOptions.keepWork = std::chrono::hours(24) * line.keepWorkDays;
    queueOptions.atOnce = judges ? kJobsAtOnce : 0;
    queueOptions.critic = counted(
        [&](const Submission& submission, const StopToken& cancel,
            const std::function<void(const GradingProgress&)>& progress) {
            return critics.grader().grade(submission, cancel, progress);
        },
        metrics, [] { return std::chrono::steady_clock::now(); });
    queueOptions.warmUp = [&] { critics.probe(); };
    queueOptions.nowMs = api.nowMs;
    queueOptions.log = [&log](const std::string& text) { log.notice(text); };
    queueOptions.judged = [&log](const JudgedJob& job) { log.judged(job); };

    if (line.withParent) endWithParent();
    if (!listens) {
        return judgeForOthers(*store.shared, std::move(queueOptions), line.metrics, metrics, log,
                              signals);
    }

    // The default one is a convenience: without it the port is there all the same.
    const bool ownSocket = inherited.unixListener < 0;
    // Programs of a team's machine would get in each other's way.
    const bool asked = !line.store || line.socket;
    const auto socketPath =
        ownSocket ? (asked ? wantedSocket(line) : std::nullopt) : inherited.socket;
    std::optional<LocalSocket> local;
    if (ownSocket && socketPath) {
        auto made = LocalSocket::listen(*socketPath);
        if (auto* error = std::get_if<SocketError>(&made)) {
            if (line.socket) return complain(error->text, 1);
            log.notice(error->text + "; listening on the port alone");
        } else {
            local.emplace(std::move(std::get<LocalSocket>(made)));
        }
    }

    ServerOptions serverOptions;
    serverOptions.port = line.port;
    if (line.listen) serverOptions.address = *line.listen;
    serverOptions.tcpListener = inherited.tcpListener;
    serverOptions.unixListener = local ? local->release() : inherited.unixListener;
    // Every revision that waits holds a thread; others must find one all the same.
    // The others are the pages, the polls and the submits, which last milliseconds each.
    serverOptions.maxThreads = line.queue + 64;

    // Declared after the store and before the server, so that the server goes first and nobody asks
    // a queue that is gone.
    const std::unique_ptr<JobDesk> desk = startQueue(store, std::move(queueOptions));
    JobDesk& queue = *desk;
    HttpApi answers(std::move(api), queue, *store.own);
    WatchedHandler handler(answers, metrics, log);
    std::optional<Watch> watch;
    if (line.metrics) {
        watch.emplace(metrics, *store.shared, queue);
        if (const auto error = watch->listen(*line.metrics)) return complain(*error, 1);
    }
    auto listening = HttpServer::listen(serverOptions, handler);
    if (const auto* error = std::get_if<ListenError>(&listening);
        error != nullptr && error->portTaken && !ownSocket) {
        // Another user has it, say. Who was handed a socket serves there; browsers get any port.
        serverOptions.port = 0;
        listening = HttpServer::listen(serverOptions, handler);
    }
    if (const auto* error = std::get_if<ListenError>(&listening)) return complain(error->text, 1);
    auto& server = *std::get<std::unique_ptr<HttpServer>>(listening);
    const std::string base =
        "http://" + serverOptions.address + ":" + std::to_string(server.port());
    answers.setBase(publicOrigin.value_or(base));
    // Only now that the port is known: reports are opened under it, and it may be one that the
    // system chose.
    server.start();
    std::printf("trevix-local listening on %s\n", base.c_str());
    if (serverOptions.unixListener >= 0) {
        std::printf("trevix-local listening on %s\n", socketBase(*socketPath).c_str());
    }
    if (watch) watch->tell();
    // Who starts the service waits for these lines, through a pipe as a rule, which is not flushed
    // by itself.
    std::fflush(stdout);
    const char* role = judges ? "both" : "api";
    log.stage("started", role);

    StoppableThread idle;
    if (line.idleExit > 0) idle = endWhenIdle(std::chrono::seconds(line.idleExit), server, queue);

    awaitEnd(signals);
    idle = {};
    log.stage("draining", role);
    // The job being graded is finished first.
    endAtOnceFromNowOn(signals);
    // First, so that nobody new connects while the last job is finished.
    local.reset();
    // Before the server: who waits for a revision is told that the service ends, which frees the
    // thread that the server would otherwise wait for.
    queue.stop();
    server.stop();
    log.stage("ended", role);
    return 0;
}

// Prints who judges work here. The programs are asked for their versions, each in a folder of its
// own.
int printEngines(bool json, const fs::path& self, ServerChoices servers) {
    std::string work = (fs::temp_directory_path() / "trevix-engines-XXXXXX").string();
    if (mkdtemp(work.data()) == nullptr) return complain("no folder for the programs' files", 1);
    MachinePlaces places = placesFor(self);
    places.work = work;
    places.servers = std::move(servers);
    const auto engines = MachineGrader(places).engines();
    std::error_code error;
    // For a folder that cannot be removed there is nobody to tell; the system clears its own.
    fs::remove_all(work, error);
    std::fputs((json ? engineTableJson(engines) : engineTableText(engines)).c_str(), stdout);
    return 0;
}

int runKeys(const std::vector<std::string>& arguments) {
    const auto parsed = parseKeysCommand(arguments);
    if (const auto* error = std::get_if<UsageError>(&parsed)) {
        return complain(error->text + "; try keys --help", 2);
    }
    const auto& command = std::get<KeysCommand>(parsed);
    if (command.action == KeysCommand::Action::help) {
        std::fputs(std::string(keysUsageText()).c_str(), stdout);
        return 0;
    }
    std::signal(SIGPIPE, SIG_IGN);
    const auto store = openPostgresStore(command.store);
    const KeysDone done = runKeysCommand(*store, command);
    if (done.status != 0) return complain(done.output, done.status);
    std::fputs(done.output.c_str(), stdout);
    return 0;
}

int run(int argc, char** argv) {
    if (argc > 1 && std::string_view(argv[1]) == "keys") return runKeys({argv + 2, argv + argc});
    const auto parsed = parseCommandLine({argv + (argc > 0 ? 1 : 0), argv + argc});
    if (const auto* error = std::get_if<UsageError>(&parsed)) {
        return complain(error->text + "; try --help", 2);
    }
    const auto& line = std::get<CommandLine>(parsed);
    if (line.action == CommandLine::Action::help) {
        std::fputs(std::string(usageText()).c_str(), stdout);
        return 0;
    }
    if (line.action == CommandLine::Action::version) {
        std::puts(("trevix-local " + std::string(kelvane::text::buildVersion())).c_str());
        return 0;
    }

    if (line.action == CommandLine::Action::worker) {
        const int status =
            serveWorker(line.ownReaders ? Readers::own : Readers::all,
                        [](const char* name) { return environment(name).value_or(""); });
        // Taking dictionaries apart word by word would take a quarter of the time of a short work.
        // _Exit() writes no buffer out.
        std::fflush(stdout);
        std::_Exit(status);
    }

    // Taken out of the environment: children and later programs were not meant.
    const auto count =
        inheritedCount(environment("LISTEN_PID"), environment("LISTEN_FDS"), getpid());
    for (const char* name : {"LISTEN_PID", "LISTEN_FDS", "LISTEN_FDNAMES"}) unsetenv(name);
    if (const auto* error = std::get_if<SocketError>(&count)) return complain(error->text, 1);
    const auto handedOn = takeInherited(std::get<std::size_t>(count));
    if (const auto* error = std::get_if<SocketError>(&handedOn)) return complain(error->text, 1);

    // For whatever makes a file without saying for whom.
    umask(077);
    // A child or a client that is gone is told by the write that fails.
    std::signal(SIGPIPE, SIG_IGN);
    // Who starts the service may leave this ignored, and a child's end would then be told to
    // nobody.
    std::signal(SIGCHLD, SIG_DFL);
    // What lies in a core dump is the key, and the work of somebody. The children inherit it.
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    const fs::path self = ownProgram(argc > 0 ? argv[0] : "");
    auto chosen = chosenServers({line.judge.value_or(""), line.model.value_or(""),
                                 environment("TREVIX_JUDGE_KEY").value_or(""), line.judgeElsewhere,
                                 line.languageTool.value_or("")});
    if (const auto* error = std::get_if<AddressError>(&chosen)) return complain(error->text, 2);
    auto& servers = std::get<ServerChoices>(chosen);
    if (line.action == CommandLine::Action::engines) {
        return printEngines(line.json, self, std::move(servers));
    }
    const auto wanted = dataFolder(line.data, environment("XDG_DATA_HOME"), environment("HOME"));
    if (!wanted) return complain("HOME is not set; say where to keep data with --data", 1);
    const auto data = makeDataFolder(*wanted);
    if (const auto* error = std::get_if<FolderError>(&data)) return complain(error->text, 1);
    const auto& folder = std::get<fs::path>(data);

    if (line.action == CommandLine::Action::printKey) {
        if (line.key) {
            std::puts(line.key->c_str());
            return 0;
        }
        const auto key = loadOrMakeKey(folder / "key");
        if (const auto* error = std::get_if<KeyError>(&key)) return complain(error->text, 1);
        std::puts(std::get<Key>(key).text.c_str());
        return 0;
    }

    std::error_code error;
    if (line.catalog && !fs::is_regular_file(*line.catalog, error)) {
        return complain("--catalog: there is no file " + *line.catalog, 1);
    }
    return serve(line, self, folder,
                 line.catalog ? fs::absolute(*line.catalog) : shippedCatalog(self.parent_path()),
                 std::move(servers), std::get<InheritedSockets>(handedOn));
}

} // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        return complain(error.what(), 1);
    }
}
