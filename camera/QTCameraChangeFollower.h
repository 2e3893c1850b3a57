#pragma once
// The object a camera registers with its control interface and capture device while it follows
// changes made behind the process's back (QTCamera::followChanges). Internal to the camera core.

#include <memory>

#include "camera/QTCamera.h"
#include "platform/CaptureDevice.h"
#include "platform/ControlEvents.h"

namespace orvella {

// Registered with the control interface and the capture device on behalf of its camera.
class QTCamera::ChangeFollower final : public platform::ControlChangeObserver,
                                       public platform::CaptureUseObserver {
  public:
    explicit ChangeFollower(QTCamera& camera) : camera_(camera) {}

    void controlChanged(const platform::ControlChange& change) override {
        if (const std::optional<FollowedChange> taken = camera_.takeControlChange(change))
            if (onChange) onChange(*taken);
    }
    void captureUseChanged(int foreignOpens) override {
        if (onUse) onUse(foreignOpens);
    }

    QTCamera& camera_;
    ControlChangeHandler onChange;
    CaptureUseHandler onUse;
    // The objects this follower is registered with, kept so that it leaves the same ones.
    std::shared_ptr<platform::UsbInterface> interface;
    std::shared_ptr<platform::CaptureDevice> device;
};

}  // namespace orvella
