// A home folder, a search path and a bundle of the program, all on disk and all
// the test's own.
//
// What the scripts do is then seen for real: by /bin/sh, with a python3 that
// runs, and nothing of the machine's user is touched.

#pragma once

#include "harness/installation.h"
#include "harness/tool_wiring.h"
#include "harness/uninstall.h"
#include "platform/fake/fakes.h"
#include "platform/posix/posix_platform.h"
#include "tests/platform/temporary_folder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace kelvane {

/// Sets a variable, or takes it away, for as long as it lives.
class ScopedVariable {
public:
    ScopedVariable(std::string name, const std::optional<std::string>& value)
        : m_name(std::move(name)) {
        if (const char* before = getenv(m_name.c_str())) m_before = before;
        set(value);
    }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;
    ~ScopedVariable() { set(m_before); }

private:
    void set(const std::optional<std::string>& value) {
        if (value) {
            setenv(m_name.c_str(), value->c_str(), 1);
        } else {
            unsetenv(m_name.c_str());
        }
    }

    std::string m_name;
    std::optional<std::string> m_before;
};

/// Every file and link below `folder` with its permissions and bytes. Folders
/// are left out.
inline std::map<std::string, std::string> filesBelow(const std::filesystem::path& folder) {
    namespace fs = std::filesystem;
    std::map<std::string, std::string> found;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        const auto status = entry.symlink_status();
        const std::string name = entry.path().lexically_relative(folder).string();
        if (fs::is_symlink(status)) {
            found[name] = "-> " + fs::read_symlink(entry.path()).string();
        } else if (!fs::is_directory(status)) {
            std::ostringstream content;
            content << std::oct << static_cast<unsigned>(status.permissions()) << ' '
                    << contentsOf(entry.path());
            found[name] = std::move(content).str();
        }
    }
    return found;
}

inline std::vector<std::string> linesOf(const std::filesystem::path& path) {
    std::istringstream text(contentsOf(path));
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);) lines.push_back(line);
    return lines;
}

class RealHome : public testing::Test {
protected:
    explicit RealHome(const std::string& homeName = "home of Ada") : home(folder / homeName) {
        namespace fs = std::filesystem;
        for (const fs::path& made : {home, bin, contents / "MacOS", kit / "standing" / "engine"}) {
            fs::create_directories(made);
        }
        // The login shell sets the search path anew; this is where its user has the
        // last word.
        putFile(home / ".profile", "PATH='" + bin.string() + "'\nexport PATH\n");
        for (const char* tool : {"chmod", "rm", "id", "cat"})
            fs::create_symlink(pathOf(tool), bin / tool);
        putProgram("python3", "exec '" + pathOf("python3").string() + "' \"$@\"");

        putFile(contents / "MacOS" / "Kelvane", "the program");
        fs::permissions(contents / "MacOS" / "Kelvane", fs::perms::all);
        putFile(contents / "Resources" / "app-catalog.json", "{\"apps\": []}");
        putFile(kit / "validate.py", "# the validator\n");
        putFile(kit / "brask_install.py", kRecordingInstaller);
        putFile(kit / "standing" / "rules.md", "the rules");
        putFile(kit / "standing" / "._rules.md", "attributes");
        putFile(kit / "standing" / "engine" / "check.py", "# the check\n");
    }

    /// A program of that name on the login shell's search path.
    void putProgram(const std::string& name, const std::string& script) const {
        putFile(bin / name, "#!/bin/sh\n" + script + "\n");
        std::filesystem::permissions(bin / name, std::filesystem::perms::all);
    }

    void putHomeFile(const std::string& name, const std::string& bytes) const {
        std::filesystem::create_directories((home / name).parent_path());
        putFile(home / name, bytes);
    }

    /// What the installer was called with, one call a line: BRASK_HOME, a colon,
    /// its arguments.
    std::vector<std::string> installerCalls() const { return linesOf(log); }

    ToolWiring::Ports wiringPorts() {
        return {.files = *files,
                .processes = *processes,
                .bundle = *bundle,
                .dialogs = fake.dialogs,
                .urls = fake.urls};
    }

    void install(bool firstRun) {
        ToolWiring::runInstall(wiringPorts(), installation, settings, firstRun);
    }

    void uninstall() {
        Uninstall::runUninstall({.dialogs = fake.dialogs,
                                 .processes = *processes,
                                 .terminate = [this] { fake.journal.add("terminate"); }},
                                installation);
    }

    /// Runs `action` and returns what this program and its children wrote
    /// meanwhile.
    template <typename Action>
    std::string writtenBy(Action action) {
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        action();
        const std::string output = testing::internal::GetCapturedStdout();
        return output + testing::internal::GetCapturedStderr();
    }

    /// Where a program stands that the machine has; for python3 the interpreter itself.
    static std::filesystem::path pathOf(const std::string& program) {
        static std::map<std::string, std::string> known;
        if (const auto found = known.find(program); found != known.end()) return found->second;
        const std::string command = program == "python3"
                                        ? "python3 -c 'import sys; print(sys.executable)'"
                                        : "command -v " + program;
        const auto answer = makePosixProcessRunner()->run(
            {.program = "/bin/sh", .arguments = {"-c", command}, .output = ProcessOutput::Capture});
        if (!answer || answer->status != 0) ADD_FAILURE() << "no " << program << " here";
        const std::string output = answer ? answer->output : "";
        return known[program] = output.substr(0, output.find('\n'));
    }

    static constexpr const char* kRecordingInstaller = R"py(import os, sys
home = os.environ["HOME"]
with open(os.path.join(home, "..", "calls"), "a") as log:
    log.write(os.environ.get("BRASK_HOME", "") + ": " + " ".join(sys.argv[1:]) + "\n")
print("a line that nobody is to see")
marks = {"claude": (".claude/settings.json", "validate.py --harness claude"),
         "codex": (".codex/config.toml", "[mcp_servers.trevix]")}
path, mark = marks.get(sys.argv[1], (None, None))
if path and os.path.isdir(os.path.dirname(os.path.join(home, path))):
    with open(os.path.join(home, path), "w") as config:
        config.write(mark)
sys.exit(3)
)py";

    FakePlatform fake;
    TemporaryFolder folder;
    std::filesystem::path home;
    std::filesystem::path brask = home / ".brask";
    std::filesystem::path bin = folder / "bin";
    std::filesystem::path log = folder / "calls";
    std::filesystem::path contents = folder / "Down loads/Kelvane.app/Contents";
    std::filesystem::path kit = contents / "Resources" / "kit";

    ScopedVariable homeVariable{"HOME", home.string()};
    ScopedVariable configVariable{"XDG_CONFIG_HOME", std::nullopt};
    ScopedVariable dataVariable{"XDG_DATA_HOME", std::nullopt};
    ScopedVariable braskVariable{"BRASK_HOME", std::nullopt};

    std::unique_ptr<FileSystem> files = makePosixFileSystem();
    std::unique_ptr<ProcessRunner> processes = makePosixProcessRunner();
    std::unique_ptr<BundleResources> bundle = makeBundleResources(contents / "MacOS" / "Kelvane");

    Installation installation{.home = home,
                              .braskHome = brask,
                              .bundleId = "org.example.kelvane.menubar",
                              .loginItem = LoginItem::AutostartEntry,
                              .configHome = home / ".config",
                              .dataHome = home / ".local/share"};
    ToolWiring::Settings settings{.connectURL = "https://trevix.example/connect?from=macos-app",
                                  .noPersist = true,
                                  .noOpen = false};
};

} // namespace kelvane
