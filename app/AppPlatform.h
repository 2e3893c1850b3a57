#pragma once
// The platform the application runs on, as its command line chooses: the machine's own cameras
// (LinuxPlatform with udev hot-plug), or virtual cameras from files, the demo camera and a
// watched folder, with their requests optionally recorded and a FIFO of commands that act on
// them (platform/virtual/VirtualCameraCommands.h). Sleep and wake come from logind in both cases,
// so that tests can drive them on a private system bus.

#include <QString>
#include <memory>

#include "app/CommandLine.h"
#include "platform/CaptureDevice.h"
#include "platform/Platform.h"
#include "platform/PowerEvents.h"

namespace orvella::virtualcam {
class VirtualPlatform;
class VirtualCameraDirectory;
}  // namespace orvella::virtualcam
namespace orvella::linuxplatform {
class LinuxPlatform;
class LogindPower;
}  // namespace orvella::linuxplatform

namespace orvella::app {

class AppPlatform {
  public:
    // Builds what the options ask for; null with *error (one line) when a camera file, the
    // folder, the request log or the control FIFO cannot be used.
    static std::unique_ptr<AppPlatform> assemble(const CommandLineOptions& options, QString* error);
    ~AppPlatform();

    platform::Platform services() { return services_; }
    platform::CaptureDeviceSystem& captureDevices() { return *capture_; }
    platform::PowerEventSource& power();
    // The virtual platform, null when the machine's cameras are used.
    virtualcam::VirtualPlatform* virtualPlatform() { return virtual_.get(); }

    // Starts following hot-plug and sleep/wake (needs the event loop). Call it after the camera
    // observer is registered, so that the cameras found now are reported to it.
    void start();

  private:
    class ControlFifo;
    AppPlatform();

    std::unique_ptr<virtualcam::VirtualPlatform> virtual_;
    std::unique_ptr<virtualcam::VirtualCameraDirectory> directory_;
    std::unique_ptr<ControlFifo> control_;
    std::unique_ptr<linuxplatform::LinuxPlatform> linux_;
    std::unique_ptr<linuxplatform::LogindPower> power_;
    platform::Platform services_;
    platform::CaptureDeviceSystem* capture_ = nullptr;
};

}  // namespace orvella::app
