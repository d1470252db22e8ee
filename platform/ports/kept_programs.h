// A program of ours that runs as long as this one does.

#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace kelvane {

/// A program that was started. Its end tells the program to end, by the end of its standard input,
/// and does not wait: what it is busy with it may finish. However this process ends, that is told.
class KeptProgram {
public:
    virtual ~KeptProgram() = default;

    /// Whether it still runs. Does not block.
    [[nodiscard]] virtual bool isRunning() = 0;
};

/// Main thread only.
class KeptPrograms {
public:
    virtual ~KeptPrograms() = default;

    /// Starts a program, an absolute path, with a standard input that says nothing and ends with
    /// the result, no standard output, and this process's standard error. Null when it could not be
    /// started. Whether it can do its work is seen by whether it keeps running.
    [[nodiscard]] virtual std::unique_ptr<KeptProgram>
    start(const std::filesystem::path& program, const std::vector<std::string>& arguments) = 0;

    /// Whether somebody listens at a Unix socket of this user's. Does not block.
    [[nodiscard]] virtual bool isServed(const std::filesystem::path& socket) = 0;
};

} // namespace kelvane
