#include "settings/CameraProfiles.h"

#include "camera/ControlCatalog.h"
#include "camera/SteppedZoom.h"
#include "settings/DefaultsKeys.h"

namespace orvella::settings {

bool saveSettings(ProfileStore& store, const QString& name, bool isAppDefault, QTCamera& camera,
                  QTCamera* currentCamera) {
    return store.saveSettings(name, isAppDefault, camera.modelUniqueID(),
                              readRecord(camera, kAllSettings, currentCamera == &camera));
}

ProfileStore::SaveOutcome saveNewProfile(ProfileStore& store, const QString& typedName,
                                         QTCamera& camera, QTCamera* currentCamera) {
    if (const auto refused = ProfileStore::refuseName(typedName)) return *refused;
    return store.saveNewProfile(typedName, camera.modelUniqueID(),
                                readRecord(camera, kAllSettings, currentCamera == &camera));
}

bool updateSettings(ProfileStore& store, int32_t settingsID, QTCamera* currentCamera) {
    if (!currentCamera) return false;
    const QString model = currentCamera->modelUniqueID();
    const bool whole = settingsID == kAllSettings || !store.hasAppDefault(model);
    return store.updateSettings(
        model, readRecord(*currentCamera, whole ? kAllSettings : settingsID, true), whole);
}

std::optional<long> steppedZoomTarget(const QTCamera& camera, const SettingsRecord& record) {
    if (!needsSteppedZoom(camera)) return std::nullopt;
    const std::string_view zoomKey = catalog::byID(kZoomAbsolute)->key;
    const QVariant zoom =
        record.value(QString::fromLatin1(zoomKey.data(), static_cast<qsizetype>(zoomKey.size())));
    if (zoom.typeId() != QMetaType::LongLong) return std::nullopt;
    return static_cast<long>(zoom.toLongLong());
}

AppDefaultOutcome loadAppDefault(ProfileStore& store, QTCamera& camera, QTCamera* currentCamera,
                                 platform::Clock* clock) {
    AppDefaultOutcome outcome;
    const QList<SettingsRecord> lastStates = store.appDefaultRecords(camera.modelUniqueID());
    for (const SettingsRecord& record : lastStates) {
        loadSettings(record, camera, clock);
        if (const auto target = steppedZoomTarget(camera, record))
            outcome.steppedZoomTarget = target;
    }
    if (lastStates.isEmpty())
        outcome.created =
            saveSettings(store, QString(keys::kAppDefaultName), true, camera, currentCamera);
    return outcome;
}

bool applyProfile(ProfileStore& store, const QString& model, int listIndex, QTCamera& camera,
                  platform::Clock* clock) {
    const auto record = store.profileAt(model, listIndex);
    if (!record) return false;
    loadSettings(*record, camera, clock);
    return true;
}

bool updateProfile(ProfileStore& store, int listIndex, QTCamera& camera, QTCamera* currentCamera,
                   const SettingsRecord* shown) {
    if (listIndex < kFirstProfileIndex) return false;
    return store.updateProfile(listIndex, camera.modelUniqueID(),
                               readRecord(camera, kAllSettings, currentCamera == &camera), shown);
}

}  // namespace orvella::settings
