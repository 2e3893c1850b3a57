// The Linux backend's reader of a USB device's sysfs `descriptors` file, and the camera core's
// walkers over the class-specific descriptors it finds, as a camera on Linux is probed.

#include "fuzz/FuzzTarget.h"
#include "fuzz/Walkers.h"
#include "platform/linux/UsbDescriptors.h"
#include "platform/virtual/UsbDeviceDescriptors.h"

using namespace orvella;

ORVELLA_FUZZ_TARGET(sysfs_descriptors) {
    const linuxplatform::UsbDeviceInfo info =
        linuxplatform::parseUsbDescriptors(std::vector<uint8_t>(data, data + size));
    for (const linuxplatform::UsbInterfaceInfo& interface : info.interfaces)
        if (interface.interfaceClass == 0x0E) fuzz::walkDescriptors(interface.classSpecific);
    return 0;
}

ORVELLA_FUZZ_SEEDS(sysfs_descriptors) {
    std::vector<fuzz::Seed> seeds;
    for (const auto& [name, json] : fuzz::fixtureFiles(fixtures)) {
        auto camera = virtualcam::VirtualCamera::fromJson(
            QByteArray(reinterpret_cast<const char*>(json.data()),
                       static_cast<qsizetype>(json.size())),
            nullptr);
        if (camera) seeds.push_back({name, virtualcam::UsbDeviceDescriptors(*camera).sysfsBlob()});
    }
    return seeds;
}
