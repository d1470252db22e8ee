#include "critics/worker/work_folder.h"

#include <algorithm>
#include <cstddef>

namespace trevix {

namespace fs = std::filesystem;

void takeOverWorkFolder(const fs::path& folder) {
    // Before the folders go: they are what it is known by.
    endSandboxesBelow(folder);
    fs::remove_all(folder);
    fs::create_directories(folder);
    fs::permissions(folder, fs::perms::owner_all);
}

bool isSandboxBelow(const fs::path& folder, const std::vector<std::string>& words) {
    if (words.empty() || fs::path(words.front()).filename() != "bwrap") return false;
    const std::string begin =
        (folder / kChildFolder.substr(0, kChildFolder.find('X'))).lexically_normal().string();
    const auto isChildFolder = [&begin](const std::string& word) {
        return word.size() > begin.size() && word.starts_with(begin) &&
               word.find('/', begin.size()) == std::string::npos;
    };
    // As sandbox.cpp has it: where the folder is, and what it is to the program inside.
    const auto bound = std::ranges::find(words, "--bind");
    return words.end() - bound > 2 && isChildFolder(bound[1]) && bound[1] == bound[2];
}

} // namespace trevix
