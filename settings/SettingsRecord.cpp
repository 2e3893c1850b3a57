#include "settings/SettingsRecord.h"

#include <QStringList>
#include <algorithm>
#include <optional>

#include "platform/Log.h"

namespace orvella::settings {

namespace {

using C = QTCamera;
using S = SupportedControl;

// What a row writes into a record.
enum class Shape : uint8_t {
    Plain,     // the value alone
    Guarded,   // the disabled flag, then the value while the flag is false
    PanTilt,   // the disabled flag, then two values
    Aperture,  // the iris position of the current camera, under the exposure-mode condition
    Led,       // the LED type and index
};

// How a row is applied back.
enum class Apply : uint8_t {
    Never,          // kept in the record, never sent
    Set,            // sent as it is
    SetThenQuery,   // an automatic mode: sent, then the value it governs is read back
    SetUnlessAuto,  // the white-balance temperature: only while its automatic mode is off
    SetAfterWait,   // the focus: sent after a pause, so a focus-auto change has settled
    PanTilt,        // both halves, each when present
    Aperture,       // stepped towards the stored position
    Led,            // the LED index
};

struct Entry {
    int32_t id;
    Shape shape;
    Apply apply;
    int8_t S::*supported;  // null for the LED, which is there when its type is not 0
    const char* key = nullptr;
    long S::*cur = nullptr;
    IOReturn (C::*set)(long) = nullptr;
    int8_t S::*disabled = nullptr;
    const char* disabledKey = nullptr;
    const char* disabledLog = nullptr;
    // SetThenQuery: what is read back, and into which field.
    IOReturn (C::*query)(long*) = nullptr;
    long S::*queryInto = nullptr;
    // PanTilt: the second half.
    const char* key2 = nullptr;
    long S::*cur2 = nullptr;
    IOReturn (C::*set2)(long) = nullptr;
};

// One row per identifier in identifier order, which is also the order of application. Pan and
// tilt (18 and 19) share one row.
constexpr Entry kEntries[] = {
    {kAutoExposureMode, Shape::Plain, Apply::SetThenQuery, &S::bAutoExposureMode,
     "AutoExposureMode", &S::curAutoExposureMode, &C::setAutoExposureMode, nullptr, nullptr,
     nullptr, &C::queryExposureTimeAbsolute, &S::curExposureTimeAbsolute},
    {kAutoExposurePriority, Shape::Plain, Apply::Never, &S::bAutoExposurePriority,
     "AutoExposurePriority", &S::curAutoExposurePriority},
    {kExposureTimeAbsolute, Shape::Guarded, Apply::Set, &S::bExposureTimeAbsolute,
     "ExposureTimeAbsolute", &S::curExposureTimeAbsolute, &C::setExposureTimeAbsolute,
     &S::bExposureTimeAbsoluteDisabled, "ExposureTimeAbsoluteDisabled",
     "    bExposureTimeAbsoluteDisabled"},
    {kBrightness, Shape::Guarded, Apply::Set, &S::bBrightness, "Brightness", &S::curBrightness,
     &C::setBrightness, &S::bBrightnessDisabled, "BrightnessDisabled", "    bBrightnessDisabled"},
    {kContrast, Shape::Guarded, Apply::Set, &S::bContrast, "Contrast", &S::curContrast,
     &C::setContrast, &S::bContrastDisabled, "ContrastDisabled", "    bContrastDisabled"},
    {kHue, Shape::Guarded, Apply::Set, &S::bHue, "Hue", &S::curHue, &C::setHue, &S::bHueDisabled,
     "HueDisabled", "    bHueDisabled"},
    {kSaturation, Shape::Guarded, Apply::Set, &S::bSaturation, "Saturation", &S::curSaturation,
     &C::setSaturation, &S::bSaturationDisabled, "SaturationDisabled", "    bSaturationDisabled"},
    {kSharpness, Shape::Guarded, Apply::Set, &S::bSharpness, "Sharpness", &S::curSharpness,
     &C::setSharpness, &S::bSharpnessDisabled, "SharpnessDisabled", "    bSharpnessDisabled"},
    {kGamma, Shape::Guarded, Apply::Set, &S::bGamma, "Gamma", &S::curGamma, &C::setGamma,
     &S::bGammaDisabled, "GammaDisabled", "    bGammaDisabled"},
    {kWhiteBalanceTemperatureAuto, Shape::Plain, Apply::SetThenQuery,
     &S::bWhiteBalanceTemperatureAuto, "WhiteBalanceTemperatureAuto",
     &S::curWhiteBalanceTemperatureAuto, &C::setWhiteBalanceTemperatureAuto, nullptr, nullptr,
     nullptr, &C::queryWhiteBalanceTemperature, &S::curWhiteBalanceTemperature},
    {kWhiteBalanceTemperature, Shape::Guarded, Apply::SetUnlessAuto, &S::bWhiteBalanceTemperature,
     "WhiteBalanceTemperature", &S::curWhiteBalanceTemperature, &C::setWhiteBalanceTemperature,
     &S::bWhiteBalanceTemperatureDisabled, "WhiteBalanceTemperatureDisabled",
     "    bWhiteBalanceTemperatureDisabled"},
    {kPowerLineFrequency, Shape::Plain, Apply::Set, &S::bPowerLineFrequency, "PowerLineFrequency",
     &S::curPowerLineFrequency, &C::setPowerLineFrequency},
    {kBacklightCompensation, Shape::Guarded, Apply::Set, &S::bBacklightCompensation,
     "BacklightCompensation", &S::curBacklightCompensation, &C::setBacklightCompensation,
     &S::bBacklightCompensationDisabled, "BacklightCompensationDisabled",
     "    bBacklightCompensationDisabled"},
    {kGain, Shape::Guarded, Apply::Set, &S::bGain, "Gain", &S::curGain, &C::setGain,
     &S::bGainDisabled, "GainDisabled", "    bGainDisabled"},
    {kFocusAuto, Shape::Plain, Apply::SetThenQuery, &S::bFocusAuto, "FocusAuto", &S::curFocusAuto,
     &C::setFocusAuto, nullptr, nullptr, nullptr, &C::queryFocusAbsolute, &S::curFocusAbsolute},
    {kFocusAbsolute, Shape::Guarded, Apply::SetAfterWait, &S::bFocusAbsolute, "FocusAbsolute",
     &S::curFocusAbsolute, &C::setFocusAbsolute, &S::bFocusAbsoluteDisabled,
     "FocusAbsoluteDisabled", "    bFocusAbsoluteDisabled"},
    {kZoomAbsolute, Shape::Guarded, Apply::Set, &S::bZoomAbsolute, "ZoomAbsolute",
     &S::curZoomAbsolute, &C::setZoomAbsolute, &S::bZoomAbsoluteDisabled, "ZoomAbsoluteDisabled",
     "    bZoomAbsoluteDisabled"},
    {kPanAbsolute, Shape::PanTilt, Apply::PanTilt, &S::bPanTiltAbsolute, "PanAbsolute",
     &S::curPanAbsolute, &C::setPanAbsolute, &S::bPanTiltAbsoluteDisabled,
     "PanTiltAbsoluteDisabled", "    bPanTiltAbsoluteDisabled", nullptr, nullptr, "TiltAbsolute",
     &S::curTiltAbsolute, &C::setTiltAbsolute},
    {kAperture, Shape::Aperture, Apply::Aperture, &S::bIrisRelative, "Aperture"},
    {kNoiseReduction, Shape::Guarded, Apply::Never, &S::bNoiseReduction, "NoiseReduction",
     &S::curNoiseReduction, &C::setNoiseReduction, &S::bNoiseReductionDisabled,
     "NoiseReductionDisabled", "    bNoiseReductionDisabled"},
    {kLED, Shape::Led, Apply::Led, nullptr, "LEDIndex"},
};

constexpr const char* kLedTypeKey = "LEDType";

// The pause before a stored focus is sent.
constexpr uint32_t kFocusWaitMicroseconds = 200000;

// Exposure modes under which the iris is the user's: manual (1) and aperture priority (8).
bool irisIsManual(long autoExposureMode) {
    return autoExposureMode == 1 || autoExposureMode == 8;
}

// The relative iris moves one step per request; a stored position is approached by at most this
// many steps (a one-byte position's whole range), so a damaged record cannot hold the camera.
constexpr long kMaxApertureSteps = 255;

const Entry* entryFor(int32_t settingsID) {
    if (settingsID == kTiltAbsolute) settingsID = kPanAbsolute;
    const auto found = std::find_if(std::begin(kEntries), std::end(kEntries),
                                    [settingsID](const Entry& e) { return e.id == settingsID; });
    return found == std::end(kEntries) ? nullptr : found;
}

QString keyOf(const char* key) {
    return QString::fromLatin1(key);
}

// A number stored under the key; a missing key, or one that holds no number, is none.
std::optional<long> numberOf(const SettingsRecord& record, const char* key) {
    const QVariant value = record.value(keyOf(key));
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

bool isSupported(const Entry& entry, const SupportedControl& record) {
    return entry.supported ? record.*entry.supported != 0 : record.cameraLED != 0;
}

void fill(const Entry& entry, SettingsRecord& record, QTCamera& camera, QTCamera* currentCamera) {
    const SupportedControl& controls = *camera.supportedControl();
    if (!isSupported(entry, controls)) return;
    switch (entry.shape) {
        case Shape::Plain:
            record.insert(keyOf(entry.key), static_cast<qint64>(controls.*entry.cur));
            return;
        case Shape::Guarded:
        case Shape::PanTilt: {
            const bool disabled = controls.*entry.disabled != 0;
            record.insert(keyOf(entry.disabledKey), disabled);
            if (disabled) {
                NSLog("%s", entry.disabledLog);
                return;
            }
            record.insert(keyOf(entry.key), static_cast<qint64>(controls.*entry.cur));
            if (entry.key2)
                record.insert(keyOf(entry.key2), static_cast<qint64>(controls.*entry.cur2));
            return;
        }
        case Shape::Aperture: {
            // The conditions are this camera's; the position is the current camera's.
            if (!controls.bAutoExposureMode || !irisIsManual(controls.curAutoExposureMode)) return;
            long position = 0;
            if (!currentCamera || currentCamera->queryIrisRelative(&position) != kIOReturnSuccess)
                return;
            record.insert(keyOf(entry.key), static_cast<qint64>(position));
            return;
        }
        case Shape::Led:
            record.insert(keyOf(kLedTypeKey), static_cast<qint64>(controls.cameraLED));
            record.insert(keyOf(entry.key), static_cast<qint64>(controls.ledIndex));
            return;
    }
}

// The value of a guarded control, when the record says it may be applied: its disabled key is
// present and false and its value is present. A true disabled key is logged.
std::optional<long> guardedValue(const Entry& entry, const SettingsRecord& record,
                                 const char* key) {
    const auto disabled = numberOf(record, entry.disabledKey);
    if (!disabled) return std::nullopt;
    if (*disabled != 0) {
        NSLog("%s", entry.disabledLog);
        return std::nullopt;
    }
    return numberOf(record, key);
}

void stepAperture(const SettingsRecord& record, QTCamera& camera) {
    const SupportedControl& controls = *camera.supportedControl();
    if (!controls.bAutoExposureMode || !controls.bIrisRelative ||
        !irisIsManual(controls.curAutoExposureMode))
        return;
    long position = 0;
    if (camera.queryIrisRelative(&position) == kIOReturnSuccess) {
        if (const auto stored = numberOf(record, "Aperture")) {
            const long target =
                std::clamp(*stored, position - kMaxApertureSteps, position + kMaxApertureSteps);
            for (long at = position; target > at; ++at)
                camera.setIrisRelative(1);
            for (long at = position; target < at; --at)
                camera.setIrisRelative(-1);
        }
    }
    camera.queryIrisRelative(&position);  // leaves the camera's view of the iris current
}

void apply(const Entry& entry, const SettingsRecord& record, QTCamera& camera,
           platform::Clock& clock) {
    SupportedControl& controls = *camera.supportedControl();
    if (entry.apply == Apply::Never || !isSupported(entry, controls)) return;
    switch (entry.apply) {
        case Apply::Never:
            return;
        case Apply::Set:
        case Apply::SetUnlessAuto:
        case Apply::SetAfterWait: {
            const auto value = entry.shape == Shape::Guarded
                                   ? guardedValue(entry, record, entry.key)
                                   : numberOf(record, entry.key);
            if (!value) return;
            if (entry.apply == Apply::SetUnlessAuto && controls.bWhiteBalanceTemperatureAuto &&
                numberOf(record, "WhiteBalanceTemperatureAuto").value_or(0) != 0)
                return;
            if (entry.apply == Apply::SetAfterWait) clock.usleep(kFocusWaitMicroseconds);
            (camera.*entry.set)(*value);
            return;
        }
        case Apply::SetThenQuery: {
            const auto value = numberOf(record, entry.key);
            if (!value) return;
            (camera.*entry.set)(*value);
            long governed = 0;
            if ((camera.*entry.query)(&governed) == kIOReturnSuccess)
                controls.*entry.queryInto = governed;
            return;
        }
        case Apply::PanTilt: {
            const auto disabled = numberOf(record, entry.disabledKey);
            if (!disabled) return;
            if (*disabled != 0) {
                NSLog("%s", entry.disabledLog);
                return;
            }
            if (const auto pan = numberOf(record, entry.key)) (camera.*entry.set)(*pan);
            if (const auto tilt = numberOf(record, entry.key2)) (camera.*entry.set2)(*tilt);
            return;
        }
        case Apply::Aperture:
            stepAperture(record, camera);
            return;
        case Apply::Led:
            if (const auto index = numberOf(record, entry.key)) camera.setLEDIndex(*index);
            return;
    }
}

}  // namespace

void settingsDict(SettingsRecord& record, int32_t settingsID, QTCamera& camera,
                  QTCamera* currentCamera) {
    if (const Entry* entry = entryFor(settingsID)) fill(*entry, record, camera, currentCamera);
}

void allSettingsDict(SettingsRecord& record, QTCamera& camera, QTCamera* currentCamera) {
    for (const Entry& entry : kEntries)
        fill(entry, record, camera, currentCamera);
}

void loadSettings(const SettingsRecord& record, QTCamera& camera, platform::Clock* clock) {
    platform::Clock& pauses = clock ? *clock
                                    : (camera.platform().clock ? *camera.platform().clock
                                                               : platform::SystemClock::shared());
    for (const Entry& entry : kEntries)
        apply(entry, record, camera, pauses);
}

QList<SettingMismatch> settingsThatDidNotStick(const SettingsRecord& applied,
                                               const SettingsRecord& now) {
    QList<SettingMismatch> mismatches;
    const auto compare = [&](const char* key) {
        const auto wanted = numberOf(applied, key);
        const auto got = numberOf(now, key);
        if (wanted && got && *wanted != *got) mismatches.push_back({keyOf(key), *wanted, *got});
    };
    for (const Entry& entry : kEntries) {
        switch (entry.apply) {
            case Apply::Never:
            case Apply::Aperture:
            case Apply::Led:
                continue;
            case Apply::SetUnlessAuto:
                if (numberOf(applied, "WhiteBalanceTemperatureAuto").value_or(0) != 0) continue;
                break;
            default:
                break;
        }
        if (entry.disabledKey) {
            // Sent only when the record says the control was free, and comparable only while it
            // still is.
            if (numberOf(applied, entry.disabledKey).value_or(1) != 0) continue;
            if (numberOf(now, entry.disabledKey).value_or(1) != 0) continue;
        }
        compare(entry.key);
        if (entry.key2) compare(entry.key2);
    }
    return mismatches;
}

QStringList valueKeys(int32_t settingsID) {
    const Entry* entry = entryFor(settingsID);
    if (!entry) return {};
    QStringList keys{keyOf(entry->key)};
    if (entry->key2) keys << keyOf(entry->key2);
    if (entry->shape == Shape::Led) keys.prepend(keyOf(kLedTypeKey));
    return keys;
}

}  // namespace orvella::settings
