// The widget tests' program: a QApplication (offscreen unless a display is asked for) around
// GoogleTest.
#include <gtest/gtest.h>

#include <QApplication>

#include "ui/Localization.h"

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Orvella"));
    orvella::ui::installTranslation(QStringLiteral("en"));
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
