// The module's entry point.

#include "app/cli/shell_module.h"
#include "app/composition/launch.h"
#include "app/composition/shell_program.h"
#include "app/process_settings.h"

#include <QApplication>

#include <utility>

extern "C" int kelvaneRunApplication(int argc, char** argv) {
    using namespace kelvane;
    recordArgs(argc, argv);
    leaveNoCore();
    const Launch launch = launchOfThisProcess();
    prepareQt(launch);
    auto instance = claimMenuBar(launch);
    if (const auto status = handOver(instance.get())) return *status;

    // Before there is a thread that reads the environment: the toolkit starts some.
    settleHome();
    QApplication qt(argc, argv);
    makeAccessoryApplication();
    ShellProgram program(launch, std::move(instance));
    return program.run();
}
