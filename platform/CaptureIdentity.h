#pragma once
// The identity strings of a USB camera's capture device, built from its USB identifiers exactly as
// the capture layer of other platforms builds them, so that profiles keyed by them carry over.

#include <QString>
#include <cstdint>

namespace orvella::platform {

// "0x%016llx" of (location ID << 32 | vendor << 16 | product).
QString usbCaptureUniqueID(uint32_t locationID, uint16_t vendor, uint16_t product);

// "UVC Camera VendorID_<vendor> ProductID_<product>", both in decimal.
QString usbCaptureModelUniqueID(uint16_t vendor, uint16_t product);

}  // namespace orvella::platform
