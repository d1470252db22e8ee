#include "platform/linux/gnome/gnome_extension.h"

#include "platform/linux/bus/bus_link.h"
#include "text/unicode.h"

#include <systemd/sd-bus.h>

#include <cstddef>
#include <functional>
#include <mutex>
#include <utility>

namespace kelvane {

namespace {

using std::chrono::milliseconds;

constexpr const char* kName = "example.trevix.kelvane.GnomeShell";
constexpr const char* kPath = "/example/trevix/kelvane/GnomeShell";
/// It answers within a frame; what takes longer than this is a shell that hangs.
constexpr milliseconds kQuick{300};
/// A window of a large screen is packed into a picture in 0.1 to 0.5 s.
constexpr milliseconds kPicture{3000};
constexpr std::size_t kLargestPicture = std::size_t{64} << 20U;

std::string readString(const char* text) {
    return text == nullptr ? std::string() : text::utf8FromOutside(text);
}

std::optional<std::vector<GnomeWindow>> readWindows(sd_bus_message* answer) {
    if (sd_bus_message_enter_container(answer, 'a', "(tsussiiiibb)") < 0) return std::nullopt;
    std::vector<GnomeWindow> windows;
    for (;;) {
        std::uint64_t number = 0;
        std::uint32_t process = 0;
        std::int32_t x = 0;
        std::int32_t y = 0;
        std::int32_t width = 0;
        std::int32_t height = 0;
        int focused = 0;
        int onScreen = 0;
        const char* appId = nullptr;
        const char* wmClass = nullptr;
        const char* title = nullptr;
        if (sd_bus_message_read(answer, "(tsussiiiibb)", &number, &appId, &process, &wmClass,
                                &title, &x, &y, &width, &height, &focused, &onScreen) <= 0) {
            return windows;
        }
        windows.push_back({number, readString(appId), static_cast<std::int32_t>(process),
                           readString(wmClass), readString(title), x, y, width, height,
                           focused != 0, onScreen != 0});
    }
}

class BusExtension : public GnomeExtension {
public:
    explicit BusExtension(std::string sessionBus) : m_sessionBus(std::move(sessionBus)) {}

    std::optional<std::vector<GnomeWindow>> windows() override {
        std::optional<std::vector<GnomeWindow>> windows;
        ask("Windows", {}, kQuick, [&](sd_bus_message* answer) { windows = readWindows(answer); });
        return windows;
    }

    std::optional<GnomePrimary> primary(std::uint64_t window) override {
        std::optional<GnomePrimary> primary;
        ask("Primary", window, kQuick, [&](sd_bus_message* answer) {
            int present = 0;
            std::uint32_t age = 0;
            const char* text = nullptr;
            if (sd_bus_message_read(answer, "bus", &present, &age, &text) > 0 && present != 0) {
                primary = GnomePrimary{readString(text), milliseconds(age)};
            }
        });
        return primary;
    }

    std::optional<std::string> picture(std::uint64_t window) override {
        std::optional<std::string> png;
        ask("Picture", window, kPicture, [&](sd_bus_message* answer) {
            const void* bytes = nullptr;
            std::size_t size = 0;
            if (sd_bus_message_read_array(answer, 'y', &bytes, &size) > 0 && size > 0 &&
                size <= kLargestPicture) {
                png.emplace(static_cast<const char*>(bytes), size);
            }
        });
        return png;
    }

    bool activate(std::uint64_t window) override { return yes("Activate", window); }
    bool placePanel() override { return yes("PlacePanel", {}); }

private:
    bool yes(const char* member, std::optional<std::uint64_t> window) {
        int answered = 0;
        ask(member, window, kQuick,
            [&](sd_bus_message* answer) { (void)sd_bus_message_read(answer, "b", &answered); });
        return answered != 0;
    }

    void ask(const char* member, std::optional<std::uint64_t> window, milliseconds limit,
             const std::function<void(sd_bus_message*)>& read) {
        const std::lock_guard lock(m_mutex);
        if (!m_link || !m_link->alive()) m_link = BusLink::open(m_sessionBus);
        if (!m_link) return;
        m_link->ask(
            {kName, kPath, kName, member},
            [window](sd_bus_message* question) {
                return !window || sd_bus_message_append(question, "t", *window) >= 0;
            },
            [&read](sd_bus_message* answer) {
                if (answer != nullptr) read(answer);
            });
        m_link->wait(limit);
    }

    const std::string m_sessionBus;
    std::mutex m_mutex; ///< Guards the link.
    std::unique_ptr<BusLink> m_link;
};

} // namespace

std::shared_ptr<GnomeExtension> openGnomeExtension(std::string sessionBus) {
    return std::make_shared<BusExtension>(std::move(sessionBus));
}

bool isGnomeShell(const std::string& sessionBus) {
    const auto link = BusLink::open(sessionBus);
    if (!link) return false;
    int owned = 0;
    link->ask(
        {"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameHasOwner"},
        [](sd_bus_message* question) {
            return sd_bus_message_append(question, "s", "org.gnome.Shell") >= 0;
        },
        [&](sd_bus_message* answer) {
            if (answer != nullptr) (void)sd_bus_message_read(answer, "b", &owned);
        });
    link->wait(kQuick);
    return owned != 0;
}

} // namespace kelvane
