#include "ui/screenshots/TrayScreenshots.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QGuiApplication>
#include <QLinearGradient>
#include <QPainter>
#include <QScreen>
#include <QStandardItemModel>
#include <QThread>
#include <QTranslator>
#include <cstdio>
#include <functional>

#include "ui/PopViewController.h"
#include "ui/PopWindow.h"
#include "ui/StatusMenu.h"

namespace orvella::ui::shots {

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

// Runs the event loop until `done` holds or `timeoutMs` passed.
bool waitFor(const std::function<bool()>& done, int timeoutMs) {
    QDeadlineTimer deadline(timeoutMs);
    while (!done()) {
        if (deadline.hasExpired()) return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(2);
    }
    return true;
}

QStandardItem* row(const QString& title, bool checked) {
    auto* item = new QStandardItem(title);
    item->setData(checked ? Qt::Checked : Qt::Unchecked, Qt::CheckStateRole);
    return item;
}

bool saved(bool ok, const QString& path) {
    if (!ok) std::fprintf(stderr, "orvella-ui-shots: cannot write %s\n", qPrintable(path));
    return ok;
}

bool renderMenu(const QString& dir) {
    QStandardItemModel cameras, profiles;
    cameras.appendRow(row("HD Webcam C270", true));
    cameras.appendRow(row("Orvella Virtual Camera", false));
    profiles.appendRow(row("CameraDefault", false));
    profiles.appendRow(new QStandardItem);
    profiles.appendRow(row("Evening", true));
    profiles.appendRow(row("Video calls", false));
    StatusMenu menu;
    menu.setCameraModel(&cameras);
    menu.setProfileModel(&profiles);
    menu.popup(QPoint(40, 30));
    waitFor([] { return false; }, 500);
    const QRect area = menu.geometry();
    const QPixmap shot = QGuiApplication::primaryScreen()->grabWindow(0, area.x(), area.y(),
                                                                      area.width(), area.height());
    const QString path = QDir(dir).filePath("tray-menu.png");
    return saved(shot.save(path), path);
}

bool renderPopover(const QString& dir) {
    // Without a compositor the window's transparent parts cannot be seen through, so the
    // popover is drawn over a desktop-like backdrop as a compositor would show it.
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    const QRect target = PopWindow::targetFor(QRect(), screen, QSize(300, 100));
    PopWindow window(target, new PopViewController);
    window.showAnimated();
    if (!waitFor([&] { return window.geometry() == window.getTargetFrame(); }, 5000)) {
        std::fprintf(stderr, "orvella-ui-shots: the popover did not open\n");
        return false;
    }
    waitFor([] { return false; }, 200);

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
    const QString path = QDir(dir).filePath("popover.png");
    return saved(image.save(path), path);
}

}  // namespace

bool renderTray(const QString& dir) {
    EnglishTexts texts;
    QCoreApplication::installTranslator(&texts);
    QDir().mkpath(dir);
    const bool ok = renderMenu(dir) && renderPopover(dir);
    QCoreApplication::removeTranslator(&texts);
    return ok;
}

}  // namespace orvella::ui::shots
