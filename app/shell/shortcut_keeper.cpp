#include "app/shell/shortcut_keeper.h"

#include "app/known_sentences.h"
#include "app/settings/settings_store.h"
#include "app/settings/shortcut_text.h"
#include "platform/ports/dispatcher.h"

#include <utility>

namespace kelvane {

ShortcutKeeper::ShortcutKeeper(Ports ports, std::function<void()> pressed)
    : m_ports(ports),
      m_pressed(std::move(pressed)) {}

ShortcutKeeper::~ShortcutKeeper() {
    m_ports.shortcut.stop();
}

void ShortcutKeeper::look() {
    const std::string& wished = m_ports.settings.now().shortcut;
    if (wished == m_used) return;
    m_used = wished;
    // A new one for each combination: what an earlier one still has to say is for nobody.
    m_problem = std::make_shared<std::string>();
    m_ports.shortcut.stop();
    if (wished.empty()) return;
    std::string why;
    const auto shortcut = shortcutOf(wished, why);
    if (!shortcut) {
        *m_problem = why;
        return;
    }
    const std::weak_ptr<std::string> current = m_problem;
    m_ports.shortcut.use(
        *shortcut,
        [this, current] {
            m_ports.dispatcher.main([this, current] {
                if (!current.expired()) m_pressed();
            });
        },
        [this, current, wished](const std::string& said) {
            const std::string whole = wished + ": " + translatedSentence(said);
            m_ports.dispatcher.main([current, whole] {
                if (const auto problem = current.lock()) *problem = whole;
            });
        });
}

} // namespace kelvane
