// Where does one line end and the next begin, in bytes that come in pieces?

#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace kelvane {

/// Hands over each line without its line break; empty lines are passed over. A line longer than
/// 64 KiB is dropped whole, so that endless input costs no memory.
class LineSplitter {
public:
    explicit LineSplitter(std::function<void(std::string_view)> onLine);

    void feed(std::string_view bytes);
    /// The input has ended: hands over a last line that had no line break.
    void finish();

private:
    std::function<void(std::string_view)> m_onLine;
    std::string m_pending;
    bool m_tooLong = false;
};

} // namespace kelvane
