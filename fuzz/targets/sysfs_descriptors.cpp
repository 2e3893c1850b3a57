// The Linux backend's reader of a USB device's sysfs `descriptors` file. The walkers that read
// the class-specific descriptors it hands on have targets of their own (descriptors, device), so
// this one stays fast and checks what the parser promises instead: every class-specific
// descriptor it returns lies whole inside the blob, is as long as its bLength says, and has the
// class-specific type.

#include <cstdlib>

#include "fuzz/FuzzTarget.h"
#include "platform/UvcProtocol.h"
#include "platform/linux/UsbDescriptors.h"
#include "platform/virtual/UsbDeviceDescriptors.h"

using namespace orvella;

ORVELLA_FUZZ_TARGET(sysfs_descriptors) {
    const linuxplatform::UsbDeviceInfo info =
        linuxplatform::parseUsbDescriptors(std::vector<uint8_t>(data, data + size));
    size_t bytes = 0;
    for (const linuxplatform::UsbInterfaceInfo& interface : info.interfaces) {
        for (const platform::Descriptor& d : interface.classSpecific) {
            if (d.size() < 2 || d[0] != d.size() || d[1] != uvc::kDescriptorTypeClassInterface)
                std::abort();
            bytes += d.size();
        }
    }
    if (bytes > size) std::abort();
    return 0;
}

ORVELLA_FUZZ_SEEDS(sysfs_descriptors) {
    std::vector<fuzz::Seed> seeds;
    for (const auto& [name, camera] : fuzz::fixtureCameras(fixtures)) {
        seeds.push_back({name, virtualcam::UsbDeviceDescriptors(*camera).sysfsBlob()});
    }
    return seeds;
}
