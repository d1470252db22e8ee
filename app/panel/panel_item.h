// The panel on the screen.
//
// As one item, as wide as it is told and as high as its content needs, or as a window that holds
// just that item. Drawn without a GPU: `useSoftwareRendering` must have been called before the
// first window of the process is made. Main thread only; the bridge must outlive what is made here.

#pragma once

#include "app/panel/panel_bridge.h"
#include "app/panel/settings_bridge.h"

#include <QSize>

#include <memory>

class QQmlEngine;
class QQuickItem;
class QQuickView;

namespace kelvane {

inline constexpr int kPanelWidth = 360;
/// Of the corners that the panel of a view has, in points.
inline constexpr int kPanelCornerRadius = 10;

/// Makes this process draw its windows with the CPU alone: a panel needs no more, and a GPU context
/// would cost many times the panel's memory.
void useSoftwareRendering();

/// A panel in `engine`, inside `parent` if there is one. Whoever holds it destroys it. Its width is
/// `kPanelWidth` until it is set; its implicitHeight follows its content and changes with it. Null,
/// with the reasons on standard error, when the panel cannot be built, which only a broken build
/// makes happen. Give it the keyboard with `forceActiveFocus()`; then Tab goes to its first
/// control. Its signal `dismissed()` tells that Escape was pressed and nothing in the panel used
/// it. Its controls are found by objectName: reportLink, gradeButton, iterateButton, getKeyLink,
/// wireLink, settingsButton, and in the open menu menu.getKey, menu.uninstall, menu.quit, and
/// in a preview previewAlways, previewSend, previewCancel.
[[nodiscard]] std::unique_ptr<QQuickItem> makePanelItem(QQmlEngine& engine, PanelBridge& bridge,
                                                        QQuickItem* parent = nullptr);

/// A hidden window without frame or flags of its own that holds a panel and is always as large as
/// it. The panel has a hairline along its edge, round at the corners; the window's colour is
/// transparent, and what lies outside the corners is for its owner to cut off or to have left out,
/// see roundPanelGround(). Null as above.
[[nodiscard]] std::unique_ptr<QQuickView> makePanelView(PanelBridge& bridge);

/// A hidden window with everything that can be set, to be shown by whoever holds it; `panel` tells
/// its colours and the size of its text. Its item's signal `dismissed()` is as the panel's. Null as
/// above.
[[nodiscard]] std::unique_ptr<QQuickView> makeSettingsView(SettingsBridge& settings,
                                                           PanelBridge& panel);

/// From now on a window is at least as wide as `usual` is for texts that have grown so much.
void growTo(QQuickView& window, QSize usual, double grown);

/// Whether the panel draws its corners itself and leaves what is outside them transparent. At first
/// it does not.
void roundPanelGround(QQuickItem& panel, bool rounded);

/// From now on the panel wants to be no higher than `points`: what does not fit between its head
/// and its foot is scrolled. 0 for as high as its content.
void limitPanelHeight(QQuickItem& panel, int points);

/// Lays the panel out at once, so that its implicitHeight (and the height of a view that holds it)
/// is right before it is shown. A hidden window lays out nothing by itself.
void layOutPanel(QQuickItem& panel);

/// Ends what must not outlast the moment in which the panel is hidden: an open menu, a tool tip, a
/// focus ring and the keyboard under it, the place in a long verdict. `panel` is what either
/// function above made, or its rootObject.
void resetPanel(QQuickItem& panel);

} // namespace kelvane
