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

const std::vector<InstalledEngine>& ProgramEngines::installed() const {
    std::call_once(m_probed, [this] {
        for (const EngineEntry& entry : m_table) m_installed.push_back(probed(entry));
    });
    return m_installed;
}

void ProgramEngines::probe() const {
    static_cast<void>(installed());
}

std::vector<std::string> ProgramEngines::enginesFor(const Part& part,
                                                    std::string_view modality) const {
    std::vector<std::string> ids;
    if (part.text.size() > kLongestForPrograms) return ids;
    for (const InstalledEngine& engine : installed()) {
        if (engine.usable() && fileFor(*engine.entry, part, modality)) {
            ids.emplace_back(engine.entry->id);
        }
    }
    return ids;
}

Critique ProgramEngines::look(std::string_view engine, const Part& part, std::string_view modality,
                              std::stop_token cancel) {
    const auto known = std::ranges::find_if(
        installed(), [&](const InstalledEngine& each) { return each.entry->id == engine; });
    if (known == m_installed.end() || !known->usable()) return {};
    const auto file = fileFor(*known->entry, part, modality);
    if (!file || part.text.size() > kLongestForPrograms) return {};
    return critiqueOf(*known, part, m_runner.run(judgeRequest(*known, *file), std::move(cancel)));
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
    for (const InstalledEngine& engine : installed()) {
        const EngineEntry& entry = *engine.entry;
        if (entry.secondOpinion && engine.program.empty()) continue;
        if (!fileFor(entry, isLong ? beginning : part, modality)) continue;
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

std::vector<EngineInfo> ProgramEngines::list() const {
    std::vector<EngineInfo> infos;
    for (const InstalledEngine& engine : installed()) {
        const EngineEntry& entry = *engine.entry;
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
