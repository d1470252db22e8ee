#include "app/plain_http_question.h"

#include "eval/plain_http.h"
#include "platform/ports/dialogs.h"
#include "platform/ports/dispatcher.h"
#include "platform/ports/quit_signal.h"
#include "text/translation.h"

#include <utility>

namespace kelvane {

namespace {

using text::filled;
using text::translated;

// Where the buttons stand; what the Return key presses sends nothing.
constexpr std::size_t kRefuse = 0;
constexpr std::size_t kAllow = 1;

Alert question(const std::string& address) {
    return {
        .style = Alert::Style::Warning,
        .message = translated("Alert", "Send your work without encryption?"),
        .informative = filled(
            translated("Alert", "%1 is not encrypted: whoever is on the way there can read "
                                "your work and your service key. Kelvane remembers the answer "
                                "in ~/.brask/plain-http."),
            {address}),
        .buttons = {translated("Alert", "Don't Send"), translated("Alert", "Send Unencrypted")}};
}

} // namespace

/// Shared with the job on the main thread, which may come when nobody waits any more.
struct PlainHttpQuestion::Asked {
    std::mutex mutex;
    std::condition_variable changed;
    bool isOver = false;
    std::optional<std::size_t> button;
};

PlainHttpQuestion::PlainHttpQuestion(Ports ports, std::filesystem::path braskHome)
    : m_ports(ports),
      m_braskHome(std::move(braskHome)) {}

bool PlainHttpQuestion::mayGoTo(const std::string& address) {
    const std::lock_guard turn(m_turn);
    if (const auto known = plain_http::remembered(m_ports.files, m_braskHome, address)) {
        return *known;
    }
    if (const auto known = m_answers.find(address); known != m_answers.end()) return known->second;
    const auto answer = ask(address);
    if (!answer) return false;
    m_answers[address] = *answer;
    plain_http::remember(m_ports.files, m_braskHome, address, *answer);
    return *answer;
}

std::optional<bool> PlainHttpQuestion::ask(const std::string& address) {
    const auto asked = std::make_shared<Asked>();
    const auto onQuit = m_ports.quit.onRaise([asked] {
        const std::lock_guard lock(asked->mutex);
        asked->isOver = true;
        asked->changed.notify_all();
    });
    m_ports.dispatcher.main([asked, &dialogs = m_ports.dialogs, alert = question(address)] {
        const auto button = dialogs.show(alert);
        const std::lock_guard lock(asked->mutex);
        asked->button = button;
        asked->isOver = true;
        asked->changed.notify_all();
    });
    std::unique_lock lock(asked->mutex);
    asked->changed.wait(lock, [&] { return asked->isOver; });
    if (asked->button == kAllow) return true;
    if (asked->button == kRefuse) return false;
    return std::nullopt;
}

} // namespace kelvane
