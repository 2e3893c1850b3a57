// The controller as the current camera's capture delegate: the camera's capture path lives as
// long as the camera is current, and while a capture session runs on it the panel shows the
// frame rate it measures; when the session stops or the camera changes, the rate goes away.

#include "app/Orvella.h"
#include "camera/CameraSession.h"
#include "capture/QTCameraCapture.h"
#include "ui/ControlPanel.h"

namespace orvella::app {

void Orvella::followCaptureSession(CameraSession* camera) {
    capture_.reset();  // a session on the camera that was current ends with it
    panel_->clearFPS();
    if (!camera || camera->camera().cameraMode() == CameraMode::None) return;
    capture_ = std::make_unique<capture::QTCameraCapture>(camera->captureCamera());
    capture_->setDelegate(this);
    connect(capture_.get(), &capture::QTCameraCapture::sessionStopped, this,
            [this] { panel_->clearFPS(); });
}

void Orvella::updateFPS(uint32_t fps) {
    panel_->updateFPS(fps);
}

}  // namespace orvella::app
