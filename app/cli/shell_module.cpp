#include "app/cli/shell_module.h"

#include "platform/posix/posix_platform.h"

#include <dlfcn.h>
#include <iostream>

namespace kelvane {

namespace {

/// The same on every system.
constexpr const char* kModule = "libKelvaneShell.so";

/// Never unloaded: what it registered with Qt lives until the process ends.
void* symbolOfModule(const char* name) {
    const auto module = currentExecutable().parent_path().parent_path() / "Frameworks" / kModule;
    void* const library = ::dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL);
    return library == nullptr ? nullptr : ::dlsym(library, name);
}

} // namespace

int runShell(int argc, char** argv) {
    void* const symbol = symbolOfModule("kelvaneRunApplication");
    if (symbol == nullptr) {
        std::cerr << "kelvane: cannot load the panel: " << ::dlerror() << '\n';
        return 1;
    }
    return reinterpret_cast<decltype(&kelvaneRunApplication)>(symbol)(argc, argv);
}

std::optional<int> askStatusAsApplication(const std::string& url,
                                          std::chrono::milliseconds patience) {
    void* const symbol = symbolOfModule("kelvaneAskStatus");
    if (symbol == nullptr) return std::nullopt;
    return reinterpret_cast<decltype(&kelvaneAskStatus)>(symbol)(
        url.c_str(), static_cast<int>(patience.count()));
}

} // namespace kelvane
