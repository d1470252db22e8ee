#include "critics/worker/sandbox.h"

#include <initializer_list>
#include <string_view>

namespace trevix {

namespace {

bool isBelow(std::string_view path, std::string_view folder) {
    return path.size() > folder.size() && path.substr(0, folder.size()) == folder &&
           path[folder.size()] == '/';
}

void add(std::vector<std::string>& command, std::initializer_list<std::string_view> words) {
    for (const std::string_view word : words) command.emplace_back(word);
}

} // namespace

std::vector<std::string> shutIn(const ChildRequest& request, const std::string& folder,
                                const SandboxFacts& facts) {
    std::vector<std::string> command;
    if (!facts.bubblewrap.empty()) {
        command.push_back(facts.bubblewrap);
        // --unshare-all: no network, no other process in sight, no shared memory.
        add(command, {"--unshare-all", "--die-with-parent", "--ro-bind", "/usr", "/usr"});
        for (const auto& [name, target] : facts.rootLinks) {
            add(command, {"--symlink", target, name});
        }
        // Where programs find what their names and libraries stand for.
        for (const std::string_view path :
             {"/lib", "/lib64", "/bin", "/sbin", "/etc/alternatives", "/etc/ld.so.cache"}) {
            bool linked = false;
            for (const auto& link : facts.rootLinks) linked = linked || link.first == path;
            if (!linked) add(command, {"--ro-bind-try", path, path});
        }
        // Mounts happen in the order of the options: /tmp is emptied before anything below it is
        // put there.
        add(command, {"--proc", "/proc", "--dev", "/dev", "--tmpfs", "/tmp"});
        for (const std::string& path : request.readable) {
            // What is not there at the moment is passed over; a dictionary may come later.
            add(command, {"--ro-bind-try", path, path});
        }
        if (!isBelow(request.program, "/usr")) {
            add(command, {"--ro-bind", request.program, request.program});
        }
        // Last, since it may lie below any of the others. The only place where it may write.
        add(command, {"--bind", folder, folder, "--chdir", folder, "--"});
    }
    command.push_back(request.program);
    command.insert(command.end(), request.arguments.begin(), request.arguments.end());
    return command;
}

} // namespace trevix
