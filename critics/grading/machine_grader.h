// The grader over what this machine has: children as processes, shut in by its own means, and the
// programs that are installed.

#pragma once

#include "critics/grading/grader.h"
#include "critics/servers/server_engines.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace trevix {

struct MachinePlaces {
    /// The program that judges when it is started with "--worker"; see serveWorker(). Without one
    /// nobody judges, and every coverage says so.
    std::filesystem::path program;
    /// For the children's folders.
    std::filesystem::path work;
    std::filesystem::path home;     ///< Of the person, where programs of the desktop keep words.
    std::filesystem::path dataHome; ///< Where the person's own dictionaries are.
    std::filesystem::path words;    ///< A file of the person's own words; need not be there.
    /// Where the reader of pictures finds what it knows, before the usual folders; may be empty.
    std::filesystem::path tessdata;
    ServerChoices servers = {}; ///< Those of the person's own that may be asked.
};

class MachineGrader {
public:
    /// `places.work` is taken over (critics/worker/work_folder.h); throws
    /// std::filesystem::filesystem_error when it cannot be.
    explicit MachineGrader(const MachinePlaces& places);
    ~MachineGrader();
    MachineGrader(const MachineGrader&) = delete;
    MachineGrader& operator=(const MachineGrader&) = delete;

    [[nodiscard]] const Grader& grader() const;

    /// Begins to find out which programs are here, which takes some seconds; work that comes
    /// meanwhile waits for those alone that it needs.
    void probe();

    /// All engines: those that are part of this program, then the programs, here or not.
    [[nodiscard]] std::vector<EngineInfo> engines() const;

private:
    struct Parts;
    std::unique_ptr<Parts> m_parts;
};

/// Is the child: judges the submission on standard input and writes what comes of it to standard
/// output. `environment` gives the variables that MachineGrader sets for it, empty for those it
/// does not. The status to end with: 0, or 1 when there was no submission or nobody to write to.
[[nodiscard]] int serveWorker(Readers readers,
                              const std::function<std::string(const char*)>& environment);

} // namespace trevix
