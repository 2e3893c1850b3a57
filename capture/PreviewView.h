#pragma once
// The view a preview goes to (the preview widget in ui/, or nothing in tools). The capture path
// hands it the camera when the preview starts and takes it away when it stops; the view pulls
// the latest frame itself, so frames are never copied for it.

#include <cstdint>

namespace orvella::capture {

class QTCameraCapture;

class PreviewView {
  public:
    virtual ~PreviewView() = default;
    // The camera whose frames to show, or null when the preview stops. Main thread.
    virtual void setCaptureSession(QTCameraCapture* camera) = 0;
    // A new latest frame is there. Called on the capture thread: only schedule work here.
    virtual void frameAvailable() = 0;
    // The frame rate the camera measured over the last second. Main thread.
    virtual void frameRateChanged(uint32_t fps) = 0;
};

}  // namespace orvella::capture
