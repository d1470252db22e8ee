// The adapters under test live in this very process: it gets a desktop of its own first, and then
// Qt's application object on it.

#include "tests/platform/linux/virtual_desktop.h"

#include <gtest/gtest.h>

#include <QApplication>

#include <cstdlib>

int main(int argc, char** argv) {
    const kelvane::VirtualDesktop desktop;
    for (const auto& [name, value] : desktop.environment()) {
        ::setenv(name.c_str(), value.c_str(), 1);
    }
    const QApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
