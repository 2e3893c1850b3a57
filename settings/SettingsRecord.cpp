#include "settings/SettingsRecord.h"

#include <QStringList>
#include <algorithm>
#include <optional>

#include "camera/CameraSession.h"
#include "camera/ControlCatalog.h"
#include "platform/Log.h"

namespace orvella::settings {

namespace {

using Row = ControlDescription;

constexpr const char* kLedTypeKey = "LEDType";
const QString kExtraPrefix = QLatin1String(extras::kRecordPrefix);

// The pause before a stored focus is sent.
constexpr uint32_t kFocusWaitMicroseconds = 200000;

// The relative iris moves one step per request; a stored position is approached by at most this
// many steps (a one-byte position's whole range), so a damaged record cannot hold the camera.
constexpr long kMaxApertureSteps = 255;

QString keyOf(std::string_view key) {
    return QString::fromLatin1(key.data(), static_cast<qsizetype>(key.size()));
}

QString disabledKeyOf(const Row& row) {
    return keyOf(row.nameInRecord()) + QLatin1String("Disabled");
}

void logDisabled(const Row& row) {
    const std::string_view name = row.nameInRecord();
    NSLog("    b%.*sDisabled", static_cast<int>(name.size()), name.data());
}

// Whether the record keeps the control; pan and tilt share the pan row.
bool isKept(const Row& row) {
    return row.shape != RecordShape::None;
}

// The second half of a pair kept in one entry.
const Row* secondHalf(const Row& row) {
    return row.shape == RecordShape::PanTilt ? catalog::byID(row.pairedWith) : nullptr;
}

const Row* entryFor(int32_t settingsID) {
    const Row* row = catalog::byID(settingsID);
    if (row && !isKept(*row) && row->pairedWith) row = catalog::byID(row->pairedWith);
    return row && isKept(*row) ? row : nullptr;
}

// A number stored under the key; a missing key, or one that holds no number, is none.
std::optional<long> numberOf(const SettingsRecord& record, const QString& key) {
    const QVariant value = record.value(key);
    switch (value.typeId()) {
        case QMetaType::Bool:
            return value.toBool() ? 1 : 0;
        case QMetaType::LongLong:
            return static_cast<long>(value.toLongLong());
        case QMetaType::Double: {
            const double real = value.toDouble();
            if (!(real > -9.2e18 && real < 9.2e18)) return std::nullopt;
            return static_cast<long>(real);
        }
        default:
            return std::nullopt;
    }
}

std::optional<long> numberOf(const SettingsRecord& record, std::string_view key) {
    return numberOf(record, keyOf(key));
}

bool isSupported(const Row& row, const SupportedControl& record) {
    return row.present ? record.*row.present != 0 : record.cameraLED != 0;
}

// The master of a control whose automatic mode is kept in the same record.
const Row* masterOf(const Row& row) {
    return row.master ? catalog::byID(row.master) : nullptr;
}

// Whether the exposure mode the camera holds leaves the iris to the user.
bool irisIsFree(const Row& row, const SupportedControl& controls) {
    const Row* master = masterOf(row);
    return master && controls.*master->present && row.isFreedBy(controls.*master->cur);
}

void fill(const Row& row, SettingsRecord& record, QTCamera& camera, QTCamera* currentCamera) {
    const SupportedControl& controls = *camera.supportedControl();
    if (!isSupported(row, controls)) return;
    switch (row.shape) {
        case RecordShape::None:
            return;
        case RecordShape::Plain:
            record.insert(keyOf(row.key), static_cast<qint64>(controls.*row.cur));
            return;
        case RecordShape::Guarded:
        case RecordShape::PanTilt: {
            const bool disabled = controls.*row.disabled != 0;
            record.insert(disabledKeyOf(row), disabled);
            if (disabled) {
                logDisabled(row);
                return;
            }
            record.insert(keyOf(row.key), static_cast<qint64>(controls.*row.cur));
            if (const Row* second = secondHalf(row))
                record.insert(keyOf(second->key), static_cast<qint64>(controls.*second->cur));
            return;
        }
        case RecordShape::StepPosition: {
            // The conditions are this camera's; the position is the current camera's.
            if (!irisIsFree(row, controls)) return;
            long position = 0;
            if (!currentCamera || currentCamera->queryControl(row, &position) != kIOReturnSuccess)
                return;
            record.insert(keyOf(row.key), static_cast<qint64>(position));
            return;
        }
        case RecordShape::Led:
            record.insert(keyOf(kLedTypeKey), static_cast<qint64>(controls.cameraLED));
            record.insert(keyOf(row.key), static_cast<qint64>(controls.ledIndex));
            return;
    }
}

// The value of a guarded control, when the record says it may be applied: its disabled key is
// present and false and its value is present. A true disabled key is logged.
std::optional<long> guardedValue(const Row& row, const SettingsRecord& record,
                                 std::string_view key) {
    const auto disabled = numberOf(record, disabledKeyOf(row));
    if (!disabled) return std::nullopt;
    if (*disabled != 0) {
        logDisabled(row);
        return std::nullopt;
    }
    return numberOf(record, key);
}

void stepAperture(const Row& row, const SettingsRecord& record, QTCamera& camera) {
    if (!irisIsFree(row, *camera.supportedControl())) return;
    long position = 0;
    if (camera.queryControl(row, &position) == kIOReturnSuccess) {
        if (const auto stored = numberOf(record, row.key)) {
            const long target =
                std::clamp(*stored, position - kMaxApertureSteps, position + kMaxApertureSteps);
            for (long at = position; target > at; ++at)
                camera.setControl(row, 1);
            for (long at = position; target < at; --at)
                camera.setControl(row, -1);
        }
    }
    camera.queryControl(row, &position);  // leaves the camera's view of the iris current
}

// Whether a record turns on the automatic mode that owns this control.
bool recordHasMasterOn(const Row& row, const SettingsRecord& record) {
    const Row* master = masterOf(row);
    return master && numberOf(record, master->key).value_or(0) != 0;
}

void apply(const Row& row, const SettingsRecord& record, QTCamera& camera, platform::Clock& clock) {
    SupportedControl& controls = *camera.supportedControl();
    if (row.apply == ApplyKind::Never || !isSupported(row, controls)) return;
    switch (row.apply) {
        case ApplyKind::Never:
            return;
        case ApplyKind::Set:
        case ApplyKind::SetUnlessAuto:
        case ApplyKind::SetAfterWait: {
            const auto value = row.shape == RecordShape::Guarded
                                   ? guardedValue(row, record, row.key)
                                   : numberOf(record, row.key);
            if (!value) return;
            if (row.apply == ApplyKind::SetUnlessAuto && controls.*masterOf(row)->present &&
                recordHasMasterOn(row, record))
                return;
            if (row.apply == ApplyKind::SetAfterWait) clock.usleep(kFocusWaitMicroseconds);
            camera.setControl(row, *value);
            return;
        }
        case ApplyKind::SetThenQuery: {
            const auto value = numberOf(record, row.key);
            if (!value) return;
            camera.setControl(row, *value);
            const Row& governed = *catalog::byID(row.readsBack);
            long now = 0;
            if (camera.queryControl(governed, &now) == kIOReturnSuccess)
                controls.*governed.cur = now;
            return;
        }
        case ApplyKind::PanTilt: {
            const auto disabled = numberOf(record, disabledKeyOf(row));
            if (!disabled) return;
            if (*disabled != 0) {
                logDisabled(row);
                return;
            }
            if (const auto pan = numberOf(record, row.key)) camera.setControl(row, *pan);
            const Row& tilt = *secondHalf(row);
            if (const auto value = numberOf(record, tilt.key)) camera.setControl(tilt, *value);
            return;
        }
        case ApplyKind::StepTowards:
            stepAperture(row, record, camera);
            return;
        case ApplyKind::Led:
            if (const auto index = numberOf(record, row.key)) camera.setControl(row, *index);
            return;
    }
}

// ---- The extra controls (camera/ControlCatalogExtra.h), under keys of their own ----

// An extra control whose automatic mode is on in the record is not sent (its master is applied
// first, so the camera would refuse or ignore the value).
bool extraGovernedIn(const ExtraControl& control, const SettingsRecord& record) {
    if (control.master.isEmpty()) return false;
    return numberOf(record, kExtraPrefix + control.master).value_or(0) != 0;
}

void fillExtras(SettingsRecord& record, QTCamera& camera) {
    for (const ExtraControl& control : camera.extraControls())
        if (control.isStored()) record.insert(control.recordKey(), qint64{control.cur});
}

// After the system's own controls, so a record of the system's keys applies exactly as before:
// automatic modes (the boolean controls) first, then the values they may govern.
void applyExtras(const SettingsRecord& record, QTCamera& camera) {
    for (const bool automatic : {true, false}) {
        for (ExtraControl& control : camera.extraControls()) {
            if ((control.kind == ExtraKind::Boolean) != automatic || !control.isStored()) continue;
            const std::optional<long> value = numberOf(record, control.recordKey());
            if (!value || extraGovernedIn(control, record)) continue;
            if (!control.allows(*value)) {
                NSLog("    %s: stored value %ld is not one the control takes; not sent",
                      qPrintable(control.recordKey()), *value);
                continue;
            }
            extras::set(camera, control, *value);
        }
    }
}

}  // namespace

void settingsDict(SettingsRecord& record, int32_t settingsID, QTCamera& camera,
                  QTCamera* currentCamera) {
    if (const Row* row = entryFor(settingsID)) fill(*row, record, camera, currentCamera);
}

void allSettingsDict(SettingsRecord& record, QTCamera& camera, QTCamera* currentCamera) {
    for (const Row& row : catalog::all())
        fill(row, record, camera, currentCamera);
    fillExtras(record, camera);
}

void extraSettingsDict(SettingsRecord& record, const QString& key, QTCamera& camera) {
    const ExtraControl* control = camera.extraControl(key);
    if (control && control->isStored()) record.insert(control->recordKey(), qint64{control->cur});
}

std::optional<SettingsRecord> readRecord(QTCamera& camera, int32_t settingsID, bool isCurrent) {
    if (!CameraSession::isThereAndAnswering(camera)) {
        NSLog("Settings of %s not written: the camera is gone or does not answer",
              qPrintable(camera.displayName()));
        return std::nullopt;
    }
    SettingsRecord record;
    QTCamera* current = isCurrent ? &camera : nullptr;
    if (settingsID == kAllSettings)
        allSettingsDict(record, camera, current);
    else
        settingsDict(record, settingsID, camera, current);
    return record;
}

void loadSettings(const SettingsRecord& record, QTCamera& camera, platform::Clock* clock) {
    platform::Clock& pauses = clock ? *clock
                                    : (camera.platform().clock ? *camera.platform().clock
                                                               : platform::SystemClock::shared());
    for (const Row& row : catalog::all())
        apply(row, record, camera, pauses);
    applyExtras(record, camera);
}

QList<SettingMismatch> settingsThatDidNotStick(const SettingsRecord& applied,
                                               const SettingsRecord& now) {
    QList<SettingMismatch> mismatches;
    const auto compare = [&](std::string_view key) {
        const auto wanted = numberOf(applied, key);
        const auto got = numberOf(now, key);
        if (wanted && got && *wanted != *got) mismatches.push_back({keyOf(key), *wanted, *got});
    };
    for (const Row& row : catalog::all()) {
        if (!isKept(row)) continue;
        switch (row.apply) {
            case ApplyKind::Never:
            case ApplyKind::StepTowards:
            case ApplyKind::Led:
                continue;
            case ApplyKind::SetUnlessAuto:
                if (recordHasMasterOn(row, applied)) continue;
                break;
            default:
                break;
        }
        if (row.disabled) {
            // Sent only when the record says the control was free, and comparable only while it
            // still is.
            if (numberOf(applied, disabledKeyOf(row)).value_or(1) != 0) continue;
            if (numberOf(now, disabledKeyOf(row)).value_or(1) != 0) continue;
        }
        compare(row.key);
        if (const Row* second = secondHalf(row)) compare(second->key);
    }
    // The extra controls' values, unless their automatic mode was on in what was applied.
    for (auto it = applied.cbegin(); it != applied.cend(); ++it) {
        if (!it.key().startsWith(kExtraPrefix)) continue;
        const QString master = extras::masterOf(it.key().mid(kExtraPrefix.size()));
        if (!master.isEmpty() && numberOf(applied, kExtraPrefix + master).value_or(0) != 0)
            continue;
        const auto wanted = numberOf(applied, it.key());
        const auto got = numberOf(now, it.key());
        if (wanted && got && *wanted != *got) mismatches.push_back({it.key(), *wanted, *got});
    }
    return mismatches;
}

QStringList valueKeys(int32_t settingsID) {
    const Row* row = entryFor(settingsID);
    if (!row) return {};
    QStringList keys{keyOf(row->key)};
    if (const Row* second = secondHalf(*row)) keys << keyOf(second->key);
    if (row->shape == RecordShape::Led) keys.prepend(keyOf(kLedTypeKey));
    return keys;
}

}  // namespace orvella::settings
