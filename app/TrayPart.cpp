#include "app/TrayPart.h"

#include <QEvent>
#include <QTimer>
#include <QWidget>

#include "platform/Log.h"
#include "settings/Preferences.h"
#include "ui/ControlPanel.h"
#include "ui/Localization.h"
#include "ui/StatusBar.h"
#include "ui/StatusMenu.h"

namespace orvella::app {

TrayPart::TrayPart(ui::ControlPanel& panel, settings::Preferences& preferences, Options options)
    : panel_(panel), preferences_(preferences), options_(std::move(options)) {
    menu_ = std::make_unique<ui::StatusMenu>();
    statusBar_ = std::make_unique<ui::StatusBar>(menu_.get(), options_.trayAvailable);
    panel_.window()->installEventFilter(this);

    connect(menu_.get(), &ui::StatusMenu::showHideClicked, this, [this] {
        // A minimised panel is on but out of sight: the menu offers to show it, and does.
        panelOn_ = !panelOn_ || panelMinimized();
        showHidePanelAndUpdateMenu();
    });
    connect(menu_.get(), &ui::StatusMenu::bwMenuIconClicked, this, &TrayPart::setMenuIcon);
    connect(statusBar_.get(), &ui::StatusBar::disablePopupClicked, this,
            [this](bool disabled) { preferences_.setDisablePopup(disabled); });
    connect(statusBar_.get(), &ui::StatusBar::trayAvailabilityChanged, this,
            [this](bool available) {
                // The icon went away with its host: the panel must be reachable without it.
                if (!available && statusBar_->isInstalled() && !panelOn_) {
                    NSLog("The system tray went away; the control panel opens as a window");
                    panelOn_ = true;
                    showHidePanelAndUpdateMenu();
                }
            });
}

TrayPart::~TrayPart() {
    panel_.window()->removeEventFilter(this);
}

void TrayPart::installStatusBar() {
    statusBar_->installStatusBar();
}

void TrayPart::removeStatusBar() {
    statusBar_->removeStatusBar();
}

void TrayPart::setMenuIcon(bool blackAndWhite) {
    statusBar_->setMenuIcon(blackAndWhite);
    panel_.showMenuIcon(blackAndWhite);
    menu_->setBWMenuIcon(blackAndWhite);
    preferences_.setMenuIcon(blackAndWhite);
}

bool TrayPart::panelMinimized() const {
    return panel_.window()->isMinimized();
}

bool TrayPart::panelShown() const {
    return panel_.window()->isVisible() && !panelMinimized();
}

void TrayPart::updatePanelMenu() {
    menu_->setPanelOn(panelOn_ && !panelMinimized(), ui::applicationName());
    preferences_.setPanelOn(panelOn_);
    if (!preferences_.disablePopup())
        QTimer::singleShot(options_.popoverDelayMs, this, &TrayPart::showPopover);
}

void TrayPart::bringPanelToFront() {
    QWidget* window = panel_.window();
    // Restored from the task bar's minimised state too, not only shown.
    if (window->isMinimized()) window->setWindowState(window->windowState() & ~Qt::WindowMinimized);
    window->show();
    window->raise();
    window->activateWindow();
}

void TrayPart::showHidePanelAndUpdateMenu() {
    // Without anything to show the tray icon, the panel is the only way in: it stays open.
    const bool standAlone = !statusBar_->isInstalled() || statusBar_->panelMustStandAlone();
    if (!panelOn_ && standAlone && statusBar_->isInstalled()) {
        NSLog("No system tray shows the icon; the control panel opens as a window");
        panelOn_ = true;
    }
    if (panelOn_) {
        bringPanelToFront();
    } else {
        emit panelClosing();
        closingForHide_ = true;
        panel_.window()->hide();
        closingForHide_ = false;
    }
    updatePanelMenu();
}

void TrayPart::showPopover() {
    if (panelOn_ || preferences_.disablePopup()) return;
    statusBar_->showPopover();
}

bool TrayPart::eventFilter(QObject* watched, QEvent* event) {
    if (watched == panel_.window() && event->type() == QEvent::Close && !closingForHide_)
        windowWillClose();  // the panel may always be closed; it is hidden, not destroyed
    if (watched == panel_.window() && event->type() == QEvent::WindowStateChange)
        menu_->setPanelOn(panelOn_ && !panelMinimized(), ui::applicationName());
    return QObject::eventFilter(watched, event);
}

void TrayPart::windowWillClose() {
    emit panelClosing();
    panelOn_ = false;
    updatePanelMenu();
}

}  // namespace orvella::app
