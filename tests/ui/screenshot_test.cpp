// Pictures of the tray menu and the popover for the documentation. Taken only when
// ORVELLA_SCREENSHOT_DIR names a folder (run under Xvfb with QT_QPA_PLATFORM=xcb).
#include <gtest/gtest.h>

#include <QDir>
#include <QGuiApplication>
#include <QLinearGradient>
#include <QPainter>
#include <QScreen>
#include <QStandardItemModel>
#include <QTranslator>

#include "support/EventLoop.h"
#include "ui/PopViewController.h"
#include "ui/PopWindow.h"
#include "ui/StatusMenu.h"

namespace orvella::ui {
namespace {

// English texts for the keys these pictures show, standing in for the string table.
class EnglishTexts final : public QTranslator {
  public:
    QString translate(const char* context, const char* key, const char*, int) const override {
        if (qstrcmp(context, "Localizable") != 0) return {};
        static const QHash<QByteArray, QString> texts = {
            {"About", "About %1"},
            {"Quit", "Quit %1"},
            {"Webcam", "Webcam"},
            {"Profile", "Profile"},
            {"CameraDefault", "Camera Default"},
            {"Show_Panel", "Show %1 Panel"},
            {"UseBWMenuIcon", "Black and White Menu Icon"},
            {"PopOverText",
             "%1 lives here, in the system tray. Click its icon to open the "
             "control panel again."},
            {"DisableNotification", "Don't show this again"},
        };
        return texts.value(QByteArray(key));
    }
};

struct Texts {
    EnglishTexts texts;
    Texts() { QCoreApplication::installTranslator(&texts); }
    ~Texts() { QCoreApplication::removeTranslator(&texts); }
};

QString screenshotDir() {
    return qEnvironmentVariable("ORVELLA_SCREENSHOT_DIR");
}

QStandardItem* row(const QString& title, bool checked) {
    auto* item = new QStandardItem(title);
    item->setData(checked ? Qt::Checked : Qt::Unchecked, Qt::CheckStateRole);
    return item;
}

TEST(Screenshot, TrayMenu) {
    if (screenshotDir().isEmpty()) GTEST_SKIP() << "ORVELLA_SCREENSHOT_DIR is not set";
    QStandardItemModel cameras, profiles;
    cameras.appendRow(row("HD Webcam C270", true));
    cameras.appendRow(row("Orvella Virtual Camera", false));
    profiles.appendRow(row("CameraDefault", false));
    profiles.appendRow(new QStandardItem);
    profiles.appendRow(row("Evening", true));
    profiles.appendRow(row("Video calls", false));
    Texts texts;
    StatusMenu menu;
    menu.setCameraModel(&cameras);
    menu.setProfileModel(&profiles);
    menu.popup(QPoint(40, 30));
    testing::spin(500);
    const QRect area = menu.geometry();
    const QPixmap shot = QGuiApplication::primaryScreen()->grabWindow(0, area.x(), area.y(),
                                                                      area.width(), area.height());
    ASSERT_TRUE(shot.save(QDir(screenshotDir()).filePath("tray-menu.png")));
}

TEST(Screenshot, Popover) {
    if (screenshotDir().isEmpty()) GTEST_SKIP() << "ORVELLA_SCREENSHOT_DIR is not set";
    // Without a compositor the window's transparent parts cannot be seen through, so the
    // popover is drawn over a desktop-like backdrop as a compositor would show it.
    Texts texts;
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    const QRect target = PopWindow::targetFor(QRect(), screen, QSize(300, 100));
    PopWindow window(target, new PopViewController);
    window.showAnimated();
    ASSERT_TRUE(testing::waitFor([&] { return window.geometry() == window.getTargetFrame(); }));
    testing::spin(200);

    const QRect frame = window.geometry();
    const QRect area(frame.x() - 60, 0, frame.width() + 60 + (screen.right() - frame.right()),
                     frame.bottom() + 50);
    QImage image(area.size(), QImage::Format_ARGB32);
    QPainter painter(&image);
    QLinearGradient backdrop(0, 0, 0, area.height());
    backdrop.setColorAt(0, QColor(0x5b, 0x7d, 0x9a));
    backdrop.setColorAt(1, QColor(0xa8, 0xc0, 0xd0));
    painter.fillRect(image.rect(), backdrop);
    window.render(&painter, frame.topLeft() - area.topLeft(), QRegion(), QWidget::DrawChildren);
    painter.end();
    ASSERT_TRUE(image.save(QDir(screenshotDir()).filePath("popover.png")));
}

}  // namespace
}  // namespace orvella::ui
