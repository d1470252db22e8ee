#include "app/run_modes.h"

#include "app/process_settings.h"

namespace kelvane {

std::optional<int> runCommandLineMode(int argc, const char* const* argv) {
    recordArgs(argc, argv);
    return std::nullopt;
}

} // namespace kelvane
