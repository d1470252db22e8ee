// The grader over what this machine has: children as processes, shut in by its own means, and the
// programs that are installed.

#pragma once

#include "critics/grading/grader.h"

#include <filesystem>
#include <memory>

namespace trevix {

class MachineGrader {
public:
    /// `program` is the one that judges when it is started with "--worker"; see serveWorker(). The
    /// children's folders are made in `workFolder`, which is emptied first, and made when it is not
    /// there; throws std::filesystem::filesystem_error when it cannot be. An empty `program` leaves
    /// no critics but says so in every coverage.
    MachineGrader(const std::filesystem::path& program, const std::filesystem::path& workFolder);
    ~MachineGrader();
    MachineGrader(const MachineGrader&) = delete;
    MachineGrader& operator=(const MachineGrader&) = delete;

    [[nodiscard]] const Grader& grader() const;

private:
    struct Parts;
    std::unique_ptr<Parts> m_parts;
};

/// Is the child: judges the submission on standard input and writes what comes of it to standard
/// output. The status to end with: 0, or 1 when there was no submission or nobody to write to.
[[nodiscard]] int serveWorker(Readers readers);

} // namespace trevix
