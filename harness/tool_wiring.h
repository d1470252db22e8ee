// The wiring of the user's coding tools to the validator, and its status.
//
// Wiring puts the validator kit that was shipped with the program into the data folder and hands
// the tools' own configuration to the kit's installer. Main thread: it shows dialogs, and it blocks
// while files are copied and the installer runs.

#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

class BundleResources;
class Dialogs;
class FileSystem;
class ProcessRunner;
class UrlOpener;
struct Installation;

/// One row of the wiring status.
struct Harness {
    std::string label;  ///< The tool's name as people know it.
    bool wired = false; ///< Its configuration carries the validator's marker.

    bool operator==(const Harness&) const = default;
};

namespace ToolWiring {

struct Ports {
    FileSystem& files;
    ProcessRunner& processes;
    BundleResources& bundle;
    Dialogs& dialogs;
    UrlOpener& urls;
};

struct Settings {
    std::string connectURL; ///< The page where a person gets a service key.
    bool noPersist = false; ///< Do not install the program itself.
    bool noOpen = false;    ///< Do not open the connect page.
};

/// A row for each of `wireableTools`, in that order, as the files are now.
[[nodiscard]] std::vector<Harness> harnessStatus(FileSystem& files,
                                                 const std::filesystem::path& home);

/// Whether anything named "validate.py" stands in the data folder.
[[nodiscard]] bool isInstalled(FileSystem& files, const std::filesystem::path& braskHome);

/// Installs the kit, wires the tools, makes the program itself stay (`SelfInstall`), and then opens
/// the connect page on a first run, or tells what is wired when the user asked for it.
///
/// Without python3 it says so and does nothing else. Every other failure is passed over in silence
/// and shows only as a tool that is not wired. Each run brings the kit's files to the shipped
/// version, or leaves one that cannot be replaced as it is; other files in the data folder are left
/// alone.
void runInstall(const Ports& ports, const Installation& installation, const Settings& settings,
                bool firstRun);

} // namespace ToolWiring

} // namespace kelvane
