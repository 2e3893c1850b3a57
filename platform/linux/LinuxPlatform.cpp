#include "platform/linux/LinuxPlatform.h"

#include "platform/linux/UdevMonitor.h"
#include "platform/pipewire/PipeWireClients.h"

namespace orvella::linuxplatform {

LinuxPlatform::LinuxPlatform(std::string sysfsRoot, std::string devRoot, VideoIoOpener* opener)
    : usb_(sysfsRoot, devRoot, opener, libusb_.available() ? &libusb_ : nullptr),
      capture_(std::move(sysfsRoot), std::move(devRoot), opener) {
    // A camera held by the PipeWire daemon is named by the PipeWire clients streaming from it.
    capture_.setPipeWireClientFinder(pipeWireClientFinder());
}

LinuxPlatform::~LinuxPlatform() = default;

platform::Platform LinuxPlatform::platform(platform::Clock* clock) {
    platform::Platform services;
    services.usb = &usb_;
    services.clock = clock;
    return services;
}

platform::PipeWireClientFinder LinuxPlatform::pipeWireClientFinder() {
    return pipewire::makePipeWireClientFinder();
}

bool LinuxPlatform::startHotplug() {
    if (!monitor_) monitor_ = std::make_unique<UdevMonitor>(&usb_, &capture_);
    return monitor_->start();
}

}  // namespace orvella::linuxplatform
