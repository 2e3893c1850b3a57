// Widget tests run inside a QApplication (offscreen unless QT_QPA_PLATFORM says otherwise).
#include <gtest/gtest.h>

#include <QApplication>

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Orvella"));
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
