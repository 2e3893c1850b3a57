// The controller as the bus object's target: the cameras, applying a profile by name, the panel's
// visibility and a camera's control values read from it.

#include "app/Orvella.h"
#include "camera/QTCamera.h"
#include "settings/SettingsRecord.h"
#include "ui/ControlPanel.h"

namespace orvella::app {

std::vector<ScriptingTarget::Camera> Orvella::cameras() const {
    std::vector<Camera> list;
    for (int row = 0; row < cameras_.size(); ++row)
        list.push_back({cameras_.at(row)->uniqueID(), cameras_.at(row)->displayName(),
                        row == cameras_.currentRow()});
    return list;
}

QString Orvella::applyProfile(const QString& uniqueID, const QString& profile) {
    QTCamera* camera = nullptr;
    for (int row = 0; row < cameras_.size() && !camera; ++row)
        if (cameras_.at(row)->uniqueID() == uniqueID) camera = cameras_.at(row);
    if (!camera) return QStringLiteral("no camera %1").arg(uniqueID);
    // The profiles as the file holds them now, so that a name is not looked up in lists another
    // process has changed since.
    if (profiles_.defaults().changedOnDisk()) profiles_.reload();
    const int index = profiles_.listIndexOf(camera->modelUniqueID(), profile);
    if (index < settings::kFirstProfileIndex)
        return QStringLiteral("no profile named \"%1\" for this camera").arg(profile);
    if (camera == qtCamera()) {
        selectProfile(index);  // the lists show it in force
    } else {
        profiles_.applyProfile(camera->modelUniqueID(), index, *camera);
        profiles_.updateSettings(0, camera);
    }
    return {};
}

void Orvella::setPanelVisible(bool visible) {
    tray_->setPanelOn(visible);
    showHidePanelAndUpdateMenu();
}

bool Orvella::isPanelVisible() const {
    return tray_->panelShown();
}

std::optional<QVariantMap> Orvella::controlValues(const QString& uniqueID) {
    for (int row = 0; row < cameras_.size(); ++row)
        if (QTCamera* camera = cameras_.at(row); camera->uniqueID() == uniqueID) {
            // Read from the camera: a camera whose backend cannot tell of changes may hold other
            // values than the record.
            camera->readCurrentValues();
            settings::SettingsRecord record;
            settings::allSettingsDict(record, *camera, qtCamera());
            return record;
        }
    return std::nullopt;
}

}  // namespace orvella::app
