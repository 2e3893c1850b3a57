// The controller as the bus object's target: the cameras, applying a profile by name, the panel's
// visibility and a camera's control values read from it (in the camera's session).

#include "app/Orvella.h"
#include "camera/CameraSession.h"
#include "settings/SettingsRecord.h"
#include "ui/ControlPanel.h"

namespace orvella::app {

namespace {

CameraSession* sessionWithID(const CameraList& cameras, const QString& uniqueID) {
    for (int row = 0; row < cameras.size(); ++row)
        if (cameras.at(row)->camera().uniqueID() == uniqueID) return cameras.at(row);
    return nullptr;
}

}  // namespace

std::vector<ScriptingTarget::Camera> Orvella::cameras() const {
    std::vector<Camera> list;
    const QStringList names = cameras_.names();
    for (int row = 0; row < cameras_.size(); ++row)
        list.push_back({cameras_.at(row)->camera().uniqueID(),
                        cameras_.at(row)->camera().displayName(), row == cameras_.currentRow(),
                        names.value(row)});
    return list;
}

QString Orvella::applyProfile(const QString& uniqueID, const QString& profile) {
    CameraSession* camera = sessionWithID(cameras_, uniqueID);
    if (!camera) return QStringLiteral("no camera %1").arg(uniqueID);
    // The profiles as the file holds them now, so that a name is not looked up in lists another
    // process has changed since.
    if (profiles_.defaults().changedOnDisk()) profiles_.reload();
    const QString model = camera->camera().modelUniqueID();
    const int index = profiles_.listIndexOf(model, profile);
    if (index < settings::kFirstProfileIndex)
        return QStringLiteral("no profile named \"%1\" for this camera").arg(profile);
    if (camera == qtCamera()) {
        selectProfile(index);  // the lists show it in force
    } else if (const auto record = profiles_.profileAt(model, index)) {
        applyRecord(*camera, *record);
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

void Orvella::controlValues(const QString& uniqueID, ValuesReply reply) {
    CameraSession* camera = sessionWithID(cameras_, uniqueID);
    if (!camera) {
        reply(std::nullopt);
        return;
    }
    const bool current = camera == qtCamera();
    auto pending = std::make_shared<PendingValues>();
    pending->reply = std::move(reply);
    pendingValues_.emplace(camera, pending);
    camera->ask([this, camera, current, pending](QTCamera& device) -> CameraSession::Reply {
        // Read from the camera: a camera whose backend cannot tell of changes may hold other
        // values than the record.
        device.readCurrentValues();
        extras::readKept(device);
        std::optional<QVariantMap> values =
            settings::readRecord(device, settings::kAllSettings, current);
        return [this, camera, pending, values = std::move(values)] {
            pending->answer(values);
            const auto [first, last] = pendingValues_.equal_range(camera);
            for (auto it = first; it != last; ++it)
                if (it->second == pending) {
                    pendingValues_.erase(it);
                    break;
                }
        };
    });
}

void Orvella::cameraUsers(const QString& uniqueID, UsersReply reply) {
    CameraSession* camera = sessionWithID(cameras_, uniqueID);
    if (!camera) {
        reply(std::nullopt);
        return;
    }
    // Answered exactly once: with the users, or with none when the session drops the job (the
    // camera went first), whichever thread lets go of it last.
    struct Answer {
        UsersReply reply;
        std::optional<std::vector<platform::CameraUser>> users;
        ~Answer() { reply(std::move(users)); }
    };
    auto answer = std::make_shared<Answer>();
    answer->reply = std::move(reply);
    camera->ask([answer](QTCamera& device) mutable -> CameraSession::Reply {
        answer->users = device.qtCaptureDevice() ? device.qtCaptureDevice()->captureUsers()
                                                 : std::vector<platform::CameraUser>{};
        // The answer goes out on the interface thread, with the session's reply.
        return [answer = std::move(answer)]() mutable { answer.reset(); };
    });
}

void Orvella::PendingValues::answer(const std::optional<QVariantMap>& values) {
    if (answered) return;
    answered = true;
    if (reply) reply(values);
}

void Orvella::answerPendingValues(const CameraSession* camera) {
    // Taken out first: an answer may call back into the controller.
    std::vector<std::shared_ptr<PendingValues>> waiting;
    for (auto it = pendingValues_.begin(); it != pendingValues_.end();) {
        if (camera && it->first != camera) {
            ++it;
            continue;
        }
        waiting.push_back(it->second);
        it = pendingValues_.erase(it);
    }
    for (const auto& pending : waiting)
        pending->answer(std::nullopt);
}

}  // namespace orvella::app
