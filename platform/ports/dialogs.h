// Alerts: something told to the user, or asked, and the answer.

#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace kelvane {

struct Alert {
    enum class Style { Informational, Warning };

    Style style = Style::Informational;
    std::string message;     ///< The question or the news, in one line.
    std::string informative; ///< What it means; may hold line breaks.
    /// In the order in which they are offered; the first is what the Return key presses. Empty: the
    /// system's own single button.
    std::vector<std::string> buttons;

    bool operator==(const Alert&) const = default;
};

class Dialogs {
public:
    virtual ~Dialogs() = default;

    /// Shows the alert in front of everything and returns when it is gone: which button was
    /// pressed, counted from 0, or nothing when it went any other way (closed, no display). Main
    /// thread only; its event loop runs on meanwhile.
    virtual std::optional<std::size_t> show(const Alert& alert) = 0;
};

} // namespace kelvane
