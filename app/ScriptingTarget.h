#pragma once
// What scripts may ask of the running application through its bus object (app/OrvellaBus.h):
// the controller implements this; the bus object only resolves names and forwards.

#include <QString>
#include <QVariantMap>
#include <functional>
#include <optional>
#include <vector>

#include "platform/CameraUsers.h"

namespace orvella::app {

class ScriptingTarget {
  public:
    struct Camera {
        QString uniqueID;
        QString displayName;
        bool current = false;
        // The name it goes by (settings/CameraNames.h); the display name when empty.
        QString name;
    };

    virtual ~ScriptingTarget() = default;

    // The connected cameras in the order of the camera list.
    virtual std::vector<Camera> cameras() const = 0;
    // Applies the profile named `profile` to the camera `uniqueID` (one of cameras()); returns
    // an empty string when done, else a one-line reason (no such profile, ...).
    virtual QString applyProfile(const QString& uniqueID, const QString& profile) = 0;
    virtual void setPanelVisible(bool visible) = 0;
    virtual bool isPanelVisible() const = 0;
    // The camera's current control values by settings key (the control catalog's keys), passed
    // to `reply` once read (the camera is read on its own thread, so the reply comes later); none
    // when they cannot be read (the camera is gone or does not answer).
    using ValuesReply = std::function<void(std::optional<QVariantMap>)>;
    virtual void controlValues(const QString& uniqueID, ValuesReply reply) {
        Q_UNUSED(uniqueID);
        reply(std::nullopt);
    }
    // The programs other than this one that use the camera now (CaptureDevice::captureUsers),
    // found on the camera's own thread and passed to `reply` later; none when the camera went
    // before they could be found. `reply` may be called on that thread.
    using UsersReply = std::function<void(std::optional<std::vector<platform::CameraUser>>)>;
    virtual void cameraUsers(const QString& uniqueID, UsersReply reply) {
        Q_UNUSED(uniqueID);
        reply(std::nullopt);
    }
};

}  // namespace orvella::app
