#include "app/PreferencesPart.h"

#include <QWidget>

#include "app/SettingsGuard.h"
#include "app/TrayPart.h"
#include "app/UpdateTimer.h"
#include "settings/DefaultsStore.h"
#include "settings/Preferences.h"
#include "ui/ControlPanel.h"

namespace orvella::app {

namespace {

// A stored interval in ticks; nonsense (negative, huge) reads as off.
int storedInterval(const settings::DefaultsStore& defaults, const char* key) {
    const qint64 ticks = defaults.integerForKey(QLatin1String(key));
    return ticks > 0 && ticks <= settings::kMaxIntervalTicks ? static_cast<int>(ticks) : 0;
}

}  // namespace

PreferencesPart::PreferencesPart(settings::Preferences& preferences,
                                 const settings::DefaultsStore& defaults, ui::ControlPanel& panel,
                                 TrayPart& tray, UpdateTimer& timer, SettingsGuard& guard)
    : preferences_(preferences),
      defaults_(defaults),
      panel_(panel),
      tray_(tray),
      timer_(timer),
      guard_(guard) {}

void PreferencesPart::showStored() {
    panel_.showLaunchAtLogin(preferences_.launchAtLogin());
    panel_.showTrayIconHidden(preferences_.hideMenuBarIcon() != 0);
    panel_.showMenuIcon(preferences_.bwMenuIcon() != 0);
    // The timer counts what is stored, also an interval the pop-ups do not offer (a half-second
    // one written by a script); the pop-up then shows it as an extra item.
    const int updateSlider = storedInterval(defaults_, "UpdateSlider");
    const int reconfigureWebcam = storedInterval(defaults_, "ReconfigureWebcam");
    panel_.showIntervals(updateSlider, reconfigureWebcam);
    timer_.setUpdateSliderTicks(updateSlider);
    timer_.setReconfigureWebcamTicks(reconfigureWebcam);
    guard_.setSettleTime(preferences_.guardSettleTime());
    guard_.setEnabled(preferences_.guardSettings());
    panel_.showGuardSettings(guard_.isEnabled(), guard_.settleTime());
}

void PreferencesPart::clickLaunchAtLogin(bool on) {
    preferences_.clickLaunchAtLogin(on);
}

void PreferencesPart::selectBWMenuIcon(bool on) {
    tray_.setMenuIcon(on);
}

void PreferencesPart::clickHideMenuBarIcon(bool hidden) {
    if (hidden)
        tray_.removeStatusBar();
    else
        tray_.installStatusBar();
    panel_.showTrayIconHidden(hidden);
    preferences_.clickHideMenuBarIcon(hidden);
}

void PreferencesPart::selectUpdateSlider(int tag) {
    preferences_.selectUpdateSlider(tag);
    timer_.setUpdateSliderTicks(tag);
}

void PreferencesPart::selectReconfigureWebcam(int tag) {
    preferences_.selectReconfigureWebcam(tag);
    timer_.setReconfigureWebcamTicks(tag);
}

void PreferencesPart::clickGuardSettings(bool on) {
    preferences_.setGuardSettings(on);
    guard_.setEnabled(on);
    panel_.showGuardSettings(on, guard_.settleTime());
}

void PreferencesPart::selectGuardSettleTime(int milliseconds) {
    preferences_.setGuardSettleTime(milliseconds);
    guard_.setSettleTime(preferences_.guardSettleTime());
}

}  // namespace orvella::app
