#include "platform/Usb.h"

namespace orvella::platform {

IOReturn UsbHost::getMatchingServices(int32_t vendor, int32_t product,
                                      std::vector<std::shared_ptr<UsbDeviceService>>& services) {
    std::vector<std::shared_ptr<UsbDeviceService>> all;
    const IOReturn status = getMatchingServices(all);
    if (status != kIOReturnSuccess) return status;
    services.clear();
    for (auto& service : all) {
        if (static_cast<int32_t>(service->idVendor()) == vendor &&
            static_cast<int32_t>(service->idProduct()) == product)
            services.push_back(service);
    }
    return kIOReturnSuccess;
}

}  // namespace orvella::platform
