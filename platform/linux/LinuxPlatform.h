#pragma once
// The whole platform seam for real cameras on Linux: the sysfs USB host (with libusb for
// interfaces no driver holds), the V4L2 capture devices and, once started, udev hot-plug.

#include <memory>
#include <string>

#include "platform/CameraUsers.h"
#include "platform/Platform.h"
#include "platform/libusb/LibusbHost.h"
#include "platform/linux/LinuxUsbHost.h"
#include "platform/linux/V4l2CaptureDevices.h"

namespace orvella::linuxplatform {

class UdevMonitor;

class LinuxPlatform {
  public:
    explicit LinuxPlatform(std::string sysfsRoot = "/sys", std::string devRoot = "/dev",
                           VideoIoOpener* opener = nullptr);
    ~LinuxPlatform();

    // The services, with `clock` (borrowed; null = the system clock) for the core's pauses.
    platform::Platform platform(platform::Clock* clock = nullptr);
    // Starts listening for cameras that come and go (needs a running Qt event loop).
    bool startHotplug();

    // The PipeWire clients streaming from a camera (platform/pipewire/PipeWireClients.h).
    static platform::PipeWireClientFinder pipeWireClientFinder();

    LinuxUsbHost& usb() { return usb_; }
    V4l2CaptureDeviceSystem& capture() { return capture_; }

  private:
    libusbplatform::LibusbHost libusb_;
    LinuxUsbHost usb_;
    V4l2CaptureDeviceSystem capture_;
    std::unique_ptr<UdevMonitor> monitor_;
};

}  // namespace orvella::linuxplatform
