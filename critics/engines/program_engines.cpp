#include "critics/engines/program_engines.h"

#include "critics/engines/foreign_critique.h"
#include "critics/findings/part_kind.h"
#include "text/unicode.h"

#include <algorithm>
#include <utility>

namespace trevix {

namespace text = kelvane::text;

namespace {

std::optional<WorkFile> fileFor(const EngineEntry& entry, const Part& part,
                                std::string_view modality) {
    const WorkKind kind = kindOf(part, text::lowerAscii(modality));
    if (std::ranges::find(entry.kinds, kind) == entry.kinds.end()) return std::nullopt;
    return entry.file(part);
}

} // namespace

InstalledEngine ProgramEngines::probed(const EngineEntry& entry) const {
    InstalledEngine engine;
    engine.entry = &entry;
    const auto program = m_finder.program(entry.program);
    const auto module = entry.module.empty() ? std::optional<std::string>(std::string())
                                             : m_finder.module(entry.module);
    if (!program || !module) return engine;
    engine.program = *program;
    engine.module = *module;
    if (entry.versionArguments.empty()) return engine;
    const ChildResult answer = m_runner.run(versionRequest(engine));
    if (answer.end != ChildResult::End::exited || answer.status != 0) {
        engine.trouble = std::string(entry.name) + " is here but does not run";
        return engine;
    }
    engine.version = versionIn(answer.output.empty() ? answer.errors : answer.output);
    engine.trouble = versionTrouble(entry, engine.version);
    return engine;
}

const InstalledEngine& ProgramEngines::installed(std::size_t number) const {
    Place& place = m_places[number];
    std::call_once(place.once, [&] { place.engine = probed(m_table[number]); });
    return place.engine;
}

void ProgramEngines::probe(const StopToken& stop) const {
    for (std::size_t i = 0; i < m_table.size() && !stop.isAsked(); ++i) {
        static_cast<void>(installed(i));
    }
}

std::vector<std::string> ProgramEngines::enginesFor(const Part& part,
                                                    std::string_view modality) const {
    std::vector<std::string> ids;
    if (part.text.size() > kLongestForPrograms) return ids;
    for (std::size_t i = 0; i < m_table.size(); ++i) {
        // Only those that could read it are asked what they are.
        if (!fileFor(m_table[i], part, modality)) continue;
        if (installed(i).usable()) ids.emplace_back(m_table[i].id);
    }
    return ids;
}

Critique ProgramEngines::look(std::string_view engine, const Part& part, std::string_view modality,
                              StopToken cancel) {
    const auto entry = std::ranges::find(m_table, engine, &EngineEntry::id);
    if (entry == m_table.end() || part.text.size() > kLongestForPrograms) return {};
    const auto file = fileFor(*entry, part, modality);
    if (!file) return {};
    const InstalledEngine& known = installed(static_cast<std::size_t>(entry - m_table.begin()));
    if (!known.usable()) return {};
    return critiqueOf(known, part, m_runner.run(judgeRequest(known, *file), std::move(cancel)));
}

std::vector<NotChecked> ProgramEngines::absentFor(const Part& part,
                                                  std::string_view modality) const {
    std::vector<NotChecked> gaps;
    // Whether it is theirs is seen from the beginning of a long one.
    const bool isLong = part.text.size() > kLongestForPrograms;
    Part beginning;
    if (isLong) {
        beginning = {part.mimeType, part.name, part.text.substr(0, kLongestForPrograms), "",
                     part.isText};
    }
    for (std::size_t i = 0; i < m_table.size(); ++i) {
        const EngineEntry& entry = m_table[i];
        if (!fileFor(entry, isLong ? beginning : part, modality)) continue;
        const InstalledEngine& engine = installed(i);
        if (entry.secondOpinion && engine.program.empty()) continue;
        const std::string name(entry.name);
        if (isLong) {
            gaps.push_back({std::string(entry.judges),
                            "the text is longer than what " + name + " is asked about", ""});
        } else if (!engine.usable()) {
            gaps.push_back({std::string(entry.judges),
                            engine.trouble.empty() ? name + " is not here" : engine.trouble,
                            "install " + name + " (" + howToObtain(entry) + ")"});
        }
    }
    return gaps;
}

int ProgramEngines::usualMilliseconds(std::string_view engine) const {
    const auto entry = std::ranges::find(m_table, engine, &EngineEntry::id);
    return entry == m_table.end() ? 0 : entry->milliseconds;
}

std::vector<EngineInfo> ProgramEngines::list() const {
    std::vector<EngineInfo> infos;
    for (std::size_t i = 0; i < m_table.size(); ++i) {
        const EngineEntry& entry = m_table[i];
        const InstalledEngine& engine = installed(i);
        infos.push_back({.id = std::string(entry.id),
                         .name = std::string(entry.name),
                         .judges = std::string(entry.judges),
                         .licence = std::string(entry.licence),
                         .version = engine.version,
                         .place = engine.program,
                         .here = engine.usable(),
                         .inside = false,
                         .trouble = engine.trouble,
                         .obtain = howToObtain(entry)});
    }
    return infos;
}

} // namespace trevix
