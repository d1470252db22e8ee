// What the desktop's settings say of the way out to an address.

#pragma once

#include <string>
#include <vector>

namespace kelvane {

class ProxySettings {
public:
    virtual ~ProxySettings() = default;

    /// What to reach `origin`, such as "https://host:8443", through, the preferred one first, as
    /// desktops write it: "http://proxy:8080", "socks://proxy", "direct://". Empty where nothing is
    /// set, nobody can be asked, or no answer comes within a second. Any thread, several at once.
    [[nodiscard]] virtual std::vector<std::string> proxiesFor(const std::string& origin) = 0;
};

/// Where there are none.
class NoProxySettings : public ProxySettings {
public:
    [[nodiscard]] std::vector<std::string> proxiesFor(const std::string&) override { return {}; }
};

} // namespace kelvane
