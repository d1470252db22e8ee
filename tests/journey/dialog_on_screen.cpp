#include "tests/journey/dialog_on_screen.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QString>

#include <algorithm>
#include <stdexcept>

namespace kelvane {

namespace {

struct Node {
    QString service;
    QString path;
};

QDBusMessage call(const QDBusConnection& bus, const Node& node, const char* interface,
                  const char* method, const QVariantList& arguments = {}) {
    auto message = QDBusMessage::createMethodCall(node.service, node.path, QLatin1String(interface),
                                                  QLatin1String(method));
    message.setArguments(arguments);
    return bus.call(message, QDBus::Block, 2000);
}

class AccessibilityTree {
public:
    explicit AccessibilityTree(const VirtualDesktop& desktop)
        : m_bus(connectTo(addressOf(desktop), "tree")) {}
    AccessibilityTree(const AccessibilityTree&) = delete;
    AccessibilityTree& operator=(const AccessibilityTree&) = delete;
    ~AccessibilityTree() { QDBusConnection::disconnectFromBus(QStringLiteral("tree")); }

    [[nodiscard]] Node root() const {
        return {QStringLiteral("org.a11y.atspi.Registry"),
                QStringLiteral("/org/a11y/atspi/accessible/root")};
    }

    [[nodiscard]] std::vector<Node> children(const Node& node) const {
        std::vector<Node> found;
        const auto reply = call(m_bus, node, "org.a11y.atspi.Accessible", "GetChildren");
        if (reply.arguments().isEmpty()) return found;
        const auto list = reply.arguments().first().value<QDBusArgument>();
        if (list.currentType() != QDBusArgument::ArrayType) return found;
        list.beginArray();
        while (!list.atEnd()) {
            Node child;
            QDBusObjectPath path;
            list.beginStructure();
            list >> child.service >> path;
            list.endStructure();
            child.path = path.path();
            found.push_back(child);
        }
        list.endArray();
        return found;
    }

    [[nodiscard]] QString role(const Node& node) const {
        const auto reply = call(m_bus, node, "org.a11y.atspi.Accessible", "GetRoleName");
        return reply.arguments().value(0).toString();
    }

    [[nodiscard]] QString name(const Node& node) const {
        const auto reply =
            call(m_bus, node, "org.freedesktop.DBus.Properties", "Get",
                 {QStringLiteral("org.a11y.atspi.Accessible"), QStringLiteral("Name")});
        return reply.arguments().value(0).value<QDBusVariant>().variant().toString();
    }

    [[nodiscard]] DialogOnScreen::Button button(const Node& node) const {
        DialogOnScreen::Button button{.name = name(node).toStdString()};
        constexpr quint32 kOfTheScreen = 0;
        const auto reply = call(m_bus, node, "org.a11y.atspi.Component", "GetExtents",
                                {QVariant::fromValue(kOfTheScreen)});
        if (reply.arguments().isEmpty()) return button;
        const auto extents = reply.arguments().first().value<QDBusArgument>();
        extents.beginStructure();
        extents >> button.x >> button.y >> button.width >> button.height;
        extents.endStructure();
        return button;
    }

    void read(const Node& node, DialogOnScreen& dialog) const {
        for (const Node& child : children(node)) {
            const QString what = role(child);
            if (what == QLatin1String("label")) {
                const auto text = name(child).toStdString();
                if (!text.empty()) dialog.texts.push_back(text);
            }
            if (what == QLatin1String("push button") || what == QLatin1String("button")) {
                dialog.buttons.push_back(button(child));
            }
            read(child, dialog);
        }
    }

private:
    static QDBusConnection connectTo(const QString& address, const char* name) {
        return QDBusConnection::connectToBus(address, QLatin1String(name));
    }

    static QString addressOf(const VirtualDesktop& desktop) {
        const auto& address = desktop.environment().at("DBUS_SESSION_BUS_ADDRESS");
        const auto session = connectTo(QString::fromStdString(address), "session");
        const auto reply =
            call(session, {QStringLiteral("org.a11y.Bus"), QStringLiteral("/org/a11y/bus")},
                 "org.a11y.Bus", "GetAddress");
        QDBusConnection::disconnectFromBus(QStringLiteral("session"));
        if (reply.type() != QDBusMessage::ReplyMessage) {
            throw std::runtime_error("no accessibility service: " +
                                     reply.errorMessage().toStdString());
        }
        return reply.arguments().value(0).toString();
    }

    QDBusConnection m_bus;
};

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

std::pair<std::string, std::string> DialogOnScreen::accessibilityVariable() {
    return {"QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "1"};
}

std::optional<DialogOnScreen> DialogOnScreen::waitFor(const VirtualDesktop& desktop,
                                                      std::chrono::milliseconds timeout) {
    const AccessibilityTree tree(desktop);
    std::optional<DialogOnScreen> found;
    VirtualDesktop::waitUntil(
        [&] {
            for (const Node& application : tree.children(tree.root())) {
                for (const Node& window : tree.children(application)) {
                    const QString role = tree.role(window);
                    if (!role.startsWith(QLatin1String("alert")) && role != QLatin1String("dialog"))
                        continue;
                    DialogOnScreen dialog;
                    tree.read(window, dialog);
                    const bool laidOut = std::ranges::all_of(
                        dialog.buttons, [](const auto& b) { return b.width > 0; });
                    if (dialog.texts.empty() || dialog.buttons.empty() || !laidOut) continue;
                    found = dialog;
                    return true;
                }
            }
            return false;
        },
        timeout);
    return found;
}

} // namespace kelvane
