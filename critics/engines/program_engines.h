// The room of the engines that are programs of this machine.
//
// What is here, and in which version, is found out once for each program, by running it: when work
// first asks for it, or beforehand in probe().

#pragma once

#include "critics/engines/engine.h"
#include "critics/engines/program_finder.h"
#include "critics/findings/stop.h"
#include "critics/worker/child_process.h"

#include <mutex>
#include <span>
#include <vector>

namespace trevix {

class ProgramEngines : public EngineRoom {
public:
    /// All three outlive the room.
    ProgramEngines(std::span<const EngineEntry> table, const ProgramFinder& finder,
                   ChildRunner& runner)
        : m_table(table),
          m_finder(finder),
          m_runner(runner),
          m_places(table.size()) {}

    [[nodiscard]] std::vector<std::string> enginesFor(const Part& part,
                                                      std::string_view modality) const override;
    [[nodiscard]] Critique look(std::string_view engine, const Part& part,
                                std::string_view modality, StopToken cancel) override;
    [[nodiscard]] std::vector<NotChecked> absentFor(const Part& part,
                                                    std::string_view modality) const override;
    [[nodiscard]] int usualMilliseconds(std::string_view engine) const override;

    /// All engines of the table, here or not, in its order.
    [[nodiscard]] std::vector<EngineInfo> list() const;

    /// Finds out now what is here, so that the first work need not wait for it. Some seconds; may
    /// run beside everything else. Ends early when it is asked to.
    void probe(const StopToken& stop) const;

private:
    struct Place {
        std::once_flag once;
        InstalledEngine engine;
    };

    /// The engine of the entry with this number.
    [[nodiscard]] const InstalledEngine& installed(std::size_t number) const;
    [[nodiscard]] InstalledEngine probed(const EngineEntry& entry) const;

    std::span<const EngineEntry> m_table;
    const ProgramFinder& m_finder;
    ChildRunner& m_runner;
    mutable std::vector<Place> m_places; ///< One for each entry, in its order.
};

} // namespace trevix
