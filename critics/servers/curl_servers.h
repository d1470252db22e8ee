// The user's own servers, asked through libcurl.

#pragma once

#include "critics/servers/own_servers.h"

#include <memory>
#include <string>

namespace trevix {

/// Makes a client; costs nothing before it is asked.
[[nodiscard]] std::unique_ptr<OwnServers> makeCurlServers();

/// Of the library: "7.88.1".
[[nodiscard]] std::string curlVersion();

} // namespace trevix
