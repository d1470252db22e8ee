// Lines from standard input, as they come, on the main loop.

#pragma once

#include "app/line_splitter.h"

#include <QObject>
#include <QSocketNotifier>

#include <functional>
#include <string>
#include <string_view>

namespace kelvane {

/// Reads a descriptor whenever it has something to say, without ever blocking the loop. Calls
/// `onEnd` once, at its end or at an error that will not pass. The descriptor stays the caller's.
class LineInput : public QObject {
public:
    LineInput(int descriptor, std::function<void(std::string_view)> onLine,
              std::function<void()> onEnd);

private:
    void read();

    int m_descriptor;
    LineSplitter m_splitter;
    std::function<void()> m_onEnd;
    QSocketNotifier m_notifier;
};

} // namespace kelvane
