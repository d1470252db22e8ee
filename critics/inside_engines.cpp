#include "critics/inside_engines.h"

#include "critics/syntax/syntax_reader.h"
#include "text/build_version.h"

#include <string>

namespace trevix {

std::vector<EngineInfo> insideEngines() {
    EngineInfo own;
    own.id = "trevix";
    own.name = "trevix";
    own.judges = "text, documents, code, tables, pictures";
    own.version = kelvane::text::buildVersion();
    own.here = true;
    own.inside = true;
    std::vector<EngineInfo> engines = {own};
    for (const GrammarInfo& grammar : knownGrammars()) {
        // "tree-sitter-python@0.20.4"
        const std::string_view package = grammar.package;
        const std::size_t at = package.rfind('@');
        EngineInfo info;
        info.id = "grammar." + std::string(grammar.name);
        info.name = std::string(package.substr(0, at));
        info.judges = "syntax, " + std::string(grammar.name);
        info.licence = "MIT";
        if (at != std::string_view::npos) info.version = std::string(package.substr(at + 1));
        info.here = true;
        info.inside = true;
        engines.push_back(std::move(info));
    }
    return engines;
}

} // namespace trevix
