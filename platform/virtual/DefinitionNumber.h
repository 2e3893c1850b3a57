#pragma once
// An optional number of a virtual camera's definition that must lie in a range.

#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <cmath>

namespace orvella::virtualcam {

// Reads `section`.`key` from `object` into *value when it is there; a value that is no finite
// number from `low` to `high` is refused with a one-line reason in *error. A missing key leaves
// *value alone.
inline bool readBoundedNumber(const QJsonObject& object, const char* section, const char* key,
                              double low, double high, double* value, QString* error) {
    if (!object.contains(QLatin1String(key))) return true;
    const QJsonValue v = object.value(QLatin1String(key));
    if (!v.isDouble() || !std::isfinite(v.toDouble()) || v.toDouble() < low ||
        v.toDouble() > high) {
        if (error)
            *error = QStringLiteral("%1.%2: expected a number from %3 to %4")
                         .arg(QLatin1String(section), QLatin1String(key))
                         .arg(low)
                         .arg(high);
        return false;
    }
    *value = v.toDouble();
    return true;
}

}  // namespace orvella::virtualcam
