#include "tests/source_tree.h"

namespace kelvane {

std::string inSourceTree(std::string_view name) {
    return std::string(KELVANE_SOURCE_DIR "/").append(name);
}

} // namespace kelvane
