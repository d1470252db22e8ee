// The panel needs Qt's application object, but no display.

#include "app/panel/panel_item.h"

#include <gtest/gtest.h>

#include <QGuiApplication>

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    kelvane::useSoftwareRendering();
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
