// Entry point of the window tests: one QApplication, offscreen unless told otherwise.
#include <gtest/gtest.h>

#include <QApplication>
#include <QByteArray>

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", QByteArray("offscreen"));
    QApplication application(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
