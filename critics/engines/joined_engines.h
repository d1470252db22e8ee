// Several rooms of engines as one.

#pragma once

#include "critics/engines/engine.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace trevix {

/// Asks its rooms in their order. An engine's id is in one of them only.
class JoinedEngines : public EngineRoom {
public:
    /// All outlive it.
    explicit JoinedEngines(std::vector<EngineRoom*> rooms) : m_rooms(std::move(rooms)) {}

    [[nodiscard]] std::vector<std::string> enginesFor(const Part& part,
                                                      std::string_view modality) const override {
        std::vector<std::string> ids;
        for (const EngineRoom* room : m_rooms) {
            for (std::string& id : room->enginesFor(part, modality)) ids.push_back(std::move(id));
        }
        return ids;
    }

    [[nodiscard]] Critique look(std::string_view engine, const Part& part,
                                std::string_view modality, StopToken cancel) override {
        for (EngineRoom* room : m_rooms) {
            const auto ids = room->enginesFor(part, modality);
            if (std::ranges::find(ids, engine) == ids.end()) continue;
            return room->look(engine, part, modality, std::move(cancel));
        }
        return {};
    }

    [[nodiscard]] std::vector<NotChecked> absentFor(const Part& part,
                                                    std::string_view modality) const override {
        std::vector<NotChecked> gaps;
        for (const EngineRoom* room : m_rooms) {
            for (NotChecked& gap : room->absentFor(part, modality)) gaps.push_back(std::move(gap));
        }
        return gaps;
    }

    [[nodiscard]] std::size_t mostParts(std::string_view engine) const override {
        std::size_t most = EngineRoom::mostParts(engine);
        for (const EngineRoom* room : m_rooms) most = std::min(most, room->mostParts(engine));
        return most;
    }

    [[nodiscard]] int usualMilliseconds(std::string_view engine) const override {
        int most = 0;
        for (const EngineRoom* room : m_rooms) {
            most = std::max(most, room->usualMilliseconds(engine));
        }
        return most;
    }

private:
    std::vector<EngineRoom*> m_rooms;
};

} // namespace trevix
