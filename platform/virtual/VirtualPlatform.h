#pragma once
// The whole platform seam over virtual cameras: a USB host, a media-device layer and a capture
// device list, filled from camera definitions. A USB camera joins the USB host; a media-device
// (built-in) camera joins the media-device layer instead; both get a capture device. Used by the
// tests, by orvellactl and by the application's --virtual and --demo.

#include <QString>
#include <map>
#include <memory>

#include "platform/Platform.h"
#include "platform/virtual/RequestLog.h"
#include "platform/virtual/VirtualCamera.h"
#include "platform/virtual/VirtualCaptureDeviceSystem.h"
#include "platform/virtual/VirtualMediaDevice.h"
#include "platform/virtual/VirtualUsbHost.h"

namespace orvella::virtualcam {

class VirtualPlatform {
  public:
    // Adds a camera; returns its capture device, or null with *error set when the definition's
    // media-device key is malformed.
    std::shared_ptr<VirtualCaptureDevice> addCamera(std::shared_ptr<VirtualCamera> camera,
                                                    QString* error);
    // Reads a definition file and adds its camera.
    std::shared_ptr<VirtualCaptureDevice> addDefinitionFile(const QString& path, QString* error);
    // Unplugs the camera of a capture device: the capture list tells its observer, and the
    // camera's USB handles answer "no device" from then on. Unknown devices are ignored.
    void removeCamera(const std::shared_ptr<VirtualCaptureDevice>& device);

    // Sends every request of the cameras added from now on to `log` under their numbers;
    // plugging and unplugging are noted there as "# plug N FILE" and "# unplug N FILE". Null
    // stops logging new cameras.
    void setRequestLog(std::shared_ptr<RequestLog> log) { log_ = std::move(log); }
    // Cameras are numbered from 1 in the order added (a camera plugged in again gets a new
    // number), in the request log and for the control commands. 0 when unplugged.
    int logNumber(const VirtualCamera& camera) const;
    // The capture device of the plugged-in camera with that number, or null.
    std::shared_ptr<VirtualCaptureDevice> deviceNumbered(int number) const;

    // The media-device object of a capture device, found by its unique identifier; 0 if none.
    platform::MediaObjectID mediaDeviceFor(const platform::CaptureDevice& device) const;

    // The services, with `clock` (borrowed; null = the system clock) for the core's pauses.
    platform::Platform platform(platform::Clock* clock = nullptr);

    VirtualUsbHost& usb() { return usb_; }
    VirtualMediaDeviceSystem& media() { return media_; }
    VirtualCaptureDeviceSystem& capture() { return capture_; }

  private:
    VirtualUsbHost usb_;
    VirtualMediaDeviceSystem media_;
    VirtualCaptureDeviceSystem capture_;
    std::shared_ptr<RequestLog> log_;
    int lastNumber_ = 0;
    std::map<const VirtualCamera*, int> numbers_;
};

}  // namespace orvella::virtualcam
