#include "app/cli/shell_module.h"

#include "platform/posix/posix_platform.h"

#include <dlfcn.h>
#include <iostream>

namespace kelvane {

namespace {

/// The same on every system.
constexpr const char* kModule = "libKelvaneShell.so";

} // namespace

int runShell(int argc, char** argv) {
    const auto module = currentExecutable().parent_path().parent_path() / "Frameworks" / kModule;
    void* const library = ::dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL);
    void* const symbol = library == nullptr ? nullptr : ::dlsym(library, "kelvaneRunApplication");
    if (symbol == nullptr) {
        std::cerr << "kelvane: cannot load the panel: " << ::dlerror() << '\n';
        return 1;
    }
    // Never unloaded: what it registered with Qt lives until the process ends.
    return reinterpret_cast<decltype(&kelvaneRunApplication)>(symbol)(argc, argv);
}

} // namespace kelvane
