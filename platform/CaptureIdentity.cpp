#include "platform/CaptureIdentity.h"

namespace orvella::platform {

QString usbCaptureUniqueID(uint32_t locationID, uint16_t vendor, uint16_t product) {
    const uint64_t packed =
        (static_cast<uint64_t>(locationID) << 32) | (static_cast<uint64_t>(vendor) << 16) | product;
    return QString::asprintf("0x%016llx", static_cast<unsigned long long>(packed));
}

QString usbCaptureModelUniqueID(uint16_t vendor, uint16_t product) {
    return QString::asprintf("UVC Camera VendorID_%u ProductID_%u", static_cast<unsigned>(vendor),
                             static_cast<unsigned>(product));
}

}  // namespace orvella::platform
