#pragma once
// The controller's tray side: the status item with its menu and reminder popover, and whether the
// panel is shown. It keeps the menu's show/hide item, the preference that remembers it and the
// panel's window in step, and keeps the panel open as a window while no tray host shows the icon.

#include <QObject>
#include <functional>
#include <memory>

namespace orvella::settings {
class Preferences;
}
namespace orvella::ui {
class ControlPanel;
class StatusBar;
class StatusMenu;
}  // namespace orvella::ui

namespace orvella::app {

class TrayPart final : public QObject {
    Q_OBJECT

  public:
    struct Options {
        // Whether a tray host shows the status item (default: Qt's own test).
        std::function<bool()> trayAvailable;
        // Delay of the reminder popover after the panel is hidden.
        int popoverDelayMs = 200;
    };

    // Both borrowed; they outlive the part. Builds the menu and the status item (not installed).
    TrayPart(ui::ControlPanel& panel, settings::Preferences& preferences, Options options);
    ~TrayPart() override;

    ui::StatusMenu& menu() { return *menu_; }
    ui::StatusBar& statusBar() { return *statusBar_; }

    // Whether the panel is to be shown; showHidePanelAndUpdateMenu puts it in force.
    bool panelOn() const { return panelOn_; }
    void setPanelOn(bool on) { panelOn_ = on; }
    // Whether the user sees the panel: shown and not minimised.
    bool panelShown() const;

    void installStatusBar();
    void removeStatusBar();
    void setMenuIcon(bool blackAndWhite);
    void updatePanelMenu();
    void showHidePanelAndUpdateMenu();
    void showPopover();
    void bringPanelToFront();

  signals:
    // The panel is about to be hidden or was closed: a dialog open on it is to end first.
    void panelClosing();

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void windowWillClose();
    bool panelMinimized() const;

    ui::ControlPanel& panel_;
    settings::Preferences& preferences_;
    Options options_;
    std::unique_ptr<ui::StatusMenu> menu_;
    std::unique_ptr<ui::StatusBar> statusBar_;
    bool panelOn_ = true;
    bool closingForHide_ = false;
};

}  // namespace orvella::app
