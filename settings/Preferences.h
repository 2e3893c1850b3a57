#pragma once
// The application's own preferences in the user defaults: their registered defaults, the
// start-up sequence (register, tidy the profile store, read, write back), the values the
// controller mirrors (menu icon, panel, launch at login, hidden icon, the two intervals) and the
// changes the Preferences tab makes. Data only: the controller shows the values and calls the
// operations from its actions.

#include <QString>
#include <QVariantMap>
#include <array>
#include <cstdint>

#include "platform/LoginItem.h"
#include "settings/DefaultsStore.h"

namespace orvella::settings {

class ProfileStore;

// The longest interval kept, in ticks (an hour). A stored interval the pop-ups do not offer (a
// script or an older version may store one) is kept and shown as an item of its own; anything
// not between 1 and this reads as off.
inline constexpr int kMaxIntervalTicks = 3600 * 2;

// The settle times the guard's pop-up offers, in milliseconds; the first is the default. A stored
// time between the limits that the pop-up does not offer is kept (a script or a test may store
// one); anything else reads as the default.
inline constexpr std::array<int, 3> kGuardSettleChoices{1000, 2000, 5000};
inline constexpr int kGuardSettleMinMs = 50;
inline constexpr int kGuardSettleMaxMs = 60000;

class Preferences {
  public:
    // `loginItem` (borrowed, may be null) registers the application to start at login.
    explicit Preferences(DefaultsStore& defaults, platform::LoginItem* loginItem = nullptr);

    // The registered defaults.
    static QVariantMap registeredDefaults();

    // Start-up: initDefaults, the profile store's cleanDefaults, readDefaults, writeDefaults.
    void startUp(ProfileStore& profiles);

    // Registers the defaults and saves (DefaultsStore::save).
    void initDefaults();
    // Copies the stored preferences into the mirrored values. The menu icon is always black and
    // white: whatever was stored, bwMenuIcon reads 1 afterwards.
    void readDefaults();
    // Stores the menu icon, panel, launch-at-login and hidden-icon values, then saves.
    // The intervals are stored by their own selections.
    bool writeDefaults();

    // ---- The mirrored values ----
    qint64 bwMenuIcon() const { return _bwMenuIcon; }
    bool panelOn() const { return _panelOn; }
    bool launchAtLogin() const { return _launchAtLogin; }
    qint64 hideMenuBarIcon() const { return _hideMenuBarIcon; }
    // The interval pop-ups' tags as read by readDefaults or chosen since.
    int updateSlider() const { return _updateSlider; }
    int reconfigureWebcam() const { return _reconfigureWebcam; }

    // ---- Changes from the Preferences tab and the menu ----
    // The launch-at-login check box: registers or removes the login item and stores the choice.
    void clickLaunchAtLogin(bool on);
    // Registers or removes the login item only.
    bool setLaunchAtLoginBundle(bool on);
    // Reset to camera defaults switches launch at login off as well.
    void switchOffLaunchAtLogin() { clickLaunchAtLogin(false); }
    // The black-and-white icon choice (setMenuIcon): stored until the next start.
    void setMenuIcon(bool blackAndWhite);
    // The hidden-icon check box.
    void clickHideMenuBarIcon(bool hidden);
    // The panel shown or hidden (updatePanelMenu).
    void setPanelOn(bool on);
    // The interval pop-ups: the chosen tag, stored at once.
    void selectUpdateSlider(int tag);
    void selectReconfigureWebcam(int tag);

    // The settings guard ("GuardSettings", off by default) and its settle time
    // ("GuardSettleTime", milliseconds), each stored at once when changed.
    bool guardSettings() const;
    void setGuardSettings(bool on);
    int guardSettleTime() const;
    void setGuardSettleTime(int milliseconds);
    // "Show preview" (on by default): the panel shows the current camera's live picture.
    bool showPreview() const;
    void setShowPreview(bool on);

    // "Disable Popup": the first-run popover is not shown again.
    bool disablePopup() const;
    void setDisablePopup(bool disabled);

    // "Display Value": whether a control row shows its number (false when absent).
    bool displayValue(int32_t settingsID) const;
    void setDisplayValue(int32_t settingsID, bool on);

  private:
    DefaultsStore& defaults_;
    platform::LoginItem* loginItem_;
    qint64 _bwMenuIcon = 0;
    bool _panelOn = true;
    bool _launchAtLogin = false;
    qint64 _hideMenuBarIcon = 0;
    int _updateSlider = 0;
    int _reconfigureWebcam = 0;
    // The mirrored values as readDefaults found them, so that a key nobody changed is not written
    // over a stored value of another type (a "yes" where a boolean belongs).
    QVariantMap read_;
    void writeValue(const QVariant& value, const QString& key);
};

}  // namespace orvella::settings
