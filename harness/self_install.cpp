#include "harness/self_install.h"

#include "harness/installation.h"
#include "harness/replace_tree.h"
#include "platform/ports/bundle_resources.h"
#include "platform/ports/file_system.h"

namespace kelvane::SelfInstall {

namespace {

/// The same place under another name counts as the same: replacing it would delete the program that
/// is running, with nothing left to copy.
bool isInstalledCopy(FileSystem& files, const std::filesystem::path& bundle,
                     const std::filesystem::path& installed) {
    return files.resolve(bundle) == files.resolve(installed);
}

} // namespace

void persistToApplications(const Ports& ports, const Installation& installation) {
    const auto installed = installedBundle(installation);
    const auto running = ports.bundle.bundle();
    if (running && !isInstalledCopy(ports.files, *running, installed)) {
        ports.files.createDirectories(installed.parent_path());
        replaceTree(ports.files, *running, installed);
    }
    for (const auto& file : startFiles(installation)) {
        ports.files.createDirectories(file.path.parent_path());
        ports.files.writeAtomically(file.path, file.text);
    }
}

} // namespace kelvane::SelfInstall
