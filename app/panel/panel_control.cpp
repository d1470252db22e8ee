#include "app/panel/panel_control.h"

#include <QAccessible>
#include <QAccessibleObject>
#include <QQuickWindow>

namespace kelvane {

namespace {

class SpokenControl : public QAccessibleObject, public QAccessibleActionInterface {
public:
    explicit SpokenControl(PanelControl* control) : QAccessibleObject(control) {}

    QWindow* window() const override { return control()->window(); }

    QAccessibleInterface* parent() const override {
        // Most items only lay others out: Qt makes no interface for those.
        for (auto* item = control()->parentItem(); item != nullptr; item = item->parentItem()) {
            if (auto* const found = QAccessible::queryAccessibleInterface(item)) return found;
        }
        return QAccessible::queryAccessibleInterface(window());
    }
    QAccessibleInterface* child(int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }

    QString text(QAccessible::Text which) const override {
        return which == QAccessible::Name ? control()->name() : QString();
    }
    QAccessible::Role role() const override {
        if (control()->isCheckable()) {
            return control()->isOneOfSeveral() ? QAccessible::RadioButton : QAccessible::CheckBox;
        }
        return control()->opensMenu() ? QAccessible::ButtonMenu : QAccessible::Button;
    }
    QRect rect() const override {
        const auto* const item = control();
        return {item->mapToGlobal(QPointF(0, 0)).toPoint(), item->size().toSize()};
    }
    QAccessible::State state() const override {
        const auto* const item = control();
        QAccessible::State state;
        state.focusable = true;
        state.focused = item->hasActiveFocus();
        state.disabled = !item->isUsable();
        state.pressed = item->isPressed();
        state.checkable = item->isCheckable();
        state.checked = item->isCheckable() && item->isChecked();
        state.hasPopup = item->opensMenu();
        state.invisible = !item->isVisible() || !window() || !window()->isVisible();
        return state;
    }

    void* interface_cast(QAccessible::InterfaceType type) override {
        if (type != QAccessible::ActionInterface) return nullptr;
        return static_cast<QAccessibleActionInterface*>(this);
    }
    QStringList actionNames() const override {
        // What cannot be used can still be read, and so be gone to.
        if (!control()->isUsable()) return {setFocusAction()};
        return {pressAction(), setFocusAction()};
    }
    void doAction(const QString& name) override {
        if (name == setFocusAction()) control()->forceActiveFocus();
        if (name == pressAction() && control()->isUsable()) emit control()->clicked();
    }
    QStringList keyBindingsForAction(const QString&) const override { return {}; }

private:
    [[nodiscard]] PanelControl* control() const { return static_cast<PanelControl*>(object()); }
};

QAccessibleInterface* spokenControl(const QString&, QObject* object) {
    auto* const control = qobject_cast<PanelControl*>(object);
    return control == nullptr ? nullptr : new SpokenControl(control);
}

} // namespace

PanelControl::PanelControl(QQuickItem* parent) : QQuickItem(parent) {
    // Once for the program; the factory knows its own controls among all objects.
    [[maybe_unused]] static const bool once = [] {
        QAccessible::installFactory(spokenControl);
        return true;
    }();
}

void PanelControl::setUsable(bool usable) {
    if (m_usable == usable) return;
    m_usable = usable;
    emit usableChanged();
    QAccessible::State changed;
    changed.disabled = true;
    tell(changed);
}

void PanelControl::setChecked(bool checked) {
    if (m_checked == checked) return;
    m_checked = checked;
    emit checkedChanged();
    QAccessible::State changed;
    changed.checked = true;
    tell(changed);
}

void PanelControl::tell(QAccessible::State changed) {
    // Nobody listens, so nothing is told.
    if (!QAccessible::isActive()) return;
    QAccessibleStateChangeEvent event(this, changed);
    QAccessible::updateAccessibility(&event);
}

} // namespace kelvane
