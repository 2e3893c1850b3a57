#pragma once
// The names cameras are shown and called by. A camera alone keeps its display name; cameras that
// share one are told apart by their serial number, else by their USB port, else by their place
// among the twins; a name the user gave a camera (the preferences' "Camera Names", by unique
// identifier) replaces all of that. The camera pop-up, the tray menu, the bus object and
// orvellactl all name cameras through here, and take those names back as camera arguments.

#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <cstdint>
#include <optional>
#include <vector>

namespace orvella::settings {

class DefaultsStore;

// What naming needs of a camera.
struct CameraIdentity {
    QString uniqueID;
    QString displayName;
    QString serialNumber;     // empty: none
    uint32_t locationID = 0;  // 0: not known
};

// The USB port a location identifier stands for, in the kernel's notation ("1-2.3": bus 1,
// port 2, then port 3 of the hub there); empty for a location of no port.
QString portOfLocation(uint32_t locationID);

// The name each camera of `cameras` goes by, in order. `userNames` maps unique identifiers to
// the names the user gave (blank names count as none).
QStringList cameraNames(const std::vector<CameraIdentity>& cameras, const QVariantMap& userNames);

// The user's names from the preferences, and setting one (a blank name removes it).
QVariantMap userCameraNames(const DefaultsStore& store);
// The same read from the preferences file at `path` without changing anything (a file that
// cannot be read gives none, with the reason in *why).
QVariantMap userCameraNamesInFile(const QString& path, QString* why = nullptr);
void setUserCameraName(DefaultsStore& store, const QString& uniqueID, const QString& name);

// Which camera a camera argument that is not a number or a unique identifier names, given each
// camera's shown name (`names`) and display name: the one whose shown name is the argument
// (case ignored), else the one whose shown or display name contains it. Nothing unless exactly
// one does; `matches` tells how many did.
std::optional<int> cameraNamed(const QStringList& names, const QStringList& displayNames,
                               const QString& wanted, int* matches = nullptr);

}  // namespace orvella::settings
