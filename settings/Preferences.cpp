#include "settings/Preferences.h"

#include "platform/Log.h"
#include "settings/DefaultsKeys.h"
#include "settings/PlistCodec.h"
#include "settings/ProfileStore.h"

namespace orvella::settings {

namespace {

// An interval tag as stored, the tag of an item the pop-ups add for it included; nonsense
// (negative, beyond an hour) reads as off.
int intervalTag(qint64 stored) {
    return stored > 0 && stored <= kMaxIntervalTicks ? static_cast<int>(stored) : 0;
}

}  // namespace

Preferences::Preferences(DefaultsStore& defaults, platform::LoginItem* loginItem)
    : defaults_(defaults), loginItem_(loginItem) {}

QVariantMap Preferences::registeredDefaults() {
    return {
        {keys::kBlackAndWhiteMenuIcon, qint64{0}},
        {keys::kShowHideControlPanel, true},
        {keys::kLaunchAtLogin, false},
        {keys::kDisablePopup, false},
        {keys::kSettings, QVariantMap()},
        {keys::kDisplayValue, QVariantMap()},
        {keys::kUpdateSlider, qint64{0}},
        {keys::kReconfigureWebcam, qint64{0}},
        {keys::kHideMenuBarIcon, qint64{0}},
        {keys::kGuardSettings, false},
        {keys::kGuardSettleTime, qint64{kGuardSettleChoices.front()}},
        {keys::kShowPreview, true},
    };
}

void Preferences::startUp(ProfileStore& profiles) {
    initDefaults();
    profiles.cleanDefaults();
    readDefaults();
    writeDefaults();
}

void Preferences::initDefaults() {
    defaults_.registerDefaults(registeredDefaults());
    defaults_.save();
}

void Preferences::readDefaults() {
    _bwMenuIcon = defaults_.integerForKey(keys::kBlackAndWhiteMenuIcon);
    _panelOn = defaults_.boolForKey(keys::kShowHideControlPanel);
    _launchAtLogin = defaults_.boolForKey(keys::kLaunchAtLogin);
    _updateSlider = intervalTag(defaults_.integerForKey(keys::kUpdateSlider));
    _reconfigureWebcam = intervalTag(defaults_.integerForKey(keys::kReconfigureWebcam));
    _hideMenuBarIcon = defaults_.integerForKey(keys::kHideMenuBarIcon);
    read_ = {{keys::kShowHideControlPanel, _panelOn},
             {keys::kLaunchAtLogin, _launchAtLogin},
             {keys::kHideMenuBarIcon, _hideMenuBarIcon}};
    // The menu-bar icon is always black and white; a stored colour choice ends here.
    _bwMenuIcon = 1;
}

void Preferences::writeValue(const QVariant& value, const QString& key) {
    const QVariant stored = defaults_.persistentDomain().value(key);
    if (stored.isValid() && stored.typeId() != plist::normalized(value).typeId() &&
        read_.value(key) == value) {
        // Unchanged since it was read from a value of another type: that value stays.
        if (!read_.contains(QStringLiteral("reported ") + key))
            NSLog("Preferences: \"%s\" holds a value of type %s; it is kept as it is",
                  qPrintable(key), qPrintable(plist::typeName(stored)));
        read_.insert(QStringLiteral("reported ") + key, true);
        return;
    }
    defaults_.setValue(value, key);
}

bool Preferences::writeDefaults() {
    defaults_.setValue(_bwMenuIcon, keys::kBlackAndWhiteMenuIcon);
    writeValue(_panelOn, keys::kShowHideControlPanel);
    writeValue(_launchAtLogin, keys::kLaunchAtLogin);
    writeValue(_hideMenuBarIcon, keys::kHideMenuBarIcon);
    return defaults_.save();
}

void Preferences::clickLaunchAtLogin(bool on) {
    _launchAtLogin = on;
    setLaunchAtLoginBundle(on);
    writeDefaults();
}

bool Preferences::setLaunchAtLoginBundle(bool on) {
    return loginItem_ ? loginItem_->setEnabled(on) : true;
}

void Preferences::setMenuIcon(bool blackAndWhite) {
    _bwMenuIcon = blackAndWhite ? 1 : 0;
    writeDefaults();
}

void Preferences::clickHideMenuBarIcon(bool hidden) {
    _hideMenuBarIcon = hidden ? 1 : 0;
    writeDefaults();
}

void Preferences::setPanelOn(bool on) {
    _panelOn = on;
    writeDefaults();
}

void Preferences::selectUpdateSlider(int tag) {
    _updateSlider = intervalTag(tag);
    defaults_.setInteger(_updateSlider, keys::kUpdateSlider);
    defaults_.save();
}

void Preferences::selectReconfigureWebcam(int tag) {
    _reconfigureWebcam = intervalTag(tag);
    defaults_.setInteger(_reconfigureWebcam, keys::kReconfigureWebcam);
    defaults_.save();
}

bool Preferences::guardSettings() const {
    return defaults_.boolForKey(keys::kGuardSettings);
}

void Preferences::setGuardSettings(bool on) {
    defaults_.setBool(on, keys::kGuardSettings);
    defaults_.save();
}

bool Preferences::showPreview() const {
    return defaults_.boolForKey(keys::kShowPreview);
}

void Preferences::setShowPreview(bool on) {
    defaults_.setBool(on, keys::kShowPreview);
    defaults_.save();
}

int Preferences::guardSettleTime() const {
    const qint64 stored = defaults_.integerForKey(keys::kGuardSettleTime);
    return stored >= kGuardSettleMinMs && stored <= kGuardSettleMaxMs ? static_cast<int>(stored)
                                                                      : kGuardSettleChoices.front();
}

void Preferences::setGuardSettleTime(int milliseconds) {
    if (milliseconds < kGuardSettleMinMs || milliseconds > kGuardSettleMaxMs)
        milliseconds = kGuardSettleChoices.front();
    defaults_.setInteger(milliseconds, keys::kGuardSettleTime);
    defaults_.save();
}

bool Preferences::disablePopup() const {
    return defaults_.boolForKey(keys::kDisablePopup);
}

void Preferences::setDisablePopup(bool disabled) {
    defaults_.setBool(disabled, keys::kDisablePopup);
    defaults_.save();
}

bool Preferences::displayValue(int32_t settingsID) const {
    const QVariant on =
        defaults_.dictionaryForKey(keys::kDisplayValue).value(QString::number(settingsID));
    return on.typeId() == QMetaType::Bool ? on.toBool()
                                          : on.typeId() == QMetaType::LongLong && on.toLongLong();
}

void Preferences::setDisplayValue(int32_t settingsID, bool on) {
    // The change runs again on the file's content under the lock (DefaultsStore::modify): it
    // reports what stands in the way through its result, and the log line is written here.
    const auto stored = defaults_.modify([settingsID, on](DefaultsDomain& domain) {
        const QVariant stored = domain.objectForKey(keys::kDisplayValue);
        if (stored.isValid() && stored.typeId() != QMetaType::QVariantMap) return stored;
        QVariantMap values = stored.toMap();
        values.insert(QString::number(settingsID), on);
        domain.setObject(values, keys::kDisplayValue);
        return QVariant();
    });
    if (stored && stored->isValid())
        NSLog(
            "Preferences: \"%s\" holds a value of type %s where a dictionary belongs; it "
            "is kept as it is and the choice is not stored",
            keys::kDisplayValue.data(), qPrintable(plist::typeName(*stored)));
}

}  // namespace orvella::settings
