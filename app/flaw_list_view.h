// The panel's second level as a plain record: every flaw of a verdict, opened from the first three.
//
// As `companion_view.h`: texts from outside are made harmless here, and the panel decides nothing.

#pragma once

#include "app/companion_view.h"

#include <cstddef>
#include <string>
#include <vector>

namespace kelvane {

/// More than a person goes through in a panel; the report has all of them.
inline constexpr std::size_t kMostFlawsListed = 100;

struct FlawListItem {
    FlawRow row;
    std::string place;       ///< "line 12"; may be empty.
    std::string evidence;    ///< What stands there; empty when the row says it already.
    std::string spoken;      ///< All of it, for who hears it.
    bool mayDismiss = false; ///< The service takes the user's last word.
    bool mayAddWord = false; ///< It is about the spelling of one word.
    bool mayGoTo = false;    ///< The editor has a way to its line.

    bool operator==(const FlawListItem&) const = default;
};

struct FlawListView {
    std::string title; ///< "12 flaws"
    std::vector<FlawListItem> items;
    std::string more;     ///< What is not listed; may be empty.
    std::string note;     ///< What became of what was pressed last; may be empty.
    bool mayUndo = false; ///< The last word can be taken back.

    bool operator==(const FlawListView&) const = default;
};

/// Of the verdict that the panel shows; empty while it shows none.
[[nodiscard]] FlawListView flawListView(const CompanionModel& model);

/// Whether the flaw says that one word is misspelt, and which: then a dictionary can have it.
[[nodiscard]] std::string misspeltWord(const Flaw& flaw);

/// A flaw as a line of text, and all of a verdict, for the clipboard.
[[nodiscard]] std::string flawText(const Flaw& flaw);
[[nodiscard]] std::string flawsText(const std::vector<Flaw>& flaws);

} // namespace kelvane
