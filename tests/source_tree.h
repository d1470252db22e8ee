// A file of the checkout that the tests were built from, by its name there.

#pragma once

#include <string>
#include <string_view>

namespace kelvane {

/// The absolute path of `name` ("resources/brask.png") in the source tree; of the tree itself for
/// no name. Whether anything is there is for the caller to see. Any thread.
[[nodiscard]] std::string inSourceTree(std::string_view name);

} // namespace kelvane
