// The kind of file by which this system starts a program when its user logs in.

#pragma once

namespace kelvane {

enum class LoginItem {
    LaunchAgent,    ///< A property list in ~/Library/LaunchAgents.
    AutostartEntry, ///< A desktop entry in the autostart folder of the desktop's configuration.
};

} // namespace kelvane
