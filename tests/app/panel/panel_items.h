// What stands in a panel: its texts and its controls, with their places.

#pragma once

#include <QQuickItem>
#include <QString>

#include <vector>

namespace kelvane {

/// Every item below `root` that can be seen, in reading order of the tree.
inline void collectVisible(QQuickItem& root, std::vector<QQuickItem*>& found) {
    for (auto* child : root.childItems()) {
        if (!child->isVisible()) continue;
        found.push_back(child);
        collectVisible(*child, found);
    }
}

inline std::vector<QQuickItem*> visibleItems(QQuickItem& root) {
    std::vector<QQuickItem*> found;
    collectVisible(root, found);
    return found;
}

inline std::vector<QQuickItem*> visibleTexts(QQuickItem& root) {
    std::vector<QQuickItem*> texts;
    for (auto* item : visibleItems(root)) {
        if (item->inherits("QQuickText") && !item->property("text").toString().isEmpty()) {
            texts.push_back(item);
        }
    }
    return texts;
}

/// The controls that Tab stops at, in its order.
inline std::vector<QQuickItem*> controls(QQuickItem& root) {
    std::vector<QQuickItem*> found;
    for (auto* item : visibleItems(root)) {
        if (item->activeFocusOnTab()) found.push_back(item);
    }
    return found;
}

inline QRectF placeIn(const QQuickItem& root, const QQuickItem& item) {
    return item.mapRectToItem(&root, QRectF(0, 0, item.width(), item.height()));
}

} // namespace kelvane
