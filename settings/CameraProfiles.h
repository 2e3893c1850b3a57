#pragma once
// The profile store's changes that read or write a camera, for code that runs on the camera's own
// thread: orvellactl, which does one thing and ends, and tests of the store. The tray application
// does the camera's part in the camera's session (camera/CameraSession.h) and hands the store
// the record.

#include <optional>

#include "camera/QTCamera.h"
#include "platform/Clock.h"
#include "settings/ProfileStore.h"

namespace orvella::settings {

// The camera's whole state saved under a name (a last-state record when `isAppDefault`).
bool saveSettings(ProfileStore& store, const QString& name, bool isAppDefault, QTCamera& camera,
                  QTCamera* currentCamera);
// A profile saved under a typed name: a name refused as such reads nothing from the camera.
ProfileStore::SaveOutcome saveNewProfile(ProfileStore& store, const QString& typedName,
                                         QTCamera& camera, QTCamera* currentCamera);
// The current camera's last-state record refreshed: only the entries of `settingsID`, or all for
// 0. Nothing without a current camera.
bool updateSettings(ProfileStore& store, int32_t settingsID, QTCamera* currentCamera);

// Applies the model's last-state records to the camera, or creates one when there is none.
struct AppDefaultOutcome {
    bool created = false;
    // A camera that cannot take a large zoom jump (camera/SteppedZoom.h): the stored zoom to
    // reach with zoomMSLifeCamStudio one second later.
    std::optional<long> steppedZoomTarget;
};
// The stored zoom a stepped-zoom camera still has to reach after `record` was applied.
std::optional<long> steppedZoomTarget(const QTCamera& camera, const SettingsRecord& record);
AppDefaultOutcome loadAppDefault(ProfileStore& store, QTCamera& camera, QTCamera* currentCamera,
                                 platform::Clock* clock = nullptr);

// Applies the profile at a list index to the camera. False for an index with no profile.
bool applyProfile(ProfileStore& store, const QString& model, int listIndex, QTCamera& camera,
                  platform::Clock* clock = nullptr);

// Overwrites the profile at a list index with the camera's state, keeping its name and flags.
bool updateProfile(ProfileStore& store, int listIndex, QTCamera& camera, QTCamera* currentCamera,
                   const SettingsRecord* shown = nullptr);

}  // namespace orvella::settings
