// Proxies as a test has them set.

#pragma once

#include "platform/fake/journal.h"
#include "platform/ports/proxy_settings.h"

#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace kelvane {

/// Journal: "proxies for ORIGIN".
class FakeProxySettings : public ProxySettings {
public:
    explicit FakeProxySettings(Journal& journal) : m_journal(journal) {}

    std::map<std::string, std::vector<std::string>> proxies; ///< By origin.

    std::vector<std::string> proxiesFor(const std::string& origin) override {
        const std::lock_guard lock(m_mutex);
        m_journal.add("proxies for " + origin);
        const auto found = proxies.find(origin);
        return found == proxies.end() ? std::vector<std::string>() : found->second;
    }

private:
    Journal& m_journal;
    std::mutex m_mutex;
};

} // namespace kelvane
