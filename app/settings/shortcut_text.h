// A combination of keys as it stands in the settings: "Ctrl+Alt+G". Pure; any thread.

#pragma once

#include "platform/ports/global_shortcut.h"

#include <optional>
#include <string>
#include <string_view>

namespace kelvane {

/// What a text says: names of Ctrl, Alt, Shift and Super in any order and case, then a letter, a
/// digit, F1 to F24, or Space, Return, Tab, Escape, Insert, Delete, Home, End, PageUp, PageDown,
/// Pause, Print. Absent with `why` filled in, a sentence, when it says no combination that can be
/// had: a key that is typed with needs Ctrl, Alt or Super.
[[nodiscard]] std::optional<Shortcut> shortcutOf(std::string_view text, std::string& why);

/// The one way to write it, which shortcutOf() reads again.
[[nodiscard]] std::string shortcutText(const Shortcut& shortcut);

} // namespace kelvane
