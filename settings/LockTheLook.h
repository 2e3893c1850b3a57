#pragma once
// Lock the look: what the camera's automatic modes found is kept as manual values. For
// auto-exposure the exposure time and gain, for auto white balance the temperature, for
// autofocus the focus: each mode that is on is switched to manual, the values are read after the
// switch (cameras differ in what they report while a mode rules, and some move a value when the
// mode goes), written as manual values and read back. The caller keeps the result as the last
// state. Runs where the camera's requests run (its session, or orvellactl).

#include <QString>
#include <QStringList>
#include <optional>
#include <vector>

namespace orvella {
class QTCamera;
}

namespace orvella::settings {

struct LockedValue {
    int32_t id = 0;
    QString key;              // settings key ("ExposureTimeAbsolute")
    long found = 0;           // read while the mode ruled
    long wanted = 0;          // read after the switch to manual, and written
    std::optional<long> got;  // read back after the write; none when it could not be read
    bool stuck() const { return got && *got == wanted; }
};

struct LockReport {
    QStringList modesSwitched;  // the settings keys of the modes switched to manual
    QStringList modesRefused;   // modes that would not switch (still automatic)
    std::vector<LockedValue> values;
    bool anyAutomatic() const { return !modesSwitched.isEmpty() || !modesRefused.isEmpty(); }
    // What did not stick: the refused modes and the values read back otherwise.
    QStringList problems() const;
    // One line a value: "ExposureTimeAbsolute = 156", or why not.
    QStringList lines() const;
};

LockReport lockTheLook(QTCamera& camera);

}  // namespace orvella::settings
