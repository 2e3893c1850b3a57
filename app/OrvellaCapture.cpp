// The controller and the panel's live preview of the current camera (app/PreviewPart): the
// preview follows the current camera, and while it runs the panel's frame-rate field shows the
// rate it measures; when it stops or the camera changes, the rate goes away.

#include "app/Orvella.h"
#include "camera/CameraSession.h"
#include "ui/ControlPanel.h"

namespace orvella::app {

void Orvella::makePreview() {
    preview_ = std::make_unique<PreviewPart>(*panel_, preferences_);
    connect(preview_.get(), &PreviewPart::frameRateMeasured, this, &Orvella::updateFPS);
    connect(preview_.get(), &PreviewPart::stopped, this, [this] { panel_->clearFPS(); });
}

void Orvella::followCaptureSession(CameraSession* camera) {
    panel_->clearFPS();
    preview_->setCamera(camera);
}

void Orvella::updateFPS(uint32_t fps) {
    panel_->updateFPS(fps);
}

}  // namespace orvella::app
