// The dispatcher needs the toolkit's application object; nothing here needs its event loop.

#include <gtest/gtest.h>

#include <QCoreApplication>

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
