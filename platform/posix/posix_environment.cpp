#include "platform/posix/posix_platform.h"

#include <cstdlib>
#include <string>

namespace kelvane {

namespace {

class PosixEnvironment : public Environment {
public:
    std::optional<std::string> get(std::string_view name) override {
        // No variable has such a name, but the C library would look up what stands before it.
        if (name.find('\0') != std::string_view::npos) return std::nullopt;
        const char* value = std::getenv(std::string(name).c_str());
        if (value == nullptr) return std::nullopt;
        return value;
    }
};

} // namespace

std::unique_ptr<Environment> makePosixEnvironment() {
    return std::make_unique<PosixEnvironment>();
}

} // namespace kelvane
