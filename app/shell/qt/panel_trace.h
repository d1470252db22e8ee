// A record of when the panel was drawn and where its controls stand.
//
// A diagnostic aid for tests and measurements: see docs/panel.md. Nobody makes one unless the
// environment asks for it, so it costs nothing otherwise.

#pragma once

#include <QObject>

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

class QQuickWindow;

namespace kelvane {

/// The variable that names the file.
inline constexpr std::string_view kPanelTraceVariable = "KELVANE_PANEL_TRACE";

class PanelTrace : public QObject {
public:
    /// Appends one line of JSON to `file` for every frame that `window` draws and whenever it is
    /// hidden, for as long as both live.
    PanelTrace(QQuickWindow& window, std::filesystem::path file);

    /// Appends a line for something else that happened.
    void note(std::string_view event);

private:
    void write(std::string_view event, bool withControls);

    QQuickWindow& m_window;
    std::filesystem::path m_file;
};

} // namespace kelvane
