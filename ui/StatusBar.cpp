#include "ui/StatusBar.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QIcon>
#include <QScreen>
#include <QSystemTrayIcon>

#include "platform/Log.h"
#include "ui/PopViewController.h"
#include "ui/PopWindow.h"
#include "ui/StatusMenu.h"
#include "ui/TrayLook.h"

namespace orvella::ui {

namespace {
QIcon image(const char* name) {
    return QIcon(QStringLiteral(":/images/%1.svg").arg(QLatin1String(name)));
}
}  // namespace

StatusBar::StatusBar(StatusMenu* menu, std::function<bool()> trayAvailable, QObject* parent)
    : QObject(parent), menu_(menu), isAvailable_(std::move(trayAvailable)) {
    if (!isAvailable_) isAvailable_ = [] { return QSystemTrayIcon::isSystemTrayAvailable(); };
    lookReader_ = readTrayLook;
    snHostPresent_ = statusNotifierHostPresent;
    trayAvailable_ = isAvailable_();
    trayWatch_.setInterval(kTrayCheckMs);
    connect(&trayWatch_, &QTimer::timeout, this, &StatusBar::checkTray);
    if (menu_) connect(menu_, &StatusMenu::bwMenuIconClicked, this, &StatusBar::setMenuIcon);
}

StatusBar::~StatusBar() = default;

void StatusBar::installStatusBar() {
    if (statusItemView_) return;
    statusItemView_ = std::make_unique<StatusItemView>();
    setMenuIcon(bwMenuIcon_);
    statusItemView_->setMenu(menu_);
    statusItemView_->setToolTip(toolTip());
    statusItemView_->show();
    // The host places the icon after it is shown: look at the tray again once it is there.
    QTimer::singleShot(kLookAgainMs, this, &StatusBar::showMonochromeIcon);
    checkTray();
    if (!trayAvailable_)
        NSLog("No system tray is there to show the icon; the control panel opens as a window");
    // Hosts come and go (a panel restarting, an extension switched on): keep looking.
    trayWatch_.start();
}

void StatusBar::setToolTipDetail(const QString& detail) {
    toolTipDetail_ = detail;
    if (statusItemView_) statusItemView_->setToolTip(toolTip());
}

QString StatusBar::toolTip() const {
    const QString name = QCoreApplication::applicationName();
    return toolTipDetail_.isEmpty() ? name : name + QLatin1Char('\n') + toolTipDetail_;
}

void StatusBar::removeStatusBar() {
    if (!statusItemView_) return;
    trayWatch_.stop();
    statusItemView_->hide();
    statusItemView_.reset();
}

void StatusBar::setMenuIcon(bool blackAndWhite) {
    bwMenuIcon_ = blackAndWhite;
    if (statusItemView_) {
        if (blackAndWhite) {
            showMonochromeIcon();
        } else {
            // The colour icon has no highlighted variant: the same image serves both.
            const QIcon normal = image("ColorMenu");
            statusItemView_->setImage(normal);
            statusItemView_->setAlternateImage(normal);
        }
    }
    if (menu_) menu_->setBWMenuIcon(blackAndWhite);
    emit menuIconChanged(blackAndWhite);
}

void StatusBar::showMonochromeIcon() {
    if (!statusItemView_ || !bwMenuIcon_) return;
    // A StatusNotifier host takes the icon by its theme name and recolours it for its panel.
    if (snHostPresent_()) {
        const QIcon named = QIcon::fromTheme(QLatin1String(kSymbolicIconName));
        if (!named.isNull() && !named.name().isEmpty()) {
            statusItemView_->setImage(named);
            statusItemView_->setAlternateImage(named);
            iconColor_ = QColor();
            return;
        }
    }
    // Hosts that take pixmaps (XEmbed): drawn in the colour that shows on the tray.
    const TrayLook look = lookReader_(statusItemView_->globalRect());
    const QColor color = ui::monochromeIconColor(look);
    if (color != iconColor_) {
        const QString why =
            look.hostForeground ? QStringLiteral("the tray's colour")
            : look.background
                ? QStringLiteral("the tray around it is %1").arg(look.background->name())
                : QStringLiteral("the palette's text colour");
        NSLog("The black-and-white tray icon is drawn in %s (%s)", qPrintable(color.name()),
              qPrintable(why));
    }
    iconColor_ = color;
    statusItemView_->setImage(monochromeImage(QStringLiteral("MonoMenu"), color));
    statusItemView_->setAlternateImage(monochromeImage(QStringLiteral("MonoMenuHighlight"), color));
}

void StatusBar::checkTray() {
    const bool available = isAvailable_();
    if (available == trayAvailable_) return;
    trayAvailable_ = available;
    // A host that comes late gets the icon shown anew, drawn for its tray.
    if (available && statusItemView_) {
        statusItemView_->show();
        QTimer::singleShot(kLookAgainMs, this, &StatusBar::showMonochromeIcon);
    }
    NSLog("%s", available ? "A system tray appeared; the icon is there"
                          : "The system tray went away; the control panel opens as a window");
    emit trayAvailabilityChanged(available);
}

}  // namespace orvella::ui

namespace orvella::ui {

void StatusBar::showPopover() {
    if (!statusItemView_ || !trayAvailable_) return;
    const QRect icon = iconRect_ ? iconRect_() : statusItemView_->globalRect();
    // Made once and kept while the icon stays where it is; an icon the host has placed (or moved)
    // since gets a popover pointing at it.
    if (popWindow_ && popWindow_->getTargetRect() != icon && icon.isValid() && !icon.isEmpty())
        popWindow_.reset();
    if (!popWindow_) {
        auto* content = new PopViewController;
        connect(content, &PopViewController::disablePopupClicked, this,
                &StatusBar::disablePopupClicked);
        const QScreen* screen = QGuiApplication::primaryScreen();
        const QRect target = PopWindow::targetFor(
            icon, screen ? screen->availableGeometry() : QRect(), content->size());
        popWindow_ = std::make_unique<PopWindow>(target, content);
    }
    popWindow_->showAnimated();
}

}  // namespace orvella::ui
