#include "platform/linux/linux_limits.h"

#include "platform/linux/rules/desktop_limits.h"

#include <utility>

namespace kelvane {

namespace {

class LinuxLimits : public DesktopLimits {
public:
    LinuxLimits(std::function<DesktopOffer()> offer, bool gnomeShell)
        : m_offer(std::move(offer)),
          m_gnomeShell(gnomeShell) {}

    DesktopLimit now() override {
        const auto offer = m_offer();
        auto words = limitsOf(offer, chooseSources(offer), m_gnomeShell);
        return {.line = std::move(words.line),
                .hidesFront = words.hidesFront,
                .noPicture = std::move(words.noPicture),
                .noSelection = std::move(words.noSelection),
                .accessibilityHelps = words.accessibilityHelps};
    }

private:
    const std::function<DesktopOffer()> m_offer;
    const bool m_gnomeShell;
};

} // namespace

std::unique_ptr<DesktopLimits> makeLinuxLimits(std::function<DesktopOffer()> offer,
                                               bool gnomeShell) {
    return std::make_unique<LinuxLimits>(std::move(offer), gnomeShell);
}

} // namespace kelvane
