#include "platform/posix/posix_platform.h"

#include <cstdint>
#include <string>
#include <system_error>
#include <utility>

#ifdef __APPLE__
#include <mach-o/dyld.h>
#endif

namespace kelvane {

namespace {

class FolderResources : public BundleResources {
public:
    /// `bundle` is absent outside one.
    explicit FolderResources(std::optional<std::filesystem::path> bundle)
        : m_bundle(std::move(bundle)) {}

    std::optional<std::filesystem::path> url(std::string_view name,
                                             std::string_view extension) override {
        if (!m_bundle || name.empty()) return std::nullopt;
        std::string file(name);
        if (!extension.empty()) file.append(".").append(extension);
        return ifThere(resources() / file);
    }

    std::optional<std::filesystem::path> resourceFolder() override {
        return m_bundle ? ifThere(resources()) : std::nullopt;
    }

    std::optional<std::filesystem::path> bundle() override { return m_bundle; }

private:
    [[nodiscard]] std::filesystem::path resources() const {
        return *m_bundle / "Contents" / "Resources";
    }

    static std::optional<std::filesystem::path> ifThere(std::filesystem::path path) {
        std::error_code error;
        if (!std::filesystem::exists(path, error)) return std::nullopt;
        return path;
    }

    std::optional<std::filesystem::path> m_bundle;
};

std::optional<std::filesystem::path> bundleAround(const std::filesystem::path& executable) {
    const auto folder = executable.parent_path();
    const auto contents = folder.parent_path();
    // The form of a bundle is looked at, so that a program beside other files does not take them
    // for its own.
    if (folder.filename() != "MacOS" || contents.filename() != "Contents") return std::nullopt;
    return contents.parent_path();
}

std::filesystem::path withLinksResolved(const std::filesystem::path& path) {
    std::error_code error;
    auto resolved = std::filesystem::canonical(path, error);
    return error ? path : resolved;
}

} // namespace

std::unique_ptr<BundleResources> makeBundleResources(const std::filesystem::path& executable) {
    return std::make_unique<FolderResources>(bundleAround(withLinksResolved(executable)));
}

std::filesystem::path currentExecutable() {
#ifdef __APPLE__
    // Asked twice: the first call tells the size.
    std::uint32_t size = 0;
    _NSGetExecutablePath(nullptr, &size);
    std::string path(size, '\0');
    if (_NSGetExecutablePath(path.data(), &size) != 0) return {};
    return withLinksResolved(path.c_str());
#else
    std::error_code error;
    auto path = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::filesystem::path() : path;
#endif
}

} // namespace kelvane
