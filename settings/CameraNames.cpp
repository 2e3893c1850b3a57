#include "settings/CameraNames.h"

#include <QFile>
#include <QHash>

#include "settings/DefaultsKeys.h"
#include "settings/DefaultsStore.h"
#include "settings/PlistCodec.h"

namespace orvella::settings {

namespace {

// Fills `names[i]` for the cameras in `group` (indices into `cameras`) with the first of serial,
// port and place that is unique within the group.
void nameTwins(const std::vector<CameraIdentity>& cameras, const std::vector<int>& group,
               QStringList& names) {
    auto countOf = [&](auto key, const QString& value) {
        int count = 0;
        for (int i : group)
            if (key(cameras[static_cast<size_t>(i)]) == value) ++count;
        return count;
    };
    const auto serial = [](const CameraIdentity& c) { return c.serialNumber.trimmed(); };
    const auto port = [](const CameraIdentity& c) { return portOfLocation(c.locationID); };
    int place = 0;
    for (int i : group) {
        ++place;
        const CameraIdentity& camera = cameras[static_cast<size_t>(i)];
        QString& name = names[i];
        const QString s = serial(camera);
        const QString p = port(camera);
        if (!s.isEmpty() && countOf(serial, s) == 1)
            name = QStringLiteral("%1 (serial %2)").arg(camera.displayName, s);
        else if (!p.isEmpty() && countOf(port, p) == 1)
            name = QStringLiteral("%1 (port %2)").arg(camera.displayName, p);
        else
            name = QStringLiteral("%1 (%2)").arg(camera.displayName).arg(place);
    }
}

}  // namespace

QString portOfLocation(uint32_t locationID) {
    const uint32_t bus = locationID >> 24;
    QStringList ports;
    for (int shift = 20; shift >= 0; shift -= 4) {
        const uint32_t port = (locationID >> shift) & 0xFu;
        if (port == 0) break;
        ports << QString::number(port);
    }
    if (ports.isEmpty()) return {};
    return QStringLiteral("%1-%2").arg(bus).arg(ports.join(QLatin1Char('.')));
}

QStringList cameraNames(const std::vector<CameraIdentity>& cameras, const QVariantMap& userNames) {
    QStringList names;
    QHash<QString, std::vector<int>> byName;
    for (size_t i = 0; i < cameras.size(); ++i) {
        names << cameras[i].displayName;
        byName[cameras[i].displayName].push_back(static_cast<int>(i));
    }
    for (const std::vector<int>& group : std::as_const(byName))
        if (group.size() > 1) nameTwins(cameras, group, names);
    for (size_t i = 0; i < cameras.size(); ++i) {
        const QString given = userNames.value(cameras[i].uniqueID).toString().trimmed();
        if (!given.isEmpty()) names[static_cast<qsizetype>(i)] = given;
    }
    return names;
}

QVariantMap userCameraNames(const DefaultsStore& store) {
    return store.dictionaryForKey(keys::kCameraNames);
}

QVariantMap userCameraNamesInFile(const QString& path, QString* why) {
    QFile file(path);
    if (!file.exists()) return {};
    if (!file.open(QIODevice::ReadOnly)) {
        if (why) *why = file.errorString();
        return {};
    }
    const std::optional<QVariantMap> root = plist::parseDictionary(file.readAll(), why);
    if (!root) return {};
    return root->value(keys::kCameraNames).toMap();
}

void setUserCameraName(DefaultsStore& store, const QString& uniqueID, const QString& name) {
    if (uniqueID.isEmpty()) return;
    QVariantMap names = userCameraNames(store);
    const QString trimmed = name.trimmed();
    if (trimmed.isEmpty())
        names.remove(uniqueID);
    else
        names.insert(uniqueID, trimmed);
    if (names.isEmpty())
        store.setObject(QVariant(), keys::kCameraNames);
    else
        store.setObject(names, keys::kCameraNames);
}

std::optional<int> cameraNamed(const QStringList& names, const QStringList& displayNames,
                               const QString& wanted, int* matches) {
    auto pick = [&](auto matchesAt) -> std::optional<int> {
        std::vector<int> found;
        for (qsizetype i = 0; i < names.size(); ++i)
            if (matchesAt(i)) found.push_back(static_cast<int>(i));
        if (matches) *matches = static_cast<int>(found.size());
        if (found.size() == 1) return found.front();
        return std::nullopt;
    };
    if (matches) *matches = 0;
    if (wanted.isEmpty()) return std::nullopt;
    const std::optional<int> exact =
        pick([&](qsizetype i) { return names[i].compare(wanted, Qt::CaseInsensitive) == 0; });
    if (exact || (matches && *matches > 1)) return exact;
    return pick([&](qsizetype i) {
        return names[i].contains(wanted, Qt::CaseInsensitive) ||
               displayNames.value(i).contains(wanted, Qt::CaseInsensitive);
    });
}

}  // namespace orvella::settings
