#include "settings/LockTheLook.h"

#include "camera/ControlCatalog.h"
#include "camera/QTCamera.h"
#include "settings/SettingsID.h"

namespace orvella::settings {

namespace {

struct AutomaticMode {
    int32_t mode;
    long manual;                  // the mode's value that leaves the values to the user
    std::vector<int32_t> values;  // what the mode finds
};

// Exposure: 1 is the manual mode; the others (auto, shutter and aperture priority) find a time.
const std::vector<AutomaticMode>& automaticModes() {
    static const std::vector<AutomaticMode> modes = {
        {kAutoExposureMode, 1, {kExposureTimeAbsolute, kGain}},
        {kWhiteBalanceTemperatureAuto, 0, {kWhiteBalanceTemperature}},
        {kFocusAuto, 0, {kFocusAbsolute}},
    };
    return modes;
}

QString keyOf(const ControlDescription& row) {
    return QString::fromLatin1(row.key.data(), static_cast<qsizetype>(row.key.size()));
}

bool present(QTCamera& camera, const ControlDescription* row) {
    return row && row->present && camera.supportedControl() &&
           camera.supportedControl()->*row->present;
}

}  // namespace

LockReport lockTheLook(QTCamera& camera) {
    LockReport report;
    if (!camera.supportedControl()) return report;
    for (const AutomaticMode& automatic : automaticModes()) {
        const ControlDescription* mode = catalog::byID(automatic.mode);
        if (!present(camera, mode)) continue;
        long state = 0;
        if (camera.queryControl(*mode, &state) != kIOReturnSuccess || state == automatic.manual)
            continue;
        // What the mode found, while it still rules.
        std::vector<std::pair<const ControlDescription*, long>> found;
        for (int32_t id : automatic.values) {
            const ControlDescription* row = catalog::byID(id);
            long value = 0;
            if (present(camera, row) && camera.queryControl(*row, &value) == kIOReturnSuccess)
                found.emplace_back(row, value);
        }
        long now = state;
        if (camera.setControl(*mode, automatic.manual) != kIOReturnSuccess ||
            camera.queryControl(*mode, &now) != kIOReturnSuccess || now != automatic.manual) {
            report.modesRefused.append(keyOf(*mode));
            continue;
        }
        report.modesSwitched.append(keyOf(*mode));
        for (const auto& [row, before] : found) {
            LockedValue locked;
            locked.id = row->id;
            locked.key = keyOf(*row);
            locked.found = before;
            // After the switch: what the camera holds as its manual value now.
            long after = before;
            locked.wanted = camera.queryControl(*row, &after) == kIOReturnSuccess ? after : before;
            long back = 0;
            if (camera.setControl(*row, locked.wanted) == kIOReturnSuccess &&
                camera.queryControl(*row, &back) == kIOReturnSuccess)
                locked.got = back;
            report.values.push_back(locked);
        }
    }
    // The record's modes and their governed flags as the camera holds them now.
    if (report.anyAutomatic()) camera.readCurrentValues();
    return report;
}

QStringList LockReport::problems() const {
    QStringList lines;
    for (const QString& mode : modesRefused)
        lines.append(QStringLiteral("%1 would not switch to manual").arg(mode));
    for (const LockedValue& value : values)
        if (!value.stuck())
            lines.append(value.got ? QStringLiteral("%1 did not stick: wanted %2, got %3")
                                         .arg(value.key)
                                         .arg(value.wanted)
                                         .arg(*value.got)
                                   : QStringLiteral("%1 could not be read back").arg(value.key));
    return lines;
}

QStringList LockReport::lines() const {
    QStringList lines;
    for (const QString& mode : modesSwitched)
        lines.append(QStringLiteral("%1: manual").arg(mode));
    for (const LockedValue& value : values)
        if (value.stuck()) lines.append(QStringLiteral("%1 = %2").arg(value.key).arg(value.wanted));
    return lines + problems();
}

}  // namespace orvella::settings
