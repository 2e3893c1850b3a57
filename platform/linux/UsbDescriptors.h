#pragma once
// Parsing the raw descriptor blob of a USB device as Linux exposes it in sysfs (`descriptors`: the
// device descriptor, then each configuration exactly as the device sent it), and the macOS-style
// location ID built from a bus number and a port path.

#include <cstdint>
#include <string>
#include <vector>

#include "platform/Usb.h"

namespace orvella::linuxplatform {

struct UsbInterfaceInfo {
    uint8_t number = 0;
    uint8_t interfaceClass = 0;
    uint8_t subClass = 0;
    // Class-specific interface descriptors (type 0x24) that follow the interface descriptor.
    std::vector<platform::Descriptor> classSpecific;
};

struct UsbDeviceInfo {
    uint16_t vendor = 0;
    uint16_t product = 0;
    uint8_t iManufacturer = 0;
    uint8_t iProduct = 0;
    uint8_t iSerialNumber = 0;
    // Interfaces of the first configuration, alternate setting 0 only, in descriptor order.
    std::vector<UsbInterfaceInfo> interfaces;
    // Problems met while walking the blob (a truncated or zero-length descriptor ends the walk).
    std::vector<std::string> warnings;
};

// Walks a sysfs `descriptors` blob. Never reads past its end; a blob shorter than a device
// descriptor gives an empty result with a warning.
UsbDeviceInfo parseUsbDescriptors(const std::vector<uint8_t>& blob);

// Bus number in bits 24-31, then one nibble per port of the path ("1.4.2") from bit 20 down.
// Ports above 15 are kept to their low nibble; paths deeper than six ports are cut.
uint32_t locationIDFor(unsigned busNumber, const std::string& portPath);

}  // namespace orvella::linuxplatform
