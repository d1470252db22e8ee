// What a control of the panel is for assistive technology.
//
// An item of Qt Quick 6.4 never says that it is disabled, and one that is loses the keyboard. A
// control of the panel stays where it is, keeps the keyboard and says that it cannot be used now.
// QML draws it and reacts to it; nothing is decided here. Main thread only.

#pragma once

#include <QAccessible>
#include <QQuickItem>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace kelvane {

class PanelControl : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT
    /// What is written on it; what assistive technology says instead, unless that is empty.
    Q_PROPERTY(QString label MEMBER m_label NOTIFY labelChanged)
    Q_PROPERTY(QString spokenName MEMBER m_spokenName NOTIFY labelChanged)
    Q_PROPERTY(bool usable READ isUsable WRITE setUsable NOTIFY usableChanged)
    Q_PROPERTY(bool pressed MEMBER m_pressed NOTIFY pressedChanged)
    Q_PROPERTY(bool opensMenu MEMBER m_opensMenu NOTIFY labelChanged)
    /// Whether it is a box to tick or, with `oneOfSeveral`, the choice among its neighbours.
    Q_PROPERTY(bool checkable MEMBER m_checkable NOTIFY labelChanged)
    Q_PROPERTY(bool oneOfSeveral MEMBER m_oneOfSeveral NOTIFY labelChanged)
    Q_PROPERTY(bool checked READ isChecked WRITE setChecked NOTIFY checkedChanged)

public:
    explicit PanelControl(QQuickItem* parent = nullptr);

    [[nodiscard]] QString name() const { return m_spokenName.isEmpty() ? m_label : m_spokenName; }
    [[nodiscard]] bool isUsable() const { return m_usable; }
    void setUsable(bool usable);
    [[nodiscard]] bool isPressed() const { return m_pressed; }
    [[nodiscard]] bool opensMenu() const { return m_opensMenu; }
    [[nodiscard]] bool isCheckable() const { return m_checkable; }
    [[nodiscard]] bool isOneOfSeveral() const { return m_oneOfSeveral; }
    [[nodiscard]] bool isChecked() const { return m_checked; }
    void setChecked(bool checked);

signals:
    void labelChanged();
    void usableChanged();
    void pressedChanged();
    void checkedChanged();
    /// Somebody pressed it, by whatever means. Only while it is usable.
    void clicked();

private:
    void tell(QAccessible::State changed);

    QString m_label;
    QString m_spokenName;
    bool m_usable = true;
    bool m_pressed = false;
    bool m_opensMenu = false;
    bool m_checkable = false;
    bool m_oneOfSeveral = false;
    bool m_checked = false;
};

} // namespace kelvane
