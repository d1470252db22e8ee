#include "tests/journey/dialog_on_screen.h"

#include "tests/journey/accessible_tree.h"

#include <algorithm>

namespace kelvane {

namespace {

DialogOnScreen dialogIn(AccessibleTree& tree, const AccessibleObject& window) {
    DialogOnScreen dialog;
    for (const auto& each : tree.read(window)) {
        if (each.role == "label" && !each.name.empty()) dialog.texts.push_back(each.name);
        if (each.role == "push button" || each.role == "button") {
            const auto place = tree.place(each);
            dialog.buttons.push_back({each.name, place.x, place.y, place.width, place.height});
        }
    }
    return dialog;
}

} // namespace

const DialogOnScreen::Button* DialogOnScreen::button(const std::string& name) const {
    const auto found = std::ranges::find(buttons, name, &Button::name);
    return found == buttons.end() ? nullptr : &*found;
}

bool DialogOnScreen::says(const std::string& text) const {
    return std::ranges::find(texts, text) != texts.end();
}

std::string DialogOnScreen::all() const {
    std::string said;
    for (const auto& text : texts) said += text + "\n";
    for (const auto& button : buttons) said += "[" + button.name + "]\n";
    return said;
}

std::optional<DialogOnScreen> DialogOnScreen::waitFor(const VirtualDesktop& desktop,
                                                      std::chrono::milliseconds timeout) {
    AccessibleTree tree(desktop);
    std::optional<DialogOnScreen> found;
    VirtualDesktop::waitUntil(
        [&] {
            for (const auto& window : tree.windows()) {
                if (!window.role.starts_with("alert") && window.role != "dialog") continue;
                const auto dialog = dialogIn(tree, window);
                const bool laidOut =
                    std::ranges::all_of(dialog.buttons, [](const auto& b) { return b.width > 0; });
                if (dialog.texts.empty() || dialog.buttons.empty() || !laidOut) continue;
                found = dialog;
                return true;
            }
            return false;
        },
        timeout);
    return found;
}

} // namespace kelvane
