#pragma once
// The settings record: one snapshot of a camera's image controls as a flat dictionary, the shape
// of every profile and of a model's last-state record. Value entries are qint64 in the camera's
// own units, disabled entries ("BrightnessDisabled") bool, as PlistCodec.h describes; the profile
// store adds its own "SettingsName" and "AppDefault".
//
// Which keys each setting identifier writes, from which fields of the camera's SupportedControl,
// and how they are applied back is one table (SettingsRecord.cpp) read by one walker.

#include <QVariantMap>
#include <cstdint>
#include <optional>

#include "camera/QTCamera.h"
#include "platform/Clock.h"
#include "settings/SettingsID.h"

namespace orvella::settings {

using SettingsRecord = QVariantMap;

// Writes the entries of one identifier (1 to 22; anything else writes nothing) from the camera's
// record. A control whose disabled flag is set gets its disabled key set to true, a log line, and
// keeps whatever value entry the record held. The aperture needs a relative iris query, which goes
// to `currentCamera`, the application's current camera, or nowhere when there is none.
void settingsDict(SettingsRecord& record, int32_t settingsID, QTCamera& camera,
                  QTCamera* currentCamera);

// Fills a whole record: identifiers 1 to 18, then 20, 21 and 22 (19 writes what 18 writes).
void allSettingsDict(SettingsRecord& record, QTCamera& camera, QTCamera* currentCamera);

// The entry of one extra control (camera/ControlCatalogExtra.h) by its command-line name, under
// its own key ("x." and the name); nothing for a control the camera lacks or a record does not
// keep. allSettingsDict writes every kept extra control after the system's own entries, and
// loadSettings applies them after the system's own.
void extraSettingsDict(SettingsRecord& record, const QString& key, QTCamera& camera);

// On the camera's own thread: the camera's state as a record -- the entries of `settingsID`, or
// all of them for 0 -- or none (logged) when the camera is gone or does not answer, since a
// record of a half-read camera would replace the user's settings. Whether it answers is what its
// session's latest requests said, else one read (CameraSession::isThereAndAnswering). `isCurrent`:
// the camera is the application's current one (the aperture position is read only then).
std::optional<SettingsRecord> readRecord(QTCamera& camera, int32_t settingsID, bool isCurrent);

// Applies a record to a camera in the fixed order of application: automatic modes before the
// manual values they govern. Single failures are not reported. The pause before a stored focus
// goes through `clock` (null: the camera's own clock).
void loadSettings(const SettingsRecord& record, QTCamera& camera, platform::Clock* clock = nullptr);

// A value that loadSettings sends and that the camera did not take.
struct SettingMismatch {
    QString key;  // the control's settings key (ControlDescription::key)
    qint64 wanted = 0;
    qint64 got = 0;
};

// The values `applied` makes loadSettings send, compared with a record of the camera's state read
// afterwards (`now`, from allSettingsDict after the status walk): those `now` holds otherwise.
// Values of controls an automatic mode owns in `now`, and controls `now` does not have, are
// left out; so is the iris, which moves by steps.
QList<SettingMismatch> settingsThatDidNotStick(const SettingsRecord& applied,
                                               const SettingsRecord& now);

// The value keys a setting identifier writes (pan/tilt: both halves), for views
// and tools that show a record; empty outside 1 to 22.
QStringList valueKeys(int32_t settingsID);

}  // namespace orvella::settings
