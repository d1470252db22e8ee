#include "harness/replace_tree.h"

#include "platform/ports/file_system.h"

#include <string>

namespace kelvane {

void replaceTree(FileSystem& files, const std::filesystem::path& source,
                 const std::filesystem::path& target) {
    if (!files.exists(source)) {
        files.removeTree(target);
        return;
    }
    const auto beside = target.parent_path() / ("." + target.filename().string() + ".new");
    files.removeTree(beside);
    if (files.copyTree(source, beside)) files.exchange(beside, target);
    files.removeTree(beside); // what was replaced, or the copy that nobody can have
}

} // namespace kelvane
