#pragma once
// The application's presence in the system tray: installs and removes the status item, chooses
// its icon (colour, or black and white with a highlighted variant), and watches whether a tray
// host is there at all. Desktops without one (GNOME without its AppIndicator extension,
// elementary) show no icon, and a host may also appear seconds after login; so availability is
// checked again until it turns up, and panelMustStandAlone() tells the controller to open the
// panel as an ordinary window meanwhile.

#include <QObject>
#include <QTimer>
#include <functional>
#include <memory>

#include "ui/StatusItemView.h"
#include "ui/TrayLook.h"

namespace orvella::ui {

class StatusMenu;
class PopWindow;

class StatusBar final : public QObject {
    Q_OBJECT
  public:
    // `menu` is borrowed. `trayAvailable` says whether a tray host is there (default: Qt's
    // QSystemTrayIcon::isSystemTrayAvailable).
    explicit StatusBar(StatusMenu* menu, std::function<bool()> trayAvailable = {},
                       QObject* parent = nullptr);
    ~StatusBar() override;

    // Creates the status item with the current icon and the menu, and shows it.
    void installStatusBar();
    // Removes it; nothing happens without one.
    void removeStatusBar();
    bool isInstalled() const { return statusItemView_ != nullptr; }
    StatusItemView* statusItemView() const { return statusItemView_.get(); }
    // A line under the application's name in the icon's tooltip (empty: the name alone); kept
    // across removing and installing the item.
    void setToolTipDetail(const QString& detail);
    QString toolTip() const;

    // Black and white ("MonoMenu", highlighted "MonoMenuHighlight") or colour ("ColorMenu" for
    // both); sets the menu item's state and reports the choice, for the preferences. The black
    // and white icon goes to a StatusNotifier host by its theme name (orvella-symbolic), which the
    // host recolours; other hosts get it drawn in the colour that shows on their tray (TrayLook).
    void setMenuIcon(bool blackAndWhite);
    // How the tray is read and whether a StatusNotifier host is there (tests replace them).
    void setTrayLookReader(std::function<TrayLook(const QRect&)> reader) {
        lookReader_ = std::move(reader);
    }
    // Where the host shows the icon (default: QSystemTrayIcon::geometry()).
    void setIconRectReader(std::function<QRect()> reader) { iconRect_ = std::move(reader); }
    void setStatusNotifierHostCheck(std::function<bool()> check) {
        snHostPresent_ = std::move(check);
    }
    // The colour the black-and-white icon was last drawn in (invalid: by theme name, or colour).
    QColor monochromeIconColor() const { return iconColor_; }
    bool bwMenuIcon() const { return bwMenuIcon_; }

    // Whether nothing shows the status item, so the panel must stand alone: the item is wanted
    // (installed) but no tray host is there.
    bool panelMustStandAlone() const { return isInstalled() && !trayAvailable_; }
    // Asks again whether a tray host is there (the watch does it every kTrayCheckMs).
    void checkTray();

    // The reminder under the icon (made once and kept): shown only while the icon is installed
    // and a tray host shows it -- with no icon there is nothing to point at. It points at the
    // icon when the tray says where that is, else at the screen's top right; made anew when the
    // icon has been placed or moved since.
    void showPopover();
    PopWindow* popWindow() const { return popWindow_.get(); }

    static constexpr int kTrayCheckMs = 2000;
    static constexpr int kLookAgainMs = 1000;

  signals:
    void menuIconChanged(bool blackAndWhite);
    // A tray host appeared or went away.
    void trayAvailabilityChanged(bool available);
    // The reminder's check box: do not show it again (the "Disable Popup" preference).
    void disablePopupClicked(bool disabled);

  private:
    void showMonochromeIcon();

    StatusMenu* menu_;
    std::function<TrayLook(const QRect&)> lookReader_;
    std::function<bool()> snHostPresent_;
    std::function<QRect()> iconRect_;
    QColor iconColor_;
    std::function<bool()> isAvailable_;
    bool trayAvailable_ = false;
    bool bwMenuIcon_ = false;
    std::unique_ptr<StatusItemView> statusItemView_;
    QString toolTipDetail_;
    std::unique_ptr<PopWindow> popWindow_;
    QTimer trayWatch_;
};

}  // namespace orvella::ui
