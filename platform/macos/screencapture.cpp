#include "platform/macos/screencapture.h"

#include "platform/ports/file_system.h"
#include "platform/ports/process_runner.h"

#include <string>

namespace kelvane {

namespace {

class Screencapture : public WindowPicture {
public:
    Screencapture(ProcessRunner& processes, FileSystem& files)
        : m_processes(processes),
          m_files(files) {}

    std::optional<std::string> png(std::int64_t windowNumber) override {
        const std::string number = std::to_string(windowNumber);
        const std::string path =
            m_files.temporaryDirectory().string() + "kelvane-shot-" + number + ".png";
        // What a program that was ended there left is no picture of now.
        if (m_files.exists(path)) m_files.remove(path);
        const auto result = m_processes.run({
            .program = "/usr/sbin/screencapture",
            .arguments = {"-x", "-o", "-l", number, path},
            .output = ProcessOutput::Capture,
        });
        if (!result) return std::nullopt;
        auto bytes = m_files.read(path);
        m_files.remove(path);
        return bytes;
    }

private:
    ProcessRunner& m_processes;
    FileSystem& m_files;
};

} // namespace

std::unique_ptr<WindowPicture> makeScreencapture(ProcessRunner& processes, FileSystem& files) {
    return std::make_unique<Screencapture>(processes, files);
}

} // namespace kelvane
