// By what file does this system start a program when its user logs in?

#pragma once

namespace kelvane {

enum class LoginItem {
    LaunchAgent,    ///< A property list in ~/Library/LaunchAgents.
    AutostartEntry, ///< A desktop entry in the autostart folder of the desktop's configuration.
};

} // namespace kelvane
