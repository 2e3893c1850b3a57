// The controller's tests run inside a QApplication with the English string table, so that the
// panel, the menu and the dialogs exist and show the texts a user sees.
#include <gtest/gtest.h>

#include <QApplication>

#include "ui/Localization.h"

int main(int argc, char** argv) {
    // Offscreen unless a display is asked for (test discovery runs without one).
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Orvella"));
    orvella::ui::installTranslation(QStringLiteral("en"));
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
