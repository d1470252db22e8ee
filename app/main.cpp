// The entry point: picks the run mode and hands over.

#include "app/cli/run_modes.h"
#include "app/cli/shell_module.h"

int main(int argc, char** argv) {
    if (const auto status = kelvane::runCommandLineMode(argc, argv)) return *status;
    return kelvane::runShell(argc, argv);
}
