// The panel needs Qt's application object, but no display. A loop in its bindings fails the test
// that meets it.

#include "app/panel/panel_item.h"

#include <gtest/gtest.h>

#include <QGuiApplication>

namespace {

QtMessageHandler sayAsUsual = nullptr;

void refuseLoops(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    if (text.contains(QLatin1String("inding loop"))) {
        ADD_FAILURE() << text.toStdString();
    }
    sayAsUsual(type, context, text);
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    kelvane::useSoftwareRendering();
    testing::InitGoogleTest(&argc, argv);
    sayAsUsual = qInstallMessageHandler(refuseLoops);
    return RUN_ALL_TESTS();
}
