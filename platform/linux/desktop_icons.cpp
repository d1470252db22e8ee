#include "platform/linux/desktop_icons.h"

#include <filesystem>
#include <system_error>
#include <utility>

namespace kelvane {

namespace {

class DesktopIcons : public AppIcons {
public:
    explicit DesktopIcons(std::shared_ptr<DesktopFiles> files) : m_files(std::move(files)) {}

    std::optional<AppIcon> icon(std::string_view bundleId) override {
        const auto index = m_files->index();
        const DesktopEntry* entry = index->byId(bundleId);
        if (entry == nullptr || entry->icon.empty()) return std::nullopt;
        const std::filesystem::path path(entry->icon);
        if (!path.is_absolute()) return ThemeIcon{entry->icon};
        std::error_code error;
        if (!std::filesystem::is_regular_file(path, error)) return std::nullopt;
        return IconFile{path};
    }

private:
    std::shared_ptr<DesktopFiles> m_files;
};

} // namespace

std::unique_ptr<AppIcons> makeDesktopIcons(std::shared_ptr<DesktopFiles> files) {
    return std::make_unique<DesktopIcons>(std::move(files));
}

} // namespace kelvane
