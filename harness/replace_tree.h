// A file or folder of an installation brought to the version that is shipped.

#pragma once

#include <filesystem>

namespace kelvane {

class FileSystem;

/// What stands at `target`, whatever it is, gives way to a copy of `source`, as if it had been
/// deleted before the copy was made; without a source it is deleted and that is all. But a copy is
/// made beside it first and the two change places when the copy is whole: a disk that is full, or
/// an end at any moment, leaves what was there or what is new. What such an end leaves beside the
/// target, hidden, the next call takes away. Failures are silent. Any thread; blocks while files
/// are copied.
void replaceTree(FileSystem& files, const std::filesystem::path& source,
                 const std::filesystem::path& target);

} // namespace kelvane
