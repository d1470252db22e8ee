// The window of the history on the screen, drawn as the panel is: see panel_item.h.

#pragma once

#include "app/panel/history_bridge.h"

#include <memory>

class QQuickView;

namespace kelvane {

/// A hidden window whose content follows its size. Its content's signal `dismissed()` tells that
/// Escape was pressed and nothing in it used it. Null, with the reasons on standard error, when it
/// cannot be built. The bridge must outlive it. Its controls are found by objectName: searchField,
/// historyList, details, verdict.ID, reportLink, compareLink, markLink, compareMarkedLink,
/// flawsLink, copyLink, eraseLink, eraseAllLink.
[[nodiscard]] std::unique_ptr<QQuickView> makeHistoryView(HistoryBridge& bridge);

} // namespace kelvane
