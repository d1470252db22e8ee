#include "platform/qt/qt_dialogs.h"

#include <QAbstractButton>
#include <QGuiApplication>
#include <QIcon>
#include <QMessageBox>
#include <QPushButton>
#include <QSize>
#include <QString>

#include <algorithm>

namespace kelvane {

namespace {

/// About sixty characters: a title in one line, and a paragraph that is read without turning back.
/// What is asked stands out from what is said about it.
constexpr QLatin1String
    kTexts("QLabel#qt_msgbox_label, QLabel#qt_msgbox_informativelabel { min-width: 380px; }"
           "QLabel#qt_msgbox_label { font-weight: bold; }");
constexpr QSize kIconSize{48, 48}; // Points.

// Qt takes "&" for the mark of a shortcut.
QString label(const std::string& text) {
    return QString::fromStdString(text).replace(QLatin1Char('&'), QLatin1String("&&"));
}

class QtDialogs : public Dialogs {
public:
    std::optional<std::size_t> show(const Alert& alert) override {
        // Without a screen exec() would wait for ever.
        if (QGuiApplication::screens().isEmpty()) return std::nullopt;
        QMessageBox box;
        box.setWindowTitle(QGuiApplication::applicationDisplayName());
        // A question has no other sizes.
        box.setWindowFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                           Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint |
                           Qt::WindowStaysOnTopHint);
        box.setStyleSheet(kTexts);
        const QIcon own = QGuiApplication::windowIcon();
        if (alert.style == Alert::Style::Warning || own.isNull()) {
            box.setIcon(alert.style == Alert::Style::Warning ? QMessageBox::Warning
                                                             : QMessageBox::Information);
        } else {
            box.setIconPixmap(own.pixmap(kIconSize));
        }
        box.setTextFormat(Qt::PlainText); // Nothing in a text is markup.
        box.setText(QString::fromStdString(alert.message));
        box.setInformativeText(QString::fromStdString(alert.informative));

        // Closing the window presses its escape button without a click: only clicks are answers.
        std::optional<std::size_t> pressed;
        const auto count = std::max<std::size_t>(alert.buttons.size(), 1);
        for (std::size_t i = 0; i < count; ++i) {
            QPushButton* const button =
                alert.buttons.empty()
                    ? box.addButton(QMessageBox::Ok)
                    : box.addButton(label(alert.buttons[i]),
                                    i == 0 ? QMessageBox::AcceptRole : QMessageBox::RejectRole);
            QObject::connect(button, &QAbstractButton::clicked, [&pressed, i] { pressed = i; });
            // Return presses the first.
            if (i == 0) box.setDefaultButton(button);
            box.setEscapeButton(button); // The last one stays.
        }
        // A new window is not necessarily in front: its application may not be the active one.
        box.show();
        box.raise();
        box.activateWindow();
        box.exec();
        return pressed;
    }
};

} // namespace

std::unique_ptr<Dialogs> makeQtDialogs() {
    return std::make_unique<QtDialogs>();
}

} // namespace kelvane
