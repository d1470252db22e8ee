// The scripts of resources/engines, as parts of the program.

#pragma once

#include <string_view>

namespace trevix::engine_scripts {

extern const std::string_view kHarperRunner;
extern const std::string_view kMarkdownlintRunner;
extern const std::string_view kPkgResources;
extern const std::string_view kPythonSyntax;
extern const std::string_view kRuffRunner;

} // namespace trevix::engine_scripts
